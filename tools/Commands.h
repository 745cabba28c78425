// The tool's commands: each runs on parsed arguments and returns the exit code,
// and each adds its results to a Report through the section functions below,
// which the demo reuses on the bundled examples.
#ifndef TOLVEX_TOOLS_COMMANDS_H
#define TOLVEX_TOOLS_COMMANDS_H

#include <string>
#include <vector>

#include "robot/Motion.h"
#include "robot/Robot.h"
#include "tools/Cli.h"

// Numeric model file route (Pilot arm): joints in degrees, poses in mm.
int runFk(const ParsedArgs& args);
int runJacobian(const ParsedArgs& args);
int runLimits(const ParsedArgs& args);
int runIk(const ParsedArgs& args);
int runNsp(const ParsedArgs& args);
int runPsiMap(const ParsedArgs& args);

// Why a solve with these status bytes failed, for the one-line error.
std::string failureReason(const unsigned char flags[3]);

// Robot object route of fk and ik (--robot or --urdf): the robot's own joints and base frame.
int runRobotFk(const ParsedArgs& args);
int runRobotIk(const ParsedArgs& args);

// robot.ini route (link chain, locked-joint IK).
int runIni(const ParsedArgs& args);
int runChainFk(const ParsedArgs& args);
int runDyn(const ParsedArgs& args);
int runIk7(const ParsedArgs& args);
int runUrdf(const ParsedArgs& args);
int runSpan(const ParsedArgs& args);

int runProfile(const ParsedArgs& args);
// A URDF in: report and the files of the controller routes.
int runImport(const ParsedArgs& args);

// A Cartesian move of the robot object, in the tool's units.
struct MoveRequest {
    bool circular = false;
    double from[7] = {};                                  // start joints, deg
    double via[3] = {};                                   // a point of the arc, mm
    double to[6] = {};                                    // target flange pose: x, y, z [mm], A, B, C [deg]
    double speed = 250.0, acc = 1000.0, jerk = 10000.0;   // tool centre: mm/s, mm/s^2, mm/s^3
    double rotSpeed = 60.0, rotAcc = 240.0, rotJerk = 2400.0;  // orientation: deg/s, deg/s^2, deg/s^3
    double cycleMs = 1.0;
    tk::ElbowPolicy elbow = tk::ElbowPolicy::Hold;
    double elbowDeg = 0.0;                                // the arm angle at the target for blend
};
// The words of 'move' as options: a first word (lin, circ) becomes "--path WORD", and
// "--elbow blend DEG" one value "blend DEG".
std::vector<std::string> moveArgs(std::vector<std::string> args);
int runMove(const ParsedArgs& args);
// The library's plan of the move (not ok with its reason when it cannot run); throws
// UsageError when the arm has not the analytic-IK form. The motion refers to the robot.
tk::Motion planMove(tk::Robot& robot, const MoveRequest& request);
// Duration, samples, the arm angle's range and each joint's closest approach to its limits.
void reportMoveSummary(Report& report, const tk::Robot& robot, const tk::Motion& motion, const MoveRequest& request);

// The browser view: one HTML page with the arm in 3D, computed by the library in WebAssembly.
int runView(const ParsedArgs& args);

// Prints the section `section` for the seven joint values of the command line,
// with an optional closing note; the model must already be loaded. Returns 0.
int printJointSection(const ParsedArgs& args, void (*section)(Report&, double*),
                      const char* note = nullptr);
int runDemo(const ParsedArgs& args);

// Sections on the loaded Pilot model.
void reportFk(Report& report, double q[7]);
void reportJacobian(Report& report, double q[7]);
void reportLimits(Report& report, const std::vector<std::vector<double>>& postures);
// The (q6, q7) plane with the rectangle, the corner curves, the admissible region
// shaded, posture q and its boundary point marked.
void writeLimitsSvg(const std::string& path, const double q[7]);
// The usable arm-angle intervals of target (x, y, z, A, B, C) for reference ref,
// sampled every `step` degrees; false (with `why`) when the pose cannot be solved.
// With a path, also draws the seven joints against the arm angle.
bool reportArmAngleMap(Report& report, double ref[7], double target[6], double step,
                       const std::string& svgPath, std::string* why);
// Solves target (x, y, z, A, B, C) with reference ref; adds the joints, the
// status bytes in words and the FK check. Returns the library's 1/0 result and
// leaves the joints in `out`; on failure `why` explains the status bytes.
bool reportIk(Report& report, double ref[7], double target[6], double out[7], std::string* why);
// Solves the target, then re-solves it at each arm angle (degrees).
bool reportArmAngles(Report& report, double ref[7], double target[6],
                     const std::vector<double>& angles, std::string* why);

// Sections on the loaded robot.ini chain.
void reportChainLinks(Report& report);
// Chain flange pose for joints in degrees (converted to radians for FX_KINE).
void reportChainFk(Report& report, double qDeg[7]);
// The robot's link masses, centres of mass, inertias and friction.
void reportLinkDynamics(Report& report, const tk::Robot& robot);
// The robot's gravity torques per posture (degrees), for the mounting named.
void reportGravityTorques(Report& report, tk::Robot& robot, const std::vector<std::vector<double>>& postures,
                          const std::string& mounting);
// Locked-joint solutions for each held joint-7 value (degrees): with `listAll`
// every row of FX_IKLock7, and with a reference (ref not null) the row FX_IKRef7
// selects. False when a value cannot be solved.
bool reportIk7(Report& report, const std::vector<double>& q7s, double* ref, double target[6],
               bool listAll);

// Multi-axis profile from rest to `target`; one sample per cycle until settled.
struct ProfileSettings {
    int axes;
    double cycleMs;
    std::vector<double> vmax, acc, jerk, target;
};
struct ProfileSample {
    double time;                 // s
    double raw[8], pos[8], vel[8], acc[8];
};
std::vector<ProfileSample> runProfileCycles(const ProfileSettings& settings);
void reportProfileSummary(Report& report, const ProfileSettings& settings,
                          const std::vector<ProfileSample>& samples);

#endif
