// A robot description from a URDF file: the chain from a base link to a tip link, its
// joints kept in the URDF's own convention, with what a report of the import shows.
//
// What the import decides:
// - Chain: the path from `base` (default the root link) to `tip` (default the one link
//   that ends the tree's movable joints, followed on through a single line of fixed
//   joints). Revolute and continuous joints move, fixed joints are rigid; 1 to 7 movable.
// - Frames: modified DH frames fitted to the joint axis lines (common normals; parallel
//   axes keep the URDF joint origin, axes within 1e-8 rad of parallel count as parallel),
//   each z along its URDF axis, so the description's joint angle is the URDF's and the
//   DH angle is that plus theta. Where a URDF link frame already is a valid DH frame it is
//   kept. The base transform holds the fixed joints before the first movable joint and
//   the fitted frame 0; the flange holds the fitted last frame and the fixed joints after.
// - Inertials: every link rigidly carried by a joint's child link (through fixed joints)
//   is merged into that joint's link exactly; links behind movable joints off the chain
//   (fingers, joints past the tip) are carried as if those joints stood at zero.
// - Limits: lower, upper, velocity and effort as written (continuous: -pi, pi); URDF has
//   no acceleration limit, so acceleration is 0, meaning unknown.
// - Friction: <dynamics damping> is the viscous, <dynamics friction> the Coulomb term.
// - Gravity: -9.81 m/s^2 along the root link's z, in the base link's frame (along the
//   base link's own z when movable joints lie between the root and the base).
// - Values URDF has no element for (rotor inertia, acceleration limits, constant friction,
//   gravity) are read from the <tolvexkine> block that exportUrdf writes, when present.
// Angles come back in (-pi, pi].
#ifndef TOLVEX_URDF_URDFIMPORT_H
#define TOLVEX_URDF_URDFIMPORT_H

#include <string>
#include <vector>

#include "robot/Error.h"
#include "robot/RobotDescription.h"

namespace tk {

// How one URDF joint maps onto the chain: chain angle = sign * URDF angle + offset.
struct UrdfJointMap {
    std::string name;     // the URDF joint
    int model_joint = 0;  // its place in the chain, 1..dof
    int sign = 1;         // +1: the chain's z runs along the URDF axis
    double offset = 0.0;  // rad, the chain joint's theta
};

// The description against the URDF tree's own composition of the tip frame.
struct UrdfFkCheck {
    int postures = 0;             // seeded random postures within the limits
    double position_error = 0.0;  // largest distance between the two tip frames, m
    double rotation_error = 0.0;  // largest angle between them, rad
};

struct UrdfImport {
    RobotDescription description;  // joint angles are the URDF's; base frame is the base link's
    std::string base_link, tip_link;
    UrdfJointMap joint[kMaxJoints];
    double tool[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};  // tip in the last movable joint's child link, m
    UrdfFkCheck fk_check;
    std::vector<std::string> held_links;  // links carried at the zero of movable joints off the chain
};

// Throw Error, one line naming the element and the reason, on a file that is not a
// URDF or describes no usable chain; nothing is returned then.
UrdfImport importUrdf(const std::string& path, const std::string& base = "", const std::string& tip = "");
UrdfImport importUrdfString(const std::string& xml, const std::string& base = "", const std::string& tip = "");

}  // namespace tk

#endif
