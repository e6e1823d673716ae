// The entries of the new job, as they are gathered. For tools/recover/.
#pragma once

#include "tools/recover/decisions.h"

#include <string_view>

struct NewJob {
    EntryStore store;
    std::vector<const uint8_t*> entries;
    std::vector<std::string_view> uniqueKeys; // primary keys in it, the index first
    size_t sortedKeys;                        // how many of these are in order
    std::vector<int32_t> numbers;             // of its records
    int32_t nextNumber;
};

// Returns the image of a record of ours with this primary key, the index first, in the place of its
// own.
std::vector<uint8_t> imageWithKey(const FoundRecord& record, const std::string& key);

// Adds a record that goes on as it was decided, with the keys that its image asks for.
void addFoundRecord(NewJob* job, const FoundRecord& record, const Decision& decision);

// Adds another program's record with all keys that lead to it.
void addForeignRecord(NewJob* job, const Salvage* salvage, const FoundRecord& record);

// Adds a record by its image, which is one of the layout.
void addImage(NewJob* job, const LayoutEntry* layout, const std::vector<uint8_t>& image,
              int32_t number);

// True when the job has the primary key, which addUniqueKey has added; it is to stay where it is.
bool hasUniqueKey(NewJob* job, std::string_view key);
void addUniqueKey(NewJob* job, const char* key);

// Adds an entry without data. Returns its key, which stays where it is.
const char* addKey(NewJob* job, const std::string& key, int32_t number);

// Behind all records: adds the entries of indexes that are not ours and lead to no record of ours,
// and the released numbers that no record has.
void addOtherEntries(NewJob* job, const Salvage* salvage);

// Returns the file, or nothing when it would be too large.
std::vector<uint8_t> packNewJob(NewJob* job, uint32_t changeCounter);
