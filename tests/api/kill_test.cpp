// A process killed at each of its writes in turn, before it or half way through the page:
// whoever opens the job afterwards finds everything that was there, each element as it was or
// as it was to be, and a version counter that has not gone back. Half a page may make what
// stands in it unreadable, never wrong.
#include "api/start_up.h"
#include "cogo/cogo_state.h"
#include "file/file_state.h"
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/facts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"
#include "tools/recover/recover.h"
#include "tools/writer/job_writer.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

namespace
{

constexpr int32_t COUNTED = 40; // by the version counter when the work begins
constexpr char CHAIN[] = "WORK";

std::string numbered(const char* letter, int number) { return letter + std::to_string(number); }

enum WorkKind {
    READ_LINE,
    READ_OLDER_CHAIN,
    ADD,
    UPDATE,
    DELETE,
    ADD_LONG, // of many segments
    UPDATE_LONG,
    DELETE_LONG,
    CONNECT
};

// A job with what the work needs, and as many fillers as make its leaves more or less full.
std::string makeJob(WorkKind work, int fillers, bool counter)
{
    std::string path = writeEmptyJob(0);
    JobWriter job;
    EXPECT_EQ(openJobWriter(&job, path, OPEN_SHARED), IX_OK);
    for (int i = 1; i <= 2; ++i) {
        PointRecord point = {};
        point.reals[0] = i;
        EXPECT_EQ(addPoint(&job, std::to_string(i).c_str(), point), IX_OK);
        LineResult line = {};
        copyText(line.beginPointName, sizeof line.beginPointName, "1");
        copyText(line.endPointName, sizeof line.endPointName, "2");
        EXPECT_EQ(addLine(&job, numbered("L", i).c_str(), line), IX_OK);
    }
    ChainResult chain = {};
    copyText(chain.secondaryCode, sizeof chain.secondaryCode, "CODE");
    for (int i = 1; i <= fillers; ++i) {
        std::string text(static_cast<size_t>(i * 53 % (work == READ_OLDER_CHAIN ? 1600 : 400)),
                         '1');
        EXPECT_EQ(addChainMember(&job, numbered("F", i * 7919 % 1000).c_str(), 0, text, {}), IX_OK);
    }
    if (work == READ_OLDER_CHAIN) {
        EXPECT_EQ(addOlderChain(&job, CHAIN, "1 2 GAP 1", chain), IX_OK);
        EXPECT_EQ(addChainMember(&job, CHAIN, 1, " 2 1", {}), IX_OK);
    }
    bool isThere = work != ADD && work != ADD_LONG;
    if (work >= UPDATE && work <= DELETE_LONG && isThere) {
        std::string text(work < ADD_LONG ? 30 : 2300, '7');
        EXPECT_EQ(addChainMember(&job, CHAIN, 0, text, chain), IX_OK);
    }
    EXPECT_TRUE(!counter || addVersionCounter(&job, COUNTED) == IX_OK);
    if (work == CONNECT) {
        // Its slot is that of the next opener.
        EXPECT_EQ(ixFindFirst(&job.records.tree, RECORD_KEY_INDEX, nullptr, 0), IX_OK);
        EXPECT_EQ(ixLockRecord(&job.records.tree, RECORD_KEY_INDEX), IX_OK);
        ixAbandon(&job.records.tree);
    } else {
        EXPECT_EQ(closeJobWriter(&job), IX_OK);
    }
    return path;
}

void readElement(IdxConnection* job, uint32_t kind, const char* name)
{
    void* element = nullptr;
    if (orvIdx_readElementbyName(job, kind, name, &element) == IDX_OK) {
        orvIdx_freeElement(kind, &element);
    }
}

void carryOut(IdxConnection* job, WorkKind work)
{
    RecordFile* records = slotContext();
    if (work == READ_LINE) readElement(job, ELEMENT_LINE, "L2");
    if (work == READ_OLDER_CHAIN) readElement(job, ELEMENT_CHAIN, CHAIN);
    if (work < ADD || work == CONNECT) return;
    bool found = findChain(records, CHAIN) == COGO_OK;
    KeyComponents key = keyComponents(TAG_CHAIN, CHAIN, "", "");
    setRecordKey(buildKey(&key).text);
    cogoState.chain = {};
    std::string text(work < ADD_LONG ? 20 : 2000, '8');
    copyText(cogoState.chain.description, sizeof cogoState.chain.description, text.c_str());
    copyText(cogoState.chain.secondaryCode, sizeof cogoState.chain.secondaryCode, "OTHER");
    records->recordTypeByte = KIND_CHAIN;
    if (work == DELETE || work == DELETE_LONG) recordDeleteCurrent(records, cogoState.chainLayout);
    if (work == UPDATE || work == UPDATE_LONG) recordUpdateCurrent(records, cogoState.chainLayout);
    if (!found) recordAdd(records, cogoState.chainLayout);
}

// Does the work until it is killed at a write; false when it ended before.
bool workUntilKilled(const std::string& path, WorkKind work, int write, bool halfPage)
{
    IdxConnection* job = nullptr;
    OsFaults kill = {.call = OS_CALL_WRITE, .first = write, .lasting = true};
    kill.shortened = halfPage;
    kill.kills = true;
    if (work == CONNECT) osFaults = kill;
    orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0);
    osFaults = kill;
    if (job != nullptr) carryOut(job, work);
    bool killed = osFaults.failures > 0 || (work == CONNECT && job == nullptr);
    if (job != nullptr) ixAbandon(&slotContext()->tree);
    osFaults = {};
    startUpFloors();
    return killed;
}

// Does the work to its end. Returns the pages in the cache, the most recently used first.
std::vector<int> workAndListPages(const std::string& path, WorkKind work)
{
    IdxConnection* job = nullptr;
    orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0);
    carryOut(job, work);
    std::map<uint64_t, int, std::greater<>> byUse;
    for (int number = 0; number < fileState.cache.blocks; ++number) {
        const CacheBlock* block = blockAt(number);
        if (block->descriptor == fileOf(slotContext())->descriptor) {
            byUse[block->used] = block->pageNumber;
        }
    }
    std::vector<int> pages;
    for (const auto& [used, page] : byUse) {
        pages.push_back(page);
    }
    ixAbandon(&slotContext()->tree);
    startUpFloors();
    return pages;
}

// The entries with data of records in all pages of a file, whether anything leads to them or not.
std::set<std::string> dataEntries(const std::string& bytes)
{
    std::set<std::string> entries;
    for (size_t at = FIRST_PAGE_OFFSET; at < bytes.size(); at += NODE_PAGE_SIZE) {
        const uint8_t* page = reinterpret_cast<const uint8_t*>(&bytes[at]);
        if (nodeLevel(page) != 0 || !nodeIsSound(page)) continue;
        const uint8_t* entry = firstEntry(page);
        for (int i = 0; i < nodeCount(page); ++i, entry = nextEntry(entry)) {
            if (entryIndex(entry) != DATA_INDEX) continue;
            entries.emplace(entry, nextEntry(entry));
        }
    }
    return entries;
}

bool holdsAll(const std::string& bytes, const std::set<std::string>& entries)
{
    std::set<std::string> there = dataEntries(bytes);
    return std::includes(there.begin(), there.end(), entries.begin(), entries.end());
}

// Lost pages, and data that nothing leads to, whole or in part.
bool isHarmless(const std::string& complaint)
{
    auto has = [&](const char* text) { return complaint.find(text) != std::string::npos; };
    bool part = has("index 19 ") && (has("begins with segment") || has("without a last segment"));
    return has(UNREACHABLE_COMPLAINT) || has("no primary key leads to it") || part;
}

// Takes every entry out and puts it back, as a program would that works on all of the job: what
// the killed process has begun in the tree is finished on the way.
void workOnEverything(const std::string& path)
{
    JobWriter job;
    ASSERT_EQ(openJobWriter(&job, path, OPEN_SHARED), IX_OK);
    IndexFile* tree = &job.records.tree;
    std::string data(RECORD_LIMIT, 0);
    ASSERT_EQ(ixBeginUpdate(&tree->file), IX_OK);
    for (int index = MIN_INDEX; index <= MAX_INDEX; ++index) {
        int result = ixFindFirst(tree, index, data.data(), RECORD_LIMIT);
        for (; result >= IX_OK || result == IX_BROKEN_RECORD;
             result = ixNext(tree, index, data.data(), RECORD_LIMIT)) {
            if (result == IX_BROKEN_RECORD) continue;
            std::string key = tree->found.key + 1;
            int32_t number = tree->found.number;
            uint32_t length = tree->found.dataLength;
            EXPECT_EQ(ixDelete(tree, index, key.c_str(), number), IX_OK);
            EXPECT_EQ(ixAdd(tree, index, key.c_str(), number, data.data(), length), IX_OK);
        }
        EXPECT_EQ(result, IX_NOT_FOUND);
    }
    EXPECT_EQ(ixEndUpdate(&tree->file), IX_OK);
    EXPECT_EQ(closeJobWriter(&job), IX_OK);
}

// What killed writers have left, all kinds of work together.
struct Tally {
    int kills = 0;
    int splits = 0;
    int roots = 0;
};

class KilledWriter : public testing::TestWithParam<WorkKind>
{
  protected:
    Tally tally;
    Facts before;
    Facts after;

    void expectAllThere(const std::string& path, bool counter, bool halfPage)
    {
        Facts told = factsOfJob(path);
        for (const auto& fact : told) {
            bool part = halfPage && fact.first.starts_with(PARTS);
            EXPECT_TRUE(part || before.contains(fact) || after.contains(fact)) << fact.first;
        }
        if (halfPage) return;
        for (const auto& fact : before) {
            bool stays = tells(after, fact.first);
            EXPECT_TRUE(!stays || tells(told, fact.first)) << "gone: " << fact.first;
        }
        IdxConnection* job = nullptr;
        EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
        EXPECT_GT(nextVersionNumber(slotContext()), counter ? COUNTED : 0);
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
        workUntilKilled(path, GetParam(), 0, false);
        workOnEverything(path);
        for (const std::string& complaint : checkJobFile(path).complaints) {
            EXPECT_TRUE(isHarmless(complaint)) << complaint;
        }
    }
    void killEverywhere(const std::string& path, const std::string& bytes, bool counter)
    {
        for (bool halfPage : {false, true}) {
            bool killed = true;
            for (int write = 1; killed && !HasFailure(); ++write) {
                SCOPED_TRACE(testing::Message() << "write " << write << (halfPage ? " half" : ""));
                writeBytes(path, bytes);
                killed = workUntilKilled(path, GetParam(), write, halfPage);
                tally.kills += killed;
                expectAllThere(path, counter, halfPage);
            }
        }
    }
};

int number16(const std::string& bytes, size_t at)
{
    return static_cast<uint8_t>(bytes[at]) + 256 * static_cast<uint8_t>(bytes[at + 1]);
}

// Where the work splits a leaf, or adds a root, and now and then elsewhere.
TEST_P(KilledWriter, LosesNothing)
{
    constexpr size_t ROOT_PAGE = 2;
    constexpr size_t NEXT_FREE_PAGE = 18;
    for (int fillers = 0; fillers < 80 && !HasFailure(); ++fillers) {
        bool counter = fillers % 2 == 0;
        std::string path = makeJob(GetParam(), fillers, counter);
        const std::string bytes = fileBytes(path);
        workUntilKilled(path, GetParam(), 0, false);
        const std::string done = fileBytes(path);
        bool splits = number16(done, NEXT_FREE_PAGE) != number16(bytes, NEXT_FREE_PAGE);
        bool moved = number16(done, ROOT_PAGE) != number16(bytes, ROOT_PAGE);
        bool often = GetParam() >= ADD_LONG; // every such record takes pages
        if (fillers % 20 != 0 && !moved && (!splits || often)) continue;
        SCOPED_TRACE(testing::Message() << fillers << " fillers");
        tally.splits += splits;
        tally.roots += moved;
        after = factsOfJob(path);
        after.merge(factsOfJob(path)); // a chain of the older layout is read as it stands once
        writeBytes(path, bytes);
        before = factsOfJob(path);
        before.merge(factsOfJob(path));
        killEverywhere(path, bytes, counter);
    }
    RecordProperty("kills", tally.kills);
    EXPECT_GT(tally.kills, 10);
    EXPECT_GE(tally.roots, GetParam() <= READ_OLDER_CHAIN ? 1 : 0);
}

// Older programs write everything at the end of an update: the header, then the changed pages,
// the most recently used first. What was readable before they were killed can be recovered, unless
// they have cut a leaf already and not written its other half.
TEST_P(KilledWriter, OfTheOlderOrderLosesNothingThatCannotBeRecovered)
{
    for (int fillers = 0; fillers < 70 && !HasFailure(); fillers += 7) {
        std::string path = makeJob(GetParam(), fillers, fillers % 2 == 0);
        std::string state = fileBytes(path);
        before = factsOfJob(path);
        before.merge(factsOfJob(path));
        writeBytes(path, state);
        std::vector<int> pages = workAndListPages(path, GetParam());
        const std::string done = fileBytes(path);
        after = factsOfJob(path);
        after.merge(factsOfJob(path));
        const std::set<std::string> oldData = dataEntries(state);
        const std::set<std::string> newData = dataEntries(done);
        state.resize(done.size());
        state.replace(0, FIRST_PAGE_OFFSET, done, 0, FIRST_PAGE_OFFSET);
        for (int page : pages) {
            size_t at = FIRST_PAGE_OFFSET + static_cast<size_t>(page) * NODE_PAGE_SIZE;
            if (state.compare(at, NODE_PAGE_SIZE, done, at, NODE_PAGE_SIZE) == 0) continue;
            SCOPED_TRACE(testing::Message() << fillers << " fillers, before page " << page);
            Recovery recovery = recoverJob({state.begin(), state.end()}, false);
            bool isThere = holdsAll(state, oldData) || holdsAll(state, newData);
            state.replace(at, NODE_PAGE_SIZE, done, at, NODE_PAGE_SIZE);
            EXPECT_EQ(checkJobBytes(recovery.bytes).complaints, std::vector<std::string>());
            writeBytes(path, std::string(recovery.bytes.begin(), recovery.bytes.end()));
            Facts told = factsOfJob(path);
            for (const auto& fact : before) {
                bool stays = isThere && tells(after, fact.first);
                EXPECT_TRUE(!stays || tells(told, fact.first)) << "gone: " << fact.first;
            }
            for (const auto& fact : told) {
                bool part = !isThere && fact.first.starts_with(PARTS);
                EXPECT_TRUE(part || before.contains(fact) || after.contains(fact)) << fact.first;
            }
            tally.kills += isThere;
        }
    }
    EXPECT_GT(tally.kills, GetParam() == CONNECT ? 0 : 20);
}

INSTANTIATE_TEST_SUITE_P(Of, KilledWriter,
                         testing::Values(READ_LINE, READ_OLDER_CHAIN, ADD, UPDATE, DELETE, ADD_LONG,
                                         UPDATE_LONG, DELETE_LONG, CONNECT));

} // namespace
