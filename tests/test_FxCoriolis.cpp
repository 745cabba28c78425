#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "dynamics/FxCoriolis.h"
#include "dynamics/FxInvDyn.h"
#include "dynamics/FxMassMatrix.h"
#include "tests/FxTestArm.h"

using namespace testarm;

namespace {

const double kPosture[7] = {-0.45, 0.7, 1.2, -1.3, 0.5, -0.8, 2.1};

struct PostureCoefficients {
    FX_Pilot p;
    FX_CM_YTC_BUF y;
    double q[7];
    PostureCoefficients()
    {
        build(&p, true);
        for (int i = 0; i < 7; ++i) q[i] = kPosture[i];
        FX_CalCmatDPT_Q(&p, q, &y);
    }
    void coriolisTimes(double* qd, double* out)
    {
        double D[7][7], S[7][7], C[7][7];
        FX_CalCmat_DPT_QD(&y, qd, D, S, C);
        for (int i = 0; i < 7; ++i) {
            out[i] = 0.0;
            for (int j = 0; j < 7; ++j) out[i] += C[i][j] * qd[j];
        }
    }
    void invDyn(double* qd, double* qdd, double gy, double* tau)
    {
        double g[3] = {0.0, gy, 0.0}, wrench[6] = {};
        FX_InvDyn(&p, q, qd, qdd, g, wrench, tau);
    }
};

}  // namespace

TEST(FxCoriolis, StateBufferLayout)
{
    EXPECT_EQ(sizeof(FX_CM_DPART_BUF), 111 * sizeof(double));
    EXPECT_EQ(sizeof(s_cdb_tmp), 7 * sizeof(FX_CM_DPART_BUF));
}

TEST(FxCoriolis, TimesVelocityEqualsInverseDynamicsWithoutAcceleration)
{
    PostureCoefficients s;
    Lcg rng{13};
    for (int trial = 0; trial < 20; ++trial) {
        double qd[7], qdd[7] = {}, ctq[7], tau[7];
        for (double& v : qd) v = rng.next(-2.5, 2.5);
        s.coriolisTimes(qd, ctq);
        s.invDyn(qd, qdd, 0.0, tau);
        for (int i = 0; i < 7; ++i) EXPECT_NEAR(ctq[i], tau[i], 1e-11) << trial << " " << i;
    }
}

TEST(FxCoriolis, ZeroAndUnitVelocities)
{
    PostureCoefficients s;
    double D[7][7], S[7][7], C[7][7];
    double zero[7] = {};
    FX_CalCmat_DPT_QD(&s.y, zero, D, S, C);
    for (auto& row : C)
        for (double v : row) EXPECT_EQ(v, 0.0);

    for (int j = 0; j < 7; ++j) {
        double unit[7] = {}, ctq[7];
        unit[j] = 1.0;
        s.coriolisTimes(unit, ctq);
        for (int i = 0; i < 7; ++i) EXPECT_EQ(ctq[i], s.y.square[i][j]) << i << "," << j;
    }
}

TEST(FxCoriolis, MixedEntriesOnlyAboveTheDiagonal)
{
    FX_Pilot p;
    build(&p, true);
    FX_CM_YTC_BUF y;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (auto& plane : y.mixed)
        for (auto& row : plane)
            for (double& v : row) v = nan;
    double q[7];
    for (int i = 0; i < 7; ++i) q[i] = kPosture[i];
    FX_CalCmatDPT_Q(&p, q, &y);
    for (int j = 0; j < 7; ++j)
        for (int k = 0; k < 7; ++k)
            for (int i = 0; i < 7; ++i) EXPECT_EQ(std::isnan(y.mixed[j][k][i]), j >= k);
}

TEST(FxCoriolis, PairRunReusesTheSingleJointRun)
{
    PostureCoefficients s;
    // The stored run of joint 2 moves joint 2 at unit speed; links before it rest.
    const FX_CM_DPART_BUF& run = s_cdb_tmp[2];
    for (int i = 0; i < 2; ++i)
        for (int k = 0; k < 3; ++k) EXPECT_EQ(run.w[i][k], 0.0);
    EXPECT_EQ(run.w[2][2], 1.0);
    for (int k = 0; k < 3; ++k) EXPECT_EQ(run.F[7][k], 0.0);

    // The pair run leaves the stored run untouched and equals a full run.
    FX_CM_DPART_BUF before;
    std::memcpy(&before, &run, sizeof before);
    double qd[7] = {0, 0, 1.0, 0, 0, 1.0, 0}, out_b[7], out_a[7];
    FX_CMatInvDyn_B(&s.p, s.q, qd, out_b, 5, &s_cdb_tmp[2]);
    EXPECT_EQ(std::memcmp(&before, &run, sizeof before), 0);

    // A run starting at joint 2 with both velocities recomputes every link.
    FX_CM_DPART_BUF scratch;
    std::memset(&scratch, 0x7f, sizeof scratch);
    FX_CMatInvDyn_A(&s.p, s.q, qd, out_a, 2, &scratch);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(out_b[i], out_a[i]) << i;
    for (int k = 0; k < 3; ++k) EXPECT_EQ(scratch.N[1][k], 0.0);
}

TEST(FxCoriolis, FullDynamicsSplitsIntoMassCoriolisAndGravity)
{
    PostureCoefficients s;
    double e[7] = {}, M[7][7];
    FX_CalMmat(&s.p, s.q, e, M);
    double rest[7] = {}, gravity[7];
    s.invDyn(rest, rest, 9.81, gravity);

    Lcg rng{17};
    for (int trial = 0; trial < 10; ++trial) {
        double qd[7], qdd[7], ctq[7], tau[7];
        for (int i = 0; i < 7; ++i) {
            qd[i] = rng.next(-2.0, 2.0);
            qdd[i] = rng.next(-3.0, 3.0);
        }
        s.coriolisTimes(qd, ctq);
        s.invDyn(qd, qdd, 9.81, tau);
        for (int i = 0; i < 7; ++i) {
            double sum = gravity[i] + ctq[i] - s.p.links[i].rotor_inertia * qdd[i];
            for (int j = 0; j < 7; ++j) sum += M[i][j] * qdd[j];
            EXPECT_NEAR(sum, tau[i], 1e-10) << trial << " " << i;
        }
    }
}
