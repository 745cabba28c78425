#include "config/CUT.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

bool readInt(IniParser& ini, const std::string& section, const char* key, int* out) {
  return ini.OnGetValue(section, key, out, 1);
}

bool readDouble(IniParser& ini, const std::string& section, const char* key, double* out) {
  return ini.OnGetValue(section, key, out, 1);
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

bool loadRobotBasic(IniParser& ini, const std::string& section, CfgConfig* cfg) {
  // The name is cut to the record's 32 bytes, and so is any later text written through to it.
  if (ini.OnGetValue(section, "Name", cfg->Name, sizeof cfg->Name, 1) &&
      readInt(ini, section, "BusFreq", &cfg->BusFreq))
    return true;
  std::puts("Failed to load robot.ini in [R.Basic]");
  return false;
}

// Arm 1 has no "Type" key.
bool loadArmBasic(IniParser& ini, const std::string& section, int arm, CfgConfig* cfg) {
  CfgArm& a = cfg->Arm[arm];
  if (readInt(ini, section, "Dof", &a.Dof) &&
      (arm != 0 || readInt(ini, section, "Type", &a.Type)) &&
      readDouble(ini, section, "GravityX", &a.GravityX) &&
      readDouble(ini, section, "GravityY", &a.GravityY) &&
      readDouble(ini, section, "GravityZ", &a.GravityZ))
    return true;
  std::puts(arm == 0 ? "Failed to load robot.ini in [R.A0.BASIC]"
                     : "Failed to load robot.ini in [R.A1.BASIC]");
  return false;
}

bool readLinkBasic(IniParser& ini, const std::string& s, CfgLink& l) {
  return readInt(ini, s, "Type", &l.Type) && readInt(ini, s, "WorkMode", &l.WorkMode) &&
         readInt(ini, s, "EncType", &l.EncType) && readInt(ini, s, "EncRes", &l.EncRes) &&
         readInt(ini, s, "EncOffset", &l.EncOffset) && readInt(ini, s, "EncDir", &l.EncDir) &&
         readInt(ini, s, "ExtEncRes", &l.ExtEncRes) && readDouble(ini, s, "Ratio1", &l.Ratio1) &&
         readDouble(ini, s, "Ratio2", &l.Ratio2) && readDouble(ini, s, "LimitPos", &l.LimitPos) &&
         readDouble(ini, s, "LimitNeg", &l.LimitNeg) && readDouble(ini, s, "SensorK", &l.SensorK) &&
         readInt(ini, s, "SensorOffset", &l.SensorOffset) &&
         readInt(ini, s, "SensorDir", &l.SensorDir) &&
         readInt(ini, s, "CurrentDir", &l.CurrentDir) && readDouble(ini, s, "VelMax", &l.VelMax) &&
         readDouble(ini, s, "AccMax", &l.AccMax) && readDouble(ini, s, "TorqueMax", &l.TorqueMax);
}

// "A", "D", "Alpha", "Theta" in this order, as both DH and FLANGE sections hold them.
bool readGeometry(IniParser& ini, const std::string& s, double* a, double* d, double* alpha,
                  double* theta) {
  return readDouble(ini, s, "A", a) && readDouble(ini, s, "D", d) &&
         readDouble(ini, s, "Alpha", alpha) && readDouble(ini, s, "Theta", theta);
}

// A link's BASIC section, or its DH section when dh is set.
bool loadLink(IniParser& ini, const std::string& section, bool dh, CfgConfig* cfg) {
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
  const bool read = dh ? readGeometry(ini, section, &l.A, &l.D, &l.Alpha, &l.Theta)
                       : readLinkBasic(ini, section, l);
  if (read) return true;
  if (dh)
    std::printf("Failed to load robot.ini in [R.A%d.L%d.DH]\n", arm, link);
  else
    std::printf("Failed to load robot.ini in [R.A%d.L%d.BASIC]\n", arm, link);
  return false;
}

bool loadFlange(IniParser& ini, const std::string& section, CfgConfig* cfg) {
  int arm = -1;
  if (std::sscanf(section.c_str(), "R.A%d.FLANGE", &arm) != 1 || arm < 0 || arm > 1) {
    std::puts("Failed to load robot.ini in [R.A?.FLANGE]");
    return false;
  }
  CfgFlange& f = cfg->Arm[arm].Flange;
  if (readGeometry(ini, section, &f.A, &f.D, &f.Alpha, &f.Theta)) return true;
  std::printf("Failed to load robot.ini in [R.A%d.FLANGE]\n", arm);
  return false;
}

// False after printing the failure line. DYNAMIC, FRICTION, MOTOR, REDUCER, CTRL and unknown
// sections are passed over.
bool loadSection(IniParser& ini, const std::string& name, CfgConfig* cfg) {
  if (name == "R.BASIC") return loadRobotBasic(ini, name, cfg);
  if (name == "R.A0.BASIC") return loadArmBasic(ini, name, 0, cfg);
  if (name == "R.A1.BASIC") return loadArmBasic(ini, name, 1, cfg);
  if (isLinkSection(name, "BASIC")) return loadLink(ini, name, false, cfg);
  if (isLinkSection(name, "DH")) return loadLink(ini, name, true, cfg);
  if (isFlangeSection(name)) return loadFlange(ini, name, cfg);
  return true;
}

}  // namespace

bool CUT::LoadRobotIni(char* path, CfgConfig* cfg) {
  return LoadRobotIniThrough(path, cfg, &init_parser_);
}

bool CUT::LoadRobotIniThrough(char* path, CfgConfig* cfg, IniParser* ini) {
  cfg->Loaded = 0;
  if (!ini->OnLoad(path)) {
    std::printf("Failed to load file %s\n", path ? path : "(null)");
    return false;
  }
  std::vector<std::string> names;
  ini->OnGetSectionList(names);
  for (const std::string& name : names)
    if (!loadSection(*ini, name, cfg)) return false;
  cfg->Loaded = 1;
  std::puts("Load robot.ini success");
  return true;
}
