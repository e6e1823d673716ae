// Record images byte by byte, and the checks of images and layouts.
#include "engine/index_file.h"
#include "engine/results.h"
#include "jobdb/record_image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

// A text that is a unique key, a number, and blocks of fields that hold nothing between
// them and the end, as many as a test asks for.
struct Record {
    char text[41] = "abc";
    double number = 2.5;
    int32_t empty = 0;
    LayoutEntry layout[8] = {{'S', 'S', 'U', 41, 1, text, 41}, {'D', 'N', 'N', 8, 0, &number, 8}};
    uint8_t image[100] = {};
    IndexFile file = {};

    explicit Record(int emptyFields = 0)
    {
        for (int i = 0; i < emptyFields; ++i) {
            layout[2 + i] = {'I', 'N', 'N', 4, 0, &empty, 4};
        }
        layout[2 + emptyFields].type = 'E';
    }
    std::string packed(int maximum = 100)
    {
        int length = packRecord(image, layout, 0, maximum);
        return std::string(reinterpret_cast<char*>(image),
                           static_cast<size_t>(std::max(length, 0)));
    }
    int unpack(const std::string& bytes)
    {
        memcpy(image, bytes.data(), bytes.size());
        return unpackRecord(image, layout, &file, static_cast<int>(bytes.size()));
    }
};

const std::string WITH_NUMBER("\xc8\x99\x3a\xd2\0\0\0abc\0\1\0\0\0\0\0\0\0\4\x40\xff\xff", 23);
const std::string WITHOUT_NUMBER("\xc8\x99\xaa\x2a\0\0\0abc\0\xff\xff", 13);

TEST(RecordImage, HasExactlyTheseBytes)
{
    Record record;
    EXPECT_EQ(record.packed(), WITH_NUMBER);
    EXPECT_EQ(record.packed(23), WITH_NUMBER);
    EXPECT_EQ(record.packed(22), "");
    for (double nothing : {0.0, -0.0}) {
        record.number = nothing;
        EXPECT_EQ(record.packed(), WITHOUT_NUMBER);
    }
    record.number = std::nan("");
    EXPECT_EQ(record.packed().size(), WITH_NUMBER.size());
    record.text[0] = 0;
    record.number = 0.0;
    EXPECT_EQ(record.packed().substr(4), std::string("\0\0\0\0\xff\xff", 6));
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
    record.layout[1].indexNumber = 0;
    EXPECT_STREQ(record.text, "previous");
    EXPECT_EQ(record.unpack(WITHOUT_NUMBER), IX_OK);
    EXPECT_EQ(record.number, 0.0);

    // Only the last fifteen bytes reach the checksum; a text is cut to its field.
    damaged = WITH_NUMBER;
    damaged[7] = 'x';
    record.layout[0].length = 3;
    EXPECT_EQ(record.unpack(damaged), IX_OK);
    EXPECT_STREQ(record.text, "xb");
    EXPECT_EQ(record.number, 2.5);

    // And only the last four fields the signature.
    Record longer(4);
    std::string bytes = longer.packed();
    longer.layout[0].indexNumber = 9;
    longer.layout[1].type = 'L';
    EXPECT_EQ(layoutSignature(longer.layout), layoutSignature(Record(4).layout));
    longer.layout[2].keyFlag = 'I';
    EXPECT_EQ(longer.unpack(bytes), IX_OTHER_LAYOUT);
}

TEST(Layout, IsRefusedByTheFirstRuleThatItBreaks)
{
    Record sound;
    EXPECT_EQ(checkLayoutForWrite(sound.layout), IX_OK);
    auto check = [&](auto member, auto value, int expected, bool alsoForRead) {
        Record record;
        record.layout[0].*member = value;
        EXPECT_EQ(checkLayoutForWrite(record.layout), expected);
        EXPECT_EQ(checkLayoutForRead(record.layout), alsoForRead ? expected : IX_OK);
    };
    check(&LayoutEntry::type, 'X', IX_LAYOUT_TYPE, true);
    check(&LayoutEntry::keyFlag, 'U', IX_LAYOUT_KEY_FLAG, true);
    check(&LayoutEntry::duplicates, 'S', IX_LAYOUT_DUPLICATES, true);
    check(&LayoutEntry::length, int16_t{10241}, IX_LAYOUT_LENGTH, false);
    check(&LayoutEntry::length, int16_t{-1}, IX_LAYOUT_LENGTH, false);
    check(&LayoutEntry::length, int16_t{3}, IX_TEXT_TOO_LONG, false);
    check(&LayoutEntry::length, int16_t{4}, IX_OK, false);
    check(&LayoutEntry::indexNumber, uint8_t{16}, IX_LAYOUT_INDEX, true);
}
