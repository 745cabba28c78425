#include "interface/RobotIniRoute.h"

#include <cstring>

#include "interface/Globals.h"
#include "math/FxScalar.h"

int FX_InitKineFromCfg(CfgConfig* cfg, FX_Pilot* chain, IK_Poilt7* model)
{
    CfgArm& arm = cfg->Arm[0];
    // The chain has seven joint slots; a larger (or negative) count would index past them.
    if (arm.Dof > 7 || arm.Dof < 0)
        return 0;
    for (int i = 0; i < arm.Dof; ++i) {
        CfgLink& link = arm.Link[i];
        FX_SetLink(chain, i, link.Alpha * FX_DEG2RAD, link.A * FX_MM2M, link.D * FX_MM2M,
                   link.Theta * FX_DEG2RAD, link.Mass, link.Com, link.Inertia, link.RotorInertia);
    }
    FX_SetFlange(chain, 0, 0, arm.Flange.D * FX_MM2M, 0);
    chain->n = arm.Dof;
    chain->type = arm.Type;
    FX_RemoveTool(chain);
    FX_InitIK_P7(model, chain);
    return 1;
}

int OnInitKine(char* path)
{
    memset(ms_DCTRL_DCSS, 0, kDctrlDcssCleared);
    memset(ms_DCTRL_SysInfo, 0, kDctrlSysInfoSize);
    if (!CUT::LoadRobotIni(path, &ms_DCTRL_CFG))
        return 0;
    if (!FX_InitKineFromCfg(&ms_DCTRL_CFG, &rob, &ik))
        return 0;
    m_Init_tag = 1;
    return 1;
}

int OnInitKine(const char* path)
{
    // The loader only reads the path; the char* form is the exported contract.
    return OnInitKine(const_cast<char*>(path));
}
