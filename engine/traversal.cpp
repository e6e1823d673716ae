// The operations that step. In shared mode a position is re-found by its key, for another
// process may have changed the tree since, unless its leaf is seen to be the same; in
// exclusive mode it is exact.
#include "engine/engine.h"
#include "engine/entry_find.h"
#include "engine/found_entry.h"
#include "engine/operation.h"
#include "engine/steps.h"

static int nothingThere(IndexFile* tree)
{
    clearFoundEntry(tree);
    return IX_NOT_FOUND;
}

// -- Forward -----------------------------------------------------------------

// Steps to the record behind a noted place when it begins in the same leaf. False, and
// nothing changed, when it has to be searched.
static bool stepWithinLeaf(IndexFile* tree, Position* position)
{
    NodeView leaf = {};
    LeafPlace place = leafPlaceOf(&tree->file, position, &leaf);
    if (place.entry == nullptr || !moveOnInLeaf(&place)) return false;
    standAtPlace(position, &leaf, &place);
    deliver(tree, position, place.entry, nullptr, 0);
    return true;
}

static int nextByKey(IndexFile* tree, int index, void* data, uint32_t length)
{
    Position* position = &tree->positions[index];
    if (length == 0 && stepWithinLeaf(tree, position)) return IX_OK;

    char key[KEY_BUFFER_SIZE];
    memcpy(key, position->key, sizeof key);
    int32_t number = position->number;

    char text[SOUGHT_KEY_SIZE];
    SoughtKey sought = keyBehindPosition(position, text);
    tree->ioError = 0;
    int result = findOnward(tree, index, &sought, data, length);
    if (result >= 0) return IX_OK;
    if (result == IX_BROKEN_RECORD) return result; // it was reached all the same

    // The next call is to try again from the same place.
    setPositionKey(position, key, number);
    return result;
}

static int nextByPlace(IndexFile* tree, int index, void* data, uint32_t length)
{
    Position* position = &tree->positions[index];
    if (position->index > index) return nothingThere(tree);
    // To the first segment of the next record; from before the start also over
    // entries of smaller indexes that came in between.
    StepCheck check = position->index < index ? ANY_KEY : ORDERED_KEY;
    Arrival arrival = {};
    do {
        arrival = stepForwardByPlace(&tree->file, position, check);
        check = ORDERED_KEY;
    } while (arrival.entry != nullptr &&
             ((position->segment & SEGMENT_ORDINAL) != 0 || position->index < index));
    if (arrival.result < IX_NOT_FOUND) return arrival.result;
    if (arrival.entry == nullptr || position->index != index) return nothingThere(tree);
    return deliver(tree, position, arrival.entry, data, length);
}

int ixNext(IndexFile* tree, int index, void* data, uint32_t length)
{
    int result = checkRequest(tree, index, data, length);
    if (result != IX_OK) return result;
    if (tree->positions[index].index == NO_POSITION) return ixFindFirst(tree, index, data, length);

    bool updating = false;
    result = beginMove(tree, index, &updating);
    if (result != IX_OK) return withStatus(tree, result);
    result = isExclusive(&tree->file) ? nextByPlace(tree, index, data, length)
                                      : nextByKey(tree, index, data, length);
    return withStatus(tree, resultOf(endMove(tree, updating), result));
}

void ixStepAlong(IndexFile* tree, int index, KeyBlock* keys)
{
    keys->count = 0;
    if (checkRequest(tree, index, nullptr, 0) != IX_OK) return;
    Position* position = &tree->positions[index];
    if (position->recordLock == LOCKED) return; // a step lets go of it first
    NodeView leaf = {};
    LeafPlace place = leafPlaceOf(&tree->file, position, &leaf);
    if (place.entry == nullptr) return;

    char* text = keys->texts; // the keys of a leaf together are shorter than its page
    while (moveOnInLeaf(&place)) {
        if (!place.firstOfKey) continue;
        size_t size = static_cast<size_t>(place.keyLength); // the zero byte for the index byte
        keys->starts[keys->count++] = static_cast<uint16_t>(text - keys->texts);
        memcpy(text, entryKey(place.entry) + 1, size);
        text += size;
    }
    if (keys->count == 0) return;
    standAtPlace(position, &leaf, &place);
    withStatus(tree, deliver(tree, position, place.entry, nullptr, 0));
}

// -- The entry at the position -----------------------------------------------

// The entry at the position, which nobody else can have changed.
static int readByPlace(IndexFile* tree, int index, void* data, uint32_t length)
{
    Position* position = &tree->positions[index];
    char text[SOUGHT_KEY_SIZE];
    SoughtKey here = keyAtPosition(position, text);
    NodeView leaf = {};
    int result = viewNode(&tree->file, position->leafPage, 0, &leaf);
    if (result != IX_OK) return result;

    if (position->ordinal < 0 || position->ordinal >= nodeCount(leaf.node)) {
        return nothingThere(tree);
    }
    const uint8_t* entry = entryAt(leaf.node, position->ordinal);
    if (compareEntry(entry, &here) != 0) return IX_DESCENT_FAILED;
    return deliver(tree, position, entry, data, length);
}

static int readByKey(IndexFile* tree, int index, void* data, uint32_t length)
{
    Position* position = &tree->positions[index];
    char key[KEY_BUFFER_SIZE];
    memcpy(key, position->key, sizeof key);
    int32_t number = position->number;
    int result = ixInnerFind(tree, index, FOR_RECORD, key, number, data, length);
    if (result == IX_OK) return IX_OK;

    setPositionKey(position, key, number);
    bool gone = result == IX_SAME_KEY || result == IX_GREATER_KEY || result == IX_NOT_FOUND;
    return gone ? IX_NO_CURRENT : result;
}

static int readAtPosition(IndexFile* tree, int index, void* data, uint32_t length)
{
    if (!standsOnEntry(&tree->positions[index])) return nothingThere(tree);
    return isExclusive(&tree->file) ? readByPlace(tree, index, data, length)
                                    : readByKey(tree, index, data, length);
}

int ixReadCurrent(IndexFile* tree, int index, void* data, uint32_t length)
{
    int result = checkRequest(tree, index, data, length);
    if (result != IX_OK) return result;
    if (ixBeginRead(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);
    result = readAtPosition(tree, index, data, length);
    return withStatus(tree, resultOf(ixEndRead(&tree->file), result));
}

// -- Back --------------------------------------------------------------------

// True when the key at the position is below the bound.
static bool isBelow(const Position* position, const SoughtKey* bound)
{
    int order = strcmp(position->key, bound->key + 1);
    return order < 0 || (order == 0 && position->number < bound->number);
}

// Steps back from a position whose place in the leaf is exact, to the first segment
// of the record before it. A position that was re-found by its key has to come out
// below the bound, or a walk over damaged leaves might never end; else bound is null.
static int previousByPlace(IndexFile* tree, int index, const SoughtKey* bound, void* data,
                           uint32_t length)
{
    Position* position = &tree->positions[index];
    // From past the end the way may lead over entries of greater indexes that came in
    // between; before the start there is nothing.
    StepCheck check = position->index > index ? ANY_KEY : ORDERED_KEY;
    Arrival arrival = {IX_NOT_FOUND, nullptr};
    bool arrived = position->index < index;
    while (!arrived) {
        arrival = stepBackByPlace(&tree->file, position, check);
        check = ORDERED_KEY;
        bool first = (position->segment & SEGMENT_ORDINAL) == 0 && position->index <= index;
        arrived = arrival.entry == nullptr || first;
    }
    if (arrival.result < IX_NOT_FOUND) return arrival.result;
    if (arrival.entry == nullptr || position->index != index) {
        standBeforeStart(position);
        return nothingThere(tree);
    }
    if (bound != nullptr && !isBelow(position, bound)) return IX_DESCENT_FAILED;
    return deliver(tree, position, arrival.entry, data, length);
}

// Makes the place of a shared-mode position exact again: the entry itself, or, for a
// position past the end or on a removed entry, the first entry behind it. *bound
// becomes the key that the entries before the position are below, built into text.
static int refindPosition(IndexFile* tree, int index, SoughtKey* bound, char* text)
{
    Position* position = &tree->positions[index];
    buildSoughtKey(text, index, position->key);
    *bound = {text, position->number, 0};
    if (position->index < index) return IX_OK;
    int result = readAtPosition(tree, index, nullptr, 0);
    if (result != IX_NOT_FOUND) return result == IX_NO_CURRENT ? IX_OK : result;

    *bound = keyBehindPosition(position, text);
    result = locate(&tree->file, position, bound, FOR_INDEX).result;
    return result < IX_NOT_FOUND ? result : IX_OK;
}

int ixPrevious(IndexFile* tree, int index, void* data, uint32_t length)
{
    int result = checkRequest(tree, index, data, length);
    if (result != IX_OK) return result;

    bool updating = false;
    result = beginMove(tree, index, &updating);
    if (result != IX_OK) return withStatus(tree, result);
    char text[SOUGHT_KEY_SIZE];
    SoughtKey bound = {};
    bool refinds = !isExclusive(&tree->file);
    if (refinds) result = refindPosition(tree, index, &bound, text);
    if (result == IX_OK) {
        result = previousByPlace(tree, index, refinds ? &bound : nullptr, data, length);
    }
    return withStatus(tree, resultOf(endMove(tree, updating), result));
}

int ixFindLast(IndexFile* tree, int index, void* data, uint32_t length)
{
    int result = checkRequest(tree, index, data, length);
    if (result != IX_OK) return result;

    bool updating = false;
    result = beginMove(tree, index, &updating);
    if (result != IX_OK) return withStatus(tree, result);
    const char next[] = {static_cast<char>(index + 1), 0};
    SoughtKey sought = {next, 0, 0}; // where the next index begins
    result = locate(&tree->file, &tree->positions[index], &sought, FOR_INDEX).result;
    if (result >= IX_NOT_FOUND) result = previousByPlace(tree, index, nullptr, data, length);
    return withStatus(tree, resultOf(endMove(tree, updating), result));
}
