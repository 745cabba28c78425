// Test fixture shared by the dynamics tests: a seven-joint modified-DH arm
// with non-trivial link parameters, and small independent 3x3/4x4 helpers.
#ifndef TOLVEX_TESTS_FXTESTARM_H
#define TOLVEX_TESTS_FXTESTARM_H

#include <cmath>

#include "dynamics/FxChain.h"

namespace testarm {

constexpr double kPi = 3.14159265358979323846;
constexpr double kFlange = 0.126;

struct LinkRow {
    double alpha_deg, a, d, mass, com[3], inertia[6], rotor;
};

// alpha, a, d of a seven-axis arm; first moments and inertias chosen
// without symmetry so that every term of the recursion contributes.
inline const LinkRow* rows()
{
    static const LinkRow table[7] = {
        {0, 0.0, 0.34, 4.0, {0.011, -0.032, -0.090}, {0.31, 0.004, -0.012, 0.29, 0.021, 0.052}, 0.61},
        {-90, 0.0, 0.0, 4.0, {-0.004, -0.061, 0.023}, {0.12, -0.003, 0.006, 0.027, 0.011, 0.13}, 0.57},
        {90, 0.0, 0.4, 3.0, {0.021, 0.013, -0.071}, {0.17, 0.002, -0.009, 0.16, 0.018, 0.031}, 0.33},
        {90, 0.02, 0.0, 2.7, {-0.015, 0.043, 0.008}, {0.052, 0.007, 0.001, 0.011, -0.004, 0.049}, 0.29},
        {-90, -0.02, 0.4, 1.7, {0.003, 0.019, -0.052}, {0.072, -0.001, 0.004, 0.068, 0.009, 0.012}, 0.11},
        {90, 0.0, 0.0, 1.8, {0.007, -0.011, 0.004}, {0.011, 0.0008, -0.0006, 0.0043, 0.0012, 0.0102}, 0.09},
        {-90, 0.0, 0.0, 0.3, {0.0012, 0.0009, 0.0071}, {0.0031, 0.0002, 0.0001, 0.0029, -0.0003, 0.0017}, 0.05},
    };
    return table;
}

// Tool: x, y, z in mm, A, B, C in degrees; mass, first moment, inertia.
inline double* toolPose()
{
    static double pose[6] = {12.0, -7.0, 95.0, 0.0, 0.0, 0.0};
    return pose;
}
constexpr double kToolMass = 1.3;
inline double* toolCom()
{
    static double com[3] = {0.004, -0.006, 0.041};
    return com;
}
inline double* toolInertia()
{
    static double inertia[6] = {0.0061, 0.0004, -0.0007, 0.0055, 0.0009, 0.0023};
    return inertia;
}

// Builds the arm in the order the library is initialised: links, flange,
// n and type, then the tool (or none).
inline void build(FX_Pilot* p, bool with_tool)
{
    *p = FX_Pilot{};
    for (int i = 0; i < 7; ++i) {
        LinkRow r = rows()[i];
        FX_SetLink(p, i, r.alpha_deg * kPi / 180.0, r.a, r.d, 0.0, r.mass, r.com, r.inertia,
                   r.rotor);
    }
    FX_SetFlange(p, 0.0, 0.0, kFlange, 0.0);
    p->n = 7;
    p->type = 1;
    if (with_tool)
        FX_SetTool(p, toolPose(), kToolMass, toolCom(), toolInertia());
    else
        FX_RemoveTool(p);
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

struct V3 {
    double x, y, z;
};
inline V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline V3 operator-(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline V3 operator*(double s, V3 a) { return {s * a.x, s * a.y, s * a.z}; }
inline V3 cross(V3 a, V3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

struct M3 {
    double m[3][3];
};
inline V3 operator*(const M3& R, V3 v)
{
    return {R.m[0][0] * v.x + R.m[0][1] * v.y + R.m[0][2] * v.z,
            R.m[1][0] * v.x + R.m[1][1] * v.y + R.m[1][2] * v.z,
            R.m[2][0] * v.x + R.m[2][1] * v.y + R.m[2][2] * v.z};
}
inline M3 transpose(const M3& R)
{
    M3 t;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) t.m[r][c] = R.m[c][r];
    return t;
}

struct H4 {
    double m[4][4];
};
inline H4 identity()
{
    H4 h{};
    for (int k = 0; k < 4; ++k) h.m[k][k] = 1.0;
    return h;
}
inline H4 operator*(const H4& a, const H4& b)
{
    H4 out{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            for (int k = 0; k < 4; ++k) out.m[r][c] += a.m[r][k] * b.m[k][c];
    return out;
}
inline H4 rotX(double t)
{
    H4 h = identity();
    h.m[1][1] = std::cos(t);
    h.m[1][2] = -std::sin(t);
    h.m[2][1] = std::sin(t);
    h.m[2][2] = std::cos(t);
    return h;
}
inline H4 rotZ(double t)
{
    H4 h = identity();
    h.m[0][0] = std::cos(t);
    h.m[0][1] = -std::sin(t);
    h.m[1][0] = std::sin(t);
    h.m[1][1] = std::cos(t);
    return h;
}
inline H4 trans(double x, double y, double z)
{
    H4 h = identity();
    h.m[0][3] = x;
    h.m[1][3] = y;
    h.m[2][3] = z;
    return h;
}
// RotX(alpha) TransX(a) RotZ(q) TransZ(d), composed factor by factor.
inline H4 mdh(double alpha, double a, double d, double q)
{
    return rotX(alpha) * trans(a, 0, 0) * rotZ(q) * trans(0, 0, d);
}
inline M3 rotationOf(const H4& h)
{
    M3 R;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) R.m[r][c] = h.m[r][c];
    return R;
}
inline V3 positionOf(const H4& h) { return {h.m[0][3], h.m[1][3], h.m[2][3]}; }

}  // namespace testarm

#endif
