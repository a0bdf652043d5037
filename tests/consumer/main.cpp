#include "math/MathError.h"
#include "math/Version.h"

#include <iostream>

int main()
{
    try {
        measuremath::fail("an error from the library");
    } catch (MathError const& error) {
        std::cout << "MeasureMath " << measuremath::versionString() << ": " << error.what() << '\n';
    }
}
