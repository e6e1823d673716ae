// What reading writes: chains of the older layout and extension records of lines, where
// that fails or nearly does.
#include "tests/support/command.h"
#include "tests/support/facts.h"
#include "tests/support/new_job.h"
#include "tests/support/os_faulty.h"
#include "tools/check/check.h"

// The whole chain or nothing.
static Facts readChain(IdxConnection* job)
{
    Element chain(job, ELEMENT_CHAIN, "OLD");
    return chain ? factsOf(ELEMENT_CHAIN, chain.element) : Facts();
}

// A chain of the older layout in a leaf that something else fills up.
static std::string fullJobWithOlderChain(uint32_t filled)
{
    std::string path = writeEmptyJob(0);
    JobWriter job;
    EXPECT_EQ(openJobWriter(&job, path, OPEN_EXCLUSIVE), IX_OK);
    ChainResult attributes = {};
    strcpy(attributes.secondaryCode, "CODE");
    EXPECT_EQ(addOlderChain(&job, "OLD", "GAP GAP", attributes), IX_OK);
    int32_t number = 0;
    const std::string filler(NODE_ENTRY_AREA, 'x');
    for (uint32_t length : {240U, 240U, filled}) {
        EXPECT_EQ(ixAdd(&job.records.tree, 20, "", ++number, filler.data(), length), IX_OK);
    }
    EXPECT_EQ(closeJobWriter(&job), IX_OK);
    return path;
}

// With the disk full there is no room for the additional key of the current layout.
TEST(OlderChain, IsThereWhateverBecomesOfItsRewrite)
{
    int rewritten = 0;
    int refused = 0;
    for (uint32_t filled = 100;; ++filled) {
        SCOPED_TRACE(filled);
        std::string path = fullJobWithOlderChain(filled);
        if (fileBytes(path).size() > static_cast<size_t>(pageAt(1))) break; // more than the leaf
        Connection job(path);
        osFaults = {.diskEnd = pageAt(1)};
        Facts first = readChain(job);
        (first.empty() ? refused : rewritten) += 1;
        osFaults = {};
        EXPECT_EQ(checkTreeFile(path).complaints, std::vector<std::string>());
        EXPECT_EQ(checkJobFile(path).records, 1);
        Facts second = readChain(job);
        EXPECT_FALSE(second.empty());
        EXPECT_TRUE(first.empty() || first == second);
    }
    EXPECT_TRUE(rewritten > 5 && refused > 5) << rewritten << " " << refused;
}

// The number of a line's new extension, and the next one.
static std::pair<int32_t, int32_t> numbersAfter(int32_t counter, bool damaged, int32_t used = 0)
{
    NewJob made(OPEN_SHARED);
    EXPECT_EQ(addLine(&made.writer, "L", {}), IX_OK);
    ExtensionResult extension = {};
    for (const char* name : {"M", "N"}) {
        extension.elementNumber = used;
        EXPECT_TRUE(used == 0 || addLine(&made.writer, name, {}, &extension) == IX_OK);
        used -= used != 0;
    }
    if (counter >= 0) {
        EXPECT_EQ(addVersionCounter(&made.writer, counter), IX_OK);
    }
    EXPECT_EQ(closeJobWriter(&made.writer), IX_OK);
    const std::string path = made.path;
    std::string bytes = fileBytes(path);
    size_t image = bytes.rfind(rawNumber(29, 1) + rawNumber(0, 2) + "   VER");
    if (damaged) bytes[image - 1] ^= 1; // the checksum
    writeBytes(path, bytes);

    made.job.emplace(path);
    LineResult line = {};
    EXPECT_EQ(findLine(slotContext(), "L"), COGO_OK);
    int read = readLine(slotContext(), &line);
    EXPECT_EQ(read == COGO_OK, line.elementNumber > 0);
    int32_t next = nextVersionNumber(slotContext());
    // The second time the counter takes the number that the one lost has given back.
    const int32_t lost = used > 0 ? 6 : 2;
    EXPECT_TRUE(!damaged || next == 0 || slotContext()->currentRecordNumber == lost);
    made.job.reset();
    EXPECT_EQ(checkJobFile(path).records, (line.elementNumber > 0 ? 3 : 2) + (used > 0 ? 4 : 0));
    EXPECT_EQ(checkJobFile(path).complaints.size(), damaged && next == 0 ? 1U : 0U);
    return {line.elementNumber, next};
}

TEST(VersionCounter, GivesNoNumberAtItsEndAndIsBuiltAnewWhenItCannotBeRead)
{
    using Numbers = std::pair<int32_t, int32_t>;
    EXPECT_EQ(numbersAfter(-1, false), Numbers(1, 2)); // there is none yet
    EXPECT_EQ(numbersAfter(41, false), Numbers(42, 43));
    EXPECT_EQ(numbersAfter(INT32_MAX - 1, false), Numbers(INT32_MAX, 0));
    EXPECT_EQ(numbersAfter(INT32_MAX, false), Numbers(0, 0));
    EXPECT_EQ(numbersAfter(41, true), Numbers(1, 2)); // no extension has a number yet
    EXPECT_EQ(numbersAfter(41, true, 7), Numbers(8, 9));
    EXPECT_EQ(numbersAfter(41, true, INT32_MAX), Numbers(0, 0));
}
