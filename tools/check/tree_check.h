// The tree of a job database file: every node, its links and bounds, and pages that belong to
// none. For tools/check/.
#pragma once

#include "tools/check/report.h"

// Expects a header that is possible; collects the entries of the leaves.
void checkTree(CheckedFile* file);
