// numpy at the module's boundary: inputs of one item or a batch of items, checked
// for shape and values before the library sees them, and outputs shaped like them.
#ifndef TOLVEX_PYTHON_PYARRAYS_H
#define TOLVEX_PYTHON_PYARRAYS_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstdio>
#include <initializer_list>
#include <mutex>
#include <string>
#include <vector>

namespace tkpy {

namespace py = pybind11;
using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Shape = std::vector<py::ssize_t>;

// Angles beyond this (degrees) are refused where the library unwinds them a turn at a time.
constexpr double kMaxTurningAngle = 1e6;

// An input of one item of shape `item`, or of N such items along a leading axis.
struct Rows {
    Array data;
    long count = 1;      // N, or 1 for a single item
    bool single = true;  // no leading batch axis
    long size = 1;       // doubles per item

    // Item i of the batch; a single item stands for every i.
    const double* at(long i) const { return data.data() + (single ? 0 : i * size); }
};

// ValueError unless `obj` converts to numbers of shape `item` or, with `batch`, (N, *item).
Rows rows(py::handle obj, const char* name, const Shape& item, bool batch = true);
// rows() that also raises ValueError unless every value is finite and, with a
// bound, within +-bound.
Rows finiteRows(py::handle obj, const char* name, const Shape& item, bool batch = true,
                double bound = 0);
double finite(double value, const char* name, double bound = 0);
// Items of several inputs taken together: a batch of N when any of them is one (all
// batches must agree), else one item.
struct Batch {
    long count = 1;
    bool batched = false;
};
Batch batchOf(std::initializer_list<const Rows*> inputs, const char* names);
// An output of `item` doubles per input item, with the batch axis when `batched`.
Array output(const Batch& b, const Shape& item);
py::array_t<bool> flags(const Batch& b, const Shape& item = {});
// The file opened for binary reading, or OSError naming it and the reason.
FILE* openOrRaise(const std::string& path);
// A read-only record of named results (types.SimpleNamespace).
py::object record(const py::dict& fields);
// A record field: a 0-d array as its Python scalar, any other array as it is.
py::object field(const py::array& values);

// f(i) for every item, without the GIL; with `busy` held, so that one object
// serves one call at a time whichever threads call it.
template <class F>
void forEachItem(std::mutex& busy, long count, F f)
{
    py::gil_scoped_release nogil;
    std::lock_guard<std::mutex> hold(busy);
    for (long i = 0; i < count; ++i)
        f(i);
}

// An output of shape `item` per item of `in` (with its batch axis), each filled
// by f(input item, output item) as forEachItem runs it.
template <class F>
Array mapItems(const Rows& in, const Shape& item, std::mutex& busy, F f)
{
    Batch b;
    b.count = in.count;
    b.batched = !in.single;
    Array out = output(b, item);
    double* o = out.mutable_data();
    const long size = static_cast<long>(out.size()) / (b.count > 0 ? b.count : 1);
    forEachItem(busy, b.count, [&](long i) { f(in.at(i), o + size * i); });
    return out;
}

}  // namespace tkpy

#endif
