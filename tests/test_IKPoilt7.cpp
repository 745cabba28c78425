#include "ik7/IKPoilt7.h"

#include <gtest/gtest.h>

#include <cmath>

#include "IK7TestArm.h"
#include "dynamics/FxChain.h"

namespace {

using ik7arm::Lcg;

constexpr double kPi = 3.14159265358979323846;

void expectRotationIdentity(const double T[4][4])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(T[r][c], r == c ? 1.0 : 0.0, 1e-15) << r << "," << c;
}

// R = Rz(a) Ry(b) Rz(c), composed element by element (radians).
void zyz(double a, double b, double c, double R[4][4])
{
    const double Rz1[3][3] = {{std::cos(a), -std::sin(a), 0}, {std::sin(a), std::cos(a), 0}, {0, 0, 1}};
    const double Ry[3][3] = {{std::cos(b), 0, std::sin(b)}, {0, 1, 0}, {-std::sin(b), 0, std::cos(b)}};
    const double Rz2[3][3] = {{std::cos(c), -std::sin(c), 0}, {std::sin(c), std::cos(c), 0}, {0, 0, 1}};
    double tmp[3][3] = {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k) tmp[i][j] += Rz1[i][k] * Ry[k][j];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) R[i][j] = (i == j) ? 1.0 : 0.0;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            R[i][j] = 0;
            for (int k = 0; k < 3; ++k) R[i][j] += tmp[i][k] * Rz2[k][j];
        }
}

TEST(IKPoilt7, SetUpFieldsAndZeroPoseOfAnUntwistedChain)
{
    // Type 1007 with every angle 0: the zero pose just adds the offsets.
    const ik7arm::Link flat[7] = {
        {0, 0, 340, 0}, {0, 0, 0, 0}, {0, 0, 400, 0}, {0, 20, 0, 0},
        {0, -30, 410, 0}, {0, 0, 0, 0}, {0, 15, 126, 0},
    };
    FX_Pilot rob;
    IK_Poilt7 ik{};
    ik.spare = 7.5;
    ik7arm::build(flat, 35, 1007, &rob, &ik);
    rob.links[7].a = 0.005;  // flange x offset, seen only by a fresh set-up
    FX_InitIK_P7(&ik, &rob);

    EXPECT_DOUBLE_EQ(ik.d1, 340);
    EXPECT_DOUBLE_EQ(ik.d3, 400);
    EXPECT_DOUBLE_EQ(ik.d5, 410);
    EXPECT_DOUBLE_EQ(ik.d7, 126);
    EXPECT_DOUBLE_EQ(ik.a4, 20);
    EXPECT_DOUBLE_EQ(ik.a5, -30);
    EXPECT_DOUBLE_EQ(ik.dF, 35);
    EXPECT_EQ(ik.full_turn, 360);
    EXPECT_DOUBLE_EQ(ik.L_fore, std::hypot(410, 30));
    EXPECT_DOUBLE_EQ(ik.L_upper, std::hypot(400, 20));
    EXPECT_DOUBLE_EQ(ik.ang_fore, std::atan2(30, 410) * 180 / kPi);
    EXPECT_DOUBLE_EQ(ik.ang_upper, std::atan2(20, 400) * 180 / kPi);
    EXPECT_DOUBLE_EQ(ik.elbow_ref, 180 - ik.ang_fore - ik.ang_upper);
    EXPECT_DOUBLE_EQ(ik.elbow_ref_m180, ik.elbow_ref - 180);
    EXPECT_DOUBLE_EQ(ik.reach, std::hypot(340 + 400 + 410 + 126, 15));
    EXPECT_EQ(ik.spare, 7.5);

    double q[7] = {0, 0, 0, 0, 0, 0, 0};
    double T[4][4];
    EXPECT_TRUE(OnKine(&ik, q, T));
    EXPECT_NEAR(T[0][3], 20 - 30 + 15 + 5, 1e-12);
    EXPECT_NEAR(T[1][3], 400 + 410 + 126, 1e-12);
    EXPECT_NEAR(T[2][3], 340 + 35, 1e-12);
    expectRotationIdentity(T);
    EXPECT_EQ(T[3][0], 0);
    EXPECT_EQ(T[3][3], 1);
}

TEST(IKPoilt7, TypeSelectsTheJoint7AndFlangeTransforms)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(0, &rob, &ik);
    for (int k = 6; k < 8; ++k)
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) EXPECT_EQ(ik.M_fix[k][r][c], r == c ? 1.0 : 0.0) << k;

    // 1017 ignores the chain's joint-7 angles and puts the flange offset along
    // x of the joint-7 frame, which becomes the flange's z axis.
    rob.links[6].alpha = 0.3;
    rob.type = 1017;
    FX_InitIK_P7(&ik, &rob);
    const double Rz90Rx90[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(ik.M_fix[6][r][c], Rz90Rx90[r][c], 1e-15);
    EXPECT_DOUBLE_EQ(ik.M_fix[6][1][3], 126);
    EXPECT_DOUBLE_EQ(ik.M_fix[7][0][3], 35);
    EXPECT_NEAR(ik.M_fix[7][0][2], 1, 1e-15);
    EXPECT_NEAR(ik.M_fix[7][1][1], -1, 1e-15);
    EXPECT_NEAR(ik.M_fix[7][2][0], 1, 1e-15);
}

TEST(IKPoilt7, ExampleArmMatchesTheLinkChain)
{
    FX_Pilot rob;
    IK_Poilt7 ik;
    ik7arm::buildExample(1007, &rob, &ik);

    // Zero pose: straight up, elbow offsets cancelling.
    double q[7] = {0, 0, 0, 0, 0, 0, 0};
    double T[4][4];
    OnKine(&ik, q, T);
    EXPECT_NEAR(T[0][3], 0, 1e-12);
    EXPECT_NEAR(T[1][3], 0, 1e-12);
    EXPECT_NEAR(T[2][3], 340 + 400 + 400 + 126 + 35, 1e-12);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) EXPECT_NEAR(T[r][c], r == c ? 1.0 : 0.0, 1e-15);

    Lcg rng{11};
    for (int trial = 0; trial < 200; ++trial) {
        double deg[7], rad[7];
        for (int j = 0; j < 7; ++j) {
            deg[j] = rng.next(-180, 180);
            rad[j] = deg[j] * kPi / 180;
        }
        double chain[4][4];
        FX_KINE(&rob, rad, chain);
        OnKine(&ik, deg, T);
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) EXPECT_NEAR(T[r][c], chain[r][c], 1e-12);
            EXPECT_NEAR(T[r][3], chain[r][3] * 1000, 1e-9);
        }
        // The last products hold the flange frame before the flange offset.
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                EXPECT_EQ(ik.M_acc[7][r][c], ik.M_acc[6][r][c]);
                EXPECT_EQ(ik.M_joint[7][r][c], r == c ? 1.0 : 0.0);
            }
    }
}

TEST(IKPoilt7, SolveZYZBranchesAndSigns)
{
    double R[4][4], ang[3];
    unsigned char singular = 9;

    zyz(0, 0, 0, R);
    FX_SolveZYZ(R, ang, &singular);
    EXPECT_EQ(singular, 1);
    EXPECT_EQ(ang[0], 0);
    EXPECT_EQ(ang[1], 0);
    EXPECT_EQ(ang[2], 0);

    // Degenerate: the whole z rotation, with a positive sign, goes to ang[2].
    zyz(10 * kPi / 180, 0, 20 * kPi / 180, R);
    FX_SolveZYZ(R, ang, &singular);
    EXPECT_EQ(singular, 1);
    EXPECT_EQ(ang[0], 0);
    EXPECT_NEAR(ang[2], 30, 1e-12);

    // Regular: Rz(a) Ry(b) Rz(c) comes back as (-a, b, -c).
    zyz(40 * kPi / 180, 65 * kPi / 180, -110 * kPi / 180, R);
    FX_SolveZYZ(R, ang, &singular);
    EXPECT_EQ(singular, 0);
    EXPECT_NEAR(ang[0], -40, 1e-12);
    EXPECT_NEAR(ang[1], 65, 1e-12);
    EXPECT_NEAR(ang[2], 110, 1e-12);

    // The square root of b is compared with 0.001: b = 1e-6 rad is the edge.
    zyz(0.2, 0.9e-6, 0.3, R);
    FX_SolveZYZ(R, ang, &singular);
    EXPECT_EQ(singular, 1);
    zyz(0.2, 1.1e-6, 0.3, R);
    FX_SolveZYZ(R, ang, &singular);
    EXPECT_EQ(singular, 0);
    EXPECT_NEAR(ang[0], -0.2 * 180 / kPi, 1e-6);

    // b near pi stays regular.
    zyz(0.5, kPi - 1e-9, -0.25, R);
    FX_SolveZYZ(R, ang, &singular);
    EXPECT_EQ(singular, 0);
    EXPECT_NEAR(ang[1], 180, 1e-6);
}

}  // namespace
