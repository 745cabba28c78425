// Every cycle call must keep giving exactly the doubles (and side-effect
// records) of the straightforward step-by-step code: hosts compare logs across
// versions. Each test feeds thousands of seeded random inputs and compares an
// FNV-1a digest of every output bit pattern with the one recorded from the
// step-by-step code. -0.0 counts as 0.0 and every NaN as one NaN (== semantics).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>

#include "tolvexkine.h"
#include "tests/TestArm.h"

namespace {

struct Digest {
    uint64_t h = 1469598103934665603ull;
    void bytes(const void* p, size_t n)
    {
        for (size_t i = 0; i < n; ++i) h = (h ^ static_cast<const unsigned char*>(p)[i]) * 1099511628211ull;
    }
    void add(double x) { x = x != x ? NAN : x == 0 ? 0.0 : x, bytes(&x, sizeof x); }
    void add(long x) { bytes(&x, sizeof x); }
    void add(int x) { bytes(&x, sizeof x); }
    void add(unsigned char x) { bytes(&x, 1); }
    template <typename T, size_t N> void add(const T (&a)[N]) { for (const T& e : a) add(e); }
    template <typename T, typename... More> void add(const T& first, const More&... more) { add(first), add(more...); }
};

// mt19937_64 is fixed by the standard; the mapping to doubles is ours.
struct Rng {
    std::mt19937_64 g{20261123};
    double uni(double lo, double hi) { return lo + (hi - lo) * double(g() >> 11) * 0x1p-53; }
    bool one_in(unsigned n) { return g() % n == 0; }
    // Mostly uniform, sometimes one of the values where the steps branch.
    double pick(double lo, double hi, std::initializer_list<double> specials)
    {
        return one_in(6) ? specials.begin()[g() % specials.size()] : uni(lo, hi);
    }
};

void addChain(Digest& d, const FX_Pilot& p)
{
    for (const FX_Link& l : p.links)
        d.add(l.alpha, l.a, l.d, l.theta, l.mass, l.com, l.inertia, l.sin_alpha, l.cos_alpha, l.T,
              l.fast, l.rotor_inertia);
    d.add(p.dyn_inertia, p.dyn_moment, p.dyn_ready, p.local_T, p.local_Tt, p.chain_T, p.kin_cached);
}

// A random modified-DH chain with random dynamics, tool, n of 6 or 7.
void randomChain(Rng& r, FX_Pilot* p)
{
    *p = FX_Pilot{};
    for (int i = 0; i < 7; ++i) {
        double com[3], inertia[6];
        for (double& c : com) c = r.uni(-0.1, 0.1);
        for (double& c : inertia) c = r.uni(-0.05, 0.3);
        FX_SetLink(p, i, r.pick(-3, 3, {0, M_PI / 2, -M_PI / 2}), r.pick(-0.3, 0.3, {0}),
                   r.pick(-0.5, 0.5, {0}), r.uni(-1, 1), r.uni(0, 5), com, inertia, r.uni(0, 0.7));
    }
    FX_SetFlange(p, 0, 0, r.uni(0, 0.2), 0);
    p->n = r.one_in(4) ? 6 : 7;
    double pose[6] = {r.uni(-50, 50), r.uni(-50, 50), r.uni(0, 150), r.uni(-3, 3), r.uni(-3, 3), r.uni(-3, 3)};
    double com[3] = {r.uni(-0.01, 0.01), r.uni(-0.01, 0.01), r.uni(0, 0.05)};
    double inertia[6] = {r.uni(0, 0.01), r.uni(0, 0.001), r.uni(0, 0.001), r.uni(0, 0.01), r.uni(0, 0.001), r.uni(0, 0.01)};
    if (r.one_in(3)) FX_RemoveTool(p); else FX_SetTool(p, pose, r.uni(0, 3), com, inertia);
    if (r.one_in(3)) p->dyn_ready = 0;  // rebuilt by the next dynamics call
    if (r.one_in(8)) p->links[r.g() % 7].fast = 1;
}

void randomVector(Rng& r, double* v, int n, double lo, double hi, std::initializer_list<double> specials)
{
    for (int i = 0; i < n; ++i) v[i] = r.pick(lo, hi, specials);
    if (r.one_in(60)) v[r.g() % n] = NAN;
}

// Digests of the step-by-step code (kLockedIK since a NaN pose is "out of reach"). GCC and clang
// round the chain code differently, each the same in its old and new form: one set per compiler.
#ifdef __clang__
constexpr uint64_t kChainKine = 0xc156ab408fb37082, kDynamics = 0x2273498908e2b4e4, kCoriolisParts = 0x6cb4577393b01d9b;
#else
constexpr uint64_t kChainKine = 0x4deee74a7d0b6da0, kDynamics = 0xcdca746e708dbfdb, kCoriolisParts = 0x385c690179e1807b;
#endif
constexpr uint64_t kPilot = 0xcb33ca93e529c167, kLockedIK = 0x6d0befcec25db2bb, kSyncProfile = 0xc9638a615749e4e3;

}  // namespace

TEST(BitIdentity, PilotKinematicsAndJacobian)
{
    Rng r;
    Digest d;
    static Pilot pilot;
    for (int model = 0; model < 20; ++model) {
        double geometry[8][4] = {};
        geometry[0][2] = r.uni(100, 400), geometry[2][2] = r.uni(200, 500), geometry[3][1] = r.pick(-40, 40, {0});
        geometry[4][2] = r.uni(200, 500), geometry[7][2] = r.uni(0, 200);
        FX_Init_Pilot(&pilot, model % 2, geometry);
        for (int run = 0; run < 200; ++run) {
            if (r.one_in(4))
                for (int row = 0; row < 3; ++row)
                    for (double& e : pilot.tool[row]) e = r.uni(-2, 2);
            double q[7], pose[4][4], jac[6][7];
            randomVector(r, q, 7, -400, 400, {0, 90, -90, 180});
            FX_Kine_Pilot(&pilot, q, pose);
            FX_Jacb_Pilot(&pilot, jac);
            d.add(pose, jac, pilot.moved, pilot.flange_pose, pilot.tool_pose, pilot.joint_pose);
        }
    }
    EXPECT_EQ(d.h, kPilot) << std::hex << d.h;
}

TEST(BitIdentity, ChainKinematicsAndImpedanceJacobian)
{
    Rng r;
    Digest d;
    static FX_Pilot p;
    static Impd_Process_Data impd;
    for (int run = 0; run < 3000; ++run) {
        if (run % 30 == 0) randomChain(r, &p);
        double q[7], T[4][4];
        randomVector(r, q, 7, -7, 7, {0, M_PI / 2});
        FX_KINE(&p, q, T);
        d.add(T);
        randomVector(r, impd.q, 7, -7, 7, {0, M_PI / 2});
        FX_Impd_Process_Jacob(&impd, &p);
        d.add(impd.pose, impd.J, impd.JT, impd.jacob_ok);
        addChain(d, p);
    }
    EXPECT_EQ(d.h, kChainKine) << std::hex << d.h;
}

TEST(BitIdentity, InverseDynamicsMassAndCoriolisMatrices)
{
    Rng r;
    Digest d, parts;
    static FX_Pilot p;
    static FX_CM_YTC_BUF y;
    static FX_CM_DPART_BUF buf;
    for (int run = 0; run < 2000; ++run) {
        if (run % 25 == 0) randomChain(r, &p);
        if (!r.one_in(4)) p.kin_cached = 0;  // otherwise the cached posture stays
        double q[7], qd[7], qdd[7], g[3], wrench[6], tau[7] = {}, out[7] = {1, 2, 3, 4, 5, 6, 7};
        double e[7] = {}, M[7][7], D[7][7], S[7][7], C[7][7];
        randomVector(r, q, 7, -7, 7, {0});
        randomVector(r, qd, 7, -3, 3, {0, 1e-6, -1e-6, 5e-7, 2e-6});
        randomVector(r, qdd, 7, -10, 10, {0, 1});
        randomVector(r, g, 3, -10, 10, {9.81});
        randomVector(r, wrench, 6, -20, 20, {0});
        FX_InvDyn(&p, q, qd, qdd, g, wrench, tau);
        d.add(tau);
        addChain(d, p);
        const long j = static_cast<long>(r.g() % 8);
        FX_MMatInvDyn(&p, q, qdd, j, out);
        FX_CalMmat(&p, q, e, M);
        d.add(out, e, M);
        for (double& c : y.mixed[0][0]) c = r.uni(-1, 1);  // entries not written stay
        FX_CalCmatDPT_Q(&p, q, &y);
        FX_CalCmat_DPT_QD(&y, qd, D, S, C);
        d.add(y.mixed, y.square, D, S, C);
        for (const FX_CM_DPART_BUF& b : s_cdb_tmp) d.add(b.w, b.wd, b.vd, b.F, b.N);
        if (run % 4 == 0) {  // the exported single runs themselves
            const long k = static_cast<long>(r.g() % 7);
            FX_CMatInvDyn_A(&p, q, qd, out, k / 2, &buf);
            parts.add(out, buf.w, buf.wd, buf.vd, buf.F, buf.N);
            FX_CMatInvDyn_B(&p, q, qd, out, k, &buf);
            parts.add(out, buf.w, buf.wd, buf.vd, buf.F, buf.N);
        }
    }
    EXPECT_EQ(d.h, kDynamics) << std::hex << d.h;
    EXPECT_EQ(parts.h, kCoriolisParts) << std::hex << parts.h;
}

TEST(BitIdentity, LockedJointSolverAndReferenceIK)
{
    Rng r;
    Digest d;
    static IK_Poilt7 ik;
    for (int run = 0; run < 4000; ++run) {
        if (run % 1000 == 0) tk::buildIK(&ik, run % 2000 ? 1017 : 1007);
        double q[7], ref[7], T[4][4], sol[8][8], out[8];
        randomVector(r, q, 7, -170, 170, {0, 0.005, -1e-5, 90, 180});
        OnKine(&ik, q, T);
        d.add(T, ik.M_joint, ik.M_acc);
        if (r.one_in(5))
            for (int row = 0; row < 3; ++row) T[row][3] *= r.uni(0, 2);
        for (int j = 0; j < 7; ++j) ref[j] = r.pick(q[j] - 30, q[j] + 30, {0, 180, -180, 540});
        const double q7 = r.one_in(4) ? r.uni(-180, 180) : q[6];
        long count = -1;
        std::memset(sol, 0x5a, sizeof sol);
        std::memset(out, 0x5a, sizeof out);
        d.add(static_cast<int>(FX_IKLock7(&ik, q7, T, &count, sol)), count, sol);
        d.add(static_cast<int>(FX_IKLock7_With_Config(&ik, q7, ref, T, &count, sol)), count, sol);
        d.add(static_cast<int>(FX_IKRef7(&ik, q7, ref, T, out)), out);
        d.add(static_cast<int>(FX_IKRef7_With_Config(&ik, q7, ref, T, out)), out);
    }
    EXPECT_EQ(d.h, kLockedIK) << std::hex << d.h;
}

TEST(BitIdentity, SynchronisedProfiles)
{
    Rng r;
    Digest d;
    static FXNSyncDTS s;
    for (int setup = 0; setup < 16; ++setup) {
        const long n = 1 + setup % 8;
        double vmax[8], acc[8], jerk[8], target[8], out[8] = {};
        for (int i = 0; i < 8; ++i) {
            vmax[i] = r.uni(1, 300), acc[i] = r.uni(10, 2000), jerk[i] = r.pick(100, 1e5, {1, 1e7});
            target[i] = r.uni(-100, 100);
        }
        ASSERT_EQ(FXNSyncDTS_OnInit(&s, n, 1 + setup % 3, vmax, acc, jerk), 1);
        for (int cycle = 0; cycle < 2500; ++cycle) {
            if (r.one_in(150))
                for (double& t : target) t = r.uni(-100, 100);
            if (r.one_in(400)) {
                for (int i = 0; i < 8; ++i) vmax[i] = r.uni(0.1, 100), acc[i] = r.uni(10, 2000);
                d.add(FXNSyncDTS_OnSetRunTimeLmt(&s, vmax, acc));
            }
            if (r.one_in(900)) d.add(FXNSyncDTS_OnEmpty(&s));
            d.add(r.one_in(10) ? FXNSyncDTS_OnDT_U(&s, out) : FXNSyncDTS_OnDT(&s, target, out));
            d.add(out);
            for (const FXVDT& v : s.vdt)
                d.add(v.saved_pos, v.saved_vel, v.pos, v.vel, v.acc, v.cycle, v.h, v.acc_step, v.ready,
                      v.reset, v.vmax, v.slowing, v.vmax_target, v.saved_vmax_target, v.saved_slowing,
                      v.saved_vmax, v.period);
            d.add(s.n, s.ready, s.reset, s.vel, s.acc, s.raw, s.pos, s.target, s.buf, s.win, s.win_f,
                  s.sum, s.tick, s.slot);
        }
    }
    EXPECT_EQ(d.h, kSyncProfile) << std::hex << d.h;
}
