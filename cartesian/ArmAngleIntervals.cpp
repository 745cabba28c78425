#include "cartesian/ArmAngleIntervals.h"

#include <cmath>
#include <initializer_list>

#include "math/FxScalar.h"
#include "pilot/PilotLimitCheck.h"

namespace {

constexpr int kMaxCandidates = 96;
// Arm-angle grid on which the corner curves are looked for, and the step by
// which an edge is moved onto its usable side, deg.
constexpr int kCornerGrid = 72;
constexpr double kNudge = 1e-10;

// Each entry of a frame as a + b cos(psi) + c sin(psi).
struct Trig {
    double a[3][3], b[3][3], c[3][3];
    double at(int i, int j, double cs, double sn) const { return a[i][j] + b[i][j] * cs + c[i][j] * sn; }
};

// How a joint is read from its frame: atan2(Y, X) of two signed entries, or the
// middle joint of an Euler triple from one entry (its arc cosine or arc sine).
enum ReadingKind { kAtan, kAcos, kAsin };
struct Reading {
    int joint;        // 0-based
    bool wrist;       // read from the wrist frame, else from joint 3's
    ReadingKind kind;
    int yi, yj;       // the sine-side entry (the only one for kAcos, kAsin)
    double ysign;
    int xi, xj;       // the cosine-side entry
    double xsign;
    double branch;    // kAcos: the joint's sign; kAsin: the sign of its cosine
};

struct Candidate {
    double angle;
    unsigned char cause, joint;
    bool barrier;     // the joint wraps here: usable angles on both sides do not join
};

struct Search {
    const ArmModel* model;
    PilotLmt* lmt;
    const ArmBranch* branch;
    ArmPose pose;
    Trig upper, wrist;
    Reading reading[6];
    Candidate cand[kMaxCandidates];
    int count;
};

double Wrap(double angle) { return FX_WrapHalfOpen(angle); }

bool Usable(const Search& s, double psi)
{
    double q[7];
    PilotLimitVerdict verdict;
    return FX_ArmJoints(s.model, s.branch, &s.pose, psi, q) == ARM_OK && FX_CheckPilotLimits(s.lmt, q, &verdict);
}

// The frames at 0, 90 and 180 degrees give a, b and c of every entry.
void FitTrig(Search& s)
{
    double u0[3][3], w0[3][3], u90[3][3], w90[3][3], u180[3][3], w180[3][3];
    FX_ArmFrames(&s.pose, 0, u0, w0);
    FX_ArmFrames(&s.pose, 90, u90, w90);
    FX_ArmFrames(&s.pose, 180, u180, w180);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            s.upper.a[i][j] = 0.5 * (u0[i][j] + u180[i][j]);
            s.upper.b[i][j] = 0.5 * (u0[i][j] - u180[i][j]);
            s.upper.c[i][j] = u90[i][j] - s.upper.a[i][j];
            s.wrist.a[i][j] = 0.5 * (w0[i][j] + w180[i][j]);
            s.wrist.b[i][j] = 0.5 * (w0[i][j] - w180[i][j]);
            s.wrist.c[i][j] = w90[i][j] - s.wrist.a[i][j];
        }
}

// Joints 1-3 come from Rz(q1) Ry(-q2) Rz(q3), joints 5-7 from Rz Ry(-q6) Rz or Rz Ry(-q6) Rx.
void SetReadings(Search& s)
{
    const double sh = s.branch->shoulder, wr = s.branch->wrist;
    s.reading[0] = {0, false, kAtan, 1, 2, -sh, 0, 2, -sh, 0};
    s.reading[1] = {1, false, kAcos, 2, 2, 1, 0, 0, 0, sh};
    s.reading[2] = {2, false, kAtan, 2, 1, -sh, 2, 0, sh, 0};
    if (s.model->variant == 1) {
        s.reading[3] = {4, true, kAtan, 1, 0, wr, 0, 0, wr, 0};
        s.reading[4] = {5, true, kAsin, 2, 0, 1, 0, 0, 0, wr};
        s.reading[5] = {6, true, kAtan, 2, 1, wr, 2, 2, wr, 0};
    } else {
        s.reading[3] = {4, true, kAtan, 1, 2, -wr, 0, 2, -wr, 0};
        s.reading[4] = {5, true, kAcos, 2, 2, 1, 0, 0, 0, wr};
        s.reading[5] = {6, true, kAtan, 2, 1, -wr, 2, 0, wr, 0};
    }
}

void Add(Search& s, double angle, unsigned char cause, int joint, bool barrier)
{
    if (s.count < kMaxCandidates)
        s.cand[s.count++] = Candidate{Wrap(angle), cause, static_cast<unsigned char>(joint + 1), barrier};
}

// Roots of p cos(psi) + q sin(psi) + r = 0 (deg); for an atan2 reading only
// those where the joint equals `limit` rather than limit + 180.
void AddRoots(Search& s, const Reading& rd, double p, double q, double r, double limit, unsigned char cause,
              bool barrier)
{
    const double rho = std::hypot(p, q);
    if (!(rho > 0) || !(std::fabs(r) <= rho))
        return;
    const double centre = std::atan2(q, p) * FX_RAD2DEG, spread = std::acos(-r / rho) * FX_RAD2DEG;
    const Trig& t = rd.wrist ? s.wrist : s.upper;
    for (double root : {centre - spread, centre + spread}) {
        if (rd.kind == kAtan) {
            double sn, cs, sl, cl;
            FX_SIN_COS_DEG(root, &sn, &cs);
            FX_SIN_COS_DEG(limit, &sl, &cl);
            const double y = rd.ysign * t.at(rd.yi, rd.yj, cs, sn), x = rd.xsign * t.at(rd.xi, rd.xj, cs, sn);
            if (!(x * cl + y * sl > 0))
                continue;
        }
        Add(s, root, cause, rd.joint, barrier);
    }
}

// Where the reading equals `limit` (deg).
void Crossings(Search& s, const Reading& rd, double limit, unsigned char cause, bool barrier)
{
    const Trig& t = rd.wrist ? s.wrist : s.upper;
    const int i = rd.yi, j = rd.yj;
    double sl, cl;
    FX_SIN_COS_DEG(limit, &sl, &cl);
    if (rd.kind == kAtan) {
        const int k = rd.xi, l = rd.xj;
        // Y cos(limit) - X sin(limit) = 0
        AddRoots(s, rd, rd.ysign * t.b[i][j] * cl - rd.xsign * t.b[k][l] * sl,
                 rd.ysign * t.c[i][j] * cl - rd.xsign * t.c[k][l] * sl,
                 rd.ysign * t.a[i][j] * cl - rd.xsign * t.a[k][l] * sl, limit, cause, barrier);
    } else if (rd.kind == kAcos ? limit * rd.branch >= 0 : cl * rd.branch >= 0) {
        AddRoots(s, rd, t.b[i][j], t.c[i][j], t.a[i][j] - (rd.kind == kAcos ? cl : sl), limit, cause, barrier);
    }
}

// The middle joints' entry equal to +-cos(margin): where joint 2 or 6 comes within the margin.
void SingularCrossings(Search& s, const Reading& rd, double margin)
{
    const Trig& t = rd.wrist ? s.wrist : s.upper;
    const double cm = FX_COS_DEG(margin);
    for (double level : {cm, -cm})
        AddRoots(s, rd, t.b[rd.yi][rd.yj], t.c[rd.yi][rd.yj], t.a[rd.yi][rd.yj] - level, 0, ARM_EDGE_SINGULAR, false);
}

// Smallest |q6| (deg) at which a corner curve cuts into the q6/q7 rectangle,
// one sampling step early; 0 when it does at q6 = 0.
double CornerReach(const PilotLmt* lmt)
{
    const int steps = 64;
    double reach = 360;
    for (int row = 0; row < 4; ++row) {
        const double* f = lmt->Curve[row];
        const double edge = row == 0 || row == 3 ? lmt->JointMax[5] : lmt->JointMin[5];
        for (int k = 0; k <= steps; ++k) {
            const double x = edge * k / steps;
            const double y = x * (f[0] * x + f[1]) + f[2];
            const bool inside = row < 2 ? y < lmt->JointMax[6] : y > lmt->JointMin[6];
            if (inside || !std::isfinite(y)) {
                reach = std::fmin(reach, std::fabs(edge) * (k > 0 ? k - 1 : 0) / steps);
                break;
            }
        }
    }
    return reach;
}

// Largest |q6| over the arm-angle circle, from its entry's extreme a +- sqrt(b^2 + c^2).
double LargestQ6(const Search& s)
{
    const Reading& rd = s.reading[4];
    const int i = rd.yi, j = rd.yj;
    const double a = s.wrist.a[i][j], swing = std::hypot(s.wrist.b[i][j], s.wrist.c[i][j]);
    if (rd.kind == kAcos)
        return std::acos(std::fmax(-1.0, a - swing)) * FX_RAD2DEG;
    const double most = std::fmin(1.0, std::fabs(a) + swing);
    return rd.branch > 0 ? std::asin(most) * FX_RAD2DEG : 180;
}

// One joint at cos(psi), sin(psi) from the fitted frames, next to its centre.
double JointAt(const Search& s, const Reading& rd, double cs, double sn)
{
    const Trig& t = rd.wrist ? s.wrist : s.upper;
    const double y = t.at(rd.yi, rd.yj, cs, sn);
    double angle;
    if (rd.kind == kAtan)
        angle = std::atan2(rd.ysign * y, rd.xsign * t.at(rd.xi, rd.xj, cs, sn));
    else if (rd.kind == kAcos)
        angle = rd.branch * std::acos(std::fmax(-1.0, std::fmin(1.0, y)));
    else
        angle = std::atan2(y, rd.branch * std::sqrt(std::fmax(0.0, 1 - y * y)));
    angle *= FX_RAD2DEG;
    return angle + 360.0 * std::nearbyint((s.branch->centre[rd.joint] - angle) / 360.0);
}

// FX_CornerExcess at arm angle psi; -1 where |q6| stays short of `reach`.
// `row` receives the quadrant's curve (or -1).
double CornerExcess(const Search& s, double psi, double reach, int* row)
{
    *row = -1;
    double sn, cs;
    FX_SIN_COS_DEG(psi, &sn, &cs);
    const double q6 = JointAt(s, s.reading[4], cs, sn);
    if (std::fabs(q6) < reach)
        return -1;
    const double q7 = JointAt(s, s.reading[5], cs, sn);
    *row = q6 > 0 ? (q7 > 0 ? 0 : 3) : (q7 > 0 ? 1 : 2);
    return FX_CornerExcess(s.lmt, q6, q7);
}

// Corner-curve edges: the grid and the joint-6/7 limit crossings found so far
// (a corner often begins where a joint reaches its limit), then each change of
// side narrowed to the nudge step by regula falsi (Illinois), halving instead
// where the quadrant changes or no curve applies.
void CornerCrossings(Search& s)
{
    const double reach = s.lmt->Coupled == 0 ? 360 : CornerReach(s.lmt);
    if (LargestQ6(s) < reach)
        return;
    double at[kCornerGrid + kMaxCandidates];
    int n = 0;
    for (int k = 0; k < kCornerGrid; ++k)
        at[n++] = -180 + k * (360.0 / kCornerGrid);
    for (int k = 0; k < s.count; ++k)
        if (s.cand[k].joint >= 6)
            at[n++] = s.cand[k].angle;
    for (int i = 1; i < n; ++i)
        for (int j = i; j > 0 && at[j] < at[j - 1]; --j) {
            const double t = at[j];
            at[j] = at[j - 1];
            at[j - 1] = t;
        }
    int row_prev, row_here;
    double prev = CornerExcess(s, at[n - 1], reach, &row_prev);
    for (int k = 0; k < n; ++k) {
        const double here = CornerExcess(s, at[k], reach, &row_here);
        if ((here > 0) != (prev > 0)) {
            const double before = k > 0 ? at[k - 1] : at[n - 1] - 360;
            double in = prev > 0 ? at[k] : before, out = prev > 0 ? before : at[k];
            double e_in = prev > 0 ? here : prev, e_out = prev > 0 ? prev : here;
            int r_in = prev > 0 ? row_here : row_prev, r_out = prev > 0 ? row_prev : row_here, last = 0;
            for (int iter = 0; iter < 200 && std::fabs(out - in) > kNudge; ++iter) {
                double x = 0.5 * (in + out);
                if (r_in == r_out && r_in >= 0) {
                    // A point that would hardly move an end tries to close the bracket instead.
                    const double falsi = in + (out - in) * (e_in / (e_in - e_out));
                    const double close = 0.5 * kNudge * (out > in ? 1 : -1);
                    x = std::fabs(falsi - in) < 0.5 * kNudge ? in + close
                        : std::fabs(out - falsi) < 0.5 * kNudge ? out - close
                                                                : falsi;
                }
                int r;
                const double e = CornerExcess(s, x, reach, &r);
                if (e > 0) {
                    out = x, e_out = e, r_out = r;
                    if (last > 0) e_in *= 0.5;
                    last = 1;
                } else {
                    in = x, e_in = e, r_in = r;
                    if (last < 0) e_out *= 0.5;
                    last = -1;
                }
            }
            Add(s, in, ARM_EDGE_CORNER, 5, false);
        }
        prev = here, row_prev = row_here;
    }
}

void SortCandidates(Search& s)
{
    for (int i = 1; i < s.count; ++i)
        for (int j = i; j > 0 && s.cand[j].angle < s.cand[j - 1].angle; --j) {
            const Candidate c = s.cand[j];
            s.cand[j] = s.cand[j - 1];
            s.cand[j - 1] = c;
        }
}

// The usable angle nearest to a candidate on the side `inward` (+1 or -1).
ArmAngleEdge Edge(const Search& s, const Candidate& c, double inward)
{
    double angle = c.angle;
    for (int k = 0; k < 4 && !Usable(s, angle); ++k)
        angle = c.angle + inward * kNudge * (1 << k);
    return ArmAngleEdge{Wrap(angle), c.cause, c.joint};
}

void Append(ArmAngleIntervals* out, const ArmAngleEdge& start, const ArmAngleEdge& end)
{
    if (out->count == ARM_MAX_INTERVALS) {
        out->truncated = 1;
        return;
    }
    int k = out->count++;
    for (; k > 0 && out->interval[k - 1].start.angle > start.angle; --k)
        out->interval[k] = out->interval[k - 1];
    out->interval[k] = ArmAngleInterval{start, end};
}

void WholeCircle(ArmAngleIntervals* out)
{
    out->count = 1;
    out->interval[0] = ArmAngleInterval{{-180, ARM_EDGE_NONE, 0}, {180, ARM_EDGE_NONE, 0}};
}

}  // namespace

bool FX_ArmAngleIntervals(const ArmModel* model, const PilotLmt* lmt, const ArmBranch* branch,
                          const double pose[4][4], double margin, ArmAngleIntervals* out)
{
    if (out == nullptr)
        return false;
    out->count = 0;
    out->truncated = 0;
    if (model == nullptr || lmt == nullptr || branch == nullptr || pose == nullptr || !std::isfinite(margin))
        return false;
    static_assert(sizeof(Search) < 16384, "the search lives on the stack");
    Search s;
    s.model = model;
    s.lmt = const_cast<PilotLmt*>(lmt);  // the limit check only reads it
    s.branch = branch;
    s.count = 0;
    if (FX_ArmPoseOf(model, branch, pose, margin, &s.pose) != ARM_OK)
        return false;
    const double q4 = s.pose.q4;
    if (!(lmt->JointMin[3] <= q4 && q4 <= lmt->JointMax[3]))
        return true;
    FitTrig(s);
    SetReadings(s);
    for (const Reading& rd : s.reading) {
        const double centre = branch->centre[rd.joint];
        const double lo = lmt->JointMin[rd.joint], hi = lmt->JointMax[rd.joint];
        const bool turns = rd.kind == kAtan && hi - lo > 360;
        Crossings(s, rd, turns ? std::fmax(lo, centre - 180) : lo, ARM_EDGE_MIN, false);
        Crossings(s, rd, turns ? std::fmin(hi, centre + 180) : hi, ARM_EDGE_MAX, false);
        if (turns)
            Crossings(s, rd, centre + 180, ARM_EDGE_TURN, true);
        if (rd.kind != kAtan && margin > 0)
            SingularCrossings(s, rd, margin);
    }
    CornerCrossings(s);
    SortCandidates(s);

    const int n = s.count;
    if (n == 0) {
        if (Usable(s, 0))
            WholeCircle(out);
        return true;
    }
    bool usable[kMaxCandidates];
    bool all = true;
    for (int k = 0; k < n; ++k) {
        const double a = s.cand[k].angle, b = k + 1 < n ? s.cand[k + 1].angle : s.cand[0].angle + 360;
        usable[k] = Usable(s, Wrap(0.5 * (a + b)));
        all = all && usable[k] && !s.cand[k].barrier;
    }
    if (all) {
        WholeCircle(out);
        return true;
    }
    // Walk once round from a candidate that opens no run into the previous segment.
    int first = 0;
    while (usable[(first + n - 1) % n] && !s.cand[first].barrier)
        ++first;
    for (int step = 0; step < n; ++step) {
        const int k = (first + step) % n;
        if (!usable[k] || (usable[(k + n - 1) % n] && !s.cand[k].barrier))
            continue;
        int last = k;
        while (usable[(last + 1) % n] && !s.cand[(last + 1) % n].barrier && (last + 1) % n != k)
            last = (last + 1) % n;
        Append(out, Edge(s, s.cand[k], +1), Edge(s, s.cand[(last + 1) % n], -1));
    }
    return true;
}

double FX_CornerExcess(const PilotLmt* lmt, double q6, double q7)
{
    if (lmt->Coupled == 0 || (-2e-5 < q6 && q6 < 2e-5))
        return -1;
    const int row = q6 > 0 ? (q7 > 0 ? 0 : 3) : (q7 > 0 ? 1 : 2);
    const double* f = lmt->Curve[row];
    const double curve = q6 * (f[0] * q6 + f[1]) + f[2];
    return row < 2 ? q7 - curve : curve - q7;
}

bool FX_ArmAngleInside(const ArmAngleIntervals* intervals, double psi)
{
    const double a = Wrap(psi);
    for (int k = 0; k < intervals->count; ++k) {
        const ArmAngleInterval& in = intervals->interval[k];
        if (in.start.angle <= in.end.angle ? in.start.angle <= a && a <= in.end.angle
                                           : a >= in.start.angle || a <= in.end.angle)
            return true;
    }
    return false;
}
