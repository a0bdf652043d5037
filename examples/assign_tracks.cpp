// Follows several targets at once: in every frame the detections, out of order, incomplete and with
// false alarms among them, are assigned to the tracks at the least total of squared distances, each
// in units of what its track expects.

#include "math/Munkres.h"
#include "support/PlanarMotion.h"
#include "support/Svg.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>

namespace {

constexpr int nbTargets = 6;
constexpr int nbFrames = 40;
constexpr double sigma = 0.3;  // m, of a detection along each axis
constexpr double gate = 13.8;  // squared distance that one in a thousand exceeds

// Position and speed on ways that cross each other, past a circle in the middle.
Vector truth(int target, int frame)
{
    double const angle = target * 3.14159265358979 / nbTargets;
    double const c = std::cos(angle), s = std::sin(angle);
    double const along = 2.0 * frame - nbFrames;
    return Vector::of({c * along - s * 4.0, s * along + c * 4.0, 2.0 * c, 2.0 * s});
}

class PositionTrack : public PlanarMotion {
public:
    explicit PositionTrack(int target) : PlanarMotion(1.0, 0.1, 2)
    {
        setParams(truth(target, 0));
        setParamsCov(Matrix(4, 4, Matrix::IDENTITY));
    }
    void obsFct(Vector& x, Vector& z, Vector& value) override { value = x(0, 2) - z; }
    void obsJacParams(Vector&, Vector&, Matrix& H) override { H[0][0] = H[1][1] = 1.0; }
};

struct Detection {
    Vector at;
    int target;  // -1: a false alarm
};

std::vector<Detection> detect(int frame, std::mt19937& generator)
{
    std::uniform_real_distribution<double> uniform(-40.0, 40.0);
    std::normal_distribution<double> noise(0.0, sigma);
    std::vector<Detection> detections;
    for (int target = 0; target < nbTargets; ++target) {
        if (generator() % 20 == 0) continue;  // missed
        Vector const error = Vector::of({noise(generator), noise(generator)});
        detections.push_back({truth(target, frame)(0, 2) + error, target});
    }
    for (unsigned int n = generator() % 4; n > 0; --n)
        detections.push_back({Vector::of({uniform(generator), uniform(generator)}), -1});
    std::shuffle(detections.begin(), detections.end(), generator);
    return detections;
}

// Pairs beyond the gate cost all the same: they will not be used.
double cost(PositionTrack const& track, Vector const& at)
{
    Matrix const R = sigma * sigma * Matrix(2, 2, Matrix::IDENTITY);
    Vector const d = at - track.getPredParams()(0, 2);
    return std::min(d.dot((track.getPredParamsCov()(0, 0, 2, 2) + R).inverse() * d), gate);
}

// The track goes on by its detection, or by its prediction when it has none.
void advance(PositionTrack& track, Vector const* detection)
{
    if (detection != nullptr) {
        track.setObs(*detection, sigma * sigma * Matrix(2, 2, Matrix::IDENTITY));
        track.update();
    } else {
        track.setParams(track.getPredParams());
        track.setParamsCov(track.getPredParamsCov());
    }
}

}  // namespace

int main()
{
    std::mt19937 generator(2);
    std::vector<PositionTrack> tracks;
    for (int target = 0; target < nbTargets; ++target) tracks.emplace_back(target);
    SvgPlot::Rows seen;
    std::vector<SvgPlot::Rows> ways(tracks.size());
    int right = 0, wrong = 0;
    for (int frame = 1; frame <= nbFrames; ++frame) {
        std::vector<Detection> const detections = detect(frame, generator);
        Munkres grid(tracks.size(), detections.size());
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            tracks[i].predict();
            for (std::size_t j = 0; j < detections.size(); ++j)
                grid.setCell(i, j, {cost(tracks[i], detections[j].at)});
        }
        grid.solve();
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            Vector const* own = nullptr;
            for (std::size_t j = 0; j < detections.size(); ++j) {
                auto const& [at, target] = detections[j];
                if (!grid.getCell(i, j).starred || cost(tracks[i], at) >= gate) continue;
                own = &at;
                ++(target == static_cast<int>(i) ? right : wrong);
            }
            advance(tracks[i], own);
            ways[i].push_back({tracks[i].getParams()[0], tracks[i].getParams()[1]});
        }
        for (auto const& [at, target] : detections) seen.push_back({at[0], at[1]});
    }
    std::cout << right << " detections assigned rightly, " << wrong << " wrongly\n";

    SvgPlot plot("tracks.svg", "Detections assigned to tracks", "x [m]", "y [m]", 700, 700);
    plot.set("size ratio -1");
    plot.add("detections", "points pt 7 ps 0.4 lc rgb '#999999'", seen);
    for (std::size_t i = 0; i < ways.size(); ++i)
        plot.add("track " + std::to_string(i + 1), "lines lw 2", ways[i]);
    plot.write();
    return wrong * 50 < right ? 0 : 1;
}
