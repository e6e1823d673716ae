// The B+tree of entries: search, traversal, insertion and deletion in twenty indexes, and
// record locks.
//
// Boundary of engine/, for the record layer. Every operation answers IX_NOT_OPEN for a
// context that is not open, IX_BAD_ARGUMENT for an index number outside 1 to 20, and
// IX_FILE_LOCK when the file lock cannot be taken or released; it leaves its result in
// tree->status too.
//
// Searches and steps deliver the record at the entry they reach into data (capacity length;
// 0 wants none); tree->found then describes the entry. The brackets of file/bracket.h hold
// the file lock over several operations, so that nobody comes in between. Its state, the
// node buffers, is in engine_state.h; positions belong to each IndexFile.
#pragma once

#include "engine/index_file.h"
#include "engine/operation.h"

#include <cstdint>

// -- Opening and closing (open_close.cpp) ------------------------------------

// Binds the context to the file, unless it is open. mode: OPEN_SHARED falls back to read-only
// access where writing is not permitted, and to exclusive use where shared locks are refused.
// IX_OK, IX_OPEN_FAILED, IX_NO_FREE_SLOT, IX_PAGE_IO, IX_BAD_MAGIC, IX_SEEK, IX_SHORT_READ,
// IX_OPEN_LOCK or IX_FILE_LOCK; after a failure the context is as open or closed as
// before and no other descriptor is left.
int ixOpen(IndexFile* tree, const char* path, char mode);

// Writes what is pending, releases the locks and closes the file. IX_PAGE_IO and IX_FILE_LOCK
// leave it open; IX_OPEN_FAILED when the descriptor could not be closed. In a process forked
// from the one that opened the file it closes the descriptor and leaves the rest to that one.
int ixClose(IndexFile* tree);

// Gives the file up without writing anything more: for a close that failed.
void ixAbandon(IndexFile* tree);

// -- Search and traversal (search.cpp, traversal.cpp) ------------------------

// First entry at or after (key, number): IX_OK, IX_SAME_KEY, IX_GREATER_KEY,
// IX_NOT_FOUND, IX_BROKEN_RECORD or IX_DESCENT_FAILED.
int ixFind(IndexFile* tree, int index, const char* key, int32_t number, void* data,
           uint32_t length);
// The first record with the key string: IX_SAME_KEY, IX_OK when its number is 0, else
// IX_GREATER_KEY, IX_NOT_FOUND or a failure. Delivers no data.
int ixFindKey(IndexFile* tree, int index, const char* key);
// IX_OK, IX_NOT_FOUND when there is no such entry, or a failure code.
int ixFindFirst(IndexFile* tree, int index, void* data, uint32_t length);
int ixFindLast(IndexFile* tree, int index, void* data, uint32_t length);
int ixNext(IndexFile* tree, int index, void* data, uint32_t length);
int ixPrevious(IndexFile* tree, int index, void* data, uint32_t length);
// The entry at the position once more: IX_OK, IX_NOT_FOUND without one, IX_NO_CURRENT when
// another process has deleted it, or a failure code. Keeps the record lock.
int ixReadCurrent(IndexFile* tree, int index, void* data, uint32_t length);

// Keys in the order of their index, terminated.
struct KeyBlock {
    int32_t count;
    uint16_t starts[MAX_ENTRY_COUNT]; // of each one in the texts
    char texts[NODE_PAGE_SIZE];
};

// Steps over the records behind the position that are reached without a search: inside an
// outermost read those whose keys lie in the same leaf. The last one becomes the position.
// Fills the block with their keys, each key string once, which may be none: ixNext goes on then.
// Never fails.
void ixStepAlong(IndexFile* tree, int index, KeyBlock* keys);

// -- Insertion and deletion (updates.cpp) ------------------------------------

// Store modes: insert without looking, or refuse an exact key that exists.
constexpr int STORE_UNCHECKED = 3;
constexpr int STORE_NEW = 4;

// IX_OK, IX_EXISTS (STORE_NEW: exactly this key and number exist), or a failure code.
int ixStore(IndexFile* tree, int mode, int index, const char* key, int32_t number, const void* data,
            uint32_t length);
// ixStore as STORE_NEW.
int ixAdd(IndexFile* tree, int index, const char* key, int32_t number, const void* data,
          uint32_t length);
// IX_OK, IX_EXISTS when this key string exists under any number, or a failure code.
int ixAddUnique(IndexFile* tree, int index, const char* key, int32_t number, const void* data,
                uint32_t length);
// IX_OK, IX_NOT_FOUND, IX_LOCKED_BY_OTHER or a failure code.
int ixDelete(IndexFile* tree, int index, const char* key, int32_t number);
// Deletes the entry at the position, whose record this context has locked, unless it is one
// of LOCK_INDEX or the file in exclusive mode (IX_LOCK_REQUIRED).
int ixDeleteCurrent(IndexFile* tree, int index);
// Hands out the next record number.
int ixNextSequence(IndexFile* tree, int32_t* number);

// -- Record locks (lock_operations.cpp) --------------------------------------

// IX_OK, IX_NO_CURRENT or IX_LOCKED_BY_OTHER, or a failure code.
int ixLockRecord(IndexFile* tree, int index);
int ixUnlockRecord(IndexFile* tree, int index);
// IX_LOCKED_HERE, IX_NOT_LOCKED, IX_LOCKED_BY_OTHER, IX_NO_CURRENT or a failure code.
int ixCheckLock(IndexFile* tree, int index);

// -- Inside a bracket (entry_find.cpp, entry_delete.cpp) ---------------------
// Find and delete for those who have opened a bracket already and mean the entries alone:
// record locks are neither released nor asked for, and status stays. The index number is one
// of the twenty.

// Results as of ixFind; IX_NOT_FOUND also when there is none of what is searched for.
int ixInnerFind(IndexFile* tree, int index, SearchFor what, const char* key, int32_t number,
                void* data, uint32_t length);
// Deletes the record with this key string and number, whatever its segments. IX_OK,
// IX_NOT_FOUND, IX_DESCENT_FAILED or IX_PAGE_IO.
int ixInnerDelete(IndexFile* tree, int index, const char* key, int32_t number);
