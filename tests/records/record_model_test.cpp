// Whole records against a plain map: add, find in all match modes, read, update and
// delete, with the record numbers that each of them takes and releases.
#include "records/records.h"
#include "tests/support/contexts.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <vector>

namespace
{

constexpr int NAME_INDEX = 3;  // unique
constexpr int GROUP_INDEX = 6; // duplicates

struct Record {
    std::string name;
    std::string group;
    std::string text;
    bool operator==(const Record&) const = default;
};

// The layout's variables.
struct Variables {
    char name[41];
    char group[25];
    char text[9000];
};

struct RecordModel {
    std::mt19937 random;
    std::map<int32_t, Record> records;
    std::set<int32_t> released;
    int32_t sequence = 1;
    Variables variables = {};
    LayoutEntry layout[4] = {};
    uint8_t buffer[16384] = {};
    RecordFile file = {};

    explicit RecordModel(unsigned seed) : random(seed)
    {
        const LayoutRow rows[] = {
            {"name", 'S', 'S', 'U', NAME_INDEX, 41, 1, variables.name},
            {"group", 'S', 'S', 'D', GROUP_INDEX, 25, 1, variables.group},
            {"text", 'S', 'N', 'N', 0, 9000, 1, variables.text},
        };
        buildLayout(layout, rows, 3);
    }
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    Record randomRecord()
    {
        size_t length = static_cast<size_t>(below(10) == 0 ? below(8999) : below(300));
        return {"N" + std::to_string(below(400)), std::string(static_cast<size_t>(below(4)), 'G'),
                std::string(length, static_cast<char>('a' + below(26)))};
    }
    void fill(const Record& record)
    {
        variables = {};
        record.name.copy(variables.name, 40);
        record.group.copy(variables.group, 24);
        record.text.copy(variables.text, 8999);
    }
    // The number that the next allocation hands out.
    int32_t takeNumber()
    {
        if (released.empty()) return sequence++;
        int32_t number = *released.begin();
        released.erase(released.begin());
        return number;
    }
    bool nameTaken(const std::string& name, int32_t except)
    {
        for (auto& [number, record] : records) {
            if (record.name == name && number != except) return true;
        }
        return false;
    }
    // What an index holds, in its order.
    std::set<std::pair<std::string, int32_t>> entries(int index)
    {
        std::set<std::pair<std::string, int32_t>> all;
        for (auto& [number, record] : records) {
            all.insert({index == NAME_INDEX ? record.name : record.group, number});
        }
        return all;
    }
};

void addRecord(RecordModel& model)
{
    Record record = model.randomRecord();
    model.fill(record);
    int32_t number = model.takeNumber();
    bool taken = model.nameTaken(record.name, 0);
    ASSERT_EQ(recordAdd(&model.file, model.layout), taken ? IX_NOT_FOUND : IX_OK);
    if (taken) {
        model.released.insert(number);
    } else {
        model.records[number] = record;
        ASSERT_EQ(model.file.currentRecordNumber, number);
    }
}

void findRecord(RecordModel& model)
{
    int index = model.below(2) == 0 ? NAME_INDEX : GROUP_INDEX;
    int mode = MATCH_EXACT + model.below(5);
    Record record = model.randomRecord();
    std::string key = index == NAME_INDEX ? record.name : record.group;

    auto entries = model.entries(index);
    auto at = entries.lower_bound({key, 0});
    bool exists = at != entries.end() && at->first == key;
    auto reached = at;
    int outcome = IX_OK;
    if (mode == MATCH_EXACT && !exists) reached = entries.end();
    if (mode == MATCH_AFTER && exists) ++reached;
    if (mode == MATCH_AT_OR_AFTER && !exists) outcome = IX_GREATER_KEY;
    if (mode == MATCH_BEFORE || (mode == MATCH_AT_OR_BEFORE && !exists)) {
        reached = at == entries.begin() ? entries.end() : std::prev(at);
        if (mode == MATCH_AT_OR_BEFORE) outcome = IX_BEFORE;
    }
    if (reached == entries.end()) outcome = IX_NOT_FOUND;

    ASSERT_EQ(recordFind(&model.file, index, key.c_str(), mode), outcome)
        << "mode " << mode << " key " << key;
    int32_t current = reached == entries.end() ? NO_RECORD : reached->second;
    ASSERT_EQ(model.file.currentRecordNumber, current);

    int read = recordReadCurrent(&model.file, model.layout);
    ASSERT_EQ(read, current == NO_RECORD ? IX_NO_CURRENT : IX_OK);
    if (current == NO_RECORD) return;
    Record found = {model.variables.name, model.variables.group, model.variables.text};
    ASSERT_TRUE(found == model.records[current]);
}

void updateRecord(RecordModel& model)
{
    int32_t number = model.file.currentRecordNumber;
    bool exists = model.records.count(number) > 0;
    Record record = model.randomRecord();
    if (model.below(2) == 0 && exists) record.name = model.records[number].name;
    model.fill(record);
    int expected = IX_OK;
    if (number == NO_RECORD) expected = IX_NO_CURRENT;
    bool collides = model.nameTaken(record.name, number);
    if (expected == IX_OK && collides) expected = IX_NOT_FOUND;
    ASSERT_EQ(recordUpdateCurrent(&model.file, model.layout), expected);
    if (number == NO_RECORD) return;

    int32_t newNumber = model.takeNumber();
    if (collides) {
        model.released.insert(newNumber);
        return;
    }
    model.records.erase(number);
    model.released.insert(number);
    model.records[newNumber] = record;
    ASSERT_EQ(model.file.currentRecordNumber, newNumber);
}

void deleteRecord(RecordModel& model)
{
    int32_t number = model.file.currentRecordNumber;
    int result = recordDeleteCurrent(&model.file, model.layout);
    ASSERT_EQ(result, number == NO_RECORD ? IX_NO_CURRENT : IX_OK);
    if (number == NO_RECORD) return;
    ASSERT_EQ(model.file.currentRecordNumber, NO_RECORD);
    model.records.erase(number);
    model.released.insert(number);
}

// Walks through the entries of an index.
template <typename Entries>
void expectWalk(RecordFile* file, int index, int start, int step, const Entries& entries)
{
    int result = recordStep(file, index, start);
    for (const auto& [key, number] : entries) {
        ASSERT_EQ(result, IX_OK);
        ASSERT_EQ(foundKey(file->tree), key);
        ASSERT_EQ(file->currentRecordNumber, number);
        result = recordStep(file, index, step);
    }
    ASSERT_EQ(result, IX_NOT_FOUND);
}

// Walks through both indexes, both ways, and through the released numbers.
void expectSameRecords(RecordModel& model)
{
    for (int index : {NAME_INDEX, GROUP_INDEX}) {
        auto entries = model.entries(index);
        expectWalk(&model.file, index, STEP_FIRST, STEP_NEXT, entries);
        std::vector<std::pair<std::string, int32_t>> back(entries.rbegin(), entries.rend());
        expectWalk(&model.file, index, STEP_LAST, STEP_PREVIOUS, back);
    }
    std::set<int32_t> released;
    int result = ixFindFirst(&model.file.tree, FREE_NUMBER_INDEX, nullptr, 0);
    for (; result == IX_OK; result = ixNext(&model.file.tree, FREE_NUMBER_INDEX, nullptr, 0)) {
        released.insert(model.file.tree.found.number);
    }
    ASSERT_EQ(released, model.released);
    ASSERT_EQ(model.file.tree.file.header.sequenceCounter, model.sequence);
}

class RecordLayer : public testing::TestWithParam<char>
{
};

TEST_P(RecordLayer, AgreesWithAMap)
{
    std::string path = writeEmptyJob(0);
    RecordModel model(7);
    ASSERT_EQ(recordOpen(&model.file, path.c_str(), model.buffer, sizeof model.buffer, GetParam()),
              IX_OK);
    for (int i = 0; i < 6000 && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        int dice = model.below(100);
        if (dice < 30) {
            addRecord(model);
        } else if (dice < 60) {
            findRecord(model);
        } else if (dice < 85) {
            updateRecord(model);
        } else {
            deleteRecord(model);
        }
        ASSERT_EQ(model.file.tree.file.sharing.readNesting +
                      model.file.tree.file.sharing.updateNesting + model.file.tree.internalCall,
                  0);
        if (i % 500 == 499) expectSameRecords(model);
    }
    ASSERT_EQ(recordClose(&model.file), IX_OK);
    CheckReport report = checkTreeFile(path);
    EXPECT_TRUE(report.complaints.empty()) << report.complaints.front();
}

INSTANTIATE_TEST_SUITE_P(Modes, RecordLayer, testing::Values(OPEN_SHARED, OPEN_EXCLUSIVE));

} // namespace
