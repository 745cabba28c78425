#include "robot/Inertia.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tk {

namespace {

// Eigenvalues of the symmetric matrix (xx, xy, xz, yy, yz, zz), ascending.
void principalMoments(const double* I, double e[3])
{
    const double xx = I[0], xy = I[1], xz = I[2], yy = I[3], yz = I[4], zz = I[5];
    const double off = xy * xy + xz * xz + yz * yz;
    if (off == 0.0) {
        e[0] = xx, e[1] = yy, e[2] = zz;
    } else {
        const double q = (xx + yy + zz) / 3.0;
        const double p = std::sqrt(((xx - q) * (xx - q) + (yy - q) * (yy - q) + (zz - q) * (zz - q) + 2.0 * off) / 6.0);
        const double a = (xx - q) / p, b = (yy - q) / p, c = (zz - q) / p;
        const double u = xy / p, v = xz / p, w = yz / p;
        const double r = std::clamp((a * (b * c - w * w) - u * (u * c - w * v) + v * (u * w - b * v)) / 2.0, -1.0, 1.0);
        const double phi = std::acos(r) / 3.0;
        e[2] = q + 2.0 * p * std::cos(phi);
        e[0] = q + 2.0 * p * std::cos(phi + 2.0943951023931957);
        e[1] = 3.0 * q - e[0] - e[2];
    }
    std::sort(e, e + 3);
}

std::string moments(const double e[3])
{
    char text[96];
    std::snprintf(text, sizeof text, "%g, %g, %g kg m^2", e[0], e[1], e[2]);
    return text;
}

}  // namespace

std::string inertialProblem(const LinkInertial& body)
{
    bool finite = std::isfinite(body.mass) && std::isfinite(body.rotor_inertia);
    for (double v : body.com) finite = finite && std::isfinite(v);
    for (double v : body.inertia) finite = finite && std::isfinite(v);
    if (!finite)
        return "an inertial value is not a finite number";
    if (body.mass < 0.0)
        return "mass " + std::to_string(body.mass) + " kg is negative";
    if (body.rotor_inertia < 0.0)
        return "rotor inertia is negative";
    bool noInertia = true;
    for (double v : body.inertia) noInertia = noInertia && v == 0.0;
    if (body.mass == 0.0)
        return noInertia ? "" : "a massless link has inertia";
    double e[3];
    principalMoments(body.inertia, e);
    if (!(e[0] > 0.0))
        return "inertia is not positive definite (principal moments " + moments(e) + ")";
    if (e[2] > e[0] + e[1] + 1e-9 * (e[0] + e[1] + e[2]))
        return "principal moments break the triangle inequality (" + moments(e) + ")";
    return "";
}

OriginInertia aboutOrigin(const LinkInertial& body, const double pose[4][4])
{
    // The centre of mass and the inertia in the target axes.
    double c[3], R[3][3], I[3][3] = {{body.inertia[0], body.inertia[1], body.inertia[2]},
                                     {body.inertia[1], body.inertia[3], body.inertia[4]},
                                     {body.inertia[2], body.inertia[4], body.inertia[5]}};
    for (int r = 0; r < 3; ++r) {
        c[r] = pose[r][3];
        for (int k = 0; k < 3; ++k) {
            c[r] += pose[r][k] * body.com[k];
            R[r][k] = pose[r][k];
        }
    }
    double RI[3][3] = {}, Ir[3][3] = {};
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k)
            for (int s = 0; s < 3; ++s) RI[r][k] += R[r][s] * I[s][k];
    for (int r = 0; r < 3; ++r)
        for (int k = 0; k < 3; ++k)
            for (int s = 0; s < 3; ++s) Ir[r][k] += RI[r][s] * R[k][s];
    // Parallel axes: about the origin, I + m (|c|^2 E - c c^T).
    const double m = body.mass, x = c[0], y = c[1], z = c[2];
    OriginInertia o;
    o.J[0] = Ir[0][0] + m * (y * y + z * z);
    o.J[1] = Ir[0][1] - m * x * y;
    o.J[2] = Ir[0][2] - m * x * z;
    o.J[3] = Ir[1][1] + m * (x * x + z * z);
    o.J[4] = Ir[1][2] - m * y * z;
    o.J[5] = Ir[2][2] + m * (x * x + y * y);
    o.MS[0] = m * x, o.MS[1] = m * y, o.MS[2] = m * z;
    o.M = m;
    return o;
}

void accumulate(OriginInertia& a, const OriginInertia& b)
{
    for (int k = 0; k < 6; ++k) a.J[k] += b.J[k];
    for (int k = 0; k < 3; ++k) a.MS[k] += b.MS[k];
    a.M += b.M;
}

}  // namespace tk
