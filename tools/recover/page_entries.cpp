#include "tools/recover/page_entries.h"

#include <algorithm>

constexpr int SMALLEST_ENTRY = ENTRY_OVERHEAD + 1;
constexpr int NOWHERE = -1;

const uint8_t* keepBytes(EntryStore* store, const void* bytes, size_t size)
{
    constexpr size_t PIECE = 1 << 16;
    std::deque<std::vector<uint8_t>>* pieces = &store->pieces;
    const uint8_t* from = static_cast<const uint8_t*>(bytes);
    if (pieces->empty() || pieces->back().size() + size > PIECE) {
        pieces->emplace_back().reserve(std::max(PIECE, size));
    }
    std::vector<uint8_t>* piece = &pieces->back();
    piece->insert(piece->end(), from, from + size); // within what is reserved
    return piece->data() + piece->size() - size;
}

const uint8_t* keepEntry(EntryStore* store, const uint8_t* entry)
{
    return keepBytes(store, entry, static_cast<size_t>(entrySize(entry)));
}

// A page while its entries are being found; offsets begin at the page.
struct PageReader {
    const uint8_t* page;
    int end; // of what is there of the page
    std::vector<const uint8_t*> found;
};

static bool isWellFormed(const PageReader* reader, int offset)
{
    int room = reader->end - offset;
    return room >= SMALLEST_ENTRY && entryIsSound(reader->page + offset, room, false);
}

// True when nothing stands from the offset on.
static bool isEnd(const PageReader* reader, int offset)
{
    return std::all_of(reader->page + offset, reader->page + reader->end,
                       [](uint8_t byte) { return byte == 0; });
}

static bool isAscending(const uint8_t* entry, const uint8_t* next)
{
    SoughtKey key = {entryKey(next), entryNumber(next), entrySegment(next)};
    return compareWithSegments(entry, &key) < 0;
}

// Bytes that look like entries by chance do not go on so: how far a run of ascending entries
// goes from the offset.
static int runFrom(const PageReader* reader, int offset)
{
    const uint8_t* before = nullptr;
    while (offset < reader->end && isWellFormed(reader, offset)) {
        const uint8_t* entry = reader->page + offset;
        if (before != nullptr && !isAscending(before, entry)) break;
        before = entry;
        offset += entrySize(entry);
    }
    return offset;
}

// Returns where the entries go on at or behind the offset: where the first run begins that leads to
// their end, else the longest run of two and more. NOWHERE when there is none.
static int findRun(const PageReader* reader, int offset)
{
    int best = NOWHERE;
    int bestLength = 2 * SMALLEST_ENTRY; // no less than two entries
    for (; offset + SMALLEST_ENTRY <= reader->end; ++offset) {
        int end = runFrom(reader, offset);
        if (end == offset) continue;
        if (isEnd(reader, end)) return offset;
        if (end - offset > bestLength && end != offset + entrySize(reader->page + offset)) {
            best = offset;
            bestLength = end - offset;
        }
    }
    return best;
}

// The last entry found, as it is when it ends at the offset.
static void addWithLength(PageReader* reader, int end, EntryStore* store)
{
    const uint8_t* entry = reader->found.back();
    int size = static_cast<int>(reader->page + end - entry);
    if (size == entrySize(entry) || size < SMALLEST_ENTRY || size > MAX_ENTRY_SIZE) return;
    uint8_t other[MAX_ENTRY_SIZE];
    memcpy(other, entry, static_cast<size_t>(size));
    other[0] = static_cast<uint8_t>(size - 1);
    if (entryIsSound(other, size, false)) reader->found.push_back(keepEntry(store, other));
}

static void readDamaged(PageReader* reader, EntryStore* store)
{
    int offset = NODE_ENTRIES;
    while (offset < reader->end && !isEnd(reader, offset)) {
        if (isWellFormed(reader, offset)) {
            reader->found.push_back(reader->page + offset);
            offset += entrySize(reader->page + offset);
            continue;
        }
        // The entry at the offset is damaged, or the length of the one before it.
        int from = NODE_ENTRIES;
        if (!reader->found.empty()) {
            from = static_cast<int>(reader->found.back() - reader->page) + SMALLEST_ENTRY;
        }
        int next = findRun(reader, from);
        if (next == NOWHERE) return;
        if (!reader->found.empty()) addWithLength(reader, next, store);
        offset = next;
        // From here on the lengths are right up to the next damage, which lies further on.
        reader->found.push_back(reader->page + offset);
        offset += entrySize(reader->page + offset);
    }
}

static void readSound(PageReader* reader)
{
    const uint8_t* entry = firstEntry(reader->page);
    for (int i = 0; i < nodeCount(reader->page); ++i, entry = nextEntry(entry)) {
        reader->found.push_back(entry);
    }
}

// The entries of a branch have a child each and nothing else, those of a leaf hardly ever two
// bytes. Of a damaged page a few may be found that are none.
static bool isBranch(const PageReader* reader)
{
    auto hasChild = [](const uint8_t* entry) { return entryDataLength(entry) == CHILD_SIZE; };
    auto children = std::count_if(reader->found.begin(), reader->found.end(), hasChild);
    auto all = std::ssize(reader->found);
    bool leafForm = nodeLevel(reader->page) == 0 && nodeLeftmostChild(reader->page) == 0;
    return leafForm ? all > 1 && children == all : 2 * children > all;
}

void collectPageEntries(const uint8_t* page, int pageNumber, int length,
                        std::vector<SalvagedEntry>* entries, EntryStore* store)
{
    PageReader reader = {page, length, {}};
    bool sound = length == NODE_PAGE_SIZE && nodeIsSound(page);
    if (sound && nodeLevel(page) > 0) return;
    if (sound) {
        readSound(&reader);
    } else {
        readDamaged(&reader, store);
    }
    if (isBranch(&reader)) return;
    for (const uint8_t* entry : reader.found) {
        entries->push_back({entry, pageNumber, TRUST_UNKNOWN});
    }
}
