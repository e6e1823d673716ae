// Storing entries and records. A record too long for one entry is cut into
// segments, each an entry of its own.
#include "engine/entry_store.h"

#include "engine/node_insert.h"
#include "engine/torn_leaf.h"

// Stores one entry. 0, IX_EXISTS when the record's first entry exists already and the mode
// forbids it, or a failure code.
static int storeEntry(IndexFile* tree, int mode, const SoughtKey* key, const uint8_t* data,
                      int length)
{
    int index = static_cast<uint8_t>(key->key[0]);
    Position* position = &tree->positions[index];
    Descent way;
    if (!descendToChange(tree, key, &way)) return IX_DESCENT_FAILED;
    standAtEndOf(&way, position);

    bool first = (key->segment & SEGMENT_ORDINAL) == 0;
    bool exists = !isEndMarker(way.entry) && compareEntry(way.entry, key) == 0;
    if (first && mode == STORE_NEW && exists) return IX_EXISTS;

    uint8_t entry[MAX_ENTRY_SIZE];
    buildEntry(entry, key->key, key->number, key->segment, data, length);
    return insertEntry(tree, index, entry);
}

static int storeSegments(IndexFile* tree, int mode, SoughtKey* key, const uint8_t* data, int length)
{
    int room = SEGMENT_ROOM - static_cast<int>(strlen(key->key));
    int stored = 0;
    int ordinal = 0;
    do {
        int part = length - stored;
        bool last = part <= room;
        if (!last) part = room;
        key->segment = static_cast<uint8_t>(last ? ordinal | LAST_SEGMENT : ordinal);
        int result = storeEntry(tree, mode, key, data + stored, part);
        if (result != IX_OK) return result;
        stored += part;
        ++ordinal;
    } while (stored < length);

    if (ordinal > 1) {
        SoughtKey first = {key->key, key->number, 0};
        locate(&tree->file, &tree->positions[static_cast<uint8_t>(key->key[0])], &first,
               FOR_RECORD);
    }
    return IX_OK;
}

bool mayBeStored(int index, const char* key, const void* data, uint32_t length)
{
    uintptr_t start = reinterpret_cast<uintptr_t>(data);
    return index >= MIN_INDEX && index <= MAX_INDEX && strlen(key) <= MAX_STORED_KEY &&
           length < static_cast<uint32_t>(RECORD_LIMIT) && start + length >= start;
}

int storeRecord(IndexFile* tree, int mode, int index, const char* key, int32_t number,
                const void* data, uint32_t length)
{
    if (!mayBeStored(index, key, data, length)) return IX_BAD_ARGUMENT;
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, key);
    SoughtKey sought = {text, number, LAST_SEGMENT};
    tree->ioError = 0;
    int result = storeSegments(tree, mode, &sought, static_cast<const uint8_t*>(data),
                               static_cast<int>(length));
    tree->ioError = result;
    // What was stored of a record that could not be stored whole goes again.
    if (result != IX_OK && result != IX_EXISTS) ixInnerDelete(tree, index, text + 1, number);
    return result;
}
