// Test fixture shared by the locked-joint IK tests: the seven-axis arm built
// the way the robot.ini route builds it, a straight-line arm with exact
// arithmetic for boundary cases, and joint/pose comparisons.
#ifndef TOLVEX_TESTS_IK7TESTARM_H
#define TOLVEX_TESTS_IK7TESTARM_H

#include <cmath>

#include "dynamics/FxChain.h"
#include "ik7/IKPoilt7.h"

namespace ik7arm {

// Modified-DH table of the example arm in robot.ini units: alpha (degrees),
// a and d (mm). The zero pose stands straight up; the elbow offsets cancel.
struct Link {
    double alpha_deg, a_mm, d_mm, theta_deg;
};
constexpr Link kArm[7] = {
    {0, 0, 340, 0}, {90, 0, 0, 0},    {-90, 0, 400, 0}, {90, 20, 0, 0},
    {-90, -20, 400, 0}, {90, 0, 0, 0}, {-90, 0, 126, 0},
};
constexpr double kFlangeMm = 35;

// Fills the chain like the robot.ini route (mm -> m, degrees -> rad), sets n
// and type, removes the tool and prepares the IK model.
inline void build(const Link links[7], double flange_mm, int type, FX_Pilot* rob, IK_Poilt7* ik)
{
    *rob = FX_Pilot{};
    double com[3] = {0, 0, 0};
    double inertia[6] = {0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 7; ++i)
        FX_SetLink(rob, i, links[i].alpha_deg * 0.017453292519943295, links[i].a_mm * 0.001,
                   links[i].d_mm * 0.001, links[i].theta_deg * 0.017453292519943295, 0.0, com, inertia, 0.0);
    FX_SetFlange(rob, 0, 0, flange_mm * 0.001, 0);
    rob->n = 7;
    rob->type = type;
    FX_RemoveTool(rob);
    FX_InitIK_P7(ik, rob);
}

inline void buildExample(int type, FX_Pilot* rob, IK_Poilt7* ik) { build(kArm, kFlangeMm, type, rob, ik); }

// All joint axes parallel, no elbow offsets, d3 = d5 = 400, a7 = a7_mm: every
// fixed transform is a pure translation by whole millimetres, so reach
// boundaries are hit exactly.
inline void buildStraight(double a7_mm, double d5_mm, FX_Pilot* rob, IK_Poilt7* ik)
{
    const Link straight[7] = {
        {0, 0, 340, 0}, {0, 0, 0, 0}, {0, 0, 400, 0}, {0, 0, 0, 0},
        {0, 0, d5_mm, 0}, {0, 0, 0, 0}, {0, a7_mm, 0, 0},
    };
    build(straight, 0, 1007, rob, ik);
}

inline double wrap180(double d)
{
    while (d > 180) d -= 360;
    while (d <= -180) d += 360;
    return d;
}

// Largest joint difference over joints 1..7, modulo full turns.
inline double jointDistance(const double* a, const double* b)
{
    double worst = 0;
    for (int j = 0; j < 7; ++j) worst = std::fmax(worst, std::fabs(wrap180(a[j] - b[j])));
    return worst;
}

// Largest element difference of the top three rows.
inline double poseDistance(const double a[4][4], const double b[4][4])
{
    double worst = 0;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) worst = std::fmax(worst, std::fabs(a[r][c] - b[r][c]));
    return worst;
}

// Deterministic pseudo-random values in [lo, hi).
struct Lcg {
    unsigned long state;
    double next(double lo, double hi)
    {
        state = state * 6364136223846793005UL + 1442695040888963407UL;
        return lo + (hi - lo) * double(state >> 11) / 9007199254740992.0;
    }
};

}  // namespace ik7arm

#endif
