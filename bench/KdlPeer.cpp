#include "bench/KdlPeer.h"

#include <kdl/chaindynparam.hpp>
#include <kdl/chainfksolverpos_recursive.hpp>
#include <kdl/chainidsolver_recursive_newton_euler.hpp>
#include <kdl/chainjnttojacsolver.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

#include "bench/CycleCalls.h"

namespace bench {

namespace {

// Pose matrix (length unit times `scale`) as a peer frame.
KDL::Frame toFrame(const double T[4][4], double scale)
{
    return KDL::Frame(
        KDL::Rotation(T[0][0], T[0][1], T[0][2], T[1][0], T[1][1], T[1][2], T[2][0], T[2][1], T[2][2]),
        KDL::Vector(T[0][3] * scale, T[1][3] * scale, T[2][3] * scale));
}

// Pilot: fixed[0] Rz(q1) fixed[1] Rz(q2) ... fixed[6] Rz(q7) flange tool, in
// metres.
KDL::Chain pilotChain(Pilot *p)
{
    KDL::Chain chain;
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), toFrame(p->fixed[0], 0.001)));
    double flange_tool[4][4];
    FX_MMM44(p->flange, p->tool, flange_tool);
    for (int i = 0; i < 7; ++i)
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ),
                                      toFrame(i < 6 ? p->fixed[i + 1] : flange_tool, 0.001)));
    return chain;
}

// Link chain: RotX(alpha_i) TransX(a_i) before joint i, TransZ(d_i) after it;
// the tip of segment i is link frame i followed by the next joint's fixed part,
// and the last tip carries the tool transform. Each link is the chain's
// rotational inertia about its frame origin, turned into the segment's tip
// frame.
KDL::Chain linkChain(FX_Pilot *p)
{
    auto fixedPart = [&](int i) {
        return KDL::Frame(KDL::Rotation::RotX(p->links[i].alpha)) *
               KDL::Frame(KDL::Vector(p->links[i].a, 0, 0));
    };
    KDL::Chain chain;
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), fixedPart(0)));
    for (int i = 0; i < 7; ++i) {
        const KDL::Frame next = i < 6 ? fixedPart(i + 1) : toFrame(p->local_T[7], 1.0);
        const double *I = p->dyn_inertia[i];
        const double link[3][3] = {{I[0], I[1], I[2]}, {I[1], I[3], I[4]}, {I[2], I[4], I[5]}};
        double tip[3][3] = {}; // R^T I R, R the tip's axes in link frame i
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                for (int k = 0; k < 3; ++k)
                    for (int l = 0; l < 3; ++l) tip[r][c] += next.M(k, r) * link[k][l] * next.M(l, c);
        const KDL::RotationalInertia inertia(tip[0][0], tip[1][1], tip[2][2], tip[0][1], tip[0][2],
                                             tip[1][2]);
        chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::RotZ),
                                      KDL::Frame(KDL::Vector(0, 0, p->links[i].d)) * next,
                                      KDL::RigidBodyInertia(0, KDL::Vector::Zero(), inertia)));
    }
    return chain;
}

// The robot's own description: real link masses, centres of mass and inertias,
// rotor inertias as joint inertias, the Theta offsets as joint offsets, gravity as
// the file gives it. Segment i's tip is joint frame i followed by the next joint's
// fixed part (or the flange), so each link's body is moved into that tip frame.
KDL::Chain physicalChain(const tk::RobotDescription &d)
{
    auto fixedPart = [&](int i) {
        return KDL::Frame(KDL::Rotation::RotX(d.joint[i].alpha)) * KDL::Frame(KDL::Vector(d.joint[i].a, 0, 0));
    };
    KDL::Chain chain;
    chain.addSegment(KDL::Segment(KDL::Joint(KDL::Joint::None), toFrame(d.base, 1.0) * fixedPart(0)));
    for (int i = 0; i < d.dof; ++i) {
        const KDL::Frame next = i + 1 < d.dof ? fixedPart(i + 1) : toFrame(d.flange, 1.0);
        const tk::LinkInertial &b = d.link[i];
        const KDL::Frame back = next.Inverse();
        const KDL::Vector com = back * KDL::Vector(b.com[0], b.com[1], b.com[2]);
        const double *I = b.inertia;
        const double link[3][3] = {{I[0], I[1], I[2]}, {I[1], I[3], I[4]}, {I[2], I[4], I[5]}};
        double tip[3][3] = {};
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                for (int k = 0; k < 3; ++k)
                    for (int l = 0; l < 3; ++l) tip[r][c] += next.M(k, r) * link[k][l] * next.M(l, c);
        chain.addSegment(KDL::Segment(
            KDL::Joint(KDL::Joint::RotZ, 1.0, d.joint[i].theta, b.rotor_inertia),
            KDL::Frame(KDL::Vector(0, 0, d.joint[i].d)) * next,
            KDL::RigidBodyInertia(b.mass, com,
                                  KDL::RotationalInertia(tip[0][0], tip[1][1], tip[2][2], tip[0][1], tip[0][2], tip[1][2]))));
    }
    return chain;
}

// The peer's rigid bodies cannot hold a first moment without a mass (whose
// m*a our lumped model leaves out), so the cross-checked and timed chain is
// robot.ini's arm without first moments, tool or rotor inertia.
FX_Pilot g_rotational;
KDL::Chain g_pilot_chain, g_link_chain;
KDL::ChainFkSolverPos_recursive *g_pilot_fk;
KDL::ChainJntToJacSolver *g_pilot_jac;
KDL::ChainFkSolverPos_recursive *g_link_fk;
KDL::ChainJntToJacSolver *g_link_jac;
KDL::ChainIdSolver_RNE *g_rne, *g_physical_rne;
KDL::ChainDynParam *g_dyn, *g_physical_dyn;
KDL::JntArray g_kq(7), g_kqd(7), g_kqdd(7), g_ktau(7), g_kq_pilot(7), g_kcoriolis(7);
KDL::Wrenches g_kfext(8), g_knoforce(8);
KDL::Frame g_kframe;
KDL::Jacobian g_kjac(7);
KDL::JntSpaceInertiaMatrix g_kmass(7);

void setPeerInputs(const double *q_deg, const double *q, const double *qd, const double *qdd)
{
    for (int i = 0; i < 7; ++i) {
        g_kq_pilot(i) = q_deg[i] * FX_DEG2RAD;
        g_kq(i) = q[i], g_kqd(i) = qd[i], g_kqdd(i) = qdd[i];
    }
    g_kfext[7] = -KDL::Wrench(KDL::Vector(g_wrench[0], g_wrench[1], g_wrench[2]),
                              KDL::Vector(g_wrench[3], g_wrench[4], g_wrench[5]));
}

void pilotFk() { g_pilot_fk->JntToCart(g_kq_pilot, g_kframe); }
void pilotFkJac()
{
    g_pilot_fk->JntToCart(g_kq_pilot, g_kframe);
    g_pilot_jac->JntToJac(g_kq_pilot, g_kjac);
}
void linkFk() { g_link_fk->JntToCart(g_kq, g_kframe); }
void linkFkJac()
{
    g_link_fk->JntToCart(g_kq, g_kframe);
    g_link_jac->JntToJac(g_kq, g_kjac);
}
void rne() { g_rne->CartToJnt(g_kq, g_kqd, g_kqdd, g_kfext, g_ktau); }
void physicalRne() { g_physical_rne->CartToJnt(g_kq, g_kqd, g_kqdd, g_knoforce, g_ktau); }
void physicalMass() { g_physical_dyn->JntToMass(g_kq, g_kmass); }
void mass() { g_dyn->JntToMass(g_kq, g_kmass); }
void coriolis() { g_dyn->JntToCoriolis(g_kq, g_kqd, g_kcoriolis); }

struct Worst {
    const char *what;
    double diff = 0;
    void see(double ours, double peer)
    {
        const double d = std::fabs(ours - peer) / std::max(1.0, std::fabs(peer));
        if (!(d <= diff)) diff = d;
    }
};

} // namespace

void buildKdlPeer()
{
    g_rotational = rob;
    for (int i = 0; i < 7; ++i) {
        std::fill(g_rotational.links[i].com, g_rotational.links[i].com + 3, 0.0);
        g_rotational.links[i].rotor_inertia = 0.0;
    }
    FX_RemoveTool(&g_rotational);
    g_pilot_chain = pilotChain(&pilot);
    g_link_chain = linkChain(&g_rotational);
    g_pilot_fk = new KDL::ChainFkSolverPos_recursive(g_pilot_chain);
    g_pilot_jac = new KDL::ChainJntToJacSolver(g_pilot_chain);
    g_link_fk = new KDL::ChainFkSolverPos_recursive(g_link_chain);
    g_link_jac = new KDL::ChainJntToJacSolver(g_link_chain);
    // Our base accelerates by (0, -g[1], 0); the peer's by minus its gravity.
    const KDL::Vector gravity(0, g_gravity[1], 0);
    g_rne = new KDL::ChainIdSolver_RNE(g_link_chain, gravity);
    g_dyn = new KDL::ChainDynParam(g_link_chain, gravity);
    const tk::RobotDescription &d = g_robot->description();
    const KDL::Vector physical_gravity(d.gravity[0], d.gravity[1], d.gravity[2]);
    static KDL::Chain physical = physicalChain(d);
    g_physical_rne = new KDL::ChainIdSolver_RNE(physical, physical_gravity);
    g_physical_dyn = new KDL::ChainDynParam(physical, physical_gravity);
    setPeerInputs(g_joints_deg, g_q, g_qd, g_qdd);
}

bool crossCheckKdl()
{
    Worst fk{"Pilot FK"}, jac{"Pilot Jacobian"}, chain_fk{"chain FK"}, chain_jac{"chain Jacobian"},
        tau{"RNE torques"}, mass_matrix{"mass matrix"}, cor{"Coriolis torques"},
        robot_tau{"robot torques"}, robot_mass{"robot mass matrix"}, robot_cor{"robot Coriolis"};
    std::mt19937_64 rng(7);
    auto uni = [&](double lo, double hi) { return lo + (hi - lo) * double(rng() >> 11) * 0x1p-53; };
    double q_deg[7], q[7], qd[7], qdd[7], pose[4][4], J[6][7], tq[7], e[7] = {}, M[7][7];
    double D[7][7], S[7][7], C[7][7];
    static Impd_Process_Data impd;
    static FX_CM_YTC_BUF y;
    for (int run = 0; run < 200; ++run) {
        for (int i = 0; i < 7; ++i)
            q_deg[i] = uni(-170, 170), q[i] = uni(-3, 3), qd[i] = uni(-2, 2), qdd[i] = uni(-5, 5);
        setPeerInputs(q_deg, q, qd, qdd);
        FX_Kine_Pilot(&pilot, q_deg, pose);
        FX_Jacb_Pilot(&pilot, J);
        pilotFkJac();
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) fk.see(pose[r][c], g_kframe.M(r, c));
            fk.see(pose[r][3] * 0.001, g_kframe.p(r));
            for (int c = 0; c < 7; ++c)
                jac.see(J[r][c], g_kjac(r, c)), jac.see(J[r + 3][c], g_kjac(r + 3, c));
        }
        std::copy(q, q + 7, impd.q);
        FX_Impd_Process_Jacob(&impd, &g_rotational);
        linkFkJac();
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 4; ++c)
                chain_fk.see(impd.pose[r][c], c < 3 ? g_kframe.M(r, c) : g_kframe.p(r));
            for (int c = 0; c < 7; ++c)
                chain_jac.see(impd.J[r][c], g_kjac(r, c)), chain_jac.see(impd.J[r + 3][c], g_kjac(r + 3, c));
        }
        g_rotational.kin_cached = 0;
        FX_InvDyn(&g_rotational, q, qd, qdd, g_gravity, g_wrench, tq);
        FX_CalMmat(&g_rotational, q, e, M);
        FX_CalCmatDPT_Q(&g_rotational, q, &y);
        FX_CalCmat_DPT_QD(&y, qd, D, S, C);
        rne();
        mass();
        coriolis();
        for (int i = 0; i < 7; ++i) {
            tau.see(tq[i], g_ktau(i));
            double cqd = 0;
            for (int j = 0; j < 7; ++j) mass_matrix.see(M[i][j], g_kmass(i, j)), cqd += C[i][j] * qd[j];
            cor.see(cqd, g_kcoriolis(i));
        }
        // The robot object on the file's real masses and first moments.
        g_robot->inverseDynamics(q, qd, qdd, tq);
        physicalRne();
        for (int i = 0; i < 7; ++i) robot_tau.see(tq[i], g_ktau(i));
        g_robot->massMatrix(q, &M[0][0]);
        physicalMass();
        g_robot->coriolisMatrix(q, qd, &C[0][0]);
        g_physical_dyn->JntToCoriolis(g_kq, g_kqd, g_kcoriolis);
        for (int i = 0; i < 7; ++i) {
            double cqd = 0;
            for (int j = 0; j < 7; ++j) robot_mass.see(M[i][j], g_kmass(i, j)), cqd += C[i][j] * qd[j];
            robot_cor.see(cqd, g_kcoriolis(i));
        }
    }
    setPeerInputs(g_joints_deg, g_q, g_qd, g_qdd);
    bool ok = true;
    std::printf("Cross-check against the peer, 200 random postures (largest "
                "difference, relative above 1):\n");
    for (const Worst &w : {fk, jac, chain_fk, chain_jac, tau, mass_matrix, cor, robot_tau, robot_mass, robot_cor}) {
        std::printf("  %-18s %.3g%s\n", w.what, w.diff, w.diff <= 1e-12 ? "" : "  MISMATCH");
        ok = ok && w.diff <= 1e-12;
    }
    return ok;
}

const PeerCall kPeerCalls[] = {
    {"FX_Kine_Pilot", "ChainFkSolverPos_recursive", pilotFk, 0.60},
    {"FX_Kine_Pilot+FX_Jacb_Pilot", "FK + ChainJntToJacSolver", pilotFkJac, 0.20},
    {"FX_KINE", "FK (link chain)", linkFk, 0.70},
    {"FX_Impd_Process_Jacob", "FK + Jacobian (link chain)", linkFkJac, 0.35},
    {"FX_InvDyn", "ChainIdSolver_RNE", rne, 0.40},
    {"FX_CalMmat", "ChainDynParam::JntToMass", mass, 0.60},
    {"FX_CalCmatDPT_Q", "ChainDynParam::JntToCoriolis", coriolis, 3.0},
    {"Robot::inverseDynamics", "ChainIdSolver_RNE (real masses)", physicalRne, 0.45},
    {"Robot::massMatrix", "ChainDynParam::JntToMass (real masses)", physicalMass, 0.65},
};
const int kPeerCallCount = sizeof kPeerCalls / sizeof kPeerCalls[0];

} // namespace bench
