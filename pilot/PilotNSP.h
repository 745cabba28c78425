// Shoulder (joints 1-3) and wrist (joints 5-7) of the Pilot arm for any arm
// angle, turning the frames kept in an NSPBase about the shoulder-wrist axis.
#ifndef TOLVEX_PILOT_PILOTNSP_H
#define TOLVEX_PILOT_PILOTNSP_H

#include "pilot/PilotIK.h"

// Each solver writes its three joints (degrees) nearest to `ref` and returns 1;
// flag is 1 when the frame at `arm_angle` (degrees) is singular and the joints are
// averaged from arm_angle +/- 1. Returns 0 when a neighbour is singular as well,
// or, with flag 1, when the joints are not finite (NaN or infinite angle or ref).
unsigned char FX_SolveJ123ZNYZ(NSPBase* nbase, double arm_angle, double* ref, double* out,
                               unsigned char* flag);
// Variant-0 wrist: in the regular case always the (alpha + 180, beta, gamma + 180) solution.
unsigned char FX_SolveJ567ZNYZ(NSPBase* nbase, double arm_angle, double* ref, double* out,
                               unsigned char* flag);
unsigned char FX_SolveJ567ZNYX(NSPBase* nbase, double arm_angle, double* ref, double* out,
                               unsigned char* flag);
// All seven joints at `arm_angle`; flag1 is cleared and never set.
unsigned char FX_InvKine_Pilot_NSP(NSPBase* nbase, double arm_angle, double* ref, double* out,
                                   unsigned char* flag1, unsigned char* flag2,
                                   unsigned char* flag3);

#endif
