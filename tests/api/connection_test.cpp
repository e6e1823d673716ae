// Connecting: to what is no job database, twice, with wrong arguments, read-only.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tests/support/os_faulty.h"
#include "tests/support/raw_job.h"
#include "tools/tree_check.h"

#include <gtest/gtest.h>

#include <cstring>
#include <unistd.h>

namespace fs = std::filesystem;

static int32_t connectTo(const std::string& path, IdxConnection** job)
{
    return orvIdx_connectToOrvaneOrvFile(job, path.c_str(), 7);
}

// Whether the element was read; it is given back.
static bool isRead(IdxConnection* job, uint32_t kind, const std::string& name)
{
    void* element = nullptr;
    int32_t result = orvIdx_readElementbyName(job, kind, name.c_str(), &element);
    EXPECT_EQ(element != nullptr, result == IDX_OK);
    EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
    return result == IDX_OK;
}

TEST(Connect, RefusesWhatIsNoCurrentJob)
{
    // A lock entry of the user slot that the opener gets.
    std::string older = rawJob({rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, rawNumber(0, 4))});
    const std::string magic = "VALIDATE";
    const size_t places[] = {0, 4, 8, 12, 16, 20, 28, 32};
    for (size_t i = 0; i < 8; ++i) {
        older[places[i]] = magic[i];
    }
    IdxConnection* job = nullptr;
    std::string path = freshDirectory() / "job.orv";
    for (const std::string& bytes :
         {older, std::string(), std::string(3000, 'x'), emptyJob(0).substr(0, 1024)}) {
        writeBytes(path, bytes);
        EXPECT_EQ(connectTo(path, &job), bytes == older ? IDX_OLDER_FORMAT : IDX_ERROR);
        EXPECT_EQ(fileBytes(path), bytes);
    }
    EXPECT_EQ(connectTo(fs::path(path).parent_path(), &job), IDX_ERROR);
    EXPECT_EQ(connectTo(path + "x", &job), IDX_ERROR);
    EXPECT_EQ(job, nullptr);
}

TEST(Connect, ClearsABusyMarkerThatStays)
{
    std::string path = freshJob("tiny");
    std::string bytes = fileBytes(path);
    poke32(path, 1020, 13245);
    IdxConnection* job = nullptr;
    osFaults.transfers.clear();
    ASSERT_EQ(connectTo(path, &job), IDX_OK);
    OsTransfer marker = {OS_CALL_READ, osFaults.transfers[0].descriptor, 1020};
    EXPECT_EQ(std::count(osFaults.transfers.begin(), osFaults.transfers.end(), marker), 5000);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    EXPECT_EQ(fileBytes(path), bytes);
}

TEST(Connect, LeavesTheConnectionAloneWhenArgumentsAreWrong)
{
    IdxConnection* job = nullptr;
    IdxConnection* other = nullptr;
    std::string path = freshJob("tiny");
    ASSERT_EQ(connectTo(path, &job), IDX_OK);
    EXPECT_EQ(job->path, path);
    EXPECT_EQ(job->userValue, 7U);
    EXPECT_EQ(connectTo(path, nullptr), IDX_ERROR);
    EXPECT_EQ(connectTo("", &other), IDX_ERROR);
    EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&other, nullptr, 0), IDX_ERROR);
    std::string longPath = path;
    longPath.insert(0, 256 - path.size(), '/');
    EXPECT_EQ(connectTo(longPath, &other), IDX_ERROR);

    uint32_t count = 99;
    char* names = nullptr;
    void* element = &count;
    EXPECT_EQ(orvIdx_numberOfElements(job, 7, &count, &names), IDX_ERROR);
    EXPECT_EQ(orvIdx_numberOfElements(nullptr, 0, &count, &names), IDX_ERROR);
    EXPECT_EQ(orvIdx_numberOfElements(job, 0, nullptr, &names), IDX_OK);
    EXPECT_EQ(orvIdx_readElementbyName(job, 7, "9", &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_readElementbyName(job, 0, nullptr, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_readElementbyName(job, 0, "9", nullptr), IDX_ERROR);
    EXPECT_EQ(orvIdx_readFirstElement(job, 7, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_readNextElement(nullptr, 0, &element), IDX_ERROR);
    EXPECT_EQ(orvIdx_freeElement(7, &element), IDX_ERROR);
    EXPECT_EQ(element, &count);
    EXPECT_EQ(count, 99U);
    EXPECT_EQ(orvIdx_freeElement(0, nullptr), IDX_OK);
    EXPECT_EQ(orvIdx_freeElementNameList(nullptr), IDX_OK);
    EXPECT_EQ(orvIdx_freeElementNameList(&names), IDX_OK);

    // 255 characters are not too many; the first connection ends with the second.
    ASSERT_EQ(connectTo(longPath.substr(1), &other), IDX_OK);
    EXPECT_FALSE(isRead(job, ELEMENT_POINT, "9"));
    EXPECT_EQ(orvIdx_numberOfElements(job, 0, &count, nullptr), IDX_ERROR);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
    EXPECT_TRUE(isRead(other, ELEMENT_POINT, "9"));
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&other), IDX_OK);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&other), IDX_OK);
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(nullptr), IDX_OK);
}

// Pages of a session that could not write them must not end up in the next file, which
// gets the same descriptor.
TEST(Connect, WritesNothingOfAFailedSessionIntoAnotherFile)
{
    std::string path = freshJob("mixed");
    std::string foreign = freshDirectory() / "text";
    writeBytes(foreign, std::string(600000, 'x'));
    IdxConnection* job = nullptr;
    ASSERT_EQ(connectTo(path, &job), IDX_OK);
    osFaults = {.call = OS_CALL_WRITE, .first = 3, .lasting = true};
    EXPECT_FALSE(isRead(job, ELEMENT_LINE, "NOEXT1"));
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_ERROR);
    IdxConnection* other = nullptr;
    EXPECT_EQ(connectTo(foreign, &other), IDX_ERROR);
    osFaults = {};
    EXPECT_EQ(connectTo(foreign, &other), IDX_ERROR);
    EXPECT_EQ(fileBytes(foreign), std::string(600000, 'x'));
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
}

TEST(ReadOnlyFile, IsReadButForWhatWouldBeWritten)
{
    fs::path path = freshJob("mixed");
    std::string bytes = fileBytes(path);
    fs::permissions(path.parent_path(), fs::perms(0755));
    fs::permissions(path, fs::perms(0444));
    uid_t user = geteuid();
    if (user == 0 && seteuid(65534) != 0) GTEST_SKIP() << "root cannot become another user here";

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
    EXPECT_EQ(seteuid(user), 0);
    EXPECT_EQ(fileBytes(path), bytes);
}
