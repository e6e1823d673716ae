// The order of writing. A process may be killed between any two writes, and then the file has
// to hold everything that it held before:
//   1. the header with a new change counter, so that nobody trusts pages read before, and with
//      what was handed out, but with the root and the height that the file has;
//   2. pages handed out since the header was written last: nothing refers to them yet;
//   3. leaves in the order of their first change. A leaf cut by a split now leads to its
//      right half, which searches enter from there while no branch knows it;
//   4. branches from the bottom up;
//   5. the header once more where root or height have changed.
// Whoever changes entries that refer to each other puts ixWriteOut between the steps: what is
// referred to before what refers to it, and away in the reverse order.
#include "file/flush.h"

#include "file/file.h"
#include "file/header_and_pages.h"

#include <algorithm>

int writeBack(CacheBlock* block)
{
    int result = writePage(block->descriptor, block->page, block->pageNumber);
    if (result == IX_OK) setClean(block);
    return result;
}

// The step in which the block is written, relative to others.
static int stepOf(const CacheBlock* block) { return block->fresh ? -1 : nodeLevel(block->page); }

static bool comesBefore(const CacheBlock* block, const CacheBlock* other)
{
    int step = stepOf(block);
    int otherStep = stepOf(other);
    return step != otherStep ? step < otherStep : block->firstChange < other->firstChange;
}

// Collects the dirty blocks of the file in their order and tells how many there are.
static int collectBlocks(int descriptor)
{
    PageCache* cache = &fileState.cache;
    int count = 0;
    for (CacheBlock* block = cache->dirtyHead; block != nullptr; block = block->dirtyNext) {
        if (block->descriptor == descriptor) cache->toWrite[count++] = block;
    }
    std::sort(cache->toWrite, cache->toWrite + count, comesBefore);
    return count;
}

int flushFile(OpenFile* file)
{
    assertCacheInvariants();
    int count = collectBlocks(file->descriptor);
    for (int i = 0; i < count; ++i) {
        int result = writeBack(fileState.cache.toWrite[i]);
        if (result != IX_OK) return result;
    }
    return makeDurable();
}

int flushAndFreeFile(OpenFile* file)
{
    int result = flushFile(file);
    if (result != IX_OK) return result;
    dropFile(file->descriptor);
    return makeDurable();
}

static bool rootHasMoved(const OpenFile* file)
{
    return file->header.rootPage != file->headerInFile.rootPage ||
           file->header.height != file->headerInFile.height;
}

// True when others would miss something without a header write: a new change counter, or what
// was handed out.
static bool hasToAnnounce(const OpenFile* file)
{
    const FileHeader* header = &file->header;
    const FileHeader* inFile = &file->headerInFile;
    return !file->pending.announced || header->nextFreePage != inFile->nextFreePage ||
           header->sequenceCounter != inFile->sequenceCounter ||
           header->pagesInFile != inFile->pagesInFile;
}

static int announceChanges(OpenFile* file)
{
    FileHeader header = file->header;
    file->header.rootPage = file->headerInFile.rootPage;
    file->header.height = file->headerInFile.height;
    int result = writeHeader(file);
    file->header.rootPage = header.rootPage;
    file->header.height = header.height;
    if (rootHasMoved(file)) file->pending.headerDirty = true;
    return result;
}

bool hasChanges(const OpenFile* file)
{
    if (file->pending.headerDirty) return true;
    const CacheBlock* block = fileState.cache.dirtyHead;
    while (block != nullptr && block->descriptor != file->descriptor) {
        block = block->dirtyNext;
    }
    return block != nullptr;
}

int writeChanges(OpenFile* file)
{
    if (!file->pending.headerDirty) return flushFile(file);
    int result = hasToAnnounce(file) ? announceChanges(file) : IX_OK;
    if (result == IX_OK) result = flushFile(file);
    if (result == IX_OK && rootHasMoved(file)) result = writeHeader(file);
    if (result == IX_OK) file->pending.headerDirty = false;
    return result;
}
