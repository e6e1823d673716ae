// The operations that store and delete entries and hand out numbers.
#include "engine/engine.h"
#include "engine/entry_delete.h"
#include "engine/entry_store.h"
#include "engine/operation.h"
#include "engine/page_supply.h"
#include "engine/positions.h"

// -- Storing -----------------------------------------------------------------

static int storeInFrame(IndexFile* tree, int mode, int index, const char* key, int32_t number,
                        const void* data, uint32_t length)
{
    if (!mayBeStored(index, key, data, length)) return IX_BAD_ARGUMENT;
    bool updating = false;
    int result = beginMove(tree, index, &updating);
    if (result != IX_OK) return result;
    result = storeRecord(tree, mode, index, key, number, data, length);
    return resultOf(endMove(tree, updating), result);
}

int ixStore(IndexFile* tree, int mode, int index, const char* key, int32_t number, const void* data,
            uint32_t length)
{
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    if (ixBeginUpdate(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);

    int result = storeInFrame(tree, mode, index, key, number, data, length);
    int ended = ixEndUpdate(&tree->file);
    // Of an entry without data the page that failed is the news, not that the flush did too.
    bool tellsMore = length == 0 && result == IX_PAGE_IO;
    return withStatus(tree, tellsMore ? result : resultOf(ended, result));
}

int ixAdd(IndexFile* tree, int index, const char* key, int32_t number, const void* data,
          uint32_t length)
{
    return ixStore(tree, STORE_NEW, index, key, number, data, length);
}

int ixAddUnique(IndexFile* tree, int index, const char* key, int32_t number, const void* data,
                uint32_t length)
{
    int result = checkRequest(tree, index, data, length);
    if (result != IX_OK) return result;
    if (ixBeginUpdate(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);

    result = ixFindKey(tree, index, key);
    if (result == IX_OK || result == IX_SAME_KEY) {
        result = IX_EXISTS;
    } else if (result == IX_GREATER_KEY || result == IX_NOT_FOUND) {
        result = ixStore(tree, STORE_UNCHECKED, index, key, number, data, length);
    }
    return withStatus(tree, resultOf(ixEndUpdate(&tree->file), result));
}

// -- Deleting ----------------------------------------------------------------

// In shared mode the entry must exist, and nobody else may have locked its record.
static int mayDelete(IndexFile* tree, int index, const char* key, int32_t number)
{
    if (isExclusive(&tree->file)) return IX_OK;
    int result = ixInnerFind(tree, index, FOR_RECORD, key, number, nullptr, 0);
    if (result > 0) return IX_NOT_FOUND;
    if (result < 0) return result;
    int check = ixCheckLock(tree, index);
    return check == IX_LOCKED_HERE || check == IX_NOT_LOCKED ? IX_OK : check;
}

int ixDelete(IndexFile* tree, int index, const char* key, int32_t number)
{
    int result = checkRequest(tree, index, nullptr, 0);
    if (result != IX_OK) return result;
    if (strlen(key) > MAX_KEY) return withStatus(tree, IX_NOT_FOUND);
    char text[KEY_BUFFER_SIZE]; // the key may be the one at a position
    strcpy(text, key);

    if (ixBeginUpdate(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);
    bool updating = false;
    result = beginMove(tree, index, &updating);
    if (result == IX_OK) {
        result = mayDelete(tree, index, text, number);
        if (result == IX_OK) result = ixInnerDelete(tree, index, text, number);
        result = resultOf(endMove(tree, updating), result);
    }
    return withStatus(tree, resultOf(ixEndUpdate(&tree->file), result));
}

// Deletes the entry at a position whose place in the leaf is exact.
static int deleteByPlace(IndexFile* tree, int index)
{
    const Position* position = &tree->positions[index];
    if (position->removed) return IX_NOT_FOUND;
    NodeView leaf = {};
    if (viewNode(&tree->file, position->leafPage, 0, &leaf) != IX_OK) return IX_PAGE_IO;

    int ordinal = position->ordinal;
    if (ordinal < 0 || ordinal >= nodeCount(leaf.node)) return IX_NOT_FOUND;
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, position->key);
    SoughtKey here = {text, position->number, 0};
    if (compareEntry(entryAt(leaf.node, ordinal), &here) != 0) return IX_NOT_FOUND;
    return deleteChain(tree, index);
}

static int deleteAtPosition(IndexFile* tree, int index)
{
    const Position* position = &tree->positions[index];
    if (isExclusive(&tree->file) || index == LOCK_INDEX) return deleteByPlace(tree, index);
    char key[KEY_BUFFER_SIZE];
    memcpy(key, position->key, sizeof key);
    return ixInnerDelete(tree, index, key, position->number);
}

int ixDeleteCurrent(IndexFile* tree, int index)
{
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    bool inRange = index >= MIN_INDEX && index <= MAX_INDEX;
    bool permitted = isExclusive(&tree->file) || index == LOCK_INDEX ||
                     (inRange && tree->positions[index].recordLock == LOCKED);
    if (!permitted) return withStatus(tree, IX_LOCK_REQUIRED);
    if (!inRange) return withStatus(tree, IX_BAD_ARGUMENT);
    if (tree->positions[index].index != index) return withStatus(tree, IX_NOT_FOUND);
    if (ixBeginUpdate(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);

    bool updating = false;
    int result = beginMove(tree, index, &updating);
    if (result == IX_OK) {
        result = deleteAtPosition(tree, index);
        result = resultOf(endMove(tree, updating), result);
    }
    return withStatus(tree, resultOf(ixEndUpdate(&tree->file), result));
}

// -- Numbers -----------------------------------------------------------------

int ixNextSequence(IndexFile* tree, int32_t* number)
{
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    if (ixBeginUpdate(&tree->file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);
    int result = takeSequenceNumber(&tree->file, number);
    return withStatus(tree, resultOf(ixEndUpdate(&tree->file), result));
}
