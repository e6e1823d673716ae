// The engine at its edges: wrong arguments, entries that are gone, records that do not fit,
// numbers at their limits, a header that cannot be right.
#include "engine/engine.h"
#include "file/file.h"
#include "records/records.h"
#include "tests/support/command.h"
#include "tests/support/contexts.h"
#include "tests/support/job_with_record.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>

namespace
{

using Operation = std::function<int(Job&, int index)>;

// Every operation with an index, then those without.
const Operation OPERATIONS[] = {
    [](Job& job, int index) { return job.find(index, job.text); },
    [](Job& job, int index) { return ixFindFirst(&job.file.tree, index, nullptr, 0); },
    [](Job& job, int index) { return ixFindLast(&job.file.tree, index, nullptr, 0); },
    [](Job& job, int index) { return ixNext(&job.file.tree, index, nullptr, 0); },
    [](Job& job, int index) { return ixPrevious(&job.file.tree, index, nullptr, 0); },
    [](Job& job, int index) { return ixReadCurrent(&job.file.tree, index, nullptr, 0); },
    [](Job& job, int index) { return ixAdd(&job.file.tree, index, "N", 1, nullptr, 0); },
    [](Job& job, int index) { return ixAddUnique(&job.file.tree, index, "N", 1, nullptr, 0); },
    [](Job& job, int index) { return ixDelete(&job.file.tree, index, job.text, 1); },
    [](Job& job, int index) { return ixLockRecord(&job.file.tree, index); },
    [](Job& job, int index) { return ixCheckLock(&job.file.tree, index); },
    [](Job& job, int index) { return ixUnlockRecord(&job.file.tree, index); },
    [](Job& job, int index) { return recordFind(&job.file, index, "K", MATCH_EXACT); },
    [](Job& job, int index) { return recordStep(&job.file, index, STEP_NEXT); },
    [](Job& job, int) {
        int32_t number = 0;
        return ixNextSequence(&job.file.tree, &number);
    },
    [](Job& job, int) { return recordReadCurrent(&job.file, job.layout); },
    [](Job& job, int) { return recordAdd(&job.file, job.layout); },
    [](Job& job, int) { return recordUpdateCurrent(&job.file, job.layout); },
    [](Job& job, int) { return recordDeleteCurrent(&job.file, job.layout); },
};
constexpr size_t WITH_INDEX = 14;

TEST(Operations, RefuseWhatCannotBeDone)
{
    Job job(rawJob({rawEntry(5, "K", 1), rawEntry(20, "K", 1)}, 3));
    const std::string before = fileBytes(job.path);
    for (size_t i = 0; i < std::size(OPERATIONS); ++i) {
        SCOPED_TRACE(i);
        for (int index : {-1, 0, 21}) {
            if (i < WITH_INDEX) {
                EXPECT_EQ(OPERATIONS[i](job, index), IX_BAD_ARGUMENT);
            }
        }
        for (OsCall call : {OS_CALL_LOCK, OS_CALL_UNLOCK}) {
            ASSERT_EQ(job.find(20, "K"), IX_OK);
            job.file.currentRecordNumber = 1;
            osFaults = {.call = call, .first = 1, .lasting = true};
            // A lock that could not be let go of may be of the wrong kind.
            if (call == OS_CALL_UNLOCK) {
                EXPECT_NE(ixReadCurrent(&job.file.tree, 20, nullptr, 0), IX_OK);
            }
            EXPECT_EQ(OPERATIONS[i](job, 20), IX_FILE_LOCK);
            osFaults = {};
        }
        uint8_t* marks = reinterpret_cast<uint8_t*>(&job.file.tree.file.marks);
        for (uint8_t* mark = marks; mark < marks + sizeof(OpenMarks); ++mark) {
            ++*mark;
            EXPECT_EQ(OPERATIONS[i](job, 20), IX_NOT_OPEN);
            --*mark;
        }
    }
    const void* end = reinterpret_cast<const void*>(UINTPTR_MAX);
    EXPECT_EQ(ixAdd(&job.file.tree, 20, "N", 1, end, 2), IX_BAD_ARGUMENT);
    EXPECT_EQ(ixNext(&job.file.tree, 20, const_cast<void*>(end), 2), IX_BAD_ARGUMENT);
    EXPECT_TRUE(fileBytes(job.path) == before);
    job.layout[1].type = 'X';
    for (size_t i = WITH_INDEX + 1; i < WITH_INDEX + 4; ++i) {
        EXPECT_EQ(OPERATIONS[i](job, 20), IX_LAYOUT_TYPE);
    }
}

// What was done cannot be taken back, but nobody is told that all is well.
TEST(Operations, TellOfALockThatStays)
{
    for (const Operation& operation : OPERATIONS) {
        Job job(rawJob({rawEntry(5, "K", 1), rawEntry(20, "K", 1)}, 3));
        ASSERT_EQ(job.find(20, "K"), IX_OK);
        job.file.currentRecordNumber = 1;
        osFaults = {.call = OS_CALL_UNLOCK, .first = 1};
        EXPECT_EQ(operation(job, 20), IX_FILE_LOCK);
        EXPECT_EQ(osFaults.failures, 1);
        osFaults = {};
    }
}

// -- Locks -------------------------------------------------------------------

TEST(DeletedEntry, IsNotDeletedAgain)
{
    for (char mode : {OPEN_SHARED, OPEN_EXCLUSIVE}) {
        int index = mode == OPEN_SHARED ? 17 : 5; // shared, others have to be locked
        std::string data = rawNumber(99, 4);
        Job job(rawJob({rawEntry(index, "A", 1, data), rawEntry(index, "K", 1, data)}), mode);
        ASSERT_EQ(job.find(index, "K"), IX_OK);
        EXPECT_EQ(ixDeleteCurrent(&job.file.tree, index), IX_OK);
        EXPECT_EQ(ixDeleteCurrent(&job.file.tree, index), IX_NOT_FOUND);
        EXPECT_EQ(job.find(index, "A"), IX_OK);
        // Stands on an entry no more once it has gone past the end.
        EXPECT_EQ(ixNext(&job.file.tree, index, nullptr, 0), IX_NOT_FOUND);
        EXPECT_EQ(ixDeleteCurrent(&job.file.tree, index), IX_NOT_FOUND);
        EXPECT_EQ(ixDeleteCurrent(&job.file.tree, 21),
                  mode == OPEN_SHARED ? IX_LOCK_REQUIRED : IX_BAD_ARGUMENT);
        EXPECT_EQ(checkTreeFile(job.path).entries, 1);
    }
}

// What is answered, and the record that is the current one then.
std::string reached(const Job& job, int result)
{
    return std::to_string(result) + "/" + std::to_string(job.file.currentRecordNumber) + " ";
}

TEST(Records, AreFoundAndSteppedToInEveryMode)
{
    for (char mode : {OPEN_SHARED, OPEN_EXCLUSIVE}) {
        Job job(emptyJob(3), mode);
        for (const char* name : {"D", "B"}) {
            strcpy(job.text, name);
            ASSERT_EQ(recordAdd(&job.file, job.layout), IX_OK);
        }
        // D is record 1, B is record 2; sought are A to E.
        const std::pair<int, const char*> modes[] = {
            {MATCH_EXACT, "-1/-1 0/2 -1/-1 0/1 -1/-1 "},
            {MATCH_AFTER, "0/2 0/1 0/1 -1/-1 -1/-1 "},
            {MATCH_AT_OR_AFTER, "2/2 0/2 2/1 0/1 -1/-1 "},
            {MATCH_BEFORE, "-1/-1 -1/-1 0/2 0/2 0/1 "},
            {MATCH_AT_OR_BEFORE, "-1/-1 0/2 3/2 0/1 3/1 "},
            {9, "2/2 1/-1 2/1 1/-1 -1/-1 "}}; // what the search for number 0 answers
        for (const auto& [match, expected] : modes) {
            std::string found;
            for (const char* key : {"A", "B", "C", "D", "E"}) {
                found += reached(job, recordFind(&job.file, 5, key, match));
            }
            EXPECT_EQ(found, expected) << match;
        }
        // No program gives a record this number.
        ASSERT_EQ(ixAdd(&job.file.tree, 5, "C", 0, nullptr, 0), IX_OK);
        EXPECT_EQ(reached(job, recordFind(&job.file, 5, "C", MATCH_EXACT)), "0/0 ");
        ASSERT_EQ(ixDelete(&job.file.tree, 5, "C", 0), IX_OK);
        std::string steps;
        for (int step :
             {STEP_FIRST, STEP_NEXT, STEP_NEXT, STEP_LAST, STEP_PREVIOUS, 9, STEP_PREVIOUS}) {
            steps += reached(job, recordStep(&job.file, 5, step));
        }
        EXPECT_EQ(steps, "0/2 0/1 -1/-1 0/1 0/2 0/2 -1/-1 ");
        for (size_t i = WITH_INDEX + 1; i < std::size(OPERATIONS); ++i) {
            bool adds = i == WITH_INDEX + 2;
            EXPECT_TRUE(adds || OPERATIONS[i](job, 5) == IX_NO_CURRENT) << i;
        }
        // Numbers that were released are handed out again, the lowest first; an update
        // takes one before it releases the old one.
        strcpy(job.text, "B");
        ASSERT_EQ(recordAdd(&job.file, job.layout), IX_NOT_FOUND); // would be number 3
        ASSERT_EQ(job.findRecord(), IX_OK);
        EXPECT_EQ(reached(job, recordUpdateCurrent(&job.file, job.layout)), "0/3 ");
        strcpy(job.text, "D");
        EXPECT_EQ(reached(job, recordUpdateCurrent(&job.file, job.layout)), "-1/3 ");
        EXPECT_EQ(reached(job, recordDeleteCurrent(&job.file, job.layout)), "0/-1 ");
        for (const char* number : {"0/2 ", "0/3 ", "0/4 "}) {
            job.text[0] = number[2];
            EXPECT_EQ(reached(job, recordAdd(&job.file, job.layout)), number);
        }
        // But not in the update that has released them.
        ASSERT_EQ(ixBeginUpdate(&job.file.tree.file), IX_OK);
        EXPECT_EQ(recordDeleteCurrent(&job.file, job.layout), IX_OK);
        EXPECT_EQ(reached(job, recordAdd(&job.file, job.layout)), "0/5 ");
        ASSERT_EQ(ixEndUpdate(&job.file.tree.file), IX_OK);
        EXPECT_EQ(checkTreeFile(job.path).complaints, std::vector<std::string>());
    }
}

TEST(Record, ThatDoesNotFitOrHasAnotherLayoutStays)
{
    for (char mode : {OPEN_SHARED, OPEN_EXCLUSIVE}) {
        Job job(emptyJob(3), mode);
        memset(job.text, 'K', 300);
        ASSERT_EQ(recordAdd(&job.file, job.layout), IX_BAD_ARGUMENT); // too long for a key
        job.text[90] = 0;
        ASSERT_EQ(recordAdd(&job.file, job.layout), IX_OK);
        ASSERT_EQ(recordClose(&job.file), IX_OK);
        const std::string before = fileBytes(job.path);
        for (size_t room : {100, 16384}) {
            job.recordBuffer.resize(room);
            job.open(mode);
            if (room == 100) {
                EXPECT_EQ(recordAdd(&job.file, job.layout), IX_RECORD_TOO_LONG);
            }
            job.layout[1].type = room == 100 ? 'D' : 'L';
            int read = room == 100 ? IX_DAMAGED_IMAGE : IX_OTHER_LAYOUT;
            ASSERT_EQ(job.findRecord(), IX_OK);
            EXPECT_EQ(recordReadCurrent(&job.file, job.layout), read);
            EXPECT_EQ(recordDeleteCurrent(&job.file, job.layout), read);
            int updated = room == 100 ? IX_NO_DATA_ENTRY : IX_KEYS_NOT_REMOVED;
            ASSERT_EQ(job.findRecord(), IX_OK);
            EXPECT_EQ(recordUpdateCurrent(&job.file, job.layout), updated);
            ASSERT_EQ(recordClose(&job.file), IX_OK);
            EXPECT_TRUE(fileBytes(job.path) == before);
        }
        job.open(mode);
    }
}

// -- Damage and limits -------------------------------------------------------

TEST(ImpossibleHeader, EndsOperationsUntilItIsRightAgain)
{
    Job job(rawJob({rawEntry(5, "K", 1)}, 3));
    poke16(job.path, 2, 32767); // root page
    const std::string wrong = fileBytes(job.path);
    EXPECT_EQ(job.find(5, "K"), IX_FILE_LOCK);
    EXPECT_EQ(ixAdd(&job.file.tree, 5, "L", 1, nullptr, 0), IX_FILE_LOCK);
    EXPECT_TRUE(fileBytes(job.path) == wrong);
    poke16(job.path, 2, 0);
    EXPECT_EQ(job.find(5, "K"), IX_OK);
    EXPECT_EQ(ixAdd(&job.file.tree, 5, "L", 1, nullptr, 0), IX_OK);
}

TEST(DamagedEntries, LockNothingAndEndNoDeletion)
{
    for (const std::string& holder :
         {std::string("abc"), rawNumber(INT32_MIN, 4), rawNumber(128, 4)}) {
        Job job(rawJob({rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, holder)}));
        EXPECT_EQ(ixFindFirst(&job.file.tree, 5, nullptr, 0), IX_OK);
        EXPECT_EQ(ixLockRecord(&job.file.tree, 5), IX_OK);
    }
    // A record without a last segment ends where another one goes on.
    for (const auto& [key, number] : {std::pair("A", 2), {"B", 1}}) {
        Job job(rawJob({rawEntry(3, "A", 1, "data", 0), rawEntry(3, key, number, "data", 129)}));
        EXPECT_EQ(ixDelete(&job.file.tree, 3, "A", 1), IX_OK);
        EXPECT_EQ(checkTreeFile(job.path).entries, 1);
    }
    // Segments without a last one, in leaves that follow each other in a circle.
    std::string bytes = emptyJob(1).replace(18, 2, rawNumber(2, 2)).substr(0, 1024) +
                        rawPage(0, 1, rawEntry(19, "", 1, "data", 0), 1, -1, 0) +
                        rawPage(0, 0, "", 1, 0, 0);
    for (char mode : {OPEN_SHARED, OPEN_EXCLUSIVE}) {
        Job job(bytes, mode);
        EXPECT_NE(ixDelete(&job.file.tree, 19, "", 1), IX_OK);
    }
}

// Steps through index 3 to its end; every step leads strictly onward. Answers how many.
size_t stepsToTheEnd(Job& job, int first(IndexFile*, int, void*, uint32_t),
                     int next(IndexFile*, int, void*, uint32_t), int direction)
{
    std::pair<std::string, int32_t> before;
    size_t steps = 0;
    for (int result = first(&job.file.tree, 3, nullptr, 0); result == IX_OK && steps < 1000;
         ++steps) {
        std::pair<std::string, int32_t> here(foundKey(job.file.tree), job.file.tree.found.number);
        EXPECT_TRUE(steps == 0 || (direction > 0 ? before < here : here < before));
        before = here;
        result = next(&job.file.tree, 3, nullptr, 0);
    }
    return steps;
}

TEST(EmptyIndex, HasNothingWhateverTheStepsBefore)
{
    const std::vector<std::string> contents[] = {{},
                                                 {rawEntry(4, "K", 1)},
                                                 {rawEntry(6, "K", 1)},
                                                 {rawEntry(4, "K", 1), rawEntry(6, "K", 1)}};
    for (int kind = 0; kind < 8; ++kind) {
        Job job(rawJob(contents[kind / 2]), kind % 2 == 0 ? OPEN_SHARED : OPEN_EXCLUSIVE);
        const Position fresh = job.file.tree.positions[5];
        for (int steps = 0; steps < 1024; ++steps) {
            SCOPED_TRACE(testing::Message() << "kind " << kind << " steps " << steps);
            job.file.tree.positions[5] = fresh;
            for (int step = steps, count = 0; count < 5; step /= 4, ++count) {
                EXPECT_EQ(OPERATIONS[1 + step % 4](job, 5), IX_NOT_FOUND);
            }
        }
    }
}

// Neither for what is not there nor for the place of something new.
TEST(EmptyLeaves, AreNotWalkedOver)
{
    std::vector<std::string> entries(4, rawEntry(5, "K", 1, std::string(235, 'x')));
    for (int i = 1; i <= 400; ++i) {
        entries.push_back(rawEntry(19, "", i, std::string(240, 'x')));
    }
    std::string bytes = rawJob(entries, 9);
    for (size_t leaf = 1; leaf < 100; ++leaf) {
        bytes.replace(1024 + 1024 * leaf + 2, 4, rawNumber(0, 2) + rawNumber(1012, 2));
        bytes.replace(1024 + 1024 * leaf + 12, 1012, std::string(1012, 0));
    }
    Job job(bytes);
    IndexFile* tree = &job.file.tree;
    const std::function<int()> lookups[] = {
        [&] { return ixFindFirst(tree, LOCK_INDEX, nullptr, 0); },
        [&] { return ixFindKey(tree, 18, "K"); },
        [&] { return ixAdd(tree, 18, "", 7, nullptr, 0) == IX_OK ? IX_NOT_FOUND : IX_OK; },
        [&] { return ixDelete(tree, DATA_INDEX, "", 50); },
        [&] { return ixInnerFind(tree, DATA_INDEX, FOR_RECORD, "", 90, nullptr, 0); }};
    for (const auto& lookup : lookups) {
        ASSERT_EQ(ixBeginUpdate(&tree->file), IX_OK);
        dropFile(tree->file.descriptor);
        osFaults = {};
        EXPECT_EQ(lookup(), IX_NOT_FOUND);
        EXPECT_LE(osFaults.transfers.size(), 6U);
        EXPECT_EQ(ixEndUpdate(&tree->file), IX_OK);
    }
    // But for what comes behind them.
    EXPECT_EQ(job.find(DATA_INDEX, "", 90), IX_SAME_KEY);
    EXPECT_EQ(tree->found.number, 397);
}

// Pages that have left the cache come back damaged, wherever a position stands in them.
TEST(DamagedTree, EndsEveryOperationAndWalk)
{
    std::vector<std::string> entries;
    for (int i = 0; i < 90; ++i) {
        std::string key = std::to_string(100 + i / 3) + std::string(80, 'k');
        entries.push_back(
            rawEntry(3, key, 1, std::string(100, 'd'), i % 3 | (i % 3 == 2 ? 128 : 0)));
    }
    const std::string sound = rawJob(entries, 6);
    const size_t pages = sound.size() / 1024 - 7;
    std::mt19937 random(3);
    for (int run = 0; run < 600; ++run) {
        SCOPED_TRACE(run);
        Job job(sound, run % 2 == 0 ? OPEN_SHARED : OPEN_EXCLUSIVE);
        strcpy(job.text, entries[random() % 90].substr(2, 83).c_str());
        for (auto steps = random() % 31; steps > 0; --steps) {
            EXPECT_EQ(ixNext(&job.file.tree, 3, nullptr, 0), IX_OK);
        }
        for (auto change = 1 + random() % 3; change > 0; --change) {
            size_t at = 1024 * (1 + random() % pages) + random() % (random() % 2 == 0 ? 12 : 1024);
            auto byte = static_cast<int64_t>(random() % 3 == 0 ? random() : sound[at] + 1);
            poke(job.path, static_cast<long>(at), rawNumber(byte, 1));
        }
        dropFile(job.file.tree.file.descriptor);
        for (int i = 0; i < 10; ++i) {
            int result = OPERATIONS[random() % WITH_INDEX](job, 3);
            EXPECT_TRUE(result != IX_FILE_LOCK && result != IX_NOT_OPEN && result <= IX_BEFORE);
            EXPECT_TRUE(isIdle(job.file.tree));
        }
        EXPECT_LE(stepsToTheEnd(job, ixFindFirst, ixNext, 1), 92U);
        EXPECT_LE(stepsToTheEnd(job, ixFindLast, ixPrevious, -1), 92U);
    }
}

// A leaf older than its split still has what stands in its right half as well.
TEST(TornLeaf, IsCutWhereItWasSplitBeforeAnEntryIsChanged)
{
    auto leaf = [](const std::string& keys, int next, int previous) {
        std::string entries;
        for (char key : keys) {
            entries += rawEntry(3, {key}, 1, std::string(120, 'x'));
        }
        return rawPage(0, static_cast<int>(keys.size()), entries, next, previous, 0);
    };
    const std::string large = rawEntry(3, "a", 1, std::string(240, 'x'));
    const std::string header = rawJob({large, large, large, large, large}).substr(0, 1024);
    const std::string root = rawPage(1, 1, rawEntry(3, "d", 1, rawNumber(1, 2)), -1, -1, 0);
    // The right half, and how many entries there are afterwards: none is changed when that is
    // none of this leaf.
    for (const auto& [half, left] : {std::pair(leaf("efghij", -1, 0), 9),
                                     {leaf("", -1, 0), 3},
                                     {leaf("efgh", 0, 0), 0},
                                     {leaf("efgh", -1, 1), 0},
                                     {leaf("defg", -1, 0), 0}}) {
        Job job(header + leaf("abcdefg", -1, -1) + half + root);
        const std::string before = fileBytes(job.path);
        EXPECT_EQ(ixDelete(&job.file.tree, 3, "b", 1), left > 0 ? IX_OK : IX_DESCENT_FAILED);
        EXPECT_EQ(fileBytes(job.path) == before, left == 0);
        if (left == 0) continue;
        EXPECT_EQ(checkTreeFile(job.path).complaints, std::vector<std::string>());
        EXPECT_EQ(checkTreeFile(job.path).entries, left);
    }
}

TEST(Limits, AreNotExceeded)
{
    for (int32_t counter : {INT32_MAX, INT32_MIN, -1}) {
        Job job(emptyJob(0).replace(24, 4, rawNumber(counter, 4)));
        int32_t number = 0;
        EXPECT_EQ(ixNextSequence(&job.file.tree, &number), IX_SHORT_WRITE);
        EXPECT_EQ(job.file.tree.file.header.sequenceCounter, counter);
    }
    const std::string entry = rawEntry(3, "a", 1, std::string(240, 0));
    // Entries that fill a leaf to its last byte need no other.
    Job full(emptyJob(5));
    for (int number = 1; number <= 5; ++number) {
        const std::string data(244, 'x');
        EXPECT_EQ(ixAdd(&full.file.tree, 3, "a", number, data.data(), 244), IX_OK);
        EXPECT_EQ(full.file.tree.file.header.nextFreePage, number <= 4 ? 1 : 3);
    }
    // Twenty levels, and no room in the only leaf.
    std::string bytes = emptyJob(0).substr(0, 1024);
    bytes.replace(2, 2, rawNumber(19, 2)).replace(14, 2, rawNumber(20, 2));
    bytes.replace(18, 2, rawNumber(20, 2)).replace(30, 2, rawNumber(20, 2));
    bytes += rawPage(0, 3,
                     entry + rawEntry(3, "b", 1, bytes.substr(0, 240)) +
                         rawEntry(3, "c", 1, bytes.substr(0, 240)),
                     -1, -1, 0);
    for (int level = 1; level < 20; ++level) {
        bytes += rawPage(level, 0, "", -1, -1, level - 1);
    }
    Job job(bytes);
    EXPECT_EQ(ixAdd(&job.file.tree, 3, "d", 1, bytes.data(), 240), IX_OK);
    EXPECT_EQ(ixAdd(&job.file.tree, 3, "e", 1, bytes.data(), 240), IX_SHORT_WRITE);
    EXPECT_EQ(ixFind(&job.file.tree, 3, "d", 1, nullptr, 0), IX_OK);
    EXPECT_EQ(job.file.tree.file.header.height, 20);
}

} // namespace
