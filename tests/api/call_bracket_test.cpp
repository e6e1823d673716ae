// The file lock around public calls: once for each, once more for what a reading has to
// write, and let go from time to time in long ones.
#include "cogo/cogo.h"
#include "engine/engine.h"
#include "file/file_state.h"
#include "tests/support/command.h"
#include "tests/support/connection.h"
#include "tests/support/contexts.h"
#include "tests/support/facts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"

#include <optional>

// How often the file lock was taken since the last question.
static int locksTaken()
{
    int locks = osFaults.locks;
    osFaults.locks = 0;
    return locks;
}

// The elements of the kind are listed, then read by name, each twice, and in a walk. Those
// that reading writes for take the lock once more, the first time.
static void expectOneLockACall(IdxConnection* job, uint32_t kind, int32_t written)
{
    locksTaken();
    std::vector<std::string> names = namesOf(job, kind);
    EXPECT_EQ(locksTaken(), 1);
    int32_t updates = 0;
    for (const std::string& name : names) {
        const bool read(Element(job, kind, name));
        updates += locksTaken() - 1;
        EXPECT_EQ(bool(Element(job, kind, name)), read) << name;
        EXPECT_EQ(locksTaken(), 1) << name;
    }
    EXPECT_EQ(updates, written);
    for (size_t step = 0; step <= names.size(); ++step) {
        Element(job, kind, step == 0 ? FIRST : NEXT);
        EXPECT_EQ(locksTaken(), 1) << step;
    }
}

TEST(PublicCalls, TakeTheFileLockOnceAndOnceMoreToWrite)
{
    osFaults = {.time = 1}; // no call takes long enough to let others in
    Connection job(freshJob("mixed"));
    // Eight lines have no extension record, four chains the older layout; the first of
    // those is rewritten when a chain is read that refers to it.
    const int32_t written[] = {0, 8, 0, 0, 4, 0, 0};
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        SCOPED_TRACE(kind);
        expectOneLockACall(job, kind, written[kind]);
    }
    osFaults = {};
}

TEST(LongRead, LetsWritersInAfterSomeMilliseconds)
{
    IndexFile file = {};
    ASSERT_EQ(ixOpen(&file, freshJob("tiny").c_str(), OPEN_SHARED), IX_OK);
    osFaults = {.time = UINT32_MAX - 5}; // the clock starts again while it reads
    ASSERT_EQ(ixBeginRead(&file.file), 0);
    locksTaken();
    ReadPiece piece = {};
    int result = 0;
    auto locksInSteps = [&] {
        for (int step = 0; step < 200 && result == 0; ++step) {
            result = ixYieldRead(&file.file, &piece);
        }
        return locksTaken();
    };
    EXPECT_EQ(locksInSteps(), 0);
    osFaults.time += 9;
    EXPECT_EQ(locksInSteps(), 0);
    osFaults.time += 1;
    EXPECT_EQ(locksInSteps(), 1);
    EXPECT_EQ(file.file.sharing.readNesting, 1);

    // A lock that cannot be had again ends the read.
    osFaults.call = OS_CALL_LOCK;
    osFaults.first = 1;
    EXPECT_EQ(locksInSteps(), 0);
    osFaults.time += 10;
    EXPECT_EQ(locksInSteps(), 1);
    osFaults = {};
    EXPECT_NE(result, 0);
    EXPECT_EQ(file.file.sharing.readNesting, 0);

    ASSERT_EQ(ixBeginRead(&file.file), 0);
    osFaults = {.call = OS_CALL_UNLOCK, .first = 1, .time = 100};
    piece = {.since = 1, .steps = 64};
    EXPECT_EQ(ixYieldRead(&file.file, &piece), IX_FILE_LOCK);
    osFaults = {};
    EXPECT_EQ(ixClose(&file), IX_OK);
}

#if !defined(_WIN32) // has no such times, and a probe there meets a descriptor's own locks
// And somewhat longer in the times that all processes leave to writers, when there are other
// processes.
TEST(Reads, StayAwayFromTheLockInQuietTimes)
{
    const std::string path = freshJob("tiny");
    for (int slot : {0, 1}) {
        IndexFile files[2] = {};
        IndexFile& reader = files[slot];
        IndexFile& other = files[1 - slot];
        auto pausesInReads = [&](int yieldingIn) {
            osFaults.pauses = 0;
            reader.file.sharing.usedAtLook = fileState.cache.uses; // as if it had just looked
            for (int i = 0; i < 8; ++i) {
                ReadPiece piece = {.since = 3, .steps = 64};
                NodeView root = {};
                EXPECT_EQ(ixBeginRead(&reader.file), 0);
                for (int page = 0; page < 9; ++page) { // as a point
                    cachedPageView(&reader.file, &root, reader.file.header.rootPage);
                }
                int yielded = i == yieldingIn ? ixYieldRead(&reader.file, &piece) : 0;
                EXPECT_EQ(yielded, 0);
                EXPECT_EQ(ixEndRead(&reader.file), 0);
            }
            return osFaults.pauses;
        };
        ASSERT_EQ(ixOpen(&files[0], path.c_str(), OPEN_SHARED), IX_OK);
        ASSERT_EQ(ixOpen(&files[1], path.c_str(), OPEN_SHARED), IX_OK);
        osFaults = {.time = 5};
        EXPECT_EQ(pausesInReads(0), 0);
        osFaults.quietTime = 1;
        EXPECT_EQ(pausesInReads(8), 2) << "while nobody takes the lock";
        EXPECT_EQ(pausesInReads(8), 0) << "the same time";
        osFaults.quietTime = 17;
        EXPECT_EQ(ixBeginRead(&other.file), IX_OK);
        EXPECT_EQ(pausesInReads(0), 11) << "in the middle of a long read, however long it lasts";
        EXPECT_EQ(ixEndRead(&other.file), IX_OK);
        EXPECT_EQ(ixClose(&other), IX_OK);
        osFaults.quietTime = 33;
        EXPECT_EQ(pausesInReads(8), 0) << "alone";
        EXPECT_EQ(ixClose(&reader), IX_OK);
        osFaults = {};
    }
}
#endif

// Between the reading and the writing of a call another process may have written the same, or
// have taken the element away.
TEST(PublicCalls, WriteNothingThatAnotherProcessHasWrittenMeanwhile)
{
    for (const auto& [kind, name] : {std::pair(ELEMENT_LINE, "NOEXT1"), {ELEMENT_CHAIN, "OLD1"}}) {
        const std::string path = freshJob("mixed");
        std::vector<std::string> states = {fileBytes(path)}; // before, written, gone
        std::optional<Connection> job(path);
        EXPECT_TRUE(Element(*job, kind, name));
        const Facts facts = factsOf(kind, Element(*job, kind, name).element);
        states.push_back(fileBytes(path));
        IndexFile* tree = &slotContext()->tree;
        ASSERT_EQ((kind == ELEMENT_LINE ? findLine : findChain)(slotContext(), name), COGO_OK);
        EXPECT_EQ(ixDelete(tree, 1, foundKey(*tree).c_str(), tree->found.number), IX_OK);
        states.push_back(fileBytes(path));
        for (size_t state : {1, 2}) {
            job.reset();
            writeBytes(path, states[0]);
            job.emplace(path);
            osFaults = {.lockWaitedFor = 2};
            osFaults.meanwhile = [&] { writeBytes(path, states[state]); };
            Element element(*job, kind, name);
            osFaults = {};
            EXPECT_EQ(bool(element), state == 1);
            EXPECT_TRUE(!element || factsOf(kind, element.element) == facts);
            EXPECT_TRUE(fileBytes(path) == states[state]);
        }
    }
}

// What would change the file inside a reading bracket is refused, and told of, whatever
// layer forgot to ask.
TEST(ReadingBracket, WritesNothing)
{
    IndexFile file = {};
    std::string path = freshJob("tiny");
    ASSERT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
    std::string bytes = fileBytes(path);
    ASSERT_EQ(ixBeginRead(&file.file), 0);
    EXPECT_EQ(ixAdd(&file, 20, "KEY", 1, nullptr, 0), IX_FILE_LOCK);
    EXPECT_TRUE(file.file.pending.refused);
    ASSERT_EQ(ixFindFirst(&file, 1, nullptr, 0), IX_OK);
    EXPECT_EQ(ixLockRecord(&file, 1), IX_FILE_LOCK);
    EXPECT_EQ(ixDelete(&file, 1, foundKey(file).c_str(), file.found.number), IX_FILE_LOCK);
    int32_t number = 0;
    EXPECT_EQ(ixNextSequence(&file, &number), IX_FILE_LOCK);
    uint8_t page[NODE_PAGE_SIZE] = {};
    EXPECT_EQ(cachedPageWrite(&file.file, page, file.file.header.rootPage), IX_PAGE_IO);
    EXPECT_EQ(writeHeader(&file.file), IX_PAGE_IO);
    EXPECT_EQ(ixEndRead(&file.file), 0);
    EXPECT_EQ(ixClose(&file), IX_OK);
    EXPECT_EQ(fileBytes(path), bytes);
}

// Whether a search or a step along the leaf has reached it.
TEST(PointList, CutsEveryLongNameAlike)
{
    const std::string tail = "1234567890123456 890123456";
    std::string path = writeJob(rawJob({rawEntry(5, "      7", 1), rawEntry(5, "A" + tail, 2),
                                        rawEntry(5, "B 1" + tail, 3), rawEntry(5, "C" + tail, 4)}));
    Connection job(path);
    const std::vector<std::string> names = {"7", "A" + tail.substr(0, 19),
                                            "B1" + tail.substr(0, 18), "C" + tail.substr(0, 19)};
    EXPECT_EQ(namesOf(job, ELEMENT_POINT), names);
}
