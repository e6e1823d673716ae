// The bare delete: without the frame of an operation, inside an update. For engine/;
// engine.h offers ixInnerDelete to the record layer.
#pragma once

#include "engine/engine.h"

// Deletes the record whose first entry is at the exact place of the index's position, which
// ends on the entry before it. 0 or IX_PAGE_IO.
int deleteChain(IndexFile* tree, int index);
