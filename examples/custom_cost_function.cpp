// Fits a cooling curve with a cost function of one's own: measurements of different accuracy are
// weighted, the temperature of the room is known and held fixed.

#include "math/LMMinPack.h"
#include "math/MathError.h"
#include "math/WeightedCostFun.h"

#include <log4cplus/consoleappender.h>
#include <log4cplus/layout.h>

#include <cmath>
#include <iostream>
#include <memory>

namespace {

// T(t) = room + excess · exp(-rate · t), with all parameters (excess, rate, room).
class CoolingCurve : public WeightedCostFun {
public:
    CoolingCurve(Vector const& times, Vector const& temperatures)
        : _times(times),
          _temperatures(temperatures)
    {
        initCostFun(times.size(), 3);
    }

protected:
    // Every parameter is there, fixed or not.
    void computeFunValue(Vector const& params) override
    {
        double* const r = _funValue.begin();
        for (int i = 0; i < _times.getSize(); ++i)
            r[i] = params[2] + params[0] * std::exp(-params[1] * _times[i]) - _temperatures[i];
    }

    // One column for each parameter that is estimated: here the first two.
    void computeAnaJacValue(Vector const& params) override
    {
        double* J = _jacValue.begin();
        for (double const t : _times) {
            double const decay = std::exp(-params[1] * t);
            *J++ = decay;
            *J++ = -params[0] * t * decay;
        }
    }

private:
    Vector const _times;         // minutes
    Vector const _temperatures;  // degrees Celsius
};

}  // namespace

int main()
{
    // Progress and report of the solver go to the logger.
    log4cplus::SharedAppenderPtr const console(new log4cplus::ConsoleAppender);
    console->setLayout(std::make_unique<log4cplus::PatternLayout>("%m%n"));
    g_MathLogger.addAppender(console);

    Vector const times = Vector::of({0, 2, 4, 6, 10, 15, 20, 30});
    Vector const temperatures = Vector::of({90.3, 79.4, 70.1, 62.6, 50.5, 40.1, 33.0, 25.9});
    Vector const weights = Vector::of({2, 2, 2, 2, 5, 5, 5, 5});  // 1 / standard deviation
    CoolingCurve curve(times, temperatures);
    curve.setEstimFlags({true, true, false});
    curve.setFixedParams(Vector::of({21.0}));
    curve.setWeights(weights);

    LMMinPack solver;
    solver.setCostFun(&curve);
    solver.setInitVecSol(Vector::of({50.0, 0.1}));
    solver.solve();

    Vector const& x = solver.getVecSol();
    Vector const variances = solver.getCov().getDiagVector();  // weighted residuals have variance 1
    std::cout << "excess " << x[0] << " +- " << std::sqrt(variances[0]) << " degrees\n"
              << "rate " << x[1] << " +- " << std::sqrt(variances[1]) << " per minute\n";
    return solver.getEndFlag() == LMSolver::NormalEnd ? 0 : 1;
}
