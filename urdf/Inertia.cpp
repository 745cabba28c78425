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


}  // namespace tk::urdf_geometry
