// The frame of an operation: its checks, and the bracket of one that moves a position. Part
// of the boundary engine.h: operations on records have it too.
#pragma once

#include "engine/index_file.h"

// IX_OK, IX_NOT_OPEN or IX_BAD_ARGUMENT for an operation on an index with a buffer.
int checkRequest(IndexFile* tree, int index, const void* data, uint32_t length);

// Opens and closes the bracket of an operation that moves the position of an index,
// letting go of the record lock held there: an update when such a lock stands in
// the file, else a read. 0, or a failure code with nothing opened or moved.
int beginMove(IndexFile* tree, int index, bool* updating);
int endMove(IndexFile* tree, bool updating);

// Leaves the result in status and answers it.
inline int withStatus(IndexFile* tree, int result)
{
    tree->status = result;
    return result;
}
