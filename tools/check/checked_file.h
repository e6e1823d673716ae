// A file under inspection. For tools/check/.
#pragma once

#include "format/format.h"
#include "tools/check/report.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <span>
#include <vector>

struct CheckedFile {
    std::span<const uint8_t> bytes;          // the file, up to the largest size it may have
    FileHeader header = {};                  // valid once acceptHeader has accepted it
    std::vector<bool> pageSeen;              // for each page handed out: found in a level
    std::vector<const uint8_t*> leafEntries; // well formed ones, as the leaves follow each other
    std::map<int32_t, int> brokenData;       // by record number: complaints about its segments
    CheckReport report;
};

inline bool pageHandedOut(const CheckedFile* file, int page)
{
    return page >= 0 && page < file->header.nextFreePage;
}

inline const uint8_t* pageAt(const CheckedFile* file, int page)
{
    return file->bytes.data() + FIRST_PAGE_OFFSET + static_cast<size_t>(page) * NODE_PAGE_SIZE;
}

inline bool isZero(const uint8_t* bytes, const uint8_t* end)
{
    return std::all_of(bytes, end, [](uint8_t byte) { return byte == 0; });
}

// Checks the header. False, with complaints, when there are no pages that could be looked at.
// For check.cpp and kind_names.cpp.
bool acceptHeader(CheckedFile* file);
