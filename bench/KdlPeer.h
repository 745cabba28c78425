// The operations that the peer kinematics library shares with ours, on the same
// chains (the Pilot arm and robot.ini's link chain), for side-by-side ratios.
#ifndef TOLVEX_BENCH_KDLPEER_H
#define TOLVEX_BENCH_KDLPEER_H

namespace bench {

struct PeerCall {
    const char *ours;  // name of our cycle call
    const char *label; // what the peer runs
    void (*run)();
    double goal; // largest acceptable ratio ours / peer
};

// Builds the peer's chains from the loaded models; call after
// loadExampleModels().
void buildKdlPeer();
// Compares FK, Jacobians, inverse dynamics, mass matrix and Coriolis torques
// over random postures; prints the worst differences, returns false beyond
// 1e-12.
bool crossCheckKdl();

extern const PeerCall kPeerCalls[];
extern const int kPeerCallCount;

} // namespace bench

#endif
