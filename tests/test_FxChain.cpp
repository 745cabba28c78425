#include <gtest/gtest.h>

#include <cmath>

#include "dynamics/FxChain.h"
#include "tests/FxTestArm.h"

using namespace testarm;

namespace {

void expectNear44(const double a[4][4], const double b[4][4], double tol)
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(a[r][c], b[r][c], tol) << r << "," << c;
}

}  // namespace

TEST(FxChain, TmatIsTheModifiedDHProduct)
{
    FX_Link link{};
    link.alpha = 1.1;
    link.a = 0.3;
    link.d = -0.25;
    FX_Tmat(&link, 0.7);
    H4 ref = mdh(1.1, 0.3, -0.25, 0.7);
    expectNear44(link.T, ref.m, 1e-15);
    EXPECT_EQ(link.sin_alpha, std::sin(1.1));
    EXPECT_EQ(link.cos_alpha, std::cos(1.1));

    double T[4][4];
    FX_TmatO(1.1, 0.3, -0.25, 0.7, T);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(T[r][c], link.T[r][c]);

    // Without alpha, a and d the transform is a pure rotation about z.
    FX_Link plain{};
    FX_Tmat(&plain, -0.4);
    H4 rz = rotZ(-0.4);
    expectNear44(plain.T, rz.m, 1e-16);
    EXPECT_EQ(plain.T[0][3], 0.0);
    EXPECT_EQ(plain.T[1][3], 0.0);
    EXPECT_EQ(plain.T[2][3], 0.0);

    // The offset theta is ignored on the full path.
    FX_Link offset = link;
    offset.theta = 0.5;
    FX_Tmat(&offset, 0.7);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(offset.T[r][c], link.T[r][c]);
}

TEST(FxChain, TmatFastPathRewritesOnlyFourEntries)
{
    FX_Link link{};
    link.alpha = 0.9;
    link.a = 0.1;
    link.d = 0.2;
    link.theta = 0.25;
    FX_Tmat(&link, 0.3);
    double before[4][4];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) before[r][c] = link.T[r][c];

    link.fast = 1;
    FX_Tmat(&link, 1.0);
    const double s = std::sin(1.25), c = std::cos(1.25);
    EXPECT_EQ(link.T[1][0], s * std::cos(0.9));
    EXPECT_EQ(link.T[1][1], c * std::cos(0.9));
    EXPECT_EQ(link.T[2][0], s * std::sin(0.9));
    EXPECT_EQ(link.T[2][1], c * std::sin(0.9));
    for (int r = 0; r < 4; ++r)
        for (int col = 0; col < 4; ++col) {
            const bool rewritten = (r == 1 || r == 2) && col < 2;
            if (!rewritten) {
                EXPECT_EQ(link.T[r][col], before[r][col]) << r << "," << col;
            }
        }
}

TEST(FxChain, SetLinkAndSetFlangeResetTheLink)
{
    FX_Pilot p{};
    p.dyn_ready = 1;
    p.links[3].fast = 1;
    p.links[7].fast = 1;
    p.links[7].mass = 5.0;
    p.links[7].com[1] = 0.2;
    p.links[7].inertia[3] = 0.4;
    p.links[7].rotor_inertia = 2.0;
    double com[3] = {0.1, 0.2, 0.3};
    double inertia[6] = {1, 2, 3, 4, 5, 6};
    FX_SetLink(&p, 3, 0.5, 0.02, 0.4, 0.8, 2.5, com, inertia, 0.7);
    EXPECT_EQ(p.links[3].fast, 0);
    H4 at_zero = mdh(0.5, 0.02, 0.4, 0.0);
    expectNear44(p.links[3].T, at_zero.m, 1e-16);
    EXPECT_EQ(p.dyn_ready, 1);  // the sums wait for the next tool call

    FX_SetFlange(&p, 0.3, 0.01, 0.1, 0.2);
    const FX_Link& f = p.links[7];
    EXPECT_EQ(f.mass, 0.0);
    EXPECT_EQ(f.com[1], 0.0);
    EXPECT_EQ(f.inertia[3], 0.0);
    EXPECT_EQ(f.rotor_inertia, 0.0);
    EXPECT_EQ(f.fast, 0);
    H4 flange = mdh(0.3, 0.01, 0.1, 0.0);
    expectNear44(f.T, flange.m, 1e-16);
}

TEST(FxChain, ToolIsLumpedEntryByEntry)
{
    FX_Pilot p;
    build(&p, true);
    EXPECT_EQ(p.dyn_ready, 1);
    const double m = kToolMass, d2 = 0.4, a3 = 0.02, a4 = -0.02, d4 = 0.4;
    double* I = toolInertia();
    double* c = toolCom();
    double tool_I[8][6] = {};
    double tool_c[8][4] = {};
    tool_I[1][0] = tool_I[1][5] = (d2 * d2 + a3 * a3) * m;
    tool_I[2][0] = (a4 * a4 - a3 * a3) * m;
    tool_I[2][5] = (a3 * a3 + a4 * a4) * m;
    tool_I[3][0] = (d4 * d4 - a4 * a4) * m;
    tool_I[3][1] = -a4 * d4 * m;
    tool_I[3][5] = (a4 * a4 + d4 * d4) * m;
    tool_I[5][0] = tool_I[5][5] = I[3];
    tool_I[6][0] = I[0] - I[3];
    tool_I[6][1] = I[1];
    tool_I[6][2] = I[2];
    tool_I[6][4] = I[4];
    tool_I[6][5] = I[5];
    tool_c[1][1] = d2 * m;
    tool_c[2][0] = a3 * m;
    tool_c[3][0] = a4 * m;
    tool_c[3][1] = d4 * m;
    tool_c[5][1] = c[2];
    tool_c[6][0] = c[0];
    tool_c[6][1] = c[1];
    for (int i = 0; i < 8; ++i) {
        for (int k = 0; k < 6; ++k) {
            const double own = i < 7 ? rows()[i].inertia[k] : 0.0;
            EXPECT_EQ(p.dyn_inertia[i][k], tool_I[i][k] + own) << i << "," << k;
        }
        for (int k = 0; k < 3; ++k) {
            const double own = i < 7 ? rows()[i].com[k] : 0.0;
            EXPECT_EQ(p.dyn_moment[i][k], tool_c[i][k] + own) << i << "," << k;
        }
        EXPECT_EQ(p.dyn_moment[i][3], 0.0);
    }
    EXPECT_EQ(p.links[7].mass, kToolMass);
    EXPECT_EQ(p.links[7].com[2], c[2]);
    EXPECT_EQ(p.links[7].inertia[4], I[4]);

    // Calling again rebuilds from scratch instead of adding a second time.
    double again_I = p.dyn_inertia[3][0];
    FX_SetTool(&p, toolPose(), kToolMass, toolCom(), toolInertia());
    EXPECT_EQ(p.dyn_inertia[3][0], again_I);

    // A massless tool leaves links 1-3 with their own values; its inertia
    // still goes to links 5 and 6.
    FX_SetTool(&p, toolPose(), 0.0, toolCom(), toolInertia());
    for (int i = 1; i <= 3; ++i) {
        for (int k = 0; k < 6; ++k) EXPECT_EQ(p.dyn_inertia[i][k], rows()[i].inertia[k]);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(p.dyn_moment[i][k], rows()[i].com[k]);
    }
    EXPECT_EQ(p.dyn_inertia[5][0], rows()[5].inertia[0] + I[3]);

    // Removing the tool leaves only the links' own parameters.
    FX_RemoveTool(&p);
    EXPECT_EQ(p.links[7].mass, 0.0);
    for (int i = 0; i < 7; ++i) {
        for (int k = 0; k < 6; ++k) EXPECT_EQ(p.dyn_inertia[i][k], rows()[i].inertia[k]);
        for (int k = 0; k < 3; ++k) EXPECT_EQ(p.dyn_moment[i][k], rows()[i].com[k]);
    }
}

TEST(FxChain, ToolTransformCarriesTheFlangeOffset)
{
    FX_Pilot p;
    build(&p, false);
    FX_SetFlange(&p, 0.0, 0.0, 0.1, 0.0);
    FX_RemoveTool(&p);
    H4 expected = trans(0, 0, 0.1);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(p.local_T[7][r][c], expected.m[r][c]);

    double pose[6] = {0, 0, 50, 0, 0, 0};
    double zeros[6] = {};
    FX_SetTool(&p, pose, 0.0, zeros, zeros);
    EXPECT_DOUBLE_EQ(p.local_T[7][2][3], 0.15);

    // The tool angles are scaled by pi/180 before the degree-based pose
    // builder: A = 90 turns the tool by pi/2 degrees about x.
    double turned[6] = {0, 0, 0, 90, 0, 0};
    FX_SetTool(&p, turned, 0.0, zeros, zeros);
    const double t = 90.0 * (kPi / 180.0) * (kPi / 180.0);
    EXPECT_NEAR(p.local_T[7][1][1], std::cos(t), 1e-15);
    EXPECT_NEAR(p.local_T[7][2][1], std::sin(t), 1e-15);
}

TEST(FxChain, KineMatchesAnIndependentDHProduct)
{
    FX_Pilot p;
    build(&p, true);
    double q[7] = {0.3, -0.7, 0.45, 1.2, -0.9, 0.6, -1.4};
    double T[4][4];
    FX_KINE(&p, q, T);

    H4 chain = identity();
    for (int i = 0; i < 7; ++i) {
        const LinkRow& r = rows()[i];
        chain = chain * mdh(r.alpha_deg * kPi / 180.0, r.a, r.d, q[i]);
        expectNear44(p.chain_T[i], chain.m, 1e-14);
    }
    double* tp = toolPose();
    H4 tool = chain * trans(0, 0, kFlange) * trans(tp[0] * 0.001, tp[1] * 0.001, tp[2] * 0.001);
    expectNear44(T, tool.m, 1e-14);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(T[r][c], p.chain_T[7][r][c]);

    // Forward kinematics neither fills the transposes nor marks them cached.
    EXPECT_EQ(p.kin_cached, 0);
    EXPECT_EQ(p.local_Tt[2][0][1], 0.0);

    // Zero pose without a tool: the flange lies kFlange along the last z axis.
    build(&p, false);
    double zero[7] = {};
    FX_KINE(&p, zero, T);
    for (int r = 0; r < 3; ++r)
        EXPECT_NEAR(T[r][3], p.chain_T[6][r][3] + kFlange * p.chain_T[6][r][2], 1e-15);
}
