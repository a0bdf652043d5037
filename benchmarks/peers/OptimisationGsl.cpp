// The least-squares problems by GSL: Levenberg-Marquardt with QR and the scaling of MINPACK, and the
// covariance.

#include "support/Check.h"
#include "support/LeastSquaresModels.h"

#include <gsl/gsl_multifit_nlinear.h>

namespace {

template <class Model>
int residuals(gsl_vector const* x, void* model, gsl_vector* f)
{
    static_cast<Model const*>(model)->residuals(x->data, f->data);
    return GSL_SUCCESS;
}

template <class Model>
int jacobian(gsl_vector const* x, void* model, gsl_matrix* J)
{
    auto const row = static_cast<std::ptrdiff_t>(J->tda);
    static_cast<Model const*>(model)->jacobian(x->data, {J->data, row, 1});
    return GSL_SUCCESS;
}

template <class Model>
void minimise(benchmark::State& state)
{
    Model model(static_cast<int>(state.range(0)));
    std::size_t const m = static_cast<std::size_t>(model.m());
    std::size_t const n = Model::n;
    gsl_multifit_nlinear_fdf problem = {};
    problem.f = &residuals<Model>;
    problem.df = &jacobian<Model>;
    problem.n = m;
    problem.p = n;
    problem.params = &model;

    gsl_multifit_nlinear_parameters parameters = gsl_multifit_nlinear_default_parameters();
    parameters.solver = gsl_multifit_nlinear_solver_qr;
    auto* const solver = gsl_multifit_nlinear_alloc(gsl_multifit_nlinear_trust, &parameters, m, n);
    gsl_matrix* const covariance = gsl_matrix_alloc(n, n);
    for (auto _ : state) {
        Vector const start = Model::start();
        gsl_vector_const_view const x = gsl_vector_const_view_array(start.begin(), n);
        int info = 0;
        gsl_multifit_nlinear_init(&x.vector, &problem, solver);
        gsl_multifit_nlinear_driver(100, tolerance, tolerance, tolerance, nullptr, nullptr, &info,
                                    solver);
        gsl_multifit_nlinear_covar(gsl_multifit_nlinear_jac(solver), tolerance, covariance);
    }
    Vector const x(gsl_multifit_nlinear_position(solver)->data, Model::n);
    requireRight(isClose(x, Model::truth(), 0.05), state);
    gsl_matrix_free(covariance);
    gsl_multifit_nlinear_free(solver);
}
BENCHMARK(minimise<Exponential>)->Name("LmExponential/GSL")->Arg(100)->Arg(1000);
BENCHMARK(minimise<Rational>)->Name("LmRational/GSL")->Arg(151)->Arg(1000);
BENCHMARK(minimise<Pose>)->Name("LmPose/GSL")->Arg(1000);
BENCHMARK(minimise<Sphere>)->Name("LmSphere/GSL")->Arg(10000);

}  // namespace
