#include "FuzzInput.h"
#include "math/Buckets.h"
#include "math/CircleEstimator.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/LMedS.h"
#include "math/LineEstimator.h"
#include "math/MeanEstimator.h"
#include "math/PlanEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"
#include "math/SphereEstimator.h"

#include <algorithm>
#include <memory>

namespace {

template <class Model>
std::unique_ptr<Estimator> make()
{
    return std::make_unique<Model>();
}

struct Subject {
    std::unique_ptr<Estimator> (*model)();
    int dimension;
};

// Those of small samples first, whose number of trials stays low at any support.
constexpr std::array<Subject, 7> subjects = {{{make<MeanEstimator>, 1},
                                              {make<LineEstimator>, 2},
                                              {make<PlanEstimator>, 3},
                                              {make<CircleEstimator>, 2},
                                              {make<SphereEstimator>, 3},
                                              {make<EllipseEstimator>, 2},
                                              {make<CylinderEstimator>, 3}}};

Subject const& subjectOf(FuzzInput& input, std::size_t count)
{
    return subjects[input.byte() % count];
}

Vector residualsOf(Estimator const& model, Vector const& params)
{
    Vector residuals(model.getNbData());
    model.getResiduals(params, residuals);
    return residuals;
}

bool isFinite(Vector const& v)
{
    return std::all_of(v.begin(), v.end(), [](double x) { return std::isfinite(x); });
}

// Of any data.
void fit(FuzzInput& input)
{
    Subject const& subject = subjectOf(input, subjects.size());
    int const dimension = input.byte() == 255 ? input.integer(0, 4) : subject.dimension;
    std::unique_ptr<Estimator> const model = subject.model();
    model->setDataColl(input.vectors(input.integer(0, 12), dimension));
    if (!model->estim()) return;
    check(model->getEstimParams().size() == model->getNbParams());
    check(residualsOf(*model, model->getEstimParams()).size() == model->getNbData());
}

// No line through two of the data fits them all better than the one of orthogonal regression.
void fitLine(FuzzInput& input)
{
    std::vector<Vector> const points = input.points(input.integer(2, 8), 2);
    LineEstimator line;
    line.setDataColl(points);
    if (!line.estim()) return;
    double const least = residualsOf(line, line.getEstimParams()).length();
    for (Vector const& p : points) {
        for (Vector const& q : points) {
            if (p == q) continue;
            double const theta = std::atan2(q[1] - p[1], q[0] - p[0]);
            double const rho = std::cos(theta) * p[1] - std::sin(theta) * p[0];
            check(least <= residualsOf(line, Vector::of({theta, rho})).length() + 1e-12);
        }
    }
}

// Data on a sphere, or a circle, give it back as far as they determine it: they lie on the result.
template <class Model>
void fitRound(FuzzInput& input, int dimension)
{
    Vector const centre = input.point(dimension);
    double const radius = 0.5 + std::abs(input.coordinate());
    std::vector<Vector> points;
    for (int n = input.integer(dimension + 1, 12); n > 0; --n) {
        Vector const direction = input.point(dimension);
        if (direction.length() == 0.0) return;
        points.push_back(centre + radius / direction.length() * direction);
    }
    Model model;
    model.setDataColl(points);
    if (!model.estim()) return;
    check(isFinite(model.getEstimParams()));
    check(residualsOf(model, model.getEstimParams()).length() <= 1e-6 * radius);
}

void fitCircle(FuzzInput& input)
{
    fitRound<CircleEstimator>(input, 2);
}
void fitSphere(FuzzInput& input)
{
    fitRound<SphereEstimator>(input, 3);
}

void checkOutcome(RobustCtrl const& ctrl, Estimator const& model)
{
    std::vector<Vector> inliers;
    ctrl.getInlierColl(inliers);
    check(inliers.size() + ctrl.getNbOutliers() == model.getNbData());
    check(inliers.size() >= model.getNbMinData());
    Vector const& params = ctrl.getEstimParams();
    check(params == model.getEstimParams() || !isFinite(params));
    Vector const residuals = residualsOf(model, params);
    double sum = 0.0;
    for (unsigned int i = 0; i < model.getNbData(); ++i)
        if (!ctrl.isOutlier(i)) sum += residuals[i] * residuals[i];
    double const rms = std::sqrt(sum / static_cast<double>(inliers.size()));
    check(isNear(ctrl.getInlierRms(), rms, 1e-12 * rms) || !std::isfinite(rms));
}

void fitAmongOutliers(FuzzInput& input)
{
    Subject const& subject = subjectOf(input, 4);
    std::unique_ptr<Estimator> const model = subject.model();
    int const count = input.integer(0, 12);
    model->setDataColl(input.flag() ? input.vectors(count, subject.dimension)
                                    : input.points(count, subject.dimension));
    Ransac ransac;
    ransac.setOutliersThreshold(input.number());
    LMedS lmeds;
    RobustCtrl& ctrl = input.flag() ? static_cast<RobustCtrl&>(ransac) : lmeds;
    ctrl.setSuccessRatio(0.5);
    ctrl.setOutliersRatio(input.integer(1, 6) / 10.0);
    ctrl.setEstimator(model.get());
    if (ctrl.robustEstimation()) checkOutcome(ctrl, *model);
}

// Each drawn point is one of the data, and no two of them are alike: those share a bucket.
void drawFromBuckets(FuzzInput& input)
{
    int const dimension = input.integer(0, 4);
    Buckets buckets;
    buckets.init(static_cast<unsigned int>(dimension));
    for (int changes = input.integer(0, 3); changes > 0; --changes) {
        unsigned int const axis = input.byte() % 6;
        buckets.setNbBuckets(axis, input.byte());
    }
    std::vector<Vector> const data = input.vectors(input.integer(0, 20), dimension);
    buckets.setDataColl(data);
    check(buckets.getNbValidBuckets() >= 1 && buckets.getNbValidBuckets() <= data.size());
    std::vector<Vector> sample;
    unsigned int const count = input.byte() % 24;
    buckets.getDataRandomSample(sample, count);
    check(sample.size() == count);
    for (auto p = sample.begin(); p != sample.end(); ++p) {
        check(std::find(data.begin(), data.end(), *p) != data.end());
        check(std::find(sample.begin(), p, *p) == p);
    }
}

}  // namespace

void fuzz(FuzzInput& input)
{
    initRandGene(1);  // the same run for the same input
    constexpr std::array operations = {drawFromBuckets, fit,     fitAmongOutliers,
                                       fitCircle,       fitLine, fitSphere};
    operations[input.byte() % operations.size()](input);
}
