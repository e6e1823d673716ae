// The engine against a plain ordered map: random operations through one or two
// contexts, every result, every delivered record and every position checked.
#include "engine/engine.h"
#include "tests/support/contexts.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>

namespace
{

using Key = std::pair<std::string, int32_t>; // std::string compares bytes as unsigned
using Records = std::map<Key, std::string>;

constexpr uint32_t ROOM = 17000; // for the longest record
constexpr int INDEXES[] = {1, 2, 5, 14, 16, 20};

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

struct Drive {
    unsigned seed;
    char mode;
    size_t users;
};

void PrintTo(const Drive& drive, std::ostream* out) { *out << drive.mode << drive.users; }

class EngineModel : public testing::TestWithParam<Drive>
{
  protected:
    std::mt19937 random{GetParam().seed};
    std::map<int, Records> indexes;
    std::vector<User> users{GetParam().users};
    std::string buffer = std::string(ROOM, 0);
    // Of the operation under way.
    User* user = nullptr;
    int index = 0;
    Records* records = nullptr;
    Place* place = nullptr;

    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    void choose(size_t userNumber, int indexNumber)
    {
        user = &users[userNumber];
        index = indexNumber;
        records = &indexes[index];
        place = &user->places[index];
    }
    // An existing key in half of the cases.
    Key someKey()
    {
        static const char letters[] = "AB\x01\x7f\xff ";
        std::string text;
        int shape = below(10);
        if (shape > 0) text = std::string(shape < 4 ? static_cast<size_t>(60 + below(36)) : 0, 'K');
        for (int i = below(4); i > 0; --i) {
            text += letters[below(6)];
        }
        Key key = {text, below(50) == 0 ? INT_MAX : 1 + below(30)};
        if (records->empty() || below(2) == 0) return key;
        auto entry = records->lower_bound(key);
        return entry == records->end() ? records->begin()->first : entry->first;
    }
    std::string randomData()
    {
        int shape = below(40);
        int length = shape == 39 ? 16318 - below(40) : shape > 35 ? below(3000) : below(255);
        std::string data(shape > 24 ? static_cast<size_t>(length) : 0, 0);
        for (char& byte : data) {
            byte = static_cast<char>(random());
        }
        return data;
    }
    bool lockedByOther(const Key& key)
    {
        return std::any_of(users.begin(), users.end(), [&](User& other) {
            auto lock = other.locks.find(index);
            return &other != user && lock != other.locks.end() && lock->second == key;
        });
    }
    // The context describes exactly this record, of which the buffer has what there is room for.
    void expectDelivered(const Key& key, uint32_t capacity)
    {
        const FoundEntry& found = user->file.found;
        const std::string& record = records->at(key);
        const size_t part = std::min<size_t>(record.size(), capacity);
        EXPECT_EQ(Key(foundKey(user->file), found.number), key);
        EXPECT_EQ(found.dataLength, part);
        EXPECT_EQ(found.recordLength, capacity == 0 ? 0 : record.size());
        EXPECT_EQ(record.compare(0, part, buffer, 0, part), 0);
    }

    void find()
    {
        Key key = someKey();
        if (below(4) == 0) key.second = 0;
        const uint32_t capacity = below(3) == 0 ? 0 : static_cast<uint32_t>(below(ROOM));
        auto entry = records->lower_bound(key);
        const bool exists = entry != records->end();
        int expected = !exists ? IX_NOT_FOUND : entry->first.first == key.first ? 1 : 2;
        if (exists && entry->first == key) expected = IX_OK;
        EXPECT_EQ(
            ixFind(&user->file, index, key.first.c_str(), key.second, buffer.data(), capacity),
            expected);
        user->locks.erase(index);
        *place = exists ? Place{Place::ON, entry->first} : Place{Place::REST, key};
        if (exists) expectDelivered(entry->first, capacity);
    }

    void step()
    {
        enum { FIRST, LAST, NEXT, PREVIOUS };
        constexpr decltype(&ixNext) STEPS[] = {ixFindFirst, ixFindLast, ixNext, ixPrevious};
        const int dice = below(9);
        const int move = dice < NEXT ? dice : dice < 6 ? NEXT : PREVIOUS;
        if (place->kind == Place::UNKNOWN && move >= NEXT) return;
        const uint32_t capacity = below(2) == 0 ? 0 : ROOM;

        const Place from = move >= NEXT ? *place : Place();
        const bool outside = from.kind == Place::NONE || from.kind == Place::BEFORE;
        Place failed = {Place::REST, from.kind == Place::BEFORE ? Key("", -1) : from.key};
        Records::iterator reached;
        if (move == FIRST || move == NEXT) {
            reached = outside ? records->begin() : records->upper_bound(from.key);
        } else {
            reached = move == LAST               ? records->end()
                      : outside                  ? records->begin()
                      : from.kind == Place::REST ? records->upper_bound(from.key)
                                                 : records->lower_bound(from.key);
            reached = reached == records->begin() ? records->end() : std::prev(reached);
            failed = {Place::BEFORE, {}};
        }
        const bool exists = reached != records->end();
        EXPECT_EQ(STEPS[move](&user->file, index, buffer.data(), capacity),
                  exists ? IX_OK : IX_NOT_FOUND)
            << "move " << move << " from " << from.kind;
        user->locks.erase(index);
        *place = exists ? Place{Place::ON, reached->first} : failed;
        if (exists) expectDelivered(reached->first, capacity);
    }

    void readCurrent()
    {
        if (place->kind == Place::UNKNOWN) return;
        const int result = ixReadCurrent(&user->file, index, buffer.data(), ROOM);
        if (place->kind != Place::ON || place->gone) {
            EXPECT_TRUE(result == IX_NOT_FOUND || result == IX_NO_CURRENT) << result;
            return;
        }
        place->gone = records->count(place->key) == 0;
        EXPECT_EQ(result, place->gone ? IX_NO_CURRENT : IX_OK);
        if (!place->gone) expectDelivered(place->key, ROOM);
    }

    void add()
    {
        const Key key = someKey();
        const std::string data = randomData();
        const bool unique = below(3) == 0;
        auto sameText = records->lower_bound({key.first, 0});
        bool exists = records->count(key) > 0;
        if (unique) exists = sameText != records->end() && sameText->first.first == key.first;
        EXPECT_EQ((unique ? ixAddUnique : ixAdd)(&user->file, index, key.first.c_str(), key.second,
                                                 data.data(), static_cast<uint32_t>(data.size())),
                  exists ? IX_NOT_FOUND : IX_OK);
        user->locks.erase(index);
        *place = {Place::ON, exists && unique ? sameText->first : key};
        if (!exists) (*records)[key] = data;
    }

    void remove()
    {
        const bool current = below(3) == 0 && place->kind == Place::ON;
        const Key key = current ? place->key : someKey();
        const bool exists = records->count(key) > 0;
        const bool refused = exists && lockedByOther(key);
        if (current) {
            int expected = refused ? IX_LOCKED_BY_OTHER : IX_OK;
            bool mine = user->locks.count(index) > 0;
            if (!exists && GetParam().mode == OPEN_SHARED && !mine) expected = IX_NO_CURRENT;
            EXPECT_EQ(ixLockRecord(&user->file, index), expected);
            place->gone = place->gone || expected == IX_NO_CURRENT;
            if (expected != IX_OK) return;
        }
        const int expected = refused ? IX_LOCKED_BY_OTHER : exists ? IX_OK : IX_NOT_FOUND;
        EXPECT_EQ(current ? ixDeleteCurrent(&user->file, index)
                          : ixDelete(&user->file, index, key.first.c_str(), key.second),
                  expected);
        user->locks.erase(index);
        place->kind = Place::UNKNOWN; // somewhere near the key
        if (exists) *place = {refused ? Place::ON : Place::REST, key};
        if (expected == IX_OK) records->erase(key);
    }

    void lockOrUnlock()
    {
        if (place->kind == Place::UNKNOWN || GetParam().mode == OPEN_EXCLUSIVE) return;
        const bool on = place->kind == Place::ON;
        const bool stands = on && records->count(place->key) > 0;
        const bool mine = user->locks.count(index) > 0;
        const bool others = on && lockedByOther(place->key);
        if (below(2) == 0) {
            int expected = !stands ? IX_NO_CURRENT : others ? IX_LOCKED_BY_OTHER : IX_OK;
            EXPECT_EQ(ixLockRecord(&user->file, index), mine ? IX_OK : expected);
            if (expected == IX_OK) user->locks[index] = place->key;
            place->gone = place->gone || (on && !stands && !mine);
        } else {
            int expected = mine ? IX_LOCKED_HERE : others ? IX_LOCKED_BY_OTHER : IX_NOT_LOCKED;
            const int check = ixCheckLock(&user->file, index);
            EXPECT_TRUE(check == (on ? expected : IX_NO_CURRENT) ||
                        (place->gone && check == IX_NO_CURRENT))
                << check;
            bool released = check == IX_LOCKED_HERE || check == IX_NOT_LOCKED;
            EXPECT_EQ(ixUnlockRecord(&user->file, index), released ? IX_OK : check);
            user->locks.erase(index);
        }
    }

    // Times of growth and times of decline.
    void doSomething(bool growing)
    {
        const int dice = below(100);
        // An entry that was found gone and is there again: whether the position counts as on
        // it depends on where the search for it ended.
        if (place->gone && records->count(place->key) > 0) place->kind = Place::UNKNOWN;
        if (dice < (growing ? 30 : 12)) return add();
        if (dice < 42) return remove();
        if (dice < 52) return find();
        if (dice < 82) return step();
        if (dice < 92) return readCurrent();
        lockOrUnlock();
    }

    // Every index from first to last, and the lock entries.
    void expectSameContent(size_t userNumber)
    {
        size_t locks = 0;
        for (const User& each : users) {
            locks += each.locks.size();
        }
        IndexFile* file = &users[userNumber].file;
        int result = ixFindFirst(file, LOCK_INDEX, nullptr, 0);
        for (; result == IX_OK && locks > 0; --locks) {
            result = ixNext(file, LOCK_INDEX, nullptr, 0);
        }
        EXPECT_TRUE(result == IX_NOT_FOUND && locks == 0);
        for (int each : INDEXES) {
            choose(userNumber, each);
            result = ixFindFirst(file, index, buffer.data(), ROOM);
            for (const auto& [key, record] : *records) {
                ASSERT_EQ(result, IX_OK) << index << " " << key.first;
                expectDelivered(key, ROOM);
                result = ixNext(file, index, buffer.data(), ROOM);
            }
            EXPECT_EQ(result, IX_NOT_FOUND);
            user->locks.erase(index);
            *place = {Place::UNKNOWN, {}};
        }
    }
};

TEST_P(EngineModel, AgreesWithAnOrderedMap)
{
    const std::vector<std::string> none;
    const std::string path = writeEmptyJob(GetParam().seed % 3 == 0 ? 5 : 0);
    for (User& each : users) {
        ASSERT_EQ(ixOpen(&each.file, path.c_str(), GetParam().mode), IX_OK);
    }
    for (int i = 1; i <= 9000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const size_t number = random() % users.size();
        choose(number, INDEXES[random() % std::size(INDEXES)]);
        doSomething(i % 3000 < 2000);
        EXPECT_TRUE(isIdle(user->file) && user->file.file.sharing.fileLock == UNLOCKED);
        if (i % 1000 != 0) continue;
        expectSameContent(number);
        if (GetParam().mode == OPEN_EXCLUSIVE) continue;
        EXPECT_EQ(checkTreeFile(path).complaints, none);
    }
    EXPECT_GE(users[0].file.file.header.height, 4);
    for (User& each : users) {
        ASSERT_EQ(ixClose(&each.file), IX_OK);
    }
    EXPECT_EQ(checkTreeFile(path).complaints, none);
}

INSTANTIATE_TEST_SUITE_P(Seeds, EngineModel,
                         testing::Values(Drive{1, OPEN_SHARED, 1}, Drive{2, OPEN_EXCLUSIVE, 1},
                                         Drive{3, OPEN_EXCLUSIVE, 1}, Drive{4, OPEN_SHARED, 2},
                                         Drive{5, OPEN_SHARED, 3}));

} // namespace
