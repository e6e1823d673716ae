#include "engine/node_insert.h"

#include "engine/page_supply.h"
#include "engine/positions.h"

// Where a node that overflows is cut: entries that end before this many bytes of
// the entry area stay. Ascending insertions, which go to the rightmost node, fill
// pages almost completely.
constexpr int SPLIT_RIGHTMOST = 1000;
constexpr int SPLIT_INNER = 520;

// An insertion on its way up the tree.
struct Insertion {
    IndexFile* tree;
    int page;  // of the node in the node buffer
    int level; // its level
    bool split;
    int lateResult; // of what failed after the first split without being needed for it
    uint8_t entry[MAX_ENTRY_SIZE];
};

// Puts the entry before the one at the offset; the node may overflow its page.
static void placeEntry(uint8_t* node, int offset, const uint8_t* entry)
{
    int size = entrySize(entry);
    int end = NODE_ENTRIES + nodeUsed(node);
    memmove(node + offset + size, node + offset, static_cast<size_t>(end - offset));
    memcpy(node + offset, entry, static_cast<size_t>(size));
    storeInt16(node + NODE_COUNT, nodeCount(node) + 1);
    storeInt16(node + NODE_FREE, nodeFree(node) - size);

    // What an earlier overflow left behind must not look like an entry.
    end += size;
    memset(node + end, 0, static_cast<size_t>(NODE_BUFFER_SIZE - end));
}

// Moves the upper entries of the overfull node to the split buffer. Returns the
// last entry that stays; *kept becomes the number of those.
static const uint8_t* divideNode(uint8_t* node, int page, int newPage, int* kept)
{
    int limit = nodeNextPage(node) == NO_PAGE ? SPLIT_RIGHTMOST : SPLIT_INNER;
    const uint8_t* last = firstEntry(node);
    const uint8_t* entry = last;
    *kept = 0;
    while (nextEntry(entry) - firstEntry(node) < limit) {
        last = entry;
        entry = nextEntry(entry);
        ++*kept;
    }

    int cut = static_cast<int>(entry - node);
    int moved = NODE_ENTRIES + nodeUsed(node) - cut;
    bool branch = nodeLevel(node) > 0;
    uint8_t* newNode = engineState.splitBuffer;
    initNode(newNode, nodeLevel(node), branch ? entryChild(last) : 0);
    memcpy(newNode + NODE_ENTRIES, entry, static_cast<size_t>(moved));
    storeInt16(newNode + NODE_COUNT, nodeCount(node) - *kept);
    storeInt16(newNode + NODE_FREE, NODE_ENTRY_AREA - moved);
    storeInt16(newNode + NODE_NEXT_PAGE, nodeNextPage(node));
    storeInt16(newNode + NODE_PREVIOUS_PAGE, page);

    storeInt16(node + NODE_COUNT, *kept);
    storeInt16(node + NODE_FREE, nodeFree(node) + moved);
    storeInt16(node + NODE_NEXT_PAGE, newPage);
    memset(node + cut, 0, static_cast<size_t>(NODE_BUFFER_SIZE - cut));
    return last;
}

// Hands out a page. Once a node was split, a header that cannot be written now waits for the
// end of the update: half of an insertion would leave a node that no branch knows.
static int takePage(Insertion* insertion, int* pageNumber)
{
    int result = allocatePage(&insertion->tree->file, pageNumber);
    if (result == IX_NOT_ALLOCATED || (result != IX_OK && !insertion->split)) return IX_PAGE_IO;
    if (result != IX_OK) insertion->lateResult = result;
    return IX_OK;
}

// Everything that a split of the node in the node buffer needs and that can be
// refused, before anything is changed: pages, and a sound right neighbour, which is
// left in the peek buffer.
static int prepareSplit(Insertion* insertion, int* newPage)
{
    OpenFile* file = &insertion->tree->file;
    if (!insertion->split && file->header.height >= MAX_HEIGHT) return IX_SHORT_WRITE;

    int grown = growFile(insertion->tree);
    if (grown != IX_OK) {
        // The pages for the splits above were there before the first one.
        if (!insertion->split) return grown;
        insertion->lateResult = grown;
    }
    int neighbour = nodeNextPage(engineState.nodeBuffer);
    if (neighbour == insertion->page) return IX_PAGE_IO;
    if (neighbour != NO_PAGE && peekNode(file, neighbour, insertion->level) != IX_OK) {
        return IX_PAGE_IO;
    }
    return takePage(insertion, newPage);
}

// The entry on its way becomes one for the parent: the last entry that stays, and the page of
// what follows it.
static void buildSeparator(Insertion* insertion, const uint8_t* last, int page)
{
    uint8_t child[CHILD_SIZE];
    storeInt16(child, page);
    buildEntry(insertion->entry, entryKey(last), entryNumber(last), entrySegment(last), child,
               CHILD_SIZE);
}

// Splits the overfull node and writes both halves and the right neighbour, which
// prepareSplit has left in the peek buffer; the separator for the parent becomes the
// entry on its way.
static int splitNode(Insertion* insertion, int newPage)
{
    OpenFile* file = &insertion->tree->file;
    uint8_t* node = engineState.nodeBuffer;
    int neighbour = nodeNextPage(node);
    int kept = 0;
    const uint8_t* last = divideNode(node, insertion->page, newPage, &kept);
    if (!insertion->split) correctForSplit(insertion->tree, insertion->page, kept, newPage);
    insertion->split = true;

    int result = cachedPageWrite(file, engineState.splitBuffer, newPage);
    if (result == IX_OK) result = writeNode(file, insertion->page);
    if (result != IX_OK) return result;

    buildSeparator(insertion, last, newPage);

    // The neighbour is not read again: that could fail, and half a split be left.
    if (neighbour == NO_PAGE) return IX_OK;
    storeInt16(engineState.peekBuffer + NODE_PREVIOUS_PAGE, newPage);
    return cachedPageWrite(file, engineState.peekBuffer, neighbour);
}

// A new root above the split one, in the node buffer.
static int addRoot(Insertion* insertion)
{
    OpenFile* file = &insertion->tree->file;
    int rootPage = NO_PAGE;
    if (takePage(insertion, &rootPage) != IX_OK) return IX_PAGE_IO;

    // Not the node that was split: it is a neighbour of the old root where a process
    // was killed between splitting that root and adding the one above it.
    initNode(engineState.nodeBuffer, file->header.height, file->header.rootPage);
    ++file->header.height;
    file->header.rootPage = rootPage;
    insertion->page = rootPage;
    int result = writeNode(file, rootPage);
    if (result != IX_OK) return result;
    int written = headerChanged(file);
    if (written != IX_OK) insertion->lateResult = written;
    return IX_OK;
}

// Offset of the first entry of the node buffer that is greater than the entry on
// its way, or of the end marker.
static int offsetInBranch(const Insertion* insertion, bool* atEnd)
{
    const uint8_t* separator = insertion->entry;
    SoughtKey sought = {entryKey(separator), entryNumber(separator), entrySegment(separator)};
    const uint8_t* entry = firstEntry(engineState.nodeBuffer);
    while (!isEndMarker(entry) && compareWithSegments(entry, &sought) < 0) {
        entry = nextEntry(entry);
    }
    *atEnd = isEndMarker(entry);
    return static_cast<int>(entry - engineState.nodeBuffer);
}

// Brings the parent of the split node into the node buffer and tells where the
// separator goes. The descent may have moved sideways below the page at which it
// entered the level, so the parent is the node whose bound the separator is under.
static int readParent(Insertion* insertion, int* offset)
{
    OpenFile* file = &insertion->tree->file;
    insertion->page = engineState.path[insertion->level];
    for (int moves = 0; moves <= file->header.pagesInFile; ++moves) {
        if (readNode(file, insertion->page, insertion->level) != IX_OK) return IX_PAGE_IO;
        bool atEnd = false;
        *offset = offsetInBranch(insertion, &atEnd);
        int neighbour = nodeNextPage(engineState.nodeBuffer);
        if (!atEnd || neighbour == NO_PAGE) return IX_OK;
        insertion->page = neighbour;
    }
    return IX_PAGE_IO;
}

// Makes the new entry the position of its index, and keeps the others right.
static void positionOnInserted(IndexFile* tree, int index, const uint8_t* entry)
{
    Position* position = &tree->positions[index];
    standOn(position, entry);
    correctForInsertion(tree, index, position->leafPage, position->ordinal);
}

// Brings the node above the one that was split into the node buffer, a new root if need be, and
// tells where the separator goes.
static int goUp(Insertion* insertion, int* offset)
{
    ++insertion->level;
    if (insertion->level < insertion->tree->file.header.height) {
        return readParent(insertion, offset);
    }
    *offset = NODE_ENTRIES;
    return addRoot(insertion);
}

// No index: the entry is a separator.
constexpr int NO_INDEX = 0;

// Puts the entry on its way into the node in the node buffer, and what splits make of it into
// those above.
static int insertUpward(Insertion* insertion, int offset, int index)
{
    OpenFile* file = &insertion->tree->file;
    uint8_t* node = engineState.nodeBuffer;
    for (;;) {
        bool overflows = nodeFree(node) < entrySize(insertion->entry);
        int newPage = NO_PAGE;
        if (overflows) {
            int prepared = prepareSplit(insertion, &newPage);
            if (prepared != IX_OK) return prepared;
        }
        placeEntry(node, offset, insertion->entry);
        if (index != NO_INDEX) positionOnInserted(insertion->tree, index, insertion->entry);
        index = NO_INDEX;
        if (!overflows) break;

        int result = splitNode(insertion, newPage);
        if (result == IX_OK) result = goUp(insertion, &offset);
        if (result != IX_OK) return result;
    }

    int written = writeNode(file, insertion->page);
    if (insertion->split) file->pending.headerDirty = true;
    return written != IX_OK ? written : insertion->lateResult;
}

int insertEntry(IndexFile* tree, int index, const uint8_t* newEntry)
{
    const Position* position = &tree->positions[index];
    Insertion insertion = {tree, position->leafPage, 0, false, IX_OK, {}};
    memcpy(insertion.entry, newEntry, static_cast<size_t>(entrySize(newEntry)));
    if (readNode(&tree->file, insertion.page, 0) != IX_OK) return IX_PAGE_IO;
    int offset = entryOffsetAt(engineState.nodeBuffer, position->ordinal);
    return insertUpward(&insertion, offset, index);
}

// Makes the page the one before its right neighbour.
static int linkBack(OpenFile* file, int page, int neighbour, int level)
{
    if (neighbour == NO_PAGE) return IX_OK;
    if (peekNode(file, neighbour, level) != IX_OK) return IX_PAGE_IO;
    if (nodePreviousPage(engineState.peekBuffer) == page) return IX_OK;
    storeInt16(engineState.peekBuffer + NODE_PREVIOUS_PAGE, page);
    return cachedPageWrite(file, engineState.peekBuffer, neighbour);
}

int finishSplit(IndexFile* tree, int level, int page)
{
    OpenFile* file = &tree->file;
    const uint8_t* node = engineState.nodeBuffer;
    int result = growFile(tree);
    if (result != IX_OK) return result;
    if (readNode(file, page, level) != IX_OK) return IX_PAGE_IO;
    int right = nodeNextPage(node);
    if (nodeCount(node) == 0 || right == NO_PAGE) return IX_PAGE_IO;
    Insertion insertion = {tree, page, level, false, IX_OK, {}};
    buildSeparator(&insertion, entryAt(node, nodeCount(node) - 1), right);
    if (readNode(file, right, level) != IX_OK) return IX_PAGE_IO;
    result = linkBack(file, right, nodeNextPage(node), level);
    if (result != IX_OK) return result;

    int offset = 0;
    result = goUp(&insertion, &offset);
    return result == IX_OK ? insertUpward(&insertion, offset, NO_INDEX) : result;
}
