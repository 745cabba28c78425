// Cycle cost of the library. Without options: a Google Benchmark run of every
// cycle call (and of the peer library's same operations when it was found).
// --ratios [rounds]: cross-check against the peer, then interleaved rounds of
// ours and the peer's, median of the per-round ratios, against the goals.
// --latency [calls]: each cycle call timed one call at a time: median, 99.9th
// percentile and maximum.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include "bench/CycleCalls.h"
#ifdef TOLVEX_HAVE_KDL
#include "bench/KdlPeer.h"
#endif
#if defined(__x86_64__)
#include <x86intrin.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double threadCpuNs()
{
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e9 + double(t.tv_nsec);
}

// Nanoseconds per call over a batch long enough to read the clock reliably.
// The clock is this thread's CPU time: on a shared machine, time spent
// descheduled would otherwise land on whichever side was running.
double nsPerCall(void (*run)(), long calls)
{
    const double t0 = threadCpuNs();
    for (long i = 0; i < calls; ++i) run();
    return (threadCpuNs() - t0) / double(calls);
}

long batchFor(void (*run)())
{
    const double estimate = nsPerCall(run, 1000);
    return std::max(100L, long(5e5 / estimate)); // about 0.5 ms
}

// Goals of the calls that have no peer operation, in ns.
struct AbsoluteGoal {
    const char *name;
    double goal_ns;
};
const AbsoluteGoal kAbsoluteGoals[] = {
    {"FX_CalCmat_DPT_QD", 150},
    {"FX_IKLock7", 1000},
    {"FX_IKRef7", 1200},
    {"FX_IKRef7 (new pose each call)", 1200},
    {"FXNSyncDTS_OnDT", 300},
    {"FX_ArmAngleIntervals", 20000},
    {"FX_ArmAngleIntervals, corner curves", 20000},
    {"FX_CartStep, LIN", 3000}};

// What the robot object adds around the chain call it makes.
struct Overhead {
    const char *object, *bare;
    double goal;  // largest acceptable ratio object / bare
};
const Overhead kOverheads[] = {{"Robot::inverseDynamics", "FX_InvDyn (robot's chain)", 1.10}};

void overheads(int rounds)
{
    std::printf("\n| robot object | bare chain call | ratio | goal |\n|---|---|---|---|\n");
    for (const Overhead &o : kOverheads) {
        void (*object)() = bench::findCycleCall(o.object)->run, (*bare)() = bench::findCycleCall(o.bare)->run;
        const long batch_object = batchFor(object), batch_bare = batchFor(bare);
        std::vector<double> ratio;
        for (int round = 0; round < rounds; ++round) {
            const double a = nsPerCall(object, batch_object), b = nsPerCall(bare, batch_bare);
            ratio.push_back(a / b);
        }
        const double r = median(ratio);
        std::printf("| `%s` | `%s` | %.2f | <= %.2f%s |\n", o.object, o.bare, r, o.goal, r <= o.goal ? "" : " MISSED");
    }
}

int ratios(int rounds)
{
#ifdef TOLVEX_HAVE_KDL
    bench::buildKdlPeer();
    if (!bench::crossCheckKdl()) return 1;
    std::vector<std::vector<double>> ours(bench::kPeerCallCount), peer(ours.size()), ratio(ours.size());
    std::vector<long> batch_ours, batch_peer;
    for (int p = 0; p < bench::kPeerCallCount; ++p) {
        batch_ours.push_back(batchFor(bench::findCycleCall(bench::kPeerCalls[p].ours)->run));
        batch_peer.push_back(batchFor(bench::kPeerCalls[p].run));
    }
    for (int round = 0; round < rounds; ++round)
        for (int p = 0; p < bench::kPeerCallCount; ++p) {
            // Alternate which side runs first, so that drifts in the machine's load
            // cancel.
            void (*mine)() = bench::findCycleCall(bench::kPeerCalls[p].ours)->run;
            double a, b;
            if (round % 2) {
                a = nsPerCall(mine, batch_ours[p]);
                b = nsPerCall(bench::kPeerCalls[p].run, batch_peer[p]);
            } else {
                b = nsPerCall(bench::kPeerCalls[p].run, batch_peer[p]);
                a = nsPerCall(mine, batch_ours[p]);
            }
            ours[p].push_back(a), peer[p].push_back(b), ratio[p].push_back(a / b);
        }
    std::printf("\n%d interleaved rounds, median of the per-round ratios (ours / "
                "peer):\n\n",
                rounds);
    std::printf("| operation | ours | peer | ratio | goal |\n|---|---|---|---|---|\n");
    for (int p = 0; p < bench::kPeerCallCount; ++p) {
        const double r = median(ratio[p]);
        std::printf("| `%s` vs %s | %.0f ns | %.0f ns | %.2f | <= %.2f%s |\n", bench::kPeerCalls[p].ours,
                    bench::kPeerCalls[p].label, median(ours[p]), median(peer[p]), r,
                    bench::kPeerCalls[p].goal, r <= bench::kPeerCalls[p].goal ? "" : " MISSED");
    }
#else
    std::printf("The peer library was not found at configure time: absolute "
                "figures only.\n\n");
    std::printf("| operation | ours | goal |\n|---|---|---|\n");
#endif
    for (const AbsoluteGoal &g : kAbsoluteGoals) {
        void (*run)() = bench::findCycleCall(g.name)->run;
        const long batch = batchFor(run);
        std::vector<double> ns;
        for (int round = 0; round < rounds; ++round) ns.push_back(nsPerCall(run, batch));
        const double m = median(ns);
#ifdef TOLVEX_HAVE_KDL
        std::printf("| `%s` | %.0f ns | - | - | <= %.0f ns%s |\n", g.name, m, g.goal_ns,
                    m <= g.goal_ns ? "" : " MISSED");
#else
        std::printf("| `%s` | %.0f ns | <= %.0f ns%s |\n", g.name, m, g.goal_ns,
                    m <= g.goal_ns ? "" : " MISSED");
#endif
    }
    overheads(rounds);
    return 0;
}

// One timed call: the time-stamp counter where there is one (converted with a
// measured rate), the steady clock elsewhere.
struct Stopwatch {
    double ns_per_tick = 1;
#if defined(__x86_64__)
    Stopwatch()
    {
        const auto t0 = Clock::now();
        const unsigned long long c0 = __rdtsc();
        while (Clock::now() - t0 < std::chrono::milliseconds(200)) {
        }
        const unsigned long long c1 = __rdtsc();
        ns_per_tick = std::chrono::duration<double, std::nano>(Clock::now() - t0).count() / double(c1 - c0);
    }
    double time(void (*run)()) const
    {
        unsigned aux;
        const unsigned long long t0 = __rdtscp(&aux);
        run();
        const unsigned long long t1 = __rdtscp(&aux);
        return double(t1 - t0) * ns_per_tick;
    }
#else
    double time(void (*run)()) const
    {
        const auto t0 = Clock::now();
        run();
        return std::chrono::duration<double, std::nano>(Clock::now() - t0).count();
    }
#endif
};

void nothing() {}

int latency(long calls)
{
    const Stopwatch watch;
    std::vector<double> samples(calls);
    for (long i = 0; i < calls; ++i) samples[i] = watch.time(nothing);
    const double overhead = median(samples);
    std::printf("\nLatency, %ld single calls each (timer overhead of %.0f ns "
                "subtracted):\n\n",
                calls, overhead);
    std::printf("| call | median | 99.9%% | max |\n|---|---|---|---|\n");
    for (int c = 0; c < bench::kCycleCallCount; ++c) {
        void (*run)() = bench::kCycleCalls[c].run;
        for (long i = 0; i < 1000; ++i) run(); // warm the caches
        for (long i = 0; i < calls; ++i) samples[i] = watch.time(run) - overhead;
        std::sort(samples.begin(), samples.end());
        std::printf("| `%s` | %.0f ns | %.0f ns | %.0f ns |\n", bench::kCycleCalls[c].name,
                    samples[calls / 2], samples[std::min(calls - 1, long(double(calls) * 0.999))],
                    samples[calls - 1]);
    }
    return 0;
}

void runCall(benchmark::State &state, void (*run)())
{
    for (auto _ : state) run();
}

} // namespace

int main(int argc, char **argv)
{
    if (!bench::loadExampleModels()) {
        std::fprintf(stderr, "cannot load the example models from %s\n", TOLVEX_EXAMPLES_DIR);
        return 1;
    }
    bool custom = false;
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        const bool has_count = i + 1 < argc && argv[i + 1][0] != '-';
        if (std::strcmp(argv[i], "--ratios") == 0) {
            custom = true;
            status |= ratios(has_count ? std::atoi(argv[++i]) : 31);
        } else if (std::strcmp(argv[i], "--latency") == 0) {
            custom = true;
            status |= latency(has_count ? std::atol(argv[++i]) : 1000000);
        }
    }
    if (custom) return status;

    for (int c = 0; c < bench::kCycleCallCount; ++c)
        benchmark::RegisterBenchmark(bench::kCycleCalls[c].name, runCall, bench::kCycleCalls[c].run);
#ifdef TOLVEX_HAVE_KDL
    bench::buildKdlPeer();
    for (int p = 0; p < bench::kPeerCallCount; ++p)
        benchmark::RegisterBenchmark((std::string("peer: ") + bench::kPeerCalls[p].label).c_str(), runCall,
                                     bench::kPeerCalls[p].run);
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
