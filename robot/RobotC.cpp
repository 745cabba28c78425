#include "robot/RobotC.h"

#include <cstring>
#include <new>

#include "robot/Robot.h"
#include "robot/RobotIni.h"

struct tk_robot {
    tk::Robot robot;
};

namespace {

void say(const char* text, char* error, size_t error_size)
{
    if (!error || error_size == 0)
        return;
    std::strncpy(error, text, error_size - 1);
    error[error_size - 1] = '\0';
}

// Runs `body`, turning any failure into 0 and its line.
template <typename Body>
int guarded(char* error, size_t error_size, Body body)
{
    try {
        body();
        return 1;
    } catch (const std::bad_alloc&) {
        say("out of memory", error, error_size);
    } catch (const std::exception& e) {
        say(e.what(), error, error_size);
    }
    return 0;
}

}  // namespace

extern "C" {

tk_robot* tk_robot_from_robot_ini(const char* path, char* error, size_t error_size)
{
    tk_robot* made = nullptr;
    if (!path) {
        say("no robot.ini path", error, error_size);
        return nullptr;
    }
    guarded(error, error_size, [&] { made = new tk_robot{tk::Robot(tk::readRobotIni(path))}; });
    return made;
}

void tk_robot_free(tk_robot* robot) { delete robot; }

int tk_robot_dof(const tk_robot* robot) { return robot->robot.dof(); }

void tk_robot_limits(const tk_robot* robot, double* lower, double* upper, double* velocity,
                     double* acceleration, double* effort)
{
    for (int i = 0; i < robot->robot.dof(); ++i) {
        const tk::JointLimits& l = robot->robot.description().limits[i];
        lower[i] = l.lower, upper[i] = l.upper, velocity[i] = l.velocity;
        acceleration[i] = l.acceleration, effort[i] = l.effort;
    }
}

void tk_robot_fk(tk_robot* robot, const double* q, double pose[16])
{
    robot->robot.fk(q, reinterpret_cast<double(*)[4]>(pose));
}

void tk_robot_jacobian(tk_robot* robot, const double* q, double* jacobian)
{
    robot->robot.jacobian(q, jacobian);
}

void tk_robot_inverse_dynamics(tk_robot* robot, const double* q, const double* qd,
                               const double* qdd, double* tau)
{
    robot->robot.inverseDynamics(q, qd, qdd, tau);
}

void tk_robot_gravity_torques(tk_robot* robot, const double* q, double* tau)
{
    robot->robot.gravityTorques(q, tau);
}

void tk_robot_friction(const tk_robot* robot, const double* qd, double* tau)
{
    robot->robot.friction(qd, tau);
}

void tk_robot_mass_matrix(tk_robot* robot, const double* q, double* mass)
{
    robot->robot.massMatrix(q, mass);
}

void tk_robot_coriolis_matrix(tk_robot* robot, const double* q, const double* qd, double* coriolis)
{
    robot->robot.coriolisMatrix(q, qd, coriolis);
}

int tk_robot_has_analytic_ik(const tk_robot* robot) { return robot->robot.hasAnalyticIk() ? 1 : 0; }

const char* tk_robot_analytic_ik_reason(const tk_robot* robot) { return robot->robot.analyticIkReason().c_str(); }

int tk_robot_ik(tk_robot* robot, const double pose[16], const double* ref, double* q, unsigned char flags[3])
{
    tk::AnalyticArm* arm = robot->robot.analytic();
    if (!arm) {
        flags[0] = flags[1] = flags[2] = 1;
        return 0;
    }
    const tk::AnalyticIkResult r = arm->ik(reinterpret_cast<const double(*)[4]>(pose), ref, q);
    flags[0] = r.out_of_reach, flags[1] = r.shoulder_singular, flags[2] = r.wrist_singular;
    return r.ok ? 1 : 0;
}

int tk_robot_set_payload(tk_robot* robot, double mass, const double com[3], const double inertia[6],
                         char* error, size_t error_size)
{
    tk::Payload p;
    p.mass = mass;
    std::memcpy(p.com, com, sizeof p.com);
    std::memcpy(p.inertia, inertia, sizeof p.inertia);
    return guarded(error, error_size, [&] { robot->robot.setPayload(p); });
}

int tk_robot_set_gravity(tk_robot* robot, const double gravity[3], char* error, size_t error_size)
{
    return guarded(error, error_size, [&] { robot->robot.setGravity(gravity); });
}

}  // extern "C"

tk_robot* tk_robot_from_description(const tk::RobotDescription& description, char* error, size_t error_size)
{
    tk_robot* made = nullptr;
    guarded(error, error_size, [&] { made = new tk_robot{tk::Robot(description)}; });
    return made;
}
