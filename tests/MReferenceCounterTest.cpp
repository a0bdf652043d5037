#include "pointer/MReferenceCounter.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

class Counted : public MReferenceCounter {
public:
    Counted(int& endings, int& destructions) : _endings(endings), _destructions(destructions) {}
    void share() { ++_count; }

private:
    void goingAway() override
    {
        ++_endings;
        delete this;
    }
    ~Counted() override { ++_destructions; }

    int& _endings;
    int& _destructions;
};

TEST(MReferenceCounter, EndsOnceWhenTheLastOfManyHoldersLetsGo)
{
    for (int const holders : {1, 2, 5}) {
        int endings = 0;
        int destructions = 0;
        auto* const counted = new Counted(endings, destructions);
        for (int i = 1; i < holders; ++i) counted->share();

        for (int left = holders - 1; left > 0; --left) {
            EXPECT_EQ(counted->decrement(), left);
            EXPECT_EQ(endings, 0) << left << " of " << holders << " holders left";
        }
        EXPECT_EQ(counted->decrement(), 0);
        EXPECT_EQ(endings, 1);
        EXPECT_EQ(destructions, 1);
    }
}

TEST(MReferenceCounter, IsNeitherCopiedNorDestroyedFromOutside)
{
    static_assert(!std::is_copy_constructible_v<Counted>);
    static_assert(!std::is_copy_assignable_v<Counted>);
    static_assert(!std::is_destructible_v<MReferenceCounter>);
}

}  // namespace
