// Motion generation: the single-axis tracking law stepped by hand, the multi-axis
// generator as a moving average of its raw profile, the filter, and the trig tables.
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>
#include "motion/FXAVGF.h"
#include "motion/FXNSyncDTS.h"
#include "motion/FxTrigTables.h"
#include "tests/TestArm.h"

namespace {

// 1 ms cycle, 100 u/s, 1000 u/s^2, already jumped onto start.
FXVDT runningAt(double start)
{
    FXVDT v{};
    double out = -1;
    EXPECT_EQ(FXVDT_OnInit(&v, 1, 100, 1000), 1);
    EXPECT_EQ(FXVDT_OnDT_B(&v, start, &out), 1);
    EXPECT_EQ(out, start);
    return v;
}
int initSync(FXNSyncDTS* s, long n, double vmax, double acc, double jerk)
{
    double v[8], a[8], j[8];
    std::fill(v, v + 8, vmax), std::fill(a, a + 8, acc), std::fill(j, j + 8, jerk);
    return FXNSyncDTS_OnInit(s, n, 1, v, a, j);
}
FXNSyncDTS g_sync;

}  // namespace

TEST(Motion, TrackingProfile)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(FXVDT_i_sign(1e-300) * 10 + FXVDT_i_sign(-1e-300) * 2 + FXVDT_i_sign(-0.0) + FXVDT_i_sign(nan), 8.0);
    FXVDT v{};
    EXPECT_TRUE(FXVDT_OnInit(&v, 1, 0.1, 0.01) == 1 && FXVDT_OnInit(&v, 1000, 5000, 50000) == 1);  // bounds inclusive
    const double want[] = {1, 1, 1.0, 1.0, 0.01, 5000, 5000, 50000, 50000};
    const double got[] = {double(v.ready), double(v.reset), v.cycle, v.period, v.h, v.vmax, v.vmax_target, v.acc_step, v.acc};
    tk::expectNear(want, got, 9, 0, "set-up");
    for (const auto& a : {std::array<double, 3>{0.5, 10, 10}, {1001, 10, 10}, {10, 0.09, 10}, {10, 5001, 10}, {10, 10, 0.009},
                          {10, 10, 50001}, {nan, 10, 10}}) {
        FXVDT_OnInit(&v, 1, 10, 10);
        EXPECT_EQ(FXVDT_OnInit(&v, a[0], a[1], a[2]), 0) << a[0] << " " << a[1] << " " << a[2];
        EXPECT_EQ(v.ready, 0);
    }
    double out = 123;  // not ready: every operation refuses
    EXPECT_EQ(FXVDT_OnDT_B(&v, 5, &out) + FXVDT_OnEmpty(&v) + FXVDT_OnS(&v) + FXVDT_OnV(&v) + FXVDT_OnU(&v, 3) +
                  FXVDT_OnSetRunTimeLmt(&v, 50, 50), 0);
    // Far target: the command saturates; near: |y| = 0.05 <= h*d gives a = y/h = -5, u = -acc*a/d = 500.
    for (const auto& c : {std::array<double, 3>{10, 1.0, 0.001}, {0.05, 0.5, 0.0005}, {0, 0, 0}}) {
        v = runningAt(0);
        for (int k = 0; k < (c[0] ? 1 : 10); ++k) FXVDT_OnDT_B(&v, c[0], &out);
        EXPECT_DOUBLE_EQ(v.vel, c[1]);
        EXPECT_DOUBLE_EQ(out, c[2]);
    }
    ASSERT_EQ(FXVDT_OnEmpty(&v), 1);  // the next step jumps
    FXVDT_OnDT_B(&v, -7.5, &out);
    EXPECT_EQ(out * 10 + v.vel, -75);
    for (double dir : {1.0, -1.0}) {  // a lowered limit
        v = runningAt(0);
        while (std::fabs(v.vel) < 80) FXVDT_OnDT_B(&v, dir * 1000, &out);
        ASSERT_EQ(FXVDT_OnSetRunTimeLmt(&v, 20, 1000), 1);
        EXPECT_EQ(v.slowing * 1000 + v.vmax * 10 + v.vmax_target, 2020);
        for (double speed = 79; speed >= 19; --speed) {  // braking at acc*T per step although the target lies ahead
            FXVDT_OnDT_B(&v, dir * 1000, &out);
            ASSERT_EQ(v.vel, dir * speed);
            ASSERT_EQ(v.slowing, speed >= 20 ? 1 : 0) << speed;
        }
        for (int k = 0; k < 10; ++k) FXVDT_OnDT_B(&v, dir * 1000, &out);
        EXPECT_EQ(v.vmax * 10 + dir * v.vel, 220.0);
    }
    v = runningAt(0);
    const FXVDT before = v;
    EXPECT_EQ(FXVDT_OnSetRunTimeLmt(&v, 100.05, 1000.05), 1);  // dead band
    EXPECT_EQ(std::memcmp(&before, &v, sizeof v), 0);
    EXPECT_EQ(FXVDT_OnSetRunTimeLmt(&v, 300, 2000), 1);
    EXPECT_EQ(v.vmax * 10 + v.vmax_target + v.slowing + v.acc * 1e4 + v.acc_step * 1e5, 20003500.0);
}

TEST(Motion, SyncGenerator)
{
    FXNSyncDTS& s = g_sync;
    for (const auto& b : {std::array<double, 2>{0, 1000}, {9, 1000}, {1, 0.5}, {1, 2e7}}) EXPECT_EQ(initSync(&s, long(b[0]), 100, 100, b[1]), 0);
    EXPECT_TRUE(initSync(&s, 1, 100, 100, 1) == 1 && initSync(&s, 8, 100, 100, 1e7) == 1);
    EXPECT_EQ(s.n * 100 + s.ready * 10 + s.reset, 811);
    // Window 1000*acc/jerk/cycle, truncated, 6 when 4 or less, at most 100.
    for (const auto& w : {std::array<double, 2>{20000, 5}, {25000, 6}, {1e7, 6}, {1000, 100}, {990, 100}, {1010, 99}}) {
        ASSERT_EQ(initSync(&s, 1, 100, 100, w[0]), 1);
        EXPECT_EQ(s.win[0] * 1000 + s.win_f[0], w[1] * 1001) << w[0];
    }
    double vmax[2] = {100, 100}, out[2] = {-9, -9}, t[2] = {1, 2}, p[2], v[2], a[2];
    EXPECT_EQ(initSync(&s, 0, 100, 100, 1000), 0);  // not ready: every operation refuses
    EXPECT_EQ(FXNSyncDTS_OnDT(&s, t, out) + FXNSyncDTS_OnEmpty(&s) + FXNSyncDTS_OnSetRunTimeLmt(&s, vmax, vmax) +
                  FXNSyncDTS_OnGetCurPVA_U(&s, p, v, a) + FXNSyncDTS_OnDT_U(&s, out), 0);
    ASSERT_EQ(initSync(&s, 2, 100, 1000, 200000), 1);
    EXPECT_EQ(FXNSyncDTS_OnDT_U(&s, out) + FXNSyncDTS_OnGetCurPVA(&s, t, p, v, a), 0);  // nothing before a step
    EXPECT_EQ(FXNSyncDTS_OnGetCurPVA_U(&s, p, v, a) + out[0], -8);
    ASSERT_EQ(FXNSyncDTS_OnDT(&s, t, out), 1);
    ASSERT_EQ(FXNSyncDTS_OnGetCurPVA(&s, vmax, p, v, a), 1);
    EXPECT_EQ(out[0] * 10 + out[1] + vmax[1] * 1000 + p[1] * 100 + v[1] * 10 + a[1], 2212);
    ASSERT_EQ(FXNSyncDTS_OnDT_U(&s, out), 1);
    ASSERT_EQ(FXNSyncDTS_OnEmpty(&s), 1);  // then the next step jumps with a refilled window
    EXPECT_EQ(FXNSyncDTS_OnDT_U(&s, out), 0);
    double jump[2] = {-4, 40};
    ASSERT_EQ(FXNSyncDTS_OnDT(&s, jump, out), 1);
    EXPECT_EQ(out[0] * 100 + out[1] + std::count(s.buf[0], s.buf[0] + s.win[0], -4.0) * 1000 + s.sum[0] / s.win_f[0], 4636);
    // Only the first axis to wrap its counter in a call resets it; the next wraps one call later.
    for (int k = 0; k < 1000; ++k) FXNSyncDTS_OnDT(&s, t, out);
    for (long want : {10001000L, 1001L, 10000L}) {
        EXPECT_EQ(s.tick[0] * 10000 + s.tick[1], want);
        FXNSyncDTS_OnDT(&s, t, out);
    }
    // The output is the moving average of the raw profile, within the limits.
    double raw[1500], target[1] = {0};
    ASSERT_EQ(initSync(&s, 1, 100, 1000, 200000), 1);
    FXNSyncDTS_OnDT(&s, target, out);
    target[0] = 10;
    for (long k = 0; k < 1500; ++k) {
        FXNSyncDTS_OnDT(&s, target, out);
        raw[k] = s.raw[0];
        double mean = 0;
        for (long j = k - 4; j <= k; ++j) mean += j < 0 ? 0 : raw[j];
        ASSERT_NEAR(out[0], mean / 5, 1e-12) << k;
        ASSERT_LE(std::fabs(s.vel[0]), 100 * (1 + 1e-9)) << k;
        ASSERT_LE(std::fabs(s.acc[0]), 1000 * (1 + 1e-6)) << k;
    }
    EXPECT_NEAR(out[0], 10, 1e-12);
}

TEST(Motion, MovingAverageFilterAndTrigTables)
{
    FXAVGF f{}, before{};
    double in[3] = {1}, out[3] = {7};
    EXPECT_FALSE(FXAVGF_OnEmpty(&f) || FXAVGF_OnFilt(&f, in, out));  // never initialised
    EXPECT_TRUE(FXAVGF_OnInit(&f, 8, 100) && FXAVGF_OnInit(&f, 1, 1));
    EXPECT_EQ(f.Ready * 100 + f.Restart * 10 + f.Pos + out[0] * 1000, 7110);
    before = f;
    for (const auto& a : {std::array<long, 2>{0, 10}, {9, 10}, {-1, 10}, {3, 0}, {3, 101}, {3, -5}})
        EXPECT_FALSE(FXAVGF_OnInit(&f, a[0], a[1])) << a[0] << " " << a[1];
    EXPECT_EQ(std::memcmp(&before, &f, sizeof f), 0);
    for (long span : {1L, 4L, 7L, 100L}) {  // a step is a linear ramp over the span
        ASSERT_TRUE(FXAVGF_OnInit(&f, 3, span));
        const double x[3] = {2, -1, 0.25}, y[3] = {5, 4, -0.75};
        std::copy(x, x + 3, in);
        ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
        tk::expectNear(x, out, 3, 0, "first sample fills the span");
        std::copy(y, y + 3, in);
        for (long k = 1; k <= span + 3; ++k) {
            ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
            for (int c = 0; c < 3; ++c) ASSERT_NEAR(out[c], x[c] + (y[c] - x[c]) * std::min(k, span) / span, 1e-14) << span << " " << k;
        }
        tk::expectNear(y, out, 3, 0, "settled");
    }
    ASSERT_TRUE(FXAVGF_OnInit(&f, 1, 4));  // OnEmpty primes again without moving the slot
    for (double x : {1.0, 1.0, 1.0, 0.0, 9.0, 13.0}) {
        in[0] = x;
        EXPECT_TRUE(x != 0 ? FXAVGF_OnFilt(&f, in, out) : FXAVGF_OnEmpty(&f));
    }
    EXPECT_EQ(f.Buf[0][2] * 1000 + out[0] * 10 + f.Pos, 13103);

    const double want[] = {1.745329251993e-06, 0.9999984769132877, 0.9999984769132877, 6.1e-17, -1, -1.84e-16};
    const double got[] = {FX_SinAccTable[1], FX_CosAccTable[1000], FX_CosTable[1], FX_CosTable[900], FX_CosTable[1800], FX_CosTable[2700]};
    tk::expectNear(want, got, 6, 0, "tables as generated");
}
