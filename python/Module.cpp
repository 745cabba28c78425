#include "python/Bindings.h"

PYBIND11_MODULE(tolvexkine, m)
{
    m.doc() = "Kinematics, dynamics and motion profiles of the seven-axis arm, on numpy arrays.\n\n"
              "PilotArm: the numeric model file (degrees, millimetres), a mirror of the host entry "
              "points. Robot: a robot from robot.ini in SI units (rad, m, kg, N m, s) with its own "
              "dynamics for any mounting. "
              "profile, Profile, MovingAverage: motion. Functions taking one item also take a "
              "batch of N items along a leading axis and loop over it in C++ without the GIL.";
    tkpy::bindPilotArm(m);
    tkpy::bindRobot(m);
    tkpy::bindMotion(m);
}
