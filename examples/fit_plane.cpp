#include "math/PlanEstimator.h"
#include "math/Ransac.h"

#include <iostream>

int main()
{
    std::vector<Vector> points;  // x, y, z in metres, some of them wrong
    for (double x, y, z; std::cin >> x >> y >> z;) points.push_back(Vector::of({x, y, z}));
    PlanEstimator plane;
    plane.setDataColl(points);
    Ransac ransac;
    ransac.setEstimator(&plane);
    ransac.setOutliersThreshold(0.05);  // 5 cm off the plane is an outlier
    if (!ransac.robustEstimation()) return 1;
    std::cout << "a x + b y + c z = d: " << ransac.getEstimParams() << ", "
              << ransac.getNbOutliers() << " outliers, RMS " << plane.getRMS3D() << " m\n";
}
