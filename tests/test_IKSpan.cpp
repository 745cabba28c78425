#include "ik7/IKSpan.h"

#include <gtest/gtest.h>

#include <cstring>

#include "IK7TestArm.h"
#include "ik7/IKSelect.h"

namespace {

using ik7arm::jointDistance;
using ik7arm::poseDistance;

struct Probe {
    double q0[8];
    double pos[7];
    double neg[7];
    unsigned char okPos;
    unsigned char okNeg;
    Probe()
    {
        for (int j = 0; j < 8; ++j) q0[j] = -1000 - j;
        for (int j = 0; j < 7; ++j) pos[j] = neg[j] = 1000 + j;
        okPos = okNeg = 7;
    }
};

void expectUnwritten(const double* v, int n, double first)
{
    for (int j = 0; j < n; ++j) EXPECT_EQ(v[j], first + (first < 0 ? -j : j)) << j;
}

class IKSpanArm : public testing::Test {
protected:
    void SetUp() override
    {
        ik7arm::buildExample(1007, &rob, &ik);
        OnKine(&ik, q, T);
    }
    FX_Pilot rob;
    IK_Poilt7 ik;
    double q[7] = {20, -35, 50, 65, -40, 70, 25};
    double T[4][4];
};

TEST_F(IKSpanArm, BothSidesHoldThePoseWithJoint7Moved)
{
    Probe p;
    ASSERT_EQ(FX_CALWSpan2(&ik, 1.0, q, T, p.q0, p.pos, p.neg, &p.okPos, &p.okNeg), 1);
    EXPECT_EQ(p.okPos, 1);
    EXPECT_EQ(p.okNeg, 1);
    EXPECT_LT(jointDistance(p.q0, q), 1e-8);
    const double* sides[2] = {p.pos, p.neg};
    for (int s = 0; s < 2; ++s) {
        double moved[7], back[4][4];
        for (int j = 0; j < 7; ++j) moved[j] = p.q0[j] + sides[s][j];
        EXPECT_NEAR(sides[s][6], s == 0 ? 1.0 : -1.0, 1e-12);
        OnKine(&ik, moved, back);
        EXPECT_LT(poseDistance(back, T), 1e-8) << s;
        EXPECT_LT(jointDistance(moved, q), 5.0);
    }

    // The other forms report the same differences.
    Probe both, plus, minus, config;
    ASSERT_EQ(FX_CALWSpan(&ik, 1.0, q, T, both.pos, both.neg, &both.okPos, &both.okNeg), 1);
    ASSERT_EQ(FX_CALWPosSpan(&ik, 1.0, q, T, plus.pos, &plus.okPos), 1);
    ASSERT_EQ(FX_CALWNegSpan(&ik, 1.0, q, T, minus.neg, &minus.okNeg), 1);
    ASSERT_EQ(FX_CALWSpan2_With_Config(&ik, 1.0, q, T, config.q0, config.pos, config.neg, &config.okPos,
                                       &config.okNeg),
              1);
    EXPECT_EQ(plus.okPos, 1);
    EXPECT_EQ(minus.okNeg, 1);
    EXPECT_EQ(plus.okNeg, 7);
    EXPECT_EQ(minus.okPos, 7);
    expectUnwritten(plus.neg, 7, 1000);
    expectUnwritten(minus.pos, 7, 1000);
    for (int j = 0; j < 7; ++j) {
        EXPECT_EQ(both.pos[j], p.pos[j]);
        EXPECT_EQ(both.neg[j], p.neg[j]);
        EXPECT_EQ(plus.pos[j], p.pos[j]);
        EXPECT_EQ(minus.neg[j], p.neg[j]);
        EXPECT_NEAR(config.pos[j], p.pos[j], 1e-9);
        EXPECT_NEAR(config.neg[j], p.neg[j], 1e-9);
    }
    double centre[8];
    ASSERT_EQ(FX_IKRef7_With_Config(&ik, q[6], q, T, centre), 1);
    EXPECT_EQ(std::memcmp(centre, config.q0, sizeof centre), 0);
}

TEST_F(IKSpanArm, RatesPerDegreeOfJoint7)
{
    Probe rate, small;
    ASSERT_EQ(FX_CALW(&ik, q, T, rate.pos, rate.neg, &rate.okPos, &rate.okNeg), 1);
    EXPECT_EQ(rate.okPos, 1);
    EXPECT_EQ(rate.okNeg, 1);
    ASSERT_EQ(FX_CALWSpan(&ik, 0.01, q, T, small.pos, small.neg, &small.okPos, &small.okNeg), 1);
    for (int j = 0; j < 7; ++j) {
        // Each side is a one-sided difference over 0.1 degree; their mean is a
        // central one and agrees with a central difference over 0.02 degree.
        const double central = (small.pos[j] - small.neg[j]) / 0.02;
        EXPECT_NEAR(rate.pos[j], central, 1e-2) << j;
        EXPECT_NEAR(-rate.neg[j], central, 1e-2) << j;
        EXPECT_NEAR((rate.pos[j] - rate.neg[j]) / 2, central, 1e-4) << j;
    }
    EXPECT_NEAR(rate.pos[6], 1.0, 1e-12);
    EXPECT_NEAR(rate.neg[6], -1.0, 1e-12);

    Probe still;
    ASSERT_EQ(FX_CALWSpan(&ik, 0.0, q, T, still.pos, still.neg, &still.okPos, &still.okNeg), 1);
    EXPECT_EQ(still.okPos, 1);
    EXPECT_EQ(still.okNeg, 1);
    for (int j = 0; j < 7; ++j) {
        EXPECT_EQ(still.pos[j], 0);
        EXPECT_EQ(still.neg[j], 0);
    }
}

TEST_F(IKSpanArm, FailedCentreWritesNothingButTheClearedFlags)
{
    T[2][3] += 2000;
    Probe p;
    EXPECT_EQ(FX_CALWSpan(&ik, 1.0, q, T, p.pos, p.neg, &p.okPos, &p.okNeg), 0);
    EXPECT_EQ(FX_CALW(&ik, q, T, p.pos, p.neg, &p.okPos, &p.okNeg), 0);
    EXPECT_EQ(FX_CALWPosSpan(&ik, 1.0, q, T, p.pos, &p.okPos), 0);
    EXPECT_EQ(FX_CALWNegSpan(&ik, 1.0, q, T, p.neg, &p.okNeg), 0);
    EXPECT_EQ(p.okPos, 7);
    EXPECT_EQ(p.okNeg, 7);
    expectUnwritten(p.pos, 7, 1000);
    expectUnwritten(p.neg, 7, 1000);

    EXPECT_EQ(FX_CALWSpan2(&ik, 1.0, q, T, p.q0, p.pos, p.neg, &p.okPos, &p.okNeg), 0);
    EXPECT_EQ(p.okPos, 0);
    EXPECT_EQ(p.okNeg, 0);
    p.okPos = p.okNeg = 7;
    EXPECT_EQ(FX_CALWSpan2_With_Config(&ik, 1.0, q, T, p.q0, p.pos, p.neg, &p.okPos, &p.okNeg), 0);
    EXPECT_EQ(p.okPos, 0);
    EXPECT_EQ(p.okNeg, 0);
    expectUnwritten(p.q0, 8, -1000);
    expectUnwritten(p.pos, 7, 1000);
}

// Parallel axes, a7 = 100 mm, joint 7 at 0: the wrist point circles the
// joint-7 axis, so the stretched arm reaches the target only on some sides.
class IKSpanStretched : public testing::Test {
protected:
    void SetUp() override { ik7arm::buildStraight(100, 400, &rob, &ik); }
    void target(double x, double y)
    {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) T[r][c] = r == c ? 1.0 : 0.0;
        T[0][3] = x;
        T[1][3] = y;
        T[2][3] = ik.d1;
    }
    FX_Pilot rob;
    IK_Poilt7 ik;
    double ref[7] = {0, 0, 0, 1, 0, 0, 0};
    double T[4][4];
};

TEST_F(IKSpanStretched, OneSideOutOfReach)
{
    // Wrist at (100 - 100 cos q7, 800 + 100 sin q7): only minus keeps it within 800.
    target(100, 800);
    Probe p;
    EXPECT_EQ(FX_CALWSpan(&ik, 1.0, ref, T, p.pos, p.neg, &p.okPos, &p.okNeg), 1);
    EXPECT_EQ(p.okPos, 0);
    EXPECT_EQ(p.okNeg, 1);
    expectUnwritten(p.pos, 7, 1000);

    Probe plus, minus;
    EXPECT_EQ(FX_CALWPosSpan(&ik, 1.0, ref, T, plus.pos, &plus.okPos), 0);
    EXPECT_EQ(plus.okPos, 0);
    EXPECT_EQ(FX_CALWNegSpan(&ik, 1.0, ref, T, minus.neg, &minus.okNeg), 1);
    EXPECT_EQ(minus.okNeg, 1);
}

TEST_F(IKSpanStretched, ReachableOnlyAtTheCentre)
{
    // Wrist at (900 - 100 cos q7, 100 sin q7): exactly 800 away at q7 = 0 only.
    target(900, 0);
    Probe p;
    EXPECT_EQ(FX_CALWSpan2(&ik, 1.0, ref, T, p.q0, p.pos, p.neg, &p.okPos, &p.okNeg), 0);
    EXPECT_EQ(p.okPos, 0);
    EXPECT_EQ(p.okNeg, 0);
    EXPECT_EQ(p.q0[6], 0);
    expectUnwritten(p.pos, 7, 1000);
    expectUnwritten(p.neg, 7, 1000);
}

TEST(IKSpan, Axis7IntervalCorrection)
{
    double I1[2] = {-100, 40}, I2[2] = {62, 170}, I3[2] = {45, 60};
    EXPECT_DOUBLE_EQ(FX_Axis7_InInterval3(50, I1, I2, I3), 39.9);
    EXPECT_DOUBLE_EQ(FX_Axis7_InInterval3(58, I1, I2, I3), 62.1);
    EXPECT_EQ(FX_Axis7_InInterval3(40, I1, I2, I3), 40);
    EXPECT_EQ(FX_Axis7_InInterval3(62, I1, I2, I3), 62);
    EXPECT_DOUBLE_EQ(FX_Axis7_InInterval3(-120, I1, I2, I3), -99.9);
    EXPECT_DOUBLE_EQ(FX_Axis7_InInterval3(175, I1, I2, I3), 169.9);
    // I3 never changes the result, inside or outside I1 and I2.
    double wide[2] = {-1000, 1000}, elsewhere[2] = {500, 600};
    EXPECT_DOUBLE_EQ(FX_Axis7_InInterval3(50, I1, I2, wide), 39.9);
    EXPECT_EQ(FX_Axis7_InInterval3(10, I1, I2, elsewhere), 10);

    // Equal distances go to I1: candidates 0 and 2 around v = 1.
    double low[2] = {-10, 0.1}, high[2] = {1.9, 10};
    ASSERT_EQ(high[0] + 0.1, 2.0);
    ASSERT_EQ(low[1] - 0.1, 0.0);
    EXPECT_EQ(FX_Axis7_InInterval3(1, low, high, I3), 0.0);
    EXPECT_EQ(FX_Axis7_InInterval3(1, high, low, I3), 2.0);
}

}  // namespace
