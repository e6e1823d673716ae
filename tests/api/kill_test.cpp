// A process killed at each of its writes in turn, before it or half way through the page:
// whoever opens the job afterwards finds everything that was there, each element as it was or
// as it was to be, and a version counter that has not gone back. Half a page may make what
// stands in it unreadable, never wrong.
#include "cogo/cogo.h"
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/facts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"
#include "tools/writer/job_writer.h"

#include <gtest/gtest.h>

#include <functional>

namespace
{

constexpr int32_t COUNTED = 40; // by the version counter when the work begins

std::string numbered(const char* letter, int number) { return letter + std::to_string(number); }

// A job of points, curves, lines and chains that reading has to write for, and as many fillers
// as make its leaves more or less full.
std::string makeJob(int fillers, bool counter, bool olderChains)
{
    std::string path = writeEmptyJob(0);
    JobWriter job;
    EXPECT_EQ(openJobWriter(&job, path, OPEN_EXCLUSIVE), IX_OK);
    for (int i = 1; i <= 6; ++i) {
        PointRecord point = {};
        point.reals[0] = i;
        EXPECT_EQ(addPoint(&job, std::to_string(i).c_str(), point, i % 2 == 0 ? "F" : nullptr),
                  IX_OK);
        CurveResult curve = {};
        curve.values[0] = i;
        EXPECT_EQ(addCurve(&job, numbered("C", i).c_str(), curve), IX_OK);
    }
    for (int i = 1; i <= 4; ++i) {
        LineResult line = {};
        copyText(line.beginPointName, sizeof line.beginPointName, std::to_string(i).c_str());
        copyText(line.endPointName, sizeof line.endPointName, "6");
        EXPECT_EQ(addLine(&job, numbered("L", i).c_str(), line), IX_OK);
    }
    for (int i = 1; i <= fillers; ++i) {
        ChainResult chain = {};
        EXPECT_EQ(addChainMember(&job, numbered("F", i * 7919 % 1000).c_str(), 0,
                                 std::string(static_cast<size_t>(i * 53 % 400), '1'), chain),
                  IX_OK);
    }
    for (int i = 1; olderChains && i <= 2; ++i) {
        ChainResult chain = {};
        copyText(chain.secondaryCode, sizeof chain.secondaryCode, "CODE");
        EXPECT_EQ(addOlderChain(&job, numbered("OLD", i).c_str(), "1 2 3 CUR C1 GAP 4", chain),
                  IX_OK);
        EXPECT_EQ(addChainMember(&job, numbered("OLD", i).c_str(), 1, " 5 6", chain), IX_OK);
    }
    EXPECT_TRUE(!counter || addVersionCounter(&job, COUNTED) == IX_OK);
    EXPECT_EQ(closeJobWriter(&job), IX_OK);
    return path;
}

using Work = std::function<void(IdxConnection*)>;

void readElement(IdxConnection* job, uint32_t kind, const char* name)
{
    void* element = nullptr;
    if (orvIdx_readElementbyName(job, kind, name, &element) == IDX_OK) {
        orvIdx_freeElement(kind, &element);
    }
}

// Does the work until it is killed at a write; false when the work ended before.
bool workUntilKilled(const std::string& path, const Work& work, int write, bool halfPage)
{
    IdxConnection* job = nullptr;
    EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    osFaults = {.call = OS_CALL_WRITE,
                .first = write,
                .lasting = true,
                .shortened = halfPage,
                .kills = true};
    work(job);
    bool killed = osFaults.failures > 0;
    ixAbandon(&slotContext()->tree);
    osFaults = {};
    orvIdx_disconnectFromOrvaneOrvFile(&job); // of a context that is closed: frees nothing
    return killed;
}

struct Tally {
    int kills = 0;
    int splits = 0;
    int roots = 0;
    int refused = 0;
    std::map<std::string, int> complaints;
};

bool isHarmless(const std::string& complaint)
{
    auto has = [&](const char* text) { return complaint.find(text) != std::string::npos; };
    return has(UNREACHABLE_COMPLAINT) || has("no primary key leads to it") ||
           has("no branch refers") || has("previous page");
}

void expectAllThere(const std::string& path, const Facts& before, const Facts& after, Tally* tally,
                    bool halfPage)
{
    IdxConnection* job = nullptr;
    int32_t connected = orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0);
    if (connected != IDX_OK) {
        tally->refused++;
        EXPECT_TRUE(halfPage);
        return;
    }
    orvIdx_disconnectFromOrvaneOrvFile(&job);
    Facts told = factsOfJob(path);
    for (const auto& fact : told) {
        EXPECT_TRUE(before.contains(fact) || after.contains(fact) ||
                    (halfPage && fact.first.starts_with(PARTS)))
            << "wrong: " << fact.first;
    }
    for (const auto& fact : before) {
        bool there = tells(told, fact.first);
        if (!there) tally->refused++;
        EXPECT_TRUE(there || halfPage) << "gone: " << fact.first;
    }
    if (halfPage) return;
    EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    EXPECT_GT(nextVersionNumber(slotContext()), 0);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    for (const std::string& complaint : checkJobFile(path).complaints) {
        tally->complaints[complaint.substr(0, 12) + complaint.substr(complaint.find(": ") + 1)]++;
        EXPECT_TRUE(isHarmless(complaint)) << complaint;
    }
}

int rootOf(const std::string& bytes) { return static_cast<uint8_t>(bytes[2]) + 256 * bytes[3]; }
int pagesOf(const std::string& bytes) { return static_cast<uint8_t>(bytes[18]) + 256 * bytes[19]; }

void killEverywhere(const std::string& path, const Work& work, Tally* tally)
{
    const std::string bytes = fileBytes(path);
    const Facts before = factsOfJob(path);
    const Facts after = factsOfJob(path);
    writeBytes(path, bytes);
    workUntilKilled(path, work, 0, false);
    const std::string done = fileBytes(path);
    tally->splits += pagesOf(done) != pagesOf(bytes);
    tally->roots += rootOf(done) != rootOf(bytes);
    for (bool halfPage : {false, true}) {
        bool killed = true;
        for (int write = 1; killed && !testing::Test::HasFailure(); ++write) {
            SCOPED_TRACE(testing::Message() << "write " << write << (halfPage ? " half" : ""));
            writeBytes(path, bytes);
            killed = workUntilKilled(path, work, write, halfPage);
            tally->kills += killed;
            expectAllThere(path, before, after, tally, halfPage);
        }
    }
    writeBytes(path, bytes);
}

TEST(KilledWriter, LosesNothing)
{
    Tally tally;
    for (int fillers = 0; fillers < 60 && !HasFailure(); fillers += 1) {
        for (bool counter : {false, true}) {
            SCOPED_TRACE(testing::Message() << fillers << " fillers, counter " << counter);
            std::string path = makeJob(fillers, counter, fillers % 3 == 0);
            killEverywhere(
                path, [](IdxConnection* job) { readElement(job, ELEMENT_LINE, "L2"); }, &tally);
            if (fillers % 3 == 0) {
                killEverywhere(
                    path, [](IdxConnection* job) { readElement(job, ELEMENT_CHAIN, "OLD1"); },
                    &tally);
            }
        }
    }
    printf("kills %d splits %d roots %d refused %d\n", tally.kills, tally.splits, tally.roots,
           tally.refused);
    for (auto& [text, count] : tally.complaints)
        printf("%6d %s\n", count, text.c_str());
}

} // namespace
