#include "engine/operation.h"

#include "engine/record_locks.h"

int checkRequest(IndexFile* tree, int index, const void* data, uint32_t length)
{
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    uintptr_t start = reinterpret_cast<uintptr_t>(data);
    bool wraps = start + length < start;
    if (index < MIN_INDEX || index > MAX_INDEX || wraps) return withStatus(tree, IX_BAD_ARGUMENT);
    return IX_OK;
}

int beginMove(IndexFile* tree, int index, bool* updating)
{
    Position* position = &tree->positions[index];
    bool holdsLock = position->recordLock == LOCKED && tree->internalCall == 0;
    *updating = holdsLock && !isExclusive(&tree->file);
    int begun = *updating ? ixBeginUpdate(&tree->file) : ixBeginRead(&tree->file);
    if (begun != IX_OK) return IX_FILE_LOCK;
    if (!*updating) {
        if (holdsLock) position->recordLock = UNLOCKED; // exclusive mode: it is in no file
        return IX_OK;
    }

    // A lock entry that is gone or somebody else's is no longer held, so the state
    // must not move on with the position; only a failing file ends the operation.
    int released = releaseRecordLock(tree, position);
    bool gone =
        released >= IX_NOT_FOUND || released == IX_NO_CURRENT || released == IX_LOCKED_BY_OTHER;
    if (gone) {
        position->recordLock = UNLOCKED;
        return IX_OK;
    }
    endMove(tree, *updating);
    return released;
}

int endMove(IndexFile* tree, bool updating)
{
    return updating ? ixEndUpdate(&tree->file) : ixEndRead(&tree->file);
}
