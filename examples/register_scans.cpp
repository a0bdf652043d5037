// Two positions of one street scan, registered to each other from their matched points.

#include "panels/Registration.h"
#include "support/PointFile.h"

#include <iostream>

int main(int argc, char** argv)
{
    std::string const data = argc > 1 ? argv[1] : "data";
    std::vector<Vector> const scan = readPoints(data + "/street_scan.csv", 3);

    registration::Result const result = registration::run(scan);
    registration::print(result, std::cout);
    registration::draw(scan, result, "registration.svg");

    // The mean of thousands of points is far better than one of them.
    bool const isFound = result.error.equals(MatrixTH(), 0.1 * registration::noise) == 1;
    return isFound ? 0 : 1;
}
