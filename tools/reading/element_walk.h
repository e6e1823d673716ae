// The elements of a kind that cannot be counted, as far as a walk comes.
//
// For orvidx and tools/export/.
#pragma once

#include "orvIdx.h"

#include <cstdint>

struct ElementWalk {
    IdxConnection* job;
    uint32_t kind;
    int64_t sure;   // elements that the library has counted; one more is there, which is damaged
    int64_t steps;  // taken
    int64_t there;  // of these, up to the last that surely was an element
    int64_t handed; // to the caller
    void* reached;  // by the step that was the last of those there; null: cannot be read
};

ElementWalk beginWalk(IdxConnection* job, uint32_t kind);

// Hands out the next element, which the caller frees, or null for one that is there and cannot be
// read. False at the end: nothing is handed out.
bool stepWalk(ElementWalk* walk, void** element);

// Frees what was reached and not handed out. For a walk that is left before its end.
void endWalk(ElementWalk* walk);
