#include "ik7/IKPoilt7.h"

#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxScalar.h"

namespace {

constexpr double kM2MM = 1000.0;

// Rigid transform from a translation (mm) and the rotation Rz(C) Rx(A) (degrees).
void fixed_transform(double x, double y, double z, double A, double C, double m[4][4])
{
    double xyzabc[6] = {x, y, z, A, 0.0, C};
    XYZABC2MAT4(xyzabc, m);
}

double alpha_deg(const FX_Link& link) { return link.alpha * FX_RAD2DEG; }
double theta_deg(const FX_Link& link) { return link.theta * FX_RAD2DEG; }

}  // namespace

void FX_InitIK_P7(IK_Poilt7* ik, FX_Pilot* rob)
{
    for (int k = 0; k < 8; ++k) {
        IdentM44(ik->M_fix[k]);
        IdentM44(ik->M_joint[k]);
    }

    const FX_Link* links = rob->links;
    ik->d1 = links[0].d * kM2MM;
    ik->d3 = links[2].d * kM2MM;
    ik->d5 = links[4].d * kM2MM;
    ik->d7 = links[6].d * kM2MM;
    ik->a4 = links[3].a * kM2MM;
    ik->a5 = links[4].a * kM2MM;
    ik->dF = links[7].d * kM2MM;

    const double xyz[6][3] = {
        {0.0, 0.0, ik->d1}, {0.0, 0.0, 0.0},    {0.0, ik->d3, 0.0},
        {ik->a4, 0.0, 0.0}, {ik->a5, ik->d5, 0.0}, {0.0, 0.0, 0.0},
    };
    for (int k = 0; k < 6; ++k)
        fixed_transform(xyz[k][0], xyz[k][1], xyz[k][2], alpha_deg(links[k]), theta_deg(links[k]),
                        ik->M_fix[k]);

    const double a7 = links[6].a * kM2MM;
    const double aF = links[7].a * kM2MM;
    if (rob->type == 1007) {
        fixed_transform(a7, ik->d7, 0.0, alpha_deg(links[6]), theta_deg(links[6]), ik->M_fix[6]);
        fixed_transform(aF, 0.0, ik->dF, alpha_deg(links[7]), theta_deg(links[7]), ik->M_fix[7]);
    } else if (rob->type == 1017) {
        // This wrist ignores the chain's joint-7 angles; its flange offset lies along x.
        fixed_transform(a7, ik->d7, 0.0, 90.0, 90.0, ik->M_fix[6]);
        double flange[6] = {ik->dF, 0.0, 0.0, 180.0, -90.0, theta_deg(links[7])};
        XYZABC2MAT4(flange, ik->M_fix[7]);
    }

    ik->L_fore = FX_Sqrt(ik->d5 * ik->d5 + ik->a5 * ik->a5);
    ik->L_upper = FX_Sqrt(ik->d3 * ik->d3 + ik->a4 * ik->a4);
    ik->ang_fore = FX_ATan2(-ik->a5, ik->d5) * FX_RAD2DEG;
    ik->ang_upper = FX_ATan2(ik->a4, ik->d3) * FX_RAD2DEG;
    ik->elbow_ref = 180.0 - ik->ang_fore - ik->ang_upper;
    const double stretched = ik->d1 + ik->d3 + ik->d5 + ik->d7;
    ik->reach = FX_Sqrt(stretched * stretched + a7 * a7);
    ik->elbow_ref_m180 = ik->elbow_ref - 180.0;
    ik->full_turn = 360;
}

bool OnKine(IK_Poilt7* ik, double* q, double T[4][4])
{
    for (int k = 0; k < 7; ++k) {
        double s, c;
        FX_SIN_COS_ARC(q[k] * FX_DEG2RAD, &s, &c);
        FX_XYZMRot(ik->M_fix[k], c, s, ik->M_joint[k]);
    }
    FX_M44Copy(ik->M_joint[0], ik->M_acc[0]);
    for (int k = 1; k < 8; ++k)
        FX_MMM44(ik->M_acc[k - 1], ik->M_joint[k], ik->M_acc[k]);
    FX_MMM44(ik->M_acc[7], ik->M_fix[7], T);
    return true;
}

void FX_SolveZYZ(double R[4][4], double* ang, unsigned char* singular)
{
    const double b = FX_ATan2(FX_Sqrt(R[2][0] * R[2][0] + R[2][1] * R[2][1]), R[2][2]);
    ang[1] = b;
    // The square root of the angle is what is compared: b below 1e-6 rad.
    if (FX_Sqrt(b) < 0.001) {
        ang[0] = 0.0;
        ang[2] = FX_ATan2(-R[0][1], R[0][0]);
        *singular = 1;
    } else {
        const double s = FX_SIN_ARC(b);
        ang[0] = FX_ATan2(-R[1][2] / s, R[0][2] / s);
        ang[2] = FX_ATan2(-R[2][1] / s, -R[2][0] / s);
        *singular = 0;
    }
    for (int i = 0; i < 3; ++i)
        ang[i] *= FX_RAD2DEG;
}
