// Geometric model of the seven-axis arm for the locked-joint solvers, derived
// from the link chain (millimetres, degrees), its forward kinematics and the
// Z-Y-Z extraction used for the shoulder.
#ifndef TOLVEX_IK7_IKPOILT7_H
#define TOLVEX_IK7_IKPOILT7_H

#include "dynamics/FxChain.h"

struct IK_Poilt7 {
    double d1;                 // shoulder height above the base, mm
    double d3;                 // upper-arm offset along its axis, mm
    double d5;                 // forearm offset along its axis, mm
    double d7;                 // wrist-to-joint-7 offset, mm
    double a4;                 // elbow offset before joint 4, mm
    double a5;                 // elbow offset after joint 4, mm
    double dF;                 // flange offset along the last axis, mm
    long full_turn;            // one turn, 360 degrees
    double L_fore;             // elbow axis to wrist point, mm
    double L_upper;            // shoulder point to elbow axis, mm
    double ang_fore;           // atan2(-a5, d5), degrees
    double ang_upper;          // atan2(a4, d3), degrees
    double elbow_ref;          // 180 - ang_fore - ang_upper, degrees
    double reach;              // length of the stretched arm, mm
    double M_fix[8][4][4];     // fixed transform before each joint rotation; [7] the flange, mm
    double M_joint[8][4][4];   // M_fix[k] turned by joint k+1 (last evaluation); [7] identity, mm
    double M_acc[8][4][4];     // M_joint[0] x ... x M_joint[k] (last evaluation), mm
    double elbow_ref_m180;     // elbow_ref - 180, degrees: splits the two elbow branches
    double spare;              // left untouched by set-up and by the solvers
};

// Builds the model from a chain whose links, flange, n and type are set.
// Types 1007 and 1017 differ in the joint-7 and flange transforms; any other
// type leaves both at the identity.
void FX_InitIK_P7(IK_Poilt7* ik, FX_Pilot* rob);

// Flange pose (mm) of seven joint angles (degrees). Overwrites M_joint[0..6]
// and M_acc. Always true.
bool OnKine(IK_Poilt7* ik, double* q, double T[4][4]);

// Z-Y-Z angles (degrees) of the rotation block of R. For R = Rz(a) Ry(b) Rz(c)
// the regular case gives (-a, b, -c) and *singular = 0; when sqrt(b) < 0.001
// it gives (0, b, a + c) and *singular = 1 (note the opposite sign).
void FX_SolveZYZ(double R[4][4], double* ang, unsigned char* singular);

#endif
