#include "math/TArray.h"

template class TVector<double>;
template class TVector<int>;
template class TArray<double>;
