// IndexFile: one open database as a tree of entries. Part of the boundary engine.h.
//
// A plain structure in memory that its owner provides; ixOpen fills it. It refers to no part
// of itself, so it may be moved: copied, and the one left behind marked as closed.
#pragma once

#include "file/file.h"

#include <cstdint>

constexpr int NO_POSITION = -1;
constexpr int KEPT_PATH_LENGTH = 49;

// Where the entry at a position lies. True for as long as the pages have the contents
// noted, which are numbers of the page cache.
struct NotedPlace {
    uint64_t leafContent;   // 0: nothing is noted
    uint64_t branchContent; // of the leaf's parent; 0: it has none
    int32_t branchPage;
    uint16_t offset;      // of the entry in the leaf
    uint16_t boundOffset; // of the parent's entry behind the leaf, whose child follows it
    bool firstOfKey;      // no entry before it has its key
};

// The position of an index: the entry on which it stands, or a place outside the index.
struct Position {
    int32_t home;     // number of the index that the position belongs to
    int32_t index;    // of the entry; NO_POSITION; above home: past the end, below: before
                      // the start
    int32_t leafPage; // its leaf
    int32_t ordinal;  // its place there, -1 before the first entry
    int32_t number;
    uint8_t segment;
    bool removed;              // its entry was deleted, and it rests on the one before it
    uint8_t recordLock;        // LOCKED: this context holds the lock of the record
    char key[KEY_BUFFER_SIZE]; // key string of the entry, without index byte
    NotedPlace place;
};

// What the last operation found; number and key are zero when there is none. After a failure that
// of the operation before.
struct FoundEntry {
    int32_t number;
    uint8_t segment;
    uint32_t dataLength;           // bytes delivered
    uint32_t recordLength;         // bytes of the record, all segments together
    char key[1 + KEY_BUFFER_SIZE]; // index byte and key string
};

// What a search is for. It ends at the leaf to which its key belongs when nothing behind that
// leaf can be what it is for, and else goes on over empty leaves.
enum SearchFor {
    FOR_INDEX, // the next entry of the index
    FOR_KEY,   // an entry with the key string
    FOR_RECORD // an entry with key string and number
};

struct IndexFile {
    OpenFile file;
    Position positions[INDEX_SLOTS]; // by index number
    FoundEntry found;
    int32_t status;       // result of the last operation
    int32_t ioError;      // secondary code of the last failure
    int32_t internalCall; // set by a caller: record lock requests do nothing meanwhile
    char path[KEPT_PATH_LENGTH + 1];
};

inline bool contextIsOpen(const IndexFile* tree) { return contextIsOpen(&tree->file); }
