// A file under inspection and what is found in it. For tools/check/; check.h is the boundary.
#pragma once

#include "format/format.h"
#include "tools/check/check.h"

#include <cstdint>

struct CheckedFile {
    std::vector<uint8_t> bytes;              // the file, up to the largest size it may have
    FileHeader header = {};                  // once it has been found possible
    std::vector<bool> pageSeen;              // per page handed out: found in a level
    std::vector<const uint8_t*> leafEntries; // well formed ones, as the leaves follow each other
    CheckReport report;
};

// Adds a complaint, unless there are too many.
[[gnu::format(printf, 2, 3)]] void complain(CheckedFile* file, const char* format, ...);

// The entry for a complaint: index, key with unprintable bytes as \xx, number.
std::string describeEntry(const uint8_t* entry);

bool pageHandedOut(const CheckedFile* file, int page);
const uint8_t* pageAt(const CheckedFile* file, int page);
bool isZero(const uint8_t* bytes, const uint8_t* end);
