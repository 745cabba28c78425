#include "math/FxMatrix.h"

#include "math/FxRigid.h"
#include "math/FxScalar.h"

void FX_VectAdd(double* a, long n, double* b, double* out)
{
    for (long i = 0; i < n; ++i)
        out[i] = a[i] + b[i];
}

void FX_VectCross(double* a, double* b, double* out) { fx_cross(a, b, out); }

void FX_VectNorm(double* v)
{
    double len = FX_Sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    v[0] /= len;
    v[1] /= len;
    v[2] /= len;
}

void FX_MVmult43(double m[4][4], double* v, double* out) { fx_rotate(m, v, out); }

void FX_M44Copy(double src[4][4], double dst[4][4]) { fx_copy44(src, dst); }

void IdentM44(double m[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            m[r][c] = (r == c) ? 1.0 : 0.0;
}

void FX_TMatTranspose(double in[4][4], double out[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out[r][c] = in[c][r];
}

void FX_MMM44(double a[4][4], double b[4][4], double out[4][4]) { fx_mul44(a, b, out); }

void FX_MMM33(double a[3][3], double b[3][3], double out[3][3])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            out[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
}

void FX_M3Transport(double in[3][3], double out[3][3])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            out[r][c] = in[c][r];
}

void FX_XYZMRot(double in[4][4], double c, double s, double out[4][4]) { fx_turn_z(in, c, s, out); }

void XYZMRot(double in[4][4], double c, double s, double out[4][4]) { FX_XYZMRot(in, c, s, out); }

void FX_PGMatrixInv(double in[4][4], double out[4][4])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            out[r][c] = in[c][r];
    for (int i = 0; i < 3; ++i)
        out[i][3] = -(in[0][i] * in[0][3] + in[1][i] * in[1][3] + in[2][i] * in[2][3]);
    out[3][0] = 0;
    out[3][1] = 0;
    out[3][2] = 0;
    out[3][3] = 1;
}
