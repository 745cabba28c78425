// The robot.ini initialisation route: loads robot.ini into ms_DCTRL_CFG and
// builds the link chain `rob` and the locked-joint IK model `ik` from arm 0.
#ifndef TOLVEX_INTERFACE_ROBOTINIROUTE_H
#define TOLVEX_INTERFACE_ROBOTINIROUTE_H

#include "config/CUT.h"
#include "dynamics/FxChain.h"
#include "ik7/IKPoilt7.h"

// Builds `chain` link by link from arm 0 of `cfg` (mm and degrees converted to m
// and rad), with its flange and no tool, then `model` from it. 0, with both
// untouched, when arm 0's "Dof" lies outside 0..7.
int FX_InitKineFromCfg(CfgConfig* cfg, FX_Pilot* chain, IK_Poilt7* model);

// 1 on success, 0 when robot.ini cannot be loaded or arm 0 has more links than
// the chain holds (a "Dof" outside 0..7).
int OnInitKine(char* path);
// Forwards to OnInitKine(char*), so that C++ hosts can pass string literals.
int OnInitKine(const char* path);

#endif
