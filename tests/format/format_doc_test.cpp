// The bytes that docs/format.md decodes, against the sample job that it takes them from.
#include "tests/support/command.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

// Compares the table under a heading with the bytes at an offset of the sample job: its
// rows cover them from the first on without a gap, and a row about a number names it.
// Answers how many bytes they are.
static size_t compareTable(const std::string& heading, size_t at)
{
    const std::string job = fileBytes(ORVIDX_TEST_DATA "/golden/tiny/job.orv");
    std::ifstream doc(ORVIDX_FORMAT_DOC);
    std::string line;
    while (std::getline(doc, line) && line != heading) {
    }
    size_t end = 0;
    while (std::getline(doc, line) && !line.starts_with("#")) {
        std::string offset, hex, meaning, bytes;
        if (!line.starts_with("| ") || isdigit(line[2]) == 0) continue;
        std::istringstream cells(line.substr(2));
        std::getline(std::getline(std::getline(cells, offset, '|'), hex, '|'), meaning, '|');
        EXPECT_EQ(std::stoul(offset), end) << meaning;
        std::istringstream digits(hex);
        for (std::string pair; digits >> pair;) {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
        }
        EXPECT_EQ(bytes, job.substr(at + end, bytes.size())) << meaning;
        end += bytes.size();

        size_t number = meaning.find_first_of("-0123456789");
        bool named = number != std::string::npos && meaning.find("checksum") == std::string::npos;
        if (!named || bytes.size() > 4) continue;
        int64_t value = bytes.size() == 2 && bytes[1] < 0 ? -0x10000 : 0;
        for (size_t i = 0; i < bytes.size(); ++i) {
            value += static_cast<int64_t>(static_cast<uint8_t>(bytes[i])) << (8 * i);
        }
        EXPECT_EQ(std::stol(meaning.substr(number)), value) << meaning;
    }
    return end;
}

TEST(FormatDoc, DecodesAPageAndAnImageOfTheSampleJob)
{
    constexpr size_t PAGE = 1024 + 9 * 1024;
    EXPECT_EQ(compareTable("### A page, byte by byte", PAGE), 132U);
    // The entry of record 9, from its data on.
    const std::string job = fileBytes(ORVIDX_TEST_DATA "/golden/tiny/job.orv");
    size_t entry = job.find(std::string("\x13\0\x09\0\0\0\x80", 7));
    ASSERT_NE(entry, std::string::npos);
    EXPECT_EQ(compareTable("### An image, byte by byte", entry + 7),
              static_cast<uint8_t>(job[entry - 1]) - 7U);
}
