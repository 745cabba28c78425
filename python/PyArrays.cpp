#include "python/PyArrays.h"

#include <cmath>
#include <string>

namespace tkpy {

namespace {

std::string shapeText(const py::ssize_t* dims, py::ssize_t ndim, const char* batch = nullptr)
{
    std::string text = batch ? std::string("(") + batch : "(";
    for (py::ssize_t i = 0; i < ndim; ++i)
        text += (i || batch ? ", " : "") + std::to_string(dims[i]);
    return text + (ndim + (batch ? 1 : 0) == 1 ? ",)" : ")");
}

}  // namespace

Rows rows(py::handle obj, const char* name, const Shape& item, bool batch)
{
    Rows r;
    try {
        r.data = Array::ensure(obj);
    } catch (const py::error_already_set&) {
        r.data = Array();
    }
    if (!r.data)
        throw py::value_error(std::string(name) + " must be numbers");
    const py::ssize_t extra = r.data.ndim() - static_cast<py::ssize_t>(item.size());
    bool fits = extra == 0 || (batch && extra == 1);
    for (size_t k = 0; fits && k < item.size(); ++k)
        fits = r.data.shape(extra + k) == item[k];
    if (!fits) {
        const py::ssize_t n = static_cast<py::ssize_t>(item.size());
        std::string wanted = n == 0 ? "a number" : "shape " + shapeText(item.data(), n);
        if (batch)
            wanted += (n == 0 ? " or shape " : " or ") + shapeText(item.data(), n, "N");
        throw py::value_error(std::string(name) + " must be " + wanted + ", got shape " +
                              shapeText(r.data.shape(), r.data.ndim()));
    }
    r.single = extra == 0;
    r.count = r.single ? 1 : r.data.shape(0);
    r.size = 1;
    for (py::ssize_t d : item)
        r.size *= d;
    return r;
}

Rows finiteRows(py::handle obj, const char* name, const Shape& item, bool batch, double bound)
{
    Rows r = rows(obj, name, item, batch);
    const double* v = r.data.data();
    for (py::ssize_t i = 0; i < r.data.size(); ++i)
        finite(v[i], name, bound);
    return r;
}

double finite(double value, const char* name, double bound)
{
    if (!std::isfinite(value))
        throw py::value_error(std::string(name) + " must hold finite numbers");
    if (bound > 0 && std::fabs(value) > bound)
        throw py::value_error(std::string(name) + " must lie within +-" +
                              py::repr(py::float_(bound)).cast<std::string>());
    return value;
}

Batch batchOf(std::initializer_list<const Rows*> inputs, const char* names)
{
    Batch b;
    for (const Rows* r : inputs) {
        if (r->single)
            continue;
        if (b.batched && r->count != b.count)
            throw py::value_error(std::string(names) + " must have the same number of rows");
        b.count = r->count;
        b.batched = true;
    }
    return b;
}

namespace {

Shape shapeOf(const Batch& b, Shape item)
{
    if (b.batched)
        item.insert(item.begin(), b.count);
    return item;
}

}  // namespace

Array output(const Batch& b, const Shape& item)
{
    return Array(shapeOf(b, item));
}

py::array_t<bool> flags(const Batch& b, const Shape& item)
{
    return py::array_t<bool>(shapeOf(b, item));
}

FILE* openOrRaise(const std::string& path)
{
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) {
        PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
        throw py::error_already_set();
    }
    return file;
}

py::object record(const py::dict& fields)
{
    return py::module_::import("types").attr("SimpleNamespace")(**fields);
}

py::object field(const py::array& values)
{
    return values.ndim() == 0 ? values.attr("item")() : py::object(values);
}

}  // namespace tkpy
