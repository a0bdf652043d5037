#include "math/BSpline.h"
#include "math/Buckets.h"
#include "math/CircleEstimator.h"
#include "math/Conic.h"
#include "math/ConvexPolyedron.h"
#include "math/CrossRatio.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/Geometry.h"
#include "math/Kalman.h"
#include "math/LMMinPack.h"
#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/LineUtils.h"
#include "math/LinearAlgebra.h"
#include "math/MatrixTH.h"
#include "math/MeanEstimator.h"
#include "math/Munkres.h"
#include "math/PCAAnalysis.h"
#include "math/PlanEstimator.h"
#include "math/Powell.h"
#include "math/Ransac.h"
#include "math/Rotation.h"
#include "math/SVDSolver.h"
#include "math/SphereEstimator.h"
#include "math/WeightedCostFun.h"
#include "math/poly.h"
#include "support/HeapCounter.h"
#include "support/RandomData.h"
#include "support/ScriptedCostFun.h"

#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

// Every request for memory of every operation is made to fail in turn: nothing may leak, the
// caller's objects must hold their values, and the same operation must then succeed. Containers keep small blocks for reuse unless an address
// sanitizer is in the build: there every request of the library passes through `operator new`.
namespace {

ConvexPolyedron cube()
{
    ConvexPolyedron body;
    for (int face = 0; face < 6; ++face) {
        Vector plane(4);
        plane[face / 2] = face % 2 == 0 ? 1.0 : -1.0;
        plane[3] = -1.0;
        body.addPlane(plane);
    }
    return body;
}

Munkres assignment()
{
    Munkres grid(4, 5);
    RandomData random(6);
    for (int i = 0; i < 20; ++i) grid.setCell(i / 5, i % 5, CellType{.cost = random.uniform(0, 9)});
    return grid;
}

// Points on a cylinder about the z axis, or their first coordinates.
std::vector<Vector> around(int n, int dimension)
{
    std::vector<Vector> points;
    for (int i = 0; i < n; ++i)
        points.push_back(Vector::of({2 * std::cos(i), 2 * std::sin(i), 0.1 * i})(0, dimension));
    return points;
}

BSpline curve(int order, Vector const& breaks, std::vector<Vector> const& controlPoints)
{
    BSpline result;
    result.init(order, breaks, {}, true);
    result.setOrChangeControlPoints(controlPoints);
    return result;
}

// Points to both sides of the x axis, and an outlier.
std::vector<Vector> nearXAxis()
{
    std::vector<Vector> points;
    for (int i = 0; i < 8; ++i)
        points.push_back(Vector::of({i / 7.0, i == 3 ? 0.5 : 0.01 * (i % 2)}));
    return points;
}

// A point that stays where it is, and is observed.
class Resting : public KalmanIekf {
public:
    explicit Resting(Vector const& p) : KalmanIekf(3, 3, 3, 3)
    {
        Matrix const unit(3, 3, Matrix::IDENTITY);
        setParams(p);
        setParamsCov(unit);
        setCtrl(p, unit);
        setObs(2.0 * p, unit);
    }
    void obsJacParams(Vector&, Vector&, Matrix& H) override { H.setIdentity(); }
    void obsJacObs(Vector&, Vector&, Matrix& B) override { B = -1.0 * B.setIdentity(); }
    void stateJacParams(Vector&, Vector&, Matrix& F) override { F.setIdentity(); }
    void stateJacCtrl(Vector&, Vector&, Matrix& G) override { G.setIdentity(); }
    void stateFct(Vector& x, Vector&, Vector& predicted) override { predicted = 1.0 * x; }
    void obsFct(Vector& x, Vector& z, Vector& value) override { value = z - x; }
};

// Rosenbrock's function of the first two parameters.
template <class Base>
class Valley : public Scripted<Base> {
public:
    explicit Valley(unsigned int nbVariables)
    {
        this->initCostFun(2, nbVariables);
        this->setBoolAnaDer(false);
        this->fun = [](Vector const& p, Vector& r) {
            r[0] = 10.0 * (p[1] - p[0] * p[0]);
            r[1] = 1.0 - p[0];
        };
    }
};

// Controls the search of a line, again and again.
struct LineSearch {
    explicit LineSearch(std::vector<Vector> const& points)
    {
        line.setDataColl(points);
        ransac.setOutliersThreshold(0.3);
        ransac.setEstimator(&line);
    }
    LineEstimator line;
    Ransac ransac;
};

// What a caller may have at hand. Larger than what containers hold without a buffer of their own on
// the heap; the tall system is one that `SVDSolver` reduces.
struct Objects {
    Matrix A = RandomData(1).matrix(20, 20), M = A, N = A, positive = A.transpose() * A;
    Matrix tall = RandomData(2).matrix(60, 4);
    Vector v = RandomData(3).vector(20), w = RandomData(4).vector(20), xyz = v(0, 3);
    unsigned int rank = 0;
    double cond = 0.0;
    MatrixTH transform = MatrixTH(1, 2, 3, 4, 5, 6);
    std::vector<Vector> points = around(12, 3), flat = around(12, 2);
    BSpline spline = curve(4, Vector::of({0, 1, 2, 3, 4}), around(7, 2));
    BSpline xAxis = curve(2, Vector::of({0, 1}), {Vector::of({0, 0}), Vector::of({1, 0})});
    BSplineSimple simple;
    std::vector<MatchedPointInfo> matched = xAxis.initMatchedPoints(nearXAxis());
    ConvexPolyedron body = cube();
    Resting filter{xyz};
    Vector estimate = filter.getParams();  // shares its storage
    Munkres grid = assignment();
    LineSearch search{flat};
    Valley<CostFun> valley{2};
    LMMinPack solver;
    Vector ellipse = Vector::of({2, 0.5, 0, 0, -3}), breaks = Vector::of({0, 1, 2});
    Vector plane = Vector::of({1, 1, 1, -1}), planes = Vector::of({1, 0, 0, -1, 0, 1, 0, -2});
};

std::string stateOf(Objects const& o)
{
    std::ostringstream out;
    for (Matrix const& m :
         {o.A, o.M, o.N, o.positive, o.tall, Matrix(o.transform), o.filter.getParamsCov()})
        out << m;
    for (Vector const& v :
         {o.v, o.w, o.xyz, o.ellipse, o.breaks, o.plane, o.planes, o.filter.getParams()})
        out << v;
    for (auto const* points : {&o.points, &o.flat})
        for (Vector const& p : *points) out << p;
    for (BSpline const& curve : {o.spline, o.xAxis, BSpline(o.simple)}) {
        out << curve.getOrder() << curve.getKnots() << curve.getVectorSpanMatrix().size();
        for (Vector const& p : curve.getControlPoints()) out << p;
    }
    out << o.spline.getXControlPoints();
    for (MatchedPointInfo const& p : o.matched) out << p.s << ' ' << p.weight << ' ';
    for (int i = 0; i < o.grid.getRow(); ++i)
        for (int j = 0; j < o.grid.getCol(); ++j)
            out << o.grid.getCell(i, j).cost << o.grid.getCell(i, j).starred << ' ';
    out << o.body.getNbPlanes();
    return out.str();
}

// Rosenbrock's function, which allocates inside MINPACK's call, and its Jacobian.
void valley(int*, double* x, double* f, int*)
{
    Vector const scaled = 10.0 * Vector(x, 2);
    f[0] = scaled[1] - x[0] * scaled[0];
    f[1] = 1.0 - x[0];
}
void valleyWithJacobian(int* n, double* x, double* f, double* J, int*, int* iflag)
{
    if (*iflag != 2) return valley(n, x, f, iflag);
    std::ranges::copy(Vector::of({-20.0 * x[0], -1.0, 10.0, 0.0}), J);
}

template <class Model, std::vector<Vector> Objects::*data>
void fit(Objects& o)
{
    Model model;
    model.setDataColl(o.*data);
    EXPECT_TRUE(model.estim());
    Vector residuals(model.getNbData());
    model.getResiduals(model.getEstimParams(), residuals);
}

template <class Controller, class Model>
void fitRobustly(Objects& o)
{
    Model model;
    model.setDataColl(o.flat);
    Controller control;
    if constexpr (std::is_same_v<Controller, Ransac>) control.setOutliersThreshold(0.3);
    control.setEstimator(&model);
    EXPECT_TRUE(control.robustEstimation());
    std::vector<Vector> inliers;
    control.getInlierColl(inliers);
}

void averageFit(Objects& o)
{
    MeanEstimator model;
    model.setDataSize(3);
    model.setDataColl(o.points);
    EXPECT_TRUE(model.estim());
}

void minimise(Objects& o)
{
    o.solver.setCostFun(&o.valley);
    o.solver.setInitVecSol(o.v(0, 2));
    o.solver.solve();
    EXPECT_LT(o.solver.getRMSAfter(), 1e-8);
}

void minimiseWithFixedParameter(Objects& o)
{
    Valley<WeightedCostFun> f(3);
    f.setEstimFlags({true, true, false});
    f.setFixedParams(o.v(2, 1));
    f.setWeights(2.0 * o.v(0, 2));
    LMMinPack solver;
    solver.setCostFun(&f);
    solver.setInitVecSol(o.v(0, 2));
    solver.solve();
    Matrix cov(3, 3);
    f.getAllParamsCov(solver.getCov(), cov);
}

template <class Solver, auto function>
void findRoot(Objects& o)
{
    Solver solver(2, function);
    solver.setParams(o.v(0, 2));
    solver.compute();
    EXPECT_EQ(solver.getInfo(), 1);
}

void convertLines(Objects& o)
{
    Vector p = o.xyz, dir = o.xyz, planes = o.planes, flat(2);
    cart3DToPtDir3D(planes, p, dir);
    ptDir3DToCart3D(p, dir, planes);
    planLineIntersection(o.xyz, dir, p, dir, p);
    lineIntersection(Vector::of({1, 0, 0}), o.xyz, flat);
}

void convertRotation(Objects& o)
{
    Matrix R(3, 3);
    Vector q(4);
    eulerToMatrix(o.xyz, R);
    matrixToQuat(R, q);
    quatToMatrix(q, R);
    matrixToVect(R, o.xyz);
}

void registerPoints(Objects& o)
{
    std::vector<Vector> mapped = o.points;
    o.transform.mapPoints(mapped);
    bool const used[12] = {true, true, true, true, true};
    o.transform.init(o.points.data(), mapped.data(), 12, used, true);
}

void drawFromBuckets(Objects& o)
{
    Buckets buckets;
    buckets.init(2);
    buckets.setDataColl(o.flat);
    std::vector<Vector> sample;
    buckets.getDataRandomSample(sample, 5);
}

void sampleCurve(Objects& o)
{
    Pix::ListPoint<double> list;
    o.spline.splineToCurve(list, 0.1);
    o.spline.fastSplineToCurve(list, 0.1);
}

void measure(Objects& o)
{
    Vector min(3), max(3);
    EXPECT_EQ(o.body.getTopsOnPlane(0).size(), 4U);
    o.body.computeVolume(0.5);
    o.body.computeBoundingBox(min, max);
}

struct Operation {
    char const* name;
    void (*run)(Objects& o);
};

Operation const operations[] = {
    {"sum", [](Objects& o) { o.v = o.v + 2.0 * o.w; }},
    {"unsharing", [](Objects& o) { o.M[0][0] = 1.0; }},
    {"product", [](Objects& o) { o.A *= o.A; }},
    {"block", [](Objects& o) { o.M(1, 2, o.A(0, 0, 18, 17)); }},
    {"row", [](Objects& o) { o.M.setRowVector(1, o.A.getColVector(2)); }},
    {"transpose", [](Objects& o) { o.tall.transposeMyself(); }},
    {"invert", [](Objects& o) { o.A.invert(); }},
    {"svd", [](Objects& o) { svd(o.A, o.M, o.v, o.N); }},
    {"fullSvd", [](Objects& o) { fullSvd(o.A, o.M, o.v, o.N); }},
    {"svdSolve", [](Objects& o) { svdSolve(o.A, o.v, o.w, o.rank, o.cond, 0.0); }},
    {"svdInverse", [](Objects& o) { svdInverse(o.A, o.A, o.rank, o.cond, 0.0); }},
    {"qr",
     [](Objects& o) {
         Matrix Q = o.M, R = o.N;
         qr(o.A, Q, R);
     }},
    {"lq",
     [](Objects& o) {
         Matrix L = o.M, Q = o.N;
         lq(o.A, L, Q);
     }},
    {"qrSolve", [](Objects& o) { qrSolve(o.A, o.v, o.w); }},
    {"luSolve", [](Objects& o) { luSolve(o.A, o.v, o.v); }},
    {"luInverse", [](Objects& o) { luInverse(o.A, o.A); }},
    {"posDefSolve", [](Objects& o) { posDefSolve(o.positive, o.v, o.v); }},
    {"posDefInverse", [](Objects& o) { posDefInverse(o.positive, o.M); }},
    {"posDefDecomp", [](Objects& o) { posDefDecomp(o.positive, o.M); }},
    {"svdCovariance", [](Objects& o) { svdCovariance(o.v, o.A, o.M); }},
    {"poly", [](Objects& o) { poly(o.v); }},
    {"eigenValuesVectors",
     [](Objects& o) {
         Vector d = o.v;
         Matrix V = o.M;
         eigenValuesVectors(o.positive, d, V);
     }},
    {"SVDSolver", [](Objects& o) { SVDSolver().solve(o.A, o.v); }},
    {"SVDSolverTall", [](Objects& o) { SVDSolver().solve(o.tall, o.tall.getColVector(0)); }},
    {"SVDSolverHomogeneous", [](Objects& o) { SVDSolver().solve(o.tall); }},
    {"PCAAnalysis", [](Objects& o) { PCAAnalysis().computeAnalysis(3, o.points); }},
    {"rotation", convertRotation},
    {"registration", registerPoints},
    {"principalFrame", [](Objects& o) { o.transform.init(o.points.data(), 12, 0); }},
    {"MeanEstimator", averageFit},
    {"LineEstimator", fit<LineEstimator, &Objects::flat>},
    {"PlanEstimator", fit<PlanEstimator, &Objects::points>},
    {"CircleEstimator", fit<CircleEstimator, &Objects::flat>},
    {"EllipseEstimator", fit<EllipseEstimator, &Objects::flat>},
    {"CylinderEstimator", fit<CylinderEstimator, &Objects::points>},
    {"SphereEstimator", fit<SphereEstimator, &Objects::points>},
    {"Ransac", fitRobustly<Ransac, LineEstimator>},
    {"RansacAgain", [](Objects& o) { EXPECT_TRUE(o.search.ransac.robustEstimation()); }},
    {"RansacFromBuckets", fitRobustly<Ransac, EllipseEstimator>},
    {"LMedS", fitRobustly<LMedS, LineEstimator>},
    {"Buckets", drawFromBuckets},
    {"LMMinPack", minimise},
    {"WeightedCostFun", minimiseWithFixedParameter},
    {"NumPowell", findRoot<NumPowell, valley>},
    {"AnalyticPowell", findRoot<AnalyticPowell, valleyWithJacobian>},
    {"KalmanIekf",
     [](Objects& o) {
         Resting filter(o.xyz);
         filter.predict();
         filter.update();
     }},
    {"KalmanIekfPredict", [](Objects& o) { o.filter.predict(); }},
    {"KalmanIekfUpdate", [](Objects& o) { o.filter.update(); }},
    {"setDimParams", [](Objects& o) { o.filter.setDimParams(20); }},
    {"BSplineInit", [](Objects& o) { o.spline.init(3, o.breaks, std::vector<int>(), false); }},
    {"BSplineSimpleInit", [](Objects& o) { o.simple.init(3, o.flat, true); }},
    {"setOrChangeControlPoints", [](Objects& o) { o.spline.setOrChangeControlPoints(o.flat); }},
    {"splineToCurve", sampleCurve},
    {"refinement", [](Objects& o) { o.xAxis.refinement(o.matched, 3); }},
    {"robustRefinement", [](Objects& o) { o.xAxis.robustRefinement(o.matched, 3); }},
    {"initMatchedPoints",
     [](Objects& o) { o.matched = o.xAxis.initMatchedPointsByChordLength(o.flat); }},
    {"addPlane", [](Objects& o) { o.body.addPlane(o.plane); }},
    {"ConvexPolyedron", measure},
    {"Munkres", [](Objects& o) { o.grid.solve(); }},
    {"ellipseDecomposition", [](Objects& o) { ellipseDecomposition(o.ellipse, o.A, o.M, o.N); }},
    {"ellipticQuadToCartParams",
     [](Objects& o) { ellipticQuadToCartParams(o.ellipse, o.ellipse); }},
    {"ellipticCartToQuadParams",
     [](Objects& o) {
         ellipticCartToQuadParams(Vector::of({1, 2, 3, 2, 0.5}), o.ellipse);
     }},
    {"pointFromCrossRatio",
     [](Objects& o) { pointFromCrossRatio(3.0, o.xyz, 2.0 * o.xyz, 3.0 * o.xyz, o.xyz); }},
    {"lines", convertLines},
};

// One run whose `request`-th request fails, and one after it, in a thread of its own: what a thread
// keeps for reuse goes back at its end. False when there was no such request.
bool failsAt(Operation const& operation, long request, std::string const& expected)
{
    bool hasStruck = false, hasThrown = false, isUnchanged = true, isRepeated = true;
    HeapCounter heap;
    std::thread([&] {
        Objects objects;
        std::string const before = stateOf(objects);
        {
            HeapFault const fault(request);
            try {
                operation.run(objects);
            } catch (std::bad_alloc const&) {
                hasThrown = true;
            } catch (MathError const&) {
                hasThrown = true;
            }
            hasStruck = fault.hasStruck();
        }
        isUnchanged = stateOf(objects) == before;
        if (!hasThrown) return;
        operation.run(objects);
        isRepeated = stateOf(objects) == expected;
    }).join();
    EXPECT_EQ(heap.held(), 0) << "request " << request;
    EXPECT_TRUE(!hasThrown || (hasStruck && isUnchanged)) << "request " << request;
    EXPECT_TRUE(isRepeated) << "request " << request;
    return hasStruck;
}

TEST(FaultInjection, LeaksNothingKeepsTheCallersObjectsAndCanBeRepeated)
{
    constexpr long mostRequests = 2000;
    long nbFaults = 0;
    for (Operation const& operation : operations) {
        SCOPED_TRACE(operation.name);
        // Takes what stays for the rest of the program, too.
        std::string expected;
        std::thread([&] {
            Objects objects;
            operation.run(objects);
            expected = stateOf(objects);
        }).join();
        long request = 1;
        while (request < mostRequests && failsAt(operation, request, expected)) ++request;
        EXPECT_LT(request, mostRequests);
        nbFaults += request - 1;
    }
    EXPECT_GT(nbFaults, std::ssize(operations)) << "requests do fail";
}

}  // namespace
