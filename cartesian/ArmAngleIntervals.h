// Which arm angles keep one tool pose inside every joint limit, the coupled
// joint-6/7 range and away from the shoulder and wrist singularities, on fixed
// branches: each joint is a closed-form function of the arm angle, so its limit
// crossings are roots of a cos(psi) + b sin(psi) + c; only the corner curves of
// joints 6/7 are searched numerically. Edges to 1e-9 degrees.
#ifndef TOLVEX_CARTESIAN_ARMANGLEINTERVALS_H
#define TOLVEX_CARTESIAN_ARMANGLEINTERVALS_H

#include "cartesian/ArmAngleIK.h"

const int ARM_MAX_INTERVALS = 16;

// What stops the arm angle at an edge.
enum ArmEdgeCause : unsigned char {
    ARM_EDGE_NONE = 0,       // no edge: the interval is the whole circle
    ARM_EDGE_MIN = 1,        // the joint reaches its lower limit
    ARM_EDGE_MAX = 2,        // the joint reaches its upper limit
    ARM_EDGE_CORNER = 3,     // joints 6/7 reach a corner curve of their coupled range
    ARM_EDGE_SINGULAR = 4,   // joint 2 or 6 comes within the singularity margin
    ARM_EDGE_TURN = 5        // a joint with more than a turn of range would pass half a turn from its centre
};

struct ArmAngleEdge {
    double angle;          // deg, usable, within 1e-9 deg of where the arm angle stops being usable
    unsigned char cause;   // an ArmEdgeCause
    unsigned char joint;   // 1..7, 0 for ARM_EDGE_NONE
};

// From start to end in the positive sense; end < start when it wraps through 180.
struct ArmAngleInterval {
    ArmAngleEdge start, end;
};

struct ArmAngleIntervals {
    int count;                  // intervals stored
    unsigned char truncated;    // 1 when more existed than fit
    ArmAngleInterval interval[ARM_MAX_INTERVALS];  // in increasing order of start
};

// The usable arm angles of the tool pose (mm) on `branch`: FX_ArmJoints succeeds
// with the singularity margin `margin` (deg, 0 for none) and FX_CheckPilotLimits
// finds every joint inside. A corner-curve excursion narrower than 2.5 deg of arm
// angle can be missed. False (count 0) when the pose has no joints on the branch
// or a pointer is null. Allocates nothing.
bool FX_ArmAngleIntervals(const ArmModel* model, const PilotLmt* lmt, const ArmBranch* branch,
                          const double pose[4][4], double margin, ArmAngleIntervals* out);
// How far q7 lies beyond the corner curve of (q6, q7)'s quadrant, deg of q7,
// positive beyond, as the coupled-range check tests it; -1 where it tests no
// curve (uncoupled limits, q6 within 2e-5 of 0).
double FX_CornerExcess(const PilotLmt* lmt, double q6, double q7);
// True when arm angle psi lies in one of the intervals.
bool FX_ArmAngleInside(const ArmAngleIntervals* intervals, double psi);

#endif
