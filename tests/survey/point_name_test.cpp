// Point names and numbers at the edges of what they may be.
#include "cogo/cogo.h"
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
    for (const auto& [text, number] : {std::pair<const char*, int64_t>(" \t\n12x", 12),
                                       {"", 0},
                                       {"+7", 7},
                                       {"-7", -7},
                                       {"- 7", 0},
                                       {"9223372036854775807", INT64_MAX},
                                       {"9223372036854775808", INT64_MAX}}) {
        EXPECT_EQ(parseInt64(text), number) << text;
    }
    for (double value : {std::nan(""), HUGE_VAL, -HUGE_VAL, 2147483648.0, -2147483649.0}) {
        EXPECT_EQ(truncateToInt32(value), 0) << value;
    }
    EXPECT_EQ(truncateToInt32(-2147483648.9), INT32_MIN);
}
