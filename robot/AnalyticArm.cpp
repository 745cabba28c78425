#include "robot/AnalyticArm.h"

#include "cartesian/ArmAngleIK.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "dynamics/FxChain.h"
#include "ik7/IKLock7.h"
#include "ik7/IKSelect.h"
#include "interface/ModelFile.h"
#include "math/FxMatrix.h"
#include "math/FxRigid.h"
#include "pilot/PilotNSP.h"

namespace tk {

namespace {

constexpr double kPi = 3.14159265358979323846, kTurn = 2 * kPi;
// A model file's lengths must match the fitted ones to a micrometre.
constexpr double kModelFileToleranceMm = 1e-3;
// A solution gives the pose back to this, in mm and in rotation entries.
constexpr double kPoseTolerance = 1e-6;

// q moved by whole turns to within half a turn of ref.
double nearRef(double q, double ref)
{
    const double d = q - ref;
    if (!(std::fabs(d) > kPi) || !std::isfinite(d)) return q;
    return q - kTurn * std::round(d / kTurn);
}

void identity(double m[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m[r][c] = r == c ? 1.0 : 0.0;
}

// A number as the model file reader takes it: plain decimals, no exponent; an
// unlimited joint is written as a million degrees.
std::string fileNumber(double v)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.9f", std::fmax(-1e6, std::fmin(1e6, v)));
    std::string s = text;
    s.erase(s.find_last_not_of('0') + 1);
    if (s.back() == '.') s.pop_back();
    return s == "-0" ? "0" : s;
}

std::string fileRow(const double* v, int n)
{
    std::string row;
    for (int k = 0; k < n; ++k) row += (k ? " " : "") + fileNumber(v[k]);
    return row;
}

// "20.0 mm, robot 25.0 mm", with as many decimals as it takes to tell them apart.
std::string lengthPair(double file, double robot)
{
    char a[64], b[64];
    for (int decimals = 1;; ++decimals) {
        std::snprintf(a, sizeof a, "%.*f mm", decimals, file);
        std::snprintf(b, sizeof b, "%.*f mm", decimals, robot);
        if (std::strcmp(a, b) != 0 || decimals == 9) return std::string(a) + ", robot " + b;
    }
}

const char* wristName(unsigned char variant) { return variant == 0 ? "Z-Y-Z" : "Z-Y-X"; }

}  // namespace

std::unique_ptr<AnalyticArm> AnalyticArm::fit(const RobotDescription& description, std::string* why)
{
    PilotFit fitted;
    const std::string reason = fitPilot(description, &fitted);
    if (why != nullptr) *why = reason;
    if (!reason.empty()) return nullptr;
    return std::unique_ptr<AnalyticArm>(new AnalyticArm(description, fitted));
}

AnalyticArm::AnalyticArm(const RobotDescription& description, const PilotFit& fit) : fit_(fit)
{
    for (int i = 0; i < 7; ++i) limits_[i] = description.limits[i];
    FX_PGMatrixInv(fit_.base, inverseBase_);
    FX_PGMatrixInv(fit_.flange, inverseFlange_);
    initPilot(&pilot_, fit_.geometry);
    // The two elbow branches meet where the arm is stretched; the set-up's straight-elbow
    // angle, -upper_offset, would send references up to 2 * fore_offset below that to
    // the other branch, whose joints do not give the pose back.
    pilot_.straight_q4 = pilot_.elbow_angle - 180.0;
    FX_ArmModelOf(&pilot_, &armModel_);
    double limits[7][4], no_curves[4][3] = {};
    limitsInModel(limits);
    FX_Init_PilotLmt(&lmt_, 0, limits, no_curves);

    // The locked-joint model is built from the example robot.ini chain with this arm's
    // lengths. For the Z-Y-X wrist its slot 6 carries the Pilot's joint-7 turn and its
    // flange is the joint-7 frame (the 1017 flange layout does not suit the solver).
    const PilotGeometry& g = fit_.geometry;
    const bool zyz = g.variant == 0;
    const double rows[7][4] = {{0, 0, g.d1, 0},  {90, 0, 0, 0},          {-90, 0, g.d3, 0},
                               {90, g.a, 0, 0},  {-90, -g.a, g.d5, 0},   {90, 0, 0, 0},
                               {zyz ? -90.0 : 90.0, 0, zyz ? g.d7 : 0.0, zyz ? 0.0 : 90.0}};
    FX_Pilot chain{};
    double com[3] = {}, inertia[6] = {};
    for (int i = 0; i < 7; ++i)
        FX_SetLink(&chain, i, rows[i][0] * FX_DEG2RAD, rows[i][1] * 0.001, rows[i][2] * 0.001, rows[i][3] * FX_DEG2RAD,
                   0.0, com, inertia, 0.0);
    FX_SetFlange(&chain, 0.0, 0.0, 0.0, 0.0);
    chain.n = 7, chain.type = 1007;
    FX_RemoveTool(&chain);
    FX_InitIK_P7(&locked_, &chain);
    if (zyz) {
        identity(lockedFlange_);
    } else {
        fx_copy44(pilot_.flange_inv, lockedFlange_);
    }
}

void AnalyticArm::limitsInModel(double limits[7][4]) const
{
    const double unlimited = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 7; ++i) {
        const JointLimits& l = limits_[i];
        const double lo = fit_.map.toModel(i, l.lower), hi = fit_.map.toModel(i, l.upper);
        limits[i][0] = l.continuous ? -unlimited : std::fmin(lo, hi);
        limits[i][1] = l.continuous ? unlimited : std::fmax(lo, hi);
        limits[i][2] = std::fabs(l.velocity) * FX_RAD2DEG;
        limits[i][3] = std::fabs(l.acceleration) * FX_RAD2DEG;
    }
}

void AnalyticArm::toModelPose(const double pose[4][4], double target[4][4]) const
{
    double in_base[4][4];
    fx_mul44(inverseBase_, pose, in_base);
    fx_mul44(in_base, inverseFlange_, target);
    for (int r = 0; r < 3; ++r) target[r][3] *= 1000.0;
}

void AnalyticArm::fromModelPose(const double target[4][4], double pose[4][4]) const
{
    double metres[4][4], placed[4][4];
    fx_copy44(target, metres);
    for (int r = 0; r < 3; ++r) metres[r][3] *= 0.001;
    fx_mul44(fit_.base, metres, placed);
    fx_mul44(placed, fit_.flange, pose);
}

void AnalyticArm::toLockedPose(const double pose[4][4], double target[4][4]) const
{
    double pilot_pose[4][4];
    toModelPose(pose, pilot_pose);
    fx_mul44(pilot_pose, lockedFlange_, target);
}

// The reference in model degrees, joint 4 within the turn that the two elbow branches
// span, (elbow_angle - 360, elbow_angle], so that its branch is the one it lies on.
void AnalyticArm::modelRef(const double* ref, double* model_ref) const
{
    fit_.map.toModel(ref, model_ref);
    const double folded = pilot_.elbow_angle;
    if (model_ref[3] > folded || model_ref[3] <= folded - 360.0)
        model_ref[3] -= 360.0 * std::ceil((model_ref[3] - folded) / 360.0);
}

// Largest difference between the model's tool pose at `model` and the held target.
double AnalyticArm::missedBy(const double* model)
{
    double joints[7], pose[4][4], worst = 0.0;
    std::copy(model, model + 7, joints);
    FX_Kine_Pilot(&pilot_, joints, pose);
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c) worst = std::fmax(worst, std::fabs(pose[r][c] - target_[r][c]));
    return worst;
}

AnalyticIkResult AnalyticArm::finish(unsigned char solved, const unsigned char* flags, double* model,
                                     const double* ref, double* q)
{
    AnalyticIkResult result;
    result.out_of_reach = flags[0] != 0;
    result.shoulder_singular = flags[1] != 0;
    result.wrist_singular = flags[2] != 0;
    if (solved == 0) return result;
    // A frame whose segment points back along u was built turned half a turn about it.
    const double* u = nbase_.axis_u;
    const double* upper = nbase_.upper_frame;
    const double* fore = nbase_.fore_frame;
    if (u[0] * upper[2] + u[1] * upper[5] + u[2] * upper[8] < 0) model[2] += 180.0;
    if (u[0] * fore[2] + u[1] * fore[5] + u[2] * fore[8] < 0) model[4] += 180.0;
    {  // beside a singularity the solver averages joints, which need not give the pose back either
        double missed = missedBy(model);
        if (fit_.geometry.variant == 1 && missed > kPoseTolerance) {
            // The Z-Y-X wrist kept (a + 180, b, c + 180); its solution is (a, -b, c).
            const double other[7] = {model[0], model[1], model[2], model[3], model[4] - 180.0, -model[5],
                                     model[6] - 180.0};
            const double other_missed = missedBy(other);
            if (other_missed < missed) std::copy(other, other + 7, model), missed = other_missed;
        }
        result.pose_missed = !(missed <= kPoseTolerance);
    }
    result.ok = !result.pose_missed;
    if (!result.ok)
        return result;
    for (int i = 0; i < 7; ++i) q[i] = nearRef(fit_.map.fromModel(i, model[i]), ref[i]);
    if (!result.wrist_singular) {
        // The wrist's other branch (joint 6 mirrored, joints 5 and 7 half a turn on)
        // gives the same pose: the one nearer the reference keeps the wrist on its side.
        const double twin[7] = {model[0], model[1], model[2], model[3], model[4] + 180.0, -model[5], model[6] + 180.0};
        double other[3], near = 0.0, far = 0.0;
        for (int k = 0; k < 3; ++k) {
            other[k] = nearRef(fit_.map.fromModel(4 + k, twin[4 + k]), ref[4 + k]);
            near += (q[4 + k] - ref[4 + k]) * (q[4 + k] - ref[4 + k]);
            far += (other[k] - ref[4 + k]) * (other[k] - ref[4 + k]);
        }
        if (far < near && missedBy(twin) <= kPoseTolerance) std::copy(other, other + 3, q + 4);
    }
    return result;
}

// Without flag1 the solver stored the arm frames of `target` in nbase_.
void AnalyticArm::holdTarget(unsigned char flag1, const double target[4][4])
{
    if (flag1 != 0) return;
    armAngleBaseSet_ = true;
    fx_copy44(target, target_);
}

double AnalyticArm::armAngle(const double* q)
{
    double model[7];
    fit_.map.toModel(q, model);
    return FX_ArmAngleOf(&pilot_, model) * FX_DEG2RAD;
}

AnalyticIkResult AnalyticArm::ik(const double pose[4][4], const double* ref, double* q)
{
    double target[4][4], model_ref[7], model[7];
    unsigned char flags[3];
    toModelPose(pose, target);
    modelRef(ref, model_ref);
    const unsigned char solved =
        FX_InvKine_Pilot(&pilot_, model_ref, target, &nbase_, model, &flags[0], &flags[1], &flags[2]);
    holdTarget(flags[0], target);
    return finish(solved, flags, model, ref, q);
}

AnalyticIkResult AnalyticArm::ikAtArmAngle(double psi, const double* ref, double* q)
{
    AnalyticIkResult result;
    double model_ref[7], model[7];
    ArmBranch branch;
    ArmPose pose;
    modelRef(ref, model_ref);
    if (!armAngleBaseSet_ || !FX_ArmBranchOf(&armModel_, &lmt_, model_ref, &branch)) {
        result.out_of_reach = true;
        return result;
    }
    const unsigned char status = FX_ArmPoseOf(&armModel_, &branch, target_, 0.0, &pose) == ARM_OK
                                     ? FX_ArmJoints(&armModel_, &branch, &pose, psi * FX_RAD2DEG, model)
                                     : pose.status;
    result.out_of_reach = status == ARM_NOT_FINITE || status == ARM_OUT_OF_REACH || status == ARM_TOO_CLOSE ||
                          status == ARM_ELBOW_STRAIGHT;
    result.shoulder_singular = status == ARM_SHOULDER_SINGULAR || status == ARM_ANGLE_UNDEFINED;
    result.wrist_singular = status == ARM_WRIST_SINGULAR;
    result.pose_missed = status == ARM_OK && !(missedBy(model) <= kPoseTolerance);
    result.ok = status == ARM_OK && !result.pose_missed;
    if (result.ok)
        for (int i = 0; i < 7; ++i) q[i] = nearRef(fit_.map.fromModel(i, model[i]), ref[i]);
    return result;
}

bool AnalyticArm::ikLocked7(const double pose[4][4], double q7, const double* ref, double* q)
{
    double target[4][4], model_ref[7], row[8];
    toLockedPose(pose, target);
    fit_.map.toModel(ref, model_ref);
    if (FX_IKRef7(&locked_, fit_.map.toModel(6, q7), model_ref, target, row) == 0) return false;
    for (int i = 0; i < 7; ++i) q[i] = nearRef(fit_.map.fromModel(i, row[i]), ref[i]);
    return true;
}

bool AnalyticArm::ikLocked7All(const double pose[4][4], double q7, LockedSolutions* solutions)
{
    double target[4][4], rows[8][8];
    long count = 0;
    toLockedPose(pose, target);
    solutions->count = 0;
    if (FX_IKLock7(&locked_, fit_.map.toModel(6, q7), target, &count, rows) == 0) return false;
    solutions->count = static_cast<int>(count);
    for (int n = 0; n < solutions->count; ++n) {
        for (int i = 0; i < 7; ++i) solutions->q[n][i] = nearRef(fit_.map.fromModel(i, rows[n][i]), 0.0);
        solutions->shoulder_degenerate[n] = rows[n][7] == 1.0;
    }
    return true;
}

unsigned char AnalyticArm::descriptionState(int joint, unsigned char model_state) const
{
    if (fit_.map.sign[joint] > 0) return model_state;
    if (model_state == PILOT_BELOW_MIN) return PILOT_ABOVE_MAX;
    if (model_state == PILOT_ABOVE_MAX) return PILOT_BELOW_MIN;
    return model_state;
}

bool AnalyticArm::checkLimits(const double* q, AnalyticLimitVerdict* verdict)
{
    double model[7];
    PilotLimitVerdict model_verdict;
    fit_.map.toModel(q, model);
    const bool inside = FX_CheckPilotLimits(&lmt_, model, &model_verdict);
    for (int i = 0; i < 7; ++i) verdict->state[i] = descriptionState(i, model_verdict.state[i]);
    verdict->bound[0] = fit_.map.fromModel(5, model_verdict.bound[0]);
    verdict->bound[1] = fit_.map.fromModel(6, model_verdict.bound[1]);
    return inside;
}

bool AnalyticArm::armAngleMap(const double pose[4][4], const double* ref, ArmAngleMap* map)
{
    double target[4][4], model_ref[7];
    ArmBranch branch;
    map->count = 0, map->truncated = false, map->reference = -1;
    toModelPose(pose, target);
    modelRef(ref, model_ref);
    if (!FX_ArmBranchOf(&armModel_, &lmt_, model_ref, &branch) ||
        !FX_ArmAngleIntervals(&armModel_, &lmt_, &branch, target, 0.0, &intervals_))
        return false;
    armAngleBaseSet_ = true;
    fx_copy44(target, target_);
    map->count = intervals_.count;
    map->truncated = intervals_.truncated != 0;
    const double own = FX_ArmAngleOf(&pilot_, model_ref);
    for (int n = 0; n < intervals_.count; ++n) {
        const ::ArmAngleEdge* from[2] = {&intervals_.interval[n].start, &intervals_.interval[n].end};
        ArmAngleEdge* to[2] = {&map->interval[n].start, &map->interval[n].end};
        for (int e = 0; e < 2; ++e) {
            unsigned char cause = from[e]->cause;
            if (from[e]->joint >= 1 && fit_.map.sign[from[e]->joint - 1] < 0 && (cause == ARM_EDGE_MIN || cause == ARM_EDGE_MAX))
                cause = cause == ARM_EDGE_MIN ? ARM_EDGE_MAX : ARM_EDGE_MIN;
            *to[e] = ArmAngleEdge{from[e]->angle * FX_DEG2RAD, cause, from[e]->joint};
        }
    }
    for (int n = 0; n < intervals_.count && map->reference < 0; ++n) {
        ArmAngleIntervals one{};
        one.count = 1, one.interval[0] = intervals_.interval[n];
        if (FX_ArmAngleInside(&one, own)) map->reference = n;
    }
    return true;
}

void AnalyticArm::useModelFile(const std::string& path)
{
    const std::string name = "model file '" + path + "'";
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw Error(name + " cannot be opened");
    long type = 0;
    double geometry[8][4], file_limits[7][4], curves[4][3];
    const bool read = FX_Load_Pilot_Cfg(file, &type, geometry, file_limits, curves);
    std::fclose(file);
    if (!read) throw Error(name + " does not hold a 13-line model parameter block");
    if (type != 1007 && type != 1017)
        throw Error(name + ": type code " + std::to_string(type) + ", expected 1007 or 1017");
    const PilotGeometry& g = fit_.geometry;
    const unsigned char variant = type == 1017 ? 1 : 0;
    const std::string other = name + " describes another arm: ";
    if (variant != g.variant)
        throw Error(other + "joints 5-7 wrist " + wristName(variant) + ", robot " + wristName(g.variant));
    const struct {
        const char* what;
        double file, robot;
    } lengths[] = {{"joint 1 shoulder height", geometry[0][2], g.d1},
                   {"joint 3 upper arm", geometry[2][2], g.d3},
                   {"joint 4 elbow offset", geometry[3][1], g.a},
                   {"joint 5 forearm", geometry[4][2], g.d5},
                   {"joint 7 flange distance", geometry[7][2], g.d7}};
    for (const auto& l : lengths)
        if (!(std::fabs(l.file - l.robot) <= kModelFileToleranceMm))
            throw Error(other + l.what + " " + lengthPair(l.file, l.robot));
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 3; ++c)
            if (!std::isfinite(curves[r][c]))
                throw Error(name + ": corner curve " + std::to_string(r + 1) + " is not a number");
    PilotLmt coupled{};
    double limits[7][4];
    limitsInModel(limits);
    FX_Init_PilotLmt(&coupled, variant, limits, curves);
    lmt_ = coupled;
}

std::string AnalyticArm::modelFileText() const
{
    const PilotGeometry& g = fit_.geometry;
    const double rows[8][4] = {{0, 0, g.d1, 0},     {90, 0, 0, 0}, {-90, 0, g.d3, 0}, {90, g.a, 0, 0},
                               {-90, -g.a, g.d5, 0}, {90, 0, 0, 0}, {-90, 0, 0, 0},    {0, 0, g.d7, 0}};
    double curves[4][3] = {};
    if (lmt_.Coupled != 0) {
        std::memcpy(curves, lmt_.Curve, sizeof curves);
    } else if (g.variant == 1) {
        // A 1017 file always has a coupled range: flat curves on the joint-7 limits cut nothing.
        curves[0][2] = curves[1][2] = lmt_.JointMax[6];
        curves[2][2] = curves[3][2] = lmt_.JointMin[6];
    }
    std::string text = g.variant == 0 ? "1007\n" : "1017\n";
    for (int k = 0; k < 7; ++k) {
        const double limit[4] = {lmt_.JointMin[k], lmt_.JointMax[k], lmt_.JointLim3[k], lmt_.JointLim4[k]};
        text += fileRow(rows[k], 4) + " " + fileRow(limit, 4) + "\n";
    }
    text += fileRow(rows[7], 4) + "\n";
    for (int r = 0; r < 4; ++r) text += fileRow(curves[r], 3) + "\n";
    return text;
}

}  // namespace tk
