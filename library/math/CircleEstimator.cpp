#include "math/CircleEstimator.h"

CircleEstimator::CircleEstimator() : RoundEstimator(2) {}
