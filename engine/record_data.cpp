#include "engine/record_data.h"

#include "engine/positions.h"
#include "engine/traversal.h"

// What one record's segments add up to.
struct Gathered {
    uint32_t total;
    uint32_t copied;
    bool broken;
};

static bool isLastSegment(const IndexFile* file) { return (file->segment & LAST_SEGMENT) != 0; }
static int segmentOrdinal(const IndexFile* file) { return file->segment & SEGMENT_ORDINAL; }

// Adds the current entry's data. Once a segment was cut, nothing more is copied.
static void addSegment(const IndexFile* file, uint8_t* destination, uint32_t capacity,
                       Gathered* gathered)
{
    uint32_t length = file->dataLength;
    bool copying = gathered->copied == gathered->total;
    gathered->total += length;
    if (!copying || length == 0) return;

    uint32_t room = capacity - gathered->copied;
    uint32_t part = length < room ? length : room;
    memcpy(destination + gathered->copied, file->data, part);
    gathered->copied += part;
}

// True when the position has left the record that was kept.
static bool leftRecord(const IndexFile* file, int index, const KeptPosition* record)
{
    return file->indexAtPosition[index] != record->indexAtPosition ||
           file->numberAtPosition[index] != record->number ||
           strcmp(file->keyBuffer[index], record->key) != 0;
}

static void gatherFurtherSegments(IndexFile* file, int index, uint8_t* destination,
                                  uint32_t capacity, Gathered* gathered)
{
    KeptPosition first;
    keepPosition(file, index, &first);
    int32_t status = file->status;
    const char* key = file->key;
    int32_t number = file->number;
    int32_t segment = file->segment;
    uint8_t entry[sizeof file->currentEntry];
    memcpy(entry, file->currentEntry, sizeof entry);

    while (!isLastSegment(file)) {
        int ordinal = segmentOrdinal(file);
        bool stepped = ordinal < MAX_SEGMENTS - 1 && stepForward(file, index) >= 0;
        if (!stepped || leftRecord(file, index, &first)) {
            gathered->broken = true; // the last segment is missing
            break;
        }
        if (segmentOrdinal(file) != ordinal + 1) gathered->broken = true;
        addSegment(file, destination, capacity, gathered);
    }

    putPositionBack(file, index, &first);
    file->status = status;
    file->key = key;
    file->number = number;
    file->segment = segment;
    memcpy(file->currentEntry, entry, sizeof entry);
}

int readRecordAtPosition(IndexFile* file, int index, uint8_t* destination, uint32_t capacity)
{
    if (file->dataLength == 0 || capacity == 0) {
        file->dataLength = 0;
        file->recordLength = 0;
        return IX_OK;
    }
    if (ixBeginRead(file) != 0) return IX_FILE_LOCK;

    Gathered gathered = {};
    gathered.broken = segmentOrdinal(file) != 0; // the first segment is missing
    addSegment(file, destination, capacity, &gathered);
    if (!isLastSegment(file)) {
        gatherFurtherSegments(file, index, destination, capacity, &gathered);
    }
    file->dataLength = gathered.copied;
    file->recordLength = gathered.total;

    int ended = ixEndRead(file);
    if (ended != 0) return ended;
    return gathered.broken ? IX_BROKEN_RECORD : IX_OK;
}
