// The page's arm from a numeric model file: the specified entry points on the
// library's global records, exactly as `tolvex-kine fk`, `ik`, `limits`, `nsp` and
// `psi-map` compute it. Degrees and millimetres are the entry points' own units.
#include <cstring>

#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotArmAngleMap.h"
#include "pilot/PilotLimitCheck.h"
#include "tools/PrintedValues.h"
#include "viewer/core/ViewArm.h"
#include "viewer/core/ViewCore.h"

namespace {

void copyMatrix(const double from[4][4], double* to)
{
    std::memcpy(to, from, 16 * sizeof(double));
}

class ModelArm : public ViewArm {
public:
    int dof() const override { return 7; }
    int frameCount() const override { return 9; }  // the joints, the flange, the tool centre
    int capabilities() const override { return TKV_CAN_IK | TKV_CAN_ARM_ANGLE; }
    int flagCount() const override { return 3; }
    std::string lacking() const override { return ""; }

    void jointLimits(double* lower, double* upper) const override
    {
        for (int i = 0; i < 7; ++i) {
            lower[i] = lmt.JointMin[i];
            upper[i] = lmt.JointMax[i];
        }
    }

    void baseFrame(double* frame) const override
    {
        static const double kIdentity[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
        copyMatrix(kIdentity, frame);
    }

    bool fk(const double* q, double* frames, double* xyzabc) override
    {
        double pose[4][4];
        if (!OnKine(q, pose))
            return false;
        // OnKine leaves every joint frame of this posture in the model record.
        for (int i = 0; i < 7; ++i)
            copyMatrix(pilot.joint_pose[i], frames + 16 * i);
        copyMatrix(pilot.flange_pose, frames + 16 * 7);
        copyMatrix(pose, frames + 16 * 8);
        poseToXyzabc(pose, 1.0, xyzabc);
        return true;
    }

    bool limitVerdict(const double* q, unsigned char* state) override
    {
        PilotLimitVerdict verdict;
        const bool inside = FX_CheckPilotLimits(&lmt, q, &verdict);
        std::memcpy(state, verdict.state, 7);
        return inside;
    }

    bool ik(const double target[4][4], const double* ref, double* q, unsigned char* flags) override
    {
        double pose[4][4];
        std::memcpy(pose, target, sizeof pose);
        return OnInvKine(pose, ref, q, &flags[0], &flags[1], &flags[2]) == 1;
    }

    bool armAngle(double psi, const double* ref, double* q, unsigned char* flags) override
    {
        return OnInvKine_NSP(psi, ref, q, &flags[0], &flags[1], &flags[2]) == 1;
    }

    // The entry points count the arm angle from the reference's own elbow plane.
    double armAngleOf(const double*) override { return 0.0; }
    const char* armAngleZero() const override { return "the reference elbow plane (the posture last set)"; }

    int armAngleMap(const double target[4][4], const double* ref, double step, double* intervals, int* reference,
                    unsigned char* flags) override
    {
        double pose[4][4], referenceJoints[7];
        std::memcpy(pose, target, sizeof pose);
        std::memcpy(referenceJoints, ref, sizeof referenceJoints);
        // The pose solve lands in the entry points' record, so armAngle re-solves this pose.
        const bool solved = FX_PilotArmAngleMap(&pilot, &lmt, referenceJoints, pose, step, &nbase, &map_);
        std::memcpy(flags, map_.flags, 3);
        if (!solved)
            return -1;
        const int stored = map_.count < PILOT_MAX_ARM_ANGLE_INTERVALS ? map_.count : PILOT_MAX_ARM_ANGLE_INTERVALS;
        for (int n = 0; n < stored; ++n) {
            intervals[2 * n] = map_.interval[n].start.angle;
            intervals[2 * n + 1] = map_.interval[n].end.angle;
        }
        *reference = map_.reference;
        return stored;
    }

private:
    PilotArmAngleMap map_{};
};

}  // namespace

std::unique_ptr<ViewArm> loadModelArm(const char* path, std::string* why)
{
    if (!OnInitKine_TOLVEXKINE(0, path)) {
        *why = "the model file does not load (tolvex-kine fk --model FILE names the faulty line)";
        return nullptr;
    }
    return std::make_unique<ModelArm>();
}
