// Commands of the locked-joint inverse kinematics on the robot.ini model: ik7, span.
#include <cmath>

#include "ik7/IKLock7.h"
#include "ik7/IKSelect.h"
#include "ik7/IKSpan.h"
#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

namespace {

// Brings an angle into (-180, 180] the way the solution selection does.
double wrapLikeSelection(double angle)
{
    while (angle >= 180.0)
        angle -= 360.0;
    while (angle <= -180.0)
        angle += 360.0;
    return angle;
}

// Index of the row of `sol` that the selection for `ref` returns, or -1.
long selectedRow(long count, double* ref, double sol[8][8])
{
    double resolved[8][8], chosen[8];
    for (long r = 0; r < count; ++r)
        for (int c = 0; c < 8; ++c)
            resolved[r][c] = sol[r][c];
    FX_SelectSolve(&ik, count, ref, resolved, chosen);
    for (long r = 0; r < count; ++r) {
        bool same = true;
        for (int c = 0; c < 7; ++c)
            same = same && std::fabs(wrapLikeSelection(resolved[r][c]) - chosen[c]) < 1e-9;
        if (same)
            return r;
    }
    return -1;
}

// Distance of the flange for joints q (degrees) from the target pose T (mm).
double flangeDeviation(double T[4][4], double* q)
{
    double check[4][4], distance = 0.0, angle = 0.0;
    OnKine(&ik, q, check);
    poseDifference(T, check, &distance, &angle);
    return distance;
}

}  // namespace

bool reportIk7(Report& report, const std::vector<double>& q7s, double* ref, double target[6],
               bool listAll)
{
    double T[4][4];
    FX_XYZABC2Matrix4DEG(target, T);
    Table selection{"Selected by FX_IKRef7 for the reference (coinciding axes split as in the "
                    "reference, wrapped into (-180, 180])",
                    columns(columns({"held q7 [deg]", "solutions", "row"}, jointColumns("deg")),
                            {"flange dev [mm]"}),
                    {}};
    bool allSolved = true;
    for (double q7 : q7s) {
        double sol[8][8];
        long count = 0;
        if (!FX_IKLock7(&ik, q7, T, &count, sol)) {
            allSolved = false;
            std::vector<Cell> row{num(q7, 2), num(0, 0), word("-")};
            for (int i = 0; i < 8; ++i)
                row.push_back(missing());
            selection.addRow(row);
            continue;
        }
        long chosen = ref ? selectedRow(count, ref, sol) : -1;
        if (listAll) {
            Table table{"Locked-joint solutions (FX_IKLock7) with joint 7 at " + formatNumber(q7, 3) +
                            " deg",
                        columns(columns({"row"}, jointColumns("deg")), {"singular", "flange dev [mm]"}),
                        {}};
            if (ref)
                table.columns.push_back("selected");
            for (long r = 0; r < count; ++r) {
                std::vector<Cell> row{word(std::to_string(r + 1))};
                appendNumbers(row, sol[r], 7, 2);
                row.push_back(word(sol[r][7] == 1.0 ? "yes" : "no"));
                row.push_back(num(flangeDeviation(T, sol[r]), 4));
                if (ref)
                    row.push_back(word(r == chosen ? "<== FX_IKRef7" : ""));
                table.addRow(row);
            }
            report.add(table);
        }
        if (ref) {
            double out[8];
            FX_IKRef7(&ik, q7, ref, T, out);
            std::vector<Cell> row{num(q7, 2), num(static_cast<double>(count), 0),
                                  word(chosen >= 0 ? std::to_string(chosen + 1) : "?")};
            appendNumbers(row, out, 7, 2);
            row.push_back(num(flangeDeviation(T, out), 4));
            selection.addRow(row);
        }
    }
    if (ref)
        report.add(selection);
    return allSolved;
}

int runIk7(const ParsedArgs& args)
{
    loadRobotOf(args);
    double target[6], ref[7];
    copyValues(args.values, target, 6);
    bool withRef = args.has("--ref");
    if (withRef)
        copyValues(args.numbers.at("--ref"), ref, 7);
    Report report(formatOf(args));
    report.note("Target: flange pose (" + formatNumber(target[0], 1) + ", " + formatNumber(target[1], 1) +
                ", " + formatNumber(target[2], 1) + ") mm, (" + formatNumber(target[3], 1) + ", " +
                formatNumber(target[4], 1) + ", " + formatNumber(target[5], 1) + ") deg.");
    bool ok = reportIk7(report, args.numbers.at("--q7"), withRef ? ref : nullptr, target, true);
    report.print(stdout);
    if (!ok)
        throw Failure("ik7: target out of reach with joint 7 held as given");
    return 0;
}

int runSpan(const ParsedArgs& args)
{
    loadRobotOf(args);
    double target[6], ref[7], T[4][4];
    copyValues(args.values, target, 6);
    copyValues(args.numbers.at("--ref"), ref, 7);
    double step = args.numbersOr("--step", {1.0})[0];
    FX_XYZABC2Matrix4DEG(target, T);
    double q0[8], dqPos[7], dqNeg[7];
    for (int i = 0; i < 8; ++i)
        q0[i] = NAN;
    unsigned char okPos = 0, okNeg = 0;
    bool ok = FX_CALWSpan2(&ik, step, ref, T, q0, dqPos, dqNeg, &okPos, &okNeg) == 1;
    bool centreSolved = !std::isnan(q0[0]);

    Report report(formatOf(args));
    Table table{"Joint-7 span probe (FX_CALWSpan2) around q7 = " + formatNumber(ref[6], 3) +
                    " deg, step " + formatNumber(step, 3) + " deg",
                columns(columns({"probe", "held q7 [deg]"}, jointColumns("deg")), {"solved"}), {}};
    auto addRow = [&](const char* name, double q7, const double* values, bool solved) {
        std::vector<Cell> row{word(name), num(q7, 3)};
        for (int i = 0; i < 7; ++i)
            row.push_back(solved ? num(values[i], 4) : missing());
        row.push_back(word(solved ? "yes" : "no"));
        table.addRow(row);
    };
    addRow("centre: joints", ref[6], q0, centreSolved);
    if (centreSolved) {
        addRow("plus side: change", ref[6] + step, dqPos, okPos);
        addRow("minus side: change", ref[6] - step, dqNeg, okNeg);
    }
    report.add(table);
    report.note("A side that is not solved means the flange cannot hold the pose if joint 7 moves that way.");
    report.print(stdout);
    if (!ok)
        throw Failure(centreSolved ? "span: the pose cannot be held with joint 7 moved either way"
                                   : "span: target out of reach with joint 7 at " +
                                         formatNumber(ref[6], 3) + " deg");
    return 0;
}
