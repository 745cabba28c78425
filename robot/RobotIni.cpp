#include "robot/RobotIni.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "config/IniParser.h"
#include "math/FxMatrix.h"
#include "math/FxPose.h"
#include "math/FxRigid.h"
#include "robot/Error.h"
#include "robot/Inertia.h"

namespace tk {

namespace {

constexpr double kDegToRad = 0.017453292519943295;  // as the controller route converts
constexpr double kRadToDeg = 57.29577951308232;
constexpr double kMmToM = 0.001;

class Reader {
public:
    explicit Reader(const std::string& path) : path_(path)
    {
        std::FILE* probe = std::fopen(path.c_str(), "rb");
        if (!probe)
            fail(std::strerror(errno));
        std::fclose(probe);
        if (!ini_.OnLoad(path.c_str()))
            fail("cannot be read");
    }

    bool has(const std::string& section) const { return ini_.Sections.count(section) != 0; }

    double number(const std::string& section, const char* key) const
    {
        const std::string* text = value(section, key);
        if (!text)
            fail("[" + section + "] lacks \"" + key + "\"");
        return parse(section, key, *text);
    }

    double number(const std::string& section, const char* key, double absent) const
    {
        const std::string* text = value(section, key);
        return text ? parse(section, key, *text) : absent;
    }

    std::string text(const std::string& section, const char* key) const
    {
        const std::string* found = value(section, key);
        return found ? *found : std::string();
    }

    // XYZABC (mm, degrees) of a pose section as a transform in metres; identity when absent.
    void pose(const std::string& section, double T[4][4]) const
    {
        double xyzabc[6] = {};
        if (has(section)) {
            static const char* kKeys[6] = {"X", "Y", "Z", "A", "B", "C"};
            for (int k = 0; k < 6; ++k) xyzabc[k] = number(section, kKeys[k]);
        }
        FX_XYZABC2Matrix4DEG(xyzabc, T);
        for (int r = 0; r < 3; ++r) T[r][3] *= kMmToM;
    }

    [[noreturn]] void fail(const std::string& why) const
    {
        throw Error("robot.ini '" + path_ + "': " + why);
    }

private:
    const std::string* value(const std::string& section, const char* key) const
    {
        auto s = ini_.Sections.find(section);
        if (s == ini_.Sections.end())
            return nullptr;
        auto item = s->second.Items.find(key);
        return item == s->second.Items.end() ? nullptr : &item->second.Value;
    }

    double parse(const std::string& section, const char* key, const std::string& text) const
    {
        const char* start = text.c_str();
        char* end = nullptr;
        const double v = std::strtod(start, &end);
        while (end && (*end == ' ' || *end == '\t' || *end == '\r')) ++end;
        if (end == start || *end != '\0' || !std::isfinite(v))
            fail("[" + section + "] \"" + key + "\" is not a finite number: '" + text + "'");
        return v;
    }

    std::string path_;
    IniParser ini_;
};

std::string linkSection(int l, const char* kind)
{
    return "R.A0.L" + std::to_string(l) + "." + kind;
}

// RotX(alpha) TransX(a) RotZ(theta) TransZ(d).
void dhTransform(double alpha, double a, double theta, double d, double T[4][4])
{
    const double sa = std::sin(alpha), ca = std::cos(alpha), st = std::sin(theta), ct = std::cos(theta);
    const double M[4][4] = {{ct, -st, 0, a}, {st * ca, ct * ca, -sa, -sa * d}, {st * sa, ct * sa, ca, ca * d}, {0, 0, 0, 1}};
    std::memcpy(T, M, sizeof M);
}

void readLink(const Reader& in, int l, RobotDescription& d)
{
    const std::string dh = linkSection(l, "DH");
    if (!in.has(dh))
        in.fail("[" + dh + "] is missing");
    DhJoint& j = d.joint[l];
    j.alpha = in.number(dh, "Alpha") * kDegToRad;
    j.a = in.number(dh, "A") * kMmToM;
    j.d = in.number(dh, "D") * kMmToM;
    j.theta = in.number(dh, "Theta") * kDegToRad;

    const std::string basic = linkSection(l, "BASIC");
    if (!in.has(basic))
        in.fail("[" + basic + "] is missing");
    JointLimits& lim = d.limits[l];
    lim.lower = in.number(basic, "LimitNeg") * kDegToRad;
    lim.upper = in.number(basic, "LimitPos") * kDegToRad;
    lim.velocity = in.number(basic, "VelMax") * kDegToRad;
    lim.acceleration = in.number(basic, "AccMax") * kDegToRad;
    lim.effort = in.number(basic, "TorqueMax");
    lim.continuous = in.number(basic, "Continuous", 0.0) != 0.0;
    if (lim.lower > lim.upper)
        in.fail("[" + basic + "] \"LimitNeg\" lies above \"LimitPos\"");
    if (lim.velocity < 0.0 || lim.acceleration < 0.0 || lim.effort < 0.0)
        in.fail("[" + basic + "] a negative \"VelMax\", \"AccMax\" or \"TorqueMax\"");

    const std::string dynamic = linkSection(l, "DYNAMIC");
    if (in.has(dynamic)) {
        LinkInertial& body = d.link[l];
        static const char* kCom[3] = {"ComX", "ComY", "ComZ"};
        static const char* kInertia[6] = {"Ixx", "Ixy", "Ixz", "Iyy", "Iyz", "Izz"};
        body.mass = in.number(dynamic, "Mass");
        for (int k = 0; k < 3; ++k) body.com[k] = in.number(dynamic, kCom[k]);
        for (int k = 0; k < 6; ++k) body.inertia[k] = in.number(dynamic, kInertia[k]);
        body.rotor_inertia = in.number(dynamic, "RotorInertia", 0.0);
        const std::string problem = inertialProblem(body);
        if (!problem.empty())
            in.fail("[" + dynamic + "] " + problem);
    }
    const std::string friction = linkSection(l, "FRICTION");
    if (in.has(friction)) {
        JointFriction& f = d.friction[l];
        f.coulomb = in.number(friction, "Coulomb");
        f.viscous = in.number(friction, "Viscous");
        f.offset = in.number(friction, "Offset", 0.0);
        if (f.coulomb < 0.0 || f.viscous < 0.0)
            in.fail("[" + friction + "] a negative \"Coulomb\" or \"Viscous\"");
    }
}

}  // namespace

RobotDescription readRobotIni(const std::string& path)
{
    Reader in(path);
    RobotDescription d;
    d.name = in.text("R.BASIC", "Name");
    if (!in.has("R.A0.BASIC"))
        in.fail("[R.A0.BASIC] is missing");
    const double dof = in.number("R.A0.BASIC", "Dof");
    if (dof != std::floor(dof) || dof < 1 || dof > kMaxJoints)
        in.fail("[R.A0.BASIC] \"Dof\" is " + in.text("R.A0.BASIC", "Dof") + ", 1 to 7 joints supported");
    d.dof = static_cast<int>(dof);
    static const char* kGravity[3] = {"GravityX", "GravityY", "GravityZ"};
    for (int k = 0; k < 3; ++k) d.gravity[k] = in.number("R.A0.BASIC", kGravity[k]);
    for (int l = 0; l < d.dof; ++l) readLink(in, l, d);

    double flange[4][4], tool[4][4];
    dhTransform(in.number("R.A0.FLANGE", "Alpha", 0.0) * kDegToRad, in.number("R.A0.FLANGE", "A", 0.0) * kMmToM,
                in.number("R.A0.FLANGE", "Theta", 0.0) * kDegToRad, in.number("R.A0.FLANGE", "D", 0.0) * kMmToM,
                flange);
    in.pose("R.A0.TOOL", tool);
    FX_MMM44(flange, tool, d.flange);
    in.pose("R.A0.BASE", d.base);

    const std::string problem = checkDescription(d);
    if (!problem.empty())
        in.fail(problem);
    return d;
}

namespace {

class Writer {
public:
    void section(const std::string& name) { text_ += (text_.empty() ? "[" : "\n[") + name + "]\n"; }
    void key(const char* name, double value)
    {
        char number[40];
        std::snprintf(number, sizeof number, "%.17g", value);
        text_ += std::string(name) + "=" + number + "\n";
    }
    void key(const char* name, const std::string& value) { text_ += std::string(name) + "=" + value + "\n"; }
    void pose(const std::string& name, const double T[4][4])
    {
        double m[4][4], xyzabc[6];
        std::memcpy(m, T, sizeof m);
        FX_Matrix42XYZABCDEG(m, xyzabc);  // angles come out in radians
        static const char* kKeys[6] = {"X", "Y", "Z", "A", "B", "C"};
        section(name);
        for (int k = 0; k < 6; ++k) key(kKeys[k], xyzabc[k] * (k < 3 ? 1000.0 : kRadToDeg));
    }
    const std::string& text() const { return text_; }

private:
    std::string text_;
};


}  // namespace

std::string robotIniText(const RobotDescription& d)
{
    Writer w;
    w.section("R.BASIC");
    w.key("Name", d.name.empty() ? std::string("robot") : d.name);
    w.key("BusFreq", 1000);
    w.section("R.A0.BASIC");
    w.key("Dof", d.dof);
    w.key("Type", 1007);
    w.key("GravityX", d.gravity[0]);
    w.key("GravityY", d.gravity[1]);
    w.key("GravityZ", d.gravity[2]);
    for (int l = 0; l < d.dof; ++l) {
        const JointLimits& lim = d.limits[l];
        w.section(linkSection(l, "BASIC"));
        // The controller route needs every key of the section; the drive keys say nothing here.
        static const char* kDrive[7] = {"Type", "WorkMode", "EncType", "EncRes", "EncOffset", "EncDir", "ExtEncRes"};
        for (const char* k : kDrive) w.key(k, 0);
        w.key("Ratio1", 1);
        w.key("Ratio2", 1);
        w.key("LimitPos", lim.upper * kRadToDeg);
        w.key("LimitNeg", lim.lower * kRadToDeg);
        w.key("SensorK", 0);
        w.key("SensorOffset", 0);
        w.key("SensorDir", 1);
        w.key("CurrentDir", 1);
        w.key("VelMax", lim.velocity * kRadToDeg);
        w.key("AccMax", lim.acceleration * kRadToDeg);
        w.key("TorqueMax", lim.effort);
        if (lim.continuous)
            w.key("Continuous", 1);
        const DhJoint& j = d.joint[l];
        w.section(linkSection(l, "DH"));
        w.key("Alpha", j.alpha * kRadToDeg);
        w.key("A", j.a * 1000.0);
        w.key("D", j.d * 1000.0);
        w.key("Theta", j.theta * kRadToDeg);
        const LinkInertial& body = d.link[l];
        w.section(linkSection(l, "DYNAMIC"));
        w.key("Mass", body.mass);
        w.key("ComX", body.com[0]);
        w.key("ComY", body.com[1]);
        w.key("ComZ", body.com[2]);
        static const char* kInertia[6] = {"Ixx", "Ixy", "Ixz", "Iyy", "Iyz", "Izz"};
        for (int k = 0; k < 6; ++k) w.key(kInertia[k], body.inertia[k]);
        w.key("RotorInertia", body.rotor_inertia);
        w.section(linkSection(l, "FRICTION"));
        w.key("Coulomb", d.friction[l].coulomb);
        w.key("Viscous", d.friction[l].viscous);
        w.key("Offset", d.friction[l].offset);
    }
    // A flange straight along the last axis is the controller route's own FLANGE D;
    // any other flange goes whole into TOOL.
    const double(*F)[4] = d.flange;
    const bool alongZ = F[0][0] == 1 && F[1][1] == 1 && F[2][2] == 1 && F[0][1] == 0 && F[0][2] == 0 &&
                        F[1][0] == 0 && F[1][2] == 0 && F[2][0] == 0 && F[2][1] == 0 && F[0][3] == 0 &&
                        F[1][3] == 0;
    w.section("R.A0.FLANGE");
    w.key("A", 0);
    w.key("D", alongZ ? F[2][3] * 1000.0 : 0.0);
    w.key("Alpha", 0);
    w.key("Theta", 0);
    if (!alongZ)
        w.pose("R.A0.TOOL", d.flange);
    if (!fx_is_identity44(d.base))
        w.pose("R.A0.BASE", d.base);
    return w.text();
}

}  // namespace tk
