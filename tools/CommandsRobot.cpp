// fk and ik on the robot object (--robot FILE or --urdf FILE): any arm in its own joints
// and base frame. The tool's degrees and millimetres are turned into the robot's radians
// and metres by tools/PrintedValues.h, as the browser view turns them, so both compute
// from the same bits.
#include <cmath>

#include "interface/TolvexKine.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

namespace {

std::string robotNote(const tk::Robot& robot, const std::string& name)
{
    const int n = robot.dof();
    return "Robot " + name + ", " + std::to_string(n) + (n == 1 ? " joint" : " joints") +
           "; poses in the base frame of its description.";
}

}  // namespace

int runRobotFk(const ParsedArgs& args)
{
    std::string name;
    tk::Robot robot = givenRobot("fk", args, &name);
    const int n = robot.dof();
    requireValues("fk", args, n, "q1 ... q" + std::to_string(n) + ", the robot's joints");
    double q[tk::kMaxJoints], pose[4][4], mm[4][4];
    degreesToRadians(args.values.data(), q, n);
    robot.fk(q, pose);
    poseToMm(pose, mm);
    Report report(formatOf(args));
    report.note(robotNote(robot, name));
    report.add(poseMatrixTable("Flange pose for q = (" + joinNumbers(args.values.data(), n) + ") deg", mm, "mm", 3));
    report.add(xyzabcTable("Flange pose as XYZABC (R = Rz(C) Ry(B) Rx(A))", pose, 1000.0));
    report.print(stdout);
    return 0;
}

int runRobotIk(const ParsedArgs& args)
{
    std::string name;
    tk::Robot robot = givenRobot("ik", args, &name);
    tk::AnalyticArm* arm = robot.analytic();
    if (arm == nullptr)
        throw UsageError("ik: " + name + " has no analytic inverse kinematics: " +
                         robot.analyticIkReason());
    double refDeg[7], target[6], targetMm[4][4], pose[4][4], ref[7], q[7], qDeg[7];
    copyValues(args.numbers.at("--ref"), refDeg, 7);
    copyValues(args.values, target, 6);
    FX_XYZABC2Matrix4DEG(target, targetMm);
    poseToMetres(targetMm, pose);
    degreesToRadians(refDeg, ref, 7);
    const tk::AnalyticIkResult result = arm->ik(pose, ref, q);
    if (result.ok)
        radiansToDegrees(q, qDeg, 7);
    else
        for (double& value : qDeg) value = NAN;

    Report report(formatOf(args));
    report.note(robotNote(robot, name));
    Table joints{"Inverse kinematics of the flange pose (" + joinNumbers(target, 6) + ") with reference (" +
                     joinNumbers(refDeg, 7) + ")",
                 columns({"result"}, jointColumns("deg")), {}};
    std::vector<Cell> row{word(result.ok ? "solved" : "FAILED")};
    appendNumbers(row, qDeg, 7);
    joints.addRow(row);
    report.add(joints);
    const unsigned char flags[4] = {result.out_of_reach, result.shoulder_singular, result.wrist_singular,
                                    result.pose_missed};
    report.add(statusTable(flags, 4));
    if (result.ok) {
        double check[4][4], checkMm[4][4];
        robot.fk(q, check);
        poseToMm(check, checkMm);
        report.add(fkCheckTable(targetMm, checkMm));
    }
    report.print(stdout);
    if (!result.ok)
        throw Failure("ik: " + (flags[0] || flags[1] || flags[2]
                                    ? failureReason(flags)
                                    : std::string("the joints found miss the pose: the elbow is folded flat")));
    return 0;
}
