// XYZABC <-> pose matrix conversions (R = Rz(C) Ry(B) Rx(A), degrees in),
// Z-Y-Z / Z-Y-X Euler extraction with their singular cases, axis-angle
// rotation and the angle-unwrapping helper MinDif.
#ifndef TOLVEX_MATH_FXPOSE_H
#define TOLVEX_MATH_FXPOSE_H

extern "C" {
// Pose matrix from x, y, z (pose units) and A, B, C in degrees.
void FX_XYZABC2Matrix4DEG(double xyzabc[6], double m[4][4]);
// Inverse extraction. Despite the name, A, B, C come out in radians. Returns 1.
int FX_Matrix42XYZABCDEG(double m[4][4], double xyzabc[6]);
}

void FX_XYZABC2PG(double xyzabc[6], double m[4][4]);   // same matrix as above
void XYZABC2MAT4(double xyzabc[6], double m[4][4]);    // same, separate sin/cos calls
// out = (alpha, beta, gamma) degrees, R = Rz(alpha) Ry(beta) Rz(gamma); 0 when singular.
int Matrix2ZYZ(double r[3][3], double out[3]);
// out = (alpha, beta, gamma) degrees, R = Rz(alpha) Ry(beta) Rx(gamma); 0 when singular.
int Matrix2ZYX(double r[3][3], double out[3]);
// out = R(axis, angle degrees) x in; the axis is used as given (not normalised).
void FX_MatRotAxis(double* axis, double angle, double in[3][3], double out[3][3]);
// Moves *angle by whole turns to within 180 degrees of target; returns |difference|.
// A non-finite difference makes *angle NaN and returns NaN.
double MinDif(double target, double* angle);

#endif
