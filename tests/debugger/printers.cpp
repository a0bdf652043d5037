// Values for the debugger to print; check_printers.py says what it must see.

#include "math/Matrix.h"
#include "math/MatrixTH.h"
#include "math/VectorR.h"

#include <iostream>

namespace {

class Reading : public Vector {
public:
    explicit Reading(Vector const& v) : Vector(v) {}
};

struct Station {
    Vector position;
    int id;
};

void show(Vector const& argument)
{
    std::cout << argument << '\n';  // the breakpoint
}

}  // namespace

int main()
{
    Vector const empty;
    Vector const v = Vector::of({1, 2.5, -3});
    Vector const large(1000);
    Matrix const m = Matrix::of({{1, 2, 3}, {4, 5, 6}});
    Matrix const noRows(0, 3);
    Matrix const shared = m;
    MatrixTH const transform;
    VectorR const rotation(Vector::of({0.5, 0, 0}));
    Reading const reading(Vector::of({7}));
    Station const station = {Vector::of({8, 9}), 12};
    TVector<int> counts(2);
    counts.zeroed();
    TVector<int> const* const pointer = &counts;
    alignas(Vector) unsigned char memory[sizeof(Vector)] = {};
    auto const* const unborn = reinterpret_cast<Vector const*>(memory);
    show(v);
    return pointer == nullptr || unborn == nullptr || station.id == 0;
}
