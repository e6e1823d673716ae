// Nodes: looked at where they lie in the page cache, and taken in and out of the node
// buffer to be changed. For engine/.
#pragma once

#include "engine/engine_state.h"
#include "file/file.h"

// Notes that the file is damaged or cannot be read, and returns the result.
int inTrouble(OpenFile* file, int result);

// IX_OK, an I/O code, or IX_DESCENT_FAILED when the page number lies outside the
// file, the page is not sound or has another level than expected. A node that failed
// must not be looked at, nor one that has been left: it stays in the cache while no more than a
// few others are read.
int viewNode(OpenFile* file, int pageNumber, int level, NodeView* view);

// The same into the node buffer.
int readNode(OpenFile* file, int pageNumber, int level);

// The same into the peek buffer; neither the node buffer nor the cache's order of
// use changes.
int peekNode(OpenFile* file, int pageNumber, int level);

// Writes the node buffer's page. 0 or an I/O code.
int writeNode(OpenFile* file, int pageNumber);
