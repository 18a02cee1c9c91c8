#include "statistics/sorted_containers.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace sarvane {
namespace {

using Bag = SortedBagAsVector<double>;

static_assert(!std::is_copy_constructible_v<Bag> && !std::is_move_constructible_v<Bag>);

TEST(SortedContainers, FindsPlaces) {
    const struct {
        double item;
        int place, found, placeDescending;
    } cases[] = {{0, 0, -1, 5}, {1, 0, 0, 4}, {3, 1, 1, 3}, {4, 2, 2, 1}, {5, 4, -1, 1}, {9, 4, 4, 0}, {10, 5, -1, 0}};
    Bag rising(6, 0), falling(6, 0);
    falling.SetAscending(false);
    for (const double item : {4.0, 9.0, 1.0, 4.0, 3.0}) EXPECT_TRUE(rising.Add(item) >= 0 && falling.Add(item) >= 0);
    for (const auto& expected : cases) {
        EXPECT_EQ(rising.FindInsertPos(expected.item), expected.place) << expected.item;
        EXPECT_EQ(rising.Find(expected.item), expected.found) << expected.item;
        EXPECT_EQ(rising.CVector<double>::Find(expected.item), expected.found) << expected.item;
        EXPECT_EQ(falling.FindInsertPos(expected.item), expected.placeDescending) << expected.item;
    }
    rising.InsertAt(9, 5);
    EXPECT_EQ(rising.FindInsertPos(9), 5);  // the last of equal items that end the array
}

TEST(SortedContainers, GrowsWithinBounds) {
    const struct {
        int size, delta, added, count, capacity;
    } cases[] = {{-3, 0, 2, 1, 1}, {2, 5, 3, 3, 7},  {4, 1, 5, 5, 6},
                 {1, -5, 2, 2, 2}, {1, -5, 3, 3, 3}, {1, 2147483647, 2, 2, 0x1fffffff}};
    for (const auto& expected : cases) {
        Bag bag(expected.size, expected.delta);
        for (int i = 0; i < expected.added; ++i) bag.Add(1);
        EXPECT_EQ(bag.GetCount(), expected.count) << expected.delta;
        EXPECT_EQ(bag.GetMemoryUsed(), std::size_t{8} * static_cast<std::size_t>(expected.capacity) + 28)
            << expected.delta;
        bag.Flush();
        EXPECT_TRUE(bag.IsEmpty() && bag.GetMemoryUsed() <= 4 * 8 + 28) << expected.delta;
    }
}

TEST(SortedContainers, RefusesPlacesThatAreNone) {
    Bag bag(4, 1);
    EXPECT_TRUE(bag.InsertAt(1, 1) == -1 && bag.InsertAt(1, -1) == -1 && bag.IsEmpty());
}

}  // namespace
}  // namespace sarvane
