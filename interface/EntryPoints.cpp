#include <cstdio>

#include "interface/Globals.h"
#include "interface/ModelFile.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotNSP.h"

namespace {

// The solvers take mutable joint arrays; the entry points promise not to write the caller's.
void copyJoints(const double* from, double* to)
{
    for (int i = 0; i < 7; ++i)
        to[i] = from[i];
}

}  // namespace

extern "C" int OnInitKine_TOLVEXKINE(long serial, const char* path)
{
    FILE* stream = fopen(path, "rb");
    if (stream == nullptr)
        return 0;
    if (!OnInitPilotPilotLmt(stream, &pilot, &lmt)) {
        fclose(stream);
        return 0;
    }
    if (serial == 0) {
        fclose(stream);
        m_Init_tag = 1;
        puts("[Tolvex Kine]\nserial=0, tolvex config loaded");
        return 1;
    }
    if (serial != 1)
        return 0;  // the stream is left open, as hosts of this route expect
    if (!OnInitPilotPilotLmt(stream, &pilot, &lmt)) {
        fclose(stream);
        return 0;
    }
    // The second block's stream is deliberately left open.
    m_Init_tag = 1;
    puts("[Tolvex Kine]\nserial=1, tolvex config loaded");
    return 1;
}

extern "C" int OnKine(const double joints[7], double pose[4][4])
{
    if (!m_Init_tag)
        return 0;
    double local[7];
    copyJoints(joints, local);
    FX_Kine_Pilot(&pilot, local, pose);
    pose[3][0] = 0;
    pose[3][1] = 0;
    pose[3][2] = 0;
    pose[3][3] = 1;
    return 1;
}

extern "C" int OnInvKine(double pose[4][4], const double ref_joints[7], double out_joints[7],
                         unsigned char* flag1, unsigned char* flag2, unsigned char* flag3)
{
    if (!m_Init_tag)
        return 0;
    double ref[7];
    copyJoints(ref_joints, ref);
    return FX_InvKine_Pilot(&pilot, ref, pose, &nbase, out_joints, flag1, flag2, flag3) ? 1 : 0;
}

extern "C" int OnInvKineDir(double pose[4][4], const double ref_joints[7], double* dir,
                            double out_joints[7], unsigned char* flag1, unsigned char* flag2,
                            unsigned char* flag3)
{
    if (!m_Init_tag)
        return 0;
    double ref[7];
    copyJoints(ref_joints, ref);
    return FX_InvKine_PilotDir(&pilot, ref, pose, dir, &nbase, out_joints, flag1, flag2, flag3) ? 1
                                                                                              : 0;
}

extern "C" int OnInvKine_NSP(double nsp_angle, const double ref_joints[7], double out_joints[7],
                             unsigned char* flag1, unsigned char* flag2, unsigned char* flag3)
{
    double ref[7];
    copyJoints(ref_joints, ref);
    return FX_InvKine_Pilot_NSP(&nbase, nsp_angle, ref, out_joints, flag1, flag2, flag3) ? 1 : 0;
}

extern "C" int OnInvKine_NSP_test(double pose[4][4], const double ref_joints[7],
                                  double out_joints[7], unsigned char* flag1,
                                  unsigned char* flag2, unsigned char* flag3, double nsp_angle)
{
    const double* r = ref_joints;
    puts("[Tolvex Kinematic]");
    printf("nsp_angle = %lf\n", nsp_angle);
    printf("ref_joints = [%lf %lf %lf %lf %lf %lf %lf]\n", r[0], r[1], r[2], r[3], r[4], r[5], r[6]);
    double ref[7];
    copyJoints(ref_joints, ref);
    double scratch[7] = {0, 0, 0, 0, 0, 0, 0};
    if (!FX_InvKine_Pilot(&pilot, ref, pose, &nbase, scratch, flag1, flag2, flag3)) {
        puts("err1");
        return 0;
    }
    if (!FX_InvKine_Pilot_NSP(&nbase, nsp_angle, ref, out_joints, flag1, flag2, flag3)) {
        puts("err2");
        return 0;
    }
    const double* q = out_joints;
    printf("return_joints=[%lf %lf %lf %lf %lf %lf %lf]\n", q[0], q[1], q[2], q[3], q[4], q[5], q[6]);
    return 1;
}

extern "C" void OnInvKineRange(double* joints, double* bound, bool* outside)
{
    FX_CCSBD_CHECK(&lmt, joints, bound, outside);
}

extern "C" int OnInvKineRange_Cross67(double* q67, double* bound)
{
    bool outside = false;
    FX_CCSBD_CHECK_old(&lmt, q67, bound, outside);
    return !outside;
}

extern "C" int OnJacob(const double joints[7], double jacobian[6][7])
{
    if (!m_Init_tag)
        return 0;
    double local[7];
    copyJoints(joints, local);
    double pose[4][4];
    FX_Kine_Pilot(&pilot, local, pose);
    FX_Jacb_Pilot(&pilot, jacobian);
    return 1;
}
