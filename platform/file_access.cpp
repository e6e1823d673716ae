// Opening and closing, header and page I/O, the busy marker.
#include "platform/bytes.h"
#include "platform/platform_state.h"

#include <cstring>

constexpr int BUSY_MARKER_READS = 5000;
constexpr int BUSY_MARKER_SIZE = 4;

int32_t PLATFORM_CALL initialize(void) { return 0; }

int lastIoError() { return platformState.lastIoError; }

int headerFormatVersion(bool set, int version)
{
    if (set) platformState.formatVersionShift = version - CURRENT_FORMAT_VERSION;
    return CURRENT_FORMAT_VERSION + platformState.formatVersionShift;
}

static int failWith(int code)
{
    platformState.lastIoError = code;
    return code;
}

// -- Opening and closing -----------------------------------------------------

int openForSharedUse(const char* path, uint8_t* readOnly)
{
    *readOnly = 0;
    int descriptor = osOpen(path, OS_READ_WRITE);
    if (descriptor < 0) {
        descriptor = osOpen(path, OS_READ_ONLY);
        if (descriptor < 0) return OS_FAILED;
        *readOnly = 1;
    }

    // An exclusive opener holds the range of this byte. Readers ask too: they
    // would otherwise wait for the file lock until it closes.
    if (lockRangeShared(descriptor, LOCK_AT_ONCE, OPEN_PROBE_BYTE, 1) != OS_DONE) {
        closeDescriptor(descriptor);
        return OS_FAILED;
    }
    lockRangeShared(descriptor, LOCK_RELEASE, OPEN_PROBE_BYTE, 1);
    return descriptor;
}

int openForExclusiveUse(const char* path)
{
    int descriptor = osOpen(path, OS_READ_WRITE);
    if (descriptor < 0) return OS_FAILED;
    if (lockRange(descriptor, LOCK_AT_ONCE, OPEN_PROBE_BYTE, 0) != OS_DONE) {
        closeDescriptor(descriptor);
        return OS_FAILED;
    }
    return descriptor;
}

int closeDescriptor(int descriptor)
{
    // The system may give the same number to the next file.
    dropFile(descriptor);
    return osClose(descriptor) == OS_DONE ? 0 : IX_NOT_FOUND;
}

// -- Header ------------------------------------------------------------------

static bool magicIsRight(const uint8_t* header)
{
    const char* magic = platformState.formatVersionShift == 0 ? CURRENT_MAGIC : OLDER_MAGIC;
    for (int i = 0; i < MAGIC_LENGTH; ++i) {
        if (header[HEADER_MAGIC_OFFSETS[i]] != static_cast<uint8_t>(magic[i])) return false;
    }
    return true;
}

int readHeader(IndexFile* file, uint8_t* header)
{
    int count = osReadAt(file->fileDescriptor, 0, header, HEADER_SIZE);
    if (count == OS_SEEK_FAILED) return failWith(IX_SEEK);
    if (count != HEADER_SIZE) return failWith(IX_SHORT_READ);
    return magicIsRight(header) ? IX_OK : IX_BAD_MAGIC;
}

int writeHeader(IndexFile* file)
{
    if (!mayWrite(file)) return failWith(IX_PAGE_IO);

    file->changeCounter += 1;
    uint8_t header[HEADER_SIZE] = {};
    for (int i = 0; i < MAGIC_LENGTH; ++i) {
        header[HEADER_MAGIC_OFFSETS[i]] = static_cast<uint8_t>(CURRENT_MAGIC[i]);
    }
    storeInt16(header + HEADER_ROOT_PAGE, file->rootPage);
    storeInt16(header + HEADER_HEIGHT, file->height);
    storeInt16(header + HEADER_NEXT_FREE_PAGE, file->nextFreePage);
    storeInt32(header + HEADER_SEQUENCE_COUNTER, file->sequenceCounter);
    storeInt16(header + HEADER_PAGES_IN_FILE, file->pagesInFile);
    storeUint32(header + HEADER_CHANGE_COUNTER, file->changeCounter);

    platformState.lastIoError = 0;
    int count = osWriteAt(file->fileDescriptor, 0, header, HEADER_SIZE);
    if (count < 0) return failWith(IX_PAGE_IO);
    if (count != HEADER_SIZE) return failWith(IX_SHORT_WRITE);
    file->headerDirty = 0;
    file->counterInFile = file->changeCounter;
    return IX_OK;
}

bool loadHeader(IndexFile* file, const uint8_t* header)
{
    int rootPage = loadInt16(header + HEADER_ROOT_PAGE);
    int height = loadInt16(header + HEADER_HEIGHT);
    int nextFreePage = loadInt16(header + HEADER_NEXT_FREE_PAGE);
    int pagesInFile = loadInt16(header + HEADER_PAGES_IN_FILE);
    if (height < 1 || height > MAX_HEIGHT) return false;
    if (rootPage < 0 || rootPage >= nextFreePage || nextFreePage > pagesInFile) return false;

    file->rootPage = rootPage;
    file->height = height;
    file->nextFreePage = nextFreePage;
    file->sequenceCounter = loadInt32(header + HEADER_SEQUENCE_COUNTER);
    file->pagesInFile = pagesInFile;
    file->headerDirty = 0;
    return true;
}

void acceptChangeCounter(IndexFile* file, const uint8_t* header)
{
    uint32_t counter = loadUint32(header + HEADER_CHANGE_COUNTER);
    // After a header write that failed, others can count the file up to the number
    // that this context has reached alone.
    if (counter == file->changeCounter && counter == file->counterInFile) return;
    file->changeCounter = counter;
    file->counterInFile = counter;
    dropFile(file->fileDescriptor);
}

// -- Pages -------------------------------------------------------------------

static int64_t pageOffset(int pageNumber)
{
    return static_cast<int64_t>(NODE_PAGE_SIZE) * pageNumber + FIRST_PAGE_OFFSET;
}

int readPage(int descriptor, uint8_t* page, int pageNumber)
{
    platformState.lastIoError = 0;
    int count = osReadAt(descriptor, pageOffset(pageNumber), page, NODE_PAGE_SIZE);
    if (count == OS_SEEK_FAILED) return failWith(IX_SEEK);
    if (count != NODE_PAGE_SIZE) return failWith(IX_SHORT_READ);
    return IX_OK;
}

int writePage(int descriptor, const uint8_t* page, int pageNumber)
{
    platformState.lastIoError = 0;
    int count = osWriteAt(descriptor, pageOffset(pageNumber), page, NODE_PAGE_SIZE);
    if (count == OS_SEEK_FAILED) return failWith(IX_SHORT_WRITE);
    if (count < 0) return failWith(IX_PAGE_IO);
    if (count != NODE_PAGE_SIZE) return failWith(IX_SHORT_WRITE);
    return IX_OK;
}

// -- Busy marker -------------------------------------------------------------

int waitForBusyMarker(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE) return IX_OK;
    platformState.lastIoError = 0;

    uint8_t marker[BUSY_MARKER_SIZE] = {};
    for (int reads = 0; reads < BUSY_MARKER_READS; ++reads) {
        int count = osReadAt(file->fileDescriptor, BUSY_MARKER_OFFSET, marker, BUSY_MARKER_SIZE);
        if (count == OS_SEEK_FAILED) return failWith(IX_PAGE_IO);
        if (count != BUSY_MARKER_SIZE) return IX_PAGE_IO;
        if (loadInt32(marker) != BUSY_MARKER) return IX_OK;
    }

    // Whoever set it is gone.
    memset(marker, 0, sizeof marker);
    int count = osWriteAt(file->fileDescriptor, BUSY_MARKER_OFFSET, marker, BUSY_MARKER_SIZE);
    if (count != BUSY_MARKER_SIZE) platformState.lastIoError = IX_PAGE_IO;
    return platformState.lastIoError;
}
