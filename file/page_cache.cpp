// The page cache: pages of all open databases, as many as the files have, at least CACHE_BLOCKS.
// Without room for more, the page used least recently gives way. In shared mode those that an
// update changed wait here until its end.
//
// Invariants; the debug build asserts 2, 3 and 5
//   1. Of two blocks the one with the greater `used` was used later, free blocks included.
//   2. A block stands in the lists of its hash and of its file exactly while
//      descriptor != -1, and in the list of dirty blocks exactly while it is dirty; a
//      free block is never dirty.
//   3. No two blocks hold the same page.
//   4. A page that comes in takes the block freed last, whose bytes are near. When there is
//      none it takes a new one, and when there is no memory for more that of the clean page
//      used least recently.
//   5. The free blocks stand in a list of their own, linked by bucketNext.
//   6. A page in a block has passed nodeIsSound. Where it was seen before its file came into doubt
//      it is compared with the file before anybody gets it; most are the same, and need no new
//      look at each of their entries.
#include "file/file.h"
#include "file/flush.h"
#include "file/header_and_pages.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>

static CacheBlock** bucketOf(int descriptor, int pageNumber)
{
    uint32_t hash =
        static_cast<uint32_t>(pageNumber) + static_cast<uint32_t>(descriptor) * 0x9e3779b1U;
    return &fileState.cache.buckets[hash & (CACHE_BUCKETS - 1)];
}

static void pushFree(CacheBlock* block)
{
    block->bucketNext = fileState.cache.freeHead;
    fileState.cache.freeHead = block;
}

// -- Pieces ------------------------------------------------------------------

// True when the piece of the next new block is there, or there is memory for it.
static bool hasPieceForNewBlock()
{
    PageCache* cache = &fileState.cache;
    int number = cache->blocks / CACHE_BLOCKS;
    if (number == 0) return true;
    if (number > MOST_ADDED_PIECES) return false;
    CachePiece** piece = &cache->added[number - 1];
    if (*piece == nullptr && !cache->refused) {
        *piece = static_cast<CachePiece*>(allocateZeroed(1, sizeof(CachePiece)));
        cache->refused = *piece == nullptr;
    }
    return *piece != nullptr;
}

// Adds a block to the free ones. Without memory for one nothing happens.
static void addBlock()
{
    if (!hasPieceForNewBlock()) return;
    CacheBlock* block = blockAt(fileState.cache.blocks++);
    block->descriptor = -1; // the rest is zero, or as freeBlock has left it
    pushFree(block);
}

void giveBackPieces()
{
    PageCache* cache = &fileState.cache;
    if (cache->pages != 0) return;
    for (CachePiece*& piece : cache->added) {
        release(piece);
        piece = nullptr;
    }
    cache->refused = false;
    cache->blocks = 0;
    cache->last = nullptr;
    cache->freeHead = nullptr;
    cache->order.count = 0;
    cache->order.next = 0;
}

// -- Lists -------------------------------------------------------------------

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
    return &fileState.cache.files[descriptor & (CACHE_FILES - 1)];
}

void setClean(CacheBlock* block)
{
    if (!block->dirty) return;
    block->dirty = false;
    block->fresh = false;
    OrderOfUse* order = &fileState.cache.order;
    if (block->used <= order->uses) order->next = 0; // it may have been passed over
    if (block->dirtyNext != nullptr) block->dirtyNext->dirtyPrevious = block->dirtyPrevious;
    if (block->dirtyPrevious != nullptr) {
        block->dirtyPrevious->dirtyNext = block->dirtyNext;
    } else {
        fileState.cache.dirtyHead = block->dirtyNext;
    }
}

static void setDirty(CacheBlock* block)
{
    if (block->dirty) return;
    PageCache* cache = &fileState.cache;
    block->dirty = true;
    block->dirtyPrevious = nullptr;
    block->dirtyNext = cache->dirtyHead;
    if (cache->dirtyHead != nullptr) cache->dirtyHead->dirtyPrevious = block;
    cache->dirtyHead = block;
}

#if !defined(NDEBUG)
// Asserts invariants 2, 3 and 5 over all blocks.
void assertCacheInvariants()
{
    const PageCache* cache = &fileState.cache;
    int freeBlocks = 0;
    int dirtyBlocks = 0;
    for (int number = 0; number < cache->blocks; ++number) {
        const CacheBlock* block = blockAt(number);
        bool isFree = block->descriptor == -1;
        freeBlocks += isFree ? 1 : 0;
        assert(!isFree || !block->dirty);
        assert(isFree || findBlock(block->descriptor, block->pageNumber) == block);
        assert(block->used <= cache->uses);
        dirtyBlocks += block->dirty ? 1 : 0;
    }
    assert(cache->blocks - freeBlocks == cache->pages);
    for (const CacheBlock* block = cache->dirtyHead; block != nullptr; block = block->dirtyNext) {
        assert(block->dirty && --dirtyBlocks >= 0);
    }
    assert(dirtyBlocks == 0);
    for (const CacheBlock* block = cache->freeHead; block != nullptr; block = block->bucketNext) {
        assert(block->descriptor == -1 && --freeBlocks >= 0);
    }
    assert(freeBlocks == 0);
}
#else
void assertCacheInvariants() {}
#endif

static void numberContent(CacheBlock* block)
{
    block->content = ++fileState.cache.contents;
    block->seen = block->content;
}

// Makes the block free; when it was used last stays.
static void freeBlock(CacheBlock* block)
{
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
    --fileState.cache.pages;
    pushFree(block);
}

// Gives a free block to a page, the one freed last.
static void bindBlock(CacheBlock* block, int descriptor, int pageNumber)
{
    fileState.cache.freeHead = block->bucketNext;
    ++fileState.cache.pages;
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

// -- Order of use ------------------------------------------------------------

static void useBlock(CacheBlock* block)
{
    PageCache* cache = &fileState.cache;
    block->used = ++cache->uses;
    cache->last = block;
}

static bool wasUsedBefore(const CacheBlock* block, const CacheBlock* other)
{
    return block->used < other->used;
}

static void putInOrder()
{
    PageCache* cache = &fileState.cache;
    OrderOfUse* order = &cache->order;
    for (int number = 0; number < cache->blocks; ++number) {
        order->blocks[number] = blockAt(number);
    }
    order->count = cache->blocks;
    order->next = 0;
    order->uses = cache->uses;
    std::sort(order->blocks, order->blocks + order->count, wasUsedBefore);
}

// The next block in the order that is clean and has not been used since, or null.
static CacheBlock* nextInOrder()
{
    OrderOfUse* order = &fileState.cache.order;
    while (order->next < order->count) {
        CacheBlock* block = order->blocks[order->next];
        if (!block->dirty && block->used <= order->uses) return block;
        ++order->next;
    }
    return nullptr;
}

// The block to give up for another page: the least recently used one that is clean. Dirty
// ones are written in the order of their file, not for want of room; null when all are.
static CacheBlock* findVictim()
{
    CacheBlock* block = nextInOrder();
    if (block != nullptr) return block;
    putInOrder();
    return nextInOrder();
}

// Frees a block. 0 or the error of writing pages of the file, which is done when all are dirty.
static int makeRoom(OpenFile* file)
{
    CacheBlock* victim = findVictim();
    if (victim == nullptr && mayWrite(file)) {
        int result = writeChanges(file);
        if (result != IX_OK) return result;
        victim = findVictim();
    }
    if (victim == nullptr) return failWith(IX_PAGE_IO);
    freeBlock(victim);
    return IX_OK;
}

// Uses a free block; another page may have to be given up for it. 0 or the error of writing pages
// to make room.
static int takeFreeBlock(OpenFile* file, CacheBlock** block)
{
    if (fileState.cache.freeHead == nullptr) addBlock();
    if (fileState.cache.freeHead == nullptr) {
        int result = makeRoom(file);
        if (result != IX_OK) return result;
    }
    *block = fileState.cache.freeHead;
    useBlock(*block);
    return IX_OK;
}

// -- Pages -------------------------------------------------------------------

// A page access outside the file lock, which no operation makes: whatever another
// process has written meanwhile is to be seen.
static void checkHeaderOutsideLock(OpenFile* file)
{
    if (isExclusive(file) || file->sharing.fileLock == LOCKED) return;
    uint8_t record[HEADER_SIZE];
    if (readHeader(file, record) == IX_OK) {
        acceptChangeCounter(file, record);
    } else {
        dropFile(file->descriptor);
    }
}

// Reads a page that is in no block. 0, an I/O code, or IX_DESCENT_FAILED for a page that is not
// sound: the block taken for it stays free then.
static int bringPage(OpenFile* file, int pageNumber, CacheBlock** block)
{
    int result = takeFreeBlock(file, block);
    if (result != IX_OK) return result;
    result = readPageAhead(file->descriptor, (*block)->page, pageNumber);
    if (result != IX_OK) return result;
    if (!nodeIsSound((*block)->page, &(*block)->marks)) return IX_DESCENT_FAILED;
    bindBlock(*block, file->descriptor, pageNumber);
    numberContent(*block);
    return IX_OK;
}

static bool isDoubted(const OpenFile* file, const CacheBlock* block)
{
    return block->seen <= file->doubtedSince;
}

// Reads a page in doubt anew. Results as of bringPage: where it is not 0, the block is free.
static int refreshBlock(OpenFile* file, CacheBlock* block)
{
    uint8_t page[NODE_PAGE_SIZE];
    int result = readPageAhead(file->descriptor, page, block->pageNumber);
    if (result == IX_OK && memcmp(block->page, page, NODE_PAGE_SIZE) == 0) {
        block->seen = ++fileState.cache.contents;
        return IX_OK;
    }
    if (result == IX_OK) {
        memcpy(block->page, page, NODE_PAGE_SIZE);
        numberContent(block);
        if (nodeIsSound(block->page, &block->marks)) return IX_OK;
        result = IX_DESCENT_FAILED;
    }
    freeBlock(block);
    return result;
}

static NodeView viewOf(const CacheBlock* block)
{
    return {block->page, block->content, &block->marks};
}

bool lastPageIfContent(const OpenFile* file, NodeView* view, uint64_t content)
{
    const CacheBlock* block = fileState.cache.last;
    if (block == nullptr || block->content != content || isDoubted(file, block)) return false;
    *view = viewOf(block);
    return true;
}

void expectPage(const OpenFile* file, int pageNumber)
{
    constexpr size_t NEAR_BYTES = offsetof(CacheBlock, page) + NODE_PAGE_SIZE;
    constexpr size_t LINE = 64; // of the processor's caches
    const CacheBlock* block = *bucketOf(file->descriptor, pageNumber);
    if (block == nullptr) return;
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(block);
    for (size_t at = 0; at < NEAR_BYTES; at += LINE) {
        __builtin_prefetch(bytes + at);
    }
}

int cachedPageView(OpenFile* file, NodeView* view, int pageNumber)
{
    checkHeaderOutsideLock(file);
    CacheBlock* block = findBlock(file->descriptor, pageNumber);
    int result = IX_OK;
    if (block == nullptr) {
        result = bringPage(file, pageNumber, &block);
    } else {
        useBlock(block);
        if (isDoubted(file, block)) result = refreshBlock(file, block);
    }
    if (result != IX_OK) return result;
    *view = viewOf(block);
    return IX_OK;
}

int cachedPagePeek(OpenFile* file, uint8_t* page, int pageNumber)
{
    const CacheBlock* block = findBlock(file->descriptor, pageNumber);
    if (block != nullptr && !isDoubted(file, block)) {
        memcpy(page, block->page, NODE_PAGE_SIZE);
        return IX_OK;
    }
    int result = readPage(file->descriptor, page, pageNumber);
    if (result != IX_OK) return result;
    NodeMarks marks;
    return nodeIsSound(page, &marks) ? IX_OK : IX_DESCENT_FAILED;
}

int cachedPageWrite(OpenFile* file, const uint8_t* page, int pageNumber)
{
    if (!mayWrite(file)) return failWith(IX_PAGE_IO);
    file->pending.headerDirty = true;
    CacheBlock* block = findBlock(file->descriptor, pageNumber);
    if (block != nullptr) {
        useBlock(block);
    } else {
        int result = takeFreeBlock(file, &block);
        if (result != IX_OK) return result;
        bindBlock(block, file->descriptor, pageNumber);
    }
    memcpy(block->page, page, NODE_PAGE_SIZE);
    block->marks = markEntries(page);
    numberContent(block);
    if (!block->dirty) {
        block->firstChange = block->content;
        block->fresh = pageNumber >= file->headerInFile.nextFreePage;
    }
    setDirty(block);
    return isExclusive(file) ? writeBack(block) : IX_OK;
}

void doubtFile(OpenFile* file)
{
    assertCacheInvariants();
    forgetRuns(file->descriptor);
    CacheBlock* block = fileState.cache.dirtyHead;
    while (block != nullptr) {
        CacheBlock* next = block->dirtyNext;
        if (block->descriptor == file->descriptor) freeBlock(block);
        block = next;
    }
    file->doubtedSince = fileState.cache.contents;
}

void dropFile(int descriptor)
{
    assertCacheInvariants();
    forgetRuns(descriptor);
    CacheBlock* block = *fileListOf(descriptor);
    while (block != nullptr) {
        CacheBlock* next = block->fileNext;
        if (block->descriptor == descriptor) freeBlock(block);
        block = next;
    }
}
