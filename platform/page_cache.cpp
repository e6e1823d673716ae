// The page cache: 1000 pages of all open databases in order of use. In shared mode
// the pages that an update changed wait here until its end.
//
// Invariants
//   1. Every block stands once in the list of use, free blocks included.
//   2. A block stands in the lists of its hash and of its file exactly while
//      descriptor != -1, and in the list of dirty blocks exactly while dirty != 0; a
//      free block is never dirty.
//   3. No two blocks hold the same page.
//   4. The victim is always the last place of the list of use, its block free or not,
//      and the dirty blocks stand in the order of use: the order in which pages are
//      written back depends on the order of use alone. Which free block stands in a
//      place has no effect: the one freed last is used, whose bytes are near.
//   5. The free blocks stand in a list of their own, linked by bucketNext.
#include "platform/platform_state.h"

#include <cstring>

static CacheBlock** bucketOf(int descriptor, int pageNumber)
{
    uint32_t hash =
        static_cast<uint32_t>(pageNumber) + static_cast<uint32_t>(descriptor) * 0x9e3779b1U;
    return &platformState.cache.buckets[hash & (CACHE_BUCKETS - 1)];
}

static void pushFree(CacheBlock* block)
{
    block->bucketNext = platformState.cache.freeHead;
    platformState.cache.freeHead = block;
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
    for (CacheBlock* block = previous; block != nullptr; block = block->previous) {
        pushFree(block);
    }
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
    pushFree(block);
}

// Gives a free block to a page, the one freed last.
static void bindBlock(CacheBlock* block, int descriptor, int pageNumber)
{
    platformState.cache.freeHead = block->bucketNext;
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

// Puts the block freed last at the head of the list of use and the last one of that
// list, which is free too, in its place: as if that had been put at the head itself.
static CacheBlock* moveFreeToHead()
{
    PageCache* cache = &platformState.cache;
    CacheBlock* block = cache->freeHead;
    CacheBlock* last = cache->tail;
    if (block != last) {
        cache->tail = last->previous;
        cache->tail->next = nullptr;
        last->previous = block->previous;
        last->next = block->next;
        (last->previous != nullptr ? last->previous->next : cache->head) = last;
        (last->next != nullptr ? last->next->previous : cache->tail) = last;
    } else {
        cache->tail = block->previous;
        cache->tail->next = nullptr;
    }
    block->previous = nullptr;
    block->next = cache->head;
    cache->head->previous = block;
    cache->head = block;
    return block;
}

// Makes the block of the page the one used last: the page's own or else, *found tells,
// a free one in the place of the least recently used one. 0 or the error of writing
// that one back, which is the one used last then.
static int lookup(int descriptor, int pageNumber, bool* found, CacheBlock** target)
{
    buildList();
    CacheBlock* block = findBlock(descriptor, pageNumber);
    *found = block != nullptr;
    if (*found) {
        moveToHead(block);
        *target = block;
        return IX_OK;
    }
    CacheBlock* victim = platformState.cache.tail;
    if (victim->descriptor != -1) {
        int result = writeBack(victim);
        if (result != IX_OK) {
            moveToHead(victim);
            return result;
        }
        freeBlock(victim);
    }
    *target = moveFreeToHead();
    return IX_OK;
}

// Makes the block of the page the one used last, reading the page if need be. 0 or
// an I/O code.
static int bringPage(IndexFile* file, int pageNumber)
{
    checkHeaderOutsideLock(file);
    bool found = false;
    CacheBlock* block = nullptr;
    int result = lookup(file->fileDescriptor, pageNumber, &found, &block);
    if (found || result != IX_OK) return result;
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
    CacheBlock* block = nullptr;
    int result = lookup(file->fileDescriptor, pageNumber, &found, &block);
    if (result != IX_OK) return result;
    if (!found) bindBlock(block, file->fileDescriptor, pageNumber);
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
