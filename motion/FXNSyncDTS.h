// Multi-axis profile generator: up to eight FXVDT axes stepped together, each
// smoothed by a moving average sized to its jerk limit (S-shaped velocity).
#ifndef TOLVEX_MOTION_FXNSYNCDTS_H
#define TOLVEX_MOTION_FXNSYNCDTS_H

#include "motion/FXVDT.h"

struct FXNSyncDTS {
    FXVDT vdt[8];          // one tracking generator per axis
    long n;                // number of axes, 1..8
    unsigned char ready;   // 1 after a successful FXNSyncDTS_OnInit
    unsigned char reset;   // 1: the next FXNSyncDTS_OnDT restarts all axes at their targets
    double vel[8];         // velocity of the smoothed output, u/s
    double acc[8];         // acceleration of the smoothed output, u/s^2
    double raw[8];         // this cycle's unsmoothed FXVDT position, u
    double pos[8];         // smoothed output position of the last cycle, u
    double target[8];      // last target given to FXNSyncDTS_OnDT, u
    double buf[8][100];    // ring of the last win raw positions per axis, u
    long win[8];           // averaging window, cycles (5..100, or 6 for short windows)
    double win_f[8];       // win as a double
    double sum[8];         // sum of the window's entries, u
    long tick[8];          // cycle counter, wraps after 1000
    long slot[8];          // next ring slot to overwrite, 0..win-1
};

// n axes (1..8) with cycle_ms and per-axis limits; jerk must lie in [1, 1e7].
// The window is 1000*acc/jerk/cycle_ms cycles, truncated, raised to 6 when it is
// 4 or less and capped at 100.
int FXNSyncDTS_OnInit(FXNSyncDTS* s, long n, double cycle_ms, double* vmax, double* acc,
                      double* jerk);
// Every operation below returns 0 while the generator is not ready.
int FXNSyncDTS_OnEmpty(FXNSyncDTS* s);  // the next OnDT restarts at its targets
// New per-axis limits; the windows keep their length.
int FXNSyncDTS_OnSetRunTimeLmt(FXNSyncDTS* s, double* vmax, double* acc);
// One cycle toward new targets; out receives the n smoothed positions.
int FXNSyncDTS_OnDT(FXNSyncDTS* s, double* target, double* out);
// One cycle toward the stored targets; 0 until the first FXNSyncDTS_OnDT.
int FXNSyncDTS_OnDT_U(FXNSyncDTS* s, double* out);
// Stored targets and smoothed position, velocity and acceleration; 0 until the
// first FXNSyncDTS_OnDT.
int FXNSyncDTS_OnGetCurPVA(FXNSyncDTS* s, double* tgt, double* p, double* v, double* a);
// Smoothed position, velocity and acceleration, whether or not a step has run.
int FXNSyncDTS_OnGetCurPVA_U(FXNSyncDTS* s, double* p, double* v, double* a);

#endif
