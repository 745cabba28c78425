// Header-inline forms of the vector and pose-matrix steps that the per-cycle
// routines repeat many times, so that they compile into their callers. Each
// does exactly the arithmetic of its exported counterpart in FxMatrix.h,
// signed zeros and NaN included.
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

// Two doubles side by side (any alignment); each lane is an ordinary IEEE
// operation, so the results are those of the scalar steps, two at a time.
typedef double fx_pair __attribute__((vector_size(16), aligned(8), may_alias));

inline fx_pair fx_load2(const double* p) { return *reinterpret_cast<const fx_pair*>(p); }
inline void fx_store2(double* p, fx_pair v) { *reinterpret_cast<fx_pair*>(p) = v; }

// out = in x Rz with cos c and sin s, last row 0, 0, 0, 1 (FX_XYZMRot).
inline void fx_turn_z(const double (*__restrict in)[4], double c, double s, double (*__restrict out)[4])
{
    const fx_pair cc = {c, c}, sn = {s, -s};  // in1 c - in0 s == in1 c + in0 (-s)
    for (int r = 0; r < 3; ++r) {
        const fx_pair v = fx_load2(in[r]);
        const fx_pair swapped = {v[1], v[0]};
        fx_store2(out[r], v * cc + swapped * sn);
        fx_store2(out[r] + 2, fx_load2(in[r] + 2));
    }
    fx_store2(out[3], fx_pair{0, 0});
    fx_store2(out[3] + 2, fx_pair{0, 1});
}

// out = a x b, every sum in FX_MMM44's order, two columns at a time. Rows < 4
// forms only the first rows of out, for a caller that never reads the others.
template <int Rows = 4>
inline void fx_mul44(const double (*__restrict a)[4], const double (*__restrict b)[4], double (*__restrict out)[4])
{
    const fx_pair b0l = fx_load2(b[0]), b0h = fx_load2(b[0] + 2), b1l = fx_load2(b[1]), b1h = fx_load2(b[1] + 2);
    const fx_pair b2l = fx_load2(b[2]), b2h = fx_load2(b[2] + 2), b3l = fx_load2(b[3]), b3h = fx_load2(b[3] + 2);
    for (int r = 0; r < Rows; ++r) {
        const fx_pair x = {a[r][0], a[r][0]}, y = {a[r][1], a[r][1]};
        const fx_pair z = {a[r][2], a[r][2]}, w = {a[r][3], a[r][3]};
        fx_store2(out[r], x * b0l + y * b1l + z * b2l + w * b3l);
        fx_store2(out[r] + 2, x * b0h + y * b1h + z * b2h + w * b3h);
    }
}

inline void fx_copy44(const double (*__restrict src)[4], double (*__restrict dst)[4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) dst[r][c] = src[r][c];
}

// True when m is exactly the identity (a frame that adds nothing).
inline bool fx_is_identity44(const double (*m)[4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            if (m[r][c] != (r == c ? 1.0 : 0.0)) return false;
    return true;
}

#endif
