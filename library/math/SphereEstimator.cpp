#include "math/SphereEstimator.h"

SphereEstimator::SphereEstimator() : RoundEstimator(3) {}
