#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>

#include "motion/FXNSyncDTS.h"

// Counts every allocation made through operator new in this test binary.
static long g_allocations = 0;

void* operator new(std::size_t size)
{
    ++g_allocations;
    if (void* p = std::malloc(size ? size : 1))
        return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }

namespace {

// n axes, 1 ms cycle, the same limits on every axis.
int init_uniform(FXNSyncDTS* s, long n, double vmax, double acc, double jerk)
{
    double v[8], a[8], j[8];
    for (int i = 0; i < 8; ++i) {
        v[i] = vmax;
        a[i] = acc;
        j[i] = jerk;
    }
    return FXNSyncDTS_OnInit(s, n, 1, v, a, j);
}

}  // namespace

TEST(FXNSyncDTS, SetUpBoundsAndPartialFailure)
{
    static FXNSyncDTS s{};
    EXPECT_EQ(0, init_uniform(&s, 0, 100, 100, 1000));
    EXPECT_EQ(0, init_uniform(&s, 9, 100, 100, 1000));
    EXPECT_EQ(0, init_uniform(&s, 1, 100, 100, 0.5));
    EXPECT_EQ(0, init_uniform(&s, 1, 100, 100, 2e7));
    EXPECT_EQ(1, init_uniform(&s, 1, 100, 100, 1));
    EXPECT_EQ(1, init_uniform(&s, 8, 100, 100, 1e7));
    EXPECT_EQ(8, s.n);
    EXPECT_EQ(1, s.ready);
    EXPECT_EQ(1, s.reset);

    // Axis 1 has an invalid acceleration: axis 0 stays set up, the whole is not ready.
    double vmax[2] = {100, 100}, acc[2] = {100, 60000}, jerk[2] = {1000, 1000};
    s.vdt[0].ready = 0;
    EXPECT_EQ(0, FXNSyncDTS_OnInit(&s, 2, 1, vmax, acc, jerk));
    EXPECT_EQ(0, s.ready);
    EXPECT_EQ(0, s.n);
    EXPECT_EQ(1, s.vdt[0].ready);
    double out[2], tgt[2] = {0, 0};
    EXPECT_EQ(0, FXNSyncDTS_OnDT(&s, tgt, out));
    EXPECT_EQ(0, FXNSyncDTS_OnEmpty(&s));
    EXPECT_EQ(0, FXNSyncDTS_OnSetRunTimeLmt(&s, vmax, acc));
    EXPECT_EQ(0, FXNSyncDTS_OnGetCurPVA_U(&s, out, out, out));
}

TEST(FXNSyncDTS, WindowRule)
{
    static FXNSyncDTS s{};
    const struct {
        double jerk;
        long win;
    } cases[] = {{20000, 5}, {25000, 6}, {30000, 6}, {1e7, 6}, {1000, 100},
                 {990, 100}, {100, 100}, {1010, 99}, {10000, 10}};
    for (const auto& c : cases) {
        ASSERT_EQ(1, init_uniform(&s, 1, 100, 100, c.jerk));
        EXPECT_EQ(c.win, s.win[0]) << c.jerk;
        EXPECT_EQ(static_cast<double>(c.win), s.win_f[0]);
    }
}

TEST(FXNSyncDTS, NothingToReadBeforeTheFirstStep)
{
    static FXNSyncDTS s{};
    ASSERT_EQ(1, init_uniform(&s, 2, 100, 1000, 200000));
    double t[2] = {1, 2}, p[2], v[2], a[2], out[2] = {-9, -9};
    EXPECT_EQ(0, FXNSyncDTS_OnDT_U(&s, out));
    EXPECT_EQ(-9, out[0]);
    EXPECT_EQ(0, FXNSyncDTS_OnGetCurPVA(&s, t, p, v, a));
    EXPECT_EQ(1, FXNSyncDTS_OnGetCurPVA_U(&s, p, v, a));

    ASSERT_EQ(1, FXNSyncDTS_OnDT(&s, t, out));
    EXPECT_EQ(1, out[0]);
    EXPECT_EQ(2, out[1]);
    double tgt[2];
    ASSERT_EQ(1, FXNSyncDTS_OnGetCurPVA(&s, tgt, p, v, a));
    EXPECT_EQ(2, tgt[1]);
    EXPECT_EQ(2, p[1]);
    EXPECT_EQ(0, v[1]);
    EXPECT_EQ(0, a[1]);
    EXPECT_EQ(1, FXNSyncDTS_OnDT_U(&s, out));

    // After OnEmpty the next OnDT jumps onto new targets with a refilled window.
    ASSERT_EQ(1, FXNSyncDTS_OnEmpty(&s));
    EXPECT_EQ(0, FXNSyncDTS_OnDT_U(&s, out));
    double jump[2] = {-4, 40};
    ASSERT_EQ(1, FXNSyncDTS_OnDT(&s, jump, out));
    EXPECT_EQ(-4, out[0]);
    EXPECT_EQ(40, out[1]);
    for (long k = 0; k < s.win[0]; ++k)
        ASSERT_EQ(-4, s.buf[0][k]);
    EXPECT_EQ(-4 * s.win_f[0], s.sum[0]);
    EXPECT_EQ(0, s.vel[1]);
}

TEST(FXNSyncDTS, StepChangeIsTheMovingAverageOfTheRawProfile)
{
    static FXNSyncDTS s{};
    ASSERT_EQ(1, init_uniform(&s, 1, 100, 1000, 200000));
    ASSERT_EQ(5, s.win[0]);
    double t[1] = {0}, out[1];
    FXNSyncDTS_OnDT(&s, t, out);

    t[0] = 10;
    double raw[1500];
    for (long k = 0; k < 1500; ++k) {
        ASSERT_EQ(1, FXNSyncDTS_OnDT(&s, t, out));
        raw[k] = s.raw[0];
        if (k == 0) {
            EXPECT_EQ(raw[0] / 5, out[0]);
        }
        double mean = 0;
        for (long j = k - 4; j <= k; ++j)
            mean += j < 0 ? 0 : raw[j];
        ASSERT_NEAR(mean / 5, out[0], 1e-12) << k;
        ASSERT_LE(std::fabs(s.vel[0]), 100 * (1 + 1e-9)) << k;
        ASSERT_LE(std::fabs(s.acc[0]), 1000 * (1 + 1e-6)) << k;
    }
    // The raw law approaches its target down to the last bits.
    EXPECT_NEAR(10, out[0], 1e-12);
}

TEST(FXNSyncDTS, SmoothedOutputArrivesWindowMinusOneCyclesAfterTheRawProfile)
{
    // A 125 ms cycle and acc 16 keep every position on a binary grid, so the raw
    // profile lands exactly on its target and the window sums are exact.
    static FXNSyncDTS s{};
    double vmax[1] = {100}, acc[1] = {16}, jerk[1] = {16};
    ASSERT_EQ(1, FXNSyncDTS_OnInit(&s, 1, 125, vmax, acc, jerk));
    ASSERT_EQ(8, s.win[0]);
    double t[1] = {0}, out[1];
    FXNSyncDTS_OnDT(&s, t, out);
    t[0] = 100;
    long raw_arrival = -1, out_arrival = -1;
    for (long k = 0; k < 200; ++k) {
        FXNSyncDTS_OnDT(&s, t, out);
        if (raw_arrival < 0 && s.raw[0] == 100)
            raw_arrival = k;
        if (out_arrival < 0 && out[0] == 100)
            out_arrival = k;
        if (raw_arrival >= 0) {
            ASSERT_EQ(100, s.raw[0]) << k;
        }
    }
    ASSERT_GT(raw_arrival, 0);
    EXPECT_EQ(raw_arrival + 8 - 1, out_arrival);
    EXPECT_EQ(100, out[0]);
    EXPECT_EQ(0, s.vel[0]);
    EXPECT_EQ(0, s.acc[0]);
}

TEST(FXNSyncDTS, ConstantTargetsGiveConstantOutputs)
{
    static FXNSyncDTS s{};
    double vmax[4] = {100, 50, 10, 1000}, acc[4] = {1000, 100, 37, 900};
    double jerk[4] = {200000, 1000, 10000, 12345};
    ASSERT_EQ(1, FXNSyncDTS_OnInit(&s, 4, 1, vmax, acc, jerk));

    // Values whose window sums are exact stay exactly constant, with zero
    // velocity and acceleration, across the counter wraps.
    double exact[4] = {0.5, -3.75, 123.125, 0}, out[4];
    FXNSyncDTS_OnDT(&s, exact, out);
    for (int k = 0; k < 2500; ++k) {
        ASSERT_EQ(1, k % 2 ? FXNSyncDTS_OnDT(&s, exact, out) : FXNSyncDTS_OnDT_U(&s, out));
        for (int i = 0; i < 4; ++i) {
            ASSERT_EQ(exact[i], out[i]) << i << " " << k;
            ASSERT_EQ(0.0, s.vel[i]);
            ASSERT_EQ(0.0, s.acc[i]);
        }
    }

    // Other values: the re-summed window may differ from win x value in the last
    // bits, so the output settles a few ulps away from the target.
    double inexact[4] = {0.1, -3.7, 123.456, 2.0 / 3};
    ASSERT_EQ(1, FXNSyncDTS_OnEmpty(&s));
    FXNSyncDTS_OnDT(&s, inexact, out);
    for (int k = 0; k < 2500; ++k) {
        FXNSyncDTS_OnDT(&s, inexact, out);
        for (int i = 0; i < 4; ++i) {
            ASSERT_NEAR(inexact[i], out[i], 1e-13 * std::fabs(inexact[i])) << i << " " << k;
            ASSERT_LE(std::fabs(s.vel[i]), 1e-10);
        }
    }
}

TEST(FXNSyncDTS, TickWrapPassesFromAxisToAxis)
{
    // Only the first axis to wrap in a call resets its counter; the axes after it
    // wrap one call later each.
    static FXNSyncDTS s{};
    ASSERT_EQ(1, init_uniform(&s, 3, 100, 1000, 200000));
    double t[3] = {1, 2, 3}, out[3];
    FXNSyncDTS_OnDT(&s, t, out);
    for (int k = 0; k < 1000; ++k)
        FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(1000, s.tick[0]);
    FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(0, s.tick[0]);
    EXPECT_EQ(1001, s.tick[1]);
    EXPECT_EQ(1001, s.tick[2]);
    FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(1, s.tick[0]);
    EXPECT_EQ(0, s.tick[1]);
    EXPECT_EQ(1002, s.tick[2]);
    FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(0, s.tick[2]);
}

TEST(FXNSyncDTS, StepOnStoredTargetsEqualsStepOnRepeatedTargets)
{
    static FXNSyncDTS a{}, b{};
    ASSERT_EQ(1, init_uniform(&a, 2, 80, 500, 20000));
    ASSERT_EQ(1, init_uniform(&b, 2, 80, 500, 20000));
    double start[2] = {0, 5}, t[2] = {3, -2}, oa[2], ob[2];
    FXNSyncDTS_OnDT(&a, start, oa);
    FXNSyncDTS_OnDT(&b, start, ob);
    FXNSyncDTS_OnDT(&a, t, oa);
    FXNSyncDTS_OnDT(&b, t, ob);
    for (int k = 0; k < 500; ++k) {
        FXNSyncDTS_OnDT(&a, t, oa);
        FXNSyncDTS_OnDT_U(&b, ob);
        ASSERT_EQ(0, std::memcmp(oa, ob, sizeof oa)) << k;
    }
    EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a));
}

TEST(FXNSyncDTS, AxisBrakingAfterALoweredLimitKeepsBraking)
{
    // The per-step roll-back discards the step's own exit from braking, so the axis
    // stays in the braking law: the raw speed changes by acc*T every cycle.
    static FXNSyncDTS s{};
    ASSERT_EQ(1, init_uniform(&s, 1, 100, 1000, 200000));
    double t[1] = {0}, out[1];
    FXNSyncDTS_OnDT(&s, t, out);
    t[0] = 1000;
    for (int k = 0; k < 60; ++k)
        FXNSyncDTS_OnDT(&s, t, out);
    ASSERT_NEAR(60, s.vdt[0].vel, 1e-6);
    double vmax[1] = {20}, acc[1] = {1000};
    ASSERT_EQ(1, FXNSyncDTS_OnSetRunTimeLmt(&s, vmax, acc));
    EXPECT_EQ(1, s.vdt[0].slowing);
    EXPECT_EQ(5, s.win[0]);
    for (int k = 0; k < 200; ++k) {
        const double before = s.vdt[0].vel;
        FXNSyncDTS_OnDT(&s, t, out);
        ASSERT_NEAR(1.0, std::fabs(s.vdt[0].vel - before), 1e-6) << k;
        ASSERT_EQ(1, s.vdt[0].slowing);
    }
}

TEST(FXNSyncDTS, EightAxisStepAllocatesNothing)
{
    static FXNSyncDTS s{};
    ASSERT_EQ(1, init_uniform(&s, 8, 200, 2000, 40000));
    double t[8] = {0}, out[8], p[8], v[8], a[8];
    FXNSyncDTS_OnDT(&s, t, out);
    const long before = g_allocations;
    ASSERT_GT(before, 0);  // the counting operator new is the one in use
    for (int k = 0; k < 3000; ++k) {
        for (int i = 0; i < 8; ++i)
            t[i] = 50 * std::sin(0.002 * k + i);
        FXNSyncDTS_OnDT(&s, t, out);
        FXNSyncDTS_OnGetCurPVA(&s, t, p, v, a);
    }
    FXNSyncDTS_OnDT_U(&s, out);
    EXPECT_EQ(before, g_allocations);
}
