#include "urdf/Inertia.h"

#include <algorithm>
#include <cstdio>

namespace tk::urdf_geometry {

namespace {

// m (|c|^2 E - c c^T): what a point mass m at c adds to an inertia about the origin.
void addPointMass(double m, Vec3 c, double sign, double out[3][3])
{
    const double v[3] = {c.x, c.y, c.z}, squared = dot(c, c);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out[i][j] += sign * m * ((i == j ? squared : 0.0) - v[i] * v[j]);
}

// Eigenvalues of a symmetric 3x3 matrix by Jacobi turns, in ascending order.
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

BodyInertia expressedIn(const Frame& f, const BodyInertia& body)
{
    BodyInertia out;
    out.mass = body.mass;
    out.com = f.apply(body.com);
    double rotated[3][3] = {};  // R I
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                rotated[i][j] += f.R[i][k] * body.inertia[k][j];
    for (int i = 0; i < 3; ++i)  // R I R^T
        for (int j = 0; j < 3; ++j)
            out.inertia[i][j] = rotated[i][0] * f.R[j][0] + rotated[i][1] * f.R[j][1] + rotated[i][2] * f.R[j][2];
    return out;
}

void InertiaSum::add(const BodyInertia& body)
{
    if (mass_ == 0.0)
        reference_ = body.com;
    const Vec3 offset = body.com - reference_;
    mass_ += body.mass;
    moment_ = moment_ + body.mass * offset;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            aboutReference_[i][j] += body.inertia[i][j];
    addPointMass(body.mass, offset, 1.0, aboutReference_);
}

BodyInertia InertiaSum::total() const
{
    BodyInertia out;
    if (!(mass_ > 0.0))
        return out;
    out.mass = mass_;
    const Vec3 com = (1.0 / mass_) * moment_;
    out.com = reference_ + com;
    std::copy(&aboutReference_[0][0], &aboutReference_[0][0] + 9, &out.inertia[0][0]);
    addPointMass(mass_, com, -1.0, out.inertia);
    // exactly symmetric, whatever the rounding of the two triangles
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < i; ++j)
            out.inertia[i][j] = out.inertia[j][i] = 0.5 * (out.inertia[i][j] + out.inertia[j][i]);
    return out;
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

}  // namespace tk::urdf_geometry
