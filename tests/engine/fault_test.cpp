// Failing files: every call to the operating system that an operation makes fails in
// turn. The operation says so and lets go of everything; when the file works again
// so does the engine, and no record that was there before is lost.
#include "engine/engine.h"
#include "records/records.h"
#include "tests/support/command.h"
#include "tests/support/contexts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>

namespace
{

constexpr int TARGET = 7; // the record updated or deleted
constexpr int NEXT = 91;  // a record added when all is well again
constexpr int LONG_INDEX = 9;
const std::string LONGEST(16318, 'x'); // bytes of the longest record

// A record with a unique key, a key with duplicates and some hundred bytes. The keys
// are long, so that a few dozen records make a tree of three levels.
struct Job {
    RecordFile file = {};
    uint8_t recordBuffer[16384] = {};
    char key[100] = "";
    char second[100] = "";
    uint8_t block[1000] = {};
    LayoutEntry layout[4] = {{'S', 'S', 'U', 100, 1, key, 100},
                             {'S', 'S', 'D', 100, 13, second, 100},
                             {'B', 'N', 'N', 0, 0, block, 1000},
                             {'E', 0, 0, 0, 0, nullptr, 0}};

    int open(const std::string& path, char mode)
    {
        return recordOpen(&file, path.c_str(), recordBuffer, sizeof recordBuffer, mode);
    }
    int setRecord(int i, int version)
    {
        snprintf(key, sizeof key, "%02d %086d", i * 37 % 100, i);
        snprintf(second, sizeof second, "%02d %084d", i * 59 % 100, version);
        layout[2].length = static_cast<int16_t>(i * 53 % 900 + version);
        memset(block, i + version, sizeof block);
        return layout[2].length;
    }
    int find(int i)
    {
        setRecord(i, 0);
        return recordFind(&file, 1, std::string(key).c_str(), MATCH_EXACT);
    }
    int add(int i)
    {
        setRecord(i, 0);
        return recordAdd(&file, layout);
    }
    bool hasRecord(int i, int version)
    {
        if (find(i) != IX_OK || recordReadCurrent(&file, layout) != IX_OK) return false;
        int length = layout[2].length;
        bool right = std::count(block, block + length, i + version) == length;
        return right && setRecord(i, version) == length;
    }
    int addLongest() { return ixAdd(&file.tree, LONG_INDEX, "long", 1, LONGEST.data(), 16318); }
};

// A file with as many records as fit before the next one makes its tree grow a level.
struct Prepared {
    std::string path = writeEmptyJob(0);
    std::string bytes;
    int records = -1;

    Prepared()
    {
        Job job;
        EXPECT_EQ(job.open(path, OPEN_SHARED), IX_OK);
        while (job.file.tree.file.header.height < 3 && records < NEXT) {
            bytes = fileBytes(path);
            EXPECT_EQ(job.add(++records), IX_OK);
        }
        EXPECT_EQ(recordClose(&job.file), IX_OK);
    }
};

enum Operation { ADD, UPDATE, DELETE, STORE, MOVE, OPEN, CLOSE };

// What each may answer beside IX_OK, IX_PAGE_IO and IX_DESCENT_FAILED.
const std::set<int> ANSWERS[] = {
    {IX_SHORT_WRITE, IX_NO_DATA_ENTRY, IX_FILE_LOCK},
    {IX_SHORT_WRITE, IX_KEYS_NOT_REMOVED, IX_NO_DATA_ENTRY, IX_OLD_DATA_KEPT, IX_FILE_LOCK},
    {IX_SHORT_WRITE, IX_NO_DATA_ENTRY, IX_FILE_LOCK},
    {IX_SHORT_WRITE, IX_FILE_LOCK},
    {IX_SHORT_WRITE, IX_FILE_LOCK},
    {IX_SHORT_READ, IX_SEEK, IX_OPEN_LOCK, IX_OPEN_FAILED, IX_FILE_LOCK},
    {IX_OPEN_FAILED, IX_FILE_LOCK}};

class Faults : public testing::TestWithParam<Operation>
{
  protected:
    const Prepared base;
    const Operation operation = GetParam();
    char mode = OPEN_SHARED;

    void makeReady(Job& job)
    {
        writeBytes(base.path, base.bytes);
        if (operation == OPEN) return;
        ASSERT_EQ(job.open(base.path, mode), IX_OK);
        // A close is to have something to write.
        ASSERT_TRUE(operation != CLOSE || job.add(base.records) == IX_OK);
        ASSERT_EQ(job.find(TARGET), IX_OK);
        bool locks = operation != UPDATE;
        ASSERT_TRUE(!locks || ixLockRecord(&job.file.tree, 1) == IX_OK);
        // As if another process had written: the pages are read anew.
        if (mode == OPEN_SHARED) poke32(base.path, 36, 1000000);
        job.setRecord(TARGET, 1);
    }
    int carryOut(Job& job)
    {
        if (operation == ADD) return job.add(base.records);
        if (operation == UPDATE) return recordUpdateCurrent(&job.file, job.layout);
        if (operation == DELETE) return recordDeleteCurrent(&job.file, job.layout);
        if (operation == STORE) return job.addLongest();
        if (operation == MOVE) return ixNext(&job.file.tree, 1, nullptr, 0); // off a locked entry
        return operation == OPEN ? job.open(base.path, mode) : recordClose(&job.file);
    }
    // The operation has let go of everything, and with the file in order others work.
    void expectToGoOn(Job& job, OsCall call)
    {
        EXPECT_TRUE(isIdle(job.file.tree));
        EXPECT_TRUE(job.file.tree.file.sharing.fileLock != LOCKED || call == OS_CALL_UNLOCK);
        bool open = contextIsOpen(&job.file.tree);
        if (operation == CLOSE && !open) return;
        if (operation == CLOSE && call == OS_CALL_CLOSE) {
            // The descriptor is gone: nothing more is to happen to it.
            EXPECT_NE(recordClose(&job.file), IX_OK);
            return;
        }
        EXPECT_TRUE(open || (operation == OPEN && job.open(base.path, mode) == IX_OK));
        EXPECT_EQ(job.add(NEXT), !job.file.tree.file.readOnly ? IX_OK : IX_READ_ONLY);
        EXPECT_TRUE(job.hasRecord(NEXT, 0) || job.file.tree.file.readOnly);
        EXPECT_EQ(recordClose(&job.file), IX_OK);
    }
    void expectNothingLost(bool done, bool lasting)
    {
        Job job;
        ASSERT_EQ(job.open(base.path, OPEN_SHARED), IX_OK);
        for (int i = 0; i < base.records; ++i) {
            bool changes = i == TARGET && (operation == UPDATE || operation == DELETE);
            EXPECT_TRUE(changes || job.hasRecord(i, 0)) << "record " << i;
        }
        EXPECT_TRUE(operation != ADD || !done || job.hasRecord(base.records, 0));
        EXPECT_TRUE(operation != DELETE || !done || job.find(TARGET) == IX_NOT_FOUND);
        bool updated = operation != UPDATE || job.hasRecord(TARGET, 1);
        EXPECT_TRUE(updated || (!done && (lasting || job.hasRecord(TARGET, 0))));
        EXPECT_EQ(recordClose(&job.file), IX_OK);
    }
    // What an operation that could not go on may leave: pages without a place, and where
    // writing failed segments and keys of its own record, and in the middle of a split
    // (pages in exclusive mode, in shared mode the header of a new page) the upper half,
    // unknown to the level above, which searches reach over the link from the lower half.
    bool isExcused(const std::string& complaint, const OsFaults& fault)
    {
        auto has = [&](const std::string& text) { return complaint.find(text) != complaint.npos; };
        if (complaint.starts_with(UNREACHABLE_COMPLAINT)) return true;
        if (fault.call != OS_CALL_WRITE) return false;
        if (has("no branch refers to it")) return true;
        auto hasNumber = [&](int record) {
            return has(" number " + std::to_string(record + 1) + ":");
        };
        bool changes = operation == UPDATE || operation == DELETE;
        bool own = operation == STORE ? has("key \"long\" number 1:")
                                      : (operation != DELETE && hasNumber(base.records)) ||
                                            (changes && hasNumber(TARGET));
        if (own && has("segment")) return true;
        bool inTheMiddle = has("previous page") || (own && has("no such record") && fault.lasting);
        return inTheMiddle && mode == OPEN_EXCLUSIVE;
    }
    // Answers how many calls failed.
    int failCalls(const OsFaults& fault)
    {
        Job job;
        makeReady(job);
        osFaults = fault;
        int result = carryOut(job);
        int failures = osFaults.failures;
        osFaults = {};

        std::set<int> answers = ANSWERS[operation];
        answers.insert({IX_OK, IX_PAGE_IO, IX_DESCENT_FAILED});
        EXPECT_TRUE(failures > 0 ? answers.contains(result) : result == IX_OK) << result;
        expectToGoOn(job, fault.call);
        // The number of a record that could not be stored is handed out again.
        bool released = operation == ADD && result == IX_NO_DATA_ENTRY && !fault.lasting;
        EXPECT_TRUE(!released || job.file.currentRecordNumber == base.records + 1);
        expectNothingLost(result == IX_OK, fault.lasting);
        // The record of the store is none of the record layer's.
        CheckReport report = (operation == STORE ? checkTreeFile : checkJobFile)(base.path);
        for (const std::string& complaint : report.complaints) {
            EXPECT_TRUE(isExcused(complaint, fault)) << complaint;
        }
        EXPECT_EQ(report.locks, 0);
        return failures;
    }
};

TEST_P(Faults, LoseNothing)
{
    for (int kind = 0; kind < 2 * 6 * 3 * 2; ++kind) {
        mode = kind < 36 ? OPEN_SHARED : OPEN_EXCLUSIVE;
        OsFaults fault = {.call = static_cast<OsCall>(kind / 6 % 6)};
        fault.lasting = kind % 2 == 1;
        fault.shortened = kind / 2 % 3 == 1;
        fault.seeking = kind / 2 % 3 == 2;
        bool transfers = fault.call == OS_CALL_READ || fault.call == OS_CALL_WRITE;
        if (!transfers && (fault.shortened || fault.seeking)) continue;
        for (int failures = 1; failures > 0 && !HasFailure();) {
            ++fault.first;
            SCOPED_TRACE(testing::Message() << "kind " << kind << " call " << fault.first);
            failures = failCalls(fault);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Of, Faults,
                         testing::Values(ADD, UPDATE, DELETE, STORE, MOVE, OPEN, CLOSE));

// What waits for being written gives way to what another process has written since,
// however often that one has written.
TEST(FailedFlush, DoesNotOverwriteAnotherWriter)
{
    const Prepared base;
    int cases = 0;
    for (int n = 3, failures = 1; failures > 0; ++n) {
        SCOPED_TRACE(n);
        writeBytes(base.path, base.bytes);
        Job jobs[2];
        ASSERT_EQ(jobs[0].open(base.path, OPEN_SHARED), IX_OK);
        osFaults = {.call = OS_CALL_WRITE, .first = n / 3, .lasting = true};
        jobs[0].add(base.records);
        failures = osFaults.failures;
        osFaults = {};
        // What was written so far may be no tree, which the other one must notice.
        bool opened = jobs[1].open(base.path, OPEN_SHARED) == IX_OK;
        cases += opened;
        std::set<int> stored = {99};
        for (int i = 0; opened && i <= n % 3; ++i) {
            if (ixAdd(&jobs[1].file.tree, LONG_INDEX, "", i, nullptr, 0) == IX_OK) stored.insert(i);
        }
        EXPECT_EQ(ixAdd(&jobs[0].file.tree, LONG_INDEX, "", 99, nullptr, 0), IX_OK);
        for (Job& job : jobs) {
            if (!contextIsOpen(&job.file.tree)) continue;
            for (int i : stored) {
                EXPECT_EQ(ixFind(&job.file.tree, LONG_INDEX, "", i, nullptr, 0), IX_OK) << i;
            }
            EXPECT_EQ(recordClose(&job.file), IX_OK);
        }
    }
    EXPECT_GT(cases, 20);
}

// The page counter at its limit, or the disk full: only what needs no new page works.
TEST(FullFile, RefusesToGrowAndLosesNothing)
{
    constexpr int MOST_PAGES = 32767;
    for (int kind = 0; kind < 4; ++kind) {
        std::string path = writeEmptyJob(0);
        osFaults = {.diskEnd = pageAt(kind < 2 ? 20 : MOST_PAGES)};
        if (kind >= 2) {
            poke16(path, 18, MOST_PAGES - 20); // next free page
            poke16(path, 30, MOST_PAGES);      // pages in file
            std::filesystem::resize_file(path, static_cast<uintmax_t>(pageAt(MOST_PAGES)));
        }
        Job job;
        ASSERT_EQ(job.open(path, kind % 2 == 0 ? OPEN_SHARED : OPEN_EXCLUSIVE), IX_OK);
        int records = 0;
        int result = IX_OK;
        while (result == IX_OK && records < NEXT) {
            result = job.add(records++);
        }
        EXPECT_TRUE(result == IX_SHORT_WRITE || result == IX_NO_DATA_ENTRY) << result;
        EXPECT_EQ(job.addLongest(), IX_SHORT_WRITE);
        EXPECT_EQ(ixFind(&job.file.tree, LONG_INDEX, "long", 1, nullptr, 0), IX_NOT_FOUND);
        EXPECT_EQ(job.find(TARGET), IX_OK);
        EXPECT_EQ(recordDeleteCurrent(&job.file, job.layout), IX_OK);
        for (int i = 0; i < records; ++i) {
            EXPECT_EQ(job.hasRecord(i, 0), i != TARGET && i != records - 1) << "record " << i;
        }
        EXPECT_EQ(recordClose(&job.file), IX_OK);
        for (const std::string& complaint : checkJobFile(path).complaints) {
            bool unused = complaint.starts_with(UNREACHABLE_COMPLAINT);
            EXPECT_TRUE(unused || complaint == "more complaints are not listed") << complaint;
        }
    }
    osFaults = {};
}

} // namespace
