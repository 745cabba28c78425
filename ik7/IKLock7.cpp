#include "ik7/IKLock7.h"

#include <cstring>

#include "math/FxMatrix.h"
#include "math/FxRigid.h"
#include "math/FxScalar.h"

namespace {

// Joint 4 is kept at least this far from 0 so that the elbow frame never degenerates.
constexpr double kMinElbow = 1e-5;
// How far past +-1 the joint-5 cosine may lie and still be taken as +-1.
constexpr double kWristTolerance = 1.00001;

// The shoulder point seen from the frame after joint 6 (D), with its distance
// r. False when that distance exceeds the stretched arm.
bool shoulder_in_wrist_frame(IK_Poilt7* ik, double q7, double T[4][4], double D[4][4], double* r)
{
    double P[4][4];
    FX_M44Copy(T, P);
    for (int i = 0; i < 3; ++i)
        P[i][3] = T[i][3] - ik->dF * T[i][2];
    P[2][3] -= ik->d1;

    // sin and cos of one angle are taken together throughout: the pair is
    // bit for bit what the two separate calls give, for one call's cost.
    double A[4][4], A_inv[4][4], B[4][4], s7, c7;
    FX_SIN_COS_DEG(q7, &s7, &c7);
    fx_turn_z(ik->M_fix[6], c7, s7, A);
    FX_PGMatrixInv(A, A_inv);
    fx_mul44<3>(P, A_inv, B);  // the inverse reads no last row
    FX_PGMatrixInv(B, D);

    const double Dx = D[0][3], Dy = D[1][3], Dz = D[2][3];
    *r = FX_Sqrt(Dx * Dx + Dy * Dy + Dz * Dz);
    // Written as an "inside" test: a NaN or infinite pose or q7 is out of reach.
    return *r <= ik->L_fore + ik->L_upper;
}

// Interior elbow angle (degrees) for a shoulder-to-wrist distance r; NaN when
// the arm cannot fold that far.
double elbow_angle(const IK_Poilt7* ik, double r)
{
    const double Lf = ik->L_fore, Lu = ik->L_upper;
    return FX_ACOS((Lf * Lf + Lu * Lu - r * r) / (2.0 * Lf * Lu)) * FX_RAD2DEG;
}

double away_from_zero(double q4)
{
    if (q4 > -kMinElbow && q4 < kMinElbow)
        return q4 > 0 ? kMinElbow : -kMinElbow;
    return q4;
}

// One elbow branch: joint 4, the wrist point's coordinates (c, s) in the
// elbow's plane, and the clamped joint-5 cosine argument x with its validity.
struct Elbow {
    double q4;
    double c;
    double s;
    double x;
    bool ok;
};

// check_below false accepts any cosine argument below -1 (the second elbow
// of the full solver deliberately has no tolerance on that side).
Elbow make_elbow(const IK_Poilt7* ik, double q4, double Dz, bool check_below)
{
    Elbow e;
    e.q4 = q4;
    double su, cu;
    FX_SIN_COS_DEG(ik->ang_upper + q4, &su, &cu);
    e.c = cu * ik->L_upper + ik->d5;
    e.s = su * ik->L_upper - ik->a4;
    if (FX_Fabs(e.s) < 1e-10)
        e.s = 1e-10 * e.s / FX_Fabs(e.s);
    e.x = Dz / e.s;
    e.ok = true;
    if (e.x > 1) {
        e.ok = e.x <= kWristTolerance;
        e.x = 1;
    } else if (e.x < -1) {
        e.ok = !check_below || e.x >= -kWristTolerance;
        e.x = -1;
    }
    return e;
}

// Joints 1 to 3 of a row whose joints 4 to 6 are set, from their cosines and
// sines: Z-Y-Z angles of the inverse shoulder rotation W3 W4 W5 D.
void solve_shoulder(IK_Poilt7* ik, double D[4][4], const double cos456[3], const double sin456[3],
                    double row[8])
{
    double W[3][4][4];
    for (int k = 3; k < 6; ++k)
        fx_turn_z(ik->M_fix[k], cos456[k - 3], sin456[k - 3], W[k - 3]);
    // The Z-Y-Z extraction reads rows 0 to 2 of F, which need only rows 0 to 2
    // of the products before it: no last row is formed.
    double W34[4][4], W345[4][4], F[4][4];
    fx_mul44<3>(W[0], W[1], W34);
    fx_mul44<3>(W34, W[2], W345);
    fx_mul44<3>(W345, D, F);

    double ang[3];
    unsigned char singular;
    FX_SolveZYZ(F, ang, &singular);
    row[0] = ang[2];
    row[1] = ang[1];
    row[2] = ang[0];
    row[7] = singular == 1 ? 1.0 : 0.0;
}

// The direction of the shoulder point in the frame after joint 6, degrees;
// shared by both elbows.
double wrist_phi(double D[4][4]) { return FX_ATan2(D[1][3], D[0][3]) * FX_RAD2DEG; }

// The two base rows of one elbow: joint 5 and its mirror, joint 6 from each,
// then the shoulder.
void elbow_rows(IK_Poilt7* ik, double D[4][4], const Elbow& e, double q7, double phi, double rows[2][8])
{
    const double q5 = FX_ACOS(e.x) * FX_RAD2DEG - 90.0;
    const double q5_pair[2] = {q5, q5 > 0 ? 180.0 - q5 : -180.0 - q5};
    double cos456[3], sin456[3];
    FX_SIN_COS_DEG(e.q4, &sin456[0], &cos456[0]);
    for (int j = 0; j < 2; ++j) {
        double* row = rows[j];
        FX_SIN_COS_DEG(q5_pair[j], &sin456[1], &cos456[1]);
        row[3] = e.q4;
        row[4] = q5_pair[j];
        row[5] = -FX_ATan2(cos456[1] * e.s, e.c) * FX_RAD2DEG - phi - 90.0;
        row[6] = q7;
        FX_SIN_COS_DEG(row[5], &sin456[2], &cos456[2]);
        solve_shoulder(ik, D, cos456, sin456, row);
    }
}

// Appends a base row and its shoulder twin (joint 1 and 3 turned half a turn,
// joint 2 negated). A degenerate shoulder has no distinct twin: it is copied.
void append_with_twin(const double row[8], long* count, double sol[][8])
{
    double* base = sol[(*count)++];
    double* twin = sol[(*count)++];
    std::memcpy(base, row, sizeof(double) * 8);
    std::memcpy(twin, row, sizeof(double) * 8);
    if (row[7] == 0.0) {
        twin[0] = row[0] + 180.0;
        twin[1] = -row[1];
        twin[2] = row[2] + 180.0;
        twin[0] = FX_WrapClosed(twin[0]);
        twin[2] = FX_WrapClosed(twin[2]);
    }
}

// Appends the four rows of one elbow: each base row and its twin.
void append_elbow(IK_Poilt7* ik, double D[4][4], const Elbow& e, double q7, double phi, long* count,
                  double sol[][8])
{
    double rows[2][8];
    elbow_rows(ik, D, e, q7, phi, rows);
    append_with_twin(rows[0], count, sol);
    append_with_twin(rows[1], count, sol);
}

}  // namespace

unsigned char FX_IKLock7(IK_Poilt7* ik, double q7, double T[4][4], long* count, double sol[][8])
{
    double D[4][4], r;
    if (!shoulder_in_wrist_frame(ik, q7, T, D, &r))
        return 0;
    const double E = elbow_angle(ik, r);
    const Elbow elbows[2] = {
        make_elbow(ik, away_from_zero(ik->elbow_ref - E), D[2][3], true),
        make_elbow(ik, away_from_zero(ik->elbow_ref + E - 360.0), D[2][3], false),
    };
    if (!elbows[0].ok && !elbows[1].ok)
        return 0;

    // The rows of an elbow without a wrist would be dropped: they are not formed.
    const double phi = wrist_phi(D);
    *count = 0;
    for (const Elbow& e : elbows)
        if (e.ok)
            append_elbow(ik, D, e, q7, phi, count, sol);
    return 1;
}

unsigned char FX_IKLock7_ALL(IK_Poilt7* ik, double q7, double T[4][4], long* count, double sol[][8],
                             unsigned char* flags)
{
    std::memset(flags, 0, 8);
    return FX_IKLock7(ik, q7, T, count, sol);
}

unsigned char FX_IKLock7_With_Config(IK_Poilt7* ik, double q7, double* ref, double T[4][4], long* count,
                                     double sol[][8])
{
    double D[4][4], r;
    if (!shoulder_in_wrist_frame(ik, q7, T, D, &r))
        return 0;
    const double E = elbow_angle(ik, r);
    double q4 = -kMinElbow;
    if (ref[3] > ik->elbow_ref_m180)
        q4 = ik->elbow_ref - E;
    else if (ref[3] < ik->elbow_ref_m180)
        q4 = ik->elbow_ref + E - 360.0;
    else if (ref[3] != ik->elbow_ref_m180)
        return 0;  // a NaN reference elbow names no branch
    const Elbow elbow = make_elbow(ik, away_from_zero(q4), D[2][3], true);
    if (!elbow.ok)
        return 0;

    *count = 0;
    append_elbow(ik, D, elbow, q7, wrist_phi(D), count, sol);
    return 1;
}
