#include "pilot/PilotLimitCheck.h"

#include <cmath>

bool FX_CheckPilotLimits(PilotLmt* lmt, const double* joints, PilotLimitVerdict* verdict)
{
    if (lmt == nullptr || joints == nullptr || verdict == nullptr) {
        return false;
    }
    double q[7];
    for (int i = 0; i < 7; ++i) {
        q[i] = joints[i];
    }
    // The corner-curve test and the boundary point come from the host's own check,
    // which flags joints 6 and 7 together and never against their straight edges.
    bool curve[7] = {false, false, false, false, false, false, false};
    FX_CCSBD_CHECK(lmt, q, verdict->bound, curve);
    // A NaN joint 6 or 7 makes the host flag both; only the NaN one is reported here.
    const bool corner_known = !std::isnan(q[5]) && !std::isnan(q[6]);
    bool all_inside = true;
    for (int i = 0; i < 7; ++i) {
        PilotJointState state = PILOT_INSIDE;
        if (std::isnan(q[i])) {
            state = PILOT_NOT_A_NUMBER;
        } else if (q[i] < lmt->JointMin[i]) {
            state = PILOT_BELOW_MIN;
        } else if (q[i] > lmt->JointMax[i]) {
            state = PILOT_ABOVE_MAX;
        } else if (i >= 5 && curve[i] && corner_known) {
            state = PILOT_BEYOND_CORNER;
        }
        verdict->state[i] = state;
        all_inside = all_inside && state == PILOT_INSIDE;
    }
    return all_inside;
}
