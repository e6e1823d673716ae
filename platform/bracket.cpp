// The bracket around every operation: the file lock, the header refresh, and the
// flush at the end of an update. In exclusive mode nobody else uses the file:
// nothing is locked and only updates are counted.
#include "platform/bracket.h"

#include "platform/bytes.h"
#include "platform/platform_state.h"

// The state changes only when the release worked.
static int releaseFileLock(IndexFile* file)
{
    if (releaseByte(file->fileDescriptor, FILE_LOCK_BYTE) != 0) return -1;
    file->fileLockState = UNLOCKED;
    file->fileLockExclusive = 0;
    return 0;
}

static int acquireFileLock(IndexFile* file, bool exclusive)
{
    int result = exclusive ? lockByteExclusive(file->fileDescriptor, FILE_LOCK_BYTE)
                           : lockByteShared(file->fileDescriptor, FILE_LOCK_BYTE);
    if (result != 0) return -1;
    file->fileLockState = LOCKED;
    file->fileLockExclusive = exclusive ? 1 : 0;
    return 0;
}

// Another process may have changed the file since this context last held the lock.
// As long as nobody has, changes that wait for being written hold, and the header in
// memory, which belongs to them, is the right one; else they are given up.
static int refreshHeader(IndexFile* file)
{
    uint8_t header[HEADER_SIZE];
    int result = readHeader(file, header);
    if (result != IX_OK) return result;
    bool untouched = loadUint32(header + HEADER_CHANGE_COUNTER) == file->counterInFile;
    if (file->flushPending != 0 && untouched) return IX_OK;
    file->flushPending = 0;
    acceptChangeCounter(file, header);
    return loadHeader(file, header) ? IX_OK : IX_DESCENT_FAILED;
}

static int flushChanges(IndexFile* file)
{
    if (file->headerDirty != 0) {
        int result = writeHeader(file);
        if (result != IX_OK) return result;
    }
    return flushFile(file);
}

// Opens the outermost bracket in shared mode. A failure leaves nothing held.
static int lockAndRefresh(IndexFile* file, bool exclusive)
{
    // Changes that wait for being written are written under the exclusive lock.
    if (acquireFileLock(file, exclusive || file->flushPending != 0) != 0) return -1;

    int result = refreshHeader(file);
    if (result != IX_OK) {
        releaseFileLock(file);
        return result;
    }
    if (file->flushPending != 0) {
        // With a new change counter, for others may have read the old pages under
        // the one that was written before them.
        file->headerDirty = 1;
        if (flushChanges(file) == IX_OK) file->flushPending = 0;
    }
    return 0;
}

// A lock that a failed release left behind may be of the wrong kind and hides what
// others have written: give it up before an outermost bracket.
static int releaseLeftOver(IndexFile* file)
{
    if (file->readNesting != 0 || file->updateNesting != 0) return 0;
    return file->fileLockState == LOCKED ? releaseFileLock(file) : 0;
}

int ixBeginRead(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE) return 0;
    if (releaseLeftOver(file) != 0) return -1;
    if (file->fileLockState != LOCKED) {
        int result = lockAndRefresh(file, false);
        if (result != 0) return result;
    }
    ++file->readNesting;
    return 0;
}

int ixEndRead(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE) return 0;
    --file->readNesting;
    if (file->updateNesting != 0 || file->readNesting != 0) return 0;
    return file->fileLockState == LOCKED ? releaseFileLock(file) : 0;
}

int ixYieldRead(IndexFile* file, ReadPiece* piece)
{
    constexpr int32_t STEPS_BETWEEN_LOOKS = 64;
    constexpr uint32_t PIECE_MILLISECONDS = 10;
    if (file->openMode == OPEN_EXCLUSIVE) return 0;
    bool looks = piece->steps % STEPS_BETWEEN_LOOKS == 0;
    bool first = piece->steps == 0;
    ++piece->steps;
    if (!looks) return 0;
    uint32_t now = osMilliseconds();
    if (first) piece->since = now;
    if (now - piece->since < PIECE_MILLISECONDS) return 0;

    int ended = ixEndRead(file);
    *piece = {};
    if (ended != 0) return ended;
    osGiveWay();
    return ixBeginRead(file);
}

int ixBeginUpdate(IndexFile* file)
{
    if (file->openMode != OPEN_EXCLUSIVE) {
        if (releaseLeftOver(file) != 0) return -1;
        if (file->fileLockState != LOCKED) {
            int result = lockAndRefresh(file, true);
            if (result != 0) return result;
        } else if (file->fileLockExclusive == 0) {
            file->updateRefused = 1; // inside an outermost read
            return IX_FILE_LOCK;
        }
    }
    ++file->updateNesting;
    return 0;
}

int ixEndUpdate(IndexFile* file)
{
    --file->updateNesting;
    if (file->updateNesting != 0) return 0;
    if (file->openMode == OPEN_EXCLUSIVE) {
        return file->writePolicy >= WRITE_AT_END ? initialize() : 0;
    }

    int32_t status = file->status;
    int result = flushChanges(file);
    file->flushPending = result != IX_OK ? 1 : 0;
    if (file->readNesting == 0 && file->fileLockState == LOCKED) {
        int released = releaseFileLock(file);
        if (result == IX_OK) result = released;
    }
    if (file->fileExtended != 0 && file->writePolicy != WRITE_AT_END_HEADER_TOO &&
        result == IX_OK) {
        result = initialize();
        file->fileExtended = 0;
    }
    file->status = status;
    return result;
}

int beginOpen(IndexFile* file)
{
    ++file->updateNesting;
    if (file->openMode == OPEN_EXCLUSIVE) return 0;
    if (acquireFileLock(file, true) == 0) return 0;
    --file->updateNesting;
    return -1;
}

int endOpen(IndexFile* file)
{
    --file->updateNesting;
    if (file->openMode == OPEN_EXCLUSIVE) return initialize();
    int flushed = flushChanges(file);
    int released = releaseFileLock(file);
    return flushed != IX_OK ? flushed : released;
}
