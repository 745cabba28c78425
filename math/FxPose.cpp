#include "math/FxPose.h"

#include <cmath>

#include "math/FxMatrix.h"
#include "math/FxScalar.h"

namespace {

// R = Rz(C) Ry(B) Rx(A) from the sines and cosines of A, B, C; translation from xyz.
void composePose(const double* xyz, double sA, double cA, double sB, double cB, double sC,
                 double cC, double m[4][4])
{
    m[0][0] = cC * cB;
    m[0][1] = cC * sB * sA - sC * cA;
    m[0][2] = cC * sB * cA + sC * sA;
    m[1][0] = sC * cB;
    m[1][1] = sC * sB * sA + cC * cA;
    m[1][2] = sC * sB * cA - cC * sA;
    m[2][0] = -sB;
    m[2][1] = cB * sA;
    m[2][2] = cB * cA;
    m[0][3] = xyz[0];
    m[1][3] = xyz[1];
    m[2][3] = xyz[2];
    m[3][0] = 0;
    m[3][1] = 0;
    m[3][2] = 0;
    m[3][3] = 1;
}

}  // namespace

extern "C" void FX_XYZABC2Matrix4DEG(double xyzabc[6], double m[4][4])
{
    double sA, cA, sB, cB, sC, cC;
    FX_SIN_COS_DEG(xyzabc[3], &sA, &cA);
    FX_SIN_COS_DEG(xyzabc[4], &sB, &cB);
    FX_SIN_COS_DEG(xyzabc[5], &sC, &cC);
    composePose(xyzabc, sA, cA, sB, cB, sC, cC, m);
}

void FX_XYZABC2PG(double xyzabc[6], double m[4][4]) { FX_XYZABC2Matrix4DEG(xyzabc, m); }

void XYZABC2MAT4(double xyzabc[6], double m[4][4])
{
    composePose(xyzabc, FX_SIN_DEG(xyzabc[3]), FX_COS_DEG(xyzabc[3]), FX_SIN_DEG(xyzabc[4]),
                FX_COS_DEG(xyzabc[4]), FX_SIN_DEG(xyzabc[5]), FX_COS_DEG(xyzabc[5]), m);
}

extern "C" int FX_Matrix42XYZABCDEG(double m[4][4], double xyzabc[6])
{
    double r = FX_Sqrt(m[0][0] * m[0][0] + m[1][0] * m[1][0]);
    double b = FX_ATan2(-m[2][0], r);
    xyzabc[4] = b;
    if (r >= -1e-16 && r <= 1e-16) {
        xyzabc[5] = 0;
        xyzabc[3] = b > 0 ? FX_ATan2(m[0][1], m[1][1]) : -FX_ATan2(m[0][1], m[1][1]);
    } else {
        xyzabc[5] = FX_ATan2(m[1][0], m[0][0]);
        xyzabc[3] = FX_ATan2(m[2][1], m[2][2]);
    }
    xyzabc[0] = m[0][3];
    xyzabc[1] = m[1][3];
    xyzabc[2] = m[2][3];
    return 1;
}

// Below this angle (0.05 degree, in radians) the two outer axes are taken as one.
static constexpr double kEulerSingular = 0.0008726646259971648;

int Matrix2ZYZ(double r[3][3], double out[3])
{
    double beta = FX_ATan2(std::sqrt(r[2][0] * r[2][0] + r[2][1] * r[2][1]), r[2][2]);
    double s = std::sin(beta);
    int regular = 1;
    double alpha, gamma;
    if (FX_Fabs(beta) < kEulerSingular) {
        alpha = 0;
        gamma = std::atan2(-r[0][1], r[0][0]);
        regular = 0;
    } else {
        alpha = std::atan2(r[1][2] / s, r[0][2] / s);
        gamma = std::atan2(r[2][1] / s, -r[2][0] / s);
    }
    out[0] = alpha * FX_RAD2DEG;
    out[1] = beta * FX_RAD2DEG;
    out[2] = gamma * FX_RAD2DEG;
    return regular;
}

int Matrix2ZYX(double r[3][3], double out[3])
{
    double beta = FX_ATan2(-r[2][0], FX_Sqrt(r[0][0] * r[0][0] + r[1][0] * r[1][0])) * FX_RAD2DEG;
    double c = FX_COS_DEG(beta);
    out[1] = beta;
    if (FX_Fabs(c) > kEulerSingular) {
        out[0] = std::atan2(r[1][0] / c, r[0][0] / c) * FX_RAD2DEG;
        out[2] = std::atan2(r[2][1] / c, r[2][2] / c) * FX_RAD2DEG;
        return 1;
    }
    out[0] = 0;
    out[2] = 0;
    return 0;
}

void FX_MatRotAxis(double* axis, double angle, double in[3][3], double out[3][3])
{
    double s, c;
    FX_SIN_COS_DEG(angle, &s, &c);
    double t = 1 - c;
    double x = axis[0], y = axis[1], z = axis[2];
    double rot[3][3] = {
        {t * x * x + c, t * x * y - s * z, t * x * z + s * y},
        {t * x * y + s * z, t * y * y + c, t * y * z - s * x},
        {t * x * z - s * y, t * y * z + s * x, t * z * z + c},
    };
    FX_MMM33(rot, in, out);
}

double MinDif(double target, double* angle)
{
    double d = target - *angle;
    // Into [0, 360): the turns before the last step are exact, the last
    // step past zero (and back for a positive d) rounds as a loop would.
    const double r = FX_TurnRemainder(d);
    d = r > 0 ? (r - 360) + 360 : r < 0 ? r + 360 : r;
    if (d > 180)
        d -= 360;
    *angle = target - d;
    return FX_Fabs(d);
}
