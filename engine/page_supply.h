// Pages and numbers handed out. For engine/; inside an update.
#pragma once

#include "engine/engine.h"

// Grows the file until height + 1 pages beyond the next free one exist, enough for
// splits from a leaf up to a new root. 0, or IX_SHORT_WRITE when the file cannot
// grow that far. Also left in the context's I/O error.
int growFile(IndexFile* file);

// Hands out the next page into *pageNumber. 0, or IX_NOT_FOUND (-1) when the header
// could not be written or no counted page is left.
int allocatePage(IndexFile* file, int* pageNumber);
