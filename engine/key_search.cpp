#include "engine/key_search.h"

#include "engine/record_data.h"

// Chooses the child to descend into: the last one whose keys can include the
// sought key. Returns its page, or NO_PAGE when a neighbour cannot be read.
//
// Expects a branch of the level; when the search has to move right, it looks at its
// neighbours.
static int chooseChild(IndexFile* file, int level, const uint8_t* node, const SoughtKey* sought)
{
    // More moves than pages: the neighbour chain runs in a circle.
    for (int moves = 0; moves < file->pagesInFile; ++moves) {
        int child = nodeLeftmostChild(node);
        const uint8_t* entry = firstEntry(node);
        while (!isEndMarker(entry)) {
            if (compareEntry(entry, sought) >= 0) return child;
            child = entryChild(entry);
            entry = nextEntry(entry);
        }

        // Every separator is smaller. A split leaves the last one behind as the
        // upper bound of this node, so larger keys belong to the neighbour.
        int neighbour = nodeNextPage(node);
        if (neighbour == NO_PAGE) return child;
        NodeView view = {};
        if (viewNode(file, neighbour, level, &view) != IX_OK) return NO_PAGE;
        node = view.node;
    }
    return NO_PAGE;
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

const uint8_t* descend(IndexFile* file, int index, const SoughtKey* sought, NodeView* leaf)
{
    int page = file->rootPage;
    int level = file->height - 1;
    if (viewNode(file, page, level, leaf) != IX_OK) return nullptr;
    while (level > 0) {
        engineState.path[level] = page;
        page = chooseChild(file, level, leaf->node, sought);
        --level;
        if (viewNode(file, page, level, leaf) != IX_OK) return nullptr;
    }

    int ordinal = 0;
    int moves = 0;
    const uint8_t* entry = walkLeaf(leaf->node, sought, &ordinal);
    while (isEndMarker(entry)) {
        int right = leafToGoOnIn(file, leaf->node, sought, &moves);
        if (right == NO_PAGE) break;
        if (viewNode(file, right, 0, leaf) != IX_OK) return nullptr;
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

// Arrives at the entry of the leaf in which a search has ended, and answers how it
// compares. An entry below the sought key: the leaf chain runs backwards.
static int arriveAtFound(IndexFile* file, int index, const NodeView* leaf, const uint8_t* entry,
                         const SoughtKey* sought)
{
    int order = compareEntry(entry, sought);
    if (order < 0) return withStatus(file, IX_DESCENT_FAILED);
    bool sameKey = order == 0 || strcmp(entryKey(entry), sought->key) == 0;
    arriveAt(file, index, leaf, entry, !sameKey || sought->number <= 0);
    if (order == 0) return withStatus(file, IX_OK);
    return withStatus(file, sameKey ? IX_SAME_KEY : IX_GREATER_KEY);
}

int locate(IndexFile* file, int index, const SoughtKey* sought)
{
    NodeView leaf = {};
    const uint8_t* entry = descend(file, index, sought, &leaf);
    if (entry != nullptr && isEndMarker(entry)) {
        entry = nextNonEmptyLeaf(file, index, &leaf);
        if (entry != nullptr && !isEndMarker(entry)) setPosition(file, index, entry);
    }
    if (entry == nullptr) return withStatus(file, IX_DESCENT_FAILED);

    if (isEndMarker(entry)) {
        clearCurrentEntry(file);
        return withStatus(file, IX_NOT_FOUND);
    }
    return arriveAtFound(file, index, &leaf, entry, sought);
}

int locateOnward(IndexFile* file, int index, const SoughtKey* sought)
{
    NodeView leaf = {};
    const uint8_t* entry = entryAtNotedPlace(file, index, &leaf);
    if (entry == nullptr) return locate(file, index, sought);

    int ordinal = file->positionInLeaf[index];
    do {
        entry = nextEntry(entry);
        ++ordinal;
    } while (!isEndMarker(entry) && compareEntry(entry, sought) < 0);
    if (isEndMarker(entry)) {
        ordinal = 0;
        entry = nextNonEmptyLeaf(file, index, &leaf);
        bool found = entry != nullptr && !isEndMarker(entry) && compareEntry(entry, sought) >= 0;
        // The end of the tree, a longer way, damage.
        if (!found) return locate(file, index, sought);
    }
    file->positionInLeaf[index] = ordinal;
    return arriveAtFound(file, index, &leaf, entry, sought);
}

// True when a search for the key would end at the position, if its place is the one
// noted: it is the very entry, or the first with the key and no number is sought.
static bool mayStandOn(const IndexFile* file, int index, const SoughtKey* sought)
{
    int32_t number = file->numberAtPosition[index];
    bool whole = (file->segmentAtPosition[index] & SEGMENT_ORDINAL) == 0;
    bool itself = number == sought->number && whole;
    bool first = file->firstOfKey[index] != 0 && sought->number == 0 && number >= 0;
    return file->contentAtPosition[index] != 0 && (itself || first) &&
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
