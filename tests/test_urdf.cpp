// URDF import and export against independent computations: URDFs generated from random
// chains in arbitrary frames, composed here by hand; inverse dynamics against KDL
// reading the same text; hand-made malformed files; export and import as an identity.
#include <gtest/gtest.h>
#include <kdl/treeidsolver_recursive_newton_euler.hpp>
#include <kdl_parser/kdl_parser.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "tests/TestArm.h"
#include "urdf/UrdfExport.h"
#include "urdf/UrdfImport.h"

namespace tk {
namespace {

using V3 = std::array<double, 3>;

std::string num(double v)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.17g", v);
    return text;
}
std::string nums(const V3& v) { return num(v[0]) + " " + num(v[1]) + " " + num(v[2]); }
V3 unit3(const V3& v)
{
    const double n = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    return {v[0] / n, v[1] / n, v[2] / n};
}
V3 randomUnit(Lcg& rng) { return unit3({rng.next(-1, 1), rng.next(-1, 1), rng.next(-1, 1) + 1e-3}); }
H4 rpyFrame(const V3& xyz, const V3& rpy)
{
    return trans(xyz[0], xyz[1], xyz[2]) * rot(2, rpy[2]) * rot(1, rpy[1]) * rot(0, rpy[0]);
}
// R^T v and R v for the rotation of h.
V3 intoFrame(const H4& h, const V3& v)
{
    V3 out{};
    for (int i = 0; i < 3; ++i) out[i] = h.m[0][i] * v[0] + h.m[1][i] * v[1] + h.m[2][i] * v[2];
    return out;
}
V3 outOfFrame(const H4& h, const V3& v)
{
    V3 out{};
    for (int i = 0; i < 3; ++i) out[i] = h.m[i][0] * v[0] + h.m[i][1] * v[1] + h.m[i][2] * v[2];
    return out;
}
// A turn by q about the unit axis u (Rodrigues).
H4 turnAbout(const V3& u, double q)
{
    const double c = std::cos(q), s = std::sin(q), K[3][3] = {{0, -u[2], u[1]}, {u[2], 0, -u[0]}, {-u[1], u[0], 0}};
    H4 h = eye();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            h.m[i][j] += s * K[i][j] + (1 - c) * (K[i][0] * K[0][j] + K[i][1] * K[1][j] + K[i][2] * K[2][j]);
    return h;
}

// A link with a random inertial: a box's principal moments turned twice (inertial origin and tensor).
std::string linkXml(Lcg& rng, const std::string& name)
{
    const double m = rng.next(0.2, 5), x = rng.next(0.02, 0.3), y = rng.next(0.02, 0.3), z = rng.next(0.02, 0.3);
    const double D[3] = {m * (y * y + z * z) / 12, m * (x * x + z * z) / 12, m * (x * x + y * y) / 12};
    const H4 Q = rpyFrame({}, {rng.next(-3, 3), rng.next(-3, 3), rng.next(-3, 3)});
    double I[3][3] = {};
    for (int k = 0; k < 27; ++k) I[k / 9][k / 3 % 3] += Q.m[k / 9][k % 3] * D[k % 3] * Q.m[k / 3 % 3][k % 3];
    return "<link name=\"" + name + "\"><inertial><origin xyz=\""
        + nums({rng.next(-.2, .2), rng.next(-.2, .2), rng.next(-.2, .2)}) + "\" rpy=\""
        + nums({rng.next(-3, 3), rng.next(-3, 3), rng.next(-3, 3)}) + "\"/><mass value=\"" + num(m)
        + "\"/><inertia ixx=\"" + num(I[0][0]) + "\" ixy=\"" + num(I[0][1]) + "\" ixz=\"" + num(I[0][2]) + "\" iyy=\""
        + num(I[1][1]) + "\" iyz=\"" + num(I[1][2]) + "\" izz=\"" + num(I[2][2]) + "\"/></inertial></link>\n";
}

// A URDF of a random chain: joint frames with random origins and turns, axes skew, parallel,
// intersecting or coincident with the one before, fixed joints before, between and after,
// and optionally a hand with two fingers. Keeps the tip's composition, for doing it by hand.
struct Generated {
    std::string xml, tip;
    std::vector<H4> origin;  // the path's joint origins, base to tip
    std::vector<V3> axis;  // unit axis in the joint frame; zero for fixed joints
    std::vector<std::string> movable;
};

Generated generateUrdf(Lcg& rng, int dof, bool hand)
{
    Generated g;
    H4 pose = eye();  // the current link at the zero posture
    V3 point{}, dir{0, 0, 1};
    int links = 0;
    std::string body = "<link name=\"root\"/>\n", parent = "root";
    const auto addJoint = [&](const std::string& name, const std::string& type, const V3& xyz, const V3& rpy,
                              const V3& axis, const std::string& extra) {
        const std::string child = "l" + std::to_string(++links);
        body += linkXml(rng, child) + "<joint name=\"" + name + "\" type=\"" + type + "\"><parent link=\"" + parent
            + "\"/><child link=\"" + child + "\"/><origin xyz=\"" + nums(xyz) + "\" rpy=\"" + nums(rpy) + "\"/>"
            + (type == "fixed" ? "" : "<axis xyz=\"" + nums(axis) + "\"/>") + extra + "</joint>\n";
        g.origin.push_back(rpyFrame(xyz, rpy));
        g.axis.push_back(type == "fixed" ? V3{} : unit3(axis));
        pose = pose * g.origin.back();
        parent = child;
    };
    const auto randomRpy = [&] {
        return rng.next(0, 1) < 0.3 ? V3{} : V3{rng.next(-3.2, 3.2), rng.next(-3.2, 3.2), rng.next(-3.2, 3.2)};
    };
    const auto fixedJoints = [&](int most) {
        for (int k = int(rng.next(0, most + 0.999)); k > 0; --k)
            addJoint("f" + std::to_string(links), "fixed", {rng.next(-.3, .3), rng.next(-.3, .3), rng.next(-.3, .3)},
                randomRpy(), {}, "");
    };
    fixedJoints(2);
    for (int i = 0; i < dof; ++i) {
        if (i > 0 && rng.next(0, 1) < 0.2)
            fixedJoints(1);
        const int relation = i == 0 ? 0 : int(rng.next(0, 4));  // skew, parallel, intersecting, coincident
        const double flip = rng.next(0, 1) < 0.5 ? -1 : 1;
        const V3 w = relation % 2 == 1 ? V3{flip * dir[0], flip * dir[1], flip * dir[2]} : randomUnit(rng);
        V3 at{rng.next(-.4, .4), rng.next(-.4, .4), rng.next(-.4, .4)};
        if (relation >= 2) {
            const double t = rng.next(-.3, .3), s = relation == 2 ? rng.next(-.3, .3) : 0.0;
            for (int k = 0; k < 3; ++k) at[k] = point[k] + t * dir[k] + s * w[k];
        }
        const V3 rpy = randomRpy();
        const V3 xyz = intoFrame(pose, {at[0] - pose.m[0][3], at[1] - pose.m[1][3], at[2] - pose.m[2][3]});
        const H4 joint = pose * rpyFrame(xyz, rpy);
        const bool continuous = rng.next(0, 1) < 0.2;
        const std::string limit = "<limit lower=\"" + num(rng.next(-3, -0.5)) + "\" upper=\"" + num(rng.next(0.5, 3))
            + "\" effort=\"" + num(rng.next(1, 300)) + "\" velocity=\"" + num(rng.next(0.5, 4)) + "\"/>";
        const std::string dynamics = "<dynamics damping=\"" + num(rng.next(0, 2)) + "\" friction=\""
            + num(rng.next(0, 3)) + "\"/>";
        g.movable.push_back("j" + std::to_string(i + 1));
        addJoint(
            g.movable.back(), continuous ? "continuous" : "revolute", xyz, rpy, intoFrame(joint, w), limit + dynamics);
        point = at, dir = w;
    }
    fixedJoints(2);
    g.tip = parent;
    if (hand) {
        const std::string palm = parent;
        for (const char* finger : {"finger_a", "finger_b"}) {
            parent = palm;
            body += linkXml(rng, finger) + "<joint name=\"" + finger + "_joint\" type=\"revolute\"><parent link=\""
                + palm + "\"/><child link=\"" + finger + "\"/><origin xyz=\"" + nums({rng.next(-.1, .1), 0.05, 0.1})
                + "\" rpy=\"0 0.3 0\"/><axis xyz=\"1 0 0\"/><limit lower=\"-1\" upper=\"1\" effort=\"5\" "
                  "velocity=\"1\"/></joint>\n";
        }
    }
    g.xml = "<?xml version=\"1.0\"?>\n<robot name=\"generated\">\n" + body + "</robot>\n";
    return g;
}

H4 composeByHand(const Generated& g, const double* q)
{
    H4 pose = eye();
    int k = 0;
    for (size_t j = 0; j < g.origin.size(); ++j) {
        pose = pose * g.origin[j];
        if (g.axis[j] != V3{})
            pose = pose * turnAbout(g.axis[j], q[k++]);
    }
    return pose;
}

H4 fromArray(const double m[4][4])
{
    H4 h;
    for (int k = 0; k < 16; ++k) h.m[k / 4][k % 4] = m[k / 4][k % 4];
    return h;
}
H4 fkOfDescription(const RobotDescription& d, const double* q)
{
    H4 pose = fromArray(d.base);
    for (int i = 0; i < d.dof; ++i)
        pose = pose * mdh(d.joint[i].alpha, d.joint[i].a, d.joint[i].d, q[i] + d.joint[i].theta);
    return pose * fromArray(d.flange);
}

void expectSamePose(const H4& want, const H4& got, double tol)
{
    for (int k = 0; k < 12; ++k) EXPECT_NEAR(want.m[k / 4][k % 4], got.m[k / 4][k % 4], tol) << "element " << k;
}

// Newton-Euler written out on the description's physical parameters, in the base frame.
void newtonEuler(const RobotDescription& d, const double* q, const double* qd, const double* qdd, double* tau)
{
    const auto crs = [](const V3& a, const V3& b) {
        return V3{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    };
    const auto add = [](V3 a, const V3& b, double s = 1) {
        for (int k = 0; k < 3; ++k) a[k] += s * b[k];
        return a;
    };
    const auto dotv = [](const V3& a, const V3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; };
    V3 o[kMaxJoints], z[kMaxJoints], c[kMaxJoints], f[kMaxJoints], n[kMaxJoints];
    double I[kMaxJoints][3][3];
    V3 w{}, dw{}, acc{-d.gravity[0], -d.gravity[1], -d.gravity[2]}, prev{d.base[0][3], d.base[1][3], d.base[2][3]};
    H4 pose = fromArray(d.base);
    for (int i = 0; i < d.dof; ++i) {
        pose = pose * mdh(d.joint[i].alpha, d.joint[i].a, d.joint[i].d, q[i] + d.joint[i].theta);
        o[i] = {pose.m[0][3], pose.m[1][3], pose.m[2][3]}, z[i] = {pose.m[0][2], pose.m[1][2], pose.m[2][2]};
        const LinkInertial& l = d.link[i];
        c[i] = outOfFrame(pose, {l.com[0], l.com[1], l.com[2]});
        const double L[3][3] = {{l.inertia[0], l.inertia[1], l.inertia[2]}, {l.inertia[1], l.inertia[3], l.inertia[4]},
            {l.inertia[2], l.inertia[4], l.inertia[5]}};
        for (int a = 0; a < 3; ++a)
            for (int b = 0; b < 3; ++b) {
                I[i][a][b] = 0;
                for (int k = 0; k < 9; ++k) I[i][a][b] += pose.m[a][k / 3] * L[k / 3][k % 3] * pose.m[b][k % 3];
            }
        const V3 r = add(o[i], prev, -1);
        acc = add(add(acc, crs(dw, r)), crs(w, crs(w, r)));  // the new origin's acceleration
        dw = add(add(dw, z[i], qdd[i]), crs(w, z[i]), qd[i]);
        w = add(w, z[i], qd[i]);
        const V3 ac = add(add(acc, crs(dw, c[i])), crs(w, crs(w, c[i])));
        V3 Iw{}, Idw{};
        for (int a = 0; a < 3; ++a) {
            const V3 row{I[i][a][0], I[i][a][1], I[i][a][2]};
            Iw[a] = dotv(row, w), Idw[a] = dotv(row, dw);
        }
        f[i] = {l.mass * ac[0], l.mass * ac[1], l.mass * ac[2]};
        n[i] = add(add(Idw, crs(w, Iw)), crs(c[i], f[i]));  // about the joint origin
        prev = o[i];
    }
    for (int i = d.dof - 1; i >= 0; --i) {
        if (i + 1 < d.dof) {
            n[i] = add(add(n[i], n[i + 1]), crs(add(o[i + 1], o[i], -1), f[i + 1]));
            f[i] = add(f[i], f[i + 1]);
        }
        tau[i] = dotv(n[i], z[i]) + d.link[i].rotor_inertia * qdd[i];
    }
}

// Inverse dynamics of the URDF's whole tree by KDL, joints off the chain standing still at zero.
void kdlTorques(const std::string& xml, const Generated& g, const double* gravity, const double* q, const double* qd,
    const double* qdd, double* tau)
{
    KDL::Tree tree;
    ASSERT_TRUE(kdl_parser::treeFromString(xml, tree));
    const unsigned n = tree.getNrOfJoints();
    KDL::JntArray Q(n), Qd(n), Qdd(n), T(n);
    std::vector<int> index(g.movable.size(), -1);
    for (const auto& element : tree.getSegments()) {
        const KDL::Joint& joint = GetTreeElementSegment(element.second).getJoint();
        for (size_t i = 0; i < g.movable.size(); ++i)
            if (joint.getType() != KDL::Joint::None && joint.getName() == g.movable[i])
                index[i] = GetTreeElementQNr(element.second);
    }
    for (size_t i = 0; i < g.movable.size(); ++i) Q(index[i]) = q[i], Qd(index[i]) = qd[i], Qdd(index[i]) = qdd[i];
    KDL::TreeIdSolver_RNE solver(tree, KDL::Vector(gravity[0], gravity[1], gravity[2]));
    ASSERT_EQ(solver.CartToJnt(Q, Qd, Qdd, KDL::WrenchMap(), T), 0);
    for (size_t i = 0; i < g.movable.size(); ++i) tau[i] = T(index[i]);
}

TEST(UrdfImport, RandomChainsMatchTheirOwnCompositionAndKdl)
{
    Lcg rng{2024};
    for (int trial = 0; trial < 60; ++trial) {
        const int dof = 1 + trial % 7;
        const bool hand = trial % 5 == 4;
        const Generated g = generateUrdf(rng, dof, hand);
        SCOPED_TRACE("trial " + std::to_string(trial) + "\n" + g.xml);
        const UrdfImport in = importUrdfString(g.xml, "", hand ? g.tip : "");
        const RobotDescription& d = in.description;
        ASSERT_EQ(d.dof, dof);
        EXPECT_EQ(in.tip_link, g.tip);
        EXPECT_EQ(in.fk_check.postures, 1000);
        EXPECT_LT(in.fk_check.position_error, 1e-9);
        EXPECT_LT(in.fk_check.rotation_error, 1e-9);
        std::vector<std::string> held = in.held_links;
        std::sort(held.begin(), held.end());
        EXPECT_EQ(held, hand ? (std::vector<std::string>{"finger_a", "finger_b"}) : std::vector<std::string>());
        for (int i = 0; i < dof; ++i) {
            EXPECT_EQ(in.joint[i].name, g.movable[i]);
            EXPECT_EQ(d.joint_name[i], g.movable[i]);
            EXPECT_EQ(in.joint[i].offset, d.joint[i].theta);
        }
        H4 tool = eye();  // the fixed joints after the last movable one
        for (size_t j = g.origin.size(); j-- > 0 && g.axis[j] == V3{};) tool = g.origin[j] * tool;
        expectSamePose(tool, fromArray(in.tool), 1e-12);
        for (int sample = 0; sample < 5; ++sample) {  // the first: gravity alone
            double q[7], qd[7] = {}, qdd[7] = {}, mine[7], kdl[7];
            for (int i = 0; i < dof; ++i) q[i] = rng.next(-3, 3);
            for (int i = 0; i < dof && sample > 0; ++i) qd[i] = rng.next(-2, 2), qdd[i] = rng.next(-5, 5);
            expectSamePose(composeByHand(g, q), fkOfDescription(d, q), 1e-9);
            newtonEuler(d, q, qd, qdd, mine);
            kdlTorques(g.xml, g, d.gravity, q, qd, qdd, kdl);
            double scale = 1;
            for (int i = 0; i < dof; ++i) scale = std::max(scale, std::abs(kdl[i]));
            for (int i = 0; i < dof; ++i) EXPECT_NEAR(mine[i], kdl[i], 1e-9 * scale) << "joint " << i;
        }
    }
}

// A two-joint arm to break one piece at a time.
const std::string kArm = R"(<robot name="arm">
  <link name="base"/>
  <link name="upper"><inertial><mass value="2"/><inertia ixx="0.02" ixy="0" ixz="0" iyy="0.02" iyz="0" izz="0.01"/></inertial></link>
  <link name="lower"><inertial><origin xyz="0 0 0.2"/><mass value="1"/><inertia ixx="0.01" ixy="0" ixz="0" iyy="0.01" iyz="0" izz="0.005"/></inertial></link>
  <joint name="shoulder" type="revolute"><parent link="base"/><child link="upper"/><origin xyz="0 0 0.3"/><axis xyz="0 0 1"/>
    <limit lower="-2" upper="2" effort="50" velocity="2"/></joint>
  <joint name="elbow" type="revolute"><parent link="upper"/><child link="lower"/><origin xyz="0 0 0.4" rpy="1.5707963267948966 0 0"/>
    <axis xyz="0 0 1"/><limit lower="-2" upper="2" effort="30" velocity="2"/><dynamics damping="0.5" friction="1.5"/></joint>
</robot>)";

std::string armWith(const std::string& from, const std::string& to)
{
    const size_t at = kArm.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? kArm : kArm.substr(0, at) + to + kArm.substr(at + from.size());
}

std::string importError(const std::string& xml, const std::string& base = "", const std::string& tip = "")
{
    try {
        importUrdfString(xml, base, tip);
    } catch (const Error& e) {
        return e.what();
    }
    return "no error";
}

TEST(UrdfImport, BadFilesSayWhatAndWhereInOneLine)
{
    std::string nested = "<robot name=\"r\">";
    for (int k = 0; k < 200; ++k) nested += "<a>";
    const struct {
        std::string xml, base, tip, message;
    } cases[] = {
        {"hello", "", "", "not a valid URDF: Error document empty."},
        {"<foo/>", "", "", "not a valid URDF: Could not find the 'robot' element in the xml file"},
        {armWith("<child link=\"lower\"", "<child link=\"forearm\""), "", "",
            "not a valid URDF: Failed to build tree: child link [forearm] of joint [elbow] not found"},
        {armWith("</robot>",
             "<joint name=\"back\" type=\"fixed\"><parent link=\"lower\"/><child link=\"upper\"/></joint></robot>"),
            "", "", "link 'upper': child of two joints, 'shoulder' and 'back' (a loop)"},
        {armWith("<link name=\"base\"/>",
             "<link name=\"base\"/><link name=\"a\"/><link name=\"b\"/><joint name=\"ab\" type=\"fixed\"><parent "
             "link=\"a\"/><child link=\"b\"/></joint><joint name=\"ba\" type=\"fixed\"><parent link=\"b\"/><child "
             "link=\"a\"/></joint>"),
            "", "", "link 'a': on a loop of joints"},
        {armWith("<parent link=\"upper\"/>", "<parent link=\"lower\"/>"), "", "",
            "joint 'elbow': its parent and child are both link 'lower' (a loop)"},
        {armWith("\"elbow\" type=\"revolute\"", "\"elbow\" type=\"prismatic\""), "", "",
            "joint 'elbow': prismatic joints are not supported on the chain (revolute, continuous, fixed)"},
        {armWith("\"shoulder\" type=\"revolute\"", "\"shoulder\" type=\"floating\""), "", "",
            "joint 'shoulder': floating joints are not supported on the chain (revolute, continuous, fixed)"},
        {armWith("\"shoulder\" type=\"revolute\"", "\"shoulder\" type=\"planar\""), "", "",
            "joint 'shoulder': planar joints are not supported on the chain (revolute, continuous, fixed)"},
        {armWith("<dynamics", "<mimic joint=\"shoulder\"/><dynamics"), "", "",
            "joint 'elbow': mimic joints are not supported on the chain"},
        {kArm, "upper", "base", "tip link 'base' is not reachable from base link 'upper'"},
        {kArm, "nowhere", "", "base link 'nowhere' is not in the URDF"},
        {kArm, "", "nowhere", "tip link 'nowhere' is not in the URDF"},
        {kArm, "lower", "", "no movable joint below base link 'lower'"},
        {armWith("<mass value=\"2\"/>", "<mass value=\"0\"/>"), "", "", "link 'upper': mass 0 is not positive"},
        {armWith("<mass value=\"1\"/>", "<mass value=\"-1\"/>"), "", "", "link 'lower': mass -1 is not positive"},
        {armWith("izz=\"0.01\"", "izz=\"-0.01\""), "", "",
            "link 'upper': inertia is not positive definite (principal moments -0.01, 0.02, 0.02)"},
        {armWith("izz=\"0.01\"", "izz=\"0.05\""), "", "",
            "link 'upper': inertia breaks the triangle inequality (principal moments 0.02 + 0.02 < 0.05)"},
        {armWith("<mass value=\"1\"/>", "<mass value=\"inf\"/>"), "", "",
            "not a valid URDF: Inertial: mass [inf] is not a float; Could not parse inertial element for Link [lower]"},
        {armWith("<origin xyz=\"0 0 0.4\"", "<origin xyz=\"0 0 nan\""), "", "",
            "not a valid URDF: Unable to parse component [nan] to a double (while parsing a vector value); Malformed "
            "parent origin element for joint [elbow]; joint xml is not initialized correctly"},
        {armWith("<limit lower=\"-2\" upper=\"2\" effort=\"30\"", "<limit lower=\"-2\" upper=\"2\" effort=\"1e999\""),
            "", "",
            "not a valid URDF: effort value (1e999) is not a valid float; Could not parse limit element for joint "
            "[elbow]; joint xml is not initialized correctly"},
        {armWith("<axis xyz=\"0 0 1\"/><limit lower=\"-2\" upper=\"2\" effort=\"30\"",
             "<axis xyz=\"0 0 0\"/><limit lower=\"-2\" upper=\"2\" effort=\"30\""),
            "", "", "joint 'elbow': axis has zero length"},
        {armWith("<limit lower=\"-2\" upper=\"2\" effort=\"50\"", "<limit lower=\"2\" upper=\"-2\" effort=\"50\""), "",
            "", "joint 'shoulder': lower limit 2 is above the upper limit -2"},
        {armWith("damping=\"0.5\"", "damping=\"-0.5\""), "", "", "joint 'elbow': damping -0.5 is negative"},
        {armWith("</robot>", "<tolvexkine gravity=\"0 0\"/></robot>"), "", "",
            "<tolvexkine>: gravity '0 0' is not three finite numbers"},
        {armWith("</robot>", "<tolvexkine><joint name=\"elbow\" rotor_inertia=\"-1\"/></tolvexkine></robot>"), "", "",
            "<tolvexkine> joint 'elbow': rotor_inertia -1 is negative"},
        {nested, "", "", "not a valid URDF: elements nest deeper than 100 levels"},
    };
    for (const auto& c : cases) EXPECT_EQ(importError(c.xml, c.base, c.tip), c.message) << c.xml;
    Lcg rng{5};
    const Generated eight = generateUrdf(rng, 8, false), hand = generateUrdf(rng, 3, true);
    EXPECT_EQ(
        importError(eight.xml), "8 movable joints from base link 'root' to tip link '" + eight.tip + "': at most 7");
    EXPECT_EQ(importError(hand.xml),
        "the tree below base link 'root' has several tips ('finger_a', 'finger_b'): name the tip link");
    try {
        importUrdf("/nonexistent/arm.urdf");
        ADD_FAILURE();
    } catch (const Error& e) {
        EXPECT_STREQ(e.what(), "cannot read '/nonexistent/arm.urdf'");
    }
}

TEST(UrdfImport, CarriesLimitsFrictionAndGravityInTheBaseFrame)
{
    const std::string mounted = armWith("<link name=\"base\"/>",
        "<link name=\"world\"/><link name=\"base\"/><joint name=\"mount\" type=\"fixed\">"
        "<parent link=\"world\"/><child link=\"base\"/><origin xyz=\"1 2 3\" rpy=\"1.5707963267948966 0 0\"/></joint>");
    const UrdfImport fromWorld = importUrdfString(mounted), fromBase = importUrdfString(mounted, "base"),
                     fromUpper = importUrdfString(mounted, "upper");
    const double down[3] = {0, 0, -9.81}, turned[3] = {0, -9.81, 0};
    expectNear(down, fromWorld.description.gravity, 3, 1e-15);
    expectNear(turned, fromBase.description.gravity, 3, 1e-14);
    expectNear(down, fromUpper.description.gravity, 3, 0);
    EXPECT_EQ(fromWorld.base_link, "world");
    EXPECT_EQ(fromWorld.tip_link, "lower");
    EXPECT_LT(fromWorld.fk_check.position_error, 1e-12);
    const RobotDescription& d = fromBase.description;
    EXPECT_EQ(d.name, "arm");
    EXPECT_EQ(d.link_name[0], "base");
    EXPECT_EQ(d.link_name[2], "lower");
    EXPECT_EQ(d.link_name[3], "");
    const JointLimits& shoulder = d.limits[0];
    const double got[] = {shoulder.lower, shoulder.upper, shoulder.velocity, shoulder.effort, shoulder.acceleration,
        d.friction[1].viscous, d.friction[1].coulomb, d.friction[0].viscous};
    const double want[] = {-2, 2, 2, 50, 0, 0.5, 1.5, 0};
    expectNear(want, got, 8, 0, "limits and friction");
    EXPECT_FALSE(shoulder.continuous);
    EXPECT_EQ(fromUpper.description.dof, 1);
    const UrdfImport continuous = importUrdfString(
        armWith("\"shoulder\" type=\"revolute\"", "\"shoulder\" type=\"continuous\""));
    const JointLimits& turning = continuous.description.limits[0];
    EXPECT_TRUE(turning.continuous);
    EXPECT_EQ(turning.lower, -kPi);
    EXPECT_EQ(turning.upper, kPi);
    EXPECT_EQ(turning.effort, 50);
}

// A description with every field set: DH with parallel, intersecting and coincident axes.
RobotDescription randomDescription(Lcg& rng, int dof)
{
    RobotDescription d;
    d.name = "arm " + std::to_string(dof);
    d.dof = dof;
    const auto place = [&](double m[4][4]) {
        const H4 h = rpyFrame({rng.next(-1, 1), rng.next(-1, 1), rng.next(-1, 1)},
            {rng.next(-3, 3), rng.next(-1.5, 1.5), rng.next(-3, 3)});
        for (int k = 0; k < 16; ++k) m[k / 4][k % 4] = h.m[k / 4][k % 4];
    };
    if (rng.next(0, 1) < 0.5)
        place(d.base);
    const bool flange = rng.next(0, 1) < 0.7;
    if (flange)
        place(d.flange);
    const double alphas[4] = {0, kPi / 2, -kPi / 2, kPi};
    for (int i = 0; i < dof; ++i) {
        const double pick = rng.next(0, 5);
        d.joint[i] = {pick < 4 ? alphas[int(pick)] : rng.next(-3, 3), rng.next(0, 1) < 0.4 ? 0 : rng.next(-.5, .5),
            rng.next(-.5, .5), rng.next(-3, 3)};
        LinkInertial& l = d.link[i];
        l.mass = rng.next(0.5, 8), l.rotor_inertia = rng.next(0, 0.5);
        for (double& c : l.com) c = rng.next(-.2, .2);
        const double x = rng.next(.05, .3), y = rng.next(.05, .3), z = rng.next(.05, .3);
        const double I[6] = {l.mass * (y * y + z * z) / 12, rng.next(-1e-4, 1e-4), rng.next(-1e-4, 1e-4),
            l.mass * (x * x + z * z) / 12, rng.next(-1e-4, 1e-4), l.mass * (x * x + y * y) / 12};
        std::copy(I, I + 6, l.inertia);
        d.friction[i] = {rng.next(0, 3), rng.next(0, 2), rng.next(-1, 1)};
        const bool continuous = rng.next(0, 1) < 0.2;
        d.limits[i] = {continuous ? -kPi : rng.next(-3, 0), continuous ? kPi : rng.next(0, 3), rng.next(1, 3),
            rng.next(2, 20), rng.next(10, 300), continuous};
        d.joint_name[i] = "axis " + std::to_string(i + 1);
        d.link_name[i + 1] = "link & " + std::to_string(i + 1);
    }
    d.link_name[0] = "pedestal";
    d.link_name[dof + 1] = flange ? "tool0" : "";
    for (double& g : d.gravity) g = rng.next(-10, 10);
    return d;
}

void expectSameDescription(const RobotDescription& want, const RobotDescription& got)
{
    const double tol = 1e-12;
    EXPECT_EQ(want.name, got.name);
    ASSERT_EQ(want.dof, got.dof);
    expectNear(&want.base[0][0], &got.base[0][0], 16, tol, "base");
    expectNear(&want.flange[0][0], &got.flange[0][0], 16, tol, "flange");
    expectNear(want.gravity, got.gravity, 3, tol, "gravity");
    for (int i = 0; i < want.dof; ++i) {
        const DhJoint &a = want.joint[i], &b = got.joint[i];
        const LinkInertial &l = want.link[i], &m = got.link[i];
        const JointLimits &x = want.limits[i], &y = got.limits[i];
        const JointFriction &f = want.friction[i], &g = got.friction[i];
        const double w[] = {a.alpha, a.a, a.d, a.theta, l.mass, l.com[0], l.com[1], l.com[2], l.rotor_inertia, x.lower,
            x.upper, x.velocity, x.acceleration, x.effort, f.coulomb, f.viscous, f.offset};
        const double v[] = {b.alpha, b.a, b.d, b.theta, m.mass, m.com[0], m.com[1], m.com[2], m.rotor_inertia, y.lower,
            y.upper, y.velocity, y.acceleration, y.effort, g.coulomb, g.viscous, g.offset};
        expectNear(w, v, 17, tol, ("joint " + std::to_string(i)).c_str());
        expectNear(l.inertia, m.inertia, 6, tol, "inertia");
        EXPECT_EQ(x.continuous, y.continuous);
        EXPECT_EQ(want.joint_name[i], got.joint_name[i]);
    }
    for (int i = 0; i < want.dof + 2; ++i) EXPECT_EQ(want.link_name[i], got.link_name[i]);
}

TEST(UrdfExport, ImportOfTheExportIsTheSameDescription)
{
    Lcg rng{99};
    for (int trial = 0; trial < 70; ++trial) {
        const RobotDescription d = randomDescription(rng, 1 + trial % 7);
        const std::string xml = exportUrdf(d);
        SCOPED_TRACE(xml);
        const UrdfImport back = importUrdfString(xml);
        expectSameDescription(d, back.description);
        EXPECT_LT(back.fk_check.position_error, 1e-12);
    }
    // Unnamed parts get the written names.
    RobotDescription bare = randomDescription(rng, 2);
    bare.name.clear();
    for (std::string& name : bare.joint_name) name.clear();
    for (std::string& name : bare.link_name) name.clear();
    const RobotDescription named = importUrdfString(exportUrdf(bare)).description;
    EXPECT_EQ(named.name, "robot");
    EXPECT_EQ(named.joint_name[1], "joint2");
    EXPECT_EQ(named.link_name[0], "base_link");
    EXPECT_EQ(named.link_name[2], "link2");
    // Bad descriptions are refused.
    bare.link_name[1] = bare.link_name[2] = "twin";
    EXPECT_THROW(exportUrdf(bare), Error);
    bare.joint[0].d = NAN;
    EXPECT_THROW(exportUrdf(bare), Error);
}

}  // namespace
}  // namespace tk
