#include "math/FxScalar.h"

#include <cmath>

double FX_Fabs(double x) { return fx_abs(x); }

double my_fabs(double x) { return FX_Fabs(x); }

double FX_Sqrt(double x) { return std::sqrt(x); }

double FX_SIN_ARC(double x) { return std::sin(x); }

double FX_COS_ARC(double x) { return std::cos(x); }

void FX_SIN_COS_ARC(double x, double* s, double* c)
{
    *s = std::sin(x);
    *c = std::cos(x);
}

double FX_SIN_DEG(double x) { return std::sin(x * FX_DEG2RAD); }

double FX_COS_DEG(double x) { return std::cos(x * FX_DEG2RAD); }

void FX_SIN_COS_DEG(double x, double* s, double* c) { FX_SIN_COS_ARC(x * FX_DEG2RAD, s, c); }

double FX_ATan2(double y, double x) { return std::atan2(y, x); }

double FX_ACOS(double x) { return FX_ATan2(FX_Sqrt(1 - x * x), x); }

bool FX_AllFinite(const double* v, int n)
{
    for (int i = 0; i < n; ++i)
        if (!std::isfinite(v[i]))
            return false;
    return true;
}

double fx_turn_remainder_fmod(double x)
{
    // fmod is exact; the loops end on +0 after a whole number of turns.
    const double r = std::fmod(x, 360.0);
    return r == 0.0 && x != 0.0 ? 0.0 : r;
}
