// Small vectors as user code writes them, copies, element access, and large collections of points.

#include "math/Vector.h"

#include "support/Check.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#ifdef MEASUREMATH_HAVE_EIGEN
#include <Eigen/Dense>
#endif

namespace {

using Plain = std::array<double, 3>;

template <class V>
struct Operands {
    V a, b, c, d;
    double s, t;
};

// The same numbers for every kind of vector.
template <class V>
std::vector<Operands<V>> makeOperands(std::int64_t count)
{
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> uniform(1.0, 2.0);
    auto const point = [&] {
        V p(3);
        for (int i = 0; i < 3; ++i) p[i] = uniform(generator);
        return p;
    };
    std::vector<Operands<V>> all;
    for (std::int64_t i = 0; i < count; ++i)
        all.push_back({point(), point(), point(), point(), uniform(generator), uniform(generator)});
    return all;
}

Vector cross(Vector const& a, Vector const& b)
{
    return a.cross(b);
}
double norm(Vector const& a)
{
    return a.length();
}

#ifdef MEASUREMATH_HAVE_EIGEN
template <class A>
auto cross(Eigen::MatrixBase<A> const& a, Eigen::MatrixBase<A> const& b)
{
    return a.template head<3>().cross(b.template head<3>());
}
template <class A>
double norm(Eigen::MatrixBase<A> const& a)
{
    return a.norm();
}
#endif

// One expression, which expression templates evaluate in one pass.
struct Expression {
    template <class V>
    static V of(Operands<V> const& o)
    {
        return o.a + o.s * o.b - cross(o.c, o.d) / o.t;
    }

    template <class V>
    static Plain expected(Operands<V> const& o)
    {
        Plain w;
        for (int i = 0; i < 3; ++i) {
            int const j = (i + 1) % 3, k = (i + 2) % 3;
            w[i] = o.a[i] + o.s * o.b[i] - (o.c[j] * o.d[k] - o.c[k] * o.d[j]) / o.t;
        }
        return w;
    }
};

// The foot of c on the line through a and b, moved along the normal of a, b and c: the named steps
// of user code, each a vector of its own.
struct Chain {
    template <class V>
    static V of(Operands<V> const& o)
    {
        V const direction = o.b - o.a;
        V const unit = direction / norm(direction);
        V const arm = o.c - o.a;
        V const foot = o.a + unit.dot(arm) * unit;
        V const normal = cross(unit, arm);
        return foot + o.s * normal - o.d / o.t;
    }

    template <class V>
    static Plain expected(Operands<V> const& o)
    {
        Plain unit, arm, result;
        for (int i = 0; i < 3; ++i) {
            unit[i] = o.b[i] - o.a[i];
            arm[i] = o.c[i] - o.a[i];
        }
        double const length = std::hypot(unit[0], unit[1], unit[2]);
        for (double& x : unit) x /= length;
        double const along = unit[0] * arm[0] + unit[1] * arm[1] + unit[2] * arm[2];
        for (int i = 0; i < 3; ++i) {
            int const j = (i + 1) % 3, k = (i + 2) % 3;
            result[i] = o.a[i] + along * unit[i] + o.s * (unit[j] * arm[k] - unit[k] * arm[j]) -
                        o.d[i] / o.t;
        }
        return result;
    }
};

template <class Work, class V>
void evaluate(benchmark::State& state)
{
    std::vector<Operands<V>> const operands = makeOperands<V>(state.range(0));
    for (Operands<V> const& o : operands) {
        V const actual = Work::of(o);
        Plain const expected = Work::expected(o);
        for (int i = 0; i < 3; ++i)  // 20 roundings of terms below 10
            requireRight(std::abs(actual[i] - expected[i]) < 4e-14, state);
    }
    for (auto _ : state)
        for (Operands<V> const& o : operands) benchmark::DoNotOptimize(Work::of(o));
}

Vector counting(benchmark::State const& state)
{
    Vector v(state.range(0));
    double value = 0.0;
    for (double& x : v) x = ++value;
    return v;
}

void copyShared(benchmark::State& state)
{
    Vector const v = counting(state);
    for (auto _ : state) {
        Vector const copy = v;
        benchmark::DoNotOptimize(copy.begin());
    }
    Vector const copy = v;
    requireRight(copy.begin() == v.begin(), state);
}

void copyDeep(benchmark::State& state)
{
    Vector const v = counting(state);
    for (auto _ : state) {
        Vector copy;
        benchmark::DoNotOptimize(copy.initVector(v).begin());
    }
}

void requireSumOfCounting(double sum, benchmark::State& state)
{
    double const n = static_cast<double>(state.range(0));
    requireRight(sum == n * (n + 1.0) / 2.0, state);
}

// The loop that hot code should have: the pointer taken once.
void sumThroughPointer(benchmark::State& state)
{
    Vector const v = counting(state);
    int const n = v.getSize();
    double sum = 0.0;
    for (auto _ : state) {
        sum = 0.0;
        double const* const p = v.begin();
        for (int i = 0; i < n; ++i) sum += p[i];
        benchmark::DoNotOptimize(sum);
    }
    requireSumOfCounting(sum, state);
}

// Through `V const&` an index only reads; through `V&` it asks each time who else holds the buffer.
template <class V>
void sumThroughIndex(benchmark::State& state)
{
    Vector vector = counting(state);
    V& v = vector;
    int const n = v.getSize();
    double sum = 0.0;
    for (auto _ : state) {
        sum = 0.0;
        for (int i = 0; i < n; ++i) sum += v[i];
        benchmark::DoNotOptimize(sum);
    }
    requireSumOfCounting(sum, state);
}

// A collection of points, filled and freed.
template <class Collection>
void fillAndFree(benchmark::State& state, Collection fill)
{
    double sum = 0.0;
    for (auto _ : state) {
        auto const points = fill(static_cast<std::size_t>(state.range(0)));
        benchmark::DoNotOptimize(sum = points.back()[0] + points.front()[2]);
    }
    requireRight(sum == static_cast<double>(state.range(0) + 1), state);
}

template <class Point, class Make>
std::vector<Point> collection(std::size_t n, Make make)
{
    std::vector<Point> points;
    points.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        points.push_back(make());
        double* const p = &points.back()[0];
        p[0] = static_cast<double>(i);
        p[1] = 1.0;
        p[2] = 2.0;
    }
    return points;
}

void fillOurs(benchmark::State& state)
{
    fillAndFree(state, [](std::size_t n) {
        return collection<Vector>(n, [] { return Vector(3, Vector::NO_INIT); });
    });
}

void fillByNew(benchmark::State& state)
{
    using Point = std::unique_ptr<double[]>;
    fillAndFree(state, [](std::size_t n) {
        return collection<Point>(n, [] { return Point(new double[3]); });
    });
}

BENCHMARK(evaluate<Expression, Vector>)->Name("VectorExpression/ours")->Arg(1000);
BENCHMARK(evaluate<Chain, Vector>)->Name("VectorChain/ours")->Arg(1000);

BENCHMARK(copyShared)->Name("VectorCopy/ours")->Arg(3)->Arg(1000);
BENCHMARK(copyDeep)->Name("VectorCopy/deep")->Arg(3)->Arg(1000);

BENCHMARK(sumThroughPointer)->Name("VectorSum/ours")->Arg(1000);
BENCHMARK(sumThroughIndex<Vector const>)->Name("VectorSum/index of const")->Arg(1000);
BENCHMARK(sumThroughIndex<Vector>)->Name("VectorSum/index")->Arg(1000);

BENCHMARK(fillOurs)->Name("PointsFillAndFree/ours")->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(fillByNew)->Name("PointsFillAndFree/new")->Arg(1000000)->Unit(benchmark::kMillisecond);

#ifdef MEASUREMATH_HAVE_EIGEN

void fillEigen(benchmark::State& state)
{
    fillAndFree(state, [](std::size_t n) {
        return collection<Eigen::VectorXd>(n, [] { return Eigen::VectorXd(3); });
    });
}

BENCHMARK(evaluate<Expression, Eigen::VectorXd>)->Name("VectorExpression/Eigen")->Arg(1000);
BENCHMARK(evaluate<Expression, Eigen::Vector3d>)->Name("VectorExpression/Eigen fixed")->Arg(1000);
BENCHMARK(evaluate<Chain, Eigen::VectorXd>)->Name("VectorChain/Eigen")->Arg(1000);
BENCHMARK(evaluate<Chain, Eigen::Vector3d>)->Name("VectorChain/Eigen fixed")->Arg(1000);
BENCHMARK(fillEigen)->Name("PointsFillAndFree/Eigen")->Arg(1000000)->Unit(benchmark::kMillisecond);

#endif

}  // namespace
