// A straightforward Newton-Euler recursion on physical link parameters, in the base
// frame: full link masses, centres of mass, inertias about them, gravity as a vector.
// It shares nothing with the library's link-frame recursion or its regrouping, so
// the robot object's torques can be checked against it.
#ifndef TOLVEX_TESTS_PHYSICALNEWTONEULER_H
#define TOLVEX_TESTS_PHYSICALNEWTONEULER_H

#include <cmath>

#include "robot/Robot.h"
#include "tests/TestArm.h"

namespace tk {

struct V3 {
    double x, y, z;
};
inline V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline V3 operator-(V3 a, V3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline V3 operator*(double s, V3 a) { return {s * a.x, s * a.y, s * a.z}; }
inline double dot(V3 a, V3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline V3 cross(V3 a, V3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }

inline H4 toH4(const double T[4][4])
{
    H4 h;
    for (int k = 0; k < 16; ++k) h.m[k / 4][k % 4] = T[k / 4][k % 4];
    return h;
}
inline V3 column(const H4& T, int c) { return {T.m[0][c], T.m[1][c], T.m[2][c]}; }
inline V3 apply(const H4& T, V3 p) { return column(T, 3) + p.x * column(T, 0) + p.y * column(T, 1) + p.z * column(T, 2); }

// A rigid body in the base frame: mass, centre, inertia about the centre (base axes).
struct Body {
    double m = 0;
    V3 c{0, 0, 0};
    double I[3][3] = {};
};
inline Body placed(const H4& T, double mass, const double* com, const double* in)
{
    Body b;
    b.m = mass;
    b.c = apply(T, {com[0], com[1], com[2]});
    const double L[3][3] = {{in[0], in[1], in[2]}, {in[1], in[3], in[4]}, {in[2], in[4], in[5]}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            for (int s = 0; s < 3; ++s)
                for (int t = 0; t < 3; ++t) b.I[r][c] += T.m[r][s] * L[s][t] * T.m[c][t];
    return b;
}
inline V3 times(const double I[3][3], V3 v)
{
    return {I[0][0] * v.x + I[0][1] * v.y + I[0][2] * v.z, I[1][0] * v.x + I[1][1] * v.y + I[1][2] * v.z,
            I[2][0] * v.x + I[2][1] * v.y + I[2][2] * v.z};
}

// Joint frames of description d at q (base frame), and the flange.
inline void physicalFrames(const RobotDescription& d, const double* q, H4* frames, H4* flange)
{
    H4 T = toH4(d.base);
    for (int i = 0; i < d.dof; ++i) {
        const DhJoint& j = d.joint[i];
        T = T * mdh(j.alpha, j.a, j.d, q[i] + j.theta);
        frames[i] = T;
    }
    *flange = T * toH4(d.flange);
}

// Joint torques of d (with `load` at the flange) for q, qd, qdd under gravity g.
inline void physicalInverseDynamics(const RobotDescription& d, const Payload& load, const double* g, const double* q,
                                    const double* qd, const double* qdd, double* tau)
{
    const int n = d.dof;
    H4 frames[kMaxJoints], flange;
    physicalFrames(d, q, frames, &flange);
    V3 w{0, 0, 0}, wd{0, 0, 0}, a{-g[0], -g[1], -g[2]}, prev{d.base[0][3], d.base[1][3], d.base[2][3]};
    V3 force[kMaxJoints], moment[kMaxJoints];  // what link i needs, moment about its joint origin
    for (int i = 0; i < n; ++i) {
        const V3 z = column(frames[i], 2), p = column(frames[i], 3);
        a = a + cross(wd, p - prev) + cross(w, cross(w, p - prev));
        wd = wd + qdd[i] * z + cross(w, qd[i] * z);
        w = w + qd[i] * z;
        prev = p;
        Body bodies[2] = {placed(frames[i], d.link[i].mass, d.link[i].com, d.link[i].inertia), Body{}};
        if (i == n - 1) bodies[1] = placed(flange, load.mass, load.com, load.inertia);
        force[i] = moment[i] = V3{0, 0, 0};
        for (const Body& b : bodies) {
            const V3 r = b.c - p;
            const V3 f = b.m * (a + cross(wd, r) + cross(w, cross(w, r)));
            force[i] = force[i] + f;
            moment[i] = moment[i] + times(b.I, wd) + cross(w, times(b.I, w)) + cross(r, f);
        }
    }
    V3 f{0, 0, 0}, m{0, 0, 0};
    for (int i = n - 1; i >= 0; --i) {
        const V3 p = column(frames[i], 3);
        const V3 next = i + 1 < n ? column(frames[i + 1], 3) : p;
        m = moment[i] + m + cross(next - p, f);
        f = force[i] + f;
        tau[i] = dot(m, column(frames[i], 2)) + d.link[i].rotor_inertia * qdd[i];
    }
}

}  // namespace tk

#endif
