// The lock bytes: what two openers of one file do to each other, in one process and in
// two, and the brackets that hold the file lock.
#include "engine/engine.h"
#include "file/file.h"
#include "file/lock_bytes.h"
#include "platform/os.h"
#include "tests/support/command.h"
#include "tests/support/peer.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"

#include <gtest/gtest.h>
#include <unistd.h>

constexpr char OWNERS[] = "-owners"; // behind a job's path: the file of who has which slot

// Asks for a byte at once, shared ('s') or exclusively ('x'), or releases it ('r').
static int askByte(int descriptor, char request, uint32_t offset)
{
    if (request == 's') return lockRangeShared(descriptor, LOCK_AT_ONCE, offset, 1);
    return lockRange(descriptor, request == 'x' ? LOCK_AT_ONCE : LOCK_RELEASE, offset, 1);
}

// Gives the slot of an open job up and claims one again, many times, and writes down that
// it is the owner; tells whether somebody else did so as well. Two that give way to each
// other on every slot get none, and try again.
static std::string race(IndexFile* file, const std::string& path)
{
    const int self = getpid();
    const int owners = osOpen((path + OWNERS).c_str(), OS_READ_WRITE);
    bool alone = owners >= 0;
    for (int claims = 0; claims < 20000 && alone;) {
        releaseUserSlot(&file->file);
        if (claimUserSlot(&file->file) != IX_OK) continue;
        int owner = self;
        osWriteAt(owners, 4 * file->file.sharing.userSlot, &owner, 4);
        for (int reads = 0; reads < 5 && alone; ++reads) {
            alone =
                osReadAt(owners, 4 * file->file.sharing.userSlot, &owner, 4) == 4 && owner == self;
        }
        ++claims;
    }
    osClose(owners);
    return alone ? "alone" : "shared";
}

// Carries out a request: "S" or "E" opens in that mode and answers slot and access,
// "close" closes, "race" races for slots, "x5" asks for byte 5, "?5" tells which locks
// of it could be had.
static std::string obey(IndexFile* file, const std::string& path, const std::string& request)
{
    if (request == "close") return std::to_string(ixClose(file));
    if (request == "race") return race(file, path);
    if (request.size() == 1) {
        if (ixOpen(file, path.c_str(), request[0]) != IX_OK) return "refused";
        return std::to_string(file->file.sharing.userSlot) +
               (file->file.readOnly ? " reads" : " writes");
    }
    auto offset = static_cast<uint32_t>(std::stoul(request.substr(1)));
    int descriptor = file->file.descriptor;
    if (request[0] != '?') return std::to_string(askByte(descriptor, request[0], offset));
    std::string kinds;
    for (char kind : {'s', 'x'}) {
        if (askByte(descriptor, kind, offset) != 0) continue;
        kinds += kind;
        askByte(descriptor, 'r', offset);
    }
    return kinds;
}

enum { WRITER, READER };

// Obeys in a process of its own, as a user who may write or who may only read.
static void openAndObey(const Peer& test, const std::string& path, int user)
{
    if (user == READER) becomeReader();
    IndexFile file = {};
    for (std::string request = hear(test); !request.empty(); request = hear(test)) {
        say(test, obey(&file, path, request));
    }
    becomeRootAgain(); // for the leak check at the end
}

const std::map<std::string, PeerWork*> PEER_WORKS = {{"openAndObey", openAndObey}};

static std::string ask(const Peer& opener, const std::string& request)
{
    say(opener, request);
    return hear(opener);
}

// Two openers of a job: `file`, which has slot 0, and one in the same process or another.
class Openers : public testing::TestWithParam<bool>
{
  protected:
    ~Openers() override
    {
        if (peer.process != 0) endPeer(peer);
        ixClose(&otherFile);
        EXPECT_EQ(ixClose(&file), IX_OK);
        EXPECT_EQ(checkTreeFile(path).complaints, std::vector<std::string>());
    }
    std::string other(const std::string& request)
    {
        return GetParam() ? obey(&otherFile, path, request) : ask(peer, request);
    }
    const std::string path = writeEmptyJob(4);
    const std::string lockByte = "?" + std::to_string(FILE_LOCK_BYTE);
    Peer peer = GetParam() ? Peer() : startPeer("openAndObey", path, WRITER);
    IndexFile otherFile = {};
    IndexFile file = {};
    const int opened = ixOpen(&file, path.c_str(), OPEN_SHARED);
    const int descriptor = file.file.descriptor;
};

INSTANTIATE_TEST_SUITE_P(InOneProcess, Openers, testing::Bool());

TEST_P(Openers, ShareBytesForReadingAndHoldThemAloneForWriting)
{
    ASSERT_EQ(other("S"), "1 writes");
    EXPECT_EQ(lockRange(descriptor, 3, FILE_LOCK_BYTE, 1), 0);
    for (uint32_t offset : {OPEN_PROBE_BYTE, FILE_LOCK_BYTE, USER_SLOT_BASE + 127}) {
        std::string byte = std::to_string(offset);
        // What is asked for here, and what the other one could have then.
        for (std::string row : {"ss", "rsx", "x", "rsx"}) {
            EXPECT_EQ(askByte(descriptor, row[0], offset), 0);
            EXPECT_EQ(other("?" + byte), row.substr(1));
            EXPECT_EQ(other("?200"), "sx");
        }
        for (std::string held : {"s", "x"}) {
            EXPECT_EQ(slotState(descriptor, offset), UNLOCKED);
            EXPECT_EQ(other(held + byte), "0");
            EXPECT_EQ(slotState(descriptor, offset), LOCKED);
            EXPECT_EQ(askByte(descriptor, 'x', offset), 1);
            EXPECT_EQ(other("r" + byte), "0");
        }
    }
}

TEST_P(Openers, HoldTheFileLockUntilTheOutermostEnd)
{
    ASSERT_EQ(other("S"), "1 writes");
    const std::pair<int (*)(OpenFile*), const char*> steps[] = {
        {ixBeginRead, "s"},  {ixBeginRead, "s"}, {ixEndRead, "s"},  {ixEndRead, "sx"},
        {ixBeginUpdate, ""}, {ixBeginRead, ""},  {ixEndRead, ""},   {ixBeginUpdate, ""},
        {ixEndUpdate, ""},   {ixBeginRead, ""},  {ixEndUpdate, ""}, {ixEndRead, "sx"}};
    for (const auto& [step, others] : steps) {
        EXPECT_EQ(step(&file.file), 0);
        EXPECT_EQ(other(lockByte), others);
    }

    // A lock that a read left behind is given up: an update needs the exclusive one.
    ASSERT_EQ(lockByteShared(descriptor, FILE_LOCK_BYTE), 0);
    file.file.sharing.fileLock = LOCKED;
    ASSERT_EQ(ixBeginUpdate(&file.file), 0);
    EXPECT_EQ(other(lockByte), "");
    EXPECT_EQ(ixEndUpdate(&file.file), 0);
    EXPECT_EQ(other(lockByte), "sx");
}

TEST_P(Openers, ClaimTheLowestFreeSlotUpToTheLast)
{
    std::vector<IndexFile> files(USER_SLOTS); // there is no slot for the first one
    for (size_t slot = 1; slot < files.size(); ++slot) {
        ASSERT_EQ(obey(&files[slot], path, "S"), std::to_string(slot) + " writes");
    }
    EXPECT_EQ(other("S") + obey(&files[0], path, "S"), "refusedrefused");
    EXPECT_EQ(closeDescriptor(files[0].file.descriptor), -1) << "was left open";
    // The own slot is alive, and asking does not give it up.
    for (int slot : {-1, 0, 77, 127, 128, 0}) {
        EXPECT_EQ(holderAlive(&file.file, slot), slot >= 0 && slot < USER_SLOTS ? 0 : -1) << slot;
        EXPECT_EQ(holderAlive(&files[77].file, slot), holderAlive(&file.file, slot)) << slot;
    }
    EXPECT_EQ(ixClose(&files[77]), IX_OK);
    EXPECT_EQ(holderAlive(&files[77].file, 0), IX_NOT_OPEN);
    EXPECT_EQ(holderAlive(&file.file, 77), -1);
    ASSERT_EQ(other("S"), "77 writes");
    EXPECT_EQ(holderAlive(&file.file, 77), 0);
    if (!GetParam()) {
        endPeer(peer, KILL);
        peer = startPeer("openAndObey", path, WRITER);
        EXPECT_TRUE(comesTrue([&] { return holderAlive(&file.file, 77) == -1; }));
        EXPECT_EQ(other("S"), "77 writes");
    }
    for (IndexFile& each : files) {
        ixClose(&each);
    }
}

TEST_P(Openers, GetTheFileAloneOnlyWhileNobodyElseHasASlot)
{
    if (!emptyRangesLock()) GTEST_SKIP() << "an exclusive opener keeps nobody out here";
    IndexFile second = {};
    ASSERT_EQ(obey(&second, path, "S"), "1 writes");
    ASSERT_EQ(other("S"), "2 writes");
    EXPECT_EQ(ixClose(&file) + ixClose(&second), IX_OK);
    EXPECT_EQ(obey(&file, path, "E"), "refused");
    EXPECT_EQ(other("close"), "0");
    ASSERT_EQ(obey(&file, path, "E"), "-1 writes");
    EXPECT_EQ(other("S") + other("E"), "refusedrefused");
    EXPECT_EQ(ixClose(&file), IX_OK);
    ASSERT_EQ(obey(&file, path, "S"), "0 writes");
}

// A host without standard streams goes on writing to them.
TEST(OpenedFile, IsNoStandardStream)
{
    std::string path = writeEmptyJob(0);
    for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        int kept = dup(stream);
        close(stream);
        int file = osOpen(path.c_str(), OS_READ_WRITE);
        dup2(kept, stream);
        close(kept);
        EXPECT_GT(file, STDERR_FILENO);
        EXPECT_EQ(osClose(file), OS_DONE) << "was not open under its number";
    }
}

// Two processes that may only read a new job, and the job.
class ReadOnlyOpeners : public testing::Test
{
  protected:
    ~ReadOnlyOpeners() override
    {
        endPeer(readers[0]);
        endPeer(readers[1]);
        EXPECT_EQ(fileBytes(path), before);
    }
    ReadOnlyOpeners()
    {
        writeBytes(path + OWNERS, "");
        permitAll(path + OWNERS, WRITING);
        permitAll(path, READING);
    }
    const std::string path = writeEmptyJob(4);
    const std::string before = fileBytes(path);
    const Peer readers[2] = {startPeer("openAndObey", path, READER),
                             startPeer("openAndObey", path, READER)};
};

TEST_F(ReadOnlyOpeners, TakeSlotsOfTheirOwn)
{
    std::string first = ask(readers[0], "S");
    if (first.ends_with(" writes")) GTEST_SKIP() << "root cannot become another user here";
    EXPECT_EQ(first + ask(readers[1], "S"), "127 reads126 reads");
    say(readers[0], "race");
    say(readers[1], "race");
    EXPECT_EQ(hear(readers[0]) + hear(readers[1]), "alonealone");
    EXPECT_EQ(ask(readers[0], "close") + ask(readers[1], "close"), "00");
}

TEST_F(ReadOnlyOpeners, DoNotWaitForExclusiveUse)
{
    if (!isRoot()) GTEST_SKIP() << "only root may write, and so use alone, a read-only file";
    IndexFile file = {};
    ASSERT_EQ(obey(&file, path, "E"), "-1 writes");
    EXPECT_EQ(ask(readers[0], "S"), "refused");
    EXPECT_EQ(ixClose(&file), IX_OK);
    std::string first = ask(readers[0], "S");
    if (first.ends_with(" writes")) GTEST_SKIP() << "root cannot become another user here";
    EXPECT_EQ(first, "127 reads");
    EXPECT_EQ(obey(&file, path, "E"), "refused");
    ASSERT_EQ(obey(&file, path, "S"), "0 writes");
    EXPECT_EQ(holderAlive(&file.file, 127), 0);
    EXPECT_EQ(ixClose(&file), IX_OK);
}
