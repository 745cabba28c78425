// Commands on the robot.ini route that show the chain itself: ini, chain-fk.
#include "interface/Globals.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

void reportChainLinks(Report& report)
{
    const CfgArm& arm = ms_DCTRL_CFG.Arm[0];
    report.note("Robot \"" + std::string(ms_DCTRL_CFG.Name) + "\", arm 0: " +
                std::to_string(arm.Dof) + " links, type " + std::to_string(arm.Type) +
                "; the chain `rob` holds n = " + std::to_string(rob.n) + ".");
    Table table{"Arm 0 links: robot.ini values and the chain's (A, D x 0.001; Alpha, Theta x pi/180)",
                {"link", "A [mm]", "D [mm]", "Alpha [deg]", "Theta [deg]", "a [m]", "d [m]",
                 "alpha [rad]", "theta [rad]"},
                {}};
    auto addRow = [&](const std::string& name, double A, double D, double Alpha, double Theta,
                      const FX_Link& link) {
        table.addRow({word(name), num(A, 1), num(D, 1), num(Alpha, 1), num(Theta, 1),
                      num(link.a, 4), num(link.d, 4), num(link.alpha, 6), num(link.theta, 6)});
    };
    for (int i = 0; i < arm.Dof && i < 7; ++i) {
        const CfgLink& link = arm.Link[i];
        addRow("L" + std::to_string(i), link.A, link.D, link.Alpha, link.Theta, rob.links[i]);
    }
    const CfgFlange& flange = arm.Flange;
    addRow("flange", flange.A, flange.D, flange.Alpha, flange.Theta, rob.links[7]);
    report.add(table);
    report.note("The chain keeps only the flange's D (as an offset along the last joint axis).");
}

void reportChainFk(Report& report, double qDeg[7])
{
    double q[7], pose[4][4];
    degreesToRadians(qDeg, q, 7);
    FX_KINE(&rob, q, pose);
    Table joints{"Joints given to FX_KINE", columns({"unit"}, {"q1", "q2", "q3", "q4", "q5", "q6", "q7"}),
                 {}};
    std::vector<Cell> deg{word("deg")}, rad{word("rad")};
    appendNumbers(deg, qDeg, 7);
    appendNumbers(rad, q, 7, 6);
    joints.addRow(deg);
    joints.addRow(rad);
    report.add(joints);
    report.add(poseMatrixTable("Chain flange pose (metres)", pose, "m", 6));
    report.add(xyzabcTable("Chain flange pose as XYZABC", pose, 1000.0));
}

int runIni(const ParsedArgs& args)
{
    if (args.has("--urdf")) {
        loadRobotOf(args);
        Report report(formatOf(args));
        report.note("robot.ini: the one written for urdf '" + args.texts.at("--urdf") + "' (see 'import')");
        reportChainLinks(report);
        report.print(stdout);
        return 0;
    }
    std::string path = args.textOr("--robot", "");
    bool ok = false;
    std::string lines = loadRobotIni(path, &ok);
    Report report(formatOf(args));
    report.note("robot.ini: " + robotName(path));
    size_t start = 0;
    while (start < lines.size()) {
        size_t end = lines.find('\n', start);
        if (end == std::string::npos)
            end = lines.size();
        report.note("loader: " + lines.substr(start, end - start));
        start = end + 1;
    }
    if (ok)
        reportChainLinks(report);
    report.print(stdout);
    if (!ok)
        loadRobot(path);  // throws with the loader's verdict
    return 0;
}

int runChainFk(const ParsedArgs& args)
{
    loadRobotOf(args);
    requireSevenLinks("chain-fk");
    return printJointSection(args, reportChainFk);
}
