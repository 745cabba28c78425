// Robot: the robot object in SI units (rad, m, kg, N m, s), its description's own joint
// convention and base frame; every computation is the library's.
#include <cstring>
#include <memory>
#include <mutex>

#include "python/Bindings.h"
#include "python/PyArrays.h"
#include "robot/Robot.h"
#include "robot/RobotIni.h"

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

std::unique_ptr<Robot> fromRobotIni(const std::string& path)
{
    std::fclose(openOrRaise(path));
    return raising([&] { return std::make_unique<Robot>(tk::readRobotIni(path)); });
}

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
    py::class_<Robot>(m, "Robot",
                      "A robot in SI units (rad, m, kg, N m, s), in its description's own joint "
                      "convention and base frame: kinematics, the arm's own dynamics for any "
                      "mounting, payload and friction. Each object owns everything it computes with.")
        .def(py::init(&fromRobotIni), py::arg("robot_ini"),
             "Loads arm 0 of a robot.ini: chain (DH with Theta offsets, FLANGE, TOOL, BASE), limits, "
             "gravity, link DYNAMIC and FRICTION. OSError when the file cannot be opened, ValueError "
             "with the file's fault in one line.")
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
        .def("set_gravity", &setGravity, py::arg("gravity"), "Gravity (3,) in m/s^2, base frame.");
}

}  // namespace tkpy
