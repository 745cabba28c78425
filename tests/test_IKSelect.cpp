#include "ik7/IKSelect.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "IK7TestArm.h"

namespace {

using ik7arm::jointDistance;
using ik7arm::Lcg;
using ik7arm::poseDistance;

// Runs the selection on one row and returns the row as rewritten in place.
struct Resolved {
    double row[8];
    double out[8];
};
Resolved selectOne(const double row[8], const double ref[7])
{
    Resolved r;
    double table[1][8];
    std::memcpy(table[0], row, sizeof table);
    double ref_copy[7];
    std::memcpy(ref_copy, ref, sizeof ref_copy);
    EXPECT_EQ(FX_SelectSolve(nullptr, 1, ref_copy, table, r.out), 1);
    std::memcpy(r.row, table[0], sizeof r.row);
    return r;
}

TEST(IKSelect, SingularRowsTakeTheSplitFromTheReference)
{
    const double ref[7] = {10, 1, 20, 2, 30, 3, 40};
    struct Case {
        const char* name;
        double in[8];
        double expect[7];
    };
    // q1..q7 of every input: 30, q2, 40, q4, 50, q6, 60.
    const Case cases[] = {
        {"none", {30, 0.01, 40, -0.01, 50, 5, 60, 0}, {30, 0.01, 40, -0.01, 50, 5, 60}},
        {"z2", {30, 0.005, 40, 5, 50, 5, 60, 1}, {10, 0.005, -80, 5, 50, 5, 60}},
        {"z4", {30, 5, 40, -0.0099, 50, 5, 60, 0}, {30, 5, 20, -0.0099, 70, 5, 60}},
        {"z6", {30, 5, 40, 5, 50, 0, 60, 0}, {30, 5, 40, 5, 30, 0, 80}},
        {"z2 z4", {30, 0, 40, 0, 50, 5, 60, 1}, {10, 0, 20, 0, 50, 5, 60}},
        {"z2 z6", {30, 0, 40, 5, 50, 0, 60, 1}, {10, 0, -80, 5, 30, 0, 80}},
        {"z4 z6", {30, 5, 40, 0, 50, 0, 60, 0}, {30, 5, 20, 0, 30, 0, 100}},
        // q7 + q5 - (q1 + q3) - r1 - r3 - r5 = 60 + 50 - 70 - 60.
        {"z2 z4 z6", {30, 0, 40, 0, 50, 0, 60, 1}, {10, 0, 20, 0, 30, 0, -20}},
    };
    for (const Case& c : cases) {
        const Resolved r = selectOne(c.in, ref);
        for (int j = 0; j < 7; ++j) {
            EXPECT_DOUBLE_EQ(r.row[j], c.expect[j]) << c.name << " joint " << j + 1;
            EXPECT_DOUBLE_EQ(r.out[j], c.expect[j]) << c.name << " joint " << j + 1;
        }
        EXPECT_EQ(r.out[7], c.in[7]) << c.name;
    }
}

TEST(IKSelect, NearestRowWinsAndTiesKeepTheEarlierRow)
{
    double ref[7] = {0, 0, 0, 0, 0, 0, 0};
    double out[8];
    // Costs 10, 10, 9.5 (350 is 10 away from 0): the last row wins.
    double table[3][8] = {
        {10, 5, 5, 5, 5, 5, 5, 0},
        {-10, 5, 5, 5, 5, 5, 5, 0},
        {350, 5, 5, 5, 5, 5, 4.5, 0},
    };
    EXPECT_EQ(FX_SelectSolve_With_Range(nullptr, 3, ref, table, out), 1);
    EXPECT_EQ(out[0], -10);
    EXPECT_EQ(out[6], 4.5);
    // Without the last row the two equal costs keep row 0.
    EXPECT_EQ(FX_SelectSolve(nullptr, 2, ref, table, out), 1);
    EXPECT_EQ(out[0], 10);
    // Differences are wrapped before they count: 180 and -180 both cost 180
    // (a tie, so row 0 stays ahead of row 1), and 210 costs 150.
    double wrapped[3][8] = {
        {180, 5, 5, 5, 5, 5, 6, 0},
        {-180, 6, 5, 5, 5, 5, 5, 0},
        {0, 5, 5, 5, 5, 5, 210, 0},
    };
    FX_SelectSolve(nullptr, 2, ref, wrapped, out);
    EXPECT_EQ(out[1], 5);
    FX_SelectSolve(nullptr, 3, ref, wrapped, out);
    EXPECT_EQ(out[6], -150);
}

TEST(IKSelect, ChosenJointsAreWrappedIntoHalfOpenTurn)
{
    double ref[7] = {180, -180, 540, 0, 0, 0, 0};
    double table[1][8] = {{180, -180, 540, -540, 190, -190, 360, 0}};
    double out[8];
    FX_SelectSolve(nullptr, 1, ref, table, out);
    const double expect[8] = {180, 180, 180, 180, -170, 170, 0, 0};
    for (int j = 0; j < 8; ++j) EXPECT_EQ(out[j], expect[j]) << j;
    // The table keeps its unwrapped values.
    EXPECT_EQ(table[0][2], 540);
}

TEST(IKSelect, ReferenceSolveFindsTheReferenceBranch)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    Lcg rng{3};
    for (int trial = 0; trial < 200; ++trial) {
        double q[7], ref[7], T[4][4];
        for (int j = 0; j < 7; ++j) {
            q[j] = rng.next(-175, 175);
            ref[j] = q[j] + rng.next(-2, 2);
        }
        // The configuration form follows the reference elbow: keep it on q's side.
        if ((ref[3] > ik.elbow_ref_m180) != (q[3] > ik.elbow_ref_m180)) ref[3] = q[3];
        OnKine(&ik, q, T);
        double out[8], back[4][4];
        ASSERT_EQ(FX_IKRef7(&ik, q[6], ref, T, out), 1);
        EXPECT_LT(jointDistance(out, q), 1e-6) << trial;
        for (int j = 0; j < 8; ++j) {
            EXPECT_GT(out[j], -180);
            EXPECT_LE(out[j], 180);
        }
        OnKine(&ik, out, back);
        EXPECT_LT(poseDistance(back, T), 1e-8);

        ASSERT_EQ(FX_IKRef7_With_Config(&ik, q[6], ref, T, out), 1);
        EXPECT_LT(jointDistance(out, q), 1e-6) << trial;
    }
}

TEST(IKSelect, ReferenceSolveResolvesTheDegenerateShoulder)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    double q[7] = {30, 0, 40, 50, 20, 60, -10};
    double T[4][4], back[4][4];
    OnKine(&ik, q, T);
    double ref[7] = {12, 1, 50, 48, 22, 58, -10};
    double out[8];
    ASSERT_EQ(FX_IKRef7(&ik, q[6], ref, T, out), 1);
    EXPECT_EQ(out[0], 12);
    EXPECT_NEAR(out[2], 58, 1e-8);
    EXPECT_EQ(out[7], 1.0);
    OnKine(&ik, out, back);
    EXPECT_LT(poseDistance(back, T), 1e-8);
}

TEST(IKSelect, UnreachableTargetLeavesTheOutputAlone)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);
    double q[7] = {0, 30, 0, 40, 0, 30, 0};
    double T[4][4];
    OnKine(&ik, q, T);
    T[0][3] += 1500;
    double out[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ(FX_IKRef7(&ik, 0, q, T, out), 0);
    EXPECT_EQ(FX_IKRef7_With_Config(&ik, 0, q, T, out), 0);
    for (int j = 0; j < 8; ++j) EXPECT_EQ(out[j], j + 1);
}

TEST(IKSelect, PrintsSevenTabbedJoints)
{
    double q[7] = {1, -2.5, 0, 1e-7, 180, 123.4567891, -0.0};
    testing::internal::CaptureStdout();
    const int last = PP7(q);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed, "1.000000\t-2.500000\t0.000000\t0.000000\t180.000000\t123.456789\t-0.000000\t\n");
    EXPECT_EQ(last, '\n');
}

}  // namespace
