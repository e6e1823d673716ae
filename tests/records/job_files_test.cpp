// The table of job files, command by command, and the contexts that travel with the files.
#include "records/records_state.h"
#include "tests/support/command.h"

#include <gtest/gtest.h>

// What the whole table holds: a name for each slot in use, "-" for a free one, the numbers
// that mark the contexts, and the current slot. The room of a name behind it is zero.
static std::string tableState()
{
    auto text = [](const char* name) {
        std::string room(name, FILE_NAME_ROOM);
        room.erase(room.find_last_not_of('\0') + 1);
        return room.size() > 20 ? std::to_string(room.size()) : room;
    };
    const JobFileTable& table = recordsState.table;
    std::string names;
    std::string contexts = " ";
    for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
        const std::string name = text(table.slots[slot].name);
        names += (table.slots[slot].inUse == 0 ? "-" : name.empty() ? "_" : "") + name;
        contexts += std::to_string(contextOfSlot(slot)->recordTypeByte);
    }
    EXPECT_EQ(slotContext(), contextOfSlot(std::max(table.currentSlot, 0)));
    return names + contexts + " " + std::to_string(table.currentSlot) + " " +
           text(table.oldFileName) + "," + text(table.alternateFileName);
}

struct Row {
    std::string command; // and, behind a blank, the name that it is given
    int answer;          // 0: refused, 1: done, 2: it is the COGO file already
    int index;           // that it tells; UNTOLD is left alone
    std::string name;    // that it leaves in the buffer
    const char* state;
};

constexpr int UNTOLD = 77;
const std::string LONG(300, 'L'); // too long to be found again
const std::string CUT(254, 'L');

// clang-format off
const Row ROWS[] = {
    {"INITIALIZE x", 1, UNTOLD, "x", "---------- 0123456789 -1 ,"},
    {"CURRENT xyz", 1, -1, "", "---------- 0123456789 -1 ,"},
    {"ADD_FILE A", 1, 0, "A", "A--------- 0123456789 0 ,"},
    {"ADD_FILE B", 1, 1, "B", "AB-------- 0123456789 1 ,"},
    {"ADD_FILE C", 1, 2, "C", "ABC------- 0123456789 2 ,"},
    {"add_file D", 1, UNTOLD, "D", "ABC------- 0123456789 2 ,"},
    {"ADD_FILE", 0, UNTOLD, "", "ABC------- 0123456789 2 ,"},
    {"ADD_FILE A", 1, 0, "A", "ABC------- 0123456789 0 ,"},
    {"CURRENT", 1, 0, "", "ABC------- 0123456789 0 A,"},
    {"CURRENT_ALT x", 1, UNTOLD, "A", "ABC------- 0123456789 0 A,A"},
    {"GET_FILE_NUMBER B", 1, 1, "B", "ABC------- 0123456789 1 A,A"},
    {"GET_FILE_NUMBER Z", 1, -1, "Z", "ABC------- 0123456789 1 A,A"},
    {"GET_FILE_NUMBER", 1, 1, "", "ABC------- 0123456789 1 A,A"},
    {"GET_ALT x", 1, UNTOLD, "A", "ABC------- 0123456789 1 A,A"},
    {"CURRENT x", 1, 1, "B", "ABC------- 0123456789 1 B,A"},
    {"GET_OLD_FILE xyz", 1, UNTOLD, "B", "ABC------- 0123456789 1 B,A"},
    {"REMOVE_FILE Z", 1, -1, "Z", "ABC------- 0123456789 1 B,A"},
    {"REMOVE_FILE A", 1, 0, "A", "-BC------- 0123456789 1 B,A"},
    {"SET_FILE_TO_COGO Z", 1, -1, "Z", "-BC------- 0123456789 1 B,A"},
    {"SET_FILE_TO_COGO C", 1, 0, "C", "CB-------- 2123456789 0 B,A"},
    {"ADD_FILE D", 1, 2, "D", "CBD------- 2123456789 2 B,A"},
    {"SET_FILE_TO_COGO B", 1, 0, "B", "BCD------- 1223456789 0 B,A"},
    {"GET_FILE_NUMBER D", 1, 2, "D", "BCD------- 1223456789 2 B,A"},
    {"SET_FILE_TO_COGO B", 1, 0, "B", "BCD------- 1223456789 0 B,A"},
    {"GET_FILE_NUMBER D", 1, 2, "D", "BCD------- 1223456789 2 B,A"},
    {"ADD_COGO_FILE B", 2, 0, "B", "BCD------- 1223456789 0 B,A"},
    {"ADD_COGO_FILE D", 1, 0, "D", "DCB------- 2213456789 0 B,A"},
    {"GET_FILE_NUMBER C", 1, 1, "C", "DCB------- 2213456789 1 B,A"},
    {"ADD_COGO_FILE E", 1, 0, "E", "ECBD------ 2212456789 0 B,A"},
    {"ADD_FILE " + CUT, 1, 4, CUT, "ECBD254----- 2212456789 4 B,A"},
    {"ADD_FILE " + LONG, 1, 5, LONG, "ECBD254254---- 2212456789 5 B,A"},
    {"ADD_FILE " + LONG, 1, 6, LONG, "ECBD254254254--- 2212456789 6 B,A"},
    {"REMOVE_FILE D", 1, 3, "D", "ECB-254254254--- 2212456789 6 B,A"},
    {"SET_FILE_TO_COGO ", 1, 0, "", "_CBE254254254--- 2212456789 0 B,A"},
    {"ADD_COGO_FILE E", 1, 0, "E", "ECB_254254254--- 2212456789 0 B,A"},
    {"REMOVE_FILE ", 1, 3, "", "ECB-254254254--- 2212456789 0 B,A"},
    {"ADD_COGO_FILE ", 1, 0, "", "_CBE254254254--- 2212456789 0 B,A"},
    {"ADD_FILE F", 1, 7, "F", "_CBE254254254F-- 2212456789 7 B,A"},
    {"ADD_FILE G", 1, 8, "G", "_CBE254254254FG- 2212456789 8 B,A"},
    {"ADD_FILE H", 1, 9, "H", "_CBE254254254FGH 2212456789 9 B,A"},
    {"ADD_FILE I", 0, UNTOLD, "I", "_CBE254254254FGH 2212456789 9 B,A"},
    {"ADD_COGO_FILE I", 0, UNTOLD, "I", "_CBE254254254FGH 2212456789 9 B,A"},
    {"SET_COGO_FILE", 1, UNTOLD, "", "_CBE254254254FGH 2212456789 0 B,A"},
    {"CURRENT", 1, 0, "", "_CBE254254254FGH 2212456789 0 ,A"},
    {"REMOVE_FILE H", 1, 9, "H", "_CBE254254254FG- 2212456789 0 ,A"},
    {"ADD_FILE I", 1, 9, "I", "_CBE254254254FGI 2212456789 9 ,A"},
    {"INITIALIZE", 1, UNTOLD, "", "---------- 2212456789 -1 ,A"},
    {"ADD_COGO_FILE A", 1, 0, "A", "A--------- 2212456789 0 ,A"},
};
// clang-format on

TEST(JobFileTable, IsAfterEachCommandAsItShouldBe)
{
    for (bool takesIndex : {true, false}) {
        recordsState = {};
        for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
            recordsState.table.contexts[slot].recordTypeByte = static_cast<uint8_t>(slot);
        }
        for (const Row& row : ROWS) {
            SCOPED_TRACE(row.command);
            const size_t blank = row.command.find(' ');
            const bool hasName = blank != std::string::npos;
            std::string buffer = hasName ? row.command.substr(blank + 1) + '\0' : "";
            buffer.resize(FILE_NAME_ROOM, '?'); // what lies behind the name is left alone
            std::string left = buffer;
            if (hasName) left.replace(0, row.name.size() + 1, row.name + '\0');
            int32_t index = UNTOLD;
            int answer =
                jobFileCommand(takesIndex ? &index : nullptr, hasName ? buffer.data() : nullptr,
                               row.command.substr(0, blank).c_str());
            EXPECT_EQ(answer, row.answer);
            EXPECT_EQ(index, takesIndex ? row.index : UNTOLD);
            EXPECT_EQ(buffer, left);
            EXPECT_EQ(tableState(), row.state);
        }
    }
    EXPECT_EQ(jobFileCommand(nullptr, nullptr, nullptr), JOB_FILE_REFUSED);
    for (auto move : {copyContextFromCogo, copyContextToCogo, swapContextWithCogo}) {
        EXPECT_EQ(move(-1) + move(JOB_FILE_SLOTS), 2 * JOB_FILE_REFUSED);
        EXPECT_EQ(move(COGO_SLOT), JOB_FILE_DONE);
    }
    recordsState = {};
}

static int openAsCogoFile(const std::string& path)
{
    static uint8_t recordBuffer[16384];
    std::string name = path;
    EXPECT_NE(jobFileCommand(nullptr, name.data(), "ADD_COGO_FILE"), JOB_FILE_REFUSED);
    return recordOpen(slotContext(), path.c_str(), recordBuffer, sizeof recordBuffer, OPEN_SHARED);
}

// A file has one context, which opens no second one: else the first would stay open for good.
TEST(JobFileTable, OpensAFileBesideTheFormerCogoFile)
{
    const std::string first = freshJob("tiny");
    const std::string second = freshJob("mixed");
    ASSERT_EQ(openAsCogoFile(first), IX_OK);
    EXPECT_EQ(openAsCogoFile(first), IX_OPEN_FAILED);
    ASSERT_EQ(openAsCogoFile(second), IX_OK);
    for (int slot : {0, 1}) {
        EXPECT_EQ(ixFindFirst(&contextOfSlot(slot)->tree, 5, nullptr, 0), IX_OK) << slot;
    }
    EXPECT_EQ(openAsCogoFile(freshJob("tiny")), IX_OK);
    EXPECT_EQ(jobFileCommand(nullptr, std::string(second).data(), "SET_FILE_TO_COGO"),
              JOB_FILE_DONE);
    for (int slot : {0, 1, 2}) {
        EXPECT_EQ(recordClose(contextOfSlot(slot)), IX_OK) << slot;
        EXPECT_EQ(recordClose(contextOfSlot(slot)), IX_NOT_OPEN) << slot;
    }
    for (const std::string& path : {first, second}) {
        IndexFile file = {};
        EXPECT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
        EXPECT_EQ(file.file.sharing.userSlot, 0) << "a slot was left behind";
        EXPECT_EQ(ixClose(&file), IX_OK);
    }
    recordsState = {};
}
