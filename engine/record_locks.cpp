#include "engine/record_locks.h"

#include "engine/entry_store.h"
#include "engine/positions.h"

// The lock entry of a record: key string (index byte and key of the locked entry)
// and number.
struct LockKey {
    char key[KEY_BUFFER_SIZE + 1];
    int32_t number;
};

static LockKey lockKeyAt(const Position* position)
{
    LockKey lock = {};
    lock.key[0] = static_cast<char>(position->home);
    strcpy(lock.key + 1, position->key);
    lock.number = position->number;
    return lock;
}

// Reads the lock entry: the search result, and on IX_OK the slot of its holder, or
// NO_SLOT when its data are no slot.
static int readLockEntry(IndexFile* tree, const LockKey* lock, int32_t* slot)
{
    uint8_t data[LOCK_DATA_SIZE] = {};
    int result =
        ixInnerFind(tree, LOCK_INDEX, FOR_RECORD, lock->key, lock->number, data, sizeof data);
    *slot = NO_SLOT;
    if (result == IX_OK && tree->found.recordLength == LOCK_DATA_SIZE) *slot = loadInt32(data);
    return result;
}

static bool isAlive(IndexFile* tree, int32_t slot)
{
    return slot != NO_SLOT && holderAlive(&tree->file, slot) == IX_OK;
}

static int storeLockEntry(IndexFile* tree, const LockKey* lock)
{
    uint8_t data[LOCK_DATA_SIZE];
    storeInt32(data, tree->file.sharing.userSlot);
    return storeRecord(tree, STORE_NEW, LOCK_INDEX, lock->key, lock->number, data, sizeof data);
}

static int deleteLockEntry(IndexFile* tree, const LockKey* lock)
{
    return ixInnerDelete(tree, LOCK_INDEX, lock->key, lock->number);
}

static int addLockEntry(IndexFile* tree, const LockKey* lock)
{
    int result = storeLockEntry(tree, lock);
    if (result != IX_EXISTS) return result;

    int32_t slot = NO_SLOT;
    if (readLockEntry(tree, lock, &slot) != IX_OK) return IX_LOCKED_BY_OTHER;
    if (isAlive(tree, slot)) return IX_LOCKED_BY_OTHER;
    result = deleteLockEntry(tree, lock);
    return result == IX_OK ? storeLockEntry(tree, lock) : result;
}

static int removeLockEntry(IndexFile* tree, const LockKey* lock)
{
    int32_t slot = NO_SLOT;
    int result = readLockEntry(tree, lock, &slot);
    if (result != IX_OK) return result;
    bool own = slot == tree->file.sharing.userSlot;
    return own ? deleteLockEntry(tree, lock) : IX_LOCKED_BY_OTHER;
}

// A read-only context leaves a stale lock where it is.
static int probeLockEntry(IndexFile* tree, const LockKey* lock)
{
    int32_t slot = NO_SLOT;
    int result = readLockEntry(tree, lock, &slot);
    if (result == IX_NOT_FOUND || result == IX_SAME_KEY || result == IX_GREATER_KEY) {
        return IX_NOT_LOCKED;
    }
    if (result != IX_OK) return result;
    // A slot that the file holds may be any number.
    if (slot != NO_SLOT && slot == tree->file.sharing.userSlot) return IX_LOCKED_HERE;
    if (isAlive(tree, slot)) return IX_LOCKED_BY_OTHER;
    if (tree->file.readOnly) return IX_NOT_LOCKED;
    result = deleteLockEntry(tree, lock);
    return result == IX_OK ? IX_NOT_LOCKED : result;
}

enum LockWork { ADD_LOCK, REMOVE_LOCK, PROBE_LOCK };

static int doWork(IndexFile* tree, const LockKey* lock, LockWork work)
{
    switch (work) {
    case ADD_LOCK:
        return addLockEntry(tree, lock);
    case REMOVE_LOCK:
        return removeLockEntry(tree, lock);
    default:
        return probeLockEntry(tree, lock);
    }
}

static int workInUpdate(IndexFile* tree, const Position* position, LockWork work)
{
    if (ixBeginUpdate(&tree->file) != IX_OK) return IX_FILE_LOCK;
    LockKey lock = lockKeyAt(position);
    FoundEntry found = tree->found;
    int result = doWork(tree, &lock, work);
    tree->found = found;
    return resultOf(ixEndUpdate(&tree->file), result);
}

int addRecordLock(IndexFile* tree, const Position* position)
{
    return workInUpdate(tree, position, ADD_LOCK);
}

int removeRecordLock(IndexFile* tree, const Position* position)
{
    return workInUpdate(tree, position, REMOVE_LOCK);
}

int probeRecordLock(IndexFile* tree, const Position* position)
{
    return workInUpdate(tree, position, PROBE_LOCK);
}

int releaseRecordLock(IndexFile* tree, Position* position)
{
    if (!standsOnEntry(position)) return IX_NO_CURRENT;
    int result = removeRecordLock(tree, position);
    if (result == IX_OK) position->recordLock = UNLOCKED;
    return result;
}
