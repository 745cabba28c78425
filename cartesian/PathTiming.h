// When a move reaches which point of its path. The path parameter s in [0, 1]
// is mapped onto sigma, the time the path would take if every place were run
// at the speed allowed there (dsigma/ds = w(s), a smooth quadratic B-spline
// over CART_NODES equal steps of s), and a jerk-limited S-curve drives sigma
// from 0 to its end. Where a joint would be too fast, w is larger and the
// path slower, only there.
#ifndef TOLVEX_CARTESIAN_PATHTIMING_H
#define TOLVEX_CARTESIAN_PATHTIMING_H

#include "cartesian/SCurve.h"

const int CART_NODES = 256;

struct PathTiming {
    double control[CART_NODES + 2];  // B-spline control values of w, s per unit of s
    double sigma[CART_NODES + 1];    // sigma at each node s_j = j / CART_NODES, s
    SCurve curve;                    // sigma against profile time
    double time_scale;               // profile seconds per second of the move (<= 1)
};

// Fills `control` and `sigma` from the least w each node needs (positive and
// finite), keeping |d(1/w)/ds| within `slope` (1/s) so that slowing down and
// speeding up again stay within the accelerations.
void FX_PathTimingWarp(PathTiming* timing, const double need[CART_NODES + 1], double slope);
// The path parameter at sigma (clamped to the path).
double FX_PathTimingAtSigma(const PathTiming* timing, double sigma);
// The path parameter at time t of the move: 0 at t <= 0, 1 from the profile's end on.
double FX_PathTimingAt(const PathTiming* timing, double t);

#endif
