#include "file/header_and_pages.h"

#include "file/file.h"
#include "file/file_state.h"

#include <cstring>

constexpr int BUSY_MARKER_READS = 5000;
constexpr int BUSY_MARKER_SIZE = 4;

int32_t FILE_CALL initialize(void) { return 0; }

int makeDurable() { return initialize(); }

int lastIoError() { return fileState.lastIoError; }

int failWith(int code)
{
    fileState.lastIoError = code;
    return code;
}

bool mayWrite(const OpenFile* file)
{
    if (file->readOnly) return false;
    return isExclusive(file) || (file->sharing.fileLock == LOCKED && file->sharing.exclusively);
}

// -- Header ------------------------------------------------------------------

int readHeader(OpenFile* file, uint8_t* record)
{
    int count = osReadAt(file->descriptor, 0, record, HEADER_SIZE);
    if (count == OS_SEEK_FAILED) return failWith(IX_SEEK);
    if (count != HEADER_SIZE) return failWith(IX_SHORT_READ);
    const char* magic = fileState.formatVersionShift == 0 ? CURRENT_MAGIC : OLDER_MAGIC;
    return headerHasMagic(record, magic) ? IX_OK : IX_BAD_MAGIC;
}

int writeHeader(OpenFile* file)
{
    if (!mayWrite(file)) return failWith(IX_PAGE_IO);

    file->header.changeCounter += 1;
    uint8_t record[HEADER_SIZE];
    encodeHeader(record, &file->header);

    fileState.lastIoError = IX_OK;
    int count = osWriteAt(file->descriptor, 0, record, HEADER_SIZE);
    if (count < 0) return failWith(IX_PAGE_IO);
    if (count != HEADER_SIZE) return failWith(IX_SHORT_WRITE);
    file->pending.headerDirty = false;
    file->pending.announced = true;
    file->headerInFile = file->header;
    return IX_OK;
}

bool loadHeader(OpenFile* file, const uint8_t* record)
{
    FileHeader header = decodeHeader(record);
    if (!headerIsSound(&header)) return false;
    header.changeCounter = file->header.changeCounter;
    file->header = header;
    header.changeCounter = file->headerInFile.changeCounter;
    file->headerInFile = header;
    file->pending.headerDirty = false;
    return true;
}

void acceptChangeCounter(OpenFile* file, const uint8_t* record)
{
    uint32_t counter = headerChangeCounter(record);
    // After a header write that failed, others can count the file up to the number
    // that this context has reached alone.
    if (counter == file->header.changeCounter && counter == file->headerInFile.changeCounter)
        return;
    file->header.changeCounter = counter;
    file->headerInFile.changeCounter = counter;
    doubtFile(file);
}

// -- Pages -------------------------------------------------------------------

static int64_t pageOffset(int pageNumber)
{
    return static_cast<int64_t>(NODE_PAGE_SIZE) * pageNumber + FIRST_PAGE_OFFSET;
}

int readPage(int descriptor, uint8_t* page, int pageNumber)
{
    fileState.lastIoError = IX_OK;
    int count = osReadAt(descriptor, pageOffset(pageNumber), page, NODE_PAGE_SIZE);
    if (count == OS_SEEK_FAILED) return failWith(IX_SEEK);
    if (count != NODE_PAGE_SIZE) return failWith(IX_SHORT_READ);
    return IX_OK;
}

// The run that holds the page or ends before it, or null.
static PageRun* runAt(int descriptor, int pageNumber)
{
    for (PageRun& run : fileState.runs) {
        if (run.descriptor == descriptor && pageNumber >= run.first &&
            pageNumber <= run.first + run.count) {
            return &run;
        }
    }
    return nullptr;
}

// Lets a run of no pages begin behind the page, in place of the one that began first.
static void expectPageBehind(int descriptor, int pageNumber)
{
    PageRun* run = &fileState.runs[fileState.nextRun];
    fileState.nextRun = (fileState.nextRun + 1) % PAGE_RUNS;
    run->descriptor = descriptor;
    run->first = pageNumber + 1;
    run->count = 0;
}

// Fills the run from the page on, with as many pages as can be read.
static void fillRun(PageRun* run, int pageNumber)
{
    int bytes = osReadAt(run->descriptor, pageOffset(pageNumber), run->pages, sizeof run->pages);
    run->first = pageNumber;
    run->count = bytes > 0 ? bytes / NODE_PAGE_SIZE : 0;
}

int readPageAhead(int descriptor, uint8_t* page, int pageNumber)
{
    PageRun* run = runAt(descriptor, pageNumber);
    if (run == nullptr) {
        expectPageBehind(descriptor, pageNumber);
    } else if (pageNumber == run->first + run->count) {
        fillRun(run, pageNumber);
    }
    if (run == nullptr || run->count == 0) return readPage(descriptor, page, pageNumber);
    fileState.lastIoError = IX_OK;
    memcpy(page, run->pages[pageNumber - run->first], NODE_PAGE_SIZE);
    return IX_OK;
}

void forgetRuns(int descriptor)
{
    for (PageRun& run : fileState.runs) {
        if (run.descriptor == descriptor) run.descriptor = NO_RUN;
    }
}

int writePage(int descriptor, const uint8_t* page, int pageNumber)
{
    forgetRuns(descriptor);
    fileState.lastIoError = IX_OK;
    int count = osWriteAt(descriptor, pageOffset(pageNumber), page, NODE_PAGE_SIZE);
    if (count == OS_SEEK_FAILED) return failWith(IX_SHORT_WRITE);
    if (count < 0) return failWith(IX_PAGE_IO);
    if (count != NODE_PAGE_SIZE) return failWith(IX_SHORT_WRITE);
    return IX_OK;
}

// -- Busy marker -------------------------------------------------------------

int waitForBusyMarker(OpenFile* file, bool* stuck)
{
    *stuck = false;
    if (isExclusive(file)) return IX_OK;
    fileState.lastIoError = IX_OK;

    uint8_t marker[BUSY_MARKER_SIZE] = {};
    for (int reads = 0; reads < BUSY_MARKER_READS; ++reads) {
        int count = osReadAt(file->descriptor, BUSY_MARKER_OFFSET, marker, BUSY_MARKER_SIZE);
        if (count == OS_SEEK_FAILED) return failWith(IX_PAGE_IO);
        if (count != BUSY_MARKER_SIZE) return IX_PAGE_IO;
        if (loadInt32(marker) != BUSY_MARKER) return IX_OK;
    }
    *stuck = true;
    return IX_OK;
}

int clearBusyMarker(OpenFile* file)
{
    if (!mayWrite(file)) return IX_OK;
    const uint8_t marker[BUSY_MARKER_SIZE] = {};
    int count = osWriteAt(file->descriptor, BUSY_MARKER_OFFSET, marker, BUSY_MARKER_SIZE);
    return count == BUSY_MARKER_SIZE ? IX_OK : failWith(IX_PAGE_IO);
}
