/* The functions the browser view calls in the library compiled to WebAssembly.
   One arm at a time, held in the library's own records and loaded by its own
   loaders, so the page computes exactly what the tool computes. Joint angles in
   degrees, lengths in millimetres, poses as row-major 4x4 matrices. */
#ifndef TOLVEX_VIEWER_CORE_VIEWCORE_H
#define TOLVEX_VIEWER_CORE_VIEWCORE_H

#ifdef __cplusplus
extern "C" {
#endif

/* What an arm description is written in. */
enum TkvDescription {
    TKV_MODEL_FILE = 0, /* the numeric model parameter file */
    TKV_ROBOT_INI = 1,  /* robot.ini, through the robot object (not yet) */
    TKV_URDF = 2        /* URDF, through the robot object (not yet) */
};

/* What the loaded arm offers besides forward kinematics and the limit verdict. */
enum TkvCapability {
    TKV_CAN_IK = 1,         /* tkv_ik */
    TKV_CAN_ARM_ANGLE = 2   /* tkv_arm_angle, tkv_arm_angle_map */
};

/* Loads the description file's `size` bytes at `text`; 1 when loaded, else 0 and
   tkv_message() says why. A failed load leaves the previous arm in place. */
int tkv_load(int description, const char* text, int size);
/* One line about the last failure of tkv_load or tkv_motion_read. */
const char* tkv_message(void);

int tkv_dof(void);            /* joints of the loaded arm, 0 before a load */
int tkv_capabilities(void);   /* TkvCapability bits */
int tkv_frame_count(void);    /* frames tkv_fk gives: each joint's, the flange, the tool centre */
void tkv_joint_limits(double* lower, double* upper);

/* Frames (tkv_frame_count() matrices) and the tool pose as x, y, z, A, B, C
   exactly as `tolvex-kine fk` computes it. 1 when computed. */
int tkv_fk(const double* q, double* frames, double* xyzabc);
/* The pose matrix of x, y, z, A, B, C, as `tolvex-kine ik` makes its target, and back. */
void tkv_pose_matrix(const double* xyzabc, double* pose);
void tkv_pose_xyzabc(const double* pose, double* xyzabc);
/* A PilotJointState per joint into `state`; 1 when every joint is inside. */
int tkv_limit_verdict(const double* q, unsigned char* state);
/* Joints for the tool pose `target`, elbow branch and plane from `ref`; flags[3]
   as the library sets them. 1 when solved. */
int tkv_ik(const double* target, const double* ref, double* q, unsigned char* flags);
/* Re-solves the pose of the last tkv_ik or tkv_arm_angle_map at arm angle `psi`
   (degrees from the reference's elbow plane): the elbow turns, the tool stays. */
int tkv_arm_angle(double psi, const double* ref, double* q, unsigned char* flags);
/* The usable arm-angle intervals of `target` for `ref`, sampled every `step` deg:
   (start, end) pairs into `intervals` (room for 64 values), *reference the
   interval holding arm angle 0 or -1, flags[3] of the solve. The count of
   intervals, or -1 when the pose cannot be solved (flags say why). */
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
