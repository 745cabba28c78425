// The host entry points: the model file reader and its number format, the two
// initialisation routes, the gate, and the calls checked against the modules they wrap.
#include <cstring>
#include <sstream>
#include <vector>
#include "interface/Globals.h"
#include "interface/ModelFile.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotNSP.h"
#include "tests/TestArm.h"

using namespace tk;

namespace {

const std::string kModel1017 = TOLVEX_EXAMPLES_DIR "/model-1017.txt", kModel1007 = TOLVEX_EXAMPLES_DIR "/model-1007.txt";
const char* kBlock = "1017\n0 0 340 0 -170 170 98 490\n-90 0 0 0 -120 120 98 490\n90 0 400 0 -170 170 100 500\n"
                     "90 20 0 0 -170 170 130 650\n-90 -20 400 0 -170 170 180 900\n90 0 0 0 -110 110 180 900\n"
                     "-90 0 0 0 -170 170 180 900\n0 0 126 0\n-0.01 0.05 240\n-0.01 -0.05 240\n0.01 0.05 -240\n0.01 -0.05 -240\n";
const double kJoints[7] = {12, -35, 20, -80, 15, 40, -25};

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) text.replace(at, from.size(), to);
    return text;
}
FILE* openText(const std::string& text) { return std::fopen(tempFile("model.txt", text).c_str(), "rb"); }
// Reads one block; the type code and geometry (8 x 4) when it loads.
bool loads(const std::string& bytes, long* type = nullptr, double* geometry = nullptr)
{
    FILE* file = openText(bytes);
    long code = 0;
    double g[8][4], limits[7][4], extra[4][3];
    const bool ok = FX_Load_Pilot_Cfg(file, &code, g, limits, extra);
    std::fclose(file);
    if (type) *type = code;
    if (geometry) std::copy(&g[0][0], &g[0][0] + 32, geometry);
    return ok;
}
std::vector<double> parse(const char* text)
{
    double values[600];
    long count = -1;
    std::string copy(text);
    return OnGetValue(&copy[0], values, count) ? std::vector<double>(values, values + count) : std::vector<double>{-99};
}
// The state the library has when it is loaded.
void unload()
{
    m_Init_tag = 0;
    pilot = Pilot{};
    lmt = PilotLmt{};
    nbase = NSPBase{};
    rob = FX_Pilot{};
    ik = IK_Poilt7{};
}

}  // namespace

TEST(Interface, ModelFileFormat)
{
    const std::string exact(1000, '7');
    FILE* file = openText("\r\n\nfirst\r\nsecond\rthird\n\n" + exact + "\n" + exact + "7\n12\xff" "34\nlast");
    char line[kModelLineCapacity];
    for (const std::string& want : {std::string("first"), std::string("second"), std::string("third"), exact}) {
        ASSERT_TRUE(OnGetLine(file, line));
        EXPECT_EQ(line, want);
    }
    EXPECT_FALSE(OnGetLine(file, line) || OnGetLine(file, line));  // 1001 characters; byte 0xFF ends the file
    std::fclose(file);
    using V = std::vector<double>;
    const std::pair<const char*, V> numbers[] = {
        {"", V{}}, {"1,2;3\t4 +5", V{1, 2, 3, 4, 5}}, {"-. 5", V{-0.5}},  // sign and point carry over
        {"3-4", V{-34}}, {"- 5 6", V{-5, 6}}, {"-1 -2", V{-1, -2}},      // the minus marks the whole number
        {"1e5", V{1, 5}}, {"7 8\n9", V{7, 8}}, {"--5", V{-99}}, {"1.2.3", V{-99}}, {"12.5", V{12.5}}};
    for (const auto& n : numbers) EXPECT_EQ(parse(n.first), n.second) << n.first;
    long type = 0;
    double lf[32], other[32];
    ASSERT_TRUE(loads(kBlock, &type, lf));
    EXPECT_EQ(type * 1e6 + lf[2] * 1000 + lf[13] * 10 + lf[30], 1017340326);
    for (const char* ending : {"\r\n", "\r", "\n\n\r\n", ","}) {
        ASSERT_TRUE(loads(replaced(kBlock, ending[0] == ',' ? " " : "\n", ending), &type, other)) << ending;
        tk::expectNear(lf, other, 32, 0, "line ending");
    }
    const std::string block(kBlock);
    std::string many;
    for (int i = 0; i < 101; ++i) many += "1 ";
    for (const std::string& bad : {block.substr(0, block.size() - 1), replaced(block, "120 98 490", "120 98"),
                                   replaced(block, "126 0\n", "126 0\n   \n"), replaced(block, "126 0", "126 0 0"),
                                   replaced(block, "0 0 126 0", many), replaced(block, "400 0 -170", "4\xff" "00 0 -170")})
        EXPECT_FALSE(loads(bad));
    Pilot p{};
    PilotLmt l{};
    for (const char* code : {"1017", "1007"}) {
        file = openText(replaced(kBlock, "1017\n", std::string(code) + "\n"));
        ASSERT_TRUE(OnInitPilotPilotLmt(file, &p, &l));
        std::fclose(file);
        EXPECT_EQ(p.variant * 10 + l.Coupled + l.JointMin[5] * 1000 + l.JointMax[1], (code[2] == '1' ? 11 : 0) - 109880);
        EXPECT_DOUBLE_EQ(p.tool_pose[2][3], 340 + 400 + 400 + 126);
    }
    EXPECT_EQ(l.Curve[3][2], -240);  // kept from the coupled load
}

TEST(Interface, ModelRouteGateAndWrappedCalls)
{
    unload();
    double pose[4][4] = {{7}}, jac[6][7] = {{7}}, out[7] = {7}, dir[3] = {0, 0, 1}, joints[7], back[4][4], direct[4][4], jd[6][7];
    std::copy(kJoints, kJoints + 7, joints);
    unsigned char f1 = 9, f2 = 9, f3 = 9;
    EXPECT_EQ(OnKine(kJoints, pose) + OnJacob(kJoints, jac) + OnInvKine(pose, kJoints, out, &f1, &f2, &f3) +
                  OnInvKineDir(pose, kJoints, dir, out, &f1, &f2, &f3) + OnInitKine_TOLVEXKINE(0, "/nonexistent/model.txt"), 0);
    EXPECT_EQ(pose[0][0] + jac[0][0] + out[0] + f1 + m_Init_tag, 30);  // nothing written before a model loads
    std::stringstream a, b;
    a << std::ifstream(kModel1017).rdbuf();
    b << std::ifstream(kModel1007).rdbuf();
    const std::string two = tempFile("two.txt", a.str() + "\n" + b.str()), loaded = "[Tolvex Kine]\nserial=0, tolvex config loaded\n";
    struct Case {
        long serial;
        std::string path, tail;
        int ok, variant;
    } cases[] = {{0, kModel1007, loaded, 1, 0}, {1, two, replaced(loaded, "=0", "=1"), 1, 0},  // serial 1: the second block
                 {1, kModel1017, "", 0, 1}, {2, kModel1017, "", 0, 1}};
    for (const Case& c : cases) {
        unload();
        int ok = -1;
        const std::string text = printed([&] { ok = OnInitKine_TOLVEXKINE(c.serial, c.path.c_str()); });
        EXPECT_EQ(ok * 100 + m_Init_tag * 10 + pilot.variant, c.ok * 110 + c.variant) << c.serial << c.path;
        EXPECT_EQ(text.substr(text.size() - c.tail.size()), c.tail);
    }
    printed([] { OnInitKine_TOLVEXKINE(0, kModel1017.c_str()); });
    double zero[7] = {};
    FX_Kine_Pilot(&pilot, zero, direct);  // OnJacob refreshes the frames itself
    ASSERT_EQ(OnJacob(kJoints, jac), 1);
    FX_Kine_Pilot(&pilot, joints, direct);
    FX_Jacb_Pilot(&pilot, jd);
    tk::expectNear(&jd[0][0], &jac[0][0], 42, 0, "OnJacob");
    ASSERT_EQ(OnKine(joints, pose), 1);
    tk::expectNear(&direct[0][0], &pose[0][0], 12, 0, "OnKine");
    pilot.tool[3][2] = 5;  // a tool with a bad last row: the pose keeps 0 0 0 1
    ASSERT_EQ(OnKine(joints, back), 1);
    EXPECT_EQ(back[3][0] + back[3][1] + back[3][2] * 10 + back[3][3] * 100, 100);
    pilot.tool[3][2] = 0;
    ASSERT_EQ(OnInvKine(pose, kJoints, out, &f1, &f2, &f3), 1);
    tk::expectNear(kJoints, out, 7, 1e-7, "OnInvKine");
    for (int pass = 0; pass < 2; ++pass) {
        ASSERT_EQ(pass ? OnInvKine_NSP(30, kJoints, out, &f1, &f2, &f3) : OnInvKineDir(pose, kJoints, dir, out, &f1, &f2, &f3), 1);
        ASSERT_EQ(OnKine(out, back), 1);
        tk::expectNear(&pose[0][0], &back[0][0], 12, 1e-7, pass ? "NSP" : "Dir");
    }
    const std::string text = printed([&] { EXPECT_EQ(OnInvKine_NSP_test(pose, kJoints, out, &f1, &f2, &f3, 0.0), 1); });
    EXPECT_EQ(text.rfind("[Tolvex Kinematic]\nnsp_angle = 0.000000\nref_joints = [12.000000 -35.000000 20.000000 -80.000000 "
                                   "15.000000 40.000000 -25.000000]\nreturn_joints=[12.0000", 0), 0u);
    double range[7] = {0, 130, 0, 0, 0, 100, 160}, bound[2];
    bool outside[7] = {};
    OnInvKineRange(range, bound, outside);
    EXPECT_EQ(outside[0] * 1000 + outside[1] * 100 + outside[5] * 10 + outside[6] + OnInvKineRange_Cross67(range + 5, bound), 111);
}
