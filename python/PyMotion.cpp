// Motion from Python: the multi-axis S-curve generator (one-shot and stepped)
// and the moving-average filter, each on a record of its own.
#include <cstring>
#include <memory>
#include <vector>

#include "motion/FXAVGF.h"
#include "motion/FXNSyncDTS.h"
#include "python/Bindings.h"
#include "python/PyArrays.h"

namespace tkpy {

namespace {

constexpr long kMaxAxes = 8;

// A limit given once for every axis or once per axis.
std::vector<double> perAxis(py::handle values, const char* name, long axes)
{
    Rows r = rows(values, name, {}, true);
    if (!r.single && r.count != axes)
        throw py::value_error(std::string(name) + " must be one number or one per axis (" +
                              std::to_string(axes) + ")");
    std::vector<double> v(kMaxAxes, 0.0);
    for (long i = 0; i < axes; ++i)
        v[i] = *r.at(i);
    return v;
}

// Axes named by the longest of the per-axis inputs.
long axesOf(std::initializer_list<py::handle> values)
{
    long axes = 1;
    for (py::handle v : values) {
        Rows r = rows(v, "limits", {}, true);
        if (!r.single)
            axes = std::max(axes, r.count);
    }
    return axes;
}

struct Profile {
    FXNSyncDTS gen{};
    long axes = 0;
    std::mutex busy;
};

std::unique_ptr<Profile> makeProfile(double cycle_ms, py::handle vmax, py::handle acc,
                                     py::handle jerk, long axes)
{
    if (axes < 1 || axes > kMaxAxes)
        throw py::value_error("a profile has 1 to 8 axes");
    auto p = std::make_unique<Profile>();
    p->axes = axes;
    std::vector<double> v = perAxis(vmax, "vmax", axes), a = perAxis(acc, "acc", axes),
                        j = perAxis(jerk, "jerk", axes);
    if (!FXNSyncDTS_OnInit(&p->gen, axes, cycle_ms, v.data(), a.data(), j.data()))
        throw py::value_error("profile limits rejected: 1 to 8 axes, cycle_ms 1..1000, vmax "
                              "0.1..5000, acc 0.01..50000, jerk 1..1e7 per axis");
    return p;
}

std::vector<double> targetsOf(const Profile& p, py::handle targets)
{
    finiteRows(targets, "targets", {});
    return perAxis(targets, "targets", p.axes);
}

py::array step(Profile& p, py::handle targets)
{
    std::vector<double> t = targetsOf(p, targets);
    Array out(p.axes);
    double* o = out.mutable_data();
    forEachItem(p.busy, 1, [&](long) { FXNSyncDTS_OnDT(&p.gen, t.data(), o); });
    return out;
}

py::array profile(double cycle_ms, py::handle vmax, py::handle acc, py::handle jerk,
                  py::handle targets, long cycles)
{
    const long axes = rows(targets, "targets", {}, true).count;
    if (cycles < 1)
        throw py::value_error("cycles must be at least 1");
    std::unique_ptr<Profile> p = makeProfile(cycle_ms, vmax, acc, jerk, axes);
    std::vector<double> t = targetsOf(*p, targets), rest(kMaxAxes, 0.0);
    Array out(Shape{cycles, axes});
    double* o = out.mutable_data();
    forEachItem(p->busy, cycles, [&](long i) {
        // The first cycle after set-up places every axis on its target: here the rest at 0.
        FXNSyncDTS_OnDT(&p->gen, i == 0 ? rest.data() : t.data(), o + axes * i);
    });
    return out;
}

struct MovingAverage {
    FXAVGF filt{};
    long window = 0;
    long channels = 0;  // fixed by the first sample
    std::mutex busy;
};

std::unique_ptr<MovingAverage> makeAverage(long window)
{
    auto f = std::make_unique<MovingAverage>();
    if (!FXAVGF_OnInit(&f->filt, 1, window))
        throw py::value_error("window must be from 1 to 100 samples");
    f->window = window;
    return f;
}

py::object filter(MovingAverage& f, py::handle x)
{
    Array raw = Array::ensure(x);
    if (!raw || raw.ndim() > 2)
        throw py::value_error("x must be a number, one sample (C,) or samples (T, C)");
    const bool scalar = raw.ndim() == 0;
    const long channels = scalar ? 1 : raw.shape(raw.ndim() - 1);
    Rows in = scalar ? rows(x, "x", {}, false) : rows(x, "x", {channels}, true);
    if (channels < 1 || channels > kMaxAxes)
        throw py::value_error("x must hold 1 to 8 channels");
    if (f.channels == 0 && FXAVGF_OnInit(&f.filt, channels, f.window))
        f.channels = channels;
    if (channels != f.channels)
        throw py::value_error("x must hold " + std::to_string(f.channels) +
                              " channels, as the first sample did");
    Array out(Shape(raw.shape(), raw.shape() + raw.ndim()));
    double* o = out.mutable_data();
    forEachItem(f.busy, in.count, [&](long i) {
        double sample[kMaxAxes];
        std::memcpy(sample, in.at(i), channels * sizeof(double));
        FXAVGF_OnFilt(&f.filt, sample, o + channels * i);
    });
    return scalar ? py::object(py::float_(*o)) : py::object(out);
}

}  // namespace

void bindMotion(py::module_& m)
{
    m.def("profile", &profile, py::arg("cycle_ms"), py::arg("vmax"), py::arg("acc"),
          py::arg("jerk"), py::arg("targets"), py::arg("cycles"),
          "Positions (cycles, axes) of the multi-axis S-curve from rest at 0 toward targets "
          "(one per axis, 1 to 8): row k is the position after k cycles of cycle_ms, row 0 "
          "the rest. vmax, acc, jerk: one number for every axis or one per axis.");

    py::class_<Profile>(m, "Profile",
                        "Multi-axis S-curve generator stepped once per control cycle. The first "
                        "step places every axis on its target; later steps move toward the "
                        "targets within vmax, acc and jerk.")
        .def(py::init([](double cycle_ms, py::handle vmax, py::handle acc, py::handle jerk,
                         py::object axes) {
                 return makeProfile(cycle_ms, vmax, acc, jerk,
                                    axes.is_none() ? axesOf({vmax, acc, jerk})
                                                   : py::int_(axes).cast<long>());
             }),
             py::arg("cycle_ms"), py::arg("vmax"), py::arg("acc"), py::arg("jerk"),
             py::arg("axes") = py::none(),
             "Limits one number for every axis or one per axis; axes defaults to the longest.")
        .def_readonly("axes", &Profile::axes)
        .def("step", &step, py::arg("targets"), "One cycle toward targets (axes,); positions.")
        .def(
            "restart",
            [](Profile& p) {
                std::lock_guard<std::mutex> hold(p.busy);
                FXNSyncDTS_OnEmpty(&p.gen);
            },
            "The next step places every axis on its target again.")
        .def(
            "state",
            [](Profile& p) {
                Array pos(p.axes), vel(p.axes), acc(p.axes);
                std::lock_guard<std::mutex> hold(p.busy);
                FXNSyncDTS_OnGetCurPVA_U(&p.gen, pos.mutable_data(), vel.mutable_data(),
                                         acc.mutable_data());
                return py::make_tuple(pos, vel, acc);
            },
            "(position, velocity, acceleration) of the smoothed output, each (axes,).");

    py::class_<MovingAverage>(m, "MovingAverage",
                              "Moving average over the last `window` samples (1 to 100) of up "
                              "to 8 channels sampled together.")
        .def(py::init(&makeAverage), py::arg("window"))
        .def("filter", &filter, py::arg("x"),
             "Filters one sample: a number (one channel) gives a number, (C,) gives (C,); "
             "(T, C) filters T samples in order. The first sample fixes C and fills the window.")
        .def(
            "reset",
            [](MovingAverage& f) {
                std::lock_guard<std::mutex> hold(f.busy);
                FXAVGF_OnEmpty(&f.filt);
            },
            "The next sample fills the window again.");
}

}  // namespace tkpy
