// The entries that can still be read in a page of a job database, whatever has become of the page.
// For tools/recover/.
#pragma once

#include "tools/check/entry_key.h"

#include <deque>
#include <vector>

// An entry of a leaf, and how far the tree vouches for it.
struct SalvagedEntry {
    const uint8_t* entry;
    int32_t page;
    uint8_t trust; // one of TRUST_...
};

constexpr uint8_t TRUST_DENIED = 0;   // the tree has another leaf in its place, without it
constexpr uint8_t TRUST_UNKNOWN = 1;  // the tree does not lead to its place
constexpr uint8_t TRUST_IN_PLACE = 2; // a search for its key ends at its page

// Entries that stand in no page as they are, in pieces that stay where they are.
struct EntryStore {
    std::deque<std::vector<uint8_t>> pieces;
};

// Keep a copy of an entry, or of some bytes. Return its address.
const uint8_t* keepEntry(EntryStore* store, const uint8_t* entry);
const uint8_t* keepBytes(EntryStore* store, const void* bytes, size_t size);

// Appends the entries of a page, of which length bytes are there, when it can have been a leaf. A
// damaged page gives its well-formed entries; where an entry's length may be wrong, it is given
// with both lengths.
void collectPageEntries(const uint8_t* page, int pageNumber, int length,
                        std::vector<SalvagedEntry>* entries, EntryStore* store);
