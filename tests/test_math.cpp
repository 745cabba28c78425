// Scalars, matrices, pose conversions and quaternions against hand-built rotations.
#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxQuaternion.h"
#include "math/FxScalar.h"
#include "tests/TestArm.h"

using namespace tk;

namespace {
void toR3(const H4& h, double r[3][3])
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) r[i][j] = h.m[i][j];
}
}  // namespace

TEST(Math, ScalarsKeepNegativeZeroAndNaN)
{
    EXPECT_EQ(FX_Fabs(-2.5), 2.5);
    EXPECT_EQ(my_fabs(-2.5), 2.5);
    EXPECT_TRUE(std::signbit(FX_Fabs(-0.0)));
    EXPECT_TRUE(std::signbit(my_fabs(-0.0)));
    EXPECT_TRUE(std::signbit(FX_Sqrt(-0.0)));
    EXPECT_TRUE(std::isnan(FX_Sqrt(-1e-300)));
    for (double deg : {-725.0, 30.0, 179.9}) {
        double s, c;
        FX_SIN_COS_DEG(deg, &s, &c);
        EXPECT_EQ(s, std::sin(deg * 0.017453292519943295));
        EXPECT_EQ(c, std::cos(deg * 0.017453292519943295));
        EXPECT_EQ(FX_SIN_DEG(deg), s);
        EXPECT_EQ(FX_COS_DEG(deg), c);
        FX_SIN_COS_ARC(deg, &s, &c);
        EXPECT_EQ(s, std::sin(deg));
        EXPECT_EQ(FX_SIN_ARC(deg), s);
        EXPECT_EQ(FX_COS_ARC(deg), c);
    }
    EXPECT_EQ(FX_ACOS(-1.0), kPi);
    EXPECT_NEAR(FX_ACOS(0.5), kPi / 3, 1e-15);
    EXPECT_TRUE(std::isnan(FX_ACOS(std::nextafter(1.0, 2.0))));
    EXPECT_EQ(FX_ATan2(-1.0, -2.0), std::atan2(-1.0, -2.0));
}

TEST(Math, VectorAndMatrixHelpers)
{
    double a[3] = {1, 2, 3}, b[3] = {-4, 5, 0.5}, out[3] = {7, 7, 7};
    FX_VectAdd(a, 0, b, out);
    FX_VectAdd(a, 2, b, out);
    EXPECT_EQ(out[0], -3);
    EXPECT_EQ(out[1], 7);
    EXPECT_EQ(out[2], 7);
    FX_VectCross(a, b, out);
    const double cross[3] = {2 * 0.5 - 3 * 5, 3 * -4 - 1 * 0.5, 1 * 5 - 2 * -4};
    expectNear(cross, out, 3, 0);
    double v[3] = {3, 0, 4}, zero[3] = {0, 0, 0};
    FX_VectNorm(v);
    EXPECT_DOUBLE_EQ(v[0], 0.6);
    EXPECT_DOUBLE_EQ(v[2], 0.8);
    FX_VectNorm(zero);
    EXPECT_TRUE(std::isnan(zero[0]));

    double m3[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 10}}, t3[3][3], p3[3][3];
    FX_M3Transport(m3, t3);
    FX_MMM33(m3, t3, p3);
    EXPECT_EQ(p3[1][2], 4 * 7 + 5 * 8 + 6 * 10);
    EXPECT_EQ(p3[2][1], p3[1][2]);
    double m[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}, t[4][4], cp[4][4];
    FX_TMatTranspose(m, t);
    FX_M44Copy(t, cp);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(cp[r][c], m[c][r]);
    double ones[3] = {1, 1, 1};
    FX_MVmult43(m, ones, out);
    EXPECT_EQ(out[0], 6);  // translation not added
    EXPECT_EQ(out[1], 18);
    EXPECT_EQ(out[2], 30);

    // in x Rz(q), last row forced to 0 0 0 1; the rigid inverse undoes a pose.
    const H4 in = trans(10, 20, 30) * rot(1, 0.3) * rot(0, -1.2);
    H4 want = in * rot(2, 0.7), got, got2, inv, prod, id;
    H4 junk = in;
    junk.m[3][0] = 5;
    XYZMRot(junk.m, std::cos(0.7), std::sin(0.7), got.m);
    FX_XYZMRot(junk.m, std::cos(0.7), std::sin(0.7), got2.m);
    expectNear(&want.m[0][0], &got.m[0][0], 16, 1e-14, "XYZMRot");
    expectNear(&want.m[0][0], &got2.m[0][0], 16, 1e-14, "FX_XYZMRot");
    FX_PGMatrixInv(want.m, inv.m);
    FX_MMM44(inv.m, want.m, prod.m);
    IdentM44(id.m);
    expectNear(&id.m[0][0], &prod.m[0][0], 16, 1e-13, "inverse");
}

TEST(Math, PoseBuildersAndExtraction)
{
    Lcg rng{3};
    for (int n = 0; n < 50; ++n) {
        double p[6] = {rng.next(-500, 500), rng.next(-500, 500), rng.next(-500, 500),
                       rng.next(-179, 179), rng.next(-89, 89), rng.next(-179, 179)};
        const H4 want = trans(p[0], p[1], p[2]) * rot(2, p[5] * kDeg) * rot(1, p[4] * kDeg) * rot(0, p[3] * kDeg);
        H4 m1, m2, m3;
        FX_XYZABC2Matrix4DEG(p, m1.m);
        FX_XYZABC2PG(p, m2.m);
        XYZABC2MAT4(p, m3.m);
        expectNear(&want.m[0][0], &m1.m[0][0], 16, 1e-12, "Matrix4DEG");
        expectNear(&m1.m[0][0], &m2.m[0][0], 16, 0, "PG");
        expectNear(&m1.m[0][0], &m3.m[0][0], 16, 1e-15, "MAT4");
        double back[6], abc[3];
        EXPECT_EQ(FX_Matrix42XYZABCDEG(m1.m, back), 1);
        EXPECT_EQ(OnMatrix2ABC2(&m1.m[0][0], abc), 1);
        expectNear(p, back, 3, 0, "xyz");
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(back[3 + k], p[3 + k] * kDeg, 1e-9);  // radians despite the name
            EXPECT_NEAR(abc[k], p[3 + k] * kDeg, 1e-9);
        }
    }
    // B = +-90 exactly: C is 0 and A comes from m01 and m11, negated for -90.
    double lock[4][4] = {{0, 0.5, std::sqrt(0.75), 0}, {0, std::sqrt(0.75), -0.5, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}};
    double out[6], abc[3];
    for (double sign : {1.0, -1.0}) {
        lock[2][0] = -sign;
        FX_Matrix42XYZABCDEG(lock, out);
        OnMatrix2ABC2(&lock[0][0], abc);
        EXPECT_EQ(out[5], 0);
        EXPECT_EQ(abc[2], 0);
        EXPECT_DOUBLE_EQ(out[4], sign * kPi / 2);
        EXPECT_DOUBLE_EQ(out[3], sign * std::atan2(0.5, std::sqrt(0.75)));
        EXPECT_DOUBLE_EQ(abc[0], out[3]);
    }
    lock[0][0] = 2e-16;  // just outside the band: the regular branch
    FX_Matrix42XYZABCDEG(lock, out);
    EXPECT_EQ(out[5], std::atan2(0.0, 2e-16));
    EXPECT_EQ(out[3], std::atan2(lock[2][1], lock[2][2]));

    const std::string text = printed([] {
        double p[6] = {1.5, -2, 300, 10, 20, 30}, m[4][4];
        FX_XYZABC2Matrix4DEG(p, m);
        PNTPG_ABC2(&m[0][0]);
    });
    EXPECT_EQ(text, "----PG ABC-------------------\n"
                    "1.500000\t-2.000000\t300.000000\t\t10.000000\t20.000000\t30.000000\t\t\n"
                    "-------------------------\n");
}

TEST(Math, EulerZYZAndZYXWithSingularCases)
{
    struct Case {
        bool zyx;
        double a, b, c;
        int ok;
        double want[3];
        double tol;
    } cases[] = {
        {false, 40, 50, 25, 1, {40, 50, 25}, 1e-12},
        {false, 40, 0.03, 25, 0, {0, 0.03, 65}, 1e-5},  // tilt below 0.05 degree: z to gamma
        {false, 0, 0, 0, 0, {0, 0, 0}, 0},
        {true, 40, 60, -35, 1, {40, 60, -35}, 1e-12},
        {true, 40, 90, -35, 0, {0, 90, 0}, 1e-6},  // singular: outer angles dropped
    };
    for (const Case& k : cases) {
        double r[3][3], out[3] = {9, 9, 9};
        toR3(rot(2, k.a * kDeg) * rot(1, k.b * kDeg) * rot(k.zyx ? 0 : 2, k.c * kDeg), r);
        EXPECT_EQ(k.zyx ? Matrix2ZYX(r, out) : Matrix2ZYZ(r, out), k.ok) << k.b;
        expectNear(k.want, out, 3, k.tol, k.zyx ? "ZYX" : "ZYZ");
    }
    // Axis rotation R(axis) x in: 120 degrees about (1,1,1) permutes the axes.
    double u[3] = {1 / std::sqrt(3.0), 1 / std::sqrt(3.0), 1 / std::sqrt(3.0)};
    double tilted[3][3], out[3][3], want[3][3], perm[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
    toR3(rot(1, 0.4), tilted);
    FX_MatRotAxis(u, 120, tilted, out);
    FX_MMM33(perm, tilted, want);
    expectNear(&want[0][0], &out[0][0], 9, 1e-15, "MatRotAxis");
    double unit_z[3] = {0, 0, 2}, id[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    FX_MatRotAxis(unit_z, 30, id, out);  // the axis length is not divided out
    EXPECT_NEAR(out[2][2], 1 + 3 * (1 - std::cos(30 * kDeg)), 1e-15);

    const double min_dif[][4] = {{10, 370, 0, 10}, {10, 190, 180, -170}, {0, -1000, 80, 80}, {10, -170, 180, -170}};
    for (const auto& k : min_dif) {
        double a = k[1];
        EXPECT_EQ(MinDif(k[0], &a), k[2]) << k[1];
        EXPECT_EQ(a, k[3]) << k[1];
    }
}

TEST(Math, Quaternions)
{
    double a[4] = {1, -2, 0.5, 3}, b[4] = {-0.3, 2, 1.5, -1}, out[4];
    FX_QuatMult(a, b, out);  // Hamilton product with (x, y, z, w) storage
    const double want[4] = {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
                            a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
                            a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
                            a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
    expectNear(want, out, 4, 1e-15, "product");
    double q[4] = {1, 2, 3, 4};
    EXPECT_DOUBLE_EQ(FX_QuaternionSqrtNorm(q), std::sqrt(30.0));
    FX_QuaternionConj(q, out);
    const double conj[4] = {-1, -2, -3, 4};
    expectNear(conj, out, 4, 0, "conj");
    EXPECT_EQ(FX_QuaternionInverse(q, out), 1);
    for (int k = 0; k < 4; ++k) EXPECT_DOUBLE_EQ(out[k], conj[k] / std::sqrt(30.0));  // not |q|^2
    EXPECT_EQ(FX_QuaternionNorm(q), 1);
    EXPECT_DOUBLE_EQ(q[2], 3 / std::sqrt(30.0));
    double zero[4] = {0, 0, 0, 0}, tiny[4] = {0, 0, 0, 1e-7}, keep[4] = {5, 5, 5, 5};
    EXPECT_EQ(FX_QuaternionNorm(zero), 0);
    EXPECT_EQ(FX_QuaternionInverse(tiny, keep), 0);
    EXPECT_EQ(keep[0], 5);

    // Rotations of 150 and 180 degrees about unit axes: q = (sin(t/2) axis, cos(t/2)).
    const double axes[][4] = {{2 / 3.0, -1 / 3.0, 2 / 3.0, 150}, {1, 0, 0, 180}, {0, 0, 1, 0}, {0.6, 0, -0.8, 100}};
    for (const auto& k : axes) {
        double axis[3] = {k[0], k[1], k[2]}, id[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, r[3][3];
        FX_MatRotAxis(axis, k[3], id, r);
        double m[4][4] = {{r[0][0], r[0][1], r[0][2], 0}, {r[1][0], r[1][1], r[1][2], 0}, {r[2][0], r[2][1], r[2][2], 0}, {0, 0, 0, 1}};
        FX_Matrix2Quaternion(m, q);
        const double s = std::sin(k[3] / 2 * kDeg);
        const double wq[4] = {s * k[0], s * k[1], s * k[2], std::cos(k[3] / 2 * kDeg)};
        expectNear(wq, q, 4, 1e-12, "quaternion");
    }
}
