#include "tools/recover/new_job.h"

#include "records/record_image.h"
#include "records/records.h"
#include "survey/survey.h"
#include "tools/writer/packed_tree.h"

#include <algorithm>

static void addEntry(NewJob* job, const char* key, int32_t number, uint8_t segment,
                     const uint8_t* data, int length)
{
    uint8_t entry[MAX_ENTRY_SIZE];
    buildEntry(entry, key, number, segment, data, length);
    job->entries.push_back(keepEntry(&job->store, entry));
}

const char* addKey(NewJob* job, const std::string& key, int32_t number)
{
    addEntry(job, key.c_str(), number, LAST_SEGMENT, nullptr, 0);
    return entryKey(job->entries.back());
}

void addUniqueKey(NewJob* job, const char* key) { job->uniqueKeys.emplace_back(key); }

// Keys are added many at a time and asked for seldom.
bool hasUniqueKey(NewJob* job, std::string_view key)
{
    std::vector<std::string_view>* keys = &job->uniqueKeys;
    auto fresh = keys->begin() + static_cast<ptrdiff_t>(job->sortedKeys);
    std::sort(fresh, keys->end());
    std::inplace_merge(keys->begin(), fresh, keys->end());
    job->sortedKeys = keys->size();
    return std::binary_search(keys->begin(), keys->end(), key);
}

// -- Records of ours ---------------------------------------------------------

static void addSegments(NewJob* job, const std::vector<uint8_t>& image, int32_t number)
{
    constexpr char KEY[] = {static_cast<char>(DATA_INDEX), 0};
    constexpr size_t ROOM = SEGMENT_ROOM - 1;
    int ordinal = 0;
    for (size_t at = 0; at < image.size(); at += ROOM, ++ordinal) {
        size_t length = std::min(ROOM, image.size() - at);
        bool isLast = at + length == image.size();
        int segment = ordinal | (isLast ? LAST_SEGMENT : 0);
        addEntry(job, KEY, number, static_cast<uint8_t>(segment), &image[at],
                 static_cast<int>(length));
    }
    job->numbers.push_back(number);
}

static void addKeys(NewJob* job, const LayoutEntry* layout, const std::vector<uint8_t>& image,
                    int32_t number)
{
    ImageItem item = {};
    ImageWalk walk = startImageWalk(image.data(), layout, static_cast<int>(image.size()));
    while (nextImageItem(&walk, &item)) {
        const LayoutEntry& field = layout[item.field];
        if (field.keyFlag == NOT_A_KEY) continue;
        std::string key(1, static_cast<char>(field.indexNumber));
        key.append(reinterpret_cast<const char*>(item.value), static_cast<size_t>(item.length));
        const char* kept = addKey(job, key, number);
        if (field.duplicates != DUPLICATES) addUniqueKey(job, kept);
    }
}

void addImage(NewJob* job, const LayoutEntry* layout, const std::vector<uint8_t>& image,
              int32_t number)
{
    addSegments(job, image, number);
    addKeys(job, layout, image, number);
}

// Adds the segments as they are.
static void addFoundSegments(NewJob* job, const FoundRecord& record)
{
    job->entries.insert(job->entries.end(), record.segments.begin(), record.segments.end());
    job->numbers.push_back(record.number);
}

std::vector<uint8_t> imageWithKey(const FoundRecord& record, const std::string& key)
{
    std::vector<uint8_t> image = imageOf(record);
    ImageItem item = primaryKeyIn(image, *record.known);
    auto begin = image.begin() + (item.value - image.data());
    begin = image.erase(begin, begin + item.length);
    image.insert(begin, key.begin() + 1, key.end());
    int length = static_cast<int>(image.size());
    storeInt16(&image[IMAGE_CHECKSUM], imageChecksum(image.data(), length));
    return image;
}

void addFoundRecord(NewJob* job, const FoundRecord& record, const Decision& decision)
{
    bool hasKey = primaryKeyOf(record) == decision.key;
    std::vector<uint8_t> image = hasKey ? imageOf(record) : imageWithKey(record, decision.key);
    if (decision.number != record.number || !hasKey) {
        addImage(job, record.known->layout, image, decision.number);
        return;
    }
    addFoundSegments(job, record);
    addKeys(job, record.known->layout, image, record.number);
}

// -- What is not ours --------------------------------------------------------

// True for keys that only records of ours have, or of which there is one each.
static bool isOurs(const uint8_t* entry)
{
    int index = entryIndex(entry);
    if (index == POINT_NAME_INDEX || index == SURVEY_CHAIN_INDEX) return true;
    return isOurKey(index, entryKey(entry) + 1);
}

void addForeignRecord(NewJob* job, const Salvage* salvage, const FoundRecord& record)
{
    addFoundSegments(job, record);
    std::string own = ownKeyOf(record);
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        const SalvagedEntry& found = salvage->entries[salvage->keysByNumber[at]];
        bool taken = isOurs(found.entry) && hasUniqueKey(job, entryKey(found.entry));
        bool other = !own.empty() && entryIndex(found.entry) == RECORD_KEY_INDEX &&
                     own != entryKey(found.entry);
        if (taken || other || found.trust == TRUST_DENIED) continue;
        job->entries.push_back(found.entry);
        addUniqueKey(job, entryKey(found.entry));
    }
}

// True when no layout of ours has a key in the index.
static bool isOtherIndex(int index)
{
    for (const KnownLayout& known : knownLayouts()) {
        for (const LayoutEntry* field = known.layout; field->type != TYPE_END; ++field) {
            if (field->indexNumber == index) return false;
        }
    }
    return leadsToRecords(index);
}

void addOtherEntries(NewJob* job, const Salvage* salvage)
{
    constexpr char FREE_KEY[] = {static_cast<char>(FREE_NUMBER_INDEX), 0};
    std::sort(job->numbers.begin(), job->numbers.end());
    for (const SalvagedEntry& found : salvage->entries) {
        int index = entryIndex(found.entry);
        int32_t number = entryNumber(found.entry);
        bool known = std::binary_search(job->numbers.begin(), job->numbers.end(), number);
        if (found.trust == TRUST_DENIED || known) continue;
        if (isOtherIndex(index)) job->entries.push_back(found.entry);
        bool isFree = std::strcmp(entryKey(found.entry), FREE_KEY) == 0;
        if (isFree && number > 0 && number < job->nextNumber) addKey(job, FREE_KEY, number);
    }
}

// -- The file ----------------------------------------------------------------

std::vector<uint8_t> packNewJob(NewJob* job, uint32_t changeCounter)
{
    auto order = [](const uint8_t* one, const uint8_t* other) {
        SoughtKey key = keyOf(other);
        return compareWithSegments(one, &key);
    };
    std::vector<const uint8_t*>* entries = &job->entries;
    std::sort(entries->begin(), entries->end(),
              [&](auto one, auto other) { return order(one, other) < 0; });
    entries->erase(std::unique(entries->begin(), entries->end(),
                               [&](auto one, auto other) { return order(one, other) == 0; }),
                   entries->end());
    return packTree(*entries, job->nextNumber, changeCounter);
}
