// Header-inline forms of the vector and pose-matrix steps that the per-cycle
// routines repeat many times, so that they compile into their callers. Each
// does exactly the arithmetic of its exported counterpart in FxMatrix.h.
#ifndef TOLVEX_MATH_FXRIGID_H
#define TOLVEX_MATH_FXRIGID_H

// out = a x b (FX_VectCross).
inline void fx_cross(const double* a, const double* b, double* out)
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

// out = rotation block of m times v (FX_MVmult43).
inline void fx_rotate(const double m[4][4], const double* v, double* out)
{
    for (int r = 0; r < 3; ++r) out[r] = m[r][0] * v[0] + m[r][1] * v[1] + m[r][2] * v[2];
}

// out = in x Rz with cos c and sin s, last row 0, 0, 0, 1 (FX_XYZMRot).
inline void fx_turn_z(const double (*__restrict in)[4], double c, double s, double (*__restrict out)[4])
{
    for (int r = 0; r < 3; ++r) {
        out[r][0] = in[r][0] * c + in[r][1] * s;
        out[r][1] = in[r][1] * c - in[r][0] * s;
        out[r][2] = in[r][2];
        out[r][3] = in[r][3];
    }
    out[3][0] = 0;
    out[3][1] = 0;
    out[3][2] = 0;
    out[3][3] = 1;
}

// out = a x b (FX_MMM44) for a b whose last row is exactly 0, 0, 0, 1: the
// products with those zeros and that one are left out of rows 0-2. Row 3 is
// formed in full, so that a NaN in b still reaches it as in the full product.
inline void fx_mul_rigid(const double (*__restrict a)[4], const double (*__restrict b)[4], double (*__restrict out)[4])
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) out[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
        out[r][3] = a[r][0] * b[0][3] + a[r][1] * b[1][3] + a[r][2] * b[2][3] + a[r][3];
    }
    for (int c = 0; c < 4; ++c)
        out[3][c] = a[3][0] * b[0][c] + a[3][1] * b[1][c] + a[3][2] * b[2][c] + a[3][3] * b[3][c];
}

inline void fx_copy44(const double (*__restrict src)[4], double (*__restrict dst)[4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) dst[r][c] = src[r][c];
}

#endif
