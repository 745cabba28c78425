// Modified DH frames fitted to a chain's joint axis lines, whatever frames the chain
// was written in: each z along its joint's axis, each x along the common normal to the
// next axis, and every choice the lines leave open taken from the written frames.
#ifndef TOLVEX_URDF_DHFIT_H
#define TOLVEX_URDF_DHFIT_H

#include "robot/RobotDescription.h"
#include "urdf/Geometry.h"

namespace tk::urdf_geometry {

// The chain at its zero posture, in one frame: the frame the first joint hangs from
// and, for each joint, the frame that turns with it and the unit vector it turns about
// (through that frame's origin).
struct ChainAtZero {
    int joints = 0;
    Frame before;
    Frame moving[kMaxJoints];
    Vec3 axis[kMaxJoints];
};

struct DhFit {
    Frame frame[kMaxJoints + 1];  // the DH frames 0..joints at zero, in the chain's frame
    DhJoint joint[kMaxJoints];    // alpha, a, theta, d between consecutive frames
};

DhFit fitModifiedDh(const ChainAtZero& chain);

// x into (-pi, pi], with -pi + rounding taken as pi.
double wrapAngle(double x);

}  // namespace tk::urdf_geometry

#endif
