#include "engine/key_search.h"

#include "engine/record_data.h"

// Chooses the child to descend into: the last one whose keys can include the
// sought key. Returns its page, or NO_PAGE when a neighbour cannot be read.
//
// Expects a branch of the level in the node buffer; leaves there the node decided
// on, which lies further right when the search had to move.
static int chooseChild(IndexFile* file, int level, const SoughtKey* sought)
{
    const uint8_t* node = engineState.nodeBuffer;

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
        if (readNode(file, neighbour, level) != IX_OK) return NO_PAGE;
    }
    return NO_PAGE;
}

// First entry of the leaf in the node buffer that is at or after the sought key,
// or the end marker; *ordinal becomes its place.
static const uint8_t* walkLeaf(const SoughtKey* sought, int* ordinal)
{
    const uint8_t* entry = firstEntry(engineState.nodeBuffer);
    *ordinal = 0;
    while (!isEndMarker(entry) && compareEntry(entry, sought) < 0) {
        entry = nextEntry(entry);
        ++*ordinal;
    }
    return entry;
}

// The leaf to the right of the one in the node buffer in which the search has to
// go on: the next one with entries, if its first entry is not above the sought key.
// That is never so in a sound tree; it is where a process was killed between
// writing a split leaf and its parent. NO_PAGE when the search ends here, -2 when
// a leaf on the way is damaged. *moves counts the leaves looked at by one descent:
// more than there are pages run in a circle.
constexpr int DAMAGED_LEAF = -2;

static int leafToGoOnIn(IndexFile* file, const SoughtKey* sought, int* moves)
{
    int page = nodeNextPage(engineState.nodeBuffer);
    while (page != NO_PAGE) {
        bool circle = ++*moves > file->pagesInFile;
        if (circle || peekNode(file, page, 0) != IX_OK) return DAMAGED_LEAF;
        const uint8_t* leaf = engineState.peekBuffer;
        if (nodeCount(leaf) > 0) {
            return compareEntry(firstEntry(leaf), sought) <= 0 ? page : NO_PAGE;
        }
        page = nodeNextPage(leaf);
    }
    return NO_PAGE;
}

const uint8_t* descend(IndexFile* file, int index, const SoughtKey* sought)
{
    int page = file->rootPage;
    int level = file->height - 1;
    if (readNode(file, page, level) != IX_OK) return nullptr;
    while (level > 0) {
        engineState.path[level] = page;
        page = chooseChild(file, level, sought);
        --level;
        if (readNode(file, page, level) != IX_OK) return nullptr;
    }

    int ordinal = 0;
    int moves = 0;
    const uint8_t* entry = walkLeaf(sought, &ordinal);
    while (isEndMarker(entry)) {
        int right = leafToGoOnIn(file, sought, &moves);
        if (right == NO_PAGE) break;
        if (readNode(file, right, 0) != IX_OK) return nullptr;
        page = right;
        entry = walkLeaf(sought, &ordinal);
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

const uint8_t* nextNonEmptyLeaf(IndexFile* file, int index)
{
    const uint8_t* node = engineState.nodeBuffer;
    for (int moves = 0; moves <= file->pagesInFile; ++moves) {
        int page = nodeNextPage(node);
        if (page == NO_PAGE) return entryAt(node, nodeCount(node));
        if (readNode(file, page, 0) != IX_OK) return nullptr;
        file->positionInLeaf[index] = 0;
        file->leafPage[index] = page;
        if (nodeCount(node) > 0) return firstEntry(node);
    }
    return nullptr;
}

int locate(IndexFile* file, int index, const SoughtKey* sought)
{
    const uint8_t* entry = descend(file, index, sought);
    if (entry != nullptr && isEndMarker(entry)) {
        entry = nextNonEmptyLeaf(file, index);
        if (entry != nullptr && !isEndMarker(entry)) setPosition(file, index, entry);
    }
    if (entry == nullptr) return withStatus(file, IX_DESCENT_FAILED);

    if (isEndMarker(entry)) {
        clearCurrentEntry(file);
        return withStatus(file, IX_NOT_FOUND);
    }

    int order = compareEntry(entry, sought);
    if (order < 0) return withStatus(file, IX_DESCENT_FAILED); // the leaf chain runs backwards
    takeEntry(file, entry);
    if (order == 0) return withStatus(file, IX_OK);
    bool sameKey = strcmp(entryKey(entry), sought->key) == 0;
    return withStatus(file, sameKey ? IX_SAME_KEY : IX_GREATER_KEY);
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

int findSought(IndexFile* file, int index, const SoughtKey* sought, void* data, uint32_t length)
{
    const char* callersKey = file->key;
    uint8_t* callersData = file->data;

    int result = locate(file, index, sought);
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
    result = findSought(file, index, &sought, data, length);
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : result);
}
