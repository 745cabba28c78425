// Recognises a description whose joint axes have the Pilot arm's form (axes 1-3 meet
// in a shoulder point, joint 4 has at most a lateral elbow offset, axes 5-7 meet in a
// wrist point) and finds the Pilot model that moves like it: its five lengths and wrist
// variant, the joint map, where the model's base stands and how its flange sits.
#ifndef TOLVEX_ROBOT_PILOTFIT_H
#define TOLVEX_ROBOT_PILOTFIT_H

#include <string>

#include "math/FxScalar.h"
#include "pilot/Pilot.h"
#include "robot/RobotDescription.h"

namespace tk {

// The Pilot model's lengths in millimetres and its wrist variant.
struct PilotGeometry {
    double d1 = 0.0;            // shoulder point above the model's base, along axis 1
    double d3 = 0.0;            // upper arm: shoulder point to the foot of the elbow offset, along axis 3
    double a = 0.0;             // lateral elbow offset on either side of axis 4 (>= 0)
    double d5 = 0.0;            // forearm: foot of the elbow offset to the wrist point, along axis 5
    double d7 = 0.0;            // wrist point to the model's flange
    unsigned char variant = 0;  // 0: Z-Y-Z wrist (axes 5, 7 parallel at joint 6 = 0), 1: Z-Y-X wrist
};

// Sets `pilot` up with `g` as the model parameter file would.
void initPilot(Pilot* pilot, const PilotGeometry& g);

// The description's joints against the model's: q_model_deg = sign * q_rad * FX_RAD2DEG + offset_deg.
struct JointMap {
    double sign[7] = {1, 1, 1, 1, 1, 1, 1};  // +1 or -1
    double offset_deg[7] = {};               // the model's angle at the description's zero, degrees

    double toModel(int i, double q_rad) const { return sign[i] * q_rad * FX_RAD2DEG + offset_deg[i]; }
    double fromModel(int i, double q_deg) const { return sign[i] * (q_deg - offset_deg[i]) * FX_DEG2RAD; }
    void toModel(const double* q_rad, double* q_deg) const;
    void fromModel(const double* q_deg, double* q_rad) const;
};

// With it, the description's flange pose at q is
//   base * FX_Kine_Pilot(map(q)) * flange   (the model's pose taken in metres).
struct PilotFit {
    PilotGeometry geometry;
    JointMap map;
    double base[4][4] = {};    // the model's base frame in the description's base frame, m
    double flange[4][4] = {};  // the description's flange in the model's flange frame, m
};

// Empty when `d` has the Pilot form and the fitted model reproduces its flange pose
// over random postures to 1e-9 of the arm's size (1e-9 rad in orientation); `fit` is then
// filled. Otherwise one line naming the failing condition and by how much, for example
// "joints 5-7 do not meet in a point: axis 7 passes 88.0 mm from the wrist centre".
std::string fitPilot(const RobotDescription& d, PilotFit* fit);

}  // namespace tk

#endif
