// The INI document (parsing quirks, typed getters, write-through, save) and the
// robot.ini loader (fields, exact messages, section order, hostile files).
#include <cstddef>
#include <cstring>
#include <random>
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

}  // namespace

TEST(Config, ParsingQuirks)
{
    const char* cases[][2] = {
        {"[A]\nk=1\n[B]\nj=0\n[A]\nk=2\nm=3\n", "[A]k=1;[B]j=0;"},  // first section and key win
        {"[A]\nk=1\nk=2\n", "[A]k=1;"},
        {"[A]\r\nk=1\r\nm=2\r\n", "[A]k=1;m=2;"},
        {"[A]\nk=v", "[A]k=v;"},
        {"[A]\nj=1\nk=", "[A]j=1;"},
        {"[A]\nk=\n", "[A]k=;"},
        {"[A]\n=v\n", "[A]=v;"},
        {"x=1\n[A] tail\n\n  \tDof = 7\n;note\nk=a=b[c]\n", "[A];note\nk=a=b[c];tail\n\n  \tDof = 7;"},
        {"[A]\n\n   \tDof = 7\n\n  m=w\n", "[A]Dof = 7;m=w;"},
        {"[A]\njunk\n[B]\nk=v\n", "[A][B]junk\nk=v;"},  // pending key text runs on
        {"[A\nB]\nk=v\n[]\nj=w\n", "[]j=w;[A\nB]k=v;"},
        {"[R.BASIC\nName=x\n", ""},
        {"[A]\nk=v\n[B\nm=w\n", "[A]k=v;"},
        {"A]\nk=v\n", ""},
        {"", ""},
        {"[b]\n[a]\n[B]\n", "[B][a][b]"},  // byte order
    };
    IniParser doc;
    for (const auto& c : cases) EXPECT_EQ(load(doc, c[0]), c[1]) << c[0];
    load(doc, "[A]\n\n   \tDof = 7\n");
    int dof = -1;
    EXPECT_TRUE(doc.OnGetValue("A", "Dof ", &dof, 0));
    EXPECT_EQ(dof, 7);
    EXPECT_TRUE(doc.Sections.at("A").Items.at("Dof ").ValuePtr == nullptr);
    const char text[] = " \t\r\n\v x";
    const int skips[][3] = {{0, 7, 4}, {0, 3, 3}, {9, 7, 9}};  // pos, length, result: \v is not skipped
    for (const auto& s : skips) {
        int pos = s[0];
        IniParser::SkipLine(text, s[1], pos);
        EXPECT_EQ(pos, s[2]);
    }
    EXPECT_FALSE(doc.OnLoad(tempFile("missing/none.ini", "").c_str()));
    EXPECT_TRUE(doc.Sections.empty());
    load(doc, "[A]\nk=v\n");
    EXPECT_FALSE(doc.OnLoad(nullptr));
    EXPECT_TRUE(doc.Sections.empty());
}

TEST(Config, SectionItems)
{
    IniSection s;
    s.OnInsertItem("k", "1");
    EXPECT_TRUE(s.OnEmpty());  // items do not count
    s.Name = "A";
    EXPECT_FALSE(s.OnEmpty());
    s.OnInsertItem("k", "2");
    EXPECT_EQ(s.OnGetValue("k"), "1");
    EXPECT_EQ(s.OnGetValue("x"), "");
    EXPECT_TRUE(s.OnSetValue("k", "4"));
    EXPECT_FALSE(s.OnSetValue("x", "5"));
    int target = 0;
    EXPECT_EQ(s.OnGetValuePtr("k"), nullptr);
    EXPECT_TRUE(s.OnSetValuePtr("k", &target));
    EXPECT_FALSE(s.OnSetValuePtr("x", &target));
    EXPECT_EQ(s.OnGetValue("k"), "4");
    EXPECT_EQ(s.OnGetValuePtr("k"), &target);
    EXPECT_EQ(s.OnGetValuePtr("x"), nullptr);
    EXPECT_EQ(s.Items.size(), 1u);
    s.OnClear();
    EXPECT_TRUE(s.OnEmpty());
    EXPECT_TRUE(s.Items.empty());
}

TEST(Config, TypedGettersSettersAndWriteThrough)
{
    IniParser doc;
    load(doc, "[A]\ni=12abc\nbig=4294967297\nneg= -3\nhex=0x10\nd=1e3\nt=text here\n");
    const std::pair<const char*, int> ints[] = {{"i", 12}, {"big", 1}, {"neg", -3}, {"hex", 0}, {"none", 0}};
    for (const auto& c : ints) {
        int v = 99;
        EXPECT_TRUE(doc.OnGetValue("A", c.first, &v, 0));  // a missing key is reported only with bind
        EXPECT_EQ(v, c.second) << c.first;
    }
    int i = 99;
    double d = 7.0;
    std::string s = "keep";
    char text[32], small[5] = "xxxx";
    EXPECT_FALSE(doc.OnGetValue("X", "i", &i, 1) || doc.OnGetValue("X", "d", &d, 0) || doc.OnGetValue("X", "t", s));
    EXPECT_FALSE(doc.OnGetValue("X", "t", text, 1) || doc.OnGetValue("X", "t", small, 5, 0));
    EXPECT_EQ(i * 1000 + d, 99007);
    EXPECT_EQ(s, "keep");
    EXPECT_FALSE(doc.OnGetValue("A", "none", &i, 1));
    EXPECT_EQ(i, 0);
    EXPECT_TRUE(doc.OnGetValue("A", "t", &d, 0));
    EXPECT_EQ(d, 0.0);
    EXPECT_TRUE(doc.OnGetValue("A", "t", s));
    EXPECT_EQ(s, "text here");
    EXPECT_TRUE(doc.OnGetValue("A", "none", s));
    EXPECT_EQ(s, "");
    EXPECT_FALSE(doc.OnGetValue("A", "none", text, 1));
    EXPECT_STREQ(text, "");
    EXPECT_TRUE(doc.OnGetValue("A", "t", small, sizeof small, 0));
    EXPECT_STREQ(small, "text");
    EXPECT_TRUE(doc.OnGetValue("A", "t", small, 0, 0));  // capacity 0 stores nothing
    EXPECT_STREQ(small, "text");

    // Bound variables follow the typed setters; the std::string setter stores text only.
    char t[16], bounded[12];
    std::memset(bounded, '#', sizeof bounded);
    ASSERT_TRUE(doc.OnGetValue("A", "i", &i, 1) && doc.OnGetValue("A", "d", &d, 1));
    ASSERT_TRUE(doc.OnGetValue("A", "t", t, 1) && doc.OnGetValue("A", "neg", bounded, 8, 1));
    EXPECT_EQ(d, 1000.0);
    EXPECT_STREQ(bounded, " -3");
    EXPECT_TRUE(doc.OnSetValue("A", "i", -42));
    EXPECT_EQ(i, -42);
    EXPECT_TRUE(doc.OnSetValue("A", "d", 1234567.0));
    EXPECT_EQ(d, 1234567.0);  // the variable gets the double, the text six digits
    EXPECT_TRUE(doc.OnSetValue("A", "t", "new text"));
    EXPECT_STREQ(t, "new text");
    EXPECT_TRUE(doc.OnSetValue("A", "t", std::string("by value")));
    EXPECT_STREQ(t, "new text");
    EXPECT_TRUE(doc.OnSetValue("A", "neg", "abcdefghijklmnop"));  // a bounded binding keeps its bound
    EXPECT_STREQ(bounded, "abcdefg");
    EXPECT_EQ(bounded[8], '#');
    EXPECT_TRUE(doc.OnLoad(tempFile("b.ini", "[A]\ni=1\n").c_str()));
    EXPECT_TRUE(doc.OnSetValue("A", "i", 8));  // a new load drops the bindings
    EXPECT_EQ(i, -42);
    for (const auto& f : {std::make_pair(100.0, "100"), std::make_pair(1e-5, "1e-05"),
                          std::make_pair(-2.25, "-2.25"), std::make_pair(1234567.0, "1.23457e+06")}) {
        EXPECT_TRUE(doc.OnSetValue("A", "i", f.first));
        EXPECT_EQ(doc.Sections.at("A").OnGetValue("i"), f.second);
    }
    EXPECT_FALSE(doc.OnSetValue("X", "i", 5) || doc.OnSetValue("X", "i", 5.0) || doc.OnSetValue("X", "i", "x") ||
                 doc.OnSetValue("X", "i", std::string("x")));
    EXPECT_TRUE(doc.OnSetValue("A", "new", 5) && doc.OnSetValue("A", "new", 5.0) && doc.OnSetValue("A", "new", "x") &&
                doc.OnSetValue("A", "new", std::string("x")));
    EXPECT_EQ(dump(doc), "[A]i=1.23457e+06;");  // absent keys are not created
}

TEST(Config, SaveAndHostileFiles)
{
    IniParser doc;
    load(doc, "[b]\nz=1\ny = 2\n[a]\nk=v\nk=w\njunk\n[b]\nq=0\n");
    const std::string path = tempFile("saved.ini", "");
    ASSERT_TRUE(doc.OnSave(path.c_str()));
    std::stringstream saved;
    saved << std::ifstream(path).rdbuf();
    EXPECT_EQ(saved.str(), "[a]\nk=v\n[b]\ny = 2\nz=1\n");
    EXPECT_FALSE(doc.OnSave(testing::TempDir().c_str()));  // a directory
    EXPECT_FALSE(doc.OnSave(nullptr));

    std::mt19937 random(7);
    std::string garbage(1 << 20, '\0');
    for (char& c : garbage) c = static_cast<char>(random());
    load(doc, garbage);
    const std::string huge(8 << 20, 'v');
    load(doc, "[A]\nk=" + huge + "\n" + huge + "=1\n");
    EXPECT_EQ(doc.Sections.at("A").OnGetValue("k").size(), huge.size());
    EXPECT_EQ(doc.Sections.at("A").OnGetValue(huge), "1");
    // Positions are 32-bit: a 2 GiB file (sparse, so cheap) is refused rather than scanned.
    const std::string sparse = tempFile("sparse.ini", "[");
    ASSERT_EQ(truncate(sparse.c_str(), 2147483648L), 0);
    EXPECT_FALSE(doc.OnLoad(sparse.c_str()));
    std::remove(sparse.c_str());
}

namespace {

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
// Whether the record's bytes after Loaded differ from a 0x5A pattern only in [from, to).
bool onlyWritten(const CfgConfig& cfg, const void* from, const void* to)
{
    const auto* base = reinterpret_cast<const unsigned char*>(&cfg);
    const std::size_t lo = static_cast<const unsigned char*>(from) - base, hi = static_cast<const unsigned char*>(to) - base;
    for (std::size_t k = offsetof(CfgConfig, Name); k < sizeof cfg; ++k)
        if ((k < lo || k >= hi) && base[k] != 0x5A) return false;
    return true;
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

TEST(Config, RobotIniExampleAndBindings)
{
    EXPECT_EQ(offsetof(CfgConfig, BusFreq) * 1000 + offsetof(CfgArm, Link), 36032u);
    EXPECT_EQ(offsetof(CfgLink, SensorOffset) * 1000 + offsetof(CfgLink, A), 72112u);
    CfgConfig cfg{};
    const Loaded r = loadRobot(TOLVEX_EXAMPLES_DIR "/robot.ini", &cfg, true);
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.output, "Load robot.ini success\n");
    EXPECT_EQ(cfg.Loaded, 1);
    EXPECT_STREQ(cfg.Name, "TolvexArm7-Dual");
    EXPECT_EQ(cfg.BusFreq, 1000);
    const CfgArm& arm = cfg.Arm[0];
    EXPECT_EQ(arm.Type * 10 + arm.Dof, 10077);
    EXPECT_EQ(cfg.Arm[1].Type * 10 + cfg.Arm[1].Dof, 7);  // Type is loaded for arm 0 only
    EXPECT_EQ(arm.GravityZ, -9.81);
    // The DH table of the example arm, and the fields the locked-joint model reads.
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(arm.Link[i].Alpha, tk::kArm[i].alpha_deg) << i;
        EXPECT_EQ(arm.Link[i].A, tk::kArm[i].a_mm) << i;
        EXPECT_EQ(arm.Link[i].D, tk::kArm[i].d_mm) << i;
    }
    EXPECT_EQ(arm.Flange.D, 0.0);
    EXPECT_EQ(arm.Link[5].LimitPos, 110.0);
    EXPECT_EQ(arm.Link[6].TorqueMax, 40.0);
    EXPECT_EQ(arm.Link[3].Mass, 0.0);  // DYNAMIC is skipped
    EXPECT_TRUE(init_parser_.OnSetValue("R.A0.L2.DH", "D", 410.0));  // the keys stay bound
    EXPECT_EQ(arm.Link[2].D, 410.0);

    CfgConfig p;
    std::memset(&p, 0x5A, sizeof p);
    const std::string name(10 << 20, 'N');  // a 10 MiB line is cut to the record
    ASSERT_TRUE(loadRobot("[R.BASIC]\nName=" + name + "\nBusFreq=250\n", &p).ok);
    EXPECT_EQ(std::string(p.Name), name.substr(0, 31));
    EXPECT_EQ(p.BusFreq, 250);
    EXPECT_TRUE(onlyWritten(p, &p.Name, &p.Arm));
    EXPECT_TRUE(init_parser_.OnSetValue("R.BASIC", "Name", name.c_str()));
    EXPECT_EQ(std::string(p.Name), name.substr(0, 31));
    EXPECT_EQ(p.BusFreq, 250);
}

TEST(Config, RobotIniSectionsAndMessages)
{
    const std::string fail = "Failed to load robot.ini in ";
    struct Case {
        std::string text, output;
    } cases[] = {
        {"", ""},
        {"[R.A2.L0.BASIC]\nx=1\n[r.basic]\n[R.A0.L7.DH]\n[R.A0.L0.DH ]\n[R.A0.CTRL]\n[R.A1.L6.MOTOR]\n"
         "[R.A0.L0.DYNAMIC]\n[R.A0.L0.FRICTION]\n[R.A0.L0.REDUCER]\n[R.BASIC\nName=x\n", ""},
        {"[R.BASIC]\nBusFreq=500\n", "[R.Basic]"},
        {"[R.BASIC]\nName=Arm\n", "[R.Basic]"},
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
        EXPECT_TRUE(!r.ok || onlyWritten(cfg, &cfg.Name, &cfg.Name)) << c.text;
        if (c.text.find("[R.A0.BASIC]\nDof=7\nG") == 0) {  // stopped at "Type", which is written
            EXPECT_EQ(cfg.Arm[0].Dof * 10 + cfg.Arm[0].Type, 70);
            EXPECT_TRUE(onlyWritten(cfg, &cfg.Arm[0].Dof, &cfg.Arm[0].GravityX));
        }
    }
    CfgConfig p;
    std::memset(&p, 0x5A, sizeof p);
    ASSERT_TRUE(loadRobot(linkBasic("R.A1.L6.BASIC") + "[R.A0.L3.DH]\nTheta=4\nAlpha=3\nD=2\nA=1\n" +
                          "[R.A1.BASIC]\nDof=6\nGravityX=1\nGravityY=2\nGravityZ=-9.8\n[R.A1.FLANGE]\nA=1\nD=80\nAlpha=3\nTheta=4\n",
                          &p).ok);
    const CfgLink& l = p.Arm[1].Link[6];
    const double got[] = {double(l.Type), double(l.WorkMode), double(l.EncType), double(l.EncRes),
                          double(l.EncOffset), double(l.EncDir), double(l.ExtEncRes), l.Ratio1, l.Ratio2,
                          l.LimitPos, l.LimitNeg, l.SensorK, double(l.SensorOffset), double(l.SensorDir),
                          double(l.CurrentDir), l.VelMax, l.AccMax, l.TorqueMax};
    for (int n = 0; n < 18; ++n) EXPECT_EQ(got[n], n + 1) << kLinkKeys[n];
    const CfgLink& dh = p.Arm[0].Link[3];
    EXPECT_EQ(dh.A * 1000 + dh.D * 100 + dh.Alpha * 10 + dh.Theta, 1234);
    EXPECT_EQ(p.Arm[1].Dof, 6);
    EXPECT_DOUBLE_EQ(p.Arm[1].GravityX * 100 + p.Arm[1].GravityY * 10 + p.Arm[1].GravityZ, 110.2);
    EXPECT_EQ(p.Arm[1].Flange.A * 1000 + p.Arm[1].Flange.D * 100 + p.Arm[1].Flange.Alpha * 10 + p.Arm[1].Flange.Theta, 9034);

    CfgConfig cfg{};
    std::mt19937 random(11);
    std::string garbage(1 << 20, '\0');
    for (char& c : garbage) c = static_cast<char>(random());
    loadRobot(garbage, &cfg);  // either outcome, as long as the record is not overrun
    const Loaded missing = loadRobot(testing::TempDir() + "absent.ini", &cfg, true);
    EXPECT_FALSE(missing.ok);
    EXPECT_EQ(missing.output, "Failed to load file " + testing::TempDir() + "absent.ini\n");
    EXPECT_EQ(cfg.Loaded, 0);
}
