#include "Callbacks.h"

namespace measuremath::python {

namespace {

std::string shapeOf(Vector const& v)
{
    return std::to_string(v.getSize());
}

std::string shapeOf(Matrix const& m)
{
    return std::to_string(m.getRow()) + " x " + std::to_string(m.getCol());
}

template <class Array>
void assignArray(py::handle result, Array& out, char const* function)
{
    py::detail::make_caster<Array> caster;
    if (result.is_none() || !caster.load(result, true))
        throw py::type_error(std::string(function) + " must return an array of real numbers");
    Array const& values = caster.operator Array const&();
    if (shapeOf(values) != shapeOf(out))
        throw py::value_error(std::string(function) + " must return " + shapeOf(out) +
                              " values, not " + shapeOf(values));
    std::copy(values.begin(), values.end(), out.begin());
}

}  // namespace

void assign(py::handle result, Vector& out, char const* function)
{
    assignArray(result, out, function);
}

void assign(py::handle result, Matrix& out, char const* function)
{
    assignArray(result, out, function);
}

}  // namespace measuremath::python
