#include "robot/Robot.h"

#include <cmath>
#include <cstring>

#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "math/FxMatrix.h"
#include "robot/GravityFrame.h"
#include "robot/Inertia.h"
#include "robot/Regrouping.h"

namespace tk {

namespace {

const double kIdentity[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

// A chain of `n` joints with no tool, whose tool transform is `flange`.
void setChain(FX_Pilot* chain, int n, const DhJoint* joints, const OriginInertia* lumped,
              const LinkInertial* links, const double flange[4][4])
{
    *chain = FX_Pilot{};
    for (int i = 0; i < n; ++i) {
        OriginInertia none;
        const OriginInertia& p = lumped ? lumped[i] : none;
        double first_moment[3] = {p.MS[0], p.MS[1], p.MS[2]};
        double inertia[6] = {p.J[0], p.J[1], p.J[2], p.J[3], p.J[4], p.J[5]};
        FX_SetLink(chain, i, joints[i].alpha, joints[i].a, joints[i].d, joints[i].theta,
                   links ? links[i].mass : 0.0, first_moment, inertia,
                   links ? links[i].rotor_inertia : 0.0);
    }
    FX_SetFlange(chain, 0.0, 0.0, 0.0, 0.0);
    chain->n = n;
    FX_RemoveTool(chain);
    std::memcpy(chain->local_T[n], flange, sizeof chain->local_T[n]);
}

// out = a b for rigid transforms (the last row is 0 0 0 1).
void compose(const double a[4][4], const double b[4][4], double out[4][4])
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 4; ++c)
            out[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
        out[r][3] += a[r][3];
    }
    out[3][0] = out[3][1] = out[3][2] = 0.0;
    out[3][3] = 1.0;
}

void copyN(const double* in, int n, double* out)
{
    for (int i = 0; i < n; ++i) out[i] = in[i];
    for (int i = n; i < kMaxJoints; ++i) out[i] = 0.0;
}

}  // namespace

Robot::Robot(const RobotDescription& description) : description_(description)
{
    build();
    analytic_ = AnalyticArm::fit(description_, &analyticReason_);
}

void Robot::useModelFile(const std::string& path)
{
    if (!analytic_)
        throw Error("model file '" + path + "': the robot has no analytic form (" + analyticReason_ + ")");
    analytic_->useModelFile(path);
}

void Robot::build()
{
    const std::string problem = checkDescription(description_);
    if (!problem.empty())
        throw Error(problem);
    const int n = description_.dof;
    setChain(&kinematics_, n, description_.joint, nullptr, nullptr, description_.flange);

    // Physical parameters about each joint frame's origin, the payload on the last link.
    DhJoint joints[kMaxJoints];
    std::memcpy(joints, description_.joint, sizeof joints);
    const GravityFrame frame = gravityFrame(description_.base, joints[0], description_.gravity);
    joints[0] = frame.first;
    OriginInertia lumped[kMaxJoints];
    for (int i = 0; i < n; ++i) lumped[i] = aboutOrigin(description_.link[i], kIdentity);
    LinkInertial load;
    load.mass = payload_.mass;
    std::memcpy(load.com, payload_.com, sizeof load.com);
    std::memcpy(load.inertia, payload_.inertia, sizeof load.inertia);
    accumulate(lumped[n - 1], aboutOrigin(load, description_.flange));
    regroup(n, joints, lumped);
    setChain(&dynamics_, n, joints, lumped, description_.link, description_.flange);
    for (int i = 0; i < n; ++i) dynamicsTheta_[i] = joints[i].theta;
    gravity_[0] = 0.0, gravity_[1] = frame.gravityY, gravity_[2] = 0.0;
}

void Robot::setPayload(const Payload& payload)
{
    LinkInertial body;
    body.mass = payload.mass;
    std::memcpy(body.com, payload.com, sizeof body.com);
    std::memcpy(body.inertia, payload.inertia, sizeof body.inertia);
    const std::string problem = inertialProblem(body);
    if (!problem.empty())
        throw Error("payload: " + problem);
    payload_ = payload;
    build();
}

void Robot::setGravity(const double gravity[3])
{
    if (!std::isfinite(gravity[0]) || !std::isfinite(gravity[1]) || !std::isfinite(gravity[2]))
        throw Error("gravity is not a finite vector");
    std::memcpy(description_.gravity, gravity, sizeof description_.gravity);
    build();
}

void Robot::kinematicAngles(const double* q, double* angles) const
{
    for (int i = 0; i < description_.dof; ++i) angles[i] = q[i] + description_.joint[i].theta;
}

void Robot::dynamicAngles(const double* q, double* angles)
{
    for (int i = 0; i < description_.dof; ++i) angles[i] = q[i] + dynamicsTheta_[i];
    for (int i = description_.dof; i < kMaxJoints; ++i) angles[i] = 0.0;
    dynamics_.kin_cached = 0;  // the dynamics keep their first posture's transforms otherwise
}

void Robot::fk(const double* q, double pose[4][4])
{
    double angles[kMaxJoints], flange[4][4];
    kinematicAngles(q, angles);
    FX_KINE(&kinematics_, angles, flange);
    compose(description_.base, flange, pose);
}

void Robot::frames(const double* q, double out[kMaxJoints + 1][4][4])
{
    double flange[4][4];
    fk(q, flange);
    for (int i = 0; i < description_.dof; ++i) compose(description_.base, kinematics_.chain_T[i], out[i]);
    std::memcpy(out[description_.dof], flange, sizeof flange);
}

void Robot::jacobian(const double* q, double* J)
{
    double joints[kMaxJoints + 1][4][4];
    frames(q, joints);
    const int n = description_.dof;
    const double* tip = &joints[n][0][0];
    for (int i = 0; i < n; ++i) {
        const double z[3] = {joints[i][0][2], joints[i][1][2], joints[i][2][2]};
        const double d[3] = {tip[3] - joints[i][0][3], tip[7] - joints[i][1][3], tip[11] - joints[i][2][3]};
        J[0 * n + i] = z[1] * d[2] - z[2] * d[1];
        J[1 * n + i] = z[2] * d[0] - z[0] * d[2];
        J[2 * n + i] = z[0] * d[1] - z[1] * d[0];
        J[3 * n + i] = z[0];
        J[4 * n + i] = z[1];
        J[5 * n + i] = z[2];
    }
}

void Robot::inverseDynamics(const double* q, const double* qd, const double* qdd, double* tau)
{
    double angles[kMaxJoints], rates[kMaxJoints], accelerations[kMaxJoints];
    double wrench[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    dynamicAngles(q, angles);
    copyN(qd, description_.dof, rates);
    copyN(qdd, description_.dof, accelerations);
    FX_InvDyn(&dynamics_, angles, rates, accelerations, gravity_, wrench, tau);
    for (int i = 0; i < description_.dof; ++i) tau[i] += description_.link[i].rotor_inertia * qdd[i];
}

void Robot::gravityTorques(const double* q, double* tau)
{
    const double rest[kMaxJoints] = {};
    inverseDynamics(q, rest, rest, tau);
}

void Robot::friction(const double* qd, double* tau) const
{
    for (int i = 0; i < description_.dof; ++i) {
        const JointFriction& f = description_.friction[i];
        const double sign = qd[i] > 0.0 ? 1.0 : qd[i] < 0.0 ? -1.0 : 0.0;
        tau[i] = f.coulomb * sign + f.viscous * qd[i] + f.offset;
    }
}

void Robot::massMatrix(const double* q, double* M)
{
    double angles[kMaxJoints], unit[kMaxJoints] = {}, full[7][7];
    dynamicAngles(q, angles);
    FX_CalMmat(&dynamics_, angles, unit, full);
    const int n = description_.dof;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) M[r * n + c] = full[r][c];
}

void Robot::coriolisMatrix(const double* q, const double* qd, double* C)
{
    double angles[kMaxJoints], rates[kMaxJoints], D[7][7], S[7][7], full[7][7];
    dynamicAngles(q, angles);
    copyN(qd, description_.dof, rates);
    FX_CalCmatDPT_QWith(&dynamics_, angles, &coriolisTerms_, coriolisRuns_);
    FX_CalCmat_DPT_QD(&coriolisTerms_, rates, D, S, full);
    const int n = description_.dof;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) C[r * n + c] = full[r][c];
}

}  // namespace tk
