// Failing allocation: every block that a call asks for is refused in turn.
#include "platform/heap.h"
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tools/tree_check.h"

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

// Makes each block of the call fail until none does. The call is given a variable, which
// it leaves alone when it fails; answers what it stored there in the end.
template <typename Out, typename Call> static Out failEach(Call call)
{
    static Out untouched = reinterpret_cast<Out>(&liveBlocks);
    int before = liveBlocks;
    for (int n = 1;; ++n) {
        Out out = untouched;
        callsToFailure = n;
        int32_t result = call(&out);
        bool failed = callsToFailure == 0;
        callsToFailure = 0;
        if (!failed) return result == IDX_OK ? out : nullptr;
        EXPECT_EQ(result, IDX_ERROR) << n;
        EXPECT_EQ(out, untouched) << n;
        EXPECT_EQ(liveBlocks, before) << n;
    }
}

TEST(FailingAllocation, IsAnErrorAndLeaksNothing)
{
    std::string path = freshJob("mixed");
    auto connect = [&](IdxConnection** out) {
        return orvIdx_connectToOrvaneOrvFile(out, path.c_str(), 0);
    };
    IdxConnection* job = failEach<IdxConnection*>(connect);
    ASSERT_NE(job, nullptr);
    int elements = 0;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        uint32_t count = 0;
        auto list = [&](char** out) { return orvIdx_numberOfElements(job, kind, &count, out); };
        char* names = failEach<char*>(list);
        orvIdx_freeElementNameList(&names);
        for (const std::string& name : namesOf(job, kind)) {
            SCOPED_TRACE(name);
            auto read = [&](void** out) {
                return orvIdx_readElementbyName(job, kind, name.c_str(), out);
            };
            void* element = failEach<void*>(read);
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
