// The writable state of the engine, one for the whole process and all databases.
// For engine/ and its tests.
#pragma once

#include "format/format.h"

struct EngineState {
    // Each for one operation: filled by readNode and changed by insertions and
    // deletions; every further read replaces it.
    uint8_t nodeBuffer[NODE_BUFFER_SIZE];
    // The new right-hand node, while a node is being split.
    uint8_t splitBuffer[NODE_BUFFER_SIZE];
    // A page looked at without disturbing the node buffer: a leaf further right than
    // a search, the right neighbour of a node that is split.
    uint8_t peekBuffer[NODE_BUFFER_SIZE];
    // For each level of the last descent, the branch page at which it entered.
    int32_t path[MAX_HEIGHT];

    // What the file is grown by; zero for the life of the process.
    uint8_t zeroPage[NODE_BUFFER_SIZE];
};

extern EngineState engineState;
