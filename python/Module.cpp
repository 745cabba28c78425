#include "python/Bindings.h"

PYBIND11_MODULE(tolvexkine, m)
{
    m.doc() = "Kinematics, dynamics and motion profiles of the seven-axis arm, on numpy arrays.\n\n"
              "PilotArm: the numeric model file (degrees, millimetres). Robot: robot.ini "
              "(radians, metres for the chain; degrees, millimetres for its inverse kinematics). "
              "profile, Profile, MovingAverage: motion. Functions taking one item also take a "
              "batch of N items along a leading axis and loop over it in C++ without the GIL.";
    tkpy::bindPilotArm(m);
    tkpy::bindRobot(m);
    tkpy::bindMotion(m);
}
