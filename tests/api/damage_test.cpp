// Damaged files through the exports: they refuse, or answer what is right; they never
// crash, never go on for ever, and leave the file alone.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/facts.h"
#include "tests/support/raw_job.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>

namespace
{

const std::string END_MARK = rawNumber(-1, 2);

struct Tiny {
    std::string path = freshJob("tiny");
    const SoundJob sound = learnJob(path);

    // What the damaged file tells is right as far as it goes.
    void expectNothingWrong(const std::string& damaged)
    {
        writeBytes(path, damaged);
        EXPECT_EQ(wrongFact(sound, damaged, factsOfJob(path)), "");
    }
};

// Other values that a byte may get by accident: any, the next one, that of another byte.
TEST(DamagedFile, TellsNothingThatTheSoundOneDoesNot)
{
    Tiny tiny;
    std::mt19937 random(7);
    for (int run = 0; run < 800; ++run) {
        std::string damaged = tiny.sound.bytes;
        std::string changes;
        for (unsigned change = run % 2 == 0 ? 1 : random() % 8; change > 0; --change) {
            size_t at = 1024 + random() % 10 * 1024 + random() % (run % 5 == 0 ? 12 : 1024);
            const char values[] = {static_cast<char>(random()), static_cast<char>(damaged[at] + 1),
                                   damaged[random() % damaged.size()]};
            damaged[at] = values[random() % 3];
            changes += std::to_string(at) + " ";
        }
        SCOPED_TRACE(changes);
        tiny.expectNothingWrong(damaged);
        // One wrong field of a page makes nothing look as if it had to be written.
        EXPECT_TRUE(run % 10 != 0 || fileBytes(tiny.path) == damaged);
    }
    // The pages behind the root are not used.
    writeBytes(tiny.path, tiny.sound.bytes.substr(0, static_cast<size_t>(pageAt(10))));
    EXPECT_TRUE(factsOfJob(tiny.path) == tiny.sound.facts);
    // Much more than that can go wrong in a larger job; nothing to compare it with here.
    for (int run = 0; run < 12; ++run) {
        std::string path = freshJob("mixed");
        std::string bytes = fileBytes(path);
        for (unsigned changes = 1 + random() % 8; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        writeBytes(path, bytes);
        EXPECT_FALSE(tells(factsOfJob(path), "fault"));
    }
}

// Nothing stands in for it, neither what was read before; and as the names of survey
// chains come from their records, it ends the list of these.
TEST(UnreadableRecord, TellsNothingAndIsAnErrorInTheListOfSurveyChains)
{
    Tiny tiny;
    std::string told;
    for (const StoredData& data : tiny.sound.data) {
        std::string damaged = tiny.sound.bytes;
        damaged[data.at + 7] = 0x55; // the segment byte
        writeBytes(tiny.path, damaged);
        EXPECT_EQ(wrongFact(tiny.sound, tiny.sound.bytes, factsOfJob(tiny.path)), "");
        IdxConnection* job = nullptr;
        ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, tiny.path.c_str(), 0), IDX_OK);
        uint32_t count = 9;
        char* names = nullptr;
        int32_t result = orvIdx_numberOfElements(job, ELEMENT_SURVEY_CHAIN, &count, &names);
        EXPECT_TRUE((result == IDX_OK) == (count == 2) && (result == IDX_OK) == (names != nullptr));
        if (result != IDX_OK) told += *data.subjects.rbegin() + " " + std::to_string(count) + " ";
        orvIdx_freeElementNameList(&names);
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    }
    EXPECT_EQ(told, "survey chain RIDGE 1 survey chain EDGE OF WATER 0 ");
}

// The key and the record agree on what no point can be called.
TEST(PointKey, ThatIsNoPointNameNamesNothing)
{
    Tiny tiny;
    std::string renamed = tiny.sound.bytes;
    for (size_t at = 0; (at = renamed.find("A             5")) != std::string::npos;) {
        renamed[at + 14] = 'B';
    }
    writeBytes(tiny.path, renamed);
    EXPECT_FALSE(tells(factsOfJob(tiny.path), "point AB") ||
                 tells(factsOfJob(tiny.path), "point A5"));
    EXPECT_TRUE(tells(factsOfJob(tiny.path), "point A10"));
    IdxConnection* job = nullptr;
    ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, tiny.path.c_str(), 0), IDX_OK);
    EXPECT_EQ(namesOf(job, ELEMENT_POINT).at(4), "AB");
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
}

// -- Records -----------------------------------------------------------------

std::string recordKey(const std::string& tag, const std::string& name = "X")
{
    std::string key = "   " + tag + name;
    return key + std::string(39 - key.size(), ' ');
}

// Whether the curve or the profile named X can be read when these entries are its data.
bool isReadable(uint32_t kind, const std::vector<std::string>& data)
{
    std::vector<std::string> entries = {
        rawEntry(1, recordKey("CHA"), 1), rawEntry(1, recordKey("CUR"), 1),
        rawEntry(1, recordKey("PD2"), 1), rawEntry(1, recordKey("PH2"), 2)};
    entries.insert(entries.end(), data.begin(), data.end());
    const Facts facts = factsOfJob(writeJob(rawJob(entries)));
    EXPECT_FALSE(tells(facts, "chain X")); // has a layout of neither kind of chain
    return tells(facts, kind == ELEMENT_CURVE ? "curve X" : "profile X");
}

// The entries of record 1, cut into segments.
std::vector<std::string> segmentsOf(const std::string& image, size_t size = 247)
{
    std::vector<std::string> entries;
    for (size_t at = 0; at == 0 || at < image.size(); at += size) {
        int last = at + size >= image.size() ? 128 : 0;
        int ordinal = static_cast<int>(entries.size());
        entries.push_back(rawEntry(19, "", 1, image.substr(at, size), ordinal | last));
    }
    return entries;
}

std::string curveImage(const std::string& items, const std::string& tag = "CUR")
{
    return rawImage(std::string("DNN\0SNN\0SNN\0SNN\0", 16),
                    '\2' + rawNumber(0, 2) + recordKey(tag) + '\0' + items);
}

bool blockIsReadable(int storedLength, size_t length)
{
    std::string block;
    for (int i = 1; i <= 101; ++i) {
        block += rawNumber(1, 8) + rawNumber(std::bit_cast<int64_t>(1.0 * i), 8) + rawNumber(0, 8);
    }
    std::string items = rawNumber(0, 2) + recordKey("PD2") + '\0' + rawNumber(1, 2) + '\0' +
                        rawNumber(2, 2) + rawNumber(storedLength, 2) + block.substr(0, length);
    std::string image = rawImage(std::string("SSD\1SSD\2BNN\0", 12), '\x13' + items + END_MARK);
    return isReadable(ELEMENT_PROFILE, segmentsOf(image));
}

TEST(DamagedImage, IsRefused)
{
    auto curveIsReadable = [](const std::string& image) {
        return isReadable(ELEMENT_CURVE, segmentsOf(image));
    };
    const std::string text = rawNumber(26, 2) + "text";
    EXPECT_TRUE(curveIsReadable(curveImage(text + '\0' + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(END_MARK, "LIN")));
    std::string often; // the same field
    while (often.size() < 700) {
        often += text + '\0';
    }
    EXPECT_TRUE(curveIsReadable(curveImage(often + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(often)));
    for (const std::string& items :
         {text, text + '\0', text + END_MARK, rawNumber(-2, 2) + '\0' + END_MARK,
          rawNumber(36, 2) + END_MARK, rawNumber(1, 2) + "1234" + END_MARK}) {
        EXPECT_FALSE(curveIsReadable(curveImage(items))) << items;
    }
    for (size_t length = 0; length < 8; ++length) {
        EXPECT_FALSE(curveIsReadable(curveImage(END_MARK).substr(0, length))) << length;
    }
    EXPECT_TRUE(blockIsReadable(2400, 2400));
    EXPECT_TRUE(blockIsReadable(71, 71)); // the third entry is cut
    EXPECT_FALSE(blockIsReadable(24, 24));
    EXPECT_FALSE(blockIsReadable(-1, 48));
    EXPECT_FALSE(blockIsReadable(52, 48));
    EXPECT_FALSE(blockIsReadable(32767, 2400));
    EXPECT_FALSE(blockIsReadable(2401, 2401));
}

TEST(DamagedSegments, AreRefused)
{
    std::string image = curveImage(rawNumber(26, 2) + std::string(100, 't') + '\0' + END_MARK);
    std::vector<std::string> segments = segmentsOf(image, 60);
    EXPECT_TRUE(isReadable(ELEMENT_CURVE, segments));
    std::vector<std::string> gap = segments;
    gap.erase(gap.begin() + 1);
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, gap));
    // The next segment by its ordinal, but of another record.
    std::string other = rawEntry(19, "", 2, image.substr(60), 129);
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, {segments[0], other}));
    segments.pop_back();
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, segments));

    std::vector<std::string> endless = segmentsOf(std::string(25600, 's'), 200);
    endless.back() = rawEntry(19, "", 1, "s", 127);
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, endless));
    endless.push_back(rawEntry(19, "", 2, image));
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, endless));
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, segmentsOf(image + std::string(17000, 's'))));
}

TEST(DamagedKeys, AreRefusedOrPassedBy)
{
    IdxConnection* job = nullptr;
    for (size_t length : {101, 102, 200, 248}) {
        std::string path = writeJob(rawJob({rawEntry(5, std::string(length, 'A'), 1)}));
        bool connected = orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0) == IDX_OK;
        EXPECT_EQ(connected, length == 101);
        if (connected) {
            EXPECT_EQ(namesOf(job, ELEMENT_POINT).size(), 1U);
        }
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    }
    std::vector<std::string> continuations;
    for (int i = 100000; i < 200000; ++i) {
        std::string key = recordKey("CHA", std::to_string(i) + "{01}");
        continuations.push_back(rawEntry(1, key, 1));
    }
    EXPECT_EQ(factsOfJob(writeJob(rawJob(continuations))), Facts());
}

} // namespace
