// The table of job files against a plain model: random commands, and after each of them
// everything compared that the table holds.
#include "records/records_state.h"
#include "tests/support/command.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace
{

struct Model {
    int inUse[JOB_FILE_SLOTS] = {};
    std::string names[JOB_FILE_SLOTS];
    int contexts[JOB_FILE_SLOTS] = {}; // by the numbers that mark them
    int current = -1;
    std::string old;
    std::string alternate;
};

// What a command is given, and what it leaves there.
struct Call {
    const char* command;
    std::string name; // a file, or what the buffer for one holds
    bool hasName;
    int index;
};

} // namespace

template <typename Item>
static int indexOf(const Item (&items)[JOB_FILE_SLOTS], const Item& item, int first = 0)
{
    auto found = std::find(items + first, std::end(items), item);
    return found == std::end(items) ? -1 : static_cast<int>(found - items);
}

static int makeCurrent(Model& model, Call& call, int slot)
{
    call.index = model.current = slot;
    return JOB_FILE_DONE;
}

static void occupy(Model& model, int slot, const std::string& name)
{
    model.inUse[slot] = 1;
    model.names[slot] = name.substr(0, 254);
}

static void vacate(Model& model, int slot)
{
    model.inUse[slot] = 0;
    model.names[slot] = "";
}

static void exchangeWithCogo(Model& model, int slot)
{
    std::swap(model.names[0], model.names[slot]);
    std::swap(model.contexts[0], model.contexts[slot]);
    model.inUse[0] = model.inUse[slot] = 1;
}

static int addFile(Model& model, Call& call)
{
    int slot = indexOf(model.names, call.name);
    if (slot >= 0) return makeCurrent(model, call, slot);
    slot = indexOf(model.inUse, 0);
    if (slot < 0) return JOB_FILE_REFUSED;
    occupy(model, slot, call.name);
    return makeCurrent(model, call, slot);
}

static int addCogoFile(Model& model, Call& call)
{
    int slot = indexOf(model.names, call.name);
    if (slot > 0) {
        exchangeWithCogo(model, slot);
    } else if (slot < 0) {
        int next = indexOf(model.inUse, 0, 1);
        if (model.inUse[0] == 1 && next < 0) return JOB_FILE_REFUSED;
        if (model.inUse[0] == 1) {
            occupy(model, next, model.names[0]);
            model.contexts[next] = model.contexts[0];
        }
        occupy(model, 0, call.name);
    }
    makeCurrent(model, call, 0);
    return slot == 0 ? JOB_FILE_ALREADY_COGO : JOB_FILE_DONE;
}

static int setFileToCogo(Model& model, Call& call)
{
    int slot = call.index = indexOf(model.names, call.name);
    if (slot < 0) return JOB_FILE_DONE;
    if (slot > 0 && model.inUse[0] == 1) {
        exchangeWithCogo(model, slot);
    } else if (slot > 0) {
        occupy(model, 0, model.names[slot]);
        vacate(model, slot);
        model.contexts[0] = model.contexts[slot];
    }
    return makeCurrent(model, call, 0);
}

static int run(Model& model, Call& call)
{
    std::string command = call.command;
    std::string currentName = model.current < 0 ? "" : model.names[model.current];
    if (command == "ADD_FILE") return addFile(model, call);
    if (command == "ADD_COGO_FILE") return addCogoFile(model, call);
    if (command == "SET_FILE_TO_COGO") return setFileToCogo(model, call);
    if (command == "REMOVE_FILE") {
        call.index = indexOf(model.names, call.name);
        if (call.index >= 0) vacate(model, call.index);
    }
    if (command == "INITIALIZE") {
        for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
            vacate(model, slot);
        }
        model.current = -1;
    }
    if (command == "SET_COGO_FILE") model.current = 0;
    if (command == "GET_FILE_NUMBER") {
        call.index = call.hasName ? indexOf(model.names, call.name) : model.current;
        if (call.index >= 0) model.current = call.index;
    }
    if (command == "CURRENT") {
        call.name = model.old = currentName;
        call.index = model.current;
    }
    if (command == "CURRENT_ALT") call.name = model.alternate = currentName;
    if (command == "GET_ALT") call.name = model.alternate;
    if (command == "GET_OLD_FILE") call.name = model.old;
    return JOB_FILE_DONE;
}

// Marks each context by a number.
static void markContexts(Model& model)
{
    for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
        recordsState.table.contexts[slot].recordTypeByte = static_cast<uint8_t>(slot);
        model.contexts[slot] = slot;
    }
}

static std::string padded(std::string name)
{
    name.resize(FILE_NAME_ROOM);
    return name;
}

static void expectState(const Model& model)
{
    const JobFileTable& table = recordsState.table;
    auto text = [](const char* name) { return std::string(name, FILE_NAME_ROOM); };
    for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
        EXPECT_EQ(text(table.slots[slot].name), padded(model.names[slot]));
        EXPECT_EQ(table.slots[slot].inUse, model.inUse[slot]);
        EXPECT_EQ(contextOfSlot(slot)->recordTypeByte, model.contexts[slot]);
    }
    EXPECT_EQ(table.currentSlot, model.current);
    EXPECT_EQ(slotContext(), contextOfSlot(std::max(model.current, 0)));
    EXPECT_EQ(text(table.oldFileName), padded(model.old));
    EXPECT_EQ(text(table.alternateFileName), padded(model.alternate));
}

static int expectAnswer(Model& model, Call call, bool takesIndex)
{
    std::string buffer = padded(call.name);
    std::string expected = buffer;
    int32_t index = 77;
    int answer = jobFileCommand(takesIndex ? &index : nullptr,
                                call.hasName ? buffer.data() : nullptr, call.command);
    EXPECT_EQ(answer, run(model, call));
    EXPECT_EQ(index, takesIndex ? call.index : 77);
    // Bytes behind the name are left alone.
    if (call.hasName) expected.replace(0, call.name.size() + 1, call.name + '\0');
    EXPECT_EQ(buffer, expected);
    return answer;
}

TEST(JobFileTable, DoesWhatAPlainModelDoes)
{
    const char* const commands[] = {"CURRENT",          "CURRENT_ALT",   "GET_ALT",
                                    "GET_FILE_NUMBER",  "GET_OLD_FILE",  "ADD_FILE",
                                    "ADD_FILE",         "ADD_COGO_FILE", "SET_COGO_FILE",
                                    "SET_FILE_TO_COGO", "REMOVE_FILE",   "add_file"};
    // Names for more files than slots, some too long to be found again.
    std::vector<std::string> names = {"", std::string(254, 'L'), std::string(300, 'L'), "a", "AB"};
    for (char letter = 'A'; letter < 'J'; ++letter) {
        names.push_back(std::string(1, letter));
    }
    std::mt19937 random(1);
    auto anyOf = [&](const auto& items) { return items[random() % std::size(items)]; };
    Model model;
    int refused = 0;
    for (int step = 0; step < 5000 && !testing::Test::HasFailure(); ++step) {
        bool starts = step % 200 == 0;
        Call call = {starts ? "INITIALIZE" : anyOf(commands), anyOf(names), true, 77};
        if (call.command == std::string("GET_FILE_NUMBER")) call.hasName = random() % 4 > 0;
        SCOPED_TRACE(testing::Message() << step << " " << call.command << " " << call.name);
        refused += expectAnswer(model, call, random() % 4 > 0) == JOB_FILE_REFUSED;
        if (starts) markContexts(model);
        expectState(model);
    }
    EXPECT_GT(refused, 50);
    EXPECT_EQ(jobFileCommand(nullptr, nullptr, nullptr), JOB_FILE_REFUSED);
    EXPECT_EQ(copyContextFromCogo(-1), JOB_FILE_REFUSED);
    EXPECT_EQ(swapContextWithCogo(JOB_FILE_SLOTS), JOB_FILE_REFUSED);
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
