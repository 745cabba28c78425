// Constant cosine and sine tables exported for the host: a 0.1-degree grid over the
// full turn and a 0.0001-degree grid spanning exactly one coarse step.
#ifndef TOLVEX_MOTION_FXTRIGTABLES_H
#define TOLVEX_MOTION_FXTRIGTABLES_H

extern const double FX_CosAccTable[1001];  // cos(i x 0.0001 degree), i = 0..1000
extern const double FX_SinAccTable[1001];  // sin(i x 0.0001 degree), i = 0..1000
extern const double FX_CosTable[3600];     // cos(i x 0.1 degree), i = 0..3599

#endif
