#include "tools/tree_check.h"

#include "engine/key_order.h"
#include "engine/node_page.h"
#include "tools/check_parts.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <fstream>

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

void complain(CheckedFile* file, const char* format, ...)
{
    size_t count = file->report.complaints.size();
    if (count > MAX_COMPLAINTS) return;
    if (count == MAX_COMPLAINTS) {
        file->report.complaints.emplace_back("more complaints are not listed");
        return;
    }
    char line[1024]; // a described key is up to 404 characters long
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    file->report.complaints.emplace_back(line);
}

std::string describeEntry(const uint8_t* entry)
{
    std::string text = "index " + std::to_string(entryIndex(entry)) + " key \"";
    for (const char* c = entryKey(entry) + 1; *c != 0; ++c) {
        char code[4] = {*c, 0, 0, 0};
        if (*c < ' ' || *c > '~') snprintf(code, sizeof code, "\\%02x", static_cast<uint8_t>(*c));
        text += code;
    }
    return text + "\" number " + std::to_string(entryNumber(entry));
}

static SoughtKey keyOf(const uint8_t* entry)
{
    return {entryKey(entry), entryNumber(entry), entrySegment(entry)};
}

static bool pageHandedOut(const CheckedFile* file, int page)
{
    return page >= 0 && page < file->nextFreePage;
}

static const uint8_t* pageAt(const CheckedFile* file, int page)
{
    return file->bytes.data() + FIRST_PAGE_OFFSET + static_cast<size_t>(page) * NODE_PAGE_SIZE;
}

static bool isZero(const uint8_t* bytes, const uint8_t* end)
{
    return std::all_of(bytes, end, [](uint8_t byte) { return byte == 0; });
}

// -- File and header ---------------------------------------------------------

// Reads the file, but no more than the largest job database has, and of the header area
// only its record and the busy marker: the user slots lie in between, and where locks
// bind readers they cannot be read as long as somebody has the file open. False, with
// the complaint made, when it cannot be read.
static bool readFile(CheckedFile* file, const std::string& path)
{
    constexpr size_t LARGEST =
        FIRST_PAGE_OFFSET + static_cast<size_t>(MAX_PAGES_IN_FILE) * NODE_PAGE_SIZE;
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(nullptr, 0); // nothing is read ahead
    stream.open(path, std::ios::binary);
    char chunk[NODE_PAGE_SIZE] = {};
    stream.read(chunk, HEADER_SIZE);
    stream.seekg(BUSY_MARKER_OFFSET);
    stream.read(chunk + BUSY_MARKER_OFFSET, FIRST_PAGE_OFFSET - BUSY_MARKER_OFFSET);
    if (stream) file->bytes.assign(chunk, chunk + FIRST_PAGE_OFFSET);
    while (stream && file->bytes.size() < LARGEST) {
        stream.read(chunk, sizeof chunk);
        file->bytes.insert(file->bytes.end(), chunk, chunk + stream.gcount());
    }
    // A directory, for one, opens and then goes bad.
    file->report.readable = stream.is_open() && !stream.bad();
    if (!file->report.readable) complain(file, "the file cannot be read");
    return file->report.readable;
}

// Checks the header against itself and the file's length. False when the pages
// cannot be looked at.
static bool checkHeader(CheckedFile* file)
{
    const uint8_t* header = file->bytes.data();
    if (file->bytes.size() < FIRST_PAGE_OFFSET) {
        complain(file, "header: the file ends within it");
        return false;
    }
    for (int i = 0; i < MAGIC_LENGTH; ++i) {
        if (header[HEADER_MAGIC_OFFSETS[i]] != static_cast<uint8_t>(CURRENT_MAGIC[i])) {
            complain(file, "header: the magic characters are not %s", CURRENT_MAGIC);
            return false;
        }
    }
    file->rootPage = loadInt16(header + HEADER_ROOT_PAGE);
    file->height = loadInt16(header + HEADER_HEIGHT);
    file->nextFreePage = loadInt16(header + HEADER_NEXT_FREE_PAGE);
    file->pagesInFile = loadInt16(header + HEADER_PAGES_IN_FILE);
    file->sequenceCounter = loadInt32(header + HEADER_SEQUENCE_COUNTER);

    int wholePages = static_cast<int>((file->bytes.size() - FIRST_PAGE_OFFSET) / NODE_PAGE_SIZE);
    bool possible = true;
    if (file->pagesInFile < 1 || file->pagesInFile > wholePages) {
        complain(file, "header: %d pages in file, but the file has room for %d", file->pagesInFile,
                 wholePages);
        possible = false;
    }
    if (file->nextFreePage < 1 || file->nextFreePage > file->pagesInFile) {
        complain(file, "header: next free page %d of %d pages in file", file->nextFreePage,
                 file->pagesInFile);
        possible = false;
    }
    if (!pageHandedOut(file, file->rootPage)) {
        complain(file, "header: root page %d is not below next free page %d", file->rootPage,
                 file->nextFreePage);
        possible = false;
    }
    if (file->height < 1 || file->height > MAX_HEIGHT) {
        complain(file, "header: height %d", file->height);
        possible = false;
    }
    return possible;
}

// Pages that were not handed out yet are zero.
static void checkSparePages(CheckedFile* file)
{
    for (int page = file->nextFreePage; page < file->pagesInFile; ++page) {
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
    std::vector<int> placeOfPage(static_cast<size_t>(file->nextFreePage), NOT_MET);
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

static void checkTree(CheckedFile* file)
{
    file->pageSeen.assign(static_cast<size_t>(file->nextFreePage), false);
    file->report.pages = file->nextFreePage;

    std::vector<ChildReference> references = {{file->rootPage, nullptr, nullptr}};
    for (int level = file->height - 1; level >= 0 && !references.empty(); --level) {
        references = checkLevel(file, level, references);
        ++file->report.levels;
    }
    file->report.entries = static_cast<int>(file->leafEntries.size());

    for (int page = 0; page < file->nextFreePage; ++page) {
        if (file->pageSeen[static_cast<size_t>(page)]) continue;
        const uint8_t* bytes = pageAt(file, page);
        complain(file, "%spage %d was handed out%s", UNREACHABLE_COMPLAINT, page,
                 isZero(bytes, bytes + NODE_PAGE_SIZE) ? " and never written"
                                                       : ", but no level has it");
    }
}

// Reads the file and checks its tree and segments. False when there is no tree to
// look at.
static bool checkPages(CheckedFile* file, const std::string& path)
{
    if (!readFile(file, path) || !checkHeader(file)) return false;
    checkSparePages(file);
    checkTree(file);
    checkSegments(file);
    return true;
}

CheckReport checkJobFile(const std::string& path)
{
    CheckedFile file;
    if (checkPages(&file, path)) checkRecords(&file);
    return file.report;
}

CheckReport checkTreeFile(const std::string& path)
{
    CheckedFile file;
    checkPages(&file, path);
    return file.report;
}
