// Two jobs compared as their readers see them, and a damaged one checked and compared with the
// sound one.
#include "tests/support/command.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"
#include "tools/check/element_check.h"
#include "tools/diff/job_diff.h"

#include <algorithm>
#include <gtest/gtest.h>

static std::string copyOf(const std::string& golden)
{
    return fileBytes(ORVIDX_TEST_DATA "/golden/" + golden + "/job.orv");
}

static void replaceIn(std::string* bytes, const std::string& text, const std::string& other)
{
    for (size_t at = 0; (at = bytes->find(text, at)) != std::string::npos; at += text.size()) {
        bytes->replace(at, text.size(), other);
    }
}

using Names = std::vector<std::string>;

TEST(JobDiff, TellsWhatReadersSeeAndChangesNothing)
{
    const std::string bytes = copyOf("mixed");
    std::string job = freshJob("mixed");
    EXPECT_TRUE(areSame(diffJobs(job, job)));
    EXPECT_TRUE(fileBytes(job) == bytes);
    // What reading has added or rewritten is no change.
    std::string read = freshJob("mixed");
    ASSERT_EQ(runCommand({ORVIDX_TOOL, "export", "--live", read}).status, 3);
    EXPECT_TRUE(fileBytes(read) != bytes);
    EXPECT_TRUE(areSame(diffJobs(job, read)));
    EXPECT_EQ(diffJobs(job, job + "x").faultOfB, "there is no such file");
}

TEST(JobDiff, NamesElementsAndMembers)
{
    std::string bytes = copyOf("tiny");
    std::string job = writeJob(bytes);
    replaceIn(&bytes, "CURC1  ", "CURC9  ");
    replaceIn(&bytes, "note of A10", "Note of A10");
    replaceIn(&bytes, "LINL3  ", "LINL3, ");
    JobDiff diff = diffJobs(job, writeJob(bytes));

    EXPECT_FALSE(areSame(diff));
    EXPECT_EQ(diff.kinds[ELEMENT_CURVE].removed, Names{"C1"});
    EXPECT_EQ(diff.kinds[ELEMENT_CURVE].added, Names{"C9"});
    EXPECT_EQ(diff.kinds[ELEMENT_LINE].added, Names{"L3,"}); // which cannot be read
    ASSERT_EQ(diff.kinds[ELEMENT_POINT].changed.size(), 1U);
    const ElementChange& point = diff.kinds[ELEMENT_POINT].changed[0];
    ASSERT_EQ(point.members.size(), 1U);
    EXPECT_EQ(point.name + " " + point.members[0].member, "A10 firstNote");
    EXPECT_EQ(point.members[0].inB, "Note of A10");
    // MAIN has lost its second member, and all others have moved up.
    ASSERT_EQ(diff.kinds[ELEMENT_CHAIN].changed.size(), 1U);
    const std::vector<MemberChange>& members = diff.kinds[ELEMENT_CHAIN].changed[0].members;
    EXPECT_EQ(members[0].member, "unresolvedMembers");
    EXPECT_EQ(members[1].member, "members[2].memberKind");
    EXPECT_EQ(members.back().member, "members[12]");
    EXPECT_TRUE(members.back().inB.is_null());
}

TEST(ElementCheck, AFileInWhichSomethingCannotBeReadIsNeverClean)
{
    const std::string bytes = copyOf("tiny");
    std::string job = writeJob(bytes);
    int unreadable = 0;
    for (size_t at = 1024; at < bytes.size(); at += 59) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 1 << at % 8);
        std::string path = writeJob(damaged);
        bool clean = checkJobFile(path).complaints.empty() &&
                     allReadable(checkElements({damaged.begin(), damaged.end()}));
        for (const KindDiff& kind : diffJobs(job, path).kinds) {
            size_t gone = kind.unreadableInB.size() + kind.removed.size();
            EXPECT_FALSE(clean && gone > 0) << at;
            unreadable += gone > 0;
        }
        EXPECT_TRUE(fileBytes(path) == damaged);
    }
    EXPECT_GT(unreadable, 20);
}
