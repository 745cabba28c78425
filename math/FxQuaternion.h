// Quaternions stored (x, y, z, w), rotation-to-quaternion, and radian Z-Y-X
// angle extraction with a printing variant for diagnostics.
#ifndef TOLVEX_MATH_FXQUATERNION_H
#define TOLVEX_MATH_FXQUATERNION_H

void FX_QuatMult(double* a, double* b, double* out);     // Hamilton product a (x) b
int FX_QuaternionNorm(double* q);                        // 0 (q unchanged) when |q| <= 1e-16
double FX_QuaternionSqrtNorm(double* q);                 // |q|
void FX_QuaternionConj(double* q, double* out);
// Divides the conjugate by |q| (not |q|^2); 0 unless |q| > 1e-6.
int FX_QuaternionInverse(double* q, double* out);
void FX_Matrix2Quaternion(double m[4][4], double* q);
// abc = (A, B, C) radians with R = Rz(C) Ry(B) Rx(A); m is a pose matrix's 16 doubles.
int OnMatrix2ABC2(double* m, double* abc);
// Prints the translation and the angles (degrees) of a pose matrix.
void PNTPG_ABC2(double* m);

#endif
