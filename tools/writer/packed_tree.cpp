#include "tools/writer/packed_tree.h"

#include "format/format.h"

// A page of the level being made, as the level above refers to it.
struct PackedNode {
    int page;
    size_t lastEntry; // its place in the file
};

// The file as far as it has come.
struct Packing {
    std::vector<uint8_t> bytes;
    int pages;
};

static uint8_t* pageOf(Packing* packing, int page)
{
    return packing->bytes.data() + FIRST_PAGE_OFFSET + static_cast<size_t>(page) * NODE_PAGE_SIZE;
}

// Appends an empty page behind the last one, its left neighbour when both are of one level.
static PackedNode addPage(Packing* packing, int level, int leftmostChild)
{
    int page = packing->pages++;
    packing->bytes.resize(packing->bytes.size() + NODE_PAGE_SIZE);
    uint8_t empty[NODE_BUFFER_SIZE];
    initNode(empty, level, leftmostChild);
    uint8_t* node = pageOf(packing, page);
    memcpy(node, empty, NODE_PAGE_SIZE);
    if (page == 0) return {page, 0};
    uint8_t* before = pageOf(packing, page - 1);
    if (nodeLevel(before) == level) {
        storeInt16(node + NODE_PREVIOUS_PAGE, page - 1);
        storeInt16(before + NODE_NEXT_PAGE, page);
    }
    return {page, 0};
}

// Appends an entry to the node. False when it has no room for it.
static bool addEntry(Packing* packing, PackedNode* node, const uint8_t* entry)
{
    uint8_t* page = pageOf(packing, node->page);
    int count = nodeCount(page);
    if (entrySize(entry) > nodeFree(page) || count == MAX_ENTRY_COUNT) return false;
    uint8_t* place = page + NODE_ENTRIES + nodeUsed(page);
    memcpy(place, entry, static_cast<size_t>(entrySize(entry)));
    storeInt16(page + NODE_COUNT, count + 1);
    storeInt16(page + NODE_FREE, nodeFree(page) - entrySize(entry));
    node->lastEntry = static_cast<size_t>(place - packing->bytes.data());
    return true;
}

static std::vector<PackedNode> packLeaves(Packing* packing,
                                          const std::vector<const uint8_t*>& entries)
{
    std::vector<PackedNode> leaves = {addPage(packing, 0, 0)};
    for (const uint8_t* entry : entries) {
        if (addEntry(packing, &leaves.back(), entry)) continue;
        if (packing->pages == MAX_PAGES_IN_FILE) return {};
        leaves.push_back(addPage(packing, 0, 0));
        addEntry(packing, &leaves.back(), entry);
    }
    return leaves;
}

// Builds the entry that separates a node from the one that follows it: the last entry of the
// first, with the second as its child.
static void buildSeparator(uint8_t* separator, const Packing* packing, const PackedNode& node,
                           int child)
{
    const uint8_t* last = packing->bytes.data() + node.lastEntry;
    uint8_t data[CHILD_SIZE];
    storeInt16(data, child);
    buildEntry(separator, entryKey(last), entryNumber(last), entrySegment(last), data, CHILD_SIZE);
}

// The branches above a level. Where one is full, its last entry is its upper bound, and that
// entry's child the leftmost of the next.
static std::vector<PackedNode> packBranches(Packing* packing, int level,
                                            const std::vector<PackedNode>& children)
{
    std::vector<PackedNode> branches = {addPage(packing, level, children.front().page)};
    for (size_t i = 0; i + 1 < children.size(); ++i) {
        uint8_t separator[MAX_ENTRY_SIZE];
        buildSeparator(separator, packing, children[i], children[i + 1].page);
        if (addEntry(packing, &branches.back(), separator)) continue;
        if (packing->pages == MAX_PAGES_IN_FILE) return {};
        branches.push_back(addPage(packing, level, children[i].page));
        addEntry(packing, &branches.back(), separator);
    }
    return branches;
}

// Enough for the leaves, which leave room for less than an entry each, and the branches above.
static size_t likelySize(const std::vector<const uint8_t*>& entries)
{
    size_t bytes = FIRST_PAGE_OFFSET;
    for (const uint8_t* entry : entries) {
        bytes += static_cast<size_t>(entrySize(entry));
    }
    return bytes + bytes / 8;
}

std::vector<uint8_t> packTree(const std::vector<const uint8_t*>& entries, int32_t sequenceCounter,
                              uint32_t changeCounter)
{
    Packing packing = {std::vector<uint8_t>(FIRST_PAGE_OFFSET, 0), 0};
    packing.bytes.reserve(likelySize(entries));
    std::vector<PackedNode> level = packLeaves(&packing, entries);
    int height = 1;
    while (level.size() > 1 && packing.pages < MAX_PAGES_IN_FILE) {
        level = packBranches(&packing, height, level);
        ++height;
    }
    if (level.size() != 1) return {};

    FileHeader header = {};
    header.rootPage = level.front().page;
    header.height = height;
    header.nextFreePage = packing.pages;
    header.pagesInFile = packing.pages;
    header.sequenceCounter = sequenceCounter;
    header.changeCounter = changeCounter;
    encodeHeader(packing.bytes.data(), &header);
    return std::move(packing.bytes);
}
