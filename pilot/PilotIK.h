// Closed-form inverse kinematics of the Pilot arm: joint 4 from the reach, the
// elbow plane from a reference, and the arm frames kept for arm-angle solving.
#ifndef TOLVEX_PILOT_PILOTIK_H
#define TOLVEX_PILOT_PILOTIK_H

#include "pilot/Pilot.h"

// Arm frames of the last inverse-kinematics call at arm angle 0, from which the
// shoulder and wrist joints follow for any arm angle.
struct NSPBase {
    unsigned char variant;   // Pilot variant: 0 Z-Y-Z wrist, 1 Z-Y-X wrist
    int elbow_type;          // +1 / -1, elbow class of the reference joint 4
    double q4;               // solved joint 4, degrees
    double target_rot[9];    // rotation of target x second tool slot, row-major
    double axis_u[3];        // unit vector from the shoulder point to the wrist centre
    double upper_frame[9];   // upper-arm frame, row-major, columns x, y, z (z along the upper arm)
    double fore_frame[9];    // forearm frame, row-major, columns x, y, z (z along the forearm)
};

// Joints (degrees) for the tool pose `target` (mm); ref joint 4 picks the elbow
// branch, ref joints 1 and 2 the elbow plane. Returns 1 when `out` holds seven
// joints. flag1: out of reach, no elbow branch, or no elbow plane (a zero, NaN
// or shoulder-wrist-parallel plane vector, NaN ref joints 1-2); flag2, flag3:
// shoulder and wrist singular or not finite (NaN ref joints 3, 5-7).
unsigned char FX_InvKine_Pilot(Pilot* pilot, double* ref, double target[4][4], NSPBase* nbase,
                               double* out, unsigned char* flag1, unsigned char* flag2,
                               unsigned char* flag3);
// As FX_InvKine_Pilot, with the elbow plane given by the base-frame direction `dir`.
unsigned char FX_InvKine_PilotDir(Pilot* pilot, double* ref, double target[4][4], double* dir,
                                  NSPBase* nbase, double* out, unsigned char* flag1,
                                  unsigned char* flag2, unsigned char* flag3);
// Meeting point (x, y) of the line through (0, 0) at angle 1 and the line through
// (d, 0) at angle 2, each angle given by its cosine and sine. When a cosine is
// below 1e-8 the point is found by dividing by the other line's slope.
void FX_SolveTrange2D(double d, double c1, double s1, double c2, double s2, double out[2]);

#endif
