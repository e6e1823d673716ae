// Failing allocation: every block that a call asks for is refused in turn.
#include "platform/heap.h"
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>

#include <map>

void* realAllocateZeroed(size_t count, size_t size);
void* realReallocate(void* block, size_t oldSize, size_t newSize);
void realRelease(void* block);

// The product's heap in this program.
static int callsToFailure;                 // counts down; 0: none fails
static std::map<void*, size_t> liveBlocks; // with their sizes

static bool isToFail() { return callsToFailure > 0 && --callsToFailure == 0; }

void* allocateZeroed(size_t count, size_t size)
{
    if (isToFail()) return nullptr;
    void* block = realAllocateZeroed(count, size);
    liveBlocks[block] = count * size;
    return block;
}

void* reallocate(void* block, size_t oldSize, size_t newSize)
{
    if (isToFail()) return nullptr;
    liveBlocks.erase(block);
    block = realReallocate(block, oldSize, newSize);
    liveBlocks[block] = newSize;
    return block;
}

void release(void* block)
{
    liveBlocks.erase(block);
    realRelease(block);
}

// Lets each block that the call asks for fail, until none does; the call is given a
// variable that it leaves alone when it fails. Answers what it stores there in the end.
template <typename Call> static void* failEach(Call call)
{
    size_t before = liveBlocks.size();
    for (int n = 1;; ++n) {
        void* out = &liveBlocks;
        callsToFailure = n;
        int32_t result = call(&out);
        bool failed = callsToFailure == 0;
        callsToFailure = 0;
        if (!failed) return result == IDX_OK ? out : nullptr;
        EXPECT_TRUE(result == IDX_ERROR && out == &liveBlocks && liveBlocks.size() == before) << n;
    }
}

// The bytes of the array in an element, and those of as many items as are counted, of one at
// least. Other kinds have no array.
static std::pair<size_t, size_t> arrayBytes(uint32_t kind, const void* element)
{
    if (kind == ELEMENT_PROFILE) {
        auto profile = static_cast<const ProfileElement*>(element);
        int32_t counted = std::max(profile->vertexCount, 1);
        return {liveBlocks.at(profile->vertices),
                sizeof(ProfileVertex) * static_cast<size_t>(counted)};
    }
    if (kind == ELEMENT_SURVEY_CHAIN) {
        auto chain = static_cast<const SurveyChainElement*>(element);
        int32_t counted = std::max(chain->pointCount, 1);
        return {liveBlocks.at(chain->points), sizeof(PointElement) * static_cast<size_t>(counted)};
    }
    return {};
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
            if (element != nullptr) {
                ++elements;
                auto [bytes, needed] = arrayBytes(kind, element);
                EXPECT_EQ(bytes, needed);
            }
            orvIdx_freeElement(kind, &element);
            EXPECT_EQ(liveBlocks.size(), 1U); // the handle
        }
    }
    EXPECT_EQ(elements, 273);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    EXPECT_TRUE(liveBlocks.empty());
    EXPECT_EQ(checkJobFile(path).complaints, std::vector<std::string>());
}
