// The closed-form side of a robot whose arm has the Pilot form: it owns the Pilot
// records fitted to the description and serves the analytic, arm-angle and
// locked-joint-7 inverse kinematics, the limit verdict and the arm-angle map in the
// description's own joints (rad) and base frame (m). Per-cycle calls allocate nothing
// and never throw; two arms share nothing.
#ifndef TOLVEX_ROBOT_ANALYTICARM_H
#define TOLVEX_ROBOT_ANALYTICARM_H

#include <memory>
#include <string>

#include "ik7/IKPoilt7.h"
#include "pilot/Pilot.h"
#include "cartesian/ArmAngleIntervals.h"
#include "pilot/PilotIK.h"
#include "pilot/PilotLimitCheck.h"
#include "pilot/PilotLmt.h"
#include "robot/Error.h"
#include "robot/PilotFit.h"
#include "robot/RobotDescription.h"

namespace tk {

struct AnalyticIkResult {
    bool ok = false;                 // q holds seven joints (written only then)
    bool out_of_reach = false;       // out of reach, or no elbow branch on the reference's side
    bool shoulder_singular = false;  // joints 1-3 averaged beside a singular shoulder, or not finite
    bool wrist_singular = false;     // joints 5-7 likewise
    bool pose_missed = false;        // the joints found do not give the pose back (elbow folded flat)
};

// Joint states are PilotJointState values, below/above in the description's own sense.
struct AnalyticLimitVerdict {
    unsigned char state[7];
    double bound[2];  // joints 6/7 boundary point in the direction of (q6, q7), rad
};

// Up to eight locked-joint-7 solutions, each joint in (-pi, pi].
struct LockedSolutions {
    int count = 0;
    double q[8][7];
    bool shoulder_degenerate[8];  // joint 2 at 0: only joint 1 + joint 3 is fixed
};

// The usable arm angles of one pose (rad, as armAngle measures them), on the elbow,
// shoulder and wrist branches of a reference: every joint inside its limits and the
// joint-6/7 range. `cause` is an ArmEdgeCause; MIN/MAX in the description's sense.
struct ArmAngleEdge {
    double angle;          // rad, usable, within 1e-9 deg of where the arm angle stops being usable
    unsigned char cause;   // an ArmEdgeCause
    unsigned char joint;   // 1..7, 0 for ARM_EDGE_NONE
};
struct ArmAngleInterval {
    ArmAngleEdge start, end;  // end < start when the interval wraps through +-pi
};
struct ArmAngleMap {
    int count;                // intervals stored
    bool truncated;           // more existed than fit
    int reference;            // the interval holding the reference's own arm angle, or -1
    ArmAngleInterval interval[ARM_MAX_INTERVALS];
};

class AnalyticArm {
public:
    // Null, with `why` set to one line, when the description has not the Pilot form.
    static std::unique_ptr<AnalyticArm> fit(const RobotDescription& description, std::string* why);

    const PilotFit& fitted() const { return fit_; }
    const PilotGeometry& geometry() const { return fit_.geometry; }
    const JointMap& jointMap() const { return fit_.map; }

    // Per cycle. `pose` is the flange pose in the description's base frame (m); joint
    // arrays hold seven angles (rad). Results come back within half a turn of `ref`.
    // The analytic solvers are the model's own, with three of their defects undone:
    //  - the elbow branch follows the reference on either side of the stretched arm
    //    (the model's straight-elbow angle is set to the stretched arm's, see pilot());
    //  - an upper arm or forearm pointing back along the shoulder-wrist line turns its
    //    frame, and so joint 3 or joint 5, by half a turn: turned back;
    //  - the Z-Y-X wrist may keep a candidate that is no solution: its other one is taken;
    //  - of the wrist's two branches (joint 6 mirrored) the one nearer the reference is
    //    returned, where the model keeps one whatever the reference.
    // Joints that miss the pose (by more than 1e-6 mm in the model) are not returned,
    // also where the solver averaged them beside a singularity.
    AnalyticIkResult ik(const double pose[4][4], const double* ref, double* q);
    // The last solved pose (ik or armAngleMap) at arm angle `psi` (rad, as armAngle
    // measures it), on the elbow, shoulder and wrist branches of `ref`: the elbow swings
    // while the flange stays put. Not ok before any solve, on an undecided branch of ref
    // (joint 2, 4 or 6 on its singular value) or where the arm is singular.
    AnalyticIkResult ikAtArmAngle(double psi, const double* ref, double* q);
    // Joint 7 held at q7 (rad): the locked-joint solution nearest ref (joint 7 may move
    // where joint 6 is at 0), or every solution.
    bool ikLocked7(const double pose[4][4], double q7, const double* ref, double* q);
    bool ikLocked7All(const double pose[4][4], double q7, LockedSolutions* solutions);
    // True when every joint is inside its limits (and joints 6/7 inside the coupled range).
    bool checkLimits(const double* q, AnalyticLimitVerdict* verdict);
    // The arm angles whose joints hold `pose` on the branches of `ref` within every
    // limit, edges to 1e-9 deg, in closed form. Leaves that pose as the last solved one.
    // False (count 0) where the pose has no joints on those branches.
    bool armAngleMap(const double pose[4][4], const double* ref, ArmAngleMap* map);

    // The arm angle of q (rad): the signed angle about the shoulder-wrist line from the
    // plane through that line and joint 1's axis to the elbow's plane; NaN where the
    // shoulder-wrist line runs along joint 1's axis or the elbow lies on it.
    double armAngle(const double* q);
    // The description's limits (rad).
    const JointLimits* limits() const { return limits_; }

    // Flange pose in the description (m) <-> tool pose of the Pilot model (mm, its base).
    void toModelPose(const double pose[4][4], double target[4][4]) const;
    void fromModelPose(const double target[4][4], double pose[4][4]) const;

    // The owned records, for Pilot-level modules; joints there are map(q) in degrees.
    // The Pilot's straight_q4 is the stretched arm's -(upper_offset + fore_offset).
    Pilot& pilot() { return pilot_; }
    PilotLmt& pilotLimits() { return lmt_; }
    NSPBase& armAngleBase() { return nbase_; }
    IK_Poilt7& lockedModel() { return locked_; }

    // Adds the coupled joint-6/7 range of a model parameter file. Throws Error, leaving
    // the arm as it was, when the file cannot be read or describes another arm.
    void useModelFile(const std::string& path);
    // A 13-line model parameter file for this arm: limits in model degrees, the corner
    // curves of a loaded file (a table that cuts no corner when none is known).
    std::string modelFileText() const;

private:
    AnalyticArm(const RobotDescription& description, const PilotFit& fit);
    void limitsInModel(double limits[7][4]) const;
    void modelRef(const double* ref, double* model_ref) const;
    AnalyticIkResult finish(unsigned char solved, const unsigned char* flags, double* model, const double* ref,
                            double* q);
    double missedBy(const double* model);
    void holdTarget(unsigned char flag1, const double target[4][4]);
    void toLockedPose(const double pose[4][4], double target[4][4]) const;
    unsigned char descriptionState(int joint, unsigned char model_state) const;

    JointLimits limits_[7];        // the description's, rad
    PilotFit fit_;
    double inverseBase_[4][4];     // the description's base frame in the model's, m
    double inverseFlange_[4][4];   // the model's flange in the description's flange frame, m
    double lockedFlange_[4][4];    // the locked-joint model's flange in the Pilot flange frame, mm
    Pilot pilot_{};
    PilotLmt lmt_{};
    NSPBase nbase_{};
    bool armAngleBaseSet_ = false;
    double target_[4][4]{};        // the pose held in nbase_, model base, mm
    IK_Poilt7 locked_{};
    ArmModel armModel_{};          // the closed-form arm-angle solver's view of pilot_
    ArmAngleIntervals intervals_{};  // scratch of armAngleMap
};

}  // namespace tk

#endif
