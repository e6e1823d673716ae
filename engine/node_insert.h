// Insertion of one entry into the tree. For engine/; inside an update.
#pragma once

#include "engine/index_file.h"

// Inserts the entry into the leaf at the position of the index, where a descent to its
// key has just ended, and splits nodes up to the root as needed. Leaves the position on
// the new entry. 0, or
//   IX_SHORT_WRITE  the file cannot grow; nothing is changed, unless the growth
//                   failed after the first split: then the entry is in place
//   IX_PAGE_IO      a page could not be read, written or allocated
int insertEntry(IndexFile* tree, int index, const uint8_t* newEntry);

// Makes the right half of a page known to the level above: the page was cut by a process that was
// killed before it came to that. Expects the descent that found it to be the last one. 0, or as
// insertEntry.
int finishSplit(IndexFile* tree, int level, int page);
