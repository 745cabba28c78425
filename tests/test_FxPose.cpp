#include <gtest/gtest.h>

#include <cmath>

#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxScalar.h"

namespace {

void rotX(double a, double r[3][3])
{
    double c = std::cos(a), s = std::sin(a);
    double m[3][3] = {{1, 0, 0}, {0, c, -s}, {0, s, c}};
    std::copy(&m[0][0], &m[0][0] + 9, &r[0][0]);
}
void rotY(double a, double r[3][3])
{
    double c = std::cos(a), s = std::sin(a);
    double m[3][3] = {{c, 0, s}, {0, 1, 0}, {-s, 0, c}};
    std::copy(&m[0][0], &m[0][0] + 9, &r[0][0]);
}
void rotZ(double a, double r[3][3])
{
    double c = std::cos(a), s = std::sin(a);
    double m[3][3] = {{c, -s, 0}, {s, c, 0}, {0, 0, 1}};
    std::copy(&m[0][0], &m[0][0] + 9, &r[0][0]);
}
// a * b * c
void product3(double a[3][3], double b[3][3], double c[3][3], double out[3][3])
{
    double ab[3][3];
    FX_MMM33(a, b, ab);
    FX_MMM33(ab, c, out);
}

}  // namespace

TEST(FxPose, ThreeBuildersAgreeWithRzRyRx)
{
    double p[6] = {1, 2, 3, 30, 20, 10};
    double m1[4][4], m2[4][4], m3[4][4];
    FX_XYZABC2Matrix4DEG(p, m1);
    FX_XYZABC2PG(p, m2);
    XYZABC2MAT4(p, m3);
    double rx[3][3], ry[3][3], rz[3][3], r[3][3];
    rotX(30 * FX_DEG2RAD, rx);
    rotY(20 * FX_DEG2RAD, ry);
    rotZ(10 * FX_DEG2RAD, rz);
    product3(rz, ry, rx, r);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_NEAR(m1[i][j], r[i][j], 1e-15);
            EXPECT_EQ(m1[i][j], m2[i][j]);
            EXPECT_NEAR(m1[i][j], m3[i][j], 1e-16);
        }
        EXPECT_EQ(m1[i][3], p[i]);
        EXPECT_EQ(m1[3][i], 0);
    }
    EXPECT_EQ(m1[3][3], 1);
}

TEST(FxPose, ExtractionReturnsRadians)
{
    double p[6] = {0, 0, 0, 30, 20, 10}, m[4][4], back[6];
    FX_XYZABC2Matrix4DEG(p, m);
    EXPECT_EQ(FX_Matrix42XYZABCDEG(m, back), 1);
    EXPECT_NEAR(back[3], 30 * FX_DEG2RAD, 1e-15);
    EXPECT_NEAR(back[4], 20 * FX_DEG2RAD, 1e-15);
    EXPECT_NEAR(back[5], 10 * FX_DEG2RAD, 1e-15);

    // Round trips in the regular region, translation copied.
    for (double a = -170; a <= 170; a += 37)
        for (double b = -80; b <= 80; b += 23)
            for (double c = -175; c <= 175; c += 41) {
                double q[6] = {a, b * 2, c * 3, a, b, c};
                FX_XYZABC2Matrix4DEG(q, m);
                FX_Matrix42XYZABCDEG(m, back);
                EXPECT_EQ(back[0], q[0]);
                EXPECT_NEAR(back[3] * FX_RAD2DEG, a, 1e-9);
                EXPECT_NEAR(back[4] * FX_RAD2DEG, b, 1e-9);
                EXPECT_NEAR(back[5] * FX_RAD2DEG, c, 1e-9);
            }
}

TEST(FxPose, ExtractionGimbalLockOnlyWithinTheBand)
{
    // B exactly +90 degrees built by hand: r = 0, C = 0, A from m01 and m11.
    double m[4][4] = {{0, 0.5, std::sqrt(0.75), 0}, {0, std::sqrt(0.75), -0.5, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}};
    double out[6];
    FX_Matrix42XYZABCDEG(m, out);
    EXPECT_EQ(out[5], 0);
    EXPECT_DOUBLE_EQ(out[4], M_PI / 2);
    EXPECT_DOUBLE_EQ(out[3], std::atan2(0.5, std::sqrt(0.75)));
    m[2][0] = 1;  // B = -90: A is negated
    FX_Matrix42XYZABCDEG(m, out);
    EXPECT_DOUBLE_EQ(out[3], -std::atan2(0.5, std::sqrt(0.75)));
    // r just above the band takes the regular branch.
    m[0][0] = 2e-16;
    FX_Matrix42XYZABCDEG(m, out);
    EXPECT_EQ(out[5], std::atan2(0.0, 2e-16));
    EXPECT_EQ(out[3], std::atan2(m[2][1], m[2][2]));
}

TEST(FxPose, EulerZYZAndZYX)
{
    double id[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, out[3] = {9, 9, 9};
    EXPECT_EQ(Matrix2ZYZ(id, out), 0);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 0);

    double rz1[3][3], ry[3][3], rz2[3][3], r[3][3];
    rotZ(40 * FX_DEG2RAD, rz1);
    rotY(0.03 * FX_DEG2RAD, ry);  // below 0.05 degree: all of z goes to gamma
    rotZ(25 * FX_DEG2RAD, rz2);
    product3(rz1, ry, rz2, r);
    EXPECT_EQ(Matrix2ZYZ(r, out), 0);
    EXPECT_EQ(out[0], 0);
    EXPECT_NEAR(out[2], 65, 1e-5);  // the small tilt leaks into gamma

    rotY(50 * FX_DEG2RAD, ry);
    product3(rz1, ry, rz2, r);
    EXPECT_EQ(Matrix2ZYZ(r, out), 1);
    EXPECT_NEAR(out[0], 40, 1e-12);
    EXPECT_NEAR(out[1], 50, 1e-12);
    EXPECT_NEAR(out[2], 25, 1e-12);

    double rx[3][3];
    rotX(-35 * FX_DEG2RAD, rx);
    rotY(60 * FX_DEG2RAD, ry);
    product3(rz1, ry, rx, r);
    EXPECT_EQ(Matrix2ZYX(r, out), 1);
    EXPECT_NEAR(out[0], 40, 1e-12);
    EXPECT_NEAR(out[1], 60, 1e-12);
    EXPECT_NEAR(out[2], -35, 1e-12);

    rotY(90 * FX_DEG2RAD, ry);  // singular: both outer angles dropped
    product3(rz1, ry, rx, r);
    EXPECT_EQ(Matrix2ZYX(r, out), 0);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[2], 0);
    EXPECT_NEAR(out[1], 90, 1e-6);
}

TEST(FxPose, AxisRotationIsRodrigues)
{
    double axis[3] = {0, 0, 1}, in[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, out[3][3], rz[3][3];
    FX_MatRotAxis(axis, 30, in, out);
    rotZ(30 * FX_DEG2RAD, rz);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(out[i][j], rz[i][j], 1e-15);
    // Applied on the parent side: R(axis) x in.
    double tilted[3][3], expected[3][3], u[3] = {1 / std::sqrt(3.0), 1 / std::sqrt(3.0), 1 / std::sqrt(3.0)};
    rotY(0.4, tilted);
    FX_MatRotAxis(u, 120, tilted, out);
    double perm[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};  // 120 degrees about (1,1,1)
    FX_MMM33(perm, tilted, expected);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_NEAR(out[i][j], expected[i][j], 1e-15);
}

TEST(FxPose, MinDifMovesByWholeTurns)
{
    double a = 370;
    EXPECT_EQ(MinDif(10, &a), 0);
    EXPECT_EQ(a, 10);
    a = 190;
    EXPECT_EQ(MinDif(10, &a), 180);
    EXPECT_EQ(a, -170);
    a = -1000;
    EXPECT_EQ(MinDif(0, &a), 80);
    EXPECT_EQ(a, 80);
    a = 10 - 180;  // exactly 180 below the target stays there
    EXPECT_EQ(MinDif(10, &a), 180);
    EXPECT_EQ(a, -170);
}
