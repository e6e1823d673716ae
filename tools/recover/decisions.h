// Which of the records that were found go into the new job. For tools/recover/.
#pragma once

#include "tools/recover/found_records.h"

#include <string>

enum RecordFate {
    FATE_KEPT,
    FATE_LEFT_OVER, // nothing leads to it: a process was killed on the way to it, or deleted it
    FATE_DOUBLE,    // another record has its key, and neither is the better one for certain
};

struct Decision {
    RecordFate fate;
    int32_t number;  // under which it goes on
    bool wasReached; // a reader of the damaged job had it
    const char* key; // its primary key, the index first, as it is to be; empty for another
                     // program's record
    // Of a double: place of the record that was taken instead.
    size_t taken;
};

// The decisions about all records, in the same order.
struct Decisions {
    EntryStore keys;
    std::vector<Decision> of;
    int32_t nextNumber; // higher than every number in use, and than the old counter
};

Decisions decide(const Salvage* salvage);

// A key that leads to no record that is kept.
struct LostKey {
    std::string key; // the index first
    int32_t number;
};

// The primary keys of our layouts, and the record keys of others, whose records are gone.
std::vector<LostKey> lostKeys(const Salvage* salvage, const Decisions* decisions);
