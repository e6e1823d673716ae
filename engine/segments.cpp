#include "engine/segments.h"

#include "engine/steps.h"

// What one record's segments add up to.
struct Gathered {
    uint32_t total;
    uint32_t copied;
    bool broken;
};

static bool isLastSegment(uint8_t segment) { return (segment & LAST_SEGMENT) != 0; }
static int segmentOrdinal(uint8_t segment) { return segment & SEGMENT_ORDINAL; }

// Adds a segment's data. Once a segment was cut, nothing more is copied.
static void addSegment(const uint8_t* data, uint32_t length, uint8_t* destination,
                       uint32_t capacity, Gathered* gathered)
{
    bool copying = gathered->copied == gathered->total;
    gathered->total += length;
    if (!copying || length == 0) return;

    uint32_t room = capacity - gathered->copied;
    uint32_t part = length < room ? length : room;
    memcpy(destination + gathered->copied, data, part);
    gathered->copied += part;
}

static bool sameRecord(const Position* position, const Position* other)
{
    return position->index == other->index && position->number == other->number &&
           strcmp(position->key, other->key) == 0;
}

// Walks the segments behind the first one, the entry, with a cursor of its own.
static void gatherFurtherSegments(OpenFile* file, const Position* first, const uint8_t* entry,
                                  uint8_t* destination, uint32_t capacity, Gathered* gathered)
{
    Position cursor = *first;
    while (!isLastSegment(cursor.segment)) {
        int ordinal = segmentOrdinal(cursor.segment);
        Arrival next = {IX_NOT_FOUND, nullptr};
        if (ordinal < MAX_SEGMENTS - 1) next = stepToNextSegment(file, &cursor, entry);
        if (next.entry == nullptr || !sameRecord(&cursor, first)) {
            gathered->broken = true; // the last segment is missing
            return;
        }
        if (segmentOrdinal(cursor.segment) != ordinal + 1) gathered->broken = true;
        entry = next.entry;
        addSegment(entryData(entry), static_cast<uint32_t>(entryDataLength(entry)), destination,
                   capacity, gathered);
    }
}

int readRecordAt(IndexFile* tree, const Position* position, const uint8_t* entry, void* destination,
                 uint32_t capacity)
{
    FoundEntry* found = &tree->found;
    if (found->dataLength == 0 || capacity == 0) {
        found->dataLength = 0;
        found->recordLength = 0;
        return IX_OK;
    }
    uint8_t* bytes = static_cast<uint8_t*>(destination);
    Gathered gathered = {};
    gathered.broken = segmentOrdinal(found->segment) != 0; // the first segment is missing
    addSegment(entryData(entry), found->dataLength, bytes, capacity, &gathered);
    if (!isLastSegment(found->segment)) {
        gatherFurtherSegments(&tree->file, position, entry, bytes, capacity, &gathered);
    }
    found->dataLength = gathered.copied;
    found->recordLength = gathered.total;
    return gathered.broken ? IX_BROKEN_RECORD : IX_OK;
}
