// Deletion below the operations. For engine/; inside an update.
#pragma once

#include "engine/engine.h"

// Deletes the record with this key string and number, whatever its segments. 0,
// IX_NOT_FOUND, IX_DESCENT_FAILED or IX_PAGE_IO, or IX_FILE_LOCK. Lets go of the
// index's record lock first.
int deleteByKey(IndexFile* file, int index, const char* key, int32_t number);
