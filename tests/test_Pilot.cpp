#include "pilot/Pilot.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

namespace {

using Mat4 = std::array<std::array<double, 4>, 4>;

const double kPi = 3.14159265358979323846;
const double kD1 = 340, kD3 = 400, kA = 20, kD5 = 400, kD7 = 126;

void MakeGeometry(double geometry[8][4], double d1, double d3, double a, double d5, double d7)
{
    for (int r = 0; r < 8; ++r) {
        for (int c = 0; c < 4; ++c) {
            geometry[r][c] = 1000 + 10 * r + c;  // entries the model must not read
        }
    }
    geometry[0][2] = d1;
    geometry[2][2] = d3;
    geometry[3][1] = a;
    geometry[4][2] = d5;
    geometry[7][2] = d7;
}

void InitPilot(Pilot* pilot, unsigned char variant, double a = kA)
{
    double geometry[8][4];
    MakeGeometry(geometry, kD1, kD3, a, kD5, kD7);
    FX_Init_Pilot(pilot, variant, geometry);
}

Mat4 Identity()
{
    Mat4 m{};
    for (int i = 0; i < 4; ++i) m[i][i] = 1;
    return m;
}

Mat4 Translation(double x, double y, double z)
{
    Mat4 m = Identity();
    m[0][3] = x;
    m[1][3] = y;
    m[2][3] = z;
    return m;
}

Mat4 Rx(double degrees)
{
    const double q = degrees * kPi / 180;
    Mat4 m = Identity();
    m[1][1] = std::cos(q);
    m[1][2] = -std::sin(q);
    m[2][1] = std::sin(q);
    m[2][2] = std::cos(q);
    return m;
}

Mat4 Rz(double degrees)
{
    const double q = degrees * kPi / 180;
    Mat4 m = Identity();
    m[0][0] = std::cos(q);
    m[0][1] = -std::sin(q);
    m[1][0] = std::sin(q);
    m[1][1] = std::cos(q);
    return m;
}

Mat4 Rotation(const double rows[3][3])
{
    Mat4 m = Identity();
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m[r][c] = rows[r][c];
    return m;
}

Mat4 operator*(const Mat4& a, const Mat4& b)
{
    Mat4 m{};
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            for (int k = 0; k < 4; ++k) m[r][c] += a[r][k] * b[k][c];
    return m;
}

// The arm composed frame by frame from its geometric description.
Mat4 ReferenceFlange(int variant, const double q[7], double a)
{
    const double joint7[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
    const double flange1[3][3] = {{0, 0, 1}, {0, -1, 0}, {1, 0, 0}};
    Mat4 m = Translation(0, 0, kD1) * Rz(q[0]);
    m = m * Rx(90) * Rz(q[1]);
    m = m * Rx(-90) * Rz(q[2]);
    m = m * Translation(a, 0, kD3) * Rx(90) * Rz(q[3]);
    m = m * Translation(-a, kD5, 0) * Rx(-90) * Rz(q[4]);
    m = m * Rx(90) * Rz(q[5]);
    if (variant == 0) {
        return m * Rx(-90) * Rz(q[6]) * Translation(0, 0, kD7);
    }
    return m * Rotation(joint7) * Rz(q[6]) * Translation(kD7, 0, 0) * Rotation(flange1);
}

void ExpectNear(const Mat4& expected, double actual[4][4], double tolerance)
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_NEAR(expected[r][c], actual[r][c], tolerance) << "element " << r << "," << c;
}

}  // namespace

TEST(Pilot, ZeroPoseStandsStraightUpInBothVariants)
{
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        InitPilot(&pilot, variant);
        EXPECT_EQ(variant, pilot.variant);
        Mat4 expected = Translation(0, 0, kD1 + kD3 + kD5 + kD7);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                EXPECT_EQ(expected[r][c], pilot.tool_pose[r][c]);
                EXPECT_EQ(expected[r][c], pilot.flange_pose[r][c]);
                EXPECT_EQ(r == c ? 1.0 : 0.0, pilot.tool[r][c]);
                EXPECT_EQ(r == c ? 1.0 : 0.0, pilot.tool2[r][c]);
            }
        EXPECT_EQ(kD1 + kD3, pilot.joint_pose[3][2][3]);
        EXPECT_EQ(kA, pilot.joint_pose[3][0][3]);  // the elbow offset sticks out sideways
        double flange_back[4][4] = {};
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                for (int k = 0; k < 4; ++k) flange_back[r][c] += pilot.flange[r][k] * pilot.flange_inv[k][c];
        ExpectNear(Identity(), flange_back, 1e-15);
    }
}

TEST(Pilot, ForwardKinematicsMatchesComposedFrames)
{
    const double q[7] = {23.5, -41, 67.25, -95, 12, 58.5, -133};
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        InitPilot(&pilot, variant);
        double joints[7];
        for (int i = 0; i < 7; ++i) joints[i] = q[i];
        double pose[4][4];
        FX_Kine_Pilot(&pilot, joints, pose);
        const Mat4 flange = ReferenceFlange(variant, q, kA);
        ExpectNear(flange, pose, 1e-9);
        ExpectNear(flange, pilot.flange_pose, 1e-9);

        // A tool transform is applied after the flange.
        Mat4 tool = Translation(5, -7, 90) * Rx(30);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) pilot.tool[r][c] = tool[r][c];
        FX_Kine_Pilot(&pilot, joints, pose);
        ExpectNear(flange * tool, pose, 1e-9);
        ExpectNear(flange, pilot.flange_pose, 1e-9);
    }
    // The two wrists differ once joint 7 moves away from zero.
    Pilot zyz;
    Pilot zyx;
    InitPilot(&zyz, 0);
    InitPilot(&zyx, 1);
    double joints[7] = {10, 20, 30, 40, 50, 60, 70};
    double pose_zyz[4][4];
    double pose_zyx[4][4];
    FX_Kine_Pilot(&zyz, joints, pose_zyz);
    FX_Kine_Pilot(&zyx, joints, pose_zyx);
    EXPECT_GT(std::fabs(pose_zyz[0][3] - pose_zyx[0][3]) + std::fabs(pose_zyz[1][3] - pose_zyx[1][3]), 1.0);
}

TEST(Pilot, JacobianMatchesCentralDifferences)
{
    const double q[7] = {-35, 48, 20, -75, 110, -40, 65};
    const double h = 1e-4;  // degrees
    const double h_rad = h * kPi / 180;
    for (unsigned char variant = 0; variant < 2; ++variant) {
        Pilot pilot;
        InitPilot(&pilot, variant);
        double joints[7];
        double pose[4][4];
        double plus[4][4];
        double minus[4][4];
        double jacobian[6][7];
        for (int i = 0; i < 7; ++i) {
            for (int k = 0; k < 7; ++k) joints[k] = q[k];
            joints[i] = q[i] + h;
            FX_Kine_Pilot(&pilot, joints, plus);
            joints[i] = q[i] - h;
            FX_Kine_Pilot(&pilot, joints, minus);
            joints[i] = q[i];
            FX_Kine_Pilot(&pilot, joints, pose);
            FX_Jacb_Pilot(&pilot, jacobian);
            for (int r = 0; r < 3; ++r) {
                const double metres_per_rad = (plus[r][3] - minus[r][3]) / (2 * h_rad) * 0.001;
                EXPECT_NEAR(metres_per_rad, jacobian[r][i], 1e-8) << "joint " << i << " row " << r;
            }
            // Skew part of R+ * R-^T is 2 h_rad [w]x.
            double d[3][3] = {};
            for (int r = 0; r < 3; ++r)
                for (int c = 0; c < 3; ++c)
                    for (int k = 0; k < 3; ++k) d[r][c] += plus[r][k] * minus[c][k];
            const double w[3] = {(d[2][1] - d[1][2]) / (4 * h_rad), (d[0][2] - d[2][0]) / (4 * h_rad),
                                 (d[1][0] - d[0][1]) / (4 * h_rad)};
            for (int r = 0; r < 3; ++r) {
                EXPECT_NEAR(w[r], jacobian[r + 3][i], 1e-8) << "joint " << i << " row " << r + 3;
            }
        }
        EXPECT_EQ(0.0, jacobian[3][0]);
        EXPECT_EQ(0.0, jacobian[4][0]);
        EXPECT_EQ(1.0, jacobian[5][0]);
    }
}

TEST(Pilot, DerivedElbowGeometry)
{
    Pilot pilot;
    InitPilot(&pilot, 0);
    EXPECT_DOUBLE_EQ(std::sqrt(kD3 * kD3 + kA * kA), pilot.L1);
    EXPECT_DOUBLE_EQ(std::sqrt(kD5 * kD5 + kA * kA), pilot.L2);
    EXPECT_DOUBLE_EQ(std::atan(kA / kD3) * 180 / kPi, pilot.upper_offset);
    EXPECT_DOUBLE_EQ(std::atan(kA / kD5) * 180 / kPi, pilot.fore_offset);
    EXPECT_DOUBLE_EQ(180 - 2 * pilot.upper_offset, pilot.elbow_angle);
    EXPECT_DOUBLE_EQ(std::sqrt(pilot.L1 * pilot.L1 + pilot.L2 * pilot.L2), pilot.straight_reach);
    EXPECT_EQ(-pilot.upper_offset, pilot.straight_q4);

    Pilot no_offset;
    InitPilot(&no_offset, 1, 0.0);
    EXPECT_EQ(kD3, no_offset.L1);
    EXPECT_EQ(kD5, no_offset.L2);
    EXPECT_EQ(0.0, no_offset.upper_offset);
    EXPECT_EQ(0.0, no_offset.fore_offset);
    EXPECT_EQ(180.0, no_offset.elbow_angle);
    EXPECT_EQ(0.0, no_offset.straight_q4);
    EXPECT_DOUBLE_EQ(std::sqrt(kD3 * kD3 + kD5 * kD5), no_offset.straight_reach);
}

TEST(Pilot, J4TypeHasStrictBandAroundStraightElbow)
{
    Pilot pilot;
    InitPilot(&pilot, 0);
    const double straight = pilot.straight_q4;
    EXPECT_LT(straight, -2.8);
    EXPECT_EQ(0, FX_GetJ4Type_Pilot(&pilot, straight));
    EXPECT_EQ(0, FX_GetJ4Type_Pilot(&pilot, straight + 1e-5));
    EXPECT_EQ(0, FX_GetJ4Type_Pilot(&pilot, straight - 1e-5));
    EXPECT_EQ(1, FX_GetJ4Type_Pilot(&pilot, straight + 1.01e-5));
    EXPECT_EQ(-1, FX_GetJ4Type_Pilot(&pilot, straight - 1.01e-5));
    EXPECT_EQ(1, FX_GetJ4Type_Pilot(&pilot, 0.0));
    EXPECT_EQ(-1, FX_GetJ4Type_Pilot(&pilot, -90.0));
}
