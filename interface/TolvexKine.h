/* Tolvex Kine: the C entry points of the numeric model-file route.
   Load a model with OnInitKine_TOLVEXKINE, then call OnKine, OnInvKine, OnJacob ...
   Joint angles in degrees, poses as row-major 4x4 matrices in millimetres.
   Every int result is 1 for success and 0 for failure. Not thread-safe: the
   functions work on the library's global model records. */
#ifndef TOLVEX_INTERFACE_TOLVEXKINE_H
#define TOLVEX_INTERFACE_TOLVEXKINE_H

#ifdef __cplusplus
extern "C" {
#else
#include <stdbool.h>
#endif

/* Reads the model parameter file at path (serial 0: one block; serial 1: a
   second block overwrites the first and the file stays open). */
int OnInitKine_TOLVEXKINE(long serial, const char* path);

/* Tool pose for seven joint angles. 0 until a model is loaded. */
int OnKine(const double joints[7], double pose[4][4]);

/* Inverse kinematics; ref_joints[3] picks the elbow branch and ref_joints[0..1]
   the elbow plane. flag1: out of reach or no matching elbow; flag2/flag3:
   singular shoulder/wrist. */
int OnInvKine(double pose[4][4], const double ref_joints[7], double out_joints[7],
              unsigned char* flag1, unsigned char* flag2, unsigned char* flag3);

/* As OnInvKine, with the elbow plane given by the base-frame direction dir[3]. */
int OnInvKineDir(double pose[4][4], const double ref_joints[7], double* dir,
                 double out_joints[7], unsigned char* flag1, unsigned char* flag2,
                 unsigned char* flag3);

/* Re-solves the last successful inverse for another arm angle (degrees). */
int OnInvKine_NSP(double nsp_angle, const double ref_joints[7], double out_joints[7],
                  unsigned char* flag1, unsigned char* flag2, unsigned char* flag3);

/* OnInvKine followed by OnInvKine_NSP, printing its inputs and result. */
int OnInvKine_NSP_test(double pose[4][4], const double ref_joints[7], double out_joints[7],
                       unsigned char* flag1, unsigned char* flag2, unsigned char* flag3,
                       double nsp_angle);

/* Limit check: joints[7] in, boundary point of joints 6/7 out in bound[2];
   sets (never clears) outside[i] for each joint beyond its limit. */
void OnInvKineRange(double* joints, double* bound, bool* outside);

/* Joint-6/7 check on q67[2]: 1 inside, 0 outside; bound[2] gets the boundary point. */
int OnInvKineRange_Cross67(double* q67, double* bound);

/* 6x7 Jacobian of the tool centre: rows 0-2 in metres per radian, rows 3-5 the axes. */
int OnJacob(const double joints[7], double jacobian[6][7]);

/* Pose matrix from x, y, z and A, B, C in degrees (R = Rz(C) Ry(B) Rx(A)). */
void FX_XYZABC2Matrix4DEG(double xyzabc[6], double m[4][4]);

/* The inverse conversion; A, B, C are returned in radians. */
int FX_Matrix42XYZABCDEG(double m[4][4], double xyzabc[6]);

#ifdef __cplusplus
}
#endif

#endif
