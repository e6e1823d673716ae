#include "tools/recover/decisions.h"

#include "records/record_image.h"
#include "records/records.h"
#include "survey/point_name.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>

// -- What leads to a record --------------------------------------------------

// How a record is led to, the weakest first.
enum Lead {
    LEAD_NONE,
    LEAD_OTHER,    // only keys that are not its primary one
    LEAD_PRIMARY,  // an entry of the index of its primary key, under whatever key
    LEAD_IN_PLACE, // its primary key, where a search finds it
};

static bool isDeniedKey(const Salvage* salvage, const char* key, int32_t number)
{
    SoughtKey sought = {key, number, LAST_SEGMENT};
    return hasLeafFor(&salvage->view, &sought);
}

static Lead leadTo(const Salvage* salvage, const FoundRecord& record, const char* key)
{
    Lead best = LEAD_NONE;
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        const SalvagedEntry& found = salvage->entries[salvage->keysByNumber[at]];
        if (found.trust == TRUST_DENIED) continue;
        Lead lead = LEAD_OTHER;
        if (entryIndex(found.entry) == key[0]) lead = LEAD_PRIMARY;
        bool same = std::strcmp(key, entryKey(found.entry)) == 0;
        if (same && found.trust == TRUST_IN_PLACE) lead = LEAD_IN_PLACE;
        best = std::max(best, lead);
    }
    return best;
}

// True for an entry that has the form of a primary key. The rest of one that was hit has not.
static bool isPrimaryEntry(const uint8_t* entry)
{
    if (entryDataLength(entry) != 0 || entryNumber(entry) <= 0) return false;
    switch (entryIndex(entry)) {
    case RECORD_KEY_INDEX:
        return entryKeyLength(entry) == 1 + KEY_LENGTH;
    case POINT_NAME_INDEX:
        return entryKeyLength(entry) == 1 + SURVEY_NAME_LENGTH;
    default:
        return entryIndex(entry) == SURVEY_CHAIN_INDEX || entryIndex(entry) == POINT_LIST_INDEX;
    }
}

// -- Numbers that a key leads to in vain --------------------------------------

// The numbers under which the key is entered and no record has it.
static std::set<int32_t> danglingNumbers(const Salvage* salvage, const std::string& key)
{
    std::set<int32_t> numbers;
    EntryRange range = entriesWithKey(salvage, key);
    for (size_t at = range.begin; at < range.end; ++at) {
        const SalvagedEntry& found = salvage->entries[at];
        if (found.trust == TRUST_DENIED) continue;
        int32_t number = entryNumber(found.entry);
        const FoundRecord* record = recordOf(salvage, number);
        if (record == nullptr || primaryKeyOf(*record) != key) numbers.insert(number);
    }
    return numbers;
}

// -- One record --------------------------------------------------------------

static bool allowsDuplicates(const KnownLayout* known)
{
    for (const LayoutEntry* field = known->layout; field->type != TYPE_END; ++field) {
        if (field->keyFlag != NOT_A_KEY && field->indexNumber == known->primaryIndex) {
            return field->duplicates == DUPLICATES;
        }
    }
    return true;
}

// True when a search for a record key other than its own leads to the record.
static bool isLedByOther(const Salvage* salvage, const FoundRecord& record)
{
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        const SalvagedEntry& found = salvage->entries[salvage->keysByNumber[at]];
        bool isRecordKey = entryIndex(found.entry) == RECORD_KEY_INDEX;
        if (isRecordKey && found.trust == TRUST_IN_PLACE) return true;
    }
    return false;
}

// Decides about a record of no layout of ours. Another program's is kept unless the tree has no
// place for it; one of ours that is damaged is lost.
static void decideForeign(const Salvage* salvage, const FoundRecord& record, Lead lead,
                          Decision* decision)
{
    bool damaged = isDamagedOne(salvage, record);
    bool kept = lead != LEAD_NONE || record.trust > TRUST_DENIED;
    if (!ownKeyOf(record).empty() && record.proof != PROOF_KEY)
        damaged |= isLedByOther(salvage, record);
    if (damaged || !kept || record.isSecond) decision->fate = FATE_LEFT_OVER;
    decision->wasReached = record.trust == TRUST_IN_PLACE;
}

// For each key the dangling numbers for which a record stands in already.
using TakenNumbers = std::map<std::string, std::set<int32_t>>;

// Decides about a record to which no primary key leads. Where the tree has a leaf for that key
// and the key is not in it, the record is kept only if it is missed elsewhere. One of a key that
// several may have would else change what is read with the others.
static void decideUnled(const Salvage* salvage, const FoundRecord& record, TakenNumbers* taken,
                        Decision* decision)
{
    std::set<int32_t> dangling = danglingNumbers(salvage, decision->key);
    for (int32_t number : (*taken)[decision->key]) {
        dangling.erase(number);
    }
    if (dangling.empty()) {
        bool denied = isDeniedKey(salvage, decision->key, record.number);
        bool goneFromTree = record.trust == TRUST_DENIED;
        if (goneFromTree || (denied && allowsDuplicates(record.known))) {
            decision->fate = FATE_LEFT_OVER;
        }
        return;
    }
    int32_t number = *dangling.begin();
    (*taken)[decision->key].insert(number);
    // Either the key's number is the wrong one or that of the data, which then lies elsewhere.
    bool free = recordOf(salvage, number) == nullptr && number > 0;
    if (record.trust != TRUST_IN_PLACE && free) decision->number = number;
}

static Decision decideOne(const Salvage* salvage, const FoundRecord& record, const char* key,
                          TakenNumbers* taken)
{
    Decision decision = {FATE_KEPT, record.number, false, key, 0};
    Lead lead = leadTo(salvage, record, decision.key);
    if (record.known == nullptr) {
        decideForeign(salvage, record, lead, &decision);
        return decision;
    }
    decision.wasReached =
        lead == LEAD_IN_PLACE && record.trust == TRUST_IN_PLACE && record.proof == PROOF_KEY;
    bool led = record.isSecond ? record.proof == PROOF_KEY : lead >= LEAD_PRIMARY;
    if (lead == LEAD_OTHER && !record.isSecond)
        led = !isDeniedKey(salvage, decision.key, record.number);
    if (!led) decideUnled(salvage, record, taken, &decision);
    return decision;
}

// -- Records that exclude each other -----------------------------------------

static int32_t nextNumber(const Salvage* salvage)
{
    int32_t highest = 0;
    for (const FoundRecord& record : salvage->records) {
        highest = std::max(highest, record.number);
    }
    const std::vector<uint8_t>& bytes = *salvage->view.bytes;
    int32_t counter = 0;
    if (headerHasMagic(bytes.data(), CURRENT_MAGIC)) {
        counter = decodeHeader(bytes.data()).sequenceCounter;
    }
    // A counter that could not have been counted to is none.
    constexpr int32_t LIKELY = 1 << 30;
    if (counter > LIKELY) counter = 0;
    return std::max(counter, highest == INT32_MAX ? highest : highest + 1);
}

// What speaks for a record that another one excludes.
static int meritOf(const Salvage* salvage, const FoundRecord& record, const Decision& decision)
{
    Lead lead = leadTo(salvage, record, decision.key);
    return (record.isSecond ? 0 : 16) + 4 * static_cast<int>(lead) + record.trust;
}

// Of two records with one unique key, or under one number, the better one is kept. The other one is
// a double, unless a search finds the better one: then it was replaced.
static void exclude(const Salvage* salvage, Decisions* decisions, size_t one, size_t other)
{
    int meritOne = meritOf(salvage, salvage->records[one], decisions->of[one]);
    int meritOther = meritOf(salvage, salvage->records[other], decisions->of[other]);
    size_t better = meritOther > meritOne ? other : one;
    size_t worse = better == one ? other : one;
    bool replaced = decisions->of[better].wasReached;
    decisions->of[worse].fate = replaced ? FATE_LEFT_OVER : FATE_DOUBLE;
    decisions->of[worse].taken = better;
}

static void settleNumbers(const Salvage* salvage, Decisions* decisions)
{
    std::unordered_map<int32_t, size_t> holders;
    for (size_t at = 0; at < decisions->of.size(); ++at) {
        if (decisions->of[at].fate != FATE_KEPT) continue;
        auto [holder, isFirst] = holders.emplace(decisions->of[at].number, at);
        if (isFirst) continue;
        exclude(salvage, decisions, holder->second, at);
        if (decisions->of[at].fate == FATE_KEPT) holder->second = at;
    }
}

static void settleKeys(const Salvage* salvage, Decisions* decisions)
{
    std::unordered_map<std::string_view, size_t> holders;
    for (size_t at = 0; at < decisions->of.size(); ++at) {
        const Decision& decision = decisions->of[at];
        const KnownLayout* known = salvage->records[at].known;
        if (decision.fate != FATE_KEPT || known == nullptr || allowsDuplicates(known)) continue;
        auto [holder, isFirst] = holders.emplace(decision.key, at);
        if (isFirst) continue;
        exclude(salvage, decisions, holder->second, at);
        if (decisions->of[at].fate == FATE_KEPT) holder->second = at;
    }
}

// Of two records under one number the second goes on under a new one.
static void giveNumbers(const Salvage* salvage, Decisions* decisions)
{
    for (size_t at = 0; at < decisions->of.size(); ++at) {
        Decision* decision = &decisions->of[at];
        const FoundRecord& record = salvage->records[at];
        if (decision->fate != FATE_KEPT || !record.isSecond) continue;
        if (decision->number == record.number) decision->number = decisions->nextNumber++;
    }
}

// True when no element could have been filed under the key, the index first.
static bool isImpossibleKey(const char* key)
{
    if (key[0] == RECORD_KEY_INDEX) {
        KeyComponents parts = splitKey(key + 1);
        KeyComponents right = keyComponents(parts.recordTag, parts.elementName, "", "");
        int kind = kindOfTag(parts.recordTag);
        bool hasQualifiers = kind == KIND_NONE || kind == KIND_EXTENSION;
        return !hasQualifiers && std::strcmp(buildKey(&right).text, key + 1) != 0;
    }
    char name[SURVEY_NAME_ROOM] = {};
    char right[SURVEY_NAME_ROOM] = {};
    if (key[0] != POINT_NAME_INDEX) return false;
    nameOfKey(name, sizeof name, key + 1);
    return buildPointNameKey(right, name) != SURVEY_OK || std::strcmp(right, key + 1) != 0;
}

// The key under which a search finds a record whose own key is damaged. Else its own: that of an
// entry may be damaged just as well.
static const char* rightKey(const Salvage* salvage, const FoundRecord& record, const char* own)
{
    if (record.proof != PROOF_LAYOUT || !isImpossibleKey(own)) return own;
    EntryRange range = keysTo(salvage, record.number);
    for (size_t at = range.begin; at < range.end; ++at) {
        const SalvagedEntry& found = salvage->entries[salvage->keysByNumber[at]];
        const char* key = entryKey(found.entry);
        bool fits = isPrimaryKey(*record.known, entryIndex(found.entry), key + 1);
        if (fits && found.trust == TRUST_IN_PLACE && isPrimaryEntry(found.entry)) return key;
    }
    return own;
}

// Several records may have one key of these layouts, but not two versions of one record: that
// would double what is read.
static void settleVersions(const Salvage* salvage, Decisions* decisions)
{
    for (size_t at = 1; at < decisions->of.size(); ++at) {
        const FoundRecord& record = salvage->records[at];
        const Decision& before = decisions->of[at - 1];
        bool isVersion = record.isSecond && std::strcmp(before.key, decisions->of[at].key) == 0;
        bool bothKept = before.fate == FATE_KEPT && decisions->of[at].fate == FATE_KEPT;
        if (isVersion && bothKept) exclude(salvage, decisions, at - 1, at);
    }
}

Decisions decide(const Salvage* salvage)
{
    Decisions decisions = {{}, {}, nextNumber(salvage)};
    decisions.of.reserve(salvage->records.size());
    TakenNumbers taken;
    for (const FoundRecord& record : salvage->records) {
        std::string key = primaryKeyOf(record);
        const uint8_t* kept = keepBytes(&decisions.keys, key.c_str(), key.size() + 1);
        const char* own = reinterpret_cast<const char*>(kept);
        decisions.of.push_back(decideOne(salvage, record, rightKey(salvage, record, own), &taken));
    }
    settleVersions(salvage, &decisions);
    settleKeys(salvage, &decisions);
    giveNumbers(salvage, &decisions);
    settleNumbers(salvage, &decisions);
    return decisions;
}

// -- What is lost ------------------------------------------------------------

// The primary keys and the numbers of kept records.
struct KeptRecords {
    std::vector<std::string_view> keys; // sorted, as the others are
    std::vector<int32_t> numbers;
    std::map<std::string, int> standIns; // by key, how many have lost the entry of it
};

static KeptRecords keptRecords(const Salvage* salvage, const Decisions* decisions)
{
    KeptRecords kept;
    for (size_t at = 0; at < decisions->of.size(); ++at) {
        const Decision& decision = decisions->of[at];
        if (decision.fate != FATE_KEPT) continue;
        kept.numbers.push_back(decision.number);
        if (decision.key[0] != 0) kept.keys.emplace_back(decision.key);
        if (salvage->records[at].proof == PROOF_LAYOUT) ++kept.standIns[decision.key];
    }
    std::sort(kept.keys.begin(), kept.keys.end());
    std::sort(kept.numbers.begin(), kept.numbers.end());
    return kept;
}

template <typename Value, typename Sought>
static bool contains(const std::vector<Value>& sorted, const Sought& value)
{
    return std::binary_search(sorted.begin(), sorted.end(), Value(value));
}

// True for the keys of layouts of which several records may have one.
static bool maySeveralHave(const char* key)
{
    for (const KnownLayout& known : knownLayouts()) {
        if (isPrimaryKey(known, key[0], key + 1)) return allowsDuplicates(&known);
    }
    return false;
}

// True when a record stands in for the one to which the key leads in vain.
static bool isBack(KeptRecords* kept, const std::string& key)
{
    if (!contains(kept->keys, key)) return false;
    if (!maySeveralHave(key.c_str())) return true;
    auto standIn = kept->standIns.find(key);
    return standIn != kept->standIns.end() && standIn->second-- > 0;
}

std::vector<LostKey> lostKeys(const Salvage* salvage, const Decisions* decisions)
{
    KeptRecords kept = keptRecords(salvage, decisions);
    std::set<std::pair<std::string, int32_t>> missed;
    for (size_t at : salvage->keysByNumber) {
        const SalvagedEntry& found = salvage->entries[at];
        if (found.trust == TRUST_DENIED || !isPrimaryEntry(found.entry)) continue;
        if (!contains(kept.numbers, entryNumber(found.entry))) {
            missed.emplace(entryKey(found.entry), entryNumber(found.entry));
        }
    }
    std::vector<LostKey> lost;
    for (const auto& [key, number] : missed) {
        if (!isBack(&kept, key)) lost.push_back({key, number});
    }
    return lost;
}
