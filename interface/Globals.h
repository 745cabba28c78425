// The library's process-wide model records, zero at load and filled by the
// two initialisation routes. Callers must serialise access.
#ifndef TOLVEX_INTERFACE_GLOBALS_H
#define TOLVEX_INTERFACE_GLOBALS_H

#include "config/CUT.h"
#include "config/IniParser.h"
#include "dynamics/FxChain.h"
#include "ik7/IKPoilt7.h"
#include "pilot/Pilot.h"
#include "pilot/PilotIK.h"
#include "pilot/PilotLmt.h"

constexpr unsigned long kDctrlDcssSize = 1440;
constexpr unsigned long kDctrlDcssCleared = 1420;  // bytes the robot.ini route clears
constexpr unsigned long kDctrlSysInfoSize = 120016;

extern unsigned char m_Init_tag;     // 1 once either route succeeded; never cleared
extern Pilot pilot;                  // numeric route: arm model
extern PilotLmt lmt;                 // numeric route: joint limits
extern NSPBase nbase;                // arm frames of the last successful inverse
extern FX_Pilot rob;                 // robot.ini route: link chain
extern IK_Poilt7 ik;                 // robot.ini route: locked-joint IK model
extern CfgConfig ms_DCTRL_CFG;       // robot.ini contents
extern unsigned char ms_DCTRL_DCSS[kDctrlDcssSize];         // host block, only cleared here
extern unsigned char ms_DCTRL_SysInfo[kDctrlSysInfoSize];   // host block, only cleared here
extern IniParser init_parser_;       // the document robot.ini is read through

#endif
