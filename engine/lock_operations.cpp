// The operations that lock and unlock records. In exclusive mode only the state is recorded.
#include "engine/engine.h"
#include "engine/operation.h"
#include "engine/positions.h"
#include "engine/record_locks.h"

int ixLockRecord(IndexFile* tree, int index)
{
    int result = checkRequest(tree, index, nullptr, 0);
    if (result != IX_OK) return result;
    Position* position = &tree->positions[index];
    if (isExclusive(&tree->file)) {
        position->recordLock = LOCKED;
        return withStatus(tree, IX_OK);
    }
    if (tree->internalCall != 0 || position->recordLock == LOCKED) return withStatus(tree, IX_OK);
    if (!standsOnEntry(position)) return withStatus(tree, IX_NO_CURRENT);
    if (ixBeginUpdate(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);

    result = ixReadCurrent(tree, index, nullptr, 0) == IX_OK ? IX_OK : IX_NO_CURRENT;
    if (result == IX_OK) result = addRecordLock(tree, position);
    if (result == IX_OK) position->recordLock = LOCKED;
    return withStatus(tree, resultOf(ixEndUpdate(&tree->file), result));
}

int ixUnlockRecord(IndexFile* tree, int index)
{
    int result = checkRequest(tree, index, nullptr, 0);
    if (result != IX_OK) return result;
    Position* position = &tree->positions[index];
    if (isExclusive(&tree->file)) {
        position->recordLock = UNLOCKED;
        return withStatus(tree, IX_OK);
    }
    if (tree->internalCall != 0) return withStatus(tree, IX_OK);
    if (position->recordLock == LOCKED) return withStatus(tree, releaseRecordLock(tree, position));
    result = ixCheckLock(tree, index);
    return withStatus(tree, result == IX_NOT_LOCKED ? IX_OK : result);
}

int ixCheckLock(IndexFile* tree, int index)
{
    int result = checkRequest(tree, index, nullptr, 0);
    if (result != IX_OK) return result;
    const Position* position = &tree->positions[index];
    if (!standsOnEntry(position)) return withStatus(tree, IX_NO_CURRENT);
    if (position->recordLock == LOCKED) return withStatus(tree, IX_LOCKED_HERE);
    if (isExclusive(&tree->file)) return withStatus(tree, IX_NOT_LOCKED);
    return withStatus(tree, probeRecordLock(tree, position));
}
