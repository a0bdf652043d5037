// Laws that hold whatever the data, on data that rapidcheck draws. It prints its seed;
// RC_PARAMS="seed=..." repeats a run, "max_success=..." sets the number of cases.

#include "accuracy/DecompositionErrors.h"
#include "math/BSpline.h"
#include "math/CircleEstimator.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/LineEstimator.h"
#include "math/MatrixTH.h"
#include "math/MeanEstimator.h"
#include "math/Munkres.h"
#include "math/PlanEstimator.h"
#include "math/Rotation.h"
#include "math/SphereEstimator.h"
#include "support/LogRecords.h"
#include "support/RandomData.h"
#include "support/ReferenceValues.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <ostream>
#include <string>
#include <vector>

namespace {

using Points = std::vector<Vector>;

// Points around a half turn of the cylinder or ellipse of these semi-axes, z in [-height, height].
template <int dimension>
Points around(RandomData& random, double a, double b, double height)
{
    Points points;
    for (int i = 0; i < 40; ++i) {
        double const u = 0.08 * i, noise = random.normal(0.01), z = random.uniform(-height, height);
        Vector const p = Vector::of({(a + noise) * std::cos(u), (b + noise) * std::sin(u), z});
        points.push_back(p(0, dimension));
    }
    return points;
}

Points onSphere(RandomData& random)
{
    Points points = around<3>(random, 1.0, 1.0, 0.8);
    for (Vector& p : points) p = (3.0 + random.normal(0.01)) / p.length() * p;
    return points;
}

template <class Model>
Vector residualsOf(Model& model, Points const& points)
{
    model.setDataColl(points);
    RC_ASSERT(model.estim());
    Vector residuals(model.getNbData());
    model.getResiduals(model.getEstimParams(), residuals);
    return residuals;
}

template <class Model>
Vector residualsBy(Points const& points)
{
    Model model;
    return residualsOf(model, points);
}

Vector distancesFromMean(Points const& points)
{
    MeanEstimator mean;
    mean.setDataSize(points[0].size());
    return residualsOf(mean, points);
}

// Coordinates along the axis of the largest variance.
Vector mainCoordinates(Points const& points)
{
    MatrixTH frame;
    frame.init(points.data(), points.size(), 0);
    Vector along(points.size());
    for (int i = 0; i < along.getSize(); ++i)
        along[i] = MatrixTH(frame.inverse()).mapPoint(points[static_cast<std::size_t>(i)])[0];
    return along;
}

Vector distancesFromSpline(Points const& points)
{
    BSplineSimple curve;
    curve.init(4, {points[0], points[10], points[20], points[30], points[39]}, true);
    curve.setSmoothParam(0.0);
    auto matched = curve.initMatchedPoints(points);
    curve.refinement(matched, 1);
    Vector distances(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) distances.begin()[i] = matched[i].distance;
    return distances;
}

// A fit by its residuals, up to sign: moved, turned and scaled data, in another order, give the same
// ones, times the scale to the power of `degree`. What a method does not promise is left out.
struct Law {
    std::string name;
    Points (*data)(RandomData&);
    Vector (*residuals)(Points const&);
    double reach = 1e4;    // of the motion; a conic's parameters hold the square of the distance
    bool turns = true;     // a conic's are scaled by that of x², which a turn changes
    double degree = 1.0;   // 0: no scaling, as for the plane with its unit vector (a, b, c, d)
    bool shuffles = true;  // the start of a spline depends on the order
    // Of sizes 1 to 5: the rounding of coordinates up to 5e4, amplified by half a turn, and what
    // iterations leave of residuals of 0.01.
    double tolerance = 1e-8;

    friend void PrintTo(Law const& law, std::ostream* os) { *os << law.name; }
};

Law const laws[] = {
    {"mean", [](RandomData& r) { return around<3>(r, 3, 2, 1); }, distancesFromMean},
    {"line", [](RandomData& r) { return around<2>(r, 5, 0.1, 0); }, residualsBy<LineEstimator>},
    {"circle", [](RandomData& r) { return around<2>(r, 3, 3, 0); }, residualsBy<CircleEstimator>},
    {"sphere", onSphere, residualsBy<SphereEstimator>},
    {"cylinder", [](RandomData& r) { return around<3>(r, 2, 2, 4); },
     residualsBy<CylinderEstimator>},
    {"ellipse", [](RandomData& r) { return around<2>(r, 5, 3, 0); }, residualsBy<EllipseEstimator>,
     100.0, false, 2.0},
    {"plane", [](RandomData& r) { return around<3>(r, 5, 0.1, 3); }, residualsBy<PlanEstimator>,
     0.0, true, 0.0},
    {"axes", [](RandomData& r) { return around<3>(r, 5, 2, 1); }, mainCoordinates},
    // The feet of the points are found to 1e-6 of a span or so.
    {"spline", [](RandomData& r) { return around<2>(r, 5, 3, 0); }, distancesFromSpline, 1e4, true,
     1.0, false, 1e-6},
};

Matrix rotation(RandomData& random, int dimension)
{
    Matrix R(3, 3, Matrix::IDENTITY);
    vectToMatrix(dimension == 2 ? random.uniform(-3.0, 3.0) * Vector::of({0, 0, 1})
                                : random.vector(3, -2.0, 2.0),
                 R);
    return R(0, 0, dimension, dimension);
}

class Fits : public testing::TestWithParam<Law> {
protected:
    LogRecorder quiet{g_MathLogger, log4cplus::OFF_LOG_LEVEL};
};

TEST_P(Fits, FollowTheirDataInAnyOrder)
{
    Law const& law = GetParam();
    bool const holds = rc::check([&law] {
        RandomData random(*rc::gen::arbitrary<unsigned int>());
        double const scale = law.degree == 0.0 ? 1.0 : std::pow(2.0, *rc::gen::inRange(-200, 201));
        double const reach = law.reach * *rc::gen::inRange(0, 3);
        Points const points = law.data(random);
        int const dimension = points[0].getSize();
        Matrix const R = law.turns ? rotation(random, dimension)
                                   : Matrix(dimension, dimension, Matrix::IDENTITY);
        Vector const shift = reach * random.vector(dimension);

        std::vector<std::size_t> order(points.size());
        std::iota(order.begin(), order.end(), 0U);
        for (std::size_t i = 0; law.shuffles && i < order.size(); ++i)
            std::swap(order[i], order[static_cast<std::size_t>(random.integer(0, 39))]);
        Points moved;
        for (std::size_t const i : order) moved.push_back(scale * (R * points[i] + shift));

        Vector const before = law.residuals(points), after = law.residuals(moved);
        double const unit = std::pow(scale, law.degree);
        for (std::size_t i = 0; i < order.size(); ++i)
            RC_ASSERT(std::abs(std::abs(after[i]) / unit - std::abs(before[order[i]])) <
                      law.tolerance);
    });
    EXPECT_TRUE(holds);
}
INSTANTIATE_TEST_SUITE_P(OfEveryModel, Fits, testing::ValuesIn(laws),
                         [](auto const& law) { return law.param.name; });

// Either set may be moved, and both scaled: what is left between them stays.
RC_GTEST_PROP(Registration, FollowsBothSets, ())
{
    RandomData random(*rc::gen::arbitrary<unsigned int>());
    double const scale = std::pow(2.0, *rc::gen::inRange(-200, 201));
    bool const noScale = *rc::gen::arbitrary<bool>();
    Points a = around<3>(random, 5, 2, 3), b = around<3>(random, 4, 3, 3);
    auto const misfits = [&] {
        MatrixTH M;
        double const s = M.init(a.data(), b.data(), a.size(), nullptr, noScale);
        Vector left(a.size());
        for (std::size_t i = 0; i < a.size(); ++i)
            left[i] = (b[i] - s * (M.getMatrixRot() * a[i]) - M.getVectorPos()).length();
        return left;
    };
    Vector const before = misfits();
    Matrix const P = rotation(random, 3), Q = rotation(random, 3);
    Vector const p = random.vector(3, -1e4, 1e4), q = random.vector(3, -1e4, 1e4);
    for (Vector& x : a) x = scale * (P * x + p);
    for (Vector& x : b) x = scale * (Q * x + q);
    Vector const after = misfits();
    for (int i = 0; i < before.getSize(); ++i)
        RC_ASSERT(std::abs(after[i] / scale - before[i]) < 1e-9);
}

RC_GTEST_PROP(Decompositions, RebuildTheirMatrixFromOrthogonalFactors, ())
{
    RandomData random(*rc::gen::arbitrary<unsigned int>());
    int const m = *rc::gen::inRange(1, 20), n = *rc::gen::inRange(1, 20);
    double const scale = std::pow(2.0, *rc::gen::inRange(-400, 401));
    Matrix const A = scale * random.matrix(m, n);
    Vector const b = scale * random.vector(m);
    Domain const domain = m < n ? Domain::ANY : m == n ? Domain::SQUARE : Domain::TALL;
    for (Decomposition const& d : decompositions()) {
        if (d.domain > domain) continue;
        ScaledErrors const errors = d.errors(A, b);
        RC_LOG() << d.name << " of " << m << " x " << n;
        RC_ASSERT(errors.residual < 30.0 && errors.orthogonality < 30.0);  // as LAPACK's own tests
    }
}

RC_GTEST_PROP(Rotations, ComeBackFromEveryForm, ())
{
    constexpr double tolerance = 8.0;  // in ulp: two conversions and a product
    RandomData random(*rc::gen::arbitrary<unsigned int>());
    Matrix const R = rotation(random, 3);
    RC_ASSERT(ulps(R.transpose() * R, Matrix(3, 3, Matrix::IDENTITY)) < tolerance);
    Vector v(3), q(4), e(3);
    matrixToVect(R, v);
    matrixToQuat(R, q);
    matrixToEuler(R, e);
    Matrix fromVector(3, 3), fromQuaternion(3, 3), fromAngles(3, 3);
    vectToMatrix(v, fromVector);
    quatToMatrix(q, fromQuaternion);
    eulerToMatrix(e, fromAngles);
    for (Matrix const& back : {fromVector, fromQuaternion, fromAngles})
        RC_ASSERT(ulps(back, R) < tolerance);
}

// The least total over all ways to give each line of the shorter kind one of the longer kind.
double leastTotal(Matrix const& costs)
{
    if (costs.getRow() > costs.getCol()) return leastTotal(costs.transpose());
    std::vector<int> cols(costs.getNbCol());
    std::iota(cols.begin(), cols.end(), 0);
    double least = HUGE_VAL;
    do {
        double sum = 0.0;
        for (int i = 0; i < costs.getRow(); ++i) sum += costs[i][cols[static_cast<std::size_t>(i)]];
        least = std::min(least, sum);
    } while (std::ranges::next_permutation(cols).found);
    return least;
}

RC_GTEST_PROP(Assignments, AreTheCheapestOfAll, ())
{
    RandomData random(*rc::gen::arbitrary<unsigned int>());
    bool const hasTies = *rc::gen::arbitrary<bool>();
    Matrix costs = random.matrix(*rc::gen::inRange(1, 7), *rc::gen::inRange(1, 7), 0.0, 10.0);
    if (hasTies)
        for (double& cost : costs) cost = std::floor(cost);
    int const rows = costs.getRow(), cols = costs.getCol();
    Munkres grid(rows, cols);
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) grid.setCell(i, j, CellType{.cost = costs[i][j]});
    grid.solve();

    Vector inRow(rows), inCol(cols);
    double total = 0.0;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j) {
            if (!grid.getCell(i, j).starred) continue;
            total += costs[i][j];
            RC_ASSERT(++inRow[i] == 1.0 && ++inCol[j] == 1.0);
        }
    RC_ASSERT(std::reduce(inRow.begin(), inRow.end()) == std::min(rows, cols));
    RC_ASSERT(std::abs(total - leastTotal(costs)) < 1e-13);  // a few sums of costs below 10
}

}  // namespace
