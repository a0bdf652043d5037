#include "Module.h"

#include "math/Version.h"

namespace py = pybind11;

PYBIND11_MODULE(measuremath, m)
{
    using namespace measuremath::python;

    m.doc() =
        "Numerical library for measurement in three dimensions.\n\n"
        "Names are those of the C++ library, and so are the conventions: angles in radians, "
        "matrices\n"
        "row-major and acting on columns, quaternions scalar first. What C++ writes into an "
        "output\n"
        "argument is returned, several outputs as a tuple. Misuse raises MathError, and so does a\n"
        "numerical failure of a function that returns values.\n\n"
        "Whatever takes a Vector or a Matrix takes an array or a list too; numpy.asarray(v) views\n"
        "the elements of v without a copy.";
    m.attr("__version__") = measuremath::versionString();
    py::register_exception<MathError>(m, "MathError").attr("__doc__") =
        "Misuse or numerical failure; the text says which.";

    bindArrays(m);
    bindRotations(m);
    bindTransforms(m);
    bindLinearAlgebra(m);
    bindShapes(m);
    bindEstimators(m);
    bindLeastSquares(m);
    bindKalman(m);
    bindSplines(m);
    bindAssignment(m);
}
