// Elements made of others: how large they may become, and what becomes of parts that cannot
// be had.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/os_faulty.h"
#include "tools/writer/job_writer.h"

#include <gtest/gtest.h>

#include <memory>

static std::string repeated(const std::string& text, int times)
{
    std::string all;
    for (; times > 0; --times) {
        all += text;
    }
    return all;
}

// A new job to which the test adds records; it is closed when the test connects.
struct NewJob {
    std::string path = freshDirectory() + "/job.orv";
    std::unique_ptr<JobWriter> writer = std::make_unique<JobWriter>();
    IdxConnection* job = nullptr;

    NewJob()
    {
        EXPECT_TRUE(createEmptyJob(path));
        EXPECT_EQ(openJobWriter(writer.get(), path, OPEN_EXCLUSIVE), IX_OK);
    }
    ~NewJob() { EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK); }
    void add(const std::string& chain, const std::string& description)
    {
        EXPECT_EQ(addChain(writer.get(), chain.c_str(), description, {}), IX_OK);
    }
    void connect()
    {
        if (writer != nullptr) {
            EXPECT_EQ(closeJobWriter(writer.get()), IX_OK);
        }
        writer = nullptr;
        ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    }
    // The kinds of a chain's members in digits, and "?" with a member that is not resolved.
    std::string kindsOf(const std::string& chain)
    {
        void* element = nullptr;
        if (orvIdx_readElementbyName(job, ELEMENT_CHAIN, chain.c_str(), &element) != IDX_OK) {
            return "unreadable";
        }
        auto read = static_cast<const ChainElement*>(element);
        std::string kinds;
        for (const ChainMember* member = read->firstMember; member != nullptr;
             member = member->next) {
            kinds += std::to_string(member->memberKind);
        }
        if (read->unresolvedMembers != 0) kinds += "?";
        orvIdx_freeElement(ELEMENT_CHAIN, &element);
        return kinds;
    }
};

TEST(Chain, IsNotReadWhenItsReferencesStandForTooMuch)
{
    NewJob made;
    made.add("GAPS", repeated(" GAP", 2048)); // 8192 characters
    made.add("FULL", repeated("CHA GAPS ", 15) + "CHA GAPS");
    made.add("OVER", repeated("CHA GAPS ", 16) + "1");
    made.add("FAR", repeated("CHA GAPS ", 1300));
    made.connect();
    // The last word of all has no blank behind it and is no keyword.
    EXPECT_TRUE(made.kindsOf("FULL") == repeated("8", 16 * 2048 - 1) + "?");
    EXPECT_EQ(made.kindsOf("OVER").substr(0, 10), "unreadable");
    EXPECT_EQ(made.kindsOf("FAR").substr(0, 10), "unreadable");
}

TEST(Chain, TellsAMissingReferenceFromOneThatCannotBeRead)
{
    NewJob made;
    EXPECT_EQ(addPoint(made.writer.get(), "1", {}), IX_OK);
    made.add("LOST", " GAP GAP ");
    made.add("REFERS", "GAP CHA LOST SHIFT 1");
    made.add("MISSES", "GAP CHA NONE SHIFT 1");
    RecordFile* records = &made.writer->records;
    ASSERT_EQ(findChain(records, "LOST"), COGO_OK);
    ASSERT_EQ(ixDelete(&records->tree, DATA_INDEX, "", records->currentRecordNumber), IX_OK);
    made.connect();
    EXPECT_EQ(made.kindsOf("MISSES"), "870");
    EXPECT_EQ(made.kindsOf("REFERS"), "870?");
}

// From any read of the file on, all fail. What has failed before is not asked for again.
TEST(FailingReads, EndTheBuildingOfAnElement)
{
    NewJob made;
    std::string words;
    for (int i = 1; i <= 600; ++i) {
        std::string name = std::to_string(i * 7 % 601);
        words += " " + name;
        EXPECT_EQ(addPoint(made.writer.get(), name.c_str(), {}, "TREE"), IX_OK);
    }
    made.add("CHAIN", words);
    std::string list = words.substr(1);
    for (char& character : list) {
        if (character == ' ') character = ',';
    }
    EXPECT_EQ(addSurveyChain(made.writer.get(), "LIST", {}, list), IX_OK);
    for (auto [kind, name] : {std::pair(ELEMENT_CHAIN, "CHAIN"), {ELEMENT_SURVEY_CHAIN, "LIST"}}) {
        int failures = 1;
        for (int first = 1; failures > 0; ++first) {
            osFaults = {};
            made.connect();
            void* element = nullptr;
            osFaults = {.call = OS_CALL_READ, .first = first, .lasting = true};
            int32_t result =
                orvIdx_readElementbyName(made.job, static_cast<uint32_t>(kind), name, &element);
            failures = osFaults.failures;
            osFaults = {};
            EXPECT_EQ(result, failures > 0 ? IDX_ERROR : IDX_OK) << first;
            EXPECT_LT(failures, 10) << first;
            orvIdx_freeElement(static_cast<uint32_t>(kind), &element);
            EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&made.job), IDX_OK);
        }
    }
}
