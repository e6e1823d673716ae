// The operating system's files and memory with faults. A test that compiles os_faulty.cpp
// in has these functions in the place of the backend and of the heap, to which they pass
// the calls on.
#pragma once

#include "platform/os.h"

#include <cstddef>
#include <functional>
#include <map>
#include <vector>

enum OsCall {
    OS_CALL_OPEN,
    OS_CALL_CLOSE,
    OS_CALL_READ,
    OS_CALL_WRITE,
    OS_CALL_LOCK,
    OS_CALL_UNLOCK,
    OS_CALL_ALLOCATE
};

struct OsTransfer {
    OsCall call; // OS_CALL_READ or OS_CALL_WRITE
    int descriptor;
    int64_t offset;

    bool operator==(const OsTransfer&) const = default;
};

struct OsFaults {
    // Calls of this kind fail from number `first` on, which counts from 1 and down,
    // so 0 lets all pass: one call, or every further one while the fault lasts.
    OsCall call = OS_CALL_OPEN;
    int first = 0;
    bool lasting = false;
    bool shortened = false; // transfers: half of the bytes instead of none
    bool seeking = false;   // transfers: the place in the file cannot be reached
    bool refusing = false;  // opening: the file may only be read

    // The process is killed at write number `first`: nothing of it reaches the file, or its
    // first half, and nothing of any later one.
    bool kills = false;

    int64_t diskEnd = INT64_MAX; // nothing can be written behind this offset
    uint32_t time = 0;           // milliseconds that the clock shows, unless 0
    uint32_t quietTime = 0;      // what osQuietTime answers then

    // What another process does before this lock call is made.
    int lockWaitedFor = 0;
    std::function<void()> meanwhile = {};

    int failures = 0;      // calls that have failed, but for
    int failuresAhead = 0; // readings of several pages, of which one alone is needed
    int locks = 0;         // lock calls made
    int pauses = 0;        // times that others were given way
    std::vector<OsTransfer> transfers = {};
};

extern OsFaults osFaults;

// Blocks of memory that the product has and not given back.
extern int liveBlocks;
extern std::map<const void*, std::size_t> blockSizes; // also of those given back
