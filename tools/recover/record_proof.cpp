#include "tools/recover/found_records.h"

#include "records/record_image.h"
#include "records/records.h"

#include <algorithm>

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
    if ((loadInt16(bytes + length - 2) & 0xffff) != IMAGE_END_MARK) return false;
    return loadInt16(bytes + IMAGE_CHECKSUM) == imageChecksum(bytes, length);
}

ImageItem primaryKeyIn(const std::vector<uint8_t>& image, const KnownLayout& known)
{
    ImageItem item = {};
    ImageWalk walk = startImageWalk(image.data(), known.layout, static_cast<int>(image.size()));
    while (nextImageItem(&walk, &item)) {
        const LayoutEntry& field = known.layout[item.field];
        if (field.keyFlag != NOT_A_KEY && field.indexNumber == known.primaryIndex) break;
    }
    return item;
}

std::string primaryKeyOf(const FoundRecord& record)
{
    if (record.known == nullptr) return {};
    std::vector<uint8_t> image = imageOf(record);
    ImageItem item = primaryKeyIn(image, *record.known);
    std::string key(1, static_cast<char>(record.known->primaryIndex));
    return key.append(reinterpret_cast<const char*>(item.value), static_cast<size_t>(item.length));
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

// -- Proof -------------------------------------------------------------------

// The record key with which the image of every COGO record begins, ours or not; the index first.
// Empty for an image that begins otherwise.
static std::string beginningKey(const std::vector<uint8_t>& image)
{
    constexpr size_t BEGIN = IMAGE_ITEMS + 2;
    if (image.size() < BEGIN + KEY_LENGTH + 1 || loadInt16(&image[IMAGE_ITEMS]) != 0) return {};
    std::string text(image.begin() + BEGIN, image.begin() + BEGIN + KEY_LENGTH);
    bool isKey = image[BEGIN + KEY_LENGTH] == 0 && text.starts_with("   ") &&
                 text.find('\0') == std::string::npos;
    return isKey ? std::string(1, static_cast<char>(RECORD_KEY_INDEX)) + text : std::string();
}

std::string ownKeyOf(const FoundRecord& record)
{
    if (record.known != nullptr) return primaryKeyOf(record);
    return record.proof == PROOF_NONE ? std::string() : beginningKey(imageOf(record));
}

static bool hasOwnKey(const Salvage* salvage, const FoundRecord& record)
{
    std::string key = ownKeyOf(record);
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        if (key == entryKey(salvage->entries[salvage->keysByNumber[at]].entry)) return true;
    }
    return false;
}

bool isDamagedOne(const Salvage* salvage, const FoundRecord& record)
{
    std::vector<uint8_t> image = imageOf(record);
    int signature = image.size() < IMAGE_MIN_SIZE ? 0 : loadInt16(&image[IMAGE_SIGNATURE]);
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        const uint8_t* entry = salvage->entries[salvage->keysByNumber[at]].entry;
        const char* key = entryKey(entry) + 1;
        if (layoutUnderKey(signature, entryIndex(entry), key) != nullptr) return true;
        if (record.proof == PROOF_NONE && isOurKey(entryIndex(entry), key)) return true;
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
    bool foreignInPlace = version->known == nullptr && version->trust == TRUST_IN_PLACE &&
                          !isDamagedOne(salvage, *version);
    if (version->known != nullptr) version->proof = PROOF_LAYOUT;
    if (foreignInPlace || hasOwnKey(salvage, *version)) version->proof = PROOF_KEY;
}

// -- Putting together --------------------------------------------------------

// The segments of one number, while a record is made of them.
struct RecordGroup {
    Salvage* salvage;
    std::vector<SalvagedEntry> segments; // by ordinal, the most trusted of each first
    int tries;                           // left
    bool isFound;
    FoundRecord best;
};

// Bounds for files that are made to be slow: more than damage makes of a record.
constexpr int MOST_TRIES = 4096;
constexpr ptrdiff_t MOST_SEGMENTS = ptrdiff_t{MAX_SEGMENTS} * 8;

static int ordinalOf(const SalvagedEntry& found)
{
    return entrySegment(found.entry) & SEGMENT_ORDINAL;
}

// Keeps what was put together if nothing so far has as much proof. Without any it is kept only as
// the tree has it.
static void keepBest(RecordGroup* group, FoundRecord version)
{
    prove(group->salvage, &version);
    if (version.proof == PROOF_NONE && version.trust < TRUST_IN_PLACE) return;
    if (group->isFound && version.proof <= group->best.proof) return;
    group->best = std::move(version);
    group->isFound = true;
}

static bool isSettled(const RecordGroup* group)
{
    return group->tries <= 0 || (group->isFound && group->best.proof == PROOF_KEY);
}

// Tries every segment of the ordinal behind what is put together so far. As deep as a record has
// segments. NOLINTNEXTLINE(misc-no-recursion)
static void tryOrdinal(RecordGroup* group, FoundRecord* version, int ordinal)
{
    for (const SalvagedEntry& found : group->segments) {
        if (ordinalOf(found) != ordinal || isSettled(group)) continue;
        --group->tries;
        uint8_t trust = version->trust;
        version->segments.push_back(found.entry);
        version->trust = std::min(trust, found.trust);
        if (entrySegment(found.entry) >= LAST_SEGMENT) {
            keepBest(group, *version);
        } else if (ordinal + 1 < MAX_SEGMENTS) {
            tryOrdinal(group, version, ordinal + 1);
        }
        version->trust = trust;
        version->segments.pop_back();
    }
}

static void findBest(RecordGroup* group, int32_t number)
{
    FoundRecord version = {number, {}, PROOF_NONE, TRUST_IN_PLACE, false, nullptr};
    group->tries = MOST_TRIES;
    group->isFound = false;
    tryOrdinal(group, &version, 0);
}

// Another record may have come under the number, or another version of it: what is left of the
// segments is tried too.
static void findSecond(RecordGroup* group, const FoundRecord& first)
{
    auto isUsed = [&](const SalvagedEntry& found) {
        return std::find(first.segments.begin(), first.segments.end(), found.entry) !=
               first.segments.end();
    };
    std::erase_if(group->segments, isUsed);
    if (group->segments.empty()) return;
    findBest(group, first.number);
    if (!group->isFound || group->best.known == nullptr) return;
    group->best.isSecond = true;
    if (imageOf(group->best) != imageOf(first)) {
        group->salvage->records.push_back(std::move(group->best));
    }
}

static void putTogether(Salvage* salvage, const SalvagedEntry* begin, const SalvagedEntry* end)
{
    end = begin + std::min(end - begin, MOST_SEGMENTS);
    RecordGroup group = {salvage, {begin, end}, 0, false, {}};
    findBest(&group, entryNumber(begin->entry));
    if (!group.isFound) return;
    FoundRecord first = group.best;
    salvage->records.push_back(std::move(group.best));
    findSecond(&group, first);
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

bool isOurKey(int index, const char* key)
{
    for (const KnownLayout& known : knownLayouts()) {
        if (isPrimaryKey(known, index, key)) return true;
    }
    return false;
}
