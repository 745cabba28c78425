// The import command: a URDF in, a report of what the library made of it, and the
// files through which the controller routes load the same arm.
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "interface/Globals.h"
#include "interface/RobotIniRoute.h"
#include "interface/TolvexKine.h"
#include "robot/RobotIni.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"
#ifdef TOLVEX_HAVE_URDF
#include "urdf/UrdfImport.h"
#endif

#ifdef TOLVEX_HAVE_URDF

namespace {

constexpr double kRadToDeg = 57.29577951308232;

// The largest distance (mm) and angle (deg) between two sets of poses.
struct Deviation {
    double mm = 0.0, deg = 0.0;
    void see(double a[4][4], double b[4][4])
    {
        double distance = 0.0, angle = 0.0;
        poseDifference(a, b, &distance, &angle);
        mm = std::fmax(mm, distance * 1000.0), deg = std::fmax(deg, angle);
    }
};

void mulPose(const double a[4][4], const double b[4][4], double out[4][4])
{
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) {
            out[r][c] = 0.0;
            for (int k = 0; k < 4; ++k) out[r][c] += a[r][k] * b[k][c];
        }
}

// Postures spread over the joint limits (a turn for continuous joints), seeded.
std::vector<std::vector<double>> postures(const tk::RobotDescription& d, int count)
{
    std::vector<std::vector<double>> all;
    unsigned long state = 1000;
    for (int k = 0; k < count; ++k) {
        std::vector<double> q(d.dof);
        for (int i = 0; i < d.dof; ++i) {
            state = state * 6364136223846793005UL + 1442695040888963407UL;
            const double u = double(state >> 11) / 9007199254740992.0;
            q[i] = d.limits[i].lower + (d.limits[i].upper - d.limits[i].lower) * u;
        }
        all.push_back(q);
    }
    return all;
}

// The controller route's chain (OnInitKine of the written robot.ini) with the joint
// offsets, the base and the tool, against the description.
Deviation checkRobotIni(tk::Robot& robot, const std::string& path)
{
    bool ok = false;
    loadRobotIni(path, &ok);
    if (!ok)
        throw Failure("import: the written robot.ini does not load through OnInitKine");
    const tk::RobotDescription& d = robot.description();
    double after[4][4];  // what follows the route's flange: the TOOL section, if any
    const bool alongZ = std::fabs(rob.local_T[d.dof][2][3] - d.flange[2][3]) == 0.0 && d.flange[2][3] != 0.0;
    std::memcpy(after, d.flange, sizeof after);
    if (alongZ) after[2][3] = 0.0;
    Deviation dev;
    for (const auto& q : postures(d, 1000)) {
        double angles[7], chain[4][4], based[4][4], route[4][4], want[4][4];
        for (int i = 0; i < d.dof; ++i) angles[i] = q[i] + d.joint[i].theta;
        FX_KINE(&rob, angles, chain);
        mulPose(d.base, chain, based);
        mulPose(based, after, route);
        robot.fk(q.data(), want);
        dev.see(route, want);
    }
    return dev;
}

// The numeric model route (OnInitKine_TOLVEXKINE of the written model file) with the
// joint map, its base and flange, against the description.
Deviation checkModelFile(tk::Robot& robot, const std::string& path)
{
    int loaded = 0;
    captureStdout([&] { loaded = OnInitKine_TOLVEXKINE(0, const_cast<char*>(path.c_str())); });
    if (loaded != 1)
        throw Failure("import: the written model file does not load through OnInitKine_TOLVEXKINE");
    const tk::PilotFit& fit = robot.analytic()->fitted();
    Deviation dev;
    for (const auto& q : postures(robot.description(), 1000)) {
        double model[7], pose[4][4], based[4][4], route[4][4], want[4][4];
        fit.map.toModel(q.data(), model);
        OnKine(model, pose);
        for (int r = 0; r < 3; ++r) pose[r][3] *= 0.001;
        mulPose(fit.base, pose, based);
        mulPose(based, fit.flange, route);
        robot.fk(q.data(), want);
        dev.see(route, want);
    }
    return dev;
}

void writeFile(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush())
        throw Failure("import: cannot write '" + path + "'");
}

}  // namespace

int runImport(const ParsedArgs& args)
{
    const std::string path = args.texts.count("--urdf") ? args.texts.at("--urdf") : "";
    if (path.empty())
        throw UsageError("import: a URDF file is needed (tolvex-kine import FILE.urdf)");
    tk::UrdfImport in;
    try {
        in = tk::importUrdf(path, args.textOr("--base", ""), args.textOr("--tip", ""));
    } catch (const tk::Error& e) {
        throw UsageError("urdf '" + path + "': " + e.what());
    }
    tk::Robot robot = robotOf(args);
    const tk::RobotDescription& d = robot.description();
    const tk::AnalyticArm* arm = robot.analytic();

    Report report(formatOf(args));
    report.note("URDF '" + path + "': " + std::to_string(d.dof) + " movable joints from '" + in.base_link + "' to '" +
                in.tip_link + "'" + (in.held_links.empty() ? "" : ", " + std::to_string(in.held_links.size()) +
                " side links carried as if their joints stood at 0") + ".");
    Table joints{"Joint map",
                 {"joint", "URDF joint", "lower [deg]", "upper [deg]", "velocity [deg/s]", "effort [N*m]",
                  "robot.ini offset [deg]", "model sign", "model offset [deg]"},
                 {}};
    for (int i = 0; i < d.dof; ++i) {
        const tk::JointLimits& l = d.limits[i];
        std::vector<Cell> row{word(std::to_string(i + 1)), word(in.joint[i].name),
                              num(l.lower * kRadToDeg, 3), num(l.upper * kRadToDeg, 3),
                              num(l.velocity * kRadToDeg, 3), num(l.effort, 3), num(d.joint[i].theta * kRadToDeg, 6)};
        if (arm) {
            row.push_back(num(arm->jointMap().sign[i], 0));
            row.push_back(num(arm->jointMap().offset_deg[i], 6));
        } else {
            row.push_back(missing());
            row.push_back(missing());
        }
        joints.addRow(row);
    }
    report.add(joints);
    report.note("robot.ini route: joint angle = URDF angle + offset. Numeric model: angle = sign * URDF angle + offset.");
    double base[4][4], flange[4][4];
    std::memcpy(base, d.base, sizeof base);
    std::memcpy(flange, d.flange, sizeof flange);
    report.add(xyzabcTable("Base transform: the chain's base in the URDF base link", base, 1000.0));
    report.add(xyzabcTable("Tool transform: the tip in the last joint's frame", flange, 1000.0));
    if (arm) {
        const tk::PilotGeometry& g = arm->geometry();
        report.note("Analytic-IK form: yes, wrist " + std::string(g.variant ? "Z-Y-X (type 1017)" : "Z-Y-Z (type 1007)") +
                    ", d1 " + formatNumber(g.d1, 3) + ", d3 " + formatNumber(g.d3, 3) + ", a " + formatNumber(g.a, 3) +
                    ", d5 " + formatNumber(g.d5, 3) + ", d7 " + formatNumber(g.d7, 3) + " mm.");
        double model_base[4][4], model_flange[4][4];
        std::memcpy(model_base, arm->fitted().base, sizeof model_base);
        std::memcpy(model_flange, arm->fitted().flange, sizeof model_flange);
        report.add(xyzabcTable("Numeric model's base in the URDF base link", model_base, 1000.0));
        report.add(xyzabcTable("The tip in the numeric model's flange", model_flange, 1000.0));
    } else {
        report.note("Analytic-IK form: no, " + robot.analyticIkReason() + ". FK, Jacobian and dynamics serve it.");
    }

    // Write to temporary files, check them through the routes, then copy them out.
    const TempFile robotIni(tk::robotIniText(d));
    const TempFile modelFile(arm ? arm->modelFileText() : std::string());
    Table check{"Validation over " + std::to_string(in.fk_check.postures) + " random postures",
                {"what", "largest distance [mm]", "largest angle [deg]"},
                {}};
    check.addRow({word("description vs the URDF's own frames"), num(in.fk_check.position_error * 1000.0, 9),
                  num(in.fk_check.rotation_error * kRadToDeg, 9)});
    const Deviation viaIni = checkRobotIni(robot, robotIni.path);
    check.addRow({word("robot.ini via OnInitKine + offsets + base + tool"), num(viaIni.mm, 9), num(viaIni.deg, 9)});
    if (arm) {
        const Deviation viaModel = checkModelFile(robot, modelFile.path);
        check.addRow({word("model file via OnInitKine_TOLVEXKINE + map"), num(viaModel.mm, 9), num(viaModel.deg, 9)});
    }
    report.add(check);
    const std::string dir = args.textOr("-o", "");
    if (!dir.empty()) {
        if (mkdir(dir.c_str(), 0755) != 0 && errno != EEXIST)
            throw Failure("import: cannot make the folder '" + dir + "': " + std::strerror(errno));
        writeFile(dir + "/robot.ini", tk::robotIniText(d));
        if (arm) writeFile(dir + "/model.txt", arm->modelFileText());
        report.note("Written: " + dir + "/robot.ini" + (arm ? " and " + dir + "/model.txt" : "") + ".");
    } else {
        report.note("Nothing written: give -o DIR for robot.ini" + std::string(arm ? " and model.txt." : "."));
    }
    report.print(stdout);
    return 0;
}

#else

int runImport(const ParsedArgs&)
{
    throw UsageError("import: this tool was built without URDF support (Debian package liburdfdom-dev)");
}

#endif
