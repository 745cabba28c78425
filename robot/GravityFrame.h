// The chain's dynamics take gravity along their base frame's y axis only. This picks,
// for a robot mounted any way, a base frame for the dynamics whose y axis points
// against gravity and from which joint 1 is still one modified DH step away.
#ifndef TOLVEX_ROBOT_GRAVITYFRAME_H
#define TOLVEX_ROBOT_GRAVITYFRAME_H

#include "robot/RobotDescription.h"

namespace tk {

struct GravityFrame {
    double base[4][4];  // the dynamics' base frame in the description's base frame
    DhJoint first;      // joint 1 from that frame (the other joints are unchanged)
    double gravityY;    // gravity along the frame's y axis, m/s^2 (the whole vector, or 0)
};

// `base` and `first` place joint 1 as the description does; `gravity` is in the
// description's base frame. The frame is set up in extended precision, so that a
// joint axis a hair off the vertical still gets an exactly perpendicular x axis;
// below 1e-12 rad the axis is taken as vertical.
GravityFrame gravityFrame(const double base[4][4], const DhJoint& first, const double gravity[3]);

}  // namespace tk

#endif
