#include "interface/Globals.h"

unsigned char m_Init_tag;
Pilot pilot;
PilotLmt lmt;
NSPBase nbase;
FX_Pilot rob;
IK_Poilt7 ik;
CfgConfig ms_DCTRL_CFG;
unsigned char ms_DCTRL_DCSS[kDctrlDcssSize];
unsigned char ms_DCTRL_SysInfo[kDctrlSysInfoSize];
IniParser init_parser_;
