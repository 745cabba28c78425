// End-to-end checks of the tolvex-kine tool: a table of command lines with the exit code,
// the error line and the lines their output must hold, then results checked against
// independent computations (FK of IK results, the dynamics identity).
#include <sys/wait.h>
#include <algorithm>
#include <cstdio>
#include <sstream>
#include <vector>
#include "tests/TestArm.h"

namespace {

struct Result {
    int status;
    std::string out, err;
};
// Runs the tool away from the examples.
Result tool(const std::string& args)
{
    const std::string err = tk::tempFile("err.txt", "");
    FILE* pipe = popen(("cd '" + testing::TempDir() + "' && '" TOLVEX_TOOL "' " + args + " 2>'" + err + "'").c_str(), "r");
    std::string out;
    char chunk[4096];
    for (size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0;) out.append(chunk, got);
    const int status = pclose(pipe);
    std::stringstream text;
    text << std::ifstream(err).rdbuf();
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out, text.str()};
}
// Numbers first..first+count-1 of each data row of the CSV table titled "# title...".
std::vector<std::vector<double>> table(const std::string& output, const std::string& title, size_t first, size_t count)
{
    std::vector<std::vector<double>> rows;
    std::stringstream in(output.substr(output.find("# " + title)));
    std::string line, field;
    std::getline(in, line);
    std::getline(in, line);  // column names
    while (std::getline(in, line) && !line.empty() && line[0] != '#') {
        std::stringstream fields(line);
        rows.emplace_back();
        for (size_t i = 0; std::getline(fields, field, ',') && i < first + count; ++i)
            if (i >= first) rows.back().push_back(std::stod(field));
    }
    return rows;
}
const std::string kQ = " 10 -30 -20 -60 15 -40 -25";
const std::string kTo = " --to 809.5 28.7 549 -158.19 48.105 -134.756";  // kQ's flange moved and turned
std::string fileText(const std::string& path)
{
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// The bundled robot.ini with joint 7's axis 88 mm off the wrist centre: no analytic form.
std::string offsetWristIni()
{
    std::string text = fileText(TOLVEX_EXAMPLES_DIR "/robot.ini");
    text.replace(text.find("[R.A0.L6.DH]\nAlpha=-90\nA=0"), 26, "[R.A0.L6.DH]\nAlpha=-90\nA=88");
    return tk::tempFile("offset.ini", text);
}

}  // namespace

TEST(Tool, CommandLinesExitCodesAndOutputLines)
{
    const std::string bad = tk::tempFile("short.txt", "1007\n0 0 340 0 -170 170 98 490\n-90 0 0 0 -120 120 98\n");
    const std::string ini = tk::tempFile("broken.ini", "[R.A0.BASIC]\nDof=7\n"), zero = " 0 0 0 0 0 0 0";
    // One joint 100 mm out along x, the flange 50 mm further along the turned x.
    const std::string one = tk::tempFile("one.ini", "[R.A0.BASIC]\nDof=1\nGravityX=0\nGravityY=0\nGravityZ=-9.81\n"
        "[R.A0.L0.BASIC]\nLimitNeg=-90\nLimitPos=90\nVelMax=1\nAccMax=1\nTorqueMax=1\n"
        "[R.A0.L0.DH]\nAlpha=0\nA=100\nD=0\nTheta=0\n[R.A0.FLANGE]\nA=50\nD=0\nAlpha=0\nTheta=0\n");
    const std::string reach = "out of reach, or no elbow branch matches the reference joint 4";
    const std::string offset = offsetWristIni();
    struct Case {
        std::string args;
        int status;
        std::string err;
        std::vector<std::string> lines;  // each must appear in the output
    } cases[] = {
        {"", 2, "tolvex-kine: no command given (see 'tolvex-kine --help')\n", {}},
        {"fk 1 2 3 4 5 6", 2, "tolvex-kine: fk: expected 7 values (q1 ... q7), got 6 (see 'tolvex-kine fk --help')\n", {}},
        {"profile --axes 1 --cycle 1 --vmax 10 --acc 50 --jerk 0.5 --target 1", 2, "", {}},
        {"fk --csv" + zero, 0, "", {"\n2,0,0,1,1266\n", "\n0,0,1266,0,0,0\n"}},  // the model loads quietly
        {"jacobian --csv 10 20 30 40 50 60 70", 0, "", {"\nwz [-],1,0,0.939692620785908,0.171010071662834,0.529453820664377,"
                                                        "0.746447643746761,0.66007353305766\n"}},
        {"limits --csv 170 -120 0 0 0 100 150", 0, "", {"\n1,170,-170,170,inside,inside\n", "\n2,-120,-120,120,inside,inside\n",
            "\n6,100,-110,110,OUTSIDE: q6/q7 beyond the corner curve,outside\n", "\nP1,100,150,98.5445848309732,147.81687724646\n"}},
        {"limits --csv 170.001 0 0 0 0 100 140", 0, "", {"\n1,170.001,-170,170,OUTSIDE: above max,outside\n", "\n7,140,-170,170,inside,inside\n"}},
        {"limits --csv 14.087 -20.724 2.009 -55.887 52.542 35.172 183.931", 0, "",
            {"\n7,183.931,-170,170,OUTSIDE: above max,inside\n"}},
        {"ik --ref 0 -30 0 -60 0 -40 0 2600 0 900 180 0 180", 1, "tolvex-kine: ik: target " + reach + " (flag1 = 1)\n",
         {"   flag1      1  " + reach + "\n"}},
        {"fk --csv --robot '" + one + "' 30", 0, "", {"\n143.301270189222,25,0,0,0,30\n"}},
        {"fk --robot '" + one + "' 30 0", 2, "tolvex-kine: fk: expected 1 values (q1 ... q1, the robot's joints), got 2 "
                                             "(see 'tolvex-kine fk --help')\n", {}},
        {"fk --robot '" + ini + "' 0", 2, "tolvex-kine: robot.ini '" + ini + "': [R.A0.BASIC] lacks \"GravityX\"\n", {}},
        {"fk --model m.txt --robot r.ini 0", 2, "tolvex-kine: fk: give one of --model, --robot, --urdf (see 'tolvex-kine fk --help')\n", {}},
        {"ik --robot '" + one + "' --ref" + zero + " 1 2 3 4 5 6", 2, "tolvex-kine: ik: " + one + " has no analytic inverse "
                                                                   "kinematics: the analytic arm has 7 joints, this description has 1\n", {}},
        {"fk --model '" + bad + "'" + zero, 1, "tolvex-kine: model file '" + bad + "': line 3 holds 7 numbers, 8 expected\n", {}},
        {"ini", 0, "", {"loader: Load robot.ini success\n", "L6         0.0   126.0        -90.0          0.0   0.0000  0.1260"}},
        {"ini --robot '" + ini + "'", 1, "tolvex-kine: robot file '" + ini + "': Failed to load robot.ini in [R.A0.BASIC]\n",
         {"loader: Failed to load robot.ini in [R.A0.BASIC]"}},
        {"demo", 0, "", {"== 1. Forward kinematics", "== 4. FK -> IK round trip", "== 10. Motion profile", "== 11. Cartesian move"}},
        {"move lin --from" + kQ + kTo, 0, "", {"LIN move: 0.900 s, 901 samples at a 1.000 ms cycle.\n",
            "Arm angle (elbow hold): -11.508 deg at the start, -11.508 at the end, -11.508 to -11.508 on the way.\n",
            "   6      -45.970  -45.970  -39.927  -110.0  110.0   64.030      17.55      180.0      103.43      900.0\n"}},
        {"move lin --from" + kQ + " --to 709.5 -21.3 629 174.4 -51.5 4.1", 1, "tolvex-kine: move: joint 7 leaves its range at 87.4 % "
            "of the path (t = 3.618 s, x = 709.5 y = -21.3 z = 629.0 mm): -191.0 deg beyond -170.0\n", {}},
        {"move lin --from" + kQ, 2, "tolvex-kine: move: option --to is required (see 'tolvex-kine move --help')\n", {}},
        {"move lin --via 1 2 3 --from" + kQ + kTo, 2, "tolvex-kine: move: --via is for circ; a lin move takes no via point\n", {}},
        {"move circ --from" + kQ + kTo, 2, "tolvex-kine: move: circ needs --via X Y Z, a point of the arc [mm]\n", {}},
        {"move --from" + kQ + kTo, 2, "tolvex-kine: move: say lin or circ after 'move' (see 'tolvex-kine move --help')\n", {}},
        {"move lin --from" + kQ + " --to 809.5 28.7 549 -158.19 48.105 nan", 2, "", {}},
        {"move lin --elbow blend --from" + kQ + kTo, 2, "tolvex-kine: move: --elbow blend needs the arm angle at the target (blend DEG)\n", {}},
        {"move lin --speed 0 --from" + kQ + kTo, 2, "tolvex-kine: move: --speed must be positive [mm/s], got 0\n", {}},
        {"move lin --from" + kQ + " 1" + kTo, 2, "tolvex-kine: move: unexpected argument '1' (see 'tolvex-kine move --help')\n", {}},
        {"move lin --robot '" + offset + "' --from" + kQ + kTo, 2, "tolvex-kine: move: the arm has not the analytic-IK form: "
            "joints 5-7 do not meet in a point: axis 7 passes 88.0 mm from the wrist centre\n", {}},
    };
    for (const Case& c : cases) {
        const Result run = tool(c.args);
        EXPECT_EQ(run.status, c.status) << c.args << "\n" << run.err;
        EXPECT_EQ(run.err, c.err.empty() && c.status == 2 ? run.err : c.err) << c.args;
        EXPECT_TRUE(c.status != 2 || (run.out.empty() && std::count(run.err.begin(), run.err.end(), '\n') == 1)) << c.args;
        for (const std::string& line : c.lines) EXPECT_NE(run.out.find(line), std::string::npos) << c.args << ": " << line;
        // Library chatter (the loader's verdict, the coupled model's corner print) stays out.
        EXPECT_EQ(run.out.find("Load robot.ini success") != std::string::npos, c.args == "ini") << c.args;
        EXPECT_EQ(run.out.find("><") + (c.args == "demo" ? run.out.find("FAILED") : std::string::npos), 2 * std::string::npos);
    }
}

TEST(Tool, ResultsAgreeWithIndependentComputations)
{
    const std::vector<double> want = {10, -30, -20, -60, 15, -40, -25};
    const auto pose = table(tool("fk --csv" + kQ).out, "Tool pose as XYZABC", 0, 6).at(0);
    std::ostringstream target;
    target.precision(17);
    for (double v : pose) target << ' ' << v;
    const Result ik = tool("ik --csv --ref" + kQ + target.str());  // ik of an fk pose, with clear status bytes
    tk::expectNear(want.data(), table(ik.out, "Inverse kinematics", 1, 7).at(0).data(), 7, 1e-7, "ik");
    EXPECT_EQ(table(ik.out, "Status bytes", 1, 1), (std::vector<std::vector<double>>{{0}, {0}, {0}}));
    const auto chain = table(tool("chain-fk --csv" + kQ).out, "Chain flange pose as XYZABC", 0, 6).at(0);
    const auto pilot = table(tool("fk --csv --model '" TOLVEX_EXAMPLES_DIR "/model-1007.txt'" + kQ).out, "Tool pose as XYZABC", 0, 6);
    tk::expectNear(pilot.at(0).data(), chain.data(), 6, 1e-7, "robot.ini chain vs the 1007 model file");
    // The robot object's flange pose is the controller route's chain, to the printed digit; its
    // analytic IK of that pose gives joints whose flange pose is the target again.
    const std::string robot = " --robot '" TOLVEX_EXAMPLES_DIR "/robot.ini'";
    const auto flange = table(tool("fk --csv" + robot + kQ).out, "Flange pose as XYZABC", 0, 6).at(0);
    EXPECT_EQ(flange, chain);
    std::ostringstream flangeTarget;
    flangeTarget.precision(17);
    for (double v : flange) flangeTarget << ' ' << v;
    const Result robotIk = tool("ik --csv" + robot + " --ref" + kQ + flangeTarget.str());
    const auto solved = table(robotIk.out, "Inverse kinematics", 1, 7).at(0);
    std::ostringstream joints;
    joints.precision(17);
    for (double v : solved) joints << ' ' << v;
    tk::expectNear(flange.data(), table(tool("fk --csv" + robot + joints.str()).out, "Flange pose as XYZABC", 0, 6).at(0).data(),
                   6, 1e-6, "robot fk of its ik");
    EXPECT_EQ(table(robotIk.out, "Status bytes", 1, 1), (std::vector<std::vector<double>>{{0}, {0}, {0}, {0}}));
    // tau = gravity + M*qdd + C*qd from the file's own dynamics; M symmetric.
    const Result dyn = tool("dyn --csv --q" + kQ + " --qd 20 -10 30 15 -25 40 10 --qdd 3 5 -4 6 2 -1 8");
    const auto tau = table(dyn.out, "Joint torques", 4, 4), M = table(dyn.out, "Mass matrix", 1, 7);
    for (int i = 0; i < 7; ++i) {
        EXPECT_NEAR(tau[i][0], tau[i][1] + tau[i][2] + tau[i][3], 1e-9) << i;
        for (int j = 0; j < 7; ++j) EXPECT_EQ(M[i][j], M[j][i]);
    }
}

TEST(Tool, MovesFollowTheirPathsAndEndOnTheTarget)
{
    const auto dot = [](const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
    const auto start = table(tool("chain-fk --csv" + kQ).out, "Chain flange pose as XYZABC", 0, 6).at(0);
    const double target[6] = {809.5, 28.7, 549, -158.19, 48.105, -134.756}, via[3] = {759.5, 3.7, 620};
    const double vmax[7] = {98, 98, 100, 130, 180, 180, 180};
    // The arc's centre start + a u + b v lies as far from via and target as from the start.
    double u[3], v[3], centre[3], normal[3];
    for (int i = 0; i < 3; ++i) u[i] = target[i] - start[i], v[i] = via[i] - start[i];
    const double uu = dot(u, u), vv = dot(v, v), uv = dot(u, v), det = 2 * (uu * vv - uv * uv);
    for (int i = 0; i < 3; ++i) centre[i] = start[i] + (vv * (uu - uv) * u[i] + uu * (vv - uv) * v[i]) / det;
    for (int i = 0; i < 3; ++i) normal[i] = u[(i + 1) % 3] * v[(i + 2) % 3] - u[(i + 2) % 3] * v[(i + 1) % 3];
    const double radius = std::hypot(centre[0] - start[0], centre[1] - start[1], centre[2] - start[2]);
    const double normalLength = std::sqrt(dot(normal, normal));
    const std::string svg = testing::TempDir() + "move.svg";
    for (const std::string path : {"lin", "circ --via 759.5 3.7 620"})
        for (const std::string elbow : {"hold", "blend 30", "auto"}) {
            const std::string args = "move " + path + " --csv --from" + kQ + kTo + " --elbow " + elbow;
            const Result run = tool(args + " --svg '" + svg + "'");
            ASSERT_EQ(run.status, 0) << args << run.err;
            const auto rows = table(run.out, "Motion", 0, 15);
            ASSERT_GT(rows.size(), 500u) << args;
            double along = 0.0;
            for (size_t k = 0; k < rows.size(); ++k) {
                double d[3];
                for (int i = 0; i < 3; ++i) d[i] = rows[k][8 + i] - start[i];
                if (path == "lin") {  // on the segment, never going back
                    const double t = dot(d, u) / uu;
                    EXPECT_LT(std::hypot(d[0] - t * u[0], d[1] - t * u[1], d[2] - t * u[2]), 1e-6) << args << " row " << k;
                    EXPECT_GE(t, along - 1e-12) << args << " row " << k;
                    along = t;
                } else {  // on the circle through start, via and target
                    const double r = std::hypot(rows[k][8] - centre[0], rows[k][9] - centre[1], rows[k][10] - centre[2]);
                    EXPECT_NEAR(r, radius, 1e-6) << args << " row " << k;
                    EXPECT_NEAR(dot(d, normal) / normalLength, 0.0, 1e-6) << args << " row " << k;
                }
                for (int i = 0; k > 0 && i < 7; ++i)
                    EXPECT_LE(std::fabs(rows[k][1 + i] - rows[k - 1][1 + i]) / (rows[k][0] - rows[k - 1][0]), vmax[i]) << args;
            }
            // The last row's joints give its pose through the robot.ini chain, and that is the target.
            std::ostringstream q;
            q.precision(17);
            for (int i = 1; i <= 7; ++i) q << ' ' << rows.back()[i];
            const auto end = table(tool("chain-fk --csv" + q.str()).out, "Chain flange pose as XYZABC", 0, 6).at(0);
            tk::expectNear(end.data(), &rows.back()[8], 6, 1e-7, args.c_str());
            tk::expectNear(target, &rows.back()[8], 6, 1e-9, args.c_str());
            for (const auto& row : rows) EXPECT_TRUE(elbow != "hold" || row[14] == rows[0][14]) << args;
            EXPECT_TRUE(elbow != "blend 30" || std::fabs(rows.back()[14] - 30.0) < 1e-9) << args;
            const std::string drawing = fileText(svg);
            EXPECT_EQ(std::count(drawing.begin(), drawing.end(), '<') - std::count(drawing.begin(), drawing.end(), '>'), 0);
            EXPECT_NE(drawing.find("arm angle [deg]"), std::string::npos);
        }
    // The browser view plays what move writes.
    const std::string csv = tk::tempFile("move.csv", tool("move lin --csv --from" + kQ + kTo).out);
    EXPECT_EQ(TOLVEX_VIEW_BUILT ? tool("view --motion '" + csv + "' -o moved.html").status : 0, 0);
}

TEST(Tool, ViewWritesThePageOrSaysWhatIsMissing)
{
    if (!TOLVEX_VIEW_BUILT) {
        const Result run = tool("view -o page.html");
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.err.rfind("tolvex-kine: view: the page was not built: ", 0), 0u) << run.err;
        return;
    }
    const std::string model = tk::tempFile("odd<name\".txt", fileText(TOLVEX_EXAMPLES_DIR "/model-1017.txt"));
    const std::string motion = tk::tempFile("motion.csv", "0,1,2,3\n");
    const std::string ini = tk::tempFile("broken.ini", "[R.A0.BASIC]\nDof=7\n");
#ifdef TOLVEX_HAVE_URDF
    const std::string urdf = tk::tempFile("view.urdf", ""), missingUrdf = "";
    ASSERT_EQ(tool("urdf -o '" + urdf + "'").status, 0);
#else
    const std::string urdf = "", missingUrdf = "tolvex-kine: urdf 'missing.urdf': this tool was built without URDF "
                                               "support (Debian package liburdfdom-dev)\n";
#endif
    const struct {
        std::string args;
        int status;
        std::string err;
    } cases[] = {
        {"view -o page.html", 0, ""},
        {"view --robot '" + ini + "'", 2, "tolvex-kine: robot.ini '" + ini + "': [R.A0.BASIC] lacks \"GravityX\"\n"},
        {"view --urdf missing.urdf", 2, missingUrdf},
        {"view --tip tool0", 2, "tolvex-kine: --base and --tip go with --urdf\n"},
        {"view --model a.txt --urdf b.urdf", 2, "tolvex-kine: view: give one of --model, --robot, --urdf (see 'tolvex-kine view --help')\n"},
        {"view --model missing.txt", 1, "tolvex-kine: model file 'missing.txt': No such file or directory\n"},
        {"view --motion '" + motion + "'", 1, "tolvex-kine: motion file '" + motion +
            "': line 1: 4 fields, 15 expected: t, q1..q7, x, y, z, A, B, C, arm angle\n"},
        {"view --model '" + model + "' -o odd.html", 0, ""},
    };
    for (const auto& c : cases) {
        const Result run = tool(c.args);
        EXPECT_EQ(run.status, c.status) << c.args << "\n" << run.err;
        EXPECT_EQ(run.err, c.err.empty() && c.status == 2 ? run.err : c.err) << c.args;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), c.status ? 1 : 0) << c.args;
    }
    // A robot goes in as the robot object's robot.ini, a model file as its own bytes, both base64;
    // names are JSON that cannot end the script element.
    const std::string page = fileText(testing::TempDir() + "page.html");
    EXPECT_NE(page.find("{\"robot\": {\"description\": \"robot\", \"name\": \"\\\"TolvexArm7-Dual\\\" from "
                        "examples/robot.ini (bundled)\", \"base64\": \"W1IuQkFTSUNdCk5hbWU9VG9sdmV4QXJtNy1EdWFs"), std::string::npos);
    EXPECT_NE(page.find("\"motion\": null}"), std::string::npos);
    EXPECT_EQ(page.find("@TOLVEX_VIEW_DATA@"), std::string::npos);
    const std::string odd = fileText(testing::TempDir() + "odd.html");
    EXPECT_NE(odd.find("{\"robot\": {\"description\": \"model\", \"name\": \""), std::string::npos);
    EXPECT_NE(odd.find("odd\\u003cname\\\".txt\", \"base64\": \"MTAxNwowICAgICAwICAgIDM0MCAgMCAgICAgIC0x"), std::string::npos);
    // A URDF arm goes in as the robot.ini of the robot imported from it.
    if (!urdf.empty()) {
        ASSERT_EQ(tool("view --urdf '" + urdf + "' -o urdf.html").status, 0);
        EXPECT_NE(fileText(testing::TempDir() + "urdf.html").find("{\"robot\": {\"description\": \"robot\", \"name\": "
                                                                  "\"\\\"TolvexArm7-Dual\\\" from " + urdf + "\", \"base64\": \"W1Iu"),
                  std::string::npos);
    }
}

#ifdef TOLVEX_HAVE_URDF
TEST(Tool, ImportsTheUrdfItExportsAndRefusesBadOnes)
{
    const std::string urdf = tk::tempFile("arm.urdf", ""), dir = testing::TempDir() + "imported";
    ASSERT_EQ(tool("urdf -o '" + urdf + "'").status, 0);
    const Result in = tool("import '" + urdf + "' -o '" + dir + "' --csv");
    ASSERT_EQ(in.status, 0) << in.err;
    EXPECT_NE(in.out.find("Analytic-IK form: yes, wrist Z-Y-Z (type 1007), d1 340.000, d3 400.000, a 20.000"), std::string::npos);
    for (const auto& row : table(in.out, "Validation", 1, 2))
        for (double v : row) EXPECT_LT(v, 1e-9);
    // The written files are the same arm through both controller routes and the robot object.
    const auto fk = [](const std::string& args, const char* title) { return table(tool("fk --csv " + args + kQ).out, title, 0, 6).at(0); };
    const auto want_pose = fk("--model '" TOLVEX_EXAMPLES_DIR "/model-1007.txt'", "Tool pose as XYZABC");
    tk::expectNear(want_pose.data(), fk("--model '" + dir + "/model.txt'", "Tool pose as XYZABC").data(), 6, 1e-9);
    tk::expectNear(want_pose.data(), fk("--urdf '" + urdf + "'", "Flange pose as XYZABC").data(), 6, 1e-9);
    const auto dyn = [](const std::string& args) { return table(tool("dyn --csv --q" + kQ + " --qd" + kQ + args).out, "Joint torques", 4, 5); };
    const auto want = dyn(""), fromIni = dyn(" --robot '" + dir + "/robot.ini'"), fromUrdf = dyn(" --urdf '" + urdf + "'");
    for (int i = 0; i < 7; ++i) {
        tk::expectNear(want[i].data(), fromIni[i].data(), 5, 1e-9, "robot.ini");
        tk::expectNear(want[i].data(), fromUrdf[i].data(), 5, 1e-9, "urdf");
    }
    // An offset wrist: dynamics yes, the numeric model no, with the reason.
    const std::string offset = tk::tempFile("offset.urdf", "");
    ASSERT_EQ(tool("urdf --robot '" + offsetWristIni() + "' -o '" + offset + "'").status, 0);
    EXPECT_EQ(tool("dyn --urdf '" + offset + "' --q" + kQ).status, 0);
    EXPECT_EQ(tool("limits --urdf '" + offset + "'" + kQ).err,
              "tolvex-kine: urdf '" + offset + "': no numeric model, the arm has not the analytic-IK form: joints 5-7 do not "
              "meet in a point: axis 7 passes 88.0 mm from the wrist centre\n");
    const std::string prismatic = tk::tempFile("prismatic.urdf", "<robot name='p'><link name='a'/><link name='b'/>"
        "<joint name='slide' type='prismatic'><parent link='a'/><child link='b'/><limit lower='0' upper='1' effort='1' velocity='1'/></joint></robot>");
    for (const std::string& bad : {prismatic, tk::tempFile("not.urdf", "not xml at all")}) {
        const Result r = tool("import '" + bad + "' -o '" + dir + "-bad'");
        EXPECT_EQ(r.status, 2);
        EXPECT_EQ(r.err.rfind("tolvex-kine: urdf '" + bad + "': ", 0), 0u) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
    }
    EXPECT_NE(tool("import '" + prismatic + "'").err.find("slide"), std::string::npos);
    EXPECT_FALSE(std::ifstream(dir + "-bad/robot.ini").good());
}
#endif
