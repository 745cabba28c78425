// Coriolis/centrifugal matrix of the seven-joint FX_Pilot chain: posture
// coefficients from unit-velocity Newton-Euler runs, then C(q, qd) per velocity.
#ifndef TOLVEX_DYNAMICS_FXCORIOLIS_H
#define TOLVEX_DYNAMICS_FXCORIOLIS_H

#include "dynamics/FxChain.h"

// Outward state of one unit-velocity run (111 doubles).
struct FX_CM_DPART_BUF {
    double w[7][3];   // angular velocity of each link, rad/s, link frame
    double wd[7][3];  // angular acceleration, rad/s^2, link frame
    double vd[7][3];  // linear acceleration of each frame origin, m/s^2
    double F[8][3];   // link force, N; entry 7 is the zero tip entry
    double N[8][3];   // link moment about the frame origin, N*m; entry 7 zero
};

// Velocity-product coefficients of one posture.
struct FX_CM_YTC_BUF {
    double mixed[7][7][7];  // [j][k][i], j < k only: half coefficient of qd_j*qd_k in tau_i
    double square[7][7];    // [i][j]: coefficient of qd_j^2 in tau_i
};

// Single-joint runs of the last FX_CalCmatDPT_Q, one per joint (not re-entrant).
extern FX_CM_DPART_BUF s_cdb_tmp[7];

// Newton-Euler with velocities qd (e_j), no acceleration, gravity or wrench;
// links before j at rest. The state of every link is left in buf; out[i] is
// the z moment of joint i for all i. Nothing is written unless 0 <= j <= 7
// and n <= 7 (likewise for k below).
void FX_CMatInvDyn_A(FX_Pilot* p, double* q, double* qd, double* out, long j,
                     FX_CM_DPART_BUF* buf);
// Same with qd = e_j + e_k, reusing the run of joint j < k in buf (not
// modified) for the links before k.
void FX_CMatInvDyn_B(FX_Pilot* p, double* q, double* qd, double* out, long k,
                     FX_CM_DPART_BUF* buf);
// Fills square and mixed for the cached posture (q read only while
// p->kin_cached is 0); overwrites s_cdb_tmp.
void FX_CalCmatDPT_Q(FX_Pilot* p, double* q, FX_CM_YTC_BUF* y);
// FX_CalCmatDPT_Q with the single-joint runs kept in the caller's seven buffers
// instead of s_cdb_tmp, so that callers with their own buffers may run in parallel.
void FX_CalCmatDPT_QWith(FX_Pilot* p, double* q, FX_CM_YTC_BUF* y, FX_CM_DPART_BUF single_runs[7]);
// C with C*qd the velocity-product torques; D and S are 7x7 work matrices.
void FX_CalCmat_DPT_QD(FX_CM_YTC_BUF* y, double* qd, double D[7][7], double S[7][7],
                       double C[7][7]);

#endif
