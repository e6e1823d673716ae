#include "file/lock_bytes.h"

#include "file/file.h"
#include "file/file_state.h"

static int requestLock(OsLockKind kind, int descriptor, int mode, uint32_t start, uint32_t length)
{
    OsLockRange* request = &fileState.lockRequest;
    request->start = start;
    request->length = length;
    switch (mode) {
    case LOCK_RELEASE:
        return osUnlock(descriptor, request);
    case LOCK_AND_WAIT:
        return osLock(descriptor, kind, OS_LOCK_WAIT, request);
    case LOCK_AT_ONCE:
        return osLock(descriptor, kind, OS_LOCK_AT_ONCE, request);
    default:
        return OS_DONE;
    }
}

int lockRange(int descriptor, int mode, uint32_t start, uint32_t length)
{
    return requestLock(OS_LOCK_EXCLUSIVE, descriptor, mode, start, length);
}

int lockRangeShared(int descriptor, int mode, uint32_t start, uint32_t length)
{
    return requestLock(OS_LOCK_SHARED, descriptor, mode, start, length);
}

int lockByteExclusive(int descriptor, uint32_t offset)
{
    return lockRange(descriptor, LOCK_AND_WAIT, offset, 1) == OS_DONE ? IX_OK : IX_LOCK_FAILED;
}

int lockByteShared(int descriptor, uint32_t offset)
{
    return lockRangeShared(descriptor, LOCK_AND_WAIT, offset, 1) == OS_DONE ? IX_OK
                                                                            : IX_LOCK_FAILED;
}

int tryByte(int descriptor, uint32_t offset)
{
    return lockRange(descriptor, LOCK_AT_ONCE, offset, 1) == OS_DONE ? IX_OK : IX_LOCK_FAILED;
}

int releaseByte(int descriptor, uint32_t offset)
{
    return lockRange(descriptor, LOCK_RELEASE, offset, 1) == OS_DONE ? IX_OK : IX_LOCK_FAILED;
}

int probeByte(int descriptor, uint32_t offset)
{
    OsLockRange* request = &fileState.lockRequest;
    request->start = offset;
    request->length = 1;
    return osProbe(descriptor, request) == OS_DONE ? IX_OK : IX_LOCK_FAILED;
}

int slotState(int descriptor, uint32_t offset)
{
    return probeByte(descriptor, offset) == IX_OK ? UNLOCKED : LOCKED;
}

int holderAlive(OpenFile* file, int32_t userSlot)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;

    if (userSlot < 0 || userSlot >= USER_SLOTS) return IX_NOT_FOUND;
    // The own slot is alive, and probing it would release it on some systems.
    if (userSlot == file->sharing.userSlot) return IX_OK;
    uint32_t offset = USER_SLOT_BASE + static_cast<uint32_t>(userSlot);
    return slotState(file->descriptor, offset) == LOCKED ? IX_OK : IX_NOT_FOUND;
}

int claimUserSlot(OpenFile* file)
{
    if (isExclusive(file)) return IX_OK;
    for (int claimed = 0; claimed < USER_SLOTS; ++claimed) {
        int slot = file->readOnly ? USER_SLOTS - 1 - claimed : claimed;
        if (tryByte(file->descriptor, USER_SLOT_BASE + static_cast<uint32_t>(slot)) == IX_OK) {
            file->sharing.userSlot = slot;
            return IX_OK;
        }
    }
    file->sharing.userSlot = NO_SLOT;
    return IX_NO_FREE_SLOT;
}

void releaseUserSlot(OpenFile* file)
{
    if (file->sharing.userSlot == NO_SLOT || isInherited(file)) return;
    releaseByte(file->descriptor, USER_SLOT_BASE + static_cast<uint32_t>(file->sharing.userSlot));
    file->sharing.userSlot = NO_SLOT;
}
