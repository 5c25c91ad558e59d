// Tests of the growable vector: items in and out by value, the growth policy (one item at first,
// doubling on single inserts, exact growth on bulk operations), the block move of
// vector_insert_data, searching and sorting, running out of memory, and the precondition
// assertions with their order.
#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "death.h"
#include "vector.h"

namespace {

//----------------------------------------------------------------------------------
// Helpers
//----------------------------------------------------------------------------------
// An item of 12 bytes, so that an item is not a machine word
struct Triple {
    int32_t a, b, c;
};

// A new vector of ints holding the given values, pushed one by one
vector_t *ints(std::initializer_list<int> values)
{
    vector_t *v = vector_new(sizeof(int));
    for (int value : values)
        vector_push_back(v, &value);
    return v;
}

// Item `index` of a vector of ints
int int_at(const vector_t *v, size_t index)
{
    return *static_cast<const int *>(vector_get(v, index));
}

// The items in use, as ints
std::vector<int> contents(const vector_t *v)
{
    std::vector<int> out;
    for (size_t i = 0; i < vector_size(v); ++i)
        out.push_back(int_at(v, i));
    return out;
}

// Ascending order of ints, for vector_sort and vector_contains
int compare_ints(const void *a, const void *b)
{
    int x = *static_cast<const int *>(a);
    int y = *static_cast<const int *>(b);
    return (x > y) - (x < y);
}

// A comparison that records its calls and answers a chosen value for one item
struct ContainsProbe {
    int calls;
    const void *first_argument;
    int match;   // the item value that counts as equal
    int answer;  // what the comparison returns for any other item
};
ContainsProbe probe;

// The comparison of the probe: 0 for the matching item, the chosen answer for any other
int probing_compare(const void *value, const void *item)
{
    ++probe.calls;
    probe.first_argument = value;
    return *static_cast<const int *>(item) == probe.match ? 0 : probe.answer;
}

using VectorDeathTest = ThreadsafeDeathTest;

constexpr const char *OUT_OF_MEMORY = "line [0-9]+: No more memory for allocating data";

}  // namespace

// --- Creation and the basic queries ---

TEST(Vector, NewVectorIsEmptyWithRoomForOneItem)
{
    vector_t *v = vector_new(sizeof(Triple));

    EXPECT_EQ(v->item_size, sizeof(Triple));
    EXPECT_EQ(v->size, 0u);
    EXPECT_EQ(v->capacity, 1u);
    EXPECT_NE(v->items, nullptr);
    EXPECT_EQ(vector_size(v), 0u);
    EXPECT_EQ(vector_capacity(v), 1u);
    EXPECT_EQ(vector_empty(v), 1);
    vector_delete(v);
}

TEST(Vector, ItemsAreCopiedInAndOutByValue)
{
    vector_t *v = vector_new(sizeof(Triple));
    Triple t = {1, 2, 3};
    vector_push_back(v, &t);
    t.a = 99;

    const Triple *stored = static_cast<const Triple *>(vector_get(v, 0));
    EXPECT_EQ(stored->a, 1);
    EXPECT_EQ(stored->b, 2);
    EXPECT_EQ(stored->c, 3);
    EXPECT_EQ(vector_empty(v), 0);
    vector_delete(v);
}

TEST(Vector, GetFrontAndBackAddressItemsInsideTheBlock)
{
    vector_t *v = ints({10, 20, 30});
    const char *block = static_cast<const char *>(v->items);

    EXPECT_EQ(vector_get(v, 1), block + sizeof(int));
    EXPECT_EQ(vector_front(v), block);
    EXPECT_EQ(vector_back(v), block + 2 * sizeof(int));
    EXPECT_EQ(*static_cast<const int *>(vector_back(v)), 30);
    vector_delete(v);
}

// --- Growth ---

TEST(Vector, PushingFiveItemsTakesTheCapacityThroughOneTwoFourEight)
{
    vector_t *v = vector_new(sizeof(int));
    std::vector<size_t> capacities = {vector_capacity(v)};
    for (int i = 0; i < 5; ++i) {
        vector_push_back(v, &i);
        capacities.push_back(vector_capacity(v));
    }

    EXPECT_EQ(capacities, (std::vector<size_t>{1, 1, 2, 4, 4, 8}));
    EXPECT_EQ(contents(v), (std::vector<int>{0, 1, 2, 3, 4}));
    vector_delete(v);
}

TEST(Vector, ReserveGrowsToExactlyTheCountAndNeverShrinks)
{
    vector_t *v = ints({1, 2});

    vector_reserve(v, 7);
    EXPECT_EQ(vector_capacity(v), 7u);
    vector_reserve(v, 3);
    EXPECT_EQ(vector_capacity(v), 7u);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2}));
    vector_delete(v);
}

TEST(Vector, ShrinkFitsTheBlockToTheItemsInUse)
{
    vector_t *v = ints({1, 2, 3, 4, 5});
    EXPECT_EQ(vector_capacity(v), 8u);

    vector_shrink(v);
    EXPECT_EQ(vector_capacity(v), 5u);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 3, 4, 5}));
    vector_delete(v);
}

TEST(Vector, AVectorShrunkWhileEmptyStillTakesNewItems)
{
    vector_t *v = ints({1, 2});
    vector_clear(v);
    vector_shrink(v);
    EXPECT_EQ(vector_capacity(v), 0u);

    int three = 3;
    vector_push_back(v, &three);
    EXPECT_EQ(vector_capacity(v), 1u);
    vector_push_back(v, &three);
    EXPECT_EQ(vector_capacity(v), 2u);
    EXPECT_EQ(contents(v), (std::vector<int>{3, 3}));
    vector_delete(v);
}

TEST(Vector, ClearKeepsTheBlockAndItsCapacity)
{
    vector_t *v = ints({1, 2, 3});
    void *block = v->items;

    vector_clear(v);
    EXPECT_EQ(vector_size(v), 0u);
    EXPECT_EQ(vector_empty(v), 1);
    EXPECT_EQ(vector_capacity(v), 4u);
    EXPECT_EQ(v->items, block);
    vector_delete(v);
}

TEST(Vector, ResizeBeyondTheCapacityGrowsToExactlyTheCount)
{
    vector_t *v = ints({1, 2, 3});

    vector_resize(v, 11);
    EXPECT_EQ(vector_size(v), 11u);
    EXPECT_EQ(vector_capacity(v), 11u);
    EXPECT_EQ(int_at(v, 2), 3);
    vector_delete(v);
}

TEST(Vector, ResizeWithinTheCapacityOnlySetsTheSize)
{
    vector_t *v = ints({1, 2, 3});

    vector_resize(v, 1);
    EXPECT_EQ(vector_size(v), 1u);
    EXPECT_EQ(vector_capacity(v), 4u);
    vector_resize(v, 4);
    EXPECT_EQ(vector_size(v), 4u);
    EXPECT_EQ(vector_capacity(v), 4u);
    EXPECT_EQ(int_at(v, 2), 3);
    vector_delete(v);
}

// --- Setting, inserting and erasing ---

TEST(Vector, SetOverwritesOneItem)
{
    vector_t *v = ints({1, 2, 3});
    int seven = 7;

    vector_set(v, 1, &seven);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 7, 3}));
    vector_delete(v);
}

TEST(Vector, InsertAtTheSizeAppends)
{
    vector_t *v = ints({1, 2});
    int nine = 9;

    vector_insert(v, 2, &nine);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 9}));
    vector_delete(v);
}

TEST(Vector, InsertMovesTheFollowingItemsUp)
{
    vector_t *v = ints({1, 2, 3, 4});
    int nine = 9;

    vector_insert(v, 1, &nine);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 9, 2, 3, 4}));
    EXPECT_EQ(vector_capacity(v), 8u);
    vector_insert(v, 0, &nine);
    EXPECT_EQ(contents(v), (std::vector<int>{9, 1, 9, 2, 3, 4}));
    vector_delete(v);
}

TEST(Vector, EraseRangeUpToTheSizeIsAllowed)
{
    vector_t *v = ints({1, 2, 3, 4, 5});

    vector_erase_range(v, 2, 5);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2}));
    EXPECT_EQ(vector_capacity(v), 8u);
    vector_delete(v);
}

TEST(Vector, EraseRangeMovesTheRestDown)
{
    vector_t *v = ints({1, 2, 3, 4, 5, 6});

    vector_erase_range(v, 1, 3);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 4, 5, 6}));
    vector_delete(v);
}

TEST(Vector, EraseRemovesOneItem)
{
    vector_t *v = ints({1, 2, 3});

    vector_erase(v, 0);
    EXPECT_EQ(contents(v), (std::vector<int>{2, 3}));
    vector_erase(v, 1);
    EXPECT_EQ(contents(v), (std::vector<int>{2}));
    vector_delete(v);
}

TEST(Vector, PopBackDropsTheLastItem)
{
    vector_t *v = ints({1, 2, 3});

    vector_pop_back(v);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2}));
    EXPECT_EQ(vector_capacity(v), 4u);
    vector_delete(v);
}

// --- Bulk operations ---

TEST(Vector, PushBackDataGrowsToExactlyTheNewSize)
{
    vector_t *v = ints({1, 2, 3});
    const int more[] = {4, 5, 6};

    vector_push_back_data(v, more, 3);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(vector_capacity(v), 6u);
    vector_delete(v);
}

TEST(Vector, PushBackDataWithinTheCapacityKeepsIt)
{
    vector_t *v = ints({1, 2, 3, 4, 5});
    const int more[] = {6, 7};

    vector_push_back_data(v, more, 2);
    EXPECT_EQ(contents(v), (std::vector<int>{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(vector_capacity(v), 8u);
    vector_delete(v);
}

// Only `count` items move up: the items beyond the first `count` after the index are lost.
TEST(Vector, InsertDataMovesOnlyCountItemsAndOverwritesTheOnesBeyond)
{
    // Seven items written, five in use: the block's places 5 and 6 still hold 5 and 6.
    vector_t *v = ints({0, 1, 2, 3, 4, 5, 6});
    vector_resize(v, 5);
    const int data[] = {10, 11};

    vector_insert_data(v, 1, data, 2);
    EXPECT_EQ(contents(v), (std::vector<int>{0, 10, 11, 1, 2, 5, 6}));
    EXPECT_EQ(vector_capacity(v), 8u);
    vector_delete(v);
}

TEST(Vector, InsertDataGrowsToExactlyTheNewSize)
{
    vector_t *v = ints({0, 1, 2, 3, 4});
    const int data[] = {10, 11, 12, 13};

    vector_insert_data(v, 0, data, 4);
    EXPECT_EQ(vector_capacity(v), 9u);
    EXPECT_EQ(vector_size(v), 9u);
    // Item 8 holds whatever the block held.
    const int expected[] = {10, 11, 12, 13, 0, 1, 2, 3};
    for (size_t i = 0; i < 8; ++i)
        EXPECT_EQ(int_at(v, i), expected[i]) << "item " << i;
    vector_delete(v);
}

TEST(Vector, InsertDataBeforeTheLastItemsKeepsThemAll)
{
    vector_t *v = ints({0, 1});
    const int data[] = {10, 11, 12};

    vector_insert_data(v, 1, data, 3);
    EXPECT_EQ(contents(v), (std::vector<int>{0, 10, 11, 12, 1}));
    EXPECT_EQ(vector_capacity(v), 5u);
    vector_delete(v);
}

// --- Searching and sorting ---

TEST(Vector, ContainsTreatsOnlyZeroAsEqual)
{
    vector_t *v = ints({5, 6, 7});
    int value = 0;

    for (int answer : {-1, 1, -1000, 1000}) {
        probe = ContainsProbe{0, nullptr, 6, answer};
        EXPECT_EQ(vector_contains(v, &value, probing_compare), 1) << "other items answer " << answer;
        EXPECT_EQ(probe.calls, 2);
        EXPECT_EQ(probe.first_argument, &value);

        probe = ContainsProbe{0, nullptr, 42, answer};
        EXPECT_EQ(vector_contains(v, &value, probing_compare), 0) << "other items answer " << answer;
        EXPECT_EQ(probe.calls, 3);
    }
    vector_delete(v);
}

TEST(Vector, ContainsOnAnEmptyVectorNeverCompares)
{
    vector_t *v = vector_new(sizeof(int));
    int value = 0;
    probe = ContainsProbe{0, nullptr, 0, 0};

    EXPECT_EQ(vector_contains(v, &value, probing_compare), 0);
    EXPECT_EQ(probe.calls, 0);
    vector_delete(v);
}

TEST(Vector, ContainsFindsAnEqualValue)
{
    vector_t *v = ints({5, 6, 7});
    int seven = 7;
    int eight = 8;

    EXPECT_EQ(vector_contains(v, &seven, compare_ints), 1);
    EXPECT_EQ(vector_contains(v, &eight, compare_ints), 0);
    vector_delete(v);
}

TEST(Vector, SortOrdersTheItemsWithTheComparison)
{
    vector_t *v = ints({5, -3, 9, 0, 5, 2});

    vector_sort(v, compare_ints);
    EXPECT_EQ(contents(v), (std::vector<int>{-3, 0, 2, 5, 5, 9}));
    vector_delete(v);
}

// --- Running out of memory ---

TEST_F(VectorDeathTest, AnItemBlockThatCannotBeAllocatedExitsWithStatusOne)
{
    // The sanitizer's allocator answers an impossible size with null, as the C library does.
    ScopedEnv asan("ASAN_OPTIONS", "allocator_may_return_null=1:detect_leaks=0");

    EXPECT_EXIT(vector_new(SIZE_MAX / 2), ::testing::ExitedWithCode(1), OUT_OF_MEMORY);
    EXPECT_EXIT(
        {
            vector_t *v = vector_new(1);
            vector_reserve(v, SIZE_MAX / 2);
        },
        ::testing::ExitedWithCode(1), OUT_OF_MEMORY);
    EXPECT_EXIT(
        {
            // (2^60 + 1) items of 16 bytes would wrap around to a block of 16 bytes.
            vector_t *v = vector_new(16);
            vector_resize(v, (size_t{1} << 60) + 1);
        },
        ::testing::ExitedWithCode(1), OUT_OF_MEMORY);
}

// --- Precondition assertions ---

TEST_F(VectorDeathTest, NewRefusesAnItemSizeOfZero)
{
    EXPECT_DEATH(vector_new(0), "vector_new: Assertion `item_size' failed");
}

TEST_F(VectorDeathTest, EveryOperationRefusesAMissingVector)
{
    int value = 0;
    EXPECT_DEATH(vector_delete(nullptr), "vector_delete: Assertion `self' failed");
    EXPECT_DEATH(vector_get(nullptr, 0), "vector_get: Assertion `self' failed");
    EXPECT_DEATH(vector_front(nullptr), "vector_front: Assertion `self' failed");
    EXPECT_DEATH(vector_back(nullptr), "vector_back: Assertion `self' failed");
    EXPECT_DEATH(vector_contains(nullptr, &value, compare_ints), "vector_contains: Assertion `self' failed");
    EXPECT_DEATH(vector_empty(nullptr), "vector_empty: Assertion `self' failed");
    EXPECT_DEATH(vector_size(nullptr), "vector_size: Assertion `self' failed");
    EXPECT_DEATH(vector_reserve(nullptr, 4), "vector_reserve: Assertion `self' failed");
    EXPECT_DEATH(vector_capacity(nullptr), "vector_capacity: Assertion `self' failed");
    EXPECT_DEATH(vector_shrink(nullptr), "vector_shrink: Assertion `self' failed");
    EXPECT_DEATH(vector_clear(nullptr), "vector_clear: Assertion `self' failed");
    EXPECT_DEATH(vector_set(nullptr, 0, &value), "vector_set: Assertion `self' failed");
    EXPECT_DEATH(vector_insert(nullptr, 0, &value), "vector_insert: Assertion `self' failed");
    EXPECT_DEATH(vector_erase_range(nullptr, 0, 1), "vector_erase_range: Assertion `self' failed");
    EXPECT_DEATH(vector_erase(nullptr, 0), "vector_erase: Assertion `self' failed");
    EXPECT_DEATH(vector_pop_back(nullptr), "vector_pop_back: Assertion `self' failed");
    EXPECT_DEATH(vector_resize(nullptr, 1), "vector_resize: Assertion `self' failed");
    EXPECT_DEATH(vector_push_back_data(nullptr, &value, 1), "vector_push_back_data: Assertion `self' failed");
    EXPECT_DEATH(vector_insert_data(nullptr, 0, &value, 1), "vector_insert_data: Assertion `self' failed");
    EXPECT_DEATH(vector_sort(nullptr, compare_ints), "vector_sort: Assertion `self' failed");
}

TEST_F(VectorDeathTest, PushBackLeavesTheCheckForAMissingVectorToInsert)
{
    int value = 0;
    EXPECT_DEATH(vector_push_back(nullptr, &value), "vector_insert: Assertion `self' failed");
}

TEST_F(VectorDeathTest, AccessOnAnEmptyVectorFailsTheSizeCheckBeforeAnyIndexCheck)
{
    vector_t *v = vector_new(sizeof(int));
    int value = 0;

    EXPECT_DEATH(vector_get(v, SIZE_MAX), "vector_get: Assertion `self->size' failed");
    EXPECT_DEATH(vector_front(v), "vector_front: Assertion `self->size' failed");
    EXPECT_DEATH(vector_back(v), "vector_back: Assertion `self->size' failed");
    EXPECT_DEATH(vector_set(v, SIZE_MAX, &value), "vector_set: Assertion `self->size' failed");
    EXPECT_DEATH(vector_pop_back(v), "vector_pop_back: Assertion `self->size' failed");
    EXPECT_DEATH(vector_sort(v, compare_ints), "vector_sort: Assertion `self->size' failed");
    vector_delete(v);
}

TEST_F(VectorDeathTest, IndexedAccessRefusesAnIndexAtTheSize)
{
    vector_t *v = ints({1, 2});
    int value = 0;

    EXPECT_DEATH(vector_get(v, 2), "vector_get: Assertion `index < self->size' failed");
    EXPECT_DEATH(vector_set(v, 2, &value), "vector_set: Assertion `index < self->size' failed");
    EXPECT_DEATH(vector_erase(v, 2), "vector_erase: Assertion `index < self->size' failed");
    vector_delete(v);
}

TEST_F(VectorDeathTest, InsertRefusesAnIndexPastTheSize)
{
    vector_t *v = ints({1, 2});
    int value = 0;

    EXPECT_DEATH(vector_insert(v, 3, &value), "vector_insert: Assertion `index <= self->size' failed");
    vector_delete(v);
}

TEST_F(VectorDeathTest, EraseRangeChecksItsBoundsInOrder)
{
    vector_t *v = ints({1, 2, 3});

    EXPECT_DEATH(vector_erase_range(v, 3, 1), "vector_erase_range: Assertion `first < self->size' failed");
    EXPECT_DEATH(vector_erase_range(v, 0, 4), "vector_erase_range: Assertion `last < self->size\\+1' failed");
    EXPECT_DEATH(vector_erase_range(v, 2, 5), "vector_erase_range: Assertion `last < self->size\\+1' failed");
    EXPECT_DEATH(vector_erase_range(v, 2, 2), "vector_erase_range: Assertion `first < last' failed");
    EXPECT_DEATH(vector_erase_range(v, 2, 1), "vector_erase_range: Assertion `first < last' failed");
    vector_delete(v);
}

TEST_F(VectorDeathTest, PushBackDataChecksDataThenCount)
{
    vector_t *v = ints({1});
    int value = 0;

    EXPECT_DEATH(vector_push_back_data(v, nullptr, 0), "vector_push_back_data: Assertion `data' failed");
    EXPECT_DEATH(vector_push_back_data(v, &value, 0), "vector_push_back_data: Assertion `count' failed");
    vector_delete(v);
}

TEST_F(VectorDeathTest, InsertDataRefusesTheIndexAtTheSizeBeforeCheckingData)
{
    vector_t *v = ints({1, 2});
    int value = 0;

    EXPECT_DEATH(vector_insert_data(v, 2, nullptr, 0), "vector_insert_data: Assertion `index < self->size' failed");
    EXPECT_DEATH(vector_insert_data(v, 1, nullptr, 0), "vector_insert_data: Assertion `data' failed");
    EXPECT_DEATH(vector_insert_data(v, 1, &value, 0), "vector_insert_data: Assertion `count' failed");
    vector_delete(v);
}
