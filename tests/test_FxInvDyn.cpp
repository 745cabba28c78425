#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "dynamics/FxInvDyn.h"
#include "tests/FxTestArm.h"

using namespace testarm;

namespace {

struct Motion {
    double q[7], qd[7], qdd[7];
};

Motion randomMotion(Lcg& rng, double speed)
{
    Motion m;
    for (int i = 0; i < 7; ++i) {
        m.q[i] = rng.next(-2.5, 2.5);
        m.qd[i] = rng.next(-speed, speed);
        m.qdd[i] = rng.next(-3.0, 3.0);
    }
    return m;
}

M3 inertiaOf(const double* I)
{
    return M3{{{I[0], I[1], I[2]}, {I[1], I[3], I[4]}, {I[2], I[4], I[5]}}};
}

// Newton-Euler in the link frames on the chain's parameter sums, with its
// own transforms. skip_eps: joint speeds at or below it drop the Coriolis
// term of the angular acceleration (0 keeps it always).
void referenceTorques(const FX_Pilot& p, const H4& tool, const Motion& mo, double gy,
                      const double* wrench, double skip_eps, double* tau)
{
    H4 T[8];
    for (int i = 0; i < 7; ++i) {
        const LinkRow& r = rows()[i];
        T[i] = mdh(r.alpha_deg * kPi / 180.0, r.a, r.d, mo.q[i]);
    }
    T[7] = tool;

    V3 w{0, 0, 0}, wd{0, 0, 0}, vd{0, -gy, 0};
    V3 F[7], N[7];
    for (int i = 0; i < 7; ++i) {
        M3 Rt = transpose(rotationOf(T[i]));
        V3 pos = positionOf(T[i]);
        V3 z_qd{0, 0, mo.qd[i]};
        vd = Rt * (vd + cross(wd, pos) + cross(w, cross(w, pos)));
        V3 coriolis = std::fabs(mo.qd[i]) > skip_eps ? cross(Rt * w, z_qd) : V3{0, 0, 0};
        wd = Rt * wd + coriolis + V3{0, 0, mo.qdd[i]};
        w = Rt * w + z_qd;
        M3 I = inertiaOf(p.dyn_inertia[i]);
        V3 c{p.dyn_moment[i][0], p.dyn_moment[i][1], p.dyn_moment[i][2]};
        N[i] = I * wd + cross(w, I * w) + cross(c, vd);
        F[i] = cross(wd, c) + cross(w, cross(w, c));
    }
    V3 f{wrench[0], wrench[1], wrench[2]};
    V3 n{wrench[3], wrench[4], wrench[5]};
    for (int i = 6; i >= 0; --i) {
        M3 R = rotationOf(T[i + 1]);
        V3 rf = R * f;
        n = R * n + cross(positionOf(T[i + 1]), rf) + N[i];
        f = rf + F[i];
        tau[i] = n.z;
    }
}

H4 toolTransform()
{
    double* tp = toolPose();
    return trans(0, 0, kFlange) * trans(tp[0] * 0.001, tp[1] * 0.001, tp[2] * 0.001);
}

void invDyn(FX_Pilot* p, Motion mo, double gy, double* wrench, double* tau)
{
    double g[3] = {0.0, gy, 0.0};
    FX_InvDyn(p, mo.q, mo.qd, mo.qdd, g, wrench, tau);
}

}  // namespace

TEST(FxInvDyn, MatchesAnIndependentRecursion)
{
    FX_Pilot p;
    build(&p, true);
    Lcg rng{7};
    for (int trial = 0; trial < 20; ++trial) {
        Motion mo = randomMotion(rng, 3.0);
        double wrench[6];
        for (double& v : wrench) v = rng.next(-20.0, 20.0);
        double tau[7], ref[7];
        p.kin_cached = 0;
        invDyn(&p, mo, 9.81, wrench, tau);
        EXPECT_EQ(p.kin_cached, 1);
        referenceTorques(p, toolTransform(), mo, 9.81, wrench, 1e-6, ref);
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(tau[i], ref[i], 1e-11) << trial << " " << i;
    }
}

TEST(FxInvDyn, GravityIsTakenAlongBaseYOnly)
{
    FX_Pilot p;
    build(&p, true);
    Motion rest{{0.4, -0.3, 1.1, 0.8, -0.2, 0.5, 0.9}, {}, {}};
    double wrench[6] = {};
    double tau[7], ref[7];
    invDyn(&p, rest, 9.81, wrench, tau);
    referenceTorques(p, toolTransform(), rest, 9.81, wrench, 1e-6, ref);
    for (int i = 0; i < 7; ++i) EXPECT_NEAR(tau[i], ref[i], 1e-12);
    EXPECT_GT(std::fabs(tau[1]), 0.1);

    double g_full[3] = {3.0, 9.81, -7.0};
    double tau_full[7];
    FX_InvDyn(&p, rest.q, rest.qd, rest.qdd, g_full, wrench, tau_full);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(tau_full[i], tau[i]);

    double g_x[3] = {9.81, 0.0, 0.0};
    double g_z[3] = {0.0, 0.0, 9.81};
    FX_InvDyn(&p, rest.q, rest.qd, rest.qdd, g_x, wrench, tau);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(tau[i], 0.0);
    FX_InvDyn(&p, rest.q, rest.qd, rest.qdd, g_z, wrench, tau);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(tau[i], 0.0);
}

TEST(FxInvDyn, FirstPostureStaysCachedUntilCleared)
{
    FX_Pilot p;
    build(&p, true);
    Lcg rng{11};
    Motion a = randomMotion(rng, 1.0);
    Motion b = a;
    for (double& v : b.q) v += 0.3;
    double wrench[6] = {};
    double tau_a[7], tau_b[7];
    invDyn(&p, a, 9.81, wrench, tau_a);

    // Cached: the joint positions are not read at all.
    Motion unread = a;
    for (double& v : unread.q) v = std::numeric_limits<double>::quiet_NaN();
    invDyn(&p, unread, 9.81, wrench, tau_b);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(tau_b[i], tau_a[i]);

    // Cleared: the new posture is evaluated.
    p.kin_cached = 0;
    invDyn(&p, b, 9.81, wrench, tau_b);
    double ref[7];
    referenceTorques(p, toolTransform(), b, 9.81, wrench, 1e-6, ref);
    for (int i = 0; i < 7; ++i) EXPECT_NEAR(tau_b[i], ref[i], 1e-11);
}

TEST(FxInvDyn, SlowJointSkipsTheCoriolisTerm)
{
    FX_Pilot p;
    build(&p, true);
    Motion mo{{0.2, 0.9, -0.4, 1.3, 0.7, -0.6, 0.3}, {0, 0, 50.0, 5e-7, 0, 0, 0}, {}};
    double wrench[6] = {};
    double tau[7], skipped[7], kept[7];
    invDyn(&p, mo, 0.0, wrench, tau);
    referenceTorques(p, toolTransform(), mo, 0.0, wrench, 1e-6, skipped);
    referenceTorques(p, toolTransform(), mo, 0.0, wrench, 0.0, kept);
    double largest_gap = 0.0;
    for (int i = 0; i < 7; ++i) {
        EXPECT_NEAR(tau[i], skipped[i], 1e-10);
        largest_gap = std::fmax(largest_gap, std::fabs(kept[i] - skipped[i]));
    }
    EXPECT_GT(largest_gap, 1e-8);

    // Just above the threshold the term is applied.
    mo.qd[3] = 2e-6;
    invDyn(&p, mo, 0.0, wrench, tau);
    referenceTorques(p, toolTransform(), mo, 0.0, wrench, 0.0, kept);
    for (int i = 0; i < 7; ++i) EXPECT_NEAR(tau[i], kept[i], 1e-10);
}

TEST(FxInvDyn, ToolWrenchAndUnusedMasses)
{
    FX_Pilot p;
    build(&p, false);
    Motion rest{{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7}, {}, {}};
    double moment_z[6] = {0, 0, 0, 0, 0, 1.0};
    double tau[7];
    invDyn(&p, rest, 0.0, moment_z, tau);
    EXPECT_EQ(tau[6], 1.0);

    // A force along the tool x axis loads the joints through the lever arms.
    build(&p, true);
    double push[6] = {10.0, 0, 0, 0, 0, 0};
    double ref[7];
    invDyn(&p, rest, 0.0, push, tau);
    referenceTorques(p, toolTransform(), rest, 0.0, push, 1e-6, ref);
    for (int i = 0; i < 7; ++i) EXPECT_NEAR(tau[i], ref[i], 1e-12);

    Lcg rng{3};
    Motion mo = randomMotion(rng, 2.0);
    double wrench[6] = {};
    double before[7], after[7];
    invDyn(&p, mo, 9.81, wrench, before);
    for (int i = 0; i < 8; ++i) p.links[i].mass = 100.0 + i;
    invDyn(&p, mo, 9.81, wrench, after);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(after[i], before[i]);
}

TEST(FxInvDyn, RebuildsStaleParameterSumsFromTheStoredTool)
{
    FX_Pilot p;
    build(&p, true);
    double inertia_3 = p.dyn_inertia[3][0];
    double moment_6 = p.dyn_moment[6][1];
    double tool_z = p.local_T[7][2][3];
    for (auto& row : p.dyn_inertia)
        for (double& v : row) v = 0.0;
    for (auto& row : p.dyn_moment)
        for (double& v : row) v = 0.0;
    p.dyn_ready = 0;
    p.local_T[7][2][3] = 0.5;

    Motion rest{{0.3, 0.1, -0.2, 0.9, 0.4, -0.5, 0.2}, {}, {}};
    double wrench[6] = {};
    double tau[7];
    invDyn(&p, rest, 9.81, wrench, tau);
    EXPECT_EQ(p.dyn_ready, 1);
    EXPECT_EQ(p.dyn_inertia[3][0], inertia_3);
    EXPECT_EQ(p.dyn_moment[6][1], moment_6);
    EXPECT_NE(p.local_T[7][2][3], tool_z);
}
