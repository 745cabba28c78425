// End-to-end checks of the tolvex-kine command-line tool: exit codes, error
// lines, units, and results checked against independent computations (finite
// differences, FK of IK results, the dynamics identities).
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

struct ToolRun {
    int status;
    std::string out;
    std::string err;
};

std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class ToolTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        char pattern[] = "/tmp/tolvex-tool-test.XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }

    static void TearDownTestSuite() { std::filesystem::remove_all(dir_); }

    // Runs the tool from the temporary directory, away from the examples.
    static ToolRun tool(const std::string& args)
    {
        std::string errPath = dir_ + "/stderr.txt";
        std::string command = "cd '" + dir_ + "' && '" TOLVEX_TOOL "' " + args + " 2>'" + errPath + "'";
        FILE* pipe = popen(command.c_str(), "r");
        std::string out;
        char chunk[4096];
        size_t got = 0;
        while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0)
            out.append(chunk, got);
        int status = pclose(pipe);
        return ToolRun{WIFEXITED(status) ? WEXITSTATUS(status) : -1, out, readFile(errPath)};
    }

    static std::string write(const std::string& name, const std::string& text)
    {
        std::string path = dir_ + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    static std::string dir_;
};

std::string ToolTest::dir_;

std::vector<std::string> split(const std::string& line, char separator)
{
    std::vector<std::string> fields(1);
    for (char c : line) {
        if (c == separator)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

// Data rows of the CSV table whose "# " title line starts with `title`.
std::vector<std::vector<std::string>> csvTable(const std::string& output, const std::string& title)
{
    std::vector<std::vector<std::string>> rows;
    std::stringstream in(output);
    std::string line;
    bool inside = false, header = false;
    while (std::getline(in, line)) {
        if (line.rfind("# " + title, 0) == 0) {
            inside = header = true;
            continue;
        }
        if (!inside)
            continue;
        if (line.empty() || line[0] == '#')
            break;
        if (header)
            header = false;
        else
            rows.push_back(split(line, ','));
    }
    return rows;
}

std::vector<double> numbersOf(const std::vector<std::string>& row, size_t first, size_t count)
{
    std::vector<double> values;
    for (size_t i = first; i < first + count; ++i)
        values.push_back(std::stod(row.at(i)));
    return values;
}

std::string joined(const std::vector<double>& values)
{
    std::ostringstream text;
    text.precision(17);
    for (double v : values)
        text << ' ' << v;
    return text.str();
}

bool oneLine(const std::string& text)
{
    return !text.empty() && text.find('\n') == text.size() - 1;
}

// The tool pose of fk as x, y, z (mm), A, B, C (degrees).
std::vector<double> fkPose(const ToolRun& run)
{
    return numbersOf(csvTable(run.out, "Tool pose as XYZABC").at(0), 0, 6);
}

TEST_F(ToolTest, HelpListsEveryCommandAndExitsZero)
{
    ToolRun help = tool("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.err.empty());
    for (const char* command : {"fk", "jacobian", "limits", "ik", "nsp", "ini", "chain-fk", "dyn", "ik7",
                                "span", "profile", "demo"})
        EXPECT_NE(help.out.find(std::string("e.g. tolvex-kine ") + command), std::string::npos) << command;

    // Every example the help gives runs cleanly.
    std::stringstream lines(help.out);
    std::string line;
    int examples = 0;
    while (std::getline(lines, line)) {
        size_t at = line.find("e.g. tolvex-kine ");
        if (at == std::string::npos)
            continue;
        ToolRun example = tool(line.substr(at + 17));
        EXPECT_EQ(example.status, 0) << line << "\n" << example.err;
        ++examples;
    }
    EXPECT_EQ(examples, 14);

    ToolRun fkHelp = tool("fk --help");
    EXPECT_EQ(fkHelp.status, 0);
    EXPECT_EQ(fkHelp.out.rfind("usage: tolvex-kine fk [--model FILE] q1 ... q7", 0), 0u);
}

TEST_F(ToolTest, UsageErrorsExitTwoWithOneLine)
{
    const char* const cases[][2] = {
        {"", "tolvex-kine: no command given (see 'tolvex-kine --help')\n"},
        {"frob", "tolvex-kine: unknown command 'frob' (see 'tolvex-kine --help')\n"},
        {"fk 1 2 3 4 5 6", "tolvex-kine: fk: expected 7 values (q1 ... q7), got 6 (see 'tolvex-kine fk --help')\n"},
        {"fk 1 2 3 4 5 6 x", "tolvex-kine: fk: 'x' is not a number (see 'tolvex-kine fk --help')\n"},
        {"fk --bogus 1 2 3 4 5 6 7", "tolvex-kine: fk: unknown option --bogus (see 'tolvex-kine fk --help')\n"},
        {"ik 600 0 900 180 0 180", "tolvex-kine: ik: option --ref is required (see 'tolvex-kine ik --help')\n"},
        {"ik --ref 1 2 3", "tolvex-kine: ik: option --ref needs 7 numbers (q1 ... q7), got 3 (see 'tolvex-kine ik --help')\n"},
        {"fk --csv --json 0 0 0 0 0 0 0", "tolvex-kine: --csv and --json exclude each other\n"},
        {"profile --axes 2 --cycle 1 --vmax 1 2 3 --acc 5 --jerk 100 --target 1",
         "tolvex-kine: profile: option --vmax needs 1 or 2 numbers, got 3\n"},
    };
    for (const auto& c : cases) {
        ToolRun run = tool(c[0]);
        EXPECT_EQ(run.status, 2) << c[0];
        EXPECT_EQ(run.err, c[1]) << c[0];
        EXPECT_TRUE(run.out.empty()) << c[0];
    }
    // Limits FXNSyncDTS refuses are a usage error as well.
    ToolRun jerk = tool("profile --axes 1 --cycle 1 --vmax 10 --acc 50 --jerk 0.5 --target 1");
    EXPECT_EQ(jerk.status, 2);
    EXPECT_TRUE(oneLine(jerk.err));
}

TEST_F(ToolTest, FkOfTheZeroPoseStandsStraightUp)
{
    ToolRun run = tool("fk --csv 0 0 0 0 0 0 0");
    ASSERT_EQ(run.status, 0) << run.err;
    // d1 + d3 + d5 + d7 = 340 + 400 + 400 + 126, from the bundled model, run away from examples/.
    std::vector<double> pose = fkPose(run);
    EXPECT_EQ(pose, (std::vector<double>{0, 0, 1266, 0, 0, 0}));
    auto matrix = csvTable(run.out, "Tool pose for q");
    ASSERT_EQ(matrix.size(), 4u);
    EXPECT_EQ(numbersOf(matrix[2], 1, 4), (std::vector<double>{0, 0, 1, 1266}));
    // The coupled model prints its corner curves while loading; none of that reaches the output.
    EXPECT_EQ(run.out.find('<'), std::string::npos);
    EXPECT_TRUE(run.err.empty());
}

TEST_F(ToolTest, AnglesAreDegreesInAndOut)
{
    // Joint 1 turns the whole arm about base z: C follows it in degrees.
    std::vector<double> pose = fkPose(tool("fk --csv 30 0 0 0 0 0 0"));
    EXPECT_NEAR(pose[5], 30.0, 1e-9);
    EXPECT_NEAR(pose[2], 1266.0, 1e-9);
}

TEST_F(ToolTest, JacobianMatchesFiniteDifferencesOfFk)
{
    const std::vector<double> q = {10, 20, 30, 40, 50, 60, 70};
    ToolRun run = tool("jacobian --csv" + joined(q));
    ASSERT_EQ(run.status, 0) << run.err;
    auto rows = csvTable(run.out, "Jacobian");
    ASSERT_EQ(rows.size(), 6u);
    const double h = 1e-3;  // degrees
    for (int j = 0; j < 7; ++j) {
        std::vector<double> plus = q, minus = q;
        plus[j] += h;
        minus[j] -= h;
        std::vector<double> p = fkPose(tool("fk --csv" + joined(plus)));
        std::vector<double> m = fkPose(tool("fk --csv" + joined(minus)));
        for (int r = 0; r < 3; ++r) {
            // mm per degree -> m per radian
            double derivative = (p[r] - m[r]) / (2 * h) * 57.29577951308232 / 1000.0;
            EXPECT_NEAR(std::stod(rows[r][j + 1]), derivative, 1e-6) << "row " << r << " joint " << j;
        }
    }
}

TEST_F(ToolTest, IkOfAnFkPoseReturnsTheJoints)
{
    const std::vector<double> q = {10, -30, -20, -60, 15, -40, -25};
    std::vector<double> pose = fkPose(tool("fk --csv" + joined(q)));
    ToolRun run = tool("ik --csv --ref" + joined(q) + joined(pose));
    ASSERT_EQ(run.status, 0) << run.err;
    std::vector<double> solved = numbersOf(csvTable(run.out, "Inverse kinematics").at(0), 1, 7);
    for (int i = 0; i < 7; ++i)
        EXPECT_NEAR(solved[i], q[i], 1e-7) << "joint " << i + 1;
    auto flags = csvTable(run.out, "Status bytes");
    ASSERT_EQ(flags.size(), 3u);
    for (const auto& flag : flags)
        EXPECT_EQ(flag[1], "0");
}

TEST_F(ToolTest, UnreachableIkExitsOneAndExplainsTheStatusBytes)
{
    ToolRun run = tool("ik --ref 0 -30 0 -60 0 -40 0 2600 0 900 180 0 180");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "tolvex-kine: ik: target out of reach, or no elbow branch matches the "
                       "reference joint 4 (flag1 = 1)\n");
    EXPECT_NE(run.out.find("flag1      1  out of reach"), std::string::npos) << run.out;
    // A reference elbow that is straight (joint 4 at -atan2(20, 400)) matches no branch either.
    ToolRun straight = tool("ik --ref 0 -30 0 -2.862405226111748 0 -40 0 700 30 640 150 50 165");
    EXPECT_EQ(straight.status, 1);
}

TEST_F(ToolTest, ModelFileProblemsNameTheLine)
{
    std::string shortLine = write("short.txt", "1007\n0 0 340 0 -170 170 98 490\n-90 0 0 0 -120 120 98\n");
    ToolRun run = tool("fk --model '" + shortLine + "' 0 0 0 0 0 0 0");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "tolvex-kine: model file '" + shortLine + "': line 3 holds 7 numbers, 8 expected\n");
    EXPECT_TRUE(run.out.empty());

    std::string model = readFile(TOLVEX_EXAMPLES_DIR "/model-1007.txt");
    std::string typeCode = write("type.txt", "1012" + model.substr(model.find('\n')));
    EXPECT_EQ(tool("fk --model '" + typeCode + "' 0 0 0 0 0 0 0").err,
              "tolvex-kine: model file '" + typeCode + "': line 1: type code 1012 is neither 1007 nor 1017\n");

    std::string unterminated = write("open.txt", model.substr(0, model.size() - 1));
    EXPECT_EQ(tool("fk --model '" + unterminated + "' 0 0 0 0 0 0 0").err,
              "tolvex-kine: model file '" + unterminated + "': line 13 has no line end\n");

    ToolRun missing = tool("fk --model nowhere.txt 0 0 0 0 0 0 0");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.err, "tolvex-kine: model file 'nowhere.txt': No such file or directory\n");
}

TEST_F(ToolTest, LimitsAreInclusiveAndCoupledForJoints6And7)
{
    auto status = [](const ToolRun& run, int joint) { return csvTable(run.out, "Limits").at(joint - 1).at(4); };
    ToolRun onLimit = tool("limits --csv 170 -120 0 0 0 0 0");
    EXPECT_EQ(status(onLimit, 1), "inside");
    EXPECT_EQ(status(onLimit, 2), "inside");
    ToolRun beyond = tool("limits --csv 170.001 -120.001 0 0 0 0 0");
    EXPECT_EQ(status(beyond, 1), "OUTSIDE: above max");
    EXPECT_EQ(status(beyond, 2), "OUTSIDE: below min");
    // q7 = 150 at q6 = 100 is beyond the upper-right curve 240 + 0.05 q6 - 0.01 q6^2 = 145.
    ToolRun corner = tool("limits --csv 0 0 0 0 0 100 150");
    EXPECT_EQ(status(corner, 6), "OUTSIDE: q6/q7 beyond the corner curve");
    EXPECT_EQ(status(corner, 7), "OUTSIDE: q6/q7 beyond the corner curve");
    EXPECT_EQ(status(tool("limits --csv 0 0 0 0 0 100 140"), 7), "inside");
}

TEST_F(ToolTest, ArmAngleMovesTheElbowNotTheTool)
{
    ToolRun run = tool("nsp --csv --ref 10 -30 -20 -60 15 -40 -25 --angle 45 706.81 31.83 641.14 146.76 51.21 166.46");
    ASSERT_EQ(run.status, 0) << run.err;
    auto rows = csvTable(run.out, "Arm angle sweep");
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0][0], "0");
    EXPECT_EQ(rows[1][0], "45");
    std::vector<double> elbow0 = numbersOf(rows[0], 8, 3), elbow45 = numbersOf(rows[1], 8, 3);
    double moved = std::hypot(elbow0[0] - elbow45[0], elbow0[1] - elbow45[1], elbow0[2] - elbow45[2]);
    EXPECT_GT(moved, 50.0);
    EXPECT_LT(std::stod(rows[1][11]), 1e-6);
    EXPECT_EQ(rows[1][3 + 1], rows[0][3 + 1]);  // joint 4 keeps its angle
}

TEST_F(ToolTest, ChainRouteMatchesThe1007ModelFile)
{
    ToolRun chain = tool("chain-fk --csv 40 20 -50 -80 30 60 45");
    ASSERT_EQ(chain.status, 0) << chain.err;
    std::vector<double> metres = numbersOf(csvTable(chain.out, "Chain flange pose (metres)").at(0), 4, 1);
    std::vector<double> chainMm = numbersOf(csvTable(chain.out, "Chain flange pose as XYZABC").at(0), 0, 6);
    EXPECT_NEAR(metres[0] * 1000.0, chainMm[0], 1e-9);
    std::vector<double> pilot =
        fkPose(tool("fk --csv --model '" TOLVEX_EXAMPLES_DIR "/model-1007.txt' 40 20 -50 -80 30 60 45"));
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(chainMm[i], pilot[i], 1e-7) << i;
    EXPECT_NEAR(numbersOf(csvTable(tool("chain-fk --csv 0 0 0 0 0 0 0").out, "Chain flange pose (metres)")
                              .at(2), 4, 1)[0], 1.266, 1e-12);
}

TEST_F(ToolTest, IniPrintsTheLoaderVerdict)
{
    ToolRun run = tool("ini");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("loader: Load robot.ini success\n"), std::string::npos);
    EXPECT_NE(run.out.find("L6         0.0   126.0        -90.0          0.0   0.0000  0.1260    -1.570796"),
              std::string::npos) << run.out;

    std::string broken = write("broken.ini", "[R.A0.BASIC]\nDof=7\n");
    ToolRun bad = tool("ini --robot '" + broken + "'");
    EXPECT_EQ(bad.status, 1);
    EXPECT_NE(bad.out.find("loader: Failed to load robot.ini in [R.A0.BASIC]"), std::string::npos);
    EXPECT_EQ(bad.err, "tolvex-kine: robot file '" + broken + "': Failed to load robot.ini in [R.A0.BASIC]\n");
    EXPECT_EQ(tool("chain-fk --robot '" + broken + "' 0 0 0 0 0 0 0").status, 1);
}

TEST_F(ToolTest, DynamicsSplitsIntoGravityInertiaAndCoriolis)
{
    const double deg = 0.017453292519943295;
    const std::vector<double> qdd = {3, 5, -4, 6, 2, -1, 8};
    const double rotor[7] = {0.08, 0.08, 0.05, 0.05, 0.02, 0.02, 0.02};
    ToolRun run = tool("dyn --csv --q 10 -30 -20 -60 15 -40 -25 --qd 20 -10 30 15 -25 40 10 --qdd" + joined(qdd));
    ASSERT_EQ(run.status, 0) << run.err;
    auto torques = csvTable(run.out, "Joint torques");
    auto mass = csvTable(run.out, "Mass matrix");
    ASSERT_EQ(torques.size(), 7u);
    ASSERT_EQ(mass.size(), 7u);
    for (int i = 0; i < 7; ++i) {
        std::vector<double> t = numbersOf(torques[i], 4, 4);  // tau, gravity, M*qdd, C*qd
        // FX_InvDyn leaves the rotor inertia out; the mass matrix holds it on its diagonal.
        EXPECT_NEAR(t[0], t[1] + t[2] + t[3] - rotor[i] * qdd[i] * deg, 1e-9) << "joint " << i + 1;
        EXPECT_GT(std::stod(mass[i][i + 1]), rotor[i]) << "the regrouped links add inertia";
        for (int j = 0; j < 7; ++j)
            EXPECT_EQ(mass[i][j + 1], mass[j][i + 1]);
    }
    EXPECT_NE(run.out.find("Gravity acts along base y only"), std::string::npos);
    // Only gy acts: gx and gz change nothing.
    ToolRun sideways = tool("dyn --csv --q 10 -30 -20 -60 15 -40 -25 --g 5 -9.81 7");
    ToolRun plain = tool("dyn --csv --q 10 -30 -20 -60 15 -40 -25");
    EXPECT_EQ(csvTable(sideways.out, "Joint torques"), csvTable(plain.out, "Joint torques"));
}

TEST_F(ToolTest, LockedJointSolutionsAllReachTheTargetAndOneIsSelected)
{
    const std::string ref = " --ref 10 -30 -20 -60 15 -40 -25";
    std::vector<double> target = numbersOf(
        csvTable(tool("chain-fk --csv 10 -30 -20 -60 15 -40 -25").out, "Chain flange pose as XYZABC").at(0), 0, 6);
    ToolRun run = tool("ik7 --csv --q7 -25" + ref + joined(target));
    ASSERT_EQ(run.status, 0) << run.err;
    auto rows = csvTable(run.out, "Locked-joint solutions");
    ASSERT_EQ(rows.size(), 8u);
    int selected = 0;
    for (const auto& row : rows) {
        EXPECT_LT(std::stod(row[9]), 1e-6);
        EXPECT_EQ(std::stod(row[7]), -25.0);
        selected += row.at(10) == "<== FX_IKRef7";
    }
    EXPECT_EQ(selected, 1);
    std::vector<double> chosen = numbersOf(csvTable(run.out, "Selected by FX_IKRef7").at(0), 3, 7);
    const double q[7] = {10, -30, -20, -60, 15, -40, -25};
    for (int i = 0; i < 7; ++i)
        EXPECT_NEAR(chosen[i], q[i], 1e-7);

    ToolRun far = tool("ik7 --q7 0 3000 0 0 0 0 0");
    EXPECT_EQ(far.status, 1);
    EXPECT_EQ(far.err, "tolvex-kine: ik7: target out of reach with joint 7 held as given\n");
}

TEST_F(ToolTest, SpanWithAZeroStepSolvesBothSidesUnchanged)
{
    std::vector<double> target = numbersOf(
        csvTable(tool("chain-fk --csv 10 -30 -20 -60 15 -40 -25").out, "Chain flange pose as XYZABC").at(0), 0, 6);
    ToolRun run = tool("span --csv --step 0 --ref 10 -30 -20 -60 15 -40 -25" + joined(target));
    ASSERT_EQ(run.status, 0) << run.err;
    auto rows = csvTable(run.out, "Joint-7 span probe");
    ASSERT_EQ(rows.size(), 3u);
    for (int side = 1; side <= 2; ++side) {
        EXPECT_EQ(rows[side][9], "yes");
        for (double change : numbersOf(rows[side], 2, 7))
            EXPECT_EQ(change, 0.0);
    }
    EXPECT_EQ(tool("span --ref 0 0 0 0 0 0 0 3000 0 0 0 0 0").status, 1);
}

TEST_F(ToolTest, ProfileRunsFromRestToTheTargets)
{
    std::string svg = dir_ + "/profile.svg";
    ToolRun run = tool("profile --axes 2 --cycle 2 --vmax 100 50 --acc 500 --jerk 20000 --target 30 -20 --svg '" + svg + "'");
    ASSERT_EQ(run.status, 0) << run.err;
    std::vector<std::string> lines = split(run.out.substr(0, run.out.size() - 1), '\n');
    ASSERT_GT(lines.size(), 3u);
    EXPECT_EQ(lines[0], "t [s],raw1 [u],pos1 [u],vel1 [u/s],acc1 [u/s^2],raw2 [u],pos2 [u],vel2 [u/s],acc2 [u/s^2]");
    EXPECT_EQ(lines[1], "0,0,0,0,0,0,0,0,0");
    std::vector<double> last = numbersOf(split(lines.back(), ','), 0, 9);
    EXPECT_NEAR(last[2], 30.0, 1e-6);
    EXPECT_NEAR(last[6], -20.0, 1e-6);
    // One row per 2 ms cycle.
    EXPECT_NEAR(last[0], 0.002 * (lines.size() - 2), 1e-12);
    double peak = 0.0;
    for (size_t i = 1; i < lines.size(); ++i)
        peak = std::max(peak, std::fabs(std::stod(split(lines[i], ',')[7])));
    EXPECT_LE(peak, 50.0 + 1e-9);
    EXPECT_EQ(readFile(svg).rfind("<svg", 0), 0u);
}

TEST_F(ToolTest, DemoToursEverySectionWithoutLibraryChatter)
{
    ToolRun run = tool("demo");
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(run.err.empty());
    for (const char* section : {"== 1. Forward kinematics", "== 2. Jacobian", "== 3. Joint limits",
                                "== 4. FK -> IK round trip", "== 5. Arm-angle sweep", "== 6. robot.ini",
                                "== 7. Chain forward kinematics", "== 8. Gravity torques",
                                "== 9. Locked-joint inverse kinematics", "== 10. Motion profile"})
        EXPECT_NE(run.out.find(section), std::string::npos) << section;
    EXPECT_EQ(run.out.find("Load robot.ini success"), std::string::npos);
    EXPECT_EQ(run.out.find("FAILED"), std::string::npos);
}

}  // namespace
