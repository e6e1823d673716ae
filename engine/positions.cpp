#include "engine/positions.h"

#include <limits>

void buildSoughtKey(char* text, int index, const char* key)
{
    size_t length = strnlen(key, SOUGHT_KEY_SIZE - 2);
    text[0] = static_cast<char>(index);
    memcpy(text + 1, key, length);
    text[1 + length] = 0;
}

SoughtKey keyAtPosition(const Position* position, char* text)
{
    buildSoughtKey(text, position->index, position->key);
    return {text, position->number, position->segment};
}

SoughtKey keyBehindPosition(const Position* position, char* text)
{
    buildSoughtKey(text, position->home, position->key);
    if (position->number < std::numeric_limits<int32_t>::max()) {
        return {text, position->number + 1, 0};
    }
    size_t end = strlen(text);
    text[end] = 1;
    text[end + 1] = 0;
    return {text, 0, 0};
}

void standOn(Position* position, const uint8_t* entry)
{
    int keyLength = entryKeyLength(entry);
    const uint8_t* tail = entryTail(entry, keyLength);
    position->index = entryIndex(entry);
    // The zero byte takes the place of the index byte.
    memcpy(position->key, entryKey(entry) + 1, static_cast<size_t>(keyLength));
    position->number = loadInt32(tail);
    position->segment = tail[4];
    position->place.leafContent = 0;
}

static void standOutside(Position* position, int index, int32_t number)
{
    position->index = index;
    position->key[0] = 0;
    position->number = number;
    position->place.leafContent = 0;
}

void standPastEnd(Position* position)
{
    standOutside(position, position->home + 1, 0);
    position->segment = 0;
}

void standBeforeStart(Position* position)
{
    bool before = position->index < position->home;
    standOutside(position, before ? position->index : position->home - 1, -1);
}

void setPositionKey(Position* position, const char* key, int32_t number)
{
    size_t length = strnlen(key, MAX_KEY);
    memmove(position->key, key, length); // the key may be the position's own
    position->key[length] = 0;
    position->number = number;
    position->place.leafContent = 0;
}

bool standsOnEntry(const Position* position)
{
    return position->index == position->home && !position->removed;
}

const uint8_t* entryAtNotedPlace(OpenFile* file, const Position* position, NodeView* leaf)
{
    const NotedPlace* place = &position->place;
    bool reading = file->sharing.fileLock == LOCKED && !file->sharing.exclusively;
    if (!reading || place->leafContent == 0 || !standsOnEntry(position)) return nullptr;
    if (lastPageIfContent(file, leaf, place->leafContent)) return leaf->node + place->offset;
    if (viewNode(file, position->leafPage, 0, leaf) != IX_OK) return nullptr;
    return leaf->content == place->leafContent ? leaf->node + place->offset : nullptr;
}

// -- Corrections -------------------------------------------------------------

// True when the position is in the leaf and has to follow what happens there.
static bool isInLeaf(const Position* position, int leaf)
{
    return position->leafPage == leaf && position->index != NO_POSITION;
}

void correctForInsertion(IndexFile* tree, int index, int leaf, int ordinal)
{
    for (int slot = index + 1; slot < INDEX_SLOTS; ++slot) {
        Position* other = &tree->positions[slot];
        if (!isInLeaf(other, leaf)) continue;
        // At or before the place, only a position on an entry of a later index has
        // been pushed along, or one that rests before such an entry it removed.
        if (other->ordinal > ordinal || other->index > index) ++other->ordinal;
    }
}

void correctForRemoval(IndexFile* tree, int index, int leaf, int ordinal)
{
    tree->positions[index].removed = true;
    for (int slot = index + 1; slot < INDEX_SLOTS; ++slot) {
        Position* other = &tree->positions[slot];
        if (isInLeaf(other, leaf) && other->ordinal >= ordinal) {
            --other->ordinal;
        }
    }
}

void correctForSplit(IndexFile* tree, int leaf, int kept, int newLeaf)
{
    for (int slot = MIN_INDEX; slot < INDEX_SLOTS; ++slot) {
        Position* position = &tree->positions[slot];
        if (!isInLeaf(position, leaf) || position->ordinal < kept) continue;
        position->leafPage = newLeaf;
        position->ordinal -= kept;
    }
}
