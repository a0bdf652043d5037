#pragma once

// Least-squares problems with analytic derivatives, for our solver and those of the peers.

#include "math/Vector.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

inline constexpr double tolerance = 0x1p-26;

// Where the derivatives go: by rows for us, by columns for MINPACK.
struct JacobianView {
    double* data;
    std::ptrdiff_t row;
    std::ptrdiff_t column;

    double& operator()(std::ptrdiff_t i, std::ptrdiff_t j) const
    {
        return data[i * row + j * column];
    }
};

inline std::vector<double> noise(int n)
{
    std::mt19937 generator(1);
    std::normal_distribution<double> normal(0.0, 0.01);
    std::vector<double> values;
    for (int i = 0; i < n; ++i) values.push_back(normal(generator));
    return values;
}

// y = a exp(-b t) + c.
class Exponential {
public:
    static constexpr int n = 3;

    explicit Exponential(int size) : _y(noise(size)), _step(5.0 / size)
    {
        for (int i = 0; i < size; ++i) _y[i] += 2.0 * std::exp(-1.3 * _step * i) + 0.5;
    }

    int m() const { return static_cast<int>(_y.size()); }
    static Vector start() { return Vector::of({1.0, 0.5, 0.0}); }
    static Vector truth() { return Vector::of({2.0, 1.3, 0.5}); }

    void residuals(double const* p, double* r) const
    {
        for (int i = 0; i < m(); ++i) r[i] = p[0] * std::exp(-p[1] * _step * i) + p[2] - _y[i];
    }

    void jacobian(double const* p, JacobianView J) const
    {
        for (int i = 0; i < m(); ++i) {
            double const t = _step * i;
            double const e = std::exp(-p[1] * t);
            J(i, 0) = e;
            J(i, 1) = -p[0] * t * e;
            J(i, 2) = 1.0;
        }
    }

private:
    std::vector<double> _y;
    double _step;
};

// y = (a + b t + c t²) / (1 + d t + e t²).
class Rational {
public:
    static constexpr int n = 5;

    explicit Rational(int size) : _y(noise(size)), _step(4.0 / size)
    {
        Vector const p = truth();
        for (int i = 0; i < size; ++i)
            _y[i] += numerator(p.begin(), t(i)) / denominator(p.begin(), t(i));
    }

    int m() const { return static_cast<int>(_y.size()); }
    static Vector start() { return Vector::of({1.0, 1.0, 1.0, 0.0, 0.0}); }
    static Vector truth() { return Vector::of({1.0, 2.0, 3.0, -0.4, 0.3}); }

    void residuals(double const* p, double* r) const
    {
        for (int i = 0; i < m(); ++i) r[i] = numerator(p, t(i)) / denominator(p, t(i)) - _y[i];
    }

    void jacobian(double const* p, JacobianView J) const
    {
        for (int i = 0; i < m(); ++i) {
            double const u = 1.0 / denominator(p, t(i));
            double const f = numerator(p, t(i)) * u;
            J(i, 0) = u;
            J(i, 1) = u * t(i);
            J(i, 2) = u * t(i) * t(i);
            J(i, 3) = -f * u * t(i);
            J(i, 4) = -f * u * t(i) * t(i);
        }
    }

private:
    double t(int i) const { return _step * i - 2.0; }
    static double numerator(double const* p, double t) { return p[0] + t * (p[1] + t * p[2]); }
    static double denominator(double const* p, double t) { return 1.0 + t * (p[3] + t * p[4]); }

    std::vector<double> _y;
    double _step;
};

// Centre and radius of a sphere through measured points.
class Sphere {
public:
    static constexpr int n = 4;

    explicit Sphere(int size) : _points(noise(3 * size))
    {
        for (int i = 0; i < size; ++i) {
            double const z = std::cos(0.001 + 3.0 * i / size);
            double const s = std::sqrt(1.0 - z * z);
            double const center[] = {1.0, 2.0, 3.0};
            double const direction[] = {s * std::cos(7.0 * i), s * std::sin(7.0 * i), z};
            for (int k = 0; k < 3; ++k) _points[3 * i + k] += center[k] + 4.0 * direction[k];
        }
    }

    int m() const { return static_cast<int>(_points.size()) / 3; }
    static Vector start() { return Vector::of({0.0, 0.0, 0.0, 1.0}); }
    static Vector truth() { return Vector::of({1.0, 2.0, 3.0, 4.0}); }

    void residuals(double const* p, double* r) const
    {
        double const* q = _points.data();
        for (int i = 0; i < m(); ++i, q += 3) r[i] = distance(p, q) - p[3];
    }

    void jacobian(double const* p, JacobianView J) const
    {
        double const* q = _points.data();
        for (int i = 0; i < m(); ++i, q += 3) {
            double const u = 1.0 / distance(p, q);
            for (int k = 0; k < 3; ++k) J(i, k) = (p[k] - q[k]) * u;
            J(i, 3) = -1.0;
        }
    }

private:
    static double distance(double const* p, double const* q)
    {
        double const x = q[0] - p[0], y = q[1] - p[1], z = q[2] - p[2];
        return std::sqrt(x * x + y * y + z * z);
    }

    std::vector<double> _points;
};

// Pose of a camera from points of known position: three Euler angles and a translation, two residuals
// a point.
class Pose {
public:
    static constexpr int n = 6;

    explicit Pose(int size) : _points(3 * size), _images(2 * size)
    {
        std::mt19937 generator(2);
        std::uniform_real_distribution<double> uniform(-1.0, 1.0);
        for (double& x : _points) x = uniform(generator);
        std::vector<double> exact(2 * size);
        residuals(truth().begin(), exact.data());  // of images that are still zero
        std::vector<double> const errors = noise(2 * size);
        for (int i = 0; i < 2 * size; ++i) _images[i] = exact[i] + 0.1 * errors[i];
    }

    int m() const { return static_cast<int>(_images.size()); }
    static Vector start() { return Vector::of({0.0, 0.0, 0.0, 0.0, 0.0, 4.0}); }
    static Vector truth() { return Vector::of({0.3, -0.2, 0.1, 0.2, -0.1, 5.0}); }

    void residuals(double const* p, double* r) const
    {
        Frame const frame(p);
        for (int i = 0; i < m() / 2; ++i) {
            double rotated[3];
            frame.rotate(&_points[3 * i], rotated);
            double const z = rotated[2] + p[5];
            r[2 * i] = (rotated[0] + p[3]) / z - _images[2 * i];
            r[2 * i + 1] = (rotated[1] + p[4]) / z - _images[2 * i + 1];
        }
    }

    void jacobian(double const* p, JacobianView J) const
    {
        Frame const frame(p);
        for (int i = 0; i < m() / 2; ++i) {
            double y[3];
            frame.rotate(&_points[3 * i], y);
            double const u = 1.0 / (y[2] + p[5]);
            double const image[] = {(y[0] + p[3]) * u, (y[1] + p[4]) * u};
            for (int k = 0; k < 3; ++k) {
                double const* const a = frame.axis[k];
                double const dx = a[1] * y[2] - a[2] * y[1];
                double const dy = a[2] * y[0] - a[0] * y[2];
                double const dz = a[0] * y[1] - a[1] * y[0];
                J(2 * i, k) = (dx - image[0] * dz) * u;
                J(2 * i + 1, k) = (dy - image[1] * dz) * u;
            }
            J(2 * i, 3) = J(2 * i + 1, 4) = u;
            J(2 * i, 4) = J(2 * i + 1, 3) = 0.0;
            J(2 * i, 5) = -image[0] * u;
            J(2 * i + 1, 5) = -image[1] * u;
        }
    }

private:
    // Rz(e0) Ry(e1) Rx(e2), and the axes about which the three angles turn.
    struct Frame {
        explicit Frame(double const* e)
        {
            double const c0 = std::cos(e[0]), s0 = std::sin(e[0]), c1 = std::cos(e[1]);
            double const s1 = std::sin(e[1]), c2 = std::cos(e[2]), s2 = std::sin(e[2]);
            double const rows[3][3] = {{c0 * c1, c0 * s1 * s2 - s0 * c2, c0 * s1 * c2 + s0 * s2},
                                       {s0 * c1, s0 * s1 * s2 + c0 * c2, s0 * s1 * c2 - c0 * s2},
                                       {-s1, c1 * s2, c1 * c2}};
            double const axes[3][3] = {{0.0, 0.0, 1.0}, {-s0, c0, 0.0}, {c0 * c1, s0 * c1, -s1}};
            std::copy(&rows[0][0], &rows[0][0] + 9, &R[0][0]);
            std::copy(&axes[0][0], &axes[0][0] + 9, &axis[0][0]);
        }

        void rotate(double const* x, double* y) const
        {
            for (int k = 0; k < 3; ++k) y[k] = R[k][0] * x[0] + R[k][1] * x[1] + R[k][2] * x[2];
        }

        double R[3][3];
        double axis[3][3];
    };

    std::vector<double> _points;
    std::vector<double> _images;
};
