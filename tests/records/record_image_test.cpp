// Record images byte by byte, and what is refused.
#include "format/format.h"
#include "records/record_image.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

// A text that is a unique key, and a number.
struct Record {
    char text[41] = "abc";
    double number = 2.5;
    LayoutEntry layout[3] = {{'S', 'S', 'U', 41, 1, text, 41},
                             {'D', 'N', 'N', 8, 0, &number, 8},
                             {'E', 0, 0, 0, 0, nullptr, 0}};

    std::string packed(int maximum = 100)
    {
        uint8_t image[100] = {};
        int length = packRecord(image, layout, 0, maximum);
        return std::string(image, image + std::max(length, 0));
    }
    int unpack(const std::string& bytes)
    {
        uint8_t typeByte = 0;
        auto image = reinterpret_cast<const uint8_t*>(bytes.data());
        const LayoutPlan plan = planLayout(layout);
        return unpackRecord(image, &plan, &typeByte, static_cast<int>(bytes.size()));
    }
};

const std::string WITH_NUMBER("\xc8\x99\x3a\xd2\0\0\0abc\0\1\0\0\0\0\0\0\0\4\x40\xff\xff", 23);
const std::string WITHOUT_NUMBER("\xc8\x99\xaa\x2a\0\0\0abc\0\xff\xff", 13);

TEST(RecordImage, HasExactlyTheseBytes)
{
    Record record;
    EXPECT_EQ(record.packed(23), WITH_NUMBER);
    EXPECT_EQ(record.packed(22) + record.packed(6), "");
    record.number = -0.0;
    EXPECT_EQ(record.packed(), WITHOUT_NUMBER);
    record.number = std::nan(""); // is something, and an empty key is stored all the same
    record.text[0] = 0;
    EXPECT_EQ(record.packed().substr(5, 5), std::string("\0\0\0\1\0", 5));
}

TEST(RecordImage, IsReadOnlyWithItsSignatureAndChecksum)
{
    Record record;
    strcpy(record.text, "previous");
    std::string damaged = WITH_NUMBER;
    damaged[20] ^= 1;
    EXPECT_EQ(record.unpack(damaged), IX_DAMAGED_IMAGE);
    record.layout[1].indexNumber = 1;
    EXPECT_EQ(record.unpack(WITH_NUMBER), IX_OTHER_LAYOUT);
    EXPECT_STREQ(record.text, "previous");
    record.layout[1].indexNumber = 0;
    EXPECT_EQ(record.unpack(WITHOUT_NUMBER), IX_OK);
    EXPECT_EQ(record.number, 0.0);
    // Only the last fifteen bytes reach the checksum; a text is cut to its field.
    damaged = WITH_NUMBER;
    damaged[7] = 'x';
    record.layout[0].length = 3;
    EXPECT_EQ(record.unpack(damaged), IX_OK);
    EXPECT_STREQ(record.text, "xb");
    EXPECT_EQ(record.number, 2.5);
    record.layout[0].length = 0; // has no room for anything
    EXPECT_EQ(record.unpack(damaged), IX_OK);
    EXPECT_STREQ(record.text, "");
    EXPECT_EQ(record.unpack("\7"), IX_DAMAGED_IMAGE);
}

// Empty fields are left out; a block is not empty while it has a length.
TEST(RecordImage, HoldsFieldsOfEveryType)
{
    struct {
        float single = -0.5F;
        int16_t half = -7;
        int32_t whole = 1 << 20;
        int32_t longer = -3;
        char block[4] = {0, 1, 0, 2};
    } fields, read;
    LayoutEntry layout[] = {
        {'F', 'N', 'N', 4, 0, &fields.single, 4}, {'H', 'N', 'N', 2, 0, &fields.half, 2},
        {'I', 'N', 'N', 4, 0, &fields.whole, 4},  {'L', 'N', 'N', 4, 0, &fields.longer, 4},
        {'B', 'N', 'N', 3, 0, fields.block, 4},   {'E', 0, 0, 0, 0, nullptr, 0}};
    uint8_t image[100] = {};
    uint8_t typeByte = 0;
    int length = packRecord(image, layout, 9, sizeof image);
    EXPECT_EQ(length, 5 + 6 + 4 + 6 + 6 + 7 + 2);
    read = fields;
    fields = {0, 0, 0, 0, {}};
    const LayoutPlan plan = planLayout(layout);
    EXPECT_EQ(unpackRecord(image, &plan, &typeByte, length), IX_OK);
    EXPECT_TRUE(fields.single == read.single && fields.half == read.half);
    EXPECT_TRUE(fields.whole == read.whole && fields.longer == read.longer);
    EXPECT_EQ(std::string(fields.block, 4), std::string("\0\1\0\0", 4));
    EXPECT_TRUE(layout[4].length == 3 && typeByte == 9);
    fields = {-0.0F, 0, 0, 0, {}};
    EXPECT_EQ(packRecord(image, layout, 9, sizeof image), 5 + 7 + 2);
    layout[4].length = 5; // longer than its room
    EXPECT_LT(packRecord(image, layout, 9, sizeof image), 0);
}

TEST(Layout, IsRefusedByTheFirstRuleThatItBreaks)
{
    char text[41] = "abc";
    const std::pair<LayoutEntry, int> rules[] = {
        {{'S', 'S', 'U', 4, 15, text, 41}, IX_OK},
        {{'X', 'X', 'U', 41, 1, text, 41}, IX_LAYOUT_TYPE},
        {{'S', 'U', 'X', 41, 1, text, 41}, IX_LAYOUT_KEY_FLAG},
        {{'S', 'S', 'S', -1, 1, text, 41}, IX_LAYOUT_DUPLICATES},
        {{'B', 'N', 'N', 10241, 16, text, 41}, IX_LAYOUT_LENGTH},
        {{'B', 'N', 'N', -1, 16, text, 41}, IX_LAYOUT_LENGTH},
        {{'S', 'S', 'U', 3, 16, text, 41}, IX_TEXT_TOO_LONG},
        {{'S', 'S', 'U', 41, 16, text, 41}, IX_LAYOUT_INDEX}};
    for (const auto& [entry, expected] : rules) {
        LayoutEntry layout[2] = {entry, {'E', 0, 0, 0, 0, nullptr, 0}};
        EXPECT_EQ(checkLayoutForWrite(layout), expected);
    }
}
