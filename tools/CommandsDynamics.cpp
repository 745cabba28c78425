// The dyn command: torques, mass matrix and Coriolis matrix of the robot.ini
// chain, with illustrative link dynamics.
#include "dynamics/FxCoriolis.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "interface/Globals.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

namespace {

// Torques of the chain at one state (degrees and deg/s, deg/s^2 in), with the
// transforms recomputed for this posture.
void chainTorques(double qDeg[7], double qdDeg[7], double qddDeg[7], double g[3], double tau[7])
{
    double q[7], qd[7], qdd[7], wrench[6] = {0, 0, 0, 0, 0, 0};
    degreesToRadians(qDeg, q, 7);
    degreesToRadians(qdDeg, qd, 7);
    degreesToRadians(qddDeg, qdd, 7);
    rob.kin_cached = 0;  // the dynamics keep the first posture they see unless told otherwise
    FX_InvDyn(&rob, q, qd, qdd, g, wrench, tau);
}

void noteGravity(Report& report, double g[3])
{
    report.note("Gravity acts along base y only in this library: base acceleration (0, -gy, 0) with gy = " +
                formatNumber(g[1], 3) + " m/s^2" +
                (g[0] != 0.0 || g[2] != 0.0 ? "; the given gx and gz are ignored." : "."));
}

void noteIllustrativeDynamics(Report& report)
{
    report.note("robot.ini gives the library no link dynamics: the tool sets the illustrative link "
                "parameters below with FX_SetLink, regrouped as the library's dynamics take them "
                "(each link's mass folded into the first moments and inertias of the links before it).");
}

Table squareMatrixTable(const std::string& title, double m[7][7], int decimals)
{
    Table table{title, columns({"row"}, {"c1", "c2", "c3", "c4", "c5", "c6", "c7"}), {}};
    for (int r = 0; r < 7; ++r) {
        std::vector<Cell> row{word(std::to_string(r + 1))};
        appendNumbers(row, m[r], 7, decimals);
        table.addRow(row);
    }
    return table;
}

}  // namespace

void reportGravityTorques(Report& report, const std::vector<std::vector<double>>& postures,
                          double g[3])
{
    Table table{"Gravity torques at rest (FX_InvDyn)", columns({"posture"}, jointColumns("N*m")), {}};
    double zero[7] = {0, 0, 0, 0, 0, 0, 0};
    for (const auto& posture : postures) {
        double q[7], tau[7];
        copyValues(posture, q, 7);
        chainTorques(q, zero, zero, g, tau);
        std::string name;
        for (int i = 0; i < 7; ++i)
            name += (i ? " " : "") + formatNumber(q[i], 0);
        std::vector<Cell> row{word("(" + name + ")")};
        appendNumbers(row, tau, 7);
        table.addRow(row);
    }
    report.add(table);
}

int runDyn(const ParsedArgs& args)
{
    loadRobot(args.textOr("--robot", ""));
    requireSevenLinks("dyn");
    applyIllustrativeDynamics(&rob);
    double q[7], qd[7], qdd[7];
    std::vector<double> rest(7, 0.0);
    copyValues(args.numbers.at("--q"), q, 7);
    copyValues(args.numbersOr("--qd", rest), qd, 7);
    copyValues(args.numbersOr("--qdd", rest), qdd, 7);
    std::vector<double> gv = args.numbersOr("--g", {0.0, -9.81, 0.0});
    double g[3] = {gv[0], gv[1], gv[2]};

    double tau[7], gravity[7], inertial[7], velocity[7];
    chainTorques(q, qd, qdd, g, tau);
    chainTorques(q, rest.data(), rest.data(), g, gravity);

    double qRad[7], qdRad[7], qddRad[7], e[7] = {0, 0, 0, 0, 0, 0, 0};
    degreesToRadians(q, qRad, 7);
    degreesToRadians(qd, qdRad, 7);
    degreesToRadians(qdd, qddRad, 7);
    double M[7][7], D[7][7], S[7][7], C[7][7];
    FX_CM_YTC_BUF coefficients;
    rob.kin_cached = 0;
    FX_CalMmat(&rob, qRad, e, M);
    FX_CalCmatDPT_Q(&rob, qRad, &coefficients);
    FX_CalCmat_DPT_QD(&coefficients, qdRad, D, S, C);
    for (int i = 0; i < 7; ++i) {
        inertial[i] = 0.0;
        velocity[i] = 0.0;
        for (int j = 0; j < 7; ++j) {
            inertial[i] += M[i][j] * qddRad[j];
            velocity[i] += C[i][j] * qdRad[j];
        }
    }

    Report report(formatOf(args));
    noteIllustrativeDynamics(report);
    Table params{"Illustrative link parameters (physical; inertia about the centre of mass)",
                 {"link", "mass [kg]", "cx [m]", "cy [m]", "cz [m]", "Ixx [kg*m^2]", "Iyy [kg*m^2]",
                  "Izz [kg*m^2]", "rotor [kg*m^2]"},
                 {}};
    for (int i = 0; i < 7; ++i) {
        LinkDynamics link = illustrativeDynamics(i);
        params.addRow({word("L" + std::to_string(i)), num(link.mass, 2), num(link.centre[0], 3),
                       num(link.centre[1], 3), num(link.centre[2], 3), num(link.inertia[0], 3),
                       num(link.inertia[3], 3), num(link.inertia[5], 3), num(link.rotor_inertia, 3)});
    }
    report.add(params);
    noteGravity(report, g);
    Table torques{"Joint torques",
                  {"joint", "q [deg]", "qd [deg/s]", "qdd [deg/s^2]", "tau [N*m]", "gravity [N*m]",
                   "M*qdd [N*m]", "C*qd [N*m]"},
                  {}};
    for (int i = 0; i < 7; ++i)
        torques.addRow({word(std::to_string(i + 1)), num(q[i], 2), num(qd[i], 2), num(qdd[i], 2),
                        num(tau[i], 4), num(gravity[i], 4), num(inertial[i], 4), num(velocity[i], 4)});
    report.add(torques);
    report.note("tau (FX_InvDyn) = gravity + M*qdd + C*qd, except that the mass matrix also holds the "
                "rotor inertias on its diagonal and FX_InvDyn does not.");
    report.add(squareMatrixTable("Mass matrix M (FX_CalMmat) [kg*m^2]", M, 4));
    report.add(squareMatrixTable("Coriolis matrix C (FX_CalCmatDPT_Q + FX_CalCmat_DPT_QD) [N*m*s/rad]", C, 4));
    report.print(stdout);
    return 0;
}
