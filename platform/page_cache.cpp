// The page cache: 1000 pages of all open databases in order of use. In shared mode
// the pages that an update changed wait here until its end.
//
// Invariants
//   1. Every block stands once in the list of use, free blocks included.
//   2. A block stands in the lists of its hash and of its file exactly while
//      descriptor != -1, and in the list of dirty blocks exactly while dirty != 0; a
//      free block is never dirty.
//   3. No two blocks hold the same page.
//   4. The victim is always the last block of the list of use, free or not, and the
//      dirty blocks stand in the order of use: the order in which pages are written
//      back depends on the order of use alone.
#include "platform/platform_state.h"

#include <cstring>

static CacheBlock** bucketOf(int descriptor, int pageNumber)
{
    uint32_t hash =
        static_cast<uint32_t>(pageNumber) + static_cast<uint32_t>(descriptor) * 0x9e3779b1U;
    return &platformState.cache.buckets[hash & (CACHE_BUCKETS - 1)];
}

static void buildList()
{
    PageCache* cache = &platformState.cache;
    if (cache->built) return;
    CacheBlock* previous = nullptr;
    for (CacheBlock& block : cache->blocks) {
        block.descriptor = -1;
        block.pageNumber = -1;
        block.dirty = 0;
        block.previous = previous;
        block.next = nullptr;
        if (previous != nullptr) previous->next = &block;
        previous = &block;
    }
    cache->head = &cache->blocks[0];
    cache->tail = previous;
    cache->built = true;
}

static CacheBlock* findBlock(int descriptor, int pageNumber)
{
    CacheBlock* block = *bucketOf(descriptor, pageNumber);
    while (block != nullptr &&
           (block->descriptor != descriptor || block->pageNumber != pageNumber)) {
        block = block->bucketNext;
    }
    return block;
}

static CacheBlock** fileListOf(int descriptor)
{
    return &platformState.cache.files[descriptor & (CACHE_FILES - 1)];
}

static void setClean(CacheBlock* block)
{
    if (block->dirty == 0) return;
    block->dirty = 0;
    if (block->dirtyNext != nullptr) block->dirtyNext->dirtyPrevious = block->dirtyPrevious;
    if (block->dirtyPrevious != nullptr) {
        block->dirtyPrevious->dirtyNext = block->dirtyNext;
    } else {
        platformState.cache.dirtyHead = block->dirtyNext;
    }
}

// Expects the block to be the one used last.
static void setDirty(CacheBlock* block)
{
    setClean(block);
    PageCache* cache = &platformState.cache;
    block->dirty = 1;
    block->dirtyPrevious = nullptr;
    block->dirtyNext = cache->dirtyHead;
    if (cache->dirtyHead != nullptr) cache->dirtyHead->dirtyPrevious = block;
    cache->dirtyHead = block;
}

// Makes the block free; its place in the list of use stays.
static void freeBlock(CacheBlock* block)
{
    if (block->descriptor == -1) return;
    setClean(block);
    CacheBlock** link = bucketOf(block->descriptor, block->pageNumber);
    while (*link != block) {
        link = &(*link)->bucketNext;
    }
    *link = block->bucketNext;
    if (block->fileNext != nullptr) block->fileNext->filePrevious = block->filePrevious;
    if (block->filePrevious != nullptr) {
        block->filePrevious->fileNext = block->fileNext;
    } else {
        *fileListOf(block->descriptor) = block->fileNext;
    }
    block->descriptor = -1;
    block->content = 0;
}

// Gives a free block to a page.
static void bindBlock(CacheBlock* block, int descriptor, int pageNumber)
{
    CacheBlock** bucket = bucketOf(descriptor, pageNumber);
    CacheBlock** list = fileListOf(descriptor);
    block->descriptor = descriptor;
    block->pageNumber = pageNumber;
    block->bucketNext = *bucket;
    *bucket = block;
    block->filePrevious = nullptr;
    block->fileNext = *list;
    if (*list != nullptr) (*list)->filePrevious = block;
    *list = block;
}

static void moveToHead(CacheBlock* block)
{
    PageCache* cache = &platformState.cache;
    if (block == cache->head) return;
    block->previous->next = block->next;
    if (block->next != nullptr) {
        block->next->previous = block->previous;
    } else {
        cache->tail = block->previous;
    }
    block->previous = nullptr;
    block->next = cache->head;
    cache->head->previous = block;
    cache->head = block;
    if (block->dirty != 0) setDirty(block);
}

// The block of the page, or the least recently used one; it becomes the most
// recently used. *found tells which.
static CacheBlock* lookup(int descriptor, int pageNumber, bool* found)
{
    buildList();
    CacheBlock* block = findBlock(descriptor, pageNumber);
    *found = block != nullptr;
    if (block == nullptr) block = platformState.cache.tail;
    moveToHead(block);
    return block;
}

static int writeBack(CacheBlock* block)
{
    if (block->descriptor == -1 || block->dirty == 0) return IX_OK;
    int result = writePage(block->descriptor, block->page, block->pageNumber);
    if (result == IX_OK) setClean(block);
    return result;
}

// A page access outside the file lock, which no operation makes: whatever another
// process has written meanwhile is to be seen.
static void checkHeaderOutsideLock(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE || file->fileLockState == LOCKED) return;
    uint8_t header[HEADER_SIZE];
    if (readHeader(file, header) == IX_OK) {
        acceptChangeCounter(file, header);
    } else {
        dropFile(file->fileDescriptor);
    }
}

// Makes the block of the page the one used last, reading the page if need be. 0 or
// an I/O code.
static int bringPage(IndexFile* file, int pageNumber)
{
    checkHeaderOutsideLock(file);
    bool found = false;
    CacheBlock* block = lookup(file->fileDescriptor, pageNumber, &found);
    if (found) return IX_OK;
    int result = writeBack(block);
    if (result != IX_OK) return result;
    freeBlock(block);
    result = readPage(file->fileDescriptor, block->page, pageNumber);
    if (result != IX_OK) return result;
    bindBlock(block, file->fileDescriptor, pageNumber);
    block->content = ++platformState.cache.contents;
    block->sound = false;
    return IX_OK;
}

const uint8_t* lastPageIfContent(uint64_t content)
{
    const CacheBlock* block = platformState.cache.head;
    return block != nullptr && block->content == content ? block->page : nullptr;
}

int cachedPageView(IndexFile* file, PageView* view, int pageNumber)
{
    int result = bringPage(file, pageNumber);
    const CacheBlock* block = platformState.cache.head;
    if (result == IX_OK) *view = {block->page, block->content, block->sound};
    return result;
}

int cachedPageRead(IndexFile* file, uint8_t* page, int pageNumber, bool* sound)
{
    PageView view = {};
    int result = cachedPageView(file, &view, pageNumber);
    if (result != IX_OK) return result;
    memcpy(page, view.page, NODE_PAGE_SIZE);
    *sound = view.sound;
    return IX_OK;
}

void markPageSound() { platformState.cache.head->sound = true; }

int cachedPagePeek(IndexFile* file, uint8_t* page, int pageNumber)
{
    buildList();
    const CacheBlock* block = findBlock(file->fileDescriptor, pageNumber);
    if (block == nullptr) return readPage(file->fileDescriptor, page, pageNumber);
    memcpy(page, block->page, NODE_PAGE_SIZE);
    return IX_OK;
}

// True when the policy has a page of this level written at once.
static bool writesAtOnce(int writePolicy, const uint8_t* page)
{
    if (writePolicy == WRITE_LEAVES_AT_ONCE) return page[0] == 0 && page[1] == 0; // level 0
    return writePolicy == WRITE_AT_ONCE;
}

int cachedPageWrite(IndexFile* file, const uint8_t* page, int pageNumber)
{
    if (!mayWrite(file)) {
        platformState.lastIoError = IX_PAGE_IO;
        return IX_PAGE_IO;
    }
    file->headerDirty = 1;
    bool found = false;
    CacheBlock* block = lookup(file->fileDescriptor, pageNumber, &found);
    if (!found) {
        int result = writeBack(block);
        if (result != IX_OK) return result;
        freeBlock(block);
        bindBlock(block, file->fileDescriptor, pageNumber);
    }
    memcpy(block->page, page, NODE_PAGE_SIZE);
    block->content = ++platformState.cache.contents;
    block->sound = true; // the engine writes what it has checked or built
    setDirty(block);
    return writesAtOnce(file->writePolicy, page) ? writeBack(block) : IX_OK;
}

// Writes the dirty blocks of the file, most recently used first. 0 or the first error.
static int writeDirtyBlocks(int descriptor)
{
    CacheBlock* block = platformState.cache.dirtyHead;
    while (block != nullptr) {
        CacheBlock* next = block->dirtyNext;
        if (block->descriptor == descriptor) {
            int result = writeBack(block);
            if (result != IX_OK) return result;
        }
        block = next;
    }
    return IX_OK;
}

int flushFile(IndexFile* file)
{
    int result = writeDirtyBlocks(file->fileDescriptor);
    if (result != IX_OK) return result;
    return file->writePolicy == WRITE_AT_END_HEADER_TOO ? 0 : initialize();
}

int flushAndFreeFile(IndexFile* file)
{
    int result = writeDirtyBlocks(file->fileDescriptor);
    if (result != IX_OK) return result;
    dropFile(file->fileDescriptor);
    return initialize();
}

void dropFile(int descriptor)
{
    CacheBlock* block = *fileListOf(descriptor);
    while (block != nullptr) {
        CacheBlock* next = block->fileNext;
        if (block->descriptor == descriptor) freeBlock(block);
        block = next;
    }
}
