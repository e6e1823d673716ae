// Elements as hosts are given them: how large they may become, and what becomes of parts that
// cannot be had.
#include "tests/support/command.h"
#include "tests/support/new_job.h"
#include "tests/support/os_faulty.h"

#include <algorithm>
#include <cstring>

namespace
{

// -- Full records ------------------------------------------------------------

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
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
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
    strcpy(extension.longText, "LMN1\n");
    strcpy(extension.shortText, "LMN1\t ");
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

// Texts that are as long as their fields let them be.
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
    for (const std::string& name : namesOf(job, ELEMENT_CHAIN)) {
        Element element(job, ELEMENT_CHAIN, name);
        if (!element) continue;
        size_t size = sizeof(ChainElement);
        for (auto* at = element.as<ChainElement>()->firstMember; at != nullptr; at = at->next) {
            size += sizeof *at;
        }
        EXPECT_EQ(blockSizes[element.as<ChainElement>()], size) << name;
    }
}

// -- Parts -------------------------------------------------------------------

void add(NewJob& made, const char* chain, const std::string& description)
{
    EXPECT_EQ(addChain(&made.writer, chain, description, {}), IX_OK);
}

// The kinds of a chain's members in digits, and "?" with a member that is not resolved.
std::string kindsOf(IdxConnection* job, const char* chain)
{
    Element element(job, ELEMENT_CHAIN, chain);
    if (!element) return UNREADABLE;
    const ChainElement* read = element.as<ChainElement>();
    std::string kinds;
    for (auto member = read->firstMember; member != nullptr; member = member->next) {
        kinds += std::to_string(member->memberKind);
    }
    return kinds + (read->unresolvedMembers != 0 ? "?" : "");
}

TEST(Chain, IsNotReadWhenItsReferencesStandForTooMuch)
{
    NewJob made;
    add(made, "GAPS", repeated(" GAP", 2048)); // 8192 characters
    add(made, "FULL", repeated("CHA GAPS ", 15) + "CHA GAPS");
    add(made, "OVER", repeated("CHA GAPS ", 16) + "1");
    add(made, "FAR", repeated("CHA GAPS ", 1300));
    IdxConnection* job = made.connect();
    // The last word of all has no blank behind it and is no keyword.
    EXPECT_TRUE(kindsOf(job, "FULL") == repeated("8", 16 * 2048 - 1) + "?");
    EXPECT_EQ(kindsOf(job, "OVER"), UNREADABLE);
    EXPECT_EQ(kindsOf(job, "FAR"), UNREADABLE);
}

// The leaves of a file without branches follow one another: every search passes them all. Too many
// searches of this kind are the end of a call, one alone is not.
TEST(Detours, EndCallsThatTakeTooMany)
{
    NewJob made;
    for (int i = 1; i <= 600; ++i) {
        PointRecord point = {};
        copyText(point.longText, sizeof point.longText, repeated("x", 999).c_str());
        EXPECT_EQ(addPoint(&made.writer, std::to_string(i).c_str(), point), IX_OK);
    }
    add(made, "FAR", repeated("600 599 ", 1500));
    made.connect();
    EXPECT_TRUE(kindsOf(*made.job, "FAR") == repeated("0", 3000));
    poke16(made.path, 2, 0);  // the root is the first leaf
    poke16(made.path, 14, 1); // the only level
    IdxConnection* job = made.job.emplace(made.path);
    EXPECT_TRUE(Element(job, ELEMENT_POINT, "600"));
    EXPECT_EQ(kindsOf(job, "FAR"), UNREADABLE);
    EXPECT_EQ(namesOf(job, ELEMENT_POINT).size(), 600U);
    made.job.reset();

    std::vector<std::string> locks; // of another user; connecting looks at all of them
    for (int number = 1; number <= 60000; ++number) {
        locks.push_back(rawEntry(LOCK_INDEX, "", number, rawNumber(5, 4)));
    }
    const std::string path = writeJob(rawJob(locks));
    EXPECT_TRUE(Connection(path));
    poke16(path, 2, 0);
    poke16(path, 14, 1);
    EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_ERROR);
}

TEST(Chain, IsWhatItsWordsAndItsNameLetItBe)
{
    NewJob made;
    EXPECT_EQ(addPoint(&made.writer, "1", {}), IX_OK);
    const std::string endless(300, 'N');
    const std::tuple<const char*, std::string, const char*> chains[] = {
        {"NINETEENCHARACTERSX", " GAP SHIFT 1", "870"}, // continued by itself, if at all
        {"ENDS}", " SHIFT 1", "70"},
        {"BLANK", "  ", ""},
        {"REFERS", "GAP CHA BLANK SHIFT 1", "870"},
        {"LONG", "GAP CHA " + endless + " SHIFT 1", "870?"},
        {"LAST", "GAP CHA " + endless, "8?"},
        {"GROUP", "GAP SCS " + endless + " 1", "80?"},
        {"", "GAP 1", UNREADABLE}};
    for (const auto& [name, description, kinds] : chains) {
        add(made, name, description);
    }
    IdxConnection* job = made.connect();
    for (const auto& [name, description, kinds] : chains) {
        EXPECT_EQ(kindsOf(job, name), kinds) << name;
    }
    EXPECT_EQ(namesOf(job, ELEMENT_CHAIN).size(), std::size(chains));
}

TEST(Chain, TellsMissingReferencesAndPartsOfGroupsFromThoseThatCannotBeRead)
{
    NewJob made;
    EXPECT_EQ(addPoint(&made.writer, "1", {}), IX_OK);
    add(made, "LOST", " GAP GAP ");
    add(made, "REFERS", "GAP CHA LOST SHIFT 1");
    add(made, "MISSES", "GAP CHA NONE SHIFT 1");
    add(made, "GROUPS", "SCS MISSES 1 SCS LOSES GAP 1");
    EXPECT_EQ(addCurve(&made.writer, "MISSES", {}), IX_OK);
    add(made, "GROUP", "SCS MISSES 1");
    EXPECT_EQ(addSpiral(&made.writer, "LOSESA", {}), IX_OK);
    RecordFile* records = &made.writer.records;
    for (auto find : {findChain, findSpiral}) {
        ASSERT_EQ(find(records, find == findChain ? "LOST" : "LOSESA"), COGO_OK);
        ASSERT_EQ(ixDelete(&records->tree, DATA_INDEX, "", records->currentRecordNumber), IX_OK);
    }
    IdxConnection* job = made.connect();
    EXPECT_EQ(kindsOf(job, "MISSES"), "870");
    EXPECT_EQ(kindsOf(job, "REFERS"), "870?");
    EXPECT_EQ(kindsOf(job, "GROUP"), "20");
    EXPECT_EQ(kindsOf(job, "GROUPS"), "2080?");
}

// From any read of the file on, all fail. What has failed before is not asked for again,
// though it has hundreds of parts.
TEST(FailingReads, EndTheBuildingOfAnElement)
{
    NewJob made;
    std::string words;
    for (int i = 1; i <= 600; ++i) {
        words += " " + std::to_string(i * 7 % 601);
        EXPECT_EQ(addPoint(&made.writer, words.c_str() + words.rfind(' ') + 1, {}, "TREE"), IX_OK);
    }
    add(made, "CHAIN", words);
    std::string list = words.substr(1);
    std::replace(list.begin(), list.end(), ' ', ',');
    EXPECT_EQ(addSurveyChain(&made.writer, "LIST", {}, list), IX_OK);
    made.connect();
    for (bool chain : {true, false}) {
        int failures = 1;
        for (int first = 1; failures > 0; ++first) {
            IdxConnection* job = made.job.emplace(made.path);
            osFaults = {.call = OS_CALL_READ, .first = first, .lasting = true};
            Element element(job, chain ? ELEMENT_CHAIN : ELEMENT_SURVEY_CHAIN,
                            chain ? "CHAIN" : "LIST");
            failures = osFaults.failures;
            osFaults = {};
            EXPECT_EQ(failures == 0, bool(element)) << first;
            EXPECT_LT(failures, 10) << first;
        }
    }
}

} // namespace
