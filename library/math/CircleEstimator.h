#pragma once

#include "math/RoundEstimator.h"

/// Circle by orthogonal distances: parameters (cx, cy, r), minimal sample 3; see
/// `RoundEstimator` for the residual, the method and what is degenerate.
class MEASUREMATH_API CircleEstimator : public RoundEstimator {
public:
    CircleEstimator();
};
