// Joint limits of the Pilot arm and the coupled range of joints 6 and 7, whose
// limit rectangle has its four corners cut by parabolas q7 = a*q6^2 + b*q6 + c.
// Joint values in degrees.
#ifndef TOLVEX_PILOT_PILOTLMT_H
#define TOLVEX_PILOT_PILOTLMT_H

struct PilotLmt {
    unsigned char Coupled;   // 0: plain q6/q7 rectangle; non-zero: corners cut by Curve
    double JointMin[7];      // lower limit per joint, degrees
    double JointMax[7];      // upper limit per joint, degrees
    double JointLim3[7];     // third limit column of the model file, stored only
    double JointLim4[7];     // fourth limit column of the model file, stored only
    double Curve[4][3];      // (a, b, c) per quadrant: upper right, upper left, lower left, lower right
    double CornerSlope[8];   // q7/q6 slope of each corner point (derived)
    double Corner[8][2];     // corner points (q6, q7), degrees (derived); point 7 is never written
};

// Stores the limits (columns of `limits`) and, only when coupled == 1, the curves;
// then derives the corners.
void FX_Init_PilotLmt(PilotLmt* lmt, unsigned char coupled, double limits[7][4], double curves[4][3]);
// Prints the q6/q7 limits and the curve coefficients, then derives CornerSlope and
// Corner. Does nothing while Coupled is 0.
void InitDBPara(PilotLmt* lmt);
// Boundary point (q6, q7) in the direction of q67 = (q6, q7).
void FX_CCSBD(PilotLmt* lmt, double* q67, double* bound);
// Boundary point for joints[5..6]; sets (never clears) outside[i] for joints 1-5
// beyond their limits and outside[5], outside[6] when q6/q7 is beyond its corner curve.
// NaN joints count as outside (joints 6/7 only where a curve is tested).
void FX_CCSBD_CHECK(PilotLmt* lmt, double* joints, double* bound, bool* outside);
// Two-joint form: sets (never clears) `outside` when q67 is beyond its corner curve.
void FX_CCSBD_CHECK_old(PilotLmt* lmt, double* q67, double* bound, bool& outside);

#endif
