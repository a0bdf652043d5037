// The plane of Open3D, with its own samples of three.

#include "support/Check.h"
#include "support/MeasuredPoints.h"

#include <open3d/geometry/PointCloud.h>
#include <open3d/utility/Random.h>

namespace {

void ransacPlane(benchmark::State& state)
{
    int const n = static_cast<int>(state.range(0));
    open3d::geometry::PointCloud cloud;
    for (Vector const& p : measuredPoints(n, 3)) cloud.points_.emplace_back(p[0], p[1], p[2]);
    std::size_t nbInliers = 0;
    for (auto _ : state) {
        open3d::utility::random::Seed(7);
        auto const [plane, inliers] = cloud.SegmentPlane(threshold, 3, planeTrials, 0.99);
        nbInliers = inliers.size();
    }
    double const share = 1.0 - outlierShare;
    requireRight(isClose(static_cast<double>(nbInliers), share * n, 0.1), state);
}
BENCHMARK(ransacPlane)->Name("RansacPlane/Open3D")->Arg(100000)->Arg(1000000);

}  // namespace
