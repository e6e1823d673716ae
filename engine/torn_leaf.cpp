#include "engine/torn_leaf.h"

#include "engine/node_insert.h"

static SoughtKey keyOf(const uint8_t* entry)
{
    return {entryKey(entry), entryNumber(entry), entrySegment(entry)};
}

// True when a search for the entry leads behind the bound. The first segment of a record counts
// as equal to any other.
static bool isAbove(const uint8_t* entry, const uint8_t* bound)
{
    SoughtKey key = keyOf(entry);
    return compareEntry(bound, &key) < 0;
}

// Number of entries that are not above the bound.
static int entriesUpTo(const uint8_t* leaf, const uint8_t* bound)
{
    int count = 0;
    const uint8_t* entry = firstEntry(leaf);
    while (!isEndMarker(entry) && !isAbove(entry, bound)) {
        entry = nextEntry(entry);
        ++count;
    }
    return count;
}

// Cuts the leaf behind the entries kept and links it to the page that follows.
static int cutLeaf(OpenFile* file, int page, int kept, int following)
{
    if (readNode(file, page, 0) != IX_OK) return IX_PAGE_IO;
    uint8_t* node = engineState.nodeBuffer;
    int end = entryOffsetAt(node, kept);
    memset(node + end, 0, static_cast<size_t>(NODE_BUFFER_SIZE - end));
    storeInt16(node + NODE_COUNT, kept);
    storeInt16(node + NODE_FREE, NODE_ENTRY_AREA - (end - NODE_ENTRIES));
    storeInt16(node + NODE_NEXT_PAGE, following);
    return writeNode(file, page);
}

// True when the page, which is left in the peek buffer, is what a split of the leaf has made
// of its upper entries.
static bool isRightHalf(OpenFile* file, int page, const Descent* way, const uint8_t* bound)
{
    if (peekNode(file, page, 0) != IX_OK) return false;
    const uint8_t* half = engineState.peekBuffer;
    return nodePreviousPage(half) == way->page &&
           nodeNextPage(half) == nodeNextPage(way->leaf.node) &&
           (nodeCount(half) == 0 || isAbove(firstEntry(half), bound));
}

// Descends, and again after each split that it could finish. One that cannot be finished, in a
// full file, stays as it is: searches go aside there.
static bool descendFinishing(IndexFile* tree, const SoughtKey* sought, Descent* way)
{
    constexpr int MOST_SPLITS = 2 * MAX_HEIGHT;
    for (int splits = 0; splits < MOST_SPLITS; ++splits) {
        if (!descend(&tree->file, sought, way)) return false;
        if (way->unfinishedLevel == NO_LEVEL) return true;
        if (finishSplit(tree, way->unfinishedLevel, way->unfinishedPage) != IX_OK) break;
    }
    return descend(&tree->file, sought, way);
}

bool descendToChange(IndexFile* tree, const SoughtKey* sought, Descent* way)
{
    OpenFile* file = &tree->file;
    const uint8_t* bound = nullptr;
    if (!descendFinishing(tree, sought, way) || !findBound(file, way, &bound)) return false;
    if (bound == nullptr) return true;
    int kept = entriesUpTo(way->leaf.node, bound);
    if (kept == nodeCount(way->leaf.node)) return true;

    int following = entryChild(bound);
    bool mended = isRightHalf(file, following, way, bound) &&
                  cutLeaf(file, way->page, kept, following) == IX_OK;
    if (!mended) return inTrouble(file, IX_DESCENT_FAILED) == IX_OK;
    return descend(file, sought, way);
}
