// The page cache: 1000 pages of all open databases in order of use. In shared mode
// the pages that an update changed wait here until its end.
//
// Invariants
//   1. Every block stands once in the list of use, free blocks included.
//   2. A block stands in the bucket of its page exactly while descriptor != -1.
//   3. No two blocks hold the same page.
//   4. The victim is always the last block of the list, free or not: the order in
//      which pages are written back depends on the order of use alone.
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

// Makes the block free; its place in the list of use stays.
static void freeBlock(CacheBlock* block)
{
    if (block->descriptor == -1) return;
    CacheBlock** link = bucketOf(block->descriptor, block->pageNumber);
    while (*link != block) {
        link = &(*link)->bucketNext;
    }
    *link = block->bucketNext;
    block->descriptor = -1;
}

// Gives a free block to a page.
static void bindBlock(CacheBlock* block, int descriptor, int pageNumber)
{
    CacheBlock** bucket = bucketOf(descriptor, pageNumber);
    block->descriptor = descriptor;
    block->pageNumber = pageNumber;
    block->bucketNext = *bucket;
    *bucket = block;
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
    if (result == IX_OK) block->dirty = 0;
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

int cachedPageRead(IndexFile* file, uint8_t* page, int pageNumber, bool* sound)
{
    checkHeaderOutsideLock(file);
    bool found = false;
    CacheBlock* block = lookup(file->fileDescriptor, pageNumber, &found);
    if (!found) {
        int result = writeBack(block);
        if (result != IX_OK) return result;
        freeBlock(block);
        result = readPage(file->fileDescriptor, block->page, pageNumber);
        if (result != IX_OK) return result;
        bindBlock(block, file->fileDescriptor, pageNumber);
        block->dirty = 0;
        block->sound = false;
    }
    memcpy(page, block->page, NODE_PAGE_SIZE);
    *sound = block->sound;
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
    block->sound = true; // the engine writes what it has checked or built
    block->dirty = 1;
    return writesAtOnce(file->writePolicy, page) ? writeBack(block) : IX_OK;
}

int flushFile(IndexFile* file)
{
    for (CacheBlock* block = platformState.cache.head; block != nullptr; block = block->next) {
        if (block->descriptor != file->fileDescriptor) continue;
        int result = writeBack(block);
        if (result != IX_OK) return result;
    }
    return file->writePolicy == WRITE_AT_END_HEADER_TOO ? 0 : initialize();
}

int flushAndFreeFile(IndexFile* file)
{
    for (CacheBlock* block = platformState.cache.head; block != nullptr; block = block->next) {
        if (block->descriptor != file->fileDescriptor) continue;
        int result = writeBack(block);
        if (result != IX_OK) return result;
        freeBlock(block);
    }
    return initialize();
}

void dropFile(int descriptor)
{
    for (CacheBlock* block = platformState.cache.head; block != nullptr; block = block->next) {
        if (block->descriptor == descriptor) freeBlock(block);
    }
}
