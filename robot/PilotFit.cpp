#include "robot/PilotFit.h"

#include <cmath>
#include <cstdint>
#include <cstdio>

#include "math/FxMatrix.h"
#include "math/FxRigid.h"
#include "robot/DescriptionFrames.h"

namespace tk {

void initPilot(Pilot* pilot, const PilotGeometry& g)
{
    double table[8][4] = {};
    table[0][2] = g.d1, table[2][2] = g.d3, table[3][1] = g.a, table[4][2] = g.d5, table[7][2] = g.d7;
    FX_Init_Pilot(pilot, g.variant, table);
}

void JointMap::toModel(const double* q_rad, double* q_deg) const
{
    for (int i = 0; i < 7; ++i) q_deg[i] = toModel(i, q_rad[i]);
}

void JointMap::fromModel(const double* q_deg, double* q_rad) const
{
    for (int i = 0; i < 7; ++i) q_rad[i] = fromModel(i, q_deg[i]);
}

namespace {

constexpr double kAngleTolerance = 1e-9;  // rad
constexpr int kCheckPostures = 16;

struct Vec {
    double x, y, z;
};
Vec operator+(Vec a, Vec b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec operator-(Vec a, Vec b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec operator*(Vec a, double s) { return {a.x * s, a.y * s, a.z * s}; }
double dot(Vec a, Vec b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec cross(Vec a, Vec b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double norm(Vec a) { return std::sqrt(dot(a, a)); }
Vec column(const double m[4][4], int c) { return {m[0][c], m[1][c], m[2][c]}; }

struct Line {
    Vec at, dir;  // a point and the unit direction
};

// The points of two non-parallel lines nearest each other.
void nearestPoints(const Line& l, const Line& m, Vec* on_l, Vec* on_m)
{
    const Vec w = l.at - m.at;
    const double b = dot(l.dir, m.dir), wl = dot(l.dir, w), wm = dot(m.dir, w), den = 1 - b * b;
    *on_l = l.at + l.dir * ((b * wm - wl) / den);
    *on_m = m.at + m.dir * ((wm - b * wl) / den);
}

double distance(Vec p, const Line& l)
{
    const Vec v = p - l.at;
    return norm(v - l.dir * dot(v, l.dir));
}

// Degrees that turn `from` into `to` about `axis` (all three unit, from and to at right angles to axis).
double turnAbout(Vec axis, Vec from, Vec to) { return std::atan2(dot(cross(from, to), axis), dot(from, to)) * FX_RAD2DEG; }

std::string millimetres(double metres)
{
    char text[40];
    const double mm = metres * 1000.0;
    std::snprintf(text, sizeof text, std::fabs(mm) >= 0.05 ? "%.1f mm" : "%.2g mm", mm);
    return text;
}

std::string degrees(double rad)
{
    char text[40];
    std::snprintf(text, sizeof text, "%.1f deg", rad * FX_RAD2DEG);
    return text;
}

bool finite(const double (*m)[4], int rows)
{
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < 4; ++c)
            if (!std::isfinite(m[r][c])) return false;
    return true;
}

bool finiteDescription(const RobotDescription& d)
{
    for (int i = 0; i < d.dof; ++i) {
        const DhJoint& j = d.joint[i];
        if (!std::isfinite(j.alpha) || !std::isfinite(j.a) || !std::isfinite(j.d) || !std::isfinite(j.theta))
            return false;
    }
    return finite(d.base, 4) && finite(d.flange, 4);
}

double armSize(const RobotDescription& d)
{
    double size = norm(column(d.flange, 3));
    for (int i = 0; i < d.dof; ++i) size += std::fabs(d.joint[i].a) + std::fabs(d.joint[i].d);
    return std::fmax(size, 1e-3);
}

// Axes first, first + 1 and first + 2 through one centre point, or why not.
std::string meetInPoint(const Line* axis, int first, const char* centre_name, double tol, Vec* centre)
{
    Vec p, q;
    nearestPoints(axis[first], axis[first + 1], &p, &q);
    const std::string head = "joints " + std::to_string(first + 1) + "-" + std::to_string(first + 3) +
                             " do not meet in a point: axis ";
    if (!(norm(p - q) <= tol))
        return head + std::to_string(first + 2) + " passes " + millimetres(norm(p - q)) + " from axis " +
               std::to_string(first + 1);
    *centre = (p + q) * 0.5;
    const double gap = distance(*centre, axis[first + 2]);
    if (!(gap <= tol))
        return head + std::to_string(first + 3) + " passes " + millimetres(gap) + " from the " + centre_name +
               " centre";
    return "";
}

// The frame that stands on axis 1 where it passes nearest the base origin, z along
// `up`, x the base's x (or y) made perpendicular to it.
void modelBase(const Line& axis1, Vec up, double base[4][4])
{
    const Vec origin = axis1.at - axis1.dir * dot(axis1.at, axis1.dir);
    const Vec px = Vec{1, 0, 0} - up * up.x, py = Vec{0, 1, 0} - up * up.y;
    Vec x, y;
    if (norm(px) >= norm(py)) {
        x = px * (1 / norm(px)), y = cross(up, x);
    } else {
        y = py * (1 / norm(py)), x = cross(y, up);
    }
    const Vec cols[4] = {x, y, up, origin};
    for (int c = 0; c < 4; ++c) base[0][c] = cols[c].x, base[1][c] = cols[c].y, base[2][c] = cols[c].z;
    base[3][0] = base[3][1] = base[3][2] = 0, base[3][3] = 1;
}

// Turn of the last joint (degrees, about `axis`) that best aligns the rotation `now`
// with `want`: the angle maximising trace(Rot(axis, t)^T want now^T).
double alignRotation(Vec axis, const double now[4][4], const double want[4][4])
{
    double m[3][3];
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m[r][c] = want[r][0] * now[c][0] + want[r][1] * now[c][1] + want[r][2] * now[c][2];
    const Vec skew = {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
    const double k[3] = {axis.x, axis.y, axis.z};
    double along = 0;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) along += k[r] * m[r][c] * k[c];
    return std::atan2(dot(axis, skew), m[0][0] + m[1][1] + m[2][2] - along) * FX_RAD2DEG;
}

// The model's flange pose (translation in metres) at model joints m.
void modelFlange(Pilot* pilot, const double* m, double pose[4][4])
{
    double joints[7];
    for (int i = 0; i < 7; ++i) joints[i] = m[i];
    FX_Kine_Pilot(pilot, joints, pose);
    for (int r = 0; r < 3; ++r) pose[r][3] *= 0.001;
}

// Largest translation and rotation-entry differences between the description's flange
// and the fitted model's over seeded random postures.
void worstMiss(const RobotDescription& d, const PilotFit& fit, Pilot* pilot, double* position, double* rotation)
{
    std::uint64_t state = 0x243F6A8885A308D3ULL;  // 64 bits wherever long is 32 (WebAssembly)
    *position = *rotation = 0;
    for (int n = 0; n < kCheckPostures; ++n) {
        double q[7], m[7], model[4][4], placed[4][4], got[4][4], want[kMaxJoints + 1][4][4];
        for (double& v : q) {
            state = state * 6364136223846793005ULL + 1442695040888963407ULL;
            v = (double(state >> 11) / 9007199254740992.0 * 2 - 1) * 3.14159265358979323846;
        }
        descriptionFrames(d, q, want);
        fit.map.toModel(q, m);
        modelFlange(pilot, m, model);
        fx_mul44(fit.base, model, placed);
        fx_mul44(placed, fit.flange, got);
        for (int r = 0; r < 3; ++r) {
            *position = std::fmax(*position, std::fabs(got[r][3] - want[7][r][3]));
            for (int c = 0; c < 3; ++c) *rotation = std::fmax(*rotation, std::fabs(got[r][c] - want[7][r][c]));
        }
    }
}

}  // namespace

std::string fitPilot(const RobotDescription& d, PilotFit* fit)
{
    if (d.dof != 7) return "the analytic arm has 7 joints, this description has " + std::to_string(d.dof);
    if (!finiteDescription(d)) return "the description holds a value that is not a finite number";
    double zero[7] = {}, frames[kMaxJoints + 1][4][4];
    descriptionFrames(d, zero, frames);
    Line axis[7];
    for (int i = 0; i < 7; ++i) axis[i] = {column(frames[i], 3), column(frames[i], 2)};
    PilotFit out;
    const double tol = 1e-9 * armSize(d);

    for (int i = 0; i < 6; ++i) {
        const double c = std::fabs(dot(axis[i].dir, axis[i + 1].dir));
        if (!(c <= kAngleTolerance))
            return "axes " + std::to_string(i + 1) + " and " + std::to_string(i + 2) +
                   " are not perpendicular: " + degrees(std::acos(std::fmin(c, 1.0))) + " apart";
    }
    Vec shoulder, wrist;
    std::string why = meetInPoint(axis, 0, "shoulder", tol, &shoulder);
    if (why.empty()) why = meetInPoint(axis, 4, "wrist", tol, &wrist);
    if (!why.empty()) return why;

    // Joint 4: the common perpendiculars to axes 3 and 5 leave axis 4 at one point, equally long.
    Vec foot3, on4_from3, foot5, on4_from5;
    nearestPoints(axis[2], axis[3], &foot3, &on4_from3);
    nearestPoints(axis[4], axis[3], &foot5, &on4_from5);
    const double before = norm(foot3 - on4_from3), after = norm(foot5 - on4_from5);
    if (!(std::fabs(before - after) <= tol))
        return "joint 4 elbow offsets differ: " + millimetres(before) + " before the joint, " + millimetres(after) +
               " after";
    if (!(norm(on4_from3 - on4_from5) <= tol))
        return "joint 4 elbow offset is not lateral: axes 3 and 5 meet axis 4 " +
               millimetres(norm(on4_from3 - on4_from5)) + " apart";
    const Vec elbow = (on4_from3 + on4_from5) * 0.5;

    // The model's axis directions: each is the description's times sign[i]. Lengths come
    // out non-negative; the elbow offset's side fixes axes 4 and 5 where there is one.
    double sign[7] = {1, 1, 1, 1, 1, 1, 1};
    Vec z[7];
    for (int i = 0; i < 7; ++i) z[i] = axis[i].dir;
    auto pointAlong = [&](int i, Vec v) { sign[i] = dot(v, z[i]) < -tol ? -1 : 1; };
    pointAlong(2, foot3 - shoulder);
    const double d3 = dot(foot3 - shoulder, z[2] * sign[2]);
    const double a = 0.5 * (before + after) > tol ? 0.5 * (before + after) : 0.0;
    if (a > 0) {
        sign[3] = dot(cross(z[2] * sign[2], foot3 - elbow), z[3]) < 0 ? -1 : 1;
        sign[4] = dot(cross(foot5 - elbow, z[3] * sign[3]), z[4]) < 0 ? -1 : 1;
    } else {
        pointAlong(4, wrist - foot5);
    }
    const double d5 = dot(wrist - foot5, z[4] * sign[4]);
    if (!(d5 >= -tol))
        return "joint 4 elbow offset is not lateral: the wrist centre lies " + millimetres(-d5) +
               " back along axis 5";
    if (!(std::hypot(d3, a) > tol)) return "the upper arm has no length: axis 4 passes through the shoulder centre";
    if (!(std::hypot(d5, a) > tol)) return "the forearm has no length: axis 4 passes through the wrist centre";

    const Vec base_origin = axis[0].at - axis[0].dir * dot(axis[0].at, axis[0].dir);
    pointAlong(0, shoulder - base_origin);
    const double d1 = dot(shoulder - base_origin, z[0] * sign[0]);
    modelBase(axis[0], z[0] * sign[0], out.base);

    // Wrist variant by the pattern at the description's zero: axes 5 and 7 nearer
    // parallel (Z-Y-Z) or nearer perpendicular (Z-Y-X). Variant 0 keeps its flange on
    // axis 7, variant 1 at right angles to it.
    const unsigned char variant = std::fabs(dot(z[4], z[6])) >= std::sqrt(0.5) ? 0 : 1;
    const Vec reach = column(frames[7], 3) - wrist, aside = reach - z[6] * dot(reach, z[6]);
    double d7 = norm(aside);
    if (variant == 0) {
        pointAlong(6, reach);
        d7 = dot(reach, z[6] * sign[6]);
    }
    out.geometry = PilotGeometry{d1 * 1000, d3 * 1000, a * 1000, d5 * 1000, d7 * 1000, variant};
    Pilot pilot;
    initPilot(&pilot, out.geometry);

    // The model's posture at the description's zero, joint by joint: each turn brings
    // the next axis onto the description's; the last aligns the flange.
    const Vec bx = column(out.base, 0), by = column(out.base, 1), bz = column(out.base, 2);
    auto inModelBase = [&](Vec v) { return Vec{dot(bx, v), dot(by, v), dot(bz, v)}; };
    double m[7] = {}, pose[4][4];
    for (int i = 0; i < 6; ++i) {
        FX_Kine_Pilot(&pilot, m, pose);
        double turn = turnAbout(column(pilot.joint_pose[i], 2), column(pilot.joint_pose[i + 1], 2),
                                inModelBase(z[i + 1] * sign[i + 1]));
        if (i == 5 && variant == 1 && std::fabs(turn) > 90) {
            sign[6] = -1;  // keeps joint 6 of the Z-Y-X wrist clear of its singular +-90 deg
            turn -= std::copysign(180.0, turn);
        }
        m[i] = turn;
    }
    FX_Kine_Pilot(&pilot, m, pose);
    const Vec axis7 = column(pilot.joint_pose[6], 2);
    if (variant == 1 && d7 > tol) {
        m[6] = turnAbout(axis7, column(pose, 3) - column(pilot.joint_pose[6], 3), inModelBase(aside));
    } else {
        double inverse_base[4][4], flange_in_model_base[4][4];
        FX_PGMatrixInv(out.base, inverse_base);
        fx_mul44(inverse_base, frames[7], flange_in_model_base);
        m[6] = alignRotation(axis7, pose, flange_in_model_base);
    }
    for (int i = 0; i < 7; ++i) out.map.sign[i] = sign[i], out.map.offset_deg[i] = m[i];

    double model[4][4], placed[4][4], inverse_placed[4][4];
    modelFlange(&pilot, m, model);
    fx_mul44(out.base, model, placed);
    FX_PGMatrixInv(placed, inverse_placed);
    fx_mul44(inverse_placed, frames[7], out.flange);

    double position, rotation;
    worstMiss(d, out, &pilot, &position, &rotation);
    if (!(position <= tol && rotation <= kAngleTolerance)) {
        char text[80];
        std::snprintf(text, sizeof text, "%.2g rad", rotation);
        return "the fitted model misses the description's flange by " + millimetres(position) + " and " + text;
    }
    *fit = out;
    return "";
}

}  // namespace tk
