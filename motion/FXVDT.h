// Single-axis tracking profile: each cycle moves a commanded position toward a
// target that may change every cycle, within a velocity and an acceleration limit.
#ifndef TOLVEX_MOTION_FXVDT_H
#define TOLVEX_MOTION_FXVDT_H

struct FXVDT {
    double saved_pos;          // snapshot of pos taken by FXVDT_OnS
    double saved_vel;          // snapshot of vel
    double pos;                // current commanded position, u
    double vel;                // current velocity, u/s
    double acc;                // acceleration limit, u/s^2
    double cycle;              // control period, s
    double h;                  // look-ahead step of the tracking law, s (0.01)
    double acc_step;           // acc x period^2, u per cycle^2 (kept for the host)
    unsigned char ready;       // 1 after a successful FXVDT_OnInit
    unsigned char reset;       // 1: the next step jumps onto its target
    double vmax;               // velocity limit in force, u/s
    unsigned char slowing;     // 1: braking down to a newly lowered velocity limit
    double vmax_target;        // last requested velocity limit, u/s
    double saved_vmax_target;  // snapshot of vmax_target
    unsigned char saved_slowing;  // snapshot of slowing
    double saved_vmax;         // snapshot of vmax
    double period;             // control period, s (same as cycle)
};

// 1.0 for x > 0, -1.0 for x < 0, 0.0 for zero and NaN.
double FXVDT_i_sign(double x);

// Accepts 1 <= cycle_ms <= 1000, 0.1 <= vmax <= 5000, 0.01 <= acc <= 50000
// (inclusive); otherwise returns 0 and leaves the generator not ready.
int FXVDT_OnInit(FXVDT* v, double cycle_ms, double vmax, double acc);

// The operations below return 0 and change nothing while the generator is not ready.
int FXVDT_OnEmpty(FXVDT* v);  // the next step jumps onto its target
int FXVDT_OnS(FXVDT* v);      // snapshot pos, vel, slowing, vmax_target, vmax
int FXVDT_OnV(FXVDT* v);      // restore the snapshot
int FXVDT_OnU(FXVDT* v, double p);  // take position p, velocity from the move
// One control step toward target; *out receives the new position.
int FXVDT_OnDT_B(FXVDT* v, double target, double* out);
// New limits while running; changes under 0.1 in both are ignored. A limit below
// the current speed makes the axis brake at acc until it is under the new limit.
int FXVDT_OnSetRunTimeLmt(FXVDT* v, double vmax, double acc);

#endif
