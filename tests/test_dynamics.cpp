// The link chain against composed DH frames, inverse dynamics against an independent
// recursion, M*qdd and C*qd against inverse dynamics, the Jacobian against finite differences.
#include <cstring>
#include <limits>
#include "dynamics/FxCoriolis.h"
#include "dynamics/FxImpedance.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "math/FxMatrix.h"
#include "tests/TestArm.h"

using namespace tk;

namespace {

double kQ[7] = {0.35, -0.8, 0.6, 1.4, -0.3, 0.9, -1.1};
const H4 kTool = trans(0, 0, kFlangeMm * 0.001) * trans(0.012, -0.007, 0.095);

struct V3 {
    double x, y, z;
};
V3 operator+(V3 a, V3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
V3 cross(V3 a, V3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
// R v, or R^T v when t is set.
V3 mul(const double (*R)[4], V3 v, bool t = false)
{
    auto e = [&](int r, int c) { return t ? R[c][r] : R[r][c]; };
    return {e(0, 0) * v.x + e(0, 1) * v.y + e(0, 2) * v.z, e(1, 0) * v.x + e(1, 1) * v.y + e(1, 2) * v.z,
            e(2, 0) * v.x + e(2, 1) * v.y + e(2, 2) * v.z};
}
V3 inertiaTimes(const double* I, V3 v)
{
    return {I[0] * v.x + I[1] * v.y + I[2] * v.z, I[1] * v.x + I[3] * v.y + I[4] * v.z,
            I[2] * v.x + I[4] * v.y + I[5] * v.z};
}

// Newton-Euler in the link frames on the chain's parameter sums, with its own
// transforms; joint speeds at or below skip_eps drop the Coriolis term of wd.
void referenceTorques(const FX_Pilot& p, const double* q, const double* qd, const double* qdd, double gy,
                      const double* wrench, double skip_eps, double* tau)
{
    H4 T[8];
    for (int i = 0; i < 7; ++i) T[i] = mdh(kArm[i].alpha_deg * kDeg, kArm[i].a_mm * 0.001, kArm[i].d_mm * 0.001, q[i]);
    T[7] = kTool;
    V3 w{0, 0, 0}, wd{0, 0, 0}, vd{0, -gy, 0}, F[7], N[7];
    for (int i = 0; i < 7; ++i) {
        const V3 pos{T[i].m[0][3], T[i].m[1][3], T[i].m[2][3]}, zq{0, 0, qd[i]};
        vd = mul(T[i].m, vd + cross(wd, pos) + cross(w, cross(w, pos)), true);
        const V3 coriolis = std::fabs(qd[i]) > skip_eps ? cross(mul(T[i].m, w, true), zq) : V3{0, 0, 0};
        wd = mul(T[i].m, wd, true) + coriolis + V3{0, 0, qdd[i]};
        w = mul(T[i].m, w, true) + zq;
        const double* I = p.dyn_inertia[i];
        const V3 c{p.dyn_moment[i][0], p.dyn_moment[i][1], p.dyn_moment[i][2]};
        N[i] = inertiaTimes(I, wd) + cross(w, inertiaTimes(I, w)) + cross(c, vd);
        F[i] = cross(wd, c) + cross(w, cross(w, c));
    }
    V3 f{wrench[0], wrench[1], wrench[2]}, n{wrench[3], wrench[4], wrench[5]};
    for (int i = 6; i >= 0; --i) {
        const V3 rf = mul(T[i + 1].m, f);
        n = mul(T[i + 1].m, n) + cross(V3{T[i + 1].m[0][3], T[i + 1].m[1][3], T[i + 1].m[2][3]}, rf) + N[i];
        f = rf + F[i];
        tau[i] = n.z;
    }
}

void invDyn(FX_Pilot* p, double* q, double* qd, double* qdd, double gy, double* wrench, double* tau)
{
    double g[3] = {0, gy, 0};
    FX_InvDyn(p, q, qd, qdd, g, wrench, tau);
}

}  // namespace

TEST(Dynamics, ChainTransformsAndTool)
{
    FX_Link link{};
    link.alpha = 1.1, link.a = 0.3, link.d = -0.25, link.theta = 0.5;  // theta ignored on the full path
    FX_Tmat(&link, 0.7);
    const H4 ref = mdh(1.1, 0.3, -0.25, 0.7);
    double T[4][4];
    FX_TmatO(1.1, 0.3, -0.25, 0.7, T);
    expectNear(&ref.m[0][0], &link.T[0][0], 16, 1e-15, "Tmat");
    expectNear(&link.T[0][0], &T[0][0], 16, 0, "TmatO");
    // The fast path adds theta and rewrites only rows 1-2, columns 0-1.
    H4 want;
    std::memcpy(want.m, link.T, sizeof want.m);
    want.m[1][0] = std::sin(1.25) * std::cos(1.1), want.m[1][1] = std::cos(1.25) * std::cos(1.1);
    want.m[2][0] = std::sin(1.25) * std::sin(1.1), want.m[2][1] = std::cos(1.25) * std::sin(1.1);
    link.fast = 1;
    FX_Tmat(&link, 0.75);
    expectNear(&want.m[0][0], &link.T[0][0], 16, 0, "fast");

    FX_Pilot p;
    // Forward kinematics against the composed DH product, the tool after the flange offset.
    buildChain(&p, true);
    double q[7];
    std::copy(kQ, kQ + 7, q);
    FX_KINE(&p, q, T);
    H4 chain = eye();
    for (int i = 0; i < 7; ++i) {
        chain = chain * mdh(kArm[i].alpha_deg * kDeg, kArm[i].a_mm * 0.001, kArm[i].d_mm * 0.001, q[i]);
        expectNear(&chain.m[0][0], &p.chain_T[i][0][0], 16, 1e-14, "chain");
    }
    chain = chain * kTool;
    expectNear(&chain.m[0][0], &T[0][0], 16, 1e-14, "tool pose");
    expectNear(&T[0][0], &p.chain_T[7][0][0], 16, 0, "chain_T[n]");
    EXPECT_EQ(p.kin_cached, 0);  // forward kinematics leaves the dynamics cache alone
}

TEST(Dynamics, ToolIsLumpedOntoTheLinks)
{
    FX_Pilot p;
    buildChain(&p, true);
    EXPECT_EQ(p.dyn_ready, 1);
    const double m = kToolMass, d2 = 0.4, a3 = 0.02, a4 = -0.02, d4 = 0.4, *I = kToolInertia, *c = kToolCom;
    double tI[8][6] = {}, tc[8][4] = {};
    tI[1][0] = tI[1][5] = (d2 * d2 + a3 * a3) * m;
    tI[2][0] = (a4 * a4 - a3 * a3) * m, tI[2][5] = (a3 * a3 + a4 * a4) * m;
    tI[3][0] = (d4 * d4 - a4 * a4) * m, tI[3][1] = -a4 * d4 * m, tI[3][5] = (a4 * a4 + d4 * d4) * m;
    tI[5][0] = tI[5][5] = I[3];
    tI[6][0] = I[0] - I[3], tI[6][1] = I[1], tI[6][2] = I[2], tI[6][4] = I[4], tI[6][5] = I[5];
    tc[1][1] = d2 * m, tc[2][0] = a3 * m, tc[3][0] = a4 * m, tc[3][1] = d4 * m;
    tc[5][1] = c[2], tc[6][0] = c[0], tc[6][1] = c[1];
    FX_SetTool(&p, kToolPose, kToolMass, kToolCom, kToolInertia);  // rebuilt, not added a second time
    for (int k = 0; k < 48; ++k) EXPECT_EQ(p.dyn_inertia[k / 6][k % 6], tI[k / 6][k % 6] + (k < 42 ? kArm[k / 6].inertia[k % 6] : 0)) << k;
    for (int k = 0; k < 32; ++k) EXPECT_EQ(p.dyn_moment[k / 4][k % 4], tc[k / 4][k % 4] + (k < 28 && k % 4 < 3 ? kArm[k / 4].com[k % 4] : 0)) << k;
    FX_RemoveTool(&p);
    EXPECT_EQ(p.dyn_inertia[6][0] + p.dyn_moment[3][1] - kArm[6].inertia[0] - kArm[3].com[1], 0.0);
    EXPECT_EQ(p.links[7].mass, 0.0);
}

TEST(Dynamics, InverseDynamicsMatchesAnIndependentRecursion)
{
    FX_Pilot p;
    buildChain(&p, true);
    Lcg rng{7};
    double tau[7], ref[7], first[7];
    for (int trial = 0; trial < 20; ++trial) {
        double q[7], qd[7], qdd[7], wrench[6];
        for (int i = 0; i < 7; ++i) q[i] = rng.next(-2.5, 2.5), qd[i] = rng.next(-3, 3), qdd[i] = rng.next(-3, 3);
        for (double& v : wrench) v = rng.next(-20, 20);
        if (trial == 1) qd[3] = 5e-7, qd[5] = -2e-6;  // at or below 1e-6 the Coriolis term is skipped
        p.kin_cached = 0;
        invDyn(&p, q, qd, qdd, 9.81, wrench, tau);
        EXPECT_EQ(p.kin_cached, 1);
        referenceTorques(p, q, qd, qdd, 9.81, wrench, 1e-6, ref);
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(tau[i], ref[i], 1e-11) << trial << " " << i;
        if (trial == 1) referenceTorques(p, q, qd, qdd, 9.81, wrench, 0.0, first);
        EXPECT_TRUE(trial != 1 || std::fabs(first[2] - ref[2]) + std::fabs(first[0] - ref[0]) > 1e-8);
    }
    // Gravity is taken along base y only; the cached posture is used until cleared.
    double q[7], zero[7] = {}, g[3] = {3.0, 9.81, -7.0}, gx[3] = {9.81, 0, 9.81}, nowrench[6] = {};
    std::copy(kQ, kQ + 7, q);
    p.kin_cached = 0;
    invDyn(&p, q, zero, zero, 9.81, nowrench, first);
    for (double& v : q) v = std::numeric_limits<double>::quiet_NaN();
    FX_InvDyn(&p, q, zero, zero, g, nowrench, tau);
    expectNear(first, tau, 7, 0, "cached, g x and z ignored");
    FX_InvDyn(&p, q, zero, zero, gx, nowrench, tau);
    for (double t : tau) EXPECT_EQ(t, 0.0);
    for (int i = 0; i < 7; ++i) p.links[i].mass = 100.0;  // no part; stale sums are rebuilt from the stored tool
    std::memset(p.dyn_inertia, 0, sizeof p.dyn_inertia), std::memset(p.dyn_moment, 0, sizeof p.dyn_moment);
    p.dyn_ready = 0;
    invDyn(&p, q, zero, zero, 9.81, nowrench, tau);
    expectNear(first, tau, 7, 0, "rebuilt sums");
    EXPECT_EQ(p.dyn_ready, 1);
}

TEST(Dynamics, MassAndCoriolisMatricesAgreeWithInverseDynamics)
{
    FX_Pilot p;
    buildChain(&p, true);
    double q[7], e[7] = {}, M[7][7], D[7][7], S[7][7], C[7][7], gravity[7], zero[7] = {}, nowrench[6] = {};
    std::copy(kQ, kQ + 7, q);
    FX_CM_YTC_BUF y;
    FX_CalMmat(&p, q, e, M);
    FX_CalCmatDPT_Q(&p, q, &y);
    invDyn(&p, q, zero, zero, 9.81, nowrench, gravity);
    for (int i = 0; i < 49; ++i) EXPECT_EQ(M[i / 7][i % 7] + e[i / 7], M[i % 7][i / 7]);
    // tau = M qdd + C qd + g - rotor qdd, and each part alone.
    Lcg rng{17};
    for (int trial = 0; trial < 12; ++trial) {
        double qd[7], qdd[7], tau[7];
        for (int i = 0; i < 7; ++i) qd[i] = rng.next(-2, 2), qdd[i] = rng.next(-3, 3);
        const int part = trial % 3;  // 0: acceleration only, 1: velocity only, 2: everything
        if (part == 0) std::fill(qd, qd + 7, 0.0);
        if (part == 1) std::fill(qdd, qdd + 7, 0.0);
        FX_CalCmat_DPT_QD(&y, qd, D, S, C);
        invDyn(&p, q, qd, qdd, part == 2 ? 9.81 : 0.0, nowrench, tau);
        for (int i = 0; i < 7; ++i) {
            double sum = (part == 2 ? gravity[i] : 0.0) - p.links[i].rotor_inertia * qdd[i];
            for (int j = 0; j < 7; ++j) sum += M[i][j] * qdd[j] + C[i][j] * qd[j];
            EXPECT_NEAR(sum, tau[i], 1e-10) << trial << " " << i;
        }
    }
}

TEST(Dynamics, ImpedanceJacobianAndPoseError)
{
    FX_Pilot p;
    buildChain(&p, false);
    Impd_Process_Data d{};
    std::copy(kQ, kQ + 7, d.q);
    FX_SetTool(&p, kToolPose, kToolMass, kToolCom, kToolInertia);  // the pose has the tool, J the flange
    FX_Impd_Process_Jacob(&d, &p);
    EXPECT_EQ(d.jacob_ok, 1);
    double T[4][4], q[7];
    std::copy(kQ, kQ + 7, q);
    FX_KINE(&p, q, T);
    expectNear(&T[0][0], &d.pose[0][0], 16, 0, "pose");
    const double h = 1e-6;
    for (int c = 0; c < 7; ++c) {
        double pos[2][3];
        for (int s = 0; s < 2; ++s) {
            q[c] = kQ[c] + (s ? -h : h);
            FX_KINE(&p, q, T);
            for (int r = 0; r < 3; ++r) pos[s][r] = p.chain_T[6][r][3] + p.chain_T[6][r][2] * kFlangeMm * 0.001;
            q[c] = kQ[c];
        }
        for (int r = 0; r < 3; ++r) EXPECT_NEAR(d.J[r][c], (pos[0][r] - pos[1][r]) / (2 * h), 1e-8) << c;
        FX_KINE(&p, q, T);
        for (int r = 0; r < 3; ++r) EXPECT_EQ(d.J[r + 3][c], p.chain_T[c][r][2]);
        for (int r = 0; r < 6; ++r) EXPECT_EQ(d.JT[c][r], d.J[r][c]);
    }
    // Pose error: mm and the x, y, z angles of T1 * inverse(T0).
    H4 base = trans(0, -0.2, 0.7) * rot(2, 110 * kDeg) * rot(1, -35 * kDeg) * rot(0, 20 * kDeg);
    H4 turned = rot(2, 40 * kDeg) * rot(1, -25 * kDeg) * rot(0, 12 * kDeg) * base;
    turned.m[0][3] = base.m[0][3] + 0.001, turned.m[1][3] = base.m[1][3] + 0.05, turned.m[2][3] = base.m[2][3];
    double e[6];
    FX_M44ToM44(base.m, turned.m, e);
    const double want[6] = {1, 50, 0, 12, -25, 40};
    expectNear(want, e, 6, 1e-9, "pose error");
}
