// The indexed storage engine: search, traversal, insertion and deletion of the
// entries of twenty indexes, record locks, and operations on whole records.
//
// Boundary of engine/, for jobdb/ and cogo/. Results stand in results.h. Every
// operation answers IX_NOT_OPEN for a context that is not open, IX_BAD_ARGUMENT
// for an index number outside 1 to 20, and IX_FILE_LOCK when the file lock
// cannot be taken; it leaves its result in file->status too.
//
// Searches and steps deliver the record at the entry they reach into data
// (capacity length; 0 wants none) and leave number, dataLength, recordLength and
// key of the context describing the entry. The brackets of bracket.h hold the file
// lock over several operations, so that nobody comes in between.
#pragma once

#include "engine/index_file.h"
#include "engine/results.h"
#include "platform/bracket.h"

#include <cstdint>

struct LayoutEntry;

// -- Opening and closing -----------------------------------------------------

// Binds the context to the file. mode: OPEN_SHARED falls back to read-only
// access, then to exclusive use. 0, -1, -4, -5, -7, -9 or -101; after a failure
// the context is as closed as before and no descriptor is left.
int ixOpen(IndexFile* file, const char* path, char mode);

// Writes what is pending, releases the locks and closes the file. A failure
// (-3, -4, -102) leaves it open; -1 when the descriptor could not be closed.
int ixClose(IndexFile* file);

// Gives the file up without writing anything more: for a close that failed.
void ixAbandon(IndexFile* file);

// ixOpen, then lends the record layer a work buffer for record images.
int recordOpen(IndexFile* file, const char* path, uint8_t* recordBuffer, int32_t recordBufferSize,
               char mode);
int recordClose(IndexFile* file);

// With set, stores the process-wide version that selects the header magic; the
// answer is the version then in force.
int setFormatVersion(bool set, int version);

// -- Search and traversal ----------------------------------------------------

// First entry at or after (key, number): IX_OK, IX_SAME_KEY, IX_GREATER_KEY,
// IX_NOT_FOUND, IX_BROKEN_RECORD or IX_DESCENT_FAILED.
int ixFind(IndexFile* file, int index, const char* key, int32_t number, void* data,
           uint32_t length);
// IX_OK, IX_NOT_FOUND or a failure code.
int ixFindFirst(IndexFile* file, int index, void* data, uint32_t length);
int ixFindLast(IndexFile* file, int index, void* data, uint32_t length);
int ixNext(IndexFile* file, int index, void* data, uint32_t length);
int ixPrevious(IndexFile* file, int index, void* data, uint32_t length);
// Likewise, and IX_NO_CURRENT when another process has deleted the entry. Keeps
// the record lock.
int ixReadCurrent(IndexFile* file, int index, void* data, uint32_t length);

// -- Insertion and deletion --------------------------------------------------

// IX_NOT_FOUND (-1) when exactly this key and number exist, else 0 or a failure.
int ixAdd(IndexFile* file, int index, const char* key, int32_t number, const void* data,
          uint32_t length);
// IX_NOT_FOUND (-1) when this key string exists under any number.
int ixAddUnique(IndexFile* file, int index, const char* key, int32_t number, const void* data,
                uint32_t length);
// 0, IX_NOT_FOUND, IX_LOCKED_BY_OTHER or a failure code.
int ixDelete(IndexFile* file, int index, const char* key, int32_t number);
// Deletes at the position, which must be locked in shared mode (IX_LOCK_REQUIRED).
int ixDeleteCurrent(IndexFile* file, int index);
// Hands out the next record number, in file->number.
int ixNextSequence(IndexFile* file);

// -- Record locks ------------------------------------------------------------

// 0, IX_NO_CURRENT or IX_LOCKED_BY_OTHER.
int ixLockRecord(IndexFile* file, int index);
int ixUnlockRecord(IndexFile* file, int index);
// IX_LOCKED_HERE, IX_NOT_LOCKED, IX_LOCKED_BY_OTHER, IX_NO_CURRENT or a failure.
int ixCheckLock(IndexFile* file, int index);

// -- Whole records -----------------------------------------------------------

// Match modes of recordFind.
constexpr int MATCH_EXACT = 1;        // IX_OK: the key string exists
constexpr int MATCH_AFTER = 2;        // IX_OK: the entry after it
constexpr int MATCH_AT_OR_AFTER = 3;  // IX_OK, or IX_GREATER_KEY: the first after it
constexpr int MATCH_BEFORE = 4;       // IX_OK: the entry before it
constexpr int MATCH_AT_OR_BEFORE = 5; // IX_OK, or IX_BEFORE: the entry before it

// Step operations of recordStep; any other does nothing.
constexpr int STEP_NEXT = 1;
constexpr int STEP_PREVIOUS = 2;
constexpr int STEP_FIRST = 3;
constexpr int STEP_LAST = 4;

// Finds a record by a key; its number becomes the current record number. Else
// IX_NOT_FOUND or a failure code, and there is no current record.
int recordFind(IndexFile* file, int index, const char* key, int ignored, int matchMode);
// Steps to a record; its number becomes the current record number.
int recordStep(IndexFile* file, int index, int step);

// Keys in the order of their index, terminated, one behind the other.
struct KeyBlock {
    int32_t count;
    char texts[NODE_PAGE_SIZE];
};

// Steps over the records behind the current one that are reached without a search:
// inside an outermost read those whose keys lie in the same leaf. The last one becomes
// the current record. Fills the block with their keys, which may be none: recordStep
// goes on then. Never fails.
void recordStepAlong(IndexFile* file, int index, KeyBlock* keys);

// Reads the current record into the variables of the layout. IX_NO_CURRENT,
// IX_NOT_FOUND, IX_OTHER_LAYOUT and IX_DAMAGED_IMAGE leave them untouched.
int recordReadCurrent(IndexFile* file, LayoutEntry* layout);

// Store, delete and rewrite a record with its keys. An update gives the record a
// new number. A read-only file refuses: a line on standard output, IX_READ_ONLY.
int recordAdd(IndexFile* file, LayoutEntry* layout);
int recordDeleteCurrent(IndexFile* file, LayoutEntry* layout);
int recordUpdateCurrent(IndexFile* file, LayoutEntry* layout);
