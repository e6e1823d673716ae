// Opening and closing, as far as a file has no tree yet.
#include "file/open_file.h"

#include "file/file.h"
#include "file/file_state.h"
#include "file/header_and_pages.h"
#include "file/lock_bytes.h"

int setFormatVersion(bool set, int version)
{
    if (set) fileState.formatVersionShift = version - CURRENT_FORMAT_VERSION;
    return CURRENT_FORMAT_VERSION + fileState.formatVersionShift;
}

// Returns a descriptor or OS_FAILED; *keptOut tells that the file can be opened, but somebody
// else has it for exclusive use.
static int openForSharedUse(const char* path, bool* readOnly, bool* keptOut)
{
    int descriptor = osOpen(path, OS_READ_WRITE);
    *readOnly = descriptor == OS_NO_WRITE_ACCESS;
    if (*readOnly) descriptor = osOpen(path, OS_READ_ONLY);
    if (descriptor < 0) return OS_FAILED;

    // An exclusive opener holds the range of this byte. Readers ask too: they
    // would otherwise wait for the file lock until it closes.
    *keptOut = lockRangeShared(descriptor, LOCK_AT_ONCE, OPEN_PROBE_BYTE, 1) != OS_DONE;
    if (*keptOut) {
        closeDescriptor(descriptor);
        return OS_FAILED;
    }
    lockRangeShared(descriptor, LOCK_RELEASE, OPEN_PROBE_BYTE, 1);
    return descriptor;
}

static int openForExclusiveUse(const char* path)
{
    int descriptor = osOpen(path, OS_READ_WRITE);
    if (descriptor < 0) return OS_FAILED;
    if (lockRange(descriptor, LOCK_AT_ONCE, OPEN_PROBE_BYTE, 0) != OS_DONE) {
        closeDescriptor(descriptor);
        return OS_FAILED;
    }
    return descriptor;
}

int openFile(OpenFile* file, const char* path, char mode)
{
    bool readOnly = false;
    bool alone = mode == OPEN_EXCLUSIVE;
    int descriptor = OS_FAILED;
    if (!alone) descriptor = openForSharedUse(path, &readOnly, &alone);
    if (alone) {
        mode = OPEN_EXCLUSIVE;
        readOnly = false;
        descriptor = openForExclusiveUse(path);
    }
    if (descriptor < 0) return IX_OPEN_FAILED;

    // Dirty blocks of an earlier file of this number would be written into this one.
    dropFile(descriptor);
    OpenMarks marks = file->marks;
    *file = {};
    file->marks = marks;
    file->descriptor = descriptor;
    file->forksAtOpen = osForkCount();
    file->readOnly = readOnly;
    file->openMode = static_cast<uint8_t>(mode);
    file->sharing.userSlot = NO_SLOT;
    file->sharing.fileLock = UNLOCKED;
    return IX_OK;
}

int enterOpen(OpenFile* file, const char* path)
{
    if (beginOpen(file) == IX_OK) return IX_OK;
    closeDescriptor(file->descriptor);
    if (openFile(file, path, OPEN_EXCLUSIVE) != IX_OK) return IX_OPEN_LOCK;
    return beginOpen(file); // nothing is locked
}

int enterFile(OpenFile* file)
{
    bool stuck = false;
    int result = waitForBusyMarker(file, &stuck);
    if (result != IX_OK) return result;
    uint8_t record[HEADER_SIZE];
    result = readHeader(file, record);
    if (result != IX_OK) return result;
    if (!loadHeader(file, record)) return IX_PAGE_IO;
    // Now that the file is known to be a job database.
    if (stuck) result = clearBusyMarker(file);
    if (result != IX_OK) return result;
    acceptChangeCounter(file, record);
    return claimUserSlot(file);
}

bool isInherited(const OpenFile* file) { return file->forksAtOpen != osForkCount(); }

int closeDescriptor(int descriptor)
{
    // The system may give the same number to the next file.
    dropFile(descriptor);
    giveBackPieces();
    return osClose(descriptor) == OS_DONE ? IX_OK : IX_OPEN_FAILED;
}
