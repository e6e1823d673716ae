#include "tools/check/record_check.h"

#include "records/record_image.h"
#include "records/record_key.h"
#include "tools/check/known_layouts.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <set>

// The entries of the leaves, sorted by what they are for.
struct StoredRecords {
    std::map<int32_t, std::vector<uint8_t>> images;      // by record number
    std::map<int32_t, std::vector<const uint8_t*>> keys; // entries that lead to the number
    std::vector<const uint8_t*> freeNumbers;
    std::vector<const uint8_t*> locks;
    std::set<std::string> uniqueKeys; // of the records looked at so far, index byte first
};

// -- Segments ----------------------------------------------------------------

static int ordinalOf(const uint8_t* entry) { return entrySegment(entry) & SEGMENT_ORDINAL; }
static bool isLastSegment(const uint8_t* entry) { return entrySegment(entry) >= LAST_SEGMENT; }

static bool sameRecord(const uint8_t* entry, const uint8_t* other)
{
    return std::strcmp(entryKey(entry), entryKey(other)) == 0 &&
           entryNumber(entry) == entryNumber(other);
}

// Complains about a segment whose record begins or ends elsewhere. Of data that no key leads to
// that is what a killed writer may leave.
static void complainOfPart(CheckedFile* file, const uint8_t* entry, const std::string& what)
{
    if (entryIndex(entry) == DATA_INDEX) ++file->brokenData[entryNumber(entry)];
    complain(&file->report, "%s: %s", describeEntry(entry).c_str(), what.c_str());
}

// Checks the place of an entry behind the one before it, which may be of another record, or
// null.
static void checkOrdinal(CheckedFile* file, const uint8_t* before, const uint8_t* entry)
{
    bool continues = before != nullptr && sameRecord(before, entry);
    if (before != nullptr && !continues && !isLastSegment(before)) {
        complainOfPart(file, before, "ends without a last segment");
    }
    if (!continues && ordinalOf(entry) != 0) {
        complainOfPart(file, entry, "begins with segment " + std::to_string(ordinalOf(entry)));
    }
    if (continues && isLastSegment(before)) {
        complain(&file->report, "%s: segment %d behind the last one", describeEntry(entry).c_str(),
                 ordinalOf(entry));
    } else if (continues && ordinalOf(entry) != ordinalOf(before) + 1) {
        complain(&file->report, "%s: segment %d behind segment %d", describeEntry(entry).c_str(),
                 ordinalOf(entry), ordinalOf(before));
    }
}

void checkSegments(CheckedFile* file)
{
    const uint8_t* before = nullptr;
    int total = 0;
    for (const uint8_t* entry : file->leafEntries) {
        checkOrdinal(file, before, entry);
        int length = entryDataLength(entry);
        if (length > SEGMENT_ROOM - entryKeyLength(entry)) {
            complain(&file->report, "%s: a segment of %d bytes", describeEntry(entry).c_str(),
                     length);
        }
        bool continues = before != nullptr && sameRecord(before, entry);
        int totalBefore = continues ? total : 0;
        total = totalBefore + length;
        if (total >= RECORD_LIMIT && totalBefore < RECORD_LIMIT) {
            complain(&file->report, "%s: a record that is too long", describeEntry(entry).c_str());
        }
        before = entry;
    }
    if (before != nullptr && !isLastSegment(before)) {
        complainOfPart(file, before, "ends without a last segment");
    }
}

// -- Entries by index --------------------------------------------------------

static void checkKeyEmpty(CheckedFile* file, const uint8_t* entry)
{
    if (entryKeyLength(entry) == 1) return;
    complain(&file->report, "%s: the key is not empty", describeEntry(entry).c_str());
}

// Adds an entry to those that are stored, and checks what every entry of its index has.
static void collectEntry(CheckedFile* file, const uint8_t* entry, StoredRecords* stored)
{
    int index = entryIndex(entry);
    int32_t number = entryNumber(entry);
    if (index == DATA_INDEX) {
        std::vector<uint8_t>* image = &stored->images[number];
        image->insert(image->end(), entryData(entry), nextEntry(entry));
        checkKeyEmpty(file, entry);
        return;
    }
    if (index == LOCK_INDEX) {
        stored->locks.push_back(entry);
        return;
    }
    if (entrySegment(entry) != LAST_SEGMENT || entryDataLength(entry) != 0) {
        complain(&file->report, "%s: a key with data", describeEntry(entry).c_str());
    }
    if (index == FREE_NUMBER_INDEX) {
        stored->freeNumbers.push_back(entry);
        checkKeyEmpty(file, entry);
        return;
    }
    stored->keys[number].push_back(entry);
}

static bool numberHandedOut(const CheckedFile* file, int32_t number)
{
    return number > 0 && number < file->header.sequenceCounter;
}

// Checks that record numbers come from the counter, and that no record has a free one.
static void checkNumbers(CheckedFile* file, const StoredRecords& stored)
{
    for (const auto& [number, image] : stored.images) {
        if (!numberHandedOut(file, number)) {
            complain(&file->report, "record %d: sequence counter %d never handed out its number",
                     number, file->header.sequenceCounter);
        }
    }
    for (const uint8_t* entry : stored.freeNumbers) {
        int32_t number = entryNumber(entry);
        if (!numberHandedOut(file, number)) {
            complain(&file->report, "free number %d: sequence counter %d never handed it out",
                     number, file->header.sequenceCounter);
        }
        if (stored.images.contains(number)) {
            complain(&file->report, "free number %d: a record has it", number);
        }
    }
}

// Checks that every key leads to a record.
static void checkKeyTargets(CheckedFile* file, const StoredRecords& stored)
{
    for (const auto& [number, entries] : stored.keys) {
        if (stored.images.contains(number)) continue;
        for (const uint8_t* entry : entries) {
            complain(&file->report, "%s: there is no such record", describeEntry(entry).c_str());
        }
    }
}

// Checks that a lock names its holder.
static void checkHolder(CheckedFile* file, const uint8_t* lock)
{
    if (entryDataLength(lock) != LOCK_DATA_SIZE) {
        complain(&file->report, "%s: a lock with %d bytes", describeEntry(lock).c_str(),
                 entryDataLength(lock));
        return;
    }
    int32_t slot = loadInt32(entryData(lock));
    if (slot < 0 || slot >= USER_SLOTS) {
        complain(&file->report, "%s: a lock of user slot %d", describeEntry(lock).c_str(), slot);
    }
}

// Checks that each lock names its holder and an entry that exists.
static void checkLocks(CheckedFile* file, const StoredRecords& stored)
{
    if (stored.locks.empty()) return;
    std::set<std::pair<std::string, int32_t>> existing;
    for (const uint8_t* entry : file->leafEntries) {
        existing.emplace(entryKey(entry), entryNumber(entry));
    }
    for (const uint8_t* lock : stored.locks) {
        checkHolder(file, lock);
        if (!existing.contains({entryKey(lock) + 1, entryNumber(lock)})) {
            complain(&file->report, "%s: a lock of an entry that is not there",
                     describeEntry(lock).c_str());
        }
    }
}

// -- Records and their keys --------------------------------------------------

// Returns the layout of a record by its signature and the keys that lead to it, or null.
// *orphan tells two reasons for null apart: true when the layout is ours but the primary key
// is missing, false when the layout is not ours.
static const KnownLayout* layoutOf(const std::vector<uint8_t>& image,
                                   const std::vector<const uint8_t*>& keys, bool* orphan)
{
    bool ours = false;
    *orphan = false;
    for (const KnownLayout& known : knownLayouts()) {
        if (loadInt16(image.data() + IMAGE_SIGNATURE) != layoutSignature(known.layout)) continue;
        ours = true;
        for (const uint8_t* entry : keys) {
            if (isPrimaryKey(known, entryIndex(entry), entryKey(entry) + 1)) return &known;
        }
    }
    // A record key with another tag is that of another program's record.
    for (const uint8_t* entry : keys) {
        if (entryIndex(entry) == RECORD_KEY_INDEX) return nullptr;
    }
    *orphan = ours;
    return nullptr;
}

// Makes the first entry that has this key null. False when there is none.
static bool strikeOut(std::vector<const uint8_t*>* keys, const std::string& key)
{
    for (const uint8_t*& entry : *keys) {
        if (entry != nullptr && key == entryKey(entry)) {
            entry = nullptr;
            return true;
        }
    }
    return false;
}

static std::set<int> keyFieldsOf(const LayoutEntry* layout)
{
    std::set<int> fields;
    for (int field = 0; layout[field].type != TYPE_END; ++field) {
        if (layout[field].keyFlag != NOT_A_KEY) fields.insert(field);
    }
    return fields;
}

// A record while its keys are compared with its image.
struct KeyedRecord {
    int32_t number;
    const char* layoutName;
    std::vector<const uint8_t*> keys; // entries that lead to the record, null once accounted for
};

// Checks that one of the record's keys is the value of a key field.
static void checkKeyField(CheckedFile* file, const LayoutEntry& field, const ImageItem& item,
                          KeyedRecord* record, StoredRecords* stored)
{
    std::string key(1, static_cast<char>(field.indexNumber));
    key.append(reinterpret_cast<const char*>(item.value), static_cast<size_t>(item.length));
    if (!strikeOut(&record->keys, key)) {
        complain(&file->report, "record %d (%s): its key in index %d is missing", record->number,
                 record->layoutName, field.indexNumber);
    }
    if (field.duplicates == UNIQUE_KEY && !stored->uniqueKeys.insert(key).second) {
        complain(&file->report, "record %d (%s): another record has its key in index %d",
                 record->number, record->layoutName, field.indexNumber);
    }
}

// Compares the key fields of a sound image with the keys that lead to the record.
static void checkKeys(CheckedFile* file, const LayoutEntry* layout,
                      const std::vector<uint8_t>& image, KeyedRecord* record, StoredRecords* stored)
{
    std::set<int> missingFields = keyFieldsOf(layout);
    ImageItem item = {};
    ImageWalk walk = startImageWalk(image.data(), layout, static_cast<int>(image.size()));
    while (nextImageItem(&walk, &item)) {
        if (layout[item.field].keyFlag == NOT_A_KEY) continue;
        missingFields.erase(item.field);
        checkKeyField(file, layout[item.field], item, record, stored);
    }
    for (int field : missingFields) {
        complain(&file->report, "record %d (%s): no value of key field %d", record->number,
                 record->layoutName, field);
    }
    for (const uint8_t* entry : record->keys) {
        if (entry == nullptr) continue;
        complain(&file->report, "%s: leads to a record (%s) without this key",
                 describeEntry(entry).c_str(), record->layoutName);
    }
}

// Returns the name of the layout whose records are filed under one of the keys, or null. Numbered
// records may have other layouts than that of chains: no element is read from them.
static const char* filedAs(const std::vector<const uint8_t*>& keys)
{
    for (const uint8_t* entry : keys) {
        const char* key = entryKey(entry) + 1;
        for (const KnownLayout& known : knownLayouts()) {
            if (!isPrimaryKey(known, entryIndex(entry), key)) continue;
            bool numbered = known.tags[0] != nullptr &&
                            std::memcmp(key + KEY_TAG, TAG_NUMBERED, TAG_LENGTH) == 0;
            if (!numbered) return known.name;
        }
    }
    return nullptr;
}

static bool checksumFits(const std::vector<uint8_t>& image)
{
    int length = static_cast<int>(image.size());
    return loadInt16(image.data() + IMAGE_CHECKSUM) == imageChecksum(image.data(), length);
}

// Returns the key of a profile header among those of a record, or null.
static const char* profileHeaderKey(const std::vector<const uint8_t*>& keys)
{
    for (const uint8_t* entry : keys) {
        const char* key = entryKey(entry) + 1;
        if (entryIndex(entry) != RECORD_KEY_INDEX) continue;
        if (std::strlen(key) < KEY_TAG + TAG_LENGTH) continue;
        if (std::memcmp(key + KEY_TAG, TAG_PROFILE, TAG_LENGTH) == 0) return key;
    }
    return nullptr;
}

// Checks a profile header. Readers look only its key up, which is also the first field of its
// image, a text behind the field's number.
static void checkProfileHeader(CheckedFile* file, int32_t number, const std::vector<uint8_t>& image,
                               const char* key)
{
    constexpr size_t TEXT = IMAGE_ITEMS + 2;
    size_t length = std::strlen(key);
    if (image.size() < TEXT + length || std::memcmp(image.data() + TEXT, key, length) != 0) {
        complain(&file->report, "record %d (profile header): its key is not the one that it holds",
                 number);
    } else if (!checksumFits(image)) {
        file->report.remarks.push_back(
            "record " + std::to_string(number) +
            " (profile header): damaged image, of which nothing is read");
    }
}

// Checks a record whose signature is of no layout that its keys stand for.
static void checkOtherRecord(CheckedFile* file, int32_t number, const std::vector<uint8_t>& image,
                             const std::vector<const uint8_t*>& keys)
{
    const char* filed = filedAs(keys);
    const KnownLayout* held = layoutOfImage(image.data(), static_cast<int>(image.size()));
    if (filed != nullptr) {
        complain(&file->report, "record %d (%s): %s", number, filed,
                 checksumFits(image) ? "an image of another layout" : "damaged image");
        return;
    }
    if (held != nullptr) {
        complain(&file->report, "record %d (%s): its key is not the one that it holds", number,
                 held->name);
        return;
    }
    ++file->report.unknownRecords;
    const char* key = profileHeaderKey(keys);
    if (key != nullptr) checkProfileHeader(file, number, image, key);
}

// Counts what is stored of a record that no key leads to, and how much of that was complained
// about as damage.
static void countLostRecord(CheckedFile* file, int32_t number)
{
    ++file->report.lostRecords;
    auto broken = file->brokenData.find(number);
    if (broken != file->brokenData.end()) file->report.damages -= broken->second;
}

static void checkRecord(CheckedFile* file, int32_t number, const std::vector<uint8_t>& image,
                        StoredRecords* stored)
{
    const std::vector<const uint8_t*>& keys = stored->keys[number]; // none for an orphan
    bool broken = file->brokenData.contains(number);
    bool tooShort = image.size() < IMAGE_MIN_SIZE;
    bool orphan = false;
    const KnownLayout* known = tooShort ? nullptr : layoutOf(image, keys, &orphan);
    if (orphan || (keys.empty() && (broken || tooShort))) countLostRecord(file, number);
    if (tooShort) {
        auto complainOf = keys.empty() ? complainOfLoss : complain;
        complainOf(&file->report, "record %d: an image of %d bytes", number,
                   static_cast<int>(image.size()));
    } else if (orphan) {
        complainOfLoss(&file->report, "record %d: no primary key leads to it", number);
    } else if (known == nullptr) {
        checkOtherRecord(file, number, image, keys);
    } else if (checkImage(image.data(), known->layout, static_cast<int>(image.size())) != IX_OK) {
        complain(&file->report, "record %d (%s): damaged image", number, known->name);
    } else {
        KeyedRecord record = {number, known->name, keys};
        checkKeys(file, known->layout, image, &record, stored);
    }
}

void checkRecords(CheckedFile* file)
{
    buildKnownLayouts();

    StoredRecords stored;
    for (const uint8_t* entry : file->leafEntries) {
        collectEntry(file, entry, &stored);
    }
    file->report.records = static_cast<int>(stored.images.size());
    file->report.freeNumbers = static_cast<int>(stored.freeNumbers.size());
    file->report.locks = static_cast<int>(stored.locks.size());

    checkNumbers(file, stored);
    checkKeyTargets(file, stored);
    checkLocks(file, stored);
    for (const auto& [number, image] : stored.images) {
        checkRecord(file, number, image, &stored);
    }
}
