#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "math/FxPose.h"
#include "math/FxQuaternion.h"
#include "math/FxScalar.h"

TEST(FxQuaternion, Arithmetic)
{
    double i[4] = {1, 0, 0, 0}, j[4] = {0, 1, 0, 0}, out[4];
    FX_QuatMult(i, j, out);  // i j = k
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 1);
    EXPECT_EQ(out[3], 0);

    double zero[4] = {0, 0, 0, 0};
    EXPECT_EQ(FX_QuaternionNorm(zero), 0);
    double two[4] = {0, 0, 0, 2};
    EXPECT_EQ(FX_QuaternionSqrtNorm(two), 2);
    EXPECT_EQ(FX_QuaternionInverse(two, out), 1);
    EXPECT_EQ(out[3], 1);  // divided by the length, not its square
    EXPECT_EQ(FX_QuaternionNorm(two), 1);
    EXPECT_EQ(two[3], 1);
    double tiny[4] = {0, 0, 0, 1e-7}, keep[4] = {5, 5, 5, 5};
    EXPECT_EQ(FX_QuaternionInverse(tiny, keep), 0);
    EXPECT_EQ(keep[0], 5);
    double q[4] = {1, 2, 3, 4};
    FX_QuaternionConj(q, out);
    EXPECT_EQ(out[0], -1);
    EXPECT_EQ(out[3], 4);
}

TEST(FxQuaternion, FromMatrixBothBranches)
{
    double id[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}, q[4];
    FX_Matrix2Quaternion(id, q);
    EXPECT_EQ(q[0], 0);
    EXPECT_EQ(q[3], 1);
    double halfX[4][4] = {{1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {0, 0, 0, 1}};
    FX_Matrix2Quaternion(halfX, q);
    EXPECT_EQ(q[0], 1);
    EXPECT_EQ(q[1], 0);
    EXPECT_EQ(q[2], 0);
    EXPECT_EQ(q[3], 0);

    // A rotation of 150 degrees about a unit axis: q = (sin(75) axis, cos(75)).
    double axis[3] = {2 / 3.0, -1 / 3.0, 2 / 3.0};
    double id3[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, r[3][3];
    FX_MatRotAxis(axis, 150, id3, r);
    double m[4][4] = {{r[0][0], r[0][1], r[0][2], 0}, {r[1][0], r[1][1], r[1][2], 0}, {r[2][0], r[2][1], r[2][2], 0}, {0, 0, 0, 1}};
    FX_Matrix2Quaternion(m, q);
    double s = std::sin(75 * FX_DEG2RAD);
    EXPECT_NEAR(q[0], s * axis[0], 1e-12);
    EXPECT_NEAR(q[1], s * axis[1], 1e-12);
    EXPECT_NEAR(q[2], s * axis[2], 1e-12);
    EXPECT_NEAR(q[3], std::cos(75 * FX_DEG2RAD), 1e-12);
}

TEST(FxQuaternion, AbcExtractionAndPrint)
{
    double p[6] = {1.5, -2, 300, 10, 20, 30}, m[4][4], abc[3];
    FX_XYZABC2Matrix4DEG(p, m);
    EXPECT_EQ(OnMatrix2ABC2(&m[0][0], abc), 1);
    EXPECT_NEAR(abc[0], 10 * FX_DEG2RAD, 1e-15);
    EXPECT_NEAR(abc[1], 20 * FX_DEG2RAD, 1e-15);
    EXPECT_NEAR(abc[2], 30 * FX_DEG2RAD, 1e-15);

    double lock[4][4] = {{0, 0.5, std::sqrt(0.75), 0}, {0, std::sqrt(0.75), -0.5, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}};
    OnMatrix2ABC2(&lock[0][0], abc);
    EXPECT_EQ(abc[2], 0);
    EXPECT_DOUBLE_EQ(abc[0], std::atan2(0.5, std::sqrt(0.75)));

    testing::internal::CaptureStdout();
    PNTPG_ABC2(&m[0][0]);
    std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text,
              "----PG ABC-------------------\n"
              "1.500000\t-2.000000\t300.000000\t\t10.000000\t20.000000\t30.000000\t\t\n"
              "-------------------------\n");
}
