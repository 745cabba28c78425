// The robot object against independent computations: frames composed by hand, finite
// differences, and a straightforward Newton-Euler on the physical parameters, for random
// chains, mountings, gravity directions and payloads; robot.ini in and out.
#include <gtest/gtest.h>

#include <cstring>

#include "interface/Globals.h"
#include "interface/RobotIniRoute.h"
#include "robot/Inertia.h"
#include "robot/Robot.h"
#include "robot/RobotIni.h"
#include "tests/PhysicalNewtonEuler.h"
#include "tests/TestArm.h"

namespace tk {
namespace {

void randomRotation(Lcg& rng, double T[4][4])
{
    H4 R = rot(2, rng.next(-kPi, kPi)) * rot(1, rng.next(-kPi, kPi)) * rot(0, rng.next(-kPi, kPi));
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) T[r][c] = R.m[r][c];
}

void randomPose(Lcg& rng, double T[4][4])
{
    randomRotation(rng, T);
    for (int r = 0; r < 3; ++r) T[r][3] = rng.next(-0.3, 0.3);
}

// Principal moments b+c, a+c, a+b of three point-mass spreads meet the triangle inequality.
void randomInertia(Lcg& rng, double* I)
{
    double R[4][4];
    randomRotation(rng, R);
    const double a = rng.next(0.001, 0.05), b = rng.next(0.001, 0.05), c = rng.next(0.001, 0.05);
    const double e[3] = {b + c, a + c, a + b};
    const int idx[6][2] = {{0, 0}, {0, 1}, {0, 2}, {1, 1}, {1, 2}, {2, 2}};
    for (int k = 0; k < 6; ++k) {
        I[k] = 0;
        for (int s = 0; s < 3; ++s) I[k] += R[idx[k][0]][s] * e[s] * R[idx[k][1]][s];
    }
}

RobotDescription randomRobot(Lcg& rng, int n)
{
    RobotDescription d;
    d.dof = n;
    randomPose(rng, d.base);
    randomPose(rng, d.flange);
    for (int i = 0; i < n; ++i) {
        d.joint[i] = DhJoint{rng.next(-kPi, kPi), rng.next(-0.4, 0.4), rng.next(-0.4, 0.4), rng.next(-kPi, kPi)};
        LinkInertial& b = d.link[i];
        b.mass = rng.next(0.2, 5.0);
        for (double& c : b.com) c = rng.next(-0.2, 0.2);
        randomInertia(rng, b.inertia);
        b.rotor_inertia = rng.next(0.0, 0.3);
        d.limits[i] = JointLimits{-2.5, 2.5, 2.0, 10.0, 100.0, false};
        d.friction[i] = JointFriction{rng.next(0, 2), rng.next(0, 1), rng.next(-0.5, 0.5)};
    }
    const double polar = rng.next(0, kPi), azimuth = rng.next(-kPi, kPi);
    d.gravity[0] = 9.81 * std::sin(polar) * std::cos(azimuth);
    d.gravity[1] = 9.81 * std::sin(polar) * std::sin(azimuth);
    d.gravity[2] = 9.81 * std::cos(polar);
    return d;
}

Payload randomPayload(Lcg& rng)
{
    Payload p;
    p.mass = rng.next(0.0, 3.0);
    for (double& c : p.com) c = rng.next(-0.1, 0.1);
    randomInertia(rng, p.inertia);
    return p;
}

double largest(const double* v, int n)
{
    double m = 1.0;
    for (int i = 0; i < n; ++i) m = std::max(m, std::fabs(v[i]));
    return m;
}

TEST(Robot, DynamicsEqualPhysicalNewtonEulerForRandomChainsMountingsAndPayloads)
{
    Lcg rng{20261124};
    for (int trial = 0; trial < 140; ++trial) {
        const int n = 1 + trial % 7;
        const RobotDescription d = randomRobot(rng, n);
        Robot robot(d);
        const Payload load = trial % 3 ? randomPayload(rng) : Payload{};
        robot.setPayload(load);
        double q[7], qd[7], qdd[7], zero[7] = {}, tau[7], want[7];
        for (int i = 0; i < n; ++i) q[i] = rng.next(-kPi, kPi), qd[i] = rng.next(-2, 2), qdd[i] = rng.next(-5, 5);

        robot.inverseDynamics(q, qd, qdd, tau);
        physicalInverseDynamics(d, load, d.gravity, q, qd, qdd, want);
        expectNear(want, tau, n, 1e-9 * largest(want, n), "tau");

        robot.gravityTorques(q, tau);
        physicalInverseDynamics(d, load, d.gravity, q, zero, zero, want);
        expectNear(want, tau, n, 1e-9 * largest(want, n), "gravity");

        double M[49], C[49], column[7], Cqd[7] = {};
        const double none[3] = {0, 0, 0};
        robot.massMatrix(q, M);
        for (int j = 0; j < n; ++j) {
            double unit[7] = {};
            unit[j] = 1.0;
            physicalInverseDynamics(d, load, none, q, zero, unit, column);
            for (int i = 0; i < n; ++i) EXPECT_NEAR(column[i], M[i * n + j], 1e-9 * largest(column, n));
        }
        robot.coriolisMatrix(q, qd, C);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) Cqd[i] += C[i * n + j] * qd[j];
        physicalInverseDynamics(d, load, none, q, qd, zero, want);
        expectNear(want, Cqd, n, 1e-9 * largest(want, n), "C qd");
    }
}

TEST(Robot, KinematicsEqualFramesComposedByHandAndFiniteDifferences)
{
    Lcg rng{7};
    for (int trial = 0; trial < 70; ++trial) {
        const int n = 1 + trial % 7;
        Robot robot(randomRobot(rng, n));
        double q[7], pose[4][4], J[42];
        for (int i = 0; i < n; ++i) q[i] = rng.next(-kPi, kPi);
        H4 frames[7], flange;
        physicalFrames(robot.description(), q, frames, &flange);
        robot.fk(q, pose);
        expectNear(&flange.m[0][0], &pose[0][0], 16, 1e-12, "fk");

        robot.jacobian(q, J);
        const double h = 1e-6;
        for (int j = 0; j < n; ++j) {
            double plus[7], minus[7], Tp[4][4], Tm[4][4];
            std::memcpy(plus, q, sizeof q), std::memcpy(minus, q, sizeof q);
            plus[j] += h, minus[j] -= h;
            robot.fk(plus, Tp), robot.fk(minus, Tm);
            for (int r = 0; r < 3; ++r) EXPECT_NEAR((Tp[r][3] - Tm[r][3]) / (2 * h), J[r * n + j], 1e-7);
            // Angular rate from dR R^T: its skew part.
            double W[3][3] = {};
            for (int r = 0; r < 3; ++r)
                for (int c = 0; c < 3; ++c)
                    for (int k = 0; k < 3; ++k) W[r][c] += (Tp[r][k] - Tm[r][k]) / (2 * h) * pose[c][k];
            EXPECT_NEAR(W[2][1], J[3 * n + j], 1e-7);
            EXPECT_NEAR(W[0][2], J[4 * n + j], 1e-7);
            EXPECT_NEAR(W[1][0], J[5 * n + j], 1e-7);
        }
    }
}

std::string exampleIni() { return std::string(TOLVEX_EXAMPLES_DIR) + "/robot.ini"; }

TEST(Robot, ExampleArmUprightWallMountedAndHanging)
{
    RobotDescription d = readRobotIni(exampleIni());
    {  // its chain is the controller route's, to the last bit
        int loaded = 0;
        printed([&] { loaded = OnInitKine(exampleIni().c_str()); });
        ASSERT_EQ(1, loaded);
        FX_Pilot route = rob;
        Robot same(d);
        double q[7] = {0.3, -0.2, 1.1, -1.4, 0.5, 0.9, -2.0}, a[4][4], b[4][4];
        same.fk(q, a);
        FX_KINE(&route, q, b);
        for (int k = 0; k < 16; ++k) EXPECT_EQ(b[k / 4][k % 4], a[k / 4][k % 4]);
    }
    ASSERT_EQ(7, d.dof);
    EXPECT_EQ(3.9, d.link[0].mass);
    EXPECT_EQ(-9.81, d.gravity[2]);
    Robot robot(d);
    const double stretched[7] = {0, 0.3, 0, 1.2, 0, 0.6, 0};
    double tau[7], want[7];
    const double upright[3] = {0, 0, -9.81}, wall[3] = {9.81, 0, 0}, hanging[3] = {0, 0, 9.81};
    for (const double* g : {upright, wall, hanging}) {
        robot.setGravity(g);
        robot.gravityTorques(stretched, tau);
        const double none[7] = {};
        physicalInverseDynamics(d, Payload{}, g, stretched, none, none, want);
        expectNear(want, tau, 7, 1e-9 * largest(want, 7), "gravity torques");
    }
    // Hanging is upright with gravity reversed: exactly opposite torques (up to the frame's rounding).
    double up[7];
    robot.setGravity(upright);
    robot.gravityTorques(stretched, up);
    robot.setGravity(hanging);
    robot.gravityTorques(stretched, tau);
    for (int i = 0; i < 7; ++i) EXPECT_NEAR(-up[i], tau[i], 1e-12);
    EXPECT_NEAR(0.0, up[0], 1e-12);  // the vertical axis carries no gravity torque
    EXPECT_GT(std::fabs(up[1]), 15.0);  // the shoulder holds the outstretched arm

    double qd[7] = {0.5, -0.5, 0, 0, 0, 0, 0}, f[7];
    robot.friction(qd, f);
    EXPECT_DOUBLE_EQ(d.friction[0].coulomb + 0.5 * d.friction[0].viscous + d.friction[0].offset, f[0]);
    EXPECT_DOUBLE_EQ(-d.friction[1].coulomb - 0.5 * d.friction[1].viscous + d.friction[1].offset, f[1]);
    EXPECT_DOUBLE_EQ(d.friction[2].offset, f[2]);
}

TEST(Robot, RobotIniWrittenReadsBackAsTheSameRobot)
{
    Lcg rng{99};
    for (int trial = 0; trial < 14; ++trial) {
        RobotDescription d = randomRobot(rng, 1 + trial % 7);
        d.name = "random-" + std::to_string(trial);
        d.limits[0].continuous = trial % 2;
        const RobotDescription back = readRobotIni(tempFile("written.ini", robotIniText(d)));
        EXPECT_EQ(d.name, back.name);
        EXPECT_EQ(d.limits[0].continuous, back.limits[0].continuous);
        const int n = d.dof;
        for (int i = 0; i < n; ++i) {
            expectNear(&d.joint[i].alpha, &back.joint[i].alpha, 4, 1e-14, "dh");
            expectNear(d.link[i].inertia, back.link[i].inertia, 6, 1e-16, "inertia");
            expectNear(&d.limits[i].lower, &back.limits[i].lower, 5, 1e-12, "limits");
            expectNear(&d.friction[i].coulomb, &back.friction[i].coulomb, 3, 1e-16, "friction");
        }
        expectNear(&d.base[0][0], &back.base[0][0], 16, 1e-12, "base");
        expectNear(&d.flange[0][0], &back.flange[0][0], 16, 1e-12, "flange");
        expectNear(d.gravity, back.gravity, 3, 0, "gravity");
    }
}

TEST(Robot, BadDynamicsAreRefusedWithOneLineAndNothingChanges)
{
    const std::string base = "[R.A0.BASIC]\nDof=1\nGravityX=0\nGravityY=0\nGravityZ=-9.81\n"
                             "[R.A0.L0.DH]\nAlpha=0\nA=0\nD=100\nTheta=0\n"
                             "[R.A0.L0.BASIC]\nLimitNeg=-90\nLimitPos=90\nVelMax=90\nAccMax=300\nTorqueMax=50\n";
    const std::string good = "Mass=1\nComX=0\nComY=0\nComZ=0.1\n";
    const struct {
        std::string dynamic, message;
    } cases[] = {
        {"Mass=-1\nComX=0\nComY=0\nComZ=0\nIxx=1\nIyy=1\nIzz=1\nIxy=0\nIxz=0\nIyz=0\n",
         "[R.A0.L0.DYNAMIC] mass -1.000000 kg is negative"},
        {"Mass=nan\nComX=0\nComY=0\nComZ=0\nIxx=1\nIyy=1\nIzz=1\nIxy=0\nIxz=0\nIyz=0\n",
         "[R.A0.L0.DYNAMIC] \"Mass\" is not a finite number: 'nan'"},
        {good + "Ixx=0.1\nIyy=0.1\nIzz=0.1\nIxy=0.2\nIxz=0\nIyz=0\n",
         "[R.A0.L0.DYNAMIC] inertia is not positive definite (principal moments -0.1, 0.1, 0.3)"},
        {good + "Ixx=0.5\nIyy=0.1\nIzz=0.1\nIxy=0\nIxz=0\nIyz=0\n",
         "[R.A0.L0.DYNAMIC] inertia breaks the triangle inequality (principal moments 0.1 + 0.1 < 0.5)"},
        {good + "Ixx=0.1\nIyy=0.1\nIzz=0.1\nIxy=0\nIxz=0\n", "[R.A0.L0.DYNAMIC] lacks \"Iyz\""},
    };
    for (const auto& c : cases) {
        const std::string path = tempFile("bad.ini", base + "[R.A0.L0.DYNAMIC]\n" + c.dynamic);
        try {
            readRobotIni(path);
            ADD_FAILURE() << c.message;
        } catch (const Error& e) {
            EXPECT_EQ("robot.ini '" + path + "': " + c.message, e.what());
        }
    }
    Robot robot(readRobotIni(exampleIni()));
    const double q[7] = {0.1, 0.7, -0.2, 1.1, 0.3, -0.4, 0.2};
    double before[7], after[7];
    robot.gravityTorques(q, before);
    Payload bad;
    bad.mass = 1.0;  // a mass with no inertia
    EXPECT_THROW(robot.setPayload(bad), Error);
    robot.gravityTorques(q, after);
    expectNear(before, after, 7, 0.0, "unchanged");
}

}  // namespace
}  // namespace tk
