// Steps along the leaf chain below the operations. For engine/.
#pragma once

#include "engine/engine.h"

// Moves the position one entry on, by its place in the leaf in exclusive mode, by
// its key in shared mode (there only between the segments of one record). IX_OK
// or a search outcome, IX_NOT_FOUND at the end of the tree, or a failure code; also
// in status.
int stepForward(IndexFile* file, int index);

// Moves the position one entry back by its place in the leaf.
int stepBack(IndexFile* file, int index);
