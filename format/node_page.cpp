#include "format/node_page.h"

#include "format/key_order.h"

bool entryIsSound(const uint8_t* entry, int room, bool branch)
{
    int size = entrySize(entry);
    if (size > room || size < ENTRY_OVERHEAD + 1) return false;
    if (entryIndex(entry) < MIN_INDEX || entryIndex(entry) > MAX_INDEX) return false;

    // Keys of one byte are common, and quickly seen.
    const uint8_t* key = entry + ENTRY_KEY;
    int keyLength = 1;
    if (key[1] != 0) {
        int keyRoom = size - ENTRY_OVERHEAD + 1; // the zero byte included
        const void* end = memchr(key, 0, static_cast<size_t>(keyRoom));
        if (end == nullptr) return false;
        keyLength = static_cast<int>(static_cast<const uint8_t*>(end) - key);
    }
    if (keyLength > MAX_KEY + 1) return false;
    return !branch || size == ENTRY_OVERHEAD + keyLength + CHILD_SIZE;
}

static NodeMarks startMarks(int count)
{
    NodeMarks marks = {};
    marks.distance = static_cast<uint8_t>(count / (MOST_MARKS + 1) + 1);
    return marks;
}

// Marks the entry, one after the other, when it is its turn.
static void passEntry(NodeMarks* marks, int ordinal, int offset)
{
    if (ordinal != (marks->count + 1) * marks->distance) return;
    marks->offsets[marks->count++] = static_cast<uint16_t>(offset);
}

// Where an entry is less than the one before it, which only damage makes, a mark would hide from a
// search what stands before it: a node like that has none.
static void dropMarksWithoutOrder(NodeMarks* marks, const uint8_t* page, int count)
{
    const uint8_t* entry = firstEntry(page);
    for (int i = 1; i < count; ++i) {
        const uint8_t* next = nextEntry(entry);
        SoughtKey before = {reinterpret_cast<const char*>(entry + ENTRY_KEY), entryNumber(entry),
                            entrySegment(entry)};
        if (compareWithSegments(next, &before) < 0) marks->count = 0;
        entry = next;
    }
}

bool nodeIsSound(const uint8_t* page)
{
    NodeMarks marks;
    return nodeIsSound(page, &marks);
}

NodeMarks markEntries(const uint8_t* page)
{
    int count = nodeCount(page);
    NodeMarks marks = startMarks(count);
    const uint8_t* entry = firstEntry(page);
    for (int i = 0; i < count; ++i, entry = nextEntry(entry)) {
        passEntry(&marks, i, static_cast<int>(entry - page));
    }
    dropMarksWithoutOrder(&marks, page, count);
    return marks;
}

bool nodeIsSound(const uint8_t* page, NodeMarks* marks)
{
    int level = nodeLevel(page);
    int count = nodeCount(page);
    if (level < 0 || level >= MAX_HEIGHT) return false;
    if (count < 0 || count > MAX_ENTRY_COUNT) return false;

    *marks = startMarks(count);
    int used = 0;
    for (int i = 0; i < count; ++i) {
        const uint8_t* entry = page + NODE_ENTRIES + used;
        int room = NODE_ENTRY_AREA - used;
        if (room < 1 || !entryIsSound(entry, room, level > 0)) return false;
        passEntry(marks, i, NODE_ENTRIES + used);
        used += entrySize(entry);
    }
    if (nodeFree(page) != NODE_ENTRY_AREA - used) return false;
    dropMarksWithoutOrder(marks, page, count);

    // A walk by end marker is to see the same entries as one by count.
    return used == NODE_ENTRY_AREA || page[NODE_ENTRIES + used] == 0;
}

const uint8_t* entryAt(const uint8_t* node, int ordinal)
{
    const uint8_t* entry = firstEntry(node);
    for (int i = 0; i < ordinal && !isEndMarker(entry); ++i) {
        entry = nextEntry(entry);
    }
    return entry;
}

void initNode(uint8_t* node, int level, int leftmostChild)
{
    memset(node, 0, NODE_BUFFER_SIZE);
    storeInt16(node + NODE_LEVEL, level);
    storeInt16(node + NODE_FREE, NODE_ENTRY_AREA);
    storeInt16(node + NODE_LEFTMOST_CHILD, leftmostChild);
    storeInt16(node + NODE_NEXT_PAGE, NO_PAGE);
    storeInt16(node + NODE_PREVIOUS_PAGE, NO_PAGE);
}

int buildEntry(uint8_t* entry, const char* key, int32_t number, uint8_t segment, const void* data,
               int dataLength)
{
    int keyLength = static_cast<int>(strlen(key));
    int size = ENTRY_OVERHEAD + keyLength + dataLength;
    entry[0] = static_cast<uint8_t>(size - 1);
    memcpy(entry + ENTRY_KEY, key, static_cast<size_t>(keyLength) + 1);
    uint8_t* tail = entry + ENTRY_KEY + keyLength + 1;
    storeInt32(tail, number);
    tail[4] = segment;
    if (dataLength > 0) memcpy(tail + 5, data, static_cast<size_t>(dataLength));
    return size;
}
