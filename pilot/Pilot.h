// The Pilot arm model: spherical shoulder, offset elbow, three-axis wrist in
// two variants (0: Z-Y-Z wrist, 1: Z-Y-X wrist). Set-up from the model file's
// geometry table, forward kinematics, Jacobian and elbow classification.
// Joint angles in degrees, lengths in millimetres.
#ifndef TOLVEX_PILOT_PILOT_H
#define TOLVEX_PILOT_PILOT_H

struct Pilot {
    unsigned char variant;         // 0 (type 1007) or 1 (type 1017)
    double fixed[7][4][4];         // joint i frame relative to moved frame i-1 at angle 0
    double moved[7][4][4];         // fixed frame i turned by joint angle i about its z
    double flange[4][4];           // flange relative to the moved frame of joint 7
    double flange_inv[4][4];       // rigid inverse of flange
    double flange_pose[4][4];      // flange in base coordinates (last FK), mm
    double tool[4][4];             // tool centre relative to the flange; identity after set-up
    double tool2[4][4];            // second tool slot, read by the inverse kinematics
    double tool_pose[4][4];        // tool centre in base coordinates (last FK), mm
    double joint_pose[7][4][4];    // joint frames in base coordinates (last FK), mm
    double L1;                     // upper-arm reach sqrt(d3^2 + a^2), mm
    double L2;                     // forearm reach sqrt(d5^2 + a^2), mm
    double upper_offset;           // atan2(a, d3), degrees
    double fore_offset;            // atan2(a, d5), degrees
    double elbow_angle;            // 180 - upper_offset - fore_offset, degrees
    double straight_reach;         // sqrt(L1^2 + L2^2), mm
    double straight_q4;            // joint-4 angle of the straight elbow, -upper_offset, degrees
};

void FX_Init_Pilot(Pilot* pilot, unsigned char variant, double geometry[8][4]);
void FX_Kine_Pilot(Pilot* pilot, double* joints, double pose[4][4]);
// Tool-centre Jacobian for the last FX_Kine_Pilot joints; rows 0-2 in metres per radian.
void FX_Jacb_Pilot(Pilot* pilot, double jacobian[6][7]);
// 1 above the straight elbow angle + 1e-5, -1 below it - 1e-5, 0 within the band.
int FX_GetJ4Type_Pilot(Pilot* pilot, double q4);

#endif
