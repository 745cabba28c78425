#include "ik7/IKSpan.h"

#include "ik7/IKSelect.h"
#include "math/FxScalar.h"

namespace {

using RefSolver = unsigned char (*)(IK_Poilt7*, double, double*, double (*)[4], double*);

constexpr double kRateStep = 0.1;    // degrees of joint 7 for FX_CALW
constexpr double kRateScale = 10.0;  // 1 / kRateStep
constexpr double kIntervalInset = 0.1;

// One side: solves with joint 7 at q7 and writes scale x (side - centre).
unsigned char probe_side(RefSolver solve, IK_Poilt7* ik, double q7, double* ref, double T[4][4],
                         const double* centre, double scale, double* dq)
{
    double side[8];
    if (solve(ik, q7, ref, T, side) != 1)
        return 0;
    for (int j = 0; j < 7; ++j)
        dq[j] = (side[j] - centre[j]) * scale;
    return 1;
}

// Centre solve at ref[6] into centre, then the plus side when dqPos is given
// and the minus side when dqNeg is given. 1 when the centre and any probed
// side solved.
unsigned char probe(RefSolver solve, IK_Poilt7* ik, double step, double scale, double* ref, double T[4][4],
                    double* centre, double* dqPos, unsigned char* okPos, double* dqNeg, unsigned char* okNeg)
{
    const double q7 = ref[6];
    if (solve(ik, q7, ref, T, centre) != 1)
        return 0;
    unsigned char result = 0;
    if (dqPos) {
        *okPos = probe_side(solve, ik, q7 + step, ref, T, centre, scale, dqPos);
        result |= *okPos;
    }
    if (dqNeg) {
        *okNeg = probe_side(solve, ik, q7 - step, ref, T, centre, scale, dqNeg);
        result |= *okNeg;
    }
    return result;
}

bool within(double v, const double* I) { return v >= I[0] && v <= I[1]; }

// The point just inside the end of I that faces v (v outside I).
double inside_end(double v, const double* I)
{
    return v < I[0] ? I[0] + kIntervalInset : I[1] - kIntervalInset;
}

}  // namespace

unsigned char FX_CALWPosSpan(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* dq,
                             unsigned char* ok)
{
    double centre[8];
    return probe(FX_IKRef7, ik, step, 1.0, ref, T, centre, dq, ok, nullptr, nullptr);
}

unsigned char FX_CALWNegSpan(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* dq,
                             unsigned char* ok)
{
    double centre[8];
    return probe(FX_IKRef7, ik, step, 1.0, ref, T, centre, nullptr, nullptr, dq, ok);
}

unsigned char FX_CALWSpan(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* dqPos,
                          double* dqNeg, unsigned char* okPos, unsigned char* okNeg)
{
    double centre[8];
    return probe(FX_IKRef7, ik, step, 1.0, ref, T, centre, dqPos, okPos, dqNeg, okNeg);
}

unsigned char FX_CALWSpan2(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* q0,
                           double* dqPos, double* dqNeg, unsigned char* okPos, unsigned char* okNeg)
{
    *okPos = 0;
    *okNeg = 0;
    return probe(FX_IKRef7, ik, step, 1.0, ref, T, q0, dqPos, okPos, dqNeg, okNeg);
}

unsigned char FX_CALWSpan2_With_Config(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* q0,
                                       double* dqPos, double* dqNeg, unsigned char* okPos,
                                       unsigned char* okNeg)
{
    *okPos = 0;
    *okNeg = 0;
    return probe(FX_IKRef7_With_Config, ik, step, 1.0, ref, T, q0, dqPos, okPos, dqNeg, okNeg);
}

unsigned char FX_CALW(IK_Poilt7* ik, double* ref, double T[4][4], double* dqPos, double* dqNeg,
                      unsigned char* okPos, unsigned char* okNeg)
{
    double centre[8];
    return probe(FX_IKRef7, ik, kRateStep, kRateScale, ref, T, centre, dqPos, okPos, dqNeg, okNeg);
}

// The third interval takes no part in the result.
double FX_Axis7_InInterval3(double v, double* I1, double* I2, double*)
{
    if (within(v, I1) || within(v, I2))
        return v;
    const double c1 = inside_end(v, I1);
    const double c2 = inside_end(v, I2);
    return FX_Fabs(c2 - v) < FX_Fabs(c1 - v) ? c2 : c1;
}
