// Damaged files through the exports: they refuse, or answer what is right; they never
// crash, never go on for ever, and leave the file alone.
#include "engine/engine.h"
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/raw_job.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <map>
#include <random>

namespace
{

constexpr int MOST_STEPS = 1000; // of a walk over a file with fewer elements
const std::string END_MARK = rawNumber(-1, 2);

// The bytes of a point, curve or spiral, which are right or not handed out at all, but for
// a feature text that cannot be read.
std::string contentOf(uint32_t kind, void* element)
{
    const size_t sizes[] = {sizeof(PointElement), 0, sizeof(CurveElement), sizeof(SpiralElement)};
    if (kind == ELEMENT_POINT) memset(static_cast<PointElement*>(element)->featureText, 0, 25);
    return kind > ELEMENT_SPIRAL ? "" : std::string(static_cast<char*>(element), sizes[kind]);
}

using Elements = std::map<std::pair<uint32_t, std::string>, std::string>; // by kind and name

// Every kind walked, counted, and read by the names of the list.
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
        for (const std::string& name : namesOf(job, kind)) {
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
    std::string path = freshDirectory() + "/job.orv";
    writeBytes(path, bytes);
    return path;
}

// A job in which reading writes nothing.
struct Tiny {
    std::string path = freshJob("tiny");
    const std::string sound = fileBytes(path);
    const Elements elements = readAll(path);

    // Answers how many elements can still be read.
    size_t readDamaged(const std::string& damaged)
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
    size_t readWith(long offset, int value, int width)
    {
        SCOPED_TRACE(testing::Message() << "offset " << offset << " value " << value);
        size_t at = static_cast<size_t>(offset);
        size_t length = static_cast<size_t>(width);
        return readDamaged(std::string(sound).replace(at, length, rawNumber(value, width)));
    }
};

TEST(DamagedFile, IsRefusedWhenHeaderOrRootIsImpossible)
{
    Tiny tiny;
    const std::vector<int> impossible[] = {{2, -32768, -1, 0, 8, 10, 32767}, // root page
                                           {14, -1, 0, 1, 3, 20, 21, 32767}, // height
                                           {18, -1, 0, 9, 14, 32767},        // next free page
                                           {30, -32768, -1, 0, 9}};          // pages in file
    for (const std::vector<int>& row : impossible) {
        for (size_t i = 1; i < row.size(); ++i) {
            EXPECT_EQ(tiny.readWith(row[0], row[i], 2), 0U) << row[i];
        }
    }
    for (size_t size : {0, 1, 39, 40, 1023, 1024, 1025, 6000, 11263, 11264, 14335}) {
        // The root is the last page that is used.
        size_t readable = size < 11264 ? 0 : tiny.elements.size();
        EXPECT_EQ(tiny.readDamaged(tiny.sound.substr(0, size)), readable) << size;
    }
    EXPECT_EQ(tiny.elements.size(), 24U);
}

TEST(DamagedFile, IsReadRightAsFarAsItsPagesAllow)
{
    Tiny tiny;
    for (int page = 0; page < 10; ++page) {
        for (int value : {-1, 0, 1, page, 10, 20, 32767}) {
            for (int field = 0; field < 12; field += 2) {
                tiny.readWith(pageAt(page) + field, value, 2);
            }
        }
        for (int length : {0, 1, 6, 7, 46, 255}) {
            tiny.readWith(pageAt(page) + 12, length, 1);
        }
    }
}

TEST(DamagedFile, WithRandomBytesEndsNobody)
{
    std::mt19937 random(7);
    for (int i = 0; i < 312; ++i) {
        std::string path = freshJob(i < 300 ? "tiny" : "mixed");
        std::string bytes = fileBytes(path);
        for (unsigned changes = 1 + random() % 8; changes > 0; --changes) {
            bytes[random() % bytes.size()] = static_cast<char>(random());
        }
        writeBytes(path, bytes);
        readAll(path);
    }
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
    std::vector<std::string> entries = {rawEntry(1, recordKey("CUR"), 1),
                                        rawEntry(1, recordKey("PD2"), 1),
                                        rawEntry(1, recordKey("PH2"), 2)};
    entries.insert(entries.end(), data.begin(), data.end());
    return readAll(writeJob(rawJob(entries))).contains({kind, "X"});
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
    EXPECT_TRUE(readAll(writeJob(rawJob(continuations))).empty());
}

// -- Below the exports -------------------------------------------------------

struct OpenedJob {
    IndexFile file = {};

    explicit OpenedJob(const std::string& bytes, char mode = OPEN_SHARED)
    {
        EXPECT_EQ(ixOpen(&file, writeJob(bytes).c_str(), mode), IX_OK);
    }
    ~OpenedJob() { EXPECT_EQ(ixClose(&file), IX_OK); }
};

TEST(DamagedEntries, LockNothingAndEndNoDeletion)
{
    for (const std::string& holder :
         {std::string("abc"), rawNumber(INT32_MIN, 4), rawNumber(128, 4)}) {
        OpenedJob job(rawJob({rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, holder)}));
        EXPECT_EQ(ixFindFirst(&job.file, 5, nullptr, 0), IX_OK);
        EXPECT_EQ(ixLockRecord(&job.file, 5), IX_OK);
    }
    // Segments without a last one, in leaves that follow each other in a circle.
    std::string bytes = emptyJob(1).replace(18, 2, rawNumber(2, 2)).substr(0, 1024) +
                        rawPage(0, 1, rawEntry(19, "", 1, "data", 0), 1, -1, 0) +
                        rawPage(0, 0, "", 1, 0, 0);
    for (char mode : {OPEN_SHARED, OPEN_EXCLUSIVE}) {
        OpenedJob job(bytes, mode);
        EXPECT_NE(ixDelete(&job.file, 19, "", 1), IX_OK);
    }
}

TEST(Limits, AreNotExceeded)
{
    for (int32_t counter : {INT32_MAX, INT32_MIN, -1}) {
        OpenedJob job(emptyJob(0).replace(24, 4, rawNumber(counter, 4)));
        int32_t number = 0;
        EXPECT_EQ(ixNextSequence(&job.file, &number), IX_SHORT_WRITE);
        EXPECT_EQ(job.file.file.header.sequenceCounter, counter);
    }
    // More room in the leaf than there is.
    std::string entry = rawEntry(3, "a", 1, std::string(240, 0));
    IndexFile file = {};
    std::string lying = rawJob({entry}).replace(1024 + 4, 2, rawNumber(1012, 2));
    EXPECT_EQ(ixOpen(&file, writeJob(lying).c_str(), OPEN_SHARED), IX_PAGE_IO);
    // Twenty levels, and no room in the only leaf.
    std::string bytes = emptyJob(0).substr(0, 1024);
    bytes.replace(2, 2, rawNumber(19, 2)).replace(14, 2, rawNumber(20, 2));
    bytes.replace(18, 2, rawNumber(20, 2)).replace(30, 2, rawNumber(20, 2));
    bytes += rawPage(0, 3,
                     entry + rawEntry(3, "b", 1, bytes.substr(0, 240)) +
                         rawEntry(3, "c", 1, bytes.substr(0, 240)),
                     -1, -1, 0);
    for (int level = 1; level < 20; ++level) {
        bytes += rawPage(level, 0, "", -1, -1, level - 1);
    }
    OpenedJob job(bytes);
    EXPECT_EQ(ixAdd(&job.file, 3, "d", 1, bytes.data(), 240), IX_OK);
    EXPECT_EQ(ixAdd(&job.file, 3, "e", 1, bytes.data(), 240), IX_SHORT_WRITE);
    EXPECT_EQ(ixFind(&job.file, 3, "d", 1, nullptr, 0), IX_OK);
    EXPECT_EQ(job.file.file.header.height, 20);
}

} // namespace
