#include "ik7/IKSelect.h"

#include <cstdio>

#include "ik7/IKLock7.h"
#include "math/FxScalar.h"

namespace {

// A joint closer to 0 than this (degrees) makes its two neighbouring axes coincide.
constexpr double kAtZero = 0.01;

bool at_zero(double q) { return fx_abs(q) < kAtZero; }

// Joint 2 at zero: joint 1 takes the reference, joint 3 the rest of the
// shoulder rotation, whose sign the degenerate shoulder solve reversed.
void split_shoulder(double row[8], const double* ref)
{
    const double q1 = row[0], q3 = row[2];
    row[0] = ref[0];
    row[2] = -(q1 + q3) - ref[0];
}

// Joint 6 at zero: joint 5 takes the reference, joint 7 the rest.
void split_wrist(double row[8], const double* ref)
{
    const double q5 = row[4], q7 = row[6];
    row[4] = ref[4];
    row[6] = (q5 + q7) - ref[4];
}

void resolve_singular(double row[8], const double* ref)
{
    const bool z2 = at_zero(row[1]), z4 = at_zero(row[3]), z6 = at_zero(row[5]);
    const double q1 = row[0], q3 = row[2], q5 = row[4], q7 = row[6];
    const double r1 = ref[0], r3 = ref[2], r5 = ref[4];
    if (z2 && z4 && z6) {
        row[0] = r1;
        row[2] = r3;
        row[4] = r5;
        row[6] = q7 + q5 - (q1 + q3) - r1 - r3 - r5;
    } else if (z4 && z6) {
        row[2] = r3;
        row[4] = r5;
        row[6] = q3 + q5 + q7 - r3 - r5;
    } else if (z2 && z4) {
        // No sum is carried over to joint 5 here.
        row[0] = r1;
        row[2] = r3;
    } else if (z4) {
        row[2] = r3;
        row[4] = (q3 + q5) - r3;
    } else {
        if (z2)
            split_shoulder(row, ref);
        if (z6)
            split_wrist(row, ref);
    }
}

double distance(const double row[8], const double* ref)
{
    double cost = 0.0;
    for (int j = 0; j < 7; ++j)
        cost += fx_abs(FX_WrapHalfOpen(row[j] - ref[j]));
    return cost;
}

}  // namespace

unsigned char FX_SelectSolve(IK_Poilt7*, long n, double* ref, double sol[][8], double* out)
{
    double cost[8];
    if (n < 1 || n > 8)
        return 0;  // the table and the cost array hold one to eight rows
    for (long i = 0; i < n; ++i) {
        resolve_singular(sol[i], ref);
        cost[i] = distance(sol[i], ref);
    }
    long best = 0;
    for (long i = 1; i < n; ++i)
        if (cost[i] < cost[best])
            best = i;
    for (int j = 0; j < 8; ++j)
        out[j] = FX_WrapHalfOpen(sol[best][j]);
    return 1;
}

unsigned char FX_SelectSolve_With_Range(IK_Poilt7* ik, long n, double* ref, double sol[][8], double* out)
{
    return FX_SelectSolve(ik, n, ref, sol, out);
}

unsigned char FX_IKRef7(IK_Poilt7* ik, double q7, double* ref, double T[4][4], double* out)
{
    long count;
    double table[8][8];
    if (FX_IKLock7(ik, q7, T, &count, table) != 1)
        return 0;
    return FX_SelectSolve(ik, count, ref, table, out);
}

unsigned char FX_IKRef7_With_Config(IK_Poilt7* ik, double q7, double* ref, double T[4][4], double* out)
{
    long count;
    double table[4][8];
    if (FX_IKLock7_With_Config(ik, q7, ref, T, &count, table) != 1)
        return 0;
    return FX_SelectSolve_With_Range(ik, count, ref, table, out);
}

int PP7(double* q)
{
    for (int j = 0; j < 7; ++j)
        std::printf("%lf\t", q[j]);
    return std::putchar('\n');
}
