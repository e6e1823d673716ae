// The heap: the only allocation calls of the product, for what is handed to the host or
// lives no longer than one call. Part of the boundary platform.h.
#pragma once

#include <cstddef>

// A block for count items of size bytes, all zero, or null when there is no room.
// A large block costs no memory before it is written to.
void* allocateZeroed(size_t count, size_t size);

// A block of so many bytes, whatever they are, or null when there is no room.
void* allocate(size_t size);

// The block with room for newSize bytes: its oldSize bytes are kept, the new ones
// are zero. Null when there is no room; the block then stays as it was.
void* reallocate(void* block, size_t oldSize, size_t newSize);

// Gives a block back; null does nothing.
void release(void* block);
