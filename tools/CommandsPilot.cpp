// Commands on the numeric model file route: fk, jacobian, limits, ik, nsp (fk and ik
// hand --robot to the robot object's route).
#include <cmath>

#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotLimitCheck.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

std::string failureReason(const unsigned char flags[3])
{
    if (flags[0])
        return "target out of reach, or no elbow branch matches the reference joint 4 (flag1 = 1)";
    if (flags[1])
        return "shoulder singular here and at arm angle +/-1 deg (flag2 = 1)";
    if (flags[2])
        return "wrist singular here and at arm angle +/-1 deg (flag3 = 1)";
    return "no solution";
}

namespace {

int finish(Report& report, bool ok, const std::string& why)
{
    report.print(stdout);
    if (!ok)
        throw Failure(why);
    return 0;
}

}  // namespace

void reportFk(Report& report, double q[7])
{
    double pose[4][4];
    OnKine(q, pose);
    report.add(poseMatrixTable("Tool pose for q = (" + joinNumbers(q, 7) + ") deg", pose, "mm", 3));
    report.add(xyzabcTable("Tool pose as XYZABC (R = Rz(C) Ry(B) Rx(A))", pose, 1.0));
}

void reportJacobian(Report& report, double q[7])
{
    double jacobian[6][7];
    OnJacob(q, jacobian);
    static const char* const kRows[6] = {"vx [m/rad]", "vy [m/rad]", "vz [m/rad]",
                                         "wx [-]", "wy [-]", "wz [-]"};
    Table table{"Jacobian of the tool centre at q = (" + joinNumbers(q, 7) + ") deg",
                columns({"row"}, {"q1", "q2", "q3", "q4", "q5", "q6", "q7"}), {}};
    for (int r = 0; r < 6; ++r) {
        std::vector<Cell> row{word(kRows[r])};
        appendNumbers(row, jacobian[r], 7, 6);
        table.addRow(row);
    }
    report.add(table);
}

void reportLimits(Report& report, const std::vector<std::vector<double>>& postures)
{
    bool coupled = lmt.Coupled != 0;
    Table bounds{"Joint-6/7 boundary point in the direction of (q6, q7)",
                 {"posture", "q6 [deg]", "q7 [deg]", "bound q6 [deg]", "bound q7 [deg]"}, {}};
    bool differ = false;
    for (size_t p = 0; p < postures.size(); ++p) {
        double q[7];
        copyValues(postures[p], q, 7);
        PilotLimitVerdict verdict;
        FX_CheckPilotLimits(&lmt, q, &verdict);
        double bound[2] = {0.0, 0.0};
        bool outside[7] = {false, false, false, false, false, false, false};
        OnInvKineRange(q, bound, outside);
        std::string name = "P" + std::to_string(p + 1);
        Table table{"Limits, posture " + name + " = (" + joinNumbers(q, 7) + ") deg",
                    {"joint", "q [deg]", "min [deg]", "max [deg]", "status", "FX_CCSBD_CHECK"}, {}};
        for (int i = 0; i < 7; ++i) {
            std::string host = outside[i] ? "outside" : "inside";
            if (i >= 5 && !coupled)
                host = "not checked (no corner curves)";
            bool same = (verdict.state[i] == PILOT_INSIDE) != outside[i];
            differ = differ || !same;
            table.addRow({word(std::to_string(i + 1)), num(q[i], 3), num(lmt.JointMin[i], 1),
                          num(lmt.JointMax[i], 1), word(limitStateText(verdict.state[i])), word(host)});
        }
        report.add(table);
        bounds.addRow({word(name), num(q[5], 3), num(q[6], 3), num(bound[0], 3), num(bound[1], 3)});
    }
    report.add(bounds);
    if (differ)
        report.note("FX_CCSBD_CHECK flags joints 6 and 7 only beyond a corner curve, never beyond their own "
                    "ranges; the status column checks both.");
}

bool reportIk(Report& report, double ref[7], double target[6], double out[7], std::string* why)
{
    double pose[4][4];
    FX_XYZABC2Matrix4DEG(target, pose);
    unsigned char flags[3] = {0, 0, 0};
    for (int i = 0; i < 7; ++i)
        out[i] = NAN;
    int ok = OnInvKine(pose, ref, out, &flags[0], &flags[1], &flags[2]);
    Table joints{"Inverse kinematics of (" + joinNumbers(target, 6) + ") with reference (" +
                     joinNumbers(ref, 7) + ")",
                 columns({"result"}, jointColumns("deg")), {}};
    std::vector<Cell> row{word(ok ? "solved" : "FAILED")};
    appendNumbers(row, out, 7);
    joints.addRow(row);
    report.add(joints);
    report.add(statusTable(flags, 3));
    if (ok) {
        double check[4][4];
        OnKine(out, check);
        report.add(fkCheckTable(pose, check));
    } else {
        *why = failureReason(flags);
    }
    return ok == 1;
}

bool reportArmAngles(Report& report, double ref[7], double target[6],
                     const std::vector<double>& angles, std::string* why)
{
    double pose[4][4], base[7];
    FX_XYZABC2Matrix4DEG(target, pose);
    unsigned char flags[3] = {0, 0, 0};
    if (!OnInvKine(pose, ref, base, &flags[0], &flags[1], &flags[2])) {
        report.add(statusTable(flags, 3));
        *why = failureReason(flags);
        return false;
    }
    Table table{"Arm angle sweep of (" + joinNumbers(target, 6) + "): the elbow turns about the "
                "shoulder-wrist line, the tool stays",
                columns(columns({"psi [deg]"}, jointColumns("deg")),
                        {"elbow x [mm]", "elbow y [mm]", "elbow z [mm]", "tool dev [mm]", "flags"}),
                {}};
    bool allSolved = true;
    for (double angle : angles) {
        double q[7];
        unsigned char f[3] = {0, 0, 0};
        bool ok = OnInvKine_NSP(angle, ref, q, &f[0], &f[1], &f[2]) == 1;
        std::vector<Cell> row{num(angle, 1)};
        if (!ok) {
            for (int i = 0; i < 11; ++i)
                row.push_back(missing());
            row.push_back(word("FAILED"));
            table.addRow(row);
            if (allSolved)
                *why = "arm angle " + formatNumber(angle, 3) + " deg: " + failureReason(f);
            allSolved = false;
            continue;
        }
        double check[4][4], distance = 0.0, rotation = 0.0;
        OnKine(q, check);
        poseDifference(pose, check, &distance, &rotation);
        appendNumbers(row, q, 7, 2);
        // Joint 4's frame origin is the elbow point.
        for (int k = 0; k < 3; ++k)
            row.push_back(num(pilot.joint_pose[3][k][3], 1));
        row.push_back(num(distance, 4));
        row.push_back(word(std::to_string(f[0]) + std::to_string(f[1]) + std::to_string(f[2])));
        table.addRow(row);
    }
    report.add(table);
    report.note("flags = flag1 flag2 flag3 (1 in flag2/flag3: shoulder/wrist singular, averaged)");
    return allSolved;
}

int printJointSection(const ParsedArgs& args, void (*section)(Report&, double*), const char* note)
{
    double q[7];
    copyValues(args.values, q, 7);
    Report report(formatOf(args));
    section(report, q);
    if (note != nullptr)
        report.note(note);
    report.print(stdout);
    return 0;
}

int runFk(const ParsedArgs& args)
{
    requireOneArm("fk", args);
    if (args.has("--robot") || args.has("--urdf"))
        return runRobotFk(args);
    requireValues("fk", args, 7, "q1 ... q7");
    loadModelOf(args);
    return printJointSection(args, reportFk);
}

int runJacobian(const ParsedArgs& args)
{
    loadModelOf(args);
    return printJointSection(
        args, reportJacobian,
        "Columns are per radian of joint motion; rows 0-2 in metres, rows 3-5 the joint axes.");
}

int runLimits(const ParsedArgs& args)
{
    loadModelOf(args);
    Report report(formatOf(args));
    reportLimits(report, {args.values});
    report.print(stdout);
    if (args.has("--svg"))
        writeLimitsSvg(args.texts.at("--svg"), args.values.data());
    return 0;
}

int runIk(const ParsedArgs& args)
{
    requireOneArm("ik", args);
    if (args.has("--robot") || args.has("--urdf"))
        return runRobotIk(args);
    loadModelOf(args);
    double ref[7], target[6], out[7];
    copyValues(args.numbers.at("--ref"), ref, 7);
    copyValues(args.values, target, 6);
    Report report(formatOf(args));
    std::string why;
    bool ok = reportIk(report, ref, target, out, &why);
    return finish(report, ok, "ik: " + why);
}

int runNsp(const ParsedArgs& args)
{
    loadModelOf(args);
    double ref[7], target[6];
    copyValues(args.numbers.at("--ref"), ref, 7);
    copyValues(args.values, target, 6);
    std::vector<double> angles{0.0, args.numbers.at("--angle")[0]};
    Report report(formatOf(args));
    std::string why;
    bool ok = reportArmAngles(report, ref, target, angles, &why);
    return finish(report, ok, "nsp: " + why);
}
