// Pages and numbers handed out. For engine/; inside an update.
#pragma once

#include "engine/index_file.h"

// Grows the file until height + 1 pages beyond the next free one exist, enough for
// splits from a leaf up to a new root. 0, or IX_SHORT_WRITE when the file cannot
// grow that far. Also left in the context's I/O error.
int growFile(IndexFile* tree);

// The header in memory has changed. In shared mode it is written at the end of the update,
// before the pages that were handed out, else now: 0 or the write error, which leaves it to be
// written later.
int headerChanged(OpenFile* file);

// Hands out the next page into *pageNumber. 0, IX_NOT_ALLOCATED when no counted page is left, or
// as headerChanged, with the page handed out all the same.
int allocatePage(OpenFile* file, int* pageNumber);

// Hands out the next record number. 0, IX_SHORT_WRITE when all have been handed out, or why
// the header could not be written.
int takeSequenceNumber(OpenFile* file, int32_t* number);
