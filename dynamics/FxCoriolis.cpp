#include "dynamics/FxCoriolis.h"

#include <cstring>

#include "dynamics/FxNewtonEuler.h"

FX_CM_DPART_BUF s_cdb_tmp[7];

// A run's buffers hold seven joints; it may start after the last one.
static bool RunFits(const FX_Pilot* p, long from)
{
    return p->n <= FX_DYN_MAX_JOINTS && from >= 0 && from <= FX_DYN_MAX_JOINTS;
}

// Outward pass from link `from` on (the links before it keep the state in
// s), then the inward pass over all links with no tip load.
static void runFrom(FX_Pilot* p, double* qd, int from, FX_CM_DPART_BUF* s, double* out)
{
    double zero_qdd[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    double rest[3] = {0.0, 0.0, 0.0};
    double* w0 = from > 0 ? s->w[from - 1] : rest;
    double* wd0 = from > 0 ? s->wd[from - 1] : rest;
    double* vd0 = from > 0 ? s->vd[from - 1] : rest;
    NE_OutwardPass(p, from, qd, zero_qdd, w0, wd0, vd0, s->w, s->wd, s->vd, s->F, s->N);

    double f[3] = {0.0, 0.0, 0.0};
    double m[3] = {0.0, 0.0, 0.0};
    NE_InwardPass(p, 0, s->F, s->N, f, m, out);
}

void FX_CMatInvDyn_A(FX_Pilot* p, double* q, double* qd, double* out, long j,
                     FX_CM_DPART_BUF* buf)
{
    if (!RunFits(p, j))
        return;
    NE_Prepare(p, q);
    std::memset(buf, 0, sizeof *buf);
    runFrom(p, qd, static_cast<int>(j), buf, out);
}

void FX_CMatInvDyn_B(FX_Pilot* p, double* q, double* qd, double* out, long k,
                     FX_CM_DPART_BUF* buf)
{
    if (!RunFits(p, k))
        return;
    NE_Prepare(p, q);
    FX_CM_DPART_BUF state = *buf;
    runFrom(p, qd, static_cast<int>(k), &state, out);
}

void FX_CalCmatDPT_Q(FX_Pilot* p, double* q, FX_CM_YTC_BUF* y)
{
    std::memset(s_cdb_tmp, 0, sizeof s_cdb_tmp);
    double out[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    for (int j = 0; j < 7; ++j) {
        double qd[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
        qd[j] = 1.0;
        FX_CMatInvDyn_A(p, q, qd, out, j, &s_cdb_tmp[j]);
        for (int i = 0; i < 7; ++i) y->square[i][j] = out[i];
    }
    for (int j = 0; j < 7; ++j) {
        for (int k = j + 1; k < 7; ++k) {
            double qd[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
            qd[j] = 1.0;
            qd[k] = 1.0;
            FX_CMatInvDyn_B(p, q, qd, out, k, &s_cdb_tmp[j]);
            for (int i = 0; i < 7; ++i)
                y->mixed[j][k][i] = (out[i] - y->square[i][j] - y->square[i][k]) * 0.5;
        }
    }
}

void FX_CalCmat_DPT_QD(FX_CM_YTC_BUF* y, double* qd, double D[7][7], double S[7][7],
                       double C[7][7])
{
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j) {
            D[i][j] = y->square[i][j];
            S[i][j] = 0.0;
        }
    for (int j = 0; j < 7; ++j)
        for (int k = j + 1; k < 7; ++k)
            for (int i = 0; i < 7; ++i) {
                S[i][k] = S[i][k] + qd[j] * y->mixed[j][k][i];
                S[i][j] = S[i][j] + qd[k] * y->mixed[j][k][i];
            }
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j) C[i][j] = D[i][j] * qd[j] + S[i][j];
}
