// The per-cycle calls a controller makes, each as a no-argument function on the
// bundled example models and fixed inputs, shared by every benchmark mode.
#ifndef TOLVEX_BENCH_CYCLECALLS_H
#define TOLVEX_BENCH_CYCLECALLS_H

#include "tolvexkine.h"

namespace bench {

struct CycleCall {
    const char *name;
    void (*run)();
};

// Loads model-1017.txt into `pilot` and robot.ini into `rob` and `ik`, quietly;
// once.
bool loadExampleModels();

// Inputs shared with the peer library: joints in degrees for the Pilot model,
// radians for the link chain, rates, gravity and the tool's wrench.
extern double g_joints_deg[7];
extern double g_q[7], g_qd[7], g_qdd[7], g_gravity[3], g_wrench[6];

// The robot object built from robot.ini, with the file's own link dynamics.
extern tk::Robot *g_robot;

extern const CycleCall kCycleCalls[];
extern const int kCycleCallCount;
const CycleCall *findCycleCall(const char *name);

} // namespace bench

#endif
