#include "urdf/UrdfImport.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>

#include "robot/Inertia.h"
#include "urdf/DhFit.h"
#include "urdf/Inertia.h"
#include "urdf/UrdfDocument.h"

namespace tk {

namespace {

using namespace urdf_geometry;

constexpr int kCheckPostures = 1000;

std::string quoted(const std::string& name) { return "'" + name + "'"; }

std::string number(double value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << value;
    return out.str();
}

bool finite(const Frame& f)
{
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            if (!std::isfinite(f.R[i][j]))
                return false;
    return std::isfinite(f.p.x) && std::isfinite(f.p.y) && std::isfinite(f.p.z);
}

// urdfdom keeps a rotation as a quaternion (x, y, z, w).
Frame frameOf(const urdf::Pose& pose)
{
    const urdf::Rotation& r = pose.rotation;
    const double s = 2.0 / (r.x * r.x + r.y * r.y + r.z * r.z + r.w * r.w);
    Frame f;
    f.R[0][0] = 1 - s * (r.y * r.y + r.z * r.z), f.R[0][1] = s * (r.x * r.y - r.z * r.w),
    f.R[0][2] = s * (r.x * r.z + r.y * r.w);
    f.R[1][0] = s * (r.x * r.y + r.z * r.w), f.R[1][1] = 1 - s * (r.x * r.x + r.z * r.z),
    f.R[1][2] = s * (r.y * r.z - r.x * r.w);
    f.R[2][0] = s * (r.x * r.z - r.y * r.w), f.R[2][1] = s * (r.y * r.z + r.x * r.w),
    f.R[2][2] = 1 - s * (r.x * r.x + r.y * r.y);
    f.p = {pose.position.x, pose.position.y, pose.position.z};
    return f;
}

bool isMovable(const urdf::Joint& joint) { return joint.type != urdf::Joint::FIXED; }
bool turns(const urdf::Joint& joint)
{
    return joint.type == urdf::Joint::REVOLUTE || joint.type == urdf::Joint::CONTINUOUS;
}

// The joint tree as links and the joints above and below them.
class Tree {
public:
    explicit Tree(urdf::ModelInterfaceSharedPtr model) : model_(std::move(model))
    {
        for (const auto& [name, joint] : model_->joints_) {
            parent_[joint->child_link_name] = joint.get();
            children_[joint->parent_link_name].push_back(joint.get());
        }
    }

    std::string name() const { return model_->getName(); }
    std::string root() const { return model_->getRoot()->name; }
    bool has(const std::string& link) const { return model_->links_.count(link) != 0; }
    const urdf::Link& link(const std::string& name) const { return *model_->links_.at(name); }
    const urdf::Joint* parent(const std::string& link) const
    {
        const auto at = parent_.find(link);
        return at == parent_.end() ? nullptr : at->second;
    }
    const std::vector<const urdf::Joint*>& children(const std::string& link) const
    {
        static const std::vector<const urdf::Joint*> none;
        const auto at = children_.find(link);
        return at == children_.end() ? none : at->second;
    }

    // The joints from `base` down to `tip`.
    std::vector<const urdf::Joint*> path(const std::string& base, const std::string& tip) const
    {
        std::vector<const urdf::Joint*> up;
        for (std::string link = tip; link != base;) {
            const urdf::Joint* joint = parent(link);
            if (joint == nullptr)
                throw Error("tip link " + quoted(tip) + " is not reachable from base link " + quoted(base));
            up.push_back(joint);
            link = joint->parent_link_name;
        }
        return {up.rbegin(), up.rend()};
    }

private:
    urdf::ModelInterfaceSharedPtr model_;
    std::map<std::string, const urdf::Joint*> parent_;
    std::map<std::string, std::vector<const urdf::Joint*>> children_;
};

// The one link below `base` that ends the movable joints, then on through fixed joints
// while they do not branch.
std::string defaultTip(const Tree& tree, const std::string& base)
{
    std::vector<std::string> ends;
    std::map<std::string, bool> movesBelow;
    // Depth first, children before parents, so movesBelow is known when a parent is seen.
    std::vector<std::pair<std::string, bool>> open = {{base, false}};
    while (!open.empty()) {
        auto [link, expanded] = open.back();
        open.pop_back();
        if (!expanded) {
            open.push_back({link, true});
            for (const urdf::Joint* joint : tree.children(link))
                open.push_back({joint->child_link_name, false});
            continue;
        }
        bool below = false;
        for (const urdf::Joint* joint : tree.children(link))
            below = below || isMovable(*joint) || movesBelow[joint->child_link_name];
        movesBelow[link] = below;
        if (link != base && isMovable(*tree.parent(link)) && !below)
            ends.push_back(link);
    }
    if (ends.empty())
        throw Error("no movable joint below base link " + quoted(base));
    if (ends.size() > 1) {
        constexpr size_t kListed = 8;
        std::sort(ends.begin(), ends.end());
        std::string list;
        for (size_t k = 0; k < ends.size() && k < kListed; ++k)
            list += (k == 0 ? "" : ", ") + quoted(ends[k]);
        if (ends.size() > kListed)
            list += " and " + std::to_string(ends.size() - kListed) + " more";
        throw Error("the tree below base link " + quoted(base) + " has several tips (" + list +
                    "): name the tip link");
    }
    std::string tip = ends.front();
    while (tree.children(tip).size() == 1)
        tip = tree.children(tip).front()->child_link_name;
    return tip;
}

void checkChainJoint(const urdf::Joint& joint)
{
    static const std::map<int, std::string> kUnsupported = {
        {urdf::Joint::PRISMATIC, "prismatic"}, {urdf::Joint::FLOATING, "floating"}, {urdf::Joint::PLANAR, "planar"}};
    const std::string name = "joint " + quoted(joint.name) + ": ";
    const auto unsupported = kUnsupported.find(joint.type);
    if (unsupported != kUnsupported.end())
        throw Error(name + unsupported->second + " joints are not supported on the chain (revolute, continuous, fixed)");
    if (!turns(joint))
        return;
    if (joint.mimic != nullptr)
        throw Error(name + "mimic joints are not supported on the chain");
    if (!(norm({joint.axis.x, joint.axis.y, joint.axis.z}) > 0.0))
        throw Error(name + "axis has zero length");
    if (joint.limits != nullptr) {
        const urdf::JointLimits& l = *joint.limits;
        if (joint.type == urdf::Joint::REVOLUTE && l.lower > l.upper)
            throw Error(name + "lower limit " + number(l.lower) + " is above the upper limit " + number(l.upper));
        if (l.velocity < 0.0)
            throw Error(name + "velocity limit " + number(l.velocity) + " is negative");
        if (l.effort < 0.0)
            throw Error(name + "effort limit " + number(l.effort) + " is negative");
    }
    if (joint.dynamics != nullptr) {
        if (joint.dynamics->damping < 0.0)
            throw Error(name + "damping " + number(joint.dynamics->damping) + " is negative");
        if (joint.dynamics->friction < 0.0)
            throw Error(name + "friction " + number(joint.dynamics->friction) + " is negative");
    }
}

// A link's inertial in the link's own frame, once checked to be physically possible.
BodyInertia inertialOf(const urdf::Link& link)
{
    const urdf::Inertial& in = *link.inertial;
    const std::string name = "link " + quoted(link.name) + ": ";
    if (!(in.mass > 0.0))
        throw Error(name + "mass " + number(in.mass) + " is not positive");
    BodyInertia body;
    body.mass = in.mass;
    const double I[3][3] = {{in.ixx, in.ixy, in.ixz}, {in.ixy, in.iyy, in.iyz}, {in.ixz, in.iyz, in.izz}};
    const std::string fault = inertiaFault(I);
    if (!fault.empty())
        throw Error(name + fault);
    std::copy(&I[0][0], &I[0][0] + 9, &body.inertia[0][0]);
    return expressedIn(frameOf(in.origin), body);
}

// A link that moves with the chain, where it stands at the zero posture.
struct PlacedLink {
    const urdf::Link* link;
    int body;    // the chain joint whose link carries it
    Frame pose;  // in the base link's frame
    bool held;   // behind a movable joint off the chain
};

// Every link below the first chain joint, from the chain's frames at zero.
std::vector<PlacedLink> placeLinks(const Tree& tree, const std::vector<const urdf::Joint*>& chain,
                                   const Frame& firstChild)
{
    std::map<const urdf::Joint*, int> index;
    for (size_t k = 0; k < chain.size(); ++k)
        index[chain[k]] = static_cast<int>(k);
    std::vector<PlacedLink> placed;
    std::vector<PlacedLink> open = {{&tree.link(chain.front()->child_link_name), 0, firstChild, false}};
    while (!open.empty()) {
        const PlacedLink here = open.back();
        open.pop_back();
        placed.push_back(here);
        for (const urdf::Joint* joint : tree.children(here.link->name)) {
            const Frame pose = here.pose * frameOf(joint->parent_to_joint_origin_transform);
            if (!finite(pose))
                throw Error("joint " + quoted(joint->name) + ": origin too far out to compute with");
            const bool onChain = index.count(joint) != 0;
            open.push_back({&tree.link(joint->child_link_name), onChain ? index[joint] : here.body, pose,
                            here.held || (!onChain && isMovable(*joint))});
        }
    }
    return placed;
}

Vec3 unitAxis(const urdf::Joint& joint) { return unit({joint.axis.x, joint.axis.y, joint.axis.z}); }

// The tip frame composed the URDF's way: origins and turns about the written axes.
Frame composeUrdf(const std::vector<const urdf::Joint*>& path, const double* q)
{
    Frame pose;
    int k = 0;
    for (const urdf::Joint* joint : path) {
        pose = pose * frameOf(joint->parent_to_joint_origin_transform);
        if (turns(*joint))
            pose = pose * turn(unitAxis(*joint), q[k++]);
    }
    return pose;
}

Frame composeDh(const RobotDescription& d, const double* q)
{
    Frame pose = fromMatrix(d.base);
    for (int i = 0; i < d.dof; ++i)
        pose = pose * modifiedDh(d.joint[i].alpha, d.joint[i].a, q[i] + d.joint[i].theta, d.joint[i].d);
    return pose * fromMatrix(d.flange);
}

UrdfFkCheck checkFk(const std::vector<const urdf::Joint*>& path, const RobotDescription& d)
{
    UrdfFkCheck check;
    std::mt19937_64 bits(20240521);
    const auto uniform = [&bits](double lo, double hi) { return lo + (hi - lo) * double(bits() >> 11) * 0x1.0p-53; };
    double q[kMaxJoints];
    for (check.postures = 0; check.postures < kCheckPostures; ++check.postures) {
        for (int i = 0; i < d.dof; ++i)
            q[i] = uniform(d.limits[i].lower, d.limits[i].upper);
        const Frame urdf = composeUrdf(path, q), dh = composeDh(d, q);
        check.position_error = std::max(check.position_error, norm(urdf.p - dh.p));
        check.rotation_error = std::max(check.rotation_error, turnAngle(urdf, dh));
    }
    return check;
}

// Gravity in the base link's frame: the root's, turned through the fixed joints above the base.
void setGravity(const Tree& tree, const std::string& base, const urdf_document::Extras& extras, double out[3])
{
    Frame rootToBase;
    for (const urdf::Joint* joint : tree.path(tree.root(), base)) {
        if (isMovable(*joint)) {
            rootToBase = Frame();
            break;
        }
        rootToBase = rootToBase * frameOf(joint->parent_to_joint_origin_transform);
    }
    const Vec3 g = inverse(rootToBase).rotate({extras.gravity[0], extras.gravity[1], extras.gravity[2]});
    out[0] = g.x, out[1] = g.y, out[2] = g.z;
}

void fillInertials(const std::vector<PlacedLink>& placed, const DhFit& fit, UrdfImport& result)
{
    InertiaSum bodies[kMaxJoints];
    for (const PlacedLink& p : placed) {
        if (p.held)
            result.held_links.push_back(p.link->name);
        if (p.link->inertial != nullptr)
            bodies[p.body].add(expressedIn(inverse(fit.frame[p.body + 1]) * p.pose, inertialOf(*p.link)));
    }
    for (int i = 0; i < result.description.dof; ++i) {
        const BodyInertia body = bodies[i].total();
        LinkInertial& link = result.description.link[i];
        link.mass = body.mass;
        link.com[0] = body.com.x, link.com[1] = body.com.y, link.com[2] = body.com.z;
        const double* I = &body.inertia[0][0];
        const double six[6] = {I[0], I[1], I[2], I[4], I[5], I[8]};
        std::copy(six, six + 6, link.inertia);
        // Sums of possible bodies are possible unless rounding swamped them (links kilometres apart).
        bool finite = std::isfinite(link.mass);
        for (double v : link.com)
            finite = finite && std::isfinite(v);
        const std::string fault = body.mass > 0.0 ? inertiaFault(body.inertia) : "";
        if (!finite || !fault.empty())
            throw Error("link " + quoted(result.description.link_name[i + 1]) +
                        ": its merged links' inertials are too far apart to compute with");
    }
}

void fillJoint(const urdf::Joint& joint, const urdf_document::Extras& extras, int i, RobotDescription& d)
{
    JointLimits& limits = d.limits[i];
    limits.continuous = joint.type == urdf::Joint::CONTINUOUS;
    limits.lower = limits.continuous ? -kPi : joint.limits->lower;
    limits.upper = limits.continuous ? kPi : joint.limits->upper;
    if (joint.limits != nullptr)
        limits.velocity = joint.limits->velocity, limits.effort = joint.limits->effort;
    if (joint.dynamics != nullptr)
        d.friction[i].viscous = joint.dynamics->damping, d.friction[i].coulomb = joint.dynamics->friction;
    const auto extra = extras.joints.find(joint.name);
    if (extra != extras.joints.end()) {
        limits.acceleration = extra->second.acceleration;
        d.link[i].rotor_inertia = extra->second.rotor_inertia;
        d.friction[i].offset = extra->second.friction_offset;
    }
    d.joint_name[i] = joint.name;
}

}  // namespace

UrdfImport importUrdfString(const std::string& xml, const std::string& baseName, const std::string& tipName)
{
    const urdf_document::Document document = urdf_document::read(xml);
    const urdf_document::Extras& extras = document.extras;
    const Tree tree(document.model);
    const std::string base = baseName.empty() ? tree.root() : baseName;
    if (!tree.has(base))
        throw Error("base link " + quoted(base) + " is not in the URDF");
    if (!tipName.empty() && !tree.has(tipName))
        throw Error("tip link " + quoted(tipName) + " is not in the URDF");
    const std::string tip = tipName.empty() ? defaultTip(tree, base) : tipName;
    const std::vector<const urdf::Joint*> path = tree.path(base, tip);

    std::vector<const urdf::Joint*> chain;  // the joints that turn
    Frame before;                           // the first one's parent link
    for (const urdf::Joint* joint : path) {
        checkChainJoint(*joint);
        if (turns(*joint))
            chain.push_back(joint);
        else if (chain.empty())
            before = before * frameOf(joint->parent_to_joint_origin_transform);
    }
    if (chain.empty())
        throw Error("no movable joint from base link " + quoted(base) + " to tip link " + quoted(tip));
    if (chain.size() > static_cast<size_t>(kMaxJoints))
        throw Error(std::to_string(chain.size()) + " movable joints from base link " + quoted(base) +
                    " to tip link " + quoted(tip) + ": at most " + std::to_string(kMaxJoints));

    const std::vector<PlacedLink> placed =
        placeLinks(tree, chain, before * frameOf(chain.front()->parent_to_joint_origin_transform));
    ChainAtZero zero;
    zero.joints = static_cast<int>(chain.size());
    zero.before = before;
    Frame tipPose;
    for (const PlacedLink& p : placed) {
        for (int i = 0; i < zero.joints; ++i)
            if (p.link->name == chain[i]->child_link_name) {
                zero.moving[i] = p.pose;
                zero.axis[i] = p.pose.rotate(unitAxis(*chain[i]));
            }
        if (p.link->name == tip)
            tipPose = p.pose;
    }
    const DhFit fit = fitModifiedDh(zero);

    UrdfImport result;
    RobotDescription& d = result.description;
    d.name = tree.name();
    d.dof = zero.joints;
    result.base_link = base, result.tip_link = tip;
    d.link_name[0] = base;
    d.link_name[d.dof + 1] = tip == chain.back()->child_link_name ? "" : tip;
    toMatrix(fit.frame[0], d.base);
    toMatrix(inverse(fit.frame[d.dof]) * tipPose, d.flange);
    toMatrix(inverse(zero.moving[d.dof - 1]) * tipPose, result.tool);
    for (int i = 0; i < d.dof; ++i) {
        d.joint[i] = fit.joint[i];
        d.link_name[i + 1] = chain[i]->child_link_name;
        fillJoint(*chain[i], extras, i, d);
        const DhJoint& j = d.joint[i];
        if (!(std::isfinite(j.alpha) && std::isfinite(j.a) && std::isfinite(j.theta) && std::isfinite(j.d)))
            throw Error("joint " + quoted(chain[i]->name) + ": axis too far out to compute with");
        result.joint[i] = {chain[i]->name, i + 1, 1, j.theta};
    }
    if (!finite(fromMatrix(d.base)) || !finite(fromMatrix(d.flange)))
        throw Error("chain from base link " + quoted(base) + " to tip link " + quoted(tip) +
                    ": frames too far out to compute with");
    fillInertials(placed, fit, result);
    setGravity(tree, base, extras, d.gravity);
    result.fk_check = checkFk(path, d);
    return result;
}

UrdfImport importUrdf(const std::string& path, const std::string& base, const std::string& tip)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw Error("cannot read " + quoted(path));
    return importUrdfString({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}, base, tip);
}

}  // namespace tk
