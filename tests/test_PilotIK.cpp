#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "pilot/PilotIK.h"
#include "tests/PilotTestArm.h"

namespace {

double AngleGap(double a, double b)
{
    return std::fabs(std::remainder(a - b, 360.0));
}

void ExpectSamePose(double a[4][4], double b[4][4])
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(a[r][c], b[r][c], 1e-9) << "rotation " << r << "," << c;
        EXPECT_NEAR(a[r][3], b[r][3], 1e-6) << "position " << r;
    }
}

// Joints 5-7 equal q's, or for the variant-0 wrist possibly the twin
// (q5 + 180, -q6, q7 + 180) that gives the same wrist rotation.
void ExpectSameJoints(unsigned char variant, const double* got, const double* q)
{
    for (int i = 0; i < 4; ++i)
        EXPECT_LT(AngleGap(got[i], q[i]), 1e-7) << "joint " << i + 1;
    const bool twin = variant == 0 && got[5] * q[5] < 0;
    const double wrist[3] = {twin ? q[4] + 180 : q[4], twin ? -q[5] : q[5],
                             twin ? q[6] + 180 : q[6]};
    for (int i = 0; i < 3; ++i)
        EXPECT_LT(AngleGap(got[4 + i], wrist[i]), 1e-7) << "joint " << i + 5;
}

// Target with identity rotation whose wrist centre lies `reach` mm beside the shoulder.
void TargetAtReach(double reach, double target[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            target[r][c] = r == c ? 1.0 : 0.0;
    target[0][3] = reach;
    target[2][3] = kD1 + kD7;
}

}  // namespace

TEST(PilotIK, RoundTripThroughForwardKinematics)
{
    std::mt19937 gen(7);
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        MakePilot(variant, &pilot);
        int variant0_twins = 0;
        for (int n = 0; n < 400; ++n) {
            double q[7], target[4][4], out[7], again[4][4];
            RandomJoints(gen, q);
            FX_Kine_Pilot(&pilot, q, target);
            NSPBase nbase;
            unsigned char f1 = 9, f2 = 9, f3 = 9;
            ASSERT_EQ(FX_InvKine_Pilot(&pilot, q, target, &nbase, out, &f1, &f2, &f3), 1)
                << "variant " << int(variant) << " sample " << n;
            EXPECT_EQ(f1 + f2 + f3, 0);
            EXPECT_EQ(nbase.variant, variant);
            EXPECT_EQ(nbase.elbow_type, q[3] > 0 ? 1 : -1);
            EXPECT_NEAR(out[3], q[3], 1e-9);
            EXPECT_EQ(out[3], nbase.q4);
            FX_Kine_Pilot(&pilot, out, again);
            ExpectSamePose(again, target);
            ExpectSameJoints(variant, out, q);
            if (variant == 0) {
                EXPECT_GT(out[5], 0.0) << "variant-0 wrist keeps the second Euler candidate";
                variant0_twins += q[5] < 0;
            }
        }
        if (variant == 0) {
            EXPECT_GT(variant0_twins, 100);
        }
    }
}

TEST(PilotIK, DirectionFixesTheSameElbowPlane)
{
    std::mt19937 gen(11);
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        MakePilot(variant, &pilot);
        for (int n = 0; n < 200; ++n) {
            double q[7], target[4][4], by_ref[7], by_dir[7], again[4][4];
            RandomJoints(gen, q);
            FX_Kine_Pilot(&pilot, q, target);
            // Elbow point relative to the shoulder, plus a part along the shoulder-wrist
            // line that the solver must ignore, at an arbitrary scale.
            double dir[3];
            for (int i = 0; i < 3; ++i) {
                const double along = pilot.joint_pose[6][i][3] - pilot.joint_pose[1][i][3];
                dir[i] = 3.0 * (pilot.joint_pose[3][i][3] - pilot.joint_pose[1][i][3]) + 0.7 * along;
            }
            const double dir_copy[3] = {dir[0], dir[1], dir[2]};
            NSPBase nbase;
            unsigned char f1, f2, f3;
            ASSERT_EQ(FX_InvKine_Pilot(&pilot, q, target, &nbase, by_ref, &f1, &f2, &f3), 1);
            ASSERT_EQ(FX_InvKine_PilotDir(&pilot, q, target, dir, &nbase, by_dir, &f1, &f2, &f3), 1);
            EXPECT_EQ(f1 + f2 + f3, 0);
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(dir[i], dir_copy[i]) << "dir is left as given";
            for (int i = 0; i < 7; ++i)
                EXPECT_LT(AngleGap(by_dir[i], by_ref[i]), 1e-7) << "joint " << i + 1;
            FX_Kine_Pilot(&pilot, by_dir, again);
            ExpectSamePose(again, target);
        }
    }
}

TEST(PilotIK, ReachMarginAndElbowBranches)
{
    Pilot pilot;
    MakePilot(0, &pilot);
    const double limit = pilot.L1 + pilot.L2;
    double reach = limit - 0.1;
    ASSERT_FALSE(reach + 0.1 < limit);
    double ref_down[7] = {0, 30, 0, -60, 0, 30, 0};
    double ref_up[7] = {0, 30, 0, 60, 0, 30, 0};

    // At the margin: flag1, result 0, out and the stored base untouched.
    double target[4][4];
    TargetAtReach(reach, target);
    NSPBase nbase = {};
    nbase.q4 = 12.5;
    double out[7] = {1, 2, 3, 4, 5, 6, 7};
    unsigned char f1 = 0, f2 = 9, f3 = 9;
    EXPECT_EQ(FX_InvKine_Pilot(&pilot, ref_down, target, &nbase, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(f1, 1);
    EXPECT_EQ(f2, 0);
    EXPECT_EQ(f3, 0);
    EXPECT_EQ(nbase.q4, 12.5);
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(out[i], i + 1.0);
    double dir[3] = {0, 1, 0};
    EXPECT_EQ(FX_InvKine_PilotDir(&pilot, ref_down, target, dir, &nbase, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(f1, 1);

    // Just inside: the elbow is bent by less than the two offset angles, so joint 4
    // lies below the straight-elbow angle and only a lower reference finds a branch.
    reach = limit - 0.1 - 1e-6;
    TargetAtReach(reach, target);
    EXPECT_EQ(FX_InvKine_Pilot(&pilot, ref_up, target, &nbase, out, &f1, &f2, &f3), 0);
    EXPECT_EQ(f1, 1);
    ASSERT_EQ(FX_InvKine_Pilot(&pilot, ref_down, target, &nbase, out, &f1, &f2, &f3), 1);
    EXPECT_EQ(f1, 0);
    // Both candidates lie below; the first, elbow_angle - E, wins.
    const double l = pilot.L1;
    const double interior = std::acos((2 * l * l - reach * reach) / (2 * l * l)) * 180.0 / M_PI;
    EXPECT_NEAR(out[3], pilot.elbow_angle - interior, 1e-6);
    EXPECT_LT(out[3], pilot.straight_q4);
    EXPECT_GT(out[3], pilot.straight_q4 - 2.0);
}

TEST(PilotIK, StraightReferenceElbowFails)
{
    Pilot pilot;
    MakePilot(1, &pilot);
    double q[7] = {10, 40, -20, 70, 15, 30, 5};
    double target[4][4];
    FX_Kine_Pilot(&pilot, q, target);
    NSPBase nbase;
    double out[7];
    unsigned char f1, f2, f3;
    double dir[3] = {1, 0, 0};
    for (double off : {0.0, 0.9e-5, -0.9e-5}) {
        double ref[7] = {10, 40, -20, pilot.straight_q4 + off, 15, 30, 5};
        EXPECT_EQ(FX_InvKine_Pilot(&pilot, ref, target, &nbase, out, &f1, &f2, &f3), 0);
        EXPECT_EQ(f1, 1) << off;
        EXPECT_EQ(FX_InvKine_PilotDir(&pilot, ref, target, dir, &nbase, out, &f1, &f2, &f3), 0);
        EXPECT_EQ(f1, 1) << off;
    }
    double ref[7] = {10, 40, -20, pilot.straight_q4 + 2e-5, 15, 30, 5};
    EXPECT_EQ(FX_InvKine_Pilot(&pilot, ref, target, &nbase, out, &f1, &f2, &f3), 1);
    EXPECT_EQ(f1, 0);
    EXPECT_NEAR(out[3], 70.0, 1e-9);
}

TEST(PilotIK, SolveTrange2DBranches)
{
    double out[2];
    // First line vertical: the slope of the second line divides instead of multiplying.
    FX_SolveTrange2D(10, 0, 1, 0.6, 0.8, out);
    EXPECT_EQ(out[0], 0.0);
    EXPECT_DOUBLE_EQ(out[1], -7.5);
    // Second line vertical: likewise with the first slope.
    FX_SolveTrange2D(10, 0.6, 0.8, 0, 1, out);
    EXPECT_EQ(out[0], 10.0);
    EXPECT_DOUBLE_EQ(out[1], 7.5);
    // General: 45 and 135 degrees meet above the middle.
    const double h = std::sqrt(0.5);
    FX_SolveTrange2D(10, h, h, -h, h, out);
    EXPECT_NEAR(out[0], 5.0, 1e-12);
    EXPECT_NEAR(out[1], 5.0, 1e-12);
    // A cosine of exactly 1e-8 is not below the tolerance: the true intersection.
    FX_SolveTrange2D(10, 1e-8, 1, 0.6, 0.8, out);
    EXPECT_NEAR(out[0], 0.0, 1e-6);
    EXPECT_NEAR(out[1], -40.0 / 3.0, 1e-6);
}
