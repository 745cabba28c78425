#include "motion/FXNSyncDTS.h"

namespace {

const long kMaxAxes = 8;
const long kMaxWindow = 100;
const long kShortWindow = 6;    // replaces windows of 4 cycles or less
const long kTickWrap = 1000;

long window_length(double cycle_ms, double acc, double jerk)
{
    const long w = static_cast<long>(1000 * acc / jerk / cycle_ms);
    if (w <= 4)
        return kShortWindow;
    if (w > kMaxWindow)
        return kMaxWindow;
    return w;
}

// Replaces the running sum of each marked axis by the ordered sum of its
// window from slot 0, which removes its drift. The axes' sums are independent
// chains of additions, so they are formed side by side, each in its own order.
void resum_windows(FXNSyncDTS* s, const bool* resum)
{
    long common = kMaxWindow;
    const double* row[kMaxAxes];  // axes past n add up axis 0's window again, unused
    for (long i = 0; i < kMaxAxes; ++i) {
        row[i] = s->buf[i < s->n ? i : 0];
        if (i < s->n && resum[i] && s->win[i] < common)
            common = s->win[i];
    }
    double sum[kMaxAxes];
    double s0 = 0, s1 = 0, s2 = 0, s3 = 0, s4 = 0, s5 = 0, s6 = 0, s7 = 0;
    for (long k = 0; k < common; ++k) {
        s0 += row[0][k], s1 += row[1][k], s2 += row[2][k], s3 += row[3][k];
        s4 += row[4][k], s5 += row[5][k], s6 += row[6][k], s7 += row[7][k];
    }
    sum[0] = s0, sum[1] = s1, sum[2] = s2, sum[3] = s3, sum[4] = s4, sum[5] = s5, sum[6] = s6, sum[7] = s7;
    for (long i = 0; i < s->n; ++i) {
        if (!resum[i])
            continue;
        for (long k = common; k < s->win[i]; ++k)
            sum[i] += s->buf[i][k];
        s->sum[i] = sum[i];
    }
}

// Every axis jumps onto its stored target and its window is filled with it.
int restart_step(FXNSyncDTS* s, double* out)
{
    for (long i = 0; i < s->n; ++i) {
        FXVDT_OnDT_B(&s->vdt[i], s->target[i], &out[i]);
        s->raw[i] = s->pos[i] = out[i];
        for (long k = 0; k < s->win[i]; ++k)
            s->buf[i][k] = out[i];
        s->sum[i] = out[i] * s->win_f[i];
        s->vel[i] = s->acc[i] = 0;
        s->tick[i] = s->slot[i] = 0;
    }
    s->reset = 0;
    return 1;
}

// Pushes this cycle's raw position of every axis through its window and derives
// the smoothed velocity and acceleration by finite differences.
void smooth(FXNSyncDTS* s, const double* r, double* out)
{
    bool wrapped = false;
    bool resum[kMaxAxes];
    for (long i = 0; i < s->n; ++i) {
        const long k = s->slot[i];
        const double P = s->vdt[i].period;
        s->sum[i] = s->sum[i] - s->buf[i][k] + r[i];
        s->buf[i][k] = r[i];
        out[i] = s->sum[i] / s->win_f[i];
        const double v = (out[i] - s->pos[i]) / P;
        s->acc[i] = (v - s->vel[i]) / P;
        s->vel[i] = v;
        s->slot[i] = k + 1 < s->win[i] ? k + 1 : 0;
        s->pos[i] = out[i];
        s->tick[i] += 1;
        // Once one axis wraps its counter, the axes after it keep their running
        // sum (and counter) until a later call.
        resum[i] = !wrapped;
        if (!wrapped && s->tick[i] > kTickWrap) {
            s->tick[i] = 0;
            wrapped = true;
        }
    }
    resum_windows(s, resum);
}

// One cycle toward the stored targets. Each axis's step is computed on a
// snapshot and rolled back, then the axis simply follows the computed position,
// so braking state changed by the step itself does not persist.
int normal_step(FXNSyncDTS* s, double* out)
{
    double r[kMaxAxes];
    for (long i = 0; i < s->n; ++i) {
        FXVDT_OnS(&s->vdt[i]);
        FXVDT_OnDT_B(&s->vdt[i], s->target[i], &r[i]);
        FXVDT_OnV(&s->vdt[i]);
    }
    for (long i = 0; i < s->n; ++i) {
        s->raw[i] = r[i];
        FXVDT_OnU(&s->vdt[i], r[i]);
    }
    smooth(s, r, out);
    return 1;
}

void copy_axes(const double* from, long n, double* to)
{
    for (long i = 0; i < n; ++i)
        to[i] = from[i];
}

void copy_pva(const FXNSyncDTS* s, double* p, double* v, double* a)
{
    copy_axes(s->pos, s->n, p);
    copy_axes(s->vel, s->n, v);
    copy_axes(s->acc, s->n, a);
}

}  // namespace

int FXNSyncDTS_OnInit(FXNSyncDTS* s, long n, double cycle_ms, double* vmax, double* acc,
                      double* jerk)
{
    s->n = 0;
    s->ready = 0;
    s->reset = 0;
    if (n < 1 || n > kMaxAxes)
        return 0;
    for (long i = 0; i < n; ++i) {
        if (!(jerk[i] >= 1 && jerk[i] <= 1e7))
            return 0;
        if (!FXVDT_OnInit(&s->vdt[i], cycle_ms, vmax[i], acc[i]))
            return 0;
        s->win[i] = window_length(cycle_ms, acc[i], jerk[i]);
        s->win_f[i] = static_cast<double>(s->win[i]);
        s->tick[i] = 0;
        s->slot[i] = 0;
    }
    s->n = n;
    s->ready = 1;
    s->reset = 1;
    return 1;
}

int FXNSyncDTS_OnEmpty(FXNSyncDTS* s)
{
    if (!s->ready)
        return 0;
    for (long i = 0; i < s->n; ++i)
        if (!FXVDT_OnEmpty(&s->vdt[i]))
            return 0;
    s->reset = 1;
    return 1;
}

int FXNSyncDTS_OnSetRunTimeLmt(FXNSyncDTS* s, double* vmax, double* acc)
{
    if (!s->ready)
        return 0;
    for (long i = 0; i < s->n; ++i)
        if (!FXVDT_OnSetRunTimeLmt(&s->vdt[i], vmax[i], acc[i]))
            return 0;
    return 1;
}

int FXNSyncDTS_OnDT(FXNSyncDTS* s, double* target, double* out)
{
    if (!s->ready)
        return 0;
    copy_axes(target, s->n, s->target);
    if (s->reset)
        return restart_step(s, out);
    return normal_step(s, out);
}

int FXNSyncDTS_OnDT_U(FXNSyncDTS* s, double* out)
{
    if (!s->ready || s->reset)
        return 0;
    return normal_step(s, out);
}

int FXNSyncDTS_OnGetCurPVA(FXNSyncDTS* s, double* tgt, double* p, double* v, double* a)
{
    if (!s->ready || s->reset)
        return 0;
    copy_axes(s->target, s->n, tgt);
    copy_pva(s, p, v, a);
    return 1;
}

int FXNSyncDTS_OnGetCurPVA_U(FXNSyncDTS* s, double* p, double* v, double* a)
{
    if (!s->ready)
        return 0;
    copy_pva(s, p, v, a);
    return 1;
}
