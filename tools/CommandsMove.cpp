// The move command: a Cartesian LIN or CIRC move of the robot object, planned whole by
// the library, given and shown in the tool's units (deg, mm, ms); a summary of the
// joints against their limits, one row per cycle, or a drawing of the joints over time.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "math/FxPose.h"
#include "math/FxScalar.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Svg.h"
#include "tools/Tables.h"

namespace {

const char* const kPathWord[2] = {"lin", "circ"};

// A finite positive value of a one-number option, or `fallback` when not given.
double positiveOption(const ParsedArgs& args, const char* name, double fallback, const char* unit)
{
    const double value = args.numbersOr(name, {fallback})[0];
    if (!(value > 0.0)) {
        char text[32];
        std::snprintf(text, sizeof text, "%g", value);
        throw UsageError(std::string("move: ") + name + " must be positive [" + unit + "], got " + text);
    }
    return value;
}

void elbowOf(const std::string& text, MoveRequest& request)
{
    if (text == "hold" || text == "auto") {
        request.elbow = text == "hold" ? tk::ElbowPolicy::Hold : tk::ElbowPolicy::Auto;
        return;
    }
    if (text == "blend")
        throw UsageError("move: --elbow blend needs the arm angle at the target (blend DEG)");
    if (text.rfind("blend ", 0) != 0)
        throw UsageError("move: --elbow must be hold, blend DEG or auto, got '" + text + "'");
    request.elbow = tk::ElbowPolicy::Blend;
    try {
        request.elbowDeg = parseNumber(text.substr(6));
    } catch (const UsageError& e) {
        throw UsageError(std::string("move: --elbow blend: ") + e.what());
    }
}

MoveRequest requestOf(const ParsedArgs& args)
{
    MoveRequest request;
    const std::string path = args.textOr("--path", "");
    if (path != kPathWord[0] && path != kPathWord[1])
        throw UsageError(path.empty() ? "move: say lin or circ after 'move' (see 'tolvex-kine move --help')"
                                      : "move: the path is lin or circ, got '" + path + "'");
    request.circular = path == kPathWord[1];
    if (request.circular != args.has("--via"))
        throw UsageError(request.circular ? "move: circ needs --via X Y Z, a point of the arc [mm]"
                                          : "move: --via is for circ; a lin move takes no via point");
    copyValues(args.numbers.at("--from"), request.from, 7);
    copyValues(args.numbers.at("--to"), request.to, 6);
    if (request.circular)
        copyValues(args.numbers.at("--via"), request.via, 3);
    request.speed = positiveOption(args, "--speed", request.speed, "mm/s");
    request.acc = positiveOption(args, "--acc", request.acc, "mm/s^2");
    request.jerk = positiveOption(args, "--jerk", request.jerk, "mm/s^3");
    request.rotSpeed = positiveOption(args, "--rot-speed", request.rotSpeed, "deg/s");
    request.rotAcc = positiveOption(args, "--rot-acc", request.rotAcc, "deg/s^2");
    request.rotJerk = positiveOption(args, "--rot-jerk", request.rotJerk, "deg/s^3");
    request.cycleMs = positiveOption(args, "--cycle", request.cycleMs, "ms");
    elbowOf(args.textOr("--elbow", "hold"), request);
    return request;
}

double degrees(double rad) { return rad * FX_RAD2DEG; }

// A limit the robot does not know (0) shows as "-".
Cell limitCell(double value) { return value > 0.0 ? num(degrees(value), 1) : missing(); }

Table cycleTable(const tk::Motion& motion, const std::string& title)
{
    Table table{title, columns(columns({"t [s]"}, jointColumns("deg")), xyzabcColumns()), {}};
    table.columns.push_back("arm angle [deg]");
    tk::MotionSample s;
    for (long k = 0; motion.sample(k, &s); ++k) {
        std::vector<Cell> row{num(s.time, 4)};
        double q[7], pose[6];
        std::transform(s.q, s.q + 7, q, degrees);
        poseToXyzabc(s.pose, 1000.0, pose);
        appendNumbers(row, q, 7);
        appendNumbers(row, pose, 6);
        row.push_back(num(degrees(s.arm_angle), 6));
        table.addRow(row);
    }
    return table;
}

// Every sample of the move: times, joints (deg) and arm angle (deg), with each
// joint's peak rate (deg/s) and acceleration (deg/s^2).
struct MoveCurves {
    std::vector<double> t, q[7], armAngle;
    double peakQd[7] = {}, peakQdd[7] = {};
};

MoveCurves curvesOf(const tk::Motion& motion)
{
    MoveCurves c;
    tk::MotionSample s;
    for (long k = 0; motion.sample(k, &s); ++k) {
        c.t.push_back(s.time);
        for (int i = 0; i < 7; ++i) {
            c.q[i].push_back(degrees(s.q[i]));
            c.peakQd[i] = std::max(c.peakQd[i], std::fabs(degrees(s.qd[i])));
            c.peakQdd[i] = std::max(c.peakQdd[i], std::fabs(degrees(s.qdd[i])));
        }
        c.armAngle.push_back(degrees(s.arm_angle));
    }
    return c;
}

// Where the drawing's panels lie, px.
constexpr double kPanelLeft = 130, kPanelWidth = 720, kPanelHeight = 80, kPanelTop = 50, kPanelStep = 102;

// One panel of the drawing: `values` against time, with the band [lower, upper] when
// `limited`, the vertical range taking in both.
void svgPanel(FILE* out, const MoveCurves& c, const std::vector<double>& values, double top, const char* label,
              bool limited, double lower, double upper)
{
    const double left = kPanelLeft, width = kPanelWidth, height = kPanelHeight;
    const double least = *std::min_element(values.begin(), values.end());
    const double most = *std::max_element(values.begin(), values.end());
    double lo = least, hi = most;
    if (limited) {
        lo = std::min(lo, lower);
        hi = std::max(hi, upper);
    }
    const double pad = 0.05 * (hi - lo) + 0.5;
    lo -= pad;
    hi += pad;
    const double tEnd = c.t.back() > 0 ? c.t.back() : 1.0;
    auto y = [&](double v) { return top + height * (hi - v) / (hi - lo); };
    if (limited) {
        std::fprintf(out, "<rect x=\"%g\" y=\"%.2f\" width=\"%g\" height=\"%.2f\" fill=\"#3060c0\" fill-opacity=\"0.12\" "
                          "stroke=\"#c03030\" stroke-dasharray=\"4 3\"/>\n",
                     left, y(upper), width, y(lower) - y(upper));
        for (double v : {lower, upper})
            std::fprintf(out, "<text x=\"%g\" y=\"%.2f\" font-size=\"10\" fill=\"#c03030\">%.1f</text>\n",
                         left + width + 4, y(v) + 4, v);
    }
    std::fprintf(out, "<rect x=\"%g\" y=\"%g\" width=\"%g\" height=\"%g\" fill=\"none\" stroke=\"#999\"/>\n", left, top,
                 width, height);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"13\" text-anchor=\"end\">%s</text>\n", left - 8,
                 top + height / 2 + 4, label);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"10\" fill=\"#606060\" text-anchor=\"end\">%.2f to %.2f</text>\n",
                 left - 8, top + height / 2 + 18, least, most);
    // At most about 2000 points per line keep the file small; the last sample always drawn.
    const size_t stride = values.size() / 2000 + 1;
    std::vector<double> px, py;
    for (size_t k = 0; k < values.size(); k += stride) {
        px.push_back(left + width * c.t[k] / tEnd);
        py.push_back(y(values[k]));
    }
    px.push_back(left + width * c.t.back() / tEnd);
    py.push_back(y(values.back()));
    std::fprintf(out, "<polyline fill=\"none\" stroke=\"#202020\" stroke-width=\"1.5\" points=\"%s\"/>\n",
                 svgPoints(px.data(), py.data(), static_cast<int>(px.size())).c_str());
}

void writeMoveSvg(const std::string& path, const tk::Robot& robot, const tk::Motion& motion, const std::string& what)
{
    const MoveCurves c = curvesOf(motion);
    SvgFile svg("move", path, 900, static_cast<int>(kPanelTop + 8 * kPanelStep + 30));
    FILE* out = svg.out();
    std::fprintf(out, "<text x=\"%g\" y=\"24\" font-size=\"15\">%s move: joints and arm angle against time; "
                      "band: each joint's limits</text>\n", kPanelLeft, what.c_str());
    for (int i = 0; i < 7; ++i) {
        const tk::JointLimits& l = robot.description().limits[i];
        const std::string label = "q" + std::to_string(i + 1) + " [deg]";
        svgPanel(out, c, c.q[i], kPanelTop + i * kPanelStep, label.c_str(), !l.continuous, degrees(l.lower),
                 degrees(l.upper));
    }
    svgPanel(out, c, c.armAngle, kPanelTop + 7 * kPanelStep, "arm angle [deg]", false, 0.0, 0.0);
    const double bottom = kPanelTop + 7 * kPanelStep + kPanelHeight;
    for (int k = 0; k <= 4; ++k)
        std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"11\" text-anchor=\"middle\">%.3g</text>\n",
                     kPanelLeft + kPanelWidth * k / 4.0, bottom + 16, c.t.back() * k / 4.0);
    std::fprintf(out, "<text x=\"%g\" y=\"%g\" font-size=\"12\" text-anchor=\"middle\">t [s]</text>\n",
                 kPanelLeft + kPanelWidth / 2, bottom + 30);
    svg.close();
}

}  // namespace

std::vector<std::string> moveArgs(std::vector<std::string> args)
{
    if (!args.empty() && args[0][0] != '-')
        args.insert(args.begin(), "--path");
    for (size_t i = 0; i + 2 < args.size(); ++i)
        if (args[i] == "--elbow" && args[i + 1] == "blend" && args[i + 2].rfind("--", 0) != 0) {
            args[i + 1] += " " + args[i + 2];
            args.erase(args.begin() + static_cast<long>(i) + 2);
        }
    return args;
}

tk::Motion planMove(tk::Robot& robot, const MoveRequest& request)
{
    tk::AnalyticArm* arm = robot.analytic();
    if (!arm)
        throw UsageError("move: the arm has not the analytic-IK form: " + robot.analyticIkReason());
    double start[7], target[4][4], to[6];
    degreesToRadians(request.from, start, 7);
    std::copy(request.to, request.to + 6, to);
    FX_XYZABC2Matrix4DEG(to, target);
    for (int r = 0; r < 3; ++r)
        target[r][3] /= 1000.0;
    const tk::MotionLimits limits{request.speed / 1000.0,
                                  request.acc / 1000.0,
                                  request.jerk / 1000.0,
                                  request.rotSpeed * FX_DEG2RAD,
                                  request.rotAcc * FX_DEG2RAD,
                                  request.rotJerk * FX_DEG2RAD,
                                  request.cycleMs / 1000.0};
    const tk::Elbow elbow{request.elbow, request.elbowDeg * FX_DEG2RAD};
    if (!request.circular)
        return tk::Motion::line(*arm, start, target, limits, elbow);
    const double via[3] = {request.via[0] / 1000.0, request.via[1] / 1000.0, request.via[2] / 1000.0};
    return tk::Motion::arc(*arm, start, via, target, limits, elbow);
}

std::string pointText(const double pose[4][4])
{
    return "(" + formatNumber(pose[0][3] * 1000.0, 3) + ", " + formatNumber(pose[1][3] * 1000.0, 3) + ", " +
           formatNumber(pose[2][3] * 1000.0, 3) + ") mm";
}

void reportMoveSummary(Report& report, const tk::Robot& robot, const tk::Motion& motion, const MoveRequest& request)
{
    const MoveCurves c = curvesOf(motion);
    const double armLo = *std::min_element(c.armAngle.begin(), c.armAngle.end());
    const double armHi = *std::max_element(c.armAngle.begin(), c.armAngle.end());
    tk::MotionSample first, last;
    motion.sample(0, &first);
    motion.sample(motion.samples() - 1, &last);
    double distance, turn;
    poseDifference(first.pose, last.pose, &distance, &turn);
    static const char* const kElbow[3] = {"hold", "blend", "auto"};
    report.note(std::string(request.circular ? "CIRC" : "LIN") + " move: " + formatNumber(motion.duration(), 3) +
                " s, " + std::to_string(motion.samples()) + " samples at a " + formatNumber(request.cycleMs, 3) +
                " ms cycle.");
    report.note("Flange from " + pointText(first.pose) + " to " + pointText(last.pose) + ", turning " +
                formatNumber(turn, 3) + " deg.");
    report.note("Arm angle (elbow " + std::string(kElbow[static_cast<int>(request.elbow)]) + "): " +
                formatNumber(c.armAngle.front(), 3) + " deg at the start, " + formatNumber(c.armAngle.back(), 3) +
                " at the end, " + formatNumber(armLo, 3) + " to " + formatNumber(armHi, 3) + " on the way.");
    Table table{"Joints over the move against their limits (deg, deg/s, deg/s^2)",
                {"joint", "end", "min", "max", "lower", "upper", "margin", "peak |qd|", "vel limit", "peak |qdd|",
                 "acc limit"},
                {}};
    for (int i = 0; i < 7; ++i) {
        const tk::JointLimits& l = robot.description().limits[i];
        const double lo = *std::min_element(c.q[i].begin(), c.q[i].end());
        const double hi = *std::max_element(c.q[i].begin(), c.q[i].end());
        const double margin = std::min(lo - degrees(l.lower), degrees(l.upper) - hi);
        table.addRow({word(std::to_string(i + 1)), num(c.q[i].back(), 3), num(lo, 3), num(hi, 3),
                      l.continuous ? missing() : num(degrees(l.lower), 1),
                      l.continuous ? missing() : num(degrees(l.upper), 1), l.continuous ? missing() : num(margin, 3),
                      num(c.peakQd[i], 2), limitCell(l.velocity), num(c.peakQdd[i], 2), limitCell(l.acceleration)});
    }
    report.add(table);
    report.note("margin: the closest approach to either position limit; rates by central differences over the");
    report.note("cycles; '-': a limit the robot does not have.");
}

int runMove(const ParsedArgs& args)
{
    const MoveRequest request = requestOf(args);
    const Format format = formatOf(args);
    tk::Robot robot = robotOf(args);
    const tk::Motion motion = planMove(robot, request);
    if (!motion.ok())
        throw Failure(std::string("move: ") + motion.reason());
    const std::string what = request.circular ? "CIRC" : "LIN";
    if (args.has("--svg"))
        writeMoveSvg(args.texts.at("--svg"), robot, motion, what);
    Report report(format);
    if (format == Format::Text)
        reportMoveSummary(report, robot, motion, request);
    else
        report.add(cycleTable(motion, "Motion (" + what + "), one row per " + formatNumber(request.cycleMs, 3) +
                                          " ms cycle"));
    report.print(stdout);
    return 0;
}
