// Names, keys and numbers at the edges of what they may be, and the tables that files
// and selections stand in.
#include "cogo/cogo_state.h"
#include "jobdb/jobdb_state.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

TEST(PointNames, AreLettersThenANumber)
{
    const std::pair<const char*, int> names[] = {{"A12", 0},
                                                 {"abcdefghijklmn1", 0},
                                                 {"A007", 0},
                                                 {"", 1},
                                                 {"000", 1},
                                                 {"ABC", 1},
                                                 {"12AB", 1},
                                                 {"A1B2", 2},
                                                 {"A-7", 2},
                                                 {"\xc4"
                                                  "1",
                                                  2},
                                                 {" 1", 2},
                                                 {"A0", 3},
                                                 {"abcdefghijklmno1", 3}};
    for (const auto& [name, expected] : names) {
        char prefix[SPLIT_NAME_ROOM] = "";
        char number[SPLIT_NAME_ROOM] = "";
        EXPECT_EQ(splitPointName(name, prefix, number), expected) << name;
        if (expected == 0) EXPECT_EQ(std::string(prefix) + number, name);
    }
}

TEST(RecordKeys, HaveFieldsOfFixedWidth)
{
    setKeyComponents("CUR", "", "", "", "");
    buildKey();
    EXPECT_EQ(std::string(recordKeyBuffer()), "   CUR" + std::string(33, ' '));
    setKeyComponents("OVRX", "ABCDEFGHIJKLMNOPQRSTUVWXY", "1234", "567", "LINELINELINE");
    buildKey();
    EXPECT_STREQ(recordKeyBuffer(), "   OVRABCDEFGHIJKLMNOPQRST12356LINELINE");
    splitKey();
    EXPECT_STREQ(currentName(), "ABCDEFGHIJKLMNOPQRST");
    EXPECT_STREQ(cogoState.components.qualifierB, "56");
    strcpy(recordKeyBuffer(), "   CHAMAIN{02} \t");
    splitKey();
    EXPECT_STREQ(currentName(), "MAIN{02}");
    EXPECT_STREQ(cogoState.components.qualifierC, "");
    EXPECT_EQ(kindOfTag("PD2"), 19);
    EXPECT_EQ(kindOfTag("XYZ") + kindOfTag("cha") + kindOfTag(""), 0);
}

TEST(Numbers, AreConvertedWhateverTheyAre)
{
    for (double value : {std::nan(""), HUGE_VAL, -HUGE_VAL, 2147483648.0, -2147483649.0}) {
        EXPECT_EQ(truncateToInt32(value), 0) << value;
    }
    EXPECT_EQ(truncateToInt32(-2147483648.9), INT32_MIN);
    EXPECT_EQ(truncateToInt32(7.9), 7);
    ProfileResult profile = {};
    ProfilePoint current = {};
    // A header that is no number, and a curve without length between infinite grades.
    const ProfileEntry entries[] = {
        {-13, std::nan(""), 0}, {1, 0, 0}, {-8, 0, 0}, {5, 100, 10}, {0, HUGE_VAL, -1}};
    EXPECT_EQ(buildSegments(&profile, &current, entries, 5), COGO_OK);
    EXPECT_EQ(profile.headerValue, 0);
    EXPECT_EQ(profile.segmentCount, 2);
    clearProfile(&profile);
}

// The slot that a command reports; its answer is added in hundreds.
static int32_t command(const char* word, std::string name)
{
    int32_t slot = 77;
    int answer = jobFileCommand(&slot, name.data(), word);
    return answer * 100 + slot;
}

TEST(JobFileTable, MovesFilesWithTheirContexts)
{
    EXPECT_EQ(jobFileCommand(nullptr, nullptr, "INITIALIZE"), 1);
    EXPECT_EQ(command("ADD_COGO_FILE", "A"), 100);
    EXPECT_EQ(command("ADD_COGO_FILE", "A"), 200);
    EXPECT_EQ(command("ADD_FILE", "B"), 101);
    contextOfSlot(0)->number = 10;
    IndexFile* moved = contextOfSlot(1);
    moved->number = 11;
    moved->keyBuffer[5] = moved->keyBuffers[5];
    EXPECT_EQ(command("ADD_COGO_FILE", "B"), 100);
    EXPECT_EQ(slotContext(0)->number, 11);
    EXPECT_EQ(slotContext(0)->keyBuffer[5], contextOfSlot(0)->keyBuffers[5]);
    EXPECT_EQ(contextOfSlot(1)->number, 10);
    EXPECT_EQ(command("ADD_COGO_FILE", "C"), 100); // B goes to slot 2
    EXPECT_EQ(contextOfSlot(2)->number, 11);
    EXPECT_EQ(command("GET_FILE_NUMBER", "B"), 102);
    EXPECT_EQ(command("GET_FILE_NUMBER", "X"), 99);
    EXPECT_EQ(command("REMOVE_FILE", "C"), 100);
    EXPECT_EQ(command("SET_FILE_TO_COGO", "B"), 100);
    EXPECT_EQ(command("REMOVE_FILE", "X"), 99);
    for (int slot = 2; slot < 10; ++slot) {
        EXPECT_EQ(command("ADD_FILE", std::string(300, static_cast<char>('a' + slot))), 100 + slot);
    }
    EXPECT_EQ(command("ADD_FILE", "X"), 77);
    EXPECT_EQ(command("ADD_COGO_FILE", "X"), 77);
    EXPECT_EQ(command("GET_FILE_NUMBER", std::string(300, 'c')), 99);
    EXPECT_EQ(command("GET_FILE_NUMBER", std::string(254, 'c')), 102);
    EXPECT_EQ(command("NO_SUCH_COMMAND", "X"), 177);
    EXPECT_EQ(jobFileCommand(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(jobFileCommand(nullptr, nullptr, "INITIALIZE"), 1);
}

TEST(Selections, AreCountedByGroup)
{
    int32_t number = 0;
    char text[SELECTION_ROOM] = "";
    EXPECT_EQ(setSurveyKey(7, "12") + setSurveyKey(7, "15") +
                  setSurveyKey(13, std::string(50, 'r').c_str()),
              0);
    EXPECT_EQ(setSurveyKey(4, "no group") + setSurveyKey(18, "no group"), 0);
    pointSelectionCount(&number);
    EXPECT_EQ(number, 1);
    getSurveyKey(13, text);
    EXPECT_EQ(text, std::string(40, 'r'));
    EXPECT_EQ(firstSelectedIndex(&number), 0);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(surveyIndexCommand("GETNEXTINDEX", &number, nullptr), 0);
    EXPECT_EQ(number, 13);
    EXPECT_EQ(surveyIndexCommand("GETNEXTINDEX", &number, nullptr), -1);
    EXPECT_EQ(setSurveyKey(ALL_SELECTIONS, "kept"), 1);
    EXPECT_EQ(setSurveyKey(ALL_SELECTIONS, ""), 0);
    EXPECT_EQ(firstSelectedIndex(&number), -1);
    EXPECT_EQ(number, 0);
}
