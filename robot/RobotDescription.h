// What a robot is, in SI units: its revolute chain in modified Denavit-Hartenberg
// form, where it stands, its links' physical parameters, friction and limits. Every
// route in (robot.ini, URDF) fills one; the robot object is built from one.
#ifndef TOLVEX_ROBOT_ROBOTDESCRIPTION_H
#define TOLVEX_ROBOT_ROBOTDESCRIPTION_H

#include <string>

namespace tk {

constexpr int kMaxJoints = 7;

// Joint i's frame in joint i-1's frame (the base frame for joint 0) is
// RotX(alpha) TransX(a) RotZ(q + theta) TransZ(d), q the joint's own angle.
struct DhJoint {
    double alpha = 0.0;  // rad
    double a = 0.0;      // m
    double d = 0.0;      // m
    double theta = 0.0;  // rad, the joint's zero offset
};

// A link's physical parameters, in its joint frame.
struct LinkInertial {
    double mass = 0.0;           // kg
    double com[3] = {};          // centre of mass, m
    double inertia[6] = {};      // xx, xy, xz, yy, yz, zz about the centre of mass, kg m^2
    double rotor_inertia = 0.0;  // rotor and gear inertia reflected to the joint, kg m^2
};

// Joint friction torque: coulomb sign(qd) + viscous qd + offset.
struct JointFriction {
    double coulomb = 0.0;  // N m
    double viscous = 0.0;  // N m s/rad
    double offset = 0.0;   // N m, the constant part (asymmetric Coulomb friction, sensor bias)
};

struct JointLimits {
    double lower = 0.0;         // rad
    double upper = 0.0;         // rad
    double velocity = 0.0;      // rad/s
    double acceleration = 0.0;  // rad/s^2
    double effort = 0.0;        // N m
    bool continuous = false;    // no position limit (lower and upper are then -pi, pi)
};

struct RobotDescription {
    std::string name;
    int dof = 0;                        // revolute joints, 1..7
    double base[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};  // joint 0's parent frame in the base frame, m
    DhJoint joint[kMaxJoints];
    double flange[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};  // flange in the last joint's frame, m
    LinkInertial link[kMaxJoints];      // link i moves with joint i
    JointFriction friction[kMaxJoints];
    JointLimits limits[kMaxJoints];
    double gravity[3] = {0.0, 0.0, -9.81};  // m/s^2, in the base frame
    // Names a description read from a file carries (empty when it had none).
    std::string joint_name[kMaxJoints];
    std::string link_name[kMaxJoints + 2];  // base, the joints' links, the flange
};

// Empty when `d` can be built into a robot; otherwise one line naming the part
// and the reason, for example "link 3: inertia is not positive definite".
std::string checkDescription(const RobotDescription& d);

}  // namespace tk

#endif
