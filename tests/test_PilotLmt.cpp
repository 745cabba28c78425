#include "pilot/PilotLmt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

const double kMin6 = -110, kMax6 = 110, kMin7 = -170, kMax7 = 170;

// Four downward/upward parabolas that cut the corners of the q6/q7 rectangle.
double kCurves[4][3] = {
    {-0.012, 0.1, 240},   // upper right
    {-0.011, -0.2, 235},  // upper left
    {0.01, 0.1, -225},    // lower left
    {0.013, -0.15, -235}, // lower right
};

void MakeLimits(double limits[7][4])
{
    for (int i = 0; i < 7; ++i) {
        limits[i][0] = -170 + i;
        limits[i][1] = 170 - i;
        limits[i][2] = 100 + i;
        limits[i][3] = 200 + i;
    }
    limits[5][0] = kMin6;
    limits[5][1] = kMax6;
    limits[6][0] = kMin7;
    limits[6][1] = kMax7;
}

void InitLmt(PilotLmt* lmt, unsigned char coupled)
{
    double limits[7][4];
    MakeLimits(limits);
    testing::internal::CaptureStdout();
    FX_Init_PilotLmt(lmt, coupled, limits, kCurves);
    testing::internal::GetCapturedStdout();
}

double F(int row, double x)
{
    return kCurves[row][0] * x * x + kCurves[row][1] * x + kCurves[row][2];
}

struct Probe {
    double bound[2];
    bool outside;
};

Probe CheckOld(PilotLmt* lmt, double q6, double q7)
{
    double q67[2] = {q6, q7};
    Probe probe{{-999, -999}, false};
    FX_CCSBD_CHECK_old(lmt, q67, probe.bound, probe.outside);
    double plain[2] = {-999, -999};
    FX_CCSBD(lmt, q67, plain);
    EXPECT_EQ(probe.bound[0], plain[0]) << q6 << "," << q7;
    EXPECT_EQ(probe.bound[1], plain[1]) << q6 << "," << q7;
    return probe;
}

void ExpectBound(const Probe& probe, double q6, double q7)
{
    EXPECT_EQ(q6, probe.bound[0]);
    EXPECT_EQ(q7, probe.bound[1]);
}

// The boundary lies on the ray through (q6, q7), on the quadrant's curve.
void ExpectOnRayAndCurve(const Probe& probe, int row, double q6, double q7)
{
    const double x = probe.bound[0];
    const double y = probe.bound[1];
    EXPECT_GT(x * q6, 0) << "same side of q6 = 0";
    EXPECT_NEAR(q7 / q6 * x, y, 1e-9);
    EXPECT_NEAR(F(row, x), y, 1e-9);
}

}  // namespace

TEST(PilotLmt, InitStoresLimitsAndDerivesCorners)
{
    PilotLmt lmt{};
    lmt.Corner[7][0] = 12345;
    lmt.Corner[7][1] = -54321;
    InitLmt(&lmt, 1);
    EXPECT_EQ(1, lmt.Coupled);
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(100 + i, lmt.JointLim3[i]);
        EXPECT_EQ(200 + i, lmt.JointLim4[i]);
    }
    EXPECT_EQ(-170, lmt.JointMin[0]);
    EXPECT_EQ(166, lmt.JointMax[4]);
    for (int r = 0; r < 4; ++r)
        for (int k = 0; k < 3; ++k) EXPECT_EQ(kCurves[r][k], lmt.Curve[r][k]);

    // Side corners on q6 = max6 / min6, end corners on q7 = max7 / min7.
    const int side[3][2] = {{0, 0}, {3, 1}, {4, 2}};
    for (const auto& s : side) {
        const double edge = s[1] == 0 ? kMax6 : kMin6;
        EXPECT_EQ(edge, lmt.Corner[s[0]][0]);
        EXPECT_NEAR(F(s[1], edge), lmt.Corner[s[0]][1], 1e-12);
        EXPECT_DOUBLE_EQ(lmt.Corner[s[0]][1] / edge, lmt.CornerSlope[s[0]]);
    }
    const int end[4][3] = {{1, 0, +1}, {2, 1, -1}, {5, 2, -1}, {6, 3, +1}};
    for (const auto& e : end) {
        const double edge = e[0] <= 2 ? kMax7 : kMin7;
        const double x = lmt.Corner[e[0]][0];
        EXPECT_EQ(edge, lmt.Corner[e[0]][1]);
        EXPECT_NEAR(edge, F(e[1], x), 1e-9) << "corner " << e[0];
        EXPECT_GT(x * e[2], 40) << "root inside the rectangle, corner " << e[0];
        EXPECT_LT(x * e[2], 110);
        EXPECT_DOUBLE_EQ(edge / x, lmt.CornerSlope[e[0]]);
    }
    EXPECT_DOUBLE_EQ(F(3, kMax6) / kMax6, lmt.CornerSlope[7]);
    EXPECT_EQ(12345, lmt.Corner[7][0]);
    EXPECT_EQ(-54321, lmt.Corner[7][1]);
}

TEST(PilotLmt, InitDBParaPrintsLimitsAndCoefficients)
{
    PilotLmt lmt{};
    double limits[7][4];
    MakeLimits(limits);
    testing::internal::CaptureStdout();
    FX_Init_PilotLmt(&lmt, 1, limits, kCurves);
    EXPECT_EQ("<-110.000000 110.000000><-170.000000 170.000000>\n"
              "[-0.012000 -0.011000 0.010000 0.013000]\n"
              "[0.100000 -0.200000 0.100000 -0.150000]\n"
              "[240.000000 235.000000 -225.000000 -235.000000]\n",
              testing::internal::GetCapturedStdout());

    PilotLmt plain{};
    testing::internal::CaptureStdout();
    FX_Init_PilotLmt(&plain, 0, limits, kCurves);
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ(0.0, plain.Curve[0][0]);
    EXPECT_EQ(0.0, plain.CornerSlope[0]);
}

TEST(PilotLmt, CoupledTwoIsStoredWithoutCopyingCurves)
{
    PilotLmt lmt{};
    lmt.Curve[1][2] = 7;
    double limits[7][4];
    MakeLimits(limits);
    testing::internal::CaptureStdout();
    FX_Init_PilotLmt(&lmt, 2, limits, kCurves);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(2, lmt.Coupled);
    EXPECT_EQ(7, lmt.Curve[1][2]);
    EXPECT_EQ(0.0, lmt.Curve[0][0]);
    EXPECT_NE(std::string::npos, printed.find("[0.000000 0.000000 0.000000 0.000000]\n"));
    // Degenerate zero curves are passed on as NaN, not guarded.
    EXPECT_TRUE(std::isnan(lmt.Corner[1][0]));

    // Non-zero counts as coupled in the checks: the curve test runs.
    double q67[2] = {50, 1};
    double bound[2];
    bool outside = false;
    FX_CCSBD_CHECK_old(&lmt, q67, bound, outside);
    EXPECT_TRUE(outside);
}

TEST(PilotLmt, QuadrantsInsideOutsideAndRayIntersection)
{
    PilotLmt lmt{};
    InitLmt(&lmt, 1);
    const double points[4][2] = {{60, 80}, {-60, 80}, {-60, -80}, {60, -80}};
    for (int row = 0; row < 4; ++row) {
        const double q6 = points[row][0];
        const double q7 = points[row][1];
        const Probe inside = CheckOld(&lmt, q6, q7);
        EXPECT_FALSE(inside.outside) << "row " << row;
        ExpectOnRayAndCurve(inside, row, q6, q7);

        // Same direction, pushed out past the curve: same boundary, now outside.
        const Probe beyond = CheckOld(&lmt, q6 * 1.8, q7 * 1.8);
        EXPECT_TRUE(beyond.outside) << "row " << row;
        EXPECT_NEAR(inside.bound[0], beyond.bound[0], 1e-9);
        EXPECT_NEAR(inside.bound[1], beyond.bound[1], 1e-9);
    }

    // Points exactly on the curve (as the check evaluates it) are inside.
    for (int row = 0; row < 4; ++row) {
        const double q6 = points[row][0];
        const double* c = kCurves[row];
        const double on = q6 * (c[0] * q6 + c[1]) + c[2];
        EXPECT_FALSE(CheckOld(&lmt, q6, on).outside) << "row " << row;
        const double past = std::nextafter(on, row < 2 ? 1e9 : -1e9);
        EXPECT_TRUE(CheckOld(&lmt, q6, past).outside) << "row " << row;
    }

    // Joints 6 and 7 are judged by the curve only, not by their own limits.
    EXPECT_FALSE(CheckOld(&lmt, 120, -10).outside);
}

TEST(PilotLmt, SlopeClampsToCornerPoints)
{
    PilotLmt lmt{};
    InitLmt(&lmt, 1);
    ExpectBound(CheckOld(&lmt, 100, 10), lmt.Corner[0][0], lmt.Corner[0][1]);
    ExpectBound(CheckOld(&lmt, 10, 160), lmt.Corner[1][0], lmt.Corner[1][1]);
    ExpectBound(CheckOld(&lmt, -10, 160), lmt.Corner[2][0], lmt.Corner[2][1]);
    ExpectBound(CheckOld(&lmt, -100, 10), lmt.Corner[3][0], lmt.Corner[3][1]);
    ExpectBound(CheckOld(&lmt, -100, -10), lmt.Corner[4][0], lmt.Corner[4][1]);
    ExpectBound(CheckOld(&lmt, -10, -160), lmt.Corner[5][0], lmt.Corner[5][1]);
    ExpectBound(CheckOld(&lmt, 10, -160), lmt.Corner[6][0], lmt.Corner[6][1]);
    // Lower right past CornerSlope[7]: corner 7 is never derived and stays (0, 0).
    const Probe lower_right = CheckOld(&lmt, 100, -10);
    ExpectBound(lower_right, 0, 0);
    EXPECT_FALSE(lower_right.outside);
    EXPECT_TRUE(CheckOld(&lmt, 200, -10).outside);
}

TEST(PilotLmt, ZeroSignsAndNearZeroBand)
{
    PilotLmt lmt{};
    InitLmt(&lmt, 1);
    // q7 = 0 belongs to the lower quadrants: row 3 gives corner 7, row 2 corner 4.
    ExpectBound(CheckOld(&lmt, 50, 0), 0, 0);
    ExpectBound(CheckOld(&lmt, -50, 0), lmt.Corner[4][0], lmt.Corner[4][1]);

    // Inside the band |q6| < 2e-5 the rectangle corner is returned with no curve test.
    const Probe zero_up = CheckOld(&lmt, 0, 1000);
    ExpectBound(zero_up, kMin6, kMax7);
    EXPECT_FALSE(zero_up.outside);
    ExpectBound(CheckOld(&lmt, 0, -1000), kMin6, kMin7);
    ExpectBound(CheckOld(&lmt, 1e-5, 1000), kMax6, kMax7);
    ExpectBound(CheckOld(&lmt, 1e-5, -1000), kMax6, kMin7);
    ExpectBound(CheckOld(&lmt, -1.9e-5, 5), kMin6, kMax7);

    // At exactly 2e-5 the band is left: steep ray, curve test applies.
    const Probe band_edge = CheckOld(&lmt, 2e-5, 1000);
    ExpectBound(band_edge, lmt.Corner[1][0], lmt.Corner[1][1]);
    EXPECT_TRUE(band_edge.outside);
    const Probe band_edge_low = CheckOld(&lmt, -2e-5, -1000);
    ExpectBound(band_edge_low, lmt.Corner[5][0], lmt.Corner[5][1]);
    EXPECT_TRUE(band_edge_low.outside);
}

TEST(PilotLmt, UncoupledGivesRectangleCornerAndNoFlag)
{
    PilotLmt lmt{};
    InitLmt(&lmt, 1);
    InitLmt(&lmt, 0);  // the old curves stay in the record but are not consulted
    EXPECT_EQ(0, lmt.Coupled);
    EXPECT_EQ(kCurves[0][0], lmt.Curve[0][0]);
    const double points[5][2] = {{100, 160}, {-100, 160}, {-100, -160}, {100, -160}, {0, 0}};
    const double expected[5][2] = {{kMax6, kMax7}, {kMin6, kMax7}, {kMin6, kMin7}, {kMax6, kMin7}, {kMin6, kMin7}};
    for (int i = 0; i < 5; ++i) {
        const Probe probe = CheckOld(&lmt, points[i][0], points[i][1]);
        EXPECT_FALSE(probe.outside);
        ExpectBound(probe, expected[i][0], expected[i][1]);
    }

    PilotLmt never_loaded{};
    const Probe zeroed = CheckOld(&never_loaded, 10, -10);
    EXPECT_FALSE(zeroed.outside);
    ExpectBound(zeroed, 0, 0);
}

TEST(PilotLmt, CheckFlagsJointsAndNeverClears)
{
    for (unsigned char coupled = 0; coupled < 2; ++coupled) {
        PilotLmt lmt{};
        InitLmt(&lmt, coupled);
        // Joints 1-5 exactly on their limits are inside.
        double joints[7] = {-170, 169, -168, 167, 166, 60, 80};
        double bound[2];
        bool outside[7] = {};
        FX_CCSBD_CHECK(&lmt, joints, bound, outside);
        for (int i = 0; i < 7; ++i) EXPECT_FALSE(outside[i]) << "joint " << i;
        // Joint 6 past its own limit but inside the lower-right curve: no flag.
        double wide_wrist[7] = {0, 0, 0, 0, 0, 120, -10};
        FX_CCSBD_CHECK(&lmt, wide_wrist, bound, outside);
        for (int i = 0; i < 7; ++i) EXPECT_FALSE(outside[i]) << "joint " << i;

        // Just beyond the limits: flagged one by one; joints 6/7 beyond only when coupled.
        double beyond[7] = {-170.001, 169.001, 0, -168.001, 166.001, 100, 160};
        FX_CCSBD_CHECK(&lmt, beyond, bound, outside);
        const bool expected[7] = {true, true, false, true, true, coupled == 1, coupled == 1};
        for (int i = 0; i < 7; ++i) EXPECT_EQ(expected[i], outside[i]) << "joint " << i;
        if (coupled == 1) {
            double q67[2] = {100, 160};
            double plain[2];
            FX_CCSBD(&lmt, q67, plain);
            EXPECT_EQ(plain[0], bound[0]);
            EXPECT_EQ(plain[1], bound[1]);
        } else {
            EXPECT_EQ(kMax6, bound[0]);
            EXPECT_EQ(kMax7, bound[1]);
        }

        // Flags set earlier stay set after a fully inside check.
        bool preset[7] = {true, true, true, true, true, true, true};
        FX_CCSBD_CHECK(&lmt, joints, bound, preset);
        for (int i = 0; i < 7; ++i) EXPECT_TRUE(preset[i]) << "joint " << i;
        bool flag = true;
        double q67[2] = {60, 80};
        FX_CCSBD_CHECK_old(&lmt, q67, bound, flag);
        EXPECT_TRUE(flag);
    }
}
