// Connecting: to what is no job database, with wrong arguments, twice, read-only.
#include "engine/engine.h"
#include "tests/support/bad_files.h"
#include "tests/support/command.h"
#include "tests/support/connection.h"
#include "tests/support/facts.h"
#include "tests/support/os_faulty.h"
#include "tests/support/process.h"
#include "tests/support/raw_job.h"

#include <algorithm>
#include <cstring>

static int32_t connectTo(const std::string& path, IdxConnection** job)
{
    return orvIdx_connectToOrvaneOrvFile(job, path.c_str(), 7);
}

static bool isRead(IdxConnection* job, uint32_t kind, const std::string& name)
{
    return bool(Element(job, kind, name));
}

// No slot of the job is kept, or the one that uses the file alone would be refused.
static void expectNoSlotKept(const std::string& path)
{
    IndexFile alone = {};
    EXPECT_EQ(ixOpen(&alone, path.c_str(), OPEN_EXCLUSIVE), IX_OK);
    EXPECT_EQ(ixClose(&alone), IX_OK);
}

TEST(Connect, RefusesWhatIsNoCurrentJob)
{
    IdxConnection* job = nullptr;
    std::string directory = freshDirectory();
    std::string path = directory + "/job.orv";
    for (const BadFile& file : badFiles()) {
        writeBytes(path, file.bytes);
        EXPECT_EQ(connectTo(path, &job), file.connectResult) << file.what;
        EXPECT_TRUE(fileBytes(path) == file.bytes) << file.what;
    }
    EXPECT_EQ(connectTo(directory, &job), IDX_ERROR);
    EXPECT_EQ(connectTo(path + "/x", &job), IDX_ERROR);
    EXPECT_EQ(job, nullptr);
}

TEST(Connect, ClearsABusyMarkerThatStays)
{
    std::string path = freshJob("tiny");
    std::string bytes = fileBytes(path);
    poke32(path, 1020, 13245);
    IdxConnection* job = nullptr;
    osFaults = {};
    ASSERT_EQ(connectTo(path, &job), IDX_OK);
    auto readsMarker = [](const OsTransfer& transfer) {
        return transfer.call == OS_CALL_READ && transfer.offset == 1020;
    };
    EXPECT_EQ(std::count_if(osFaults.transfers.begin(), osFaults.transfers.end(), readsMarker),
              5000);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    EXPECT_EQ(fileBytes(path), bytes);
    poke32(path, 1020, 13245);
    osFaults = {.call = OS_CALL_WRITE, .first = 1};
    EXPECT_EQ(connectTo(path, &job), IDX_ERROR);
    osFaults = {};

    // It stays in what cannot be written, and in a file that is no sound job.
    poke32(path, 1020, 13245);
    permitAll(path, READING);
    if (becomeReader()) {
        Connection reader(path);
        becomeRootAgain();
    }
    permitAll(path, WRITING);
    for (long place : {0L, 14L}) { // magic, height
        poke16(path, place, 0x7777);
        bytes = fileBytes(path);
        EXPECT_EQ(connectTo(path, &job), IDX_ERROR);
        EXPECT_EQ(fileBytes(path), bytes);
        writeBytes(path, emptyJob(0));
        poke32(path, 1020, 13245);
    }
}

// Somebody else has the file alone, and lets go of it: then it is used alone here as well.
TEST(Connect, ReadsTheSameFromAFileThatItUsesAlone)
{
    const std::string paths[] = {freshJob("mixed"), freshJob("mixed")};
    const Facts facts = factsOfJob(paths[0]);
    osFaults = {.call = OS_CALL_LOCK, .first = 1};
    EXPECT_TRUE(factsOfJob(paths[1]) == facts);
    EXPECT_EQ(osFaults.locks, 2) << "the byte of the probe, refused, and all of them";
    osFaults = {};
    EXPECT_TRUE(factsOfJob(paths[1]) == factsOfJob(paths[0]));
}

TEST(Connect, KeepsToOneConnectionAndToKnownKinds)
{
    IdxConnection* job = nullptr;
    IdxConnection* other = nullptr;
    std::string path = freshJob("tiny");
    std::string longPath = path;
    longPath.insert(path.rfind('/'), 256 - path.size(), '/');
    ASSERT_EQ(connectTo(path, &job), IDX_OK);
    EXPECT_EQ(connectTo(path, nullptr), IDX_ERROR);
    EXPECT_EQ(connectTo("", &other), IDX_ERROR);
    EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&other, nullptr, 0), IDX_ERROR);
    EXPECT_EQ(connectTo(longPath, &other), IDX_ERROR);

    EXPECT_EQ(orvIdx_isOrvaneOrvFile(nullptr), 1);
    char password[13] = "";
    EXPECT_EQ(dlmPassword(password), password);
    EXPECT_EQ(strlen(password), 12U);
    EXPECT_EQ(initialize(), 0);
    uint32_t count = 99;
    void* element = &count;
    EXPECT_EQ(orvIdx_numberOfElements(job, 7, &count, nullptr), IDX_ERROR);
    EXPECT_EQ(orvIdx_numberOfElements(job, 7, nullptr, nullptr), IDX_ERROR);
    EXPECT_EQ(orvIdx_numberOfElements(nullptr, 0, &count, nullptr), IDX_ERROR);
    EXPECT_EQ(orvIdx_numberOfElements(job, 0, nullptr, nullptr), IDX_OK);
    EXPECT_EQ(orvIdx_readElementbyName(job, 7, "9", &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_readElementbyName(job, 0, nullptr, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_readElementbyName(job, 0, "9", nullptr), IDX_ERROR);
    EXPECT_EQ(orvIdx_readFirstElement(job, 7, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_readNextElement(nullptr, 0, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_freeElement(7, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_freeElement(0, nullptr), IDX_OK);
    EXPECT_EQ(orvIdx_freeElementNameList(nullptr), IDX_OK);
    EXPECT_TRUE(element == &count && count == 99);

    // 255 characters are not too many; the first connection ends with the second.
    longPath.erase(path.rfind('/'), 1);
    ASSERT_EQ(connectTo(longPath, &other), IDX_OK);
    EXPECT_EQ(other->path, longPath);
    EXPECT_FALSE(isRead(job, ELEMENT_POINT, "9"));
    // Copies of a handle do not release it once more.
    IdxConnection* copies[] = {job, other};
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&copies[0]), IDX_ERROR);
    EXPECT_TRUE(isRead(other, ELEMENT_POINT, "9"));
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&other), IDX_OK);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&copies[1]), IDX_ERROR);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&other), IDX_OK);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(nullptr), IDX_OK);
    EXPECT_EQ(dlmPassword(nullptr), nullptr);
}

// The next file gets the descriptor of the one whose pages could not be written.
TEST(Connect, WritesNothingOfAFailedSessionIntoAnotherFile)
{
    IdxConnection* job = nullptr;
    std::string text = freshDirectory() + "/text";
    writeBytes(text, std::string(600000, 'x'));
    ASSERT_EQ(connectTo(freshJob("mixed"), &job), IDX_OK);
    osFaults = {.call = OS_CALL_WRITE, .first = 3, .lasting = true};
    EXPECT_FALSE(isRead(job, ELEMENT_LINE, "NOEXT1"));
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_ERROR);
    IdxConnection* other = nullptr;
    EXPECT_EQ(connectTo(text, &other), IDX_ERROR);
    osFaults = {};
    EXPECT_EQ(connectTo(text, &other), IDX_ERROR);
    EXPECT_EQ(fileBytes(text), std::string(600000, 'x'));
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
}

// When nothing waits for being written a further call would not do better.
TEST(Disconnect, LetsGoOfTheFileWhateverTheSystemAnswers)
{
    std::string path = freshJob("tiny");
    for (OsCall call : {OS_CALL_READ, OS_CALL_LOCK, OS_CALL_UNLOCK, OS_CALL_CLOSE}) {
        IdxConnection* job = nullptr;
        ASSERT_EQ(connectTo(path, &job), IDX_OK);
        osFaults = {.call = call, .first = 1, .lasting = true};
        if (call == OS_CALL_CLOSE) {
            EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_ERROR);
        }
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK) << call;
        EXPECT_EQ(job, nullptr);
        osFaults = {};
    }
    expectNoSlotKept(path);
}

// Cut or overwritten by another program, it is no job any more: nothing is made up from it, and
// it is let go of, changes that wait for being written included.
TEST(DestroyedFile, IsReportedAndLetGoOf)
{
    const std::string sound = fileBytes(freshJob("mixed"));
    for (int kind = 0; kind < 6; ++kind) {
        SCOPED_TRACE(kind);
        const bool changed = kind % 2 == 1;
        const std::string rest = kind < 4 ? sound.substr(0, kind / 2 * 20U) : sound.substr(1);
        std::string path = freshJob("mixed");
        IdxConnection* job = nullptr;
        ASSERT_EQ(connectTo(path, &job), IDX_OK);
        osFaults = {.call = OS_CALL_WRITE, .first = 3, .lasting = true};
        EXPECT_FALSE(changed && isRead(job, ELEMENT_LINE, "NOEXT1"));
        osFaults = {};
        writeBytes(path, rest);
        // Changes that could not be written are told of.
        const int32_t told = changed ? IDX_ERROR : IDX_OK;
        uint32_t count = 0;
        for (uint32_t each = ELEMENT_POINT; each <= ELEMENT_SURVEY_CHAIN && !changed; ++each) {
            EXPECT_EQ(orvIdx_numberOfElements(job, each, &count, nullptr), IDX_ERROR) << each;
            EXPECT_EQ(count, 0U) << each;
        }
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), told);
        EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
        EXPECT_EQ(job, nullptr);
        EXPECT_EQ(fileBytes(path), rest);
        writeBytes(path, sound);
        expectNoSlotKept(path);
    }
}

TEST(ReadOnlyFile, IsReadButForWhatWouldBeWritten)
{
    std::string path = freshJob("mixed");
    std::string bytes = fileBytes(path);
    permitAll(path, READING);
    if (!becomeReader()) GTEST_SKIP() << "root cannot become another user here";

    IdxConnection* job = nullptr;
    ASSERT_EQ(connectTo(path, &job), IDX_OK);
    testing::internal::CaptureStdout();
    EXPECT_FALSE(isRead(job, ELEMENT_LINE, "NOEXT1"));
    EXPECT_FALSE(isRead(job, ELEMENT_CHAIN, "OLD1"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ORV File Status: Read Only Access. ORVANE can not update a record \n"
              "ORV File Status: Read Only Access. ORVANE can not add a record.\n"
              "ORV File Status: Read Only Access. ORVANE can not delete a record.\n");
    testing::internal::CaptureStdout();
    std::string unread;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        for (const std::string& name : namesOf(job, kind)) {
            if (!isRead(job, kind, name)) unread += name + " ";
        }
    }
    testing::internal::GetCapturedStdout();
    // The others cannot be read from a file that may be written either.
    EXPECT_EQ(unread, "0LN NOEXT1 NOEXT2 NOEXT3 NOEXT4 NOEXT5 NOEXT6 NOEXT7 NOEXT8 ln "
                      "OLD1 OLD2 OLD3 OLD4 NODATA NOSEGMENT PROF55 Z ");
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    becomeRootAgain();
    EXPECT_EQ(fileBytes(path), bytes);
}
