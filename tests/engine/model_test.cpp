// The engine against a plain ordered map: random operations through one or two
// contexts, every result, every delivered record and every position checked.
#include "engine/engine.h"
#include "tests/support/contexts.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <map>
#include <optional>
#include <random>

namespace
{

using Key = std::pair<std::string, int32_t>; // std::string compares bytes as unsigned
using Records = std::map<Key, std::string>;

// Where an index stands, by key. ON: next goes past the key, previous before it.
// REST (entry removed, or past the end): previous reaches the key itself as well.
struct Place {
    enum { NONE, ON, REST, BEFORE, UNKNOWN } kind = NONE;
    Key key;
    bool gone = false; // a re-read found the entry gone, which may have moved past the end
};

struct User {
    IndexFile file = {};
    std::map<int, Place> places;
    std::map<int, Key> locks;
};

struct Model {
    std::mt19937 random;
    std::map<int, Records> indexes;
    std::vector<User> users;
    std::vector<int> used = {1, 2, 5, 14, 16, 20};
    char mode;

    Model(unsigned seed, char openMode, size_t userCount)
        : random(seed), users(userCount), mode(openMode)
    {
    }
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    Key randomKey()
    {
        static const char letters[] = "AB\x01\x7f\xff ";
        std::string text;
        int shape = below(10);
        if (shape > 0) text = std::string(shape < 4 ? static_cast<size_t>(60 + below(36)) : 0, 'K');
        for (int i = below(4); i > 0; --i) {
            text += letters[below(6)];
        }
        int32_t number = below(50) == 0 ? INT_MAX : 1 + below(30);
        return {text, number};
    }
    std::string randomData()
    {
        int shape = below(40);
        size_t length = 0;
        if (shape > 24) length = static_cast<size_t>(below(255));
        if (shape > 35) length = static_cast<size_t>(below(3000));
        if (shape == 39) length = static_cast<size_t>(16318 - below(40));
        std::string data(length, 0);
        for (char& byte : data) {
            byte = static_cast<char>(random());
        }
        return data;
    }
    // An existing key in half of the cases.
    Key someKey(int index)
    {
        Records& records = indexes[index];
        Key key = randomKey();
        if (records.empty() || below(2) == 0) return key;
        auto entry = records.lower_bound(key);
        return entry == records.end() ? records.begin()->first : entry->first;
    }
    bool lockedByOther(const User* user, int index, const Key& key)
    {
        for (User& other : users) {
            auto lock = other.locks.find(index);
            if (&other != user && lock != other.locks.end() && lock->second == key) return true;
        }
        return false;
    }
};

using Reached = std::optional<Key>;

Reached firstAfter(const Records& records, const Place& place)
{
    bool fromStart = place.kind == Place::NONE || place.kind == Place::BEFORE;
    auto entry = fromStart ? records.begin() : records.upper_bound(place.key);
    return entry == records.end() ? Reached() : Reached(entry->first);
}

Reached lastBefore(const Records& records, const Place& place)
{
    if (place.kind == Place::NONE || place.kind == Place::BEFORE) return {};
    auto entry =
        place.kind == Place::REST ? records.upper_bound(place.key) : records.lower_bound(place.key);
    return entry == records.begin() ? Reached() : Reached(std::prev(entry)->first);
}

// The context describes exactly the record that the model says was reached.
void expectDelivered(const IndexFile& file, const Key& key, const std::string& record,
                     const std::string& buffer, uint32_t capacity)
{
    ASSERT_EQ(foundKey(file), key.first);
    ASSERT_EQ(file.found.number, key.second);
    size_t part = std::min<size_t>(record.size(), capacity);
    ASSERT_EQ(file.found.dataLength, part);
    ASSERT_EQ(file.found.recordLength, capacity == 0 ? 0 : record.size());
    ASSERT_TRUE(
        std::equal(record.begin(), record.begin() + static_cast<long>(part), buffer.begin()));
}

void expectIdle(const IndexFile& file)
{
    ASSERT_EQ(file.file.sharing.readNesting + file.file.sharing.updateNesting, 0);
    ASSERT_EQ(file.file.sharing.fileLock, UNLOCKED);
    ASSERT_EQ(file.internalCall, 0);
}

// An entry that was found gone and is there again: whether the position counts as on
// it depends on where the search for it ended.
void forgetRevived(Model& model, Place& place, int index)
{
    if (place.gone && model.indexes[index].count(place.key) > 0) place.kind = Place::UNKNOWN;
}

void find(Model& model, User& user, int index)
{
    Key key = model.someKey(index);
    if (model.below(4) == 0) key.second = 0;
    uint32_t capacity = model.below(3) == 0 ? 0 : static_cast<uint32_t>(model.below(17000));
    std::string buffer(capacity, 0);
    Records& records = model.indexes[index];
    auto entry = records.lower_bound(key);
    int expected = IX_NOT_FOUND;
    if (entry != records.end()) expected = entry->first.first == key.first ? 1 : 2;
    if (entry != records.end() && entry->first == key) expected = 0;

    int result = ixFind(&user.file, index, key.first.c_str(), key.second, buffer.data(), capacity);
    ASSERT_EQ(result, expected);
    user.locks.erase(index);
    if (result < 0) {
        user.places[index] = {Place::REST, key};
        return;
    }
    user.places[index] = {Place::ON, entry->first};
    expectDelivered(user.file, entry->first, entry->second, buffer, capacity);
}

void step(Model& model, User& user, int index)
{
    enum { FIRST, LAST, NEXT, PREVIOUS };
    static const int moves[] = {FIRST, LAST, NEXT, NEXT, NEXT, NEXT, PREVIOUS, PREVIOUS, PREVIOUS};
    int move = moves[model.below(9)];
    Records& records = model.indexes[index];
    Place& place = user.places[index];
    if (place.kind == Place::UNKNOWN && move >= NEXT) return;
    std::string buffer(17000, 0);
    uint32_t capacity = model.below(2) == 0 ? 0 : 17000;

    Reached reached;
    Place failed = {Place::REST, {"", 0}};
    int result = 0;
    if (move == FIRST) {
        reached = firstAfter(records, {});
        result = ixFindFirst(&user.file, index, buffer.data(), capacity);
    } else if (move == LAST) {
        if (!records.empty()) reached = records.rbegin()->first;
        failed = {Place::BEFORE, {}};
        result = ixFindLast(&user.file, index, buffer.data(), capacity);
    } else if (move == NEXT) {
        reached = firstAfter(records, place);
        if (place.kind == Place::BEFORE) failed.key.second = -1;
        if (place.kind == Place::ON || place.kind == Place::REST) failed.key = place.key;
        result = ixNext(&user.file, index, buffer.data(), capacity);
    } else {
        reached = lastBefore(records, place);
        failed = {Place::BEFORE, {}};
        result = ixPrevious(&user.file, index, buffer.data(), capacity);
    }
    ASSERT_EQ(result, reached ? IX_OK : IX_NOT_FOUND) << "move " << move << " from " << place.kind;
    user.locks.erase(index);
    place = reached ? Place{Place::ON, *reached} : failed;
    if (reached) expectDelivered(user.file, *reached, records[*reached], buffer, capacity);
}

void readCurrent(Model& model, User& user, int index)
{
    Place& place = user.places[index];
    if (place.kind == Place::UNKNOWN) return;
    std::string buffer(17000, 0);
    int result = ixReadCurrent(&user.file, index, buffer.data(), 17000);
    if (place.kind != Place::ON) {
        ASSERT_TRUE(result == IX_NOT_FOUND || result == IX_NO_CURRENT) << result;
        return;
    }
    auto entry = model.indexes[index].find(place.key);
    bool gone = entry == model.indexes[index].end();
    if (place.gone) {
        ASSERT_TRUE(result == IX_NOT_FOUND || result == IX_NO_CURRENT) << result;
        return;
    }
    place.gone = gone;
    ASSERT_EQ(result, gone ? IX_NO_CURRENT : IX_OK);
    if (!gone) expectDelivered(user.file, entry->first, entry->second, buffer, 17000);
}

void add(Model& model, User& user, int index)
{
    Key key = model.someKey(index);
    std::string data = model.randomData();
    Records& records = model.indexes[index];
    bool unique = model.below(3) == 0;
    auto sameText = records.lower_bound({key.first, 0});
    bool exists = records.count(key) > 0;
    if (unique) exists = sameText != records.end() && sameText->first.first == key.first;

    auto store = unique ? ixAddUnique : ixAdd;
    int result = store(&user.file, index, key.first.c_str(), key.second, data.data(),
                       static_cast<uint32_t>(data.size()));
    ASSERT_EQ(result, exists ? IX_NOT_FOUND : IX_OK);
    user.locks.erase(index);
    Place& place = user.places[index];
    place = {Place::ON, exists && unique ? sameText->first : key};
    if (!exists) records[key] = data;
}

void remove(Model& model, User& user, int index)
{
    Key key = model.someKey(index);
    Records& records = model.indexes[index];
    Place& place = user.places[index];
    bool current = model.below(3) == 0 && place.kind == Place::ON;
    if (current) key = place.key;
    bool exists = records.count(key) > 0;
    bool refused = exists && model.lockedByOther(&user, index, key);
    if (current) {
        int locked = ixLockRecord(&user.file, index);
        int expected = refused ? IX_LOCKED_BY_OTHER : IX_OK;
        if (!exists && model.mode == OPEN_SHARED && user.locks.count(index) == 0) {
            expected = IX_NO_CURRENT;
        }
        place.gone = place.gone || locked == IX_NO_CURRENT;
        ASSERT_EQ(locked, expected);
        if (locked != IX_OK) return;
    }
    int expected = exists ? IX_OK : IX_NOT_FOUND;
    if (refused) expected = IX_LOCKED_BY_OTHER;
    int result = current ? ixDeleteCurrent(&user.file, index)
                         : ixDelete(&user.file, index, key.first.c_str(), key.second);
    ASSERT_EQ(result, expected);
    user.locks.erase(index);
    if (result == IX_OK) {
        records.erase(key);
        place = {Place::REST, key};
    } else if (result == IX_LOCKED_BY_OTHER) {
        place = {Place::ON, key};
    } else {
        place.kind = Place::UNKNOWN; // somewhere near the key
    }
}

void lockOrUnlock(Model& model, User& user, int index)
{
    Place& place = user.places[index];
    if (place.kind == Place::UNKNOWN || model.mode == OPEN_EXCLUSIVE) return;
    bool stands = place.kind == Place::ON && model.indexes[index].count(place.key) > 0;
    bool mine = user.locks.count(index) > 0;
    bool others = place.kind == Place::ON && model.lockedByOther(&user, index, place.key);
    if (model.below(2) == 0) {
        int expected = stands ? IX_OK : IX_NO_CURRENT;
        if (stands && others) expected = IX_LOCKED_BY_OTHER;
        ASSERT_EQ(ixLockRecord(&user.file, index), mine ? IX_OK : expected);
        if (expected == IX_OK) user.locks[index] = place.key;
        place.gone = place.gone || (place.kind == Place::ON && !stands && !mine);
    } else {
        int check = ixCheckLock(&user.file, index);
        int expected = others ? IX_LOCKED_BY_OTHER : IX_NOT_LOCKED;
        if (mine) expected = IX_LOCKED_HERE;
        if (place.kind != Place::ON) expected = IX_NO_CURRENT;
        ASSERT_TRUE(check == expected || (place.gone && check == IX_NO_CURRENT)) << check;
        int result = ixUnlockRecord(&user.file, index);
        bool released = check == IX_LOCKED_HERE || check == IX_NOT_LOCKED;
        ASSERT_EQ(result, released ? IX_OK : check);
        user.locks.erase(index);
    }
}

// Every index from first to last, and the lock entries.
void expectSameContent(Model& model, User& user)
{
    std::string buffer(17000, 0);
    for (int index : model.used) {
        size_t count = 0;
        int result = ixFindFirst(&user.file, index, buffer.data(), 17000);
        for (auto& [key, record] : model.indexes[index]) {
            ASSERT_EQ(result, IX_OK) << "index " << index << " entry " << count;
            expectDelivered(user.file, key, record, buffer, 17000);
            result = ixNext(&user.file, index, buffer.data(), 17000);
            ++count;
        }
        ASSERT_EQ(result, IX_NOT_FOUND);
        user.locks.erase(index);
        user.places[index] = {Place::UNKNOWN, {}};
    }
    size_t locks = 0;
    for (User& each : model.users) {
        locks += each.locks.size();
    }
    size_t lockEntries = 0;
    int result = ixFindFirst(&user.file, LOCK_INDEX, nullptr, 0);
    for (; result == IX_OK; result = ixNext(&user.file, LOCK_INDEX, nullptr, 0)) {
        ++lockEntries;
    }
    ASSERT_EQ(lockEntries, locks);
}

void expectCleanFile(const std::string& path)
{
    CheckReport report = checkTreeFile(path);
    for (const std::string& complaint : report.complaints) {
        ADD_FAILURE() << complaint;
    }
}

struct Drive {
    unsigned seed;
    char mode;
    size_t users;
    int steps;
    int height; // levels the tree has at least in the end
};

void PrintTo(const Drive& drive, std::ostream* out) { *out << drive.mode << drive.users; }

class EngineModel : public testing::TestWithParam<Drive>
{
};

TEST_P(EngineModel, AgreesWithAnOrderedMap)
{
    Drive run = GetParam();
    std::string path = writeEmptyJob(run.seed % 3 == 0 ? 5 : 0);
    Model model(run.seed, run.mode, run.users);
    for (User& user : model.users) {
        ASSERT_EQ(ixOpen(&user.file, path.c_str(), run.mode), IX_OK);
    }
    for (int i = 0; i < run.steps && !HasFatalFailure(); ++i) {
        SCOPED_TRACE("step " + std::to_string(i));
        User& user = model.users[static_cast<size_t>(model.below(static_cast<int>(run.users)))];
        int index =
            model.used[static_cast<size_t>(model.below(static_cast<int>(model.used.size())))];
        // Times of growth and times of decline.
        bool growing = i % 3000 < 2000;
        int dice = model.below(100);
        forgetRevived(model, user.places[index], index);
        if (dice < (growing ? 30 : 12)) {
            add(model, user, index);
        } else if (dice < 42) {
            remove(model, user, index);
        } else if (dice < 52) {
            find(model, user, index);
        } else if (dice < 82) {
            step(model, user, index);
        } else if (dice < 92) {
            readCurrent(model, user, index);
        } else {
            lockOrUnlock(model, user, index);
        }
        expectIdle(user.file);
        if (i % 1000 == 999) expectSameContent(model, user);
        if (i % 1000 == 999 && run.mode == OPEN_SHARED) expectCleanFile(path);
    }
    EXPECT_GE(model.users[0].file.file.header.height, run.height);
    for (User& user : model.users) {
        ASSERT_EQ(ixClose(&user.file), IX_OK);
    }
    expectCleanFile(path);
}

INSTANTIATE_TEST_SUITE_P(
    Seeds, EngineModel,
    testing::Values(Drive{1, OPEN_SHARED, 1, 9000, 4}, Drive{2, OPEN_EXCLUSIVE, 1, 9000, 4},
                    Drive{3, OPEN_EXCLUSIVE, 1, 9000, 4}, Drive{4, OPEN_SHARED, 2, 9000, 4},
                    Drive{5, OPEN_SHARED, 3, 9000, 4}),
    [](const auto& instance) {
        return std::string(instance.param.mode == OPEN_SHARED ? "Shared" : "Exclusive") +
               std::to_string(instance.param.users) + "Seed" + std::to_string(instance.param.seed);
    });

} // namespace
