// The bytes of a record, gathered from its segments. For engine/.
#pragma once

#include "engine/index_file.h"

// Copies the record whose first segment is the entry, which is the found one and at the position,
// into the destination, as far as it fits; the found entry then tells the bytes copied and the
// bytes of all segments. IX_OK, or IX_BROKEN_RECORD (an ordinal is missing or the last segment; the
// bytes found are delivered). Expects a bracket; moves no position.
int readRecordAt(IndexFile* tree, const Position* position, const uint8_t* entry, void* destination,
                 uint32_t capacity);
