// The elements of a job as hosts read them: all of them by their names, through the exports.
//
// For orvjob and tests. A connection that the process has is closed.
#pragma once

#include "orvIdx.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

constexpr int KINDS = ELEMENT_SURVEY_CHAIN + 1;

// What there is to say about an element, in Latin-1 as its name.
struct ElementNote {
    std::string name;
    std::string text;
};

// Elements that cannot be read because something is damaged are unreadable. One whose records are
// whole, but lack something that they refer to, is worth a remark, whether it can be read or not.
struct KindReport {
    uint32_t elements = 0;
    std::string fault; // why readers cannot list them, else empty; those found in the leaves follow
    std::vector<ElementNote> unreadable;
    std::vector<ElementNote> remarks;
};

struct ElementReport {
    std::string fault; // why nothing was read, else empty
    KindReport kinds[KINDS];
};

// Reads all elements from a temporary copy.
ElementReport checkElements(const std::vector<uint8_t>& bytes);

// True when every element can be read, or only remarks stand against it.
bool allReadable(const ElementReport& report);
