// The arm's freedom on the Pilot model: psi-map (usable arm-angle intervals, with
// an SVG of the joints against the arm angle) and the (q6, q7) drawing of limits --svg.
#include <algorithm>
#include <cmath>

#include "interface/Globals.h"
#include "interface/TolvexKine.h"
#include "pilot/PilotArmAngleMap.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Svg.h"

namespace {

std::string flagText(const unsigned char flags[3])
{
    return std::to_string(flags[0]) + std::to_string(flags[1]) + std::to_string(flags[2]);
}

std::string edgeText(const PilotArmAngleEdge& edge)
{
    static const char* const kState[5] = {"inside", "below min", "above max", "beyond corner curve",
                                          "not a number"};
    switch (edge.cause) {
    case PILOT_EDGE_JOINT:
        return "joint " + std::to_string(edge.joint) + " " + kState[edge.state < 5 ? edge.state : 4];
    case PILOT_EDGE_NO_SOLUTION:
        return "no solution (flags " + flagText(edge.flags) + ")";
    case PILOT_EDGE_POSE_LOST:
        return "pose not reproduced (flags " + flagText(edge.flags) + ")";
    default:
        return "- (whole circle)";
    }
}

double widthOf(const PilotArmAngleInterval& in)
{
    double width = in.end.angle - in.start.angle;
    return width < 0 ? width + 360.0 : width;
}

double wrapAngle(double psi)
{
    return psi > 180.0 ? psi - 360.0 : psi;
}

// Seven panels of one joint each against the arm angle: limit band, joint
// curve (broken where there is no solution) and the usable intervals shaded.
void writePsiMapSvg(const std::string& path, const PilotArmAngleMap& map, NSPBase* nbase, double ref[7],
                    double pose[4][4], double step)
{
    const int samples = std::min(static_cast<int>(std::ceil(360.0 / step)), 1440);
    std::vector<double> psi(samples + 1), q[7];
    std::vector<bool> solved(samples + 1);
    for (int k = 0; k <= samples; ++k) {
        psi[k] = -180.0 + 360.0 * k / samples;
        double joints[7];
        PilotArmAngleEdge edge;
        FX_PilotArmAngleUsable(&pilot, &lmt, nbase, ref, pose, psi[k], joints, &edge);
        solved[k] = edge.cause != PILOT_EDGE_NO_SOLUTION;
        for (int i = 0; i < 7; ++i)
            q[i].push_back(joints[i]);
    }
    const double left = 90, width = 720, height = 80, gap = 22, top0 = 50;
    SvgFile svg("psi-map", path, 840, static_cast<int>(top0 + 7 * (height + gap) + 40));
    FILE* out = svg.out();
    auto x = [&](double a) { return left + width * (a + 180.0) / 360.0; };
    std::fprintf(out, "<text x=\"%g\" y=\"24\" font-size=\"15\">Joints against the arm angle; green: every joint "
                      "inside its limits, the pose kept</text>\n", left);
    const int stored = std::min(map.count, PILOT_MAX_ARM_ANGLE_INTERVALS);
    for (int i = 0; i < 7; ++i) {
        const double top = top0 + i * (height + gap);
        double lo = lmt.JointMin[i], hi = lmt.JointMax[i];
        for (int k = 0; k <= samples; ++k)
            if (solved[k]) {
                lo = std::min(lo, q[i][k]);
                hi = std::max(hi, q[i][k]);
            }
        const double pad = 0.05 * (hi - lo + 1.0);
        lo -= pad;
        hi += pad;
        auto y = [&](double v) { return top + height * (hi - v) / (hi - lo); };
        for (int n = 0; n < stored; ++n) {
            const PilotArmAngleInterval& in = map.interval[n];
            auto shade = [&](double a, double b) {
                std::fprintf(out, "<rect x=\"%.2f\" y=\"%g\" width=\"%.2f\" height=\"%g\" fill=\"#c8ecc8\"/>\n",
                             x(a), top, x(b) - x(a), height);
            };
            if (in.end.angle >= in.start.angle) {
                shade(in.start.angle, in.end.angle);
            } else {
                shade(in.start.angle, 180.0);
                shade(-180.0, in.end.angle);
            }
        }
        std::fprintf(out, "<rect x=\"%g\" y=\"%.2f\" width=\"%g\" height=\"%.2f\" fill=\"#3060c0\" "
                          "fill-opacity=\"0.12\" stroke=\"#c03030\" stroke-dasharray=\"4 3\"/>\n",
                     left, y(lmt.JointMax[i]), width, y(lmt.JointMin[i]) - y(lmt.JointMax[i]));
        std::fprintf(out, "<rect x=\"%g\" y=\"%g\" width=\"%g\" height=\"%g\" fill=\"none\" stroke=\"#999\"/>\n",
                     left, top, width, height);
        std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"13\" text-anchor=\"end\">q%d [deg]</text>\n",
                     left - 8, top + height / 2 + 4, i + 1);
        for (double v : {lmt.JointMin[i], lmt.JointMax[i]})
            std::fprintf(out, "<text x=\"%g\" y=\"%.2f\" font-size=\"10\" fill=\"#c03030\">%g</text>\n",
                         left + width + 4, y(v) + 4, v);
        // A new segment wherever the solver fails or the angle wraps.
        std::vector<double> px, py;
        auto flush = [&]() {
            if (px.size() > 1)
                std::fprintf(out, "<polyline fill=\"none\" stroke=\"#202020\" stroke-width=\"1.5\" points=\"%s\"/>\n",
                             svgPoints(px.data(), py.data(), static_cast<int>(px.size())).c_str());
            px.clear();
            py.clear();
        };
        for (int k = 0; k <= samples; ++k) {
            if (!solved[k] || (!py.empty() && std::fabs(q[i][k] - q[i][k - 1]) > 90.0))
                flush();
            if (solved[k]) {
                px.push_back(x(psi[k]));
                py.push_back(y(q[i][k]));
            }
        }
        flush();
    }
    const double bottom = top0 + 7 * (height + gap) - gap;
    std::fprintf(out, "<line x1=\"%g\" y1=\"%g\" x2=\"%g\" y2=\"%g\" stroke=\"#e07000\" stroke-width=\"1.5\"/>\n",
                 x(0), top0, x(0), bottom);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"11\" fill=\"#e07000\">reference</text>\n", x(0) + 4,
                 top0 - 4);
    for (int a = -180; a <= 180; a += 45)
        std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"11\" text-anchor=\"middle\">%d</text>\n", x(a),
                     bottom + 16, a);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"12\" text-anchor=\"middle\">arm angle psi [deg]</text>\n",
                 x(0), bottom + 32);
    svg.close();
}

}  // namespace

bool reportArmAngleMap(Report& report, double ref[7], double target[6], double step,
                       const std::string& svgPath, std::string* why)
{
    double pose[4][4];
    FX_XYZABC2Matrix4DEG(target, pose);
    NSPBase base;
    PilotArmAngleMap map;
    if (!FX_PilotArmAngleMap(&pilot, &lmt, ref, pose, step, &base, &map)) {
        *why = failureReason(map.flags);
        return false;
    }
    Table table{"Usable arm angles for (" + formatNumber(target[0], 2) + ", " + formatNumber(target[1], 2) + ", " +
                    formatNumber(target[2], 2) + ", " + formatNumber(target[3], 2) + ", " +
                    formatNumber(target[4], 2) + ", " + formatNumber(target[5], 2) + ")",
                {"start [deg]", "end [deg]", "width [deg]", "midpoint [deg]", "closed at start by",
                 "closed at end by", "reference"},
                {}};
    const int stored = std::min(map.count, PILOT_MAX_ARM_ANGLE_INTERVALS);
    for (int n = 0; n < stored; ++n) {
        const PilotArmAngleInterval& in = map.interval[n];
        const double width = widthOf(in);
        table.addRow({num(in.start.angle, 6), num(in.end.angle, 6), num(width, 6),
                      num(wrapAngle(in.start.angle + 0.5 * width), 6), word(edgeText(in.start)),
                      word(edgeText(in.end)), word(n == map.reference ? "yes" : "no")});
    }
    report.add(table);
    report.note("Arm angle 0 is the reference's elbow plane, as nsp measures it; it lies " +
                (map.reference >= 0 ? "in interval " + std::to_string(map.reference + 1)
                                    : std::string("in no usable interval")) + ".");
    report.note("Usable: the solver succeeds, the tool deviates at most 1e-6 mm and every joint is inside");
    report.note("by the verdict of 'limits'. Sampled every " + formatNumber(step, 3) +
                " deg, edges to 1e-6 deg; an end below its start wraps through +/-180.");
    if (map.count == 0)
        report.note("No arm angle keeps every joint inside its limits for this pose.");
    if (map.truncated)
        report.note("Only the first " + std::to_string(PILOT_MAX_ARM_ANGLE_INTERVALS) + " of " +
                    std::to_string(map.count) + " intervals are listed.");
    if (!svgPath.empty())
        writePsiMapSvg(svgPath, map, &base, ref, pose, step);
    return true;
}

int runPsiMap(const ParsedArgs& args)
{
    double step = args.numbersOr("--step", {1.0})[0];
    if (!(step >= 0.001 && step <= 90))
        throw UsageError("psi-map: --step must be from 0.001 to 90 deg");
    loadModelOf(args);
    double ref[7], target[6];
    copyValues(args.numbers.at("--ref"), ref, 7);
    copyValues(args.values, target, 6);
    Report report(formatOf(args));
    std::string why;
    if (!reportArmAngleMap(report, ref, target, step, args.textOr("--svg", ""), &why))
        throw Failure("psi-map: " + why);
    report.print(stdout);
    return 0;
}

void writeLimitsSvg(const std::string& path, const double q[7])
{
    const double min6 = lmt.JointMin[5], max6 = lmt.JointMax[5], min7 = lmt.JointMin[6], max7 = lmt.JointMax[6];
    const double lo6 = min6 - 20, hi6 = max6 + 20, lo7 = min7 - 20, hi7 = max7 + 20;
    const double left = 70, top = 50, size = 560;
    auto x = [&](double v) { return left + size * (v - lo6) / (hi6 - lo6); };
    auto y = [&](double v) { return top + size * (hi7 - v) / (hi7 - lo7); };
    auto curve = [&](int r, double v) { return lmt.Curve[r][0] * v * v + lmt.Curve[r][1] * v + lmt.Curve[r][2]; };
    // The admissible region, walked round from corner 0 along curve, edge, curve, ...
    std::vector<double> px, py;
    auto add = [&](double a, double b) {
        px.push_back(x(a));
        py.push_back(y(b));
    };
    auto along = [&](int r, double from, double to) {
        for (int k = 0; k <= 40; ++k) {
            const double v = from + (to - from) * k / 40;
            add(v, curve(r, v));
        }
    };
    bool coupled = lmt.Coupled != 0;
    for (int c = 0; c < 7 && coupled; ++c)
        coupled = std::isfinite(lmt.Corner[c][0]) && std::isfinite(lmt.Corner[c][1]);
    if (coupled) {
        along(0, max6, lmt.Corner[1][0]);
        along(1, lmt.Corner[2][0], min6);
        along(2, min6, lmt.Corner[5][0]);
        along(3, lmt.Corner[6][0], max6);
    } else {
        add(max6, max7), add(min6, max7), add(min6, min7), add(max6, min7);
    }
    SvgFile svg("limits", path, 720, 680);
    FILE* out = svg.out();
    std::fprintf(out, "<text x=\"%g\" y=\"28\" font-size=\"15\">Joints 6 and 7: admissible region (%s)</text>\n",
                 left, coupled ? "corners cut by curves" : "plain rectangle");
    std::fprintf(out, "<polygon fill=\"#c8ecc8\" stroke=\"#208020\" stroke-width=\"1.5\" points=\"%s\"/>\n",
                 svgPoints(px.data(), py.data(), static_cast<int>(px.size())).c_str());
    std::fprintf(out, "<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"none\" stroke=\"#c03030\" "
                      "stroke-dasharray=\"5 4\"/>\n", x(min6), y(max7), x(max6) - x(min6), y(min7) - y(max7));
    if (coupled) {
        // Each curve over its quadrant, to show where it cuts the rectangle.
        for (int r = 0; r < 4; ++r) {
            px.clear();
            py.clear();
            const double from = (r == 0 || r == 3) ? 0.0 : min6 - 10, to = (r == 0 || r == 3) ? max6 + 10 : 0.0;
            for (int k = 0; k <= 60; ++k) {
                const double v = from + (to - from) * k / 60, w = std::max(lo7, std::min(hi7, curve(r, v)));
                px.push_back(x(v));
                py.push_back(y(w));
            }
            std::fprintf(out, "<polyline fill=\"none\" stroke=\"#3060c0\" stroke-dasharray=\"3 3\" points=\"%s\"/>\n",
                         svgPoints(px.data(), py.data(), static_cast<int>(px.size())).c_str());
        }
    }
    std::fprintf(out, "<line x1=\"%g\" y1=\"%.2f\" x2=\"%g\" y2=\"%.2f\" stroke=\"#bbb\"/>\n", left, y(0), left + size, y(0));
    std::fprintf(out, "<line x1=\"%.2f\" y1=\"%g\" x2=\"%.2f\" y2=\"%g\" stroke=\"#bbb\"/>\n", x(0), top, x(0), top + size);
    for (double v : {min6, 0.0, max6})
        std::fprintf(out, "<text x=\"%.2f\" y=\"%g\" font-size=\"11\" text-anchor=\"middle\">%g</text>\n", x(v),
                     top + size + 16, v);
    for (double v : {min7, 0.0, max7})
        std::fprintf(out, "<text x=\"%g\" y=\"%.2f\" font-size=\"11\" text-anchor=\"end\">%g</text>\n", left - 6,
                     y(v) + 4, v);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"13\" text-anchor=\"middle\">q6 [deg]</text>\n",
                 left + size / 2, top + size + 34);
    std::fprintf(out, "<text x=\"20\" y=\"%g\" font-size=\"13\">q7</text>\n", top + size / 2);
    PilotLimitVerdict verdict;
    const bool inside = FX_CheckPilotLimits(&lmt, q, &verdict);
    const double b6 = verdict.bound[0], b7 = verdict.bound[1];
    if (std::isfinite(b6) && std::isfinite(b7)) {
        std::fprintf(out, "<line x1=\"%.2f\" y1=\"%.2f\" x2=\"%.2f\" y2=\"%.2f\" stroke=\"#3060c0\" "
                          "stroke-dasharray=\"2 3\"/>\n", x(0), y(0), x(b6), y(b7));
        std::fprintf(out, "<rect x=\"%.2f\" y=\"%.2f\" width=\"10\" height=\"10\" fill=\"#3060c0\"/>\n", x(b6) - 5,
                     y(b7) - 5);
        std::fprintf(out, "<text x=\"%.2f\" y=\"%.2f\" font-size=\"11\" fill=\"#3060c0\">boundary (%.1f, %.1f)</text>\n",
                     x(b6) + 8, y(b7) + 14, b6, b7);
    }
    std::fprintf(out, "<circle cx=\"%.2f\" cy=\"%.2f\" r=\"6\" fill=\"%s\"/>\n", x(q[5]), y(q[6]),
                 inside ? "#208020" : "#d02020");
    std::fprintf(out, "<text x=\"%.2f\" y=\"%.2f\" font-size=\"12\">posture (%.1f, %.1f) %s</text>\n", x(q[5]) + 9,
                 y(q[6]) - 6, q[5], q[6], inside ? "inside" : "OUTSIDE");
    svg.close();
}
