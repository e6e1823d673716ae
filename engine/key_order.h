// The order of entries: by key as unsigned bytes (the index byte is the first),
// then by number as a signed integer, then by segment byte. For engine/ and the
// file checker.
#pragma once

#include "engine/node_page.h"

// What a search looks for.
struct SoughtKey {
    const char* key; // index byte and key string, zero-terminated
    int32_t number;
    uint8_t segment; // ordinal 0 equals every segment: the search finds the first
};

// -1, 0 or 1: the stored entry is less than, equal to or greater than the sought key.
inline int compareEntry(const uint8_t* entry, const SoughtKey* sought)
{
    int order = strcmp(entryKey(entry), sought->key);
    if (order != 0) return order < 0 ? -1 : 1;

    int32_t number = entryNumber(entry);
    if (number != sought->number) return number < sought->number ? -1 : 1;

    if ((sought->segment & SEGMENT_ORDINAL) == 0) return 0;
    uint8_t segment = entrySegment(entry);
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
