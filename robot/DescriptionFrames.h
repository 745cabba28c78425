// A description's frames composed exactly as it defines them: the base, each joint's
// modified Denavit-Hartenberg transform turned by its angle plus its theta offset, then
// the flange. Metres and radians; used to recognise and check a description's geometry.
#ifndef TOLVEX_ROBOT_DESCRIPTIONFRAMES_H
#define TOLVEX_ROBOT_DESCRIPTIONFRAMES_H

#include "robot/RobotDescription.h"

namespace tk {

// frames[i] is joint i's frame in the base frame (i < d.dof), frames[d.dof] the flange.
// d.dof must lie in 1..kMaxJoints. Allocates nothing.
void descriptionFrames(const RobotDescription& d, const double* q, double frames[kMaxJoints + 1][4][4]);

}  // namespace tk

#endif
