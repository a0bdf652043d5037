#pragma once

#include "math/RoundEstimator.h"

/// Sphere by orthogonal distances: parameters (cx, cy, cz, r), minimal sample 4; see
/// `RoundEstimator` for the residual, the method and what is degenerate.
class MEASUREMATH_API SphereEstimator : public RoundEstimator {
public:
    SphereEstimator();
};
