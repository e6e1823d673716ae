// Record locks: those that nobody holds, one that is let go of when another record is read, and
// those of an opener that was killed.
#include "tests/support/command.h"
#include "tests/support/contexts.h"
#include "tests/support/job_with_record.h"
#include "tests/support/os_faulty.h"
#include "tools/check/check.h"

namespace
{

TEST(StaleLock, IsGoneAfterAProbe)
{
    for (int readOnly : {0, 1}) {
        osFaults = {.call = OS_CALL_OPEN, .first = readOnly, .refusing = true};
        Job job(rawJob({rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, rawNumber(5, 4))}));
        const std::string before = fileBytes(job.path);
        EXPECT_EQ(isReadOnly(&job.file), readOnly == 1);
        ASSERT_EQ(job.find(5, "K"), IX_OK);
        EXPECT_EQ(ixCheckLock(&job.file.tree, 5), IX_NOT_LOCKED);
        EXPECT_EQ(job.find(17, "\5K"), readOnly == 0 ? IX_NOT_FOUND : IX_OK);
        EXPECT_EQ(fileBytes(job.path) == before, readOnly == 1);
    }
}

// A close removes it, and on the way finishes the split of a root that has no branch above it yet:
// whichever of its writes it is killed at, the job opens.
TEST(StaleLock, IsRemovedByACloseThatMayBeKilled)
{
    std::vector<std::string> entries;
    for (int number = 1; number <= 4; ++number) {
        entries.push_back(rawEntry(5, "K", number, std::string(245, 'x')));
    }
    entries.push_back(rawEntry(17, "\5K", 1, rawNumber(77, 4)));
    std::string bytes = rawJob(entries, 9);
    bytes.replace(2, 2, rawNumber(0, 2)); // the root is the first leaf
    bytes.replace(14, 2, rawNumber(1, 2));
    for (int write = 1, killed = 1; killed > 0; ++write) {
        Job job(bytes);
        ASSERT_EQ(job.find(5, "K"), IX_OK);
        osFaults = {.call = OS_CALL_WRITE, .first = write, .lasting = true, .kills = true};
        recordClose(&job.file);
        killed = osFaults.failures;
        osFaults = {};
        ixAbandon(&job.file.tree);
        job.open(OPEN_SHARED);
        EXPECT_EQ(job.find(5, "K", 4), IX_OK) << write;
    }
}

TEST(LockedRecord, IsLetGoOfWhenAnotherIsRead)
{
    Job job(emptyJob(3));
    ASSERT_EQ(recordAdd(&job.file, job.layout), IX_OK);
    strcpy(job.text, "L");
    ASSERT_EQ(recordAdd(&job.file, job.layout), IX_OK);
    const int32_t locked = job.file.currentRecordNumber;
    ASSERT_EQ(job.find(19, "", locked), IX_OK);
    ASSERT_EQ(ixLockRecord(&job.file.tree, 19), IX_OK);
    job.file.lockedRecordNumber = locked;
    EXPECT_EQ(recordReadCurrent(&job.file, job.layout), IX_OK);
    EXPECT_EQ(checkTreeFile(job.path).entries, 5);
    strcpy(job.text, "K");
    ASSERT_EQ(job.findRecord(), IX_OK);
    EXPECT_EQ(recordReadCurrent(&job.file, job.layout), IX_OK);
    EXPECT_EQ(job.file.lockedRecordNumber, NO_RECORD);
    EXPECT_EQ(checkTreeFile(job.path).entries, 4);
}

// Held by another one they keep all others from the entries, until that one is gone.
TEST(Locks, AreTakenOverFromAKilledOpener)
{
    Job job(emptyJob(4));
    auto locks = [&] { return checkTreeFile(job.path).entries - 4; };
    for (const char* text : {"A", "B"}) {
        strcpy(job.text, text);
        ASSERT_EQ(recordAdd(&job.file, job.layout), IX_OK);
    }
    IndexFile holder = {};
    ASSERT_EQ(ixOpen(&holder, job.path.c_str(), OPEN_SHARED), IX_OK);
    ASSERT_EQ(ixFind(&holder, 5, "A", 1, nullptr, 0), IX_OK);
    ASSERT_EQ(ixFind(&holder, DATA_INDEX, "", 2, nullptr, 0), IX_OK);
    EXPECT_EQ(ixLockRecord(&holder, 5) + ixLockRecord(&holder, DATA_INDEX), IX_OK);
    EXPECT_EQ(locks(), 2);
    ASSERT_EQ(job.find(5, "A"), IX_OK);
    EXPECT_EQ(ixLockRecord(&job.file.tree, 5), IX_LOCKED_BY_OTHER);
    ASSERT_EQ(job.findRecord(), IX_OK);
    EXPECT_EQ(recordUpdateCurrent(&job.file, job.layout), IX_LOCK_REQUIRED);
    EXPECT_EQ(recordDeleteCurrent(&job.file, job.layout), IX_LOCK_REQUIRED);

    // Nobody has the slot: whoever wants a lock replaces it.
    ixAbandon(&holder);
    ASSERT_EQ(job.find(5, "A"), IX_OK);
    EXPECT_EQ(ixLockRecord(&job.file.tree, 5), IX_OK);
    EXPECT_EQ(locks(), 2);
    EXPECT_EQ(ixUnlockRecord(&job.file.tree, 5), IX_OK);
    EXPECT_EQ(locks(), 1);

    // The next opener gets the slot and removes the lock that is left; the counter goes
    // on from what the file says, which the opener has never seen.
    poke32(job.path, HEADER_CHANGE_COUNTER, 1000);
    IndexFile next = {};
    ASSERT_EQ(ixOpen(&next, job.path.c_str(), OPEN_SHARED), IX_OK);
    EXPECT_EQ(next.file.sharing.userSlot, 1);
    EXPECT_EQ(locks(), 0);
    EXPECT_GT(next.file.header.changeCounter, 1000U);
    ASSERT_EQ(job.findRecord(), IX_OK);
    EXPECT_EQ(recordUpdateCurrent(&job.file, job.layout), IX_OK);
    EXPECT_EQ(ixClose(&next), IX_OK);
}

// -- Entries and records -----------------------------------------------------

} // namespace
