#pragma once

#include "math/Vector.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

/// Made data: targets that cross each other's ways, and what is seen of them.
namespace crossing {

constexpr int nbTargets = 6, nbFrames = 40;
constexpr double sigma = 0.3;  ///< Of a detection along each axis, in metres.

/// Position and speed on ways that cross each other, past a circle in the middle.
inline Vector truth(int target, int frame)
{
    double const angle = target * 3.141592653589793 / nbTargets, along = 2.0 * frame - nbFrames;
    double const c = std::cos(angle), s = std::sin(angle);
    return Vector::of({c * along - s * 4.0, s * along + c * 4.0, 2.0 * c, 2.0 * s});
}

/// One detection.
struct Detection {
    Vector at;   ///< Where, in metres.
    int target;  ///< The one that was seen; -1: a false alarm.
};

/// What is seen in a frame: one target in twenty is missed, up to three false alarms join in, and
/// nothing is in order.
inline std::vector<Detection> detect(int frame, std::mt19937& generator)
{
    std::uniform_real_distribution<double> uniform(-40.0, 40.0);
    std::normal_distribution<double> normal(0.0, sigma);
    std::vector<Detection> detections;
    for (int target = 0; target < nbTargets; ++target) {
        Vector const error = Vector::of({normal(generator), normal(generator)});
        if (generator() % 20 != 0)
            detections.push_back({truth(target, frame)(0, 2) + error, target});
    }
    for (unsigned int n = generator() % 4; n > 0; --n)
        detections.push_back({Vector::of({uniform(generator), uniform(generator)}), -1});
    std::shuffle(detections.begin(), detections.end(), generator);
    return detections;
}

}  // namespace crossing
