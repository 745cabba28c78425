// Internal steps shared by the Newton-Euler routines (inverse dynamics, mass
// and Coriolis matrices) and by the tool set-up of the link chain.
#ifndef TOLVEX_DYNAMICS_FXNEWTONEULER_H
#define TOLVEX_DYNAMICS_FXNEWTONEULER_H

#include "dynamics/FxChain.h"
#include "math/FxMatrix.h"
#include "math/FxRigid.h"

// Joint-velocity magnitude at or below which the Coriolis cross term of the
// angular acceleration is skipped.
constexpr double NE_QD_EPS = 1e-6;

// Rebuilds dyn_inertia/dyn_moment from scratch: the tool stored in links[7]
// lumped onto links 1-3, 5 and 6 for the seven-joint geometry, plus each
// joint's own parameters. dyn_ready is left to the caller.
static inline void NE_BuildParamSums(FX_Pilot* p)
{
    for (int i = 0; i < 8; ++i) {
        for (int k = 0; k < 6; ++k) p->dyn_inertia[i][k] = 0.0;
        for (int k = 0; k < 4; ++k) p->dyn_moment[i][k] = 0.0;
    }
    const double m = p->links[7].mass;
    const double* c = p->links[7].com;
    const double* I = p->links[7].inertia;
    const double d2 = p->links[2].d;
    const double a3 = p->links[3].a;
    const double a4 = p->links[4].a;
    const double d4 = p->links[4].d;

    p->dyn_inertia[1][0] = (d2 * d2 + a3 * a3) * m;
    p->dyn_inertia[1][5] = (d2 * d2 + a3 * a3) * m;
    p->dyn_inertia[2][0] = (a4 * a4 - a3 * a3) * m;
    p->dyn_inertia[2][5] = (a3 * a3 + a4 * a4) * m;
    p->dyn_inertia[3][0] = (d4 * d4 - a4 * a4) * m;
    p->dyn_inertia[3][1] = -a4 * d4 * m;
    p->dyn_inertia[3][5] = (a4 * a4 + d4 * d4) * m;
    p->dyn_inertia[5][0] = I[3];
    p->dyn_inertia[5][5] = I[3];
    p->dyn_inertia[6][0] = I[0] - I[3];
    p->dyn_inertia[6][1] = I[1];
    p->dyn_inertia[6][2] = I[2];
    p->dyn_inertia[6][4] = I[4];
    p->dyn_inertia[6][5] = I[5];
    p->dyn_moment[1][1] = d2 * m;
    p->dyn_moment[2][0] = a3 * m;
    p->dyn_moment[3][0] = a4 * m;
    p->dyn_moment[3][1] = d4 * m;
    p->dyn_moment[5][1] = c[2];
    p->dyn_moment[6][0] = c[0];
    p->dyn_moment[6][1] = c[1];

    for (int i = 0; i < p->n; ++i) {
        FX_VectAdd(p->links[i].com, 3, p->dyn_moment[i], p->dyn_moment[i]);
        FX_VectAdd(p->links[i].inertia, 6, p->dyn_inertia[i], p->dyn_inertia[i]);
    }
}

// Parameter sums if stale, and the link transforms (with transposes) of q
// unless a posture is already cached; once cached, q is not read.
static inline void NE_Prepare(FX_Pilot* p, double* q)
{
    if (p->dyn_ready == 0) {
        NE_BuildParamSums(p);
        p->dyn_ready = 1;
    }
    if (p->kin_cached == 0) {
        for (int i = 0; i < p->n; ++i) {
            FX_Tmat(&p->links[i], q[i]);
            fx_copy44(p->links[i].T, p->local_T[i]);
            for (int r = 0; r < 4; ++r)
                for (int c = 0; c < 4; ++c) p->local_Tt[i][r][c] = p->local_T[i][c][r];
        }
        p->kin_cached = 1;
    }
}

// vd_out = R^T (vd + wd x p + w x (w x p)), R and p of the link transform
// whose transpose is Tt (p is row 3 of Tt). vd_out may be vd.
static inline void NE_FrameAccel(double Tt[4][4], const double* w, const double* wd, const double* vd,
                                 double* vd_out)
{
    double wd_p[3], w_p[3], w_w_p[3], sum[3];
    fx_cross(wd, Tt[3], wd_p);
    fx_cross(w, Tt[3], w_p);
    fx_cross(w, w_p, w_w_p);
    for (int k = 0; k < 3; ++k) sum[k] = vd[k] + wd_p[k] + w_w_p[k];
    fx_rotate(Tt, sum, vd_out);
}

// wd_out = R^T wd + qdd z, plus (R^T w) x (qd z) when |qd| > NE_QD_EPS.
// wd_out may be wd.
static inline void NE_AngularAccel(double Tt[4][4], const double* w, const double* wd, double qd,
                                   double qdd, double* wd_out)
{
    double r_wd[3];
    fx_rotate(Tt, wd, r_wd);
    wd_out[0] = r_wd[0];
    wd_out[1] = r_wd[1];
    wd_out[2] = r_wd[2] + qdd;
    if (qd < -NE_QD_EPS || qd > NE_QD_EPS) {
        double r_w[3], qd_z[3] = {0.0, 0.0, qd}, term[3];
        fx_rotate(Tt, w, r_w);
        fx_cross(r_w, qd_z, term);
        for (int k = 0; k < 3; ++k) wd_out[k] = wd_out[k] + term[k];
    }
}

// out = I v for the symmetric inertia (xx, xy, xz, yy, yz, zz).
static inline void NE_InertiaTimes(double* I, double* v, double* out)
{
    out[0] = I[0] * v[0] + I[1] * v[1] + I[2] * v[2];
    out[1] = I[1] * v[0] + I[3] * v[1] + I[4] * v[2];
    out[2] = I[2] * v[0] + I[4] * v[1] + I[5] * v[2];
}

// Link i's force and moment about its frame origin from its motion:
// N = I wd + c x vd + w x (I w), F = wd x c + w x (w x c). The parameters are
// lumped so that no mass x acceleration term appears in F.
static inline void NE_LinkWrench(FX_Pilot* p, int i, double* w, double* wd, double* vd,
                                 double* F, double* N)
{
    double* I = p->dyn_inertia[i];
    double* c = p->dyn_moment[i];
    double i_wd[3], c_vd[3], i_w[3], w_iw[3], wd_c[3], w_c[3], w_w_c[3];
    NE_InertiaTimes(I, wd, i_wd);
    fx_cross(c, vd, c_vd);
    NE_InertiaTimes(I, w, i_w);
    fx_cross(w, i_w, w_iw);
    fx_cross(wd, c, wd_c);
    fx_cross(w, c, w_c);
    fx_cross(w, w_c, w_w_c);
    for (int k = 0; k < 3; ++k) {
        N[k] = i_wd[k] + c_vd[k] + w_iw[k];
        F[k] = wd_c[k] + w_w_c[k];
    }
}

// One outward step at link i from the state (w_prev, wd_prev, vd_prev) of the
// body before it, into w, wd, vd, F, N.
static inline void NE_OutwardStep(FX_Pilot* p, int i, double qd, double qdd, const double* w_prev,
                                  const double* wd_prev, const double* vd_prev, double* w, double* wd,
                                  double* vd, double* F, double* N)
{
    double(*Tt)[4] = p->local_Tt[i];
    NE_FrameAccel(Tt, w_prev, wd_prev, vd_prev, vd);
    NE_AngularAccel(Tt, w_prev, wd_prev, qd, qdd, wd);
    fx_rotate(Tt, w_prev, w);
    w[2] = w[2] + qd;
    NE_LinkWrench(p, i, w, wd, vd, F, N);
}

// Outward pass over links from..n-1 with joint rates qd, qdd; w0, wd0, vd0
// is the state of the body before link `from`. Results go to w[i], wd[i],
// vd[i], F[i], N[i].
static inline void NE_OutwardPass(FX_Pilot* p, int from, double* qd, double* qdd,
                                  double* w0, double* wd0, double* vd0, double (*w)[3],
                                  double (*wd)[3], double (*vd)[3], double (*F)[3],
                                  double (*N)[3])
{
    for (int i = from; i < p->n; ++i)
        NE_OutwardStep(p, i, qd[i], qdd[i], i == from ? w0 : w[i - 1], i == from ? wd0 : wd[i - 1],
                       i == from ? vd0 : vd[i - 1], w[i], wd[i], vd[i], F[i], N[i]);
}

// The outward step of a chain at rest (the mass-matrix passes): w stays
// exactly zero, so every term it enters is an exact zero and is left out.
// wd and vd are updated in place.
static inline void NE_RestStep(FX_Pilot* p, int i, double qdd, double* wd, double* vd, double* F,
                               double* N)
{
    double(*Tt)[4] = p->local_Tt[i];
    double wd_p[3], sum[3], r_wd[3];
    fx_cross(wd, Tt[3], wd_p);
    for (int k = 0; k < 3; ++k) sum[k] = vd[k] + wd_p[k];
    fx_rotate(Tt, sum, vd);
    fx_rotate(Tt, wd, r_wd);
    wd[0] = r_wd[0];
    wd[1] = r_wd[1];
    wd[2] = r_wd[2] + qdd;
    double i_wd[3], c_vd[3];
    NE_InertiaTimes(p->dyn_inertia[i], wd, i_wd);
    fx_cross(p->dyn_moment[i], vd, c_vd);
    fx_cross(wd, p->dyn_moment[i], F);
    for (int k = 0; k < 3; ++k) N[k] = i_wd[k] + c_vd[k];
}

// One inward step across the transform T of the next link (rotation R,
// translation p): m <- R m + p x (R f) + N, f <- R f + F.
static inline void NE_InwardStep(double T[4][4], const double* F, const double* N, double* f,
                                 double* m)
{
    double r_f[3], r_m[3], p_rf[3];
    double pos[3] = {T[0][3], T[1][3], T[2][3]};
    fx_rotate(T, f, r_f);
    fx_rotate(T, m, r_m);
    fx_cross(pos, r_f, p_rf);
    for (int k = 0; k < 3; ++k) {
        m[k] = r_m[k] + p_rf[k] + N[k];
        f[k] = r_f[k] + F[k];
    }
}

// Inward pass from link n-1 down to `to`, starting from the tip force f and
// moment m (in the frame of local_T[n]); tau[i] = z moment at joint i.
static inline void NE_InwardPass(FX_Pilot* p, int to, double (*F)[3], double (*N)[3],
                                 double* f, double* m, double* tau)
{
    // long: a count of INT_MIN (no links) must not overflow on the way to its last index.
    for (long i = static_cast<long>(p->n) - 1; i >= to; --i) {
        NE_InwardStep(p->local_T[i + 1], F[i], N[i], f, m);
        tau[i] = m[2];
    }
}

// One run of the inward pass, from a zero tip load down to link `to`.
struct NE_InwardRun {
    const double (*F)[3];  // link forces, indexed by link
    const double (*N)[3];  // link moments
    double* tau;           // tau[i] = z moment at joint i, for i >= to
    int to;
    double f[3];
    double m[3];
};

// Several independent inward passes, link by link: the runs do not depend on
// each other, so their steps overlap, and each does exactly its own steps.
static inline void NE_InwardRuns(FX_Pilot* p, NE_InwardRun* runs, int count)
{
    for (int r = 0; r < count; ++r)
        for (int k = 0; k < 3; ++k) runs[r].f[k] = runs[r].m[k] = 0.0;
    for (long i = static_cast<long>(p->n) - 1; i >= 0; --i)
        for (int r = 0; r < count; ++r) {
            NE_InwardRun& run = runs[r];
            if (i < run.to) continue;
            NE_InwardStep(p->local_T[i + 1], run.F[i], run.N[i], run.f, run.m);
            run.tau[i] = run.m[2];
        }
}

#endif
