// Pages and numbers handed out. For engine/; inside an update.
#pragma once

#include "engine/index_file.h"

// Grows the file until height + 1 pages beyond the next free one exist, enough for
// splits from a leaf up to a new root. 0, or IX_SHORT_WRITE when the file cannot
// grow that far. Also left in the context's I/O error.
int growFile(IndexFile* tree);

// Hands out the next page into *pageNumber. 0, or IX_NOT_ALLOCATED when the header
// could not be written or no counted page is left.
int allocatePage(OpenFile* file, int* pageNumber);

// Hands out the next record number. 0, IX_SHORT_WRITE when all have been handed out, or why
// the header could not be written.
int takeSequenceNumber(OpenFile* file, int32_t* number);
