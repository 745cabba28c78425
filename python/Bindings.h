// The parts of the tolvexkine Python module, each adding its classes and
// functions to the module.
#ifndef TOLVEX_PYTHON_BINDINGS_H
#define TOLVEX_PYTHON_BINDINGS_H

#include <pybind11/pybind11.h>

namespace tkpy {

void bindPilotArm(pybind11::module_& m);  // the numeric model file: Pilot arm, poses
void bindRobot(pybind11::module_& m);     // the robot object: SI kinematics and dynamics
void bindMotion(pybind11::module_& m);    // profiles and the moving-average filter

}  // namespace tkpy

#endif
