// A robot description written as a URDF document that URDF tools and libraries read:
// one link per DH frame (the base link, a fixed mount frame when the base transform is
// not the identity, the joints' links, the flange), each link's inertial in its own
// frame, limits and friction on the joints, and a <tolvexkine> block with what URDF has
// no element for (gravity, rotor inertia, acceleration limits, constant friction), so
// that importUrdf(exportUrdf(d)) gives back d. Unnamed parts are written as base_link,
// link<i>, joint<i>, flange and robot.
#ifndef TOLVEX_URDF_URDFEXPORT_H
#define TOLVEX_URDF_URDFEXPORT_H

#include <string>

#include "robot/Error.h"
#include "robot/RobotDescription.h"

namespace tk {

// Throws Error when the description cannot be written: dof outside 1..7, a value that
// is not finite, or a name given to two links or two joints.
std::string exportUrdf(const RobotDescription& description);

}  // namespace tk

#endif
