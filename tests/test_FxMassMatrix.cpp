#include <gtest/gtest.h>

#include <cmath>

#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "tests/FxTestArm.h"

using namespace testarm;

namespace {

const double kPosture[7] = {0.35, -0.8, 0.6, 1.4, -0.3, 0.9, -1.1};

void massMatrix(FX_Pilot* p, const double* q_in, double M[7][7])
{
    double q[7], e[7] = {};
    for (int i = 0; i < 7; ++i) q[i] = q_in[i];
    FX_CalMmat(p, q, e, M);
}

}  // namespace

TEST(FxMassMatrix, TimesAccelerationEqualsInverseDynamicsAtRest)
{
    FX_Pilot p;
    build(&p, true);
    double M[7][7];
    massMatrix(&p, kPosture, M);

    Lcg rng{5};
    for (int trial = 0; trial < 10; ++trial) {
        double q[7], qd[7] = {}, qdd[7], g[3] = {}, wrench[6] = {}, tau[7];
        for (int i = 0; i < 7; ++i) {
            q[i] = kPosture[i];
            qdd[i] = rng.next(-4.0, 4.0);
        }
        FX_InvDyn(&p, q, qd, qdd, g, wrench, tau);
        for (int i = 0; i < 7; ++i) {
            double mq = 0.0;
            for (int j = 0; j < 7; ++j) mq += M[i][j] * qdd[j];
            EXPECT_NEAR(mq, tau[i] + p.links[i].rotor_inertia * qdd[i], 1e-12) << i;
        }
    }
}

TEST(FxMassMatrix, SymmetricWithWorkVectorRestored)
{
    FX_Pilot p;
    build(&p, true);
    double q[7], e[7] = {}, M[7][7];
    for (int i = 0; i < 7; ++i) q[i] = kPosture[i];
    FX_CalMmat(&p, q, e, M);
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(e[i], 0.0);
        EXPECT_GT(M[i][i], 0.0);
        for (int j = 0; j < 7; ++j) EXPECT_EQ(M[i][j], M[j][i]);
    }
    // Positive definite: the Cholesky factorisation goes through.
    double L[7][7] = {};
    for (int j = 0; j < 7; ++j) {
        double diag = M[j][j];
        for (int k = 0; k < j; ++k) diag -= L[j][k] * L[j][k];
        ASSERT_GT(diag, 0.0);
        L[j][j] = std::sqrt(diag);
        for (int i = j + 1; i < 7; ++i) {
            double v = M[i][j];
            for (int k = 0; k < j; ++k) v -= L[i][k] * L[j][k];
            L[i][j] = v / L[j][j];
        }
    }
}

TEST(FxMassMatrix, RotorInertiaOnlyOnTheDiagonal)
{
    FX_Pilot p;
    build(&p, true);
    p.links[4].rotor_inertia = 0.0;
    double base[7][7], raised[7][7];
    massMatrix(&p, kPosture, base);
    p.links[4].rotor_inertia = 0.5;
    massMatrix(&p, kPosture, raised);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j) {
            const double delta = (i == 4 && j == 4) ? 0.5 : 0.0;
            EXPECT_EQ(raised[i][j], base[i][j] + delta) << i << "," << j;
        }

    // Without link parameters only the rotors remain.
    for (auto& row : p.dyn_inertia)
        for (double& v : row) v = 0.0;
    for (auto& row : p.dyn_moment)
        for (double& v : row) v = 0.0;
    massMatrix(&p, kPosture, raised);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j)
            EXPECT_EQ(raised[i][j], i == j ? p.links[i].rotor_inertia : 0.0) << i << "," << j;
}

TEST(FxMassMatrix, UsesTheCachedPosture)
{
    FX_Pilot p;
    build(&p, true);
    double first[7][7], second[7][7], moved[7];
    massMatrix(&p, kPosture, first);
    for (int i = 0; i < 7; ++i) moved[i] = kPosture[i] + 0.4;
    massMatrix(&p, moved, second);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j) EXPECT_EQ(second[i][j], first[i][j]);

    p.kin_cached = 0;
    massMatrix(&p, moved, second);
    EXPECT_NE(second[1][1], first[1][1]);
}

TEST(FxMassMatrix, ColumnRunWritesOnlyFromItsJoint)
{
    FX_Pilot p;
    build(&p, true);
    double q[7], qdd[7] = {}, out[7];
    for (int i = 0; i < 7; ++i) {
        q[i] = kPosture[i];
        out[i] = -99.0;
    }
    qdd[3] = 1.0;
    FX_MMatInvDyn(&p, q, qdd, 3, out);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(out[i], -99.0);
    for (int i = 3; i < 7; ++i) EXPECT_NE(out[i], -99.0);

    double M[7][7];
    massMatrix(&p, kPosture, M);
    for (int i = 3; i < 7; ++i) EXPECT_EQ(out[i], M[i][3]);

    for (double& v : out) v = -99.0;
    FX_MMatInvDyn(&p, q, qdd, 7, out);
    for (double v : out) EXPECT_EQ(v, -99.0);
}
