#include "urdf/DhFit.h"

namespace tk::urdf_geometry {

namespace {

// Closer to parallel than this (the sine of their angle), two axes are taken as parallel:
// their common normal would lie so far away that its offsets lose the chain's precision.
constexpr double kParallel = 1e-8;
constexpr double kCoincident = 1e-10;  // m: parallel axes this close are one line
constexpr double kKeep = 1e-9;         // a written frame 0 this close to a valid one is kept

// A unit x normal to the unit z, as close to the preferred frame's x as can be (its y
// where its x runs nearly along z).
Vec3 xNormalTo(Vec3 z, const Frame& preferred)
{
    const Vec3 x = reject(preferred.axis(0), z);
    return unit(norm(x) > 0.1 ? x : reject(preferred.axis(1), z));
}

// The frame with the unit z and x (made exactly normal to z) at origin.
Frame dhFrame(Vec3 z, Vec3 x, Vec3 origin)
{
    x = unit(reject(x, z));
    return frameOf(x, cross(z, x), z, origin);
}

// Frame 0: the written frame when its x meets axis 1 at a right angle; otherwise z along
// axis 1, at the foot of the written origin.
Frame firstFrame(const ChainAtZero& chain)
{
    const Frame& written = chain.before;
    const Vec3 axis = chain.axis[0], point = chain.moving[0].p;
    const Vec3 x = xNormalTo(axis, written);
    const Vec3 fromAxis = written.p - point;
    const Vec3 gap = reject(reject(fromAxis, axis), x);  // normal to both lines
    if (std::abs(dot(written.axis(0), axis)) < kKeep && norm(gap) < kKeep)
        return dhFrame(unit(reject(written.axis(2), x)), x, written.p - gap);
    return dhFrame(axis, x, point + dot(fromAxis, axis) * axis);
}

// Frame i (0 < i < joints): on axis i where the common normal to axis i+1 leaves it, x along
// that normal; for parallel axes at the written origin, x towards the next axis.
Frame innerFrame(const ChainAtZero& chain, int i)
{
    const Frame& written = chain.moving[i - 1];
    const Vec3 u = chain.axis[i - 1], v = chain.axis[i], p = written.p, q = chain.moving[i].p;
    const Vec3 normal = cross(u, v);
    const double sine = norm(normal);
    Vec3 x, origin = p;
    if (sine > kParallel) {
        const Vec3 w = p - q;
        origin = p + ((dot(u, v) * dot(v, w) - dot(u, w)) / (sine * sine)) * u;
        x = (1.0 / sine) * normal;
    } else {
        const Vec3 toward = reject(q - p, u);
        x = norm(toward) > kCoincident ? unit(toward) : xNormalTo(u, written);
    }
    if (dot(x, written.axis(0)) < 0.0)
        x = -1.0 * x;
    return dhFrame(u, x, origin);
}

}  // namespace

double wrapAngle(double x)
{
    const double r = std::remainder(x, 2.0 * kPi);
    return r <= -kPi + 1e-12 ? r + 2.0 * kPi : r;
}

DhFit fitModifiedDh(const ChainAtZero& chain)
{
    DhFit fit;
    const int n = chain.joints;
    fit.frame[0] = firstFrame(chain);
    for (int i = 1; i < n; ++i)
        fit.frame[i] = innerFrame(chain, i);
    const Frame& last = chain.moving[n - 1];
    fit.frame[n] = dhFrame(chain.axis[n - 1], xNormalTo(chain.axis[n - 1], last), last.p);
    for (int i = 0; i < n; ++i) {
        // RotX(alpha) TransX(a) RotZ(theta) TransZ(d): the rotation's column z is
        // (0, -sin alpha, cos alpha), its row x (cos theta, -sin theta, 0).
        const Frame step = inverse(fit.frame[i]) * fit.frame[i + 1];
        DhJoint& joint = fit.joint[i];
        joint.alpha = wrapAngle(std::atan2(-step.R[1][2], step.R[2][2]));
        joint.theta = wrapAngle(std::atan2(-step.R[0][1], step.R[0][0]));
        joint.a = step.p.x;
        joint.d = -std::sin(joint.alpha) * step.p.y + std::cos(joint.alpha) * step.p.z;
    }
    return fit;
}

}  // namespace tk::urdf_geometry
