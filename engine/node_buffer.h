// Pages in and out of the node buffer. For engine/.
#pragma once

#include "engine/engine_state.h"
#include "engine/index_file.h"
#include "engine/results.h"

// Reads a page into the node buffer. IX_OK, an I/O code, or IX_DESCENT_FAILED when
// the page number lies outside the file, the page is not sound or has another
// level than expected. A node that failed must not be looked at.
int readNode(IndexFile* file, int pageNumber, int level);

// The same into the peek buffer; neither the node buffer nor the cache's order of
// use changes.
int peekNode(IndexFile* file, int pageNumber, int level);

// Writes the node buffer's page. 0 or an I/O code.
int writeNode(IndexFile* file, int pageNumber);
