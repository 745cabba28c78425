// Choice of the locked-joint solution nearest a reference joint vector, the
// solve-and-choose reference IK, and a joint-vector print for diagnostics.
#ifndef TOLVEX_IK7_IKSELECT_H
#define TOLVEX_IK7_IKSELECT_H

#include "ik7/IKPoilt7.h"

// Picks among the n (1..8) rows of sol the one nearest ref (seven joints,
// degrees; sum of absolute wrapped differences, ties keep the earlier row)
// and writes it to out[0..7] with every entry in (-180, 180]. Rows where
// joint 2, 4 or 6 lies within 0.01 of 0 are first rewritten in place so the
// freedom of the two coinciding axes is split as in ref. ik is not read.
// Returns 1, or 0 (nothing written) when n lies outside 1..8.
unsigned char FX_SelectSolve(IK_Poilt7* ik, long n, double* ref, double sol[][8], double* out);

// Same as FX_SelectSolve.
unsigned char FX_SelectSolve_With_Range(IK_Poilt7* ik, long n, double* ref, double sol[][8], double* out);

// FX_IKLock7 then FX_SelectSolve: the solution nearest ref with joint 7 held
// at q7. Returns 0, leaving out untouched, when the pose cannot be solved.
unsigned char FX_IKRef7(IK_Poilt7* ik, double q7, double* ref, double T[4][4], double* out);

// As FX_IKRef7, solving only the elbow branch of ref with FX_IKLock7_With_Config.
unsigned char FX_IKRef7_With_Config(IK_Poilt7* ik, double q7, double* ref, double T[4][4], double* out);

// Prints q[0..6] as "%lf\t" each and a newline; returns putchar's result for the newline.
int PP7(double* q);

#endif
