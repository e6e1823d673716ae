// The table of job files and the list of selections, command by command.
#include "api/orvIdx.h"
#include "jobdb/jobdb_state.h"
#include "tests/support/raw_job.h"

#include <gtest/gtest.h>

constexpr int32_t UNTOUCHED = 77;

// The slots' files, '.' for none, and the marks of their contexts.
static std::string tableContent()
{
    std::string content;
    for (const JobFileSlot& slot : jobdbState.table.slots) {
        EXPECT_EQ(slot.inUse == 1, slot.name[0] != 0);
        content += slot.inUse == 1 ? slot.name[0] : '.';
    }
    content += " ";
    for (const IndexFile& context : jobdbState.table.contexts) {
        content += static_cast<char>(context.number);
        for (const char* key : {context.key, static_cast<const char*>(context.keyBuffer[5])}) {
            EXPECT_TRUE(key == nullptr || key == context.keyBuffers[5]);
        }
    }
    return content;
}

TEST(JobFileTable, MovesContextsWithTheirFilesAndRemembersNames)
{
    for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
        jobdbState.table.contexts[slot].number = '0' + slot;
    }
    IndexFile* moved = &jobdbState.table.contexts[1];
    moved->key = moved->keyBuffer[5] = moved->keyBuffers[5];
    const struct {
        const char* command;
        const char* name;
        int answer;
        int32_t index;   // what is answered there
        int32_t current; // slot from then on
        const char* content;
        const char* told = nullptr; // what the name has become
    } steps[] = {
        {"INITIALIZE", "", 1, UNTOUCHED, -1, ".......... 0123456789"},
        {"CURRENT", "X", 1, -1, -1, ".......... 0123456789", ""},
        {"ADD_FILE", "A", 1, 0, 0, "A......... 0123456789"},
        {"REMOVE_FILE", "A", 1, 0, 0, ".......... 0123456789"},
        {"ADD_COGO_FILE", "A", 1, 0, 0, "A......... 0123456789"},
        {"ADD_COGO_FILE", "A", 2, 0, 0, "A......... 0123456789"},
        {"ADD_FILE", "B", 1, 1, 1, "AB........ 0123456789"},
        {"ADD_COGO_FILE", "B", 1, 0, 0, "BA........ 1023456789"}, // takes A's place
        {"ADD_FILE", "A", 1, 1, 1, "BA........ 1023456789"},
        {"CURRENT", "X", 1, 1, 1, "BA........ 1023456789", "A"},
        {"ADD_COGO_FILE", "C", 1, 0, 0, "CAB....... 1013456789"}, // B goes on in slot 2
        {"SET_FILE_TO_COGO", "A", 1, 0, 0, "ACB....... 0113456789"},
        {"SET_FILE_TO_COGO", "X", 1, -1, 0, "ACB....... 0113456789"},
        {"GET_FILE_NUMBER", "B", 1, 2, 2, "ACB....... 0113456789"},
        {"GET_FILE_NUMBER", "X", 1, -1, 2, "ACB....... 0113456789"},
        {"CURRENT_ALT", "X", 1, UNTOUCHED, 2, "ACB....... 0113456789", "B"},
        {"GET_OLD_FILE", "X", 1, UNTOUCHED, 2, "ACB....... 0113456789", "A"},
        {"GET_ALT", "X", 1, UNTOUCHED, 2, "ACB....... 0113456789", "B"},
        {"SET_FILE_TO_COGO", "A", 1, 0, 0, "ACB....... 0113456789"},
        {"REMOVE_FILE", "X", 1, -1, 0, "ACB....... 0113456789"},
        {"REMOVE_FILE", "A", 1, 0, 0, ".CB....... 0113456789"},
        {"SET_FILE_TO_COGO", "B", 1, 0, 0, "BC........ 1113456789"},
        {"GET_FILE_NUMBER", "C", 1, 1, 1, "BC........ 1113456789"},
        {"SET_COGO_FILE", "", 1, UNTOUCHED, 0, "BC........ 1113456789"},
        {"NOTHING", "X", 1, UNTOUCHED, 0, "BC........ 1113456789"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.command + std::string(" ") + step.name);
        int32_t index = UNTOUCHED;
        char name[512] = "";
        strcpy(name, step.name);
        EXPECT_EQ(jobFileCommand(&index, name, step.command), step.answer);
        EXPECT_STREQ(name, step.told != nullptr ? step.told : step.name);
        EXPECT_EQ(index, step.index);
        EXPECT_EQ(jobdbState.table.currentSlot, step.current);
        EXPECT_EQ(tableContent(), step.content);
    }
    for (int slot = 2; slot < JOB_FILE_SLOTS; ++slot) {
        std::string name(300, static_cast<char>('a' + slot));
        EXPECT_EQ(jobFileCommand(nullptr, name.data(), "ADD_FILE"), JOB_FILE_DONE);
        EXPECT_EQ(slotContext(0), &jobdbState.table.contexts[slot]);
        EXPECT_EQ(jobdbState.table.slots[slot].name, name.substr(0, 254));
    }
    const std::string full = tableContent();
    EXPECT_EQ(full, "BCcdefghij 1113456789");
    char other[] = "X";
    int32_t index = UNTOUCHED;
    for (const char* command : {"ADD_FILE", "ADD_COGO_FILE", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(jobFileCommand(&index, other, command), JOB_FILE_REFUSED);
    }
    EXPECT_EQ(jobFileCommand(&index, nullptr, "REMOVE_FILE"), JOB_FILE_REFUSED);
    for (int slot : {-1, JOB_FILE_SLOTS}) {
        for (auto move : {copyContextFromCogo, copyContextToCogo, swapContextWithCogo}) {
            EXPECT_EQ(move(slot), JOB_FILE_REFUSED);
            EXPECT_EQ(move(COGO_SLOT), JOB_FILE_DONE);
        }
        EXPECT_EQ(contextOfSlot(slot), &jobdbState.table.contexts[0]);
    }
    EXPECT_TRUE(index == UNTOUCHED && tableContent() == full);
    const IndexFile* contexts = jobdbState.table.contexts;
    EXPECT_EQ(contexts[0].key, contexts[0].keyBuffers[5]); // the mark '1' has come there
}

// What a command answers and the number it leaves.
static std::pair<int, int32_t> select(const char* command, int32_t number = UNTOUCHED,
                                      const char* text = nullptr)
{
    char copy[60] = "";
    if (text != nullptr) strcpy(copy, text);
    int answer = surveyIndexCommand(command, &number, text != nullptr ? copy : nullptr);
    return {answer, number};
}

static std::string selected(int number)
{
    char text[SELECTION_ROOM] = "";
    EXPECT_EQ(getSurveyKey(number, text), 0);
    return text;
}

TEST(Selections, AreCountedByGroupAndWalkedInOrder)
{
    using Answer = std::pair<int, int32_t>;
    EXPECT_EQ(select("SETKEY", ALL_SELECTIONS), Answer(0, ALL_SELECTIONS));
    EXPECT_EQ(select("GETFIRSTINDEX"), Answer(NO_SELECTION, 0));
    for (const char* text : {"12", "15"}) {
        EXPECT_EQ(setSurveyKey(7, text), 0);
        EXPECT_EQ(select("NUMPOINTINDEX").second, 1);
        EXPECT_EQ(selected(7), text);
    }
    for (int number : {4, 5, 8, 9, 12, 13, 14}) {
        setSurveyKey(number, "12345678901234567890123456789012345678901234567890");
    }
    EXPECT_EQ(select("NUMPOINTINDEX"), Answer(0, 3));
    EXPECT_EQ(select("NUMCHAININDEX"), Answer(0, 2));
    EXPECT_EQ(select("NUMRUNINDEX"), Answer(0, 1));
    EXPECT_EQ(selected(13).size(), 40U);
    EXPECT_EQ(selected(4) + selected(14) + selected(0) + selected(18), "");
    EXPECT_EQ(setSurveyKey(7, ""), 0);
    EXPECT_EQ(select("NUMPOINTINDEX").second, 2);
    EXPECT_EQ(select("GETFIRSTINDEX"), Answer(0, 5));
    for (int number : {8, 9, 12, 13}) {
        EXPECT_EQ(select("GETNEXTINDEX"), Answer(0, number));
    }
    EXPECT_EQ(select("GETNEXTINDEX"), Answer(NO_SELECTION, 0));
    EXPECT_EQ(select("SETKEY", ALL_SELECTIONS, "text").first, 1);
    EXPECT_EQ(select("NUMPOINTINDEX").second, 0);
    EXPECT_NE(selected(13), "");
    EXPECT_EQ(select("SETKEY", ALL_SELECTIONS).first, 0);
    EXPECT_EQ(selected(13), "");
}

TEST(Selections, RestrictTheWalkOverThePoints)
{
    std::string path =
        writeJob(rawJob({rawEntry(5, "A", 1), rawEntry(5, "B", 2), rawEntry(5, "C", 3),
                         rawEntry(7, "12", 1), rawEntry(7, "12", 3), rawEntry(7, "15", 2)}));
    IdxConnection* job = nullptr;
    ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    auto walk = [] {
        std::string numbers;
        for (int result = surveyFirstPoint(0); result == SURVEY_OK; result = surveyNextPoint(0)) {
            numbers += std::to_string(contextOfSlot(0)->currentRecordNumber);
        }
        return numbers;
    };
    EXPECT_EQ(walk(), "123");
    for (const auto& [text, numbers] :
         {std::pair("12", "13"), {"15", "2"}, {"1", ""}, {"", "123"}}) {
        setSurveyKey(POINT_NUMBER_INDEX, text);
        EXPECT_EQ(walk(), numbers) << text;
    }
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
}
