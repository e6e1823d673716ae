// Storing entries and records. A record too long for one entry is cut into
// segments, each an entry of its own.
#include "engine/store.h"

#include "engine/delete.h"
#include "engine/key_search.h"
#include "engine/node_insert.h"
#include "engine/traversal.h"

// Stores one entry. 0, IX_NOT_FOUND when the record's first entry exists already
// and the mode forbids it, or a failure code.
static int storeEntry(IndexFile* file, int mode, const SoughtKey* key, const uint8_t* data,
                      int length)
{
    int index = static_cast<uint8_t>(key->key[0]);
    Descent way;
    const uint8_t* found = descend(file, index, key, &way);
    if (found == nullptr) return IX_DESCENT_FAILED;

    bool first = (key->segment & SEGMENT_ORDINAL) == 0;
    bool exists = !isEndMarker(found) && compareEntry(found, key) == 0;
    if (first && mode == STORE_NEW && exists) return IX_NOT_FOUND;

    uint8_t entry[MAX_ENTRY_SIZE];
    buildEntry(entry, key->key, key->number, key->segment, data, length);
    int result = insertEntry(file, index, entry);
    file->removedAtPosition[index] = 0;
    return result;
}

static int storeSegments(IndexFile* file, int mode, SoughtKey* key, const uint8_t* data, int length)
{
    int room = SEGMENT_ROOM - static_cast<int>(strlen(key->key));
    int stored = 0;
    int ordinal = 0;
    do {
        int part = length - stored;
        bool last = part <= room;
        if (!last) part = room;
        key->segment = static_cast<uint8_t>(last ? ordinal | LAST_SEGMENT : ordinal);
        int result = storeEntry(file, mode, key, data + stored, part);
        if (result != IX_OK) return result;
        stored += part;
        ++ordinal;
    } while (stored < length);

    // The position belongs on the record's first segment.
    int index = static_cast<uint8_t>(key->key[0]);
    for (int steps = 1; steps < ordinal; ++steps) {
        if (stepBack(file, index) < 0) break;
    }
    return IX_OK;
}

// The store inside its update, arguments checked.
static int storeRecord(IndexFile* file, int mode)
{
    KeptRequest request = keepRequest(file);
    int index = request.indexNumber;
    bool updating = false;
    int result = beginMove(file, index, &updating);
    if (result != IX_OK) return result;

    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, request.key);
    SoughtKey key = {text, request.number, LAST_SEGMENT};
    file->ioError = 0;
    int length = static_cast<int>(request.dataLength);
    result = length == 0 ? storeEntry(file, mode, &key, nullptr, 0)
                         : storeSegments(file, mode, &key, request.data, length);
    putRequestBack(file, &request);
    if (length > 0) file->ioError = result;

    if (result == IX_SHORT_WRITE) {
        // The file is full: what was stored of the record goes again.
        int undone = deleteByKey(file, index, text + 1, request.number);
        if (undone != IX_OK && undone != IX_NOT_FOUND) result = undone;
        putRequestBack(file, &request);
    }
    int ended = endMove(file, updating);
    return ended != 0 ? ended : result;
}

static bool requestIsInLimits(const IndexFile* file)
{
    uintptr_t start = reinterpret_cast<uintptr_t>(file->data);
    if (file->indexNumber < MIN_INDEX || file->indexNumber > MAX_INDEX) return false;
    if (file->dataLength >= static_cast<uint32_t>(RECORD_LIMIT)) return false;
    if (start + file->dataLength < start) return false;
    return strlen(file->key) <= MAX_STORED_KEY;
}

int ixStore(IndexFile* file, int mode)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);

    int result = requestIsInLimits(file) ? storeRecord(file, mode) : IX_BAD_ARGUMENT;
    bool lone = file->dataLength == 0;
    int ended = ixEndUpdate(file);
    if (ended != 0 && !(lone && result == IX_PAGE_IO)) result = ended;
    return withStatus(file, result);
}

static void fillRequest(IndexFile* file, int index, const char* key, int32_t number,
                        const void* data, uint32_t length)
{
    file->indexNumber = index;
    file->key = key;
    file->number = number;
    file->data = static_cast<uint8_t*>(const_cast<void*>(data)); // only read from here on
    file->dataLength = length;
}

int ixAdd(IndexFile* file, int index, const char* key, int32_t number, const void* data,
          uint32_t length)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    fillRequest(file, index, key, number, data, length);
    return ixStore(file, STORE_NEW);
}

int ixAddUnique(IndexFile* file, int index, const char* key, int32_t number, const void* data,
                uint32_t length)
{
    int result = checkRequest(file, index, data, length);
    if (result != IX_OK) return result;
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);

    result = ixFind(file, index, key, 0, nullptr, 0);
    if (result == IX_OK || result == IX_SAME_KEY) {
        result = IX_NOT_FOUND;
    } else if (result == IX_GREATER_KEY || result == IX_NOT_FOUND) {
        fillRequest(file, index, key, number, data, length);
        result = ixStore(file, STORE_UNCHECKED);
    }
    int ended = ixEndUpdate(file);
    return withStatus(file, ended != 0 ? ended : result);
}
