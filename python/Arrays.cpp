#include "Module.h"

#include <memory>
#include <string>
#include <unordered_map>

namespace measuremath::python {

namespace {

// How many views each viewed array has. Never destroyed: views may outlive this library's statics.
std::unordered_map<TVector<double> const*, int>& viewCounts()
{
    static auto* const counts = new std::unordered_map<TVector<double> const*, int>;
    return *counts;
}

// What a view refers to for as long as it lives.
struct View {
    TVector<double> const* array;
    py::ssize_t shape[2];
    py::ssize_t strides[2];
};

std::unique_ptr<View> viewOf(Vector& v)
{
    return std::make_unique<View>(View{&v, {v.getSize(), 0}, {sizeof(double), 0}});
}

std::unique_ptr<View> viewOf(Matrix& m)
{
    py::ssize_t const stride = m.getCol() * static_cast<py::ssize_t>(sizeof(double));
    return std::make_unique<View>(View{&m, {m.getRow(), m.getCol()}, {stride, sizeof(double)}});
}

constexpr int dimensions(Vector const&)
{
    return 1;
}
constexpr int dimensions(Matrix const&)
{
    return 2;
}

bool asks(int flags, int what)
{
    return (flags & what) == what;
}

// Fills `buffer` for a consumer that understands what `flags` say.
template <class Array>
void openView(py::handle object, Py_buffer& buffer, int flags)
{
    static char format[] = "d";
    static double noElement = 0.0;  // numpy takes an address for an empty array too

    Array& array = object.cast<Array&>();
    int const ndim = dimensions(array);
    if (ndim > 1 && asks(flags, PyBUF_F_CONTIGUOUS))
        throw py::buffer_error("the order is row-major");

    std::unique_ptr<View> view = viewOf(array);
    double* const elements = array.begin();  // un-shares
    ++viewCounts()[&array];

    bool const hasShape = asks(flags, PyBUF_ND);
    buffer.buf = elements ? elements : &noElement;
    buffer.obj = object.inc_ref().ptr();
    buffer.len = array.getSize() * static_cast<py::ssize_t>(sizeof(double));
    buffer.itemsize = sizeof(double);
    buffer.readonly = 0;
    buffer.ndim = hasShape ? ndim : 1;
    buffer.format = asks(flags, PyBUF_FORMAT) ? format : nullptr;
    buffer.shape = hasShape ? view->shape : nullptr;
    buffer.strides = asks(flags, PyBUF_STRIDES) ? view->strides : nullptr;
    buffer.suboffsets = nullptr;
    buffer.internal = view.release();
}

template <class Array>
int getBuffer(PyObject* object, Py_buffer* buffer, int flags)
{
    buffer->obj = nullptr;
    try {
        openView<Array>(object, *buffer, flags);
        return 0;
    } catch (std::exception const& e) {
        PyErr_SetString(PyExc_BufferError, e.what());
        return -1;
    }
}

void releaseBuffer(PyObject*, Py_buffer* buffer)
{
    std::unique_ptr<View> const view(static_cast<View*>(buffer->internal));
    auto const count = viewCounts().find(view->array);
    if (--count->second == 0) viewCounts().erase(count);
}

// Python's own slots, since those of pybind11 do not tell when a view ends.
template <class Array>
py::custom_type_setup viewable()
{
    return py::custom_type_setup([](PyHeapTypeObject* type) {
        type->ht_type.tp_as_buffer = &type->as_buffer;
        type->as_buffer.bf_getbuffer = getBuffer<Array>;
        type->as_buffer.bf_releasebuffer = releaseBuffer;
    });
}

std::string repr(py::object const& self)
{
    std::string const name = py::str(py::type::of(self).attr("__name__"));
    py::object const text = py::module_::import("numpy").attr("array2string")(
        asArray(self), py::arg("separator") = ", ", py::arg("prefix") = name + "(");
    return name + "(" + std::string(py::str(text)) + ")";
}

// What both classes do alike: elements by numpy's own indexing of the view.
template <class Array>
void bindElements(py::class_<Array>& c)
{
    c.def(
        "__getitem__",
        [](py::object const& self, py::object const& key) -> py::object {
            return asArray(self)[key];
        },
        "Elements, rows and slices as of the array: they are views, for writing too.");
    c.def("__setitem__", [](py::object const& self, py::object const& key,
                            py::object const& value) { asArray(self)[key] = value; });
    c.def("__repr__", &repr);
    c.def(
        "copy", [](Array const& a) { return Array(a); },
        "A copy, which shares the storage until either is written or viewed.");
    c.def("__copy__", [](Array const& a) { return Array(a); });
    c.def("__deepcopy__", [](Array const& a, py::dict const&) { return Array(a); });
    c.def("__neg__", [](Array const& a) { return -a; });
    c.def(
        "__add__", [](Array const& a, Array const& b) { return a + b; }, py::is_operator());
    c.def(
        "__sub__", [](Array const& a, Array const& b) { return a - b; }, py::is_operator());
    c.def(
        "__radd__", [](Array const& a, Array const& b) { return b + a; }, py::is_operator());
    c.def(
        "__rsub__", [](Array const& a, Array const& b) { return b - a; }, py::is_operator());
    c.def(
        "__mul__", [](Array const& a, double s) { return a * s; }, py::is_operator());
    c.def(
        "__rmul__", [](Array const& a, double s) { return s * a; }, py::is_operator());
    c.def(
        "__eq__", [](Array const& a, Array const& b) { return (a == b) != 0; }, py::is_operator(),
        "equals with the tolerance 1e-15; MathError for another size.");
}

// `self op= other` in place.
template <class Array, class Operand, class Change>
void bindInPlace(py::class_<Array>& c, char const* name, Change change)
{
    c.def(
        name,
        [change](py::object self, Operand const& b) {
            mutate(self.cast<Array&>(), [&](Array& a) { change(a, b); });
            return self;
        },
        py::is_operator());
}

void bindVector(py::module_& m)
{
    py::class_<Vector> c(m, "Vector", viewable<Vector>(),
                         "Vector of double: n elements, viewed by numpy.asarray without a copy.");
    c.def(py::init([](long long n) { return Vector(n); }), py::arg("n"), "n zeros.");
    c.def(py::init([](Vector const& values) { return values; }), py::arg("values"),
          "Copy of an array, a list or a vector.");
    c.def("__len__", &Vector::getSize);
    c.def("getSize", &Vector::getSize, "Number of elements.");
    bindElements(c);

    c.def(
        "__mul__", [](Vector const& a, Vector const& b) { return a * b; }, py::is_operator());
    c.def(
        "__rmul__", [](Vector const& a, Vector const& b) { return b * a; }, py::is_operator());
    c.def(
        "__truediv__", [](Vector const& a, Vector const& b) { return a / b; }, py::is_operator());
    c.def(
        "__truediv__", [](Vector const& a, double s) { return a / s; }, py::is_operator());
    bindInPlace<Vector, Vector>(c, "__iadd__", [](Vector& a, Vector const& b) { a += b; });
    bindInPlace<Vector, Vector>(c, "__isub__", [](Vector& a, Vector const& b) { a -= b; });
    bindInPlace<Vector, Vector>(c, "__imul__", [](Vector& a, Vector const& b) { a *= b; });
    bindInPlace<Vector, double>(c, "__imul__", [](Vector& a, double s) { a *= s; });
    bindInPlace<Vector, Vector>(c, "__itruediv__", [](Vector& a, Vector const& b) { a /= b; });
    bindInPlace<Vector, double>(c, "__itruediv__", [](Vector& a, double s) { a /= s; });

    c.def("dot", &Vector::dot, py::arg("b"), "Sum of products.");
    c.def(
        "cross",
        [](Vector const& a, Vector const& b) { return atLeast(3, a).cross(atLeast(3, b)); },
        py::arg("b"), "Right-handed cross product, 3 elements.");
    c.def("length", &Vector::length, "Euclidean norm.");
    c.def("minPos", &Vector::minPos, "Index of the smallest element, the first one on ties.");
    c.def(
        "equals",
        [](Vector const& a, Vector const& v, double tol) { return a.equals(v, tol) != 0; },
        py::arg("v"), py::arg("tol"), "Whether the norm of the difference is at most tol.");
}

void bindMatrix(py::module_& m)
{
    py::class_<Matrix> c(
        m, "Matrix", viewable<Matrix>(),
        "Matrix of double, row-major, viewed by numpy.asarray without a copy. @ is "
        "the matrix product, * takes numbers.");
    py::enum_<Matrix::InitValueType>(c, "InitValueType", "Initial contents.")
        .value("ZERO", Matrix::ZERO)
        .value("IDENTITY", Matrix::IDENTITY)
        .export_values();
    c.def(py::init([](long long rows, long long cols, Matrix::InitValueType t) {
              return Matrix(rows, cols, t);
          }),
          py::arg("rows"), py::arg("cols"), py::arg("t") = Matrix::ZERO, "Zeros, or the identity.");
    c.def(py::init([](Matrix const& values) { return values; }), py::arg("values"),
          "Copy of an array, a list of rows or a matrix.");
    c.def("__len__", &Matrix::getRow);
    c.def("getRow", &Matrix::getRow, "Number of rows.");
    c.def("getCol", &Matrix::getCol, "Number of columns.");
    bindElements(c);

    c.def(
        "__matmul__", [](Matrix const& a, Matrix const& b) { return a * b; }, py::is_operator());
    c.def(
        "__matmul__", [](Matrix const& a, Vector const& v) { return a * v; }, py::is_operator());
    c.def(
        "__rmatmul__", [](Matrix const& b, Matrix const& a) { return a * b; }, py::is_operator());
    bindInPlace<Matrix, Matrix>(c, "__iadd__", [](Matrix& a, Matrix const& b) { a += b; });
    bindInPlace<Matrix, Matrix>(c, "__isub__", [](Matrix& a, Matrix const& b) { a -= b; });
    bindInPlace<Matrix, double>(c, "__imul__", [](Matrix& a, double s) { a *= s; });
    bindInPlace<Matrix, double>(c, "__itruediv__", [](Matrix& a, double s) { a /= s; });

    c.def("transpose", &Matrix::transpose, "The transpose, copied.");
    c.def("getDiagVector", &Matrix::getDiagVector, "The elements (i, i).");
    c.def("frobeniusNorm", &Matrix::frobeniusNorm, "Square root of the sum of squares.");
    c.def("determinant3x3", &Matrix::determinant3x3, "Determinant of a 3 x 3 matrix.");
    c.def(
        "equals",
        [](Matrix const& a, Matrix const& b, double tol) { return a.equals(b, tol) != 0; },
        py::arg("m"), py::arg("tol"), "Whether no element differs by more than tol.");
    c.def(
        "invert", [](Matrix& a) { mutate(a, [](Matrix& x) { x.invert(); }); },
        "Replaces the matrix by its inverse. Raises MathError where it is singular.");
    c.def(
        "inverse", [](Matrix const& a) { return a.inverse(); },
        "The inverse. Raises MathError where the matrix is singular.");
}

template <class Fixed>
bool fixedFromPython(py::handle source, int n, std::optional<Fixed>& result)
{
    py::detail::make_caster<Matrix> caster;
    if (!caster.load(source, true)) return false;
    Matrix const* const m = caster.operator Matrix const*();
    if (m == nullptr || m->getRow() != n || m->getCol() != n) return false;
    result.emplace(*m);
    return true;
}

}  // namespace

bool isViewed(TVector<double> const& array)
{
    auto const& counts = viewCounts();
    return !counts.empty() && counts.contains(&array);
}

std::optional<py::array_t<double>> asDoubles(py::handle source, int ndim)
{
    py::array const any = py::array::ensure(source);  // null, without an error, where it is none
    if (!any || any.ndim() != ndim) return std::nullopt;
    if (std::string("biuf").find(any.dtype().kind()) == std::string::npos) return std::nullopt;
    return py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(any);
}

bool fromPython(py::handle source, std::optional<Vector>& result)
{
    auto const values = asDoubles(source, 1);
    if (values) result.emplace(values->data(), values->size());
    return values.has_value();
}

bool fromPython(py::handle source, std::optional<Matrix>& result)
{
    auto const values = asDoubles(source, 2);
    if (values) result.emplace(values->data(), values->shape(0), values->shape(1));
    return values.has_value();
}

bool fromPython(py::handle source, std::optional<MatrixR>& result)
{
    return fixedFromPython(source, 3, result);
}

bool fromPython(py::handle source, std::optional<MatrixTH>& result)
{
    return fixedFromPython(source, 4, result);
}

bool fromPython(py::handle source, std::vector<Vector>& result)
{
    result.clear();
    if (auto const values = asDoubles(source, 2)) {
        py::ssize_t const d = values->shape(1);
        result.reserve(static_cast<std::size_t>(values->shape(0)));
        for (py::ssize_t i = 0; i < values->shape(0); ++i)
            result.emplace_back(values->data() + i * d, d);
        return true;
    }
    auto const none = asDoubles(source, 1);
    return none && none->size() == 0;
}

Matrix rowsOf(std::vector<Vector> const& points, int dimension)
{
    Matrix rows(points.size(), points.empty() ? dimension : points.front().getSize());
    for (std::size_t i = 0; i < points.size(); ++i) rows.setRowVector(i, points[i]);
    return rows;
}

py::array asArray(py::handle viewed)
{
    // Through its memoryview, which fails where numpy would go on to ask for the elements.
    py::object const view =
        py::reinterpret_steal<py::object>(PyMemoryView_FromObject(viewed.ptr()));
    if (!view) throw py::error_already_set();
    return py::module_::import("numpy").attr("asarray")(view);
}

void bindArrays(py::module_& m)
{
    bindVector(m);
    bindMatrix(m);
}

}  // namespace measuremath::python
