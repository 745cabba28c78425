#include "ik7/IKLock7.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "IK7TestArm.h"

namespace {

using ik7arm::jointDistance;
using ik7arm::Lcg;
using ik7arm::poseDistance;
using ik7arm::wrap180;

constexpr double kPi = 3.14159265358979323846;

void fillSentinel(long* count, double sol[8][8])
{
    *count = -3;
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c) sol[r][c] = 1000 + 8 * r + c;
}

void expectSentinel(long count, double sol[8][8])
{
    EXPECT_EQ(count, -3);
    for (int r = 0; r < 8; ++r)
        for (int c = 0; c < 8; ++c) EXPECT_EQ(sol[r][c], 1000 + 8 * r + c);
}

// Odd rows are the shoulder twins of the rows before them.
void expectTwins(long count, double sol[8][8])
{
    for (int r = 0; r < count; r += 2) {
        const double* base = sol[r];
        const double* twin = sol[r + 1];
        if (base[7] == 0.0) {
            EXPECT_NEAR(twin[0], wrap180(base[0] + 180), 1e-12);
            EXPECT_EQ(twin[1], -base[1]);
            EXPECT_NEAR(twin[2], wrap180(base[2] + 180), 1e-12);
            EXPECT_GE(twin[0], -180);
            EXPECT_LE(twin[0], 180);
        } else {
            EXPECT_EQ(std::memcmp(base, twin, sizeof(double) * 8), 0);
        }
        for (int c = 3; c < 8; ++c) EXPECT_EQ(twin[c], base[c]);
    }
}

// A target on the straight arm (all axes parallel, joint 7 at 0, identity
// orientation) whose shoulder point, seen from the wrist, lies at D.
void straightTarget(const IK_Poilt7& ik, double Dx, double Dy, double Dz, double T[4][4])
{
    const double a7 = ik.M_fix[6][0][3], d7 = ik.M_fix[6][1][3];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) T[r][c] = r == c ? 1.0 : 0.0;
    T[0][3] = a7 - Dx;
    T[1][3] = d7 - Dy;
    T[2][3] = -Dz + ik.d1 + ik.dF;
}

TEST(IKLock7, RandomPosesComeBackWithTheHeldJoint7)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    Lcg rng{7};
    int eight = 0;
    for (int trial = 0; trial < 400; ++trial) {
        double q[7], T[4][4];
        for (int j = 0; j < 7; ++j) q[j] = rng.next(-175, 175);
        OnKine(&ik, q, T);

        long count;
        double sol[8][8];
        ASSERT_EQ(FX_IKLock7(&ik, q[6], T, &count, sol), 1) << trial;
        ASSERT_TRUE(count == 4 || count == 8);
        eight += count == 8;
        double nearest = 1e9;
        for (int r = 0; r < count; ++r) {
            nearest = std::fmin(nearest, jointDistance(sol[r], q));
            EXPECT_EQ(sol[r][6], q[6]);
            EXPECT_EQ(sol[r][7], 0.0);
            double back[4][4];
            OnKine(&ik, sol[r], back);
            EXPECT_LT(poseDistance(back, T), 1e-8) << trial << " row " << r;
        }
        EXPECT_LT(nearest, 1e-6) << trial;
        expectTwins(count, sol);
    }
    EXPECT_GT(eight, 100);
}

TEST(IKLock7, Type1017TargetIsTheJoint7FrameShiftedAlongItsZ)
{
    // The solver strips the flange as an offset of dF along the target's own
    // z axis and keeps its rotation, so on a 1017 wrist (flange turned away
    // from the joint-7 frame) it solves that shifted joint-7 frame.
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1017, &rob, &ik);
    Lcg rng{5};
    for (int trial = 0; trial < 100; ++trial) {
        double q[7], flange[4][4], T[4][4];
        for (int j = 0; j < 7; ++j) q[j] = rng.next(-175, 175);
        OnKine(&ik, q, flange);
        std::memcpy(T, ik.M_acc[7], sizeof T);
        for (int r = 0; r < 3; ++r) T[r][3] += ik.dF * T[r][2];
        long count;
        double sol[8][8];
        ASSERT_EQ(FX_IKLock7(&ik, q[6], T, &count, sol), 1);
        double nearest = 1e9;
        for (int r = 0; r < count; ++r) nearest = std::fmin(nearest, jointDistance(sol[r], q));
        EXPECT_LT(nearest, 1e-6) << trial;
    }
}

TEST(IKLock7, ConfigFormSolvesTheReferenceElbowOnly)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    double q[7] = {25, -40, 70, 60, 35, -55, 15};
    double T[4][4];
    OnKine(&ik, q, T);
    long all_count;
    double all[8][8];
    ASSERT_EQ(FX_IKLock7(&ik, q[6], T, &all_count, all), 1);
    ASSERT_EQ(all_count, 8);

    double ref[7] = {0, 0, 0, 0, 0, 0, 0};
    const double branch_ref[2] = {ik.elbow_ref_m180 + 1, ik.elbow_ref_m180 - 1};
    for (int b = 0; b < 2; ++b) {
        ref[3] = branch_ref[b];
        long count = 0;
        double sol[8][8];
        ASSERT_EQ(FX_IKLock7_With_Config(&ik, q[6], ref, T, &count, sol), 1);
        ASSERT_EQ(count, 4);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 8; ++c) EXPECT_EQ(sol[r][c], all[4 * b + r][c]) << b << " " << r;
    }
    // The branch holding the given joints is the one on their side.
    ref[3] = q[3];
    long count;
    double sol[8][8];
    FX_IKLock7_With_Config(&ik, q[6], ref, T, &count, sol);
    double nearest = 1e9;
    for (int r = 0; r < 4; ++r) nearest = std::fmin(nearest, jointDistance(sol[r], q));
    EXPECT_LT(nearest, 1e-6);

    // A reference elbow exactly on the split holds joint 4 at -1e-5, which
    // fits a target whose elbow is there.
    double nearly_zero_elbow[7] = {25, -40, 70, -1e-5, 35, -55, 15};
    OnKine(&ik, nearly_zero_elbow, T);
    ref[3] = ik.elbow_ref_m180;
    ASSERT_EQ(FX_IKLock7_With_Config(&ik, q[6], ref, T, &count, sol), 1);
    nearest = 1e9;
    for (int r = 0; r < 4; ++r) {
        EXPECT_EQ(sol[r][3], -1e-5);
        nearest = std::fmin(nearest, jointDistance(sol[r], nearly_zero_elbow));
    }
    EXPECT_LT(nearest, 1e-4);
}

TEST(IKLock7, DegenerateShoulderRowsCarryTheFlag)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    double q[7] = {30, 0, 40, 50, 20, 60, -10};
    double T[4][4];
    OnKine(&ik, q, T);
    long count;
    double sol[8][8];
    ASSERT_EQ(FX_IKLock7(&ik, q[6], T, &count, sol), 1);
    int matched = 0;
    for (int r = 0; r < count; r += 2) {
        if (std::fabs(sol[r][3] - q[3]) > 1e-8 || std::fabs(sol[r][4] - q[4]) > 1e-8) continue;
        ++matched;
        // Joint 1 holds the shoulder's whole z turn with its sign reversed.
        EXPECT_EQ(sol[r][7], 1.0);
        EXPECT_NEAR(sol[r][0], -(q[0] + q[2]), 1e-8);
        EXPECT_EQ(sol[r][2], 0);
        EXPECT_NEAR(sol[r][5], q[5], 1e-8);
    }
    EXPECT_EQ(matched, 1);
    expectTwins(count, sol);
}

TEST(IKLock7, ReachBoundaries)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildStraight(0, 400, &rob, &ik);
    ASSERT_EQ(ik.L_fore + ik.L_upper, 800.0);

    // Exactly at full stretch: accepted, the interior elbow angle is 180 so
    // both elbows land on joint 4 = 0, pushed to +-1e-5.
    double T[4][4];
    straightTarget(ik, 0, -800, 0, T);
    long count;
    double sol[8][8];
    ASSERT_EQ(FX_IKLock7(&ik, 0, T, &count, sol), 1);
    EXPECT_EQ(count, 8);
    for (int r = 0; r < 8; ++r) EXPECT_EQ(std::fabs(sol[r][3]), 1e-5);

    // A millimetre further: out of reach, nothing written.
    straightTarget(ik, 0, -801, 0, T);
    fillSentinel(&count, sol);
    EXPECT_EQ(FX_IKLock7(&ik, 0, T, &count, sol), 0);
    expectSentinel(count, sol);
    double ref[7] = {0, 0, 0, 1, 0, 0, 0};
    EXPECT_EQ(FX_IKLock7_With_Config(&ik, 0, ref, T, &count, sol), 0);
    expectSentinel(count, sol);

    // Nearer the shoulder than the elbow can fold: not rejected, NaN joints.
    ik7arm::buildStraight(0, 300, &rob, &ik);
    straightTarget(ik, 0, -50, 0, T);
    ASSERT_EQ(FX_IKLock7(&ik, 12, T, &count, sol), 1);
    EXPECT_EQ(count, 8);
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 6; ++c) EXPECT_TRUE(std::isnan(sol[r][c])) << r << "," << c;
        EXPECT_EQ(sol[r][6], 12);
    }
}

TEST(IKLock7, WristToleranceIsAsymmetricBetweenTheElbows)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildStraight(0, 400, &rob, &ik);
    // Interior elbow angle 120: joint 4 is +60 (first elbow) or -60 (second),
    // and the wrist's sine terms are +-400 sin 60.
    const double r = 800 * std::sin(60 * kPi / 180);
    const double sA = 400 * std::sin(60 * kPi / 180);
    auto solveWithCosine = [&](double x, long* count, double sol[8][8]) {
        const double Dz = x * sA;
        double T[4][4];
        straightTarget(ik, std::sqrt(r * r - Dz * Dz), 0, Dz, T);
        return FX_IKLock7(&ik, 0, T, count, sol);
    };
    long count;
    double sol[8][8];

    // First elbow sees +1.5 (invalid), second -1.5: clamped and accepted.
    ASSERT_EQ(solveWithCosine(1.5, &count, sol), 1);
    ASSERT_EQ(count, 4);
    for (int row = 0; row < 4; ++row) {
        EXPECT_NEAR(sol[row][3], -60, 1e-9);
        EXPECT_NEAR(sol[row][4], 90, 1e-12);
    }
    // Mirrored: the first elbow sees -1.5, the second +1.5: both invalid.
    fillSentinel(&count, sol);
    EXPECT_EQ(solveWithCosine(-1.5, &count, sol), 0);
    expectSentinel(count, sol);

    // Within the 1.00001 tolerance both elbows stay; past it only the second.
    ASSERT_EQ(solveWithCosine(1.000005, &count, sol), 1);
    EXPECT_EQ(count, 8);
    EXPECT_NEAR(sol[0][3], 60, 1e-9);
    ASSERT_EQ(solveWithCosine(1.00002, &count, sol), 1);
    EXPECT_EQ(count, 4);
    EXPECT_NEAR(sol[0][3], -60, 1e-9);

    // The configuration form checks the tolerance on both sides.
    double ref[7] = {0, 0, 0, -30, 0, 0, 0};
    double T[4][4];
    const double Dz = 1.5 * sA;
    straightTarget(ik, std::sqrt(r * r - Dz * Dz), 0, Dz, T);
    fillSentinel(&count, sol);
    EXPECT_EQ(FX_IKLock7_With_Config(&ik, 0, ref, T, &count, sol), 0);
    expectSentinel(count, sol);
}

TEST(IKLock7, AllFormClearsItsFlagsWhateverTheResult)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    double q[7] = {-20, 35, 10, -70, 45, 80, 30};
    double T[4][4];
    OnKine(&ik, q, T);
    long count, plain_count;
    double sol[8][8], plain[8][8];
    unsigned char flags[9];
    std::memset(flags, 0xAB, sizeof flags);
    ASSERT_EQ(FX_IKLock7_ALL(&ik, q[6], T, &count, sol, flags), 1);
    ASSERT_EQ(FX_IKLock7(&ik, q[6], T, &plain_count, plain), 1);
    EXPECT_EQ(count, plain_count);
    EXPECT_EQ(std::memcmp(sol, plain, sizeof(double) * 8 * count), 0);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(flags[i], 0);
    EXPECT_EQ(flags[8], 0xAB);

    T[2][3] += 2000;
    std::memset(flags, 0xAB, sizeof flags);
    fillSentinel(&count, sol);
    EXPECT_EQ(FX_IKLock7_ALL(&ik, q[6], T, &count, sol, flags), 0);
    expectSentinel(count, sol);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(flags[i], 0);
}

}  // namespace
