// The bytes of a record, gathered from its segments. For engine/.
#pragma once

#include "engine/engine.h"

// Copies the record whose first segment is the current entry into the destination,
// as far as it fits, and sets data length (bytes copied) and record length (bytes
// of all segments). IX_OK, IX_BROKEN_RECORD (an ordinal is missing or the last
// segment; the bytes found are delivered) or IX_FILE_LOCK. The position stays on
// the first segment.
int readRecordAtPosition(IndexFile* file, int index, uint8_t* destination, uint32_t capacity);
