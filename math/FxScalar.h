// Scalar and angle helpers: absolute value, square root and trigonometry in
// radians (_ARC) and degrees (_DEG). No domain guards: NaN propagates.
#ifndef TOLVEX_MATH_FXSCALAR_H
#define TOLVEX_MATH_FXSCALAR_H

// Degrees to radians, radians to degrees, millimetres to metres.
constexpr double FX_DEG2RAD = 0.017453292519943295;
constexpr double FX_RAD2DEG = 57.29577951308232;
constexpr double FX_MM2M = 0.001;

double FX_Fabs(double x);    // x >= 0 ? x : -x (so -0.0 stays -0.0)
inline double fx_abs(double x) { return x >= 0 ? x : -x; }  // FX_Fabs, inline for the per-cycle loops
double my_fabs(double x);    // same as FX_Fabs
double FX_Sqrt(double x);    // NaN for x < 0, -0.0 for -0.0
double FX_SIN_ARC(double x);
double FX_COS_ARC(double x);
void FX_SIN_COS_ARC(double x, double* s, double* c);
double FX_SIN_DEG(double x); // sin(x * FX_DEG2RAD)
double FX_COS_DEG(double x);
void FX_SIN_COS_DEG(double x, double* s, double* c);
double FX_ATan2(double y, double x);  // radians in [-pi, pi]
double FX_ACOS(double x);             // FX_ATan2(FX_Sqrt(1 - x*x), x); NaN for |x| > 1

// True when none of v[0..n-1] is NaN or infinite.
bool FX_AllFinite(const double* v, int n);

// Whole-turn wrapping in degrees, in bounded time. Each gives the same double
// as the loop it names wherever that loop steps by 360 exactly (|x| < 2^56,
// far beyond where it ends in practice); beyond, the exact remainder; a
// non-finite x gives NaN (the loop would never end on an infinity).
// Inline, because the solution selection wraps some seventy angles a call: within a
// turn (|x| < 360, the usual case) the remainder is x itself, as fmod gives it, and
// no library call is made.
double fx_turn_remainder_fmod(double x);  // the remainder by fmod; any x

// x less whole turns, sign of x, in (-360, 360); a whole turn gives +0
inline double FX_TurnRemainder(double x) { return x > -360.0 && x < 360.0 ? x : fx_turn_remainder_fmod(x); }

// while x >= 180: x -= 360; while x <= -180: x += 360 -> (-180, 180]
inline double FX_WrapHalfOpen(double x)
{
    double r = FX_TurnRemainder(x);
    if (r >= 180.0)
        r -= 360.0;
    if (r <= -180.0)
        r += 360.0;
    return r;
}

// while x > 180: x -= 360; while x < -180: x += 360 -> [-180, 180]
inline double FX_WrapClosed(double x)
{
    double r = FX_TurnRemainder(x);
    if (r > 180.0)
        r -= 360.0;
    else if (r < -180.0)
        r += 360.0;
    return r;
}

#endif
