#include <gtest/gtest.h>

#include <vector>

#include "core/ScratchPool.h"

TEST(ScratchPool, LeasesAreNeverSharedAndComeBackForReuse)
{
    ScratchPool<std::vector<int>> pool;
    std::vector<int>* first = nullptr;
    {
        auto const a = pool.lease();
        auto const b = pool.lease();
        EXPECT_NE(&*a, &*b) << "two tasks at once get two sets";
        a->assign(1000, 7);
        first = &*a;
    }
    // Both came back, each as it was left, and are lent again before a new one is made.
    auto const again = pool.lease();
    auto const other = pool.lease();
    EXPECT_TRUE(&*again == first || &*other == first);
    std::vector<int> const& kept = &*again == first ? *again : *other;
    EXPECT_EQ(kept.size(), 1000u);
    auto const third = pool.lease();
    EXPECT_NE(&*third, &*again);
    EXPECT_NE(&*third, &*other);
}
