// A file that cannot be read, locked or let go of for a while: each such request that a
// public call makes fails in turn. The call says so, or hands out what is right as far as
// it goes; and when the file works again, so does the job.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/facts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace
{

constexpr char LIST[] = "list"; // a fact about a kind

// What a call answers: nothing, and untouched variables, when it is IDX_ERROR.
struct Answer {
    int32_t result = IDX_ERROR;
    Facts facts = {};
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
    if (names != nullptr) answer.facts.emplace(LIST, names);
    EXPECT_EQ(orvIdx_freeElementNameList(&names), IDX_OK);
    return answer;
}

// True when all that is told is so: a list may end early, an element lack parts.
bool isTrue(const Answer& told, const Answer& sound)
{
    return std::all_of(told.facts.begin(), told.facts.end(), [&](const auto& fact) {
        if (fact.first == LIST) return sound.facts.begin()->second.starts_with(fact.second);
        return fact.first.starts_with(PARTS) || sound.facts.contains(fact);
    });
}

class CallFaults : public testing::Test
{
  protected:
    void SetUp() override
    {
        ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    }
    void TearDown() override { EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK); }

    // As if another process had written: every page is read anew.
    void touch() { poke32(path, 36, ++changeCounter); }

    // Whatever else the call needs is done before it.
    void failEach(
        const std::function<Answer()>& call, const std::function<void()>& before = [] {})
    {
        before();
        const Answer sound = call();
        ASSERT_EQ(sound.result, IDX_OK);
        for (int variant = 0; variant < 8; ++variant) {
            const OsCall calls[] = {OS_CALL_READ, OS_CALL_READ, OS_CALL_LOCK, OS_CALL_UNLOCK};
            for (int number = 1, failures = 1; failures > 0; ++number) {
                SCOPED_TRACE(testing::Message() << "variant " << variant << " call " << number);
                before();
                touch();
                osFaults = {.call = calls[variant / 2], .first = number};
                osFaults.lasting = variant % 2 == 1;
                osFaults.shortened = variant / 2 == 1;
                Answer told = call();
                failures = osFaults.failures;
                osFaults = {};
                EXPECT_TRUE(failures > 0 || told.facts == sound.facts);
                EXPECT_TRUE(isTrue(told, sound));
                before();
                EXPECT_TRUE(call().facts == sound.facts);
            }
        }
    }
    const std::string path = freshJob("tiny");
    int32_t changeCounter = 1000;
    IdxConnection* job = nullptr;
};

TEST_F(CallFaults, MakeNoListAndNoElementWrong)
{
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        SCOPED_TRACE(kind);
        failEach([&] { return readList(job, kind); });
        auto first = [&](void** out) { return orvIdx_readFirstElement(job, kind, out); };
        auto next = [&](void** out) { return orvIdx_readNextElement(job, kind, out); };
        failEach([&] { return readElement(kind, first); });
        int steps = 0;
        for (const std::string& name : namesOf(job, kind)) {
            SCOPED_TRACE(name);
            if (name == "L3") continue; // cannot be read anyway
            auto byName = [&](void** out) {
                return orvIdx_readElementbyName(job, kind, name.c_str(), out);
            };
            failEach([&] { return readElement(kind, byName); });
            if (steps > 0) {
                failEach([&] { return readElement(kind, next); },
                         [&] {
                             readElement(kind, first);
                             for (int step = 1; step < steps; ++step) {
                                 readElement(kind, next);
                             }
                         });
            }
            ++steps;
        }
    }
}

TEST(Connect, OpensNothingWhenAReadFails)
{
    std::string path = freshJob("tiny");
    int read = 0;
    for (int failures = 1; failures > 0;) {
        IdxConnection* job = nullptr;
        osFaults = {.call = OS_CALL_READ, .first = ++read};
        int32_t result = orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0);
        failures = osFaults.failures;
        osFaults = {};
        EXPECT_EQ(result, failures > 0 ? IDX_ERROR : IDX_OK) << read;
        EXPECT_EQ(job != nullptr, result == IDX_OK) << read;
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    }
    EXPECT_GT(read, 4);
}

} // namespace
