// The whole answer to "is this posture within the limits?": every joint against
// its own range, and joints 6/7 also against the corner curves of their coupled range.
#ifndef TOLVEX_PILOT_PILOTLIMITCHECK_H
#define TOLVEX_PILOT_PILOTLIMITCHECK_H

#include "pilot/PilotLmt.h"

enum PilotJointState : unsigned char {
    PILOT_INSIDE = 0,
    PILOT_BELOW_MIN = 1,
    PILOT_ABOVE_MAX = 2,
    PILOT_BEYOND_CORNER = 3,   // joints 6/7 only: within their ranges, (q6, q7) beyond a corner curve
    PILOT_NOT_A_NUMBER = 4
};

struct PilotLimitVerdict {
    unsigned char state[7];    // a PilotJointState per joint
    double bound[2];           // joint-6/7 boundary point (q6, q7) as FX_CCSBD gives it, degrees
};

// Fills `verdict` for the seven joint values (degrees); true when every joint is
// inside. A value on a limit or on a curve is inside. Allocates nothing; false
// (verdict untouched) when a pointer is null.
bool FX_CheckPilotLimits(PilotLmt* lmt, const double* joints, PilotLimitVerdict* verdict);

#endif
