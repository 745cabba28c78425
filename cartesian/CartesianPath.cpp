#include "cartesian/CartesianPath.h"

#include <cmath>

#include "math/FxPose.h"
#include "math/FxQuaternion.h"
#include "math/FxRigid.h"
#include "math/FxScalar.h"

namespace {

// Below these a translation or a turn counts as none.
constexpr double kSamePosition = 1e-6;  // mm
constexpr double kSameTurn = 1e-6;      // deg
// The three points of an arc must lie this far apart (mm), and the via point
// this far off the line (sine of the angle at the start).
constexpr double kMinChord = 1e-3;
constexpr double kMinBend = 1e-6;

double Dot(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
double Norm(const double* a) { return std::sqrt(Dot(a, a)); }

// Finite, with an orthonormal right-handed rotation.
bool RigidPose(const double m[4][4])
{
    for (int r = 0; r < 3; ++r)
        if (!FX_AllFinite(m[r], 4))
            return false;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const double dot = m[0][i] * m[0][j] + m[1][i] * m[1][j] + m[2][i] * m[2][j];
            if (std::fabs(dot - (i == j ? 1.0 : 0.0)) > 1e-6)
                return false;
        }
    const double col0[3] = {m[0][0], m[1][0], m[2][0]}, col1[3] = {m[0][1], m[1][1], m[2][1]};
    double cross[3];
    fx_cross(col0, col1, cross);
    return cross[0] * m[0][2] + cross[1] * m[1][2] + cross[2] * m[2][2] > 0;
}

void CopyPose(const double in[4][4], double out[4][4])
{
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
            out[r][c] = in[r][c];
    out[3][0] = out[3][1] = out[3][2] = 0;
    out[3][3] = 1;
}

// The start, the target and the shortest turn between their orientations.
void SetEnds(CartPath* path, const double start[4][4], const double target[4][4])
{
    CopyPose(start, path->start);
    CopyPose(target, path->target);
    double relative[4][4] = {};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            relative[r][c] = start[0][r] * target[0][c] + start[1][r] * target[1][c] + start[2][r] * target[2][c];
    double q[4];
    FX_Matrix2Quaternion(relative, q);
    if (q[3] < 0)
        for (double& x : q)
            x = -x;
    const double sine = Norm(q);
    path->turn = 2 * std::atan2(sine, q[3]) * FX_RAD2DEG;
    const double local[3] = {sine > 0 ? q[0] / sine : 0, sine > 0 ? q[1] / sine : 0, sine > 0 ? q[2] / sine : 1};
    fx_rotate(start, local, path->turn_axis);
}

}  // namespace

const char* FX_CartPathLin(CartPath* path, const double start[4][4], const double target[4][4])
{
    if (!RigidPose(start))
        return "the start pose is not a finite rigid transform";
    if (!RigidPose(target))
        return "the target pose is not a finite rigid transform";
    *path = CartPath{};
    path->kind = CART_LIN;
    SetEnds(path, start, target);
    const double d[3] = {target[0][3] - start[0][3], target[1][3] - start[1][3], target[2][3] - start[2][3]};
    path->length = Norm(d);
    if (path->length <= kSamePosition && path->turn <= kSameTurn)
        return "the target equals the start pose";
    return nullptr;
}

const char* FX_CartPathCirc(CartPath* path, const double start[4][4], const double via[3],
                            const double target[4][4])
{
    if (!RigidPose(start))
        return "the start pose is not a finite rigid transform";
    if (!RigidPose(target))
        return "the target pose is not a finite rigid transform";
    if (!FX_AllFinite(via, 3))
        return "the via point is not finite";
    const double p0[3] = {start[0][3], start[1][3], start[2][3]};
    const double a[3] = {via[0] - p0[0], via[1] - p0[1], via[2] - p0[2]};
    const double b[3] = {target[0][3] - p0[0], target[1][3] - p0[1], target[2][3] - p0[2]};
    const double c[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
    if (Norm(b) < kMinChord)
        return "the target position equals the start: an arc needs three distinct points";
    if (Norm(a) < kMinChord)
        return "the via point coincides with the start";
    if (Norm(c) < kMinChord)
        return "the via point coincides with the target";
    double normal[3];
    fx_cross(a, b, normal);
    const double area = Norm(normal);
    if (!(area > kMinBend * Norm(a) * Norm(b)))
        return "the via point lies on the line from start to target";

    *path = CartPath{};
    path->kind = CART_CIRC;
    SetEnds(path, start, target);
    // Circumcentre of the triangle start, via, target: p0 + (|a|^2 b - |b|^2 a) x (a x b) / (2 |a x b|^2).
    const double aa = Dot(a, a), bb = Dot(b, b);
    const double mix[3] = {aa * b[0] - bb * a[0], aa * b[1] - bb * a[1], aa * b[2] - bb * a[2]};
    double offset[3];
    fx_cross(mix, normal, offset);
    const double scale = 1 / (2 * area * area);
    for (int i = 0; i < 3; ++i)
        path->centre[i] = p0[i] + offset[i] * scale;
    path->radius = Norm(offset) * scale;
    double axis[3];
    for (int i = 0; i < 3; ++i) {
        path->radial[i] = -offset[i] * scale / path->radius;
        axis[i] = normal[i] / area;  // the sense in which start, via, target follow each other
    }
    fx_cross(axis, path->radial, path->tangent);
    const double end[3] = {target[0][3] - path->centre[0], target[1][3] - path->centre[1],
                           target[2][3] - path->centre[2]};
    double arc = std::atan2(Dot(end, path->tangent), Dot(end, path->radial)) * FX_RAD2DEG;
    if (arc <= 0)
        arc += 360;
    path->arc = arc;
    path->length = path->radius * arc * FX_DEG2RAD;
    return nullptr;
}

void FX_CartPathPose(const CartPath* path, double s, double pose[4][4])
{
    if (s == 0 || s == 1) {
        CopyPose(s == 0 ? path->start : path->target, pose);
        return;
    }
    double from[3][3], turned[3][3], axis[3] = {path->turn_axis[0], path->turn_axis[1], path->turn_axis[2]};
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            from[r][c] = path->start[r][c];
    FX_MatRotAxis(axis, s * path->turn, from, turned);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            pose[r][c] = turned[r][c];
    if (path->kind == CART_LIN) {
        for (int r = 0; r < 3; ++r)
            pose[r][3] = (1 - s) * path->start[r][3] + s * path->target[r][3];
    } else {
        double sine, cosine;
        FX_SIN_COS_DEG(s * path->arc, &sine, &cosine);
        for (int r = 0; r < 3; ++r)
            pose[r][3] = path->centre[r] + path->radius * (cosine * path->radial[r] + sine * path->tangent[r]);
    }
    pose[3][0] = pose[3][1] = pose[3][2] = 0;
    pose[3][3] = 1;
}
