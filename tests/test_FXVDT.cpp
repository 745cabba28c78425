#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "motion/FXVDT.h"

namespace {

// 1 ms cycle, 100 u/s, 1000 u/s^2, already jumped onto `start`.
FXVDT running_at(double start)
{
    FXVDT v{};
    EXPECT_EQ(1, FXVDT_OnInit(&v, 1, 100, 1000));
    double out = -1;
    EXPECT_EQ(1, FXVDT_OnDT_B(&v, start, &out));
    return v;
}

}  // namespace

TEST(FXVDT, SignOfZeroAndNaNIsZero)
{
    EXPECT_EQ(1.0, FXVDT_i_sign(1e-300));
    EXPECT_EQ(-1.0, FXVDT_i_sign(-1e-300));
    EXPECT_EQ(0.0, FXVDT_i_sign(0.0));
    EXPECT_EQ(0.0, FXVDT_i_sign(-0.0));
    EXPECT_EQ(0.0, FXVDT_i_sign(std::numeric_limits<double>::quiet_NaN()));
}

TEST(FXVDT, SetUpBoundsAreInclusive)
{
    FXVDT v{};
    EXPECT_EQ(1, FXVDT_OnInit(&v, 1, 0.1, 0.01));
    EXPECT_EQ(1, FXVDT_OnInit(&v, 1000, 5000, 50000));
    EXPECT_EQ(1, v.ready);
    EXPECT_EQ(1, v.reset);
    EXPECT_EQ(1.0, v.cycle);
    EXPECT_EQ(1.0, v.period);
    EXPECT_EQ(0.01, v.h);
    EXPECT_EQ(5000, v.vmax);
    EXPECT_EQ(5000, v.vmax_target);
    EXPECT_EQ(50000.0, v.acc_step);

    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double rejected[][3] = {{0.5, 10, 10},  {1001, 10, 10}, {10, 0.09, 10},
                                  {10, 5001, 10}, {10, 10, 0.009}, {10, 10, 50001},
                                  {nan, 10, 10}};
    for (const auto& args : rejected) {
        FXVDT_OnInit(&v, 1, 10, 10);
        EXPECT_EQ(0, FXVDT_OnInit(&v, args[0], args[1], args[2]))
            << args[0] << " " << args[1] << " " << args[2];
        EXPECT_EQ(0, v.ready);
    }

    // Not ready: every operation refuses and leaves the record as it is.
    FXVDT before;
    std::memcpy(&before, &v, sizeof v);
    double out = 123;
    EXPECT_EQ(0, FXVDT_OnDT_B(&v, 5, &out));
    EXPECT_EQ(0, FXVDT_OnEmpty(&v));
    EXPECT_EQ(0, FXVDT_OnS(&v));
    EXPECT_EQ(0, FXVDT_OnV(&v));
    EXPECT_EQ(0, FXVDT_OnU(&v, 3));
    EXPECT_EQ(0, FXVDT_OnSetRunTimeLmt(&v, 50, 50));
    EXPECT_EQ(123, out);
    EXPECT_EQ(0, std::memcmp(&before, &v, sizeof v));
}

TEST(FXVDT, FirstStepAndStepAfterEmptyJumpOntoTheTarget)
{
    FXVDT v{};
    ASSERT_EQ(1, FXVDT_OnInit(&v, 1, 100, 1000));
    double out = 0;
    ASSERT_EQ(1, FXVDT_OnDT_B(&v, 10.0, &out));
    EXPECT_EQ(10.0, out);
    EXPECT_EQ(10.0, v.pos);
    EXPECT_EQ(0.0, v.vel);
    EXPECT_EQ(0, v.reset);

    FXVDT_OnDT_B(&v, 20.0, &out);
    EXPECT_LT(out, 20.0);
    ASSERT_EQ(1, FXVDT_OnEmpty(&v));
    FXVDT_OnDT_B(&v, -7.5, &out);
    EXPECT_EQ(-7.5, out);
    EXPECT_EQ(0.0, v.vel);
}

TEST(FXVDT, SingleStepsMatchTheTrackingLawByHand)
{
    // Far target, from rest: r = 1000, h = 0.01, d = 10, |y| = 10 > h*d, so the
    // command saturates at +r and the velocity gains r*T = 1 before the move.
    FXVDT v = running_at(0);
    double out = 0;
    FXVDT_OnDT_B(&v, 10, &out);
    EXPECT_EQ(1.0, v.vel);
    EXPECT_EQ(0.001, out);

    // Near target, from rest: |y| = 0.05 <= h*d gives a = y/h = -5, u = -r*a/d = 500.
    v = running_at(0);
    FXVDT_OnDT_B(&v, 0.05, &out);
    EXPECT_DOUBLE_EQ(0.5, v.vel);
    EXPECT_DOUBLE_EQ(0.0005, out);

    // On the target and at rest the command is zero: nothing moves, ever.
    v = running_at(3.25);
    for (int k = 0; k < 100; ++k) {
        FXVDT_OnDT_B(&v, 3.25, &out);
        ASSERT_EQ(3.25, out);
        ASSERT_EQ(0.0, v.vel);
    }
}

TEST(FXVDT, FarTargetIsTrackedWithinLimitsWithoutOvershoot)
{
    for (double target : {50.0, -50.0}) {
        FXVDT v = running_at(0);
        const double dv_max = 1000 * 0.001 * (1 + 1e-12);
        double out = 0, prev_vel = 0;
        bool saturated = false;
        for (int k = 0; k < 3000; ++k) {
            const double prev_pos = v.pos;
            FXVDT_OnDT_B(&v, target, &out);
            ASSERT_LE(std::fabs(v.vel - prev_vel), dv_max) << k;
            ASSERT_LE(std::fabs(v.vel), 100.0) << k;
            // Semi-implicit Euler: the move uses the new velocity.
            ASSERT_DOUBLE_EQ(prev_pos + 0.001 * v.vel, out);
            ASSERT_LE(std::fabs(out), std::fabs(target) + 1e-9) << k;
            saturated = saturated || std::fabs(v.vel) == 100.0;
            prev_vel = v.vel;
        }
        EXPECT_TRUE(saturated);
        EXPECT_NEAR(target, out, 1e-9);
        EXPECT_NEAR(0.0, v.vel, 1e-6);
    }
}

TEST(FXVDT, LoweredLimitBrakesAtFullDecelerationWhateverTheTarget)
{
    for (double dir : {1.0, -1.0}) {
        FXVDT v = running_at(0);
        double out = 0;
        while (std::fabs(v.vel) < 80)
            FXVDT_OnDT_B(&v, dir * 1000, &out);
        ASSERT_EQ(80.0, std::fabs(v.vel));

        ASSERT_EQ(1, FXVDT_OnSetRunTimeLmt(&v, 20, 1000));
        EXPECT_EQ(1, v.slowing);
        EXPECT_EQ(100.0, v.vmax);
        EXPECT_EQ(20.0, v.vmax_target);

        // The target lies ahead, yet the speed falls by acc*T = 1 per step; at
        // exactly 20 the axis is still braking, below it the limit becomes 20.
        for (double speed = 79; speed >= 19; --speed) {
            FXVDT_OnDT_B(&v, dir * 1000, &out);
            ASSERT_EQ(dir * speed, v.vel);
            ASSERT_EQ(speed >= 20 ? 1 : 0, v.slowing) << speed;
        }
        EXPECT_EQ(20.0, v.vmax);
        for (int k = 0; k < 10; ++k)
            FXVDT_OnDT_B(&v, dir * 1000, &out);
        EXPECT_EQ(dir * 20.0, v.vel);
    }
}

TEST(FXVDT, RunTimeLimitDeadBandAndImmediateChanges)
{
    FXVDT v = running_at(0);
    FXVDT before;
    std::memcpy(&before, &v, sizeof v);
    EXPECT_EQ(1, FXVDT_OnSetRunTimeLmt(&v, 100.05, 1000.05));
    EXPECT_EQ(0, std::memcmp(&before, &v, sizeof v));

    // Raising the limit, or lowering it above the current speed, takes effect at once.
    EXPECT_EQ(1, FXVDT_OnSetRunTimeLmt(&v, 300, 2000));
    EXPECT_EQ(300.0, v.vmax);
    EXPECT_EQ(300.0, v.vmax_target);
    EXPECT_EQ(2000.0, v.acc);
    EXPECT_EQ(0.001 * 2000 * 0.001, v.acc_step);
    EXPECT_EQ(0, v.slowing);

    // The dead band is strict: a change of exactly 0.1 applies. No range check here.
    FXVDT w{};
    ASSERT_EQ(1, FXVDT_OnInit(&w, 1, 0.1, 10));
    EXPECT_EQ(1, FXVDT_OnSetRunTimeLmt(&w, 0.2, 10));
    EXPECT_EQ(0.2, w.vmax);
    EXPECT_EQ(1, FXVDT_OnSetRunTimeLmt(&w, 1e6, 1e6));
    EXPECT_EQ(1e6, w.vmax);
}

TEST(FXVDT, SnapshotRestoreAndFollow)
{
    FXVDT v = running_at(1);
    double out = 0;
    for (int k = 0; k < 30; ++k)
        FXVDT_OnDT_B(&v, 100, &out);
    FXVDT_OnSetRunTimeLmt(&v, 10, 1000);
    ASSERT_EQ(1, FXVDT_OnS(&v));
    FXVDT snap;
    std::memcpy(&snap, &v, sizeof v);
    for (int k = 0; k < 30; ++k)
        FXVDT_OnDT_B(&v, 100, &out);
    ASSERT_NE(snap.slowing, v.slowing);
    ASSERT_EQ(1, FXVDT_OnV(&v));
    EXPECT_EQ(0, std::memcmp(&snap, &v, sizeof v));

    ASSERT_EQ(1, FXVDT_OnU(&v, v.pos + 0.004));
    EXPECT_DOUBLE_EQ(4.0, v.vel);
    EXPECT_EQ(snap.pos + 0.004, v.pos);
}
