// Point names and numbers at the edges of what they may be; the table of job files.
#include "cogo/vertical_curves.h"
#include "records/records_state.h"
#include "survey/point_name.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

TEST(PointNames, AreLettersThenANumber)
{
    // In front of each name what the split answers.
    for (std::string name : {"0A12", "0A007", "0abcdefghijklmn1", "1", "1000", "1ABC", "112AB",
                             "2A1B2", "2A-7", "2\xc4\x31", "2 1", "3A0", "3abcdefghijklmno1"}) {
        char prefix[SPLIT_NAME_ROOM] = "";
        char number[SPLIT_NAME_ROOM] = "";
        int expected = name[0] - '0';
        EXPECT_EQ(splitPointName(name.c_str() + 1, prefix, number), expected) << name;
        EXPECT_EQ(std::string(prefix) + number, expected == 0 ? name.substr(1) : "");
    }
}

TEST(Numbers, AreConvertedWhateverTheyAre)
{
    for (double value : {std::nan(""), HUGE_VAL, -HUGE_VAL, 2147483648.0, -2147483649.0}) {
        EXPECT_EQ(truncateToInt32(value), 0) << value;
    }
    EXPECT_EQ(truncateToInt32(-2147483648.9), INT32_MIN);
    // A header that is no number, and a curve without length between infinite grades.
    const ProfileEntry entries[] = {
        {-13, std::nan(""), 0}, {1, 0, 0}, {-8, 0, 0}, {5, 100, 10}, {0, HUGE_VAL, -1}};
    ProfileResult profile = {};
    ProfilePoint current = {};
    EXPECT_EQ(buildSegments(&profile, &current, entries, 5), COGO_OK);
    EXPECT_EQ(profile.headerValue, 0);
    EXPECT_EQ(profile.segmentCount, 2);
    clearProfile(&profile);
}

TEST(JobFileTable, MovesContextsWithTheirFiles)
{
    RecordFile* contexts = recordsState.table.contexts;
    auto command = [](const char* word, std::string name) {
        int32_t slot = 77;
        int answer = jobFileCommand(&slot, name.data(), word);
        return std::pair<int, int32_t>(answer, slot);
    };
    using Answer = std::pair<int, int32_t>;
    command("INITIALIZE", "");
    EXPECT_EQ(command("ADD_COGO_FILE", "A"), Answer(1, 0));
    EXPECT_EQ(command("ADD_COGO_FILE", "A"), Answer(2, 0));
    EXPECT_EQ(command("ADD_FILE", "B"), Answer(1, 1));
    contexts[0].recordTypeByte = 10;
    contexts[1].recordTypeByte = 11;
    EXPECT_EQ(command("ADD_COGO_FILE", "B"), Answer(1, 0)); // takes A's place
    EXPECT_TRUE(slotContext()->recordTypeByte == 11 && contexts[1].recordTypeByte == 10);
    EXPECT_EQ(command("ADD_COGO_FILE", "C"), Answer(1, 0)); // B goes on in slot 2
    for (int slot = 3; slot < 10; ++slot) {
        std::string name(300, static_cast<char>('0' + slot));
        EXPECT_EQ(command("ADD_FILE", name), Answer(1, slot));
    }
    EXPECT_EQ(command("ADD_COGO_FILE", "X"), Answer(0, 77));
    EXPECT_EQ(command("GET_FILE_NUMBER", std::string(300, '3')), Answer(1, -1));
    EXPECT_EQ(command("GET_FILE_NUMBER", std::string(254, '3')), Answer(1, 3));
    EXPECT_EQ(command("REMOVE_FILE", "C"), Answer(1, 0));
    EXPECT_EQ(command("SET_FILE_TO_COGO", "B"), Answer(1, 0));
    EXPECT_EQ(contexts[0].recordTypeByte, 11);
    command("INITIALIZE", "");
}
