#pragma once

/// @file
/// The families of the module, one source each, in the order in which they need each other.

#include "Arrays.h"

namespace measuremath::python {

void bindArrays(py::module_& m);  ///< Vector, Matrix
void bindRotations(
    py::module_& m);  ///< Rotation.h, Spherical.h, Euler, Quaternion, VectorR, MatrixR
void bindTransforms(py::module_& m);  ///< MatrixTH

}  // namespace measuremath::python
