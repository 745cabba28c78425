// Inverse kinematics of the seven-axis arm with joint 7 held at a given angle:
// up to eight joint rows (two elbows x two wrists x shoulder and its twin).
#ifndef TOLVEX_IK7_IKLOCK7_H
#define TOLVEX_IK7_IKLOCK7_H

#include "ik7/IKPoilt7.h"

// A solution row holds joints 1..7 in degrees in entries 0..6 (entry 6 is the
// held q7) and, in entry 7, 1.0 when the shoulder was degenerate (joint 2 near
// 0; joint 1 then carries the shoulder's whole z rotation with its sign
// reversed and joint 3 is 0) or 0.0 otherwise.

// Solves the flange pose T (mm) with joint 7 at q7 (degrees) into sol (room
// for eight rows); *count becomes 4 or 8. Returns 0 when the wrist is out of
// reach (also for a NaN or infinite T or q7) or neither elbow admits a wrist,
// leaving count and sol untouched.
// Targets nearer the shoulder than the elbow can fold are not rejected: their
// rows come out NaN.
unsigned char FX_IKLock7(IK_Poilt7* ik, double q7, double T[4][4], long* count, double sol[][8]);

// FX_IKLock7 after clearing flags[0..7]; the flags are not written otherwise.
unsigned char FX_IKLock7_ALL(IK_Poilt7* ik, double q7, double T[4][4], long* count, double sol[][8],
                             unsigned char* flags);

// Solves only the elbow branch on the side of ref[3] (joint 4 of a reference
// vector of seven joints): four rows, *count = 4. Returns 0 (outputs
// untouched) when out of reach, ref[3] is NaN or that elbow admits no wrist.
unsigned char FX_IKLock7_With_Config(IK_Poilt7* ik, double q7, double* ref, double T[4][4], long* count,
                                     double sol[][8]);

#endif
