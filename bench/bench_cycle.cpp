// Cost of the per-cycle calls a controller makes, on the bundled example models.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "tolvexkine.h"

namespace {

bool loadExamples()
{
    static bool loaded = [] {
        // The loaders announce themselves on stdout; keep the benchmark table clean.
        fflush(stdout);
        int saved = dup(STDOUT_FILENO);
        int null = open("/dev/null", O_WRONLY);
        dup2(null, STDOUT_FILENO);
        bool ok = OnInitKine_TOLVEXKINE(0, TOLVEX_EXAMPLES_DIR "/model-1017.txt") == 1 &&
                  OnInitKine(TOLVEX_EXAMPLES_DIR "/robot.ini") == 1;
        fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(null);
        close(saved);
        return ok;
    }();
    return loaded;
}

double g_joints[7] = {12, -35, 20, -80, 15, 40, -25};

void BM_OnKine(benchmark::State& state)
{
    loadExamples();
    double pose[4][4];
    for (auto _ : state) {
        OnKine(g_joints, pose);
        benchmark::DoNotOptimize(pose);
    }
}
BENCHMARK(BM_OnKine);

void BM_OnJacob(benchmark::State& state)
{
    loadExamples();
    double jac[6][7];
    for (auto _ : state) {
        OnJacob(g_joints, jac);
        benchmark::DoNotOptimize(jac);
    }
}
BENCHMARK(BM_OnJacob);

void BM_OnInvKine(benchmark::State& state)
{
    loadExamples();
    double pose[4][4], out[7];
    unsigned char f1, f2, f3;
    OnKine(g_joints, pose);
    for (auto _ : state) {
        OnInvKine(pose, g_joints, out, &f1, &f2, &f3);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_OnInvKine);

void BM_IKRef7(benchmark::State& state)
{
    loadExamples();
    double flange[4][4], out[8];
    OnKine(&ik, g_joints, flange);
    for (auto _ : state) {
        FX_IKRef7(&ik, g_joints[6], g_joints, flange, out);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_IKRef7);

void BM_InvDyn(benchmark::State& state)
{
    loadExamples();
    double q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4}, qd[7] = {0.1, -0.2, 0.3, 0.1, -0.1, 0.2, 0.5};
    double qdd[7] = {1, 0, -1, 0.5, 0, 0, 2}, g[3] = {0, 9.81, 0}, wrench[6] = {}, tau[7];
    for (auto _ : state) {
        rob.kin_cached = 0;
        FX_InvDyn(&rob, q, qd, qdd, g, wrench, tau);
        benchmark::DoNotOptimize(tau);
    }
}
BENCHMARK(BM_InvDyn);

void BM_MassAndCoriolis(benchmark::State& state)
{
    loadExamples();
    double q[7] = {0.2, -0.6, 0.3, -1.4, 0.25, 0.7, -0.4}, qd[7] = {0.1, -0.2, 0.3, 0.1, -0.1, 0.2, 0.5};
    double e[7] = {}, M[7][7], D[7][7], S[7][7], C[7][7];
    static FX_CM_YTC_BUF y;
    for (auto _ : state) {
        rob.kin_cached = 0;
        FX_CalMmat(&rob, q, e, M);
        FX_CalCmatDPT_Q(&rob, q, &y);
        FX_CalCmat_DPT_QD(&y, qd, D, S, C);
        benchmark::DoNotOptimize(C);
    }
}
BENCHMARK(BM_MassAndCoriolis);

void BM_SyncProfile8Axes(benchmark::State& state)
{
    static FXNSyncDTS sync;
    double vmax[8], acc[8], jerk[8], target[8], out[8];
    for (int i = 0; i < 8; ++i) {
        vmax[i] = 100;
        acc[i] = 500;
        jerk[i] = 5000;  // 100-cycle windows: the costliest re-summation
        target[i] = 1000;
    }
    FXNSyncDTS_OnInit(&sync, 8, 1, vmax, acc, jerk);
    for (auto _ : state) {
        FXNSyncDTS_OnDT(&sync, target, out);
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_SyncProfile8Axes);

}  // namespace

BENCHMARK_MAIN();
