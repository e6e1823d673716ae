// Result codes of the engine and of the floors above and below it. 0 or a small positive
// search outcome is success, a negative code failure. The values are part of the engine's
// contract: several meanings share -1, each under a name of its own.
#pragma once

// Success and search outcomes.
constexpr int IX_OK = 0;          // done; of a search: the sought key itself
constexpr int IX_SAME_KEY = 1;    // same key string, another number or segment
constexpr int IX_GREATER_KEY = 2; // a greater key string
constexpr int IX_BEFORE = 3;      // recordFind, MATCH_AT_OR_BEFORE: the entry before

// Engine and files.
constexpr int IX_NOT_FOUND = -1;         // no such entry, or none that follows
constexpr int IX_EXISTS = -1;            // add: the key is there already
constexpr int IX_OPEN_FAILED = -1;       // the file could not be opened, or not be closed
constexpr int IX_NO_FREE_SLOT = -1;      // open: all user slots are taken
constexpr int IX_NOT_ALLOCATED = -1;     // no page could be handed out
constexpr int IX_LOCK_FAILED = -1;       // a lock byte could not be taken or released
constexpr int IX_BAD_ARGUMENT = -2;      // index number, key length or data range
constexpr int IX_NOT_OPEN = -3;          // the context is not open
constexpr int IX_PAGE_IO = -4;           // page or header could not be read or written
constexpr int IX_BAD_MAGIC = -5;         // header of another kind of file
constexpr int IX_SEEK = -7;              // seek failed
constexpr int IX_SHORT_WRITE = -8;       // short write, or the file cannot grow
constexpr int IX_SHORT_READ = -9;        // short read
constexpr int IX_BROKEN_RECORD = -12;    // segments of a record do not follow each other
constexpr int IX_NO_CURRENT = -16;       // no current record or entry, or it is gone
constexpr int IX_KEYS_NOT_REMOVED = -17; // update: old keys could not be removed
constexpr int IX_NO_DATA_ENTRY = -18;    // record could not be stored or found in DATA_INDEX
constexpr int IX_OLD_DATA_KEPT = -19;    // update: old data entry could not be deleted
constexpr int IX_DESCENT_FAILED = -30;   // damaged page, or one that could not be read

// Record images and layouts.
constexpr int IX_OTHER_LAYOUT = -20;      // image written with another layout
constexpr int IX_DAMAGED_IMAGE = -21;     // checksum or structure of the image wrong
constexpr int IX_LAYOUT_TYPE = -22;       // layout entry: unknown type
constexpr int IX_LAYOUT_KEY_FLAG = -23;   // layout entry: unknown key flag
constexpr int IX_LAYOUT_DUPLICATES = -24; // layout entry: unknown duplicates flag
constexpr int IX_LAYOUT_LENGTH = -25;     // layout entry: length outside 0 to 10240
constexpr int IX_TEXT_TOO_LONG = -26;     // a text does not fit its field
constexpr int IX_LAYOUT_INDEX = -27;      // layout entry: index number outside 0 to 15
constexpr int IX_RECORD_TOO_LONG = -28;   // image does not fit the record buffer

// Locking and refusals.
constexpr int IX_OPEN_LOCK = -101;       // open: no file lock, exclusive reopening failed
constexpr int IX_FILE_LOCK = -102;       // the file lock could not be taken
constexpr int IX_READ_ONLY = -103;       // read-only access: add, delete, update refused
constexpr int IX_LOCKED_BY_OTHER = -104; // record locked by another live user
constexpr int IX_LOCKED_HERE = -105;     // lock check: held by this context
constexpr int IX_NOT_LOCKED = -106;      // lock check: nobody holds it
constexpr int IX_LOCK_REQUIRED = -107;   // delete: not locked here, or by another user

// The result of an operation in a bracket: an error of the bracket's end comes first.
constexpr int resultOf(int ended, int result) { return ended != IX_OK ? ended : result; }
