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

void degreesToRadians(const double* deg, double* rad, int count)
{
    for (int i = 0; i < count; ++i)
        rad[i] = deg[i] * FX_DEG2RAD;
}

void radiansToDegrees(const double* rad, double* deg, int count)
{
    for (int i = 0; i < count; ++i)
        deg[i] = rad[i] * FX_RAD2DEG;
}

namespace {

void scalePose(const double from[4][4], double factor, double to[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            to[r][c] = c == 3 && r < 3 ? from[r][c] * factor : from[r][c];
}

}  // namespace

void poseToMetres(const double mm[4][4], double metres[4][4])
{
    scalePose(mm, 0.001, metres);
}

void poseToMm(const double metres[4][4], double mm[4][4])
{
    scalePose(metres, 1000.0, mm);
}

const char* ikFlagMeaning(int flag, unsigned char value)
{
    static const char* const kMeaning[4][2] = {
        {"reachable, elbow branch as in the reference",
         "out of reach, or no elbow branch matches the reference joint 4"},
        {"shoulder regular", "shoulder singular: joints 1-3 averaged from arm angles +/-1 deg"},
        {"wrist regular", "wrist singular: joints 5-7 averaged from arm angles +/-1 deg"},
        {"the joints give the pose back", "the joints found miss the pose (elbow folded flat)"}};
    return flag >= 0 && flag < 4 ? kMeaning[flag][value ? 1 : 0] : "?";
}

const char* limitStateText(unsigned char state)
{
    static const char* const kText[5] = {"inside", "OUTSIDE: below min", "OUTSIDE: above max",
                                         "OUTSIDE: q6/q7 beyond the corner curve", "not a number"};
    return state < 5 ? kText[state] : "?";
}
