// The records that the entries of a job still make up. For tools/recover/.
#pragma once

#include "records/record_image.h"
#include "tools/check/known_layouts.h"
#include "tools/recover/tree_view.h"

#include <string>

// What speaks for the bytes of a record, the least first.
enum RecordProof {
    PROOF_NONE,     // all of its segments are in place, but its checksum is another one
    PROOF_CHECKSUM, // its checksum is that of its bytes
    PROOF_LAYOUT,   // and it has a layout of ours
    PROOF_KEY,      // and a key that leads to it is its own
};

struct FoundRecord {
    int32_t number;
    std::vector<const uint8_t*> segments; // entries, in order
    RecordProof proof;
    uint8_t trust;            // the least of its segments
    bool isSecond;            // under the number of the one before it
    const KnownLayout* known; // null: another program's
};

// All that could be read of a file. Numbers have at most two records.
struct Salvage {
    TreeView view;
    EntryStore store;
    std::vector<SalvagedEntry> entries; // by key, number and segment; the most trusted first
    std::vector<uint32_t> keysByNumber; // the entries that lead to records, by number
    std::vector<FoundRecord> records;   // by number
};

// Reads every page of the file, whose bytes are filled up to whole pages and stay where they are.
// Of the last page lastLength bytes are there.
void salvageEntries(Salvage* salvage, const std::vector<uint8_t>* bytes, int lastLength);

// Puts the records together: of several versions of a segment those with which the checksum
// comes out right.
void findRecords(Salvage* salvage);

std::vector<uint8_t> imageOf(const FoundRecord& record);

// The item of an image with its primary key, of which every record of ours has one.
ImageItem primaryKeyIn(const std::vector<uint8_t>& image, const KnownLayout& known);

// The index and the key string of the record's primary key, as its image has it: a text whose
// first character is the index. Empty for another program's record.
std::string primaryKeyOf(const FoundRecord& record);

// The same, or the record key with which another program's record begins. Empty when it begins
// otherwise.
std::string ownKeyOf(const FoundRecord& record);

// True when a key of ours leads to a record of no layout of ours, and nothing tells that it is
// another program's.
bool isDamagedOne(const Salvage* salvage, const FoundRecord& record);

// True when records of ours have their primary keys in the index, and begin like this one.
bool isOurKey(int index, const char* key);

// True for the indexes whose entries lead to records by their number.
bool leadsToRecords(int index);

// The entries with exactly this index and key string; begin and end as places in the entries.
struct EntryRange {
    size_t begin;
    size_t end;
};
EntryRange entriesWithKey(const Salvage* salvage, const std::string& key);

// The keys that lead to a number, as places in keysByNumber.
EntryRange keysTo(const Salvage* salvage, int32_t number);

// The record of a number, the first of its versions; null: there is none.
const FoundRecord* recordOf(const Salvage* salvage, int32_t number);
