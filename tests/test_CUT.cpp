#include "config/CUT.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>
#include <string>

// The library defines the loader's document with its other global records; these tests link
// the configuration code alone.
IniParser init_parser_;

namespace {

std::string tempPath(const std::string& name) {
  return testing::TempDir() + "tk_cut_" + std::to_string(getpid()) + "_" + name;
}

struct LoadResult {
  bool loaded;
  std::string output;
};

LoadResult loadFile(const std::string& path, CfgConfig* cfg) {
  testing::internal::CaptureStdout();
  const bool loaded = CUT::LoadRobotIni(const_cast<char*>(path.c_str()), cfg);
  std::fflush(stdout);
  return {loaded, testing::internal::GetCapturedStdout()};
}

LoadResult loadText(const std::string& text, CfgConfig* cfg) {
  const std::string path = tempPath("robot.ini");
  std::ofstream(path, std::ios::binary) << text;
  return loadFile(path, cfg);
}

// A record filled with a byte pattern, to see which fields a load writes.
struct Patterned {
  CfgConfig cfg;
  CfgConfig before;
  Patterned() {
    std::memset(&cfg, 0x5A, sizeof cfg);
    before = cfg;
  }
  // Bytes after Loaded (which every load writes) unchanged outside [from, to).
  bool unchangedOutside(const void* from, const void* to) const {
    const auto* base = reinterpret_cast<const unsigned char*>(&cfg);
    const auto* old = reinterpret_cast<const unsigned char*>(&before);
    const std::size_t start = offsetof(CfgConfig, Name);
    const std::size_t lo = static_cast<const unsigned char*>(from) - base;
    const std::size_t hi = static_cast<const unsigned char*>(to) - base;
    return std::memcmp(base + start, old + start, lo - start) == 0 &&
           std::memcmp(base + hi, old + hi, sizeof cfg - hi) == 0;
  }
};

const char* const kLinkBasicKeys[] = {
    "Type",    "WorkMode", "EncType",  "EncRes",      "EncOffset",    "EncDir",
    "ExtEncRes", "Ratio1", "Ratio2",   "LimitPos",    "LimitNeg",     "SensorK",
    "SensorOffset", "SensorDir", "CurrentDir", "VelMax", "AccMax", "TorqueMax"};

// A link BASIC section whose n-th key (in table order) has the value n + 1, up to but
// excluding the key named stop.
std::string linkBasic(const std::string& name, const std::string& stop = "") {
  std::string text = "[" + name + "]\n";
  int n = 0;
  for (const char* key : kLinkBasicKeys) {
    if (key == stop) break;
    text += std::string(key) + "=" + std::to_string(++n) + "\n";
  }
  return text;
}

}  // namespace

TEST(CUT, RecordLayout) {
  EXPECT_EQ(offsetof(CfgConfig, Name), 4u);
  EXPECT_EQ(offsetof(CfgConfig, BusFreq), 36u);
  EXPECT_EQ(offsetof(CfgConfig, Arm), 40u);
  EXPECT_EQ(offsetof(CfgArm, GravityX), 8u);
  EXPECT_EQ(offsetof(CfgArm, Link), 32u);
  EXPECT_EQ(offsetof(CfgArm, Flange), 32u + 7 * 344);
  EXPECT_EQ(offsetof(CfgLink, Ratio1), 32u);
  EXPECT_EQ(offsetof(CfgLink, SensorOffset), 72u);
  EXPECT_EQ(offsetof(CfgLink, VelMax), 88u);
  EXPECT_EQ(offsetof(CfgLink, A), 112u);
  EXPECT_EQ(offsetof(CfgLink, Reserved), 232u);
  EXPECT_EQ(sizeof(CfgFlange), 32u);
}

TEST(CUT, ExampleRobotIniLoads) {
  CfgConfig cfg{};
  const LoadResult r = loadFile(TOLVEX_EXAMPLES_DIR "/robot.ini", &cfg);
  ASSERT_TRUE(r.loaded);
  EXPECT_EQ(r.output, "Load robot.ini success\n");
  EXPECT_EQ(cfg.Loaded, 1);
  EXPECT_STREQ(cfg.Name, "TolvexArm7-Dual");
  EXPECT_EQ(cfg.BusFreq, 1000);
  const CfgArm& arm = cfg.Arm[0];
  EXPECT_EQ(arm.Dof, 7);
  EXPECT_EQ(arm.Type, 1007);
  EXPECT_EQ(cfg.Arm[1].Type, 0);  // never loaded for arm 1
  EXPECT_EQ(cfg.Arm[1].Dof, 7);
  EXPECT_EQ(arm.GravityZ, -9.81);
  // What the locked-joint model reads: d1, d3, d5, d7, a4, a5 and the flange.
  EXPECT_EQ(arm.Link[0].D, 340.0);
  EXPECT_EQ(arm.Link[2].D, 400.0);
  EXPECT_EQ(arm.Link[4].D, 400.0);
  EXPECT_EQ(arm.Link[6].D, 126.0);
  EXPECT_EQ(arm.Link[3].A, 20.0);
  EXPECT_EQ(arm.Link[4].A, -20.0);
  EXPECT_EQ(arm.Flange.D, 0.0);
  EXPECT_EQ(arm.Link[5].LimitPos, 110.0);
  EXPECT_EQ(arm.Link[6].TorqueMax, 40.0);
  EXPECT_EQ(arm.Link[3].Mass, 0.0);  // DYNAMIC is skipped

  // Composed by hand with the chain's modified DH transform RotX(alpha) TransX(a) RotZ(q)
  // TransZ(d): at all joints 0 the arm stands straight up, the elbow offsets cancelling.
  double pose[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
  for (const CfgLink& link : arm.Link) {
    const double sa = std::sin(link.Alpha * 0.017453292519943295);
    const double ca = std::cos(link.Alpha * 0.017453292519943295);
    const double local[3][4] = {{1, 0, 0, link.A}, {0, ca, -sa, -sa * link.D},
                                {0, sa, ca, ca * link.D}};
    double next[3][4];
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 4; ++j)
        next[i][j] = pose[i][0] * local[0][j] + pose[i][1] * local[1][j] +
                     pose[i][2] * local[2][j] + (j == 3 ? pose[i][3] : 0.0);
    std::memcpy(pose, next, sizeof pose);
  }
  const double expected[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 1266}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_NEAR(pose[i][j], expected[i][j], 1e-9) << i << "," << j;

  // The loaded keys stay bound into the record.
  EXPECT_TRUE(init_parser_.OnSetValue("R.A0.L2.DH", "D", 410.0));
  EXPECT_EQ(arm.Link[2].D, 410.0);
  EXPECT_TRUE(init_parser_.OnSetValue("R.A1.BASIC", "Dof", 6));
  EXPECT_EQ(cfg.Arm[1].Dof, 6);
}

TEST(CUT, EmptyAndSkippedSectionsOnlySetLoaded) {
  Patterned p;
  LoadResult r = loadText("", &p.cfg);
  EXPECT_TRUE(r.loaded);
  EXPECT_EQ(r.output, "Load robot.ini success\n");
  EXPECT_EQ(p.cfg.Loaded, 1);
  EXPECT_TRUE(p.unchangedOutside(&p.cfg.Name, &p.cfg.Name));

  Patterned q;
  r = loadText("[R.A2.L0.BASIC]\nx=1\n[r.basic]\n[R.A0.L7.DH]\n[R.A0.L0.DH ]\n[R.A0.CTRL]\n"
               "[R.A1.L6.MOTOR]\n[R.A0.L0.DYNAMIC]\n[R.A0.L0.FRICTION]\n[R.A0.L0.REDUCER]\n",
               &q.cfg);
  EXPECT_TRUE(r.loaded);
  EXPECT_EQ(r.output, "Load robot.ini success\n");
  EXPECT_TRUE(q.unchangedOutside(&q.cfg.Name, &q.cfg.Name));
}

TEST(CUT, MissingFile) {
  CfgConfig cfg{};
  cfg.Loaded = 1;
  const std::string path = tempPath("absent.ini");
  const LoadResult r = loadFile(path, &cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load file " + path + "\n");
  EXPECT_EQ(cfg.Loaded, 0);
}

TEST(CUT, RobotBasic) {
  Patterned p;
  LoadResult r = loadText("[R.BASIC]\nBusFreq=500\nName=Arm\n", &p.cfg);
  EXPECT_TRUE(r.loaded);
  EXPECT_STREQ(p.cfg.Name, "Arm");
  EXPECT_EQ(p.cfg.BusFreq, 500);

  Patterned q;
  r = loadText("[R.BASIC]\nBusFreq=500\n", &q.cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.Basic]\n");
  EXPECT_EQ(q.cfg.Loaded, 0);
  EXPECT_STREQ(q.cfg.Name, "");                // written before the failure was noticed
  EXPECT_EQ(q.cfg.BusFreq, q.before.BusFreq);  // never read

  r = loadText("[R.BASIC]\nName=Arm\n", &q.cfg);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.Basic]\n");
  EXPECT_EQ(q.cfg.BusFreq, 0);
}

TEST(CUT, LongNameIsCutToTheRecord) {
  Patterned p;
  const std::string longName(10 << 20, 'N');  // a 10 MiB line
  const LoadResult r = loadText("[R.BASIC]\nName=" + longName + "\nBusFreq=250\n", &p.cfg);
  ASSERT_TRUE(r.loaded);
  EXPECT_EQ(std::string(p.cfg.Name), longName.substr(0, 31));
  EXPECT_EQ(p.cfg.BusFreq, 250);
  EXPECT_TRUE(p.unchangedOutside(&p.cfg.Name, &p.cfg.Arm));

  // Text written later through the binding keeps to the same 32 bytes.
  EXPECT_TRUE(init_parser_.OnSetValue("R.BASIC", "Name", longName.c_str()));
  EXPECT_EQ(std::string(p.cfg.Name), longName.substr(0, 31));
  EXPECT_EQ(p.cfg.BusFreq, 250);
  EXPECT_TRUE(init_parser_.OnSetValue("R.BASIC", "Name", "Short"));
  EXPECT_STREQ(p.cfg.Name, "Short");
}

TEST(CUT, ArmBasic) {
  Patterned p;
  LoadResult r = loadText("[R.A1.BASIC]\nDof=6\nGravityX=1\nGravityY=2\nGravityZ=-9.8\n", &p.cfg);
  EXPECT_TRUE(r.loaded);
  EXPECT_EQ(p.cfg.Arm[1].Dof, 6);
  EXPECT_EQ(p.cfg.Arm[1].Type, p.before.Arm[1].Type);
  EXPECT_EQ(p.cfg.Arm[1].GravityZ, -9.8);

  r = loadText("[R.A0.BASIC]\nDof=7\nGravityX=1\nGravityY=2\nGravityZ=3\n", &p.cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A0.BASIC]\n");
  EXPECT_EQ(p.cfg.Arm[0].Dof, 7);
  EXPECT_EQ(p.cfg.Arm[0].Type, 0);
  EXPECT_EQ(p.cfg.Arm[0].GravityX, p.before.Arm[0].GravityX);  // stopped at "Type"

  r = loadText("[R.A1.BASIC]\nDof=6\nGravityX=1\nGravityZ=3\n", &p.cfg);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A1.BASIC]\n");
}

TEST(CUT, LinkSections) {
  Patterned p;
  LoadResult r = loadText(linkBasic("R.A1.L6.BASIC") + "[R.A0.L3.DH]\nTheta=4\nAlpha=3\nD=2\nA=1\n",
                          &p.cfg);
  ASSERT_TRUE(r.loaded);
  const CfgLink& l = p.cfg.Arm[1].Link[6];
  EXPECT_EQ(l.Type, 1);
  EXPECT_EQ(l.ExtEncRes, 7);
  EXPECT_EQ(l.Ratio1, 8.0);
  EXPECT_EQ(l.SensorK, 12.0);
  EXPECT_EQ(l.SensorOffset, 13);
  EXPECT_EQ(l.CurrentDir, 15);
  EXPECT_EQ(l.TorqueMax, 18.0);
  const CfgLink& dh = p.cfg.Arm[0].Link[3];
  EXPECT_EQ(dh.A, 1.0);
  EXPECT_EQ(dh.D, 2.0);
  EXPECT_EQ(dh.Alpha, 3.0);
  EXPECT_EQ(dh.Theta, 4.0);

  Patterned q;
  r = loadText(linkBasic("R.A1.L6.BASIC", "SensorDir"), &q.cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A1.L6.BASIC]\n");
  const CfgLink& f = q.cfg.Arm[1].Link[6];
  EXPECT_EQ(f.SensorOffset, 13);
  EXPECT_EQ(f.SensorDir, 0);  // the failing key's destination is written
  EXPECT_EQ(f.CurrentDir, q.before.Arm[1].Link[6].CurrentDir);

  Patterned s;
  r = loadText("[R.A0.L3.DH]\nA=1\nD=2\nAlpha=3\n", &s.cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A0.L3.DH]\n");
  const CfgLink& g = s.cfg.Arm[0].Link[3];
  EXPECT_EQ(g.A, 1.0);
  EXPECT_EQ(g.D, 2.0);
  EXPECT_EQ(g.Alpha, 3.0);
  EXPECT_EQ(g.Theta, 0.0);
  EXPECT_TRUE(s.unchangedOutside(&g.A, &g.Mass));
}

TEST(CUT, Flange) {
  Patterned p;
  LoadResult r = loadText("[R.A1.FLANGE]\nA=1\nD=80\nAlpha=3\nTheta=4\n", &p.cfg);
  EXPECT_TRUE(r.loaded);
  EXPECT_EQ(p.cfg.Arm[1].Flange.D, 80.0);
  EXPECT_EQ(p.cfg.Arm[1].Flange.Theta, 4.0);

  r = loadText("[R.A0.FLANGE]\nA=1\nAlpha=3\nTheta=4\n", &p.cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A0.FLANGE]\n");
  EXPECT_EQ(p.cfg.Arm[0].Flange.D, 0.0);
  EXPECT_EQ(p.cfg.Arm[0].Flange.Alpha, p.before.Arm[0].Flange.Alpha);
}

TEST(CUT, SectionsAreVisitedInNameOrder) {
  // "R.A..." sorts before "R.BASIC": the arm fault is the one reported, [R.BASIC] is never read.
  Patterned p;
  const LoadResult r = loadText(
      "[R.BASIC]\nName=Arm\n[R.A1.FLANGE]\nA=1\n[R.A0.L0.DH]\nA=1\n[R.A0.BASIC]\nDof=7\n", &p.cfg);
  EXPECT_FALSE(r.loaded);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A0.BASIC]\n");
  EXPECT_EQ(p.cfg.Arm[0].Link[0].A, p.before.Arm[0].Link[0].A);
  EXPECT_EQ(p.cfg.Name[0], p.before.Name[0]);

  Patterned q;
  const LoadResult s = loadText("[R.BASIC]\nName=Arm\n[R.A1.FLANGE]\nA=1\n", &q.cfg);
  EXPECT_EQ(s.output, "Failed to load robot.ini in [R.A1.FLANGE]\n");

  // A failed load leaves Loaded at 0 even after a success.
  CfgConfig cfg{};
  ASSERT_TRUE(loadText("", &cfg).loaded);
  EXPECT_FALSE(loadText("[R.BASIC]\n", &cfg).loaded);
  EXPECT_EQ(cfg.Loaded, 0);
}

TEST(CUT, HostileFiles) {
  CfgConfig cfg{};
  std::mt19937 random(11);
  std::string garbage(1 << 20, '\0');
  for (char& c : garbage) c = static_cast<char>(random());
  loadText(garbage, &cfg);  // either outcome, as long as the record is not overrun

  // Missing brackets: nothing is stored, so there is nothing to fail.
  LoadResult r = loadText("[R.BASIC\nName=x\nBusFreq=1\n", &cfg);
  EXPECT_TRUE(r.loaded);
  r = loadText("R.BASIC]\nName=x\n", &cfg);
  EXPECT_TRUE(r.loaded);
  EXPECT_TRUE(init_parser_.Sections.empty());

  std::string many;
  for (int n = 0; n < 100000; ++n) many += "[R.A0.L" + std::to_string(n) + ".MOTOR]\nk=v\n";
  r = loadText(many + "[R.A0.L1.DH]\nA=1\n", &cfg);
  EXPECT_EQ(r.output, "Failed to load robot.ini in [R.A0.L1.DH]\n");
  EXPECT_EQ(init_parser_.Sections.size(), 100001u);
}
