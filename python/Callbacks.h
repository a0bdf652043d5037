#pragma once

/// @file
/// Calls from the library into Python: results, and what may not happen meanwhile.

#include "Arrays.h"

#include <string>

namespace measuremath::python {

/// Copies what a Python function returned into `out`, whose size it must have.
/// @throws TypeError when it is no array of real numbers; ValueError when its size is another.
void assign(py::handle result, Vector& out, char const* function);
void assign(py::handle result, Matrix& out, char const* function);  ///< @copydoc assign

/// The values as an array of Python's own.
inline py::array_t<double> arrayOf(Vector const& v)
{
    return py::array_t<double>(v.getSize(), v.begin());
}

/// The method `name` of the Python subclass that `object` is of.
/// @throws NotImplementedError unless the subclass has it.
template <class Class>
py::function overrideOf(Class const* object, char const* name)
{
    py::function method = py::get_override(object, name);
    if (!method) {
        PyErr_SetString(PyExc_NotImplementedError,
                        (std::string(name) + " is to be defined").c_str());
        throw py::error_already_set();
    }
    return method;
}

/// What `object` holds, or null for None.
/// @throws TypeError when it is of another class.
template <class Class>
Class* pointerTo(py::object const& object)
{
    if (!object.is_none() && !py::isinstance<Class>(object))
        throw py::type_error("not a " +
                             std::string(py::str(py::type::of<Class>().attr("__name__"))));
    return object.cast<Class*>();
}

/// The calls of an object into Python that are under way. What they call must not change it.
class Calls {
public:
    /// @throws MathError "Not from within a callback of the same object".
    void requireNone() const
    {
        require(_depth == 0, "Not from within a callback of the same object");
    }

    template <class Function>
    auto during(Function function)
    {
        struct Leave {
            int& depth;
            ~Leave() { --depth; }
        };
        ++_depth;
        Leave const leave{_depth};
        return function();
    }

private:
    int _depth = 0;
};

/// What a library object that holds a pointer to another one needs besides: it keeps the Python
/// object alive. A base of the class that Python sees in place of the library's.
struct Keeper {
    virtual ~Keeper() = default;

    py::object kept;      ///< The estimator or the cost function, or null.
    py::object callback;  ///< A function of Python, or null.
    Calls calls;
};

/// `Base` with what it needs for Python.
template <class Base>
class Keeping : public Base, public Keeper {
};

}  // namespace measuremath::python
