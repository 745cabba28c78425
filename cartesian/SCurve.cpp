#include "cartesian/SCurve.h"

#include <cmath>

namespace {

bool Positive(double x) { return x > 0 && std::isfinite(x); }

// Distance covered by time t <= duration / 2; the second half mirrors it.
double FirstHalf(const SCurve& c, double t)
{
    const double tj = c.jerk_time;
    if (t <= tj)
        return c.jerk * t * t * t / 6;
    const double ramp_end = c.speed * c.ramp_time / 2;
    if (t <= c.ramp_time - tj) {
        const double tau = t - tj;
        return c.jerk * tj * tj * tj / 6 + c.jerk * tj * tj / 2 * tau + c.acc * tau * tau / 2;
    }
    if (t <= c.ramp_time) {
        // The ramp is point-symmetric about its middle: count back from its end.
        const double back = c.ramp_time - t;
        return ramp_end - c.speed * back + c.jerk * back * back * back / 6;
    }
    return ramp_end + c.speed * (t - c.ramp_time);
}

}  // namespace

bool FX_SCurvePlan(SCurve* curve, double length, double speed, double acc, double jerk)
{
    if (curve == nullptr || !Positive(length) || !Positive(speed) || !Positive(acc) || !Positive(jerk))
        return false;
    SCurve c{length, jerk, 0, 0, 0, 0, speed};
    if (speed * jerk >= acc * acc) {
        c.jerk_time = acc / jerk;
        c.ramp_time = c.jerk_time + speed / acc;
    } else {
        c.jerk_time = std::sqrt(speed / jerk);
        c.ramp_time = 2 * c.jerk_time;
    }
    double cruise = length / speed - c.ramp_time;
    if (cruise < 0) {
        // Too short to reach the speed limit: ramp up and straight down again.
        cruise = 0;
        c.jerk_time = acc / jerk;
        c.ramp_time = (c.jerk_time + std::sqrt(c.jerk_time * c.jerk_time + 4 * length / acc)) / 2;
        if (c.ramp_time < 2 * c.jerk_time) {
            c.jerk_time = std::cbrt(length / (2 * jerk));
            c.ramp_time = 2 * c.jerk_time;
        }
        c.speed = length / c.ramp_time;
    }
    c.acc = jerk * c.jerk_time;
    c.duration = 2 * c.ramp_time + cruise;
    if (!Positive(c.duration) || !Positive(c.speed))
        return false;
    *curve = c;
    return true;
}

double FX_SCurvePosition(const SCurve* curve, double t)
{
    if (!(t > 0))
        return 0;
    if (t >= curve->duration)
        return curve->length;
    if (t <= curve->duration / 2)
        return FirstHalf(*curve, t);
    return curve->length - FirstHalf(*curve, curve->duration - t);
}
