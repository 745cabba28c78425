// The dyn command: the robot's own dynamics from its description (link masses,
// centres of mass, inertias, rotor inertias, friction, gravity as the file gives it).
#include <cmath>

#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

namespace {

Table squareMatrixTable(const std::string& title, const double* m, int n, int decimals)
{
    std::vector<std::string> heads;
    for (int c = 0; c < n; ++c) heads.push_back("c" + std::to_string(c + 1));
    Table table{title, columns({"row"}, heads), {}};
    for (int r = 0; r < n; ++r) {
        std::vector<Cell> row{word(std::to_string(r + 1))};
        appendNumbers(row, m + r * n, n, decimals);
        table.addRow(row);
    }
    return table;
}

std::string gravityText(const double g[3])
{
    return "(" + formatNumber(g[0], 3) + ", " + formatNumber(g[1], 3) + ", " + formatNumber(g[2], 3) + ") m/s^2";
}

// Joint values in degrees (per second, per second squared) from the command line, in radians.
std::vector<double> radiansOf(const std::vector<double>& degrees, int n)
{
    std::vector<double> rad(n, 0.0);
    degreesToRadians(degrees.data(), rad.data(), n);
    return rad;
}

}  // namespace

void reportLinkDynamics(Report& report, const tk::Robot& robot)
{
    Table params{"Link dynamics (centre of mass in the joint frame, inertia about it)",
                 {"link", "mass [kg]", "cx [m]", "cy [m]", "cz [m]", "Ixx [kg*m^2]", "Iyy [kg*m^2]",
                  "Izz [kg*m^2]", "rotor [kg*m^2]", "Coulomb [N*m]", "viscous [N*m*s/rad]"},
                 {}};
    for (int i = 0; i < robot.dof(); ++i) {
        const tk::LinkInertial& b = robot.description().link[i];
        const tk::JointFriction& f = robot.description().friction[i];
        params.addRow({word(std::to_string(i + 1)), num(b.mass, 3), num(b.com[0], 3), num(b.com[1], 3),
                       num(b.com[2], 3), num(b.inertia[0], 4), num(b.inertia[3], 4), num(b.inertia[5], 4),
                       num(b.rotor_inertia, 3), num(f.coulomb, 3), num(f.viscous, 3)});
    }
    report.add(params);
}

void reportGravityTorques(Report& report, tk::Robot& robot, const std::vector<std::vector<double>>& postures,
                          const std::string& mounting)
{
    const int n = robot.dof();
    Table table{"Gravity torques, " + mounting + ", gravity " + gravityText(robot.description().gravity),
                columns({"posture [deg]"}, jointColumns("N*m", n)), {}};
    for (const auto& posture : postures) {
        std::vector<double> q = radiansOf(posture, n), tau(n);
        robot.gravityTorques(q.data(), tau.data());
        std::string name;
        for (int i = 0; i < n; ++i) name += (i ? " " : "") + formatNumber(posture[i], 0);
        std::vector<Cell> row{word("(" + name + ")")};
        appendNumbers(row, tau.data(), n);
        table.addRow(row);
    }
    report.add(table);
}

int runDyn(const ParsedArgs& args)
{
    tk::Robot robot = robotOf(args);
    const int n = robot.dof();
    const std::vector<double> rest(n, 0.0);
    const std::vector<double> qDeg = args.numbersOr("--q", rest), qdDeg = args.numbersOr("--qd", rest),
                              qddDeg = args.numbersOr("--qdd", rest);
    for (const auto* values : {&qDeg, &qdDeg, &qddDeg})
        if (static_cast<int>(values->size()) != n)
            throw UsageError("dyn: --q, --qd and --qdd take " + std::to_string(n) + " numbers, one per joint");
    if (args.has("--g")) {
        const std::vector<double> g = args.numbers.at("--g");
        robot.setGravity(g.data());
    }
    const std::vector<double> q = radiansOf(qDeg, n), qd = radiansOf(qdDeg, n), qdd = radiansOf(qddDeg, n);
    std::vector<double> tau(n), gravity(n), friction(n), inertial(n, 0.0), velocity(n, 0.0), M(n * n), C(n * n);
    robot.inverseDynamics(q.data(), qd.data(), qdd.data(), tau.data());
    robot.gravityTorques(q.data(), gravity.data());
    robot.friction(qd.data(), friction.data());
    robot.massMatrix(q.data(), M.data());
    robot.coriolisMatrix(q.data(), qd.data(), C.data());
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            inertial[i] += M[i * n + j] * qdd[j];
            velocity[i] += C[i * n + j] * qd[j];
        }

    Report report(formatOf(args));
    reportLinkDynamics(report, robot);
    report.note("Gravity " + gravityText(robot.description().gravity) + " in the robot's base frame.");
    Table torques{"Joint torques",
                  {"joint", "q [deg]", "qd [deg/s]", "qdd [deg/s^2]", "tau [N*m]", "gravity [N*m]", "M*qdd [N*m]",
                   "C*qd [N*m]", "friction [N*m]"},
                  {}};
    for (int i = 0; i < n; ++i)
        torques.addRow({word(std::to_string(i + 1)), num(qDeg[i], 2), num(qdDeg[i], 2), num(qddDeg[i], 2),
                        num(tau[i], 4), num(gravity[i], 4), num(inertial[i], 4), num(velocity[i], 4),
                        num(friction[i], 4)});
    report.add(torques);
    report.note("tau = gravity + M*qdd + C*qd (rotor inertias included); a motor also supplies the friction.");
    report.add(squareMatrixTable("Mass matrix M [kg*m^2]", M.data(), n, 4));
    report.add(squareMatrixTable("Coriolis matrix C [N*m*s/rad]", C.data(), n, 4));
    report.print(stdout);
    return 0;
}
