#include "dynamics/FxInvDyn.h"

#include "dynamics/FxNewtonEuler.h"

void FX_InvDyn(FX_Pilot* p, double* q, double* qd, double* qdd, double* g, double* wrench,
               double* tau)
{
    if (p->n > FX_DYN_MAX_JOINTS)
        return;
    NE_Prepare(p, q);

    double w[7][3], wd[7][3], vd[7][3], F[7][3], N[7][3];
    double base_w[3] = {0.0, 0.0, 0.0};
    double base_wd[3] = {0.0, 0.0, 0.0};
    double base_vd[3] = {0.0, -g[1], 0.0};
    NE_OutwardPass(p, 0, qd, qdd, base_w, base_wd, base_vd, w, wd, vd, F, N);

    double f[3] = {wrench[0], wrench[1], wrench[2]};
    double m[3] = {wrench[3], wrench[4], wrench[5]};
    NE_InwardPass(p, 0, F, N, f, m, tau);
}
