// The full limit verdict beside the host's own check, around every edge and
// corner of the (q6, q7) plane, with and without corner curves.
#include "pilot/PilotLimitCheck.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

// The bundled 1017 model's limits and curves; corner 0 is (110, 124.5).
double kCurves[4][3] = {{-0.01, 0.05, 240}, {-0.01, -0.05, 240}, {0.01, 0.05, -240}, {0.01, -0.05, -240}};

void InitLmt(PilotLmt* lmt, unsigned char coupled)
{
    double limits[7][4] = {{-170, 170, 0, 0}, {-120, 120, 0, 0}, {-170, 170, 0, 0}, {-170, 170, 0, 0},
                           {-170, 170, 0, 0}, {-110, 110, 0, 0}, {-170, 170, 0, 0}};
    *lmt = PilotLmt{};
    testing::internal::CaptureStdout();
    FX_Init_PilotLmt(lmt, coupled, limits, kCurves);
    testing::internal::GetCapturedStdout();
}

const unsigned char I = PILOT_INSIDE, LO = PILOT_BELOW_MIN, HI = PILOT_ABOVE_MAX,
                    CU = PILOT_BEYOND_CORNER, NN = PILOT_NOT_A_NUMBER;

struct Case {
    double q6, q7;
    unsigned char s6, s7;   // verdict with corner curves; without them CU reads as inside
    bool hostFlag;          // FX_CCSBD_CHECK's joint-6/7 flag with corner curves
};

const Case kCases[] = {
    {110, 0, I, I, false},          {110.5, 0, HI, I, false},     // right edge
    {-110, 0, I, I, false},         {-110.5, 0, LO, I, false},    // left edge
    {0.5, 170, I, I, false},        {0.5, 170.5, I, HI, false},   // top edge
    {0.5, -170, I, I, false},       {0.5, -170.5, I, LO, false},  // bottom edge
    {35.172, 183.931, I, HI, false},                              // beyond the top, far from a curve
    {105, 130, I, I, false},        {105, 150, CU, CU, true},     // upper right corner (f0 = 135)
    {-105, 130, I, I, false},       {-105, 150, CU, CU, true},    // upper left
    {-105, -130, I, I, false},      {-105, -150, CU, CU, true},   // lower left
    {105, -130, I, I, false},       {105, -150, CU, CU, true},    // lower right
    {115, 175, HI, HI, true},       {-115, -175, LO, LO, true},   // beyond both edges and the curve
    {109, 130, CU, CU, true},        {112, 125, HI, CU, true},     // past the curve; q6 also past its edge
    {NAN, 10, NN, I, true},        {10, NAN, I, NN, true},       // NaN: the host flags both
};

TEST(PilotLimitCheck, EdgesAndCornersBesideTheHostCheck)
{
    for (unsigned char coupled : {0, 1}) {
        PilotLmt lmt;
        InitLmt(&lmt, coupled);
        for (const Case& c : kCases) {
            SCOPED_TRACE(testing::Message() << "coupled " << int(coupled) << " q6 " << c.q6 << " q7 " << c.q7);
            const double joints[7] = {0, 0, 0, 0, 0, c.q6, c.q7};
            PilotLimitVerdict verdict;
            const bool inside = FX_CheckPilotLimits(&lmt, joints, &verdict);

            const unsigned char s6 = (!coupled && c.s6 == CU) ? I : c.s6;
            const unsigned char s7 = (!coupled && c.s7 == CU) ? I : c.s7;
            EXPECT_EQ(verdict.state[5], s6);
            EXPECT_EQ(verdict.state[6], s7);
            EXPECT_EQ(inside, s6 == I && s7 == I);

            double q[7] = {0, 0, 0, 0, 0, c.q6, c.q7}, bound[2] = {0, 0};
            bool host[7] = {false, false, false, false, false, false, false};
            FX_CCSBD_CHECK(&lmt, q, bound, host);
            EXPECT_EQ(host[5], coupled && c.hostFlag);
            EXPECT_EQ(host[6], coupled && c.hostFlag);
            double q67[2] = {c.q6, c.q7}, direction[2] = {0, 0};
            FX_CCSBD(&lmt, q67, direction);
            for (int k = 0; k < 2; ++k)
                EXPECT_TRUE(verdict.bound[k] == direction[k] || (std::isnan(direction[k]) && std::isnan(verdict.bound[k])));
        }
    }
}

TEST(PilotLimitCheck, JointsOneToFiveAndBadPointers)
{
    PilotLmt lmt;
    InitLmt(&lmt, 1);
    const double joints[7] = {-170, 120.25, NAN, -171, 170, 0, 0};
    PilotLimitVerdict verdict;
    EXPECT_FALSE(FX_CheckPilotLimits(&lmt, joints, &verdict));
    const unsigned char expected[7] = {I, HI, NN, LO, I, I, I};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(verdict.state[i], expected[i]) << "joint " << i + 1;
    EXPECT_FALSE(FX_CheckPilotLimits(nullptr, joints, &verdict));
    EXPECT_FALSE(FX_CheckPilotLimits(&lmt, nullptr, &verdict));
    EXPECT_FALSE(FX_CheckPilotLimits(&lmt, joints, nullptr));
}

}  // namespace
