// How the tool prints a result: numbers to a fixed count of decimals, a pose as
// x, y, z, A, B, C, the status bytes and limit states in words. The browser view
// is built from the same file, so both show the same digits and words.
#ifndef TOLVEX_TOOLS_PRINTEDVALUES_H
#define TOLVEX_TOOLS_PRINTEDVALUES_H

#include <string>

// "%.<decimals>f", with "nan", "inf", "-inf", and no "-" on a value that rounds to zero.
std::string formatNumber(double value, int decimals);

// x, y, z (the pose's translation times `toMm`) and A, B, C in degrees.
void poseToXyzabc(double pose[4][4], double toMm, double xyzabc[6]);

// The meaning of status byte `flag` (0..2: flag1..flag3) of an inverse solve at `value`.
const char* ikFlagMeaning(int flag, unsigned char value);

// A PilotJointState in words: "inside", "OUTSIDE: below min", ...
const char* limitStateText(unsigned char state);

#endif
