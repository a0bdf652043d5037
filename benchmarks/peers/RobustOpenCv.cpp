// The ellipse of OpenCV, in single precision as it takes no other.

#include "support/Check.h"
#include "support/MeasuredPoints.h"

#include <opencv2/imgproc.hpp>

namespace {

void ellipseFit(benchmark::State& state)
{
    std::vector<cv::Point2f> points;
    for (Vector const& p : roundPoints(static_cast<int>(state.range(0)), 2, 2.5, 0.0))
        points.emplace_back(static_cast<float>(p[0]), static_cast<float>(p[1]));
    cv::RotatedRect ellipse;
    for (auto _ : state) benchmark::DoNotOptimize(ellipse = cv::fitEllipse(points));
    requireRight(isClose(ellipse.size.width, 2.0 * 2.5, 0.01), state);
}
BENCHMARK(ellipseFit)->Name("EllipseFit/OpenCV")->Arg(1000)->Arg(10000);

}  // namespace
