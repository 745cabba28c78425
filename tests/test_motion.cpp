// Motion generation: the single-axis tracking law stepped by hand, the multi-axis
// generator as a moving average of its raw profile, the filter, and the trig tables.
#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>

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
    EXPECT_EQ(FXVDT_OnInit(&v, 1, 100, 1000) + FXVDT_OnDT_B(&v, start, &out), 2);
    EXPECT_EQ(out, start);
    return v;
}
int initUniform(FXNSyncDTS* s, long n, double vmax, double acc, double jerk, double cycle_ms = 1)
{
    double v[8], a[8], j[8];
    std::fill(v, v + 8, vmax), std::fill(a, a + 8, acc), std::fill(j, j + 8, jerk);
    return FXNSyncDTS_OnInit(s, n, cycle_ms, v, a, j);
}
FXNSyncDTS g_sync, g_other;

}  // namespace

TEST(Motion, TrackingProfileSetUpAndSteps)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(FXVDT_i_sign(1e-300) - FXVDT_i_sign(-1e-300), 2.0);
    EXPECT_EQ(FXVDT_i_sign(-0.0) + FXVDT_i_sign(nan), 0.0);
    FXVDT v{};
    EXPECT_EQ(FXVDT_OnInit(&v, 1, 0.1, 0.01) + FXVDT_OnInit(&v, 1000, 5000, 50000), 2);  // bounds inclusive
    EXPECT_EQ(v.ready + v.reset, 2);
    const double fields[] = {v.cycle, v.period, v.h, v.vmax, v.vmax_target, v.acc_step, v.acc};
    const double want[] = {1.0, 1.0, 0.01, 5000, 5000, 50000, 50000};
    tk::expectNear(want, fields, 7, 0, "set-up");
    const double rejected[][3] = {{0.5, 10, 10}, {1001, 10, 10}, {10, 0.09, 10}, {10, 5001, 10},
                                  {10, 10, 0.009}, {10, 10, 50001}, {nan, 10, 10}};
    for (const auto& a : rejected) {
        FXVDT_OnInit(&v, 1, 10, 10);
        EXPECT_EQ(FXVDT_OnInit(&v, a[0], a[1], a[2]) + v.ready, 0) << a[0] << " " << a[1] << " " << a[2];
    }
    FXVDT before = v;
    double out = 123;
    EXPECT_EQ(FXVDT_OnDT_B(&v, 5, &out) + FXVDT_OnEmpty(&v) + FXVDT_OnS(&v) + FXVDT_OnV(&v) + FXVDT_OnU(&v, 3) +
                  FXVDT_OnSetRunTimeLmt(&v, 50, 50), 0);
    EXPECT_EQ(out, 123);
    EXPECT_EQ(std::memcmp(&before, &v, sizeof v), 0);

    // Far target from rest: the command saturates at +acc, the velocity gains acc*T before the move.
    v = runningAt(0);
    FXVDT_OnDT_B(&v, 10, &out);
    EXPECT_EQ(v.vel * 1000 + out, 1000.001);
    // Near target: |y| = 0.05 <= h*d gives a = y/h = -5, u = -acc*a/d = 500.
    v = runningAt(0);
    FXVDT_OnDT_B(&v, 0.05, &out);
    EXPECT_DOUBLE_EQ(v.vel, 0.5);
    EXPECT_DOUBLE_EQ(out, 0.0005);
    v = runningAt(3.25);
    for (int k = 0; k < 10; ++k) FXVDT_OnDT_B(&v, 3.25, &out);
    EXPECT_EQ(out * 10 + v.vel, 32.5);
    ASSERT_EQ(FXVDT_OnEmpty(&v), 1);  // the next step jumps
    FXVDT_OnDT_B(&v, -7.5, &out);
    EXPECT_EQ(out * 10 + v.vel, -75);

    for (double target : {50.0, -50.0}) {
        v = runningAt(0);
        double prev_vel = 0;
        bool saturated = false;
        for (int k = 0; k < 3000; ++k) {
            const double prev_pos = v.pos;
            FXVDT_OnDT_B(&v, target, &out);
            ASSERT_LE(std::fabs(v.vel - prev_vel), 1.0 + 1e-12) << k;
            ASSERT_LE(std::fabs(v.vel), 100.0) << k;
            ASSERT_DOUBLE_EQ(out, prev_pos + 0.001 * v.vel);  // the move uses the new velocity
            ASSERT_LE(std::fabs(out), std::fabs(target) + 1e-9) << k;
            saturated = saturated || std::fabs(v.vel) == 100.0;
            prev_vel = v.vel;
        }
        EXPECT_TRUE(saturated);
        EXPECT_NEAR(out, target, 1e-9);
        EXPECT_NEAR(v.vel, 0.0, 1e-6);
    }
}

TEST(Motion, TrackingProfileLimitsSnapshotAndFollow)
{
    for (double dir : {1.0, -1.0}) {
        FXVDT v = runningAt(0);
        double out = 0;
        while (std::fabs(v.vel) < 80) FXVDT_OnDT_B(&v, dir * 1000, &out);
        ASSERT_EQ(std::fabs(v.vel), 80.0);
        ASSERT_EQ(FXVDT_OnSetRunTimeLmt(&v, 20, 1000), 1);
        EXPECT_EQ(v.slowing * 1000 + v.vmax * 10 + v.vmax_target, 2020);
        // Braking at acc*T = 1 per step although the target lies ahead; at 20 still braking.
        for (double speed = 79; speed >= 19; --speed) {
            FXVDT_OnDT_B(&v, dir * 1000, &out);
            ASSERT_EQ(v.vel, dir * speed);
            ASSERT_EQ(v.slowing, speed >= 20 ? 1 : 0) << speed;
        }
        for (int k = 0; k < 10; ++k) FXVDT_OnDT_B(&v, dir * 1000, &out);
        EXPECT_EQ(v.vmax * 10 + dir * v.vel, 220.0);
    }
    FXVDT v = runningAt(0), before = v, w{};
    EXPECT_EQ(FXVDT_OnSetRunTimeLmt(&v, 100.05, 1000.05), 1);  // dead band
    EXPECT_EQ(std::memcmp(&before, &v, sizeof v), 0);
    EXPECT_EQ(FXVDT_OnSetRunTimeLmt(&v, 300, 2000), 1);
    EXPECT_EQ(v.vmax * 10 + v.vmax_target + v.slowing, 3300.0);
    EXPECT_EQ(v.acc * 1000 + v.acc_step, 2000000.002);
    ASSERT_EQ(FXVDT_OnInit(&w, 1, 0.1, 10), 1);
    EXPECT_EQ(FXVDT_OnSetRunTimeLmt(&w, 0.2, 10), 1);  // exactly 0.1 applies
    EXPECT_EQ(w.vmax, 0.2);
    EXPECT_EQ(FXVDT_OnSetRunTimeLmt(&w, 1e6, 1e6), 1);  // no range check
    EXPECT_EQ(w.vmax, 1e6);

    v = runningAt(1);
    double out = 0;
    for (int k = 0; k < 30; ++k) FXVDT_OnDT_B(&v, 100, &out);
    FXVDT_OnSetRunTimeLmt(&v, 10, 1000);
    ASSERT_EQ(FXVDT_OnS(&v), 1);
    const FXVDT snap = v;
    for (int k = 0; k < 30; ++k) FXVDT_OnDT_B(&v, 100, &out);
    ASSERT_NE(snap.slowing, v.slowing);
    ASSERT_EQ(FXVDT_OnV(&v), 1);
    EXPECT_EQ(std::memcmp(&snap, &v, sizeof v), 0);
    ASSERT_EQ(FXVDT_OnU(&v, v.pos + 0.004), 1);
    EXPECT_DOUBLE_EQ(v.vel, 4.0);
    EXPECT_EQ(v.pos, snap.pos + 0.004);
}

TEST(Motion, SyncSetUpWindowsAndEntryOrder)
{
    FXNSyncDTS& s = g_sync;
    const double bad[][2] = {{0, 1000}, {9, 1000}, {1, 0.5}, {1, 2e7}};
    for (const auto& b : bad) EXPECT_EQ(initUniform(&s, long(b[0]), 100, 100, b[1]), 0);
    EXPECT_EQ(initUniform(&s, 1, 100, 100, 1) + initUniform(&s, 8, 100, 100, 1e7), 2);
    EXPECT_EQ(s.n * 100 + s.ready * 10 + s.reset, 811);
    // Window 1000*acc/jerk/cycle, truncated, 6 when 4 or less, at most 100.
    const double windows[][2] = {{20000, 5}, {25000, 6}, {1e7, 6}, {1000, 100}, {990, 100}, {1010, 99}, {10000, 10}};
    for (const auto& w : windows) {
        ASSERT_EQ(initUniform(&s, 1, 100, 100, w[0]), 1);
        EXPECT_EQ(s.win[0], long(w[1])) << w[0];
        EXPECT_EQ(s.win_f[0], w[1]);
    }
    // An invalid second axis: the first stays set up, the whole is not ready.
    double vmax[2] = {100, 100}, acc[2] = {100, 60000}, jerk[2] = {1000, 1000}, out[2], t[2] = {1, 2};
    s.vdt[0].ready = 0;
    EXPECT_EQ(FXNSyncDTS_OnInit(&s, 2, 1, vmax, acc, jerk), 0);
    EXPECT_EQ(s.ready * 100 + s.n * 10 + s.vdt[0].ready, 1);
    EXPECT_EQ(FXNSyncDTS_OnDT(&s, t, out) + FXNSyncDTS_OnEmpty(&s) + FXNSyncDTS_OnSetRunTimeLmt(&s, vmax, acc) +
                  FXNSyncDTS_OnGetCurPVA_U(&s, out, out, out) + FXNSyncDTS_OnDT_U(&s, out), 0);

    ASSERT_EQ(initUniform(&s, 2, 100, 1000, 200000), 1);
    double p[2], v[2], a[2], tgt[2];
    out[0] = -9;
    EXPECT_EQ(FXNSyncDTS_OnDT_U(&s, out) + FXNSyncDTS_OnGetCurPVA(&s, tgt, p, v, a), 0);  // nothing before a step
    EXPECT_EQ(out[0], -9);
    EXPECT_EQ(FXNSyncDTS_OnGetCurPVA_U(&s, p, v, a), 1);
    ASSERT_EQ(FXNSyncDTS_OnDT(&s, t, out), 1);
    EXPECT_EQ(out[0] * 10 + out[1], 12);
    ASSERT_EQ(FXNSyncDTS_OnGetCurPVA(&s, tgt, p, v, a), 1);
    EXPECT_EQ(tgt[1] * 1000 + p[1] * 100 + v[1] * 10 + a[1], 2200);
    // After OnEmpty the next step jumps onto new targets with a refilled window.
    ASSERT_EQ(FXNSyncDTS_OnDT_U(&s, out) + FXNSyncDTS_OnEmpty(&s), 2);
    EXPECT_EQ(FXNSyncDTS_OnDT_U(&s, out), 0);
    double jump[2] = {-4, 40};
    ASSERT_EQ(FXNSyncDTS_OnDT(&s, jump, out), 1);
    EXPECT_EQ(out[0] * 100 + out[1], -360);
    for (long k = 0; k < s.win[0]; ++k) ASSERT_EQ(s.buf[0][k], -4);
    EXPECT_EQ(s.sum[0], -4 * s.win_f[0]);
    // Only the first axis to wrap its counter in a call resets it; the next wrap one call later.
    for (int k = 0; k < 1000; ++k) FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(s.tick[0] * 10000 + s.tick[1], 10001000);
    FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(s.tick[0] * 10000 + s.tick[1], 1001);
    FXNSyncDTS_OnDT(&s, t, out);
    EXPECT_EQ(s.tick[0] * 10000 + s.tick[1], 10000);
}

TEST(Motion, SyncOutputIsTheMovingAverageOfTheRawProfile)
{
    FXNSyncDTS& s = g_sync;
    ASSERT_EQ(initUniform(&s, 1, 100, 1000, 200000), 1);
    ASSERT_EQ(s.win[0], 5);
    double t[1] = {0}, out[1], raw[1500];
    FXNSyncDTS_OnDT(&s, t, out);
    t[0] = 10;
    for (long k = 0; k < 1500; ++k) {
        ASSERT_EQ(FXNSyncDTS_OnDT(&s, t, out), 1);
        raw[k] = s.raw[0];
        double mean = 0;
        for (long j = k - 4; j <= k; ++j) mean += j < 0 ? 0 : raw[j];
        ASSERT_NEAR(out[0], mean / 5, 1e-12) << k;
        ASSERT_LE(std::fabs(s.vel[0]), 100 * (1 + 1e-9)) << k;
        ASSERT_LE(std::fabs(s.acc[0]), 1000 * (1 + 1e-6)) << k;
    }
    EXPECT_NEAR(out[0], 10, 1e-12);
    // On a binary grid (125 ms, acc 16) the output lands exactly win - 1 cycles after the raw profile.
    double vmax[1] = {100}, acc[1] = {16}, jerk[1] = {16};
    ASSERT_EQ(FXNSyncDTS_OnInit(&s, 1, 125, vmax, acc, jerk), 1);
    ASSERT_EQ(s.win[0], 8);
    t[0] = 0;
    FXNSyncDTS_OnDT(&s, t, out);
    t[0] = 100;
    long raw_at = -1, out_at = -1;
    for (long k = 0; k < 200; ++k) {
        FXNSyncDTS_OnDT(&s, t, out);
        if (raw_at < 0 && s.raw[0] == 100) raw_at = k;
        if (out_at < 0 && out[0] == 100) out_at = k;
    }
    EXPECT_EQ(out_at, raw_at + 7);
    EXPECT_EQ(s.vel[0] * 10 + s.acc[0] + s.raw[0], 100);
    // Exact constants stay exact (velocity and acceleration 0) across the counter wraps.
    double v4[4] = {100, 50, 10, 1000}, a4[4] = {1000, 100, 37, 900}, j4[4] = {200000, 1000, 10000, 12345};
    double exact[4] = {0.5, -3.75, 123.125, 0}, out4[4];
    ASSERT_EQ(FXNSyncDTS_OnInit(&s, 4, 1, v4, a4, j4), 1);
    FXNSyncDTS_OnDT(&s, exact, out4);
    for (int k = 0; k < 2500; ++k) {
        ASSERT_EQ(k % 2 ? FXNSyncDTS_OnDT(&s, exact, out4) : FXNSyncDTS_OnDT_U(&s, out4), 1);
        for (int i = 0; i < 4; ++i) ASSERT_EQ(out4[i] + s.vel[i] * 1e9 + s.acc[i] * 1e9, exact[i]) << i << " " << k;
    }
    // Stepping on the stored targets equals stepping on repeated targets; braking persists.
    FXNSyncDTS& b = g_other;
    std::memset(&s, 0, sizeof s);
    ASSERT_EQ(initUniform(&s, 2, 80, 500, 20000) + initUniform(&b, 2, 80, 500, 20000), 2);
    double start[2] = {0, 5}, t2[2] = {3, -2}, oa[2], ob[2];
    FXNSyncDTS_OnDT(&s, start, oa), FXNSyncDTS_OnDT(&b, start, ob);
    FXNSyncDTS_OnDT(&s, t2, oa), FXNSyncDTS_OnDT(&b, t2, ob);
    for (int k = 0; k < 300; ++k) FXNSyncDTS_OnDT(&s, t2, oa), FXNSyncDTS_OnDT_U(&b, ob);
    EXPECT_EQ(std::memcmp(&s, &b, sizeof s), 0);
    ASSERT_EQ(initUniform(&s, 1, 100, 1000, 200000), 1);
    t[0] = 0;
    FXNSyncDTS_OnDT(&s, t, out);
    t[0] = 1000;
    for (int k = 0; k < 60; ++k) FXNSyncDTS_OnDT(&s, t, out);
    double lower[1] = {20}, same[1] = {1000};
    ASSERT_EQ(FXNSyncDTS_OnSetRunTimeLmt(&s, lower, same), 1);
    EXPECT_EQ(s.vdt[0].slowing * 10 + s.win[0], 15);
    for (int k = 0; k < 100; ++k) {  // the roll-back discards the step's own exit from braking
        const double before = s.vdt[0].vel;
        FXNSyncDTS_OnDT(&s, t, out);
        ASSERT_NEAR(std::fabs(s.vdt[0].vel - before), 1.0, 1e-6) << k;
    }
}

TEST(Motion, MovingAverageFilter)
{
    FXAVGF f{}, before{};
    double in[3] = {1}, out[3] = {7};
    EXPECT_FALSE(FXAVGF_OnEmpty(&f) || FXAVGF_OnFilt(&f, in, out));  // never initialised
    EXPECT_EQ(out[0], 7);
    EXPECT_TRUE(FXAVGF_OnInit(&f, 8, 100) && FXAVGF_OnInit(&f, 1, 1));
    EXPECT_EQ(f.Ready * 100 + f.Restart * 10 + f.Pos, 110);
    before = f;
    const long rejected[][2] = {{0, 10}, {9, 10}, {-1, 10}, {3, 0}, {3, 101}, {3, -5}};
    for (const auto& a : rejected) EXPECT_FALSE(FXAVGF_OnInit(&f, a[0], a[1])) << a[0] << " " << a[1];
    EXPECT_EQ(std::memcmp(&before, &f, sizeof f), 0);
    // A step is a linear ramp over the span; span 1 passes the input through.
    for (long span : {1L, 4L, 7L, 100L}) {
        ASSERT_TRUE(FXAVGF_OnInit(&f, 3, span));
        const double x[3] = {2, -1, 0.25}, y[3] = {5, 4, -0.75};
        std::copy(x, x + 3, in);
        ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
        tk::expectNear(x, out, 3, 0, "first sample fills the span");
        std::copy(y, y + 3, in);
        for (long k = 1; k <= span + 3; ++k) {
            ASSERT_TRUE(FXAVGF_OnFilt(&f, in, out));
            for (int c = 0; c < 3; ++c)
                ASSERT_NEAR(out[c], x[c] + (y[c] - x[c]) * std::min(k, span) / span, 1e-14) << span << " " << k;
        }
        tk::expectNear(y, out, 3, 0, "settled");
    }
    // The re-summed window returns exactly to a constant after huge samples.
    ASSERT_TRUE(FXAVGF_OnInit(&f, 1, 6));
    for (int k = 0; k < 10006; ++k) {
        in[0] = k >= 10000 ? 3.0 : k % 3 == 0 ? 1e17 : 0.1 * k;
        FXAVGF_OnFilt(&f, in, out);
    }
    EXPECT_EQ(out[0], 3.0);
    // OnEmpty primes again without moving the slot.
    ASSERT_TRUE(FXAVGF_OnInit(&f, 1, 4));
    for (double x : {1, 1, 1}) in[0] = x, FXAVGF_OnFilt(&f, in, out);
    ASSERT_TRUE(FXAVGF_OnEmpty(&f));
    in[0] = 9;
    FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(out[0] * 10 + f.Pos, 92);
    in[0] = 13;
    FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(f.Buf[0][2] * 1000 + out[0] * 10 + f.Pos, 13103);
    FXAVGF_OnFilt(&f, in, out);
    EXPECT_EQ(f.Pos, 0);
}

TEST(Motion, TrigTablesAreWhatTheGeneratorWrites)
{
    const double samples[][3] = {{0, 1, 0}, {1, 0.9999999999984769, 1.745329251993e-06},
                                 {1000, 0.9999984769132877, 0.001745328365898309}};
    for (const auto& s : samples) EXPECT_EQ(FX_CosAccTable[int(s[0])] * 10 + FX_SinAccTable[int(s[0])], s[1] * 10 + s[2]);
    const double coarse[][2] = {{1, 0.9999984769132877}, {900, 6.1e-17}, {1800, -1}, {2700, -1.84e-16}, {3599, 0.9999984769132877}};
    for (const auto& c : coarse) EXPECT_EQ(FX_CosTable[int(c[0])], c[1]) << c[0];
    std::string generated;
    FILE* pipe = popen(TOLVEX_TRIG_TABLES_GEN, "r");
    ASSERT_NE(pipe, nullptr);
    char chunk[4096];
    for (size_t n; (n = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) generated.append(chunk, n);
    pclose(pipe);
    std::stringstream committed;
    committed << std::ifstream(TOLVEX_TRIG_TABLES_SRC).rdbuf();
    EXPECT_FALSE(generated.empty());
    EXPECT_TRUE(generated == committed.str());
}
