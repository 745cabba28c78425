// Locked-joint IK of the seven-axis arm: the model against the link chain, every
// solution row fed back through forward kinematics, reach and tolerance edges on a
// straight arm with exact arithmetic, the selection rules and the joint-7 span probes.
#include <array>
#include <cstring>
#include <numeric>
#include "ik7/IKLock7.h"
#include "ik7/IKSelect.h"
#include "ik7/IKSpan.h"
#include "tests/TestArm.h"

using namespace tk;

namespace {

// Largest joint difference modulo full turns, and largest difference of the top three rows.
double jointDistance(const double* a, const double* b)
{
    double worst = 0;
    for (int j = 0; j < 7; ++j) worst = std::fmax(worst, std::fabs(wrap180(a[j] - b[j])));
    return worst;
}
double poseDistance(const double a[4][4], const double b[4][4])
{
    double worst = 0;
    for (int k = 0; k < 12; ++k) worst = std::fmax(worst, std::fabs(a[k / 4][k % 4] - b[k / 4][k % 4]));
    return worst;
}
// All axes parallel, no elbow offsets, d3 = 400, no flange: whole-millimetre translations.
void buildStraight(IK_Poilt7* ik, double a7, double d5)
{
    Link straight[7] = {};
    straight[0].d_mm = 340, straight[2].d_mm = 400, straight[4].d_mm = d5, straight[6].a_mm = a7;
    buildIK(ik, 1007, straight, 0);
}
// Identity orientation, joint 7 at 0, the shoulder point seen from the wrist at D.
H4 straightTarget(const IK_Poilt7& ik, double Dx, double Dy, double Dz)
{
    return trans(ik.M_fix[6][0][3] - Dx, ik.M_fix[6][1][3] - Dy, -Dz + ik.d1 + ik.dF);
}
// Solution rows filled with a pattern, to see whether a solver wrote them.
struct Rows {
    long count = -3;
    double sol[8][8];
    Rows() { std::iota(&sol[0][0], &sol[0][0] + 64, 1000.0); }
    bool untouched() const { return count == -3 && sol[0][0] == 1000 && sol[7][7] == 1063 && sol[3][3] == 1027; }
};

}  // namespace

TEST(IK7, ModelMatchesTheLinkChain)
{
    IK_Poilt7 ik{};
    double T[4][4];
    buildIK(&ik, 1017);  // the flange along x of the joint-7 frame
    const double j7[12] = {0, 0, 1, 0, 1, 0, 0, 126, 0, 1, 0, 0}, fl[12] = {0, 0, 1, 35, 0, -1, 0, 0, 1, 0, 0, 0};
    expectNear(j7, &ik.M_fix[6][0][0], 12, 1e-15, "1017 joint 7");
    expectNear(fl, &ik.M_fix[7][0][0], 12, 1e-15, "1017 flange");
    FX_Pilot rob;
    buildChain(&rob);
    buildIK(&ik);
    Lcg rng{11};
    for (int trial = 0; trial < 30; ++trial) {
        double deg[7], rad[7], chain[4][4];
        for (int j = 0; j < 7; ++j) deg[j] = rng.next(-180, 180), rad[j] = deg[j] * kDeg;
        FX_KINE(&rob, rad, chain);
        OnKine(&ik, deg, T);
        for (int r = 0; r < 3; ++r) chain[r][3] *= 1000;
        EXPECT_LT(poseDistance(chain, T), 1e-9) << trial;
    }
}

TEST(IK7, EverySolutionRowReproducesThePose)
{
    IK_Poilt7 ik;
    buildIK(&ik);
    Lcg rng{7};
    int eight = 0;
    for (int trial = 0; trial < 150; ++trial) {
        double q[7], T[4][4], back[4][4];
        for (int j = 0; j < 7; ++j) q[j] = rng.next(-175, 175);
        if (trial == 0) q[1] = 0;  // degenerate shoulder: joint 1 turned the other way, joint 3 at 0
        OnKine(&ik, q, T);
        Rows r, all;
        unsigned char flags[9];
        std::memset(flags, 0xAB, sizeof flags);
        ASSERT_EQ(FX_IKLock7(&ik, q[6], T, &r.count, r.sol) + FX_IKLock7_ALL(&ik, q[6], T, &all.count, all.sol, flags), 2);
        EXPECT_EQ(std::memcmp(&r, &all, sizeof r), 0);
        EXPECT_EQ(std::count(flags, flags + 9, 0) * 1000 + flags[8], 8000 + 0xAB);
        ASSERT_TRUE(r.count == 4 || r.count == 8);
        eight += r.count == 8;
        double nearest = 1e9;
        for (int k = 0; k < r.count; ++k) {
            const double* base = r.sol[k & ~1];
            nearest = std::fmin(nearest, jointDistance(r.sol[k], q));
            EXPECT_EQ(r.sol[k][6], q[6]);
            OnKine(&ik, r.sol[k], back);
            EXPECT_TRUE(base[7] == 1.0 || poseDistance(back, T) < 1e-8) << trial << " row " << k;
            if (base[7] == 1.0 && std::fabs(base[3] - q[3]) < 1e-8 && std::fabs(base[4] - q[4]) < 1e-8) {
                const double shoulder[3] = {-(q[0] + q[2]), 0, 0};
                expectNear(shoulder, base, 3, 1e-8, "degenerate shoulder");
                nearest = 0;
            }
            // Odd rows are the shoulder twins of the rows before them; degenerate rows repeat.
            const double twin[8] = {wrap180(base[0] + 180), -base[1], wrap180(base[2] + 180), base[3], base[4], base[5], base[6], 0};
            expectNear(k % 2 == 0 || base[7] != 0 ? base : twin, r.sol[k], 8, 1e-12, "twin");
        }
        EXPECT_LT(nearest, 1e-6) << trial;
    }
    EXPECT_GT(eight, 50);
}

TEST(IK7, ReachAndWristToleranceEdges)
{
    IK_Poilt7 ik;
    buildStraight(&ik, 0, 400);
    ASSERT_EQ(ik.L_fore + ik.L_upper, 800.0);
    double ref[7] = {0, 0, 0, 1, 0, 0, 0};
    Rows r, none;
    H4 T = straightTarget(ik, 0, -800, 0);  // full stretch: both elbows at joint 4 = +-1e-5
    ASSERT_EQ(FX_IKLock7(&ik, 0, T.m, &r.count, r.sol), 1);
    ASSERT_EQ(r.count, 8);
    for (int k = 0; k < 8; ++k) EXPECT_EQ(std::fabs(r.sol[k][3]), 1e-5);
    T = straightTarget(ik, 0, -801, 0);  // a millimetre further: nothing written
    EXPECT_EQ(FX_IKLock7(&ik, 0, T.m, &none.count, none.sol) + FX_IKLock7_With_Config(&ik, 0, ref, T.m, &none.count, none.sol), 0);
    EXPECT_TRUE(none.untouched());
    // Interior elbow angle 120, wrist cosine 1.5 for the first elbow and -1.5 (clamped) for the second:
    // only the second is solved; the configuration form checks the tolerance on both sides.
    const double reach = 800 * std::sin(60 * kDeg), sA = 400 * std::sin(60 * kDeg);
    T = straightTarget(ik, std::sqrt(reach * reach - 2.25 * sA * sA), 0, 1.5 * sA);
    ASSERT_EQ(FX_IKLock7(&ik, 0, T.m, &r.count, r.sol), 1);
    EXPECT_NEAR(r.count * 100 + r.sol[0][3], 340, 1e-9);
    ref[3] = -30;
    EXPECT_EQ(FX_IKLock7_With_Config(&ik, 0, ref, T.m, &none.count, none.sol), 0);
    EXPECT_TRUE(none.untouched());
    buildStraight(&ik, 0, 300);  // nearer the shoulder than the elbow folds: not rejected, NaN joints
    T = straightTarget(ik, 0, -50, 0);
    ASSERT_EQ(FX_IKLock7(&ik, 12, T.m, &r.count, r.sol), 1);
    for (int k = 0; k < 56; ++k) EXPECT_EQ(std::isnan(r.sol[k / 7][k % 7]), k % 7 < 6) << k;
}

TEST(IK7, SelectionRules)
{
    // q1..q7 of every input: 30, q2, 40, q4, 50, q6, 60; rows with joint 2, 4 or 6 within
    // 0.01 of 0 split the coinciding axes as the reference does.
    double ref[7] = {10, 1, 20, 2, 30, 3, 40}, out[8];
    const double cases[][15] = {
        {30, 0.01, 40, -0.01, 50, 5, 60, 0, 30, 0.01, 40, -0.01, 50, 5, 60}, {30, 0.005, 40, 5, 50, 5, 60, 1, 10, 0.005, -80, 5, 50, 5, 60},
        {30, 5, 40, -0.0099, 50, 5, 60, 0, 30, 5, 20, -0.0099, 70, 5, 60}, {30, 5, 40, 5, 50, 0, 60, 0, 30, 5, 40, 5, 30, 0, 80},
        {30, 0, 40, 0, 50, 5, 60, 1, 10, 0, 20, 0, 50, 5, 60}, {30, 0, 40, 5, 50, 0, 60, 1, 10, 0, -80, 5, 30, 0, 80},
        {30, 5, 40, 0, 50, 0, 60, 0, 30, 5, 20, 0, 30, 0, 100}, {30, 0, 40, 0, 50, 0, 60, 1, 10, 0, 20, 0, 30, 0, -20}};
    for (const auto& c : cases) {
        double row[1][8];
        std::copy(c, c + 8, row[0]);
        EXPECT_EQ(FX_SelectSolve(nullptr, 1, ref, row, out), 1);
        expectNear(c + 8, row[0], 7, 1e-12, "rewritten row");
        expectNear(c + 8, out, 7, 1e-12, "chosen");
        EXPECT_EQ(out[7], c[7]);
    }
    // Costs 10, 10, 9.5 (350 is 10 away from 0); ties keep the earlier row; 180 and -180 tie.
    double zero[7] = {}, far[7] = {180, -180, 540}, half_open[8] = {180, 180, 180, 180, -170, 170, 0, 0};
    double table[3][8] = {{10, 5, 5, 5, 5, 5, 5, 0}, {-10, 5, 5, 5, 5, 5, 5, 0}, {350, 5, 5, 5, 5, 5, 4.5, 0}};
    double wrapped[3][8] = {{180, 5, 5, 5, 5, 5, 6, 0}, {-180, 6, 5, 5, 5, 5, 5, 0}, {0, 5, 5, 5, 5, 5, 210, 0}};
    double turns[1][8] = {{180, -180, 540, -540, 190, -190, 360, 0}};
    EXPECT_EQ(FX_SelectSolve_With_Range(nullptr, 3, zero, table, out) * 1000 + out[0] * 10 + out[6], 904.5);
    EXPECT_EQ(FX_SelectSolve(nullptr, 2, zero, table, out) * 1000 + out[0], 1010);
    EXPECT_EQ(FX_SelectSolve(nullptr, 2, zero, wrapped, out) * 1000 + out[1], 1005);
    EXPECT_EQ(FX_SelectSolve(nullptr, 3, zero, wrapped, out) * 1000 + out[6], 850);
    FX_SelectSolve(nullptr, 1, far, turns, out);
    expectNear(half_open, out, 8, 0, "wrapped into (-180, 180], the table unchanged");

}

TEST(IK7, Joint7SpanProbes)
{
    IK_Poilt7 ik;
    buildIK(&ik);
    double q[7] = {20, -35, 50, 65, -40, 70, 25}, T[4][4], q0[8], pos[7], neg[7], q0c[8], posc[7], negc[7];
    double plus[7], minus[7], bp[7], bn[7], sp[7], sn[7], zp[7], zn[7], back[4][4], sentinel[7] = {5, 5, 5, 5, 5, 5, 5};
    unsigned char a = 7, b = 7, c = 7, d = 7;
    OnKine(&ik, q, T);
    ASSERT_EQ(FX_CALWSpan2(&ik, 1.0, q, T, q0, pos, neg, &a, &b), 1);
    EXPECT_EQ(a * 10 + b, 11);
    EXPECT_LT(jointDistance(q0, q), 1e-8);
    for (const double* side : {pos, neg}) {  // q0 + difference holds the pose with joint 7 moved one degree
        double moved[7];
        for (int j = 0; j < 7; ++j) moved[j] = q0[j] + side[j];
        OnKine(&ik, moved, back);
        EXPECT_LT(poseDistance(back, T) + std::fabs(std::fabs(side[6]) - 1), 1e-8);
    }
    ASSERT_EQ(FX_CALWSpan2_With_Config(&ik, 1.0, q, T, q0c, posc, negc, &c, &d), 1);
    expectNear(pos, posc, 7, 1e-9, "config +");
    ASSERT_EQ(FX_CALWSpan(&ik, 1.0, q, T, bp, bn, &a, &b) + FX_CALWPosSpan(&ik, 1.0, q, T, plus, &c) +
                  FX_CALWNegSpan(&ik, 1.0, q, T, minus, &d), 3);
    EXPECT_EQ(a * 1000 + b * 100 + c * 10 + d, 1111);
    for (const double* got : {bp, plus}) expectNear(pos, got, 7, 0, "plus side");
    for (const double* got : {bn, minus}) expectNear(neg, got, 7, 0, "minus side");
    // Rates per degree: one-sided differences over 0.1 degree, scaled by 10.
    ASSERT_EQ(FX_CALW(&ik, q, T, pos, neg, &a, &b) + FX_CALWSpan(&ik, 0.01, q, T, sp, sn, &c, &d) +
                  FX_CALWSpan(&ik, 0.0, q, T, zp, zn, &c, &d), 3);
    for (int j = 0; j < 7; ++j) {
        const double central = (sp[j] - sn[j]) / 0.02;
        EXPECT_NEAR(pos[j], central, 1e-2) << j;
        EXPECT_NEAR((pos[j] - neg[j]) / 2, central, 1e-4) << j;
        EXPECT_EQ(zp[j] * zp[j] + zn[j] * zn[j], 0);
    }
    EXPECT_NEAR(pos[6] - neg[6], 2.0, 1e-12);
    // A failed centre writes nothing; the Span2 forms clear their flags first.
    T[2][3] += 2000;
    a = b = 7;
    std::copy(sentinel, sentinel + 7, plus);
    EXPECT_EQ(FX_CALWSpan(&ik, 1.0, q, T, plus, plus, &a, &b) + FX_CALW(&ik, q, T, plus, plus, &a, &b) +
                  FX_CALWPosSpan(&ik, 1.0, q, T, plus, &a) + FX_CALWNegSpan(&ik, 1.0, q, T, plus, &b), 0);
    EXPECT_EQ(a * 10 + b, 77);
    EXPECT_EQ(FX_CALWSpan2(&ik, 1.0, q, T, q0, plus, plus, &a, &b), 0);
    EXPECT_EQ(a + b, 0);
    a = b = 7;
    EXPECT_EQ(FX_CALWSpan2_With_Config(&ik, 1.0, q, T, q0, plus, plus, &a, &b), 0);
    EXPECT_EQ(a + b, 0);
    expectNear(sentinel, plus, 7, 0, "failed centre");
    double I1[2] = {-100, 40}, I2[2] = {62, 170}, I3[2] = {45, 60}, wide[2] = {-1000, 1000}, low[2] = {-10, 0.1}, high[2] = {1.9, 10};
    const double clamp[][2] = {{50, 39.9}, {58, 62.1}, {40, 40}, {62, 62}, {-120, -99.9}, {175, 169.9}, {10, 10}};
    for (const auto& k : clamp)  // I3 never counts
        EXPECT_EQ(FX_Axis7_InInterval3(k[0], I1, I2, I3) * 1e6 + FX_Axis7_InInterval3(k[0], I1, I2, wide), k[1] * 1e6 + k[1]) << k[0];
    EXPECT_EQ(FX_Axis7_InInterval3(1, low, high, I3) * 10 + FX_Axis7_InInterval3(1, high, low, I3), 2.0);  // ties go to I1
}
