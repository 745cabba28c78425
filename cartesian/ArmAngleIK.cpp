#include "cartesian/ArmAngleIK.h"

#include <cmath>

#include "math/FxMatrix.h"
#include "math/FxRigid.h"
#include "math/FxScalar.h"

namespace {

// The reach test of the closed-form inverse kinematics: W must stay this far
// inside the stretched (and the fully folded) arm, mm.
constexpr double kReachMargin = 0.1;
// Joint 4's band around its straight angle where the elbow class is undecided, deg.
constexpr double kStraightBand = 1e-5;

double Deg(double radians) { return radians * FX_RAD2DEG; }

double Sign(double x) { return x > 0 ? 1.0 : -1.0; }

// The angle within half a turn of `centre`.
double Unwrap(double angle, double centre) { return angle + 360.0 * std::nearbyint((centre - angle) / 360.0); }

// R = Rz(a) Ry(-b) Rz(c), the shoulder and the Z-Y-Z wrist; b takes the sign given.
void SplitZYZ(const double r[3][3], double sign, double* out)
{
    out[0] = Deg(std::atan2(-sign * r[1][2], -sign * r[0][2]));
    out[1] = sign * Deg(std::atan2(std::sqrt(r[2][0] * r[2][0] + r[2][1] * r[2][1]), r[2][2]));
    out[2] = Deg(std::atan2(-sign * r[2][1], sign * r[2][0]));
}

// R = Rz(a) Ry(-b) Rx(c), the Z-Y-X wrist; cos b takes the sign given.
void SplitZYX(const double r[3][3], double sign, double* out)
{
    out[0] = Deg(std::atan2(sign * r[1][0], sign * r[0][0]));
    out[1] = Deg(std::atan2(r[2][0], sign * std::sqrt(r[0][0] * r[0][0] + r[1][0] * r[1][0])));
    out[2] = Deg(std::atan2(sign * r[2][1], sign * r[2][2]));
}

void Rotation(const double m[4][4], double r[3][3])
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r[i][j] = m[i][j];
}

void Times(const double a[3][3], const double b[3][3], double out[3][3])
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
}

// out = a^T b for 3x3 rotations.
void TransposeTimes(const double a[3][3], const double b[3][3], double out[3][3])
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out[i][j] = a[0][i] * b[0][j] + a[1][i] * b[1][j] + a[2][i] * b[2][j];
}

}  // namespace

void FX_ArmModelOf(const Pilot* pilot, ArmModel* model)
{
    model->variant = pilot->variant;
    for (int i = 0; i < 3; ++i) {
        model->shoulder[i] = pilot->fixed[0][i][3];
        model->elbow[i] = pilot->fixed[3][i][3];
        model->wrist[i] = pilot->fixed[4][i][3];
    }
    Rotation(pilot->fixed[3], model->elbow_rot);
    Rotation(pilot->fixed[4], model->wrist_rot);
    // Joints 5-7 turn Rz(q5) F5 Rz(q6) F6 Rz(q7) = Rz(q5) R(F5 z, q6) R(F5 F6 z, q7) F5 F6:
    // with F5 F6 taken off, the wrist is a plain Euler triple.
    double flange_tool[4][4], wrist_in_tool[4][4], f5[3][3], f6[3][3], fixed56[3][3];
    fx_mul44(pilot->flange, pilot->tool, flange_tool);
    FX_PGMatrixInv(flange_tool, wrist_in_tool);
    Rotation(pilot->fixed[5], f5);
    Rotation(pilot->fixed[6], f6);
    Times(f5, f6, fixed56);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            model->tool_to_wrist[i][j] = wrist_in_tool[i][0] * fixed56[j][0] + wrist_in_tool[i][1] * fixed56[j][1] +
                                         wrist_in_tool[i][2] * fixed56[j][2];
        model->tool_to_wrist[i][3] = wrist_in_tool[i][3];
        model->tool_to_wrist[3][i] = 0;
    }
    model->tool_to_wrist[3][3] = 1;
    model->upper_reach = pilot->L1;
    model->fore_reach = pilot->L2;
    model->elbow_angle = pilot->elbow_angle;
    model->straight_q4 = pilot->straight_q4;
}

bool FX_ArmBranchOf(const ArmModel* model, const PilotLmt* lmt, const double joints[7], ArmBranch* branch)
{
    if (!FX_AllFinite(joints, 7))
        return false;
    const double bend = joints[3] - model->straight_q4;
    const double shoulder = FX_SIN_DEG(joints[1]);
    const double wrist = model->variant == 1 ? FX_COS_DEG(joints[5]) : FX_SIN_DEG(joints[5]);
    if (!(std::fabs(bend) > kStraightBand) || shoulder == 0 || wrist == 0)
        return false;
    branch->elbow = static_cast<signed char>(Sign(bend));
    branch->shoulder = static_cast<signed char>(Sign(shoulder));
    branch->wrist = static_cast<signed char>(Sign(wrist));
    for (int i = 0; i < 7; ++i) {
        const double lo = lmt->JointMin[i], hi = lmt->JointMax[i];
        branch->centre[i] = hi - lo <= 360 ? 0.5 * (lo + hi) : joints[i];
    }
    return true;
}

unsigned char FX_ArmPoseOf(const ArmModel* model, const ArmBranch* branch, const double pose[4][4],
                           double margin, ArmPose* out)
{
    out->status = ARM_NOT_FINITE;
    for (int r = 0; r < 3; ++r)
        if (!FX_AllFinite(pose[r], 4))
            return out->status;
    out->margin_sin = FX_SIN_DEG(margin);
    const double(*g)[4] = model->tool_to_wrist;
    double d[3];
    for (int i = 0; i < 3; ++i) {
        out->wrist[i] = pose[i][0] * g[0][3] + pose[i][1] * g[1][3] + pose[i][2] * g[2][3] + pose[i][3];
        d[i] = out->wrist[i] - model->shoulder[i];
        for (int j = 0; j < 3; ++j)
            out->target[i][j] = pose[i][0] * g[0][j] + pose[i][1] * g[1][j] + pose[i][2] * g[2][j];
    }
    const double reach = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    const double l1 = model->upper_reach, l2 = model->fore_reach;
    out->reach = reach;
    if (!(reach + kReachMargin < l1 + l2))
        return out->status = ARM_OUT_OF_REACH;
    if (!(reach - kReachMargin > std::fabs(l1 - l2)))
        return out->status = ARM_TOO_CLOSE;
    double* u = out->axis;
    for (int i = 0; i < 3; ++i)
        u[i] = d[i] / reach;
    const double vertical = std::sqrt(u[0] * u[0] + u[1] * u[1]);
    out->vertical = vertical;
    if (!(vertical > out->margin_sin) || vertical == 0)
        return out->status = ARM_ANGLE_UNDEFINED;
    out->up[0] = -u[2] * u[0] / vertical;
    out->up[1] = -u[2] * u[1] / vertical;
    out->up[2] = vertical;
    fx_cross(u, out->up, out->side);

    const double interior = FX_ACOS((l1 * l1 + l2 * l2 - reach * reach) / (2 * l1 * l2)) * FX_RAD2DEG;
    out->q4 = branch->elbow > 0 ? model->elbow_angle - interior : model->elbow_angle + interior - 360;
    if (!((out->q4 - model->straight_q4) * branch->elbow > std::fmax(margin, kStraightBand)))
        return out->status = ARM_ELBOW_STRAIGHT;

    // W in joint 3's frame: E + elbow rotation Rz(q4) (W in joint 4's frame).
    double s4, c4, turned[3][3], w3[3];
    FX_SIN_COS_DEG(out->q4, &s4, &c4);
    const double* w4 = model->wrist;
    const double in4[3] = {c4 * w4[0] - s4 * w4[1], s4 * w4[0] + c4 * w4[1], w4[2]};
    for (int i = 0; i < 3; ++i) {
        w3[i] = model->elbow[i] + model->elbow_rot[i][0] * in4[0] + model->elbow_rot[i][1] * in4[1] +
                model->elbow_rot[i][2] * in4[2];
        turned[i][0] = c4 * model->elbow_rot[i][0] + s4 * model->elbow_rot[i][1];
        turned[i][1] = c4 * model->elbow_rot[i][1] - s4 * model->elbow_rot[i][0];
        turned[i][2] = model->elbow_rot[i][2];
    }
    Times(turned, model->wrist_rot, out->fore_frame);
    const double in_plane = std::sqrt(w3[0] * w3[0] + w3[2] * w3[2]);
    out->wrist_sin = w3[0] / in_plane;
    out->wrist_cos = w3[2] / in_plane;
    const double side = model->elbow[0] * w3[2] - model->elbow[2] * w3[0];
    if (!(side != 0))
        return out->status = ARM_ELBOW_STRAIGHT;
    out->elbow_side = static_cast<signed char>(Sign(side));
    return out->status = ARM_OK;
}

void FX_ArmFrames(const ArmPose* p, double psi, double upper[3][3], double wrist[3][3])
{
    double s, c;
    FX_SIN_COS_DEG(psi, &s, &c);
    double m[3], y[3];
    for (int i = 0; i < 3; ++i)
        m[i] = p->elbow_side * (c * p->up[i] + s * p->side[i]);
    fx_cross(p->axis, m, y);
    for (int i = 0; i < 3; ++i) {
        upper[i][0] = p->wrist_sin * p->axis[i] + p->wrist_cos * m[i];
        upper[i][1] = y[i];
        upper[i][2] = p->wrist_cos * p->axis[i] - p->wrist_sin * m[i];
    }
    double fore[3][3];
    Times(upper, p->fore_frame, fore);
    TransposeTimes(fore, p->target, wrist);
}

void FX_ArmWristJoints(const ArmModel* model, const ArmBranch* branch, const double wrist[3][3], double joints[7])
{
    if (model->variant == 1)
        SplitZYX(wrist, branch->wrist, joints + 4);
    else
        SplitZYZ(wrist, branch->wrist, joints + 4);
    for (int i = 4; i < 7; ++i)
        joints[i] = Unwrap(joints[i], branch->centre[i]);
}

unsigned char FX_ArmJoints(const ArmModel* model, const ArmBranch* branch, const ArmPose* p, double psi,
                           double joints[7])
{
    if (p->status != ARM_OK)
        return p->status;
    if (!std::isfinite(psi))
        return ARM_NOT_FINITE;
    double upper[3][3], wrist[3][3];
    FX_ArmFrames(p, psi, upper, wrist);
    SplitZYZ(upper, branch->shoulder, joints);
    joints[3] = p->q4;
    for (int i = 0; i < 4; ++i)
        joints[i] = Unwrap(joints[i], branch->centre[i]);
    FX_ArmWristJoints(model, branch, wrist, joints);
    if (!(std::sqrt(upper[2][0] * upper[2][0] + upper[2][1] * upper[2][1]) >= p->margin_sin))
        return ARM_SHOULDER_SINGULAR;
    const double wrist_sin = model->variant == 1 ? std::sqrt(wrist[0][0] * wrist[0][0] + wrist[1][0] * wrist[1][0])
                                                 : std::sqrt(wrist[2][0] * wrist[2][0] + wrist[2][1] * wrist[2][1]);
    if (!(wrist_sin >= p->margin_sin))
        return ARM_WRIST_SINGULAR;
    return ARM_OK;
}

double FX_ArmAngleOf(Pilot* pilot, const double joints[7])
{
    double q[7], pose[4][4];
    for (int i = 0; i < 7; ++i)
        q[i] = joints[i];
    FX_Kine_Pilot(pilot, q, pose);
    double u[3], e[3];
    for (int i = 0; i < 3; ++i) {
        u[i] = pilot->joint_pose[4][i][3] - pilot->joint_pose[1][i][3];
        e[i] = pilot->joint_pose[3][i][3] - pilot->joint_pose[1][i][3];
    }
    const double reach = std::sqrt(u[0] * u[0] + u[1] * u[1] + u[2] * u[2]);
    for (double& x : u)
        x /= reach;
    const double vertical = std::sqrt(u[0] * u[0] + u[1] * u[1]);
    const double up[3] = {-u[2] * u[0] / vertical, -u[2] * u[1] / vertical, vertical};
    double side[3];
    fx_cross(u, up, side);
    const double x = e[0] * up[0] + e[1] * up[1] + e[2] * up[2];
    const double y = e[0] * side[0] + e[1] * side[1] + e[2] * side[2];
    if (!(vertical > 0) || (x == 0 && y == 0))
        return NAN;
    return Deg(std::atan2(y, x));
}
