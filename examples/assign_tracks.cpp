// Follows several targets at once: in every frame the detections, out of order, incomplete and with
// false alarms among them, are assigned to the tracks at the least total cost.

#include "math/Munkres.h"
#include "support/CrossingTargets.h"
#include "support/PlanarMotion.h"

#include <algorithm>
#include <iostream>

using namespace crossing;

namespace {

constexpr double gate = 13.8;  // squared distance that one right pair in a thousand exceeds
Matrix const noise = sigma * sigma * Matrix(2, 2, Matrix::IDENTITY);  // of a detection

class Track : public PlanarMotion {
public:
    explicit Track(int target) : PlanarMotion(1.0, 0.1, 2)
    {
        setParams(truth(target, 0));
        setParamsCov(Matrix(4, 4, Matrix::IDENTITY));
    }
    void obsFct(Vector& x, Vector& z, Vector& value) override { value = x(0, 2) - z; }

    // Squared distance in units of what the track expects. Pairs beyond the gate cost all the same.
    double cost(Vector const& at) const
    {
        Vector const d = at - getPredParams()(0, 2);
        return std::min(d.dot((getPredParamsCov()(0, 0, 2, 2) + noise).inverse() * d), gate);
    }
    // Goes on by its detection, or by its prediction when it has none.
    void advance(Detection const* detection)
    {
        if (detection == nullptr) {
            setParams(getPredParams());
            return setParamsCov(getPredParamsCov());
        }
        setObs(detection->at, noise);
        update();
    }
};

}  // namespace

int main()
{
    std::mt19937 generator(2);
    std::vector<Track> tracks;
    for (int target = 0; target < nbTargets; ++target) tracks.emplace_back(target);
    int right = 0, wrong = 0;
    for (int frame = 1; frame <= nbFrames; ++frame) {
        std::vector<Detection> const detections = detect(frame, generator);
        //! [code]
        Munkres grid(tracks.size(), detections.size());
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            tracks[i].predict();
            for (std::size_t j = 0; j < detections.size(); ++j)
                grid.setCell(i, j, {tracks[i].cost(detections[j].at)});
        }
        grid.solve();
        //! [code]
        for (std::size_t i = 0; i < tracks.size(); ++i) {
            Detection const* own = nullptr;
            for (std::size_t j = 0; j < detections.size(); ++j)
                if (grid.getCell(i, j).starred && tracks[i].cost(detections[j].at) < gate)
                    own = &detections[j];
            if (own != nullptr) ++(own->target == static_cast<int>(i) ? right : wrong);
            tracks[i].advance(own);
        }
    }
    std::cout << right << " detections assigned rightly, " << wrong << " wrongly\n";
    return wrong * 50 < right ? 0 : 1;
}
