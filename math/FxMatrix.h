// 3-vectors, 3x3 rotations and 4x4 row-major pose matrices (rotation in
// rows/columns 0..2, translation in column 3, parent = pose x child).
// Outputs are always the last argument and must not alias an input.
#ifndef TOLVEX_MATH_FXMATRIX_H
#define TOLVEX_MATH_FXMATRIX_H

void FX_VectAdd(double* a, long n, double* b, double* out);  // nothing for n <= 0
void FX_VectCross(double* a, double* b, double* out);        // out = a x b
void FX_VectNorm(double* v);                                 // in place; zero vector -> NaN
void FX_MVmult43(double m[4][4], double* v, double* out);    // rotation part only
void FX_M44Copy(double src[4][4], double dst[4][4]);
void IdentM44(double m[4][4]);
void FX_TMatTranspose(double in[4][4], double out[4][4]);
void FX_MMM44(double a[4][4], double b[4][4], double out[4][4]);
void FX_MMM33(double a[3][3], double b[3][3], double out[3][3]);
void FX_M3Transport(double in[3][3], double out[3][3]);       // transpose
// out = in x Rz with cos c and sin s; the last row of out becomes 0, 0, 0, 1.
void FX_XYZMRot(double in[4][4], double c, double s, double out[4][4]);
void XYZMRot(double in[4][4], double c, double s, double out[4][4]);
// Inverse of a rigid pose (orthonormal rotation assumed, not checked).
void FX_PGMatrixInv(double in[4][4], double out[4][4]);

#endif
