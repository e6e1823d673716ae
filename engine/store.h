// Storing below the operations. For engine/.
#pragma once

#include "engine/engine.h"

// Store modes: refuse an exact key that exists, or insert without looking.
constexpr int STORE_UNCHECKED = 3;
constexpr int STORE_NEW = 4;

// Stores what the request fields say, cut into segments. 0, IX_NOT_FOUND (-1: the
// exact key exists), IX_BAD_ARGUMENT, IX_PAGE_IO, IX_SHORT_WRITE, IX_DESCENT_FAILED.
int ixStore(IndexFile* file, int mode);
