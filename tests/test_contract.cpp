// The host contract, checked at compile time: every function and method a host can reach has
// exactly the type the documentation gives it (return type, every parameter, static or member,
// const or not), and every record has the documented size and field offsets. The expected
// types and offsets are written here from the documentation, not taken from the headers, so a
// header that drifts fails this file's build.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

#include "tolvexkine.h"

namespace {

// Instantiated with both types, so that a failure names the expected and the actual one.
template <class Expected, class Actual>
struct Same {
  static_assert(std::is_same<Expected, Actual>::value, "differs from the host contract");
  static constexpr bool ok = true;
};

using S = std::string;
using ItemMap = std::map<S, IniParam>;
using SectionMap = std::map<S, IniSection>;
using M3 = double (*)[3];
using M4 = double (*)[4];
using M7 = double (*)[7];
using Rows8 = double (*)[8];
using u8 = unsigned char;

}  // namespace

// FN: a function or static member of exactly this type. OVL: one overload of exactly this type.
// MEM: a non-static member function of exactly this type. DATA: an exported object's type.
#define FN(T, name) static_assert(Same<T, decltype(&name)>::ok, #name)
#define OVL(T, name) static_assert(Same<T, decltype(static_cast<T>(&name))>::ok, #name)
#define DATA(T, name) static_assert(Same<T, decltype(name)>::ok, #name)
#define SIZE(R, n) static_assert(sizeof(R) == (n), "sizeof " #R)
#define FLD(R, f, T, off) \
  static_assert(Same<T, decltype(R::f)>::ok && offsetof(R, f) == (off), #R "::" #f)

// Entry points with C linkage: redeclaring them here fails unless the header agrees on
// linkage, result and parameters.
extern "C" {
int OnInitKine_TOLVEXKINE(long, const char*);
int OnKine(const double*, double (*)[4]);
int OnInvKine(double (*)[4], const double*, double*, u8*, u8*, u8*);
int OnInvKineDir(double (*)[4], const double*, double*, double*, u8*, u8*, u8*);
int OnInvKine_NSP(double, const double*, double*, u8*, u8*, u8*);
int OnInvKine_NSP_test(double (*)[4], const double*, double*, u8*, u8*, u8*, double);
void OnInvKineRange(double*, double*, bool*);
int OnInvKineRange_Cross67(double*, double*);
int OnJacob(const double*, double (*)[7]);
void FX_XYZABC2Matrix4DEG(double*, double (*)[4]);
int FX_Matrix42XYZABCDEG(double (*)[4], double*);
}

// Entry points and the model file.
OVL(int (*)(char*), OnInitKine);  // char*, as written; the const char* overload is extra
FN(bool (*)(FILE*, char*), OnGetLine);
FN(bool (*)(char*, double*, long&), OnGetValue);
FN(bool (*)(FILE*, long*, M4, M4, M3), FX_Load_Pilot_Cfg);
FN(bool (*)(FILE*, Pilot*, PilotLmt*), OnInitPilotPilotLmt);  // "bool (as an int 1/0)": bool

// Scalars, vectors, matrices, poses, quaternions. Where the contract names no result: void.
FN(double (*)(double), FX_Fabs);
FN(double (*)(double), my_fabs);
FN(double (*)(double), FX_Sqrt);
FN(double (*)(double), FX_SIN_ARC);
FN(double (*)(double), FX_COS_ARC);
FN(void (*)(double, double*, double*), FX_SIN_COS_ARC);
FN(double (*)(double), FX_SIN_DEG);
FN(double (*)(double), FX_COS_DEG);
FN(void (*)(double, double*, double*), FX_SIN_COS_DEG);
FN(double (*)(double, double), FX_ATan2);
FN(double (*)(double), FX_ACOS);
FN(void (*)(double*, long, double*, double*), FX_VectAdd);
FN(void (*)(double*, double*, double*), FX_VectCross);
FN(void (*)(double*), FX_VectNorm);
FN(void (*)(M4, double*, double*), FX_MVmult43);
FN(void (*)(M4, M4), FX_M44Copy);
FN(void (*)(M4), IdentM44);
FN(void (*)(M4, M4), FX_TMatTranspose);
FN(void (*)(M4, M4, M4), FX_MMM44);
FN(void (*)(M3, M3, M3), FX_MMM33);
FN(void (*)(M3, M3), FX_M3Transport);
FN(void (*)(M4, double, double, M4), FX_XYZMRot);
FN(void (*)(M4, double, double, M4), XYZMRot);
FN(void (*)(M4, M4), FX_PGMatrixInv);
FN(void (*)(double*, M4), FX_XYZABC2PG);
FN(void (*)(double*, M4), XYZABC2MAT4);
FN(int (*)(M3, double*), Matrix2ZYZ);
FN(int (*)(M3, double*), Matrix2ZYX);
FN(void (*)(double*, double, M3, M3), FX_MatRotAxis);
FN(double (*)(double, double*), MinDif);
FN(void (*)(double*, double*, double*), FX_QuatMult);
FN(int (*)(double*), FX_QuaternionNorm);
FN(double (*)(double*), FX_QuaternionSqrtNorm);
FN(void (*)(double*, double*), FX_QuaternionConj);
FN(int (*)(double*, double*), FX_QuaternionInverse);
FN(void (*)(M4, double*), FX_Matrix2Quaternion);
FN(int (*)(double*, double*), OnMatrix2ABC2);  // "returns 1 always": int
FN(void (*)(double*), PNTPG_ABC2);

// Pilot arm. "8-bit result" and "1 or 0" of the solvers: unsigned char.
FN(void (*)(Pilot*, u8, M4), FX_Init_Pilot);
FN(void (*)(Pilot*, double*, M4), FX_Kine_Pilot);
FN(void (*)(Pilot*, M7), FX_Jacb_Pilot);
FN(int (*)(Pilot*, double), FX_GetJ4Type_Pilot);
FN(u8 (*)(Pilot*, double*, M4, NSPBase*, double*, u8*, u8*, u8*), FX_InvKine_Pilot);
FN(u8 (*)(Pilot*, double*, M4, double*, NSPBase*, double*, u8*, u8*, u8*), FX_InvKine_PilotDir);
FN(void (*)(double, double, double, double, double, double*), FX_SolveTrange2D);
FN(u8 (*)(NSPBase*, double, double*, double*, u8*), FX_SolveJ123ZNYZ);
FN(u8 (*)(NSPBase*, double, double*, double*, u8*), FX_SolveJ567ZNYZ);
FN(u8 (*)(NSPBase*, double, double*, double*, u8*), FX_SolveJ567ZNYX);
FN(u8 (*)(NSPBase*, double, double*, double*, u8*, u8*, u8*), FX_InvKine_Pilot_NSP);
FN(void (*)(PilotLmt*, u8, M4, M3), FX_Init_PilotLmt);
FN(void (*)(PilotLmt*), InitDBPara);
FN(void (*)(PilotLmt*, double*, double*), FX_CCSBD);
FN(void (*)(PilotLmt*, double*, double*, bool*), FX_CCSBD_CHECK);
FN(void (*)(PilotLmt*, double*, double*, bool&), FX_CCSBD_CHECK_old);

// INI document and loader: members are non-static unless the contract says static.
FN(bool (IniSection::*)() const, IniSection::OnEmpty);
FN(void (IniSection::*)(), IniSection::OnClear);
FN(void (IniSection::*)(const S&, const S&), IniSection::OnInsertItem);
FN(S (IniSection::*)(const S&), IniSection::OnGetValue);
FN(void* (IniSection::*)(const S&), IniSection::OnGetValuePtr);  // "pointer": void*
FN(bool (IniSection::*)(const S&, S), IniSection::OnSetValue);
FN(bool (IniSection::*)(const S&, void*), IniSection::OnSetValuePtr);
FN(void (IniSection::*)(std::vector<S>&), IniSection::OnGetKeyList);
FN(void (IniParser::*)(const char*, int, int&), IniParser::SkipLine);
FN(bool (IniParser::*)(const char*), IniParser::OnLoad);
FN(bool (IniParser::*)(const char*), IniParser::OnSave);
FN(void (IniParser::*)(std::vector<S>&), IniParser::OnGetSectionList);
OVL(bool (IniParser::*)(const S&, const S&, S&), IniParser::OnGetValue);
OVL(bool (IniParser::*)(const S&, const S&, char*, u8), IniParser::OnGetValue);
OVL(bool (IniParser::*)(const S&, const S&, int*, u8), IniParser::OnGetValue);
OVL(bool (IniParser::*)(const S&, const S&, double*, u8), IniParser::OnGetValue);
OVL(bool (IniParser::*)(const S&, const S&, S), IniParser::OnSetValue);
OVL(bool (IniParser::*)(const S&, const S&, const char*), IniParser::OnSetValue);
OVL(bool (IniParser::*)(const S&, const S&, int), IniParser::OnSetValue);
OVL(bool (IniParser::*)(const S&, const S&, double), IniParser::OnSetValue);
FN(bool (*)(char*, CfgConfig*), CUT::LoadRobotIni);  // static
static_assert(std::is_default_constructible<IniSection>::value &&
              std::is_default_constructible<IniParser>::value, "default constructors");
static_assert(std::has_virtual_destructor<IniSection>::value &&
              std::has_virtual_destructor<IniParser>::value, "virtual destructors");
FLD(IniParam, Value, S, 0);
FLD(IniParam, ValuePtr, void*, 32);
SIZE(IniParam, 40);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // classes with a virtual table
FLD(IniSection, Name, S, 8);
FLD(IniSection, Items, ItemMap, 40);
SIZE(IniSection, 88);  // the virtual table pointer, Name, Items: no base, no other data
FLD(IniParser, Sections, SectionMap, 8);
SIZE(IniParser, 56);
#pragma GCC diagnostic pop

// Link chain and dynamics.
FN(void (*)(FX_Link*, double), FX_Tmat);
FN(void (*)(double, double, double, double, M4), FX_TmatO);
FN(void (*)(FX_Pilot*, long, double, double, double, double, double, double*, double*, double),
   FX_SetLink);
FN(void (*)(FX_Pilot*, double, double, double, double), FX_SetFlange);
FN(void (*)(FX_Pilot*, double*, double, double*, double*), FX_SetTool);
FN(void (*)(FX_Pilot*), FX_RemoveTool);
FN(void (*)(FX_Pilot*, double*, M4), FX_KINE);
FN(void (*)(FX_Pilot*, double*, double*, double*, double*, double*, double*), FX_InvDyn);
FN(void (*)(FX_Pilot*, double*, double*, long, double*), FX_MMatInvDyn);
FN(void (*)(FX_Pilot*, double*, double*, M7), FX_CalMmat);
FN(void (*)(FX_Pilot*, double*, double*, double*, long, FX_CM_DPART_BUF*), FX_CMatInvDyn_A);
FN(void (*)(FX_Pilot*, double*, double*, double*, long, FX_CM_DPART_BUF*), FX_CMatInvDyn_B);
FN(void (*)(FX_Pilot*, double*, FX_CM_YTC_BUF*), FX_CalCmatDPT_Q);
FN(void (*)(FX_CM_YTC_BUF*, double*, M7, M7, M7), FX_CalCmat_DPT_QD);
FN(void (*)(Impd_Process_Data*, FX_Pilot*), FX_Impd_Process_Jacob);
FN(void (*)(M4, M4, double*), FX_M44ToM44);

// Locked-joint IK. "One byte" results: unsigned char.
FN(void (*)(IK_Poilt7*, FX_Pilot*), FX_InitIK_P7);
OVL(bool (*)(IK_Poilt7*, double*, M4), OnKine);  // "always returns 1 (true)": bool
FN(void (*)(M4, double*, u8*), FX_SolveZYZ);
FN(u8 (*)(IK_Poilt7*, double, M4, long*, Rows8), FX_IKLock7);
FN(u8 (*)(IK_Poilt7*, double, M4, long*, Rows8, u8*), FX_IKLock7_ALL);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, long*, Rows8), FX_IKLock7_With_Config);
FN(u8 (*)(IK_Poilt7*, long, double*, Rows8, double*), FX_SelectSolve);
FN(u8 (*)(IK_Poilt7*, long, double*, Rows8, double*), FX_SelectSolve_With_Range);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*), FX_IKRef7);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*), FX_IKRef7_With_Config);
FN(int (*)(double*), PP7);  // what the final character output returns: int
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*, u8*), FX_CALWPosSpan);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*, u8*), FX_CALWNegSpan);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*, double*, u8*, u8*), FX_CALWSpan);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*, double*, double*, u8*, u8*), FX_CALWSpan2);
FN(u8 (*)(IK_Poilt7*, double, double*, M4, double*, double*, double*, u8*, u8*),
   FX_CALWSpan2_With_Config);
FN(u8 (*)(IK_Poilt7*, double*, M4, double*, double*, u8*, u8*), FX_CALW);
FN(double (*)(double, double*, double*, double*), FX_Axis7_InInterval3);

// Profiles and filter: "return 1 ... 0" is int, the filter's "-> bool" is bool.
FN(double (*)(double), FXVDT_i_sign);
FN(int (*)(FXVDT*, double, double, double), FXVDT_OnInit);
FN(int (*)(FXVDT*), FXVDT_OnEmpty);
FN(int (*)(FXVDT*), FXVDT_OnS);
FN(int (*)(FXVDT*), FXVDT_OnV);
FN(int (*)(FXVDT*, double), FXVDT_OnU);
FN(int (*)(FXVDT*, double, double*), FXVDT_OnDT_B);
FN(int (*)(FXVDT*, double, double), FXVDT_OnSetRunTimeLmt);
FN(int (*)(FXNSyncDTS*, long, double, double*, double*, double*), FXNSyncDTS_OnInit);
FN(int (*)(FXNSyncDTS*), FXNSyncDTS_OnEmpty);
FN(int (*)(FXNSyncDTS*, double*, double*), FXNSyncDTS_OnSetRunTimeLmt);
FN(int (*)(FXNSyncDTS*, double*, double*), FXNSyncDTS_OnDT);
FN(int (*)(FXNSyncDTS*, double*), FXNSyncDTS_OnDT_U);
FN(int (*)(FXNSyncDTS*, double*, double*, double*, double*), FXNSyncDTS_OnGetCurPVA);
FN(int (*)(FXNSyncDTS*, double*, double*, double*), FXNSyncDTS_OnGetCurPVA_U);
FN(bool (*)(FXAVGF*, long, long), FXAVGF_OnInit);
FN(bool (*)(FXAVGF*), FXAVGF_OnEmpty);
FN(bool (*)(FXAVGF*, double*, double*), FXAVGF_OnFilt);

// Exported objects. "One byte" and the opaque blocks: unsigned char.
DATA(unsigned char, m_Init_tag);
DATA(Pilot, pilot);
DATA(PilotLmt, lmt);
DATA(NSPBase, nbase);
DATA(FX_Pilot, rob);
DATA(IK_Poilt7, ik);
DATA(CfgConfig, ms_DCTRL_CFG);
DATA(unsigned char[1440], ms_DCTRL_DCSS);
DATA(unsigned char[120016], ms_DCTRL_SysInfo);
DATA(IniParser, init_parser_);
DATA(const double[1001], FX_CosAccTable);
DATA(const double[1001], FX_SinAccTable);
DATA(const double[3600], FX_CosTable);

// Records, natural alignment. Names the contract does not give (Pilot, NSPBase, reserved space)
// are ours; their offsets are the contract's.
SIZE(CfgLink, 344);
FLD(CfgLink, Type, int, 0);
FLD(CfgLink, WorkMode, int, 4);
FLD(CfgLink, EncType, int, 8);
FLD(CfgLink, EncRes, int, 12);
FLD(CfgLink, EncOffset, int, 16);
FLD(CfgLink, EncDir, int, 20);
FLD(CfgLink, ExtEncRes, int, 24);
FLD(CfgLink, Ratio1, double, 32);
FLD(CfgLink, Ratio2, double, 40);
FLD(CfgLink, LimitPos, double, 48);
FLD(CfgLink, LimitNeg, double, 56);
FLD(CfgLink, SensorK, double, 64);
FLD(CfgLink, SensorOffset, int, 72);
FLD(CfgLink, SensorDir, int, 76);
FLD(CfgLink, CurrentDir, int, 80);
FLD(CfgLink, VelMax, double, 88);
FLD(CfgLink, AccMax, double, 96);
FLD(CfgLink, TorqueMax, double, 104);
FLD(CfgLink, A, double, 112);
FLD(CfgLink, D, double, 120);
FLD(CfgLink, Alpha, double, 128);
FLD(CfgLink, Theta, double, 136);
FLD(CfgLink, Mass, double, 144);
FLD(CfgLink, Com, double[3], 152);
FLD(CfgLink, Inertia, double[6], 176);
FLD(CfgLink, RotorInertia, double, 224);
SIZE(CfgFlange, 32);
FLD(CfgFlange, A, double, 0);
FLD(CfgFlange, D, double, 8);
FLD(CfgFlange, Alpha, double, 16);
FLD(CfgFlange, Theta, double, 24);
SIZE(CfgArm, 3064);
FLD(CfgArm, Dof, int, 0);
FLD(CfgArm, Type, int, 4);
FLD(CfgArm, GravityX, double, 8);
FLD(CfgArm, GravityY, double, 16);
FLD(CfgArm, GravityZ, double, 24);
FLD(CfgArm, Link, CfgLink[7], 32);
FLD(CfgArm, Flange, CfgFlange, 2440);
SIZE(CfgConfig, 6176);  // 6168 bytes of fields and 8 reserved ones at the end
FLD(CfgConfig, Loaded, int, 0);
FLD(CfgConfig, Name, char[32], 4);
FLD(CfgConfig, BusFreq, int, 36);
FLD(CfgConfig, Arm, CfgArm[2], 40);
SIZE(Pilot, 3520);
FLD(Pilot, variant, unsigned char, 0);
FLD(Pilot, fixed, double[7][4][4], 8);
FLD(Pilot, moved, double[7][4][4], 904);
FLD(Pilot, flange, double[4][4], 1800);
FLD(Pilot, flange_inv, double[4][4], 1928);
FLD(Pilot, flange_pose, double[4][4], 2056);
FLD(Pilot, tool, double[4][4], 2184);
FLD(Pilot, tool2, double[4][4], 2312);
FLD(Pilot, tool_pose, double[4][4], 2440);
FLD(Pilot, joint_pose, double[7][4][4], 2568);
FLD(Pilot, L1, double, 3464);
FLD(Pilot, L2, double, 3472);
FLD(Pilot, upper_offset, double, 3480);
FLD(Pilot, fore_offset, double, 3488);
FLD(Pilot, elbow_angle, double, 3496);
FLD(Pilot, straight_reach, double, 3504);
FLD(Pilot, straight_q4, double, 3512);
SIZE(NSPBase, 256);
FLD(NSPBase, variant, unsigned char, 0);
FLD(NSPBase, elbow_type, int, 4);
FLD(NSPBase, q4, double, 8);
FLD(NSPBase, target_rot, double[9], 16);
FLD(NSPBase, axis_u, double[3], 88);
FLD(NSPBase, upper_frame, double[9], 112);
FLD(NSPBase, fore_frame, double[9], 184);
SIZE(PilotLmt, 520);
FLD(PilotLmt, Coupled, unsigned char, 0);
FLD(PilotLmt, JointMin, double[7], 8);
FLD(PilotLmt, JointMax, double[7], 64);
FLD(PilotLmt, JointLim3, double[7], 120);
FLD(PilotLmt, JointLim4, double[7], 176);
FLD(PilotLmt, Curve, double[4][3], 232);
FLD(PilotLmt, CornerSlope, double[8], 328);
FLD(PilotLmt, Corner, double[8][2], 392);
SIZE(FX_Link, 272);
FLD(FX_Link, alpha, double, 0);
FLD(FX_Link, a, double, 8);
FLD(FX_Link, d, double, 16);
FLD(FX_Link, theta, double, 24);
FLD(FX_Link, mass, double, 32);
FLD(FX_Link, com, double[3], 40);
FLD(FX_Link, inertia, double[6], 64);
FLD(FX_Link, sin_alpha, double, 112);
FLD(FX_Link, cos_alpha, double, 120);
FLD(FX_Link, T, double[4][4], 128);
FLD(FX_Link, fast, unsigned char, 256);
FLD(FX_Link, rotor_inertia, double, 264);
SIZE(FX_Pilot, 6296);
FLD(FX_Pilot, n, int, 0);
FLD(FX_Pilot, type, int, 4);
FLD(FX_Pilot, links, FX_Link[8], 8);
FLD(FX_Pilot, dyn_inertia, double[8][6], 2184);
FLD(FX_Pilot, dyn_moment, double[8][4], 2568);
FLD(FX_Pilot, dyn_ready, long, 2824);
FLD(FX_Pilot, local_T, double[9][4][4], 2832);
FLD(FX_Pilot, local_Tt, double[9][4][4], 3984);
FLD(FX_Pilot, chain_T, double[9][4][4], 5136);
FLD(FX_Pilot, kin_cached, long, 6288);
SIZE(FX_CM_YTC_BUF, 3136);
FLD(FX_CM_YTC_BUF, mixed, double[7][7][7], 0);
FLD(FX_CM_YTC_BUF, square, double[7][7], 2744);
SIZE(FX_CM_DPART_BUF, 888);
FLD(FX_CM_DPART_BUF, w, double[7][3], 0);
FLD(FX_CM_DPART_BUF, wd, double[7][3], 168);
FLD(FX_CM_DPART_BUF, vd, double[7][3], 336);
FLD(FX_CM_DPART_BUF, F, double[8][3], 504);
FLD(FX_CM_DPART_BUF, N, double[8][3], 696);
SIZE(IK_Poilt7, 3200);
FLD(IK_Poilt7, d1, double, 0);
FLD(IK_Poilt7, d3, double, 8);
FLD(IK_Poilt7, d5, double, 16);
FLD(IK_Poilt7, d7, double, 24);
FLD(IK_Poilt7, a4, double, 32);
FLD(IK_Poilt7, a5, double, 40);
FLD(IK_Poilt7, dF, double, 48);
FLD(IK_Poilt7, full_turn, long, 56);
FLD(IK_Poilt7, L_fore, double, 64);
FLD(IK_Poilt7, L_upper, double, 72);
FLD(IK_Poilt7, ang_fore, double, 80);
FLD(IK_Poilt7, ang_upper, double, 88);
FLD(IK_Poilt7, elbow_ref, double, 96);
FLD(IK_Poilt7, reach, double, 104);
FLD(IK_Poilt7, M_fix, double[8][4][4], 112);
FLD(IK_Poilt7, M_joint, double[8][4][4], 1136);
FLD(IK_Poilt7, M_acc, double[8][4][4], 2160);
FLD(IK_Poilt7, elbow_ref_m180, double, 3184);
FLD(IK_Poilt7, spare, double, 3192);
SIZE(FXVDT, 128);
FLD(FXVDT, saved_pos, double, 0);
FLD(FXVDT, saved_vel, double, 8);
FLD(FXVDT, pos, double, 16);
FLD(FXVDT, vel, double, 24);
FLD(FXVDT, acc, double, 32);
FLD(FXVDT, cycle, double, 40);
FLD(FXVDT, h, double, 48);
FLD(FXVDT, acc_step, double, 56);
FLD(FXVDT, ready, unsigned char, 64);
FLD(FXVDT, reset, unsigned char, 65);
FLD(FXVDT, vmax, double, 72);
FLD(FXVDT, slowing, unsigned char, 80);
FLD(FXVDT, vmax_target, double, 88);
FLD(FXVDT, saved_vmax_target, double, 96);
FLD(FXVDT, saved_slowing, unsigned char, 104);
FLD(FXVDT, saved_vmax, double, 112);
FLD(FXVDT, period, double, 120);
SIZE(FXNSyncDTS, 8080);
FLD(FXNSyncDTS, vdt, FXVDT[8], 0);
FLD(FXNSyncDTS, n, long, 1024);
FLD(FXNSyncDTS, ready, unsigned char, 1032);
FLD(FXNSyncDTS, reset, unsigned char, 1033);
FLD(FXNSyncDTS, vel, double[8], 1040);
FLD(FXNSyncDTS, acc, double[8], 1104);
FLD(FXNSyncDTS, raw, double[8], 1168);
FLD(FXNSyncDTS, pos, double[8], 1232);
FLD(FXNSyncDTS, target, double[8], 1296);
FLD(FXNSyncDTS, buf, double[8][100], 1360);
FLD(FXNSyncDTS, win, long[8], 7760);
FLD(FXNSyncDTS, win_f, double[8], 7824);
FLD(FXNSyncDTS, sum, double[8], 7888);
FLD(FXNSyncDTS, tick, long[8], 7952);
FLD(FXNSyncDTS, slot, long[8], 8016);
SIZE(FXAVGF, 6440);
FLD(FXAVGF, Buf, double[8][100], 0);
FLD(FXAVGF, Channels, long, 6400);
FLD(FXAVGF, Pos, long, 6408);
FLD(FXAVGF, Span, long, 6416);
FLD(FXAVGF, Ready, long, 6424);
FLD(FXAVGF, Restart, unsigned char, 6432);

FLD(CfgLink, Reserved, double[14], 232);
FLD(CfgArm, Reserved, unsigned char[592], 2472);
FLD(CfgConfig, Reserved, unsigned char[8], 6168);
// The contract lists only the fields the library uses and leaves the others open: the record
// holds these fields alone, in the contract's order.
FLD(Impd_Process_Data, q, double[7], 0);
FLD(Impd_Process_Data, pose, double[4][4], 56);
FLD(Impd_Process_Data, J, double[6][7], 184);
FLD(Impd_Process_Data, JT, double[7][6], 520);
FLD(Impd_Process_Data, jacob_ok, unsigned char, 856);
