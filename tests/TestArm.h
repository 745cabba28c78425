// Shared test fixture: the example arm (as a link chain, a locked-joint IK model and a Pilot
// model), hand-composed 4x4 frames, seeded random numbers, temp files, captured output.
#ifndef TOLVEX_TESTS_TESTARM_H
#define TOLVEX_TESTS_TESTARM_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <string>

#include "dynamics/FxChain.h"
#include "ik7/IKPoilt7.h"
#include "pilot/Pilot.h"

namespace tk {

constexpr double kPi = 3.14159265358979323846, kDeg = kPi / 180.0;

struct Lcg {  // deterministic pseudo-random values in [lo, hi)
    unsigned long state;
    double next(double lo, double hi)
    {
        state = state * 6364136223846793005UL + 1442695040888963407UL;
        return lo + (hi - lo) * double(state >> 11) / 9007199254740992.0;
    }
};

struct H4 {
    double m[4][4];
};
inline H4 operator*(const H4& a, const H4& b)
{
    H4 out{};
    for (int k = 0; k < 64; ++k) out.m[k / 16][k / 4 % 4] += a.m[k / 16][k % 4] * b.m[k % 4][k / 4 % 4];
    return out;
}
// Translation by (x, y, z), or a rotation by t radians about axis 0 (x), 1 (y) or 2 (z).
inline H4 trans(double x, double y, double z) { return H4{{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}}; }
inline H4 eye() { return trans(0, 0, 0); }
inline H4 rot(int axis, double t)
{
    H4 h = eye();
    const int i = (axis + 1) % 3, j = (axis + 2) % 3;
    h.m[i][i] = h.m[j][j] = std::cos(t), h.m[j][i] = std::sin(t), h.m[i][j] = -std::sin(t);
    return h;
}
// RotX(alpha) TransX(a) RotZ(q) TransZ(d), composed factor by factor.
inline H4 mdh(double alpha, double a, double d, double q) { return rot(0, alpha) * trans(a, 0, 0) * rot(2, q) * trans(0, 0, d); }

// Element-wise comparison of n doubles.
inline void expectNear(const double* want, const double* got, int n, double tol, const char* what = "")
{
    for (int k = 0; k < n; ++k) EXPECT_NEAR(want[k], got[k], tol) << what << " element " << k;
}
inline double wrap180(double d) { return std::remainder(d, 360.0); }

// The example arm in robot.ini units (degrees, mm), inertias without symmetry.
struct Link {
    double alpha_deg, a_mm, d_mm, mass, com[3], inertia[6], rotor;
};
constexpr Link kArm[7] = {
    {0, 0, 340, 4.0, {0.011, -0.032, -0.090}, {0.31, 0.004, -0.012, 0.29, 0.021, 0.052}, 0.61},
    {90, 0, 0, 4.0, {-0.004, -0.061, 0.023}, {0.12, -0.003, 0.006, 0.027, 0.011, 0.13}, 0.57},
    {-90, 0, 400, 3.0, {0.021, 0.013, -0.071}, {0.17, 0.002, -0.009, 0.16, 0.018, 0.031}, 0.33},
    {90, 20, 0, 2.7, {-0.015, 0.043, 0.008}, {0.052, 0.007, 0.001, 0.011, -0.004, 0.049}, 0.29},
    {-90, -20, 400, 1.7, {0.003, 0.019, -0.052}, {0.072, -0.001, 0.004, 0.068, 0.009, 0.012}, 0.11},
    {90, 0, 0, 1.8, {0.007, -0.011, 0.004}, {0.011, 0.0008, -0.0006, 0.0043, 0.0012, 0.0102}, 0.09},
    {-90, 0, 126, 0.3, {0.0012, 0.0009, 0.0071}, {0.0031, 0.0002, 0.0001, 0.0029, -0.0003, 0.0017}, 0.05},
};
constexpr double kFlangeMm = 35, kToolMass = 1.3;
// Tool: x, y, z in mm, A, B, C in degrees; first moment and inertia.
inline double kToolPose[6] = {12.0, -7.0, 95.0, 0.0, 0.0, 0.0}, kToolCom[3] = {0.004, -0.006, 0.041},
              kToolInertia[6] = {0.0061, 0.0004, -0.0007, 0.0055, 0.0009, 0.0023};

// Fills the chain like the robot.ini route (mm -> m, degrees -> rad), then the tool or none.
inline void buildChain(FX_Pilot* p, bool with_tool = false, const Link* links = kArm, double flange_mm = kFlangeMm,
                       int type = 1007)
{
    *p = FX_Pilot{};
    for (int i = 0; i < 7; ++i) {
        Link l = links[i];
        FX_SetLink(p, i, l.alpha_deg * kDeg, l.a_mm * 0.001, l.d_mm * 0.001, 0.0, l.mass, l.com, l.inertia, l.rotor);
    }
    FX_SetFlange(p, 0.0, 0.0, flange_mm * 0.001, 0.0);
    p->n = 7, p->type = type;
    with_tool ? FX_SetTool(p, kToolPose, kToolMass, kToolCom, kToolInertia) : FX_RemoveTool(p);
}
inline void buildIK(IK_Poilt7* ik, int type = 1007, const Link* links = kArm, double flange_mm = kFlangeMm)
{
    FX_Pilot rob;
    buildChain(&rob, false, links, flange_mm, type);
    FX_InitIK_P7(ik, &rob);
}

// The Pilot model of the same arm (d1, d3, a, d5, d7 in mm); other entries are never read.
constexpr double kD1 = 340, kD3 = 400, kA = 20, kD5 = 400, kD7 = 126;
inline void buildPilot(Pilot* pilot, unsigned char variant, double a = kA)
{
    double g[8][4];
    for (int k = 0; k < 32; ++k) g[k / 4][k % 4] = 1000 + k;
    g[0][2] = kD1, g[2][2] = kD3, g[3][1] = a, g[4][2] = kD5, g[7][2] = kD7;
    FX_Init_Pilot(pilot, variant, g);
}
// Joints (degrees) clear of the straight elbow and the shoulder and wrist singularities.
inline void randomJoints(Lcg& rng, double q[7])
{
    const double lo[7] = {-170, 15, -170, 15, -170, 10, -170}, hi[7] = {170, 110, 170, 140, 170, 80, 170};
    for (int i = 0; i < 7; ++i) {
        q[i] = rng.next(lo[i], hi[i]);
        if (i % 2 == 1 && rng.next(0, 1) < 0.5) q[i] = -q[i];
    }
}

// A file under the test temp folder holding text; returns its path.
inline std::string tempFile(const std::string& name, const std::string& text)
{
    const std::string path = testing::TempDir() + "tk_" + std::to_string(getpid()) + "_" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}
// What body prints to standard output.
template <typename Body>
std::string printed(Body body)
{
    testing::internal::CaptureStdout();
    body();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

}  // namespace tk

#endif
