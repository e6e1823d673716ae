// Records whose texts are as long as their fields let them be come back whole.
#include "tests/support/command.h"
#include "tests/support/new_job.h"
#include "tests/support/os_faulty.h"

#include <algorithm>
#include <cstring>

namespace
{

struct Text {
    char* text;
    size_t length; // in the file, its terminator included
};

void fill(std::initializer_list<Text> texts)
{
    for (const Text& each : texts) {
        memset(each.text, 'x', each.length - 1);
    }
}

const std::string NAME(15, 'N');
const std::string FEATURE(37, 'x');
std::string repeated(const std::string& text, int times)
{
    return times > 0 ? text + repeated(text, times - 1) : "";
}
const std::string MEMBERS = repeated("1 ", 1249) + "1"; // the last one is the last character
const std::string LONGEST_POINT = "ABCDEFGHIJKLMN1";

void writeFullRecords(JobWriter* job)
{
    PointRecord point = {};
    fill({{point.setText, 30}, {point.firstNote, 256}, {point.longText, 1000}});
    fill({{point.secondNote, 256}, {point.codeText, 10}, {point.texts[0], 250}});
    fill({{point.texts[1], 250}, {point.texts[2], 250}, {point.texts[3], 250}});
    point.numbers[0] = 12345678;
    SurveyChainRecord surveyChain = {};
    fill({{surveyChain.setText, 30}, {surveyChain.note, 256}});
    CurveResult curve = {};
    fill(
        {{curve.textA, 250}, {curve.textB, 250}, {curve.secondaryCode, 25}, {curve.noteText, 257}});
    fill({{curve.label1, 17}, {curve.label2, 17}, {curve.label3, 17}, {curve.label4, 17}});
    SpiralResult spiral = {};
    fill({{spiral.textA, 250},
          {spiral.secondaryCode, 25},
          {spiral.noteText, 257},
          {spiral.label1, 17}});
    ChainResult chain = {};
    fill({{chain.secondaryCode, 25}, {chain.noteText, 257}});
    // A line has the first eleven characters of its points' names, its extension the rest.
    ExtensionResult extension = {};
    fill({{extension.secondaryCode, 24}, {extension.noteText, 256}});
    strcpy(extension.longText, "LMN1");
    strcpy(extension.shortText, "LMN1");
    LineResult line = {};
    LONGEST_POINT.copy(line.beginPointName, 11);
    LONGEST_POINT.copy(line.endPointName, 11);
    const ProfileEntry entries[] = {{1, 0, 0}, {2, 10, 1}};

    const char* name = NAME.c_str();
    EXPECT_EQ(addPoint(job, "1", point, FEATURE.c_str()), IX_OK);
    EXPECT_EQ(addPoint(job, LONGEST_POINT.c_str(), {}), IX_OK);
    EXPECT_EQ(addSurveyChain(job, name, surveyChain, repeated("1,", 1250), FEATURE.c_str()), IX_OK);
    EXPECT_EQ(addCurve(job, name, curve), IX_OK);
    EXPECT_EQ(addSpiral(job, name, spiral), IX_OK);
    EXPECT_EQ(addLine(job, name, line, &extension), IX_OK);
    EXPECT_EQ(addProfile(job, name, entries, 2, &extension), IX_OK);
    EXPECT_EQ(addChain(job, name, MEMBERS + " 1", chain), IX_OK);
    EXPECT_EQ(addOlderChain(job, "OLDER", MEMBERS, chain), IX_OK);
}

TEST(FullRecords, ComeBackWhole)
{
    NewJob made;
    writeFullRecords(&made.writer);
    IdxConnection* job = made.connect();
    // How many characters all texts of an element have together, but for its name.
    const struct {
        uint32_t kind;
        std::string name;
        size_t size; // of its beginning, which holds them
        long characters;
        size_t members = 0;
    } rows[] = {{ELEMENT_POINT, "1", sizeof(PointElement), 29 + 24 + 255 + 999 + 4 * 249},
                {ELEMENT_SURVEY_CHAIN, NAME, offsetof(SurveyChainElement, points), 29 + 24 + 255},
                {ELEMENT_CURVE, NAME, sizeof(CurveElement), 249 + 249 + 24 + 256},
                {ELEMENT_SPIRAL, NAME, sizeof(SpiralElement), 249 + 24 + 256},
                {ELEMENT_LINE, NAME, sizeof(LineElement), 23 + 255},
                {ELEMENT_PROFILE, NAME, offsetof(ProfileElement, vertices), 23 + 255},
                {ELEMENT_CHAIN, NAME, offsetof(ChainElement, firstMember), 24 + 256, 1251},
                {ELEMENT_CHAIN, "OLDER", offsetof(ChainElement, firstMember), 24 + 256, 1250}};
    for (const auto& row : rows) {
        Element element(job, row.kind, row.name);
        ASSERT_TRUE(element) << row.name;
        const char* bytes = element.as<char>();
        EXPECT_EQ(std::count(bytes, bytes + row.size, 'x'), row.characters) << row.kind;
        size_t members = 0;
        auto member = row.members > 0 ? element.as<ChainElement>()->firstMember : nullptr;
        for (; member != nullptr; member = member->next) {
            ++members;
        }
        EXPECT_EQ(members, row.members) << row.name;
    }
}

// An array has room for as many items as are counted, and for one at least.
template <typename Item> bool hasRoomFor(int32_t count, const Item* items)
{
    return blockSizes[items] == sizeof(Item) * static_cast<size_t>(std::max(count, 1));
}

TEST(Arrays, AreAsLargeAsWhatTheyHold)
{
    Connection job(freshJob("mixed"));
    for (const std::string& name : namesOf(job, ELEMENT_PROFILE)) {
        Element element(job, ELEMENT_PROFILE, name);
        auto* read = element.as<ProfileElement>();
        EXPECT_TRUE(!element || hasRoomFor(read->vertexCount, read->vertices)) << name;
    }
    for (const std::string& name : namesOf(job, ELEMENT_SURVEY_CHAIN)) {
        Element element(job, ELEMENT_SURVEY_CHAIN, name);
        auto* read = element.as<SurveyChainElement>();
        EXPECT_TRUE(!element || hasRoomFor(read->pointCount, read->points)) << name;
    }
}

} // namespace
