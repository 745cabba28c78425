// Robot: the robot object in SI units (rad, m, kg, N m, s), its description's own joint
// convention and base frame; every computation is the library's.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>

#include "python/Bindings.h"
#include "python/PyArrays.h"
#include "robot/Robot.h"
#include "robot/Motion.h"
#include "robot/RobotIni.h"
#ifdef TOLVEX_HAVE_URDF
#include "urdf/UrdfImport.h"
#endif

namespace tkpy {

namespace {

struct Robot {
    explicit Robot(const tk::RobotDescription& d) : robot(d) {}
    tk::Robot robot;
    std::mutex busy;
};

// tk::Error (a description or value that cannot be used) as ValueError.
template <class F>
auto raising(F f) -> decltype(f())
{
    try {
        return f();
    } catch (const tk::Error& e) {
        throw py::value_error(e.what());
    }
}

std::shared_ptr<Robot> fromRobotIni(const std::string& path, py::object model)
{
    std::fclose(openOrRaise(path));
    auto robot = raising([&] { return std::make_shared<Robot>(tk::readRobotIni(path)); });
    if (!model.is_none()) {
        const std::string file = model.cast<std::string>();
        std::fclose(openOrRaise(file));
        raising([&] { robot->robot.useModelFile(file); });
    }
    return robot;
}

std::shared_ptr<Robot> fromUrdf(const std::string& path, py::object base, py::object tip)
{
#ifdef TOLVEX_HAVE_URDF
    std::fclose(openOrRaise(path));
    const std::string b = base.is_none() ? "" : base.cast<std::string>();
    const std::string t = tip.is_none() ? "" : tip.cast<std::string>();
    return raising([&] { return std::make_shared<Robot>(tk::importUrdf(path, b, t).description); });
#else
    (void)path, (void)base, (void)tip;
    throw std::runtime_error("this module was built without URDF support (Debian package liburdfdom-dev)");
#endif
}

// The analytic arm, or ValueError saying why the robot has none.
tk::AnalyticArm& analytic(Robot& r)
{
    if (!r.robot.hasAnalyticIk())
        throw py::value_error("the robot has no analytic IK: " + r.robot.analyticIkReason());
    return *r.robot.analytic();
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Joints of a solve (NaN where it failed) and its flags, for N items.
struct Solved {
    Array q;
    py::array_t<bool> ok, out_of_reach, shoulder_singular, wrist_singular, pose_missed;
    Solved(const Batch& b, int n)
        : q(output(b, {n})), ok(flags(b)), out_of_reach(flags(b)), shoulder_singular(flags(b)),
          wrist_singular(flags(b)), pose_missed(flags(b))
    {
    }
    void set(long i, int n, const double* joints, const tk::AnalyticIkResult& r)
    {
        for (int j = 0; j < n; ++j) q.mutable_data()[n * i + j] = r.ok ? joints[j] : kNaN;
        ok.mutable_data()[i] = r.ok, out_of_reach.mutable_data()[i] = r.out_of_reach;
        shoulder_singular.mutable_data()[i] = r.shoulder_singular, wrist_singular.mutable_data()[i] = r.wrist_singular;
        pose_missed.mutable_data()[i] = r.pose_missed;
    }
    py::object result()
    {
        py::dict d;
        d["q"] = q, d["ok"] = field(ok), d["out_of_reach"] = field(out_of_reach);
        d["shoulder_singular"] = field(shoulder_singular), d["wrist_singular"] = field(wrist_singular);
        d["pose_missed"] = field(pose_missed);
        return record(d);
    }
};

Shape joints(const Robot& r) { return {r.robot.dof()}; }

py::array fk(Robot& r, py::handle q)
{
    return mapItems(finiteRows(q, "q", joints(r)), {4, 4}, r.busy, [&](const double* in, double* pose) {
        r.robot.fk(in, reinterpret_cast<double(*)[4]>(pose));
    });
}

py::array jacobian(Robot& r, py::handle q)
{
    return mapItems(finiteRows(q, "q", joints(r)), {6, r.robot.dof()}, r.busy,
                    [&](const double* in, double* J) { r.robot.jacobian(in, J); });
}

py::array inverseDynamics(Robot& r, py::handle q, py::handle qd, py::handle qdd)
{
    Rows pos = finiteRows(q, "q", joints(r)), vel = finiteRows(qd, "qd", joints(r));
    Rows acc = finiteRows(qdd, "qdd", joints(r));
    Batch b = batchOf({&pos, &vel, &acc}, "q, qd and qdd");
    Array out = output(b, joints(r));
    double* o = out.mutable_data();
    const int n = r.robot.dof();
    forEachItem(r.busy, b.count, [&](long i) { r.robot.inverseDynamics(pos.at(i), vel.at(i), acc.at(i), o + n * i); });
    return out;
}

py::array gravityTorques(Robot& r, py::handle q)
{
    return mapItems(finiteRows(q, "q", joints(r)), joints(r), r.busy,
                    [&](const double* in, double* tau) { r.robot.gravityTorques(in, tau); });
}

py::array friction(Robot& r, py::handle qd)
{
    return mapItems(finiteRows(qd, "qd", joints(r)), joints(r), r.busy,
                    [&](const double* in, double* tau) { r.robot.friction(in, tau); });
}

py::array massMatrix(Robot& r, py::handle q)
{
    const int n = r.robot.dof();
    return mapItems(finiteRows(q, "q", joints(r)), {n, n}, r.busy,
                    [&](const double* in, double* M) { r.robot.massMatrix(in, M); });
}

py::array coriolisMatrix(Robot& r, py::handle q, py::handle qd)
{
    Rows pos = finiteRows(q, "q", joints(r)), vel = finiteRows(qd, "qd", joints(r));
    Batch b = batchOf({&pos, &vel}, "q and qd");
    const int n = r.robot.dof();
    Array out = output(b, {n, n});
    double* o = out.mutable_data();
    forEachItem(r.busy, b.count, [&](long i) { r.robot.coriolisMatrix(pos.at(i), vel.at(i), o + n * n * i); });
    return out;
}

void setPayload(Robot& r, double mass, py::handle com, py::handle inertia)
{
    tk::Payload p;
    p.mass = finite(mass, "mass");
    std::memcpy(p.com, finiteRows(com, "com", {3}, false).at(0), sizeof p.com);
    std::memcpy(p.inertia, finiteRows(inertia, "inertia", {6}, false).at(0), sizeof p.inertia);
    std::lock_guard<std::mutex> hold(r.busy);
    raising([&] { r.robot.setPayload(p); });
}

void setGravity(Robot& r, py::handle gravity)
{
    Rows g = finiteRows(gravity, "gravity", {3}, false);
    std::lock_guard<std::mutex> hold(r.busy);
    raising([&] { r.robot.setGravity(g.at(0)); });
}

py::object ik(Robot& r, py::handle pose, py::handle ref)
{
    tk::AnalyticArm& arm = analytic(r);
    Rows poses = finiteRows(pose, "pose", {4, 4}), refs = finiteRows(ref, "ref", joints(r));
    Batch b = batchOf({&poses, &refs}, "pose and ref");
    Solved out(b, 7);
    forEachItem(r.busy, b.count, [&](long i) {
        double q[7];
        out.set(i, 7, q, arm.ik(reinterpret_cast<const double(*)[4]>(poses.at(i)), refs.at(i), q));
    });
    return out.result();
}

py::object ikAtArmAngle(Robot& r, py::handle angle, py::handle ref)
{
    tk::AnalyticArm& arm = analytic(r);
    Rows angles = finiteRows(angle, "angle", {}), refs = finiteRows(ref, "ref", joints(r));
    Batch b = batchOf({&angles, &refs}, "angle and ref");
    Solved out(b, 7);
    forEachItem(r.busy, b.count, [&](long i) {
        double q[7];
        out.set(i, 7, q, arm.ikAtArmAngle(*angles.at(i), refs.at(i), q));
    });
    return out.result();
}

py::object ikLocked7(Robot& r, py::handle pose, py::handle ref, py::object q7)
{
    tk::AnalyticArm& arm = analytic(r);
    Rows poses = finiteRows(pose, "pose", {4, 4}), refs = finiteRows(ref, "ref", joints(r));
    const bool held = !q7.is_none();
    const double q7v = held ? finite(q7.cast<double>(), "q7", 1e4) : 0.0;
    Batch b = batchOf({&poses, &refs}, "pose and ref");
    Array q = output(b, {7});
    py::array_t<bool> ok = flags(b);
    forEachItem(r.busy, b.count, [&](long i) {
        double* qi = q.mutable_data() + 7 * i;
        const double* ri = refs.at(i);
        ok.mutable_data()[i] = arm.ikLocked7(reinterpret_cast<const double(*)[4]>(poses.at(i)), held ? q7v : ri[6], ri, qi);
        if (!ok.mutable_data()[i]) std::fill(qi, qi + 7, kNaN);
    });
    py::dict d;
    d["q"] = q, d["ok"] = field(ok);
    return record(d);
}

py::object checkLimits(Robot& r, py::handle q)
{
    tk::AnalyticArm& arm = analytic(r);
    Rows in = finiteRows(q, "q", joints(r));
    Batch b{in.count, !in.single};
    py::array_t<bool> inside = flags(b);
    py::array_t<unsigned char> state(b.batched ? Shape{b.count, 7} : Shape{7});
    Array bound = output(b, {2});
    forEachItem(r.busy, b.count, [&](long i) {
        tk::AnalyticLimitVerdict v;
        inside.mutable_data()[i] = arm.checkLimits(in.at(i), &v);
        std::memcpy(state.mutable_data() + 7 * i, v.state, 7);
        std::memcpy(bound.mutable_data() + 2 * i, v.bound, sizeof v.bound);
    });
    py::dict d;
    d["inside"] = field(inside), d["state"] = state, d["bound"] = bound;
    return record(d);
}

py::object armAngleMap(Robot& r, py::handle pose, py::handle ref)
{
    tk::AnalyticArm& arm = analytic(r);
    Rows p = finiteRows(pose, "pose", {4, 4}, false), rf = finiteRows(ref, "ref", joints(r), false);
    auto map = std::make_unique<tk::ArmAngleMap>();
    bool ok;
    {
        py::gil_scoped_release nogil;
        std::lock_guard<std::mutex> hold(r.busy);
        ok = arm.armAngleMap(reinterpret_cast<const double(*)[4]>(p.at(0)), rf.at(0), map.get());
    }
    const int count = map->count;
    Array intervals(Shape{count, 2});
    for (int k = 0; k < count; ++k) {
        intervals.mutable_at(k, 0) = map->interval[k].start.angle;
        intervals.mutable_at(k, 1) = map->interval[k].end.angle;
    }
    py::dict d;
    d["ok"] = ok, d["intervals"] = intervals, d["reference"] = map->reference, d["truncated"] = map->truncated;
    return record(d);
}

// A planned move, with the robot it belongs to kept alive.
struct Move {
    std::shared_ptr<Robot> robot;
    tk::Motion motion;
};

struct MoveStepper {
    std::shared_ptr<Move> move;
    tk::Motion::Stepper stepper;
    explicit MoveStepper(std::shared_ptr<Move> m) : move(std::move(m)), stepper(move->motion) {}
};

tk::Elbow elbowOf(const std::string& policy, py::object angle)
{
    tk::Elbow e;
    if (policy == "hold")
        e.policy = tk::ElbowPolicy::Hold;
    else if (policy == "auto")
        e.policy = tk::ElbowPolicy::Auto;
    else if (policy == "blend") {
        if (angle.is_none())
            throw py::value_error("elbow='blend' needs arm_angle, the arm angle at the target (rad)");
        e.policy = tk::ElbowPolicy::Blend;
        e.angle = finite(angle.cast<double>(), "arm_angle");
    } else
        throw py::value_error("elbow must be 'hold', 'blend' or 'auto', got '" + policy + "'");
    return e;
}

std::shared_ptr<Move> plan(std::shared_ptr<Robot> r, py::handle q_start, py::handle via, py::handle target,
                           const tk::MotionLimits& limits, const tk::Elbow& elbow)
{
    tk::AnalyticArm& arm = analytic(*r);
    Rows q = finiteRows(q_start, "q_start", joints(*r), false), t = finiteRows(target, "target", {4, 4}, false);
    const bool circular = !via.is_none();
    Rows v = finiteRows(circular ? py::reinterpret_borrow<py::object>(via) : py::object(Array(3)), "via", {3}, false);
    py::gil_scoped_release nogil;
    std::lock_guard<std::mutex> hold(r->busy);
    const auto* pose = reinterpret_cast<const double(*)[4]>(t.at(0));
    return std::make_shared<Move>(Move{r, circular ? tk::Motion::arc(arm, q.at(0), v.at(0), pose, limits, elbow)
                                                   : tk::Motion::line(arm, q.at(0), pose, limits, elbow)});
}

py::object moveField(const Move& m, const char* name)
{
    const long n = m.motion.ok() ? m.motion.samples() : 0;
    const std::string which = name;
    Array out = which == "pose" ? Array(Shape{n, 4, 4}) : which == "q" || which == "qd" || which == "qdd" ? Array(Shape{n, 7}) : Array(n);
    double* o = out.mutable_data();
    tk::MotionSample s;
    for (long k = 0; k < n; ++k) {
        m.motion.sample(k, &s);
        if (which == "t") o[k] = s.time;
        else if (which == "arm_angle") o[k] = s.arm_angle;
        else if (which == "pose") std::memcpy(o + 16 * k, s.pose, sizeof s.pose);
        else std::memcpy(o + 7 * k, which == "q" ? s.q : which == "qd" ? s.qd : s.qdd, sizeof s.q);
    }
    return out;
}

py::object limits(const Robot& r)
{
    const int n = r.robot.dof();
    Array lower(n), upper(n), velocity(n), acceleration(n), effort(n);
    for (int i = 0; i < n; ++i) {
        const tk::JointLimits& l = r.robot.description().limits[i];
        lower.mutable_at(i) = l.lower, upper.mutable_at(i) = l.upper, velocity.mutable_at(i) = l.velocity;
        acceleration.mutable_at(i) = l.acceleration, effort.mutable_at(i) = l.effort;
    }
    py::dict d;
    d["lower"] = lower, d["upper"] = upper, d["velocity"] = velocity;
    d["acceleration"] = acceleration, d["effort"] = effort;
    return record(d);
}

}  // namespace

void bindRobot(py::module_& m)
{
    py::class_<Move, std::shared_ptr<Move>>(m, "Move", "A Cartesian move planned whole: its samples, one per cycle.")
        .def_property_readonly("ok", [](const Move& mv) { return mv.motion.ok(); })
        .def_property_readonly("reason", [](const Move& mv) { return std::string(mv.motion.reason()); },
                               "Why the move cannot run, naming the first failing point; '' when ok.")
        .def_property_readonly("duration", [](const Move& mv) { return mv.motion.ok() ? mv.motion.duration() : 0.0; })
        .def_property_readonly("t", [](const Move& mv) { return moveField(mv, "t"); }, "(N,) s")
        .def_property_readonly("q", [](const Move& mv) { return moveField(mv, "q"); }, "(N, 7) rad")
        .def_property_readonly("qd", [](const Move& mv) { return moveField(mv, "qd"); }, "(N, 7) rad/s")
        .def_property_readonly("qdd", [](const Move& mv) { return moveField(mv, "qdd"); }, "(N, 7) rad/s^2")
        .def_property_readonly("pose", [](const Move& mv) { return moveField(mv, "pose"); }, "(N, 4, 4) flange, m")
        .def_property_readonly("arm_angle", [](const Move& mv) { return moveField(mv, "arm_angle"); }, "(N,) rad")
        .def("stepper", [](std::shared_ptr<Move> mv) { return std::make_unique<MoveStepper>(mv); },
             "An online stepper: step() gives the next cycle's joints (7,) rad, None once the move is over.");
    py::class_<MoveStepper>(m, "MoveStepper")
        .def("step", [](MoveStepper& s) -> py::object {
            tk::MotionSample sample;
            if (!s.stepper.step(&sample))
                return py::none();
            return Array(7, sample.q);
        });

    py::class_<Robot, std::shared_ptr<Robot>>(m, "Robot",
                      "A robot in SI units (rad, m, kg, N m, s), in its description's own joint "
                      "convention and base frame: kinematics, the arm's own dynamics for any "
                      "mounting, payload and friction. Each object owns everything it computes with.")
        .def(py::init(&fromRobotIni), py::arg("robot_ini"), py::arg("model") = py::none(),
             "Loads arm 0 of a robot.ini: chain (DH with Theta offsets, FLANGE, TOOL, BASE), limits, "
             "gravity, link DYNAMIC and FRICTION; `model`, a model parameter file of the same arm, adds "
             "the coupled joint-6/7 range. OSError when a file cannot be opened, ValueError with the "
             "fault in one line.")
        .def_property_readonly("has_analytic_ik", [](const Robot& r) { return r.robot.hasAnalyticIk(); },
                               "True for a seven-joint arm of the analytic-IK form.")
        .def_property_readonly("analytic_ik_reason", [](const Robot& r) { return r.robot.analyticIkReason(); },
                               "Which condition of the analytic-IK form fails and by how much ('' when none).")
        .def("ik", &ik, py::arg("pose"), py::arg("ref"),
             "Analytic IK of a flange pose (4, 4) in metres with the elbow by the reference ref (7,) rad: "
             "q (NaN unless ok), ok, out_of_reach, shoulder_singular, wrist_singular, pose_missed.")
        .def("ik_at_arm_angle", &ikAtArmAngle, py::arg("angle"), py::arg("ref"),
             "The pose of the last ik (or arm_angle_map) at arm angle `angle` rad (as arm_angle measures it) on "
             "ref's elbow, shoulder and wrist branches: the elbow swings, the flange stays put.")
        .def("ik_locked7", &ikLocked7, py::arg("pose"), py::arg("ref"), py::arg("q7") = py::none(),
             "Joint 7 held at q7 (default ref[6]): the solution nearest ref; q (NaN unless ok), ok.")
        .def("check_limits", &checkLimits, py::arg("q"),
             "Full limit verdict: inside, state (7,) per joint (0 inside, 1 below min, 2 above max, 3 beyond "
             "the joint-6/7 corner curve, 4 not a number), bound (2,) the joint-6/7 boundary point, rad.")
        .def("arm_angle_map", &armAngleMap, py::arg("pose"), py::arg("ref"),
             "Usable arm-angle intervals (k, 2) in rad (as arm_angle measures them; end < start wraps through pi) "
             "for the flange pose on ref's elbow, shoulder and wrist branches, edges to 1e-9 deg; ok, reference "
             "(index of the interval holding ref's own arm angle, or -1), truncated.")
        .def_static("from_urdf", &fromUrdf, py::arg("path"), py::arg("base") = py::none(), py::arg("tip") = py::none(),
                    "A robot from a URDF: the chain from `base` (default the root link) to `tip` (default the one "
                    "leaf of the movable joints), joints in the URDF's own convention, inertials, limits, friction "
                    "(dynamics damping and friction), gravity -9.81 along the root's z. ValueError naming the "
                    "element and the reason for a file that cannot be used (a branching tree lists the tips).")
        .def_property_readonly("dof", [](const Robot& r) { return r.robot.dof(); })
        .def_property_readonly("name", [](const Robot& r) { return r.robot.description().name; })
        .def_property_readonly("gravity", [](const Robot& r) { return Array(3, r.robot.description().gravity); },
                               "Gravity (3,) in m/s^2, base frame.")
        .def_property_readonly("limits", &limits,
                               "lower, upper (rad), velocity (rad/s), acceleration (rad/s^2), effort (N m): (dof,) each.")
        .def("fk", &fk, py::arg("q"), "Flange pose (4, 4), metres, base frame; (N, dof) gives (N, 4, 4).")
        .def("jacobian", &jacobian, py::arg("q"),
             "(6, dof): rows 0-2 linear velocity of the flange origin (m/rad), rows 3-5 angular, base frame.")
        .def("inverse_dynamics", &inverseDynamics, py::arg("q"), py::arg("qd"), py::arg("qdd"),
             "M(q) qdd + C(q, qd) qd + g(q) in N m, rotor inertia included, friction not.")
        .def("gravity_torques", &gravityTorques, py::arg("q"), "g(q) in N m.")
        .def("friction", &friction, py::arg("qd"), "Coulomb sign(qd) + viscous qd + offset, N m.")
        .def("mass_matrix", &massMatrix, py::arg("q"), "M(q) (dof, dof), kg m^2, rotor inertias on the diagonal.")
        .def("coriolis_matrix", &coriolisMatrix, py::arg("q"), py::arg("qd"),
             "C(q, qd) (dof, dof): C qd is the Coriolis and centrifugal torque.")
        .def("set_payload", &setPayload, py::arg("mass"), py::arg("com"), py::arg("inertia"),
             "A load at the flange: mass (kg), com (3,) in the flange frame (m), inertia (6,) xx, xy, xz, "
             "yy, yz, zz about the com (kg m^2). ValueError (and no change) for a body that cannot be.")
        .def("set_gravity", &setGravity, py::arg("gravity"), "Gravity (3,) in m/s^2, base frame.")
        .def("arm_angle", [](Robot& r, py::handle q) {
                 return mapItems(finiteRows(q, "q", joints(r)), {}, r.busy,
                                 [&](const double* in, double* out) { *out = analytic(r).armAngle(in); });
             }, py::arg("q"),
             "The arm angle (rad): about the shoulder-wrist line, from the plane through it and joint 1's axis "
             "to the elbow's plane.")
        .def("line", [](std::shared_ptr<Robot> r, py::handle q_start, py::handle target, double speed, double acc,
                        double jerk, double rot_speed, double rot_acc, double rot_jerk, const std::string& elbow,
                        py::object arm_angle, double cycle) {
                 return plan(r, q_start, py::none(), target,
                             tk::MotionLimits{speed, acc, jerk, rot_speed, rot_acc, rot_jerk, cycle}, elbowOf(elbow, arm_angle));
             }, py::arg("q_start"), py::arg("target_pose"), py::arg("speed") = 0.25, py::arg("acc") = 1.0,
             py::arg("jerk") = 10.0, py::arg("rot_speed") = 1.0, py::arg("rot_acc") = 4.0, py::arg("rot_jerk") = 40.0,
             py::arg("elbow") = "hold", py::arg("arm_angle") = py::none(), py::arg("cycle") = 0.001,
             "A straight-line move of the flange from the joints q_start (rad) to target_pose (4, 4), m, its orientation "
             "on the shortest slerp, jerk-limited (m/s, m/s^2, m/s^3; rad/s, ...) and within every joint's limits; "
             "elbow 'hold' (the start's arm angle), 'blend' (to arm_angle) or 'auto'. Returns a Move: check ok/reason.")
        .def("arc", [](std::shared_ptr<Robot> r, py::handle q_start, py::handle via, py::handle target, double speed,
                       double acc, double jerk, double rot_speed, double rot_acc, double rot_jerk, const std::string& elbow,
                       py::object arm_angle, double cycle) {
                 return plan(r, q_start, via, target, tk::MotionLimits{speed, acc, jerk, rot_speed, rot_acc, rot_jerk, cycle},
                             elbowOf(elbow, arm_angle));
             }, py::arg("q_start"), py::arg("via_point"), py::arg("target_pose"), py::arg("speed") = 0.25,
             py::arg("acc") = 1.0, py::arg("jerk") = 10.0, py::arg("rot_speed") = 1.0, py::arg("rot_acc") = 4.0,
             py::arg("rot_jerk") = 40.0, py::arg("elbow") = "hold", py::arg("arm_angle") = py::none(),
             py::arg("cycle") = 0.001, "As line, the flange on the arc from the start through via_point (3,) m to the target.");
}

}  // namespace tkpy
