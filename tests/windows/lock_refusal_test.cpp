// What the Windows backend makes of transfers that are refused for another handle's
// lock, and that the tools read no byte of a user slot. The system's ReadFile and
// WriteFile are replaced below the C runtime by ones that refuse a number of header
// transfers and all reads of the slots, so the runtime's own errors take part. Wine
// needs this: it does not enforce locks on reads and writes.
#include "api/orvIdx.h"
#include "format/format.h"
#include "platform/os.h"
#include "tests/support/command.h"
#include "tests/support/facts.h"
#include "tests/windows/import_patch.h"
#include "tools/check/check.h"
#include "tools/orvidx/open_diagnosis.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace
{

constexpr DWORD FOR_EVER = 0xFFFFFFFF;
constexpr DWORD SLOTS_END = USER_SLOT_BASE + USER_SLOTS;

using ReadFunction = BOOL WINAPI(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED);
using WriteFunction = BOOL WINAPI(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED);

struct {
    ReadFunction* read;
    WriteFunction* write;
    DWORD error;     // why transfers are refused
    DWORD toRefuse;  // of each header transfer
    DWORD refused;   // of the header transfer under way
    DWORD attempts;  // of all header transfers
    bool slotsTaken; // no user slot can be read
} shim;

// True, with the system's error set, when this attempt of a transfer is to be refused.
bool refuses(DWORD length)
{
    if (length != HEADER_SIZE) return false;
    ++shim.attempts;
    if (shim.refused < shim.toRefuse) {
        ++shim.refused;
        SetLastError(shim.error);
        return true;
    }
    shim.refused = 0;
    return false;
}

BOOL WINAPI refusingRead(HANDLE file, LPVOID buffer, DWORD length, LPDWORD done, LPOVERLAPPED place)
{
    DWORD offset = SetFilePointer(file, 0, nullptr, FILE_CURRENT);
    if (refuses(length)) return FALSE;
    if (shim.slotsTaken && offset < SLOTS_END && offset + length > USER_SLOT_BASE) {
        SetLastError(ERROR_LOCK_VIOLATION);
        return FALSE;
    }
    return shim.read(file, buffer, length, done, place);
}

BOOL WINAPI refusingWrite(HANDLE file, LPCVOID buffer, DWORD length, LPDWORD done,
                          LPOVERLAPPED place)
{
    if (refuses(length)) return FALSE;
    return shim.write(file, buffer, length, done, place);
}

void refuse(DWORD error, DWORD times)
{
    shim.error = error;
    shim.toRefuse = times;
    shim.refused = 0;
    shim.attempts = 0;
    shim.slotsTaken = false;
}

class LockRefusal : public testing::Test
{
  protected:
    void SetUp() override
    {
        auto read = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(refusingRead));
        auto write = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(refusingWrite));
        realRead = patchImport("msvcrt.dll", "ReadFile", read);
        realWrite = patchImport("msvcrt.dll", "WriteFile", write);
        ASSERT_NE(realRead, nullptr);
        ASSERT_NE(realWrite, nullptr);
        shim.read = reinterpret_cast<ReadFunction*>(reinterpret_cast<void*>(realRead));
        shim.write = reinterpret_cast<WriteFunction*>(reinterpret_cast<void*>(realWrite));
        refuse(ERROR_LOCK_VIOLATION, 0);
    }

    void TearDown() override
    {
        patchImport("msvcrt.dll", "ReadFile", realRead);
        patchImport("msvcrt.dll", "WriteFile", realWrite);
    }

    FARPROC realRead = nullptr;
    FARPROC realWrite = nullptr;
    const std::string path = freshJob("mixed");
};

} // namespace

TEST_F(LockRefusal, IsWaitedForByAHeaderTransfer)
{
    int file = osOpen(path.c_str(), OS_READ_WRITE);
    ASSERT_GE(file, 0);
    uint8_t header[HEADER_SIZE] = {};
    refuse(ERROR_LOCK_VIOLATION, 7);
    EXPECT_EQ(osReadAt(file, 0, header, HEADER_SIZE), HEADER_SIZE);
    EXPECT_EQ(shim.attempts, 8U);

    header[39] = 0x5A;
    EXPECT_EQ(osWriteAt(file, 1, header, HEADER_SIZE), HEADER_SIZE);
    EXPECT_EQ(shim.attempts, 16U);
    osClose(file);
    EXPECT_EQ(fileBytes(path)[40], 0x5A);
}

TEST_F(LockRefusal, ThatDoesNotEndFailsAfterASecond)
{
    int file = osOpen(path.c_str(), OS_READ_WRITE);
    ASSERT_GE(file, 0);
    uint8_t header[HEADER_SIZE] = {};
    for (bool writing : {false, true}) {
        refuse(ERROR_LOCK_VIOLATION, FOR_EVER);
        DWORD begin = GetTickCount();
        int result = writing ? osWriteAt(file, 0, header, HEADER_SIZE)
                             : osReadAt(file, 0, header, HEADER_SIZE);
        DWORD elapsed = GetTickCount() - begin;
        EXPECT_EQ(result, OS_FAILED);
        EXPECT_GE(elapsed, 950U);
        EXPECT_LT(elapsed, 3000U);
    }
    osClose(file);
}

TEST_F(LockRefusal, IsToldFromOtherErrors)
{
    int file = osOpen(path.c_str(), OS_READ_WRITE);
    ASSERT_GE(file, 0);
    uint8_t header[HEADER_SIZE] = {};
    // The runtime makes EACCES of the second and third, too.
    for (DWORD error : {ERROR_ACCESS_DENIED, ERROR_SHARING_VIOLATION, ERROR_WRITE_PROTECT}) {
        refuse(error, FOR_EVER);
        EXPECT_EQ(osWriteAt(file, 0, header, HEADER_SIZE), OS_FAILED) << error;
        EXPECT_EQ(osReadAt(file, 0, header, HEADER_SIZE), OS_FAILED) << error;
        EXPECT_EQ(shim.attempts, 2U) << error;
    }
    osClose(file);
}

TEST_F(LockRefusal, OfHeadersLosesNoUpdate)
{
    // Some lines get an extension record, and chains of the older layout are rewritten.
    const std::string before = fileBytes(path);
    const Facts facts = factsOfJob(path);
    ASSERT_NE(fileBytes(path), before);

    // Refused reads would only make it slow.
    patchImport("msvcrt.dll", "ReadFile", realRead);
    std::string disturbed = freshJob("mixed");
    refuse(ERROR_LOCK_VIOLATION, 1);
    EXPECT_TRUE(factsOfJob(disturbed) == facts);
    EXPECT_GT(shim.attempts, 10U);
    EXPECT_TRUE(fileBytes(disturbed) == fileBytes(path));
}

TEST_F(LockRefusal, OfUserSlotsKeepsNoToolOut)
{
    shim.slotsTaken = true;
    CheckReport report = checkJobFile(path);
    EXPECT_EQ(report.complaints, std::vector<std::string>());
    EXPECT_GT(report.records, 100);
    EXPECT_EQ(openDiagnosis(path, IDX_ERROR).substr(0, 14), "too many users");
}
