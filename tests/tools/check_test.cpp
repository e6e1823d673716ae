// The file checker: one fault at a time is planted in a sound job, and it makes exactly
// the complaint about that fault.
#include "tests/support/command.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

// One complaint says what is expected. Where a fault hides other things from the checker,
// the others all say what is missing.
void expectComplaint(const CheckReport& report, const std::string& expected,
                     const std::string& missing = "")
{
    size_t found = 0;
    for (const std::string& complaint : report.complaints) {
        bool hit = complaint.find(expected) != std::string::npos;
        found += hit;
        bool follows = !missing.empty() && complaint.find(missing) != std::string::npos;
        EXPECT_TRUE(hit || follows) << expected << " also makes: " << complaint;
    }
    EXPECT_EQ(found, 1U) << expected;
}

// -- Pages -------------------------------------------------------------------

// Leaves of four entries, which fill them but for the last, under two branches and a root.
constexpr int ENTRIES = 46;
constexpr int LAST_LEAF = 11;
constexpr int BRANCH = 12;
constexpr int ROOT = 14;
constexpr int SPARE = 15;
constexpr int ENTRY_SIZE = 253;
constexpr int SEPARATOR_SIZE = 100;
constexpr int KEY_LENGTH = 90;
constexpr int NUMBER = 0x01010101; // without a zero byte

std::string threeLevels()
{
    std::vector<std::string> entries;
    for (int i = 0; i < ENTRIES; ++i) {
        std::string key = "K" + std::to_string(10 + i) + std::string(KEY_LENGTH - 3, 'k');
        entries.push_back(rawEntry(3, key, NUMBER, std::string(155, 'x')));
    }
    return rawJob(entries, 1);
}

long entryAt(int leaf, int entry) { return pageAt(leaf) + 12 + ENTRY_SIZE * entry; }
long separatorAt(int branch, int entry) { return pageAt(branch) + 12 + SEPARATOR_SIZE * entry; }

TEST(TreeCheck, FindsEachFaultAndNoOther)
{
    const std::string sound = threeLevels();
    const std::string path = writeJob(sound);
    CheckReport report = checkTreeFile(path);
    EXPECT_EQ(report.complaints, std::vector<std::string>());
    EXPECT_TRUE(report.pages == 15 && report.levels == 3 && report.entries == ENTRIES);

    const char LOST[] = "no branch refers to it";
    struct Edit {
        long offset;
        std::string bytes;
    };
    auto number = [](long offset, int value) { return Edit{offset, rawNumber(value, 2)}; };
    auto byte = [](long offset, int value) { return Edit{offset, rawNumber(value, 1)}; };
    auto child = [&](int branch, int entry, int page) {
        return number(separatorAt(branch, entry + 1) - 2, page);
    };
    const struct {
        std::vector<Edit> edits;
        const char* expected;
        const char* missing = "";
    } rows[] = {
        {{byte(28, 'X')}, "header: the magic characters are not ORVANE98"},
        {{number(30, 17)}, "header: 17 pages in file, but the file has room for 16"},
        {{number(18, 17)}, "header: next free page 17 of 16 pages in file"},
        {{number(2, 15)}, "header: root page 15 is not below next free page 15"},
        {{number(14, 0)}, "header: height 0"},
        {{number(14, 21)}, "header: height 21"},
        {{byte(pageAt(SPARE) + 1023, 1)}, "page 15: not zero, though never handed out"},
        {{number(pageAt(LAST_LEAF), 1)}, "page 11: level 1 where 0 belongs"},
        {{number(pageAt(5) + 2, -1)}, "page 5: entry count -1"},
        {{number(pageAt(5) + 2, 151)}, "page 5: entry count 151"},
        {{number(pageAt(5) + 2, 5)}, "page 5: entry 4: missing: fewer entries than the count says"},
        {{number(pageAt(LAST_LEAF) + 2, 3)}, "page 11: entry 2: missing"},
        {{byte(entryAt(5, 3), 255)}, "page 5: entry 3: runs past the page"},
        {{byte(entryAt(LAST_LEAF, 1), 6)}, "page 11: entry 1: too short for a key"},
        {{byte(entryAt(LAST_LEAF, 1) + 1, 0)}, "page 11: entry 1: no valid index"},
        {{byte(entryAt(LAST_LEAF, 1) + 1, 21)}, "page 11: entry 1: no valid index"},
        {{byte(entryAt(5, 3) + 92, 'k')}, "page 5: entry 3: key does not end"},
        {{byte(entryAt(5, 3) + 92, 'k'), byte(entryAt(5, 3) + 110, 0)}, "entry 3: key too long"},
        {{number(pageAt(5) + 4, 1)}, "page 5: free bytes 1 where 0 belong"},
        {{byte(pageAt(LAST_LEAF) + 1023, 1)}, "page 11: not zero behind its last entry"},
        {{number(pageAt(5) + 6, 3)}, "page 5: a leaf with leftmost child 3"},
        {{byte(entryAt(5, 2) + 4, '0')}, "page 5: entry 2 is not greater than the one before it"},
        {{byte(separatorAt(BRANCH, 2) + 4, '2')}, "page 3: entry 0 is not above the separator"},
        {{byte(separatorAt(BRANCH, 2) + 4, '0')}, "page 2: entry 3 is above the separator behind"},
        {{number(pageAt(LAST_LEAF) + 8, 15)}, "page 11: next page 15 is not a page of the file"},
        {{number(pageAt(LAST_LEAF) + 8, 4)}, "page 11: next page 4 has its place already"},
        {{number(pageAt(5) + 10, 3)}, "page 5: previous page 3 where 4 belongs"},
        {{number(pageAt(0) + 10, 3)}, "page 0: previous page 3 where -1 belongs"},
        {{number(pageAt(5) + 8, 7)}, "page 6: a child, but not in the chain of level 0", "page 7"},
        {{child(ROOT, 0, 99)}, "page 99: a child, but not a page of the file", LOST},
        {{child(ROOT, 0, ROOT)}, "page 14: a child, but of a level above 1", LOST},
        {{child(BRANCH, 2, 2)}, "page 2: a child more than once", LOST},
        {{child(BRANCH, 2, 4), child(BRANCH, 3, 3)}, "page 3: a child out of order", "separator"},
        {{child(BRANCH, 9, 9)}, "page 12: its bound has child 9, its neighbour leftmost child 10"},
        {{{pageAt(BRANCH) + 2, std::string(2, 0) + rawNumber(1012, 2)},
          {pageAt(BRANCH) + 12, std::string(1000, 0)}},
         "page 12: a branch with a right neighbour and no entry",
         LOST},
        {{number(18, 16)}, "unreachable: page 15 was handed out and never written"},
        {{number(18, 16), byte(pageAt(SPARE), 1)},
         "unreachable: page 15 was handed out, but no level"},
    };
    for (const auto& row : rows) {
        std::string bytes = sound;
        for (const Edit& edit : row.edits) {
            bytes.replace(static_cast<size_t>(edit.offset), edit.bytes.size(), edit.bytes);
        }
        writeBytes(path, bytes);
        expectComplaint(checkTreeFile(path), row.expected, row.missing);
    }
    writeBytes(path, sound.substr(0, 1023));
    expectComplaint(checkTreeFile(path), "header: the file ends within it");
    std::string older = sound;
    for (size_t at : {0, 4, 8, 12, 16, 20, 28, 32}) {
        older[at] = "VALIDATE"[at < 28 ? at / 4 : at / 4 - 1];
    }
    writeBytes(path, older);
    expectComplaint(checkTreeFile(path), "a job database of the older format");
    for (const std::string& unreadable : {freshDirectory(), path + "/none"}) {
        report = checkTreeFile(unreadable);
        expectComplaint(report, "the file cannot be read");
        EXPECT_FALSE(report.readable);
    }
    // A file that is damaged all over is not listed to its end.
    std::string bytes = sound;
    bytes.replace(18, 2, rawNumber(1500, 2)).replace(30, 2, rawNumber(1500, 2));
    writeBytes(path, bytes.append(1500 * 1024, 0));
    EXPECT_EQ(checkTreeFile(path).complaints.size(), 1001U);
    EXPECT_EQ(checkTreeFile(path).complaints.back(), "more complaints are not listed");
}

// -- Records -----------------------------------------------------------------

const std::string END_MARK = rawNumber(-1, 2);

std::string recordKey(const std::string& tag, const std::string& name)
{
    std::string key = "   " + tag + name;
    return key + std::string(39 - key.size(), ' ');
}

std::string line(const std::string& name, const std::string& rest = END_MARK)
{
    return rawImage(std::string("SNN\0DNN\0SNN\0SNN\0", 16),
                    '\3' + rawNumber(0, 2) + recordKey("LIN", name) + '\0' + rest);
}

std::string feature(const std::string& text)
{
    return rawImage(std::string("SSD\1SSD\3", 8),
                    '\x18' + rawNumber(0, 2) + recordKey("POF", "P") + '\0' + text + END_MARK);
}

TEST(RecordCheck, FindsEachFaultAndNoOther)
{
    const std::string keyA = recordKey("LIN", "A");
    const std::string keyB = recordKey("LIN", "B");
    const std::string keyC = recordKey("LIN", "C");
    const std::string featureText = rawNumber(1, 2) + "F01" + '\0';
    const std::string other(20, 'o'); // an image of a layout that is not ours
    const std::vector<std::string> sound = {
        rawEntry(1, keyA, 1),
        rawEntry(1, keyB, 2),
        rawEntry(1, recordKey("POF", "P"), 4),
        rawEntry(3, "F01", 4),
        rawEntry(17, '\1' + keyA, 1, rawNumber(127, 4)),
        rawEntry(18, "", 3),
        rawEntry(19, "", 1, line("A")),
        rawEntry(19, "", 2, line("B")),
        rawEntry(19, "", 4, feature(featureText)),
        rawEntry(19, "", 5, other, 0),
        rawEntry(19, "", 5, other, 129),
    };
    auto check = [](const std::vector<std::string>& entries) {
        return checkJobFile(writeJob(rawJob(entries).replace(24, 4, rawNumber(7, 4))));
    };
    CheckReport report = check(sound);
    EXPECT_EQ(report.complaints, std::vector<std::string>());
    EXPECT_TRUE(report.records == 4 && report.unknownRecords == 1);
    EXPECT_TRUE(report.freeNumbers == 1 && report.locks == 1);

    const struct {
        size_t at; // of what stands there a number is replaced
        long replaced;
        std::vector<std::string> entries;
        const char* expected;
        const char* missing = "";
    } rows[] = {
        {0, 1, {rawEntry(1, keyA, 1, "x")}, "number 1: a key with data"},
        {0, 1, {rawEntry(1, keyA, 1, "", 0)}, "number 1: a key with data", "last segment"},
        {1, 1, {}, "record 2: no primary key leads to it"},
        {2, 0, {rawEntry(1, keyC, 2)}, "number 2: leads to a record (line) without"},
        {2, 0, {rawEntry(1, keyC, 6)}, "number 6: there is no such record"},
        {3, 1, {}, "record 4 (feature): its key in index 3 is missing"},
        {4, 0, {rawEntry(3, "F02", 4)}, "number 4: leads to a record (feature) without this key"},
        {4, 1, {rawEntry(17, '\1' + keyA, 1, "abc")}, "number 1: a lock with 3 bytes"},
        {4, 1, {rawEntry(17, '\1' + keyA, 1, rawNumber(128, 4))}, "a lock of user slot 128"},
        {4, 1, {rawEntry(17, '\1' + keyA, 1, rawNumber(-1, 4))}, "a lock of user slot -1"},
        {4, 1, {rawEntry(17, '\1' + keyA, 2, rawNumber(5, 4))}, "of an entry that is not there"},
        {5, 1, {rawEntry(18, "", 7)}, "free number 7: sequence counter 7 never handed it out"},
        {5, 1, {rawEntry(18, "", 0)}, "free number 0: sequence counter 7 never handed it out"},
        {5, 1, {rawEntry(18, "", 2)}, "free number 2: a record has it"},
        {5, 1, {rawEntry(18, "X", 3)}, "number 3: the key is not empty"},
        {6, 1, {rawEntry(19, "", 1, line("A").substr(0, 6))}, "record 1: an image of 6 bytes"},
        {6, 1, {rawEntry(19, "", 1, line("A", ""))}, "record 1 (line): damaged image"},
        {6, 1, {rawEntry(19, "", 1, other)}, "record 1 (line): damaged image"},
        {6, 1, {rawEntry(19, "", 1, feature(featureText))}, "(line): an image of another layout"},
        {1, 1, {rawEntry(1, recordKey("LIm", "B"), 2)}, "(line): its key is not the one"},
        {2, 0, {rawEntry(1, recordKey("PH2", "P"), 5)}, "(profile header): its key is not the"},
        {3, 0, {rawEntry(1, recordKey("VER", "V"), 5)}, "(version counter): damaged image"},
        {8, 1, {rawEntry(19, "", 4, feature(""))}, "no value of key field 1", "without this key"},
        {9, 1, {rawEntry(19, "", 5, other, 128)}, "number 5: segment 1 behind the last one"},
        {9, 1, {}, "number 5: begins with segment 1"},
        {9, 2, {rawEntry(19, "", 5, other, 0)}, "number 5: ends without a last segment"},
        {9, 2, {rawEntry(19, "", 5, other, 0), rawEntry(19, "", 6, other)}, "ends without a last"},
        {10, 1, {rawEntry(19, "", 5, other, 130)}, "number 5: segment 2 behind segment 0"},
        {10, 1, {rawEntry(19, "", 5, std::string(248, 'o'), 129)}, "5: a segment of 248 bytes"},
        {11, 0, {rawEntry(19, "", 7, other)}, "record 7: sequence counter 7 never handed out"},
        {11, 0, {rawEntry(19, "X", 6, other)}, "number 6: the key is not empty"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> entries = sound;
        auto at = entries.begin() + static_cast<long>(row.at);
        at = entries.erase(at, at + row.replaced);
        entries.insert(at, row.entries.begin(), row.entries.end());
        report = check(entries);
        expectComplaint(report, row.expected, row.missing);
        // What killed writers leave is data that nothing leads to.
        std::string expected = row.expected;
        bool lost = expected.ends_with("no primary key leads to it") ||
                    expected.ends_with("begins with segment 1") || expected.find("5: ends") == 7 ||
                    expected == "ends without a last";
        EXPECT_EQ(isHarmless(report), lost) << row.expected;
    }
    // Two records of one key, and one that is longer than records are.
    std::vector<std::string> twins = sound;
    twins[1] = rawEntry(1, keyA, 2);
    twins[7] = rawEntry(19, "", 2, line("A"));
    expectComplaint(check(twins), "record 2 (line): another record has its key in index 1");
    std::vector<std::string> tooLong = sound;
    tooLong.pop_back();
    for (int ordinal = 1; ordinal < 68; ++ordinal) {
        int last = ordinal == 67 ? 128 : 0;
        tooLong.push_back(rawEntry(19, "", 5, std::string(247, 'o'), ordinal | last));
    }
    expectComplaint(check(tooLong), "number 5: a record that is too long");
}

} // namespace
