// One state of a job database file, taken while others use it: its bytes, read under the shared
// file lock and given up at once.
//
// Boundary of tools/snapshot/, for the other tools and for tests. Nothing here changes a job. No
// state of its own.
#pragma once

#include "platform/new_file.h"

#include <cstdint>
#include <string>
#include <vector>

constexpr int DEFAULT_LOCK_SECONDS = 10;

struct JobSnapshot {
    std::vector<uint8_t> bytes; // of the whole file
    std::string fault;          // why it could not be taken, else empty
};

// Returns why the path is not that of a file to be read, or an empty text.
std::string pathFault(const std::string& path);

// Waits at most so many seconds for the file lock. The file may be anything: what its bytes are
// is not looked at.
JobSnapshot takeSnapshot(const std::string& path, int lockSeconds = DEFAULT_LOCK_SECONDS);

// Waits at most so many seconds until the file lock can be had, and leaves it free. Returns that
// another program is writing, else an empty text, also for a path that cannot be opened.
std::string waitForWriters(const std::string& path, int lockSeconds);

// What stands in a copy only for the process that was at work in the job: makes record locks and
// busy marker go away. A job of the older format, or a file that is no job, stays as it is.
void clearHolders(std::vector<uint8_t>* bytes);

// Writes the bytes to a temporary file, without a name where that can be, for the library to open;
// abandonNewFile removes it. Returns why it cannot be written, else an empty text.
std::string writeTemporaryJob(NewFile* file, const std::vector<uint8_t>& bytes);

// Writes the bytes to a new file, which is there whole or not at all. Returns why it cannot be
// written, else an empty text.
std::string writeNewJob(const std::string& path, const std::vector<uint8_t>& bytes, bool replaces);
