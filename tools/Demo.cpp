// The demo command: a guided tour of every capability on the bundled examples,
// built from the same report sections as the commands.
#include <algorithm>
#include <array>
#include <cmath>

#include "dynamics/FxChain.h"
#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

namespace {

// The posture most sections start from, degrees.
const std::array<double, 7> kPosture = {10, -30, -20, -60, 15, -40, -25};
const std::vector<double> kInside(kPosture.begin(), kPosture.end());
const std::vector<double> kOutside = {175, 0, 0, 0, 0, 100, 150};

std::array<double, 7> inRadians(const std::vector<double>& deg)
{
    std::array<double, 7> rad;
    degreesToRadians(deg.data(), rad.data(), 7);
    return rad;
}

void forwardSections(Report& report)
{
    std::array<double, 7> q = kPosture;
    report.heading("1. Forward kinematics (Pilot arm, " + modelName("") + ")");
    report.note("Seven joint angles in degrees give the tool pose: a 4x4 matrix in mm, and x, y, z, A, B, C.");
    reportFk(report, q.data());

    report.heading("2. Jacobian");
    report.note("Tool-centre velocity per radian of each joint: metres in rows 0-2, the joint axes in rows 3-5.");
    reportJacobian(report, q.data());

    report.heading("3. Joint limits");
    report.note("Every joint against its range; joints 6 and 7 also together against the corner curves that");
    report.note("cut their range (FX_CheckPilotLimits). P1 lies inside; P2 has joint 1 beyond 170 deg");
    report.note("and (q6, q7) beyond a corner.");
    reportLimits(report, {kInside, kOutside});
}

void inverseSections(Report& report)
{
    std::array<double, 7> q = kPosture;
    double pose[4][4], target[6], solved[7];
    OnKine(q.data(), pose);
    poseToXyzabc(pose, 1.0, target);
    double ref[7] = {0, -30, 0, -60, 0, -40, 0};
    std::string why;

    report.heading("4. FK -> IK round trip");
    report.note("The pose of section 1 solved back with a rounder reference: the arm is redundant, so the");
    report.note("joints may differ from the original ones while the tool pose is the same (see the check).");
    Table original{"Original joints", columns({"joints"}, jointColumns("deg")), {}};
    std::vector<Cell> row{word("section 1")};
    appendNumbers(row, q.data(), 7);
    original.addRow(row);
    report.add(original);
    reportIk(report, ref, target, solved, &why);

    report.heading("5. Arm-angle sweep");
    report.note("The same pose re-solved for arm angles -90 to 90 deg: the elbow swings about the");
    report.note("shoulder-wrist line while the tool stays put (tool dev).");
    std::vector<double> angles;
    for (int a = -90; a <= 90; a += 15)
        angles.push_back(a);
    reportArmAngles(report, q.data(), target, angles, &why);
    report.note("Which arm angles keep every joint inside its limits (the verdict of section 3)? The map");
    report.note("samples the whole circle and refines each edge; 'tolvex-kine psi-map --svg' draws it.");
    reportArmAngleMap(report, q.data(), target, 1.0, "", &why);
}

// Largest distance between the chain flange and the Pilot model's flange over the postures, mm.
double largestFlangeGap(const std::vector<std::vector<double>>& postures,
                        const std::vector<std::vector<double>>& chainMm, Table& table,
                        const std::string& route)
{
    double largest = 0.0;
    for (size_t p = 0; p < postures.size(); ++p) {
        double pose[4][4], q[7];
        std::copy(postures[p].begin(), postures[p].end(), q);
        OnKine(q, pose);
        double gap = std::hypot(pose[0][3] - chainMm[p][0], pose[1][3] - chainMm[p][1],
                                pose[2][3] - chainMm[p][2]);
        largest = std::max(largest, gap);
        table.addRow({word(route), word("P" + std::to_string(p + 1)), num(pose[0][3], 3),
                      num(pose[1][3], 3), num(pose[2][3], 3), num(gap, 6)});
    }
    return largest;
}

void chainSections(Report& report)
{
    report.heading("6. robot.ini");
    report.note("OnInitKine loads " + robotName("") + " and builds the link chain (metres, radians)");
    report.note("and the locked-joint IK model from arm 0.");
    loadRobot("");
    reportChainLinks(report);

    report.heading("7. Chain forward kinematics and the two routes");
    report.note("FX_KINE on the chain, for the joints of section 1 (given in radians).");
    std::array<double, 7> q = kPosture;
    reportChainFk(report, q.data());

    std::vector<std::vector<double>> postures = {{0, 0, 0, 0, 0, 0, 0}, kInside, {40, 20, -50, -80, 30, 60, 45}};
    std::vector<std::vector<double>> chainMm;
    double pose[4][4];
    Table table{"Flange position of the same joints on both routes",
                {"route", "posture", "x [mm]", "y [mm]", "z [mm]", "gap to chain [mm]"}, {}};
    for (size_t p = 0; p < postures.size(); ++p) {
        std::array<double, 7> rad = inRadians(postures[p]);
        FX_KINE(&rob, rad.data(), pose);
        chainMm.push_back({pose[0][3] * 1000.0, pose[1][3] * 1000.0, pose[2][3] * 1000.0});
        table.addRow({word("chain (robot.ini)"), word("P" + std::to_string(p + 1)), num(chainMm[p][0], 3),
                      num(chainMm[p][1], 3), num(chainMm[p][2], 3), num(0.0, 6)});
    }
    loadModel(kBundledModel1007);
    double gap1007 = largestFlangeGap(postures, chainMm, table, "Pilot, model-1007");
    loadModel("");
    double gap1017 = largestFlangeGap(postures, chainMm, table, "Pilot, model-1017");
    report.add(table);
    auto verdict = [](const char* model, double gap) {
        return std::string("The ") + model + " model " +
               (gap < 1e-6 ? std::string("agrees with the chain to within 1e-6 mm.")
                           : "differs from the chain by up to " + formatNumber(gap, 3) + " mm.");
    };
    report.note(verdict("1007 (Z-Y-Z wrist)", gap1007) + " " + verdict("1017 (Z-Y-X wrist)", gap1017));
    report.note("The chain follows robot.ini's DH table whatever its Type; the 1017 model turns the joint-7 frame");
    report.note("and the flange, so it meets the chain only where that turn does not show (e.g. all joints 0).");
}

void dynamicsSections(Report& report)
{
    report.heading("8. Gravity torques");
    report.note("The robot object carries the arm's own dynamics: robot.ini's link masses, centres of mass and");
    report.note("inertias, folded exactly into the chain's parameters. The same arm upright, on a wall and hanging:");
    tk::Robot robot = loadProductRobot("");
    const std::vector<std::vector<double>> postures{{0, 0, 0, 0, 0, 0, 0}, {kInside.begin(), kInside.end()}};
    const double wall[3] = {9.81, 0, 0}, hanging[3] = {0, 0, 9.81};
    reportGravityTorques(report, robot, postures, "upright");
    robot.setGravity(wall);
    reportGravityTorques(report, robot, postures, "on a wall");
    robot.setGravity(hanging);
    reportGravityTorques(report, robot, postures, "hanging");

    report.heading("9. Locked-joint inverse kinematics");
    report.note("The chain flange pose of section 7 solved with joint 7 held at three values: FX_IKLock7 gives");
    report.note("up to eight solutions each, FX_IKRef7 selects the one nearest the section-1 joints.");
    double pose[4][4], target[6];
    std::array<double, 7> rad = inRadians(kInside), ref = kPosture;
    FX_KINE(&rob, rad.data(), pose);
    poseToXyzabc(pose, 1000.0, target);
    reportIk7(report, {ref[6] - 20.0, ref[6], ref[6] + 20.0}, ref.data(), target, false);
}

void profileSection(Report& report)
{
    report.heading("10. Motion profile");
    report.note("Three axes from rest to their targets with FXNSyncDTS at a 1 ms cycle: each axis is velocity and");
    report.note("acceleration limited, then smoothed to its jerk limit (S-curve). 'tolvex-kine profile' prints");
    report.note("every cycle and draws it with --svg FILE.");
    ProfileSettings settings{3, 1.0, {100, 80, 60}, {500, 400, 300}, {20000, 5000, 2000}, {90, -45, 30}};
    reportProfileSummary(report, settings, runProfileCycles(settings));
}

void moveSection(Report& report)
{
    report.heading("11. Cartesian move");
    report.note("The robot object's flange on a straight line from the section-1 joints: 100 mm along x, 50 along");
    report.note("y, -80 along z, turning 20 deg about the base's z axis, the elbow held. The library plans and");
    report.note("checks every 1 ms cycle before the first; 'tolvex-kine move' gives the cycles with --csv and");
    report.note("draws them with --svg FILE.");
    tk::Robot robot = loadProductRobot("");
    MoveRequest request;
    std::copy(kPosture.begin(), kPosture.end(), request.from);
    std::array<double, 7> rad = inRadians(kInside);
    double pose[4][4];
    robot.fk(rad.data(), pose);
    poseToXyzabc(pose, 1000.0, request.to);
    const double shift[6] = {100, 50, -80, 0, 0, 20};
    for (int i = 0; i < 6; ++i)
        request.to[i] += shift[i];
    const tk::Motion motion = planMove(robot, request);
    if (motion.ok())
        reportMoveSummary(report, robot, motion, request);
    else
        report.note(std::string("FAILED: ") + motion.reason());
}

}  // namespace

int runDemo(const ParsedArgs& args)
{
    loadModel("");
    Report report(formatOf(args));
    report.note(std::string("Tolvex Kine demo on the bundled ") + kBundledModel.source +
                " (Pilot arm, degrees and mm) and");
    report.note(std::string(kBundledRobot.source) +
                " (link chain in metres and radians, locked-joint IK, dynamics).");
    forwardSections(report);
    inverseSections(report);
    chainSections(report);
    dynamicsSections(report);
    profileSection(report);
    moveSection(report);
    report.print(stdout);
    return 0;
}
