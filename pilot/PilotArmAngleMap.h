// Which arm angles keep a tool pose inside every joint limit: the elbow swings about
// the shoulder-wrist line, and this finds the intervals of that swing that are usable.
#ifndef TOLVEX_PILOT_PILOTARMANGLEMAP_H
#define TOLVEX_PILOT_PILOTARMANGLEMAP_H

#include "pilot/Pilot.h"
#include "pilot/PilotIK.h"
#include "pilot/PilotLimitCheck.h"
#include "pilot/PilotLmt.h"

const int PILOT_MAX_ARM_ANGLE_INTERVALS = 32;

// Why an arm angle just beyond an interval's end is not usable.
enum PilotEdgeCause : unsigned char {
    PILOT_EDGE_NONE = 0,         // no end: the interval is the whole circle
    PILOT_EDGE_JOINT = 1,        // a joint leaves its limits (joint, state say which and how)
    PILOT_EDGE_NO_SOLUTION = 2,  // the arm-angle solver gives no joints (singular, flags say where)
    PILOT_EDGE_POSE_LOST = 3     // the joints do not reproduce the pose (e.g. averaged near a singularity)
};

struct PilotArmAngleEdge {
    double angle;                // degrees, on the usable side, within 1e-6 deg of the edge
    unsigned char cause;         // a PilotEdgeCause
    unsigned char joint;         // 1..7 for PILOT_EDGE_JOINT, else 0
    unsigned char state;         // that joint's PilotJointState
    unsigned char flags[3];      // the solver's flag1..flag3 just beyond the edge
};

// An interval runs from start to end in the positive sense; end < start when it
// wraps through +/-180 deg.
struct PilotArmAngleInterval {
    PilotArmAngleEdge start, end;
};

struct PilotArmAngleMap {
    int count;                   // intervals found (at most PILOT_MAX_ARM_ANGLE_INTERVALS stored)
    unsigned char truncated;     // 1 when more intervals existed than fit
    int reference;               // index of the interval holding arm angle 0 (the reference's own), or -1
    unsigned char flags[3];      // status bytes of the solve at arm angle 0
    PilotArmAngleInterval interval[PILOT_MAX_ARM_ANGLE_INTERVALS];
};

// An arm angle is usable when FX_InvKine_Pilot_NSP solves it, its joints give the
// tool pose back within 1e-6 mm and FX_CheckPilotLimits finds every joint inside.
// The angle is measured from the elbow plane of `ref`. Samples [-180, 180] every
// `step` degrees (0.001 to 90), then bisects each edge to 1e-6 deg; gaps narrower
// than a step can be missed. Writes the pose solve into `nbase` and updates the
// forward-kinematics cache of `pilot`. Allocates nothing. False when the pose has
// no solution for `ref` (flag1 in map->flags), on a bad step or a null pointer.
bool FX_PilotArmAngleMap(Pilot* pilot, PilotLmt* lmt, double* ref, double target[4][4], double step,
                         NSPBase* nbase, PilotArmAngleMap* map);

// Joints at arm angle `psi` of the pose held in `nbase`; fills `edge` with why the
// angle is not usable (cause PILOT_EDGE_NONE when it is). True when usable.
bool FX_PilotArmAngleUsable(Pilot* pilot, PilotLmt* lmt, NSPBase* nbase, double* ref,
                            double target[4][4], double psi, double* joints, PilotArmAngleEdge* edge);

#endif
