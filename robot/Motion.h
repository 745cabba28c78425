// Cartesian moves of a robot with the analytic-IK form, in its own units (rad, m, s) and
// joint convention: LIN and CIRC planned whole before the first cycle, their samples,
// and a stepper that hands out one cycle per call without allocating.
#ifndef TOLVEX_ROBOT_MOTION_H
#define TOLVEX_ROBOT_MOTION_H

#include <string>

#include "cartesian/CartesianMove.h"
#include "cartesian/CartesianStepper.h"
#include "robot/AnalyticArm.h"

namespace tk {

// Limits of the tool's motion; the joints' velocity and acceleration limits are the
// robot's own (a limit of 0, unknown, does not bound its joint).
struct MotionLimits {
    double speed = 0.25;     // tool centre along its path, m/s
    double acc = 1.0;        // m/s^2
    double jerk = 10.0;      // m/s^3
    double rot_speed = 1.0;  // orientation, rad/s
    double rot_acc = 4.0;    // rad/s^2
    double rot_jerk = 40.0;  // rad/s^3
    double cycle = 0.001;    // control period, s
};

// The elbow along a move: hold the start's arm angle, blend it to `angle` (rad), or
// keep it inside the feasible arm angles with the largest margin.
enum class ElbowPolicy { Hold, Blend, Auto };
struct Elbow {
    ElbowPolicy policy = ElbowPolicy::Hold;
    double angle = 0.0;
};

// One cycle of a move.
struct MotionSample {
    double time;        // s
    double q[7];        // rad
    double qd[7];       // rad/s
    double qdd[7];      // rad/s^2
    double pose[4][4];  // flange, base frame, m
    double arm_angle;   // rad
};

class Motion {
public:
    // Plans a move from the joints `start` (rad) to the flange pose `target` (m), on a
    // straight line or (with `via`, m) on the arc through it. Never throws; ok() says
    // whether it can run and reason() why not, naming the first failing point.
    static Motion line(AnalyticArm& arm, const double* start, const double target[4][4], const MotionLimits& limits,
                       const Elbow& elbow);
    static Motion arc(AnalyticArm& arm, const double* start, const double via[3], const double target[4][4],
                      const MotionLimits& limits, const Elbow& elbow);

    bool ok() const { return move_.ok != 0; }
    const char* reason() const { return move_.reason; }
    double duration() const { return move_.duration; }
    long samples() const { return move_.samples; }
    // Sample k (0 .. samples()-1); false for an index outside the move.
    bool sample(long k, MotionSample* out) const;

    // Online: one sample per call, the same doubles as sample(k); false once the move is over.
    class Stepper {
    public:
        explicit Stepper(const Motion& motion);
        bool step(MotionSample* out);

    private:
        const Motion& motion_;
        CartStepper stepper_;
    };

private:
    Motion(const AnalyticArm& arm) : arm_(&arm) {}
    void toRobot(const CartSample& in, MotionSample* out) const;
    static CartLimits cartLimits(const AnalyticArm& arm, const MotionLimits& limits);
    static CartElbow cartElbow(const AnalyticArm& arm, const Elbow& elbow);

    const AnalyticArm* arm_;
    CartMove move_{};
};

}  // namespace tk

#endif
