// Deletion: the chain of a record's segments out of the leaves. Nodes are never
// merged or freed; empty leaves stay in their chain, separators stay as they are.
#include "engine/delete.h"

#include "engine/key_search.h"
#include "platform/platform.h"

static void removeEntry(uint8_t* node, uint8_t* entry)
{
    int size = entrySize(entry);
    uint8_t* end = node + NODE_ENTRIES + nodeUsed(node);
    memmove(entry, entry + size, static_cast<size_t>(end - entry - size));
    memset(end - size, 0, static_cast<size_t>(size));
    storeInt16(node + NODE_COUNT, nodeCount(node) - 1);
    storeInt16(node + NODE_FREE, nodeFree(node) + size);
}

// A record being deleted. An entry continues it when it has the same key and number
// and an ordinal no smaller than the one before it; ordinal 0 begins another one.
struct Chain {
    char key[SOUGHT_KEY_SIZE];
    int32_t number;
    int lastOrdinal; // -1 before the first entry, which may be anything
    bool complete;   // nothing more is to be removed
};

static bool continuesChain(const Chain* chain, const uint8_t* entry)
{
    if (chain->lastOrdinal == -1) return true;
    int ordinal = entrySegment(entry) & SEGMENT_ORDINAL;
    return ordinal != 0 && ordinal >= chain->lastOrdinal && entryNumber(entry) == chain->number &&
           strcmp(entryKey(entry), chain->key) == 0;
}

// Removes the chain's entries from the node buffer from an ordinal on and writes the
// leaf when it has changed. 0 or an I/O code.
static int removeFromLeaf(IndexFile* file, int index, int ordinal, Chain* chain)
{
    uint8_t* node = engineState.nodeBuffer;
    int leaf = file->leafPage[index];
    bool changed = false;
    uint8_t* entry = node + (entryAt(node, ordinal) - node);
    while (!chain->complete && !isEndMarker(entry)) {
        if (!continuesChain(chain, entry)) {
            chain->complete = true;
            break;
        }
        int segment = entrySegment(entry);
        if (chain->lastOrdinal == -1) {
            buildSoughtKey(chain->key, entryIndex(entry), entryKey(entry) + 1);
            chain->number = entryNumber(entry);
        }
        chain->lastOrdinal = segment & SEGMENT_ORDINAL;
        chain->complete = (segment & LAST_SEGMENT) != 0;
        removeEntry(node, entry);
        correctForRemoval(file, index, leaf, ordinal);
        changed = true;
    }
    return changed ? writeNode(file, leaf) : IX_OK;
}

// Deletes the chain that starts at the position of the index, which ends on the entry
// before it. 0 or IX_PAGE_IO.
static int deleteChain(IndexFile* file, int index)
{
    int startLeaf = file->leafPage[index];
    int start = file->positionInLeaf[index];
    Chain chain = {{}, 0, -1, false};

    if (readNode(file, startLeaf, 0) != IX_OK) return IX_PAGE_IO;
    int result = removeFromLeaf(file, index, start, &chain);
    for (int moves = 0; result == IX_OK && !chain.complete; ++moves) {
        int page = nodeNextPage(engineState.nodeBuffer);
        if (page == NO_PAGE) break;
        if (moves > file->pagesInFile || readNode(file, page, 0) != IX_OK) {
            result = IX_PAGE_IO;
            break;
        }
        file->leafPage[index] = page;
        result = removeFromLeaf(file, index, 0, &chain);
    }
    file->leafPage[index] = startLeaf;
    file->positionInLeaf[index] = start - 1;
    return result == IX_OK ? IX_OK : IX_PAGE_IO;
}

int deleteByKey(IndexFile* file, int index, const char* key, int32_t number)
{
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, key);
    if (ixBeginUpdate(file) != 0) return IX_FILE_LOCK;

    bool updating = false;
    int result = beginMove(file, index, &updating);
    if (result == IX_OK) {
        SoughtKey sought = {text, number, 0};
        Descent way;
        const uint8_t* entry = descend(file, index, &sought, &way);
        if (entry == nullptr) {
            result = IX_DESCENT_FAILED;
        } else if (isEndMarker(entry) || compareEntry(entry, &sought) != 0) {
            result = IX_NOT_FOUND;
        } else {
            result = deleteChain(file, index);
        }
        int ended = endMove(file, updating);
        if (ended != 0) result = ended;
    }
    int ended = ixEndUpdate(file);
    return ended != 0 ? ended : result;
}

// Shared mode: the entry must exist, and nobody else may have locked its record.
static int deleteUnlessLocked(IndexFile* file, int index, const char* key, int32_t number)
{
    int result = ixFind(file, index, key, number, nullptr, 0);
    if (result > 0) return IX_NOT_FOUND;
    if (result < 0) return result;

    int check = ixCheckLock(file, index);
    if (check != IX_LOCKED_HERE && check != IX_NOT_LOCKED) return check;
    return deleteByKey(file, index, key, number);
}

int ixDelete(IndexFile* file, int index, const char* key, int32_t number)
{
    int result = checkRequest(file, index, nullptr, 0);
    if (result != IX_OK) return result;

    char keyCopy[MAX_KEY + 2]; // the key may be the one at a position
    size_t length = strnlen(key, MAX_KEY + 1);
    memcpy(keyCopy, key, length);
    keyCopy[length] = 0;
    if (length > MAX_KEY) return withStatus(file, IX_NOT_FOUND);

    // The update first: a read that is open already would hold the lock shared.
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);
    if (ixBeginRead(file) != 0) {
        ixEndUpdate(file);
        return withStatus(file, IX_FILE_LOCK);
    }
    result = file->openMode == OPEN_SHARED ? deleteUnlessLocked(file, index, keyCopy, number)
                                           : deleteByKey(file, index, keyCopy, number);
    if (file->key == keyCopy) file->key = key;
    int endedRead = ixEndRead(file);
    int ended = ixEndUpdate(file);
    if (endedRead != 0) result = endedRead;
    return withStatus(file, ended != 0 ? ended : result);
}

// Deletes the entry at a position whose place in the leaf is exact.
static int deleteByPlace(IndexFile* file, int index)
{
    if (file->removedAtPosition[index] == 1) return IX_NOT_FOUND;
    NodeView leaf = {};
    if (viewNode(file, file->leafPage[index], 0, &leaf) != IX_OK) return IX_PAGE_IO;

    int ordinal = file->positionInLeaf[index];
    if (ordinal < 0 || ordinal >= nodeCount(leaf.node)) return IX_NOT_FOUND;
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, file->keyBuffer[index]);
    SoughtKey here = {text, file->numberAtPosition[index], 0};
    if (compareEntry(entryAt(leaf.node, ordinal), &here) != 0) return IX_NOT_FOUND;
    return deleteChain(file, index);
}

int ixDeleteCurrent(IndexFile* file, int index)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    bool inRange = index >= MIN_INDEX && index <= MAX_INDEX;
    bool exclusive = file->openMode == OPEN_EXCLUSIVE;
    bool permitted =
        exclusive || index == LOCK_INDEX || (inRange && file->recordLockState[index] == LOCKED);
    if (!permitted) return withStatus(file, IX_LOCK_REQUIRED);
    if (!inRange) return withStatus(file, IX_BAD_ARGUMENT);
    if (file->indexAtPosition[index] != index) return withStatus(file, IX_NOT_FOUND);
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);

    bool updating = false;
    int result = beginMove(file, index, &updating);
    if (result == IX_OK) {
        if (exclusive || index == LOCK_INDEX) {
            result = deleteByPlace(file, index);
        } else {
            int32_t internalCall = file->internalCall;
            file->internalCall = 1;
            char key[KEY_BUFFER_SIZE];
            memcpy(key, file->keyBuffer[index], sizeof key);
            result = deleteByKey(file, index, key, file->numberAtPosition[index]);
            file->internalCall = internalCall;
        }
        int ended = endMove(file, updating);
        if (ended != 0) result = ended;
    }
    int ended = ixEndUpdate(file);
    return withStatus(file, ended != 0 ? ended : result);
}
