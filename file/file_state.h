// The writable state of file/, one for the whole process and all open files. Zero when the
// process starts. For file/ and its tests.
#pragma once

#include "file/file.h"
#include "platform/platform.h"

#include <cstddef>

// One page in memory. A block is found by (descriptor, pageNumber). It stands in the
// list of all blocks in order of use; in the list of its hash and in that of its file
// or else in that of free blocks; and while it is dirty in that of dirty blocks.
struct CacheBlock {
    int32_t descriptor; // -1: free
    int32_t pageNumber; // -1: never used
    int32_t dirty;      // 1 when the page differs from the file
    CacheBlock* next;   // used less recently, or null
    uint8_t page[NODE_PAGE_SIZE];
    uint8_t endMarker;    // 0: ends the entries of a full page
    bool fresh;           // dirty, and nothing in the file refers to the page
    uint64_t content;     // no other content of any block has had this number
    uint64_t firstChange; // while dirty: the content that its first change has made
    CacheBlock* previous; // used more recently, or null
    CacheBlock* bucketNext;
    CacheBlock* fileNext;
    CacheBlock* filePrevious;
    CacheBlock* dirtyNext; // used less recently, or null
    CacheBlock* dirtyPrevious;
};
static_assert(offsetof(CacheBlock, endMarker) == offsetof(CacheBlock, page) + NODE_PAGE_SIZE);

// Powers of two: about two buckets a block, and more lists of files than a host opens.
constexpr int CACHE_BUCKETS = 2048;
constexpr int CACHE_FILES = 32;

struct PageCache {
    CacheBlock blocks[CACHE_BLOCKS];
    CacheBlock* head;      // most recently used
    CacheBlock* tail;      // the next victim
    CacheBlock* dirtyHead; // most recently used of the dirty ones
    CacheBlock* freeHead;  // freed last
    CacheBlock* buckets[CACHE_BUCKETS];
    CacheBlock* files[CACHE_FILES];    // by descriptor
    uint64_t contents;                 // contents numbered so far
    bool built;                        // false until the first cached read or write of the process
    CacheBlock* toWrite[CACHE_BLOCKS]; // while a file is flushed: its dirty blocks
};

struct FileState {
    // For the life of the process.
    // Which header magic a reader accepts, less the current version: all of this
    // starts zeroed, so that the cache takes no room in the library's file.
    int32_t formatVersionShift;
    PageCache cache;

    // Until the next call that sets it.
    int32_t lastIoError;     // of the last header write, page read or page write
    OsLockRange lockRequest; // the range of the last lock request
};

extern FileState fileState;
