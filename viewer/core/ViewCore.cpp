#include "viewer/core/ViewCore.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "interface/TolvexKine.h"
#include "tools/PrintedValues.h"
#include "viewer/MotionCsv.h"
#include "viewer/core/ViewArm.h"

#include <emscripten/emscripten.h>

// Kept and exported by the linker without a list to maintain.
#define TKV_EXPORT extern "C" EMSCRIPTEN_KEEPALIVE

namespace {

// The loaders read files: the page's text goes to one in memory first.
const char* const kDescriptionPath = "/tmp/tolvex-view-arm";

std::string message;
std::string formatted;
std::string lacking;
std::unique_ptr<ViewArm> arm;
std::vector<double> motionRows;

bool writeFile(const char* path, const char* bytes, std::size_t size)
{
    FILE* file = std::fopen(path, "wb");
    if (!file)
        return false;
    const bool written = std::fwrite(bytes, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

// False, with the message, unless an arm is loaded that offers `capability`.
bool offers(int capability)
{
    if (arm && (arm->capabilities() & capability))
        return true;
    message = arm ? "this arm has no analytic inverse kinematics: " + arm->lacking() : "no arm is loaded";
    return false;
}

}  // namespace

TKV_EXPORT int tkv_load(int description, const char* text, int size)
{
    if (text == nullptr || size < 0) {
        message = "no description text";
        return 0;
    }
    if (description != TKV_MODEL_FILE && description != TKV_ROBOT_INI) {
        message = "unknown description kind " + std::to_string(description);
        return 0;
    }
    if (!writeFile(kDescriptionPath, text, static_cast<std::size_t>(size))) {
        message = "the description cannot be written to the page's memory file system";
        return 0;
    }
    std::unique_ptr<ViewArm> loaded = description == TKV_MODEL_FILE ? loadModelArm(kDescriptionPath, &message)
                                                                    : loadRobotArm(kDescriptionPath, &message);
    std::remove(kDescriptionPath);
    if (!loaded)
        return 0;
    arm = std::move(loaded);
    return 1;
}

TKV_EXPORT const char* tkv_message(void)
{
    return message.c_str();
}

TKV_EXPORT int tkv_dof(void)
{
    return arm ? arm->dof() : 0;
}

TKV_EXPORT int tkv_capabilities(void)
{
    return arm ? arm->capabilities() : 0;
}

TKV_EXPORT const char* tkv_lacking(void)
{
    lacking = arm ? arm->lacking() : "";
    return lacking.c_str();
}

TKV_EXPORT int tkv_frame_count(void)
{
    return arm ? arm->frameCount() : 0;
}

TKV_EXPORT int tkv_flag_count(void)
{
    return arm ? arm->flagCount() : 0;
}

TKV_EXPORT void tkv_joint_limits(double* lower, double* upper)
{
    if (arm)
        arm->jointLimits(lower, upper);
}

TKV_EXPORT void tkv_base_frame(double* frame)
{
    if (arm)
        arm->baseFrame(frame);
}

TKV_EXPORT int tkv_fk(const double* q, double* frames, double* xyzabc)
{
    return arm && arm->fk(q, frames, xyzabc) ? 1 : 0;
}

TKV_EXPORT void tkv_pose_matrix(const double* xyzabc, double* pose)
{
    double values[6], matrix[4][4];
    std::memcpy(values, xyzabc, sizeof values);
    FX_XYZABC2Matrix4DEG(values, matrix);
    std::memcpy(pose, matrix, sizeof matrix);
}

TKV_EXPORT void tkv_pose_xyzabc(const double* pose, double* xyzabc)
{
    double matrix[4][4];
    std::memcpy(matrix, pose, sizeof matrix);
    poseToXyzabc(matrix, 1.0, xyzabc);
}

TKV_EXPORT int tkv_limit_verdict(const double* q, unsigned char* state)
{
    return arm && arm->limitVerdict(q, state) ? 1 : 0;
}

TKV_EXPORT int tkv_ik(const double* target, const double* ref, double* q, unsigned char* flags)
{
    double pose[4][4];
    std::memcpy(pose, target, sizeof pose);
    return offers(TKV_CAN_IK) && arm->ik(pose, ref, q, flags) ? 1 : 0;
}

TKV_EXPORT int tkv_arm_angle(double psi, const double* ref, double* q, unsigned char* flags)
{
    return offers(TKV_CAN_ARM_ANGLE) && arm->armAngle(psi, ref, q, flags) ? 1 : 0;
}

TKV_EXPORT double tkv_arm_angle_of(const double* q)
{
    return offers(TKV_CAN_ARM_ANGLE) ? arm->armAngleOf(q) : NAN;
}

TKV_EXPORT const char* tkv_arm_angle_zero(void)
{
    return offers(TKV_CAN_ARM_ANGLE) ? arm->armAngleZero() : "";
}

TKV_EXPORT int tkv_arm_angle_map(const double* target, const double* ref, double step,
                                 double* intervals, int* reference, unsigned char* flags)
{
    double pose[4][4];
    std::memcpy(pose, target, sizeof pose);
    return offers(TKV_CAN_ARM_ANGLE) ? arm->armAngleMap(pose, ref, step, intervals, reference, flags) : -1;
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
    message = text != nullptr && size >= 0 ? readMotionCsv(text, static_cast<std::size_t>(size), tkv_dof(), rows)
                                           : "no motion text";
    motionRows.clear();
    if (!message.empty())
        return -1;
    for (const MotionRow& row : rows) {
        motionRows.push_back(row.time);
        motionRows.insert(motionRows.end(), row.joints, row.joints + tkv_dof());
        motionRows.insert(motionRows.end(), row.pose, row.pose + 6);
        motionRows.push_back(row.armAngle);
    }
    return static_cast<int>(rows.size());
}

TKV_EXPORT const double* tkv_motion_rows(void)
{
    return motionRows.data();
}
