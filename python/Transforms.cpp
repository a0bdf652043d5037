#include "Module.h"

namespace measuremath::python {

namespace {

using TransformClass = py::class_<MatrixTH, Matrix>;

using Flags = py::array_t<bool, py::array::c_style>;

// One flag for each of `n` pairs; no array where all of them are used.
std::optional<Flags> asFlags(py::object const& used, std::size_t n)
{
    if (used.is_none()) return std::nullopt;
    py::array const flags = py::array::ensure(used);
    if (!flags || flags.dtype().kind() != 'b' || flags.ndim() != 1 ||
        static_cast<std::size_t>(flags.size()) != n)
        throw py::value_error("used needs one bool for each pair of points");
    return Flags::ensure(flags);
}

double registerPoints(MatrixTH& self, std::vector<Vector> const& a, std::vector<Vector> const& b,
                      py::object const& used, bool noScale)
{
    if (a.size() != b.size()) throw py::value_error("a and b need the same number of points");
    std::optional<Flags> const flags = asFlags(used, a.size());
    double scale = 1.0;
    mutate(self, [&](MatrixTH& T) {
        scale = T.init(a.data(), b.data(), a.size(), flags ? flags->data() : nullptr, noScale);
    });
    return scale;
}

Vector alignWithAxes(MatrixTH& self, std::vector<Vector> const& pts, long long index)
{
    Vector eigenValues;
    mutate(self, [&](MatrixTH& T) { T.init(pts.data(), pts.size(), eigenValues, index); });
    return eigenValues;
}

// The points of any object with a writable buffer of n × 3 double, row after row.
void mapPoints(MatrixTH const& self, py::buffer const& points)
{
    py::buffer_info const info = points.request(true);
    bool const isPacked = info.ndim == 2 && info.shape[1] == 3 &&
                          info.format == py::format_descriptor<double>::format() &&
                          (info.shape[0] == 0 || info.strides[1] == sizeof(double)) &&
                          (info.shape[0] <= 1 || info.strides[0] == 3 * sizeof(double));
    if (!isPacked) throw py::value_error("points must be n x 3 doubles, row after row");
    self.mapPoints(static_cast<double*>(info.ptr), info.shape[0]);
}

template <class Rotation>
void bindFromRotation(TransformClass& c)
{
    c.def(py::init([](Rotation const& R, Vector const& t) { return MatrixTH(R, atLeast(3, t)); }),
          py::arg("R"), py::arg("t"), "Rotation R and translation t.");
}

void bindConstructors(TransformClass& c)
{
    c.def(py::init<>(), "The identity.");
    c.def(py::init([](double e0, double e1, double e2, double tx, double ty, double tz) {
              return MatrixTH(e0, e1, e2, tx, ty, tz);
          }),
          py::arg("e0"), py::arg("e1"), py::arg("e2"), py::arg("tx"), py::arg("ty"), py::arg("tz"),
          "Rotation by Euler angles (rad), translation.");
    bindFromRotation<Euler>(c);
    bindFromRotation<Quaternion>(c);
    bindFromRotation<VectorR>(c);
    bindFromRotation<MatrixR>(c);
    c.def(py::init([](MatrixTH const& T) { return T; }), py::arg("T"), "A copy.");
    c.def(py::init([](Matrix const& m) { return MatrixTH(m); }), py::arg("m"),
          "The elements of a 4 x 4 matrix.");
}

void bindParts(TransformClass& c)
{
    c.def(
        "setMatrixRot", [](MatrixTH& T, MatrixR const& R) { T.setMatrixRot(R); }, py::arg("R"),
        "Sets R; the rest is untouched.");
    c.def("getMatrixRot", &MatrixTH::getMatrixRot, "R.");
    c.def(
        "setVectorPos", [](MatrixTH& T, Vector const& t) { T.setVectorPos(atLeast(3, t)); },
        py::arg("t"), "Sets t, 3 elements.");
    c.def("getVectorPos", &MatrixTH::getVectorPos, "t, 3 elements.");
    c.def("getEuler", &MatrixTH::getEuler, "R by matrixToEuler.");
    c.def("getVectorR", &MatrixTH::getVectorR, "R by matrixToVect.");
    c.def("getQuaternion", &MatrixTH::getQuaternion, "R by matrixToQuat.");
}

void bindMapping(TransformClass& c)
{
    c.def(
        "__matmul__", [](MatrixTH const& a, MatrixTH const& b) { return a * b; },
        py::is_operator());
    c.def(
        "__matmul__", [](Matrix const& a, Matrix const& b) { return a * b; }, py::is_operator());
    c.def(
        "__matmul__", [](Matrix const& a, Vector const& v) { return a * v; }, py::is_operator());
    c.def(
        "invert", [](MatrixTH& T) { mutate(T, [](MatrixTH& x) { x.invert(); }); },
        "Replaces the transform by its inverse [R' -R't; 0 0 0 1].");
    c.def(
        "inverse", [](MatrixTH const& T) { return MatrixTH(T.inverse()); },
        "The inverse transform.");
    c.def("mapPoint", &MatrixTH::mapPoint, py::arg("p"), "R p + t.");
    c.def("mapPoints", &mapPoints, py::arg("points"),
          "Maps every row in place, without a copy. points: an n x 3 array of double, row after "
          "row, or a Matrix; raises ValueError for another, since a converted copy would be lost.");
}

void bindEstimation(TransformClass& c)
{
    c.def(
        "init",
        [](MatrixTH& self, Vector const& origin, Vector const& onX, Vector const& inPlane) {
            for (Vector const* p : {&origin, &onX, &inPlane})
                require(p->getSize() == 3, Vector::badDim);
            mutate(self, [&](MatrixTH& T) { T.init(origin, onX, inPlane); });
        },
        py::arg("origin"), py::arg("onX"), py::arg("inPlane"),
        "Frame from three points: x towards onX, y square to it towards inPlane.");
    c.def(
        "init", &registerPoints, py::arg("a"), py::arg("b"), py::arg("used") = py::none(),
        py::arg("noScale") = false,
        "Registration of n matched points, b = s R a + t in least squares (Horn 1987); returns s.\n"
        "a, b: n x 3; used: n flags, None for all; noScale: keep s = 1.");
    c.def("init", &alignWithAxes, py::arg("pts"), py::arg("index"),
          "Principal-axes frame of n points (n x 3), each axis towards the side of point index;\n"
          "returns the variances along z, y and x.");
}

}  // namespace

void bindTransforms(py::module_& m)
{
    TransformClass c(m, "MatrixTH", "Rigid transform [R t; 0 0 0 1]: a point p maps to R p + t.");
    bindConstructors(c);
    bindParts(c);
    bindMapping(c);
    bindEstimation(c);
}

}  // namespace measuremath::python
