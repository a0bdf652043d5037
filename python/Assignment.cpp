#include "Module.h"

#include "math/Munkres.h"
#include "math/Random.h"

#include <cstdint>

namespace measuremath::python {

namespace {

CellType const& cellOf(Munkres const& grid, py::ssize_t i, py::ssize_t j)
{
    return grid.getCell(checkedIndex(i, grid.getRow()), checkedIndex(j, grid.getCol()));
}

void setCell(Munkres& grid, py::ssize_t i, py::ssize_t j, CellType const& cell)
{
    grid.setCell(checkedIndex(i, grid.getRow()), checkedIndex(j, grid.getCol()), cell);
}

Munkres gridOf(Matrix const& costs)
{
    Munkres grid(costs.getRow(), costs.getCol());
    for (int i = 0; i < costs.getRow(); ++i)
        for (int j = 0; j < costs.getCol(); ++j) grid.setCell(i, j, CellType{costs[i][j]});
    return grid;
}

py::array_t<std::int64_t> assignmentOf(Munkres const& grid)
{
    std::vector<std::int64_t> pairs;
    for (int i = 0; i < grid.getRow(); ++i)
        for (int j = 0; j < grid.getCol(); ++j)
            if (grid.getCell(i, j).starred) pairs.insert(pairs.end(), {i, j});
    auto const count = static_cast<py::ssize_t>(pairs.size() / 2);
    return py::array_t<std::int64_t>({count, py::ssize_t{2}}, pairs.data());
}

void bindMunkres(py::module_& m)
{
    py::class_<CellType>(m, "CellType", "One cell of an assignment grid.")
        .def(py::init([](double cost) { return CellType{cost}; }), py::arg("cost") = 0.0)
        .def_readwrite("cost", &CellType::cost, "Cost of assigning the row to the column.")
        .def_readwrite("userData", &CellType::userData, "For the caller.")
        .def_readwrite("primed", &CellType::primed, "Used while solving.")
        .def_readwrite("starred", &CellType::starred,
                       "After solve: the row is assigned to the column.");
    py::class_<Munkres>(
        m, "Munkres",
        "Assigns rows to columns at the least total cost (Munkres 1957). Costs are finite\n"
        "and not negative; an infinite one forbids its cell.")
        .def(py::init<int, int>(), py::arg("nbRows"), py::arg("nbCols"), "Cells of cost 0.")
        .def(py::init(&gridOf), py::arg("costs"), "Cells of the costs in a matrix.")
        .def("getRow", &Munkres::getRow, "Number of rows.")
        .def("getCol", &Munkres::getCol, "Number of columns.")
        .def("getCell", &cellOf, py::arg("i"), py::arg("j"), py::return_value_policy::copy,
             "A copy of cell (i, j).")
        .def("setCell", &setCell, py::arg("i"), py::arg("j"), py::arg("cell"),
             "Copies cell into (i, j).")
        .def("solve", &Munkres::solve, "Stars the cells of the assignment and reduces the costs.")
        .def("getAssignment", &assignmentOf, "Pairs (row, column) of the starred cells, k x 2.");
}

}  // namespace

void bindAssignment(py::module_& m)
{
    bindMunkres(m);
    m.def("initRandGene", &initRandGene, py::arg("seed"),
          "Seeds the generator of all random samples; 1 stands for the clock.");
    m.def("randGene", &randGene, "Uniform in [0, 1].");
    m.def("vaUnif", &vaUnif, py::arg("a"), "Uniform in [-a, a].");
    m.def("vaGauss", &vaGauss, py::arg("sigma"), "Normal deviate of mean 0.");
}

}  // namespace measuremath::python
