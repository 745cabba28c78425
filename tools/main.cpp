// tolvex-kine: the command-line face of the library for the engineers who
// tune a robot. Dispatches to the commands and prints the help.
#include <cctype>
#include <cstdio>
#include <cstring>

#include "tools/Cli.h"
#include "tools/Commands.h"

namespace {

struct Command {
    const char* name;
    const char* summary;
    const char* usage;              // what follows "tolvex-kine <name>"
    const char* example;            // arguments of one example call
    int positional;                 // count of positional numbers, or kNoValues, kCheckedByCommand
    const char* positionalMeta;
    std::vector<OptionDef> options;
    int (*run)(const ParsedArgs&);
    const char* details;            // more lines of help
};

const OptionDef kModel{"--model", OptionKind::Text, 0, "FILE",
                        "numeric model file (default: the bundled examples/model-1017.txt)"};
const OptionDef kRobot{"--robot", OptionKind::Text, 0, "FILE",
                        "robot.ini (default: the bundled examples/robot.ini)"};
const OptionDef kRobotObject{"--robot", OptionKind::Text, 0, "FILE",
                              "robot.ini, through the robot object: its own joints and base frame"};
const OptionDef kRef{"--ref", OptionKind::Numbers, 7, "q1 ... q7", "reference joints [deg]", true};
const OptionDef kOptionalRef{"--ref", OptionKind::Numbers, 7, "q1 ... q7",
                              "reference joints [deg]: mark the solution selected for them"};
const OptionDef kCsv{"--csv", OptionKind::Flag, 0, "", "machine-readable CSV output"};
const OptionDef kJson{"--json", OptionKind::Flag, 0, "", "machine-readable JSON output"};

const OptionDef kUrdf{"--urdf", OptionKind::Text, 0, "FILE", "a URDF in place of --model/--robot"};
const OptionDef kBase{"--base", OptionKind::Text, 0, "LINK", "with --urdf: the chain's base link (default: the root)"};
const OptionDef kTip{"--tip", OptionKind::Text, 0, "LINK", "with --urdf: the chain's tip link (default: the one leaf)"};

const char* const kJoints = "q1 ... q7";
const char* const kTarget = "x y z A B C";

const std::vector<Command>& commands()
{
    static const std::vector<Command> kCommands = {
        {"fk", "tool pose of seven joint angles (Pilot model), or a robot's flange pose",
         "[--model FILE | --robot FILE] q1 ... qn", "0 0 0 0 0 0 0", kCheckedByCommand, kJoints,
         {kModel, kRobotObject}, runFk,
         "Joints in degrees; the pose as a 4x4 matrix (mm) and as XYZABC (mm, degrees,\n"
         "R = Rz(C) Ry(B) Rx(A)). With --robot: the robot object's flange pose, one angle per\n"
         "joint, in the base frame of its description, as the browser view shows it."},
        {"jacobian", "6x7 Jacobian of the tool centre (Pilot model)", "[--model FILE] q1 ... q7",
         "10 -30 -20 -60 15 -40 -25", 7, kJoints, {kModel}, runJacobian,
         "Per radian of joint motion: rows 0-2 in m/rad, rows 3-5 (the joint axes) unitless."},
        {"limits", "which joint limit a posture crosses, and the joint-6/7 boundary point",
         "[--model FILE] [--svg FILE] q1 ... q7", "175 0 0 0 0 100 150", 7, kJoints,
         {kModel, {"--svg", OptionKind::Text, 0, "FILE", "also draw the (q6, q7) plane"}}, runLimits,
         "Every joint against its min/max (a value on a limit is inside), and joints 6 and 7\n"
         "together against the corner curves of their coupled range (FX_CheckPilotLimits).\n"
         "The FX_CCSBD_CHECK column shows the host check, which never flags joints 6/7\n"
         "beyond their own ranges."},
        {"ik", "joints for a tool pose, elbow from a reference (Pilot model, or a robot's analytic arm)",
         "[--model FILE | --robot FILE] --ref q1 ... q7 x y z A B C",
         "--ref 0 -30 0 -60 0 -40 0 700 30 640 150 50 165", 6, kTarget, {kModel, kRobotObject, kRef}, runIk,
         "Target in mm and degrees. Reference joint 4 picks the elbow branch, joints 1-2\n"
         "the elbow plane. Exit status 1 when the target cannot be solved. With --robot: the\n"
         "robot object's analytic arm, the flange pose in its base frame, the joints in its own\n"
         "convention (exit status 2, with the reason, for an arm without the analytic form)."},
        {"nsp", "re-solve a pose at other arm angles (elbow turned, tool kept)",
         "[--model FILE] --ref q1 ... q7 --angle PSI x y z A B C",
         "--ref 0 -30 0 -60 0 -40 0 --angle 45 700 30 640 150 50 165", 6, kTarget,
         {kModel, kRef,
          {"--angle", OptionKind::Numbers, 1, "PSI", "arm angle [deg]", true}},
         runNsp, "Arm angle 0 (the ik solution) is listed first; the elbow point shows the turn."},
        {"psi-map", "arm-angle intervals that keep every joint inside its limits",
         "[--model FILE] --ref q1 ... q7 [--step DEG] [--svg FILE] x y z A B C",
         "--ref 0 -30 0 -60 0 -40 0 700 30 640 150 50 165", 6, kTarget,
         {kModel, kRef,
          {"--step", OptionKind::Numbers, 1, "DEG", "sampling step [deg], 0.001 to 90 (default 1)"},
          {"--svg", OptionKind::Text, 0, "FILE", "also draw the joints against the arm angle"}},
         runPsiMap,
         "The arm angle as nsp measures it (0: the reference's elbow plane). An angle is usable\n"
         "when it solves (flag1 clear), keeps the tool within 1e-6 mm and every joint is inside\n"
         "by the verdict of 'limits'. Edges refined to 1e-6 deg. Exit status 1 when out of reach."},
        {"ini", "load a robot.ini and show arm 0's links", "[--robot FILE]", "", -1, "", {kRobot},
         runIni, "Prints the loader's verdict and the DH values as in the file and as the chain holds them."},
        {"chain-fk", "flange pose of the link chain built from robot.ini", "[--robot FILE] q1 ... q7",
         "10 -30 -20 -60 15 -40 -25", 7, kJoints, {kRobot}, runChainFk,
         "Joints in degrees, given to FX_KINE in radians; pose in metres and as XYZABC in mm/degrees."},
        {"dyn", "joint torques, mass and Coriolis matrices from the robot's own dynamics",
         "[--robot FILE] [--q q1 ... qn] [--qd ...] [--qdd ...] [--g gx gy gz]",
         "--q 10 -30 -20 -60 15 -40 -25 --qd 20 0 0 0 0 0 0", -1, "",
         {kRobot,
          {"--q", OptionKind::List, 0, "q1 ... qn", "joint positions [deg] (default 0)"},
          {"--qd", OptionKind::List, 0, "qd1 ... qdn", "joint velocities [deg/s] (default 0)"},
          {"--qdd", OptionKind::List, 0, "qdd1 ... qddn", "joint accelerations [deg/s^2] (default 0)"},
          {"--g", OptionKind::Numbers, 3, "gx gy gz", "gravity [m/s^2] in the base frame (default: the file's)"}},
         runDyn,
         "Link masses, centres of mass, inertias, rotor inertias and friction from the robot.ini's DYNAMIC\n"
         "and FRICTION sections; gravity in any direction (a wall-mounted or hanging arm)."},
        {"ik7", "all locked-joint solutions with joint 7 held (chain model)",
         "[--robot FILE] --q7 Q7 [--ref q1 ... q7] x y z A B C",
         "--q7 -25 --ref 10 -30 -20 -60 15 -40 -25 709.5 -21.3 629 -158.2 48.1 -154.8", 6, kTarget,
         {kRobot, {"--q7", OptionKind::Numbers, 1, "Q7", "joint 7 held at [deg]", true},
          kOptionalRef},
         runIk7, "Target: the flange pose in mm and degrees. With --ref the row FX_IKRef7 selects is marked."},
        {"span", "how the joints move when joint 7 moves a step either way",
         "[--robot FILE] --ref q1 ... q7 [--step S] x y z A B C",
         "--ref 10 -30 -20 -60 15 -40 -25 --step 1 709.5 -21.3 629 -158.2 48.1 -154.8", 6, kTarget,
         {kRobot, kRef, {"--step", OptionKind::Numbers, 1, "S", "joint-7 step [deg] (default 1)"}},
         runSpan, "Probes joint 7 at ref q7 and ref q7 +/- step with the flange at the target."},
        {"urdf", "the robot as a URDF document, with its own dynamics", "[--robot FILE] [-o FILE]", "", -1, "",
         {kRobot, {"-o", OptionKind::Text, 0, "FILE", "write to FILE instead of standard output"}}, runUrdf,
         "Revolute joints with their limits, each link's mass, centre of mass and inertia, joint\n"
         "friction as dynamics damping and friction, the flange as a fixed joint; what URDF has\n"
         "no element for (rotor inertia, acceleration limits, gravity) in a <tolvexkine> block.\n"
         "'import' reads it back as the same robot."},
        {"profile", "multi-axis S-curve profile from rest, one CSV row per cycle",
         "--axes N --cycle MS --vmax ... --acc ... --jerk ... --target ... [--summary] [--svg FILE]",
         "--axes 2 --cycle 1 --vmax 100 --acc 500 --jerk 20000 --target 90 -45 --summary", -1, "",
         {{"--axes", OptionKind::Numbers, 1, "N", "number of axes, 1 to 8", true},
          {"--cycle", OptionKind::Numbers, 1, "MS", "control cycle [ms]", true},
          {"--vmax", OptionKind::List, 0, "V...", "velocity limits [u/s], one or one per axis", true},
          {"--acc", OptionKind::List, 0, "A...", "acceleration limits [u/s^2]", true},
          {"--jerk", OptionKind::List, 0, "J...", "jerk limits [u/s^3]", true},
          {"--target", OptionKind::List, 0, "P...", "target positions [u]", true},
          {"--summary", OptionKind::Flag, 0, "", "a table per axis instead of the cycle rows"},
          {"--svg", OptionKind::Text, 0, "FILE", "also draw position, velocity, acceleration"}},
         runProfile,
         "u is the axes' own unit (e.g. degrees). All axes start at 0; rows run until every\n"
         "axis has settled on its target."},
        {"move", "a Cartesian LIN or CIRC move planned whole: its joints, limits and arm angle",
         "lin|circ --from q1 ... q7 [--via X Y Z] --to x y z A B C [--speed MM/S ...] [--elbow hold|blend DEG|auto] "
         "[--cycle MS] [--svg FILE] [--robot FILE]",
         "lin --from 10 -30 -20 -60 15 -40 -25 --to 809.5 28.7 549 -158.19 48.105 -134.756", -1, "",
         {kRobot,
          {"--path", OptionKind::Text, 0, "lin|circ", "the path, also as the word after 'move': straight or an arc"},
          {"--from", OptionKind::Numbers, 7, "q1 ... q7", "start joints [deg], the robot's own", true},
          {"--via", OptionKind::Numbers, 3, "X Y Z", "circ: a point of the arc between start and target [mm]"},
          {"--to", OptionKind::Numbers, 6, "x y z A B C", "target flange pose [mm, deg], as chain-fk prints it", true},
          {"--speed", OptionKind::Numbers, 1, "MM/S", "tool centre speed (default 250)"},
          {"--acc", OptionKind::Numbers, 1, "MM/S2", "tool centre acceleration (default 1000)"},
          {"--jerk", OptionKind::Numbers, 1, "MM/S3", "tool centre jerk (default 10000)"},
          {"--rot-speed", OptionKind::Numbers, 1, "DEG/S", "orientation speed (default 60)"},
          {"--rot-acc", OptionKind::Numbers, 1, "DEG/S2", "orientation acceleration (default 240)"},
          {"--rot-jerk", OptionKind::Numbers, 1, "DEG/S3", "orientation jerk (default 2400)"},
          {"--elbow", OptionKind::Text, 0, "POLICY", "hold (default), blend DEG (to that arm angle) or auto"},
          {"--cycle", OptionKind::Numbers, 1, "MS", "control cycle (default 1)"},
          {"--svg", OptionKind::Text, 0, "FILE", "also draw the joints and the arm angle against time"}},
         runMove,
         "The flange from the start joints to the target on a straight line (lin) or on the arc\n"
         "through --via (circ), the orientation turning steadily about one axis, jerk-limited under\n"
         "these limits and every joint's velocity and acceleration limit. The elbow: hold the start's\n"
         "arm angle, blend it to DEG, or auto (inside the usable arm angles with the largest margin).\n"
         "Every cycle is checked before anything moves. Prints a summary; --csv/--json one row per\n"
         "cycle (t, q1..q7, x, y, z, A, B, C, arm angle), the file 'view --motion' plays. Exit\n"
         "status 1, with the first failing point, when the move cannot be done."},
        {"view", "a 3D view of the arm in one HTML page, computed by the library itself",
         "[--robot FILE | --urdf FILE [--base LINK] [--tip LINK] | --model FILE] [--motion FILE.csv] "
         "[-o FILE.html]",
         "-o arm.html", -1, "",
         {kRobot, {"--model", OptionKind::Text, 0, "FILE", "a numeric model file instead, through the entry points"},
          {"--motion", OptionKind::Text, 0, "FILE.csv", "a motion to play back, as 'move --csv' writes it"},
          {"-o", OptionKind::Text, 0, "FILE.html", "the page to write (default tolvex-view.html)"}},
         runView,
         "One self-contained page (no server, works offline): the arm from its frames, joint\n"
         "sliders with the limit verdict, a tool target the inverse kinematics follows, the\n"
         "arm-angle slider with its usable intervals, motion playback. three.js draws it; the\n"
         "library compiled to WebAssembly computes every number. A robot.ini or URDF arm is\n"
         "built into the robot object here and given to the page as robot.ini; an arm without\n"
         "the analytic form gets forward kinematics, sliders and playback, and the page says why."},
        {"import", "a URDF in: report, robot.ini and model file for the controller routes",
         "FILE.urdf [--base LINK] [--tip LINK] [-o DIR]", "arm.urdf -o arm", -1, "",
         {{"-o", OptionKind::Text, 0, "DIR", "write DIR/robot.ini (and DIR/model.txt for the analytic form)"}},
         runImport,
         "The report: the joint map (URDF joint, model joint, sign, zero offset, limits), the base\n"
         "and tool transforms, whether the arm has the analytic-IK form and why not, and the FK\n"
         "of the written files against the URDF's own frames over 1000 random postures."},
        {"demo", "a guided tour of every capability on the bundled examples", "", "", -1, "", {},
         runDemo, "Readable in a terminal; takes no arguments."},
    };
    static const std::vector<Command> kWithUrdf = [] {
        std::vector<Command> all = kCommands;
        for (Command& c : all) {
            bool describes = c.run == runImport;
            for (const OptionDef& o : c.options)
                describes = describes || std::strcmp(o.name, "--model") == 0 || std::strcmp(o.name, "--robot") == 0;
            if (describes) {
                c.options.push_back(kUrdf);
                c.options.push_back(kBase);
                c.options.push_back(kTip);
            }
        }
        return all;
    }();
    return kWithUrdf;
}

void printCommandHelp(const Command& c)
{
    std::string summary = c.summary;
    summary[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(summary[0])));
    std::printf("usage: tolvex-kine %s %s\n\n%s.\n%s\n", c.name, c.usage, summary.c_str(), c.details);
    std::vector<OptionDef> options = c.options;
    options.push_back(kCsv);
    options.push_back(kJson);
    std::printf("\noptions:\n");
    for (const OptionDef& o : options) {
        std::string left = std::string(o.name) + (o.meta[0] ? std::string(" ") + o.meta : "");
        std::printf("  %-26s %s\n", left.c_str(), o.help);
    }
    std::printf("  %-26s %s\n", "--help", "this text");
    std::printf("\nexample:\n  tolvex-kine %s%s%s\n", c.name, c.example[0] ? " " : "", c.example);
}

void printHelp()
{
    std::printf("usage: tolvex-kine <command> [options] [values]\n"
                "Kinematics, dynamics and motion profiles of the seven-axis arm.\n"
                "Angles in degrees and lengths in millimetres unless a column says otherwise.\n"
                "Without --model/--robot/--urdf the bundled example files are used.\n\ncommands:\n");
    for (const Command& c : commands())
        std::printf("  %-9s %s\n            e.g. tolvex-kine %s%s%s\n", c.name, c.summary, c.name,
                    c.example[0] ? " " : "", c.example);
    std::printf("\nEvery command takes --csv or --json for machine-readable output and --help.\n"
                "Exit status: 0 done, 1 computation failed (e.g. out of reach) or bad model file,\n"
                "2 usage error.\n");
}

int dispatch(int argc, char** argv)
{
    if (argc < 2)
        throw UsageError("no command given (see 'tolvex-kine --help')");
    std::string name = argv[1];
    if (name == "--help" || name == "-h" || name == "help") {
        printHelp();
        return 0;
    }
    for (const Command& c : commands()) {
        if (name != c.name)
            continue;
        std::vector<std::string> args(argv + 2, argv + argc);
        if (c.run == runImport && !args.empty() && args[0][0] != '-')
            args.insert(args.begin(), "--urdf");  // import FILE.urdf
        if (c.run == runMove)
            args = moveArgs(args);  // move lin|circ ... --elbow blend DEG
        for (const std::string& a : args)
            if (a == "--help" || a == "-h") {
                printCommandHelp(c);
                return 0;
            }
        std::vector<OptionDef> options = c.options;
        options.push_back(kCsv);
        options.push_back(kJson);
        return c.run(parseArgs(c.name, args, options, c.positional, c.positionalMeta));
    }
    throw UsageError("unknown command '" + name + "' (see 'tolvex-kine --help')");
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return dispatch(argc, argv);
    } catch (const UsageError& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "tolvex-kine: %s\n", e.what());
        return 2;
    } catch (const Failure& e) {
        std::fflush(stdout);
        std::fprintf(stderr, "tolvex-kine: %s\n", e.what());
        return 1;
    }
}
