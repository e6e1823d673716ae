// Why an element cannot be read, found out below the exports. For tools/check/ and within
// tools/faults/.
#pragma once

#include "records/records.h"

#include <cstdint>
#include <string>

struct ElementFault {
    bool isDamage;      // false: its records are whole, but what they refer to is not there
    std::string reason; // in a few words, in Latin-1
};

// Expects an element of a kind that could not be read by this name from the job, which is open.
ElementFault faultOfElement(RecordFile* job, uint32_t kind, const std::string& name);
