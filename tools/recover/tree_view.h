// The tree of a job database as far as it still stands. For tools/recover/.
#pragma once

#include "tools/recover/page_entries.h"

// The file that is looked at: its bytes, filled up to whole pages.
struct TreeView {
    const std::vector<uint8_t>* bytes;
    int pages;    // of the file
    int rootPage; // NO_PAGE: none is known
    int height;
    std::vector<bool> reached; // for each page: a branch, or a cut leaf before it, leads to it
};

const uint8_t* viewPage(const TreeView* view, int page);

// Finds the root: by the header where that is sound, else the one page above all others.
TreeView viewTree(const std::vector<uint8_t>* bytes);

// Where a search ends.
struct Landing {
    int page;    // NO_PAGE: at something that is no leaf
    bool covers; // the leaf holds keys of this place, or is empty and linked to its neighbours
};

Landing landingOf(const TreeView* view, const SoughtKey* key);

// Judges an entry by where a search for its key ends.
uint8_t trustIn(const TreeView* view, const SalvagedEntry& found);

// True when the tree has a leaf for the key.
bool hasLeafFor(const TreeView* view, const SoughtKey* key);
