// Search: from the root to the first entry at or after a key, and on from a place that is
// known already. For engine/.
#pragma once

#include "engine/positions.h"

constexpr int NO_LEVEL = -1;

// Where a descent has ended, and how it came there.
struct Descent {
    NodeView leaf;
    int page;               // of the leaf
    int ordinal;            // of the entry in the leaf
    const uint8_t* entry;   // the first at or after the sought key, or the leaf's end marker
    uint64_t branchContent; // of the leaf's parent; 0: the root is a leaf
    int branchPage;
    int boundOffset; // of the parent's entry behind the leaf
    // Each node on the way is followed by the one that its parent has behind it. Where a
    // process was killed while it wrote, a leaf may be older than its split: it then
    // holds entries that a search does not reach, and leads past others.
    bool current;
    bool aside; // the leaf was entered from its left neighbour
    // The parent knows what follows the leaf: a search that ends there need not look further.
    bool followed;
    int following; // the page that the parent has behind the leaf; NO_PAGE: none
    // Where the search had to go aside: the level and the page whose right half no branch knows,
    // because a process was killed after the page was cut. NO_LEVEL in a sound tree.
    int unfinishedLevel;
    int unfinishedPage;
};

// The entry of the leaf's parent that bounds the keys of the leaf; null when it has none, or was
// not entered from its parent. False when the parent cannot be read.
bool findBound(OpenFile* file, const Descent* way, const uint8_t** bound);

// Descends to the leaf where the sought key belongs. False when a page is damaged or cannot
// be read. Moves no position.
bool descend(OpenFile* file, const SoughtKey* sought, Descent* way);

// Makes the end of a descent the position.
void standAtEndOf(const Descent* way, Position* position);

// An entry that a search or step has reached, and what it is to the one sought.
struct Arrival {
    int result;           // IX_OK, IX_SAME_KEY, IX_GREATER_KEY, IX_NOT_FOUND or IX_DESCENT_FAILED
    const uint8_t* entry; // null when nothing was reached
};

// Moves the position to the next leaf that has entries, which becomes *leaf. Returns its
// first entry, the end marker of the last leaf when there is none, null on failure.
const uint8_t* nextNonEmptyLeaf(OpenFile* file, Position* position, NodeView* leaf);

// Finds the first entry of the tree at or after the sought key, which may belong to a later
// index, and makes it the position; before empty leaves IX_NOT_FOUND when there is none of what
// is searched for. The sought key must not lie in the position.
Arrival locate(OpenFile* file, Position* position, const SoughtKey* sought, SearchFor what);

// The same for a key above that at the position: along the leaf when its place is noted.
Arrival locateOnward(OpenFile* file, Position* position, const SoughtKey* sought, SearchFor what);

// The same for the first segment of a key of the index itself, which the position may be on
// already.
Arrival locateHere(OpenFile* file, Position* position, const SoughtKey* sought, SearchFor what);
