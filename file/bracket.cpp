// The bracket around every operation: the file lock, the header refresh, and the
// flush at the end of an update. In exclusive mode nobody else uses the file:
// nothing is locked and only updates are counted.
#include "file/bracket.h"

#include "file/file.h"
#include "file/file_state.h"
#include "file/header_and_pages.h"
#include "file/lock_bytes.h"
#include "platform/platform.h"

// The state changes only when the release worked. 0 or IX_FILE_LOCK, which no operation in the
// bracket can mistake for an entry that is not there.
static int releaseFileLock(OpenFile* file)
{
    if (releaseByte(file->descriptor, FILE_LOCK_BYTE) != IX_OK) return IX_FILE_LOCK;
    file->sharing.fileLock = UNLOCKED;
    file->sharing.exclusively = false;
    return IX_OK;
}

static int acquireFileLock(OpenFile* file, bool exclusive)
{
    int result = exclusive ? lockByteExclusive(file->descriptor, FILE_LOCK_BYTE)
                           : lockByteShared(file->descriptor, FILE_LOCK_BYTE);
    if (result != IX_OK) return result;
    file->sharing.fileLock = LOCKED;
    file->sharing.exclusively = exclusive;
    file->pending.announced = false;
    return IX_OK;
}

static void giveUpChanges(OpenFile* file)
{
    file->pending.flushFailed = false;
    file->pending.headerDirty = false;
}

// True when there is no header any more: the file was cut or overwritten, and what waits for
// being written has no place in it. A system that fails to read may do better next time.
static bool fileIsDestroyed(const OpenFile* file)
{
    uint8_t record[HEADER_SIZE];
    int count = osReadAt(file->descriptor, 0, record, HEADER_SIZE);
    bool hasHeader = count == HEADER_SIZE && headerHasMagic(record, CURRENT_MAGIC);
    return count >= 0 && !hasHeader;
}

// Another process may have changed the file since this context last held the lock.
// As long as nobody has, changes that wait for being written hold, and the header in
// memory, which belongs to them, is the right one; else they are given up.
static int refreshHeader(OpenFile* file)
{
    uint8_t record[HEADER_SIZE];
    int result = readHeader(file, record);
    if (result != IX_OK) {
        if (!fileIsDestroyed(file)) return result;
        giveUpChanges(file);
        dropFile(file->descriptor);
        return result;
    }
    bool untouched = headerChangeCounter(record) == file->headerInFile.changeCounter;
    if (file->pending.flushFailed && untouched) return IX_OK;
    giveUpChanges(file);
    acceptChangeCounter(file, record);
    return loadHeader(file, record) ? IX_OK : IX_DESCENT_FAILED;
}

static int tryToLockAndRefresh(OpenFile* file, bool exclusive)
{
    // Changes that wait for being written are written under the exclusive lock.
    if (acquireFileLock(file, exclusive || file->pending.flushFailed) != IX_OK) {
        return IX_LOCK_FAILED;
    }

    int result = refreshHeader(file);
    if (result != IX_OK) {
        releaseFileLock(file);
        return result;
    }
    if (file->pending.flushFailed) {
        // With a new change counter, for others may have read the old pages under
        // the one that was written before them.
        file->pending.headerDirty = true;
        if (writeChanges(file) == IX_OK) file->pending.flushFailed = false;
    }
    return IX_OK;
}

// Opens the outermost bracket in shared mode. A failure leaves nothing held.
static int lockAndRefresh(OpenFile* file, bool exclusive)
{
    int result = tryToLockAndRefresh(file, exclusive);
    if (result != IX_OK) file->trouble = true;
    return result;
}

// -- Letting writers in ------------------------------------------------------

// True once in each quiet time, when others have the file open. The lock byte has no queue, and
// readers who come one behind the other would keep a writer out for ever. So that he finds it
// free, they all stay away from it in the quiet times. Systems that have these leave a descriptor's
// own locks out of a probe.
static bool isTimeToPause(OpenFile* file)
{
    Sharing* sharing = &file->sharing;
    uint32_t quiet = osQuietTime();
    if (quiet == 0 || quiet == sharing->quietTime) return false;
    sharing->quietTime = quiet;
    constexpr OsLockRange ALL_SLOTS = {USER_SLOT_BASE, USER_SLOTS};
    return osProbe(file->descriptor, &ALL_SLOTS) != OS_DONE;
}

// Reads look at the clock now and then, for it takes a while to read: after as many pages as a few
// points need. A chain has used more, and no quiet time passes unseen behind it.
static bool looksAtClock(OpenFile* file)
{
    constexpr uint64_t PAGES_BETWEEN_LOOKS = 40;
    uint64_t used = fileState.cache.uses;
    uint64_t* atLook = &file->sharing.usedAtLook;
    if (used - *atLook < PAGES_BETWEEN_LOOKS) return false;
    *atLook = used;
    return true;
}

// Until the quiet time is over, or nobody has had the file lock for so long that no writer can be
// waiting for it. Expects that this context does not hold it.
static void pauseForWriters(const OpenFile* file)
{
    constexpr int MOST_PAUSES = 10; // of a tenth of a millisecond at least
    constexpr int ENOUGH_UNHELD = 2;
    int unheld = 0;
    for (int i = 0; i < MOST_PAUSES && osQuietTime() == file->sharing.quietTime; ++i) {
        osGiveWay();
        unheld = probeByte(file->descriptor, FILE_LOCK_BYTE) == IX_OK ? unheld + 1 : 0;
        if (unheld == ENOUGH_UNHELD) return;
    }
}

// -- Brackets ----------------------------------------------------------------

// A lock that a failed release left behind may be of the wrong kind and hides what
// others have written: give it up before an outermost bracket.
static int releaseLeftOver(OpenFile* file)
{
    if (file->sharing.readNesting != 0 || file->sharing.updateNesting != 0) return IX_OK;
    return file->sharing.fileLock == LOCKED ? releaseFileLock(file) : IX_OK;
}

// A bracket that a fork has copied is the parent's to end.
static int refuseInherited(OpenFile* file)
{
    file->trouble = true;
    return IX_LOCK_FAILED;
}

int ixBeginRead(OpenFile* file)
{
    if (isInherited(file)) return refuseInherited(file);
    if (isExclusive(file)) return IX_OK;
    if (releaseLeftOver(file) != IX_OK) return IX_LOCK_FAILED;
    if (file->sharing.fileLock != LOCKED) {
        if (looksAtClock(file) && isTimeToPause(file)) pauseForWriters(file);
        int result = lockAndRefresh(file, false);
        if (result != IX_OK) return result;
    }
    ++file->sharing.readNesting;
    return IX_OK;
}

int ixEndRead(OpenFile* file)
{
    if (isInherited(file)) return refuseInherited(file);
    if (isExclusive(file)) return IX_OK;
    --file->sharing.readNesting;
    if (file->sharing.updateNesting != 0 || file->sharing.readNesting != 0) return IX_OK;
    return releaseFileLock(file);
}

int ixYieldRead(OpenFile* file, ReadPiece* piece)
{
    constexpr int32_t STEPS_BETWEEN_LOOKS = 64;
    constexpr uint32_t PIECE_MILLISECONDS = 10;
    constexpr uint32_t UNDIVIDED_MILLISECONDS = 2; // a shorter read is of one state of the file
    if (isExclusive(file)) return IX_OK;
    bool looks = piece->steps % STEPS_BETWEEN_LOOKS == 0;
    bool first = piece->steps == 0;
    ++piece->steps;
    if (!looks) return IX_OK;
    uint32_t now = osMilliseconds();
    if (first) piece->since = now;
    uint32_t age = now - piece->since;
    bool pauses = age >= UNDIVIDED_MILLISECONDS && isTimeToPause(file);
    if (!pauses && age < PIECE_MILLISECONDS) return IX_OK;

    int ended = ixEndRead(file);
    *piece = {};
    if (ended != IX_OK) return ended;
    osGiveWay();
    if (pauses) pauseForWriters(file);
    return ixBeginRead(file);
}

int ixBeginUpdate(OpenFile* file)
{
    if (isInherited(file)) return refuseInherited(file);
    if (!isExclusive(file)) {
        if (releaseLeftOver(file) != IX_OK) return IX_LOCK_FAILED;
        if (file->sharing.fileLock != LOCKED) {
            int result = lockAndRefresh(file, true);
            if (result != IX_OK) return result;
        } else if (!file->sharing.exclusively) {
            file->pending.refused = true; // inside an outermost read
            return IX_FILE_LOCK;
        }
    }
    if (file->sharing.updateNesting == 0) ++file->sharing.updates;
    ++file->sharing.updateNesting;
    return IX_OK;
}

int ixEndUpdate(OpenFile* file)
{
    if (isInherited(file)) return refuseInherited(file);
    --file->sharing.updateNesting;
    if (file->sharing.updateNesting != 0) return IX_OK;
    if (isExclusive(file)) return makeDurable();

    int result = writeChanges(file);
    file->pending.flushFailed = result != IX_OK;
    if (file->sharing.readNesting == 0) {
        int released = releaseFileLock(file);
        if (result == IX_OK) result = released;
    }
    if (file->pending.fileExtended && result == IX_OK) {
        result = makeDurable();
        file->pending.fileExtended = false;
    }
    return result;
}

int ixWriteOut(OpenFile* file) { return isExclusive(file) ? IX_OK : writeChanges(file); }

int beginOpen(OpenFile* file)
{
    ++file->sharing.updateNesting;
    if (isExclusive(file)) return IX_OK;
    if (acquireFileLock(file, true) == IX_OK) return IX_OK;
    --file->sharing.updateNesting;
    return IX_LOCK_FAILED;
}

int endOpen(OpenFile* file)
{
    --file->sharing.updateNesting;
    if (isExclusive(file)) return makeDurable();
    int flushed = writeChanges(file);
    int released = releaseFileLock(file);
    return resultOf(flushed, released);
}
