#include "tests/support/os_faulty.h"

#include "format/file_format.h"
#include "platform/heap.h"

OsFaults osFaults;
int liveBlocks;
std::map<const void*, size_t> blockSizes;

decltype(osOpen) realOsOpen;
decltype(osClose) realOsClose;
decltype(osReadAt) realOsReadAt;
decltype(osWriteAt) realOsWriteAt;
decltype(osLock) realOsLock;
decltype(osUnlock) realOsUnlock;
decltype(osMilliseconds) realOsMilliseconds;
decltype(osQuietTime) realOsQuietTime;
decltype(osGiveWay) realOsGiveWay;
decltype(allocateZeroed) realAllocateZeroed;
decltype(allocate) realAllocate;
decltype(reallocate) realReallocate;
decltype(release) realRelease;

static bool fails(OsCall call)
{
    if (call != osFaults.call || osFaults.first == 0) return false;
    if (osFaults.first > 1) {
        --osFaults.first;
        return false;
    }
    if (!osFaults.lasting) osFaults.first = 0;
    ++osFaults.failures;
    return true;
}

int osOpen(const char* path, OsAccess access)
{
    if (!fails(OS_CALL_OPEN)) return realOsOpen(path, access);
    return osFaults.refusing ? OS_NO_WRITE_ACCESS : OS_FAILED;
}

int osClose(int descriptor)
{
    // The descriptor is given up even when that is answered with an error.
    int result = realOsClose(descriptor);
    return fails(OS_CALL_CLOSE) ? OS_FAILED : result;
}

static int failedTransfer() { return osFaults.seeking ? OS_SEEK_FAILED : OS_FAILED; }

int osReadAt(int descriptor, int64_t offset, void* buffer, int length)
{
    osFaults.transfers.push_back({OS_CALL_READ, descriptor, offset});
    bool failed = fails(OS_CALL_READ);
    if (failed && length > NODE_PAGE_SIZE) {
        --osFaults.failures;
        ++osFaults.failuresAhead;
    }
    if (failed && !osFaults.shortened) return failedTransfer();
    return realOsReadAt(descriptor, offset, buffer, failed ? length / 2 : length);
}

int osWriteAt(int descriptor, int64_t offset, const void* buffer, int length)
{
    osFaults.transfers.push_back({OS_CALL_WRITE, descriptor, offset});
    bool failed = fails(OS_CALL_WRITE);
    bool dead = osFaults.kills && osFaults.failures > 1;
    if (failed && !osFaults.shortened) return failedTransfer();
    if (offset >= osFaults.diskEnd || dead) return OS_FAILED;
    return realOsWriteAt(descriptor, offset, buffer, failed ? length / 2 : length);
}

int osLock(int descriptor, OsLockKind kind, OsLockWait wait, const OsLockRange* range)
{
    if (++osFaults.locks == osFaults.lockWaitedFor) osFaults.meanwhile();
    return fails(OS_CALL_LOCK) ? OS_REFUSED : realOsLock(descriptor, kind, wait, range);
}

int osUnlock(int descriptor, const OsLockRange* range)
{
    return fails(OS_CALL_UNLOCK) ? OS_REFUSED : realOsUnlock(descriptor, range);
}

uint32_t osMilliseconds() { return osFaults.time != 0 ? osFaults.time : realOsMilliseconds(); }

uint32_t osQuietTime() { return osFaults.time != 0 ? osFaults.quietTime : realOsQuietTime(); }

void osGiveWay()
{
    ++osFaults.pauses;
    realOsGiveWay();
}

static void* noteBlock(void* block, size_t size)
{
    liveBlocks += block != nullptr ? 1 : 0;
    blockSizes[block] = size;
    return block;
}

void* allocateZeroed(size_t count, size_t size)
{
    bool failed = fails(OS_CALL_ALLOCATE);
    return noteBlock(failed ? nullptr : realAllocateZeroed(count, size), count * size);
}

void* allocate(size_t size)
{
    return noteBlock(fails(OS_CALL_ALLOCATE) ? nullptr : realAllocate(size), size);
}

void* reallocate(void* block, size_t oldSize, size_t newSize)
{
    if (fails(OS_CALL_ALLOCATE)) return nullptr;
    block = realReallocate(block, oldSize, newSize);
    blockSizes[block] = newSize;
    return block;
}

void release(void* block)
{
    liveBlocks -= block != nullptr ? 1 : 0;
    realRelease(block);
}
