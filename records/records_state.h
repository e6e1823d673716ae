// The writable state of records/, all of it. Zero when the process starts. For records/,
// those who build layouts with its record key, and tests.
#pragma once

#include "records/records.h"

struct JobFileSlot {
    int32_t inUse;             // 1: the slot holds a file; 0: free, and its name is empty
    char name[FILE_NAME_ROOM]; // at most FILE_NAME_LIMIT characters, the rest zero
};

struct JobFileTable {
    JobFileSlot slots[JOB_FILE_SLOTS];
    int32_t currentSlot;                    // or NO_CURRENT_SLOT
    char oldFileName[FILE_NAME_ROOM];       // as "CURRENT" reported it last
    char alternateFileName[FILE_NAME_ROOM]; // as "CURRENT_ALT" did
    RecordFile contexts[JOB_FILE_SLOTS];    // context n belongs to the file in slot n
};

struct RecordsState {
    // Process: commands change it.
    JobFileTable table;

    // Operation: the variable of every COGO layout's key field. Filled by reads, and by
    // writers before they store.
    RecordKey recordKey;
};

extern RecordsState recordsState;
