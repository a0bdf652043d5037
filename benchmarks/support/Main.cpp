// The main function of every benchmark program.

#include "math/MathError.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    // No case pays for log records.
    g_MathLogger.setLogLevel(log4cplus::OFF_LOG_LEVEL);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
