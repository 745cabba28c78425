#include "pilot/PilotLmt.h"

#include <cmath>
#include <cstdio>

namespace {

// Half-width of the band around q6 = 0 where the direction q7/q6 is not trusted.
const double kNearZeroQ6 = 2e-5;

enum CurveRow { kUpperRight = 0, kUpperLeft = 1, kLowerLeft = 2, kLowerRight = 3 };

double CurveValue(const double* curve, double x)
{
    return curve[0] * x * x + curve[1] * x + curve[2];
}

// Root of a*x^2 + b*x + c = 0; each corner keeps its own fixed choice of root.
double QuadraticRoot(double a, double b, double c, bool plus_root)
{
    const double root_of_discriminant = std::sqrt(b * b - 4 * a * c);
    if (plus_root) {
        return (root_of_discriminant - b) / (2 * a);
    }
    return (-b - root_of_discriminant) / (2 * a);
}

// Zero counts as the non-positive side for both joints.
CurveRow QuadrantOf(double q6, double q7)
{
    if (q6 > 0) {
        return q7 > 0 ? kUpperRight : kLowerRight;
    }
    return q7 > 0 ? kUpperLeft : kLowerLeft;
}

// Writes the rectangle corner of the quadrant and returns false when the curves do
// not apply (uncoupled, or q6 too close to zero for a direction); true otherwise.
bool CurvesApply(const PilotLmt* lmt, double q6, double q7, double* bound)
{
    const bool q6_near_zero = -kNearZeroQ6 < q6 && q6 < kNearZeroQ6;
    if (lmt->Coupled != 0 && !q6_near_zero) {
        return true;
    }
    bound[0] = q6 > 0 ? lmt->JointMax[5] : lmt->JointMin[5];
    bound[1] = q7 > 0 ? lmt->JointMax[6] : lmt->JointMin[6];
    return false;
}

// Points exactly on the curve are inside; NaN joints are beyond it.
bool BeyondCurve(const PilotLmt* lmt, CurveRow row, double q6, double q7)
{
    const double* curve = lmt->Curve[row];
    const double limit = q6 * (curve[0] * q6 + curve[1]) + curve[2];
    if (row == kUpperRight || row == kUpperLeft) {
        return !(q7 <= limit);
    }
    return !(limit <= q7);
}

// Corner point where the direction of slope s leaves the curve's span, or null.
const double* CornerBeyondSlope(const PilotLmt* lmt, CurveRow row, double s)
{
    const double* slope = lmt->CornerSlope;
    switch (row) {
    case kUpperRight:
        if (s < slope[0]) return lmt->Corner[0];
        if (s > slope[1]) return lmt->Corner[1];
        break;
    case kUpperLeft:
        if (s > slope[3]) return lmt->Corner[3];
        if (s < slope[2]) return lmt->Corner[2];
        break;
    case kLowerLeft:
        if (s < slope[4]) return lmt->Corner[4];
        if (s > slope[5]) return lmt->Corner[5];
        break;
    case kLowerRight:
        // Corner 7 is never derived, so this side yields (0, 0) on a zeroed record.
        if (s < slope[6]) return lmt->Corner[6];
        if (s > slope[7]) return lmt->Corner[7];
        break;
    }
    return nullptr;
}

// Boundary point on the curve of the quadrant along the ray q7 = s * q6.
void CurveBoundary(const PilotLmt* lmt, CurveRow row, double q6, double q7, double* bound)
{
    const double s = q7 / q6;
    const double* corner = CornerBeyondSlope(lmt, row, s);
    if (corner != nullptr) {
        bound[0] = corner[0];
        bound[1] = corner[1];
        return;
    }
    const double* curve = lmt->Curve[row];
    const bool plus_root = row == kUpperLeft || row == kLowerRight;
    const double x = QuadraticRoot(curve[0], curve[1] - s, curve[2], plus_root);
    bound[0] = x;
    bound[1] = CurveValue(curve, x);
}

// Boundary point plus the curve test; true when (q6, q7) is beyond its corner curve.
bool CheckedBoundary(const PilotLmt* lmt, double q6, double q7, double* bound)
{
    if (!CurvesApply(lmt, q6, q7, bound)) {
        return false;
    }
    const CurveRow row = QuadrantOf(q6, q7);
    const bool beyond = BeyondCurve(lmt, row, q6, q7);
    CurveBoundary(lmt, row, q6, q7, bound);
    return beyond;
}

// Corner where curve `row` meets the edge q6 = edge_q6.
void SideCorner(PilotLmt* lmt, CurveRow row, int index, double edge_q6)
{
    const double q7 = CurveValue(lmt->Curve[row], edge_q6);
    lmt->Corner[index][0] = edge_q6;
    lmt->Corner[index][1] = q7;
    lmt->CornerSlope[index] = q7 / edge_q6;
}

// Corner where curve `row` meets the edge q7 = edge_q7.
void EndCorner(PilotLmt* lmt, CurveRow row, int index, double edge_q7, bool plus_root)
{
    const double* curve = lmt->Curve[row];
    const double q6 = QuadraticRoot(curve[0], curve[1], curve[2] - edge_q7, plus_root);
    lmt->Corner[index][0] = q6;
    lmt->Corner[index][1] = edge_q7;
    lmt->CornerSlope[index] = edge_q7 / q6;
}

}  // namespace

void FX_Init_PilotLmt(PilotLmt* lmt, unsigned char coupled, double limits[7][4], double curves[4][3])
{
    lmt->Coupled = coupled;
    for (int i = 0; i < 7; ++i) {
        lmt->JointMin[i] = limits[i][0];
        lmt->JointMax[i] = limits[i][1];
        lmt->JointLim3[i] = limits[i][2];
        lmt->JointLim4[i] = limits[i][3];
    }
    if (coupled == 1) {
        for (int r = 0; r < 4; ++r) {
            for (int k = 0; k < 3; ++k) {
                lmt->Curve[r][k] = curves[r][k];
            }
        }
    }
    InitDBPara(lmt);
}

void InitDBPara(PilotLmt* lmt)
{
    if (lmt->Coupled == 0) {
        return;
    }
    const double min6 = lmt->JointMin[5];
    const double max6 = lmt->JointMax[5];
    const double min7 = lmt->JointMin[6];
    const double max7 = lmt->JointMax[6];
    printf("<%lf %lf><%lf %lf>\n", min6, max6, min7, max7);
    for (int k = 0; k < 3; ++k) {
        printf("[%lf %lf %lf %lf]\n", lmt->Curve[0][k], lmt->Curve[1][k], lmt->Curve[2][k], lmt->Curve[3][k]);
    }

    SideCorner(lmt, kUpperRight, 0, max6);
    EndCorner(lmt, kUpperRight, 1, max7, false);
    SideCorner(lmt, kUpperLeft, 3, min6);
    EndCorner(lmt, kUpperLeft, 2, max7, true);
    SideCorner(lmt, kLowerLeft, 4, min6);
    EndCorner(lmt, kLowerLeft, 5, min7, false);
    // Only the slope of the lower-right side corner is kept; its point stays as it was.
    lmt->CornerSlope[7] = CurveValue(lmt->Curve[kLowerRight], max6) / max6;
    EndCorner(lmt, kLowerRight, 6, min7, true);
}

void FX_CCSBD(PilotLmt* lmt, double* q67, double* bound)
{
    if (CurvesApply(lmt, q67[0], q67[1], bound)) {
        CurveBoundary(lmt, QuadrantOf(q67[0], q67[1]), q67[0], q67[1], bound);
    }
}

void FX_CCSBD_CHECK(PilotLmt* lmt, double* joints, double* bound, bool* outside)
{
    for (int i = 0; i < 5; ++i) {
        // An "inside" test, so that a NaN joint is flagged as outside.
        if (!(lmt->JointMin[i] <= joints[i] && joints[i] <= lmt->JointMax[i])) {
            outside[i] = true;
        }
    }
    if (CheckedBoundary(lmt, joints[5], joints[6], bound)) {
        outside[5] = true;
        outside[6] = true;
    }
}

void FX_CCSBD_CHECK_old(PilotLmt* lmt, double* q67, double* bound, bool& outside)
{
    if (CheckedBoundary(lmt, q67[0], q67[1], bound)) {
        outside = true;
    }
}
