// Joints of the Pilot arm for a tool pose and an arm angle, with the elbow,
// shoulder and wrist branches held fixed. The arm angle is the signed angle
// about the line from the shoulder centre S to the wrist centre W, from the
// upward half of the vertical plane through S and W (the half towards the base
// z axis) to the half-plane through S, W and the elbow point E (the origin of
// joint 4's frame): turning it swings the elbow while the tool stays put.
// Every joint is a closed-form function of the pose and the arm angle, so the
// same inputs always give the same doubles. Degrees and millimetres.
#ifndef TOLVEX_CARTESIAN_ARMANGLEIK_H
#define TOLVEX_CARTESIAN_ARMANGLEIK_H

#include "pilot/Pilot.h"
#include "pilot/PilotLmt.h"

// What the solver reads from a Pilot model.
struct ArmModel {
    unsigned char variant;       // Pilot variant: 0 Z-Y-Z wrist, 1 Z-Y-X wrist
    double shoulder[3];          // S in the base frame, mm
    double elbow[3];             // E in joint 3's frame, mm
    double elbow_rot[3][3];      // joint 4's fixed rotation in joint 3's frame
    double wrist[3];             // W in joint 4's turned frame, mm
    double wrist_rot[3][3];      // joint 5's fixed rotation in joint 4's turned frame
    double tool_to_wrist[4][4];  // joint 7's frame in the tool frame, its rotation then
                                 // turned by the wrist's fixed frames (5 and 6) back
    double upper_reach;          // |E - S|, mm
    double fore_reach;           // |W - E|, mm
    double elbow_angle;          // joint 4 of the folded-flat elbow triangle, deg (Pilot field 15)
    double straight_q4;          // joint 4 of the straight elbow, deg
};

// Which of the arm's postures a move keeps to.
struct ArmBranch {
    signed char elbow;     // +1 / -1: joint 4 above / below its straight angle
    signed char shoulder;  // sign of joint 2
    signed char wrist;     // sign of joint 6 (Z-Y-Z wrist) or of its cosine (Z-Y-X wrist)
    double centre[7];      // each joint is taken within half a turn of this, deg: the middle
                           // of its range, or where it started when the range exceeds a turn
};

enum ArmStatus : unsigned char {
    ARM_OK = 0,
    ARM_NOT_FINITE = 1,         // the pose or the arm angle holds NaN or an infinity
    ARM_OUT_OF_REACH = 2,       // W too far from S (within 0.1 mm of the stretched arm)
    ARM_TOO_CLOSE = 3,          // W too near S for the elbow to fold that far
    ARM_ELBOW_STRAIGHT = 4,     // joint 4 within the margin of its straight angle
    ARM_ANGLE_UNDEFINED = 5,    // S-W within the margin of the vertical
    ARM_SHOULDER_SINGULAR = 6,  // joint 2 within the margin of 0 or 180
    ARM_WRIST_SINGULAR = 7      // joints 5 and 7 within the margin of one axis
};

// The arm-angle-independent part of one pose.
struct ArmPose {
    unsigned char status;   // ARM_OK, or why the pose has no joints on the branch
    double wrist[3];        // W in the base frame, mm
    double axis[3];         // u, unit vector from S to W
    double up[3];           // unit vector at right angles to u towards the base z axis: arm angle 0
    double side[3];         // u x up: arm angle 90
    double reach;           // |W - S|, mm
    double vertical;        // sine of the angle between S-W and the vertical
    double q4;              // joint 4, deg
    double wrist_sin;       // direction of W in joint 3's x-z plane, measured from z towards x
    double wrist_cos;
    signed char elbow_side; // +1 / -1: joint 3's frame is laid on the arm angle's direction or on
                            // its opposite, whichever puts E on the arm angle's side of S-W
    double fore_frame[3][3];  // joint 5's fixed frame in joint 3's frame, joint 4 turned
    double target[3][3];      // joint 7's rotation in the base frame, turned back by the wrist's fixed frames
    double margin_sin;        // sine of the singularity margin
};

// How near a singularity (deg) a Cartesian move may come.
constexpr double ARM_SINGULAR_MARGIN = 1.0;

void FX_ArmModelOf(const Pilot* pilot, ArmModel* model);
// The branches and unwrapping centres of `joints`; false when a branch is
// undecided (joint 2, joint 6 or joint 4 on its singular value) or a joint is not finite.
bool FX_ArmBranchOf(const ArmModel* model, const PilotLmt* lmt, const double joints[7], ArmBranch* branch);
// Fills `pose_data` for the tool pose (mm); returns its status. `margin` in deg.
unsigned char FX_ArmPoseOf(const ArmModel* model, const ArmBranch* branch, const double pose[4][4],
                           double margin, ArmPose* pose_data);
// Joint 3's rotation (`upper`) and the rotation whose Euler angles are joints
// 5-7 (`wrist`) at arm angle psi, both in closed form: each entry is
// a + b cos(psi) + c sin(psi).
void FX_ArmFrames(const ArmPose* pose_data, double psi, double upper[3][3], double wrist[3][3]);
// Joints 5-7 (into joints[4..6], deg) from the wrist frame FX_ArmFrames gives.
void FX_ArmWristJoints(const ArmModel* model, const ArmBranch* branch, const double wrist[3][3], double joints[7]);
// All seven joints at arm angle psi (deg); returns ARM_OK, the pose's status, or
// the singularity met within the pose's margin (the joints are written then too).
unsigned char FX_ArmJoints(const ArmModel* model, const ArmBranch* branch, const ArmPose* pose_data,
                           double psi, double joints[7]);
// The arm angle of `joints` through the model's own forward kinematics (which
// updates the pilot's cache); NaN where S-W is vertical or E lies on it.
double FX_ArmAngleOf(Pilot* pilot, const double joints[7]);

#endif
