// The layouts of our records, and how a stored record is told to have one of them.
//
// For orvjob's checker and recovery.
#pragma once

#include "records/layout.h"

#include <cstdint>
#include <span>

// A layout of ours and the entries that lead to its records. Layouts may share a signature, so
// the primary key decides: its index, and in the index of the record keys also its tag.
struct KnownLayout {
    const char* name;
    const LayoutEntry* layout;
    int primaryIndex;
    const char* tags[2]; // null: no tag, or no second one
};

// Layouts do not depend on any file. Those of a process that has a connection are left alone:
// building them again would disturb the length of the point block. To be called before anything
// else here.
void buildKnownLayouts();

std::span<const KnownLayout> knownLayouts();

// True when a key of this index and text, as they stand in an entry, is the primary key of a
// record of the layout.
bool isPrimaryKey(const KnownLayout& known, int index, const char* key);

// Returns the layout that a record with this signature has under the key, or null when it has
// none of ours.
const KnownLayout* layoutUnderKey(int signature, int index, const char* key);

// Returns the layout whose record the image is by signature, checksum, items and the key that it
// holds itself, or null. For records whose keys are lost.
const KnownLayout* layoutOfImage(const uint8_t* image, int length);
