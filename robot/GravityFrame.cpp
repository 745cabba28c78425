#include "robot/GravityFrame.h"

#include <cmath>

namespace tk {

namespace {

using Vec = long double[3];

long double dot(const long double* a, const long double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void cross(const long double* a, const long double* b, long double* out)
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

void normalise(long double* v)
{
    const long double n = std::sqrt(dot(v, v));
    for (int k = 0; k < 3; ++k) v[k] /= n;
}

}  // namespace

GravityFrame gravityFrame(const double base[4][4], const DhJoint& first, const double gravity[3])
{
    GravityFrame f{};
    const long double g = std::sqrt((long double)gravity[0] * gravity[0] +
                                    (long double)gravity[1] * gravity[1] +
                                    (long double)gravity[2] * gravity[2]);
    if (g == 0.0L) {
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) f.base[r][c] = base[r][c];
        f.first = first;
        return f;
    }
    // Joint 1's axis u, a point o on it and its x axis at angle 0, in the base frame.
    const long double sa = std::sin((long double)first.alpha), ca = std::cos((long double)first.alpha);
    const long double local_u[3] = {0.0L, -sa, ca};
    const long double local_o[3] = {(long double)first.a, -sa * first.d, ca * first.d};
    Vec u, o, x0;
    for (int r = 0; r < 3; ++r) {
        u[r] = 0.0L, o[r] = base[r][3], x0[r] = base[r][0];
        for (int k = 0; k < 3; ++k) {
            u[r] += base[r][k] * local_u[k];
            o[r] += base[r][k] * local_o[k];
        }
    }
    normalise(u);
    // y against gravity; x perpendicular to y and to the axis, so that the axis is
    // reached by a turn about x; the origin on the axis.
    Vec y = {-gravity[0] / g, -gravity[1] / g, -gravity[2] / g}, x, z;
    cross(y, u, x);
    if (std::sqrt(dot(x, x)) < 1e-12L) {
        const long double along = dot(x0, y);
        for (int k = 0; k < 3; ++k) x[k] = x0[k] - along * y[k];
    }
    normalise(x);
    cross(x, y, z);
    for (int r = 0; r < 3; ++r) {
        f.base[r][0] = (double)x[r], f.base[r][1] = (double)y[r], f.base[r][2] = (double)z[r];
        f.base[r][3] = (double)o[r];
    }
    f.base[3][3] = 1.0;
    Vec zu, xx;
    cross(z, u, zu);
    cross(x, x0, xx);
    f.first.alpha = (double)std::atan2(dot(zu, x), dot(z, u));
    f.first.a = 0.0;
    f.first.d = 0.0;
    f.first.theta = (double)((long double)first.theta + std::atan2(dot(xx, u), dot(x, x0)));
    f.gravityY = (double)-g;
    return f;
}

}  // namespace tk
