#include "cartesian/PathTiming.h"

#include <cmath>

namespace {

constexpr double kStep = 1.0 / CART_NODES;

// sigma gained from the start of segment j to its local parameter x in [0, 1]:
// the integral of the three B-spline bases weighted by their control values.
double Gain(const double* p, double x)
{
    const double y = 1 - x;
    const double b0 = (1 - y * y * y) / 6, b1 = x * (3 + x * (3 - 2 * x)) / 6, b2 = x * x * x / 6;
    return kStep * (p[0] * b0 + p[1] * b1 + p[2] * b2);
}

// w at local parameter x of segment j.
double Rate(const double* p, double x)
{
    const double y = 1 - x;
    return 0.5 * (p[0] * y * y + p[1] * (1 + 2 * x * y) + p[2] * x * x);
}

}  // namespace

void FX_PathTimingWarp(PathTiming* timing, const double need[CART_NODES + 1], double slope)
{
    // Control value m weighs segments m-2..m: cover every node they touch.
    double* p = timing->control;
    for (int m = 0; m < CART_NODES + 2; ++m) {
        p[m] = 0;
        for (int j = m - 2; j <= m + 1; ++j)
            p[m] = std::fmax(p[m], need[j < 0 ? 0 : j > CART_NODES ? CART_NODES : j]);
    }
    // The allowed speed 1/w may rise and fall only so fast along the path.
    const double rise = slope * kStep;
    for (int m = 1; m < CART_NODES + 2; ++m)
        p[m] = 1 / std::fmin(1 / p[m], 1 / p[m - 1] + rise);
    for (int m = CART_NODES; m >= 0; --m)
        p[m] = 1 / std::fmin(1 / p[m], 1 / p[m + 1] + rise);
    timing->sigma[0] = 0;
    for (int j = 0; j < CART_NODES; ++j)
        timing->sigma[j + 1] = timing->sigma[j] + Gain(p + j, 1.0);
}

double FX_PathTimingAtSigma(const PathTiming* timing, double sigma)
{
    const double* z = timing->sigma;
    if (!(sigma > 0))
        return 0;
    if (sigma >= z[CART_NODES])
        return 1;
    int lo = 0, hi = CART_NODES;  // z[lo] <= sigma < z[hi]
    while (hi - lo > 1) {
        const int mid = (lo + hi) / 2;
        (z[mid] <= sigma ? lo : hi) = mid;
    }
    // Newton on the segment's cubic, kept inside its bracket.
    const double* p = timing->control + lo;
    const double want = sigma - z[lo];
    double a = 0, b = 1, x = want / (z[lo + 1] - z[lo]);
    for (int iter = 0; iter < 50; ++iter) {
        const double f = Gain(p, x) - want;
        (f > 0 ? b : a) = x;
        double next = x - f / (kStep * Rate(p, x));
        if (!(next > a && next < b))
            next = 0.5 * (a + b);
        if (next == x || b - a <= 4e-16)
            break;
        x = next;
    }
    return (lo + x) * kStep;
}

double FX_PathTimingAt(const PathTiming* timing, double t)
{
    const double profile_time = t * timing->time_scale;
    if (profile_time >= timing->curve.duration)
        return 1;
    return FX_PathTimingAtSigma(timing, FX_SCurvePosition(&timing->curve, profile_time));
}
