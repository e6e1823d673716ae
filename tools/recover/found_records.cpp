#include "tools/recover/found_records.h"

#include <algorithm>

// -- Entries -----------------------------------------------------------------

static bool isBefore(const SalvagedEntry& one, const SalvagedEntry& other)
{
    SoughtKey key = keyOf(other.entry);
    int order = compareWithSegments(one.entry, &key);
    if (order != 0) return order < 0;
    return one.trust != other.trust ? one.trust > other.trust : one.page < other.page;
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

const FoundRecord* recordOf(const Salvage* salvage, int32_t number)
{
    auto found = std::partition_point(
        salvage->records.begin(), salvage->records.end(),
        [number](const FoundRecord& record) { return record.number < number; });
    return found != salvage->records.end() && found->number == number ? &*found : nullptr;
}
