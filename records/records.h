// Records: stored as images of the variables of a layout, found by their keys, added,
// rewritten and deleted whole. Also the keys under which COGO records are filed, and the table
// of job files.
//
// Boundary of records/, for survey/, cogo/ and api/. Results are those of format/results.h,
// also left in tree.status of the RecordFile. Its state, in records_state.h: the table with
// one RecordFile per slot, and the buffer of the record key, which all COGO layouts share.
#pragma once

#include "records/layout.h"
#include "records/record_file.h"
#include "records/record_key.h"
#include "records/text.h"

#include <cstdint>

// -- Opening (record_lookup.cpp) ---------------------------------------------

// ixOpen, and lends a work buffer for record images.
int recordOpen(RecordFile* job, const char* path, uint8_t* recordBuffer, int32_t recordBufferSize,
               char mode);
int recordClose(RecordFile* job);

// -- Finding and reading (record_lookup.cpp) ---------------------------------

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
int recordFind(RecordFile* job, int index, const char* key, int matchMode);
// Steps to a record; its number becomes the current record number.
int recordStep(RecordFile* job, int index, int step);
// ixStepAlong; the last record passed becomes the current one.
void recordStepAlong(RecordFile* job, int index, KeyBlock* keys);

// Reads the current record into the variables of the layout. IX_NO_CURRENT,
// IX_NOT_FOUND, IX_OTHER_LAYOUT and IX_DAMAGED_IMAGE leave them untouched.
int recordReadCurrent(RecordFile* job, LayoutEntry* layout);
// The same, and IX_DAMAGED_IMAGE when the record was reached through the index that the key
// field feeds, but lies under another key: its number has passed to another record, whose
// layout may share the signature.
int readRecordAtKey(RecordFile* job, const LayoutPlan* plan, int keyField);

// -- Changing (record_update.cpp) --------------------------------------------

// Store, delete and rewrite a record with its keys. An update gives the record a
// new number. A read-only file refuses: a line on standard output, IX_READ_ONLY.
int recordAdd(RecordFile* job, LayoutEntry* layout);
int recordDeleteCurrent(RecordFile* job, LayoutEntry* layout);
int recordUpdateCurrent(RecordFile* job, LayoutEntry* layout);
// The same for a record stored with another layout, which is then stored with this one.
int recordReplaceCurrent(RecordFile* job, const LayoutEntry* oldLayout, LayoutEntry* layout);
// Stores a record in place of the current one, of which the key at the position of the index is
// left but no image that could be read.
int recordReplaceLost(RecordFile* job, int index, LayoutEntry* layout);

// -- Job files (job_files.cpp) -----------------------------------------------

constexpr int JOB_FILE_SLOTS = 10;
constexpr int COGO_SLOT = 0; // the slot of the file on which record reads work
constexpr int NO_CURRENT_SLOT = -1;
constexpr int FILE_NAME_ROOM = 512;
constexpr int FILE_NAME_LIMIT = 254;                  // characters of a name that are kept
constexpr int FILE_NAME_OUTPUT = FILE_NAME_LIMIT + 1; // bytes of a caller's buffer

// Answers of jobFileCommand.
constexpr int JOB_FILE_REFUSED = 0;
constexpr int JOB_FILE_DONE = 1;
constexpr int JOB_FILE_ALREADY_COGO = 2;

// Carries out one of the commands
//   "INITIALIZE"        empties the table; no current slot
//   "CURRENT"           name := current file's, remembered as the old one; index
//   "CURRENT_ALT"       name := current file's, remembered as the alternate one
//   "GET_ALT"           name := the alternate one
//   "GET_OLD_FILE"      name := the old one
//   "GET_FILE_NUMBER"   makes the named file current; -1 when it is not registered;
//                       without a name only reports the current slot
//   "ADD_FILE"          registers the file and makes it current
//   "ADD_COGO_FILE"     makes the file the COGO file and current
//   "SET_COGO_FILE"     makes slot 0 current
//   "SET_FILE_TO_COGO"  makes a registered file the COGO file; -1 when there is none
//   "REMOVE_FILE"       frees the file's slot; -1 when it is not registered
// index, where given, receives a slot number. name is the file, or the buffer of
// FILE_NAME_OUTPUT bytes to fill. JOB_FILE_REFUSED when no slot is free and without
// a command; an unknown command does nothing and is done.
int jobFileCommand(int32_t* index, char* name, const char* command);

// "GET_FILE_NUMBER".
void currentFileNumber(int32_t* index, const char* name);

// The context of the current slot; that of slot 0 when there is no current slot.
RecordFile* slotContext();

// The context of the slot itself; that of slot 0 for any other number.
RecordFile* contextOfSlot(int slot);

// Move contexts between slot 0 and slot n. JOB_FILE_DONE, or JOB_FILE_REFUSED for a
// slot that does not exist. A moved context works in its new place.
int copyContextFromCogo(int n);
int copyContextToCogo(int n);
int swapContextWithCogo(int n);
