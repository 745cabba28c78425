#include <gtest/gtest.h>

#include <cmath>

#include "math/FxMatrix.h"
#include "math/FxPose.h"

namespace {

void expectNear44(double a[4][4], double b[4][4], double tol)
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_NEAR(a[r][c], b[r][c], tol) << "at " << r << "," << c;
}

}  // namespace

TEST(FxMatrix, VectorHelpers)
{
    double a[3] = {1, 2, 3}, b[3] = {-4, 5, 0.5}, out[3] = {7, 7, 7};
    FX_VectAdd(a, 0, b, out);
    FX_VectAdd(a, -3, b, out);
    EXPECT_EQ(out[0], 7);
    FX_VectAdd(a, 2, b, out);
    EXPECT_EQ(out[0], -3);
    EXPECT_EQ(out[1], 7);
    EXPECT_EQ(out[2], 7);

    double x[3] = {1, 0, 0}, y[3] = {0, 1, 0};
    FX_VectCross(x, y, out);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 1);

    double v[3] = {3, 0, 4};
    FX_VectNorm(v);
    EXPECT_DOUBLE_EQ(v[0], 0.6);
    EXPECT_DOUBLE_EQ(v[2], 0.8);
    double zero[3] = {0, 0, 0};
    FX_VectNorm(zero);
    EXPECT_TRUE(std::isnan(zero[0]));
}

TEST(FxMatrix, RotationAboutZKeepsTranslationAndForcesLastRow)
{
    double in[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}};
    double out[4][4];
    FX_XYZMRot(in, 1, 0, out);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            EXPECT_EQ(out[r][c], in[r][c]);
    EXPECT_EQ(out[3][0], 0);
    EXPECT_EQ(out[3][3], 1);

    // in x Rz(q) composed by hand.
    double q = 0.7, c = std::cos(q), s = std::sin(q);
    double rz[4][4] = {{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    double rigid[4][4] = {{0, -1, 0, 10}, {1, 0, 0, 20}, {0, 0, 1, 30}, {0, 0, 0, 1}};
    double expected[4][4];
    FX_MMM44(rigid, rz, expected);
    XYZMRot(rigid, c, s, out);
    expectNear44(out, expected, 1e-15);
}

TEST(FxMatrix, RigidInverseTimesPoseIsIdentity)
{
    double xyzabc[6] = {120, -45, 300, 33, -71, 150};
    double m[4][4], inv[4][4], prod[4][4], id[4][4];
    FX_XYZABC2Matrix4DEG(xyzabc, m);
    FX_PGMatrixInv(m, inv);
    FX_MMM44(inv, m, prod);
    IdentM44(id);
    expectNear44(prod, id, 1e-12);
    FX_MMM44(m, inv, prod);
    expectNear44(prod, id, 1e-12);
}

TEST(FxMatrix, ProductsTransposesAndCopies)
{
    double a[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 10}}, at[3][3], p[3][3];
    FX_M3Transport(a, at);
    EXPECT_EQ(at[0][2], 7);
    FX_MMM33(a, at, p);
    EXPECT_EQ(p[0][0], 14);
    EXPECT_EQ(p[1][2], 4 * 7 + 5 * 8 + 6 * 10);

    double m[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}, t[4][4], cp[4][4];
    FX_TMatTranspose(m, t);
    EXPECT_EQ(t[3][0], 4);
    FX_M44Copy(m, cp);
    EXPECT_EQ(cp[3][3], 16);
    double v[3] = {1, 1, 1}, out[3];
    FX_MVmult43(m, v, out);
    EXPECT_EQ(out[0], 6);  // translation not added
    EXPECT_EQ(out[2], 30);
}
