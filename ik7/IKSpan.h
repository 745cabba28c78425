// Joint-7 span probes: how the other joints move when joint 7 is moved a step
// either way from the reference while the flange holds the target pose, and
// the clamp of a joint-7 value into allowed intervals.
#ifndef TOLVEX_IK7_IKSPAN_H
#define TOLVEX_IK7_IKSPAN_H

#include "ik7/IKPoilt7.h"

// Each probe solves T (mm) with FX_IKRef7 at joint 7 = ref[6] (the centre) and
// at ref[6] +- step (degrees), selecting with ref every time, and writes the
// differences side minus centre for joints 1..7 (not wrapped again). A side
// flag is 1 when that side solved (its differences are then written), 0
// otherwise. A failed centre returns 0 and writes neither flags nor outputs.

// Plus side only: 1 with *ok = 1, or 0 with *ok = 0 when the side fails.
unsigned char FX_CALWPosSpan(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* dq,
                             unsigned char* ok);
// Minus side only, as FX_CALWPosSpan.
unsigned char FX_CALWNegSpan(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* dq,
                             unsigned char* ok);
// Both sides: 1 when the centre and at least one side solved.
unsigned char FX_CALWSpan(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* dqPos,
                          double* dqNeg, unsigned char* okPos, unsigned char* okNeg);
// As FX_CALWSpan, but both flags are cleared first and the centre solution
// (eight doubles) is left in q0.
unsigned char FX_CALWSpan2(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* q0,
                           double* dqPos, double* dqNeg, unsigned char* okPos, unsigned char* okNeg);
// As FX_CALWSpan2, solving with FX_IKRef7_With_Config.
unsigned char FX_CALWSpan2_With_Config(IK_Poilt7* ik, double step, double* ref, double T[4][4], double* q0,
                                       double* dqPos, double* dqNeg, unsigned char* okPos,
                                       unsigned char* okNeg);
// Both sides with a step of 0.1 degree; differences scaled by 10 to give the
// change of each joint per degree of joint 7.
unsigned char FX_CALW(IK_Poilt7* ik, double* ref, double T[4][4], double* dqPos, double* dqNeg,
                      unsigned char* okPos, unsigned char* okNeg);

// v when it lies in I1 or I2 (each {lower, upper}, ends included); otherwise
// the nearer of the two points 0.1 inside the end of I1 or I2 that faces v,
// I1 on a tie. I3 never changes the result.
double FX_Axis7_InInterval3(double v, double* I1, double* I2, double* I3);

#endif
