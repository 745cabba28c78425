#include <gtest/gtest.h>

#include <cmath>

#include "dynamics/FxImpedance.h"
#include "math/FxMatrix.h"
#include "tests/FxTestArm.h"

using namespace testarm;

namespace {

const double kPosture[7] = {0.6, -0.5, 0.9, 1.1, -1.3, 0.4, 0.8};

// Flange origin in the base frame: last joint frame times the flange transform.
V3 flangePosition(FX_Pilot* p, const double* q_in)
{
    double q[7], T[4][4], flange[4][4];
    for (int i = 0; i < 7; ++i) q[i] = q_in[i];
    FX_KINE(p, q, T);
    FX_MMM44(p->chain_T[6], p->links[7].T, flange);
    return {flange[0][3], flange[1][3], flange[2][3]};
}

void processAt(FX_Pilot* p, Impd_Process_Data* d, const double* q)
{
    *d = Impd_Process_Data{};
    for (int i = 0; i < 7; ++i) d->q[i] = q[i];
    FX_Impd_Process_Jacob(d, p);
}

H4 fromAngles(double a_deg, double b_deg, double c_deg)
{
    const double k = kPi / 180.0;
    H4 rx = rotX(a_deg * k);
    H4 ry = identity();
    ry.m[0][0] = std::cos(b_deg * k);
    ry.m[0][2] = std::sin(b_deg * k);
    ry.m[2][0] = -std::sin(b_deg * k);
    ry.m[2][2] = std::cos(b_deg * k);
    return rotZ(c_deg * k) * ry * rx;
}

}  // namespace

TEST(FxImpedance, JacobianMatchesFiniteDifferencesOfTheFlange)
{
    FX_Pilot p;
    build(&p, true);
    Impd_Process_Data d;
    processAt(&p, &d, kPosture);
    EXPECT_EQ(d.jacob_ok, 1);

    const double h = 1e-6;
    for (int c = 0; c < 7; ++c) {
        double plus[7], minus[7];
        for (int i = 0; i < 7; ++i) plus[i] = minus[i] = kPosture[i];
        plus[c] += h;
        minus[c] -= h;
        V3 diff = (1.0 / (2.0 * h)) * (flangePosition(&p, plus) - flangePosition(&p, minus));
        EXPECT_NEAR(d.J[0][c], diff.x, 1e-8) << c;
        EXPECT_NEAR(d.J[1][c], diff.y, 1e-8) << c;
        EXPECT_NEAR(d.J[2][c], diff.z, 1e-8) << c;
    }

    // Angular rows are the joint axes; the last column has no linear part.
    FX_KINE(&p, d.q, d.pose);
    for (int c = 0; c < 7; ++c)
        for (int r = 0; r < 3; ++r) EXPECT_EQ(d.J[r + 3][c], p.chain_T[c][r][2]);
    for (int r = 0; r < 3; ++r) EXPECT_EQ(d.J[r][6], 0.0);

    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 7; ++c) EXPECT_EQ(d.JT[c][r], d.J[r][c]);
}

TEST(FxImpedance, ToolMovesThePoseButNotTheJacobian)
{
    FX_Pilot p;
    build(&p, false);
    Impd_Process_Data bare, tooled;
    processAt(&p, &bare, kPosture);
    FX_SetTool(&p, toolPose(), kToolMass, toolCom(), toolInertia());
    processAt(&p, &tooled, kPosture);

    for (int r = 0; r < 6; ++r)
        for (int c = 0; c < 7; ++c) EXPECT_EQ(tooled.J[r][c], bare.J[r][c]);
    double q[7], T[4][4];
    for (int i = 0; i < 7; ++i) q[i] = kPosture[i];
    FX_KINE(&p, q, T);
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(tooled.pose[r][c], T[r][c]);
    EXPECT_GT(std::fabs(tooled.pose[0][3] - bare.pose[0][3]) +
                  std::fabs(tooled.pose[1][3] - bare.pose[1][3]) +
                  std::fabs(tooled.pose[2][3] - bare.pose[2][3]),
              0.05);
}

TEST(FxImpedance, PoseErrorInMillimetresAndDegrees)
{
    H4 base = fromAngles(20.0, -35.0, 110.0) * identity();
    base.m[0][3] = 0.0;
    base.m[1][3] = -0.2;
    base.m[2][3] = 0.7;
    double e[6];
    FX_M44ToM44(base.m, base.m, e);
    for (double v : e) EXPECT_NEAR(v, 0.0, 1e-12);

    H4 shifted = base;
    shifted.m[0][3] += 0.001;
    FX_M44ToM44(base.m, shifted.m, e);
    EXPECT_DOUBLE_EQ(e[0], 1.0);
    for (int k = 1; k < 6; ++k) EXPECT_NEAR(e[k], 0.0, 1e-12);

    // A rotation applied in the base frame comes back as its x, y, z angles.
    H4 turned = fromAngles(12.0, -25.0, 40.0) * base;
    turned.m[0][3] = base.m[0][3];
    turned.m[1][3] = base.m[1][3] + 0.05;
    turned.m[2][3] = base.m[2][3];
    FX_M44ToM44(base.m, turned.m, e);
    EXPECT_NEAR(e[1], 50.0, 1e-9);
    EXPECT_NEAR(e[3], 12.0, 1e-12);
    EXPECT_NEAR(e[4], -25.0, 1e-12);
    EXPECT_NEAR(e[5], 40.0, 1e-12);
}

TEST(FxImpedance, PoseErrorGimbalLock)
{
    double I[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    // B = +90 degrees exactly, with 0.6 / 0.8 about the common axis.
    double up[4][4] = {{0, 0.6, 0.8, 0}, {0, 0.8, -0.6, 0}, {-1, 0, 0, 0}, {0, 0, 0, 1}};
    double e[6];
    FX_M44ToM44(I, up, e);
    const double turn = std::atan2(0.6, 0.8) * 57.29577951308232;
    EXPECT_DOUBLE_EQ(e[4], 90.0);
    EXPECT_EQ(e[5], 0.0);
    EXPECT_EQ(e[3], turn);

    // B = -90 degrees: the same entries give the negated angle.
    double down[4][4] = {{0, 0.6, -0.8, 0}, {0, 0.8, 0.6, 0}, {1, 0, 0, 0}, {0, 0, 0, 1}};
    FX_M44ToM44(I, down, e);
    EXPECT_DOUBLE_EQ(e[4], -90.0);
    EXPECT_EQ(e[5], 0.0);
    EXPECT_EQ(e[3], -turn);
}
