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
    for (int k = 0; k < 9; ++k) r[k / 3][k % 3] = h.m[k / 3][k % 3];
}
}  // namespace

TEST(Math, ScalarsVectorsAndMatrices)
{
    EXPECT_TRUE(FX_Fabs(-2.5) + my_fabs(-2.5) == 5 && std::signbit(FX_Fabs(-0.0)) && std::signbit(my_fabs(-0.0)) &&
                std::signbit(FX_Sqrt(-0.0)));
    EXPECT_TRUE(std::isnan(FX_Sqrt(-1e-300)) && std::isnan(FX_ACOS(std::nextafter(1.0, 2.0))));
    const double x = -725.3, trig[6] = {std::sin(x * 0.017453292519943295), std::cos(x), kPi, kPi / 3, 0, std::atan2(-1.0, -2.0)};
    const double fx[6] = {FX_SIN_DEG(x), FX_COS_ARC(x), FX_ACOS(-1.0), FX_ACOS(0.5), FX_ACOS(1.0), FX_ATan2(-1.0, -2.0)};
    expectNear(trig, fx, 6, 4e-16, "trigonometry");
    double zero[3] = {};
    FX_VectNorm(zero);
    EXPECT_TRUE(std::isnan(zero[0]));  // no guard for the zero vector
    // in x Rz(q) with the last row forced to 0 0 0 1; the rigid inverse undoes a pose.
    H4 in = trans(10, 20, 30) * rot(1, 0.3) * rot(0, -1.2), want = in * rot(2, 0.7), got, got2, inv, prod, id;
    in.m[3][0] = 5;
    XYZMRot(in.m, std::cos(0.7), std::sin(0.7), got.m);
    FX_XYZMRot(in.m, std::cos(0.7), std::sin(0.7), got2.m);
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
                       rng.next(-179, 179), rng.next(-89, 89), rng.next(-179, 179)}, back[6], abc[3];
        const H4 want = trans(p[0], p[1], p[2]) * rot(2, p[5] * kDeg) * rot(1, p[4] * kDeg) * rot(0, p[3] * kDeg);
        H4 m1, m2, m3;
        FX_XYZABC2Matrix4DEG(p, m1.m);
        FX_XYZABC2PG(p, m2.m);
        XYZABC2MAT4(p, m3.m);
        expectNear(&want.m[0][0], &m1.m[0][0], 16, 1e-12, "Matrix4DEG");
        expectNear(&m1.m[0][0], &m2.m[0][0], 16, 0, "PG");
        expectNear(&m1.m[0][0], &m3.m[0][0], 16, 1e-15, "MAT4");
        EXPECT_EQ(FX_Matrix42XYZABCDEG(m1.m, back) + OnMatrix2ABC2(&m1.m[0][0], abc), 2);
        expectNear(p, back, 3, 0, "xyz");
        for (int k = 0; k < 3; ++k) p[3 + k] *= kDeg;  // radians despite the name
        expectNear(p + 3, back + 3, 3, 1e-9, "abc");
        expectNear(p + 3, abc, 3, 1e-9, "abc2");
    }
    // B = +-90 exactly: C is 0 and A comes from m01 and m11, negated for -90.
    double lock[4][4] = {{0, 0.5, std::sqrt(0.75), 0}, {0, std::sqrt(0.75), -0.5, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}};
    double out[6], abc[3];
    for (double sign : {1.0, -1.0}) {
        lock[2][0] = -sign;
        FX_Matrix42XYZABCDEG(lock, out);
        OnMatrix2ABC2(&lock[0][0], abc);
        const double want[5] = {sign * std::atan2(0.5, std::sqrt(0.75)), sign * kPi / 2, 0, out[3], 0};
        const double got[5] = {out[3], out[4], out[5], abc[0], abc[2]};
        expectNear(want, got, 5, 1e-15, "B = +-90");
    }
    lock[0][0] = 2e-16;  // just outside the band: the regular branch
    FX_Matrix42XYZABCDEG(lock, out);
    EXPECT_EQ(out[5] + out[3] * 10, std::atan2(0.0, 2e-16) + std::atan2(lock[2][1], lock[2][2]) * 10);
}

TEST(Math, EulerAxisRotationAndMinDif)
{
    const double cases[][8] = {// zyx, a, b, c, returned, expected angles
                               {0, 40, 50, 25, 1, 40, 50, 25},
                               {0, 40, 0.03, 25, 0, 0, 0.03, 65},  // tilt below 0.05 degree: z goes to gamma
                               {0, 0, 0, 0, 0, 0, 0, 0},
                               {1, 40, 60, -35, 1, 40, 60, -35},
                               {1, 40, 90, -35, 0, 0, 90, 0}};  // singular: outer angles dropped
    for (const auto& k : cases) {
        double r[3][3], out[3] = {9, 9, 9};
        toR3(rot(2, k[1] * kDeg) * rot(1, k[2] * kDeg) * rot(k[0] ? 0 : 2, k[3] * kDeg), r);
        EXPECT_EQ(k[0] ? Matrix2ZYX(r, out) : Matrix2ZYZ(r, out), k[4]) << k[2];
        expectNear(k + 5, out, 3, 1e-5, "Euler");
    }
    // R(axis) x in: 120 degrees about (1,1,1) permutes the axes.
    double u[3] = {1 / std::sqrt(3.0), 1 / std::sqrt(3.0), 1 / std::sqrt(3.0)}, tilted[3][3], out[3][3], want[3][3];
    double perm[3][3] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
    toR3(rot(1, 0.4), tilted);
    FX_MatRotAxis(u, 120, tilted, out);
    FX_MMM33(perm, tilted, want);
    expectNear(&want[0][0], &out[0][0], 9, 1e-15, "MatRotAxis");
    const double min_dif[][4] = {{10, 370, 0, 10}, {10, 190, 180, -170}, {0, -1000, 80, 80}, {10, -170, 180, -170}};
    for (const auto& k : min_dif) {
        double a = k[1];
        const double d = MinDif(k[0], &a);
        EXPECT_EQ(d * 1000 + a, k[2] * 1000 + k[3]) << k[1];
    }
}

TEST(Math, Quaternions)
{
    double a[4] = {1, -2, 0.5, 3}, b[4] = {-0.3, 2, 1.5, -1}, out[4], q[4] = {1, 2, 3, 4};
    FX_QuatMult(a, b, out);  // Hamilton product with (x, y, z, w) storage
    const double want[4] = {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
                            a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
                            a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
                            a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
    expectNear(want, out, 4, 1e-15, "product");
    const double n = std::sqrt(30.0), conj[4] = {-1, -2, -3, 4}, inverse[4] = {-1 / n, -2 / n, -3 / n, 4 / n};
    EXPECT_DOUBLE_EQ(FX_QuaternionSqrtNorm(q), n);
    FX_QuaternionConj(q, out);
    expectNear(conj, out, 4, 0, "conj");
    EXPECT_EQ(FX_QuaternionInverse(q, out), 1);
    expectNear(inverse, out, 4, 1e-16, "inverse divides by |q|, not |q|^2");
    EXPECT_EQ(FX_QuaternionNorm(q), 1);
    double zero[4] = {}, tiny[4] = {0, 0, 0, 1e-7}, keep[4] = {5, 5, 5, 5};
    EXPECT_TRUE(FX_QuaternionNorm(zero) == 0 && FX_QuaternionInverse(tiny, keep) == 0 && keep[0] == 5);
    // Rotations about unit axes: q = (sin(t/2) axis, cos(t/2)), both branches of the extraction.
    const double axes[][4] = {{2 / 3.0, -1 / 3.0, 2 / 3.0, 150}, {1, 0, 0, 180}, {0, 0, 1, 0}, {0.6, 0, -0.8, 100}};
    for (const auto& k : axes) {
        double axis[3] = {k[0], k[1], k[2]}, id[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, r[3][3];
        FX_MatRotAxis(axis, k[3], id, r);
        H4 m = eye();
        for (int i = 0; i < 9; ++i) m.m[i / 3][i % 3] = r[i / 3][i % 3];
        FX_Matrix2Quaternion(m.m, q);
        const double s = std::sin(k[3] / 2 * kDeg), wq[4] = {s * k[0], s * k[1], s * k[2], std::cos(k[3] / 2 * kDeg)};
        expectNear(wq, q, 4, 1e-12, "quaternion");
    }
}
