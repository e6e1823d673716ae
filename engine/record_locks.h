// Record locks: entries of LOCK_INDEX that name the user slot of their holder. A lock whose
// holder's slot byte is free is stale and is removed by whoever meets it. For engine/; shared
// mode only, with the position on the record in question.
#pragma once

#include "engine/engine.h"

// Each in an update of its own or of the caller's, leaving the found entry as it was.
// IX_OK, IX_LOCKED_BY_OTHER, a failure code; of a removal also IX_NOT_FOUND, IX_SAME_KEY or
// IX_GREATER_KEY when the lock entry is gone.
int addRecordLock(IndexFile* tree, const Position* position);
int removeRecordLock(IndexFile* tree, const Position* position);
// IX_NOT_LOCKED, IX_LOCKED_HERE, IX_LOCKED_BY_OTHER or a failure code.
int probeRecordLock(IndexFile* tree, const Position* position);

// Lets go of the record lock that the context holds at the position. IX_OK, IX_NO_CURRENT when
// the entry is gone, IX_LOCKED_BY_OTHER, or a failure code.
int releaseRecordLock(IndexFile* tree, Position* position);
