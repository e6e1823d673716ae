// The bare find: without a bracket, and keeping the record lock of the index. For engine/;
// engine.h offers a part of it to the record layer.
#pragma once

#include "engine/engine.h"

// Makes the first record at or after the sought key, which is one of the index, position and
// found entry, and delivers it. The key string may be longer than any stored one. Results as of
// ixFind; IX_NOT_FOUND also when there is none of what is searched for.
int findSought(IndexFile* tree, int index, const SoughtKey* sought, SearchFor what, void* data,
               uint32_t length);
// The same for a key above that at the position, and the next entry of the index.
int findOnward(IndexFile* tree, int index, const SoughtKey* sought, void* data, uint32_t length);

// Makes an entry, at which the position stands, the found one and delivers its record.
int deliver(IndexFile* tree, const Position* position, const uint8_t* entry, void* data,
            uint32_t length);
