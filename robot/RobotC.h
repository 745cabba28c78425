/* The robot object for C hosts: an opaque handle over the C++ robot, SI units, the
   description's own joint convention and base frame. Functions that can fail return 0
   and write one line into `error` (at most error_size bytes, terminated); the per-cycle
   calls never fail and allocate nothing. Matrices are row-major. */
#ifndef TOLVEX_ROBOT_ROBOTC_H
#define TOLVEX_ROBOT_ROBOTC_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tk_robot tk_robot;

/* A robot from a robot.ini; null (and `error`) when it cannot be built. */
tk_robot* tk_robot_from_robot_ini(const char* path, char* error, size_t error_size);
void tk_robot_free(tk_robot* robot);
int tk_robot_dof(const tk_robot* robot);
/* lower, upper (rad), velocity (rad/s), acceleration (rad/s^2), effort (N m): dof values each. */
void tk_robot_limits(const tk_robot* robot, double* lower, double* upper, double* velocity,
                     double* acceleration, double* effort);

void tk_robot_fk(tk_robot* robot, const double* q, double pose[16]);
void tk_robot_jacobian(tk_robot* robot, const double* q, double* jacobian); /* 6 x dof */
void tk_robot_inverse_dynamics(tk_robot* robot, const double* q, const double* qd,
                               const double* qdd, double* tau);
void tk_robot_gravity_torques(tk_robot* robot, const double* q, double* tau);
void tk_robot_friction(const tk_robot* robot, const double* qd, double* tau);
void tk_robot_mass_matrix(tk_robot* robot, const double* q, double* mass);       /* dof x dof */
void tk_robot_coriolis_matrix(tk_robot* robot, const double* q, const double* qd,
                              double* coriolis);                                  /* dof x dof */

/* 1 for a seven-joint arm of the analytic-IK form; otherwise 0, and the reason says which
   condition fails and by how much. */
int tk_robot_has_analytic_ik(const tk_robot* robot);
const char* tk_robot_analytic_ik_reason(const tk_robot* robot);
/* Analytic IK of a flange pose (row-major 4x4, m) with the elbow by the reference ref (rad).
   Returns 1 when q holds seven joints; flags: out of reach, shoulder singular, wrist singular
   (all three set when the robot has no analytic form). */
int tk_robot_ik(tk_robot* robot, const double pose[16], const double* ref, double* q, unsigned char flags[3]);

/* inertia: xx, xy, xz, yy, yz, zz about the centre of mass, flange axes. */
int tk_robot_set_payload(tk_robot* robot, double mass, const double com[3], const double inertia[6],
                         char* error, size_t error_size);
int tk_robot_set_gravity(tk_robot* robot, const double gravity[3], char* error, size_t error_size);

#ifdef __cplusplus
}

namespace tk {
struct RobotDescription;
}
// A handle on the robot of a description built another way (the URDF library's route);
// null, with `error`, when it cannot be built.
tk_robot* tk_robot_from_description(const tk::RobotDescription& description, char* error, size_t error_size);
#endif

#endif
