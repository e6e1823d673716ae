// What the two halves of the file checker share. For tools/tree_check.cpp and
// tools/record_check.cpp only.
#pragma once

#include "tools/tree_check.h"

#include <cstdint>

// A file under inspection.
struct CheckedFile {
    std::vector<uint8_t> bytes; // the file, up to the largest size it may have

    // The header's fields, once checkHeader has found them possible.
    int rootPage = 0;
    int height = 0;
    int nextFreePage = 0;
    int pagesInFile = 0;
    int32_t sequenceCounter = 0;

    std::vector<bool> pageSeen;              // per page handed out: found in a level
    std::vector<const uint8_t*> leafEntries; // well formed ones, as the leaves follow each other

    CheckReport report;
};

// Adds a complaint, unless there are too many.
[[gnu::format(printf, 2, 3)]] void complain(CheckedFile* file, const char* format, ...);

// The entry for a complaint: index, key with unprintable bytes as \xx, number.
std::string describeEntry(const uint8_t* entry);

// Ordinals and sizes of the segments of every record in every index.
void checkSegments(CheckedFile* file);

// Records, their keys, free numbers, the sequence counter, lock entries.
void checkRecords(CheckedFile* file);
