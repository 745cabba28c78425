// urdf: the robot.ini link chain as a URDF document, so that the arm can be shown
// in the usual visualisers and loaded by other libraries.
#include <cmath>
#include <cstdio>

#include "interface/Globals.h"
#include "tools/Commands.h"
#include "tools/Models.h"
#include "tools/Tables.h"

namespace {

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value == 0.0 ? 0.0 : value);
    return text;
}

std::string triple(double a, double b, double c)
{
    return number(a) + " " + number(b) + " " + number(c);
}

std::string escaped(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

// A link with the inertial data of the chain, or none when it has no mass.
std::string linkXml(const std::string& name, const FX_Link* link)
{
    if (link == nullptr || !(link->mass > 0.0))
        return "  <link name=\"" + name + "\"/>\n";
    const double m = link->mass;
    const double* I = link->inertia;
    return "  <link name=\"" + name + "\">\n    <inertial>\n      <origin xyz=\"" +
           triple(link->com[0] / m, link->com[1] / m, link->com[2] / m) + "\" rpy=\"0 0 0\"/>\n" +
           "      <mass value=\"" + number(m) + "\"/>\n      <inertia ixx=\"" + number(I[0]) + "\" ixy=\"" +
           number(I[1]) + "\" ixz=\"" + number(I[2]) + "\" iyy=\"" + number(I[3]) + "\" iyz=\"" +
           number(I[4]) + "\" izz=\"" + number(I[5]) + "\"/>\n    </inertial>\n  </link>\n";
}

// The joint frame at angle 0 relative to its parent: the chain's modified DH
// transform Rx(alpha) Tx(a) Rz(q) Tz(d), where Rz(q) and Tz(d) commute, so the
// joint turns about its own z after the fixed part Rx(alpha) Tx(a) Tz(d).
std::string originXml(double pose[4][4])
{
    double xyzabc[6];
    poseToXyzabc(pose, 1.0, xyzabc);
    const double toRad = M_PI / 180.0;
    return "    <origin xyz=\"" + triple(pose[0][3], pose[1][3], pose[2][3]) + "\" rpy=\"" +
           triple(xyzabc[3] * toRad, xyzabc[4] * toRad, xyzabc[5] * toRad) + "\"/>\n";
}

std::string urdfDocument()
{
    const CfgArm& arm = ms_DCTRL_CFG.Arm[0];
    std::string name = ms_DCTRL_CFG.Name;
    std::string xml = "<?xml version=\"1.0\"?>\n<!-- Written by tolvex-kine urdf from the robot.ini link chain; "
                      "metres, radians. -->\n<robot name=\"" + (name.empty() ? std::string("arm") : escaped(name)) +
                      "\">\n" + linkXml("base_link", nullptr);
    for (int i = 0; i < 7; ++i) {
        const FX_Link& link = rob.links[i];
        const CfgLink& cfg = arm.Link[i];
        double origin[4][4];
        FX_TmatO(link.alpha, link.a, link.d, 0.0, origin);
        std::string parent = i == 0 ? "base_link" : "link" + std::to_string(i);
        std::string child = "link" + std::to_string(i + 1);
        xml += linkXml(child, &link);
        xml += "  <joint name=\"joint" + std::to_string(i + 1) + "\" type=\"revolute\">\n    <parent link=\"" +
               parent + "\"/>\n    <child link=\"" + child + "\"/>\n" + originXml(origin) +
               "    <axis xyz=\"0 0 1\"/>\n    <limit lower=\"" + number(cfg.LimitNeg * M_PI / 180.0) +
               "\" upper=\"" + number(cfg.LimitPos * M_PI / 180.0) + "\" effort=\"" + number(cfg.TorqueMax) +
               "\" velocity=\"" + number(cfg.VelMax * M_PI / 180.0) + "\"/>\n  </joint>\n";
    }
    // The flange: the chain's tool transform with no tool, its offset along the last joint axis.
    xml += linkXml("flange", nullptr);
    xml += "  <joint name=\"flange_joint\" type=\"fixed\">\n    <parent link=\"link7\"/>\n    <child link=\"flange\"/>\n" +
           originXml(rob.local_T[7]) + "  </joint>\n</robot>\n";
    return xml;
}

}  // namespace

int runUrdf(const ParsedArgs& args)
{
    loadRobot(args.textOr("--robot", ""));
    requireSevenLinks("urdf");
    FX_RemoveTool(&rob);
    std::string xml = urdfDocument();
    std::string path = args.textOr("-o", "");
    if (path.empty()) {
        std::fputs(xml.c_str(), stdout);
        return 0;
    }
    FILE* out = std::fopen(path.c_str(), "w");
    bool written = out != nullptr && std::fputs(xml.c_str(), out) >= 0;
    if (out != nullptr && std::fclose(out) != 0)
        written = false;
    if (!written)
        throw Failure("urdf: cannot write '" + path + "'");
    return 0;
}
