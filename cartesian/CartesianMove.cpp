#include "cartesian/CartesianMove.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "cartesian/ArmAngleIntervals.h"
#include "math/FxScalar.h"
#include "pilot/PilotLimitCheck.h"

namespace {

constexpr double kStep = 1.0 / CART_NODES;
// The central differences of an exact profile may round past a limit by this much (relative).
constexpr double kLimitSlack = 1e-9;
// Shares of a joint's acceleration limit: the path's own acceleration, the
// change of speed where the path slows down, the joint path's bending.
constexpr double kAccShare = 0.5, kSlopeShare = 0.25, kBendShare = 0.25;
// Timing rounds: each slows the whole move by what the worst sample exceeded;
// beyond this factor the excess is a jump, not a speed.
constexpr int kRounds = 6;
constexpr double kJump = 10;
// Rounds that then lower the needs where the joints used little of their
// limits: towards this share, at most by this factor per round.
constexpr int kRelaxRounds = 3;
constexpr double kRelaxTo = 0.9, kRelaxFloor = 0.25;
// The auto policy: each of its two follower stages closes most of the gap over
// this fraction of the path; the elbow swings at most this far over the whole
// path (deg) unless an edge pushes it, and stays this far inside its interval (deg).
constexpr double kAutoLag = 0.15, kAutoSwing = 90, kAutoInset = 1;
// How far a sample's joints may miss its pose (mm, and per entry of the
// rotation) and its arm angle (deg) before the solution counts as wrong, and
// how far the start joints may lie from the solution the move continues.
constexpr double kPoseTolerance = 1e-6, kTurnTolerance = 1e-9, kArmTolerance = 1e-7, kStartTolerance = 1e-6;

double Wrap(double angle) { return FX_WrapHalfOpen(angle); }

// The arm angle on a grid of 2^-30 deg: measuring the end of a move and
// rounding gives back the very value it was planned with.
double Canonical(double psi) { return std::nearbyint(psi * 1073741824.0) / 1073741824.0; }

void Refuse(CartMove* move, const char* format, ...) __attribute__((format(printf, 2, 3)));
void Refuse(CartMove* move, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    std::vsnprintf(move->reason, sizeof move->reason, format, args);
    va_end(args);
    move->ok = 0;
}

double ArmAngleAt(const CartMove* move, double s)
{
    switch (move->elbow_policy) {
    case CART_ELBOW_BLEND:
        return (1 - s) * move->arm_start + s * move->arm_end;
    case CART_ELBOW_AUTO: {
        // Cubic Hermite through the nodes, slopes from the neighbours (C1).
        const double* a = move->arm_node;
        const int j = s >= 1 ? CART_NODES - 1 : static_cast<int>(s * CART_NODES);
        const double x = s * CART_NODES - j;
        const double m0 = 0.5 * (a[j + 1] - a[j > 0 ? j - 1 : j]) * (j > 0 ? 1 : 2);
        const double m1 = 0.5 * (a[j + 2 <= CART_NODES ? j + 2 : j + 1] - a[j]) * (j + 2 <= CART_NODES ? 1 : 2);
        const double x2 = x * x, x3 = x2 * x;
        return (2 * x3 - 3 * x2 + 1) * a[j] + (x3 - 2 * x2 + x) * m0 + (3 * x2 - 2 * x3) * a[j + 1] + (x3 - x2) * m1;
    }
    default:
        return move->arm_start;
    }
}

// Pose, arm angle and joints at path parameter s.
unsigned char JointsAt(const CartMove* move, double s, double pose[4][4], double* psi, double q[7], ArmPose* arm)
{
    FX_CartPathPose(&move->path, s, pose);
    *psi = ArmAngleAt(move, s);
    FX_ArmPoseOf(&move->model, &move->branch, pose, ARM_SINGULAR_MARGIN, arm);
    return FX_ArmJoints(&move->model, &move->branch, arm, *psi, q);
}

unsigned char SampleOf(const CartMove* move, long k, CartSample* out, ArmPose* arm)
{
    const long last = move->samples - 1;
    out->time = k == last ? move->duration : k * move->cycle;
    out->path = k == 0 ? 0 : k == last ? 1 : FX_PathTimingAt(&move->timing, out->time);
    const unsigned char status = JointsAt(move, out->path, out->pose, &out->arm_angle, out->q, arm);
    if (k == 0)
        for (int i = 0; i < 7; ++i)
            out->q[i] = move->start_joints[i];
    return status;
}

const char* kLimitName[6] = {"speed", "acc", "jerk", "rot_speed", "rot_acc", "rot_jerk"};

bool Positive(double x) { return x > 0 && std::isfinite(x); }

// Everything the planner works on: copies of the model (forward kinematics
// writes its cache) and the joints of the path nodes.
struct Planner {
    CartMove* move;
    Pilot pilot;
    PilotLmt lmt;
    CartLimits lim;
    double node_q[CART_NODES + 1][7];
    unsigned char node_status[CART_NODES + 1];
    double need[CART_NODES + 1];
    double usage[CART_NODES + 1];  // the last scan's highest share of a joint limit at each node
};

// Joint i's angle (deg) as the caller counts it, for refusals.
double Shown(const CartLimits& lim, int i, double angle)
{
    return lim.shown_sign[i] == 0.0 ? angle : (angle - lim.shown_offset[i]) * lim.shown_sign[i];
}

// "at 62.0 % of the path (t = 1.234 s, x = 512.3 y = -80.1 z = 640.0 mm)"
struct Where {
    char text[112];
    explicit Where(const CartSample& at)
    {
        std::snprintf(text, sizeof text, "at %.1f %% of the path (t = %.3f s, x = %.1f y = %.1f z = %.1f mm)",
                      at.path * 100, at.time, at.pose[0][3], at.pose[1][3], at.pose[2][3]);
    }
};

// The furthest the wrist centre gets from the shoulder from path parameter s on, mm.
double FurthestReach(const Planner& p, double s, double reach)
{
    double pose[4][4];
    ArmPose arm;
    for (int j = static_cast<int>(std::ceil(s * CART_NODES)); j <= CART_NODES; ++j) {
        FX_CartPathPose(&p.move->path, j * kStep, pose);
        FX_ArmPoseOf(&p.move->model, &p.move->branch, pose, ARM_SINGULAR_MARGIN, &arm);
        reach = std::fmax(reach, arm.reach);
    }
    return reach;
}

void RefuseStatus(Planner& p, unsigned char status, const CartSample& at, const ArmPose& arm)
{
    const Where where(at);
    const double margin = ARM_SINGULAR_MARGIN;
    const ArmModel& model = p.move->model;
    switch (status) {
    case ARM_OUT_OF_REACH:
        return Refuse(p.move,
                      "the target is out of reach %s: wrist centre up to %.1f mm from the shoulder, %.1f reachable",
                      where.text, FurthestReach(p, at.path, arm.reach), model.upper_reach + model.fore_reach - 0.1);
    case ARM_TOO_CLOSE:
        return Refuse(p.move, "the wrist centre comes too close to the shoulder %s: %.1f mm, more than %.1f needed",
                      where.text, arm.reach, std::fabs(model.upper_reach - model.fore_reach) + 0.1);
    case ARM_ELBOW_STRAIGHT:
        return Refuse(p.move, "the elbow is stretched %s: joint 4 at %.2f deg, within %.1f of its straight angle %.2f",
                      where.text, arm.q4, margin, model.straight_q4);
    case ARM_ANGLE_UNDEFINED:
        return Refuse(p.move,
                      "the arm angle is undefined %s: the wrist centre is %.2f deg from the vertical through the "
                      "shoulder, %.1f needed",
                      where.text, std::asin(std::fmin(1.0, arm.vertical)) * FX_RAD2DEG, margin);
    case ARM_SHOULDER_SINGULAR:
        return Refuse(p.move, "the shoulder is singular %s: joint 2 at %.2f deg, within %.1f of 0", where.text,
                      at.q[1], margin);
    case ARM_WRIST_SINGULAR:
        return Refuse(p.move, "the wrist is singular %s: joint 6 at %.2f deg, within %.1f of %s", where.text, at.q[5],
                      margin, model.variant == 1 ? "+-90" : "0");
    default:
        return Refuse(p.move, "the path is not finite %s", where.text);
    }
}

// The furthest joint i gets in the direction `sign` (+1 up, -1 down) from
// `value` at path parameter s on, following it through the path nodes by
// continuity (past the half turn where its values wrap).
double Furthest(const Planner& p, int i, double s, double sign, double value)
{
    double furthest = value, last = value;
    for (int j = static_cast<int>(std::ceil(s * CART_NODES)); j <= CART_NODES && p.node_status[j] == ARM_OK; ++j) {
        last += Wrap(p.node_q[j][i] - last);
        if ((last - furthest) * sign > 0)
            furthest = last;
    }
    return furthest;
}

// How far q7 gets beyond its corner curve from path parameter s on, deg.
double FurthestBeyondCorner(const Planner& p, double s, double excess)
{
    for (int j = static_cast<int>(std::ceil(s * CART_NODES)); j <= CART_NODES && p.node_status[j] == ARM_OK; ++j)
        excess = std::fmax(excess, FX_CornerExcess(&p.lmt, p.node_q[j][5], p.node_q[j][6]));
    return excess;
}

// The full limit check of one sample; false (and refused) when a joint is
// outside, naming it with the furthest the move would take it.
bool InsideLimits(Planner& p, const CartSample& at)
{
    PilotLimitVerdict verdict;
    if (FX_CheckPilotLimits(&p.lmt, at.q, &verdict))
        return true;
    const Where where(at);
    for (int i = 0; i < 7; ++i) {
        switch (verdict.state[i]) {
        case PILOT_BELOW_MIN:
        case PILOT_ABOVE_MAX: {
            const bool below = verdict.state[i] == PILOT_BELOW_MIN;
            const double limit = below ? p.lmt.JointMin[i] : p.lmt.JointMax[i];
            Refuse(p.move, "joint %d leaves its range %s: %.1f deg beyond %.1f", i + 1, where.text,
                   Shown(p.lim, i, Furthest(p, i, at.path, below ? -1 : 1, at.q[i])), Shown(p.lim, i, limit));
            return false;
        }
        case PILOT_BEYOND_CORNER:
            Refuse(p.move, "joints 6 and 7 leave their coupled range %s: q7 up to %.2f deg beyond the corner curve",
                   where.text, FurthestBeyondCorner(p, at.path, FX_CornerExcess(&p.lmt, at.q[5], at.q[6])));
            return false;
        case PILOT_NOT_A_NUMBER:
            Refuse(p.move, "joint %d is not a number %s", i + 1, where.text);
            return false;
        default:
            break;
        }
    }
    return false;
}

// The joints must give back the commanded pose and arm angle through the
// model's own forward kinematics.
bool Reproduces(Planner& p, const CartSample& at)
{
    const double psi = FX_ArmAngleOf(&p.pilot, at.q);
    double miss = 0, turn = 0;
    for (int r = 0; r < 3; ++r) {
        const double d = p.pilot.tool_pose[r][3] - at.pose[r][3];
        miss += d * d;
        for (int c = 0; c < 3; ++c)
            turn = std::fmax(turn, std::fabs(p.pilot.tool_pose[r][c] - at.pose[r][c]));
    }
    miss = std::sqrt(miss);
    const double arm = std::fabs(Wrap(psi - at.arm_angle));
    if (miss <= kPoseTolerance && turn <= kTurnTolerance && arm <= kArmTolerance)
        return true;
    Refuse(p.move, "the joints miss the path %s by %.3g mm, %.3g in rotation and %.3g deg of arm angle",
           Where(at).text, miss, turn, arm);
    return false;
}

bool ValidLimits(Planner& p)
{
    const CartLimits& l = p.lim;
    const double cart[6] = {l.speed, l.acc, l.jerk, l.rot_speed, l.rot_acc, l.rot_jerk};
    for (int k = 0; k < 6; ++k)
        if (!Positive(cart[k])) {
            Refuse(p.move, "limit '%s' must be a positive number, got %g", kLimitName[k], cart[k]);
            return false;
        }
    for (int i = 0; i < 7; ++i)
        if (!Positive(l.joint_speed[i]) || !Positive(l.joint_acc[i])) {
            const bool speed = !Positive(l.joint_speed[i]);
            Refuse(p.move, "joint %d %s limit must be a positive number, got %g", i + 1,
                   speed ? "speed" : "acceleration", speed ? l.joint_speed[i] : l.joint_acc[i]);
            return false;
        }
    if (!(l.cycle > 0 && l.cycle <= 1)) {
        Refuse(p.move, "the cycle must lie in (0, 1] s, got %g", l.cycle);
        return false;
    }
    if (l.max_samples < 2 || l.max_samples > CART_MAX_SAMPLES) {
        Refuse(p.move, "the longest move accepted must lie in 2..%ld cycles, got %ld", CART_MAX_SAMPLES, l.max_samples);
        return false;
    }
    return true;
}

// The start: finite, inside the limits, on decided branches, with an arm angle.
bool ValidStart(Planner& p, const double start[7])
{
    CartMove* m = p.move;
    for (int i = 0; i < 7; ++i)
        if (!std::isfinite(start[i])) {
            Refuse(m, "start joint %d is not finite", i + 1);
            return false;
        }
    PilotLimitVerdict verdict;
    if (!FX_CheckPilotLimits(&p.lmt, start, &verdict)) {
        for (int i = 0; i < 7; ++i)
            if (verdict.state[i] == PILOT_BELOW_MIN || verdict.state[i] == PILOT_ABOVE_MAX) {
                // %.1f as everywhere, but a wild value in short form.
                Refuse(m, std::fabs(start[i]) < 1e9 ? "start joint %d lies outside its range: %.1f deg beyond %.1f"
                                                    : "start joint %d lies outside its range: %.3g deg beyond %.1f",
                       i + 1, Shown(p.lim, i, start[i]),
                       Shown(p.lim, i, verdict.state[i] == PILOT_BELOW_MIN ? p.lmt.JointMin[i] : p.lmt.JointMax[i]));
                return false;
            }
        Refuse(m, "the start joints 6 and 7 (%.1f, %.1f) deg lie beyond their coupled range's corner curve",
               Shown(p.lim, 5, start[5]), Shown(p.lim, 6, start[6]));
        return false;
    }
    if (!FX_ArmBranchOf(&m->model, &p.lmt, start, &m->branch)) {
        Refuse(m, "the start is singular: joint 2 at %.3f deg, joint 4 at %.3f (straight at %.3f), joint 6 at %.3f",
               start[1], start[3], m->model.straight_q4, start[5]);
        return false;
    }
    const double psi = FX_ArmAngleOf(&p.pilot, start);
    if (!std::isfinite(psi)) {
        Refuse(m, "the start's arm angle is undefined: its wrist centre lies on the vertical through the shoulder");
        return false;
    }
    m->arm_start = Canonical(psi);
    for (int i = 0; i < 7; ++i)
        m->start_joints[i] = start[i];
    return true;
}

// CART_ELBOW_AUTO at one node: the usable interval holding the previous arm
// angle (or else the nearest one), unwrapped next to it; false when every arm
// angle is usable or none is.
struct AutoInterval {
    double low, high;  // deg, low <= high
};

bool UsableAround(Planner& p, const double pose[4][4], double previous, AutoInterval* out)
{
    ArmAngleIntervals in;
    if (!FX_ArmAngleIntervals(&p.move->model, &p.lmt, &p.move->branch, pose, ARM_SINGULAR_MARGIN, &in) ||
        in.count == 0 || in.interval[0].start.cause == ARM_EDGE_NONE)
        return false;
    double best_gap = 1e300;
    for (int k = 0; k < in.count; ++k) {
        const ArmAngleInterval& iv = in.interval[k];
        const double width = iv.end.angle - iv.start.angle + (iv.end.angle < iv.start.angle ? 360 : 0);
        double along = FX_TurnRemainder(previous - iv.start.angle);
        along += along < 0 ? 360 : 0;
        const double gap = along <= width ? 0 : std::fmin(along - width, 360 - along);
        if (gap < best_gap) {
            best_gap = gap;
            // Unwrapped so that it holds `previous`, or starts or ends nearest to it.
            out->low = previous - (along <= width || along - width < 360 - along ? along : along - 360);
            out->high = out->low + width;
        }
    }
    return true;
}

// The auto policy's arm angle at every node: a critically damped follower of
// the middle of the usable interval (the largest margin), rate-limited so that
// a far target is approached gently, and kept inside the interval.
void AutoArmAngles(Planner& p)
{
    CartMove* m = p.move;
    const double pull = 1 - std::exp(-kStep / kAutoLag), most = kAutoSwing * kStep;
    double pose[4][4], lead = m->arm_start;
    for (int j = 1; j <= CART_NODES; ++j) {
        const double previous = m->arm_node[j - 1];
        FX_CartPathPose(&m->path, j * kStep, pose);
        AutoInterval in{previous, previous};
        if (!UsableAround(p, pose, previous, &in)) {
            m->arm_node[j] = lead = previous;
            continue;
        }
        lead += pull * (0.5 * (in.low + in.high) - lead);
        const double step = std::fmax(-most, std::fmin(most, pull * (lead - previous)));
        const double inset = std::fmin(kAutoInset, 0.5 * (in.high - in.low));
        m->arm_node[j] = std::fmax(in.low + inset, std::fmin(in.high - inset, previous + step));
    }
}

// Joints at every node of the path, and what each node needs of the timing.
void Nodes(Planner& p)
{
    CartMove* m = p.move;
    double pose[4][4], psi;
    ArmPose arm;
    for (int j = 0; j <= CART_NODES; ++j) {
        const double s = j * kStep;
        p.node_status[j] = JointsAt(m, s, pose, &psi, p.node_q[j], &arm);
    }
    const CartLimits& l = p.lim;
    const double base = std::fmax(m->path.length / l.speed, m->path.turn / l.rot_speed);
    for (int j = 0; j <= CART_NODES; ++j) {
        p.need[j] = base;
        const int a = j > 0 ? j - 1 : j, b = j < CART_NODES ? j + 1 : j;
        if (p.node_status[a] != ARM_OK || p.node_status[b] != ARM_OK || p.node_status[j] != ARM_OK)
            continue;
        for (int i = 0; i < 7; ++i) {
            const double slope = (p.node_q[b][i] - p.node_q[a][i]) / ((b - a) * kStep);
            const double bend =
                a < j && j < b ? (p.node_q[b][i] - 2 * p.node_q[j][i] + p.node_q[a][i]) / (kStep * kStep) : 0;
            p.need[j] = std::fmax(p.need[j], std::fabs(slope) / l.joint_speed[i]);
            p.need[j] = std::fmax(p.need[j], std::sqrt(std::fabs(bend) / (kBendShare * l.joint_acc[i])));
        }
    }
}

// What a timing round learns from the rates: the first sample that exceeds a
// limit, named, and the factor by which the worst one does (on the duration).
struct Excess {
    double factor = 1;
    char reason[CART_REASON_SIZE] = {};
};

void Check(Planner& p, const CartSample& at, const double* s3, Excess& excess)
{
    const CartLimits& l = p.lim;
    const double dt = p.move->cycle;
    const double sd = std::fabs(s3[2] - s3[0]) / (2 * dt);
    const double sdd = std::fabs((s3[2] - s3[1]) - (s3[1] - s3[0])) / (dt * dt);
    struct Rate {
        double value, limit;
        bool acceleration;
        const char* what;
        const char* unit;
        int joint;
    } rates[18] = {
        {p.move->path.length * sd, l.speed, false, "the tool centre moves too fast", "mm/s", 0},
        {p.move->path.length * sdd, l.acc, true, "the tool centre accelerates too hard", "mm/s^2", 0},
        {p.move->path.turn * sd, l.rot_speed, false, "the tool turns too fast", "deg/s", 0},
        {p.move->path.turn * sdd, l.rot_acc, true, "the tool's turn accelerates too hard", "deg/s^2", 0},
    };
    double& usage = p.usage[static_cast<int>(std::lround(at.path * CART_NODES))];
    for (int i = 0; i < 7; ++i) {
        rates[4 + i] = {std::fabs(at.qd[i]), l.joint_speed[i], false, "turns too fast", "deg/s", i + 1};
        rates[11 + i] = {std::fabs(at.qdd[i]), l.joint_acc[i], true, "accelerates too hard", "deg/s^2", i + 1};
        usage = std::fmax(usage, std::fmax(rates[4 + i].value / rates[4 + i].limit,
                                           std::sqrt(rates[11 + i].value / rates[11 + i].limit)));
    }
    for (const Rate& r : rates) {
        if (!(r.value > r.limit * (1 + kLimitSlack)))
            continue;
        const double ratio = r.value / r.limit;
        excess.factor = std::fmax(excess.factor, r.acceleration ? std::sqrt(ratio) : ratio);
        if (excess.reason[0] != 0)
            continue;
        const Where where(at);
        if (r.joint > 0)
            std::snprintf(excess.reason, sizeof excess.reason, "joint %d %s %s: %.1f %s beyond %.1f", r.joint, r.what,
                          where.text, r.value, r.unit, r.limit);
        else
            std::snprintf(excess.reason, sizeof excess.reason, "%s %s: %.1f %s beyond %.1f", r.what, where.text,
                          r.value, r.unit, r.limit);
    }
}

enum ScanResult { kScanOk, kScanRefused, kScanTooFast };

// What the S-curve and the warp take from the limits, per unit of sigma: the
// path's acceleration and jerk, and how fast the allowed speed may change.
struct Shape {
    double acc, jerk, slope;
};

// Every sample in order: its joints exist, lie inside the limits and give
// back the path; then each sample's rates against the limits.
ScanResult Scan(Planner& p, Excess& excess)
{
    CartMove* m = p.move;
    const long n = m->samples;
    CartSample before, here, after;
    ArmPose arm;
    for (double& u : p.usage)
        u = -1;
    FX_CartSamplePose(m, 0, &here);
    before = here;
    for (long k = 0; k < n; ++k) {
        if (k + 1 < n) {
            const unsigned char status = SampleOf(m, k + 1, &after, &arm);
            if (status != ARM_OK) {
                RefuseStatus(p, status, after, arm);
                return kScanRefused;
            }
            if (!InsideLimits(p, after) || !Reproduces(p, after))
                return kScanRefused;
        } else {
            after = here;
        }
        FX_CartRates(before.q, here.q, after.q, m->cycle, here.qd, here.qdd);
        const double s3[3] = {before.path, here.path, after.path};
        Check(p, here, s3, excess);
        before = here;
        here = after;
    }
    return excess.reason[0] != 0 ? kScanTooFast : kScanOk;
}

// The S-curve over the warped path, slowed by `slow`; false (refused) when it
// cannot be timed or takes too many cycles.
bool TimeProfile(Planner& p, double sigma_end, double acc, double jerk, double slow)
{
    CartMove* m = p.move;
    PathTiming& t = m->timing;
    if (!FX_SCurvePlan(&t.curve, sigma_end, 1 / slow, acc / (slow * slow), jerk / (slow * slow * slow))) {
        Refuse(m, "the move cannot be timed: its limits give no finite duration");
        return false;
    }
    // A duration within rounding of whole cycles is not stretched by one more.
    const double cycles = std::ceil(t.curve.duration / m->cycle - 1e-9);
    if (!(cycles + 1 <= p.lim.max_samples)) {
        Refuse(m, "the move takes %.1f s, %.0f cycles, more than the %ld allowed", t.curve.duration, cycles + 1,
               p.lim.max_samples);
        return false;
    }
    m->samples = static_cast<long>(cycles) + 1;
    if (m->samples < 2)
        m->samples = 2;
    m->duration = (m->samples - 1) * m->cycle;
    t.time_scale = t.curve.duration / m->duration;
    return true;
}

// Warps the path by the nodes' needs, times it and runs the samples.
ScanResult Timed(Planner& p, const Shape& shape, double slow, Excess& excess)
{
    FX_PathTimingWarp(&p.move->timing, p.need, shape.slope);
    if (!TimeProfile(p, p.move->timing.sigma[CART_NODES], shape.acc, shape.jerk, slow))
        return kScanRefused;
    excess = Excess{};
    return Scan(p, excess);
}

// After a scan that held every limit: lowers each node's need where the joints
// used less than kRelaxTo of their limits (never below the tool's own limits),
// and the whole move's slowing likewise (never below 1); false when nothing
// had room to gain.
bool Relax(Planner& p, double* slow)
{
    const CartMove* m = p.move;
    const double base = std::fmax(m->path.length / p.lim.speed, m->path.turn / p.lim.rot_speed);
    double peak = 0;
    for (double used : p.usage)
        peak = std::fmax(peak, used);
    const double faster = std::fmax(1.0, *slow * peak / kRelaxTo);
    bool gained = faster < 0.95 * *slow;
    if (gained)
        *slow = faster;
    for (int j = 0; j <= CART_NODES; ++j) {
        // Nodes between samples take the higher of their nearest sampled neighbours.
        double used = p.usage[j];
        for (int d = 1; used < 0 && d <= CART_NODES; ++d)
            used = std::fmax(j >= d ? p.usage[j - d] : -1, j + d <= CART_NODES ? p.usage[j + d] : -1);
        const double factor = std::fmax(kRelaxFloor, used / kRelaxTo);
        if (factor < 0.95 && p.need[j] > base) {
            p.need[j] = std::fmax(base, p.need[j] * factor);
            gained = true;
        }
    }
    return gained;
}

// Times the path: the whole move slowed until every rate holds, then sped up
// again wherever the joints kept well within their limits.
bool Time(Planner& p)
{
    CartMove* m = p.move;
    const CartLimits& l = p.lim;
    Shape shape{1e300, 1e300, 1e300};
    if (m->path.length > 0)
        shape = Shape{l.acc / l.speed, l.jerk / l.speed, l.acc / l.speed};
    if (m->path.turn > 0) {
        shape.acc = std::fmin(shape.acc, l.rot_acc / l.rot_speed);
        shape.jerk = std::fmin(shape.jerk, l.rot_jerk / l.rot_speed);
        shape.slope = std::fmin(shape.slope, l.rot_acc / l.rot_speed);
    }
    for (int i = 0; i < 7; ++i) {
        double usage = 0;  // joint speed at full path speed, deg/s
        for (int j = 0; j <= CART_NODES; ++j) {
            const int a = j > 0 ? j - 1 : j, b = j < CART_NODES ? j + 1 : j;
            if (p.node_status[a] == ARM_OK && p.node_status[b] == ARM_OK)
                usage = std::fmax(usage, std::fabs(p.node_q[b][i] - p.node_q[a][i]) / ((b - a) * kStep) / p.need[j]);
        }
        if (usage > 0)
            shape.acc = std::fmin(shape.acc, kAccShare * l.joint_acc[i] / usage);
        shape.slope = std::fmin(shape.slope, l.joint_acc[i] / l.joint_speed[i]);
    }
    shape.slope *= kSlopeShare;

    double slow = 1;
    Excess excess;
    ScanResult result = kScanTooFast;
    for (int round = 0; round < kRounds && result == kScanTooFast; ++round) {
        if (round > 0 && excess.factor > kJump)
            break;
        if (round > 0)
            slow *= excess.factor * 1.02;
        result = Timed(p, shape, slow, excess);
        if (result == kScanRefused)
            return false;
    }
    if (result != kScanOk) {
        Refuse(m, "%s", excess.reason);
        return false;
    }
    for (int round = 0; round < kRelaxRounds; ++round) {
        const PathTiming kept = m->timing;
        const long samples = m->samples;
        const double duration = m->duration;
        if (!Relax(p, &slow))
            break;
        if (Timed(p, shape, slow, excess) != kScanOk) {
            m->timing = kept, m->samples = samples, m->duration = duration;
            break;
        }
    }
    m->ok = 1;
    m->reason[0] = 0;
    return true;
}

bool Plan(Planner& p, const double start[7], const double target[4][4], const double* via, const CartElbow* elbow)
{
    CartMove* m = p.move;
    if (!ValidLimits(p))
        return false;
    if (elbow->policy > CART_ELBOW_AUTO) {
        Refuse(m, "unknown elbow policy %d", elbow->policy);
        return false;
    }
    if (elbow->policy == CART_ELBOW_BLEND && !std::isfinite(elbow->angle)) {
        Refuse(m, "the elbow's end angle is not finite");
        return false;
    }
    if (!ValidStart(p, start))
        return false;
    m->cycle = p.lim.cycle;
    double from[4][4], joints[7];
    for (int i = 0; i < 7; ++i)
        joints[i] = start[i];
    FX_Kine_Pilot(&p.pilot, joints, from);
    const char* why = via ? FX_CartPathCirc(&m->path, from, via, target) : FX_CartPathLin(&m->path, from, target);
    if (why) {
        Refuse(m, "%s", why);
        return false;
    }
    m->elbow_policy = elbow->policy;
    m->arm_end = elbow->policy == CART_ELBOW_BLEND ? m->arm_start + Wrap(Canonical(elbow->angle) - m->arm_start)
                                                   : m->arm_start;
    for (double& a : m->arm_node)
        a = m->arm_start;
    if (m->elbow_policy == CART_ELBOW_AUTO)
        AutoArmAngles(p);
    Nodes(p);
    // The start joints must be the solution the move continues from.
    CartSample at{};
    FX_CartPathPose(&m->path, 0, at.pose);
    at.arm_angle = m->arm_start;
    for (int i = 0; i < 7; ++i)
        at.q[i] = start[i];
    if (p.node_status[0] != ARM_OK) {
        ArmPose arm;
        FX_ArmPoseOf(&m->model, &m->branch, at.pose, ARM_SINGULAR_MARGIN, &arm);
        RefuseStatus(p, p.node_status[0], at, arm);
        return false;
    }
    for (int i = 0; i < 7; ++i)
        if (std::fabs(p.node_q[0][i] - start[i]) > kStartTolerance) {
            Refuse(m, "the start joints do not solve the start pose on their own branch: joint %d off by %.3g deg",
                   i + 1, p.node_q[0][i] - start[i]);
            return false;
        }

    return Time(p);
}

// Common set-up of both plans; false when a pointer is missing.
bool Begin(Planner& p, CartMove* move, const Pilot* pilot, const PilotLmt* lmt, const double* start,
           const void* target, const CartLimits* limits, const CartElbow* elbow)
{
    if (move == nullptr)
        return false;
    move->ok = 0;
    move->samples = 0;
    move->duration = 0;
    if (pilot == nullptr || lmt == nullptr || start == nullptr || target == nullptr || limits == nullptr ||
        elbow == nullptr) {
        Refuse(move, "a required argument is missing");
        return false;
    }
    p.move = move;
    p.pilot = *pilot;
    p.lmt = *lmt;
    p.lim = *limits;
    FX_ArmModelOf(&p.pilot, &move->model);
    return true;
}

}  // namespace

bool FX_CartPlanLin(CartMove* move, const Pilot* pilot, const PilotLmt* lmt, const double start[7],
                    const double target[4][4], const CartLimits* limits, const CartElbow* elbow)
{
    static_assert(sizeof(Planner) < 32768, "the planner lives on the stack");
    Planner p;
    return Begin(p, move, pilot, lmt, start, target, limits, elbow) && Plan(p, start, target, nullptr, elbow);
}

bool FX_CartPlanCirc(CartMove* move, const Pilot* pilot, const PilotLmt* lmt, const double start[7],
                     const double via[3], const double target[4][4], const CartLimits* limits,
                     const CartElbow* elbow)
{
    Planner p;
    if (!Begin(p, move, pilot, lmt, start, target, limits, elbow))
        return false;
    if (via == nullptr) {
        Refuse(move, "a required argument is missing");
        return false;
    }
    return Plan(p, start, target, via, elbow);
}

unsigned char FX_CartSamplePose(const CartMove* move, long k, CartSample* sample)
{
    ArmPose arm;
    return SampleOf(move, k, sample, &arm);
}

void FX_CartRates(const double before[7], const double here[7], const double after[7], double cycle, double qd[7],
                  double qdd[7])
{
    for (int i = 0; i < 7; ++i) {
        qd[i] = (after[i] - before[i]) / (2 * cycle);
        qdd[i] = ((after[i] - here[i]) - (here[i] - before[i])) / (cycle * cycle);
    }
}

bool FX_CartSampleAt(const CartMove* move, long k, CartSample* sample)
{
    if (move == nullptr || sample == nullptr || move->ok != 1 || k < 0 || k >= move->samples)
        return false;
    CartSample before, after;
    FX_CartSamplePose(move, k, sample);
    if (k > 0)
        FX_CartSamplePose(move, k - 1, &before);
    if (k + 1 < move->samples)
        FX_CartSamplePose(move, k + 1, &after);
    FX_CartRates(k > 0 ? before.q : sample->q, sample->q, k + 1 < move->samples ? after.q : sample->q, move->cycle,
                 sample->qd, sample->qdd);
    return true;
}
