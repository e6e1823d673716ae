#include "platform/heap.h"

#include <cstdlib>
#include <cstring>

void* allocateZeroed(size_t count, size_t size) { return std::calloc(count, size); }

void* allocate(size_t size) { return std::malloc(size); }

void* reallocate(void* block, size_t oldSize, size_t newSize)
{
    void* grown = std::realloc(block, newSize);
    if (grown != nullptr && newSize > oldSize) {
        std::memset(static_cast<char*>(grown) + oldSize, 0, newSize - oldSize);
    }
    return grown;
}

void release(void* block) { std::free(block); }
