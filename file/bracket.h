// The bracket around every operation on a file. Part of the boundary file.h.
//
// In shared mode the outermost begin takes the file lock byte, shared for reading
// and exclusively for updating, and refreshes the header; the outermost end of an
// update writes what was changed; the last end releases the lock. Operations
// inside take no second lock. Each begin that answers 0 is to be ended. In a process forked
// from the one that opened the file none of them does anything but fail.
#pragma once

#include <cstdint>

struct OpenFile;

// 0, or a code that callers turn into IX_FILE_LOCK; nothing is held or counted
// then. An update inside an outermost read is refused: it would change the file
// under the shared lock. file->pending.refused tells of it afterwards.
int ixBeginRead(OpenFile* file);
int ixBeginUpdate(OpenFile* file);

// 0, or IX_FILE_LOCK when the lock stays, or the error of writing the changes. An update whose
// changes could not be written keeps them in memory for the next bracket to write,
// unless another process has written the file by then.
int ixEndRead(OpenFile* file);
int ixEndUpdate(OpenFile* file);

// Inside an update: what was changed so far reaches the file before what is changed from here
// on. Of the writes of an update that is cut short the file holds a prefix. 0 or a write error.
int ixWriteOut(OpenFile* file);

// The pair of the open itself. beginOpen refreshes no header: IX_OK or IX_LOCK_FAILED. endOpen
// writes what was changed and releases the lock in any case: IX_OK or the first error.
int beginOpen(OpenFile* file);
int endOpen(OpenFile* file);

// A long read in pieces.
struct ReadPiece {
    uint32_t since; // milliseconds of the system's clock
    int32_t steps;  // 0 at the begin
};

// Called after each step of a long read inside an outermost read: when that has held
// the file lock for ten milliseconds, or two in a quiet time, it is ended and begun anew, so
// that those who wait to write get in between. 0, or an error with the read ended.
int ixYieldRead(OpenFile* file, ReadPiece* piece);
