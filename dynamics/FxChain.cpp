#include "dynamics/FxChain.h"

#include "dynamics/FxNewtonEuler.h"
#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxRigid.h"
#include "math/FxScalar.h"

#include <cstdint>
#include <cstring>

// Modified DH transform RotX(alpha) TransX(a) RotZ(q) TransZ(d) from the
// sine/cosine of q (s, c) and of alpha (sa, ca).
static void writeModifiedDH(double s, double c, double sa, double ca, double a, double d,
                            double T[4][4])
{
    T[0][0] = c;
    T[0][1] = -s;
    T[0][2] = 0.0;
    T[0][3] = a;
    T[1][0] = s * ca;
    T[1][1] = c * ca;
    T[1][2] = -sa;
    T[1][3] = -sa * d;
    T[2][0] = s * sa;
    T[2][1] = c * sa;
    T[2][2] = ca;
    T[2][3] = ca * d;
    T[3][0] = 0.0;
    T[3][1] = 0.0;
    T[3][2] = 0.0;
    T[3][3] = 1.0;
}

namespace {

// sin and cos of the link twists, remembered by their exact bit pattern: a
// chain's twists take few values, and each would cost as much as the rest of
// the link transform. One memo per thread keeps the routines usable on
// distinct records from several threads.
struct TwistMemo {
    uint64_t key[8];
    double s[8], c[8];
    bool filled[8];
};
thread_local TwistMemo g_twists __attribute__((tls_model("initial-exec")));

void twistSinCos(double alpha, double* s, double* c)
{
    uint64_t bits;
    std::memcpy(&bits, &alpha, sizeof bits);
    const unsigned slot = static_cast<unsigned>((bits * 0xff51afd7ed558ccdull) >> 61);
    TwistMemo& m = g_twists;
    if (!m.filled[slot] || m.key[slot] != bits) {
        FX_SIN_COS_ARC(alpha, &m.s[slot], &m.c[slot]);
        m.key[slot] = bits;
        m.filled[slot] = true;
    }
    *s = m.s[slot];
    *c = m.c[slot];
}

}  // namespace

void FX_Tmat(FX_Link* link, double q)
{
    double s, c;
    if (link->fast) {
        // Only the entries that depend on the angle together with alpha are
        // refreshed; row 0 keeps its previous values.
        FX_SIN_COS_ARC(q + link->theta, &s, &c);
        link->T[1][0] = s * link->cos_alpha;
        link->T[1][1] = c * link->cos_alpha;
        link->T[2][0] = s * link->sin_alpha;
        link->T[2][1] = c * link->sin_alpha;
        return;
    }
    // The offset theta is not added here: callers pass the full joint angle.
    double sa, ca;
    FX_SIN_COS_ARC(q, &s, &c);
    twistSinCos(link->alpha, &sa, &ca);
    writeModifiedDH(s, c, sa, ca, link->a, link->d, link->T);
    link->sin_alpha = sa;
    link->cos_alpha = ca;
}

void FX_TmatO(double alpha, double a, double d, double q, double T[4][4])
{
    double s, c, sa, ca;
    FX_SIN_COS_ARC(q, &s, &c);
    FX_SIN_COS_ARC(alpha, &sa, &ca);
    writeModifiedDH(s, c, sa, ca, a, d, T);
}

void FX_SetLink(FX_Pilot* p, long i, double alpha, double a, double d, double theta,
                double mass, double* com, double* inertia, double rotor_inertia)
{
    if (i < 0 || i >= FX_CHAIN_MAX_LINKS)
        return;
    FX_Link* link = &p->links[i];
    link->alpha = alpha;
    link->a = a;
    link->d = d;
    link->theta = theta;
    link->mass = mass;
    for (int k = 0; k < 3; ++k) link->com[k] = com[k];
    for (int k = 0; k < 6; ++k) link->inertia[k] = inertia[k];
    link->rotor_inertia = rotor_inertia;
    link->fast = 0;
    FX_Tmat(link, 0.0);
}

void FX_SetFlange(FX_Pilot* p, double alpha, double a, double d, double theta)
{
    FX_Link* flange = &p->links[7];
    flange->alpha = alpha;
    flange->a = a;
    flange->d = d;
    flange->theta = theta;
    flange->mass = 0.0;
    for (int k = 0; k < 3; ++k) flange->com[k] = 0.0;
    for (int k = 0; k < 6; ++k) flange->inertia[k] = 0.0;
    flange->fast = 0;
    flange->rotor_inertia = 0.0;
    FX_Tmat(flange, 0.0);
}

// Stores the tool in the flange slot, regroups the dynamic parameters and
// writes the tool transform local_T[n] (flange offset along z, then the tool).
static void installTool(FX_Pilot* p, double* pose, double mass, double* com, double* inertia)
{
    if (p->n < 0 || p->n > FX_CHAIN_MAX_LINKS)
        return;
    FX_Link* flange = &p->links[7];
    flange->mass = mass;
    for (int k = 0; k < 3; ++k) flange->com[k] = com[k];
    for (int k = 0; k < 6; ++k) flange->inertia[k] = inertia[k];

    NE_BuildParamSums(p);

    // The angles are scaled to radians before the builder, which reads
    // degrees; the tool rotation is whatever that scaling gives.
    double pose_si[6];
    for (int k = 0; k < 3; ++k) pose_si[k] = pose[k] * FX_MM2M;
    for (int k = 3; k < 6; ++k) pose_si[k] = pose[k] * FX_DEG2RAD;
    FX_XYZABC2PG(pose_si, p->local_T[p->n]);
    p->local_T[p->n][2][3] = p->local_T[p->n][2][3] + flange->d;

    p->dyn_ready = 1;
}

void FX_SetTool(FX_Pilot* p, double* pose, double mass, double* com, double* inertia)
{
    installTool(p, pose, mass, com, inertia);
}

void FX_RemoveTool(FX_Pilot* p)
{
    double zeros[6] = {0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    installTool(p, zeros, 0.0, zeros, zeros);
}

void FX_KINE(FX_Pilot* p, double* q, double T[4][4])
{
    const int n = p->n;
    if (n < 1 || n > FX_CHAIN_MAX_LINKS)
        return;
    for (int i = 0; i < n; ++i) {
        FX_Tmat(&p->links[i], q[i]);
        fx_copy44(p->links[i].T, p->local_T[i]);
        if (i == 0)
            fx_copy44(p->local_T[0], p->chain_T[0]);
        else
            fx_mul44(p->chain_T[i - 1], p->local_T[i], p->chain_T[i]);
    }
    fx_mul44(p->chain_T[n - 1], p->local_T[n], p->chain_T[n]);
    fx_copy44(p->chain_T[n], T);
}
