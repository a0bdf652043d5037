#include "math/BSpline.h"
#include "math/LMMinPack.h"
#include "math/LinearAlgebra.h"
#include "math/MatrixTH.h"
#include "math/Munkres.h"
#include "math/Quatern.h"
#include "support/RandomData.h"
#include "support/ScriptedCostFun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>
#include <utility>
#include <vector>

namespace {

// An exponential decay, fitted from values that it gives exactly.
double fittedRate(RandomData& random)
{
    double const rate = random.uniform(0.5, 1.5);
    Scripted<> f;
    f.initCostFun(8, 2);
    f.setBoolAnaDer(false);
    f.fun = [rate](Vector const& p, Vector& r) {
        for (int i = 0; i < r.getSize(); ++i)
            r[i] = p[0] * std::exp(-p[1] * i) - std::exp(-rate * i);
    };
    LMMinPack solver;
    solver.setCostFun(&f);
    solver.setInitVecSol(Vector::of({0.8, 1.0}));
    solver.solve();
    return solver.getVecSol()[1] - rate;
}

double curveEnds(RandomData& random)
{
    std::vector<Vector> points(9);
    for (Vector& point : points) point = random.vector(2);
    BSplineSimple curve;
    curve.init(4, points, false);
    Pix::ListPoint<double> samples;
    curve.splineToCurve(samples, 0.1);
    return samples.front().x + samples.back().y;
}

// Something of every kind of the library's work, as one number.
double work(unsigned int seed)
{
    RandomData random(seed);
    double result = 0.0;
    for (int round = 0; round < 20; ++round) {
        Matrix const A = random.matrix(6, 4);
        Matrix U(6, 4);
        Matrix V(4, 4);
        Vector S(4);
        svd(A, U, S, V);
        MatrixTH const T(Quaternion(0.8, 0.0, 0.6, 0.0), random.vector(3));
        Munkres grid(4, 6);
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 6; ++j)
                grid.setCell(i, j, CellType{.cost = random.uniform(0.0, 1.0)});
        grid.solve();
        result += S[3] + T.mapPoint(random.vector(3))[0] + fittedRate(random) + curveEnds(random) +
                  grid.getCell(0, 0).cost;
        EXPECT_THROW(random.vector(3) + random.vector(4), MathError);
    }
    return result;
}

// The thread sanitizer reports what the threads share.
TEST(Threads, WithSeparateObjectsDoNotDisturbEachOther)
{
    double const expected[] = {work(1), work(2)};
    double results[2] = {};
    std::thread other([&] { results[1] = work(2); });
    results[0] = work(1);
    other.join();
    EXPECT_EQ(results[0], expected[0]);
    EXPECT_EQ(results[1], expected[1]);
}

// Outlives what the main thread keeps of freed vectors.
Vector& lastOfAll()
{
    static Vector v;
    return v;
}

TEST(Threads, MayFreeEachOthersVectors)
{
    std::vector<Vector> points(1000);  // more than a thread keeps
    for (int round = 0; round < 3; ++round) {
        std::thread maker([&] {
            for (Vector& p : points) p = Vector::of({1, 2, 3});
            lastOfAll() = points.front() + points.back();
        });
        maker.join();
        Vector sum(3);
        for (Vector& p : points) sum += std::exchange(p, Vector());
        EXPECT_EQ(sum, 500.0 * lastOfAll());
    }
}

}  // namespace
