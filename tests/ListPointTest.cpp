#include "pix/ListPoint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using Point = Pix::Point<double>;
using List = Pix::ListPoint<double>;

List squares(int count)
{
    List list;
    for (int i = 0; i < count; ++i) list.push_back({double(i), double(i * i)});
    return list;
}

TEST(ListPoint, AppendsAtTheEndInOrder)
{
    List const list = squares(4);
    EXPECT_EQ(list.size(), 4u);
    EXPECT_THAT(list, testing::ElementsAre(Point(0, 0), Point(1, 1), Point(2, 4), Point(3, 9)));
    EXPECT_EQ(list.front(), Point(0, 0));
    EXPECT_EQ(list.back(), Point(3, 9));
    EXPECT_EQ(list[2], Point(2, 4));
}

TEST(ListPoint, ClearEmptiesAndTheListFillsAgain)
{
    List list = squares(3);
    list.clear();
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(list.begin(), list.end());
    list.push_back({7, 8});
    EXPECT_THAT(list, testing::ElementsAre(Point(7, 8)));
}

TEST(ListPoint, PointsAreWrittenThroughIndexAndIterator)
{
    List list = squares(2);
    list[0].x = 5;
    for (Point& p : list) p.y = -1;
    EXPECT_THAT(list, testing::ElementsAre(Point(5, -1), Point(1, -1)));
}

TEST(ListPoint, CopiesAreIndependentValues)
{
    List const original = squares(3);
    List copy = original;
    EXPECT_EQ(copy, original);
    copy.back().y += 1;
    EXPECT_NE(copy, original);
    EXPECT_EQ(original.back(), Point(2, 4));
}

TEST(Point, StartsAtTheOriginAndComparesBothCoordinates)
{
    EXPECT_EQ(Point(), Point(0, 0));
    EXPECT_NE(Point(1, 2), Point(1, 3));
    EXPECT_NE(Point(1, 2), Point(0, 2));
}

}  // namespace
