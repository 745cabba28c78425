#include <gtest/gtest.h>

#include <cstring>

#include "motion/FXAVGF.h"

TEST(FXAVGF, SetUpBounds)
{
    FXAVGF f{};
    EXPECT_TRUE(FXAVGF_OnInit(&f, 8, 100));
    EXPECT_TRUE(FXAVGF_OnInit(&f, 1, 1));
    EXPECT_EQ(1, f.Ready);
    EXPECT_EQ(1, f.Restart);
    EXPECT_EQ(0, f.Pos);

    FXAVGF before;
    std::memcpy(&before, &f, sizeof f);
    const long rejected[][2] = {{0, 10}, {9, 10}, {-1, 10}, {3, 0}, {3, 101}, {3, -5}};
    for (const auto& args : rejected) {
        EXPECT_FALSE(FXAVGF_OnInit(&f, args[0], args[1])) << args[0] << " " << args[1];
        EXPECT_EQ(0, std::memcmp(&before, &f, sizeof f));
    }
}

TEST(FXAVGF, ZeroedRecordRefusesEverything)
{
    FXAVGF f{};
    FXAVGF before;
    std::memcpy(&before, &f, sizeof f);
    double in[1] = {1}, out[1] = {7};
    EXPECT_FALSE(FXAVGF_OnEmpty(&f));
    EXPECT_FALSE(FXAVGF_OnFilt(&f, in, out));
    EXPECT_EQ(7, out[0]);
    EXPECT_EQ(0, std::memcmp(&before, &f, sizeof f));
}

TEST(FXAVGF, SpanOnePassesTheInputThrough)
{
    FXAVGF f{};
    ASSERT_TRUE(FXAVGF_OnInit(&f, 2, 1));
    const double samples[] = {0.1, -3.7, 1e300, 0.3, 2.0 / 3};
    for (double x : samples) {
        double in[2] = {x, -x}, out[2];
        ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
        EXPECT_EQ(x, out[0]);
        EXPECT_EQ(-x, out[1]);
    }
}

TEST(FXAVGF, StepResponseIsALinearRampOverTheSpan)
{
    for (long span : {4L, 5L, 7L, 100L}) {
        FXAVGF f{};
        ASSERT_TRUE(FXAVGF_OnInit(&f, 3, span));
        const double x[3] = {2, -1, 0.25}, y[3] = {5, 4, -0.75};
        double in[3], out[3];
        std::memcpy(in, x, sizeof in);
        ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(x[c], out[c]);
        std::memcpy(in, y, sizeof in);
        for (long k = 1; k <= span + 3; ++k) {
            ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
            const long m = k < span ? k : span;
            for (int c = 0; c < 3; ++c)
                ASSERT_NEAR(x[c] + (y[c] - x[c]) * m / span, out[c], 1e-14) << span << " " << k;
        }
        for (int c = 0; c < 3; ++c)
            EXPECT_EQ(y[c], out[c]);
    }
}

TEST(FXAVGF, NoDriftAfterLargeSamples)
{
    // A running total would keep the rounding of the huge samples; the re-summed
    // window returns exactly to the constant once the span is full of it.
    FXAVGF f{};
    ASSERT_TRUE(FXAVGF_OnInit(&f, 1, 6));
    double in[1], out[1];
    for (int k = 0; k < 10000; ++k) {
        in[0] = k % 3 == 0 ? 1e17 : 0.1 * k;
        FXAVGF_OnFilt(&f, in, out);
    }
    in[0] = 3.0;
    for (int k = 0; k < 6; ++k)
        FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(3.0, out[0]);
}

TEST(FXAVGF, EmptyPrimesAgainWithoutMovingTheSlot)
{
    FXAVGF f{};
    ASSERT_TRUE(FXAVGF_OnInit(&f, 1, 4));
    double in[1] = {1}, out[1];
    FXAVGF_OnFilt(&f, in, out);
    FXAVGF_OnFilt(&f, in, out);
    FXAVGF_OnFilt(&f, in, out);
    ASSERT_EQ(2, f.Pos);

    ASSERT_TRUE(FXAVGF_OnEmpty(&f));
    EXPECT_EQ(2, f.Pos);
    in[0] = 9;
    FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(9, out[0]);
    EXPECT_EQ(2, f.Pos);
    in[0] = 13;
    FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(13, f.Buf[0][2]);
    EXPECT_EQ(10, out[0]);
    EXPECT_EQ(3, f.Pos);
    FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(0, f.Pos);
}
