#include "engine/page_supply.h"

#include "engine/engine_state.h"

#include <limits>

int headerChanged(OpenFile* file)
{
    file->pending.headerDirty = true;
    return isExclusive(file) ? writeHeader(file) : IX_OK;
}

static int addZeroPage(OpenFile* file)
{
    FileHeader* header = &file->header;
    if (header->pagesInFile >= MAX_PAGES_IN_FILE) return IX_SHORT_WRITE;
    // Directly: the page is in nobody's way until it is handed out.
    int result = writePage(file->descriptor, engineState.zeroPage, header->pagesInFile);
    if (result != IX_OK) return IX_SHORT_WRITE;
    file->pending.fileExtended = true;
    ++header->pagesInFile;
    return IX_OK;
}

int growFile(IndexFile* tree)
{
    OpenFile* file = &tree->file;
    const FileHeader* header = &file->header;
    memset(engineState.zeroPage, 0, sizeof engineState.zeroPage);
    int result = IX_OK;
    while (result == IX_OK && header->height + 1 > header->pagesInFile - header->nextFreePage) {
        result = addZeroPage(file);
    }

    if (file->pending.fileExtended && isExclusive(file)) {
        int durable = makeDurable();
        if (result == IX_OK) result = durable;
        file->pending.fileExtended = false;
        int written = writeHeader(file);
        if (result == IX_OK) result = written;
    }
    tree->ioError = result;
    return result;
}

int allocatePage(OpenFile* file, int* pageNumber)
{
    if (file->header.nextFreePage >= file->header.pagesInFile) return IX_NOT_ALLOCATED;
    *pageNumber = file->header.nextFreePage++;
    return headerChanged(file);
}

int takeSequenceNumber(OpenFile* file, int32_t* number)
{
    FileHeader* header = &file->header;
    bool usedUp = header->sequenceCounter < 0 ||
                  header->sequenceCounter == std::numeric_limits<int32_t>::max();
    if (usedUp) return IX_SHORT_WRITE; // the file is full
    *number = header->sequenceCounter++;
    return headerChanged(file);
}
