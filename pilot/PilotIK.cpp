#include "pilot/PilotIK.h"

#include "math/FxMatrix.h"
#include "math/FxScalar.h"
#include "pilot/PilotNSP.h"

namespace {

// The wrist centre must stay this far inside the stretched arm (mm).
constexpr double kReachMargin = 0.1;

// What both elbow-plane choices share: the shoulder-wrist line, joint 4 and the
// meeting point of the upper-arm and forearm axes in the arm triangle's plane.
struct ArmTriangle {
    double t1[4][4];  // target x second tool slot, mm
    double s[3];      // shoulder point, mm
    double w[3];      // wrist centre, mm
    double u[3];      // unit vector from s to w
    double c[3];      // foot of the axes' meeting point on the shoulder-wrist line, mm
    double y;         // distance of the meeting point from that line, mm
    int elbow_type;   // +1 / -1, class of the reference joint 4
    double q4;        // joint 4, degrees
};

}  // namespace

// Reach, joint 4 and the arm triangle; false (with flag1 set where due) on failure.
static bool SolveArmTriangle(Pilot* pilot, double* ref, double target[4][4], NSPBase* nbase,
                             unsigned char* flag1, unsigned char* flag2, unsigned char* flag3,
                             ArmTriangle* tri)
{
    *flag1 = 0;
    *flag2 = 0;
    *flag3 = 0;
    nbase->variant = pilot->variant;

    double t2[4][4];
    FX_MMM44(target, pilot->tool2, tri->t1);
    FX_MMM44(tri->t1, pilot->flange_inv, t2);
    double d[3];
    for (int i = 0; i < 3; ++i) {
        tri->w[i] = t2[i][3];
        tri->s[i] = pilot->joint_pose[1][i][3];
        d[i] = tri->w[i] - tri->s[i];
    }
    const double dist = FX_Sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);

    const double l1 = pilot->L1;
    const double l2 = pilot->L2;
    if (!(dist + kReachMargin < l1 + l2)) {
        *flag1 = 1;
        return false;
    }
    const double elbow = FX_ACOS((l1 * l1 + l2 * l2 - dist * dist) / (2.0 * l1 * l2)) * FX_RAD2DEG;

    const int type = FX_GetJ4Type_Pilot(pilot, ref[3]);
    if (type == 0) {
        *flag1 = 1;
        return false;
    }
    const double q4_a = pilot->elbow_angle - elbow;
    const double q4_b = pilot->elbow_angle + elbow - 360.0;
    if (FX_GetJ4Type_Pilot(pilot, q4_a) == type) {
        tri->q4 = q4_a;
    } else if (FX_GetJ4Type_Pilot(pilot, q4_b) == type) {
        tri->q4 = q4_b;
    } else {
        *flag1 = 1;
        return false;
    }
    tri->elbow_type = type;

    // Angles of the triangle S-elbow-W at S and W, then of the joint axis lines
    // that run beside its sides by the offset angles.
    const double alpha =
        FX_ACOS((l1 * l1 + dist * dist - l2 * l2) / (2.0 * dist * l1)) * FX_RAD2DEG;
    const double beta = 180.0 - alpha - elbow;
    double alpha_axis;
    double beta_axis;
    if (type == 1) {
        alpha_axis = alpha - pilot->upper_offset;
        beta_axis = beta - pilot->fore_offset;
    } else {
        alpha_axis = alpha + pilot->upper_offset;
        beta_axis = beta + pilot->fore_offset;
    }
    double s1, c1, s2, c2;
    FX_SIN_COS_DEG(alpha_axis, &s1, &c1);
    FX_SIN_COS_DEG(180.0 - beta_axis, &s2, &c2);
    double meet[2];
    FX_SolveTrange2D(dist, c1, s1, c2, s2, meet);

    for (int i = 0; i < 3; ++i) {
        tri->u[i] = d[i] / dist;
        tri->c[i] = tri->s[i] + meet[0] * tri->u[i];
    }
    tri->y = meet[1];
    return true;
}

// Columns (x, y, z) of an arm frame with z along `z` and y normal to the elbow
// plane, stored row-major; `flip` negates x and y.
static void StoreArmFrame(double* z, double* minus_e1, bool flip, double* frame)
{
    double x[3];
    double y[3];
    FX_VectCross(z, minus_e1, y);
    FX_VectNorm(y);
    FX_VectCross(y, z, x);
    FX_VectNorm(x);
    for (int r = 0; r < 3; ++r) {
        frame[r * 3 + 0] = flip ? -x[r] : x[r];
        frame[r * 3 + 1] = flip ? -y[r] : y[r];
        frame[r * 3 + 2] = z[r];
    }
}

// Places the elbow on the side of `plane` (any vector in the wanted elbow plane),
// stores the arm frames in nbase and solves the joints at arm angle 0.
static unsigned char SolveInPlane(ArmTriangle* tri, double* plane, NSPBase* nbase, double* ref,
                                  double* out, unsigned char* flag1, unsigned char* flag2,
                                  unsigned char* flag3)
{
    double v[3] = {plane[0], plane[1], plane[2]};
    double e1[3];
    double e2[3];
    FX_VectNorm(v);
    FX_VectCross(tri->u, v, e2);
    FX_VectNorm(e2);
    FX_VectCross(e2, tri->u, e1);
    FX_VectNorm(e1);
    // A zero, NaN or shoulder-wrist-parallel plane vector (or a wrist centre
    // on the shoulder) fixes no elbow plane: fail before nbase is touched.
    if (!FX_AllFinite(e1, 3)) {
        *flag1 = 1;
        return 0;
    }

    double zu[3];
    double zf[3];
    double minus_e1[3];
    for (int i = 0; i < 3; ++i) {
        const double meet = tri->c[i] + tri->y * e1[i];
        zu[i] = meet - tri->s[i];
        zf[i] = tri->w[i] - meet;
        minus_e1[i] = -e1[i];
    }
    FX_VectNorm(zu);
    FX_VectNorm(zf);

    const bool flip = tri->elbow_type == 1;
    nbase->elbow_type = tri->elbow_type;
    nbase->q4 = tri->q4;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            nbase->target_rot[r * 3 + c] = tri->t1[r][c];
    for (int i = 0; i < 3; ++i)
        nbase->axis_u[i] = tri->u[i];
    StoreArmFrame(zu, minus_e1, flip, nbase->upper_frame);
    StoreArmFrame(zf, minus_e1, flip, nbase->fore_frame);

    return FX_InvKine_Pilot_NSP(nbase, 0.0, ref, out, flag1, flag2, flag3);
}

unsigned char FX_InvKine_Pilot(Pilot* pilot, double* ref, double target[4][4], NSPBase* nbase,
                               double* out, unsigned char* flag1, unsigned char* flag2,
                               unsigned char* flag3)
{
    ArmTriangle tri;
    if (!SolveArmTriangle(pilot, ref, target, nbase, flag1, flag2, flag3, &tri))
        return 0;

    // The reference upper arm's far end, from ref joints 1 and 2.
    double s1, c1, s2, c2;
    FX_SIN_COS_DEG(ref[0], &s1, &c1);
    FX_SIN_COS_DEG(-ref[1], &s2, &c2);
    const double axis[3] = {c1 * s2, s1 * s2, c2};
    double plane[3];
    for (int i = 0; i < 3; ++i)
        plane[i] = tri.s[i] + pilot->L1 * axis[i] - tri.c[i];
    return SolveInPlane(&tri, plane, nbase, ref, out, flag1, flag2, flag3);
}

unsigned char FX_InvKine_PilotDir(Pilot* pilot, double* ref, double target[4][4], double* dir,
                                  NSPBase* nbase, double* out, unsigned char* flag1,
                                  unsigned char* flag2, unsigned char* flag3)
{
    ArmTriangle tri;
    if (!SolveArmTriangle(pilot, ref, target, nbase, flag1, flag2, flag3, &tri))
        return 0;
    return SolveInPlane(&tri, dir, nbase, ref, out, flag1, flag2, flag3);
}

void FX_SolveTrange2D(double d, double c1, double s1, double c2, double s2, double out[2])
{
    if (FX_Fabs(c1) < 1e-8) {
        out[0] = 0.0;
        out[1] = -d / (s2 / c2);
    } else if (FX_Fabs(c2) < 1e-8) {
        out[0] = d;
        out[1] = d / (s1 / c1);
    } else {
        const double t1 = s1 / c1;
        const double t2 = s2 / c2;
        out[0] = -d * t2 / (t1 - t2);
        out[1] = out[0] * t1;
    }
}
