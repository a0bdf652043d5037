#include "math/BSpline.h"
#include "math/Buckets.h"
#include "math/CircleEstimator.h"
#include "math/Conic.h"
#include "math/ConvexPolyedron.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/Kalman.h"
#include "math/LMMinPack.h"
#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/LineUtils.h"
#include "math/LinearAlgebra.h"
#include "math/MatrixTH.h"
#include "math/Munkres.h"
#include "math/PCAAnalysis.h"
#include "math/PlanEstimator.h"
#include "math/Powell.h"
#include "math/Ransac.h"
#include "math/Rotation.h"
#include "math/SVDSolver.h"
#include "math/poly.h"
#include "support/RandomData.h"
#include "support/ScriptedCostFun.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

// A program of its own, in which every request for memory through `operator new` can be made to
// fail. Containers keep small blocks for reuse unless an address sanitizer is in the build: there
// every request of the library passes here.
namespace {

std::atomic<long> blocksHeld = 0;
thread_local long requestsLeft = 0;  // until the one that fails; 0: none fails

void* take(std::size_t size)
{
    if (requestsLeft > 0 && --requestsLeft == 0) throw std::bad_alloc();
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    ++blocksHeld;
    return block;
}

void give(void* block) noexcept
{
    if (block != nullptr) --blocksHeld;
    std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return take(size); }
void* operator new[](std::size_t size) { return take(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept
try {
    return take(size);
} catch (std::bad_alloc const&) {
    return nullptr;
}
void operator delete(void* block) noexcept { give(block); }
void operator delete[](void* block) noexcept { give(block); }
void operator delete(void* block, std::size_t) noexcept { give(block); }
void operator delete[](void* block, std::size_t) noexcept { give(block); }

namespace {

void describe(std::ostream& out, Vector const& v) { out << v; }
void describe(std::ostream& out, Matrix const& m) { out << m; }
void describe(std::ostream& out, std::vector<Vector> const& points)
{
    for (Vector const& p : points) out << p;
}
void describe(std::ostream& out, Munkres const& grid)
{
    for (int i = 0; i < grid.getRow(); ++i)
        for (int j = 0; j < grid.getCol(); ++j)
            out << grid.getCell(i, j).cost << grid.getCell(i, j).starred << ' ';
}
void describe(std::ostream& out, BSpline const& curve)
{
    out << curve.getOrder() << curve.getKnots();
    describe(out, curve.getControlPoints());
    out << curve.getXControlPoints() << curve.getVectorSpanMatrix().size();
}
void describe(std::ostream& out, std::vector<MatchedPointInfo> const& points)
{
    for (MatchedPointInfo const& p : points) out << p.s << ' ' << p.weight << ' ';
}
void describe(std::ostream& out, Kalman const& filter)
{
    out << filter.getParams() << filter.getParamsCov();
}
void describe(std::ostream& out, ConvexPolyedron const& body) { out << body.getNbPlanes(); }
void describe(std::ostream& out, Pix::ListPoint<double> const& list) { out << list.size(); }

// An operation on objects of its caller, which hold their values when it fails.
struct Operation {
    std::function<void()> run;
    std::function<std::string()> state;
};

template <class Run, class... Objects>
Operation on(std::tuple<Objects...> objects, Run run)
{
    auto const held = std::make_shared<std::tuple<Objects...>>(std::move(objects));
    return {[held, run] { std::apply(run, *held); },
            [held] {
                std::ostringstream out;
                std::apply([&](auto const&... object) { (describe(out, object), ...); }, *held);
                return out.str();
            }};
}

template <class... Objects>
std::tuple<Objects...> with(Objects... objects)
{
    return {std::move(objects)...};
}

struct Case {
    char const* name;
    Operation (*make)();
};

std::ostream& operator<<(std::ostream& out, Case const& c) { return out << c.name; }

// Larger than what containers hold without a buffer of their own on the heap.
Matrix wide() { return RandomData(1).matrix(5, 5); }
Matrix tall() { return RandomData(2).matrix(9, 4); }
Matrix positive()
{
    Matrix const A = RandomData(7).matrix(9, 6);
    return A.transpose() * A;
}
Vector right(int n) { return RandomData(3).vector(n); }
Vector xyz() { return RandomData(4).vector(3); }

std::vector<Vector> cloud(int n, int dimension)
{
    RandomData random(5);
    std::vector<Vector> points;
    for (int i = 0; i < n; ++i) points.push_back(random.vector(dimension));
    return points;
}

ConvexPolyedron cube()
{
    ConvexPolyedron body;
    for (int axis = 0; axis < 3; ++axis) {
        for (double const sign : {-1.0, 1.0}) {
            Vector plane(4);
            plane[axis] = sign;
            plane[3] = -1.0;
            body.addPlane(plane);
        }
    }
    return body;
}

Munkres assignment()
{
    Munkres grid(4, 5);
    RandomData random(6);
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 5; ++j) grid.setCell(i, j, CellType{.cost = random.uniform(0, 9)});
    return grid;
}

BSpline curve()
{
    BSpline result;
    result.init(4, Vector::of({0, 1, 2, 3, 4}), {}, true);
    result.setOrChangeControlPoints(cloud(7, 2));
    return result;
}

// Rosenbrock's function.
Scripted<> valley()
{
    Scripted<> f;
    f.initCostFun(2, 2);
    f.setBoolAnaDer(false);
    f.fun = [](Vector const& p, Vector& r) {
        r[0] = 10.0 * (p[1] - p[0] * p[0]);
        r[1] = 1.0 - p[0];
    };
    return f;
}

void valleyForPowell(int*, double* x, double* f, int*)
{
    Vector const scaled = 10.0 * Vector(x, 2);  // allocates inside MINPACK's call
    f[0] = scaled[1] - x[0] * scaled[0];
    f[1] = 1.0 - x[0];
}

// A point that stays where it is, and is observed.
class Resting : public KalmanIekf {
public:
    Resting() : KalmanIekf(3, 3, 3, 3)
    {
        Matrix const unit(3, 3, Matrix::IDENTITY);
        setParams(xyz());
        setParamsCov(unit);
        setCtrl(xyz(), unit);
        setObs(2.0 * xyz(), unit);
    }
    void obsJacParams(Vector&, Vector&, Matrix& H) override { H.setIdentity(); }
    void obsJacObs(Vector&, Vector&, Matrix& B) override { B = -1.0 * B.setIdentity(); }
    void stateJacParams(Vector&, Vector&, Matrix& F) override { F.setIdentity(); }
    void stateJacCtrl(Vector&, Vector&, Matrix& G) override { G.setIdentity(); }
    void stateFct(Vector& x, Vector&, Vector& predicted) override { predicted = 1.0 * x; }
    void obsFct(Vector& x, Vector& z, Vector& value) override { value = z - x; }
};

// Points on a cylinder about the z axis, or their first coordinates.
template <class Model, int dimension>
Operation fitting()
{
    std::vector<Vector> points;
    for (int i = 0; i < 12; ++i)
        points.push_back(Vector::of({2 * std::cos(i), 2 * std::sin(i), 0.1 * i})(0, dimension));
    return on(with(points), [](auto const& data) {
        Model model;
        model.setDataColl(data);
        EXPECT_TRUE(model.estim());
        Vector residuals;
        model.getResiduals(model.getEstimParams(), residuals);
    });
}

template <class Controller>
Operation fittingRobustly()
{
    return on(with(cloud(12, 2)), [](auto const& data) {
        LineEstimator model;
        model.setDataColl(data);
        Controller control;
        if constexpr (std::is_same_v<Controller, Ransac>) control.setOutliersThreshold(0.3);
        control.setEstimator(&model);
        EXPECT_TRUE(control.robustEstimation());
        std::vector<Vector> inliers;
        control.getInlierColl(inliers);
    });
}

Case const cases[] = {
    {"sum", [] { return on(with(right(20), right(20)), [](auto& v, auto& w) { v = v + 2.0 * w; }); }},
    {"unsharing", [] {
         return on(with(right(20)), [](auto& v) {
             Vector const shared = v;
             v[0] = 1.0;
         });
     }},
    {"product", [] { return on(with(wide()), [](auto& A) { A *= A; }); }},
    {"transpose", [] { return on(with(tall()), [](auto& A) { A.transposeMyself(); }); }},
    {"invert", [] { return on(with(wide()), [](auto& A) { A.invert(); }); }},
    {"svd", [] {
         return on(with(tall(), Matrix(9, 4), Vector(4), Matrix(4, 4)),
                   [](auto& A, auto& U, auto& S, auto& V) { svd(A, U, S, V); });
     }},
    {"fullSvd", [] {
         return on(with(tall(), Matrix(9, 9), Vector(4), Matrix(4, 4)),
                   [](auto& A, auto& U, auto& S, auto& V) { fullSvd(A, U, S, V); });
     }},
    {"svdSolve", [] {
         return on(with(tall(), right(9), Vector(4)), [](auto& A, auto& b, auto& x) {
             unsigned int rank = 0;
             double cond = 0.0;
             svdSolve(A, b, x, rank, cond, 0.0);
         });
     }},
    {"svdInverse", [] {
         return on(with(wide()), [](auto& A) {
             unsigned int rank = 0;
             double cond = 0.0;
             svdInverse(A, A, rank, cond, 0.0);
         });
     }},
    {"qr", [] {
         return on(with(tall()), [](auto& A) {
             Matrix Q(9, 4);
             Matrix R(4, 4);
             qr(A, Q, R);
         });
     }},
    {"lq", [] {
         return on(with(tall()), [](auto& A) {
             Matrix L(9, 4);
             Matrix Q(4, 4);
             lq(A, L, Q);
         });
     }},
    {"qrSolve", [] {
         return on(with(tall(), right(9), Vector(4)),
                   [](auto& A, auto& b, auto& x) { qrSolve(A, b, x); });
     }},
    {"luSolve", [] { return on(with(wide(), right(5)), [](auto& A, auto& b) { luSolve(A, b, b); }); }},
    {"luInverse", [] { return on(with(wide()), [](auto& A) { luInverse(A, A); }); }},
    {"posDefSolve", [] {
         return on(with(positive(), right(6)), [](auto& A, auto& b) { posDefSolve(A, b, b); });
     }},
    {"poly", [] { return on(with(right(9)), [](auto& c) { poly(c); }); }},
    {"posDefInverse", [] { return on(with(positive()), [](auto& A) { posDefInverse(A, A); }); }},
    {"eigenValuesVectors", [] {
         return on(with(positive()), [](auto& A) {
             Vector values(6);
             Matrix vectors(6, 6);
             eigenValuesVectors(A, values, vectors);
         });
     }},
    {"SVDSolver", [] {
         return on(with(tall(), right(9)), [](auto& A, auto& b) {
             SVDSolver solver;
             solver.solve(A, b);
             solver.solve(A);
         });
     }},
    {"PCAAnalysis", [] {
         return on(with(cloud(9, 4)), [](auto& points) { PCAAnalysis().computeAnalysis(4, points); });
     }},
    {"rotation", [] {
         return on(with(xyz()), [](auto& v) {
             Matrix R(3, 3);
             Vector q(4);
             eulerToMatrix(v, R);
             matrixToQuat(R, q);
             quatToMatrix(q, R);
             matrixToVect(R, v);
         });
     }},
    {"registration", [] {
         return on(with(MatrixTH(1, 2, 3, 4, 5, 6), cloud(9, 3)), [](auto& T, auto& points) {
             std::vector<Vector> mapped = points;
             T.mapPoints(mapped);
             bool const used[9] = {true, true, true, true, true};
             T.init(points.data(), mapped.data(), 9, used, true);
         });
     }},
    {"principal frame", [] {
         return on(with(MatrixTH(), cloud(9, 3)),
                   [](auto& T, auto& points) { T.init(points.data(), 9, 0); });
     }},
    {"mapPoints", [] {
         return on(with(MatrixTH(1, 2, 3, 4, 5, 6), cloud(9, 3)),
                   [](auto& T, auto& points) { T.mapPoints(points); });
     }},
    {"LineEstimator", fitting<LineEstimator, 2>},
    {"PlanEstimator", fitting<PlanEstimator, 3>},
    {"CircleEstimator", fitting<CircleEstimator, 2>},
    {"EllipseEstimator", fitting<EllipseEstimator, 2>},
    {"CylinderEstimator", fitting<CylinderEstimator, 3>},
    {"Ransac", fittingRobustly<Ransac>},
    {"LMedS", fittingRobustly<LMedS>},
    {"Buckets", [] {
         return on(with(cloud(20, 2)), [](auto& points) {
             Buckets buckets;
             buckets.init(2);
             buckets.setDataColl(points);
             std::vector<Vector> sample;
             buckets.getDataRandomSample(sample, 5);
         });
     }},
    {"LMMinPack", [] {
         return on(with(Vector::of({-1.2, 1.0})), [](auto& start) {
             Scripted<> f = valley();
             LMMinPack solver;
             solver.setCostFun(&f);
             solver.setInitVecSol(start);
             solver.solve();
             EXPECT_LT(solver.getRMSAfter(), 1e-8);
         });
     }},
    {"Powell", [] {
         return on(with(Vector::of({-1.2, 1.0})), [](auto& start) {
             NumPowell solver(2, valleyForPowell);
             solver.setParams(start);
             solver.compute();
             EXPECT_EQ(solver.getInfo(), 1);
         });
     }},
    {"KalmanIekf", [] {
         return on(with(xyz()), [](auto&) {
             Resting filter;
             filter.predict();
             filter.update();
         });
     }},
    {"KalmanIekf::update", [] {
         Resting filter;
         filter.predict();
         return on(with(filter, filter.getParams(), filter.getParamsCov()),
                   [](auto& f, auto const&...) { f.update(); });
     }},
    {"BSpline::init", [] {
         return on(with(curve()), [](auto& c) { c.init(3, Vector::of({0, 1, 2}), {}, false); });
     }},
    {"BSplineSimple::init", [] {
         return on(with(BSplineSimple(), cloud(7, 2)),
                   [](auto& c, auto& points) { c.init(3, points, true); });
     }},
    {"setOrChangeControlPoints", [] {
         return on(with(curve(), cloud(9, 2)),
                   [](auto& c, auto& points) { c.setOrChangeControlPoints(points); });
     }},
    {"splineToCurve", [] {
         return on(with(curve(), Pix::ListPoint<double>()), [](auto const& c, auto&) {
             Pix::ListPoint<double> list;
             c.splineToCurve(list, 0.1);
             c.fastSplineToCurve(list, 0.1);
         });
     }},
    {"refinement", [] {
         return on(with(curve(), curve().initMatchedPoints(cloud(20, 2))),
                   [](auto& c, auto& points) { c.refinement(points, 3); });
     }},
    {"addPlane", [] {
         return on(with(cube()), [](auto& body) { body.addPlane(Vector::of({1, 1, 1, -1})); });
     }},
    {"ConvexPolyedron", [] {
         return on(with(cube(), Vector(), Vector()), [](auto& body, auto& min, auto& max) {
             EXPECT_EQ(body.getTopsOnPlane(0).size(), 4U);
             body.computeVolume(0.5);
             body.computeBoundingBox(min, max);
         });
     }},
    {"Munkres", [] { return on(with(assignment()), [](auto& grid) { grid.solve(); }); }},
    {"ellipseDecomposition", [] {
         return on(with(Vector::of({1, 0, 2, 0, 0, -3}), Matrix(), Matrix(), Matrix()),
                   [](auto& quad, auto& T, auto& R, auto& S) { ellipseDecomposition(quad, T, R, S); });
     }},
    {"ellipticQuadToCartParams", [] {
         return on(with(Vector::of({1, 0, 2, 0, 0, -3})),
                   [](auto& quad) { ellipticQuadToCartParams(quad, quad); });
     }},
    {"cart3DToPtDir3D", [] {
         return on(with(Vector::of({1, 0, 0, -1, 0, 1, 0, -2}), Vector(), Vector()),
                   [](auto& planes, auto& p, auto& dir) { cart3DToPtDir3D(planes, p, dir); });
     }},
};

enum class Outcome { WITHOUT_FAULT, HANDLED, THROWN };

Outcome runWithFault(Operation const& operation, long request)
{
    Outcome outcome = Outcome::HANDLED;
    requestsLeft = request;
    try {
        operation.run();
    } catch (std::bad_alloc const&) {
        outcome = Outcome::THROWN;
    } catch (MathError const&) {
        outcome = Outcome::THROWN;
    }
    if (requestsLeft > 0) outcome = Outcome::WITHOUT_FAULT;
    requestsLeft = 0;
    return outcome;
}

// One run whose `request`-th request fails, in a thread of its own: what a thread keeps for reuse
// goes back at its end.
Outcome attempt(Case const& c, long request)
{
    Outcome outcome = Outcome::HANDLED;
    bool unchanged = true;
    long const heldBefore = blocksHeld;
    std::thread([&] {
        Operation const operation = c.make();
        std::string const before = operation.state();
        outcome = runWithFault(operation, request);
        unchanged = operation.state() == before;
    }).join();
    long const leaked = blocksHeld - heldBefore;
    EXPECT_EQ(leaked, 0) << "request " << request;
    EXPECT_TRUE(unchanged || outcome != Outcome::THROWN) << "request " << request;
    return outcome;
}

class FaultInjection : public testing::TestWithParam<Case> {};

TEST_P(FaultInjection, LeaksNothingAndKeepsTheCallersObjects)
{
    constexpr long mostRequests = 5000;

    // A first run takes what stays for the rest of the program.
    std::thread([] { runWithFault(GetParam().make(), mostRequests); }).join();
    long request = 1;
    while (request < mostRequests && attempt(GetParam(), request) != Outcome::WITHOUT_FAULT)
        ++request;
    EXPECT_LT(request, mostRequests);
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultInjection, testing::ValuesIn(cases),
                         [](auto const& test) {
                             std::string name = test.param.name;
                             std::erase_if(name, [](char c) { return c == ' ' || c == ':'; });
                             return name;
                         });

}  // namespace
