#include "motion/FXVDT.h"

#include "math/FxScalar.h"

namespace {

const double kLookAhead = 0.01;  // s

void set_acceleration(FXVDT* v, double acc)
{
    v->acc = acc;
    v->acc_step = v->period * acc * v->period;
}

// Acceleration command of the time-optimal tracking law, |u| <= acc.
double tracking_command(const FXVDT* v, double target)
{
    const double r = v->acc;
    const double h = v->h;
    const double d = r * h;
    const double y = (v->pos - target) + h * v->vel;
    const double a0 = FX_Sqrt(d * d + 8 * r * my_fabs(y));
    double a;
    if (h * d >= my_fabs(y))
        a = y / h + v->vel;
    else
        a = v->vel + 0.5 * FXVDT_i_sign(y) * (a0 - d);
    if (d >= my_fabs(a))
        return -r * a / d;
    return -r * FXVDT_i_sign(a);
}

// Braking toward a lowered limit: full deceleration whatever the target, and the
// new limit takes over once the speed is within it.
void brake(FXVDT* v, double T)
{
    if (v->vel > 0) {
        v->vel -= v->acc * T;
        if (v->vmax_target > v->vel) {
            v->slowing = 0;
            v->vmax = v->vmax_target;
        }
    } else {
        v->vel += v->acc * T;
        if (v->vel > -v->vmax_target) {
            v->slowing = 0;
            v->vmax = v->vmax_target;
        }
    }
}

}  // namespace

double FXVDT_i_sign(double x)
{
    if (x > 0)
        return 1.0;
    if (x < 0)
        return -1.0;
    return 0.0;
}

int FXVDT_OnInit(FXVDT* v, double cycle_ms, double vmax, double acc)
{
    v->ready = 0;
    v->slowing = 0;
    // Written as "inside" tests so that NaN arguments are rejected too.
    if (!(cycle_ms >= 1 && cycle_ms <= 1000) || !(vmax >= 0.1 && vmax <= 5000) ||
        !(acc >= 0.01 && acc <= 50000))
        return 0;
    v->cycle = v->period = cycle_ms / 1000;
    set_acceleration(v, acc);
    v->pos = 0;
    v->vel = 0;
    v->ready = 1;
    v->reset = 1;
    v->h = kLookAhead;
    v->vmax = v->vmax_target = vmax;
    return 1;
}

int FXVDT_OnEmpty(FXVDT* v)
{
    if (!v->ready)
        return 0;
    v->reset = 1;
    return 1;
}

int FXVDT_OnS(FXVDT* v)
{
    if (!v->ready)
        return 0;
    v->saved_pos = v->pos;
    v->saved_vel = v->vel;
    v->saved_slowing = v->slowing;
    v->saved_vmax_target = v->vmax_target;
    v->saved_vmax = v->vmax;
    return 1;
}

int FXVDT_OnV(FXVDT* v)
{
    if (!v->ready)
        return 0;
    v->pos = v->saved_pos;
    v->vel = v->saved_vel;
    v->slowing = v->saved_slowing;
    v->vmax_target = v->saved_vmax_target;
    v->vmax = v->saved_vmax;
    return 1;
}

int FXVDT_OnU(FXVDT* v, double p)
{
    if (!v->ready)
        return 0;
    v->vel = (p - v->pos) / v->cycle;
    v->pos = p;
    return 1;
}

int FXVDT_OnDT_B(FXVDT* v, double target, double* out)
{
    if (!v->ready)
        return 0;
    if (v->reset) {
        v->vel = 0;
        v->pos = target;
        *out = target;
        v->reset = 0;
        return 1;
    }
    const double u = tracking_command(v, target);
    const double T = v->cycle;
    if (v->slowing) {
        brake(v, T);
    } else {
        const double vel = v->vel + T * u;
        if (my_fabs(vel) > v->vmax)
            v->vel = vel < 0 ? -v->vmax : v->vmax;
        else
            v->vel = vel;
    }
    // Semi-implicit Euler: the position moves with the updated velocity.
    v->pos += T * v->vel;
    *out = v->pos;
    return 1;
}

int FXVDT_OnSetRunTimeLmt(FXVDT* v, double vmax, double acc)
{
    if (!v->ready)
        return 0;
    if (my_fabs(vmax - v->vmax_target) < 0.1 && my_fabs(v->acc - acc) < 0.1)
        return 1;
    set_acceleration(v, acc);
    if (vmax <= v->vmax && vmax <= my_fabs(v->vel)) {
        v->slowing = 1;
        v->vmax_target = vmax;
    } else {
        v->slowing = 0;
        v->vmax = v->vmax_target = vmax;
    }
    return 1;
}
