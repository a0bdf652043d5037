#pragma once

/// @file
/// The families of the module, one source each, in the order in which they need each other.

#include "Arrays.h"

namespace measuremath::python {

void bindArrays(py::module_& m);         ///< Vector, Matrix
void bindRotations(py::module_& m);      ///< Rotation.h, Spherical.h and the rotation classes
void bindTransforms(py::module_& m);     ///< MatrixTH
void bindLinearAlgebra(py::module_& m);  ///< LinearAlgebra.h, SVDSolver, PCAAnalysis, poly
void bindShapes(py::module_& m);         ///< conics, lines, cross ratios, ConvexPolyedron
void bindEstimators(py::module_& m);     ///< the models, Ransac, LMedS
void bindLeastSquares(py::module_& m);   ///< CostFun, LMMinPack
void bindKalman(py::module_& m);         ///< KalmanIekf
void bindSplines(py::module_& m);        ///< BSpline, BSplineSimple
void bindAssignment(py::module_& m);     ///< Munkres, and the random numbers

}  // namespace measuremath::python
