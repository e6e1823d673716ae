#include "engine/descent.h"

// The child that a descent goes on to.
struct Child {
    int page;        // NO_PAGE when a neighbour cannot be read
    int following;   // the page behind it at its level, as far as the branch tells
    int branch;      // page of the branch that has it: the one looked at or a neighbour
    int boundOffset; // of that branch's entry behind it
};

// The entry from which a walk leads to the first one at or after the sought key: the last marked
// one below it, or the first of the node.
static const uint8_t* startOfWalk(const NodeView* view, const SoughtKey* sought, int* ordinal)
{
    const NodeMarks* marks = view->marks;
    int below = 0;
    while (below < marks->count && compareEntry(view->node + marks->offsets[below], sought) < 0) {
        ++below;
    }
    *ordinal = below * marks->distance;
    return below == 0 ? firstEntry(view->node) : view->node + marks->offsets[below - 1];
}

// Counts a page that is passed aside of the branches. False when there have been too many.
static bool mayPass(OpenFile* file)
{
    if (file->detoursLeft > 1) --file->detoursLeft;
    return file->detoursLeft != 1;
}

// Chooses the child to descend into: the last one whose keys can include the sought
// key. Expects a branch of the level; when the search has to move right, it looks at
// its neighbours.
static Child chooseChild(OpenFile* file, int level, int branch, NodeView view,
                         const SoughtKey* sought)
{
    // More moves than pages: the neighbour chain runs in a circle.
    for (int moves = 0; moves < file->header.pagesInFile; ++moves) {
        const uint8_t* node = view.node;
        int child = nodeLeftmostChild(node);
        int ordinal = 0;
        const uint8_t* entry = startOfWalk(&view, sought, &ordinal);
        while (!isEndMarker(entry) && compareEntry(entry, sought) < 0) {
            child = entryChild(entry);
            entry = nextEntry(entry);
        }
        int offset = static_cast<int>(entry - node);
        if (!isEndMarker(entry)) return {child, entryChild(entry), branch, offset};

        // Every separator is smaller. A split leaves the last one behind as the
        // upper bound of this node, so larger keys belong to the neighbour.
        int neighbour = nodeNextPage(node);
        if (neighbour == NO_PAGE) return {child, NO_PAGE, branch, offset};
        if (!mayPass(file) || viewNode(file, neighbour, level, &view) != IX_OK) break;
        branch = neighbour;
    }
    return {NO_PAGE, NO_PAGE, branch, 0};
}

// First entry of the leaf that is at or after the sought key, or the end marker;
// *ordinal becomes its place.
static const uint8_t* walkLeaf(const NodeView* leaf, const SoughtKey* sought, int* ordinal)
{
    const uint8_t* entry = startOfWalk(leaf, sought, ordinal);
    while (!isEndMarker(entry) && compareEntry(entry, sought) < 0) {
        entry = nextEntry(entry);
        ++*ordinal;
    }
    return entry;
}

constexpr int DAMAGED_LEAF = -2;

// Right halves that no branch knows are not empty when they are written; some may be emptied
// later by programs that do not look for them.
constexpr int MOST_EMPTY_HALVES = 16;

// The leaf to the right of this one in which the search has to go on: the next one with
// entries before that which the parent has behind it, if its first entry is not above the sought
// key. There is one where a process was killed between writing a split leaf and its parent.
// NO_PAGE when the search ends here, DAMAGED_LEAF when a leaf on the way is damaged. *moves
// counts the leaves looked at by one descent: more than there are pages run in a circle.
static int leafToGoOnIn(OpenFile* file, const Descent* way, const SoughtKey* sought, int* moves)
{
    int page = nodeNextPage(way->leaf.node);
    for (int empty = 0; empty <= MOST_EMPTY_HALVES; ++empty) {
        if (page == NO_PAGE || page == way->following) return NO_PAGE;
        bool circle = ++*moves > file->header.pagesInFile;
        if (circle || !mayPass(file) || peekNode(file, page, 0) != IX_OK) return DAMAGED_LEAF;
        const uint8_t* next = engineState.peekBuffer;
        if (nodeCount(next) > 0) {
            return compareEntry(firstEntry(next), sought) <= 0 ? page : NO_PAGE;
        }
        page = nodeNextPage(next);
    }
    return NO_PAGE;
}

// Notes the highest level at which the search went aside.
static void goAside(Descent* way, int level, int page)
{
    way->current = false;
    if (way->unfinishedLevel == NO_LEVEL) {
        way->unfinishedLevel = level;
        way->unfinishedPage = page;
    }
}

// Follows the branches down to a leaf, whose page and view are then those of the way, and
// leaves in the engine's path the branches passed.
static bool descendToLeaf(OpenFile* file, const SoughtKey* sought, Descent* way)
{
    int page = file->header.rootPage;
    int level = file->header.height - 1;
    NodeView* view = &way->leaf;
    *way = {};
    way->unfinishedLevel = NO_LEVEL;
    if (viewNode(file, page, level, view) != IX_OK) return false;
    way->following = NO_PAGE;
    way->followed = nodeNextPage(view->node) == NO_PAGE;
    way->current = way->followed;
    while (level > 0) {
        engineState.path[level] = page;
        way->branchContent = view->content;
        Child child = chooseChild(file, level, page, *view, sought);
        if (child.branch != page) goAside(way, level, page);
        way->branchPage = child.branch;
        way->boundOffset = child.boundOffset;
        page = child.page;
        --level;
        if (level == 0) expectPage(file, page);
        if (viewNode(file, page, level, view) != IX_OK) return false;
        way->following = child.following;
        way->followed = nodeNextPage(view->node) == child.following;
        way->current = way->current && way->followed;
    }
    way->page = page;
    return true;
}

bool descend(OpenFile* file, const SoughtKey* sought, Descent* way)
{
    if (!descendToLeaf(file, sought, way)) return false;

    NodeView* leaf = &way->leaf;
    int moves = 0;
    way->entry = walkLeaf(leaf, sought, &way->ordinal);
    while (isEndMarker(way->entry) && !way->followed) {
        int right = leafToGoOnIn(file, way, sought, &moves);
        if (right == NO_PAGE) break;
        if (viewNode(file, right, 0, leaf) != IX_OK) return false;
        goAside(way, 0, way->page);
        way->aside = true;
        way->page = right;
        way->entry = walkLeaf(leaf, sought, &way->ordinal);
    }
    return true;
}

// The place alone, without what stands there.
static void leaveFor(const Descent* way, Position* position)
{
    position->ordinal = way->ordinal;
    position->leafPage = way->page;
    position->removed = false; // a mark of the place that is left
}

void standAtEndOf(const Descent* way, Position* position)
{
    leaveFor(way, position);
    if (isEndMarker(way->entry)) {
        standPastEnd(position);
    } else {
        standOn(position, way->entry);
    }
}

const uint8_t* nextNonEmptyLeaf(OpenFile* file, Position* position, NodeView* leaf)
{
    for (int moves = 0; moves <= file->header.pagesInFile; ++moves) {
        int page = nodeNextPage(leaf->node);
        if (page == NO_PAGE) return entryAt(leaf->node, nodeCount(leaf->node));
        if (!mayPass(file) || viewNode(file, page, 0, leaf) != IX_OK) return nullptr;
        position->ordinal = 0;
        position->leafPage = page;
        if (nodeCount(leaf->node) > 0) return firstEntry(leaf->node);
    }
    return nullptr;
}

static Arrival nowhere(OpenFile* file) { return {inTrouble(file, IX_DESCENT_FAILED), nullptr}; }

// Makes the entry at which a search has ended the position, and tells how it compares. An
// entry below the sought key: the leaf chain runs backwards.
static Arrival arriveAt(OpenFile* file, Position* position, const uint8_t* entry,
                        const SoughtKey* sought)
{
    int order = compareEntry(entry, sought);
    if (order < 0) return nowhere(file);
    bool sameKey = order == 0 || strcmp(entryKey(entry), sought->key) == 0;
    standOn(position, entry);
    position->place.firstOfKey = !sameKey || sought->number <= 0;
    if (order == 0) return {IX_OK, entry};
    return {sameKey ? IX_SAME_KEY : IX_GREATER_KEY, entry};
}

static void notePlace(Position* position, const Descent* way)
{
    NotedPlace* place = &position->place;
    place->leafContent = way->leaf.content;
    place->branchContent = way->branchContent;
    place->branchPage = way->branchPage;
    place->offset = static_cast<uint16_t>(way->entry - way->leaf.node);
    place->boundOffset = static_cast<uint16_t>(way->boundOffset);
}

bool findBound(OpenFile* file, const Descent* way, const uint8_t** bound)
{
    *bound = nullptr;
    if (way->branchContent == 0 || way->aside) return true;
    NodeView branch = {};
    if (viewNode(file, way->branchPage, 1, &branch) != IX_OK) return false;
    const uint8_t* entry = branch.node + way->boundOffset;
    if (!isEndMarker(entry)) *bound = entry;
    return true;
}

static bool isEmptyLeaf(OpenFile* file, int page)
{
    NodeView leaf = {};
    return page != NO_PAGE && viewNode(file, page, 0, &leaf) == IX_OK && nodeCount(leaf.node) == 0;
}

// True when a search that has ended behind the last entry of a leaf need not go on: leaves that
// were emptied follow, and what is searched for would have to stand before the leaf's bound.
static bool endsHere(OpenFile* file, const Descent* way, const SoughtKey* sought, SearchFor what)
{
    if (!way->followed || !isEmptyLeaf(file, way->following)) return false;
    const uint8_t* bound = nullptr;
    if (!findBound(file, way, &bound) || bound == nullptr) return false;
    if (what == FOR_INDEX) return entryIndex(bound) != static_cast<uint8_t>(sought->key[0]);
    bool sameKey = strcmp(entryKey(bound), sought->key) == 0;
    return !sameKey || (what == FOR_RECORD && entryNumber(bound) != sought->number);
}

Arrival locate(OpenFile* file, Position* position, const SoughtKey* sought, SearchFor what)
{
    Descent way;
    if (!descend(file, sought, &way)) return nowhere(file);
    leaveFor(&way, position);

    if (isEndMarker(way.entry)) {
        standPastEnd(position);
        way.current = false;
        if (endsHere(file, &way, sought, what)) return {IX_NOT_FOUND, nullptr};
        way.entry = nextNonEmptyLeaf(file, position, &way.leaf);
        if (way.entry == nullptr) return nowhere(file);
        if (isEndMarker(way.entry)) return {IX_NOT_FOUND, nullptr};
    }
    Arrival arrival = arriveAt(file, position, way.entry, sought);
    if (way.current && arrival.entry != nullptr) notePlace(position, &way);
    return arrival;
}

// From the end of a leaf in which a noted place lies to the next leaf of the same parent,
// whose first entry it answers: *leafPage, *leaf and *place become those of it. Null when
// the way has to be searched: there is none, or it is empty or older than its split.
static const uint8_t* crossToNextLeaf(OpenFile* file, NotedPlace* place, int* leafPage,
                                      NodeView* leaf)
{
    NodeView branch = {};
    if (place->branchContent == 0) return nullptr;
    if (viewNode(file, place->branchPage, 1, &branch) != IX_OK) return nullptr;
    if (branch.content != place->branchContent) return nullptr;

    const uint8_t* bound = branch.node + place->boundOffset;
    if (isEndMarker(bound)) return nullptr;
    const uint8_t* nextBound = nextEntry(bound);
    // The last entry of a branch with a neighbour only bounds it.
    bool last = isEndMarker(nextBound);
    if (last && nodeNextPage(branch.node) != NO_PAGE) return nullptr;
    int following = last ? NO_PAGE : entryChild(nextBound);
    int boundOffset = static_cast<int>(nextBound - branch.node);

    *leafPage = entryChild(bound);
    if (viewNode(file, *leafPage, 0, leaf) != IX_OK) return nullptr;
    if (nodeNextPage(leaf->node) != following || nodeCount(leaf->node) == 0) return nullptr;
    place->leafContent = leaf->content;
    place->offset = NODE_ENTRIES;
    place->boundOffset = static_cast<uint16_t>(boundOffset);
    return firstEntry(leaf->node);
}

Arrival locateOnward(OpenFile* file, Position* position, const SoughtKey* sought, SearchFor what)
{
    NodeView leaf = {};
    const uint8_t* entry = entryAtNotedPlace(file, position, &leaf);
    if (entry == nullptr) return locate(file, position, sought, what);

    NotedPlace place = position->place;
    int leafPage = position->leafPage;
    int ordinal = position->ordinal;
    do {
        entry = nextEntry(entry);
        ++ordinal;
    } while (!isEndMarker(entry) && compareEntry(entry, sought) < 0);
    if (isEndMarker(entry)) {
        ordinal = 0;
        entry = crossToNextLeaf(file, &place, &leafPage, &leaf);
        if (entry == nullptr || compareEntry(entry, sought) < 0) {
            return locate(file, position, sought, what);
        }
    } else {
        place.offset = static_cast<uint16_t>(entry - leaf.node);
    }
    position->leafPage = leafPage;
    position->ordinal = ordinal;
    Arrival arrival = arriveAt(file, position, entry, sought);
    place.firstOfKey = position->place.firstOfKey;
    position->place = place;
    return arrival;
}

// True when a search for the key would end at the position, if its place is the one
// noted: it is the very entry, or the first with the key and no number is sought.
static bool mayStandOn(const Position* position, const SoughtKey* sought)
{
    bool whole = (position->segment & SEGMENT_ORDINAL) == 0;
    bool itself = position->number == sought->number && whole;
    bool first = position->place.firstOfKey && sought->number == 0 && position->number >= 0;
    return position->place.leafContent != 0 && (itself || first) &&
           strcmp(position->key, sought->key + 1) == 0;
}

Arrival locateHere(OpenFile* file, Position* position, const SoughtKey* sought, SearchFor what)
{
    NodeView leaf = {};
    const uint8_t* entry =
        mayStandOn(position, sought) ? entryAtNotedPlace(file, position, &leaf) : nullptr;
    if (entry == nullptr) return locate(file, position, sought, what);
    return {position->number == sought->number ? IX_OK : IX_SAME_KEY, entry};
}
