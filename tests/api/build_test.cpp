// Elements made of others: how large they may become, and what becomes of parts that cannot
// be had.
#include "tests/support/new_job.h"
#include "tests/support/os_faulty.h"

#include <algorithm>

static std::string repeated(const std::string& text, int times)
{
    std::string all;
    for (; times > 0; --times) {
        all += text;
    }
    return all;
}

static void add(NewJob& made, const char* chain, const std::string& description)
{
    EXPECT_EQ(addChain(&made.writer, chain, description, {}), IX_OK);
}

// The kinds of a chain's members in digits, and "?" with a member that is not resolved.
static std::string kindsOf(IdxConnection* job, const char* chain)
{
    Element element(job, ELEMENT_CHAIN, chain);
    if (!element) return UNREADABLE;
    const ChainElement* read = element.as<ChainElement>();
    std::string kinds;
    for (auto member = read->firstMember; member != nullptr; member = member->next) {
        kinds += std::to_string(member->memberKind);
    }
    return kinds + (read->unresolvedMembers != 0 ? "?" : "");
}

TEST(Chain, IsNotReadWhenItsReferencesStandForTooMuch)
{
    NewJob made;
    add(made, "GAPS", repeated(" GAP", 2048)); // 8192 characters
    add(made, "FULL", repeated("CHA GAPS ", 15) + "CHA GAPS");
    add(made, "OVER", repeated("CHA GAPS ", 16) + "1");
    add(made, "FAR", repeated("CHA GAPS ", 1300));
    IdxConnection* job = made.connect();
    // The last word of all has no blank behind it and is no keyword.
    EXPECT_TRUE(kindsOf(job, "FULL") == repeated("8", 16 * 2048 - 1) + "?");
    EXPECT_EQ(kindsOf(job, "OVER"), UNREADABLE);
    EXPECT_EQ(kindsOf(job, "FAR"), UNREADABLE);
}

TEST(Chain, TellsAMissingReferenceFromOneThatCannotBeRead)
{
    NewJob made;
    EXPECT_EQ(addPoint(&made.writer, "1", {}), IX_OK);
    add(made, "LOST", " GAP GAP ");
    add(made, "REFERS", "GAP CHA LOST SHIFT 1");
    add(made, "MISSES", "GAP CHA NONE SHIFT 1");
    RecordFile* records = &made.writer.records;
    ASSERT_EQ(findChain(records, "LOST"), COGO_OK);
    ASSERT_EQ(ixDelete(&records->tree, DATA_INDEX, "", records->currentRecordNumber), IX_OK);
    IdxConnection* job = made.connect();
    EXPECT_EQ(kindsOf(job, "MISSES"), "870");
    EXPECT_EQ(kindsOf(job, "REFERS"), "870?");
}

// From any read of the file on, all fail. What has failed before is not asked for again,
// though it has hundreds of parts.
TEST(FailingReads, EndTheBuildingOfAnElement)
{
    NewJob made;
    std::string words;
    for (int i = 1; i <= 600; ++i) {
        words += " " + std::to_string(i * 7 % 601);
        EXPECT_EQ(addPoint(&made.writer, words.c_str() + words.rfind(' ') + 1, {}, "TREE"), IX_OK);
    }
    add(made, "CHAIN", words);
    std::string list = words.substr(1);
    std::replace(list.begin(), list.end(), ' ', ',');
    EXPECT_EQ(addSurveyChain(&made.writer, "LIST", {}, list), IX_OK);
    made.connect();
    for (bool chain : {true, false}) {
        int failures = 1;
        for (int first = 1; failures > 0; ++first) {
            IdxConnection* job = made.job.emplace(made.path);
            osFaults = {.call = OS_CALL_READ, .first = first, .lasting = true};
            Element element(job, chain ? ELEMENT_CHAIN : ELEMENT_SURVEY_CHAIN,
                            chain ? "CHAIN" : "LIST");
            failures = osFaults.failures;
            osFaults = {};
            EXPECT_EQ(failures == 0, bool(element)) << first;
            EXPECT_LT(failures, 10) << first;
        }
    }
}
