// The bare find: without a bracket, and keeping the record lock of the index. For engine/;
// engine.h offers a part of it to the record layer.
#pragma once

#include "engine/engine.h"

enum SearchFrom { FROM_ROOT, FROM_POSITION };

// Makes the first record at or after the sought key, which is one of the index, position and
// found entry, and delivers it. The key string may be longer than any stored one. From the
// position: for a key above it. Results as of ixFind.
int findSought(IndexFile* tree, int index, const SoughtKey* sought, SearchFrom from, void* data,
               uint32_t length);

// Makes an entry, at which the position stands, the found one and delivers its record.
int deliver(IndexFile* tree, const Position* position, const uint8_t* entry, void* data,
            uint32_t length);
