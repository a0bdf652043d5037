#include "Module.h"

#include "math/Rotation.h"
#include "math/Spherical.h"

namespace measuremath::python {

namespace {

// Functions that write into an output, with the sizes that they only assert.
template <void (*function)(Vector const&, Vector&), int from, int to>
Vector vectorOf(Vector const& input)
{
    Vector output(to);
    function(atLeast(from, input), output);
    return output;
}

template <void (*function)(Vector const&, Matrix&), int from, int rows, int cols>
Matrix matrixOf(Vector const& input)
{
    Matrix output(rows, cols);
    function(atLeast(from, input), output);
    return output;
}

template <void (*function)(Matrix const&, Vector&), int to>
Vector parametersOf(Matrix const& R)
{
    Vector output(to);
    function(atLeast(3, 3, R), output);
    return output;
}

Vector quaternionOf(double angle, Vector const& axis)
{
    Vector quaternion(4);
    vectToQuat(angle, atLeast(3, axis), quaternion);
    return quaternion;
}

py::tuple angleAndAxisOf(Vector const& quaternion)
{
    double angle = 0.0;
    Vector axis(3);
    quatToVect(atLeast(4, quaternion), angle, axis);
    return py::make_tuple(angle, axis);
}

Matrix pointDerivative(Vector const& euler, Vector const& p)
{
    Matrix J(3, 3);
    dRotdEuler(atLeast(3, euler), atLeast(3, p), J);
    return J;
}

void bindConversions(py::module_& m)
{
    m.def("vectToQuat", &quaternionOf, py::arg("angle"), py::arg("axis"),
          "Quaternion of the rotation by angle (rad) about axis.");
    m.def("quatToVect", &angleAndAxisOf, py::arg("quaternion"),
          "(angle, axis): angle in [0, 2 pi] and unit axis.");
    m.def("eulerToMatrix", &matrixOf<eulerToMatrix, 3, 3, 3>, py::arg("euler"),
          "R = Rz(e0) Ry(e1) Rx(e2), 3 x 3.");
    m.def("matrixToEuler", &parametersOf<matrixToEuler, 3>, py::arg("R"),
          "Euler angles (e0, e1, e2) of a rotation matrix; in gimbal lock e0 is 0.");
    m.def("matrixToVect", &parametersOf<matrixToVect, 3>, py::arg("R"),
          "Rotation vector of a rotation matrix, of length [0, pi].");
    m.def("vectToMatrix", &matrixOf<vectToMatrix, 3, 3, 3>, py::arg("r"),
          "Rotation matrix of a rotation vector (Rodrigues).");
    m.def("quatToMatrix", &matrixOf<quatToMatrix, 4, 3, 3>, py::arg("quaternion"),
          "Rotation matrix of a quaternion of any length.");
    m.def("matrixToQuat", &parametersOf<matrixToQuat, 4>, py::arg("R"),
          "Unit quaternion of a rotation matrix, either sign.");
    m.def("azElRoToMatrix", &matrixOf<azElRoToMatrix, 3, 3, 3>, py::arg("azElRo"),
          "R = Rz(a0) Rx(pi/2 + a1) Rz(a2) of azimuth, elevation and roll.");
    m.def("matrixToAzElRo", &parametersOf<matrixToAzElRo, 3>, py::arg("R"),
          "Azimuth, elevation and roll of a rotation matrix.");
    m.def("dRotdEuler", &pointDerivative, py::arg("euler"), py::arg("p"),
          "3 x 3 derivative of R(e) p by the Euler angles.");
    m.def("dEulerRotInvdEulerRot", &matrixOf<dEulerRotInvdEulerRot, 3, 3, 3>, py::arg("euler"),
          "3 x 3 derivative of the inverse rotation's Euler angles by those of e.");
}

void bindSpherical(py::module_& m)
{
    m.def("cartToSph", &vectorOf<cartToSph, 3, 2>, py::arg("v"),
          "(phi, theta) of a direction: phi about z in [0, 2 pi], theta from +z in [0, pi].");
    m.def("sphToCart", &vectorOf<sphToCart, 2, 3>, py::arg("s"), "Unit direction of (phi, theta).");
    m.def("cartToSphParticular", &vectorOf<cartToSphParticular, 3, 2>, py::arg("v"),
          "(phi, theta) of a direction where z looks forward and y down: phi about y, theta "
          "towards -y.");
    m.def("sphToCartParticular", &vectorOf<sphToCartParticular, 2, 3>, py::arg("s"),
          "Unit direction of the particular angles.");
    m.def("computeJSph", &matrixOf<computeJSph, 3, 2, 3>, py::arg("v"),
          "2 x 3 derivative of cartToSph at v.");
    m.def("computeJCart", &matrixOf<computeJCart, 2, 3, 2>, py::arg("s"),
          "3 x 2 derivative of sphToCart at s.");
    m.def("computeJSphParticular", &matrixOf<computeJSphParticular, 3, 2, 3>, py::arg("v"),
          "2 x 3 derivative of cartToSphParticular at v.");
    m.def("computeJCartParticular", &matrixOf<computeJCartParticular, 2, 3, 2>, py::arg("s"),
          "3 x 2 derivative of sphToCartParticular at s.");
}

// A constructor from each other form. Those of exact types come first: all are vectors too.
template <class Rotation, class Other, class Class>
void bindFrom(Class& c, char const* name)
{
    c.def(py::init([](Other const& other) { return Rotation(other); }), py::arg(name),
          "The same rotation from another form; from a Vector or a Matrix, its elements.");
}

using EulerClass = py::class_<Euler, Vector>;
using QuaternionClass = py::class_<Quaternion, Vector>;
using VectorRClass = py::class_<VectorR, Vector>;
using MatrixRClass = py::class_<MatrixR, Matrix>;

void bindEuler(EulerClass& c)
{
    c.def(py::init<>(), "(0, 0, 0), the identity.");
    c.def(py::init<double, double, double>(), py::arg("roulis"), py::arg("tangage"),
          py::arg("lacet"), "The angles about z, y and x (rad).");
    bindFrom<Euler, Euler>(c, "e");
    bindFrom<Euler, MatrixR>(c, "R");
    bindFrom<Euler, VectorR>(c, "r");
    bindFrom<Euler, Quaternion>(c, "q");
    bindFrom<Euler, Vector>(c, "v");
    c.def("getRoulis", &Euler::getRoulis, "Angle about z.");
    c.def("getTangage", &Euler::getTangage, "Angle about y.");
    c.def("getLacet", &Euler::getLacet, "Angle about x.");
    c.def("setRoulis", &Euler::setRoulis, py::arg("angle"), "Angle about z.");
    c.def("setTangage", &Euler::setTangage, py::arg("angle"), "Angle about y.");
    c.def("setLacet", &Euler::setLacet, py::arg("angle"), "Angle about x.");
}

void bindQuaternion(QuaternionClass& c)
{
    c.def(py::init<>(), "(0, 0, 0, 0), not a unit quaternion.");
    c.def(py::init<double, double, double, double>(), py::arg("q0"), py::arg("q1"), py::arg("q2"),
          py::arg("q3"), "Scalar part q0, vector part (q1, q2, q3).");
    bindFrom<Quaternion, Quaternion>(c, "q");
    bindFrom<Quaternion, VectorR>(c, "r");
    bindFrom<Quaternion, Euler>(c, "e");
    bindFrom<Quaternion, Vector>(c, "v");
}

void bindVectorR(VectorRClass& c)
{
    c.def(py::init<>(), "(0, 0, 0), the identity.");
    c.def(py::init<double, double, double>(), py::arg("x"), py::arg("y"), py::arg("z"),
          "The components of axis times angle (rad).");
    bindFrom<VectorR, VectorR>(c, "r");
    bindFrom<VectorR, Euler>(c, "e");
    bindFrom<VectorR, Quaternion>(c, "q");
    bindFrom<VectorR, Vector>(c, "v");
    c.def("getModule", &VectorR::getModule, "The angle.");
    c.def("getVector", &VectorR::getVector, "The unit axis; zeros of a null rotation.");
}

void bindMatrixR(MatrixRClass& c)
{
    c.def(py::init<>(), "The identity.");
    bindFrom<MatrixR, MatrixR>(c, "R");
    bindFrom<MatrixR, Quaternion>(c, "q");
    bindFrom<MatrixR, Euler>(c, "e");
    bindFrom<MatrixR, VectorR>(c, "r");
    bindFrom<MatrixR, Matrix>(c, "m");
    c.def("getEuler", &MatrixR::getEuler, "By matrixToEuler.");
    c.def("getVectorR", &MatrixR::getVectorR, "By matrixToVect.");
    c.def("getQuaternion", &MatrixR::getQuaternion, "By matrixToQuat.");
    c.def(
        "__matmul__", [](MatrixR const& a, MatrixR const& b) { return a * b; }, py::is_operator());
    c.def(
        "__matmul__", [](Matrix const& a, Matrix const& b) { return a * b; }, py::is_operator());
    c.def(
        "__matmul__", [](MatrixR const& a, Vector const& v) { return a * v; }, py::is_operator());
    c.def(
        "invert", [](MatrixR& R) { mutate(R, [](MatrixR& x) { x.invert(); }); },
        "Replaces the matrix by its transpose.");
    c.def(
        "inverse", [](MatrixR const& R) { return MatrixR(R.inverse()); }, "The transpose.");
}

}  // namespace

void bindRotations(py::module_& m)
{
    bindConversions(m);
    bindSpherical(m);

    // All four first, so that the signatures in the docstrings know each other.
    EulerClass euler(m, "Euler", "Euler angles (rad): R = Rz(roulis) Ry(tangage) Rx(lacet).");
    QuaternionClass quaternion(
        m, "Quaternion", "Quaternion, scalar first: (cos a/2, sin a/2 axis); * is element-wise.");
    VectorRClass vectorR(m, "VectorR", "Rotation vector: unit axis times angle (rad).");
    MatrixRClass matrixR(m, "MatrixR", "Rotation matrix, 3 x 3, which acts on columns.");
    bindEuler(euler);
    bindQuaternion(quaternion);
    bindVectorR(vectorR);
    bindMatrixR(matrixR);
}

}  // namespace measuremath::python
