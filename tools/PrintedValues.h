// How the tool reads and prints values: numbers to a fixed count of decimals, a pose
// as x, y, z, A, B, C, the status bytes and limit states in words, and the turn from
// its units (deg, mm) to the robot object's (rad, m) and back. The browser view is
// built from the same file, so both compute from the same bits and show the same digits.
#ifndef TOLVEX_TOOLS_PRINTEDVALUES_H
#define TOLVEX_TOOLS_PRINTEDVALUES_H

#include <string>

// "%.<decimals>f", with "nan", "inf", "-inf", and no "-" on a value that rounds to zero.
std::string formatNumber(double value, int decimals);

// x, y, z (the pose's translation times `toMm`) and A, B, C in degrees.
void poseToXyzabc(double pose[4][4], double toMm, double xyzabc[6]);

// rad[i] = deg[i] in radians, and back.
void degreesToRadians(const double* deg, double* rad, int count);
void radiansToDegrees(const double* rad, double* deg, int count);
// The pose with its translation in metres (from mm), and back in mm (from metres).
void poseToMetres(const double mm[4][4], double metres[4][4]);
void poseToMm(const double metres[4][4], double mm[4][4]);

// The meaning of status byte `flag` (0..2: flag1..flag3) of an inverse solve at `value`;
// flag 3 is the robot object's own check that the joints give the pose back.
const char* ikFlagMeaning(int flag, unsigned char value);

// A PilotJointState in words: "inside", "OUTSIDE: below min", ...
const char* limitStateText(unsigned char state);

#endif
