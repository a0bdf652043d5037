#include "math/Random.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

namespace {

constexpr int largestDraw = 32767;
constexpr double drawToUnit = 3.051850947599719e-05;  // 1 / 32767

// One draw in 0..32767. Where the C library's range is 2^31, the bits taken are the high ones.
int draw()
{
#if RAND_MAX == 32767
    return std::rand();
#else
    static_assert(RAND_MAX == 2147483647, "map this generator's range to 15 bits");
    return (std::rand() >> 16) & largestDraw;
#endif
}

bool gaussPending = false;
double pendingGauss = 0.0;

}  // namespace

void initRandGene(unsigned int seed)
{
    std::srand(seed == 1 ? static_cast<unsigned int>(std::time(nullptr)) : seed);
}

double randGene()
{
    return draw() * drawToUnit;
}

double vaUnif(double a)
{
    return (randGene() - 0.5) * a * 2;
}

double vaGauss(double sigma)
{
    if (gaussPending) {
        gaussPending = false;
        return pendingGauss * sigma;
    }

    double u = 0.0;
    double v = 0.0;
    double s = 0.0;
    do {
        u = vaUnif(1.0);
        v = vaUnif(1.0);
        s = v * v + u * u;
    } while (!(s < 1.0));
    double const f = std::sqrt(-2.0 * std::log(s) / s);
    pendingGauss = u * f;
    gaussPending = true;
    return v * f * sigma;
}

int rand(int a, int b)
{
    int const r = draw();
    if (r == largestDraw) return static_cast<int>(b - 1LL);
    // Wide, so that no range overflows on the way.
    return static_cast<int>(a + (static_cast<long long>(b) - a) * r / largestDraw);
}

unsigned int rand(unsigned int a, unsigned int b)
{
    auto const r = static_cast<unsigned int>(draw());
    if (r == largestDraw) return b - 1;
    return a + (b - a) * r / largestDraw;
}
