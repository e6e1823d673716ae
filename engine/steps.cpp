#include "engine/steps.h"

static Arrival failed(int result) { return {result, nullptr}; }
static Arrival damaged(OpenFile* file) { return failed(inTrouble(file, IX_DESCENT_FAILED)); }

// -- Along the leaf chain ----------------------------------------------------

// Where a step starts: the place, its leaf and the key that it leaves behind.
struct StepStart {
    Position place;
    NodeView leaf;
    SoughtKey key;
    char keyText[SOUGHT_KEY_SIZE];
};

static int startStep(OpenFile* file, const Position* position, StepStart* start)
{
    start->place = *position;
    start->leaf = {};
    start->key = keyAtPosition(position, start->keyText);
    return viewNode(file, position->leafPage, 0, &start->leaf);
}

Arrival stepForwardByPlace(OpenFile* file, Position* position, StepCheck check)
{
    StepStart start;
    int result = startStep(file, position, &start);
    if (result != IX_OK) return failed(result);

    const uint8_t* entry = entryAt(start.leaf.node, ++position->ordinal);
    if (position->ordinal >= nodeCount(start.leaf.node)) {
        entry = nextNonEmptyLeaf(file, position, &start.leaf);
    }
    if (entry == nullptr) {
        *position = start.place; // the next step is to start there again
        return damaged(file);
    }

    position->removed = false;
    if (isEndMarker(entry)) {
        position->index = position->home + 1; // also from before the start of an empty index
        return failed(IX_NOT_FOUND);
    }
    bool ordered = check == ANY_KEY || compareWithSegments(entry, &start.key) > 0;
    if (!ordered) return damaged(file);
    standOn(position, entry);
    return {IX_OK, entry};
}

// From a leaf on to the one that leads to the page, while the next one holds entries below the
// bound: where a process was killed, the page may not know the leaf before it yet.
static bool catchUp(OpenFile* file, int* page, NodeView* leaf, int before, const SoughtKey* bound)
{
    for (int moves = 0; moves <= file->header.pagesInFile; ++moves) {
        int next = nodeNextPage(leaf->node);
        if (next == before || next == NO_PAGE || bound == nullptr) return true;
        if (peekNode(file, next, 0) != IX_OK) return false;
        const uint8_t* node = engineState.peekBuffer;
        if (nodeCount(node) == 0 || compareWithSegments(firstEntry(node), bound) >= 0) return true;
        if (viewNode(file, next, 0, leaf) != IX_OK) return false;
        *page = next;
    }
    return false;
}

// Ordinal of the last entry of the leaf, of those below the bound when there is one; -1 for none.
static int lastOrdinal(const uint8_t* leaf, const SoughtKey* bound)
{
    int last = nodeCount(leaf) - 1;
    while (bound != nullptr && last >= 0 && compareWithSegments(entryAt(leaf, last), bound) >= 0) {
        --last;
    }
    return last;
}

// Moves to the last entry of the nearest leaf to the left of this one that has any below the
// bound. IX_NOT_FOUND when there is none.
static Arrival lastOfPreviousLeaf(OpenFile* file, Position* position, NodeView* leaf,
                                  const SoughtKey* bound)
{
    for (int moves = 0; moves <= file->header.pagesInFile; ++moves) {
        int page = nodePreviousPage(leaf->node);
        if (page == NO_PAGE) return failed(IX_NOT_FOUND);
        if (viewNode(file, page, 0, leaf) != IX_OK) break;
        if (!catchUp(file, &page, leaf, position->leafPage, bound)) break;
        position->leafPage = page;
        int last = lastOrdinal(leaf->node, bound);
        if (last >= 0) {
            position->ordinal = last;
            return {IX_OK, entryAt(leaf->node, last)};
        }
    }
    return damaged(file);
}

// The entry before the one at the position, or the one at it after a removal, which has
// moved the position back already.
static Arrival entryBefore(OpenFile* file, Position* position, NodeView* leaf, bool alreadyBack,
                           const SoughtKey* bound)
{
    if (!alreadyBack && position->ordinal != -1) --position->ordinal;
    if (position->ordinal == -1) return lastOfPreviousLeaf(file, position, leaf, bound);
    // The leaf may have fewer entries than the position says.
    if (position->ordinal >= nodeCount(leaf->node)) return damaged(file);
    return {IX_OK, entryAt(leaf->node, position->ordinal)};
}

Arrival stepBackByPlace(OpenFile* file, Position* position, StepCheck check)
{
    StepStart start;
    int result = startStep(file, position, &start);
    if (result != IX_OK) return failed(result);

    bool alreadyBack = position->removed && position->ordinal != -1;
    const SoughtKey* bound = check == ORDERED_KEY ? &start.key : nullptr;
    Arrival arrival = entryBefore(file, position, &start.leaf, alreadyBack, bound);
    if (arrival.result == IX_DESCENT_FAILED) {
        *position = start.place;
        return arrival;
    }
    position->removed = false;
    if (arrival.entry == nullptr) {
        --position->index;
        return arrival;
    }
    // A position that rests before its key may have that very key again.
    int order = compareWithSegments(arrival.entry, &start.key);
    bool ordered = check == ANY_KEY || order < 0 || (order == 0 && alreadyBack);
    if (!ordered) return damaged(file);
    standOn(position, arrival.entry);
    return arrival;
}

static bool sameRecord(const uint8_t* entry, const uint8_t* other)
{
    return entryNumber(entry) == entryNumber(other) &&
           strcmp(entryKey(entry), entryKey(other)) == 0;
}

// The next segment of the entry's record where it is the next entry of the leaf, or null.
static const uint8_t* segmentBehind(const uint8_t* entry)
{
    const uint8_t* next = nextEntry(entry);
    if (isEndMarker(next) || entryIndex(next) != entryIndex(entry)) return nullptr;
    int step = (entrySegment(next) & SEGMENT_ORDINAL) - (entrySegment(entry) & SEGMENT_ORDINAL);
    return step == 1 && sameRecord(next, entry) ? next : nullptr;
}

Arrival stepToNextSegment(OpenFile* file, Position* position, const uint8_t* entry)
{
    const uint8_t* behind = segmentBehind(entry);
    if (behind != nullptr) {
        ++position->ordinal;
        position->segment = entrySegment(behind);
        position->place.offset = static_cast<uint16_t>(position->place.offset + (behind - entry));
        return {IX_OK, behind};
    }
    if (isExclusive(file)) return stepForwardByPlace(file, position, ORDERED_KEY);

    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, position->home, position->key);
    uint8_t nextSegment = static_cast<uint8_t>(position->segment + 1);
    SoughtKey sought = {text, position->number, nextSegment};
    return locateOnward(file, position, &sought, FOR_RECORD);
}

// -- Within a leaf -----------------------------------------------------------

bool moveOnInLeaf(LeafPlace* place)
{
    const uint8_t* here = place->entry;
    const uint8_t* entry = here;
    int ordinal = place->ordinal;
    int keyLength = 0;
    uint8_t segment = 0;
    do {
        entry = nextEntry(entry);
        ++ordinal;
        if (isEndMarker(entry)) return false;
        keyLength = entryKeyLength(entry);
        segment = entryTail(entry, keyLength)[4];
    } while ((segment & SEGMENT_ORDINAL) != 0 && sameRecord(entry, here));
    if (entryIndex(entry) != entryIndex(here)) return false;
    int order = strcmp(entryKey(entry), entryKey(here));
    bool onward = order > 0 || (order == 0 && entryNumber(entry) > entryNumber(here));
    if (onward) *place = {entry, ordinal, order != 0, keyLength};
    return onward;
}

LeafPlace leafPlaceOf(OpenFile* file, const Position* position, NodeView* leaf)
{
    return {entryAtNotedPlace(file, position, leaf), position->ordinal, false, 0};
}

void standAtPlace(Position* position, const NodeView* leaf, const LeafPlace* place)
{
    NotedPlace noted = position->place;
    noted.offset = static_cast<uint16_t>(place->entry - leaf->node);
    noted.firstOfKey = place->firstOfKey;
    position->ordinal = place->ordinal;
    standOn(position, place->entry);
    position->place = noted;
}
