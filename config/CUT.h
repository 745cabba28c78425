// The robot.ini configuration record and its loader: BASIC, DH and FLANGE sections of up to two
// arms of seven links, read into CfgConfig through the global INI document init_parser_.
#pragma once

#include "config/IniParser.h"

// One link; fields 1-18 from [R.A<a>.L<l>.BASIC], A..Theta from [R.A<a>.L<l>.DH].
struct CfgLink {
  int Type;               // "Type", joint type code
  int WorkMode;           // "WorkMode", drive working mode
  int EncType;            // "EncType", encoder type code
  int EncRes;             // "EncRes", encoder counts per motor turn
  int EncOffset;          // "EncOffset", encoder counts at the joint zero
  int EncDir;             // "EncDir", encoder counting direction (+1/-1)
  int ExtEncRes;          // "ExtEncRes", joint-side encoder counts per turn
  double Ratio1;          // "Ratio1", first gear ratio
  double Ratio2;          // "Ratio2", second gear ratio
  double LimitPos;        // "LimitPos", positive joint limit, degrees
  double LimitNeg;        // "LimitNeg", negative joint limit, degrees
  double SensorK;         // "SensorK", torque sensor scale
  int SensorOffset;       // "SensorOffset", torque sensor raw offset
  int SensorDir;          // "SensorDir", torque sensor direction (+1/-1)
  int CurrentDir;         // "CurrentDir", motor current direction (+1/-1)
  double VelMax;          // "VelMax", maximum joint speed, degrees/s
  double AccMax;          // "AccMax", maximum joint acceleration, degrees/s^2
  double TorqueMax;       // "TorqueMax", maximum joint torque, N·m
  double A;               // DH "A", link length along the previous x axis, mm
  double D;               // DH "D", offset along the joint axis, mm
  double Alpha;           // DH "Alpha", twist about the previous x axis, degrees
  double Theta;           // DH "Theta", joint-angle offset, degrees
  double Mass;            // link mass, kg; not loaded
  double Com[3];          // centre of mass (first moment), not loaded
  double Inertia[6];      // six inertia parameters, not loaded
  double RotorInertia;    // rotor and gear inertia at the joint, kg·m^2; not loaded
  double Reserved[14];    // not loaded
};

// The flange after the last link, from [R.A<a>.FLANGE].
struct CfgFlange {
  double A;      // "A", mm
  double D;      // "D", offset along the last joint axis, mm
  double Alpha;  // "Alpha", degrees
  double Theta;  // "Theta", degrees
};

// One arm, from [R.A<a>.BASIC] and its link and flange sections.
struct CfgArm {
  int Dof;                       // "Dof", number of links in use
  int Type;                      // "Type", robot type code (loaded for arm 0 only)
  double GravityX;               // "GravityX", m/s^2 in the base frame
  double GravityY;               // "GravityY", m/s^2
  double GravityZ;               // "GravityZ", m/s^2
  CfgLink Link[7];               // links L0..L6
  CfgFlange Flange;              // flange
  unsigned char Reserved[592];   // room for the arm's control data; not loaded
};

// The whole robot.ini configuration.
struct CfgConfig {
  int Loaded;                  // 0 from the start of every load, 1 after a successful load
  char Name[32];               // [R.BASIC] "Name", at most 31 characters and a terminator
  int BusFreq;                 // [R.BASIC] "BusFreq", field-bus cycle frequency, Hz
  CfgArm Arm[2];               // arms A0 and A1
  unsigned char Reserved[8];   // not loaded
};

static_assert(sizeof(CfgLink) == 344, "CfgLink is 344 bytes");
static_assert(sizeof(CfgArm) == 3064, "CfgArm is 3064 bytes");
static_assert(sizeof(CfgConfig) == 6176, "CfgConfig is 6176 bytes");

// The document every robot.ini load goes through; after a load it holds the whole file, with
// the loaded keys bound into the caller's record.
extern IniParser init_parser_;

class CUT {
public:
  // Loads robot.ini into cfg: sections in ascending name order, each key through the binding
  // getters; the first missing key prints one line naming its section and fails the load.
  // Fields of absent sections keep their contents. Prints "Load robot.ini success" on success.
  static bool LoadRobotIni(char* path, CfgConfig* cfg);
  // The same through a caller-owned document (a distinct name keeps &CUT::LoadRobotIni unambiguous).
  static bool LoadRobotIniThrough(char* path, CfgConfig* cfg, IniParser* ini);
};
