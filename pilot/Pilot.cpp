#include "pilot/Pilot.h"

#include "math/FxMatrix.h"
#include "math/FxRigid.h"
#include "math/FxScalar.h"

namespace {

// Rotations of the fixed frames, rows top to bottom.
const double kRxPlus90[3][3] = {{1, 0, 0}, {0, 0, -1}, {0, 1, 0}};
const double kRxMinus90[3][3] = {{1, 0, 0}, {0, 0, 1}, {0, -1, 0}};
// Variant 1 turns joint 7 so that axes 5, 6 and 7 are mutually perpendicular at zero;
// its flange turns back so that both variants share the same zero pose.
const double kJoint7ZYX[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
const double kFlangeZYX[3][3] = {{0, 0, 1}, {0, -1, 0}, {1, 0, 0}};

// Writes rotation and translation into a frame whose last row is already 0, 0, 0, 1.
void SetFrame(double frame[4][4], const double rotation[3][3], double x, double y, double z)
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            frame[r][c] = rotation[r][c];
        }
    }
    frame[0][3] = x;
    frame[1][3] = y;
    frame[2][3] = z;
}

}  // namespace

void FX_Init_Pilot(Pilot* pilot, unsigned char variant, double geometry[8][4])
{
    const double d1 = geometry[0][2];
    const double d3 = geometry[2][2];
    const double a = geometry[3][1];
    const double d5 = geometry[4][2];
    const double d7 = geometry[7][2];

    pilot->variant = variant;
    for (int i = 0; i < 7; ++i) {
        IdentM44(pilot->fixed[i]);
        IdentM44(pilot->moved[i]);
        IdentM44(pilot->joint_pose[i]);
    }
    IdentM44(pilot->flange);
    IdentM44(pilot->flange_inv);
    IdentM44(pilot->flange_pose);
    IdentM44(pilot->tool);
    IdentM44(pilot->tool2);
    IdentM44(pilot->tool_pose);

    // The shoulder height sits in joint 1's frame; there is no separate base transform.
    pilot->fixed[0][2][3] = d1;
    SetFrame(pilot->fixed[1], kRxPlus90, 0, 0, 0);
    SetFrame(pilot->fixed[2], kRxMinus90, 0, 0, 0);
    SetFrame(pilot->fixed[3], kRxPlus90, a, 0, d3);
    SetFrame(pilot->fixed[4], kRxMinus90, -a, d5, 0);
    SetFrame(pilot->fixed[5], kRxPlus90, 0, 0, 0);
    if (variant == 0) {
        SetFrame(pilot->fixed[6], kRxMinus90, 0, 0, 0);
        pilot->flange[2][3] = d7;
    } else {
        SetFrame(pilot->fixed[6], kJoint7ZYX, 0, 0, 0);
        SetFrame(pilot->flange, kFlangeZYX, d7, 0, 0);
    }
    FX_PGMatrixInv(pilot->flange, pilot->flange_inv);

    pilot->L1 = FX_Sqrt(d3 * d3 + a * a);
    pilot->L2 = FX_Sqrt(d5 * d5 + a * a);
    pilot->upper_offset = FX_ATan2(a, d3) * FX_RAD2DEG;
    pilot->fore_offset = FX_ATan2(a, d5) * FX_RAD2DEG;
    pilot->elbow_angle = 180 - pilot->upper_offset - pilot->fore_offset;
    pilot->straight_reach = FX_Sqrt(pilot->L1 * pilot->L1 + pilot->L2 * pilot->L2);
    pilot->straight_q4 = -pilot->upper_offset;

    double zero_joints[7] = {0, 0, 0, 0, 0, 0, 0};
    double zero_pose[4][4];
    FX_Kine_Pilot(pilot, zero_joints, zero_pose);
}

void FX_Kine_Pilot(Pilot* pilot, double* joints, double pose[4][4])
{
    // The sines first, so that the independent calls overlap.
    double s[7];
    double c[7];
    for (int i = 0; i < 7; ++i) {
        FX_SIN_COS_DEG(joints[i], &s[i], &c[i]);
    }
    for (int i = 0; i < 7; ++i) {
        fx_turn_z(pilot->fixed[i], c[i], s[i], pilot->moved[i]);
        if (i == 0)
            fx_copy44(pilot->moved[0], pilot->joint_pose[0]);
        else
            fx_mul44(pilot->joint_pose[i - 1], pilot->moved[i], pilot->joint_pose[i]);
    }
    fx_mul44(pilot->joint_pose[6], pilot->flange, pilot->flange_pose);
    fx_mul44(pilot->flange_pose, pilot->tool, pilot->tool_pose);
    fx_copy44(pilot->tool_pose, pose);
}

void FX_Jacb_Pilot(Pilot* pilot, double jacobian[6][7])
{
    for (int i = 0; i < 7; ++i) {
        double(*joint)[4] = pilot->joint_pose[i];
        double axis[3] = {joint[0][2], joint[1][2], joint[2][2]};
        double lever[3] = {pilot->tool_pose[0][3] - joint[0][3],
                           pilot->tool_pose[1][3] - joint[1][3],
                           pilot->tool_pose[2][3] - joint[2][3]};
        double linear[3];
        fx_cross(axis, lever, linear);
        for (int r = 0; r < 3; ++r) {
            jacobian[r][i] = linear[r] * FX_MM2M;
            jacobian[r + 3][i] = axis[r];
        }
    }
}

int FX_GetJ4Type_Pilot(Pilot* pilot, double q4)
{
    if (q4 > pilot->straight_q4 + 1e-5) {
        return 1;
    }
    if (q4 < pilot->straight_q4 - 1e-5) {
        return -1;
    }
    return 0;
}
