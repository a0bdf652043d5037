#pragma once

#include "math/Matrix.h"

#include <random>

/// Elements between -1 and 1, the same at each call.
inline Matrix randomMatrix(int rows, int cols)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    Matrix result(rows, cols);
    for (double& element : result) element = uniform(generator);
    return result;
}
