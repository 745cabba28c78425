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
    FX_CalCmatDPT_QWith(p, q, y, s_cdb_tmp);
}

// The single-joint runs into `single_runs` and the pair runs into local states,
// each run doing exactly the steps of FX_CMatInvDyn_A or _B; the runs of one
// phase are stepped together link by link so that their recursions overlap.
void FX_CalCmatDPT_QWith(FX_Pilot* p, double* q, FX_CM_YTC_BUF* y, FX_CM_DPART_BUF single_runs[7])
{
    NE_Prepare(p, q);
    std::memset(single_runs, 0, 7 * sizeof *single_runs);
    const int n = p->n;
    double zero[3] = {0.0, 0.0, 0.0};
    double unit[7][7] = {};
    for (int j = 0; j < 7; ++j) unit[j][j] = 1.0;

    double single[7][7] = {};
    NE_InwardRun runs[21];
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i && j < 7; ++j) {
            FX_CM_DPART_BUF& s = single_runs[j];
            const bool first = i == j;
            NE_OutwardStep(p, i, unit[j][i], 0.0, first ? zero : s.w[i - 1], first ? zero : s.wd[i - 1],
                           first ? zero : s.vd[i - 1], s.w[i], s.wd[i], s.vd[i], s.F[i], s.N[i]);
        }
    for (int j = 0; j < 7; ++j) runs[j] = NE_InwardRun{single_runs[j].F, single_runs[j].N, single[j], 0, {}, {}};
    NE_InwardRuns(p, runs, 7);
    for (int j = 0; j < 7; ++j)
        for (int i = 0; i < 7; ++i) y->square[i][j] = single[j][i];

    // Pair (j, k) moves like the single run of j up to link k - 1.
    struct PairState {
        double w[7][3], wd[7][3], vd[7][3], F[7][3], N[7][3];
    };
    PairState pairs[21];
    double pair_out[21][7] = {};
    int first_of[21], second_of[21], count = 0;
    for (int j = 0; j < 7; ++j)
        for (int k = j + 1; k < 7; ++k) {
            PairState& st = pairs[count];
            const FX_CM_DPART_BUF& s = single_runs[j];
            for (int i = 0; i < k && i < n; ++i)
                for (int c = 0; c < 3; ++c) st.F[i][c] = s.F[i][c], st.N[i][c] = s.N[i][c];
            first_of[count] = j, second_of[count] = k, ++count;
        }
    for (int i = 1; i < n; ++i)
        for (int r = 0; r < count; ++r) {
            const int j = first_of[r], k = second_of[r];
            if (i < k) continue;
            PairState& st = pairs[r];
            const FX_CM_DPART_BUF& s = single_runs[j];
            const bool first = i == k;
            NE_OutwardStep(p, i, unit[j][i] + unit[k][i], 0.0, first ? s.w[k - 1] : st.w[i - 1],
                           first ? s.wd[k - 1] : st.wd[i - 1], first ? s.vd[k - 1] : st.vd[i - 1], st.w[i],
                           st.wd[i], st.vd[i], st.F[i], st.N[i]);
        }
    for (int r = 0; r < count; ++r) runs[r] = NE_InwardRun{pairs[r].F, pairs[r].N, pair_out[r], 0, {}, {}};
    NE_InwardRuns(p, runs, count);
    for (int r = 0; r < count; ++r) {
        const int j = first_of[r], k = second_of[r];
        for (int i = 0; i < 7; ++i)
            y->mixed[j][k][i] = (pair_out[r][i] - y->square[i][j] - y->square[i][k]) * 0.5;
    }
}

void FX_CalCmat_DPT_QD(FX_CM_YTC_BUF* y, double* qd, double D[7][7], double S[7][7],
                       double C[7][7])
{
    const double v[7] = {qd[0], qd[1], qd[2], qd[3], qd[4], qd[5], qd[6]};
    const double(*mixed)[7][7] = y->mixed;
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j) D[i][j] = y->square[i][j];
    // Column x of S collects, in the order of the pairs (j ascending, then k):
    // qd_j * mixed[j][x] for the pairs (j, x), then qd_k * mixed[x][k] for the
    // pairs (x, k). It is formed whole, for all rows at once.
    for (int x = 0; x < 7; ++x) {
        double acc[7] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
        for (int j = 0; j < x; ++j)
#pragma GCC unroll 7
            for (int i = 0; i < 7; ++i) acc[i] = acc[i] + v[j] * mixed[j][x][i];
        for (int k = x + 1; k < 7; ++k)
#pragma GCC unroll 7
            for (int i = 0; i < 7; ++i) acc[i] = acc[i] + v[k] * mixed[x][k][i];
        for (int i = 0; i < 7; ++i) {
            S[i][x] = acc[i];
            C[i][x] = y->square[i][x] * v[x] + acc[i];
        }
    }
}
