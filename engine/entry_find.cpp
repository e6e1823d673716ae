#include "engine/entry_find.h"

#include "engine/descent.h"
#include "engine/found_entry.h"
#include "engine/segments.h"

int deliver(IndexFile* tree, const Position* position, const uint8_t* entry, void* data,
            uint32_t length)
{
    takeEntry(tree, entry);
    return readRecordAt(tree, position, entry, data, length);
}

// Delivers what a search has reached, unless that is past the end of the index.
static int deliverArrival(IndexFile* tree, int index, const Arrival& arrival,
                          const SoughtKey* sought, void* data, uint32_t length)
{
    Position* position = &tree->positions[index];
    bool past =
        arrival.entry == nullptr ? arrival.result == IX_NOT_FOUND : position->index != index;
    if (past) {
        clearFoundEntry(tree);
        // The key of a later index would mislead the next step from here.
        setPositionKey(position, sought->key + 1, sought->number);
        return IX_NOT_FOUND;
    }
    if (arrival.entry == nullptr) return arrival.result;
    int read = deliver(tree, position, arrival.entry, data, length);
    return read != IX_OK ? read : arrival.result;
}

int findSought(IndexFile* tree, int index, const SoughtKey* sought, SearchFor what, void* data,
               uint32_t length)
{
    Arrival arrival = locateHere(&tree->file, &tree->positions[index], sought, what);
    return deliverArrival(tree, index, arrival, sought, data, length);
}

int findOnward(IndexFile* tree, int index, const SoughtKey* sought, void* data, uint32_t length)
{
    Arrival arrival = locateOnward(&tree->file, &tree->positions[index], sought, FOR_INDEX);
    return deliverArrival(tree, index, arrival, sought, data, length);
}

int ixInnerFind(IndexFile* tree, int index, SearchFor what, const char* key, int32_t number,
                void* data, uint32_t length)
{
    if (strlen(key) > MAX_KEY) return IX_NOT_FOUND;
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, key); // before anything moves: the key may be the position's
    tree->ioError = 0;
    SoughtKey sought = {text, number, 0}; // the first segment of a record
    return findSought(tree, index, &sought, what, data, length);
}
