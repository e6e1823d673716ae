// What page_cache.cpp and flush.cpp share. For these two alone.
#pragma once

#include "file/file_state.h"

// The block is no longer dirty.
void setClean(CacheBlock* block);
// Writes the page of a dirty block, which is clean then. 0 or the write error.
int writeBack(CacheBlock* block);
// Asserts the invariants of the cache in the debug build.
void assertCacheInvariants();
