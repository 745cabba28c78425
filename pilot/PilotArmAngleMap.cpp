#include "pilot/PilotArmAngleMap.h"

#include <cmath>

#include "pilot/PilotNSP.h"

namespace {

const double kPoseTolerance = 1e-6;   // mm
const double kEdgeTolerance = 1e-6;   // deg

struct Search {
    Pilot* pilot;
    PilotLmt* lmt;
    NSPBase* nbase;
    double* ref;
    double (*target)[4];
};

bool Usable(const Search& s, double psi, PilotArmAngleEdge* edge)
{
    double joints[7];
    return FX_PilotArmAngleUsable(s.pilot, s.lmt, s.nbase, s.ref, s.target, psi, joints, edge);
}

// Narrows [usable, unusable] to the edge tolerance; returns the usable end and
// describes the unusable one in `edge`.
void Bisect(const Search& s, double usable, double unusable, PilotArmAngleEdge* edge)
{
    PilotArmAngleEdge probe;
    while (std::fabs(unusable - usable) > kEdgeTolerance) {
        const double mid = 0.5 * (usable + unusable);
        if (Usable(s, mid, &probe)) {
            usable = mid;
        } else {
            unusable = mid;
        }
    }
    Usable(s, unusable, edge);
    edge->angle = usable;
}

void Append(PilotArmAngleMap* map, const PilotArmAngleEdge& start, const PilotArmAngleEdge& end)
{
    if (map->count < PILOT_MAX_ARM_ANGLE_INTERVALS) {
        map->interval[map->count] = PilotArmAngleInterval{start, end};
    } else {
        map->truncated = 1;
    }
    ++map->count;
}

bool Contains(const PilotArmAngleInterval& in, double psi)
{
    if (in.start.angle <= in.end.angle) {
        return in.start.angle <= psi && psi <= in.end.angle;
    }
    return psi >= in.start.angle || psi <= in.end.angle;
}

}  // namespace

bool FX_PilotArmAngleUsable(Pilot* pilot, PilotLmt* lmt, NSPBase* nbase, double* ref,
                            double target[4][4], double psi, double* joints, PilotArmAngleEdge* edge)
{
    *edge = PilotArmAngleEdge{psi, PILOT_EDGE_NONE, 0, PILOT_INSIDE, {0, 0, 0}};
    unsigned char* f = edge->flags;
    if (FX_InvKine_Pilot_NSP(nbase, psi, ref, joints, &f[0], &f[1], &f[2]) == 0) {
        edge->cause = PILOT_EDGE_NO_SOLUTION;
        return false;
    }
    double pose[4][4];
    FX_Kine_Pilot(pilot, joints, pose);
    double squared = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double d = pose[k][3] - target[k][3];
        squared += d * d;
    }
    if (!(std::sqrt(squared) <= kPoseTolerance)) {
        edge->cause = PILOT_EDGE_POSE_LOST;
        return false;
    }
    PilotLimitVerdict verdict;
    if (FX_CheckPilotLimits(lmt, joints, &verdict)) {
        return true;
    }
    for (int i = 0; i < 7; ++i) {
        if (verdict.state[i] != PILOT_INSIDE) {
            edge->cause = PILOT_EDGE_JOINT;
            edge->joint = static_cast<unsigned char>(i + 1);
            edge->state = verdict.state[i];
            break;
        }
    }
    return false;
}

bool FX_PilotArmAngleMap(Pilot* pilot, PilotLmt* lmt, double* ref, double target[4][4], double step,
                         NSPBase* nbase, PilotArmAngleMap* map)
{
    if (pilot == nullptr || lmt == nullptr || ref == nullptr || target == nullptr || nbase == nullptr ||
        map == nullptr) {
        return false;
    }
    map->count = 0;
    map->truncated = 0;
    map->reference = -1;
    double joints[7];
    unsigned char* f = map->flags;
    // A singular frame at arm angle 0 still leaves the base for the other angles.
    FX_InvKine_Pilot(pilot, ref, target, nbase, joints, &f[0], &f[1], &f[2]);
    if (f[0] != 0 || !(step >= 0.001 && step <= 90)) {
        return false;
    }
    const Search s{pilot, lmt, nbase, ref, target};
    const int samples = static_cast<int>(std::ceil(360.0 / step));
    PilotArmAngleEdge edge;
    // A run open at -180 may be the tail of one that wraps through +180.
    const bool usableAtStart = Usable(s, -180.0, &edge);
    bool open = usableAtStart;
    PilotArmAngleEdge start = edge;
    double previous = -180.0;
    for (int k = 1; k <= samples; ++k) {
        const double psi = k == samples ? 180.0 : -180.0 + k * step;
        const bool usable = Usable(s, psi, &edge);
        if (usable && !open) {
            Bisect(s, psi, previous, &start);
            open = true;
        } else if (!usable && open) {
            PilotArmAngleEdge end;
            Bisect(s, previous, psi, &end);
            Append(map, start, end);
            open = false;
        }
        previous = psi;
    }
    if (open) {
        if (usableAtStart && map->count > 0) {
            map->interval[0].start = start;
        } else {
            Append(map, start, edge);
        }
    }
    const int stored = map->count < PILOT_MAX_ARM_ANGLE_INTERVALS ? map->count : PILOT_MAX_ARM_ANGLE_INTERVALS;
    for (int i = 0; i < stored && map->reference < 0; ++i) {
        if (Contains(map->interval[i], 0.0)) {
            map->reference = i;
        }
    }
    return true;
}
