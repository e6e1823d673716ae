// Why an element cannot be read, found out below the exports. For tools/check/.
#pragma once

#include <cstdint>
#include <string>

struct ElementFault {
    bool isDamage;      // false: its records are whole, but what they refer to is not there
    std::string reason; // in a few words, in Latin-1
};

// Expects an element of a kind that could not be read by this name from the job of the
// connection in force.
ElementFault faultOfElement(uint32_t kind, const std::string& name);
