// A system that fails for a while: each reading, locking, letting go and block of memory
// that a public call asks for is refused in turn. The call is IDX_ERROR, whatever it was that
// failed; and when the system works again, so does the job.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/facts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"

#include <functional>
#include <gtest/gtest.h>

namespace
{

constexpr char LIST[] = "list"; // a fact about a kind

// What a call answers: nothing, and untouched variables, when it is IDX_ERROR.
struct Answer {
    int32_t result = IDX_ERROR;
    Facts facts = {};
    uint32_t count = 0; // of a list
};

Answer readElement(uint32_t kind, const std::function<int32_t(void**)>& call)
{
    void* element = nullptr;
    Answer answer = {call(&element), {}};
    EXPECT_EQ(element != nullptr, answer.result == IDX_OK);
    if (element != nullptr) answer.facts = factsOf(kind, element);
    EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
    return answer;
}

Answer readList(IdxConnection* job, uint32_t kind)
{
    uint32_t count = 0;
    char* names = nullptr;
    Answer answer = {orvIdx_numberOfElements(job, kind, &count, &names), {}};
    EXPECT_EQ(names != nullptr, answer.result == IDX_OK);
    answer.count = count;
    if (names != nullptr) answer.facts.emplace(LIST, names);
    EXPECT_EQ(orvIdx_freeElementNameList(&names), IDX_OK);
    return answer;
}

struct Fault {
    OsCall call;
    bool lasting;
    bool shortened;
};

struct Drive {
    const char* name;
    const char* golden;
    std::vector<Fault> faults;
    std::vector<uint32_t> kinds;
};

void PrintTo(const Drive& drive, std::ostream* out) { *out << drive.name; }

class CallFaults : public testing::TestWithParam<Drive>
{
  protected:
    void SetUp() override
    {
        // So that reading has nothing to write any more: two, for one chain names another.
        factsOfJob(path);
        factsOfJob(path);
        ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    }
    void TearDown() override { EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK); }

    // As if another process had written: every page is read anew.
    void touch() { poke32(path, 36, ++changeCounter); }

    // Whatever else the call needs is done before it.
    void failEach(const std::function<Answer()>& call, const std::function<void()>& before)
    {
        before();
        const Answer sound = call();
        const int blocks = liveBlocks;
        for (const Fault& fault : GetParam().faults) {
            bool reached = true;
            for (int number = 1; reached; ++number) {
                SCOPED_TRACE(testing::Message() << "fault " << fault.call << " call " << number);
                before();
                touch();
                osFaults = {.call = fault.call, .first = number, .lasting = fault.lasting};
                osFaults.shortened = fault.shortened;
                Answer told = call();
                int failures = osFaults.failures;
                reached = failures + osFaults.failuresAhead > 0;
                osFaults = {};
                EXPECT_TRUE(failures > 0 || told.facts == sound.facts);
                EXPECT_TRUE(failures == 0 || told.result == IDX_ERROR);
                EXPECT_LE(told.count, sound.count);
                before();
                EXPECT_TRUE(call().facts == sound.facts);
                EXPECT_EQ(liveBlocks, blocks);
            }
        }
    }
    const std::string path = freshJob(GetParam().golden);
    int32_t changeCounter = 1000;
    IdxConnection* job = nullptr;
};

const Drive DRIVES[] = {
    {"System",
     "tiny",
     {{OS_CALL_READ, false, false},
      {OS_CALL_READ, true, false},
      {OS_CALL_READ, false, true},
      {OS_CALL_LOCK, false, false},
      {OS_CALL_LOCK, true, false},
      {OS_CALL_UNLOCK, false, false},
      {OS_CALL_UNLOCK, true, false}},
     {0, 1, 2, 3, 4, 5, 6}},
    {"LargerFile", "mixed", {{OS_CALL_READ, false, false}}, {0, 1, 2, 3, 4, 5, 6}},
    {"Memory", "mixed", {{OS_CALL_ALLOCATE, false, false}}, {0, 1, 2, 3, 4, 5, 6}}};

INSTANTIATE_TEST_SUITE_P(Of, CallFaults, testing::ValuesIn(DRIVES),
                         [](const auto& drive) { return drive.param.name; });

TEST_P(CallFaults, MakeNoListAndNoElementWrong)
{
    for (uint32_t kind : GetParam().kinds) {
        SCOPED_TRACE(kind);
        auto first = [&](void** out) { return orvIdx_readFirstElement(job, kind, out); };
        auto next = [&](void** out) { return orvIdx_readNextElement(job, kind, out); };
        // What was read before is another element.
        auto readFirst = [&] { readElement(kind, first); };
        auto readSecond = [&] {
            readElement(kind, first);
            readElement(kind, next);
        };
        EXPECT_EQ(readList(job, kind).result, IDX_OK);
        failEach([&] { return readList(job, kind); }, readFirst);
        failEach([&] { return readElement(kind, first); }, readSecond);
        int steps = 0;
        for (const std::string& name : namesOf(job, kind)) {
            SCOPED_TRACE(name);
            auto byName = [&](void** out) {
                return orvIdx_readElementbyName(job, kind, name.c_str(), out);
            };
            failEach([&] { return readElement(kind, byName); },
                     steps == 0 ? std::function(readSecond) : readFirst);
            auto walkThere = [&] {
                readElement(kind, first);
                for (int step = 0; step < steps; ++step) {
                    readElement(kind, next);
                }
            };
            if (steps < 5) failEach([&] { return readElement(kind, next); }, walkThere);
            ++steps;
        }
    }
}

TEST(Connect, OpensNothingWhenTheSystemFails)
{
    std::string path = freshJob("tiny");
    for (OsCall call : {OS_CALL_OPEN, OS_CALL_READ, OS_CALL_ALLOCATE}) {
        int number = 0;
        for (int failures = 1; failures > 0;) {
            IdxConnection* job = nullptr;
            osFaults = {.call = call, .first = ++number};
            int32_t result = orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0);
            failures = osFaults.failures;
            osFaults = {};
            EXPECT_EQ(result, failures > 0 ? IDX_ERROR : IDX_OK) << call << " " << number;
            EXPECT_EQ(job != nullptr, result == IDX_OK) << call << " " << number;
            EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
            EXPECT_EQ(liveBlocks, 0);
        }
        EXPECT_GE(number, call == OS_CALL_READ ? 4 : 2);
    }
}

} // namespace
