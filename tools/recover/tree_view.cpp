#include "tools/recover/tree_view.h"

#include <algorithm>

const uint8_t* viewPage(const TreeView* view, int page)
{
    return view->bytes->data() + FIRST_PAGE_OFFSET + static_cast<size_t>(page) * NODE_PAGE_SIZE;
}

static bool isNode(const TreeView* view, int page, int level)
{
    if (page < 0 || page >= view->pages) return false;
    const uint8_t* node = viewPage(view, page);
    return nodeLevel(node) == level && nodeIsSound(node);
}

static bool isBlank(const uint8_t* node)
{
    return std::all_of(node, node + NODE_PAGE_SIZE, [](uint8_t byte) { return byte == 0; });
}

// -- The root ----------------------------------------------------------------

// The one sound page of the highest level, when there is one.
static void findRoot(TreeView* view)
{
    int highest = -1;
    view->rootPage = NO_PAGE;
    for (int page = 0; page < view->pages; ++page) {
        const uint8_t* node = viewPage(view, page);
        if (!nodeIsSound(node) || nodeLevel(node) < highest) continue;
        view->rootPage = nodeLevel(node) > highest ? page : NO_PAGE;
        highest = nodeLevel(node);
    }
    view->height = highest + 1;
}

// Marks what the branches lead to.
static void markReached(TreeView* view)
{
    view->reached.assign(static_cast<size_t>(view->pages), false);
    if (view->rootPage == NO_PAGE) return;
    std::vector<int> level = {view->rootPage};
    view->reached[static_cast<size_t>(view->rootPage)] = true;
    for (int height = view->height - 1; height > 0; --height) {
        std::vector<int> below;
        auto mark = [&](int child) {
            if (child < 0 || child >= view->pages || view->reached[static_cast<size_t>(child)]) {
                return;
            }
            view->reached[static_cast<size_t>(child)] = true;
            below.push_back(child);
        };
        for (int page : level) {
            if (!isNode(view, page, height)) continue;
            const uint8_t* node = viewPage(view, page);
            mark(nodeLeftmostChild(node));
            const uint8_t* entry = firstEntry(node);
            for (int i = 0; i < nodeCount(node); ++i, entry = nextEntry(entry)) {
                mark(entryChild(entry));
            }
        }
        level = std::move(below);
    }
}

static bool reachesAllLeaves(const TreeView* view)
{
    for (int page = 0; page < view->pages; ++page) {
        const uint8_t* node = viewPage(view, page);
        bool isLeaf = nodeLevel(node) == 0 && !isBlank(node);
        if (isLeaf && !view->reached[static_cast<size_t>(page)]) return false;
    }
    return true;
}

TreeView viewTree(const std::vector<uint8_t>* bytes)
{
    TreeView view = {bytes, 0, NO_PAGE, 0, {}};
    if (bytes->size() < FIRST_PAGE_OFFSET) return view;
    view.pages = static_cast<int>((bytes->size() - FIRST_PAGE_OFFSET) / NODE_PAGE_SIZE);
    FileHeader header = decodeHeader(bytes->data());
    view.rootPage = header.rootPage;
    view.height = header.height;
    bool known = headerHasMagic(bytes->data(), CURRENT_MAGIC) && headerIsSound(&header) &&
                 isNode(&view, header.rootPage, header.height - 1);
    if (!known) findRoot(&view);
    markReached(&view);
    // A page that was found may be the root of a part alone.
    if (!known && !reachesAllLeaves(&view)) {
        view.rootPage = NO_PAGE;
        markReached(&view);
    }
    return view;
}

// -- Searches ----------------------------------------------------------------

// The bounds of the place where a search is: its keys are above low and not above high.
struct Bounds {
    const uint8_t* low; // null: none
    const uint8_t* high;
};

static bool isAbove(const uint8_t* entry, const uint8_t* bound)
{
    if (bound == nullptr) return true;
    SoughtKey key = keyOf(bound);
    return compareWithSegments(entry, &key) > 0;
}

// Goes from a branch to its child, or to its neighbour when every entry is below the key; *below
// tells which.
static int nextOnTheWay(const uint8_t* node, const SoughtKey* key, Bounds* bounds, bool* below)
{
    int child = nodeLeftmostChild(node);
    const uint8_t* entry = firstEntry(node);
    int i = 0;
    for (; i < nodeCount(node) && compareWithSegments(entry, key) < 0; ++i) {
        if (isAbove(entry, bounds->low)) bounds->low = entry;
        child = entryChild(entry);
        entry = nextEntry(entry);
    }
    bool all = i == nodeCount(node);
    *below = !all || nodeNextPage(node) == NO_PAGE;
    if (!*below) return nodeNextPage(node);
    if (!all && (bounds->high == nullptr || !isAbove(entry, bounds->high))) bounds->high = entry;
    return child;
}

// True when the leaf's first entry lies within the bounds. An empty one is to be the neighbour of
// its neighbour.
static bool coversPlace(const TreeView* view, int page, const Bounds& bounds)
{
    const uint8_t* leaf = viewPage(view, page);
    if (nodeCount(leaf) == 0) {
        int before = nodePreviousPage(leaf);
        if (before != NO_PAGE) {
            return isNode(view, before, 0) && nodeNextPage(viewPage(view, before)) == page;
        }
        int behind = nodeNextPage(leaf);
        return behind == NO_PAGE ||
               (isNode(view, behind, 0) && nodePreviousPage(viewPage(view, behind)) == page);
    }
    const uint8_t* first = firstEntry(leaf);
    return isAbove(first, bounds.low) && (bounds.high == nullptr || !isAbove(first, bounds.high));
}

// A leaf that was cut by a split may stand before its right half without a separator between
// them. Returns that half when the key is one of its own, else the page.
static int rightHalf(const TreeView* view, int page, const SoughtKey* key)
{
    const uint8_t* leaf = viewPage(view, page);
    int next = nodeNextPage(leaf);
    if (!isNode(view, next, 0) || nodePreviousPage(viewPage(view, next)) != page) return page;
    const uint8_t* right = viewPage(view, next);
    if (nodeCount(right) == 0 || compareWithSegments(firstEntry(right), key) > 0) return page;
    const uint8_t* entry = firstEntry(leaf);
    for (int i = 0; i < nodeCount(leaf); ++i, entry = nextEntry(entry)) {
        if (compareWithSegments(entry, key) >= 0) return page;
    }
    return next;
}

Landing landingOf(const TreeView* view, const SoughtKey* key)
{
    constexpr Landing LOST = {NO_PAGE, false};
    Bounds bounds = {nullptr, nullptr};
    int page = view->rootPage;
    int level = view->height - 1;
    for (int steps = 0; steps <= view->pages && isNode(view, page, level); ++steps) {
        if (level == 0) {
            int half = rightHalf(view, page, key);
            bool covers = half != page || coversPlace(view, page, bounds);
            return {half, covers};
        }
        bool below = false;
        page = nextOnTheWay(viewPage(view, page), key, &bounds, &below);
        if (below) --level;
    }
    return LOST;
}

uint8_t trustIn(const TreeView* view, const SalvagedEntry& found)
{
    SoughtKey key = keyOf(found.entry);
    Landing landing = landingOf(view, &key);
    if (landing.page == found.page) return TRUST_IN_PLACE;
    bool reached = view->reached[static_cast<size_t>(found.page)];
    return landing.covers && !reached ? TRUST_DENIED : TRUST_UNKNOWN;
}

bool hasLeafFor(const TreeView* view, const SoughtKey* key) { return landingOf(view, key).covers; }
