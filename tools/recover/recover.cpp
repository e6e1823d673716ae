#include "tools/recover/recover.h"

#include "api/orvIdx.h"
#include "cogo/keys.h"
#include "records/record_image.h"
#include "tools/recover/element_keys.h"
#include "tools/recover/new_job.h"
#include "tools/writer/job_writer.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <tuple>

constexpr int IMAGE_ROOM = 256; // of a record that is made anew

// A recovery while it goes on.
struct Work {
    Salvage salvage;
    Decisions decisions;
    NewJob job;
    std::vector<RecoveredElement> notes; // of elements and their parts, in no order
    std::vector<LostKey> lost;
};

// -- The report --------------------------------------------------------------

static std::string keyText(const char* tag, const char* name)
{
    KeyComponents parts = keyComponents(tag, name, "", "");
    return std::string(1, static_cast<char>(RECORD_KEY_INDEX)) + buildKey(&parts).text;
}

// Notes what has become of an element or of one of its parts.
static void note(Work* work, const ElementPart& part, RecoveredState state,
                 const std::string& remark = {})
{
    work->notes.push_back({part.kind, part.name, state, {}});
    if (!remark.empty()) work->notes.back().remarks.push_back(remark);
}

static bool isSameElement(const RecoveredElement& one, const RecoveredElement& other)
{
    return one.kind == other.kind && one.name == other.name;
}

// Makes one note of all of an element: the worst counts.
static void joinNotes(std::vector<RecoveredElement>* notes)
{
    constexpr int SEVERITY[] = {0, 1, 3, 2}; // in the order of RecoveredState
    std::stable_sort(notes->begin(), notes->end(), [](const auto& one, const auto& other) {
        return std::tie(one.kind, one.name) < std::tie(other.kind, other.name);
    });
    size_t kept = 0;
    for (size_t at = 0; at < notes->size(); ++at) {
        RecoveredElement& fresh = (*notes)[at];
        if (kept > 0 && isSameElement((*notes)[kept - 1], fresh)) {
            RecoveredElement& element = (*notes)[kept - 1];
            if (SEVERITY[fresh.state] > SEVERITY[element.state]) element.state = fresh.state;
            element.remarks.insert(element.remarks.end(), fresh.remarks.begin(),
                                   fresh.remarks.end());
        } else {
            if (kept != at) (*notes)[kept] = std::move(fresh);
            ++kept;
        }
    }
    notes->resize(kept);
}

static void noteLost(Work* work)
{
    for (const LostKey& lost : work->lost) {
        ElementPart part = elementPartOf(lost.key);
        note(work, part, STATE_LOST, part.part.empty() ? "" : "its " + part.part + " is lost");
    }
}

// -- Records that were found -------------------------------------------------

// What names a record of another program: its record key. It may have none.
static std::string foreignKey(const Work* work, const FoundRecord& record)
{
    std::string own = ownKeyOf(record);
    if (!own.empty()) return own;
    const Salvage* salvage = &work->salvage;
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        const uint8_t* entry = salvage->entries[salvage->keysByNumber[at]].entry;
        if (entryIndex(entry) == RECORD_KEY_INDEX) return entryKey(entry);
    }
    return {};
}

static void keepForeign(Work* work, const FoundRecord& record, const Decision& decision)
{
    std::string key = foreignKey(work, record);
    addForeignRecord(&work->job, &work->salvage, record);
    if (!key.empty() && !hasUniqueKey(&work->job, key)) {
        addUniqueKey(&work->job, addKey(&work->job, key, record.number));
    }
    RecoveredState state = decision.wasReached ? STATE_WHOLE : STATE_RESCUED;
    if (key.empty()) {
        note(work, {KIND_OF_OTHERS, "record " + std::to_string(record.number), ""}, state);
    } else {
        note(work, elementPartOf(key), state);
    }
}

static void keepRecords(Work* work)
{
    for (size_t at = 0; at < work->decisions.of.size(); ++at) {
        const Decision& decision = work->decisions.of[at];
        const FoundRecord& record = work->salvage.records[at];
        if (decision.fate != FATE_KEPT || record.known == nullptr) continue;
        addFoundRecord(&work->job, record, decision);
        note(work, elementPartOf(decision.key), decision.wasReached ? STATE_WHOLE : STATE_RESCUED);
    }
    for (size_t at = 0; at < work->decisions.of.size(); ++at) {
        const Decision& decision = work->decisions.of[at];
        const FoundRecord& record = work->salvage.records[at];
        if (decision.fate == FATE_KEPT && record.known == nullptr) {
            keepForeign(work, record, decision);
        }
    }
}

// -- Records that are made anew ----------------------------------------------

// Adds a record with one key under the number of the lost one, or a new number.
static void addMade(Work* work, const std::string& key, const uint8_t* image, int length)
{
    int32_t number = work->job.nextNumber;
    auto lost = std::find_if(work->lost.begin(), work->lost.end(),
                             [&](const LostKey& one) { return one.key == key; });
    if (lost != work->lost.end()) {
        bool free = lost->number > 0 && lost->number < work->job.nextNumber &&
                    std::find(work->job.numbers.begin(), work->job.numbers.end(), lost->number) ==
                        work->job.numbers.end();
        if (free) number = lost->number;
        work->lost.erase(lost);
    }
    if (number == work->job.nextNumber) ++work->job.nextNumber;
    LayoutEntry keyAlone[] = {{TYPE_TEXT, TYPE_TEXT, UNIQUE_KEY, RECORD_KEY_ROOM, RECORD_KEY_INDEX,
                               nullptr, RECORD_KEY_ROOM},
                              {TYPE_END, 0, 0, 0, 0, nullptr, 0}};
    std::vector<uint8_t> bytes(image, image + length);
    addImage(&work->job, keyAlone, bytes, number);
}

// A profile is found by its header, which holds nothing but its key.
static void makeHeader(Work* work, const std::string& name)
{
    std::string key = keyText(TAG_PROFILE, name.c_str());
    if (hasUniqueKey(&work->job, key)) return;
    uint8_t image[IMAGE_ROOM];
    addMade(work, key, image, packProfileHeader(image, IMAGE_ROOM, name.c_str()));
    note(work, {ELEMENT_PROFILE, name, ""}, STATE_RESCUED, "its header is made anew");
}

static void makeHeaders(Work* work)
{
    std::set<std::string> names;
    for (const Decision& decision : work->decisions.of) {
        if (decision.fate != FATE_KEPT || decision.key[0] == 0) continue;
        ElementPart part = elementPartOf(decision.key);
        if (part.kind == ELEMENT_PROFILE && part.part == PART_DATA) names.insert(part.name);
    }
    for (const std::string& name : names) {
        makeHeader(work, name);
    }
}

// The highest element number of the extension records that are kept; 0: none.
static int32_t highestElementNumber(const Work* work)
{
    constexpr int ELEMENT_NUMBER_FIELD = 1;
    int32_t highest = 0;
    for (size_t at = 0; at < work->decisions.of.size(); ++at) {
        const FoundRecord& record = work->salvage.records[at];
        if (work->decisions.of[at].fate != FATE_KEPT || record.known == nullptr) continue;
        const char* tag = record.known->tags[0];
        if (tag == nullptr || std::strcmp(tag, TAG_EXTENSION) != 0) continue;
        std::vector<uint8_t> image = imageOf(record);
        ImageItem item = {};
        ImageWalk walk =
            startImageWalk(image.data(), record.known->layout, static_cast<int>(image.size()));
        while (nextImageItem(&walk, &item)) {
            if (item.field == ELEMENT_NUMBER_FIELD) {
                highest = std::max(highest, loadInt32(item.value));
            }
        }
    }
    return highest;
}

// A lost counter goes on behind the numbers that are in use.
static void makeVersionCounter(Work* work)
{
    std::string key = keyText(TAG_VERSION, VERSION_NAME);
    if (hasUniqueKey(&work->job, key)) return;
    auto isLost = [&](const LostKey& one) { return one.key == key; };
    bool wasThere = std::any_of(work->lost.begin(), work->lost.end(), isLost);
    SoughtKey sought = {key.c_str(), 0, LAST_SEGMENT};
    int32_t highest = highestElementNumber(work);
    if (!wasThere && (highest == 0 || hasLeafFor(&work->salvage.view, &sought))) return;
    uint8_t image[IMAGE_ROOM];
    addMade(work, key, image, packVersionCounter(image, IMAGE_ROOM, highest));
    note(work, elementPartOf(key), STATE_RESCUED, "counted anew");
}

// -- Doubles -----------------------------------------------------------------

static std::string freeKey(NewJob* job, const std::string& key)
{
    constexpr int ATTEMPTS = 8;
    for (int attempt = 0; attempt < ATTEMPTS; ++attempt) {
        std::string other = keyOfOtherVersion(key, attempt);
        if (!other.empty() && !hasUniqueKey(job, other)) return other;
    }
    return {};
}

static void settleDouble(Work* work, size_t at, bool keepBoth)
{
    const Decision& decision = work->decisions.of[at];
    const FoundRecord& record = work->salvage.records[at];
    std::string remark = "two versions: record " +
                         std::to_string(work->decisions.of[decision.taken].number) +
                         " was taken, record " + std::to_string(record.number) + " was not";
    if (record.known == nullptr || decision.key[0] == 0) return;
    std::string key = keepBoth ? freeKey(&work->job, decision.key) : std::string();
    if (!key.empty()) {
        addImage(&work->job, record.known->layout, imageWithKey(record, key),
                 work->job.nextNumber++);
        ElementPart other = elementPartOf(key);
        note(work, other, STATE_DOUBTFUL, "the other version");
        if (other.part == PART_DATA) makeHeader(work, other.name);
        remark += "; it is there as " + other.name;
    }
    note(work, elementPartOf(decision.key), STATE_DOUBTFUL, remark);
}

// -- The whole ---------------------------------------------------------------

static void recover(Work* work, Recovery* recovery, bool keepBoth)
{
    findRecords(&work->salvage);
    work->decisions = decide(&work->salvage);
    work->lost = lostKeys(&work->salvage, &work->decisions);
    work->job.nextNumber = work->decisions.nextNumber;
    work->job.entries.reserve(work->salvage.entries.size());
    work->notes.reserve(work->decisions.of.size() + work->lost.size());

    keepRecords(work);
    for (size_t at = 0; at < work->decisions.of.size(); ++at) {
        RecordFate fate = work->decisions.of[at].fate;
        if (fate == FATE_DOUBLE) settleDouble(work, at, keepBoth);
        if (fate == FATE_LEFT_OVER) ++recovery->leftOver;
    }
    makeHeaders(work);
    makeVersionCounter(work);
    noteLost(work);
    addOtherEntries(&work->job, &work->salvage);
}

// The counter of the new file, which no process has a page of.
static uint32_t changeCounterBehind(const std::vector<uint8_t>& bytes)
{
    bool known = headerHasMagic(bytes.data(), CURRENT_MAGIC);
    return known ? decodeHeader(bytes.data()).changeCounter + 1 : 1;
}

Recovery recoverJob(std::vector<uint8_t> bytes, bool keepBoth)
{
    Recovery recovery = {RECOVERY_NOTHING, {}, {}, 0};
    if (bytes.size() <= FIRST_PAGE_OFFSET) return recovery;
    if (headerHasMagic(bytes.data(), OLDER_MAGIC)) {
        recovery.result = RECOVERY_OLDER;
        return recovery;
    }
    int last = static_cast<int>((bytes.size() - FIRST_PAGE_OFFSET - 1) % NODE_PAGE_SIZE) + 1;
    bytes.resize(bytes.size() + static_cast<size_t>(NODE_PAGE_SIZE - last), 0);

    Work work = {};
    salvageEntries(&work.salvage, &bytes, last);
    recover(&work, &recovery, keepBoth);
    bool nothing = work.job.entries.empty() && work.lost.empty();
    // What has served its purpose makes room.
    work.decisions = {};
    work.salvage.entries = {};
    work.salvage.keysByNumber = {};
    work.salvage.records = {};
    work.job.uniqueKeys = {};
    joinNotes(&work.notes);
    recovery.elements = std::move(work.notes);
    recovery.bytes = packNewJob(&work.job, changeCounterBehind(bytes));
    recovery.result = nothing                  ? RECOVERY_NOTHING
                      : recovery.bytes.empty() ? RECOVERY_TOO_LARGE
                                               : RECOVERY_DONE;
    return recovery;
}

int countInState(const Recovery& recovery, RecoveredState state)
{
    auto inState = [state](const RecoveredElement& element) { return element.state == state; };
    return static_cast<int>(
        std::count_if(recovery.elements.begin(), recovery.elements.end(), inState));
}
