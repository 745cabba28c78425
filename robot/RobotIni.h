// robot.ini as the robot object reads and writes it: the chain (DH, FLANGE, with the
// Theta offsets), limits, gravity, and the product's own keys that the controller
// route skips (see docs/robot-ini.md): link DYNAMIC and FRICTION, the arm's BASE and TOOL.
#ifndef TOLVEX_ROBOT_ROBOTINI_H
#define TOLVEX_ROBOT_ROBOTINI_H

#include <string>

#include "robot/RobotDescription.h"

namespace tk {

// Arm 0 of the file. Throws Error with one line naming the file, the section and the
// reason ("robot.ini 'arm.ini': [R.A0.L3.DYNAMIC] lacks \"Iyz\""); prints nothing.
RobotDescription readRobotIni(const std::string& path);

// A robot.ini that readRobotIni reads back as `d` (to the rounding of the mm and degree
// units it is written in, %.17g) and
// that the controller route OnInitKine loads: all keys of its BASIC, DH and FLANGE.
std::string robotIniText(const RobotDescription& d);

}  // namespace tk

#endif
