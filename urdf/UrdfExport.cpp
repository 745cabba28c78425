#include "urdf/UrdfExport.h"

#include <cmath>
#include <locale>
#include <set>
#include <sstream>

#include "math/FxRigid.h"
#include "urdf/Geometry.h"

namespace tk {

namespace {

using namespace urdf_geometry;

// Seventeen digits give every double back exactly.
std::string number(double value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.precision(17);
    out << (value == 0.0 ? 0.0 : value);
    return out.str();
}

std::string triple(double a, double b, double c) { return number(a) + " " + number(b) + " " + number(c); }

std::string escaped(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&apos;"; break;
        default: out += c;
        }
    }
    return out;
}


void requireFinite(const double* values, int count, const std::string& what)
{
    for (int k = 0; k < count; ++k)
        if (!std::isfinite(values[k]))
            throw Error("description: " + what + " is not finite");
}

// Names are unique in a URDF, links and joints each.
class Names {
public:
    std::string take(std::set<std::string>& used, const std::string& given, const std::string& fallback,
                     const char* kind)
    {
        const std::string name = given.empty() ? fallback : given;
        if (!used.insert(name).second)
            throw Error(std::string("description: ") + kind + " name '" + name + "' is used twice");
        return escaped(name);
    }
    std::string link(const std::string& given, const std::string& fallback) { return take(links_, given, fallback, "link"); }
    std::string joint(const std::string& given, const std::string& fallback) { return take(joints_, given, fallback, "joint"); }

private:
    std::set<std::string> links_, joints_;
};

std::string originXml(const Frame& f)
{
    double rpy[3];
    rpyOf(f.R, rpy);
    return "    <origin xyz=\"" + triple(f.p.x, f.p.y, f.p.z) + "\" rpy=\"" + triple(rpy[0], rpy[1], rpy[2]) + "\"/>\n";
}

std::string fixedJointXml(const std::string& name, const std::string& parent, const std::string& child, const Frame& f)
{
    return "  <joint name=\"" + name + "\" type=\"fixed\">\n    <parent link=\"" + parent + "\"/>\n    <child link=\"" +
           child + "\"/>\n" + originXml(f) + "  </joint>\n";
}

std::string linkXml(const std::string& name, const LinkInertial* inertial)
{
    if (inertial == nullptr || !(inertial->mass > 0.0))
        return "  <link name=\"" + name + "\"/>\n";
    const double* c = inertial->com;
    const double* I = inertial->inertia;
    return "  <link name=\"" + name + "\">\n    <inertial>\n      <origin xyz=\"" + triple(c[0], c[1], c[2]) +
           "\" rpy=\"0 0 0\"/>\n      <mass value=\"" + number(inertial->mass) + "\"/>\n      <inertia ixx=\"" +
           number(I[0]) + "\" ixy=\"" + number(I[1]) + "\" ixz=\"" + number(I[2]) + "\" iyy=\"" + number(I[3]) +
           "\" iyz=\"" + number(I[4]) + "\" izz=\"" + number(I[5]) + "\"/>\n    </inertial>\n  </link>\n";
}

void checkValues(const RobotDescription& d)
{
    if (d.dof < 1 || d.dof > kMaxJoints)
        throw Error("description: dof " + std::to_string(d.dof) + " is not 1.." + std::to_string(kMaxJoints));
    requireFinite(&d.base[0][0], 16, "base transform");
    requireFinite(&d.flange[0][0], 16, "flange transform");
    requireFinite(d.gravity, 3, "gravity");
    for (int i = 0; i < d.dof; ++i) {
        const std::string joint = "joint " + std::to_string(i + 1);
        const DhJoint& j = d.joint[i];
        const LinkInertial& l = d.link[i];
        const double dh[4] = {j.alpha, j.a, j.d, j.theta},
                     inertial[11] = {l.mass, l.com[0], l.com[1], l.com[2], l.inertia[0], l.inertia[1],
                                     l.inertia[2], l.inertia[3], l.inertia[4], l.inertia[5], l.rotor_inertia};
        const double limits[5] = {d.limits[i].lower, d.limits[i].upper, d.limits[i].velocity,
                                  d.limits[i].acceleration, d.limits[i].effort};
        const double friction[3] = {d.friction[i].coulomb, d.friction[i].viscous, d.friction[i].offset};
        requireFinite(dh, 4, joint + " DH parameters");
        requireFinite(inertial, 11, "link " + std::to_string(i + 1) + " inertial");
        requireFinite(limits, 5, joint + " limits");
        requireFinite(friction, 3, joint + " friction");
    }
}

}  // namespace

std::string exportUrdf(const RobotDescription& d)
{
    checkValues(d);
    Names names;
    const std::string baseName = d.link_name[0].empty() ? "base_link" : d.link_name[0];
    const std::string base = names.link(baseName, "");
    std::string xml = "<?xml version=\"1.0\"?>\n<!-- Written by Tolvex Kine: each link frame is the chain's modified DH "
                      "frame; metres, radians, kilograms. -->\n<robot name=\"" +
                      escaped(d.name.empty() ? "robot" : d.name) + "\">\n  <link name=\"" + base + "\"/>\n";
    std::string parent = base;
    if (!fx_is_identity44(d.base)) {
        const std::string mount = names.link(baseName + "_frame0", "");
        xml += fixedJointXml(names.joint(baseName + "_frame0_joint", ""), base, mount, fromMatrix(d.base)) +
               "  <link name=\"" + mount + "\"/>\n";
        parent = mount;
    }
    std::string extras;
    for (int i = 0; i < d.dof; ++i) {
        const std::string index = std::to_string(i + 1);
        const std::string link = names.link(d.link_name[i + 1], "link" + index);
        const std::string joint = names.joint(d.joint_name[i], "joint" + index);
        const DhJoint& dh = d.joint[i];
        const JointLimits& limits = d.limits[i];
        xml += linkXml(link, &d.link[i]);
        xml += "  <joint name=\"" + joint + "\" type=\"" + (limits.continuous ? "continuous" : "revolute") +
               "\">\n    <parent link=\"" + parent + "\"/>\n    <child link=\"" + link + "\"/>\n" +
               originXml(modifiedDh(dh.alpha, dh.a, dh.theta, dh.d)) + "    <axis xyz=\"0 0 1\"/>\n    <limit " +
               (limits.continuous ? "" : "lower=\"" + number(limits.lower) + "\" upper=\"" + number(limits.upper) + "\" ") +
               "effort=\"" + number(limits.effort) + "\" velocity=\"" + number(limits.velocity) +
               "\"/>\n    <dynamics damping=\"" + number(d.friction[i].viscous) + "\" friction=\"" +
               number(d.friction[i].coulomb) + "\"/>\n  </joint>\n";
        extras += "    <joint name=\"" + joint + "\" rotor_inertia=\"" + number(d.link[i].rotor_inertia) +
                  "\" acceleration=\"" + number(limits.acceleration) + "\" friction_offset=\"" +
                  number(d.friction[i].offset) + "\"/>\n";
        parent = link;
    }
    if (!d.link_name[d.dof + 1].empty() || !fx_is_identity44(d.flange)) {
        const std::string flangeName = d.link_name[d.dof + 1].empty() ? "flange" : d.link_name[d.dof + 1];
        const std::string flange = names.link(flangeName, "");
        xml += "  <link name=\"" + flange + "\"/>\n" +
               fixedJointXml(names.joint(flangeName + "_joint", ""), parent, flange, fromMatrix(d.flange));
    }
    return xml +
           "  <!-- What URDF has no element for: gravity in the base link's frame (m/s^2); per joint the rotor "
           "inertia (kg m^2), acceleration limit (rad/s^2, 0 unknown) and constant friction torque (N m). -->\n"
           "  <tolvexkine gravity=\"" + triple(d.gravity[0], d.gravity[1], d.gravity[2]) + "\">\n" + extras +
           "  </tolvexkine>\n</robot>\n";
}

}  // namespace tk
