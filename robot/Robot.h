// A robot that its host owns: the arm's own kinematics and dynamics in SI units, for
// any mounting, from one description. It owns every record it computes with, touches
// no global, allocates only while it is built, and two robots share nothing.
#ifndef TOLVEX_ROBOT_ROBOT_H
#define TOLVEX_ROBOT_ROBOT_H

#include <memory>
#include <string>

#include "dynamics/FxChain.h"
#include "dynamics/FxCoriolis.h"
#include "robot/AnalyticArm.h"
#include "robot/Error.h"
#include "robot/RobotDescription.h"

namespace tk {

// A load rigidly held at the flange.
struct Payload {
    double mass = 0.0;      // kg
    double com[3] = {};     // centre of mass in the flange frame, m
    double inertia[6] = {}; // xx, xy, xz, yy, yz, zz about the centre of mass, flange axes, kg m^2
};

class Robot {
public:
    // Throws Error when checkDescription finds a fault.
    explicit Robot(const RobotDescription& description);

    int dof() const { return description_.dof; }
    const RobotDescription& description() const { return description_; }
    const Payload& payload() const { return payload_; }

    // Per cycle: allocation-free, never throw. Joint arrays hold dof() values in
    // the description's own convention (rad, rad/s, rad/s^2); poses are in the
    // description's base frame (m); matrices are row-major.
    void fk(const double* q, double pose[4][4]);
    // Each joint's frame (0..dof-1), then the flange (dof), in the base frame.
    void frames(const double* q, double frames[kMaxJoints + 1][4][4]);
    // 6 x dof: rows 0-2 linear velocity of the flange origin (m/rad), rows 3-5 angular.
    void jacobian(const double* q, double* J);
    // M(q) qdd + C(q, qd) qd + g(q), N m, rotor inertia included, friction not.
    void inverseDynamics(const double* q, const double* qd, const double* qdd, double* tau);
    void gravityTorques(const double* q, double* tau);
    void friction(const double* qd, double* tau) const;
    void massMatrix(const double* q, double* M);                       // dof x dof
    void coriolisMatrix(const double* q, const double* qd, double* C);  // dof x dof, C qd = Coriolis torque

    // The chain the dynamics run on, for hosts that call the chain routines themselves:
    // based where gravity lies along its y axis (gravity (0, dynamicsGravityY(), 0)),
    // regrouped parameters, joint i's angle q[i] + links[i].theta.
    const FX_Pilot& dynamicsChain() const { return dynamics_; }
    double dynamicsGravityY() const { return gravity_[1]; }

    // The closed-form inverse kinematics, arm-angle solves, limit verdict and arm-angle
    // map of a seven-joint arm of the analytic form (joints 1-3 and 5-7 meeting in
    // points, joint 4 with at most a lateral elbow offset); null otherwise, and
    // analyticIkReason() says which condition fails and by how much.
    AnalyticArm* analytic() { return analytic_.get(); }
    const AnalyticArm* analytic() const { return analytic_.get(); }
    bool hasAnalyticIk() const { return analytic_ != nullptr; }
    const std::string& analyticIkReason() const { return analyticReason_; }
    // Adds the coupled joint-6/7 range of a model parameter file of the same arm;
    // throws Error when there is no analytic arm or the file describes another arm.
    void useModelFile(const std::string& path);

    // Set-up: rebuild the lumped parameters. Throw Error on a bad value.
    void setPayload(const Payload& payload);
    void setGravity(const double gravity[3]);

private:
    void build();
    // Chain angles of the kinematics (kinematics_ = true) or of the dynamics chain.
    void kinematicAngles(const double* q, double* angles) const;
    void dynamicAngles(const double* q, double* angles);

    RobotDescription description_;
    Payload payload_;
    FX_Pilot kinematics_{};           // the description's own frames: fk, frames, Jacobian
    FX_Pilot dynamics_{};             // based where gravity lies along y; regrouped parameters
    double dynamicsTheta_[kMaxJoints]{};  // zero offsets of the dynamics chain, rad
    double gravity_[3]{};             // what the dynamics chain is given: (0, gravity along y, 0)
    FX_CM_DPART_BUF coriolisRuns_[7]{};
    FX_CM_YTC_BUF coriolisTerms_{};
    std::unique_ptr<AnalyticArm> analytic_;
    std::string analyticReason_;
};

}  // namespace tk

#endif
