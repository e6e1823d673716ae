// OpenFile: one open database file as this process sees it. Part of the boundary file.h.
//
// A plain structure in memory that its owner provides; openFile fills it.
#pragma once

#include "format/format.h"

#include <cstdint>

constexpr char OPEN_SHARED = 'S';
constexpr char OPEN_EXCLUSIVE = 'E';
constexpr uint8_t STATE_OPEN = 'O';
constexpr uint8_t STATE_CLOSED = 'C';
constexpr uint8_t LOCKED = 'L';
constexpr uint8_t UNLOCKED = 'U';
constexpr int NO_SLOT = -1;

// What tells an open context from anything else that its memory may hold.
struct OpenMarks {
    char letters[MAGIC_LENGTH]; // OPEN_LETTERS
    uint8_t state;              // STATE_OPEN, STATE_CLOSED
};
constexpr char OPEN_LETTERS[] = "ORVANE98";

// What an update leaves to be written, and what became of it.
struct PendingChanges {
    bool headerDirty;  // the header in memory differs from the file's
    bool announced;    // the file has had a new change counter since this context locked it
    bool fileExtended; // the file was grown during the current update
    bool flushFailed;  // changes could not be written at the end of an update and wait in
                       // the cache for the next bracket
    bool refused;      // an update was refused inside an outermost read; whoever opened
                       // that read clears this and asks
};

// How this process shares the file with others.
struct Sharing {
    int32_t userSlot; // 0 to 127, or NO_SLOT
    uint8_t fileLock; // LOCKED while this context holds FILE_LOCK_BYTE
    bool exclusively; // that it holds it exclusively: else nothing may be written
    uint8_t readNesting;
    uint8_t updateNesting;
    uint32_t updates;    // outermost updates begun so far
    uint32_t quietTime;  // the last one that was looked into
    uint64_t usedAtLook; // pages that this process had used when a read looked at the clock
};

// So many pages are passed in about a quarter of a second. Behind a bulk update that was killed
// there may be some hundred right halves that no branch knows.
constexpr uint32_t MOST_DETOURS = 1U << 22;

struct OpenFile {
    OpenMarks marks;
    int32_t descriptor;
    uint32_t forksAtOpen;    // osForkCount() of the process that opened the file
    uint8_t openMode;        // OPEN_SHARED, OPEN_EXCLUSIVE
    bool readOnly;           // opened with read-only access
    FileHeader header;       // as this context has it
    FileHeader headerInFile; // as the file is known to have it
    PendingChanges pending;
    Sharing sharing;
    uint64_t doubtedSince; // pages in memory that were seen up to here may differ from the file's
    // A page could not be read, or is damaged; a lock could not be had. Whoever wants to know
    // clears this and asks, for not every result tells it.
    bool trouble;
    // Pages that searches may still pass where the branches do not lead to the one sought: a
    // sound tree has few, a made-up one as many as it has pages, for each search. MOST_DETOURS
    // where there are many searches in one; 0: any number.
    uint32_t detoursLeft;
};

inline bool isExclusive(const OpenFile* file) { return file->openMode == OPEN_EXCLUSIVE; }

// True when the context is open; every operation asks first.
inline bool contextIsOpen(const OpenFile* file)
{
    return memcmp(file->marks.letters, OPEN_LETTERS, MAGIC_LENGTH) == 0 &&
           file->marks.state == STATE_OPEN;
}
