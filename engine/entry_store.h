// The bare store: without the frame of an operation, inside an update. For engine/.
#pragma once

#include "engine/engine.h"

// True when index number, length of the key string and data are such as may be stored.
bool mayBeStored(int index, const char* key, const void* data, uint32_t length);

// Stores the data under the key, cut into segments, and leaves the position of the index on
// the first one. 0, IX_EXISTS (STORE_NEW: exactly this key exists), IX_BAD_ARGUMENT beyond the
// limits, IX_PAGE_IO, IX_SHORT_WRITE, IX_DESCENT_FAILED. After a
// failure nothing of the record is left, unless that failed too.
int storeRecord(IndexFile* tree, int mode, int index, const char* key, int32_t number,
                const void* data, uint32_t length);
