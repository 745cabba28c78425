// A jerk-limited rest-to-rest profile of one coordinate: jerk +j, 0, -j up to
// the peak speed, a cruise, and the mirror image down to rest. Its duration is
// known when it is planned, and every point of it is a closed-form expression.
#ifndef TOLVEX_CARTESIAN_SCURVE_H
#define TOLVEX_CARTESIAN_SCURVE_H

struct SCurve {
    double length;      // distance from rest to rest, u
    double jerk;        // jerk of the ramps, u/s^3
    double jerk_time;   // length of one constant-jerk phase, s
    double ramp_time;   // rest to peak speed, s (two jerk phases and the constant-acceleration phase)
    double duration;    // the whole profile, s
    double acc;         // peak acceleration, u/s^2
    double speed;       // peak speed, u/s
};

// The fastest profile over `length` within the three limits. False (record
// untouched) unless every argument is positive and finite and so is the duration.
bool FX_SCurvePlan(SCurve* curve, double length, double speed, double acc, double jerk);
// Distance covered at time t (clamped to the profile); exactly `length` from the end on.
double FX_SCurvePosition(const SCurve* curve, double t);

#endif
