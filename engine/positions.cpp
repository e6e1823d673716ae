#include "engine/positions.h"

#include "engine/results.h"
#include "platform/platform.h"

static void copyKeyString(char* buffer, const char* key)
{
    size_t length = strnlen(key, MAX_KEY);
    memmove(buffer, key, length); // the key may lie in the buffer itself
    buffer[length] = 0;
}

void buildSoughtKey(char* text, int index, const char* key)
{
    size_t length = strnlen(key, SOUGHT_KEY_SIZE - 2);
    text[0] = static_cast<char>(index);
    memcpy(text + 1, key, length);
    text[1 + length] = 0;
}

// The parts of an entry behind its key.
struct EntryParts {
    size_t keyLength; // index byte included
    int32_t number;
    uint8_t segment;
};

static EntryParts partsOf(const uint8_t* entry)
{
    size_t keyLength = strlen(entryKey(entry));
    const uint8_t* tail = entry + ENTRY_KEY + keyLength + 1;
    return {keyLength, loadInt32(tail), tail[4]};
}

static void placePosition(IndexFile* file, int index, const uint8_t* entry, const EntryParts& parts)
{
    file->indexAtPosition[index] = entryIndex(entry);
    // The zero byte takes the place of the index byte.
    memcpy(file->keyBuffer[index], entryKey(entry) + 1, parts.keyLength);
    file->numberAtPosition[index] = parts.number;
    file->segmentAtPosition[index] = parts.segment;
    file->notedPlace[index].leafContent = 0;
}

static void fillCurrentEntry(IndexFile* file, const uint8_t* entry, const EntryParts& parts)
{
    int length = entrySize(entry) - ENTRY_OVERHEAD - static_cast<int>(parts.keyLength);
    memcpy(file->currentEntry, entry + ENTRY_KEY, entry[0]);
    file->number = parts.number;
    file->segment = parts.segment;
    file->dataLength = static_cast<uint32_t>(length);
    file->data = length == 0 ? nullptr : file->currentEntry + (entry[0] - length);
    file->key = reinterpret_cast<const char*>(file->currentEntry);
}

void setPosition(IndexFile* file, int index, const uint8_t* entry)
{
    placePosition(file, index, entry, partsOf(entry));
}

void takeEntry(IndexFile* file, const uint8_t* entry)
{
    fillCurrentEntry(file, entry, partsOf(entry));
}

void arriveAt(IndexFile* file, int index, const uint8_t* entry)
{
    EntryParts parts = partsOf(entry);
    placePosition(file, index, entry, parts);
    fillCurrentEntry(file, entry, parts);
}

const uint8_t* entryAtNotedPlace(IndexFile* file, int index, NodeView* leaf)
{
    const NotedPlace* place = &file->notedPlace[index];
    bool reading = file->openMode == OPEN_SHARED && file->fileLockState == LOCKED &&
                   file->fileLockExclusive == 0;
    bool noted = place->leafContent != 0 && file->indexAtPosition[index] == index &&
                 file->removedAtPosition[index] == 0;
    if (!reading || !noted) return nullptr;
    *leaf = {lastPageIfContent(place->leafContent), place->leafContent};
    if (leaf->node != nullptr) return leaf->node + place->offset;
    if (viewNode(file, file->leafPage[index], 0, leaf) != IX_OK) return nullptr;
    return leaf->content == place->leafContent ? leaf->node + place->offset : nullptr;
}

void setPositionPastEnd(IndexFile* file, int index)
{
    file->indexAtPosition[index] = index + 1;
    file->keyBuffer[index][0] = 0;
    file->numberAtPosition[index] = 0;
    file->segmentAtPosition[index] = 0;
    file->notedPlace[index].leafContent = 0;
}

void setPositionKey(IndexFile* file, int index, const char* key, int32_t number)
{
    copyKeyString(file->keyBuffer[index], key);
    file->numberAtPosition[index] = number;
    file->notedPlace[index].leafContent = 0;
}

void setPositionBeforeStart(IndexFile* file, int index)
{
    if (file->indexAtPosition[index] >= index) file->indexAtPosition[index] = index - 1;
    file->keyBuffer[index][0] = 0;
    file->numberAtPosition[index] = -1;
    file->notedPlace[index].leafContent = 0;
}

void clearCurrentEntry(IndexFile* file)
{
    memset(file->currentEntry, 0, sizeof file->currentEntry);
    file->number = 0;
    file->dataLength = 0;
    file->recordLength = 0;
}

void keepPosition(const IndexFile* file, int index, KeptPosition* kept)
{
    copyKeyString(kept->key, file->keyBuffer[index]);
    kept->number = file->numberAtPosition[index];
    kept->segment = file->segmentAtPosition[index];
    kept->positionInLeaf = file->positionInLeaf[index];
    kept->leafPage = file->leafPage[index];
    kept->indexAtPosition = file->indexAtPosition[index];
    kept->place = file->notedPlace[index];
}

void putPositionBack(IndexFile* file, int index, const KeptPosition* kept)
{
    setPositionKey(file, index, kept->key, kept->number);
    file->segmentAtPosition[index] = kept->segment;
    file->positionInLeaf[index] = kept->positionInLeaf;
    file->leafPage[index] = kept->leafPage;
    file->indexAtPosition[index] = kept->indexAtPosition;
    file->notedPlace[index] = kept->place;
}

constexpr int LAST_SLOT = INDEX_SLOTS - 1;

void correctForInsertion(IndexFile* file, int index, int leaf, int ordinal)
{
    for (int slot = index + 1; slot <= LAST_SLOT; ++slot) {
        if (file->leafPage[slot] != leaf || file->indexAtPosition[slot] == NO_POSITION) continue;
        // At or before the place, only a position on an entry of a later index has
        // been pushed along, or one that rests before such an entry it removed.
        if (file->positionInLeaf[slot] > ordinal || file->indexAtPosition[slot] > index) {
            ++file->positionInLeaf[slot];
        }
    }
}

void correctForRemoval(IndexFile* file, int index, int leaf, int ordinal)
{
    file->removedAtPosition[index] = 1;
    for (int slot = index + 1; slot <= LAST_SLOT; ++slot) {
        if (file->leafPage[slot] != leaf || file->indexAtPosition[slot] == NO_POSITION) continue;
        if (file->positionInLeaf[slot] >= ordinal && file->positionInLeaf[slot] != -1) {
            --file->positionInLeaf[slot];
        }
    }
}

void correctForSplit(IndexFile* file, int leaf, int kept, int newLeaf)
{
    for (int slot = MIN_INDEX; slot <= LAST_SLOT; ++slot) {
        if (file->leafPage[slot] != leaf || file->indexAtPosition[slot] == NO_POSITION) continue;
        if (file->positionInLeaf[slot] >= kept) {
            file->leafPage[slot] = newLeaf;
            file->positionInLeaf[slot] -= kept;
        }
    }
}

KeptRequest keepRequest(const IndexFile* file)
{
    return {file->indexNumber, file->key, file->number, file->data, file->dataLength};
}

void putRequestBack(IndexFile* file, const KeptRequest* kept)
{
    file->indexNumber = kept->indexNumber;
    file->key = kept->key;
    file->number = kept->number;
    file->data = kept->data;
    file->dataLength = kept->dataLength;
}
