// The writable state of file/, one for the whole process and all open files. Zero when the
// process starts. For file/ and its tests.
#pragma once

#include "file/file.h"
#include "platform/platform.h"

#include <cstdint>

// One page in memory. A block is found by (descriptor, pageNumber). It stands in the list of its
// hash and in that of its file or else in that of free blocks; and while it is dirty in that of
// dirty blocks. What finding a page and an entry in it looks at lies together.
struct CacheBlock {
    int32_t descriptor; // -1: free
    int32_t pageNumber;
    CacheBlock* bucketNext;
    uint64_t content; // no other content of any block has had this number
    uint64_t seen;    // the page was like this in the file when contents had this number
    uint64_t used;    // uses of all blocks up to the last one of this
    NodeMarks marks;
    uint8_t page[NODE_PAGE_SIZE + 8]; // zeros behind it end the entries of a full one
    CacheBlock* fileNext;
    CacheBlock* filePrevious;
    bool dirty;            // the page differs from the file
    bool fresh;            // dirty, and nothing in the file refers to the page
    uint64_t firstChange;  // while dirty: the content that its first change has made
    CacheBlock* dirtyNext; // dirty for longer, or null
    CacheBlock* dirtyPrevious;
};

// Blocks come in pieces: one that is always there, and those added as pages come in for which
// there is no block. With all of them the cache holds every page of the largest file.
constexpr int MOST_ADDED_PIECES = MAX_PAGES_IN_FILE / CACHE_BLOCKS;
constexpr int MOST_CACHE_BLOCKS = (1 + MOST_ADDED_PIECES) * CACHE_BLOCKS;
static_assert(MOST_CACHE_BLOCKS >= MAX_PAGES_IN_FILE);

struct CachePiece {
    CacheBlock blocks[CACHE_BLOCKS];
};

// All blocks, the least recently used first, as they were when somebody had to give way. Those
// used since then come behind all others.
struct OrderOfUse {
    CacheBlock* blocks[MOST_CACHE_BLOCKS];
    int32_t count;
    int32_t next;  // those before it were dirty, or have been used since
    uint64_t uses; // of blocks before the order was made
};

// Powers of two: about a bucket for each block, and more lists of files than a host opens.
constexpr int CACHE_BUCKETS = 32768;
constexpr int CACHE_FILES = 32;

struct PageCache {
    CachePiece kept;
    CachePiece* added[MOST_ADDED_PIECES]; // null from the first that was not needed so far
    bool refused;          // there was no memory for another one; until all pages have left
    int32_t blocks;        // in use or free; those behind them hold nothing
    int32_t pages;         // blocks that are not free
    uint64_t uses;         // of blocks so far
    CacheBlock* last;      // used last, or null
    CacheBlock* dirtyHead; // the last one that became dirty
    CacheBlock* freeHead;  // freed last
    OrderOfUse order;
    CacheBlock* buckets[CACHE_BUCKETS];
    CacheBlock* files[CACHE_FILES];         // by descriptor
    uint64_t contents;                      // contents numbered so far
    CacheBlock* toWrite[MOST_CACHE_BLOCKS]; // while a file is flushed: its dirty blocks
};

// Pages that follow each other in a file and were read at once, in the same state of the file as
// the pages in the cache. Where a run ends, the next one begins when its first page is asked for.
// Several, for a walk takes pages from several places of a file in turn.
constexpr int PAGES_IN_RUN = 16;
constexpr int PAGE_RUNS = 8;
constexpr int32_t NO_RUN = 0; // no file has this descriptor

struct PageRun {
    int32_t descriptor; // or NO_RUN
    int32_t first;
    int32_t count; // 0: nothing has been read, and the page first is expected next
    uint8_t pages[PAGES_IN_RUN][NODE_PAGE_SIZE];
};

struct FileState {
    // For the life of the process.
    // Which header magic a reader accepts, less the current version: all of this
    // starts zeroed, so that the cache takes no room in the library's file.
    int32_t formatVersionShift;
    PageCache cache;
    PageRun runs[PAGE_RUNS];
    int32_t nextRun; // the one that gives way to another

    // Until the next call that sets it.
    int32_t lastIoError;     // of the last header write, page read or page write
    OsLockRange lockRequest; // the range of the last lock request
};

extern FileState fileState;

// The block with the number, of those below cache.blocks.
inline CacheBlock* blockAt(int number)
{
    PageCache* cache = &fileState.cache;
    CachePiece* piece =
        number < CACHE_BLOCKS ? &cache->kept : cache->added[number / CACHE_BLOCKS - 1];
    return &piece->blocks[number % CACHE_BLOCKS];
}
