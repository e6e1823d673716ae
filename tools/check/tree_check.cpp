#include "tools/check/tree_check.h"

#include <algorithm>

// A child that a branch refers to, with the separators on both sides of it: its
// keys are greater than `low` and not greater than `high`. None at the outer ends.
struct ChildReference {
    int page;
    const uint8_t* low;
    const uint8_t* high;
};

// One node of the level being checked. Entries are looked at only when walkable.
struct LevelNode {
    int page;
    const uint8_t* node;
    bool walkable;
    bool linked;                     // the node before it in the list names it as its next page
    const ChildReference* reference; // nullptr: no branch refers to it
};

static SoughtKey keyOf(const uint8_t* entry)
{
    return {entryKey(entry), entryNumber(entry), entrySegment(entry)};
}

// -- Pages that are in no tree ------------------------------------------------

// Pages that were not handed out yet are zero.
static void checkSparePages(CheckedFile* file)
{
    for (int page = file->header.nextFreePage; page < file->header.pagesInFile; ++page) {
        const uint8_t* bytes = pageAt(file, page);
        if (!isZero(bytes, bytes + NODE_PAGE_SIZE)) {
            complain(file, "page %d: not zero, though never handed out", page);
        }
    }
}

// -- One node ----------------------------------------------------------------

// What is wrong with the form of an entry of which `room` bytes lie in the entry
// area, or nullptr.
static const char* entryFault(const uint8_t* entry, int room, bool branch)
{
    if (room < 1 || isEndMarker(entry)) return "missing: fewer entries than the count says";
    int size = entrySize(entry);
    if (size > room) return "runs past the page";
    if (size < ENTRY_OVERHEAD + 1) return "too short for a key";
    if (entryIndex(entry) < MIN_INDEX || entryIndex(entry) > MAX_INDEX) return "no valid index";

    const uint8_t* keyLimit = entry + ENTRY_KEY + (size - ENTRY_OVERHEAD + 1);
    if (std::find(entry + ENTRY_KEY, keyLimit, 0) == keyLimit) return "key does not end";
    if (entryKeyLength(entry) > MAX_KEY + 1) return "key too long";
    if (branch && entryDataLength(entry) != CHILD_SIZE) return "no child page as its data";
    return nullptr;
}

// Checks the page as a node of the level, apart from order and references. True
// when its entries can be walked.
static bool checkNode(CheckedFile* file, int page, int level)
{
    const uint8_t* node = pageAt(file, page);
    if (nodeLevel(node) != level) {
        complain(file, "page %d: level %d where %d belongs", page, nodeLevel(node), level);
        return false;
    }
    int count = nodeCount(node);
    if (count < 0 || count > MAX_ENTRY_COUNT) {
        complain(file, "page %d: entry count %d", page, count);
        return false;
    }
    int used = 0;
    for (int i = 0; i < count; ++i) {
        const uint8_t* entry = node + NODE_ENTRIES + used;
        const char* fault = entryFault(entry, NODE_ENTRY_AREA - used, level > 0);
        if (fault != nullptr) {
            complain(file, "page %d: entry %d: %s", page, i, fault);
            return false;
        }
        used += entrySize(entry);
    }

    bool agrees = nodeFree(node) == NODE_ENTRY_AREA - used;
    if (!agrees) {
        complain(file, "page %d: free bytes %d where %d belong", page, nodeFree(node),
                 NODE_ENTRY_AREA - used);
    }
    bool zeroTail = isZero(node + NODE_ENTRIES + used, node + NODE_PAGE_SIZE);
    if (!zeroTail) complain(file, "page %d: not zero behind its last entry", page);
    if (level == 0 && nodeLeftmostChild(node) != 0) {
        complain(file, "page %d: a leaf with leftmost child %d", page, nodeLeftmostChild(node));
    }
    // The engine must not refuse what passed here.
    if (agrees && zeroTail && !nodeIsSound(node)) complain(file, "page %d: not sound", page);
    return true;
}

// Checks that the entries of the node ascend, also against the entry before them
// in the level. Answers the last entry there is by now.
static const uint8_t* checkOrder(CheckedFile* file, const LevelNode& item, const uint8_t* before)
{
    const uint8_t* entry = firstEntry(item.node);
    for (int i = 0; i < nodeCount(item.node); ++i, entry = nextEntry(entry)) {
        SoughtKey key = keyOf(entry);
        if (before != nullptr && compareWithSegments(before, &key) >= 0) {
            complain(file, "page %d: entry %d is not greater than the one before it: %s", item.page,
                     i, describeEntry(entry).c_str());
        }
        before = entry;
    }
    return before;
}

// Checks the entries against the separators on both sides of the node. A search
// must come by to each entry of a leaf, and it takes the first segment of a record
// as equal to a separator that names any other; separators themselves are ordered
// down to the segment.
static void checkBounds(CheckedFile* file, const LevelNode& item)
{
    bool leaf = nodeLevel(item.node) == 0;
    const uint8_t* low = item.reference->low;
    const uint8_t* high = item.reference->high;
    const uint8_t* entry = firstEntry(item.node);
    for (int i = 0; i < nodeCount(item.node); ++i, entry = nextEntry(entry)) {
        SoughtKey key = keyOf(entry);
        auto compare = leaf ? compareEntry : compareWithSegments;
        if (low != nullptr && compare(low, &key) >= 0) {
            complain(file, "page %d: entry %d is not above the separator before its page: %s",
                     item.page, i, describeEntry(entry).c_str());
        }
        if (high != nullptr && compare(high, &key) < 0) {
            complain(file, "page %d: entry %d is above the separator behind its page: %s",
                     item.page, i, describeEntry(entry).c_str());
        }
    }
}

// -- One level ---------------------------------------------------------------

// Follows the chain of a level from a page that was not seen yet; appends its nodes
// and marks their pages as seen. Checks each node and the links both ways, but for
// the first page's link back unless it is the first of the level. Ends at a page of
// another level, whose chain is another one.
static void walkChain(CheckedFile* file, int first, int level, std::vector<LevelNode>* nodes)
{
    bool linked = false;
    int previous = NO_PAGE;
    for (int page = first; page != NO_PAGE;) {
        const char* fault = nullptr;
        if (!pageHandedOut(file, page)) {
            fault = "is not a page of the file";
        } else if (file->pageSeen[static_cast<size_t>(page)]) {
            fault = "has its place already";
        }
        if (fault != nullptr) {
            complain(file, "page %d: next page %d %s", previous, page, fault);
            return;
        }
        file->pageSeen[static_cast<size_t>(page)] = true;

        const uint8_t* node = pageAt(file, page);
        if ((linked || nodes->empty()) && nodePreviousPage(node) != previous) {
            complain(file, "page %d: previous page %d where %d belongs", page,
                     nodePreviousPage(node), previous);
        }
        bool walkable = checkNode(file, page, level);
        nodes->push_back({page, node, walkable, linked, nullptr});
        linked = true;
        if (nodeLevel(node) != level) return;
        previous = page;
        page = nodeNextPage(node);
    }
}

// Finds the nodes of a level: along its chain, and where that is broken again from
// the next page that a branch refers to. Gives each node its reference.
static std::vector<LevelNode> findNodes(CheckedFile* file, int level,
                                        const std::vector<ChildReference>& references)
{
    constexpr int NOT_MET = -1;
    std::vector<LevelNode> nodes;
    std::vector<int> placeOfPage(static_cast<size_t>(file->header.nextFreePage), NOT_MET);
    size_t placed = 0;
    int placeBefore = NOT_MET;
    for (const ChildReference& reference : references) {
        if (!pageHandedOut(file, reference.page)) {
            complain(file, "page %d: a child, but not a page of the file", reference.page);
            continue;
        }
        size_t page = static_cast<size_t>(reference.page);
        if (placeOfPage[page] == NOT_MET && file->pageSeen[page]) {
            complain(file, "page %d: a child, but of a level above %d", reference.page, level);
            continue;
        }
        if (placeOfPage[page] == NOT_MET) {
            if (!nodes.empty()) {
                complain(file, "page %d: a child, but not in the chain of level %d", reference.page,
                         level);
            }
            walkChain(file, reference.page, level, &nodes);
            for (; placed < nodes.size(); ++placed) {
                placeOfPage[static_cast<size_t>(nodes[placed].page)] = static_cast<int>(placed);
            }
        }
        int place = placeOfPage[page];
        LevelNode* item = &nodes[static_cast<size_t>(place)];
        if (item->reference != nullptr) {
            complain(file, "page %d: a child more than once", reference.page);
            continue;
        }
        item->reference = &reference;
        if (place < placeBefore) complain(file, "page %d: a child out of order", reference.page);
        placeBefore = place;
    }
    for (const LevelNode& item : nodes) {
        if (item.reference == nullptr) complain(file, "page %d: no branch refers to it", item.page);
    }
    return nodes;
}

// The last entry of a branch with a right neighbour is no separator of its own:
// it bounds the node, and its child is the neighbour's leftmost.
static void checkUpperBound(CheckedFile* file, const LevelNode& item, const LevelNode& neighbour)
{
    int count = nodeCount(item.node);
    if (count == 0) {
        complain(file, "page %d: a branch with a right neighbour and no entry", item.page);
        return;
    }
    int child = entryChild(entryAt(item.node, count - 1));
    if (child != nodeLeftmostChild(neighbour.node)) {
        complain(file, "page %d: its bound has child %d, its neighbour leftmost child %d",
                 item.page, child, nodeLeftmostChild(neighbour.node));
    }
}

// Appends the children of a branch with the separators between them.
static void collectChildren(const LevelNode& item, std::vector<ChildReference>* children)
{
    const uint8_t* low = item.reference != nullptr ? item.reference->low : nullptr;
    const uint8_t* end = item.reference != nullptr ? item.reference->high : nullptr;
    bool bounded = nodeNextPage(item.node) != NO_PAGE;

    int child = nodeLeftmostChild(item.node);
    const uint8_t* entry = firstEntry(item.node);
    for (int i = 0; i < nodeCount(item.node); ++i, entry = nextEntry(entry)) {
        children->push_back({child, low, entry});
        child = entryChild(entry);
        low = entry;
    }
    if (!bounded || nodeCount(item.node) == 0) children->push_back({child, low, end});
}

// Checks one level from the references of the one above. Answers the references
// of this level to the next; a level of leaves adds its entries to the file's.
static std::vector<ChildReference> checkLevel(CheckedFile* file, int level,
                                              const std::vector<ChildReference>& references)
{
    std::vector<LevelNode> nodes = findNodes(file, level, references);
    std::vector<ChildReference> children;
    const uint8_t* before = nullptr;
    for (size_t i = 0; i < nodes.size(); ++i) {
        const LevelNode& item = nodes[i];
        if (!item.walkable) continue;
        before = checkOrder(file, item, item.linked ? before : nullptr);
        if (item.reference != nullptr) checkBounds(file, item);
        if (level > 0) {
            bool neighbour = i + 1 < nodes.size() && nodes[i + 1].linked;
            if (neighbour && nodes[i + 1].walkable) checkUpperBound(file, item, nodes[i + 1]);
            collectChildren(item, &children);
            continue;
        }
        const uint8_t* entry = firstEntry(item.node);
        for (int k = 0; k < nodeCount(item.node); ++k, entry = nextEntry(entry)) {
            file->leafEntries.push_back(entry);
        }
    }
    return children;
}

// -- The tree ----------------------------------------------------------------

void checkTree(CheckedFile* file)
{
    checkSparePages(file);
    file->pageSeen.assign(static_cast<size_t>(file->header.nextFreePage), false);
    file->report.pages = file->header.nextFreePage;

    std::vector<ChildReference> references = {{file->header.rootPage, nullptr, nullptr}};
    for (int level = file->header.height - 1; level >= 0 && !references.empty(); --level) {
        references = checkLevel(file, level, references);
        ++file->report.levels;
    }
    file->report.entries = static_cast<int>(file->leafEntries.size());

    for (int page = 0; page < file->header.nextFreePage; ++page) {
        if (file->pageSeen[static_cast<size_t>(page)]) continue;
        const uint8_t* bytes = pageAt(file, page);
        complain(file, "%spage %d was handed out%s", UNREACHABLE_COMPLAINT, page,
                 isZero(bytes, bytes + NODE_PAGE_SIZE) ? " and never written"
                                                       : ", but no level has it");
    }
}
