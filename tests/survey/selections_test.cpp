// The list of selections, command by command, and the walk that it restricts.
#include "survey/survey_state.h"
#include "tests/support/connection.h"
#include "tests/support/raw_job.h"

constexpr int32_t UNTOUCHED = 77;

// What a command answers and the number it leaves.
static std::pair<int, int32_t> select(const char* command, int32_t number = UNTOUCHED,
                                      const char* text = nullptr)
{
    char copy[60] = "";
    if (text != nullptr) strcpy(copy, text);
    int answer = surveyIndexCommand(command, &number, text != nullptr ? copy : nullptr);
    return {answer, number};
}

static std::string selected(int number)
{
    char text[SELECTION_ROOM] = "";
    EXPECT_EQ(getSurveyKey(number, text), 0);
    return text;
}

TEST(Selections, AreCountedByGroupAndWalkedInOrder)
{
    using Answer = std::pair<int, int32_t>;
    EXPECT_EQ(select("SETKEY", ALL_SELECTIONS), Answer(0, ALL_SELECTIONS));
    EXPECT_EQ(select("GETFIRSTINDEX"), Answer(SELECTION_NONE_LEFT, NO_SELECTION));
    for (const char* text : {"12", "15"}) {
        EXPECT_EQ(setSurveyKey(7, text), 0);
        EXPECT_EQ(select("NUMPOINTINDEX").second, 1);
        EXPECT_EQ(selected(7), text);
    }
    for (int number : {4, 5, 8, 9, 12, 13, 14}) {
        setSurveyKey(number, "12345678901234567890123456789012345678901234567890");
    }
    EXPECT_EQ(select("NUMPOINTINDEX"), Answer(0, 3));
    EXPECT_EQ(select("NUMCHAININDEX"), Answer(0, 2));
    EXPECT_EQ(select("NUMRUNINDEX"), Answer(0, 1));
    EXPECT_EQ(selected(13).size(), 40U);
    EXPECT_EQ(selected(4) + selected(14) + selected(0) + selected(18), "");
    EXPECT_EQ(setSurveyKey(7, "") + setSurveyKey(7, ""), 0);
    EXPECT_EQ(select("NUMPOINTINDEX").second, 2);
    EXPECT_EQ(select("NUMBER"), Answer(0, UNTOUCHED));
    EXPECT_EQ(select("GETFIRSTINDEX"), Answer(0, 5));
    for (int number : {8, 9, 12, 13}) {
        EXPECT_EQ(select("GETNEXTINDEX"), Answer(0, number));
    }
    EXPECT_EQ(select("GETNEXTINDEX"), Answer(SELECTION_NONE_LEFT, NO_SELECTION));
    EXPECT_EQ(select("SETKEY", ALL_SELECTIONS, "text").first, 1);
    EXPECT_EQ(select("NUMPOINTINDEX").second, 0);
    EXPECT_NE(selected(13), "");
    EXPECT_EQ(select("SETKEY", ALL_SELECTIONS).first, 0);
    EXPECT_EQ(selected(13), "");
}

TEST(Selections, RestrictTheWalkOverThePoints)
{
    std::string path =
        writeJob(rawJob({rawEntry(5, "A", 1), rawEntry(5, "B", 2), rawEntry(5, "C", 3),
                         rawEntry(7, "12", 1), rawEntry(7, "12", 3), rawEntry(7, "15", 2)}));
    Connection job(path);
    auto walk = [] {
        std::string numbers;
        RecordFile* records = slotContext();
        int result = surveyFirstPoint(records);
        for (; result == SURVEY_OK; result = surveyNextPoint(records)) {
            numbers += std::to_string(records->currentRecordNumber);
        }
        return numbers;
    };
    EXPECT_EQ(walk(), "123");
    for (const auto& [text, numbers] :
         {std::pair("12", "13"), {"15", "2"}, {"1", ""}, {"", "123"}}) {
        setSurveyKey(POINT_NUMBER_INDEX, text);
        EXPECT_EQ(walk(), numbers) << text;
    }
}
