#include "robot/Motion.h"

#include <cstring>

#include "math/FxScalar.h"

namespace tk {

namespace {

constexpr double kUnbounded = 1e12;  // a joint limit the robot does not know

double orUnbounded(double limit, double scale) { return limit > 0.0 ? limit * scale : kUnbounded; }

// out = a b of rigid transforms, the translation of b scaled by `scale` first.
void compose(const double a[4][4], const double b[4][4], double scale, double out[4][4])
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) out[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
        out[r][3] = a[r][0] * b[0][3] * scale + a[r][1] * b[1][3] * scale + a[r][2] * b[2][3] * scale + a[r][3];
    }
    out[3][0] = out[3][1] = out[3][2] = 0.0, out[3][3] = 1.0;
}

// The inverse of a rigid transform.
void invert(const double T[4][4], double out[4][4])
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) out[r][c] = T[c][r];
        out[r][3] = -(T[0][r] * T[0][3] + T[1][r] * T[1][3] + T[2][r] * T[2][3]);
    }
    out[3][0] = out[3][1] = out[3][2] = 0.0, out[3][3] = 1.0;
}

// The arm's Pilot model with the robot's flange as its tool, so that the tool centre
// the planner moves is the robot's flange; `base_inverse` takes base-frame poses (m)
// into the model's base frame (mm).
struct PlanningModel {
    Pilot pilot;
    double base_inverse[4][4];
    explicit PlanningModel(AnalyticArm& arm) : pilot(arm.pilot())
    {
        const double(*flange)[4] = arm.fitted().flange;
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) pilot.tool[r][c] = c == 3 && r < 3 ? flange[r][c] * 1000.0 : flange[r][c];
        invert(arm.fitted().base, base_inverse);
        for (int r = 0; r < 3; ++r) base_inverse[r][3] *= 1000.0;
    }
    void toModel(const double pose[4][4], double out[4][4]) const { compose(base_inverse, pose, 1000.0, out); }
};

}  // namespace

CartLimits Motion::cartLimits(const AnalyticArm& arm, const MotionLimits& limits)
{
    CartLimits c{};
    c.speed = limits.speed * 1000.0, c.acc = limits.acc * 1000.0, c.jerk = limits.jerk * 1000.0;
    c.rot_speed = limits.rot_speed * FX_RAD2DEG, c.rot_acc = limits.rot_acc * FX_RAD2DEG;
    c.rot_jerk = limits.rot_jerk * FX_RAD2DEG;
    for (int i = 0; i < 7; ++i) {
        c.joint_speed[i] = orUnbounded(arm.limits()[i].velocity, FX_RAD2DEG);
        c.joint_acc[i] = orUnbounded(arm.limits()[i].acceleration, FX_RAD2DEG);
    }
    for (int i = 0; i < 7; ++i)  // refusals in the robot's own joint angles
        c.shown_sign[i] = arm.jointMap().sign[i], c.shown_offset[i] = arm.jointMap().offset_deg[i];
    c.cycle = limits.cycle;
    c.max_samples = CART_MAX_SAMPLES;
    return c;
}

CartElbow Motion::cartElbow(const AnalyticArm&, const Elbow& elbow)
{
    CartElbow c{};
    c.policy = elbow.policy == ElbowPolicy::Hold ? CART_ELBOW_HOLD
               : elbow.policy == ElbowPolicy::Blend ? CART_ELBOW_BLEND
                                                    : CART_ELBOW_AUTO;
    c.angle = elbow.angle * FX_RAD2DEG;
    return c;
}

Motion Motion::line(AnalyticArm& arm, const double* start, const double target[4][4], const MotionLimits& limits,
                    const Elbow& elbow)
{
    Motion m(arm);
    const PlanningModel model(arm);
    double model_start[7], model_target[4][4];
    arm.jointMap().toModel(start, model_start);
    model.toModel(target, model_target);
    const CartLimits c = cartLimits(arm, limits);
    const CartElbow e = cartElbow(arm, elbow);
    FX_CartPlanLin(&m.move_, &model.pilot, &arm.pilotLimits(), model_start, model_target, &c, &e);
    return m;
}

Motion Motion::arc(AnalyticArm& arm, const double* start, const double via[3], const double target[4][4],
                   const MotionLimits& limits, const Elbow& elbow)
{
    Motion m(arm);
    const PlanningModel model(arm);
    double model_start[7], model_target[4][4], model_via[4][4];
    const double via_pose[4][4] = {{1, 0, 0, via[0]}, {0, 1, 0, via[1]}, {0, 0, 1, via[2]}, {0, 0, 0, 1}};
    arm.jointMap().toModel(start, model_start);
    model.toModel(target, model_target);
    model.toModel(via_pose, model_via);
    const double point[3] = {model_via[0][3], model_via[1][3], model_via[2][3]};
    const CartLimits c = cartLimits(arm, limits);
    const CartElbow e = cartElbow(arm, elbow);
    FX_CartPlanCirc(&m.move_, &model.pilot, &arm.pilotLimits(), model_start, point, model_target, &c, &e);
    return m;
}

void Motion::toRobot(const CartSample& in, MotionSample* out) const
{
    const JointMap& map = arm_->jointMap();
    out->time = in.time;
    for (int i = 0; i < 7; ++i) {
        out->q[i] = map.fromModel(i, in.q[i]);
        out->qd[i] = map.sign[i] * in.qd[i] * FX_DEG2RAD;
        out->qdd[i] = map.sign[i] * in.qdd[i] * FX_DEG2RAD;
    }
    compose(arm_->fitted().base, in.pose, 0.001, out->pose);
    out->arm_angle = in.arm_angle * FX_DEG2RAD;
}

bool Motion::sample(long k, MotionSample* out) const
{
    CartSample s;
    if (!FX_CartSampleAt(&move_, k, &s))
        return false;
    toRobot(s, out);
    return true;
}

Motion::Stepper::Stepper(const Motion& motion) : motion_(motion) { FX_CartStepperStart(&motion.move_, &stepper_); }

bool Motion::Stepper::step(MotionSample* out)
{
    CartSample s;
    if (!FX_CartStep(&motion_.move_, &stepper_, &s))
        return false;
    motion_.toRobot(s, out);
    return true;
}

}  // namespace tk
