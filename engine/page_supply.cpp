#include "engine/page_supply.h"

#include "engine/engine_state.h"
#include "engine/key_search.h"
#include "platform/platform.h"

#include <limits>

// Writes the header now, or leaves it to the end of the update as the policy says.
static int headerChanged(IndexFile* file)
{
    if (file->writePolicy == WRITE_AT_END_HEADER_TOO) {
        file->headerDirty = 1;
        return IX_OK;
    }
    return writeHeader(file);
}

static int addZeroPage(IndexFile* file)
{
    if (file->pagesInFile >= MAX_PAGES_IN_FILE) return IX_SHORT_WRITE;
    // Directly: the page is in nobody's way until it is handed out.
    int result = writePage(file->fileDescriptor, engineState.zeroPage, file->pagesInFile);
    if (result != IX_OK) return IX_SHORT_WRITE;
    file->fileExtended = 1;
    ++file->pagesInFile;
    return IX_OK;
}

int growFile(IndexFile* file)
{
    memset(engineState.zeroPage, 0, sizeof engineState.zeroPage);
    int result = IX_OK;
    while (result == IX_OK && file->height + 1 > file->pagesInFile - file->nextFreePage) {
        result = addZeroPage(file);
    }

    bool reportNow = file->fileExtended != 0 && file->writePolicy != WRITE_AT_END_HEADER_TOO &&
                     file->openMode == OPEN_EXCLUSIVE;
    if (reportNow) {
        int synced = initialize();
        if (result == IX_OK) result = synced;
        file->fileExtended = 0;
        int written = writeHeader(file);
        if (result == IX_OK) result = written;
    }
    file->ioError = result;
    return result;
}

int allocatePage(IndexFile* file, int* pageNumber)
{
    if (file->nextFreePage >= file->pagesInFile) return IX_NOT_FOUND;
    *pageNumber = file->nextFreePage++;
    return headerChanged(file) == IX_OK ? IX_OK : IX_NOT_FOUND;
}

int ixNextSequence(IndexFile* file)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);

    int result = IX_OK;
    if (file->sequenceCounter < 0 || file->sequenceCounter == std::numeric_limits<int32_t>::max()) {
        result = IX_SHORT_WRITE; // every number has been handed out: the file is full
    } else {
        file->number = file->sequenceCounter++;
        result = headerChanged(file);
        if (result != IX_OK) file->headerDirty = 1;
    }
    int ended = ixEndUpdate(file);
    return withStatus(file, ended != 0 ? ended : result);
}
