// The least-squares problems by Ceres: one residual block, dense QR, without a covariance.

#include "support/Check.h"
#include "support/LeastSquaresModels.h"

#include <ceres/ceres.h>

namespace {

template <class Model>
class ModelCost : public ceres::CostFunction {
public:
    explicit ModelCost(Model const& model) : _model(model)
    {
        set_num_residuals(model.m());
        mutable_parameter_block_sizes()->push_back(Model::n);
    }

    bool Evaluate(double const* const* p, double* residuals, double** jacobians) const override
    {
        _model.residuals(p[0], residuals);
        if (jacobians != nullptr && jacobians[0] != nullptr)
            _model.jacobian(p[0], {jacobians[0], Model::n, 1});
        return true;
    }

private:
    Model const& _model;
};

template <class Model>
void minimise(benchmark::State& state)
{
    Model const model(static_cast<int>(state.range(0)));
    ceres::Solver::Options options;
    options.linear_solver_type = ceres::DENSE_QR;
    options.function_tolerance = options.parameter_tolerance = tolerance;
    options.logging_type = ceres::SILENT;
    options.num_threads = 1;
    Vector x = Model::start();
    ceres::Problem problem;
    problem.AddResidualBlock(new ModelCost<Model>(model), nullptr, x.begin());
    for (auto _ : state) {
        Vector const start = Model::start();
        std::copy(start.begin(), start.end(), x.begin());
        ceres::Solver::Summary summary;
        ceres::Solve(options, &problem, &summary);
    }
    requireRight(isClose(x, Model::truth(), 0.05), state);
}
BENCHMARK(minimise<Exponential>)->Name("LmExponential/Ceres")->Arg(100)->Arg(1000);
BENCHMARK(minimise<Rational>)->Name("LmRational/Ceres")->Arg(151)->Arg(1000);
BENCHMARK(minimise<Pose>)->Name("LmPose/Ceres")->Arg(1000);
BENCHMARK(minimise<Sphere>)->Name("LmSphere/Ceres")->Arg(10000);

}  // namespace
