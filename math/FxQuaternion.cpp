#include "math/FxQuaternion.h"

#include <cmath>
#include <cstdio>

#include "math/FxScalar.h"

void FX_QuatMult(double* a, double* b, double* out)
{
    out[0] = a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1];
    out[1] = a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2];
    out[2] = a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0];
    out[3] = a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2];
}

double FX_QuaternionSqrtNorm(double* q)
{
    return std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
}

int FX_QuaternionNorm(double* q)
{
    double n = FX_QuaternionSqrtNorm(q);
    if (n <= 1e-16)
        return 0;
    for (int i = 0; i < 4; ++i)
        q[i] /= n;
    return 1;
}

void FX_QuaternionConj(double* q, double* out)
{
    out[0] = -q[0];
    out[1] = -q[1];
    out[2] = -q[2];
    out[3] = q[3];
}

int FX_QuaternionInverse(double* q, double* out)
{
    double n = FX_QuaternionSqrtNorm(q);
    if (!(n > 1e-6))
        return 0;
    out[0] = -q[0] / n;
    out[1] = -q[1] / n;
    out[2] = -q[2] / n;
    out[3] = q[3] / n;
    return 1;
}

void FX_Matrix2Quaternion(double m[4][4], double* q)
{
    double t = m[0][0] + m[1][1] + m[2][2];
    if (t > 0) {
        double s = std::sqrt(t + 1);
        q[3] = s / 2;
        double k = 0.5 / s;
        q[0] = (m[2][1] - m[1][2]) * k;
        q[1] = (m[0][2] - m[2][0]) * k;
        q[2] = (m[1][0] - m[0][1]) * k;
        return;
    }
    int i = m[1][1] > m[0][0] ? 1 : 0;
    if (m[2][2] > m[i][i])
        i = 2;
    int j = (i + 1) % 3;
    int k = (i + 2) % 3;
    double s = std::sqrt(m[i][i] - m[j][j] - m[k][k] + 1);
    q[i] = s / 2;
    double f = 0.5 / s;
    q[3] = (m[k][j] - m[j][k]) * f;
    q[j] = (m[j][i] + m[i][j]) * f;
    q[k] = (m[k][i] + m[i][k]) * f;
}

int OnMatrix2ABC2(double* m, double* abc)
{
    // m[4 * row + column]
    double r = std::sqrt(m[0] * m[0] + m[4] * m[4]);
    double b = std::atan2(-m[8], r);
    abc[1] = b;
    if (FX_Fabs(r) <= 2.220446049250313e-16) {
        abc[2] = 0;
        abc[0] = b > 0 ? std::atan2(m[1], m[5]) : -std::atan2(m[1], m[5]);
    } else {
        abc[2] = std::atan2(m[4], m[0]);
        abc[0] = std::atan2(m[9], m[10]);
    }
    return 1;
}

void PNTPG_ABC2(double* m)
{
    double abc[3];
    OnMatrix2ABC2(m, abc);
    puts("----PG ABC-------------------");
    printf("%lf\t%lf\t%lf\t\t%lf\t%lf\t%lf\t\t\n", m[3], m[7], m[11], abc[0] * FX_RAD2DEG,
           abc[1] * FX_RAD2DEG, abc[2] * FX_RAD2DEG);
    puts("-------------------------");
}
