#include "tools/recover/found_records.h"

#include "records/record_image.h"
#include "records/records.h"

#include <algorithm>
#include <numeric>

// -- Entries -----------------------------------------------------------------

static SoughtKey keyOf(const uint8_t* entry)
{
    return {entryKey(entry), entryNumber(entry), entrySegment(entry)};
}

static bool isBefore(const SalvagedEntry& one, const SalvagedEntry& other)
{
    SoughtKey key = keyOf(other.entry);
    int order = compareWithSegments(one.entry, &key);
    if (order != 0) return order < 0;
    return one.trust > other.trust;
}

static bool isSameEntry(const SalvagedEntry& one, const SalvagedEntry& other)
{
    size_t size = static_cast<size_t>(entrySize(one.entry));
    return one.entry[0] == other.entry[0] && memcmp(one.entry, other.entry, size) == 0;
}

static int entryCompare(const uint8_t* entry, int32_t number)
{
    int32_t own = entryNumber(entry);
    return own < number ? -1 : own > number ? 1 : 0;
}

bool leadsToRecords(int index)
{
    return index != LOCK_INDEX && index != FREE_NUMBER_INDEX && index != DATA_INDEX;
}

// As many as sound leaves have.
static size_t likelyEntries(const TreeView* view)
{
    size_t entries = 0;
    for (int page = 0; page < view->pages; ++page) {
        const uint8_t* node = viewPage(view, page);
        if (nodeLevel(node) == 0 && nodeIsSound(node))
            entries += static_cast<size_t>(nodeCount(node));
    }
    return entries;
}

void salvageEntries(Salvage* salvage, const std::vector<uint8_t>* bytes, int lastLength)
{
    salvage->view = viewTree(bytes);
    salvage->entries.reserve(likelyEntries(&salvage->view));
    for (int page = 0; page < salvage->view.pages; ++page) {
        bool isLast = page + 1 == salvage->view.pages;
        collectPageEntries(viewPage(&salvage->view, page), page,
                           isLast ? lastLength : NODE_PAGE_SIZE, &salvage->entries,
                           &salvage->store);
    }
    for (SalvagedEntry& found : salvage->entries) {
        found.trust = trustIn(&salvage->view, found);
    }
    std::vector<SalvagedEntry>* entries = &salvage->entries;
    std::sort(entries->begin(), entries->end(), isBefore);
    entries->erase(std::unique(entries->begin(), entries->end(), isSameEntry), entries->end());

    for (uint32_t at = 0; at < entries->size(); ++at) {
        if (leadsToRecords(entryIndex((*entries)[at].entry))) salvage->keysByNumber.push_back(at);
    }
    std::sort(salvage->keysByNumber.begin(), salvage->keysByNumber.end(),
              [entries](uint32_t one, uint32_t other) {
                  int order =
                      entryCompare((*entries)[one].entry, entryNumber((*entries)[other].entry));
                  return order != 0 ? order < 0 : one < other;
              });
}

EntryRange entriesWithKey(const Salvage* salvage, const std::string& key)
{
    const std::vector<SalvagedEntry>& entries = salvage->entries;
    auto keyOrder = [](const SalvagedEntry& found, const std::string& sought) {
        return std::strcmp(entryKey(found.entry), sought.c_str());
    };
    auto begin = std::partition_point(entries.begin(), entries.end(),
                                      [&](const auto& found) { return keyOrder(found, key) < 0; });
    auto end = std::partition_point(begin, entries.end(),
                                    [&](const auto& found) { return keyOrder(found, key) == 0; });
    return {static_cast<size_t>(begin - entries.begin()),
            static_cast<size_t>(end - entries.begin())};
}

EntryRange keysTo(const Salvage* salvage, int32_t number)
{
    const std::vector<uint32_t>& keys = salvage->keysByNumber;
    auto order = [&](size_t at) { return entryCompare(salvage->entries[at].entry, number); };
    auto begin =
        std::partition_point(keys.begin(), keys.end(), [&](size_t at) { return order(at) < 0; });
    auto end = std::partition_point(begin, keys.end(), [&](size_t at) { return order(at) == 0; });
    return {static_cast<size_t>(begin - keys.begin()), static_cast<size_t>(end - keys.begin())};
}

// -- Records -----------------------------------------------------------------

std::vector<uint8_t> imageOf(const FoundRecord& record)
{
    std::vector<uint8_t> image;
    for (const uint8_t* entry : record.segments) {
        image.insert(image.end(), entryData(entry), nextEntry(entry));
    }
    return image;
}

static bool isProven(const std::vector<uint8_t>& image)
{
    int length = static_cast<int>(image.size());
    if (length < IMAGE_MIN_SIZE || length >= RECORD_LIMIT) return false;
    const uint8_t* bytes = image.data();
    return loadInt16(bytes + IMAGE_CHECKSUM) == imageChecksum(bytes, length);
}

std::string primaryKeyOf(const FoundRecord& record)
{
    if (record.known == nullptr) return {};
    std::vector<uint8_t> image = imageOf(record);
    ImageItem item = {};
    ImageWalk walk =
        startImageWalk(image.data(), record.known->layout, static_cast<int>(image.size()));
    while (nextImageItem(&walk, &item)) {
        const LayoutEntry& field = record.known->layout[item.field];
        if (field.keyFlag == NOT_A_KEY || field.indexNumber != record.known->primaryIndex) continue;
        std::string key(1, static_cast<char>(field.indexNumber));
        return key.append(reinterpret_cast<const char*>(item.value),
                          static_cast<size_t>(item.length));
    }
    return {};
}

// The checksum tells little: of the bytes only the last sixteen reach it. An image has its fields
// in order, and its keys among them.
static bool isWhole(const std::vector<uint8_t>& image, const LayoutEntry* layout)
{
    ImageItem item = {};
    ImageWalk walk = startImageWalk(image.data(), layout, static_cast<int>(image.size()));
    int expected = 0; // the lowest field that may follow
    while (nextImageItem(&walk, &item)) {
        for (; expected < item.field; ++expected) {
            if (layout[expected].keyFlag != NOT_A_KEY) return false;
        }
        if (item.field != expected) return false;
        ++expected;
    }
    for (; layout[expected].type != TYPE_END; ++expected) {
        if (layout[expected].keyFlag != NOT_A_KEY) return false;
    }
    return !walk.damaged;
}

// Returns the layout of ours that the image has, or null.
static const KnownLayout* wholeLayoutOf(const std::vector<uint8_t>& image)
{
    const KnownLayout* known = layoutOfImage(image.data(), static_cast<int>(image.size()));
    return known != nullptr && isWhole(image, known->layout) ? known : nullptr;
}

// The checksum does not cover the signature. Where a single byte of it makes an image one of ours,
// that byte is taken for damaged.
static void repairSignature(Salvage* salvage, FoundRecord* record, std::vector<uint8_t>* image)
{
    std::vector<uint8_t> repaired = *image;
    for (const KnownLayout& known : knownLayouts()) {
        storeInt16(repaired.data() + IMAGE_SIGNATURE, layoutSignature(known.layout));
        bool near = repaired[0] == (*image)[0] || repaired[1] == (*image)[1];
        if (!near || entryDataLength(record->segments.front()) < IMAGE_TYPE_BYTE) continue;
        record->known = wholeLayoutOf(repaired);
        if (record->known == nullptr) continue;
        uint8_t entry[MAX_ENTRY_SIZE];
        const uint8_t* first = record->segments.front();
        memcpy(entry, first, static_cast<size_t>(entrySize(first)));
        memcpy(entry + (entryData(first) - first), repaired.data(), IMAGE_CHECKSUM);
        record->segments.front() = keepEntry(&salvage->store, entry);
        record->trust = std::min(record->trust, TRUST_UNKNOWN); // no reader took it for ours
        return;
    }
}

// The segments of one number, while they are put together.
struct RecordGroup {
    Salvage* salvage;
    const SalvagedEntry* begin; // in order of their ordinals, the most trusted of each first
    const SalvagedEntry* end;
    int tries;                      // left
    std::vector<FoundRecord> found; // all with as much proof
};

// Bounds for files that are made to be slow: more than damage makes of a record.
constexpr int MOST_TRIES = 4096;
constexpr ptrdiff_t MOST_SEGMENTS = ptrdiff_t{MAX_SEGMENTS} * 8;
constexpr size_t MOST_VERSIONS = 2;

static int ordinalOf(const SalvagedEntry& found)
{
    return entrySegment(found.entry) & SEGMENT_ORDINAL;
}

static bool hasOwnKey(const Salvage* salvage, const FoundRecord& record)
{
    std::string key = primaryKeyOf(record);
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        if (key == entryKey(salvage->entries[salvage->keysByNumber[at]].entry)) return true;
    }
    return false;
}

// Finds out what speaks for a version. Gives it its layout.
static void prove(Salvage* salvage, FoundRecord* version)
{
    std::vector<uint8_t> image = imageOf(*version);
    version->proof = PROOF_NONE;
    if (!isProven(image)) return;
    version->proof = PROOF_CHECKSUM;
    version->known = wholeLayoutOf(image);
    if (version->known == nullptr) repairSignature(salvage, version, &image);
    if (version->known == nullptr) return;
    version->proof = hasOwnKey(salvage, *version) ? PROOF_KEY : PROOF_LAYOUT;
}

// Keeps what was put together if nothing found so far has more proof. Without any it is kept only
// as the tree has it.
static void keepVersion(RecordGroup* group, FoundRecord version)
{
    prove(group->salvage, &version);
    if (version.proof == PROOF_NONE && version.trust < TRUST_IN_PLACE) return;
    if (!group->found.empty()) {
        RecordProof best = group->found.front().proof;
        if (version.proof < best || version.proof == PROOF_NONE) return;
        if (version.proof > best) group->found.clear();
    }
    for (const FoundRecord& other : group->found) {
        if (imageOf(other) == imageOf(version)) return;
    }
    version.isSecond = !group->found.empty();
    group->found.push_back(std::move(version));
}

// True when nothing is left to look for: the tree's own version is proven, or there are two.
static bool isSettled(const RecordGroup* group)
{
    if (group->tries <= 0) return true;
    if (group->found.empty() || group->found[0].proof != PROOF_KEY) return false;
    return group->found.size() == MOST_VERSIONS || group->found[0].trust == TRUST_IN_PLACE;
}

// Tries every segment of the ordinal behind what is put together so far. As deep as a record has
// segments. NOLINTNEXTLINE(misc-no-recursion)
static void tryOrdinal(RecordGroup* group, FoundRecord* version, int ordinal)
{
    for (const SalvagedEntry* found = group->begin; found != group->end; ++found) {
        if (ordinalOf(*found) != ordinal || isSettled(group)) continue;
        --group->tries;
        uint8_t trust = version->trust;
        version->segments.push_back(found->entry);
        version->trust = std::min(trust, found->trust);
        if (entrySegment(found->entry) >= LAST_SEGMENT) {
            keepVersion(group, *version);
        } else if (ordinal + 1 < MAX_SEGMENTS) {
            tryOrdinal(group, version, ordinal + 1);
        }
        version->trust = trust;
        version->segments.pop_back();
    }
}

static void putTogether(Salvage* salvage, const SalvagedEntry* begin, const SalvagedEntry* end)
{
    RecordGroup group = {
        salvage, begin, begin + std::min(end - begin, MOST_SEGMENTS), MOST_TRIES, {}};
    FoundRecord version = {entryNumber(begin->entry), {}, PROOF_NONE, TRUST_IN_PLACE, false, {}};
    tryOrdinal(&group, &version, 0);
    size_t kept = std::min(group.found.size(), MOST_VERSIONS);
    std::move(group.found.begin(), group.found.begin() + static_cast<ptrdiff_t>(kept),
              std::back_inserter(salvage->records));
}

void findRecords(Salvage* salvage)
{
    buildKnownLayouts();
    EntryRange data = entriesWithKey(salvage, std::string(1, static_cast<char>(DATA_INDEX)));
    const SalvagedEntry* at = salvage->entries.data() + data.begin;
    const SalvagedEntry* end = salvage->entries.data() + data.end;
    while (at != end) {
        const SalvagedEntry* next = at;
        int32_t number = entryNumber(at->entry);
        while (next != end && entryNumber(next->entry) == number) {
            ++next;
        }
        if (number > 0) putTogether(salvage, at, next);
        at = next;
    }
}

const FoundRecord* recordOf(const Salvage* salvage, int32_t number)
{
    auto found = std::partition_point(
        salvage->records.begin(), salvage->records.end(),
        [number](const FoundRecord& record) { return record.number < number; });
    return found != salvage->records.end() && found->number == number ? &*found : nullptr;
}
