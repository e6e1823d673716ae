// Deletion: the chain of a record's segments out of the leaves. Nodes are never
// merged or freed; empty leaves stay in their chain, separators stay as they are.
#include "engine/entry_delete.h"

#include "engine/torn_leaf.h"

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
static int removeFromLeaf(IndexFile* tree, int index, int ordinal, Chain* chain)
{
    uint8_t* node = engineState.nodeBuffer;
    int leaf = tree->positions[index].leafPage;
    bool changed = false;
    uint8_t* entry = node + entryOffsetAt(node, ordinal);
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
        correctForRemoval(tree, index, leaf, ordinal);
        changed = true;
    }
    return changed ? writeNode(&tree->file, leaf) : IX_OK;
}

int deleteChain(IndexFile* tree, int index)
{
    OpenFile* file = &tree->file;
    Position* position = &tree->positions[index];
    int startLeaf = position->leafPage;
    int start = position->ordinal;
    Chain chain = {{}, 0, -1, false};

    if (readNode(file, startLeaf, 0) != IX_OK) return IX_PAGE_IO;
    int result = removeFromLeaf(tree, index, start, &chain);
    for (int moves = 0; result == IX_OK && !chain.complete; ++moves) {
        int page = nodeNextPage(engineState.nodeBuffer);
        if (page == NO_PAGE) break;
        if (moves > file->header.pagesInFile || readNode(file, page, 0) != IX_OK) {
            result = IX_PAGE_IO;
            break;
        }
        position->leafPage = page;
        result = removeFromLeaf(tree, index, 0, &chain);
    }
    position->leafPage = startLeaf;
    position->ordinal = start - 1;
    return result == IX_OK ? IX_OK : IX_PAGE_IO;
}

int ixInnerDelete(IndexFile* tree, int index, const char* key, int32_t number)
{
    char text[SOUGHT_KEY_SIZE];
    buildSoughtKey(text, index, key);
    SoughtKey sought = {text, number, 0};
    Descent way;
    if (!descendToChange(tree, &sought, &way)) return IX_DESCENT_FAILED;
    standAtEndOf(&way, &tree->positions[index]);
    if (isEndMarker(way.entry) || compareEntry(way.entry, &sought) != 0) return IX_NOT_FOUND;
    return deleteChain(tree, index);
}
