// Joint-space mass matrix of the FX_Pilot chain by unit accelerations, with
// the reflected rotor inertias on the diagonal. Fixed size 7.
#ifndef TOLVEX_DYNAMICS_FXMASSMATRIX_H
#define TOLVEX_DYNAMICS_FXMASSMATRIX_H

#include "dynamics/FxChain.h"

// Torques out[j..n-1] for accelerations qdd with the chain at rest and no
// gravity, links before j held still; out[i] includes rotor_inertia * qdd[i].
// out[0..j-1] are not written; nothing is written when j < 0, j >= n or n > 7.
void FX_MMatInvDyn(FX_Pilot* p, double* q, double* qdd, long j, double* out);

// M (kg*m^2), exactly symmetric, at the cached posture (q is read only while
// p->kin_cached is 0). e: 7 zeros on entry, 7 zeros again on return.
void FX_CalMmat(FX_Pilot* p, double* q, double* e, double M[7][7]);

#endif
