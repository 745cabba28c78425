// Cartesian moves of the Pilot arm (LIN and CIRC), planned whole before the
// first cycle: the path, a jerk-limited timing that slows down wherever a joint
// would exceed its speed or acceleration limit, and an arm-angle policy for the
// elbow. Planning runs every cycle of the move through the arm's closed-form
// joints and the full limit check, and refuses the move at the first point that
// fails, in one line. Each sample is a function of the move and its index only,
// so the same move always gives the same doubles. Degrees, millimetres, seconds.
//
// A CartMove is a plain fixed-size record owned by the caller (about 7.5 kB);
// planning needs nothing more (its scratch, under 32 kB, lives on the stack),
// and neither planning nor sampling allocates.
#ifndef TOLVEX_CARTESIAN_CARTESIANMOVE_H
#define TOLVEX_CARTESIAN_CARTESIANMOVE_H

#include "cartesian/ArmAngleIK.h"
#include "cartesian/CartesianPath.h"
#include "cartesian/PathTiming.h"

const int CART_REASON_SIZE = 256;
// The most cycles a move may have (about 4.6 hours at 1 ms).
const long CART_MAX_SAMPLES = 1L << 24;

struct CartLimits {
    double speed;           // tool centre along its path, mm/s
    double acc;             // mm/s^2, along the path (an arc's centripetal part comes on top)
    double jerk;            // mm/s^3, of the S-curve
    double rot_speed;       // orientation, deg/s
    double rot_acc;         // deg/s^2
    double rot_jerk;        // deg/s^3
    double joint_speed[7];  // deg/s
    double joint_acc[7];    // deg/s^2
    double cycle;           // control period, s, in (0, 1]
    long max_samples;       // longest move accepted, in cycles (2 .. CART_MAX_SAMPLES)
    double shown_sign[7];   // how refusals count the joints: (angle - shown_offset) * shown_sign,
    double shown_offset[7]; // deg; a sign of 0 shows the model's own angles
};

enum CartElbowPolicy : unsigned char {
    CART_ELBOW_HOLD = 0,   // the start's arm angle all the way
    CART_ELBOW_BLEND = 1,  // from the start's arm angle to `angle`, the short way, in step with the path
    CART_ELBOW_AUTO = 2    // towards the middle of the usable arm angles at each point, never jumping
};

struct CartElbow {
    unsigned char policy;  // a CartElbowPolicy
    double angle;          // CART_ELBOW_BLEND: the arm angle at the target, deg
};

// One cycle of a move.
struct CartSample {
    double time;          // s from the start of the move
    double path;          // path parameter: 0 at the start, 1 at the target
    double pose[4][4];    // commanded tool pose, mm
    double arm_angle;     // commanded arm angle, deg
    double q[7];          // joints, deg
    double qd[7];         // joint rates, deg/s: central differences over the neighbouring cycles
    double qdd[7];        // joint accelerations, deg/s^2 (the arm is at rest before and after the move)
};

struct CartMove {
    unsigned char ok;               // 1 when the move can run
    char reason[CART_REASON_SIZE];  // why not, one line; empty when ok
    long samples;                   // cycles: the first at time 0 (the start joints), the last at `duration`
    double cycle;                   // s
    double duration;                // s
    double start_joints[7];         // deg
    CartPath path;
    ArmModel model;
    ArmBranch branch;               // the elbow, shoulder and wrist branches of the start, kept throughout
    unsigned char elbow_policy;     // a CartElbowPolicy
    double arm_start;               // deg: the start's arm angle, rounded to 2^-30 deg so that a move and
                                    // its way back meet the same joints bit for bit
    double arm_end;                 // deg, CART_ELBOW_BLEND: the end value, within half a turn of arm_start
    double arm_node[CART_NODES + 1];  // deg, CART_ELBOW_AUTO: the arm angle at each path node
    PathTiming timing;
};

// Plans a move from the joints `start` (the arm's current posture, inside its
// limits) to the tool pose `target` (mm). `pilot` is the arm with its tool (its
// `tool` slot, as FX_Kine_Pilot reads it), `lmt` its limits; neither is
// changed. Within ARM_SINGULAR_MARGIN of a singularity counts as failing. True
// when move->ok.
bool FX_CartPlanLin(CartMove* move, const Pilot* pilot, const PilotLmt* lmt, const double start[7],
                    const double target[4][4], const CartLimits* limits, const CartElbow* elbow);
// As FX_CartPlanLin, the tool centre on the arc from the start through `via` (mm) to the target.
bool FX_CartPlanCirc(CartMove* move, const Pilot* pilot, const PilotLmt* lmt, const double start[7],
                     const double via[3], const double target[4][4], const CartLimits* limits,
                     const CartElbow* elbow);
// Sample k (0 .. samples-1) of a planned move; false when the move is not ok or k is out of range.
bool FX_CartSampleAt(const CartMove* move, long k, CartSample* sample);
// Sample k without its rates (qd, qdd untouched), for a move whose timing is
// set; returns ARM_OK or why its joints fail. Sample 0 is the start joints.
unsigned char FX_CartSamplePose(const CartMove* move, long k, CartSample* sample);
// The rates a sample carries, from its joints and its neighbours': central
// differences over the cycle.
void FX_CartRates(const double before[7], const double here[7], const double after[7], double cycle, double qd[7],
                  double qdd[7]);

#endif
