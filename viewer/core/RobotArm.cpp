// The page's arm from robot.ini: the robot object, computing as `tolvex-kine fk --robot`
// and `ik --robot` do, with its analytic arm (when it has one) for the inverse
// kinematics, the arm angle, the full limit verdict and the arm-angle map. The page's
// degrees and millimetres become the robot's radians and metres as the tool turns them.
#include <cmath>
#include <cstring>

#include "pilot/PilotLimitCheck.h"
#include "robot/Robot.h"
#include "robot/RobotIni.h"
#include "tools/PrintedValues.h"
#include "viewer/core/ViewArm.h"
#include "viewer/core/ViewCore.h"

namespace {

void copyMatrix(const double from[4][4], double* to)
{
    std::memcpy(to, from, 16 * sizeof(double));
}

// Without the analytic form each joint is held against its own range, as the analytic
// arm's verdict holds joints 1 to 5 (a value on a limit is inside).
unsigned char rangeState(double q, const tk::JointLimits& limits)
{
    if (std::isnan(q))
        return PILOT_NOT_A_NUMBER;
    if (limits.continuous)
        return PILOT_INSIDE;
    return q < limits.lower ? PILOT_BELOW_MIN : q > limits.upper ? PILOT_ABOVE_MAX : PILOT_INSIDE;
}

class RobotArm : public ViewArm {
public:
    explicit RobotArm(tk::Robot robot) : robot_(std::move(robot)) {}

    int dof() const override { return robot_.dof(); }
    int frameCount() const override { return robot_.dof() + 1; }  // the joints, the flange
    int capabilities() const override { return robot_.hasAnalyticIk() ? TKV_CAN_IK | TKV_CAN_ARM_ANGLE : 0; }
    int flagCount() const override { return 4; }
    std::string lacking() const override { return robot_.hasAnalyticIk() ? "" : robot_.analyticIkReason(); }

    void jointLimits(double* lower, double* upper) const override
    {
        for (int i = 0; i < dof(); ++i) {
            const tk::JointLimits& limits = robot_.description().limits[i];
            radiansToDegrees(&limits.lower, &lower[i], 1);
            radiansToDegrees(&limits.upper, &upper[i], 1);
        }
    }

    void baseFrame(double* frame) const override
    {
        double mm[4][4];
        poseToMm(robot_.description().base, mm);
        copyMatrix(mm, frame);
    }

    bool fk(const double* q, double* frames, double* xyzabc) override
    {
        double joints[tk::kMaxJoints], all[tk::kMaxJoints + 1][4][4], mm[4][4];
        degreesToRadians(q, joints, dof());
        robot_.frames(joints, all);
        for (int i = 0; i <= dof(); ++i) {
            poseToMm(all[i], mm);
            copyMatrix(mm, frames + 16 * i);
        }
        poseToXyzabc(all[dof()], 1000.0, xyzabc);
        return true;
    }

    bool limitVerdict(const double* q, unsigned char* state) override
    {
        double joints[tk::kMaxJoints];
        degreesToRadians(q, joints, dof());
        if (tk::AnalyticArm* arm = robot_.analytic()) {
            tk::AnalyticLimitVerdict verdict;
            const bool inside = arm->checkLimits(joints, &verdict);
            std::memcpy(state, verdict.state, 7);
            return inside;
        }
        bool inside = true;
        for (int i = 0; i < dof(); ++i) {
            state[i] = rangeState(joints[i], robot_.description().limits[i]);
            inside = inside && state[i] == PILOT_INSIDE;
        }
        return inside;
    }

    bool ik(const double target[4][4], const double* ref, double* q, unsigned char* flags) override
    {
        double pose[4][4], reference[7];
        poseToMetres(target, pose);
        degreesToRadians(ref, reference, 7);
        return solved(robot_.analytic()->ik(pose, reference, solution_), q, flags);
    }

    bool armAngle(double psi, const double* ref, double* q, unsigned char* flags) override
    {
        double angle, reference[7];
        degreesToRadians(&psi, &angle, 1);
        degreesToRadians(ref, reference, 7);
        return solved(robot_.analytic()->ikAtArmAngle(angle, reference, solution_), q, flags);
    }

    // The analytic arm measures the arm angle from the plane through the shoulder-wrist line
    // and joint 1's axis, whatever the reference.
    double armAngleOf(const double* q) override
    {
        double joints[7], psi;
        degreesToRadians(q, joints, 7);
        const double angle = robot_.analytic()->armAngle(joints);
        radiansToDegrees(&angle, &psi, 1);
        return psi;
    }
    const char* armAngleZero() const override { return "the plane through the shoulder-wrist line and axis 1"; }

    // In closed form, edges to 1e-9 deg: `step` is the model file's, not needed here.
    int armAngleMap(const double target[4][4], const double* ref, double, double* intervals, int* reference,
                    unsigned char* flags) override
    {
        double pose[4][4], joints[7];
        poseToMetres(target, pose);
        degreesToRadians(ref, joints, 7);
        std::memset(flags, 0, 4);
        if (!robot_.analytic()->armAngleMap(pose, joints, &map_))
            return -1;
        const int stored = map_.count;
        for (int n = 0; n < stored; ++n) {
            radiansToDegrees(&map_.interval[n].start.angle, &intervals[2 * n], 1);
            radiansToDegrees(&map_.interval[n].end.angle, &intervals[2 * n + 1], 1);
        }
        *reference = map_.reference;
        return stored;
    }

private:
    bool solved(const tk::AnalyticIkResult& result, double* q, unsigned char* flags)
    {
        flags[0] = result.out_of_reach;
        flags[1] = result.shoulder_singular;
        flags[2] = result.wrist_singular;
        flags[3] = result.pose_missed;
        if (result.ok)
            radiansToDegrees(solution_, q, 7);
        return result.ok;
    }

    tk::Robot robot_;
    double solution_[7]{};
    tk::ArmAngleMap map_{};
};

}  // namespace

std::unique_ptr<ViewArm> loadRobotArm(const char* path, std::string* why)
{
    try {
        return std::make_unique<RobotArm>(tk::Robot(tk::readRobotIni(path)));
    } catch (const tk::Error& e) {
        *why = e.what();
        return nullptr;
    }
}
