#include "dynamics/FxImpedance.h"

#include "math/FxMatrix.h"
#include "math/FxRigid.h"
#include "math/FxScalar.h"

void FX_Impd_Process_Jacob(Impd_Process_Data* d, FX_Pilot* p)
{
    const int n = p->n;
    if (n < 1 || n > FX_DYN_MAX_JOINTS)
        return;  // J has seven columns
    FX_KINE(p, d->q, d->pose);

    // The flange origin lies on the last joint axis: no linear part.
    const int last = n - 1;
    for (int r = 0; r < 3; ++r) {
        d->J[r][last] = 0.0;
        d->J[r + 3][last] = p->chain_T[last][r][2];
    }

    // A: flange frame in frame c, accumulated from the flange backwards.
    // A's two buffers take turns.
    double buffers[2][4][4];
    fx_copy44(p->links[7].T, buffers[0]);
    int cur = 0;
    for (int c = n - 2; c >= 0; --c) {
        fx_mul44(p->links[c + 1].T, buffers[cur], buffers[1 - cur]);
        cur = 1 - cur;
        double(*A)[4] = buffers[cur];
        double z[3] = {p->chain_T[c][0][2], p->chain_T[c][1][2], p->chain_T[c][2][2]};
        double P[3] = {A[0][3], A[1][3], A[2][3]};
        double Pb[3], lin[3];
        fx_rotate(p->chain_T[c], P, Pb);
        fx_cross(z, Pb, lin);
        for (int r = 0; r < 3; ++r) {
            d->J[r][c] = lin[r];
            d->J[r + 3][c] = z[r];
        }
    }

    for (int c = 0; c < n; ++c)
        for (int r = 0; r < 6; ++r) d->JT[c][r] = d->J[r][c];
    d->jacob_ok = 1;
}

void FX_M44ToM44(double T0[4][4], double T1[4][4], double* e)
{
    for (int k = 0; k < 3; ++k) e[k] = (T1[k][3] - T0[k][3]) * 1000.0;

    double inv0[4][4], R[4][4];
    FX_PGMatrixInv(T0, inv0);
    FX_MMM44(T1, inv0, R);

    const double s = FX_Sqrt(R[0][0] * R[0][0] + R[1][0] * R[1][0]);
    e[4] = FX_ATan2(-R[2][0], s) * FX_RAD2DEG;
    if (s >= -1e-16 && s <= 1e-16) {
        // Gimbal lock: the whole turn about the common axis goes into x.
        const double x = FX_ATan2(R[0][1], R[1][1]) * FX_RAD2DEG;
        e[5] = 0.0;
        e[3] = e[4] > 0 ? x : -x;
    } else {
        e[5] = FX_ATan2(R[1][0], R[0][0]) * FX_RAD2DEG;
        e[3] = FX_ATan2(R[2][1], R[2][2]) * FX_RAD2DEG;
    }
}
