// Steps of a position along the leaf chain. For engine/.
#pragma once

#include "engine/descent.h"

// Each step leads to a greater, or smaller, key, so that every walk ends. Only a
// position outside its index has no key of its own to compare with.
enum StepCheck { ANY_KEY, ORDERED_KEY };

// One entry on or back by the place in the leaf, which has to be exact. IX_NOT_FOUND leaves
// the position outside the tree, an I/O code or IX_DESCENT_FAILED where it was or on a page
// whose keys run the wrong way.
Arrival stepForwardByPlace(OpenFile* file, Position* position, StepCheck check);
Arrival stepBackByPlace(OpenFile* file, Position* position, StepCheck check);

// From the entry, which is the one of the position, to the one that follows it in its record. Where
// that does not stand behind it in the leaf: by the place in exclusive mode, by the key in shared
// mode, where it finds the next segment even if ordinals do not follow each other.
Arrival stepToNextSegment(OpenFile* file, Position* position, const uint8_t* entry);

// An entry of a leaf, and whether it is known that no entry before it has its key.
struct LeafPlace {
    const uint8_t* entry;
    int ordinal;
    bool firstOfKey;
    int keyLength; // of an entry that was moved to, index byte included
};

// Moves to the first entry of the record behind the place. False, and nothing changed,
// when it does not begin in the same leaf: it has to be searched.
bool moveOnInLeaf(LeafPlace* place);

// The noted place of the position in its leaf, whose entry is null when it has to be searched.
LeafPlace leafPlaceOf(OpenFile* file, const Position* position, NodeView* leaf);

// Makes a place in the leaf of the position, which is a noted one, the position.
void standAtPlace(Position* position, const NodeView* leaf, const LeafPlace* place);
