// The order of entries: by key as unsigned bytes (the index byte is the first),
// then by number as a signed integer, then by segment byte. Part of the boundary
// format.h.
#pragma once

#include "format/node_page.h"

// What a search looks for.
struct SoughtKey {
    const char* key; // index byte and key string, zero-terminated
    int32_t number;
    uint8_t segment; // ordinal 0 equals every segment: the search finds the first
};

// -1, 0 or 1: the stored entry is less than, equal to or greater than the sought key.
inline int compareEntry(const uint8_t* entry, const SoughtKey* sought)
{
    // The index bytes, which are never 0, and the first characters settle most
    // comparisons: pages of records hold keys of one byte.
    const char* key = entryKey(entry);
    const uint8_t* bytes = entry + ENTRY_KEY;
    uint8_t index = static_cast<uint8_t>(sought->key[0]);
    if (bytes[0] != index) return bytes[0] < index ? -1 : 1;
    uint8_t first = static_cast<uint8_t>(sought->key[1]);
    if (bytes[1] != first) return bytes[1] < first ? -1 : 1;
    size_t keyLength = 1;
    if (first != 0) {
        int order = strcmp(key + 2, sought->key + 2);
        if (order != 0) return order < 0 ? -1 : 1;
        keyLength = 2 + strlen(key + 2);
    }

    const uint8_t* tail = bytes + keyLength + 1;
    int32_t number = loadInt32(tail);
    if (number != sought->number) return number < sought->number ? -1 : 1;

    if ((sought->segment & SEGMENT_ORDINAL) == 0) return 0;
    uint8_t segment = tail[4];
    if (segment != sought->segment) return segment < sought->segment ? -1 : 1;
    return 0;
}

// The same order with segment bytes always counted: of two entries of one node
// exactly one is smaller.
inline int compareWithSegments(const uint8_t* entry, const SoughtKey* sought)
{
    int order = compareEntry(entry, sought);
    if (order != 0) return order;
    uint8_t segment = entrySegment(entry);
    if (segment != sought->segment) return segment < sought->segment ? -1 : 1;
    return 0;
}
