// The chain's Newton-Euler has no mass-times-acceleration term: it takes each link's
// parameters regrouped so that the masses no longer appear. This folds physical
// parameters into that form exactly, for revolute joints in modified DH form.
#ifndef TOLVEX_ROBOT_REGROUPING_H
#define TOLVEX_ROBOT_REGROUPING_H

#include "robot/Inertia.h"
#include "robot/RobotDescription.h"

namespace tk {

// p[i] holds link i's parameters about joint i's frame origin. From the last link
// inwards, the part of link j that its own joint cannot tell apart from a body fixed
// to link j-1 (its mass, its first moment along z, its yy inertia: all symmetric about
// joint j's axis) moves into link j-1 through joint j's alpha, a and d. Link 0 keeps
// its mass, which no joint torque sees.
void regroup(int n, const DhJoint* joints, OriginInertia* p);

}  // namespace tk

#endif
