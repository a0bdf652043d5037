#include "../examples/support/PointFile.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

std::vector<Vector> pointsOf(std::string const& text)
{
    std::istringstream in(text);
    return readPoints(in, 3);
}

TEST(PointFile, ReadsTheUsualForms)
{
    for (char const* const text :
         {"1,2,3\n4,5,-6e1\n", "# comment\nx,y,z\r\n1, 2, 3\r\n\r\n4;5;-60;9\r\n",
          "1 2\t3\n4 5 -60"}) {
        std::vector<Vector> const points = pointsOf(text);
        ASSERT_EQ(points.size(), 2U) << text;
        EXPECT_TRUE(points[0] == Vector::of({1, 2, 3}));
        EXPECT_TRUE(points[1] == Vector::of({4, 5, -60}));
    }
}

TEST(PointFile, NamesTheLineThatHoldsNoPoint)
{
    struct Case {
        char const* text;
        char const* message;
    };
    for (Case const& c : {Case{"", "no points"}, Case{"x,y,z\n", "no points"},
                          Case{"1,2,3\n4,5\n", "line 2 does not hold 3 coordinates"},
                          Case{"# a\nx y z\n1,2,3x\n", "line 3 does not hold 3 coordinates"}}) {
        try {
            pointsOf(c.text);
            ADD_FAILURE() << c.text;
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(error.what(), c.message);
        }
    }
}

}  // namespace
