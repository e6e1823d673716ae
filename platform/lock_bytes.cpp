// The lock bytes of the header area: the file lock, and the user slots that tell
// which openers are alive.
#include "platform/platform_state.h"

static int requestLock(OsLockKind kind, int descriptor, int mode, uint32_t start, uint32_t length)
{
    OsLockRange* request = &platformState.lockRequest;
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
    return lockRange(descriptor, LOCK_AND_WAIT, offset, 1) == OS_DONE ? 0 : -1;
}

int lockByteShared(int descriptor, uint32_t offset)
{
    return lockRangeShared(descriptor, LOCK_AND_WAIT, offset, 1) == OS_DONE ? 0 : -1;
}

int tryByte(int descriptor, uint32_t offset)
{
    return lockRange(descriptor, LOCK_AT_ONCE, offset, 1) == OS_DONE ? 0 : -1;
}

int releaseByte(int descriptor, uint32_t offset)
{
    return lockRange(descriptor, LOCK_RELEASE, offset, 1) == OS_DONE ? 0 : -1;
}

int probeByte(int descriptor, uint32_t offset)
{
    OsLockRange* request = &platformState.lockRequest;
    request->start = offset;
    request->length = 1;
    return osProbe(descriptor, request) == OS_DONE ? 0 : -1;
}

int slotState(int descriptor, uint32_t offset)
{
    return probeByte(descriptor, offset) == 0 ? UNLOCKED : LOCKED;
}

int holderAlive(IndexFile* file, int32_t userSlot)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;

    if (userSlot < 0 || userSlot >= USER_SLOTS) return -1;
    // The own slot is alive, and probing it would release it on some systems.
    if (userSlot == file->userSlot) return 0;
    uint32_t offset = USER_SLOT_BASE + static_cast<uint32_t>(userSlot);
    return slotState(file->fileDescriptor, offset) == LOCKED ? 0 : -1;
}

int claimUserSlot(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE) return 0;
    for (int slot = 0; slot < USER_SLOTS; ++slot) {
        if (tryByte(file->fileDescriptor, USER_SLOT_BASE + static_cast<uint32_t>(slot)) == 0) {
            file->userSlot = slot;
            return 0;
        }
    }
    file->userSlot = NO_SLOT;
    return IX_NOT_FOUND;
}

void releaseUserSlot(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE || file->userSlot == NO_SLOT) return;
    releaseByte(file->fileDescriptor, USER_SLOT_BASE + static_cast<uint32_t>(file->userSlot));
    file->userSlot = NO_SLOT;
}
