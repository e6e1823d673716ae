// Record locks: entries of LOCK_INDEX that name the user slot of their holder. A
// lock whose holder's slot byte is free is stale and is removed by whoever meets it.
// In exclusive mode only the state is recorded.
#include "engine/delete.h"
#include "engine/key_search.h"
#include "platform/platform.h"

// The lock entry of a record: key string (index byte and key of the locked entry)
// and number.
struct LockKey {
    char key[KEY_BUFFER_SIZE + 1];
    int32_t number;
};

static LockKey lockKeyAtPosition(const IndexFile* file, int index)
{
    LockKey lock = {};
    lock.key[0] = static_cast<char>(index);
    strcpy(lock.key + 1, file->keyBuffer[index]);
    lock.number = file->numberAtPosition[index];
    return lock;
}

static bool standsOnEntry(const IndexFile* file, int index)
{
    return file->indexAtPosition[index] == index && file->removedAtPosition[index] == 0;
}

static int checkLockArguments(IndexFile* file, int index)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (index < MIN_INDEX || index > MAX_INDEX) return withStatus(file, IX_BAD_ARGUMENT);
    return IX_OK;
}

// Reads the lock entry: the search result, and on IX_OK the slot of its holder, or
// NO_SLOT when its data are no slot.
static int readLockEntry(IndexFile* file, const LockKey* lock, int32_t* slot)
{
    uint8_t data[LOCK_DATA_SIZE] = {};
    int result = ixFind(file, LOCK_INDEX, lock->key, lock->number, data, sizeof data);
    *slot = NO_SLOT;
    if (result == IX_OK && file->recordLength == LOCK_DATA_SIZE) *slot = loadInt32(data);
    return result;
}

static bool isAlive(IndexFile* file, int32_t slot)
{
    return slot != NO_SLOT && holderAlive(file, slot) == 0;
}

static int storeLockEntry(IndexFile* file, const LockKey* lock)
{
    uint8_t data[LOCK_DATA_SIZE];
    storeInt32(data, file->userSlot);
    return ixAdd(file, LOCK_INDEX, lock->key, lock->number, data, sizeof data);
}

// Inside an update, with the internal-call flag set.
static int addLockEntry(IndexFile* file, const LockKey* lock)
{
    int result = storeLockEntry(file, lock);
    if (result != IX_NOT_FOUND) return result;

    int32_t slot = NO_SLOT;
    if (readLockEntry(file, lock, &slot) != IX_OK) return IX_LOCKED_BY_OTHER;
    if (isAlive(file, slot)) return IX_LOCKED_BY_OTHER;
    result = deleteByKey(file, LOCK_INDEX, lock->key, lock->number);
    return result == IX_OK ? storeLockEntry(file, lock) : result;
}

// Likewise.
static int removeLockEntry(IndexFile* file, const LockKey* lock)
{
    int32_t slot = NO_SLOT;
    int result = readLockEntry(file, lock, &slot);
    if (result != IX_OK) return result;
    return slot == file->userSlot ? ixDeleteCurrent(file, LOCK_INDEX) : IX_LOCKED_BY_OTHER;
}

// Likewise; but a read-only context leaves a stale lock where it is.
static int probeLockEntry(IndexFile* file, const LockKey* lock)
{
    int32_t slot = NO_SLOT;
    int result = readLockEntry(file, lock, &slot);
    if (result == IX_NOT_FOUND || result == IX_SAME_KEY || result == IX_GREATER_KEY) {
        return IX_NOT_LOCKED;
    }
    if (result != IX_OK) return result;
    if (slot != NO_SLOT && slot == file->userSlot) return IX_LOCKED_HERE;
    if (isAlive(file, slot)) return IX_LOCKED_BY_OTHER;
    if (file->readOnly != 0) return IX_NOT_LOCKED;
    result = deleteByKey(file, LOCK_INDEX, lock->key, lock->number);
    return result == IX_OK ? IX_NOT_LOCKED : result;
}

// Work on the lock entry of a position.
enum LockWork { ADD_LOCK, REMOVE_LOCK, PROBE_LOCK };

// Does the work inside an update, with the internal-call flag set so that it locks
// and releases nothing itself; flag and request fields are put back.
static int withLockIndex(IndexFile* file, int index, LockWork work)
{
    if (ixBeginUpdate(file) != 0) return IX_FILE_LOCK;
    LockKey lock = lockKeyAtPosition(file, index);
    KeptRequest request = keepRequest(file);
    int32_t internalCall = file->internalCall;
    file->internalCall = 1;

    int result = IX_OK;
    switch (work) {
    case ADD_LOCK:
        result = addLockEntry(file, &lock);
        break;
    case REMOVE_LOCK:
        result = removeLockEntry(file, &lock);
        break;
    case PROBE_LOCK:
        result = probeLockEntry(file, &lock);
        break;
    }

    file->internalCall = internalCall;
    putRequestBack(file, &request);
    int ended = ixEndUpdate(file);
    return ended != 0 ? ended : result;
}

int ixLockRecord(IndexFile* file, int index)
{
    int result = checkLockArguments(file, index);
    if (result != IX_OK) return result;
    if (file->openMode == OPEN_EXCLUSIVE) {
        file->recordLockState[index] = LOCKED;
        return withStatus(file, IX_OK);
    }
    if (file->internalCall != 0 || file->recordLockState[index] == LOCKED) {
        return withStatus(file, IX_OK);
    }
    if (!standsOnEntry(file, index)) return withStatus(file, IX_NO_CURRENT);
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);

    result = ixReadCurrent(file, index, nullptr, 0) == IX_OK ? IX_OK : IX_NO_CURRENT;
    if (result == IX_OK) {
        result = withLockIndex(file, index, ADD_LOCK);
        if (result == IX_OK) file->recordLockState[index] = LOCKED;
    }
    int ended = ixEndUpdate(file);
    return withStatus(file, ended != 0 ? ended : result);
}

int ixUnlockRecord(IndexFile* file, int index)
{
    int result = checkLockArguments(file, index);
    if (result != IX_OK) return result;
    if (file->openMode == OPEN_EXCLUSIVE) {
        file->recordLockState[index] = UNLOCKED;
        return withStatus(file, IX_OK);
    }
    if (file->internalCall != 0) return withStatus(file, IX_OK);

    if (file->recordLockState[index] == LOCKED) {
        if (!standsOnEntry(file, index)) return withStatus(file, IX_NO_CURRENT);
        result = withLockIndex(file, index, REMOVE_LOCK);
        if (result == IX_OK) file->recordLockState[index] = UNLOCKED;
        return withStatus(file, result);
    }
    result = ixCheckLock(file, index);
    return withStatus(file, result == IX_NOT_LOCKED ? IX_OK : result);
}

int ixCheckLock(IndexFile* file, int index)
{
    int result = checkLockArguments(file, index);
    if (result != IX_OK) return result;
    if (!standsOnEntry(file, index)) return withStatus(file, IX_NO_CURRENT);
    if (file->recordLockState[index] == LOCKED) return withStatus(file, IX_LOCKED_HERE);
    if (file->openMode == OPEN_EXCLUSIVE) return withStatus(file, IX_NOT_LOCKED);
    return withStatus(file, withLockIndex(file, index, PROBE_LOCK));
}
