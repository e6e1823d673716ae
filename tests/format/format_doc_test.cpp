// The bytes that docs/format.md decodes, against the sample job and the accessors.
#include "format/format.h"
#include "records/record_image.h"
#include "survey/survey.h"
#include "survey/survey_state.h"
#include "tests/support/command.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace
{

struct Row {
    int offset;
    std::string bytes;
    std::string meaning;
};

// The rows of the table under a heading.
std::vector<Row> decodedRows(const std::string& heading)
{
    std::ifstream doc(ORVIDX_FORMAT_DOC);
    std::vector<Row> rows;
    std::string line;
    while (std::getline(doc, line) && line != heading) {
    }
    while (std::getline(doc, line) && line.rfind("#", 0) != 0) {
        std::string offset, hex, meaning;
        std::istringstream cells(line.empty() ? line : line.substr(1));
        if (!std::getline(cells, offset, '|') || !std::getline(cells, hex, '|')) continue;
        std::getline(cells, meaning, '|');
        if (offset.find_first_of("0123456789") == std::string::npos) continue;
        Row row = {std::stoi(offset), "", meaning};
        std::istringstream digits(hex);
        for (std::string pair; digits >> pair;) {
            row.bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
        }
        rows.push_back(row);
    }
    return rows;
}

// The rows cover the bytes from the first on without a gap.
void expectBytes(const std::vector<Row>& rows, const uint8_t* bytes)
{
    int end = 0;
    for (const Row& row : rows) {
        EXPECT_EQ(row.offset, end) << row.meaning;
        std::string actual(reinterpret_cast<const char*>(bytes) + row.offset, row.bytes.size());
        EXPECT_EQ(row.bytes, actual) << row.meaning;
        end = row.offset + static_cast<int>(row.bytes.size());
    }
}

// The number behind a word in a row of the table at an offset.
int numberIn(const std::vector<Row>& rows, int offset, const std::string& word)
{
    for (const Row& row : rows) {
        size_t at = row.meaning.find(word);
        if (row.offset == offset && at != std::string::npos) {
            return std::stoi(row.meaning.substr(at + word.size()));
        }
    }
    ADD_FAILURE() << "no " << word << " at offset " << offset;
    return -1;
}

const uint8_t* pageOf(const std::string& job, int page)
{
    return reinterpret_cast<const uint8_t*>(job.data()) + 1024 + 1024 * page;
}

} // namespace

TEST(FormatDoc, DecodesAPageAsTheAccessorsDo)
{
    std::string job = fileBytes(freshJob("tiny"));
    const uint8_t* page = pageOf(job, 9);
    std::vector<Row> rows = decodedRows("### A page, byte by byte");
    ASSERT_GT(rows.size(), 10U);
    expectBytes(rows, page);
    ASSERT_TRUE(nodeIsSound(page));
    EXPECT_EQ(numberIn(rows, NODE_LEVEL, "level "), nodeLevel(page));
    EXPECT_EQ(numberIn(rows, NODE_COUNT, "entry count "), nodeCount(page));
    EXPECT_EQ(numberIn(rows, NODE_FREE, "free bytes "), nodeFree(page));
    EXPECT_EQ(numberIn(rows, NODE_LEFTMOST_CHILD, "page "), nodeLeftmostChild(page));
    EXPECT_EQ(numberIn(rows, NODE_NEXT_PAGE, "next page "), nodeNextPage(page));
    EXPECT_EQ(numberIn(rows, NODE_PREVIOUS_PAGE, "previous page "), nodePreviousPage(page));

    const uint8_t* entry = firstEntry(page);
    for (int i = 0; i < nodeCount(page); ++i, entry = nextEntry(entry)) {
        int at = static_cast<int>(entry - page);
        int tail = static_cast<int>(entryTail(entry) - page);
        EXPECT_EQ(numberIn(rows, at, "L: "), entry[0]);
        EXPECT_EQ(numberIn(rows, at + 1, "index number "), entryIndex(entry));
        EXPECT_EQ(numberIn(rows, tail, "number "), entryNumber(entry));
        EXPECT_EQ(numberIn(rows, tail + 4, "segment byte "), entrySegment(entry));
        EXPECT_EQ(numberIn(rows, tail + 5, "child: page "), entryChild(entry));
    }
    EXPECT_EQ(rows.back().offset, entry - page);
}

TEST(FormatDoc, DecodesAnImageAsTheRecordLayerDoes)
{
    std::string job = fileBytes(freshJob("tiny"));
    const uint8_t* entry = firstEntry(pageOf(job, 3));
    while (entryNumber(entry) != 9) {
        entry = nextEntry(entry);
    }
    const uint8_t* image = entryData(entry);
    std::vector<Row> rows = decodedRows("### An image, byte by byte");
    ASSERT_GT(rows.size(), 5U);
    expectBytes(rows, image);
    const Row& last = rows.back();
    int length = last.offset + static_cast<int>(last.bytes.size());
    EXPECT_EQ(length, entryDataLength(entry));

    buildSurveyLayouts();
    const LayoutEntry* layout = surveyState.featureLayout;
    EXPECT_EQ(checkImage(image, layout, length), 0);
    EXPECT_EQ(numberIn(rows, IMAGE_TYPE_BYTE, "record type byte "), image[IMAGE_TYPE_BYTE]);
    ImageWalk walk = startImageWalk(image, layout, length);
    ImageItem item = {};
    int items = 0;
    while (nextImageItem(&walk, &item)) {
        int at = static_cast<int>(item.value - image) - 2;
        EXPECT_EQ(numberIn(rows, at, "field number "), item.field);
        ++items;
    }
    EXPECT_EQ(items, 2);
}
