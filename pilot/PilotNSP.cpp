#include "pilot/PilotNSP.h"

#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxScalar.h"

namespace {

using EulerFn = int (*)(double[3][3], double[3]);

// How one joint triple is read from the arm frames turned about u.
struct TripleSolver {
    bool wrist;             // false: upper-arm frame; true: forearm frame^T x target rotation
    EulerFn euler;          // Matrix2ZYZ or Matrix2ZYX
    bool regular_takes_c2;  // regular case writes the second candidate without comparing
    bool lower_takes_c2;    // singular case: the -1 degree pass gives its second candidate
};

// The two joint triples of one Euler decomposition, each moved next to the reference.
struct Candidates {
    double c1[3];  // (alpha, -beta, gamma), degrees
    double c2[3];  // (alpha + 180, beta, gamma + 180), degrees
    double sum1;   // summed distance of c1 to the reference, degrees
    double sum2;   // summed distance of c2 to the reference, degrees
};

const TripleSolver kShoulder = {false, Matrix2ZYZ, false, true};
const TripleSolver kWristZYZ = {true, Matrix2ZYZ, true, false};
const TripleSolver kWristZYX = {true, Matrix2ZYX, false, false};

}  // namespace

static void ToMatrix33(const double* rows, double m[3][3])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            m[r][c] = rows[r * 3 + c];
}

// Euler angles of the solver's rotation with the arm turned by `angle` degrees
// about u; returns the decomposition's result (0 when singular).
static int TurnedEuler(NSPBase* nbase, const TripleSolver& solver, double angle, double euler[3])
{
    double frame[3][3];
    double turned[3][3];
    if (!solver.wrist) {
        ToMatrix33(nbase->upper_frame, frame);
        FX_MatRotAxis(nbase->axis_u, angle, frame, turned);
        return solver.euler(turned, euler);
    }
    ToMatrix33(nbase->fore_frame, frame);
    FX_MatRotAxis(nbase->axis_u, angle, frame, turned);
    double turned_t[3][3];
    double target[3][3];
    double wrist[3][3];
    FX_M3Transport(turned, turned_t);
    ToMatrix33(nbase->target_rot, target);
    FX_MMM33(turned_t, target, wrist);
    return solver.euler(wrist, euler);
}

static void FormCandidates(const double euler[3], double* ref, Candidates* cand)
{
    cand->c1[0] = euler[0];
    cand->c1[1] = -euler[1];
    cand->c1[2] = euler[2];
    cand->c2[0] = euler[0] + 180.0;
    cand->c2[1] = euler[1];
    cand->c2[2] = euler[2] + 180.0;
    cand->sum1 = MinDif(ref[0], &cand->c1[0]) + MinDif(ref[1], &cand->c1[1]) +
                 MinDif(ref[2], &cand->c1[2]);
    cand->sum2 = MinDif(ref[0], &cand->c2[0]) + MinDif(ref[1], &cand->c2[1]) +
                 MinDif(ref[2], &cand->c2[2]);
}

// The second candidate only when strictly nearer; ties keep the first.
static const double* Nearer(const Candidates& cand)
{
    return cand.sum2 < cand.sum1 ? cand.c2 : cand.c1;
}

// One joint triple at `angle`: ref and out point at the triple's first joint.
static unsigned char SolveTriple(NSPBase* nbase, const TripleSolver& solver, double angle,
                                 double* ref, double* out, unsigned char* flag)
{
    double euler[3];
    if (TurnedEuler(nbase, solver, angle, euler)) {
        *flag = 0;
        Candidates cand;
        FormCandidates(euler, ref, &cand);
        const double* pick = solver.regular_takes_c2 ? cand.c2 : Nearer(cand);
        for (int k = 0; k < 3; ++k)
            out[k] = pick[k];
        return 1;
    }

    // Singular: average the solutions one degree to either side.
    *flag = 1;
    if (!TurnedEuler(nbase, solver, angle + 1.0, euler))
        return 0;
    Candidates upper;
    FormCandidates(euler, ref, &upper);
    const double* p = Nearer(upper);
    if (!TurnedEuler(nbase, solver, angle - 1.0, euler))
        return 0;
    Candidates lower;
    FormCandidates(euler, ref, &lower);
    const double* q = solver.lower_takes_c2 ? lower.c2 : Nearer(lower);
    // The middle joint is averaged with the third angle of the lower pass.
    out[0] = (p[0] + q[0]) * 0.5;
    out[1] = (p[1] + q[2]) * 0.5;
    out[2] = (q[2] + p[2]) * 0.5;
    return 1;
}

// SolveTriple, except that a triple that is not finite (from a NaN or
// infinite arm angle or reference) is no solution: flag set, result 0.
static unsigned char FiniteTriple(NSPBase* nbase, const TripleSolver& solver, double angle,
                                  double* ref, double* out, unsigned char* flag)
{
    if (SolveTriple(nbase, solver, angle, ref, out, flag) && FX_AllFinite(out, 3))
        return 1;
    *flag = 1;
    return 0;
}

unsigned char FX_SolveJ123ZNYZ(NSPBase* nbase, double arm_angle, double* ref, double* out,
                               unsigned char* flag)
{
    return FiniteTriple(nbase, kShoulder, arm_angle, ref, out, flag);
}

unsigned char FX_SolveJ567ZNYZ(NSPBase* nbase, double arm_angle, double* ref, double* out,
                               unsigned char* flag)
{
    return FiniteTriple(nbase, kWristZYZ, arm_angle, ref + 4, out + 4, flag);
}

unsigned char FX_SolveJ567ZNYX(NSPBase* nbase, double arm_angle, double* ref, double* out,
                               unsigned char* flag)
{
    return FiniteTriple(nbase, kWristZYX, arm_angle, ref + 4, out + 4, flag);
}

unsigned char FX_InvKine_Pilot_NSP(NSPBase* nbase, double arm_angle, double* ref, double* out,
                                   unsigned char* flag1, unsigned char* flag2,
                                   unsigned char* flag3)
{
    *flag1 = 0;
    *flag2 = 0;
    *flag3 = 0;
    out[3] = nbase->q4;
    if (!FX_SolveJ123ZNYZ(nbase, arm_angle, ref, out, flag2))
        return 0;
    const unsigned char wrist = nbase->variant == 1
                                    ? FX_SolveJ567ZNYX(nbase, arm_angle, ref, out, flag3)
                                    : FX_SolveJ567ZNYZ(nbase, arm_angle, ref, out, flag3);
    return wrist != 0 ? 1 : 0;
}
