#include "math/Matrix.h"
#include "math/Version.h"

#include <iostream>

int main()
{
    Matrix const twice = Matrix(3, 3, Matrix::IDENTITY) * 2.0;
    std::cout << "MeasureMath " << measuremath::versionString() << ": "
              << (twice * Vector::of({1, 2, 3})).length() << '\n';
    try {
        std::cout << (twice * Vector(4)).length() << '\n';
    } catch (MathError const& error) {
        std::cout << "Misuse: " << error.what() << '\n';
        return 0;
    }
    return 1;
}
