// IndexFile: the context of one open database and the parameter block of every
// engine operation. An operation takes its arguments from the request fields and
// leaves its results there.
//
// A plain structure: the caller provides the memory, ixOpen initialises it. For
// engine/, platform/ and the layers that own or read contexts.
#pragma once

#include "engine/file_format.h"

#include <cstdint>

constexpr char OPEN_SHARED = 'S';
constexpr char OPEN_EXCLUSIVE = 'E';
constexpr uint8_t STATE_OPEN = 'O';
constexpr uint8_t STATE_CLOSED = 'C';
constexpr uint8_t LOCKED = 'L';
constexpr uint8_t UNLOCKED = 'U';
constexpr int NO_SLOT = -1;
constexpr int NO_POSITION = -1;
constexpr int NO_RECORD = -1;

// When a page that was changed reaches the file.
constexpr int WRITE_AT_END_HEADER_TOO = 0; // pages, and the header of an allocation
constexpr int WRITE_AT_END = 1;            // shared mode
constexpr int WRITE_LEAVES_AT_ONCE = 2;
constexpr int WRITE_AT_ONCE = 3; // exclusive mode

// Where the entry at a position lies. True for as long as the pages have the contents
// noted, which are numbers of the page cache.
struct NotedPlace {
    uint64_t leafContent;   // 0: nothing is noted
    uint64_t branchContent; // of the leaf's parent; 0: it has none
    int32_t branchPage;
    uint16_t offset;      // of the entry in the leaf
    uint16_t boundOffset; // of the parent's entry behind the leaf, whose child follows it
    uint8_t firstOfKey;   // 1: no entry before it has its key
};

struct IndexFile {
    uint8_t marker1; // 'O'
    uint8_t marker2; // 'R'

    // Request and result.
    int32_t indexNumber;   // request: the index addressed, 1 to 20
    const char* key;       // request: key string without index byte; result: the one found
    int32_t number;        // request: the key's number; result: that of the entry found
    uint8_t* data;         // request: caller's buffer, to fill or to store
    uint32_t dataLength;   // request: its capacity or bytes to store; result: bytes delivered
    uint8_t state;         // STATE_OPEN, STATE_CLOSED
    uint32_t recordLength; // result: bytes of the record found, all segments together
    int32_t status;        // result of the last operation
    int32_t ioError;       // secondary code of the last failure
    uint8_t marker3;       // 'V'

    // Copy of the header.
    int32_t rootPage;
    uint8_t marker4; // 'A'
    int32_t height;
    int32_t nextFreePage;
    int32_t sequenceCounter;
    int32_t pagesInFile;
    uint8_t marker5; // 'N'

    int32_t fileDescriptor;
    int32_t headerDirty;       // 1 when the copy differs from the file
    uint8_t readOnly;          // 1 when opened with read-only access
    int32_t recordChecks;      // 1: record operations check the caller's layout first
    uint8_t marker6;           // 'E'
    int32_t segment;           // request and result: segment byte of the entry
    uint8_t currentEntry[256]; // the entry last found, from its index byte on

    // Position of each index.
    int32_t positionInLeaf[INDEX_SLOTS]; // ordinal in the leaf, -1 before its first entry
    int32_t leafPage[INDEX_SLOTS];
    int32_t indexAtPosition[INDEX_SLOTS];   // NO_POSITION; another index: past an end
    uint8_t removedAtPosition[INDEX_SLOTS]; // 1: entry deleted, resting on the one before it

    char path[53];        // at most 49 characters of the path
    int32_t writePolicy;  // WRITE_...
    int32_t fileExtended; // 1 after the file was grown during the current operation

    // Record layer.
    uint8_t* recordBuffer;
    int32_t recordBufferSize;
    uint8_t recordTypeByte;      // of the image read last; goes into images stored
    int32_t currentRecordNumber; // record found last, or NO_RECORD
    int32_t lockedRecordNumber;  // record locked for an update, or NO_RECORD

    // Key at the position of each index.
    char* keyBuffer[INDEX_SLOTS]; // into keyBuffers; without index byte
    int32_t numberAtPosition[INDEX_SLOTS];
    uint8_t segmentAtPosition[INDEX_SLOTS];

    // Sharing.
    uint32_t changeCounter;               // the header's, as last read or written
    int32_t userSlot;                     // 0 to 127, or NO_SLOT
    uint8_t recordLockState[INDEX_SLOTS]; // LOCKED: this context holds the record's lock
    uint8_t openMode;                     // OPEN_SHARED, OPEN_EXCLUSIVE
    uint8_t fileLockState;                // LOCKED while this context holds FILE_LOCK_BYTE
    uint8_t readNesting;
    uint8_t updateNesting;
    int32_t internalCall; // 1 during bookkeeping: record lock requests then do nothing
    uint8_t marker7;      // '9'
    uint8_t marker8;      // '8'
    char keyBuffers[INDEX_SLOTS][KEY_BUFFER_SIZE];

    // What the lock state does not tell: 1 while FILE_LOCK_BYTE is held exclusively.
    // In shared mode nothing is written to the file unless this is set.
    uint8_t fileLockExclusive;
    // 1 when changes of an update could not be written at its end and wait in the
    // cache for the next bracket.
    uint8_t flushPending;
    // 1 after an update was refused inside an outermost read; whoever opened that read
    // clears it and asks.
    uint8_t updateRefused;
    // The change counter that the file is known to hold. A header write that failed
    // leaves changeCounter ahead of it.
    uint32_t counterInFile;

    NotedPlace notedPlace[INDEX_SLOTS];
};

// True when the context is open; every operation asks first.
inline bool contextIsOpen(const IndexFile* file)
{
    return file->marker1 == 'O' && file->marker2 == 'R' && file->marker3 == 'V' &&
           file->marker4 == 'A' && file->marker5 == 'N' && file->marker6 == 'E' &&
           file->marker7 == '9' && file->marker8 == '8' && file->state == STATE_OPEN;
}
