#include "engine/key_search.h"

#include "engine/record_data.h"

// The child that a descent goes on to.
struct Child {
    int page;        // NO_PAGE when a neighbour cannot be read
    int following;   // the page behind it at its level, as far as the branch tells
    int boundOffset; // of the branch's entry behind it
    bool aside;      // it was found in a neighbour of the branch
};

// Chooses the child to descend into: the last one whose keys can include the sought
// key. Expects a branch of the level; when the search has to move right, it looks at
// its neighbours.
static Child chooseChild(IndexFile* file, int level, const uint8_t* node, const SoughtKey* sought)
{
    // More moves than pages: the neighbour chain runs in a circle.
    for (int moves = 0; moves < file->pagesInFile; ++moves) {
        int child = nodeLeftmostChild(node);
        const uint8_t* entry = firstEntry(node);
        while (!isEndMarker(entry) && compareEntry(entry, sought) < 0) {
            child = entryChild(entry);
            entry = nextEntry(entry);
        }
        int offset = static_cast<int>(entry - node);
        if (!isEndMarker(entry)) return {child, entryChild(entry), offset, moves > 0};

        // Every separator is smaller. A split leaves the last one behind as the
        // upper bound of this node, so larger keys belong to the neighbour.
        int neighbour = nodeNextPage(node);
        if (neighbour == NO_PAGE) return {child, NO_PAGE, offset, moves > 0};
        NodeView view = {};
        if (viewNode(file, neighbour, level, &view) != IX_OK) break;
        node = view.node;
    }
    return {NO_PAGE, NO_PAGE, 0, true};
}

// First entry of the leaf that is at or after the sought key, or the end marker;
// *ordinal becomes its place.
static const uint8_t* walkLeaf(const uint8_t* leaf, const SoughtKey* sought, int* ordinal)
{
    const uint8_t* entry = firstEntry(leaf);
    *ordinal = 0;
    while (!isEndMarker(entry) && compareEntry(entry, sought) < 0) {
        entry = nextEntry(entry);
        ++*ordinal;
    }
    return entry;
}

// The leaf to the right of this one in which the search has to go on: the next one
// with entries, if its first entry is not above the sought key. That is never so in a
// sound tree; it is where a process was killed between writing a split leaf and its
// parent. NO_PAGE when the search ends here, -2 when a leaf on the way is damaged.
// *moves counts the leaves looked at by one descent: more than there are pages run in
// a circle.
constexpr int DAMAGED_LEAF = -2;

static int leafToGoOnIn(IndexFile* file, const uint8_t* leaf, const SoughtKey* sought, int* moves)
{
    int page = nodeNextPage(leaf);
    while (page != NO_PAGE) {
        bool circle = ++*moves > file->pagesInFile;
        if (circle || peekNode(file, page, 0) != IX_OK) return DAMAGED_LEAF;
        const uint8_t* next = engineState.peekBuffer;
        if (nodeCount(next) > 0) {
            return compareEntry(firstEntry(next), sought) <= 0 ? page : NO_PAGE;
        }
        page = nodeNextPage(next);
    }
    return NO_PAGE;
}

// Follows the branches down to a leaf. Its page, or NO_PAGE on failure.
static int descendToLeaf(IndexFile* file, const SoughtKey* sought, Descent* way)
{
    int page = file->rootPage;
    int level = file->height - 1;
    NodeView* view = &way->leaf;
    *way = {};
    if (viewNode(file, page, level, view) != IX_OK) return NO_PAGE;
    way->current = nodeNextPage(view->node) == NO_PAGE;
    while (level > 0) {
        engineState.path[level] = page;
        way->branchPage = page;
        way->branchContent = view->content;
        Child child = chooseChild(file, level, view->node, sought);
        way->boundOffset = child.boundOffset;
        page = child.page;
        --level;
        if (viewNode(file, page, level, view) != IX_OK) return NO_PAGE;
        bool follows = !child.aside && nodeNextPage(view->node) == child.following;
        way->current = way->current && follows;
    }
    return page;
}

const uint8_t* descend(IndexFile* file, int index, const SoughtKey* sought, Descent* way)
{
    int page = descendToLeaf(file, sought, way);
    if (page == NO_PAGE) return nullptr;

    NodeView* leaf = &way->leaf;
    int ordinal = 0;
    int moves = 0;
    const uint8_t* entry = walkLeaf(leaf->node, sought, &ordinal);
    while (isEndMarker(entry)) {
        int right = leafToGoOnIn(file, leaf->node, sought, &moves);
        if (right == NO_PAGE) break;
        if (viewNode(file, right, 0, leaf) != IX_OK) return nullptr;
        way->current = false;
        page = right;
        entry = walkLeaf(leaf->node, sought, &ordinal);
    }

    file->positionInLeaf[index] = ordinal;
    file->leafPage[index] = page;
    file->removedAtPosition[index] = 0; // told of the place that is left
    if (isEndMarker(entry)) {
        setPositionPastEnd(file, index);
    } else {
        setPosition(file, index, entry);
    }
    return entry;
}

const uint8_t* nextNonEmptyLeaf(IndexFile* file, int index, NodeView* leaf)
{
    for (int moves = 0; moves <= file->pagesInFile; ++moves) {
        int page = nodeNextPage(leaf->node);
        if (page == NO_PAGE) return entryAt(leaf->node, nodeCount(leaf->node));
        if (viewNode(file, page, 0, leaf) != IX_OK) return nullptr;
        file->positionInLeaf[index] = 0;
        file->leafPage[index] = page;
        if (nodeCount(leaf->node) > 0) return firstEntry(leaf->node);
    }
    return nullptr;
}

// Arrives at the entry at which a search has ended, and answers how it compares. An
// entry below the sought key: the leaf chain runs backwards.
static int arriveAtFound(IndexFile* file, int index, const uint8_t* entry, const SoughtKey* sought)
{
    int order = compareEntry(entry, sought);
    if (order < 0) return withStatus(file, IX_DESCENT_FAILED);
    bool sameKey = order == 0 || strcmp(entryKey(entry), sought->key) == 0;
    arriveAt(file, index, entry);
    file->notedPlace[index].firstOfKey = !sameKey || sought->number <= 0 ? 1 : 0;
    if (order == 0) return withStatus(file, IX_OK);
    return withStatus(file, sameKey ? IX_SAME_KEY : IX_GREATER_KEY);
}

int locate(IndexFile* file, int index, const SoughtKey* sought)
{
    Descent way;
    const uint8_t* entry = descend(file, index, sought, &way);
    if (entry != nullptr && isEndMarker(entry)) {
        way.current = false;
        entry = nextNonEmptyLeaf(file, index, &way.leaf);
        if (entry != nullptr && !isEndMarker(entry)) setPosition(file, index, entry);
    }
    if (entry == nullptr) return withStatus(file, IX_DESCENT_FAILED);

    if (isEndMarker(entry)) {
        clearCurrentEntry(file);
        return withStatus(file, IX_NOT_FOUND);
    }
    int result = arriveAtFound(file, index, entry, sought);
    if (way.current && result >= 0) {
        NotedPlace* place = &file->notedPlace[index];
        place->leafContent = way.leaf.content;
        place->branchContent = way.branchContent;
        place->branchPage = way.branchPage;
        place->offset = static_cast<uint16_t>(entry - way.leaf.node);
        place->boundOffset = static_cast<uint16_t>(way.boundOffset);
    }
    return result;
}

// From the end of a leaf in which a noted place lies to the next leaf of the same parent,
// whose first entry it answers: *leafPage, *leaf and *place become those of it. Null when
// the way has to be searched: there is none, or it is empty or older than its split.
static const uint8_t* crossToNextLeaf(IndexFile* file, NotedPlace* place, int* leafPage,
                                      NodeView* leaf)
{
    NodeView branch = {};
    if (place->branchContent == 0) return nullptr;
    if (viewNode(file, place->branchPage, 1, &branch) != IX_OK) return nullptr;
    if (branch.content != place->branchContent) return nullptr;

    const uint8_t* bound = branch.node + place->boundOffset;
    if (isEndMarker(bound)) return nullptr;
    const uint8_t* nextBound = nextEntry(bound);
    // The last entry of a branch with a neighbour only bounds it.
    bool last = isEndMarker(nextBound);
    if (last && nodeNextPage(branch.node) != NO_PAGE) return nullptr;
    int following = last ? NO_PAGE : entryChild(nextBound);
    int boundOffset = static_cast<int>(nextBound - branch.node);

    *leafPage = entryChild(bound);
    if (viewNode(file, *leafPage, 0, leaf) != IX_OK) return nullptr;
    if (nodeNextPage(leaf->node) != following || nodeCount(leaf->node) == 0) return nullptr;
    place->leafContent = leaf->content;
    place->offset = NODE_ENTRIES;
    place->boundOffset = static_cast<uint16_t>(boundOffset);
    return firstEntry(leaf->node);
}

int locateOnward(IndexFile* file, int index, const SoughtKey* sought)
{
    NodeView leaf = {};
    const uint8_t* entry = entryAtNotedPlace(file, index, &leaf);
    if (entry == nullptr) return locate(file, index, sought);

    NotedPlace place = file->notedPlace[index];
    int leafPage = file->leafPage[index];
    int ordinal = file->positionInLeaf[index];
    do {
        entry = nextEntry(entry);
        ++ordinal;
    } while (!isEndMarker(entry) && compareEntry(entry, sought) < 0);
    if (isEndMarker(entry)) {
        ordinal = 0;
        entry = crossToNextLeaf(file, &place, &leafPage, &leaf);
        if (entry == nullptr || compareEntry(entry, sought) < 0) return locate(file, index, sought);
    } else {
        place.offset = static_cast<uint16_t>(entry - leaf.node);
    }
    file->leafPage[index] = leafPage;
    file->positionInLeaf[index] = ordinal;
    int result = arriveAtFound(file, index, entry, sought);
    place.firstOfKey = file->notedPlace[index].firstOfKey;
    file->notedPlace[index] = place;
    return result;
}

// True when a search for the key would end at the position, if its place is the one
// noted: it is the very entry, or the first with the key and no number is sought.
static bool mayStandOn(const IndexFile* file, int index, const SoughtKey* sought)
{
    int32_t number = file->numberAtPosition[index];
    bool whole = (file->segmentAtPosition[index] & SEGMENT_ORDINAL) == 0;
    bool itself = number == sought->number && whole;
    const NotedPlace* place = &file->notedPlace[index];
    bool first = place->firstOfKey != 0 && sought->number == 0 && number >= 0;
    return place->leafContent != 0 && (itself || first) &&
           strcmp(file->keyBuffer[index], sought->key + 1) == 0;
}

// locate for the first segment of a key of the index itself, which the position may
// be on already.
static int locateHere(IndexFile* file, int index, const SoughtKey* sought)
{
    if (!mayStandOn(file, index, sought)) return locate(file, index, sought);
    NodeView leaf = {};
    const uint8_t* entry = entryAtNotedPlace(file, index, &leaf);
    if (entry == nullptr) return locate(file, index, sought);
    takeEntry(file, entry);
    bool itself = file->numberAtPosition[index] == sought->number;
    return withStatus(file, itself ? IX_OK : IX_SAME_KEY);
}

int checkRequest(IndexFile* file, int index, const void* data, uint32_t length)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    uintptr_t start = reinterpret_cast<uintptr_t>(data);
    bool wraps = start + length < start;
    if (index < MIN_INDEX || index > MAX_INDEX || wraps) return withStatus(file, IX_BAD_ARGUMENT);
    return IX_OK;
}

int beginMove(IndexFile* file, int index, bool* updating)
{
    bool holdsLock = file->recordLockState[index] == LOCKED && file->internalCall == 0;
    *updating = holdsLock && file->openMode == OPEN_SHARED;
    int begun = *updating ? ixBeginUpdate(file) : ixBeginRead(file);
    if (begun != 0) return IX_FILE_LOCK;
    if (!holdsLock) return IX_OK;

    KeptRequest request = keepRequest(file);
    int released = ixUnlockRecord(file, index);
    putRequestBack(file, &request);

    // A lock entry that is gone or somebody else's is no longer held, so the state
    // must not move on with the position; only a failing file ends the operation.
    bool gone =
        released >= IX_NOT_FOUND || released == IX_NO_CURRENT || released == IX_LOCKED_BY_OTHER;
    if (gone) {
        file->recordLockState[index] = UNLOCKED;
        return IX_OK;
    }
    endMove(file, *updating);
    return released;
}

int endMove(IndexFile* file, bool updating)
{
    return updating ? ixEndUpdate(file) : ixEndRead(file);
}

int findSought(IndexFile* file, int index, const SoughtKey* sought, SearchFrom from, void* data,
               uint32_t length)
{
    const char* callersKey = file->key;
    uint8_t* callersData = file->data;

    int result =
        from == FROM_POSITION ? locateOnward(file, index, sought) : locateHere(file, index, sought);
    bool past = result >= 0 && file->indexAtPosition[index] != index;
    if (past) {
        clearCurrentEntry(file);
        result = IX_NOT_FOUND;
    }
    if (result < 0) {
        // The key of a later index would mislead the next step from here.
        if (result == IX_NOT_FOUND) setPositionKey(file, index, sought->key + 1, sought->number);
        file->key = callersKey;
        file->data = callersData;
        return result;
    }

    int read = readRecordAtPosition(file, index, static_cast<uint8_t*>(data), length);
    file->data = callersData;
    file->key = reinterpret_cast<const char*>(file->currentEntry) + 1;
    return read != IX_OK ? read : result;
}

int ixFind(IndexFile* file, int index, const char* key, int32_t number, void* data, uint32_t length)
{
    int result = checkRequest(file, index, data, length);
    if (result != IX_OK) return result;

    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, key); // before anything moves: the key may be the position's
    bool tooLong = strlen(key) > MAX_KEY;
    file->indexNumber = index;
    file->key = key;
    file->number = number;
    file->data = static_cast<uint8_t*>(data);
    file->dataLength = length;
    if (tooLong) return withStatus(file, IX_NOT_FOUND);

    bool updating = false;
    result = beginMove(file, index, &updating);
    if (result != IX_OK) return withStatus(file, result);

    file->segment = 0; // the first segment of a record
    file->ioError = 0;
    SoughtKey sought = {text, number, 0};
    result = findSought(file, index, &sought, FROM_ROOT, data, length);
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : result);
}
