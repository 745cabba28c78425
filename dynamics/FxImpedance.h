// Impedance-control helpers: tool pose and flange Jacobian of the FX_Pilot
// chain, and the pose error between two poses in mm and degrees.
#ifndef TOLVEX_DYNAMICS_FXIMPEDANCE_H
#define TOLVEX_DYNAMICS_FXIMPEDANCE_H

#include "dynamics/FxChain.h"

struct Impd_Process_Data {
    double q[7];            // joint positions, rad (input)
    double pose[4][4];      // tool pose in the base frame, m (output)
    double J[6][7];         // rows 0-2 linear (m/s per rad/s), 3-5 angular, base frame
    double JT[7][6];        // transpose of J
    unsigned char jacob_ok; // 1 once pose, J and JT are fresh
};

// pose = FX_KINE of d->q (tool included); J is the geometric Jacobian of the
// flange origin, so a tool does not enter it. Only n columns are written;
// nothing at all unless 1 <= n <= 7.
void FX_Impd_Process_Jacob(Impd_Process_Data* d, FX_Pilot* p);

// e = (dx, dy, dz) in mm and the x, y, z angles (degrees) of the Z-Y-X
// decomposition of T1 * inverse(T0).
void FX_M44ToM44(double T0[4][4], double T1[4][4], double* e);

#endif
