// Files that come into being whole: written under another name beside their place, and put there
// when they are complete. For the tools; the library writes job databases in place.
//
// Paths are as in path_text.h.
// Where the system forbids a file, errno tells why. Whatever ends the program by a signal that a
// person sends, unfinished files are removed first.
#pragma once

#include <cstddef>
#include <string>

constexpr int NEW_FILE_DONE = 0;
constexpr int NEW_FILE_FAILED = -1; // errno tells why
constexpr int NEW_FILE_EXISTS = -2; // not to be replaced, and there

struct NewFile {
    std::string target;    // the place; empty for a file that only serves for a while
    std::string temporary; // where it is written; the target itself when that is a device
    int descriptor = -1;
    bool replaces = false; // the target, if there is one
    bool isDevice = false; // a device or a pipe, which is written to and not replaced
    bool isNameless = false;
};

// Begins the file at a path. Symbolic links lead to what is replaced. Unless it replaces, a file
// that exists is left alone (NEW_FILE_EXISTS). One that is replaced keeps its permissions.
int beginNewFile(NewFile* file, const std::string& path, bool replaces);

// Begins a file in the system's folder for temporary ones, which no other user may read.
int beginTemporaryFile(NewFile* file);

// Takes the name of a temporary file away, so that the file goes with the process however that
// ends. Its temporary path then leads there through the descriptor. Nothing happens where the
// system has no such paths: on Windows the next beginTemporaryFile removes what was left behind.
void dropName(NewFile* file);

// Appends bytes.
int writeNewFile(NewFile* file, const void* bytes, size_t length);

// Puts the file in its place, after what was written has reached the disk. Where that fails it is
// as after abandonNewFile.
int finishNewFile(NewFile* file);

// Removes what was written. Nothing happens to a file that is finished or was never begun.
void abandonNewFile(NewFile* file);
