// vector: a type-erased growable array of fixed-size items.
// Items are copied in and out by value as raw bytes. The texture packer keeps its skyline in one.
// Preconditions are assertions that abort; running out of memory (for the record or the item
// block) prints "line %d: No more memory for allocating data" on stderr and exits with status 1.
// Depends on: log (assertions, the out-of-memory exit).
#pragma once

#include <cstddef>

//----------------------------------------------------------------------------------
// Types
//----------------------------------------------------------------------------------
struct vector_t {
    void *items;       // heap block of `capacity` items laid end to end; owned by the vector
    size_t capacity;   // items the block can hold
    size_t size;       // items in use (size <= capacity)
    size_t item_size;  // bytes per item, fixed at creation, never 0
};

//----------------------------------------------------------------------------------
// Functions
//----------------------------------------------------------------------------------
vector_t *vector_new(size_t item_size);                 // empty, room for one item
void vector_delete(vector_t *self);
const void *vector_get(const vector_t *self, size_t index);  // address of an item, no copy
const void *vector_front(const vector_t *self);
const void *vector_back(const vector_t *self);
// 1 when cmp(value, item) answers 0 for some item, walking from item 0; 0 otherwise
int vector_contains(const vector_t *self, const void *value, int (*cmp)(const void *, const void *));
int vector_empty(const vector_t *self);
size_t vector_size(const vector_t *self);
void vector_reserve(vector_t *self, size_t size);       // grow to exactly `size` items; never shrinks
size_t vector_capacity(const vector_t *self);
void vector_shrink(vector_t *self);                     // capacity = size
void vector_clear(vector_t *self);                      // size = 0, block kept
void vector_set(vector_t *self, size_t index, const void *item);
void vector_insert(vector_t *self, size_t index, const void *item);  // doubles the capacity when full
void vector_erase_range(vector_t *self, size_t first, size_t last);  // removes first .. last-1
void vector_erase(vector_t *self, size_t index);
void vector_push_back(vector_t *self, const void *item);             // vector_insert at the size
void vector_pop_back(vector_t *self);
void vector_resize(vector_t *self, size_t size);        // new items are not initialised
void vector_push_back_data(vector_t *self, const void *data, size_t count);  // grows to exactly size + count
// A block move, not a general insert: index < size, and only `count` items from the index move
// up, so items beyond the first `count` after the index are overwritten (see vector.cpp)
void vector_insert_data(vector_t *self, size_t index, const void *data, size_t count);
void vector_sort(vector_t *self, int (*cmp)(const void *, const void *));
