// How often each model is found within its stated uncertainty when four of ten points are wrong.

#include "math/CircleEstimator.h"
#include "math/Conic.h"
#include "math/CylinderEstimator.h"
#include "math/EllipseEstimator.h"
#include "math/Random.h"
#include "math/Ransac.h"
#include "math/SphereEstimator.h"
#include "support/Measured.h"
#include "support/NoisySurfaces.h"

#include <algorithm>
#include <cmath>
#include <iostream>

namespace {

// The last parameter of the round models, the semi-major axis of the conic.
double radius(Vector const& params)
{
    if (params.size() != 5) return params[params.getSize() - 1];
    Vector axes;
    ellipticQuadToCartParams(params, axes);
    return axes[3];
}

// Two of five points lie anywhere in a box. Within four standard deviations counts as found.
template <class Model>
bool isFound(Vector (*point)(), double box, double threshold)
{
    Vector const centre = Vector::of({5, 7, 9});
    std::vector<Vector> points;
    for (int i = 0; i < 200; ++i) {
        Vector p = point();
        if (i % 5 >= 3)
            for (double& x : p) x = vaUnif(box);
        points.push_back(p + centre(0, p.getSize()));
    }
    Model model;
    model.setDataColl(points);
    Ransac ransac;
    ransac.setEstimator(&model);
    ransac.setOutliersThreshold(threshold);
    ransac.setOutliersRatio(0.5);
    ransac.setSuccessRatio(1.0 - 1e-6);  // more samples: the best one is then close, too
    if (!ransac.robustEstimation()) return false;
    Vector const params = ransac.getEstimParams();
    return std::abs(radius(params) - 3.0) < 4.0 * uncertainty(radius, params, model.getEstimCov());
}

}  // namespace

// The argument is the number of runs.
int main(int argc, char** argv)
{
    int const runs = argc > 1 ? std::stoi(argv[1]) : 10;
    int found[4] = {};
    for (int run = 0; run < runs; ++run) {
        initRandGene(static_cast<unsigned int>(2 + run));
        found[0] += isFound<EllipseEstimator>(noisy::onEllipse, 5.0, 0.25) ? 1 : 0;
        found[1] += isFound<CircleEstimator>(noisy::onCircle, 20.0, 0.04) ? 1 : 0;
        found[2] += isFound<SphereEstimator>(noisy::onSphere, 10.0, 0.04) ? 1 : 0;
        found[3] += isFound<CylinderEstimator>(noisy::onCylinder, 10.0, 0.04) ? 1 : 0;
    }
    std::cout << "of " << runs << " runs, found: ellipse " << found[0] << ", circle " << found[1]
              << ", sphere " << found[2] << ", cylinder " << found[3] << '\n';
    return *std::min_element(found, found + 4) >= 0.99 * runs ? 0 : 1;
}
