// The INI document (parsing quirks, typed getters, write-through, save) and the
// robot.ini loader (fields, exact messages, section order, hostile files).
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <sstream>
#include "config/CUT.h"
#include "tests/TestArm.h"

using tk::tempFile;

// The library defines the loader's document with its other global records.
IniParser init_parser_;

namespace {

// "[name]key=value;..." for every section and key, in list order.
std::string dump(IniParser& doc)
{
    std::vector<std::string> names{"stale"}, keys;
    doc.OnGetSectionList(names);
    std::string out;
    for (const std::string& name : names) {
        out += "[" + name + "]";
        keys.clear();
        doc.Sections.at(name).OnGetKeyList(keys);
        for (const std::string& key : keys) out += key + "=" + doc.Sections.at(name).OnGetValue(key) + ";";
    }
    return out;
}
std::string load(IniParser& doc, const std::string& text)
{
    EXPECT_TRUE(doc.OnLoad(tempFile("doc.ini", text).c_str()));
    return dump(doc);
}

struct Loaded {
    bool ok;
    std::string output;
};
Loaded loadRobot(const std::string& text, CfgConfig* cfg, bool is_path = false)
{
    const std::string path = is_path ? text : tempFile("robot.ini", text);
    bool ok = false;
    const std::string out = tk::printed([&] { ok = CUT::LoadRobotIni(const_cast<char*>(path.c_str()), cfg); });
    return {ok, out};
}
const char* const kLinkKeys[] = {"Type", "WorkMode", "EncType", "EncRes", "EncOffset", "EncDir", "ExtEncRes",
                                 "Ratio1", "Ratio2", "LimitPos", "LimitNeg", "SensorK", "SensorOffset",
                                 "SensorDir", "CurrentDir", "VelMax", "AccMax", "TorqueMax"};
// A link BASIC section whose n-th key has the value n + 1, up to the key named stop.
std::string linkBasic(const std::string& name, const std::string& stop = "")
{
    std::string text = "[" + name + "]\n";
    for (int n = 0; n < 18 && kLinkKeys[n] != stop; ++n) text += std::string(kLinkKeys[n]) + "=" + std::to_string(n + 1) + "\n";
    return text;
}
}  // namespace

TEST(Config, ParsingQuirks)
{
    const char* cases[][2] = {
        {"[A]\nk=1\n[B]\nj=0\n[A]\nk=2\nm=3\n", "[A]k=1;[B]j=0;"},  // first section and key win
        {"[A]\r\nk=1\r\nm=2\r\n", "[A]k=1;m=2;"},
        {"[A]\nk=v", "[A]k=v;"},
        {"[A]\nj=1\nk=", "[A]j=1;"},
        {"[A]\nk=\n", "[A]k=;"},
        {"[A]\n=v\n", "[A]=v;"},
        {"x=1\n[A] tail\n\n  \tDof = 7\n;note\nk=a=b[c]\n", "[A];note\nk=a=b[c];tail\n\n  \tDof = 7;"},
        {"[A]\njunk\n[B]\nk=v\n", "[A][B]junk\nk=v;"},  // pending key text runs on
        {"[A\nB]\nk=v\n[]\nj=w\n", "[]j=w;[A\nB]k=v;"},
        {"[A]\nk=v\n[B\nm=w\n", "[A]k=v;"},
        {"A]\nk=v\n", ""},
        {"[b]\n[a]\n[B]\n", "[B][a][b]"},  // byte order
    };
    IniParser doc;
    for (const auto& c : cases) EXPECT_EQ(load(doc, c[0]), c[1]) << c[0];
    EXPECT_FALSE(doc.OnLoad(tempFile("missing/none.ini", "").c_str()) || doc.OnLoad(nullptr));
}

TEST(Config, TypedGetters)
{
    IniParser doc;
    load(doc, "[A]\ni=12abc\nbig=4294967297\nneg= -3\nhex=0x10\nd=1e3\nt=text here\n");
    int v[5] = {9, 9, 9, 9, 9}, want[5] = {12, 1, -3, 0, 0};  // 32 bits, base 10; a missing key is reported only with bind
    EXPECT_TRUE(doc.OnGetValue("A", "i", v, 0) && doc.OnGetValue("A", "big", v + 1, 0) && doc.OnGetValue("A", "neg", v + 2, 0) &&
                doc.OnGetValue("A", "hex", v + 3, 0) && doc.OnGetValue("A", "none", v + 4, 0));
    EXPECT_TRUE(std::equal(v, v + 5, want));
    int i = 99;
    double d = 7.0;
    std::string s = "keep";
    char text[32], small[5] = "xxxx";  // an absent section leaves the destination alone
    EXPECT_FALSE(doc.OnGetValue("X", "i", &i, 1) || doc.OnGetValue("X", "d", &d, 0) || doc.OnGetValue("X", "t", s) ||
                 doc.OnGetValue("X", "t", text, 1) || doc.OnGetValue("A", "none", &i, 1) || doc.OnGetValue("A", "none", text, 1));
    EXPECT_TRUE(doc.OnGetValue("A", "t", &d, 0) && doc.OnGetValue("A", "t", s) && doc.OnGetValue("A", "t", small, 5, 0) &&
                doc.OnGetValue("A", "t", small, 0, 0));  // capacity 0 stores nothing
    EXPECT_EQ(s + text + small + std::to_string(i + d), "text heretext0.000000");
}

TEST(Config, SettersWriteThroughAndSave)
{
    IniParser doc;
    load(doc, "[A]\ni=12abc\nneg= -3\nd=1e3\nt=text here\n");
    int i = 0;
    double d = 0;
    char t[16], bounded[12];
    std::memset(bounded, '#', sizeof bounded);
    ASSERT_TRUE(doc.OnGetValue("A", "i", &i, 1) && doc.OnGetValue("A", "d", &d, 1));
    ASSERT_TRUE(doc.OnGetValue("A", "t", t, 1) && doc.OnGetValue("A", "neg", bounded, 8, 1));
    EXPECT_STREQ(bounded, " -3");
    EXPECT_TRUE(doc.OnSetValue("A", "i", -42) && doc.OnSetValue("A", "d", 1234567.0) && doc.OnSetValue("A", "t", "new text"));
    EXPECT_EQ(i * 1e7 + d, -418765433);  // the variable gets the double, the text six digits
    EXPECT_STREQ(t, "new text");
    EXPECT_TRUE(doc.OnSetValue("A", "t", std::string("by value")));  // text only
    EXPECT_TRUE(doc.OnSetValue("A", "neg", "abcdefghijklmnop"));  // a bounded binding keeps its bound
    EXPECT_EQ(std::string(t) + bounded + bounded[8], "new textabcdefg#");
    EXPECT_EQ(dump(doc), "[A]d=1.23457e+06;i=-42;neg=abcdefghijklmnop;t=by value;");
    EXPECT_TRUE(doc.OnLoad(tempFile("b.ini", "[A]\ni=1\n").c_str()) && doc.OnSetValue("A", "i", 8));
    EXPECT_EQ(i, -42);  // a new load drops the bindings
    EXPECT_TRUE(doc.OnSetValue("A", "i", 1e-5));
    EXPECT_FALSE(doc.OnSetValue("X", "i", 5) || doc.OnSetValue("X", "i", 5.0) || doc.OnSetValue("X", "i", "x"));
    EXPECT_TRUE(doc.OnSetValue("A", "new", 5) && doc.OnSetValue("A", "new", "x"));
    EXPECT_EQ(dump(doc), "[A]i=1e-05;");  // absent keys are not created

    load(doc, "[b]\nz=1\ny = 2\n[a]\nk=v\nk=w\njunk\n[b]\nq=0\n");
    const std::string path = tempFile("saved.ini", "");
    std::stringstream saved;
    ASSERT_TRUE(doc.OnSave(path.c_str()));
    saved << std::ifstream(path).rdbuf();
    EXPECT_EQ(saved.str(), "[a]\nk=v\n[b]\ny = 2\nz=1\n");
    EXPECT_FALSE(doc.OnSave(testing::TempDir().c_str()) || doc.OnSave(nullptr));  // a directory, no path
    // Positions are 32-bit: a 2 GiB file (sparse, so cheap) is refused rather than scanned.
    const std::string sparse = tempFile("sparse.ini", "[");
    ASSERT_EQ(truncate(sparse.c_str(), 2147483648L), 0);
    EXPECT_FALSE(doc.OnLoad(sparse.c_str()));
    std::remove(sparse.c_str());
}

TEST(Config, RobotIniSectionsAndMessages)
{
    const std::string fail = "Failed to load robot.ini in ";
    struct Case {
        std::string text, output;
    } cases[] = {
        {"[R.A2.L0.BASIC]\nx=1\n[r.basic]\n[R.A0.L7.DH]\n[R.A0.L0.DH ]\n[R.A0.CTRL]\n[R.A1.L6.MOTOR]\n"
         "[R.A0.L0.DYNAMIC]\n[R.A0.L0.FRICTION]\n[R.A0.L0.REDUCER]\n[R.BASIC\nName=x\n", ""},
        {"[R.BASIC]\nBusFreq=500\n", "[R.Basic]"},
        {"[R.A0.BASIC]\nDof=7\nGravityX=1\nGravityY=2\nGravityZ=3\n", "[R.A0.BASIC]"},
        {"[R.A1.BASIC]\nDof=6\nGravityX=1\nGravityZ=3\n", "[R.A1.BASIC]"},
        {linkBasic("R.A1.L6.BASIC", "SensorDir"), "[R.A1.L6.BASIC]"},
        {"[R.A0.L3.DH]\nA=1\nD=2\nAlpha=3\n", "[R.A0.L3.DH]"},
        {"[R.A0.FLANGE]\nA=1\nAlpha=3\nTheta=4\n", "[R.A0.FLANGE]"},
        // "R.A..." sorts before "R.BASIC": the arm fault is reported, [R.BASIC] never read.
        {"[R.BASIC]\nName=Arm\n[R.A1.FLANGE]\nA=1\n[R.A0.L0.DH]\nA=1\n[R.A0.BASIC]\nDof=7\n", "[R.A0.BASIC]"},
        {"[R.BASIC]\nName=Arm\n[R.A1.FLANGE]\nA=1\n", "[R.A1.FLANGE]"},
    };
    for (const Case& c : cases) {
        CfgConfig cfg;
        std::memset(&cfg, 0x5A, sizeof cfg);
        const Loaded r = loadRobot(c.text, &cfg);
        EXPECT_EQ(r.ok, c.output.empty()) << c.text;
        EXPECT_EQ(r.output, c.output.empty() ? "Load robot.ini success\n" : fail + c.output + "\n");
        EXPECT_EQ(cfg.Loaded, r.ok ? 1 : 0);
        const auto* bytes = reinterpret_cast<unsigned char*>(&cfg);  // a success here writes nothing but Loaded
        EXPECT_TRUE(!r.ok || std::count(bytes + 4, bytes + sizeof cfg, 0x5A) == long(sizeof cfg) - 4) << c.text;
    }
    CfgConfig p;
    std::memset(&p, 0x5A, sizeof p);
    ASSERT_TRUE(loadRobot(linkBasic("R.A1.L6.BASIC") + "[R.A0.L3.DH]\nTheta=4\nAlpha=3\nD=2\nA=1\n" +
                          "[R.A1.BASIC]\nDof=6\nGravityX=1\nGravityY=2\nGravityZ=-9.8\n[R.A1.FLANGE]\nA=1\nD=80\nAlpha=3\nTheta=4\n",
                          &p).ok);
    const CfgLink& l = p.Arm[1].Link[6];
    const CfgLink& dh = p.Arm[0].Link[3];
    const CfgArm& a1 = p.Arm[1];
    const double want[] = {1, 7, 8, 12, 13, 15, 18, 1, 2, 3, 4, 6, 1, 2, -9.8, 1, 80, 3, 4};  // key n holds n + 1
    const double got[] = {double(l.Type), double(l.ExtEncRes), l.Ratio1, l.SensorK, double(l.SensorOffset), double(l.CurrentDir),
                          l.TorqueMax, dh.A, dh.D, dh.Alpha, dh.Theta, double(a1.Dof), a1.GravityX, a1.GravityY,
                          a1.GravityZ, a1.Flange.A, a1.Flange.D, a1.Flange.Alpha, a1.Flange.Theta};
    tk::expectNear(want, got, 19, 0, "fields");
    CfgConfig cfg{};
    cfg.Loaded = 1;
    const Loaded missing = loadRobot(testing::TempDir() + "absent.ini", &cfg, true);
    EXPECT_EQ(missing.output + std::to_string(missing.ok + cfg.Loaded), "Failed to load file " + testing::TempDir() + "absent.ini\n0");
}
