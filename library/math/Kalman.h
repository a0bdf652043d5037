#pragma once

#include "math/Export.h"
#include "math/Matrix.h"
#include "math/TArray.h"
#include "math/Vector.h"

/// Extended Kalman filter for a model of the user's: the state, its transition and observation
/// functions with their Jacobians, and the statistics of what goes in and comes out.
///
///   n  parameters x (the state) with covariance P      m  observations z with covariance R
///   c  controls u with covariance Qu                   p  values of the observation function
///
///   transition    x⁻ = f(x, u)      F = ∂f/∂x  n × n    G = ∂f/∂u  n × c
///   observation   g(x, z) = 0       H = ∂g/∂x  p × n    B = ∂g/∂z  p × m
///
/// The observation function is implicit: it is 0 where an observation fits the state perfectly. An
/// explicit model z = h(x) is g(x, z) = h(x) - z, with p = m and B = -I.
///
/// A model derives from `KalmanIekf`, which implements the two steps, and overrides the six
/// functions of the first group. Each writes its result into its third argument, which already has
/// its size; `Jacobien` differentiates numerically where a Jacobian is not at hand.
///
///     filter.setParams(x); filter.setParamsCov(P);                       // once
///     filter.setCtrl(u, Qu); filter.predict();                           // every time step
///     filter.setObs(z, R); filter.update();
///     if (filter.getStatus() == Kalman::KL_OK) use(filter.getParams(), filter.getParamsCov());
///
/// Covariances are symmetric. A failed step throws nothing: `getStatus` tells. Dimensions may be of
/// any integer type.
class MEASUREMATH_API Kalman {
public:
    /// How the last step ended.
    enum KlStatus {
        KL_OK = 0,            ///< "OK"
        KL_BAD_ARGUMENT = 1,  ///< "Bad Argument Error": a dimension below 1, or sizes that disagree
        KL_NB_ITERATIONS = 2,     ///< "Number Iterations Error": the update did not converge
        KL_MATRIX_INVERSION = 3,  ///< "Matrix Inversion Error": singular innovation covariance
        KL_MEMORY_ALLOCATION = 4  ///< "Memory Allocation Error"
    };

    /// A function of the model, or one of its `pt` forms, as `Jacobien` takes it.
    using Function = void (Kalman::*)(Vector&, Vector&, Vector&);

    /// All dimensions 0.
    Kalman() = default;

    /// Sizes every vector and matrix for these dimensions and fills them with zeros.
    template <class N, class M, class C, class P, measuremath::IfIndex<N, M, C, P> = 0>
    Kalman(N nbParams, M nbObs, C nbCtrl, P nbObsFct)
    {
        resize(static_cast<int>(nbParams), static_cast<int>(nbObs), static_cast<int>(nbCtrl),
               static_cast<int>(nbObsFct));
    }

    Kalman(Kalman const& other) = default;             ///< Copies the other.
    Kalman& operator=(Kalman const& other) = default;  ///< Takes over the contents of the other.
    virtual ~Kalman() = default;

    /// @name The model
    /// @{
    /// H = ∂g/∂x, p × n.
    virtual void obsJacParams(Vector& params, Vector& obs, Matrix& H) = 0;
    /// B = ∂g/∂z, p × m.
    virtual void obsJacObs(Vector& params, Vector& obs, Matrix& B) = 0;
    /// F = ∂f/∂x, n × n.
    virtual void stateJacParams(Vector& params, Vector& ctrl, Matrix& F) = 0;
    /// G = ∂f/∂u, n × c.
    virtual void stateJacCtrl(Vector& params, Vector& ctrl, Matrix& G) = 0;
    /// The transition x⁻ = f(x, u).
    virtual void stateFct(Vector& params, Vector& ctrl, Vector& predParams) = 0;
    /// The observation function g(x, z), p values.
    virtual void obsFct(Vector& params, Vector& obs, Vector& value) = 0;
    /// @}

    /// @name Steps
    /// @{
    virtual void predict() = 0;  ///< From the estimate and the control to the predicted state.
    virtual void update() = 0;   ///< From the predicted state and the observation to the estimate.
    /// @}

    /// @name Data and results
    /// The getters give the members themselves.
    /// @{
    virtual void setParamsCov(Matrix const& P);  ///< Both the estimate's and the predicted state's.
    virtual void setParams(Vector const& x);     ///< Both the estimate and the predicted state.
    virtual Matrix& getParamsCov() { return _paramsCov; }          ///< P of the estimate.
    virtual Matrix& getPredParamsCov() { return _predParamsCov; }  ///< P⁻ of the prediction.
    virtual Vector& getParams() { return _params; }                ///< The estimate x.
    virtual Vector& getPredParams() { return _predParams; }        ///< The predicted state x⁻.
    virtual void setCtrl(Vector const& u, Matrix const& Qu);       ///< Control and its covariance.
    virtual void setObs(Vector const& z, Matrix const& R);  ///< Observation and its covariance.
    virtual Matrix& getObsCov() { return _obsCov; }         ///< R.
    virtual Vector& getObs() { return _obs; }               ///< z.

    Matrix const& getParamsCov() const { return _paramsCov; }          ///< P of the estimate.
    Matrix const& getPredParamsCov() const { return _predParamsCov; }  ///< P⁻ of the prediction.
    Vector const& getParams() const { return _params; }                ///< The estimate x.
    Vector const& getPredParams() const { return _predParams; }  ///< The predicted state x⁻.
    Matrix const& getObsCov() const { return _obsCov; }          ///< R.
    Vector const& getObs() const { return _obs; }                ///< z.

    /// Raises the variances of the observations (the diagonal of R) that are below `v` to it.
    void checkObsCov(double v);
    /// @}

    /// @name Dimensions
    /// The constructor sizes everything at once; each of these sizes what depends on one dimension
    /// by the others as they stand, and fills it with zeros. Kept: they size K by m, not p, and g
    /// by m, and `setDimParams` sizes Qu n × n. The steps size K, g, H and B again where they need.
    /// @{
    template <class N, measuremath::IfIndex<N> = 0>
    void setDimParams(N n)
    {
        resizeParams(static_cast<int>(n));
    }
    template <class M, measuremath::IfIndex<M> = 0>
    void setDimObs(M m)
    {
        resizeObs(static_cast<int>(m));
    }
    template <class C, measuremath::IfIndex<C> = 0>
    void setDimCtrl(C c)
    {
        resizeCtrl(static_cast<int>(c));
    }
    template <class P, measuremath::IfIndex<P> = 0>
    void setDimObsFct(P p)
    {
        resizeObsFct(static_cast<int>(p));
    }
    int getDimParams() const { return _dimParams; }  ///< n
    int getDimObs() const { return _dimObs; }        ///< m
    int getDimCtrl() const { return _dimCtrl; }      ///< c
    int getDimObsFct() const { return _dimObsFct; }  ///< p
    /// @}

    /// @name Iteration and status
    /// @{
    void setNbIterMax(int nbIterMax) { _nbIterMax = nbIterMax; }     ///< Most passes of an update.
    void setTolerance(double tolerance) { _tolerance = tolerance; }  ///< On |x' - x|² / |x|².
    int getNbIterMax() const { return _nbIterMax; }                  ///< Default 50.
    double getTolerance() const { return _tolerance; }               ///< Default 2^-26.
    int getNbIter() const { return _nbIter; }                        ///< Passes of the last update.
    KlStatus getStatus() const { return _status; }                   ///< How the last step ended.
    char const* getStatusMessage() const;  ///< The text of the status, as in `KlStatus`.
    /// @}

    /// @name Numeric Jacobians
    /// @{

    /// The model's functions with the argument to differentiate by in front: by the parameters as
    /// they are, by the control or the observation with the two exchanged.
    void ptStateFctParams(Vector& params, Vector& ctrl, Vector& out)
    {
        stateFct(params, ctrl, out);
    }
    void ptStateFctCtrl(Vector& ctrl, Vector& params, Vector& out) { stateFct(params, ctrl, out); }
    void ptObsFctParams(Vector& params, Vector& obs, Vector& out) { obsFct(params, obs, out); }
    void ptObsFctObs(Vector& obs, Vector& params, Vector& out) { obsFct(params, obs, out); }

    /// Forward differences of `fct(x, y, ·)` by the first `dimIn` elements of x, with the step
    /// |x_j|·h0 where h0 = √max(|step|, 2^-52), or h0 itself where that is below 2^-52.
    ///
    ///     Vector g(getDimObsFct());
    ///     obsFct(params, obs, g);
    ///     Jacobien(&Kalman::ptObsFctParams, getDimParams(), params, obs, getDimObsFct(), g, H, 0.0);
    ///
    /// @param[in,out] x   varied while this runs and restored after each element.
    /// @param[in]     f0  the function's value at x, `dimOut` elements.
    /// @param[out]    J   at least `dimOut` × `dimIn`.
    /// @throws MathError "Bad vector dimensions" when x or f0 is too short, "Bad matrix dimensions"
    ///         when J is too small.
    template <class In, class Out, measuremath::IfIndex<In, Out> = 0>
    void Jacobien(Function fct, In dimIn, Vector& x, Vector y, Out dimOut, Vector& f0, Matrix& J,
                  double step)
    {
        differentiate(fct, static_cast<int>(dimIn), x, y, static_cast<int>(dimOut), f0, J, step);
    }
    /// @}

protected:
    int _dimParams = 0;                          ///< n
    int _dimObs = 0;                             ///< m
    int _dimCtrl = 0;                            ///< c
    int _dimObsFct = 0;                          ///< p
    int _nbIter = 0;                             ///< Passes of the last update.
    int _nbIterMax = 50;                         ///< Most passes of an update.
    double _tolerance = 1.4901161193847656e-08;  ///< Square root of 2^-52.
    KlStatus _status = KL_OK;                    ///< How the last step ended.
    Matrix _gain;                                ///< K, n × p.
    Matrix _ctrlCov;                             ///< Qu, c × c.
    Matrix _obsCov;                              ///< R, m × m.
    Matrix _paramsCov;                           ///< P, n × n.
    Matrix _predParamsCov;                       ///< P⁻, n × n.
    Vector _params;                              ///< x, n.
    Vector _predParams;                          ///< x⁻, n.
    Vector _obs;                                 ///< z, m.
    Vector _ctrl;                                ///< u, c.
    Vector _obsFctValue;                         ///< g, p.
    Matrix _obsJacParams;                        ///< H, p × n.
    Matrix _obsJacObs;                           ///< B, p × m.
    Matrix _stateJacParams;                      ///< F, n × n.
    Matrix _stateJacCtrl;                        ///< G, n × c.

private:
    void resize(int nbParams, int nbObs, int nbCtrl, int nbObsFct);
    void resizeParams(int n);
    void resizeObs(int m);
    void resizeCtrl(int c);
    void resizeObsFct(int p);
    void differentiate(Function fct, int dimIn, Vector& x, Vector& y, int dimOut, Vector const& f0,
                       Matrix& J, double step);
};

/// Iterated extended Kalman filter (Bell and Cathey 1993): the update linearises the observation
/// function anew around each estimate until the estimate stays.
///
/// The prediction is that of the extended filter. Where the observation function is linear the
/// second pass repeats the first, and the filter is the classical one.
class MEASUREMATH_API KalmanIekf : public Kalman {
public:
    using Kalman::Kalman;  ///< The constructors of `Kalman`.

    /// P⁻ = F·P·Fᵀ + G·Qu·Gᵀ, then x⁻ = f(x, u), with F and G at the estimate.
    ///
    /// Works only while the status is `KL_OK`, to which an update resets it. Sets `KL_BAD_ARGUMENT`
    /// when n, m or c is below 1 or sizes disagree; the predicted state is then unchanged.
    ///
    /// The estimate itself stays until an update: a step without an observation takes over the
    /// prediction by `setParams(getPredParams())` and `setParamsCov(getPredParamsCov())`.
    void predict() override;

    /// Repeats, from ξ = x⁻ on and with g, H and B at ξ:
    /// S = B·R·Bᵀ + H·P⁻·Hᵀ, K = P⁻·Hᵀ·S⁻¹, x = x⁻ - K·(g + H·(x⁻ - ξ)), ξ = x;
    /// until the squared change of x is at most the tolerance times |ξ|², from the second pass on,
    /// or the most passes are made. Then P = P⁻ - K·H·P⁻.
    ///
    /// Without convergence, as with one pass at most, the status is `KL_NB_ITERATIONS` and estimate
    /// and covariance are those of the last pass. They are unchanged when a dimension n, m or p is
    /// below 1 or sizes disagree (`KL_BAD_ARGUMENT`), when S is singular or not finite
    /// (`KL_MATRIX_INVERSION`), and when a Jacobian comes back empty (`KL_NB_ITERATIONS`).
    void update() override;

private:
    bool hasStateSizes() const;
    bool hasObsSizes() const;
    bool linearise();
    bool computeGain();
    double correct();
    void computeCovariance();

    // Covariance A·C·Aᵀ of A·a where a has the covariance C, with what it is made of.
    struct Propagation {
        void propagate(Matrix const& A, Matrix const& C);

        Matrix product;     // A·C
        Matrix transposed;  // Aᵀ
        Matrix covariance;
    };

    // Kept between steps for their storage.
    Propagation _byState;   // F·P·Fᵀ
    Propagation _byCtrl;    // G·Qu·Gᵀ
    Propagation _byParams;  // H·P⁻·Hᵀ
    Propagation _byObs;     // B·R·Bᵀ
    Vector _point;          // ξ
    Matrix _covariance;     // P, before it becomes the estimate's
    Vector _shift;          // x⁻ - ξ
    Vector _innovation;     // g + H·(x⁻ - ξ)
    Matrix _innovationCov;  // S
    Matrix _innovationCovInv;
    Matrix _covJacT;  // P⁻·Hᵀ
};
