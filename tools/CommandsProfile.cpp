// The profile command: FXNSyncDTS from rest to the targets, one sample per
// cycle, printed as CSV or summarised, and optionally drawn as an SVG.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "motion/FXNSyncDTS.h"
#include "tools/Commands.h"
#include "tools/Svg.h"

namespace {

// An axis counts as settled once raw and smoothed positions are this close to
// the target (in axis units) and velocity and acceleration this close to zero.
constexpr double kSettleTolerance = 1e-6;
// Longest motion simulated, seconds.
constexpr double kMaxSeconds = 600.0;

bool axisSettled(const ProfileSample& s, int axis, double target)
{
    return std::fabs(s.raw[axis] - target) <= kSettleTolerance &&
           std::fabs(s.pos[axis] - target) <= kSettleTolerance &&
           std::fabs(s.vel[axis]) <= kSettleTolerance && std::fabs(s.acc[axis]) <= kSettleTolerance;
}

ProfileSample sampleOf(const FXNSyncDTS& s, long cycle, double cycleMs)
{
    ProfileSample sample{};
    sample.time = static_cast<double>(cycle) * cycleMs / 1000.0;
    for (long i = 0; i < s.n; ++i) {
        sample.raw[i] = s.raw[i];
        sample.pos[i] = s.pos[i];
        sample.vel[i] = s.vel[i];
        sample.acc[i] = s.acc[i];
    }
    return sample;
}

// Per-axis values of a list option: one value for every axis, or one per axis.
std::vector<double> perAxis(const ParsedArgs& args, const char* name, int axes)
{
    std::vector<double> values = args.numbers.count(name) ? args.numbers.at(name)
                                                          : std::vector<double>();
    if (values.size() == 1)
        values.assign(axes, values[0]);
    if (static_cast<int>(values.size()) != axes)
        throw UsageError("profile: option " + std::string(name) + " needs 1 or " +
                         std::to_string(axes) + " numbers, got " + std::to_string(values.size()));
    return values;
}

ProfileSettings settingsOf(const ParsedArgs& args)
{
    double axes = args.numbers.at("--axes")[0];
    if (axes != std::floor(axes) || axes < 1 || axes > 8)
        throw UsageError("profile: --axes must be a whole number from 1 to 8");
    ProfileSettings settings;
    settings.axes = static_cast<int>(axes);
    settings.cycleMs = args.numbers.at("--cycle")[0];
    settings.vmax = perAxis(args, "--vmax", settings.axes);
    settings.acc = perAxis(args, "--acc", settings.axes);
    settings.jerk = perAxis(args, "--jerk", settings.axes);
    settings.target = perAxis(args, "--target", settings.axes);
    return settings;
}

const char* const kColours[8] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e",
                                 "#9467bd", "#8c564b", "#e377c2", "#17becf"};

// One panel of the SVG: a quantity of every axis over time.
void svgPanel(FILE* out, const std::vector<ProfileSample>& samples, int axes, int panel,
              const char* label)
{
    const double left = 80, width = 820, height = 200, top = 40 + panel * (height + 50);
    auto value = [&](const ProfileSample& s, int axis) {
        return panel == 0 ? s.pos[axis] : panel == 1 ? s.vel[axis] : s.acc[axis];
    };
    double lo = 0.0, hi = 0.0;
    for (const auto& s : samples)
        for (int a = 0; a < axes; ++a) {
            lo = std::min(lo, value(s, a));
            hi = std::max(hi, value(s, a));
        }
    if (hi - lo < 1e-12)
        hi = lo + 1.0;
    double tEnd = samples.back().time > 0 ? samples.back().time : 1.0;
    auto x = [&](double t) { return left + width * t / tEnd; };
    auto y = [&](double v) { return top + height * (hi - v) / (hi - lo); };

    std::fprintf(out, "<rect x=\"%g\" y=\"%g\" width=\"%g\" height=\"%g\" fill=\"none\" stroke=\"#999\"/>\n",
                 left, top, width, height);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"14\">%s</text>\n", left, top - 8, label);
    for (double v : {lo, hi})
        std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"11\" text-anchor=\"end\">%.4g</text>\n",
                     left - 6, y(v) + 4, v);
    if (lo < 0 && hi > 0)
        std::fprintf(out, "<line x1=\"%g\" y1=\"%g\" x2=\"%g\" y2=\"%g\" stroke=\"#ccc\"/>\n", left, y(0),
                     left + width, y(0));
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"11\" text-anchor=\"end\">%.3g s</text>\n",
                 left + width, top + height + 16, tEnd);
    // At most about 2000 points per line keep the file small.
    size_t stride = samples.size() / 2000 + 1;
    for (int a = 0; a < axes; ++a) {
        std::fprintf(out, "<polyline fill=\"none\" stroke=\"%s\" stroke-width=\"1.5\" points=\"", kColours[a]);
        for (size_t i = 0; i < samples.size(); i += stride)
            std::fprintf(out, "%.2f,%.2f ", x(samples[i].time), y(value(samples[i], a)));
        std::fprintf(out, "%.2f,%.2f\"/>\n", x(samples.back().time), y(value(samples.back(), a)));
    }
}

void writeSvg(const std::string& path, const std::vector<ProfileSample>& samples, int axes)
{
    SvgFile svg("profile", path, 940, 800);
    FILE* out = svg.out();
    svgPanel(out, samples, axes, 0, "position [u]");
    svgPanel(out, samples, axes, 1, "velocity [u/s]");
    svgPanel(out, samples, axes, 2, "acceleration [u/s^2]");
    for (int a = 0; a < axes; ++a)
        std::fprintf(out, "<text x=\"%d\" y=\"20\" font-size=\"13\" fill=\"%s\">axis %d</text>\n",
                     80 + 90 * a, kColours[a], a + 1);
    svg.close();
}

Table cycleTable(const std::vector<ProfileSample>& samples, int axes)
{
    Table table{"", {"t [s]"}, {}};
    for (int a = 1; a <= axes; ++a) {
        std::string n = std::to_string(a);
        for (std::string name : {"raw" + n + " [u]", "pos" + n + " [u]", "vel" + n + " [u/s]",
                                 "acc" + n + " [u/s^2]"})
            table.columns.push_back(name);
    }
    for (const auto& s : samples) {
        std::vector<Cell> row{num(s.time, 4)};
        for (int a = 0; a < axes; ++a)
            for (double v : {s.raw[a], s.pos[a], s.vel[a], s.acc[a]})
                row.push_back(num(v, 6));
        table.addRow(row);
    }
    return table;
}

}  // namespace

std::vector<ProfileSample> runProfileCycles(const ProfileSettings& settings)
{
    FXNSyncDTS s;
    std::vector<double> vmax = settings.vmax, acc = settings.acc, jerk = settings.jerk;
    if (!FXNSyncDTS_OnInit(&s, settings.axes, settings.cycleMs, vmax.data(), acc.data(), jerk.data()))
        throw UsageError("profile: limits rejected (cycle 1..1000 ms, vmax 0.1..5000, "
                         "acc 0.01..50000, jerk 1..1e7 per axis)");
    double rest[8] = {0, 0, 0, 0, 0, 0, 0, 0}, out[8];
    std::vector<double> target = settings.target;
    // The first step after set-up places every axis on its target: start from rest at 0.
    FXNSyncDTS_OnDT(&s, rest, out);
    std::vector<ProfileSample> samples{sampleOf(s, 0, settings.cycleMs)};
    const long maxCycles = static_cast<long>(kMaxSeconds * 1000.0 / settings.cycleMs);
    for (long cycle = 1; cycle <= maxCycles; ++cycle) {
        FXNSyncDTS_OnDT(&s, target.data(), out);
        samples.push_back(sampleOf(s, cycle, settings.cycleMs));
        bool settled = true;
        for (int a = 0; a < settings.axes; ++a)
            settled = settled && axisSettled(samples.back(), a, target[a]);
        if (settled)
            return samples;
    }
    throw Failure("profile: the axes have not settled after " + formatNumber(kMaxSeconds, 0) + " s");
}

void reportProfileSummary(Report& report, const ProfileSettings& settings,
                          const std::vector<ProfileSample>& samples)
{
    Table table{"Profile from rest at 0 (FXNSyncDTS, cycle " + formatNumber(settings.cycleMs, 3) +
                    " ms): all axes settled after " + formatNumber(samples.back().time, 3) + " s",
                {"axis", "target [u]", "vmax [u/s]", "acc [u/s^2]", "jerk [u/s^3]",
                 "duration [s]", "peak vel [u/s]", "peak acc [u/s^2]"},
                {}};
    for (int a = 0; a < settings.axes; ++a) {
        double peakVel = 0.0, peakAcc = 0.0, done = 0.0;
        for (const auto& s : samples) {
            peakVel = std::max(peakVel, std::fabs(s.vel[a]));
            peakAcc = std::max(peakAcc, std::fabs(s.acc[a]));
            if (!axisSettled(s, a, settings.target[a]))
                done = s.time + settings.cycleMs / 1000.0;
        }
        table.addRow({word(std::to_string(a + 1)), num(settings.target[a], 3), num(settings.vmax[a], 1),
                      num(settings.acc[a], 1), num(settings.jerk[a], 0), num(done, 3), num(peakVel, 3),
                      num(peakAcc, 3)});
    }
    report.add(table);
}

int runProfile(const ParsedArgs& args)
{
    ProfileSettings settings = settingsOf(args);
    std::vector<ProfileSample> samples = runProfileCycles(settings);
    if (args.has("--svg"))
        writeSvg(args.texts.at("--svg"), samples, settings.axes);
    Format format = formatOf(args);
    if (args.has("--summary")) {
        Report report(format);
        reportProfileSummary(report, settings, samples);
        report.print(stdout);
    } else {
        Report report(format == Format::Json ? Format::Json : Format::Csv);
        report.add(cycleTable(samples, settings.axes));
        report.print(stdout);
    }
    return 0;
}
