#include "tools/check/tree_check.h"

#include "tools/check/entry_key.h"

#include <algorithm>
#include <utility>

// A child that a branch refers to, with the separators on both sides of it: its keys are
// greater than that of low and not greater than that of high.
struct ChildReference {
    int page;
    const uint8_t* low;  // null at the lower end of the level
    const uint8_t* high; // null at its upper end
};

// One node of the level being checked.
struct LevelNode {
    int page;
    const uint8_t* node;
    bool walkable;                   // its entries may be looked at
    bool linked;                     // the node before it in the list names it as its next page
    const ChildReference* reference; // null: no branch refers to it
};

// The nodes of a level while they are being found.
struct Level {
    int level;
    std::vector<LevelNode> nodes;
    std::vector<int> placeOfPage; // for each page handed out: its place in nodes, or NOT_MET
};

constexpr int NOT_MET = -1;
constexpr int NOT_WALKABLE = -1; // in place of the bytes of a page's entries

// -- Pages that are in no tree ------------------------------------------------

// Checks that the pages that were not handed out yet are zero.
static void checkSparePages(CheckedFile* file)
{
    for (int page = file->header.nextFreePage; page < file->header.pagesInFile; ++page) {
        const uint8_t* bytes = pageAt(file, page);
        if (!isZero(bytes, bytes + NODE_PAGE_SIZE)) {
            complain(&file->report, "page %d: not zero, though never handed out", page);
        }
    }
}

// -- One node ----------------------------------------------------------------

// Returns what is wrong with the form of an entry, or null. room bytes lie between it and the
// end of the entry area.
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

// Checks the form of as many entries as the count of the page says. Returns the bytes that they
// take, or NOT_WALKABLE.
static int checkEntries(CheckedFile* file, int page, bool branch)
{
    const uint8_t* node = pageAt(file, page);
    int used = 0;
    for (int i = 0; i < nodeCount(node); ++i) {
        const uint8_t* entry = node + NODE_ENTRIES + used;
        const char* fault = entryFault(entry, NODE_ENTRY_AREA - used, branch);
        if (fault != nullptr) {
            complain(&file->report, "page %d: entry %d: %s", page, i, fault);
            return NOT_WALKABLE;
        }
        used += entrySize(entry);
    }
    return used;
}

// Checks what a page whose entries take so many bytes has around them.
static void checkFrame(CheckedFile* file, int page, int used)
{
    const uint8_t* node = pageAt(file, page);
    bool agrees = nodeFree(node) == NODE_ENTRY_AREA - used;
    if (!agrees) {
        complain(&file->report, "page %d: free bytes %d where %d belong", page, nodeFree(node),
                 NODE_ENTRY_AREA - used);
    }
    bool zeroTail = isZero(node + NODE_ENTRIES + used, node + NODE_PAGE_SIZE);
    if (!zeroTail) complain(&file->report, "page %d: not zero behind its last entry", page);
    if (nodeLevel(node) == 0 && nodeLeftmostChild(node) != 0) {
        complain(&file->report, "page %d: a leaf with leftmost child %d", page,
                 nodeLeftmostChild(node));
    }
    // The engine must not refuse what passed here.
    if (agrees && zeroTail && !nodeIsSound(node)) {
        complain(&file->report, "page %d: not sound", page);
    }
}

// Checks the page as a node of the level, apart from order and references. True
// when its entries can be walked.
static bool checkNode(CheckedFile* file, int page, int level)
{
    const uint8_t* node = pageAt(file, page);
    if (nodeLevel(node) != level) {
        complain(&file->report, "page %d: level %d where %d belongs", page, nodeLevel(node), level);
        return false;
    }
    if (nodeCount(node) < 0 || nodeCount(node) > MAX_ENTRY_COUNT) {
        complain(&file->report, "page %d: entry count %d", page, nodeCount(node));
        return false;
    }
    int used = checkEntries(file, page, level > 0);
    if (used == NOT_WALKABLE) return false;
    checkFrame(file, page, used);
    return true;
}

// Checks that the entries of the node ascend from the entry that is before them in the level.
// Returns the last entry of the level so far.
static const uint8_t* checkOrder(CheckedFile* file, const LevelNode& item, const uint8_t* before)
{
    const uint8_t* entry = firstEntry(item.node);
    for (int i = 0; i < nodeCount(item.node); ++i, entry = nextEntry(entry)) {
        SoughtKey key = keyOf(entry);
        if (before != nullptr && compareWithSegments(before, &key) >= 0) {
            complain(&file->report, "page %d: entry %d is not greater than the one before it: %s",
                     item.page, i, describeEntry(entry).c_str());
        }
        before = entry;
    }
    return before;
}

// Checks the entries against the separators on both sides of the node. A search must get to
// each entry of a leaf, and it takes the first segment of a record as equal to a separator that
// names any other segment; separators themselves are ordered down to the segment.
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
            complain(&file->report,
                     "page %d: entry %d is not above the separator before its page: %s", item.page,
                     i, describeEntry(entry).c_str());
        }
        if (high != nullptr && compare(high, &key) < 0) {
            complain(&file->report, "page %d: entry %d is above the separator behind its page: %s",
                     item.page, i, describeEntry(entry).c_str());
        }
    }
}

// -- One level ---------------------------------------------------------------

// Returns why a page cannot be the next one in the chain of a level, or null.
static const char* nextPageFault(const CheckedFile* file, int page)
{
    if (!pageHandedOut(file, page)) return "is not a page of the file";
    if (file->pageSeen[static_cast<size_t>(page)]) return "has its place already";
    return nullptr;
}

// Follows the chain of a level from a page that was not seen yet; appends its nodes
// and marks their pages as seen. Checks each node and the links both ways, but the first page's
// link back only when it is the first page of the level. Stops at a page of another level,
// which belongs to another chain.
static void walkChain(CheckedFile* file, int first, int level, std::vector<LevelNode>* nodes)
{
    bool linked = false;
    int previous = NO_PAGE;
    for (int page = first; page != NO_PAGE;) {
        const char* fault = nextPageFault(file, page);
        if (fault != nullptr) {
            complain(&file->report, "page %d: next page %d %s", previous, page, fault);
            return;
        }
        file->pageSeen[static_cast<size_t>(page)] = true;

        const uint8_t* node = pageAt(file, page);
        if ((linked || nodes->empty()) && nodePreviousPage(node) != previous) {
            complain(&file->report, "page %d: previous page %d where %d belongs", page,
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

// Returns the place of a child among the nodes of its level, or NOT_MET. A child that was not
// met yet begins a chain, whose nodes are then found.
static int placeOfChild(CheckedFile* file, int child, Level* level)
{
    if (!pageHandedOut(file, child)) {
        complain(&file->report, "page %d: a child, but not a page of the file", child);
        return NOT_MET;
    }
    size_t page = static_cast<size_t>(child);
    if (level->placeOfPage[page] != NOT_MET) return level->placeOfPage[page];
    if (file->pageSeen[page]) {
        complain(&file->report, "page %d: a child, but of a level above %d", child, level->level);
        return NOT_MET;
    }
    if (!level->nodes.empty()) {
        complain(&file->report, "page %d: a child, but not in the chain of level %d", child,
                 level->level);
    }
    size_t place = level->nodes.size();
    walkChain(file, child, level->level, &level->nodes);
    for (; place < level->nodes.size(); ++place) {
        size_t found = static_cast<size_t>(level->nodes[place].page);
        level->placeOfPage[found] = static_cast<int>(place);
    }
    return level->placeOfPage[page];
}

// Finds the nodes of a level: along its chain, and where that is broken once more from
// the next page to which a branch refers. Gives each node its reference.
static std::vector<LevelNode> findNodes(CheckedFile* file, int level,
                                        const std::vector<ChildReference>& references)
{
    size_t pages = static_cast<size_t>(file->header.nextFreePage);
    Level found = {level, {}, std::vector<int>(pages, NOT_MET)};
    int placeBefore = NOT_MET;
    for (const ChildReference& reference : references) {
        int place = placeOfChild(file, reference.page, &found);
        if (place == NOT_MET) continue;
        LevelNode* item = &found.nodes[static_cast<size_t>(place)];
        if (item->reference != nullptr) {
            complain(&file->report, "page %d: a child more than once", reference.page);
            continue;
        }
        item->reference = &reference;
        if (place < placeBefore) {
            complain(&file->report, "page %d: a child out of order", reference.page);
        }
        placeBefore = place;
    }
    for (const LevelNode& item : found.nodes) {
        if (item.reference != nullptr) continue;
        complain(&file->report, "page %d: no branch refers to it", item.page);
    }
    return std::move(found.nodes);
}

// Checks the last entry of a branch with a right neighbour. It separates no children of the
// branch: it bounds the node, and its child is the neighbour's leftmost.
static void checkUpperBound(CheckedFile* file, const LevelNode& item, const LevelNode& neighbour)
{
    int count = nodeCount(item.node);
    if (count == 0) {
        complain(&file->report, "page %d: a branch with a right neighbour and no entry", item.page);
        return;
    }
    int child = entryChild(entryAt(item.node, count - 1));
    if (child != nodeLeftmostChild(neighbour.node)) {
        complain(&file->report, "page %d: its bound has child %d, its neighbour leftmost child %d",
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

static void collectLeafEntries(CheckedFile* file, const LevelNode& item)
{
    const uint8_t* entry = firstEntry(item.node);
    for (int i = 0; i < nodeCount(item.node); ++i, entry = nextEntry(entry)) {
        file->leafEntries.push_back(entry);
    }
}

// Checks one level from the references of the one above. Returns the references to the level
// below; a level of leaves has none, and adds its entries to those of the file.
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
        if (level == 0) {
            collectLeafEntries(file, item);
            continue;
        }
        bool neighbour = i + 1 < nodes.size() && nodes[i + 1].linked;
        if (neighbour && nodes[i + 1].walkable) checkUpperBound(file, item, nodes[i + 1]);
        collectChildren(item, &children);
    }
    return children;
}

// -- The tree ----------------------------------------------------------------

// Checks that every page that was handed out has its place in a level.
static void checkEveryPageSeen(CheckedFile* file)
{
    for (int page = 0; page < file->header.nextFreePage; ++page) {
        if (file->pageSeen[static_cast<size_t>(page)]) continue;
        const uint8_t* bytes = pageAt(file, page);
        ++file->report.lostPages;
        complainOfLoss(&file->report, "%spage %d was handed out%s", UNREACHABLE_COMPLAINT, page,
                       isZero(bytes, bytes + NODE_PAGE_SIZE) ? " and never written"
                                                             : ", but no level has it");
    }
}

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
    checkEveryPageSeen(file);
}
