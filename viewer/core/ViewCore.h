/* The functions the browser view calls in the library compiled to WebAssembly.
   One arm at a time, loaded by the library's own loaders (ViewArm.h): a model file
   into the library's own records, or robot.ini into a robot object, so the page
   computes exactly what the tool computes. Joint angles in degrees, lengths in
   millimetres, poses as row-major 4x4 matrices. */
#ifndef TOLVEX_VIEWER_CORE_VIEWCORE_H
#define TOLVEX_VIEWER_CORE_VIEWCORE_H

#ifdef __cplusplus
extern "C" {
#endif

/* What an arm description is written in. A URDF arm comes as the robot.ini of the
   robot object that `tolvex-kine view` built from it. */
enum TkvDescription {
    TKV_MODEL_FILE = 0, /* the numeric model parameter file: the entry points */
    TKV_ROBOT_INI = 1   /* robot.ini: the robot object */
};

/* What the loaded arm offers besides forward kinematics and the limit verdict. */
enum TkvCapability {
    TKV_CAN_IK = 1,         /* tkv_ik */
    TKV_CAN_ARM_ANGLE = 2   /* tkv_arm_angle, tkv_arm_angle_map */
};

/* Loads the description file's `size` bytes at `text`; 1 when loaded, else 0 and
   tkv_message() says why. A failed load leaves the previous arm in place. */
int tkv_load(int description, const char* text, int size);
/* One line about the last failure of a load, a solve or tkv_motion_read. */
const char* tkv_message(void);

int tkv_dof(void);            /* joints of the loaded arm, 0 before a load */
int tkv_capabilities(void);   /* TkvCapability bits */
/* Why the loaded arm offers no inverse kinematics (it has not the analytic form), "" when it does. */
const char* tkv_lacking(void);
/* Frames tkv_fk gives: each joint's, the flange, and for a model file the tool centre;
   the last is the pose the page shows and the inverse kinematics reaches for. */
int tkv_frame_count(void);
/* Status bytes an inverse solve sets: flag1..flag3, and for a robot its pose check. */
int tkv_flag_count(void);
void tkv_joint_limits(double* lower, double* upper);
/* Where the arm stands: the frame joint 1 turns in (a robot's base transform). */
void tkv_base_frame(double* frame);

/* Frames (tkv_frame_count() matrices) and the last one's pose as x, y, z, A, B, C
   exactly as `tolvex-kine fk` (with --robot for a robot) computes it. 1 when computed. */
int tkv_fk(const double* q, double* frames, double* xyzabc);
/* The pose matrix of x, y, z, A, B, C, as `tolvex-kine ik` makes its target, and back. */
void tkv_pose_matrix(const double* xyzabc, double* pose);
void tkv_pose_xyzabc(const double* pose, double* xyzabc);
/* A PilotJointState per joint into `state`; 1 when every joint is inside. */
int tkv_limit_verdict(const double* q, unsigned char* state);
/* Joints for the pose `target`, elbow branch and plane from `ref`; tkv_flag_count()
   flags as the library sets them. 1 when solved; 0 too, with tkv_message(), when the
   arm has no analytic inverse kinematics (as for the two calls below). */
int tkv_ik(const double* target, const double* ref, double* q, unsigned char* flags);
/* Re-solves the pose of the last tkv_ik or tkv_arm_angle_map at arm angle `psi`
   (degrees from what tkv_arm_angle_zero() names): the elbow turns, the tool stays. */
int tkv_arm_angle(double psi, const double* ref, double* q, unsigned char* flags);
/* The arm angle (deg) at which tkv_arm_angle gives back the posture `q` that was set or
   solved: 0 for a model file, whose arm angles count from the reference's own elbow plane;
   a robot's from the plane through its shoulder-wrist line and axis 1. */
double tkv_arm_angle_of(const double* q);
const char* tkv_arm_angle_zero(void);   /* what arm angle 0 is, in words */
/* The usable arm-angle intervals of `target` for `ref` (a model file's sampled every
   `step` deg, a robot's in closed form): (start, end) pairs into `intervals` (room for
   64 values), *reference the interval holding the reference's arm angle or -1, the
   flags of the solve. The count of intervals, or -1 when the pose cannot be solved. */
int tkv_arm_angle_map(const double* target, const double* ref, double step, double* intervals,
                      int* reference, unsigned char* flags);

/* The tool's printing: `value` to `decimals` places, a status byte and a joint's
   limit state in words. The text lives until the next call. */
const char* tkv_format(double value, int decimals);
const char* tkv_flag_text(int flag, int value);
const char* tkv_limit_text(int state);

/* Reads `size` bytes of a motion CSV (see viewer/MotionCsv.h) for the loaded arm:
   the rows, or -1 with tkv_message(). tkv_motion_rows() then holds them, each row
   t, q1..qn, x, y, z, A, B, C, arm angle. */
int tkv_motion_read(const char* text, int size);
const double* tkv_motion_rows(void);

#ifdef __cplusplus
}
#endif

#endif
