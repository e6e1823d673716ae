// Damaged files through the exports: they refuse, or answer what is right; they never
// crash, never go on for ever, and leave the file alone.
#include "api/orvIdx.h"
#include "engine/engine.h"
#include "tests/support/command.h"
#include "tests/support/raw_job.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>

namespace
{

constexpr int MOST_STEPS = 1000; // of a walk over a file with fewer elements
const std::string END_MARK = rawNumber(-1, 2);

// What elements hold, by kind and name.
using Elements = std::map<std::pair<uint32_t, std::string>, std::string>;

template <typename Item> std::string bytesOf(const Item* items, int32_t count = 1)
{
    size_t length = static_cast<size_t>(count) * sizeof(Item);
    return count > 0 ? std::string(reinterpret_cast<const char*>(items), length) : "";
}

// Looks at every byte; answers those that are right or not handed out at all. A feature
// text that cannot be read is missing, and so is what a chain is made of.
std::string contentOf(uint32_t kind, void* element)
{
    if (kind == ELEMENT_POINT) memset(static_cast<PointElement*>(element)->featureText, 0, 25);
    if (kind == ELEMENT_POINT) return bytesOf(static_cast<PointElement*>(element));
    if (kind == ELEMENT_CURVE) return bytesOf(static_cast<CurveElement*>(element));
    if (kind == ELEMENT_SPIRAL) return bytesOf(static_cast<SpiralElement*>(element));
    if (kind == ELEMENT_PROFILE) {
        auto profile = static_cast<ProfileElement*>(element);
        return bytesOf(profile->vertices, profile->vertexCount);
    }
    std::string looked;
    if (kind == ELEMENT_LINE) looked = bytesOf(static_cast<LineElement*>(element));
    if (kind == ELEMENT_SURVEY_CHAIN) {
        auto chain = static_cast<SurveyChainElement*>(element);
        looked = bytesOf(chain->points, chain->pointCount);
    }
    if (kind == ELEMENT_CHAIN) {
        auto member = static_cast<ChainElement*>(element)->firstMember;
        for (; member != nullptr; member = member->next) {
            looked += bytesOf(member);
        }
    }
    return "";
}

// Every kind counted, walked, and read by the names of the list.
Elements readAll(const std::string& path)
{
    Elements elements;
    IdxConnection* job = nullptr;
    if (orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0) != IDX_OK) return elements;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        void* element = nullptr;
        int steps = 0;
        int32_t result = orvIdx_readFirstElement(job, kind, &element);
        for (; result == IDX_OK && steps < MOST_STEPS; ++steps) {
            orvIdx_freeElement(kind, &element);
            result = orvIdx_readNextElement(job, kind, &element);
        }
        EXPECT_LT(steps, MOST_STEPS) << "kind " << kind;
        uint32_t count = 0;
        char* names = nullptr;
        if (orvIdx_numberOfElements(job, kind, &count, &names) != IDX_OK) continue;
        std::istringstream list(names);
        orvIdx_freeElementNameList(&names);
        for (std::string name; std::getline(list, name, ',');) {
            if (orvIdx_readElementbyName(job, kind, name.c_str(), &element) != IDX_OK) continue;
            elements[{kind, name}] = contentOf(kind, element);
            orvIdx_freeElement(kind, &element);
        }
    }
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    return elements;
}

std::string writeJob(const std::string& bytes)
{
    std::string path = freshDirectory() / "job.orv";
    writeBytes(path, bytes);
    return path;
}

// The job tiny, in which reading writes nothing, with changed numbers.
struct Tiny {
    std::string path = freshJob("tiny");
    const std::string sound = fileBytes(path);
    const Elements elements = readAll(path);

    size_t expectRightOrRefused(const std::string& damaged)
    {
        writeBytes(path, damaged);
        Elements found = readAll(path);
        for (const auto& [name, content] : found) {
            auto element = elements.find(name);
            EXPECT_TRUE(element != elements.end() && content == element->second) << name.second;
        }
        EXPECT_EQ(fileBytes(path), damaged);
        return found.size();
    }
};

TEST(DamagedHeader, IsRefused)
{
    Tiny tiny;
    EXPECT_EQ(tiny.elements.size(), 26U);
    const std::map<size_t, std::vector<int>> impossible = {
        {2, {-32768, -1, 0, 8, 10, 32767}}, // root page
        {14, {-1, 0, 1, 3, 20, 21, 32767}}, // height
        {18, {-1, 0, 9, 14, 32767}},        // next free page
        {30, {-32768, -1, 0, 9}},           // pages in file
    };
    for (const auto& [offset, values] : impossible) {
        for (int value : values) {
            std::string damaged = tiny.sound;
            damaged.replace(offset, 2, rawNumber(value, 2));
            EXPECT_EQ(tiny.expectRightOrRefused(damaged), 0U) << offset << " " << value;
        }
    }
}

TEST(DamagedPages, AreRefusedOrReadRight)
{
    Tiny tiny;
    for (int page = 0; page < 10; ++page) {
        for (int value : {-32768, -1, 0, 1, page, page + 1, 10, 20, 32767}) {
            for (size_t field = 0; field < 12; field += 2) {
                SCOPED_TRACE(testing::Message()
                             << "page " << page << " offset " << field << " value " << value);
                std::string damaged = tiny.sound;
                damaged.replace(static_cast<size_t>(pageAt(page)) + field, 2, rawNumber(value, 2));
                tiny.expectRightOrRefused(damaged);
            }
        }
        for (int length : {0, 1, 2, 3, 4, 5, 6, 7, 46, 255}) {
            std::string damaged = tiny.sound;
            damaged.replace(static_cast<size_t>(pageAt(page)) + 12, 1, rawNumber(length, 1));
            tiny.expectRightOrRefused(damaged);
        }
    }
}

TEST(TruncatedFile, IsRefusedOrReadRight)
{
    Tiny tiny;
    for (size_t size : {0, 1, 39, 40, 1023, 1024, 1025, 2047, 2048, 6000, 11263, 11264, 14335}) {
        size_t found = tiny.expectRightOrRefused(tiny.sound.substr(0, size));
        EXPECT_EQ(found, size < 11264 ? 0 : tiny.elements.size())
            << size; // the root is the last page
    }
}

TEST(RandomDamage, NeitherCrashesNorHangs)
{
    std::mt19937 random(7);
    for (int i = 0; i < 440; ++i) {
        std::string path = freshJob(i < 400 ? "tiny" : "mixed");
        std::string bytes = fileBytes(path);
        for (unsigned changes = 1 + random() % 8; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        writeBytes(path, bytes);
        readAll(path);
    }
}

// -- Records -----------------------------------------------------------------

std::string recordKey(const std::string& tag)
{
    std::string key = "   " + tag + "X";
    return key + std::string(39 - key.size(), ' ');
}

// The job of a curve and a profile named X, one of which has these entries for its data.
bool isReadable(uint32_t kind, const std::vector<std::string>& data)
{
    std::vector<std::string> entries = {rawEntry(1, recordKey("CUR"), 1),
                                        rawEntry(1, recordKey("PD2"), 1),
                                        rawEntry(1, recordKey("PH2"), 2)};
    entries.insert(entries.end(), data.begin(), data.end());
    std::string path = writeJob(rawJob(entries));
    std::string bytes = fileBytes(path);
    Elements elements = readAll(path);
    EXPECT_EQ(fileBytes(path), bytes);
    return elements.contains({kind, "X"});
}

std::string curveImage(const std::string& items, const std::string& tag = "CUR")
{
    return rawImage(std::string("DNN\0SNN\0SNN\0SNN\0", 16),
                    '\2' + rawNumber(0, 2) + recordKey(tag) + '\0' + items);
}

bool curveIsReadable(const std::string& image)
{
    return isReadable(ELEMENT_CURVE, {rawEntry(19, "", 1, image)});
}

bool blockIsReadable(int storedLength, size_t length)
{
    std::string block;
    for (int i = 1; i <= 100; ++i) {
        double station = 10.0 * i;
        block += rawNumber(i, 8) + bytesOf(&station) + rawNumber(0, 8);
    }
    std::string image =
        rawImage(std::string("SSD\1SSD\2BNN\0", 12),
                 '\x13' + rawNumber(0, 2) + recordKey("PD2") + '\0' + rawNumber(1, 2) + '\0' +
                     rawNumber(2, 2) + rawNumber(storedLength, 2) +
                     (block + "x").substr(0, length) + END_MARK);
    std::vector<std::string> segments;
    for (size_t at = 0; at < image.size(); at += 247) {
        int last = at + 247 >= image.size() ? 128 : 0;
        segments.push_back(
            rawEntry(19, "", 1, image.substr(at, 247), static_cast<int>(at / 247) | last));
    }
    return isReadable(ELEMENT_PROFILE, segments);
}

TEST(DamagedImages, AreRefused)
{
    const std::string text = rawNumber(26, 2) + "text";
    EXPECT_TRUE(curveIsReadable(curveImage(text + '\0' + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(text + '\0')));
    EXPECT_FALSE(curveIsReadable(curveImage(text + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(text)));
    EXPECT_FALSE(curveIsReadable(curveImage(rawNumber(-2, 2) + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(rawNumber(36, 2) + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(rawNumber(1, 2) + "1234" + END_MARK)));
    EXPECT_FALSE(curveIsReadable(curveImage(END_MARK, "LIN")));
    for (size_t length = 0; length < 8; ++length) {
        EXPECT_FALSE(curveIsReadable(curveImage(END_MARK).substr(0, length))) << length;
    }
}

TEST(DamagedPointBlocks, AreRefused)
{
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
    std::string image = curveImage(rawNumber(26, 2) + std::string(200, 't') + '\0' + END_MARK);
    auto segment = [&](size_t at, size_t length, int byte) {
        return rawEntry(19, "", 1, image.substr(at, length), byte);
    };
    std::vector<std::string> endless;
    for (int ordinal = 0; ordinal < 128; ++ordinal) {
        endless.push_back(rawEntry(19, "", 1, std::string(200, 's'), ordinal));
    }
    EXPECT_TRUE(isReadable(ELEMENT_CURVE, {segment(0, 100, 0), segment(100, 200, 129)}));
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, {segment(0, 100, 0), segment(100, 200, 130)}));
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, {segment(0, 100, 0), segment(100, 200, 1)}));
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, endless));
    endless[127] = rawEntry(19, "", 1, "s", 255); // a record of 25401 bytes
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, endless));
    endless.push_back(rawEntry(19, "", 2, image, 0)); // not its last one
    endless[127] = rawEntry(19, "", 1, "s", 127);
    EXPECT_FALSE(isReadable(ELEMENT_CURVE, endless));
}

TEST(OverlongKeys, AreRefusedOrCut)
{
    Elements elements = readAll(writeJob(rawJob({rawEntry(5, std::string(101, 'A'), 1)})));
    EXPECT_TRUE(elements.empty());
    for (int length : {102, 200, 248}) {
        IdxConnection* job = nullptr;
        std::string path =
            writeJob(rawJob({rawEntry(5, std::string(static_cast<size_t>(length), 'A'), 1)}));
        EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_ERROR) << length;
    }
}

TEST(ManyContinuations, AreWalkedOver)
{
    std::vector<std::string> entries;
    for (int i = 0; i < 100000; ++i) {
        std::string key = "   CHA" + std::to_string(100000 + i) + "{01}";
        entries.push_back(rawEntry(1, key + std::string(39 - key.size(), ' '), 1));
    }
    EXPECT_TRUE(readAll(writeJob(rawJob(entries))).empty());
}

// -- Below the exports -------------------------------------------------------

TEST(DamagedLockEntries, LockNothing)
{
    std::vector<std::string> entries = {rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, "abc")};
    for (const std::string& holder :
         {std::string("abc"), rawNumber(INT32_MIN, 4), rawNumber(128, 4)}) {
        entries[1] = rawEntry(17, "\5K", 1, holder);
        std::string path = writeJob(rawJob(entries));
        IndexFile file = {};
        ASSERT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
        EXPECT_EQ(ixFindFirst(&file, 5, nullptr, 0), IX_OK);
        EXPECT_EQ(ixLockRecord(&file, 5), IX_OK);
        EXPECT_EQ(ixClose(&file), IX_OK);
    }
}

TEST(SequenceCounter, EndsAtItsLimit)
{
    std::string path = writeEmptyJob(0);
    for (int32_t counter : {INT32_MAX, INT32_MIN, -1}) {
        poke32(path, 24, counter);
        IndexFile file = {};
        ASSERT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
        EXPECT_EQ(ixNextSequence(&file), IX_SHORT_WRITE);
        EXPECT_EQ(file.sequenceCounter, counter);
        EXPECT_EQ(ixClose(&file), IX_OK);
    }
}

// A chain of segments without a last one, over leaves that follow each other in a circle.
TEST(DeletionInACircle, Ends)
{
    std::string job = emptyJob(1).replace(18, 2, rawNumber(2, 2)).substr(0, 1024);
    job += rawPage(0, 1, rawEntry(19, "", 1, "data", 0), 1, -1, 0) + rawPage(0, 0, "", 1, 0, 0);
    for (char mode : {OPEN_SHARED, OPEN_EXCLUSIVE}) {
        IndexFile file = {};
        ASSERT_EQ(ixOpen(&file, writeJob(job).c_str(), mode), IX_OK);
        EXPECT_NE(ixDelete(&file, 19, "", 1), IX_OK);
        EXPECT_EQ(ixClose(&file), IX_OK);
    }
}

TEST(TreeOfTwentyLevels, GetsNoOtherRoot)
{
    std::string job = emptyJob(0).substr(0, 1024);
    std::string full;
    for (int i = 0; i < 10; ++i) {
        full += rawEntry(3, "K" + std::string(90, static_cast<char>('a' + i)), 1);
    }
    job += rawPage(0, 10, full, -1, -1, 0);
    for (int level = 1; level < 20; ++level) {
        job += rawPage(level, 0, "", -1, -1, level - 1);
    }
    job.replace(2, 2, rawNumber(19, 2)).replace(14, 2, rawNumber(20, 2));
    job.replace(18, 2, rawNumber(20, 2)).replace(30, 2, rawNumber(20, 2));
    std::string path = writeJob(job);
    IndexFile file = {};
    ASSERT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
    EXPECT_EQ(ixFind(&file, 3, "Ka", 0, nullptr, 0), IX_GREATER_KEY);
    EXPECT_EQ(ixAdd(&file, 3, std::string(90, 'L').c_str(), 1, nullptr, 0), IX_SHORT_WRITE);
    EXPECT_EQ(ixClose(&file), IX_OK);
    EXPECT_EQ(fileBytes(path).substr(1024), job.substr(1024));
}

} // namespace
