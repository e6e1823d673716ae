// Opening and closing a database.
#include "engine/engine.h"
#include "engine/key_search.h"
#include "platform/platform.h"

constexpr size_t KEPT_PATH_LENGTH = 49;

int setFormatVersion(bool set, int version) { return headerFormatVersion(set, version); }

// -- Open --------------------------------------------------------------------

// What tells an open context from anything else.
struct OpenMarks {
    uint8_t markers[MAGIC_LENGTH];
    uint8_t state;
};

static OpenMarks openMarks(const IndexFile* file)
{
    return {{file->marker1, file->marker2, file->marker3, file->marker4, file->marker5,
             file->marker6, file->marker7, file->marker8},
            file->state};
}

static void setOpenMarks(IndexFile* file, const OpenMarks* marks)
{
    file->marker1 = marks->markers[0];
    file->marker2 = marks->markers[1];
    file->marker3 = marks->markers[2];
    file->marker4 = marks->markers[3];
    file->marker5 = marks->markers[4];
    file->marker6 = marks->markers[5];
    file->marker7 = marks->markers[6];
    file->marker8 = marks->markers[7];
    file->state = marks->state;
}

// Everything that an earlier use of the context or of the descriptor number could
// have left behind: dirty blocks of another file would be written into this one.
static void initContext(IndexFile* file)
{
    dropFile(file->fileDescriptor);
    file->headerDirty = 0;
    file->flushPending = 0;
    file->updateRefused = 0;
    file->changeCounter = 0;
    file->counterInFile = 0;
    file->userSlot = NO_SLOT;
    file->internalCall = 0;
    file->readNesting = 0;
    file->updateNesting = 0;
    file->fileLockState = UNLOCKED;
    file->fileLockExclusive = 0;
    file->fileExtended = 0;
    for (int index = MIN_INDEX; index < INDEX_SLOTS; ++index) {
        file->keyBuffer[index] = file->keyBuffers[index];
        file->keyBuffer[index][0] = 0;
        file->indexAtPosition[index] = NO_POSITION;
        file->positionInLeaf[index] = 0;
        file->leafPage[index] = NO_PAGE;
        file->removedAtPosition[index] = 0;
        file->numberAtPosition[index] = 0;
        file->segmentAtPosition[index] = 0;
        file->notedPlace[index] = {};
        file->recordLockState[index] = UNLOCKED;
    }
}

// Opens the file for the mode, which becomes exclusive when shared use fails.
// IX_OK or IX_NOT_FOUND.
static int openFile(IndexFile* file, const char* path, char mode)
{
    uint8_t readOnly = 0;
    int descriptor = -1;
    if (mode == OPEN_SHARED) descriptor = openForSharedUse(path, &readOnly);
    if (descriptor < 0) {
        mode = OPEN_EXCLUSIVE;
        readOnly = 0;
        descriptor = openForExclusiveUse(path);
    }
    if (descriptor < 0) return IX_NOT_FOUND;
    file->fileDescriptor = descriptor;
    file->readOnly = readOnly;
    file->openMode = static_cast<uint8_t>(mode);
    initContext(file);
    return IX_OK;
}

// Enters the update of the open. Without the file lock, exclusive use is the last
// resort. IX_OK, or IX_OPEN_LOCK with the descriptor closed.
static int enterOpen(IndexFile* file, const char* path)
{
    if (beginOpen(file) == 0) return IX_OK;
    closeDescriptor(file->fileDescriptor);
    if (openFile(file, path, OPEN_EXCLUSIVE) != IX_OK) return IX_OPEN_LOCK;
    return beginOpen(file) == 0 ? IX_OK : IX_OPEN_LOCK;
}

// Reads and checks the header and claims a user slot.
static int enterFile(IndexFile* file)
{
    uint8_t header[HEADER_SIZE];
    int result = readHeader(file, header);
    if (result != IX_OK) return result;
    if (!loadHeader(file, header)) return IX_PAGE_IO;
    acceptChangeCounter(file, header);
    return claimUserSlot(file);
}

// Deletes the lock entries that an earlier holder of this user slot left behind.
static int releaseStaleLocks(IndexFile* file)
{
    bool older = setFormatVersion(false, 0) != CURRENT_FORMAT_VERSION;
    // An older file would be stamped as a current one by the header write.
    if (file->openMode == OPEN_EXCLUSIVE || file->readOnly != 0 || older) return IX_OK;

    uint8_t slot[LOCK_DATA_SIZE] = {};
    int result = ixFindFirst(file, LOCK_INDEX, slot, sizeof slot);
    while (result == IX_OK) {
        if (file->recordLength == LOCK_DATA_SIZE && loadInt32(slot) == file->userSlot) {
            result = ixDeleteCurrent(file, LOCK_INDEX);
            if (result != IX_OK) return result;
        }
        result = ixNext(file, LOCK_INDEX, slot, sizeof slot);
    }
    return result == IX_NOT_FOUND ? IX_OK : result;
}

static void closeFailedOpen(IndexFile* file)
{
    releaseUserSlot(file);
    closeDescriptor(file->fileDescriptor);
}

// Ends an open whose update is still open; nothing has been changed.
static int failOpen(IndexFile* file, int ioError, int result)
{
    file->ioError = ioError;
    endOpen(file);
    closeFailedOpen(file);
    return withStatus(file, result);
}

int ixOpen(IndexFile* file, const char* path, char mode)
{
    file->ioError = initialize();
    if (openFile(file, path, mode) != IX_OK) return withStatus(file, IX_NOT_FOUND);
    int result = enterOpen(file, path);
    if (result != IX_OK) return withStatus(file, result);

    result = waitForBusyMarker(file);
    if (result != IX_OK) return failOpen(file, lastIoError(), result);
    result = enterFile(file);
    if (result != IX_OK) return failOpen(file, lastIoError(), result);
    result = readNode(file, file->rootPage, file->height - 1);
    if (result != IX_OK) return failOpen(file, result, IX_PAGE_IO);

    // From here on operations run on the context, so it counts as open.
    OpenMarks before = openMarks(file);
    OpenMarks open = {{'O', 'R', 'V', 'A', 'N', 'E', '9', '8'}, STATE_OPEN};
    setOpenMarks(file, &open);
    file->writePolicy = file->openMode == OPEN_EXCLUSIVE ? WRITE_AT_ONCE : WRITE_AT_END;
    file->recordChecks = 1;
    memset(file->path, 0, sizeof file->path);
    memcpy(file->path, path, strnlen(path, KEPT_PATH_LENGTH));

    result = releaseStaleLocks(file);
    int ended = endOpen(file);
    if (result == IX_OK) result = ended;
    if (result != IX_OK) {
        closeFailedOpen(file);
        if (before.state == STATE_OPEN) before.state = STATE_CLOSED;
        setOpenMarks(file, &before);
    }
    return withStatus(file, result);
}

// -- Close -------------------------------------------------------------------

// Ends the update of a close that could not write; the database stays open.
static int failClose(IndexFile* file, int ioError)
{
    ixEndUpdate(file);
    file->ioError = ioError;
    return withStatus(file, IX_PAGE_IO);
}

int ixClose(IndexFile* file)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);
    for (int index = MIN_INDEX; index <= MAX_INDEX; ++index) {
        ixUnlockRecord(file, index);
    }

    file->ioError = 0;
    int result = file->headerDirty != 0 ? writeHeader(file) : IX_OK;
    if (result != IX_OK) return failClose(file, result);
    result = flushAndFreeFile(file);
    if (result != IX_OK) return failClose(file, result);
    result = ixEndUpdate(file);
    if (result != IX_OK) return withStatus(file, result);

    releaseUserSlot(file);
    if (closeDescriptor(file->fileDescriptor) != 0) {
        file->fileDescriptor = -1; // the system may have given its number up all the same
        return withStatus(file, IX_NOT_FOUND);
    }
    file->state = STATE_CLOSED;
    return withStatus(file, IX_OK);
}

void ixAbandon(IndexFile* file)
{
    if (!contextIsOpen(file)) return;
    releaseUserSlot(file);
    closeDescriptor(file->fileDescriptor);
    file->state = STATE_CLOSED;
}

// -- Record layer ------------------------------------------------------------

int recordOpen(IndexFile* file, const char* path, uint8_t* recordBuffer, int32_t recordBufferSize,
               char mode)
{
    int result = ixOpen(file, path, mode);
    if (result != IX_OK) return result;
    file->currentRecordNumber = NO_RECORD;
    file->lockedRecordNumber = NO_RECORD;
    file->recordBuffer = recordBuffer;
    file->recordBufferSize = recordBufferSize;
    return IX_OK;
}

int recordClose(IndexFile* file) { return ixClose(file); }
