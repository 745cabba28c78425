#include "config/CUT.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

bool readInt(const std::string& section, const char* key, int* out) {
  return init_parser_.OnGetValue(section, key, out, 1);
}

bool readDouble(const std::string& section, const char* key, double* out) {
  return init_parser_.OnGetValue(section, key, out, 1);
}

// True for "R.A<a>.L<l>.<kind>" with a in 0..1 and l in 0..6, nothing more or less.
bool isLinkSection(const std::string& name, const char* kind) {
  return name.size() == 8 + std::strlen(kind) && name.compare(0, 3, "R.A") == 0 &&
         name[3] >= '0' && name[3] <= '1' && name.compare(4, 2, ".L") == 0 && name[6] >= '0' &&
         name[6] <= '6' && name[7] == '.' && name.compare(8, std::string::npos, kind) == 0;
}

bool isFlangeSection(const std::string& name) {
  return name == "R.A0.FLANGE" || name == "R.A1.FLANGE";
}

bool loadRobotBasic(const std::string& section, CfgConfig* cfg) {
  // The name is cut to the record's 32 bytes, and so is any later text written through to it.
  if (init_parser_.OnGetValue(section, "Name", cfg->Name, sizeof cfg->Name, 1) &&
      readInt(section, "BusFreq", &cfg->BusFreq))
    return true;
  std::puts("Failed to load robot.ini in [R.Basic]");
  return false;
}

// Arm 1 has no "Type" key.
bool loadArmBasic(const std::string& section, int arm, CfgConfig* cfg) {
  CfgArm& a = cfg->Arm[arm];
  if (readInt(section, "Dof", &a.Dof) && (arm != 0 || readInt(section, "Type", &a.Type)) &&
      readDouble(section, "GravityX", &a.GravityX) &&
      readDouble(section, "GravityY", &a.GravityY) &&
      readDouble(section, "GravityZ", &a.GravityZ))
    return true;
  std::puts(arm == 0 ? "Failed to load robot.ini in [R.A0.BASIC]"
                     : "Failed to load robot.ini in [R.A1.BASIC]");
  return false;
}

bool readLinkBasic(const std::string& s, CfgLink& l) {
  return readInt(s, "Type", &l.Type) && readInt(s, "WorkMode", &l.WorkMode) &&
         readInt(s, "EncType", &l.EncType) && readInt(s, "EncRes", &l.EncRes) &&
         readInt(s, "EncOffset", &l.EncOffset) && readInt(s, "EncDir", &l.EncDir) &&
         readInt(s, "ExtEncRes", &l.ExtEncRes) && readDouble(s, "Ratio1", &l.Ratio1) &&
         readDouble(s, "Ratio2", &l.Ratio2) && readDouble(s, "LimitPos", &l.LimitPos) &&
         readDouble(s, "LimitNeg", &l.LimitNeg) && readDouble(s, "SensorK", &l.SensorK) &&
         readInt(s, "SensorOffset", &l.SensorOffset) && readInt(s, "SensorDir", &l.SensorDir) &&
         readInt(s, "CurrentDir", &l.CurrentDir) && readDouble(s, "VelMax", &l.VelMax) &&
         readDouble(s, "AccMax", &l.AccMax) && readDouble(s, "TorqueMax", &l.TorqueMax);
}

// "A", "D", "Alpha", "Theta" in this order, as both DH and FLANGE sections hold them.
bool readGeometry(const std::string& s, double* a, double* d, double* alpha, double* theta) {
  return readDouble(s, "A", a) && readDouble(s, "D", d) && readDouble(s, "Alpha", alpha) &&
         readDouble(s, "Theta", theta);
}

// A link's BASIC section, or its DH section when dh is set.
bool loadLink(const std::string& section, bool dh, CfgConfig* cfg) {
  int arm = -1;
  int link = -1;
  const int numbers = dh ? std::sscanf(section.c_str(), "R.A%d.L%d.DH", &arm, &link)
                         : std::sscanf(section.c_str(), "R.A%d.L%d.BASIC", &arm, &link);
  if (numbers != 2 || arm < 0 || arm > 1 || link < 0 || link > 6) {
    std::puts(dh ? "Failed to load robot.ini in [R.A?.L?.DH]"
                 : "Failed to load robot.ini in [R.A?.L?.BASIC]");
    return false;
  }
  CfgLink& l = cfg->Arm[arm].Link[link];
  const bool read = dh ? readGeometry(section, &l.A, &l.D, &l.Alpha, &l.Theta)
                       : readLinkBasic(section, l);
  if (read) return true;
  if (dh)
    std::printf("Failed to load robot.ini in [R.A%d.L%d.DH]\n", arm, link);
  else
    std::printf("Failed to load robot.ini in [R.A%d.L%d.BASIC]\n", arm, link);
  return false;
}

bool loadFlange(const std::string& section, CfgConfig* cfg) {
  int arm = -1;
  if (std::sscanf(section.c_str(), "R.A%d.FLANGE", &arm) != 1 || arm < 0 || arm > 1) {
    std::puts("Failed to load robot.ini in [R.A?.FLANGE]");
    return false;
  }
  CfgFlange& f = cfg->Arm[arm].Flange;
  if (readGeometry(section, &f.A, &f.D, &f.Alpha, &f.Theta)) return true;
  std::printf("Failed to load robot.ini in [R.A%d.FLANGE]\n", arm);
  return false;
}

// False after printing the failure line. DYNAMIC, FRICTION, MOTOR, REDUCER, CTRL and unknown
// sections are passed over.
bool loadSection(const std::string& name, CfgConfig* cfg) {
  if (name == "R.BASIC") return loadRobotBasic(name, cfg);
  if (name == "R.A0.BASIC") return loadArmBasic(name, 0, cfg);
  if (name == "R.A1.BASIC") return loadArmBasic(name, 1, cfg);
  if (isLinkSection(name, "BASIC")) return loadLink(name, false, cfg);
  if (isLinkSection(name, "DH")) return loadLink(name, true, cfg);
  if (isFlangeSection(name)) return loadFlange(name, cfg);
  return true;
}

}  // namespace

bool CUT::LoadRobotIni(char* path, CfgConfig* cfg) {
  cfg->Loaded = 0;
  if (!init_parser_.OnLoad(path)) {
    std::printf("Failed to load file %s\n", path ? path : "(null)");
    return false;
  }
  std::vector<std::string> names;
  init_parser_.OnGetSectionList(names);
  for (const std::string& name : names)
    if (!loadSection(name, cfg)) return false;
  cfg->Loaded = 1;
  std::puts("Load robot.ini success");
  return true;
}
