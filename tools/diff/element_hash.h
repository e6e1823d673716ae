// A number for the contents of an element. For tools/diff/.
#pragma once

#include <cstdint>

// 128 bits: among a few million elements no two different ones have the same.
struct ElementHash {
    uint64_t first;
    uint64_t second;
    bool operator==(const ElementHash&) const = default;
};

// Returns the hash of all bytes that hosts see of an element, of which every one is determined.
ElementHash hashOfElement(uint32_t kind, const void* element);
