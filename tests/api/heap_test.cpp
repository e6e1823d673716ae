// Failing allocation: every block that a call asks for is refused in turn.
#include "platform/heap.h"
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

void* realAllocateZeroed(size_t count, size_t size);
void* realReallocate(void* block, size_t oldSize, size_t newSize);
void realRelease(void* block);

// The product's heap in this program.
static int callsToFailure; // counts down; 0: none fails
static int liveBlocks;

static bool isToFail() { return callsToFailure > 0 && --callsToFailure == 0; }

void* allocateZeroed(size_t count, size_t size)
{
    if (isToFail()) return nullptr;
    ++liveBlocks;
    return realAllocateZeroed(count, size);
}

void* reallocate(void* block, size_t oldSize, size_t newSize)
{
    return isToFail() ? nullptr : realReallocate(block, oldSize, newSize);
}

void release(void* block)
{
    liveBlocks -= block != nullptr ? 1 : 0;
    realRelease(block);
}

// Lets each block that the call asks for fail, until none does; the call is given a
// variable that it leaves alone when it fails. Answers what it stores there in the end.
template <typename Call> static void* failEach(Call call)
{
    int before = liveBlocks;
    for (int n = 1;; ++n) {
        void* out = &liveBlocks;
        callsToFailure = n;
        int32_t result = call(&out);
        bool failed = callsToFailure == 0;
        callsToFailure = 0;
        if (!failed) return result == IDX_OK ? out : nullptr;
        EXPECT_TRUE(result == IDX_ERROR && out == &liveBlocks && liveBlocks == before) << n;
    }
}

TEST(FailingAllocation, IsAnErrorAndLeaksNothing)
{
    std::string path = freshJob("mixed");
    auto job = static_cast<IdxConnection*>(failEach([&](void** out) {
        return orvIdx_connectToOrvaneOrvFile(reinterpret_cast<IdxConnection**>(out), path.c_str(),
                                             0);
    }));
    ASSERT_NE(job, nullptr);
    int elements = 0;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        uint32_t count = 0;
        auto names = static_cast<char*>(failEach([&](void** out) {
            return orvIdx_numberOfElements(job, kind, &count, reinterpret_cast<char**>(out));
        }));
        orvIdx_freeElementNameList(&names);
        for (const std::string& name : namesOf(job, kind)) {
            SCOPED_TRACE(name);
            void* element = failEach(
                [&](void** out) { return orvIdx_readElementbyName(job, kind, name.c_str(), out); });
            elements += element != nullptr;
            orvIdx_freeElement(kind, &element);
            EXPECT_EQ(liveBlocks, 1); // the handle
        }
    }
    EXPECT_EQ(elements, 273);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    EXPECT_EQ(liveBlocks, 0);
    EXPECT_EQ(checkJobFile(path).complaints, std::vector<std::string>());
}
