// Recursive Newton-Euler inverse dynamics of the FX_Pilot link chain, on the
// lumped parameter sums and the transforms cached by the first call.
#ifndef TOLVEX_DYNAMICS_FXINVDYN_H
#define TOLVEX_DYNAMICS_FXINVDYN_H

#include "dynamics/FxChain.h"

// Joint torques tau[0..n-1] (N*m) for positions q, velocities qd and
// accelerations qdd (n entries each). Only g[1] is read: gravity acts along
// the base y axis. wrench is force then moment (6 doubles) exerted by the
// tool, in the tool frame. q is read only while p->kin_cached is 0; clear it
// to evaluate a new posture. No rotor inertia term. Writes nothing for n > 7.
void FX_InvDyn(FX_Pilot* p, double* q, double* qd, double* qdd, double* g, double* wrench,
               double* tau);

#endif
