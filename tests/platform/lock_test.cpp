// The lock bytes: what two openers of one file do to each other, in one process and in
// two, and the brackets that hold the file lock.
#include "engine/engine.h"
#include "platform/platform.h"
#include "tests/support/command.h"
#include "tests/support/peer.h"
#include "tests/support/raw_job.h"
#include "tools/tree_check.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

namespace fs = std::filesystem;

constexpr uid_t NOBODY = 65534;

// Asks for a byte at once, shared ('s') or exclusively ('x'), or releases it ('r').
static int askByte(int descriptor, char request, uint32_t offset)
{
    if (request == 's') return lockRangeShared(descriptor, LOCK_AT_ONCE, offset, 1);
    return lockRange(descriptor, request == 'x' ? LOCK_AT_ONCE : LOCK_RELEASE, offset, 1);
}

// Gives the slot of an open job up and claims one again, many times; tells whether it
// ever got one that somebody else kept. Two that give way to each other on every slot
// get none, and try again.
static std::string race(IndexFile* file)
{
    bool alone = true;
    for (int claims = 0; claims < 20000 && alone;) {
        releaseUserSlot(file);
        if (claimUserSlot(file) != IX_OK) continue;
        uint32_t slotByte = USER_SLOT_BASE + static_cast<uint32_t>(file->userSlot);
        alone = comesTrue([&] { return slotState(file->fileDescriptor, slotByte) == UNLOCKED; });
        ++claims;
    }
    return alone ? "alone" : "shared";
}

// Carries out a request: "S" or "E" opens in that mode and answers slot and access,
// "close" closes, "race" races for slots, "x5" asks for byte 5, "?5" tells which locks
// of it could be had.
static std::string obey(IndexFile* file, const std::string& path, const std::string& request)
{
    if (request == "close") return std::to_string(ixClose(file));
    if (request == "race") return race(file);
    if (request.size() == 1) {
        if (ixOpen(file, path.c_str(), request[0]) != IX_OK) return "refused";
        return std::to_string(file->userSlot) + (file->readOnly ? " reads" : " writes");
    }
    auto offset = static_cast<uint32_t>(std::stoul(request.substr(1)));
    int descriptor = file->fileDescriptor;
    if (request[0] != '?') return std::to_string(askByte(descriptor, request[0], offset));
    std::string kinds = askByte(descriptor, 's', offset) == 0 ? "s" : "";
    kinds += askByte(descriptor, 'x', offset) == 0 ? "x" : "";
    if (!kinds.empty()) askByte(descriptor, 'r', offset);
    return kinds;
}

// Obeys in a process of its own, as a user who may write or who may only read.
static Peer startOpener(const std::string& path, bool mayWrite)
{
    return startPeer([=](const Peer& test) {
        if (!mayWrite && geteuid() == 0) (void)!seteuid(NOBODY);
        IndexFile file = {};
        for (std::string request = hear(test); !request.empty(); request = hear(test)) {
            say(test, obey(&file, path, request));
        }
    });
}

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
        if (peer.pid != 0) endPeer(peer);
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
    Peer peer = GetParam() ? Peer() : startOpener(path, true);
    IndexFile otherFile = {};
    IndexFile file = {};
    const int opened = ixOpen(&file, path.c_str(), OPEN_SHARED);
    const int descriptor = file.fileDescriptor;
};

INSTANTIATE_TEST_SUITE_P(InOneProcess, Openers, testing::Bool());

TEST_P(Openers, ShareBytesForReadingAndHoldThemAloneForWriting)
{
    ASSERT_EQ(other("S"), "1 writes");
    for (uint32_t offset : {OPEN_PROBE_BYTE, FILE_LOCK_BYTE, USER_SLOT_BASE + 127}) {
        std::string byte = std::to_string(offset);
        // What is asked for here, and what the other one could have then.
        for (std::string row : {"ss", "x", "rsx"}) {
            EXPECT_EQ(askByte(descriptor, row[0], offset), 0);
            EXPECT_EQ(other("?" + byte), row.substr(1));
            EXPECT_EQ(other("?200"), "sx");
        }
        for (std::string held : {"s", "x"}) {
            EXPECT_EQ(slotState(descriptor, offset), held == "s" ? UNLOCKED : LOCKED);
            EXPECT_EQ(other(held + byte), "0");
            EXPECT_EQ(slotState(descriptor, offset), LOCKED);
            EXPECT_EQ(askByte(descriptor, 'x', offset), 1);
        }
        other("r" + byte);
    }
}

TEST_P(Openers, HoldTheFileLockUntilTheOutermostEnd)
{
    ASSERT_EQ(other("S"), "1 writes");
    const std::pair<int (*)(IndexFile*), const char*> steps[] = {
        {ixBeginRead, "s"},  {ixBeginRead, "s"}, {ixEndRead, "s"},  {ixEndRead, "sx"},
        {ixBeginUpdate, ""}, {ixBeginRead, ""},  {ixEndRead, ""},   {ixBeginUpdate, ""},
        {ixEndUpdate, ""},   {ixBeginRead, ""},  {ixEndUpdate, ""}, {ixEndRead, "sx"}};
    for (const auto& [step, others] : steps) {
        EXPECT_EQ(step(&file), 0);
        EXPECT_EQ(other(lockByte), others);
    }

    // A lock that a read left behind is given up: an update needs the exclusive one.
    ASSERT_EQ(lockByteShared(descriptor, FILE_LOCK_BYTE), 0);
    file.fileLockState = LOCKED;
    ASSERT_EQ(ixBeginUpdate(&file), 0);
    EXPECT_EQ(other(lockByte), "");
    EXPECT_EQ(ixEndUpdate(&file), 0);
    EXPECT_EQ(other(lockByte), "sx");

    // When only the state is left, what others have written is seen all the same.
    IndexFile writer = {};
    ASSERT_EQ(ixOpen(&writer, path.c_str(), OPEN_SHARED), IX_OK);
    EXPECT_EQ(ixFind(&file, 1, "KEY", 5, nullptr, 0), IX_NOT_FOUND);
    EXPECT_EQ(ixAdd(&writer, 1, "KEY", 5, nullptr, 0), IX_OK);
    file.fileLockState = LOCKED;
    EXPECT_EQ(ixFind(&file, 1, "KEY", 5, nullptr, 0), IX_OK);
    EXPECT_EQ(ixClose(&writer), IX_OK);
}

TEST_P(Openers, RefuseAnUpdateInsideAnOutermostRead)
{
    ASSERT_EQ(other("S"), "1 writes");
    ASSERT_EQ(ixAdd(&file, 1, "KEY", 5, nullptr, 0), IX_OK);
    std::string before = fileBytes(path);
    ASSERT_EQ(ixBeginRead(&file), 0);
    EXPECT_EQ(ixAdd(&file, 1, "KEY", 6, nullptr, 0), IX_FILE_LOCK);
    EXPECT_EQ(ixDelete(&file, 1, "KEY", 5), IX_FILE_LOCK);
    EXPECT_EQ(ixLockRecord(&file, 1), IX_FILE_LOCK);
    EXPECT_EQ(ixNextSequence(&file), IX_FILE_LOCK);
    EXPECT_EQ(other(lockByte), "s");
    EXPECT_EQ(ixEndRead(&file), 0);
    EXPECT_EQ(other(lockByte), "sx");
    EXPECT_EQ(fileBytes(path), before);
}

TEST_P(Openers, ClaimTheLowestFreeSlotUpToTheLast)
{
    std::vector<IndexFile> files(USER_SLOTS); // there is no slot for the first one
    for (size_t slot = 1; slot < files.size(); ++slot) {
        ASSERT_EQ(obey(&files[slot], path, "S"), std::to_string(slot) + " writes");
    }
    EXPECT_EQ(other("S") + obey(&files[0], path, "S"), "refusedrefused");
    EXPECT_EQ(closeDescriptor(files[0].fileDescriptor), -1) << "was left open";
    // The own slot is alive, and asking does not give it up.
    for (int slot : {-1, 0, 77, 127, 128, 0}) {
        EXPECT_EQ(holderAlive(&file, slot), slot >= 0 && slot < USER_SLOTS ? 0 : -1) << slot;
        EXPECT_EQ(holderAlive(&files[77], slot), holderAlive(&file, slot)) << slot;
    }
    EXPECT_EQ(ixClose(&files[77]), IX_OK);
    EXPECT_EQ(holderAlive(&files[77], 0), IX_NOT_OPEN);
    EXPECT_EQ(holderAlive(&file, 77), -1);
    ASSERT_EQ(other("S"), "77 writes");
    EXPECT_EQ(holderAlive(&file, 77), 0);
    if (!GetParam()) {
        endPeer(peer, SIGKILL);
        peer = startOpener(path, true);
        EXPECT_TRUE(comesTrue([&] { return holderAlive(&file, 77) == -1; }));
        EXPECT_EQ(other("S"), "77 writes");
    }
    for (IndexFile& each : files) {
        ixClose(&each);
    }
}

TEST_P(Openers, GetTheFileAloneOnlyWhileNobodyElseHasASlot)
{
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

TEST(ReadOnlyOpeners, TakeSlotsOfTheirOwnAndDoNotWaitForExclusiveUse)
{
    std::string path = writeEmptyJob(4);
    fs::permissions(fs::path(path).parent_path(), fs::perms(0755));
    fs::permissions(path, fs::perms(0444));
    std::string before = fileBytes(path);
    Peer readers[] = {startOpener(path, false), startOpener(path, false)};
    std::string first = ask(readers[0], "S");
    if (first.ends_with(" writes")) GTEST_SKIP() << "root cannot become another user here";
    EXPECT_EQ(first + ask(readers[1], "S"), "0 reads1 reads");
    say(readers[0], "race");
    say(readers[1], "race");
    EXPECT_EQ(hear(readers[0]) + hear(readers[1]), "alonealone");
    EXPECT_EQ(ask(readers[0], "close") + ask(readers[1], "close"), "00");

    IndexFile file = {};
    if (geteuid() != 0) GTEST_SKIP() << "only root may write, and so use alone, a read-only file";
    ASSERT_EQ(obey(&file, path, "E"), "-1 writes");
    EXPECT_EQ(ask(readers[0], "S"), "refused");
    EXPECT_EQ(ixClose(&file), IX_OK);
    EXPECT_EQ(ask(readers[0], "S"), "0 reads");
    EXPECT_EQ(obey(&file, path, "E"), "refused");
    ASSERT_EQ(obey(&file, path, "S"), "1 writes");
    EXPECT_EQ(holderAlive(&file, 0), 0);
    EXPECT_EQ(ixClose(&file), IX_OK);
    endPeer(readers[0]);
    endPeer(readers[1]);
    EXPECT_EQ(fileBytes(path), before);
}
