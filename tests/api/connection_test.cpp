// Connecting: to what is no job database, with wrong arguments, twice, read-only.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/os_faulty.h"
#include "tests/support/process.h"
#include "tests/support/raw_job.h"

#include <algorithm>
#include <gtest/gtest.h>

static int32_t connectTo(const std::string& path, IdxConnection** job)
{
    return orvIdx_connectToOrvaneOrvFile(job, path.c_str(), 7);
}

// Whether the element was read; it is given back, twice.
static bool isRead(IdxConnection* job, uint32_t kind, const std::string& name)
{
    void* element = nullptr;
    int32_t result = orvIdx_readElementbyName(job, kind, name.c_str(), &element);
    EXPECT_EQ(element != nullptr, result == IDX_OK);
    EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
    EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
    return result == IDX_OK;
}

TEST(Connect, RefusesWhatIsNoCurrentJob)
{
    // Of the older format, with a lock entry of the user slot that the opener gets.
    std::string older = rawJob({rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, rawNumber(0, 4))});
    for (size_t i = 0; i < 8; ++i) {
        older["\0\4\10\14\20\24\34\40"[i]] = "VALIDATE"[i];
    }
    IdxConnection* job = nullptr;
    std::string directory = freshDirectory();
    std::string path = directory + "/job.orv";
    for (const std::string& bytes :
         {older, std::string(), std::string(3000, 'x'), emptyJob(0).substr(0, 1024)}) {
        writeBytes(path, bytes);
        EXPECT_EQ(connectTo(path, &job), bytes == older ? IDX_OLDER_FORMAT : IDX_ERROR);
        EXPECT_EQ(fileBytes(path), bytes);
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

    uint32_t count = 99;
    void* element = &count;
    EXPECT_EQ(orvIdx_numberOfElements(job, 7, &count, nullptr), IDX_ERROR);
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
