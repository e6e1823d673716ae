// Sequential traversal. In shared mode a position is re-found by its key, for
// another process may have changed the tree since, unless its leaf is seen to be the
// same; in exclusive mode it is exact.
#include "engine/traversal.h"

#include "engine/key_search.h"
#include "engine/record_data.h"

#include <limits>

// The key at the position as a sought key; the text must live as long.
static SoughtKey keyAtPosition(const IndexFile* file, int index, char* text)
{
    buildSoughtKey(text, file->indexAtPosition[index], file->keyBuffer[index]);
    return {text, file->numberAtPosition[index], file->segmentAtPosition[index]};
}

// -- Single steps ------------------------------------------------------------

// Each step leads to a greater, or smaller, key, so that every walk ends. Only a
// position outside its index has no key of its own to compare with.
enum StepCheck { ANY_KEY, ORDERED_KEY };

static int stepForwardByPlace(IndexFile* file, int index, StepCheck check)
{
    char text[SOUGHT_KEY_SIZE];
    SoughtKey before = keyAtPosition(file, index, text);
    KeptPosition start;
    keepPosition(file, index, &start);
    NodeView leaf = {};
    int result = viewNode(file, file->leafPage[index], 0, &leaf);
    if (result != IX_OK) return withStatus(file, result);

    const uint8_t* entry = entryAt(leaf.node, ++file->positionInLeaf[index]);
    if (file->positionInLeaf[index] >= nodeCount(leaf.node)) {
        entry = nextNonEmptyLeaf(file, index, &leaf);
    }
    if (entry == nullptr) {
        putPositionBack(file, index, &start); // the next step is to start there again
        return withStatus(file, IX_DESCENT_FAILED);
    }

    file->removedAtPosition[index] = 0;
    if (isEndMarker(entry)) {
        ++file->indexAtPosition[index];
        clearCurrentEntry(file);
        return withStatus(file, IX_NOT_FOUND);
    }
    bool ordered = check == ANY_KEY || compareWithSegments(entry, &before) > 0;
    if (!ordered) return withStatus(file, IX_DESCENT_FAILED);
    takeEntry(file, entry);
    setPosition(file, index, entry);
    return withStatus(file, IX_OK);
}

int stepForward(IndexFile* file, int index)
{
    if (file->openMode == OPEN_EXCLUSIVE) return stepForwardByPlace(file, index, ORDERED_KEY);

    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, file->keyBuffer[index]);
    uint8_t nextSegment = static_cast<uint8_t>(file->segmentAtPosition[index] + 1);
    SoughtKey sought = {text, file->numberAtPosition[index], nextSegment};
    return locateOnward(file, index, &sought);
}

// Moves to the last entry of the nearest leaf to the left of this one that has any.
// Null when there is none (*result IX_NOT_FOUND) or on failure.
static const uint8_t* lastOfPreviousLeaf(IndexFile* file, int index, NodeView* leaf, int* result)
{
    *result = IX_DESCENT_FAILED;
    for (int moves = 0; moves <= file->pagesInFile; ++moves) {
        int page = nodePreviousPage(leaf->node);
        if (page == NO_PAGE) {
            *result = IX_NOT_FOUND;
            return nullptr;
        }
        if (viewNode(file, page, 0, leaf) != IX_OK) return nullptr;
        file->leafPage[index] = page;
        int last = nodeCount(leaf->node) - 1;
        if (last >= 0) {
            file->positionInLeaf[index] = last;
            *result = IX_OK;
            return entryAt(leaf->node, last);
        }
    }
    return nullptr;
}

static int stepBackByPlace(IndexFile* file, int index, StepCheck check)
{
    char text[SOUGHT_KEY_SIZE];
    SoughtKey before = keyAtPosition(file, index, text);
    KeptPosition start;
    keepPosition(file, index, &start);
    NodeView leaf = {};
    int result = viewNode(file, file->leafPage[index], 0, &leaf);
    if (result != IX_OK) return withStatus(file, result);

    int* ordinal = &file->positionInLeaf[index];
    // A removal has moved the position to the entry before the removed one.
    bool alreadyBack = file->removedAtPosition[index] == 1 && *ordinal != -1;
    if (!alreadyBack && *ordinal != -1) --*ordinal;

    const uint8_t* entry = nullptr;
    if (*ordinal == -1) {
        entry = lastOfPreviousLeaf(file, index, &leaf, &result);
    } else if (*ordinal < nodeCount(leaf.node)) {
        entry = entryAt(leaf.node, *ordinal);
    } else {
        result = IX_DESCENT_FAILED; // the leaf has fewer entries than the position says
    }

    if (result == IX_DESCENT_FAILED) {
        putPositionBack(file, index, &start);
        return withStatus(file, result);
    }
    file->removedAtPosition[index] = 0;
    if (entry == nullptr) {
        --file->indexAtPosition[index];
        clearCurrentEntry(file);
        return withStatus(file, IX_NOT_FOUND);
    }
    // A position that rests before its key may have that very key again.
    int order = compareWithSegments(entry, &before);
    bool ordered = check == ANY_KEY || order < 0 || (order == 0 && alreadyBack);
    if (!ordered) return withStatus(file, IX_DESCENT_FAILED);
    takeEntry(file, entry);
    setPosition(file, index, entry);
    return withStatus(file, IX_OK);
}

int stepBack(IndexFile* file, int index) { return stepBackByPlace(file, index, ORDERED_KEY); }

// -- Operations --------------------------------------------------------------

// Delivers the record at the position.
static int deliver(IndexFile* file, int index, void* data, uint32_t length)
{
    int result = readRecordAtPosition(file, index, static_cast<uint8_t*>(data), length);
    file->data = static_cast<uint8_t*>(data);
    file->key = reinterpret_cast<const char*>(file->currentEntry) + 1;
    return result;
}

int ixFindFirst(IndexFile* file, int index, void* data, uint32_t length)
{
    int result = ixFind(file, index, "", 0, data, length);
    return result < 0 ? result : withStatus(file, IX_OK);
}

// The lowest key behind the position: its key string with a higher number, or the
// next greater key string.
static SoughtKey keyBehindPosition(const IndexFile* file, int index, char* text)
{
    buildSoughtKey(text, index, file->keyBuffer[index]);
    int32_t number = file->numberAtPosition[index];
    if (number < std::numeric_limits<int32_t>::max()) return {text, number + 1, 0};

    size_t end = strlen(text);
    text[end] = 1;
    text[end + 1] = 0;
    return {text, 0, 0};
}

// True when the two entries belong to one record.
static bool sameRecord(const uint8_t* entry, const uint8_t* other)
{
    return entryNumber(entry) == entryNumber(other) &&
           strcmp(entryKey(entry), entryKey(other)) == 0;
}

// An entry of a leaf, and whether it is known that no entry before it has its key.
struct LeafPlace {
    const uint8_t* entry;
    int ordinal;
    bool firstOfKey;
};

// Moves to the first entry of the record behind the place. False, and nothing changed,
// when it does not begin in the same leaf: it has to be searched.
static bool moveOnInLeaf(LeafPlace* place)
{
    const uint8_t* here = place->entry;
    const uint8_t* entry = nextEntry(here);
    int ordinal = place->ordinal + 1;
    while (!isEndMarker(entry) && (entrySegment(entry) & SEGMENT_ORDINAL) != 0 &&
           sameRecord(entry, here)) {
        entry = nextEntry(entry);
        ++ordinal;
    }
    if (isEndMarker(entry) || entryIndex(entry) != entryIndex(here)) return false;
    int order = strcmp(entryKey(entry), entryKey(here));
    bool onward = order > 0 || (order == 0 && entryNumber(entry) > entryNumber(here));
    if (onward) *place = {entry, ordinal, order != 0};
    return onward;
}

// Makes a place in the leaf of the position, which is a noted one, the position.
static void arriveAtPlace(IndexFile* file, int index, const NodeView* leaf, const LeafPlace* to)
{
    NotedPlace place = file->notedPlace[index];
    place.offset = static_cast<uint16_t>(to->entry - leaf->node);
    place.firstOfKey = to->firstOfKey ? 1 : 0;
    file->positionInLeaf[index] = to->ordinal;
    arriveAt(file, index, to->entry);
    file->notedPlace[index] = place;
}

// Steps to the record behind a noted place when it begins in the same leaf. False, and
// nothing changed, when it has to be searched.
static bool stepWithinLeaf(IndexFile* file, int index)
{
    NodeView leaf = {};
    LeafPlace place = {entryAtNotedPlace(file, index, &leaf), file->positionInLeaf[index], false};
    if (place.entry == nullptr || !moveOnInLeaf(&place)) return false;
    arriveAtPlace(file, index, &leaf, &place);
    return true;
}

void recordStepAlong(IndexFile* file, int index, KeyBlock* keys)
{
    keys->count = 0;
    if (checkRequest(file, index, nullptr, 0) != IX_OK) return;
    if (file->recordLockState[index] == LOCKED) return; // a step lets go of it first
    NodeView leaf = {};
    LeafPlace place = {entryAtNotedPlace(file, index, &leaf), file->positionInLeaf[index], false};
    if (place.entry == nullptr) return;

    char* text = keys->texts; // the keys of a leaf together are shorter than its page
    while (moveOnInLeaf(&place)) {
        size_t size = static_cast<size_t>(entryKeyLength(place.entry)); // index byte included
        memcpy(text, entryKey(place.entry) + 1, size);
        text += size;
        ++keys->count;
    }
    if (keys->count == 0) return;
    file->indexNumber = index;
    arriveAtPlace(file, index, &leaf, &place);
    file->currentRecordNumber = file->number;
    withStatus(file, deliver(file, index, nullptr, 0));
}

static int nextByKey(IndexFile* file, int index, void* data, uint32_t length)
{
    if (length == 0 && stepWithinLeaf(file, index)) return deliver(file, index, data, length);

    char key[KEY_BUFFER_SIZE];
    memcpy(key, file->keyBuffer[index], sizeof key);
    int32_t number = file->numberAtPosition[index];

    char text[SOUGHT_KEY_SIZE];
    SoughtKey sought = keyBehindPosition(file, index, text);
    int result = findSought(file, index, &sought, FROM_POSITION, data, length);
    if (result >= 0) return IX_OK;

    // The next call is to try again from the same place.
    setPositionKey(file, index, key, number);
    return result;
}

static int nextByPlace(IndexFile* file, int index, void* data, uint32_t length)
{
    if (file->indexAtPosition[index] > index) {
        clearCurrentEntry(file);
        return IX_NOT_FOUND;
    }
    // To the first segment of the next record; from before the start also over
    // entries of smaller indexes that came in between.
    StepCheck check = file->indexAtPosition[index] < index ? ANY_KEY : ORDERED_KEY;
    int result = IX_OK;
    do {
        result = stepForwardByPlace(file, index, check);
        check = ORDERED_KEY;
    } while (result == IX_OK &&
             ((file->segment & SEGMENT_ORDINAL) != 0 || file->indexAtPosition[index] < index));
    if (result < IX_NOT_FOUND) return result;
    if (result != IX_OK || file->indexAtPosition[index] != index) {
        clearCurrentEntry(file);
        return IX_NOT_FOUND;
    }
    return deliver(file, index, data, length);
}

int ixNext(IndexFile* file, int index, void* data, uint32_t length)
{
    int result = checkRequest(file, index, data, length);
    if (result != IX_OK) return result;
    if (file->indexAtPosition[index] == NO_POSITION) return ixFindFirst(file, index, data, length);

    bool updating = false;
    result = beginMove(file, index, &updating);
    if (result != IX_OK) return withStatus(file, result);
    file->indexNumber = index;
    file->data = static_cast<uint8_t*>(data);
    result = file->openMode == OPEN_SHARED ? nextByKey(file, index, data, length)
                                           : nextByPlace(file, index, data, length);
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : result);
}

// True when the key at the position is below the bound.
static bool positionIsBelow(const IndexFile* file, int index, const SoughtKey* bound)
{
    int order = strcmp(file->keyBuffer[index], bound->key + 1);
    return order < 0 || (order == 0 && file->numberAtPosition[index] < bound->number);
}

// Steps back from a position whose place in the leaf is exact, to the first segment
// of the record before it. A position that was re-found by its key has to come out
// below the bound, or a walk over damaged leaves might never end; else bound is null.
static int previousByPlace(IndexFile* file, int index, const SoughtKey* bound, void* data,
                           uint32_t length)
{
    // Before the start there is nothing; from past the end the way may lead over
    // entries of greater indexes that came in between.
    StepCheck check = file->indexAtPosition[index] > index ? ANY_KEY : ORDERED_KEY;
    int result = file->indexAtPosition[index] < index ? IX_NOT_FOUND : IX_OK;
    bool arrived = false;
    while (result == IX_OK && !arrived) {
        result = stepBackByPlace(file, index, check);
        check = ORDERED_KEY;
        arrived = (file->segment & SEGMENT_ORDINAL) == 0 && file->indexAtPosition[index] <= index;
    }
    if (result < IX_NOT_FOUND) return result;
    if (result != IX_OK || file->indexAtPosition[index] != index) {
        clearCurrentEntry(file);
        setPositionBeforeStart(file, index);
        return IX_NOT_FOUND;
    }
    if (bound != nullptr && !positionIsBelow(file, index, bound)) return IX_DESCENT_FAILED;
    return deliver(file, index, data, length);
}

// Makes the place of a shared-mode position exact again: the entry itself, or, for a
// position past the end or on a removed entry, the first entry behind it. *bound
// becomes the key that the entries before the position are below, built into text.
static int refindPosition(IndexFile* file, int index, SoughtKey* bound, char* text)
{
    buildSoughtKey(text, index, file->keyBuffer[index]);
    *bound = {text, file->numberAtPosition[index], 0};
    if (file->indexAtPosition[index] < index) return IX_OK;
    int result = ixReadCurrent(file, index, nullptr, 0);
    if (result != IX_NOT_FOUND) return result == IX_NO_CURRENT ? IX_OK : result;

    *bound = keyBehindPosition(file, index, text);
    result = locate(file, index, bound);
    return result < IX_NOT_FOUND ? result : IX_OK;
}

int ixPrevious(IndexFile* file, int index, void* data, uint32_t length)
{
    int result = checkRequest(file, index, data, length);
    if (result != IX_OK) return result;

    bool updating = false;
    result = beginMove(file, index, &updating);
    if (result != IX_OK) return withStatus(file, result);
    file->indexNumber = index;
    file->data = static_cast<uint8_t*>(data);
    char text[SOUGHT_KEY_SIZE];
    SoughtKey bound = {};
    bool refinds = file->openMode == OPEN_SHARED;
    if (refinds) result = refindPosition(file, index, &bound, text);
    if (result == IX_OK) {
        result = previousByPlace(file, index, refinds ? &bound : nullptr, data, length);
    }
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : result);
}

int ixFindLast(IndexFile* file, int index, void* data, uint32_t length)
{
    int result = checkRequest(file, index, data, length);
    if (result != IX_OK) return result;

    bool updating = false;
    result = beginMove(file, index, &updating);
    if (result != IX_OK) return withStatus(file, result);
    file->indexNumber = index;
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index + 1, "");
    SoughtKey sought = {text, 0, 0};
    result = locate(file, index, &sought);
    if (result >= IX_NOT_FOUND) result = previousByPlace(file, index, nullptr, data, length);
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : result);
}

// The entry at the position, which nobody else can have changed.
static int readByPlace(IndexFile* file, int index, void* data, uint32_t length)
{
    char text[SOUGHT_KEY_SIZE];
    SoughtKey here = keyAtPosition(file, index, text);
    NodeView leaf = {};
    int result = viewNode(file, file->leafPage[index], 0, &leaf);
    if (result != IX_OK) return result;

    int ordinal = file->positionInLeaf[index];
    if (ordinal < 0 || ordinal >= nodeCount(leaf.node)) {
        clearCurrentEntry(file);
        return IX_NOT_FOUND;
    }
    const uint8_t* entry = entryAt(leaf.node, ordinal);
    if (compareEntry(entry, &here) != 0) return IX_DESCENT_FAILED;
    takeEntry(file, entry);
    return deliver(file, index, data, length);
}

static int readByKey(IndexFile* file, int index, void* data, uint32_t length)
{
    char key[KEY_BUFFER_SIZE];
    memcpy(key, file->keyBuffer[index], sizeof key);
    int32_t number = file->numberAtPosition[index];
    const char* callersKey = file->key;

    int32_t internalCall = file->internalCall;
    file->internalCall = 1; // the record lock stays
    int result = ixFind(file, index, key, number, data, length);
    file->internalCall = internalCall;
    if (result == IX_OK) return IX_OK;

    if (file->key == key) file->key = callersKey;
    setPositionKey(file, index, key, number);
    bool gone = result == IX_SAME_KEY || result == IX_GREATER_KEY || result == IX_NOT_FOUND;
    return gone ? IX_NO_CURRENT : result;
}

int ixReadCurrent(IndexFile* file, int index, void* data, uint32_t length)
{
    int result = checkRequest(file, index, data, length);
    if (result != IX_OK) return result;
    if (ixBeginRead(file) != 0) return withStatus(file, IX_FILE_LOCK);

    file->indexNumber = index;
    file->data = static_cast<uint8_t*>(data);
    if (file->indexAtPosition[index] != index || file->removedAtPosition[index] == 1) {
        clearCurrentEntry(file);
        result = IX_NOT_FOUND;
    } else {
        result = file->openMode == OPEN_SHARED ? readByKey(file, index, data, length)
                                               : readByPlace(file, index, data, length);
    }
    int ended = ixEndRead(file);
    return withStatus(file, ended != 0 ? ended : result);
}
