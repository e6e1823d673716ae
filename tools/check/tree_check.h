// The tree of a job database file: every node, its links and bounds, and pages that belong to
// none. For tools/check/.
#pragma once

#include "tools/check/checked_file.h"

// Checks the tree and collects the entries of its leaves. Expects a header that acceptHeader has
// accepted.
void checkTree(CheckedFile* file);
