// Robust fits of PCL, with its own samples of three and two, in single precision as its points are,
// and the refit to the inliers.

#include "support/Check.h"
#include "support/MeasuredPoints.h"

#include <pcl/sample_consensus/lmeds.h>
#include <pcl/sample_consensus/ransac.h>
#include <pcl/sample_consensus/sac_model_line.h>
#include <pcl/sample_consensus/sac_model_plane.h>

#include <memory>

namespace {

using Point = pcl::PointXYZ;
using Cloud = pcl::PointCloud<Point>;

Cloud::Ptr cloudOf(std::vector<Vector> const& points)
{
    auto cloud = std::make_shared<Cloud>();
    for (Vector const& p : points)
        cloud->push_back(Point(static_cast<float>(p[0]), static_cast<float>(p[1]),
                               p.size() == 3 ? static_cast<float>(p[2]) : 0.0F));
    return cloud;
}

template <class Consensus, class Model>
void fit(benchmark::State& state, int dimension, int trials)
{
    int const n = static_cast<int>(state.range(0));
    auto const model = std::make_shared<Model>(cloudOf(measuredPoints(n, dimension)));
    pcl::Indices inliers;
    Eigen::VectorXf found, refined;
    for (auto _ : state) {
        Consensus consensus(model, threshold);
        consensus.setProbability(0.99);
        consensus.setMaxIterations(trials);
        consensus.computeModel();
        consensus.getInliers(inliers);
        consensus.getModelCoefficients(found);
        model->optimizeModelCoefficients(inliers, found, refined);
    }
    double const share = 1.0 - outlierShare;
    requireRight(isClose(static_cast<double>(inliers.size()), share * n, 0.1), state);
}

using Plane = pcl::SampleConsensusModelPlane<Point>;
using Line = pcl::SampleConsensusModelLine<Point>;

void ransacPlane(benchmark::State& state)
{
    fit<pcl::RandomSampleConsensus<Point>, Plane>(state, 3, planeTrials);
}
void ransacLine(benchmark::State& state)
{
    fit<pcl::RandomSampleConsensus<Point>, Line>(state, 2, lineTrials);
}
void lmedsPlane(benchmark::State& state)
{
    fit<pcl::LeastMedianSquares<Point>, Plane>(state, 3, planeTrials);
}
BENCHMARK(ransacPlane)->Name("RansacPlane/PCL")->Arg(100000)->Arg(1000000);
BENCHMARK(ransacLine)->Name("RansacLine/PCL")->Arg(100000);
BENCHMARK(lmedsPlane)->Name("LMedSPlane/PCL")->Arg(10000);

}  // namespace
