#include "dynamics/FxMassMatrix.h"

#include "dynamics/FxNewtonEuler.h"

void FX_MMatInvDyn(FX_Pilot* p, double* q, double* qdd, long j, double* out)
{
    NE_Prepare(p, q);
    const int from = static_cast<int>(j);
    if (from >= p->n) return;

    // At rest w stays zero; the velocity terms are still evaluated.
    double w[3] = {0.0, 0.0, 0.0};
    double wd[3] = {0.0, 0.0, 0.0};
    double vd[3] = {0.0, 0.0, 0.0};
    double F[7][3], N[7][3];
    for (int i = from; i < p->n; ++i) {
        double(*Tt)[4] = p->local_Tt[i];
        double r_w[3];
        NE_FrameAccel(Tt, w, wd, vd, vd);
        NE_AngularAccel(Tt, w, wd, 0.0, qdd[i], wd);
        fx_rotate(Tt, w, r_w);
        for (int k = 0; k < 3; ++k) w[k] = r_w[k];
        NE_LinkWrench(p, i, w, wd, vd, F[i], N[i]);
    }

    double f[3] = {0.0, 0.0, 0.0};
    double m[3] = {0.0, 0.0, 0.0};
    NE_InwardPass(p, from, F, N, f, m, out);
    for (int i = from; i < p->n; ++i) out[i] = p->links[i].rotor_inertia * qdd[i] + out[i];
}

void FX_CalMmat(FX_Pilot* p, double* q, double* e, double M[7][7])
{
    double column[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    for (int j = 0; j < 7; ++j) {
        e[j] = 1.0;
        FX_MMatInvDyn(p, q, e, j, column);
        for (int i = 0; i < 7; ++i) M[i][j] = column[i];
        e[j] = 0.0;
    }
    // Each column run computes rows j..6 fresh; the upper triangle holds
    // stale entries and is replaced by the mirror of the lower one.
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < j; ++i) M[i][j] = M[j][i];
}
