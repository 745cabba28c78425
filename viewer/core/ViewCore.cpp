#include "viewer/core/ViewCore.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotArmAngleMap.h"
#include "pilot/PilotLimitCheck.h"
#include "tools/PrintedValues.h"
#include "viewer/MotionCsv.h"

#include <emscripten/emscripten.h>

// Kept and exported by the linker without a list to maintain.
#define TKV_EXPORT extern "C" EMSCRIPTEN_KEEPALIVE

namespace {

// The model loader reads a file: the page's text goes to one in memory first.
const char* const kModelPath = "/tmp/tolvex-view-model.txt";

std::string message;
std::string formatted;
int loadedDof = 0;
int capabilities = 0;
std::vector<double> motionRows;

void copyMatrix(const double from[4][4], double* to)
{
    std::memcpy(to, from, 16 * sizeof(double));
}

bool writeFile(const char* path, const char* bytes, std::size_t size)
{
    FILE* file = std::fopen(path, "wb");
    if (!file)
        return false;
    const bool written = std::fwrite(bytes, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

int loadModelFile(const char* bytes, std::size_t size)
{
    if (!writeFile(kModelPath, bytes, size)) {
        message = "the model text cannot be written to the page's memory file system";
        return 0;
    }
    if (!OnInitKine_TOLVEXKINE(0, kModelPath)) {
        message = "the model file does not load (tolvex-kine fk --model FILE names the faulty line)";
        return 0;
    }
    loadedDof = 7;
    capabilities = TKV_CAN_IK | TKV_CAN_ARM_ANGLE;
    return 1;
}

}  // namespace

TKV_EXPORT int tkv_load(int description, const char* text, int size)
{
    if (text == nullptr || size < 0) {
        message = "no description text";
        return 0;
    }
    switch (description) {
    case TKV_MODEL_FILE:
        return loadModelFile(text, static_cast<std::size_t>(size));
    case TKV_ROBOT_INI:
    case TKV_URDF:
        message = "this page draws arms from a numeric model file only, for now";
        return 0;
    default:
        message = "unknown description kind " + std::to_string(description);
        return 0;
    }
}

TKV_EXPORT const char* tkv_message(void)
{
    return message.c_str();
}

TKV_EXPORT int tkv_dof(void)
{
    return loadedDof;
}

TKV_EXPORT int tkv_capabilities(void)
{
    return capabilities;
}

TKV_EXPORT int tkv_frame_count(void)
{
    return loadedDof + 2;
}

TKV_EXPORT void tkv_joint_limits(double* lower, double* upper)
{
    for (int i = 0; i < loadedDof; ++i) {
        lower[i] = lmt.JointMin[i];
        upper[i] = lmt.JointMax[i];
    }
}

TKV_EXPORT int tkv_fk(const double* q, double* frames, double* xyzabc)
{
    double pose[4][4];
    if (!OnKine(q, pose))
        return 0;
    // OnKine leaves every joint frame of this posture in the model record.
    for (int i = 0; i < 7; ++i)
        copyMatrix(pilot.joint_pose[i], frames + 16 * i);
    copyMatrix(pilot.flange_pose, frames + 16 * 7);
    copyMatrix(pose, frames + 16 * 8);
    poseToXyzabc(pose, 1.0, xyzabc);
    return 1;
}

TKV_EXPORT void tkv_pose_matrix(const double* xyzabc, double* pose)
{
    double values[6], matrix[4][4];
    std::memcpy(values, xyzabc, sizeof values);
    FX_XYZABC2Matrix4DEG(values, matrix);
    copyMatrix(matrix, pose);
}

TKV_EXPORT void tkv_pose_xyzabc(const double* pose, double* xyzabc)
{
    double matrix[4][4];
    std::memcpy(matrix, pose, sizeof matrix);
    poseToXyzabc(matrix, 1.0, xyzabc);
}

TKV_EXPORT int tkv_limit_verdict(const double* q, unsigned char* state)
{
    PilotLimitVerdict verdict;
    const bool inside = FX_CheckPilotLimits(&lmt, q, &verdict);
    std::memcpy(state, verdict.state, 7);
    return inside ? 1 : 0;
}

TKV_EXPORT int tkv_ik(const double* target, const double* ref, double* q, unsigned char* flags)
{
    double pose[4][4];
    std::memcpy(pose, target, sizeof pose);
    return OnInvKine(pose, ref, q, &flags[0], &flags[1], &flags[2]);
}

TKV_EXPORT int tkv_arm_angle(double psi, const double* ref, double* q, unsigned char* flags)
{
    return OnInvKine_NSP(psi, ref, q, &flags[0], &flags[1], &flags[2]);
}

TKV_EXPORT int tkv_arm_angle_map(const double* target, const double* ref, double step,
                                 double* intervals, int* reference, unsigned char* flags)
{
    static PilotArmAngleMap map;
    double pose[4][4], referenceJoints[7];
    std::memcpy(pose, target, sizeof pose);
    std::memcpy(referenceJoints, ref, sizeof referenceJoints);
    // The pose solve lands in the entry points' record, so tkv_arm_angle re-solves this pose.
    const bool solved = FX_PilotArmAngleMap(&pilot, &lmt, referenceJoints, pose, step, &nbase, &map);
    std::memcpy(flags, map.flags, 3);
    if (!solved)
        return -1;
    const int stored = map.count < PILOT_MAX_ARM_ANGLE_INTERVALS ? map.count : PILOT_MAX_ARM_ANGLE_INTERVALS;
    for (int n = 0; n < stored; ++n) {
        intervals[2 * n] = map.interval[n].start.angle;
        intervals[2 * n + 1] = map.interval[n].end.angle;
    }
    *reference = map.reference;
    return stored;
}

TKV_EXPORT const char* tkv_format(double value, int decimals)
{
    formatted = formatNumber(value, decimals);
    return formatted.c_str();
}

TKV_EXPORT const char* tkv_flag_text(int flag, int value)
{
    return ikFlagMeaning(flag, static_cast<unsigned char>(value != 0));
}

TKV_EXPORT const char* tkv_limit_text(int state)
{
    return limitStateText(static_cast<unsigned char>(state));
}

TKV_EXPORT int tkv_motion_read(const char* text, int size)
{
    std::vector<MotionRow> rows;
    message = text != nullptr && size >= 0 ? readMotionCsv(text, static_cast<std::size_t>(size), loadedDof, rows)
                                           : "no motion text";
    motionRows.clear();
    if (!message.empty())
        return -1;
    for (const MotionRow& row : rows) {
        motionRows.push_back(row.time);
        motionRows.insert(motionRows.end(), row.joints, row.joints + loadedDof);
        motionRows.insert(motionRows.end(), row.pose, row.pose + 6);
        motionRows.push_back(row.armAngle);
    }
    return static_cast<int>(rows.size());
}

TKV_EXPORT const double* tkv_motion_rows(void)
{
    return motionRows.data();
}
