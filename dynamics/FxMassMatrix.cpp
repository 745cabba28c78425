#include "dynamics/FxMassMatrix.h"

#include "dynamics/FxNewtonEuler.h"

namespace {

// Unit-acceleration column passes at rest for columns j = from[c], with joint
// accelerations qdd[c], into out[c][from[c]..n-1]. The columns are stepped
// together link by link, so that their independent recursions overlap.
void restColumns(FX_Pilot* p, int count, const int* from, double (*qdd)[7], double (*out)[7])
{
    double wd[7][3] = {}, vd[7][3] = {}, F[7][7][3], N[7][7][3];
    for (int i = 0; i < p->n; ++i)
        for (int c = 0; c < count; ++c)
            if (from[c] <= i) NE_RestStep(p, i, qdd[c][i], wd[c], vd[c], F[c][i], N[c][i]);

    NE_InwardRun runs[7];
    for (int c = 0; c < count; ++c) runs[c] = NE_InwardRun{F[c], N[c], out[c], from[c], {}, {}};
    NE_InwardRuns(p, runs, count);
    for (int c = 0; c < count; ++c)
        for (int i = from[c]; i < p->n; ++i)
            out[c][i] = p->links[i].rotor_inertia * qdd[c][i] + out[c][i];
}

}  // namespace

void FX_MMatInvDyn(FX_Pilot* p, double* q, double* qdd, long j, double* out)
{
    if (p->n > FX_DYN_MAX_JOINTS)
        return;
    NE_Prepare(p, q);
    if (j < 0 || j >= p->n) return;
    const int from = static_cast<int>(j);
    double column_qdd[1][7], column[1][7];
    for (int i = from; i < p->n; ++i) column_qdd[0][i] = qdd[i];
    restColumns(p, 1, &from, column_qdd, column);
    for (int i = from; i < p->n; ++i) out[i] = column[0][i];
}

void FX_CalMmat(FX_Pilot* p, double* q, double* e, double M[7][7])
{
    if (p->n > FX_DYN_MAX_JOINTS)
        return;
    NE_Prepare(p, q);
    // Column j runs with e = e_j as the caller's vector then holds it: 1 at j,
    // the entry values after j (zero for a caller that keeps the contract).
    const int n = p->n;
    int from[7];
    double qdd[7][7], column[7][7];
    for (int j = 0; j < n; ++j) {
        from[j] = j;
        for (int i = j; i < n; ++i) qdd[j][i] = i == j ? 1.0 : e[i];
    }
    restColumns(p, n, from, qdd, column);
    for (int j = 0; j < 7; ++j) e[j] = 0.0;

    // Each column run computes rows j..n-1; the upper triangle is the mirror
    // of the lower one, and rows and columns past the chain stay zero.
    for (int j = 0; j < 7; ++j)
        for (int i = j; i < 7; ++i) M[i][j] = i < n && j < n ? column[j][i] : 0.0;
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < j; ++i) M[i][j] = M[j][i];
}
