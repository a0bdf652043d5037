#pragma once

#include "math/Matrix.h"
#include "math/Vector.h"

#include <random>
#include <vector>

/// Test data that the seed alone determines; each test makes its own.
class RandomData {
public:
    explicit RandomData(unsigned int seed) : _generator(seed) {}

    /// Uniform over [low, high).
    double uniform(double low, double high)
    {
        return std::uniform_real_distribution<double>(low, high)(_generator);
    }

    /// Uniform over {low, ..., high}.
    int integer(int low, int high)
    {
        return std::uniform_int_distribution<int>(low, high)(_generator);
    }

    /// Normal with mean 0.
    double normal(double sigma) { return sigma * std::normal_distribution<double>()(_generator); }

    /// `n` elements uniform over [low, high).
    Vector vector(int n, double low = -1.0, double high = 1.0)
    {
        Vector v(n, Vector::NO_INIT);
        for (double& value : v) value = uniform(low, high);
        return v;
    }

    /// `count` vectors of `n` elements uniform over [low, high).
    std::vector<Vector> vectors(int count, int n, double low = -1.0, double high = 1.0)
    {
        std::vector<Vector> result(static_cast<std::size_t>(count));
        for (Vector& v : result) v = vector(n, low, high);
        return result;
    }

    /// `rows` × `cols` elements uniform over [low, high).
    Matrix matrix(int rows, int cols, double low = -1.0, double high = 1.0)
    {
        Matrix m(rows, cols, Matrix::NO_INIT);
        for (double& value : m) value = uniform(low, high);
        return m;
    }

private:
    std::mt19937_64 _generator;
};
