// Vectors and rigid frames for composing URDF trees and fitting chains to them:
// plain doubles, every operation written out, nothing that per-cycle code uses.
#ifndef TOLVEX_URDF_GEOMETRY_H
#define TOLVEX_URDF_GEOMETRY_H

#include <cmath>

namespace tk::urdf_geometry {

constexpr double kPi = 3.14159265358979323846;

struct Vec3 {
    double x = 0.0, y = 0.0, z = 0.0;
};

inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(double s, Vec3 a) { return {s * a.x, s * a.y, s * a.z}; }
inline double dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 cross(Vec3 a, Vec3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
inline double norm(Vec3 a) { return std::sqrt(dot(a, a)); }
inline Vec3 unit(Vec3 a) { return (1.0 / norm(a)) * a; }
// a with its component along the unit vector u removed.
inline Vec3 reject(Vec3 a, Vec3 u) { return a - dot(a, u) * u; }

// Rotation R and origin p: a point v of the frame is R v + p in its parent.
struct Frame {
    double R[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    Vec3 p;

    Vec3 axis(int k) const { return {R[0][k], R[1][k], R[2][k]}; }
    Vec3 rotate(Vec3 v) const
    {
        return {R[0][0] * v.x + R[0][1] * v.y + R[0][2] * v.z, R[1][0] * v.x + R[1][1] * v.y + R[1][2] * v.z,
                R[2][0] * v.x + R[2][1] * v.y + R[2][2] * v.z};
    }
    Vec3 apply(Vec3 v) const { return rotate(v) + p; }
};

inline Frame operator*(const Frame& a, const Frame& b)
{
    Frame out;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out.R[i][j] = a.R[i][0] * b.R[0][j] + a.R[i][1] * b.R[1][j] + a.R[i][2] * b.R[2][j];
    out.p = a.apply(b.p);
    return out;
}

inline Frame inverse(const Frame& f)
{
    Frame out;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out.R[i][j] = f.R[j][i];
    out.p = -1.0 * out.rotate(f.p);
    return out;
}

// The frame whose axes are the orthonormal x, y, z, at origin p.
inline Frame frameOf(Vec3 x, Vec3 y, Vec3 z, Vec3 p)
{
    Frame f;
    const Vec3 axes[3] = {x, y, z};
    for (int k = 0; k < 3; ++k)
        f.R[0][k] = axes[k].x, f.R[1][k] = axes[k].y, f.R[2][k] = axes[k].z;
    f.p = p;
    return f;
}

// A turn by angle about the unit vector u through the origin.
inline Frame turn(Vec3 u, double angle)
{
    const double c = std::cos(angle), s = std::sin(angle), v = 1.0 - c;
    Frame f;
    f.R[0][0] = c + u.x * u.x * v, f.R[0][1] = u.x * u.y * v - u.z * s, f.R[0][2] = u.x * u.z * v + u.y * s;
    f.R[1][0] = u.y * u.x * v + u.z * s, f.R[1][1] = c + u.y * u.y * v, f.R[1][2] = u.y * u.z * v - u.x * s;
    f.R[2][0] = u.z * u.x * v - u.y * s, f.R[2][1] = u.z * u.y * v + u.x * s, f.R[2][2] = c + u.z * u.z * v;
    return f;
}

// URDF origin: translation xyz, then fixed-axis roll about x, pitch about y, yaw about z.
inline Frame fromXyzRpy(Vec3 xyz, double roll, double pitch, double yaw)
{
    Frame f = turn({0, 0, 1}, yaw) * turn({0, 1, 0}, pitch) * turn({1, 0, 0}, roll);
    f.p = xyz;
    return f;
}

// Roll, pitch, yaw of R, each angle taken from what the ones before it leave, so that
// R is rebuilt to rounding even next to pitch = +-pi/2.
inline void rpyOf(const double R[3][3], double rpy[3])
{
    const double yaw = std::atan2(R[1][0], R[0][0]);
    const double c = std::cos(yaw), s = std::sin(yaw);
    // Rz(-yaw) R = Ry(pitch) Rx(roll)
    const double m00 = c * R[0][0] + s * R[1][0], m20 = R[2][0];
    const double m11 = -s * R[0][1] + c * R[1][1], m12 = -s * R[0][2] + c * R[1][2];
    const double pitch = std::atan2(-m20, m00);
    rpy[0] = std::atan2(-m12, m11), rpy[1] = pitch, rpy[2] = yaw;
}

// Modified DH: RotX(alpha) TransX(a) RotZ(theta) TransZ(d).
inline Frame modifiedDh(double alpha, double a, double theta, double d)
{
    const double ca = std::cos(alpha), sa = std::sin(alpha), ct = std::cos(theta), st = std::sin(theta);
    Frame f;
    f.R[0][0] = ct, f.R[0][1] = -st, f.R[0][2] = 0.0;
    f.R[1][0] = ca * st, f.R[1][1] = ca * ct, f.R[1][2] = -sa;
    f.R[2][0] = sa * st, f.R[2][1] = sa * ct, f.R[2][2] = ca;
    f.p = {a, -sa * d, ca * d};
    return f;
}

// The angle of the turn that takes a's axes to b's, from its sine and cosine (no acos
// rounding near 0).
inline double turnAngle(const Frame& a, const Frame& b)
{
    const Frame r = inverse(a) * b;
    const Vec3 sine = {r.R[2][1] - r.R[1][2], r.R[0][2] - r.R[2][0], r.R[1][0] - r.R[0][1]};
    return std::atan2(0.5 * norm(sine), 0.5 * (r.R[0][0] + r.R[1][1] + r.R[2][2] - 1.0));
}

inline void toMatrix(const Frame& f, double m[4][4])
{
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j)
            m[i][j] = f.R[i][j];
        m[3][i] = 0.0;
    }
    m[0][3] = f.p.x, m[1][3] = f.p.y, m[2][3] = f.p.z, m[3][3] = 1.0;
}

inline Frame fromMatrix(const double m[4][4])
{
    Frame f;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            f.R[i][j] = m[i][j];
    f.p = {m[0][3], m[1][3], m[2][3]};
    return f;
}

}  // namespace tk::urdf_geometry

#endif
