// The entry that an operation hands to its caller. For engine/.
#pragma once

#include "engine/index_file.h"

// Copies the entry's key, number and segment, and the length of its data.
void takeEntry(IndexFile* tree, const uint8_t* entry);
// There is no entry.
void clearFoundEntry(IndexFile* tree);
