#include "tools/PrintedValues.h"

#include <cmath>
#include <cstdio>

#include "math/FxPose.h"
#include "math/FxScalar.h"

std::string formatNumber(double value, int decimals)
{
    if (std::isnan(value))
        return "nan";
    if (std::isinf(value))
        return value > 0 ? "inf" : "-inf";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    std::string s = text;
    // A tiny negative value rounds to "-0.000"; print it as zero.
    if (s[0] == '-' && s.find_first_not_of("-0.") == std::string::npos)
        s.erase(0, 1);
    return s;
}

void poseToXyzabc(double pose[4][4], double toMm, double xyzabc[6])
{
    // The extraction returns A, B, C in radians.
    FX_Matrix42XYZABCDEG(pose, xyzabc);
    // Adding 0.0 turns a negative zero into 0, so no "-0" is printed.
    for (int i = 0; i < 3; ++i) {
        xyzabc[i] = xyzabc[i] * toMm + 0.0;
        xyzabc[3 + i] = xyzabc[3 + i] * FX_RAD2DEG + 0.0;
    }
}

const char* ikFlagMeaning(int flag, unsigned char value)
{
    static const char* const kMeaning[3][2] = {
        {"reachable, elbow branch as in the reference",
         "out of reach, or no elbow branch matches the reference joint 4"},
        {"shoulder regular", "shoulder singular: joints 1-3 averaged from arm angles +/-1 deg"},
        {"wrist regular", "wrist singular: joints 5-7 averaged from arm angles +/-1 deg"}};
    return flag >= 0 && flag < 3 ? kMeaning[flag][value ? 1 : 0] : "?";
}

const char* limitStateText(unsigned char state)
{
    static const char* const kText[5] = {"inside", "OUTSIDE: below min", "OUTSIDE: above max",
                                         "OUTSIDE: q6/q7 beyond the corner curve", "not a number"};
    return state < 5 ? kText[state] : "?";
}
