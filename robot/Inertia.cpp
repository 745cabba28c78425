#include "robot/Inertia.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tk {

namespace {

// Eigenvalues of the symmetric matrix, ascending, by Jacobi rotations (accurate for
// the small off-diagonal terms of nearly principal axes).
void symmetricEigenvalues(const double in[3][3], double out[3])
{
    double a[3][3];
    std::copy(&in[0][0], &in[0][0] + 9, &a[0][0]);
    for (int sweep = 0; sweep < 50; ++sweep) {
        const double off = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
        const double diagonal = a[0][0] * a[0][0] + a[1][1] * a[1][1] + a[2][2] * a[2][2];
        if (!(off > 1e-36 * diagonal))
            break;
        for (int p = 0; p < 2; ++p) {
            for (int q = p + 1; q < 3; ++q) {
                if (a[p][q] == 0.0)
                    continue;
                const double tau = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
                const double t = (tau >= 0 ? 1.0 : -1.0) / (std::abs(tau) + std::sqrt(1.0 + tau * tau));
                const double c = 1.0 / std::sqrt(1.0 + t * t), s = t * c;
                for (int k = 0; k < 3; ++k) {  // columns p, q
                    const double kp = a[k][p], kq = a[k][q];
                    a[k][p] = c * kp - s * kq, a[k][q] = s * kp + c * kq;
                }
                for (int k = 0; k < 3; ++k) {  // rows p, q
                    const double pk = a[p][k], qk = a[q][k];
                    a[p][k] = c * pk - s * qk, a[q][k] = s * pk + c * qk;
                }
            }
        }
    }
    out[0] = a[0][0], out[1] = a[1][1], out[2] = a[2][2];
    std::sort(out, out + 3);
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
    const double* I = body.inertia;
    const double matrix[3][3] = {{I[0], I[1], I[2]}, {I[1], I[3], I[4]}, {I[2], I[4], I[5]}};
    return inertiaFault(matrix);
}

std::string inertiaFault(const double inertia[3][3])
{
    double moment[3];
    symmetricEigenvalues(inertia, moment);
    char text[160];
    // Room for the rounding of values written with a few digits, as a thin disc's are.
    const double slack = 1e-9 * (std::abs(moment[0]) + std::abs(moment[1]) + std::abs(moment[2]));
    if (!(moment[0] > 0.0))
        std::snprintf(text, sizeof text, "inertia is not positive definite (principal moments %.6g, %.6g, %.6g)",
                      moment[0], moment[1], moment[2]);
    else if (!(moment[0] + moment[1] >= moment[2] - slack))
        std::snprintf(text, sizeof text,
                      "inertia breaks the triangle inequality (principal moments %.6g + %.6g < %.6g)", moment[0],
                      moment[1], moment[2]);
    else
        return "";
    return text;
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
