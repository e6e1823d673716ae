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
#include "tools/check/check.h"
#include "tools/reading/open_diagnosis.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace
{

constexpr DWORD FOR_EVER = 0xFFFFFFFF;
constexpr DWORD SLOTS_END = USER_SLOT_BASE + USER_SLOTS;

using ReadFunction = BOOL WINAPI(HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED);
using WriteFunction = BOOL WINAPI(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED);

struct {
    DWORD error = ERROR_LOCK_VIOLATION; // why transfers are refused
    DWORD toRefuse = 0;                 // of each header transfer
    DWORD refused = 0;                  // of the header transfer under way
    DWORD attempts = 0;                 // of all header transfers
    bool slotsTaken = false;            // no user slot can be read
} shim;

ReadFunction* realRead;
WriteFunction* realWrite;

// Replaces what the C runtime imports under that name, and answers what was there.
template <typename Function> Function* patchImport(const char* name, Function* replacement)
{
    auto* begin = reinterpret_cast<uint8_t*>(GetModuleHandleA("msvcrt.dll"));
    auto at = [=](auto* type, DWORD address) { return decltype(type)(begin + address); };
    auto* headers = at((IMAGE_NT_HEADERS*)nullptr,
                       static_cast<DWORD>(at((IMAGE_DOS_HEADER*)nullptr, 0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    Function* found = nullptr;
    auto* library = at((IMAGE_IMPORT_DESCRIPTOR*)nullptr, imports.VirtualAddress);
    for (; library->Name != 0; ++library) {
        auto* slot = at((IMAGE_THUNK_DATA*)nullptr, library->FirstThunk);
        auto* entry = at((IMAGE_THUNK_DATA*)nullptr, library->OriginalFirstThunk);
        for (; entry->u1.AddressOfData != 0; ++entry, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal)) continue;
            auto* imported = at((IMAGE_IMPORT_BY_NAME*)nullptr, entry->u1.AddressOfData);
            if (name != std::string(imported->Name)) continue;
            DWORD protection = 0;
            VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
            found = reinterpret_cast<Function*>(slot->u1.Function);
            slot->u1.Function = reinterpret_cast<uintptr_t>(replacement);
            VirtualProtect(slot, sizeof *slot, protection, &protection);
        }
    }
    return found;
}

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
    return realRead(file, buffer, length, done, place);
}

BOOL WINAPI refusingWrite(HANDLE file, LPCVOID buffer, DWORD length, LPDWORD done,
                          LPOVERLAPPED place)
{
    if (refuses(length)) return FALSE;
    return realWrite(file, buffer, length, done, place);
}

class LockRefusal : public testing::Test
{
  protected:
    LockRefusal()
    {
        realRead = patchImport("ReadFile", refusingRead);
        realWrite = patchImport("WriteFile", refusingWrite);
        EXPECT_TRUE(realRead != nullptr && realWrite != nullptr);
        shim = {};
    }
    ~LockRefusal() override
    {
        patchImport("ReadFile", realRead);
        patchImport("WriteFile", realWrite);
        EXPECT_EQ(osClose(file), OS_DONE);
    }
    const std::string path = freshJob("mixed");
    const int file = osOpen(path.c_str(), OS_READ_WRITE);
    uint8_t header[HEADER_SIZE] = {};
};

} // namespace

// For a second; the runtime makes EACCES of the second and third of the other errors, too.
TEST_F(LockRefusal, IsWaitedForAndToldFromOtherErrors)
{
    const struct {
        DWORD error;
        DWORD times;
        DWORD attempts; // of a transfer; 0: not counted
        DWORD milliseconds;
    } rows[] = {{ERROR_LOCK_VIOLATION, 7, 8, 0},
                {ERROR_LOCK_VIOLATION, FOR_EVER, 0, 950},
                {ERROR_ACCESS_DENIED, FOR_EVER, 1, 0},
                {ERROR_SHARING_VIOLATION, FOR_EVER, 1, 0},
                {ERROR_WRITE_PROTECT, FOR_EVER, 1, 0}};
    for (const auto& row : rows) {
        for (bool writing : {false, true}) {
            SCOPED_TRACE(row.error);
            shim = {.error = row.error, .toRefuse = row.times};
            header[39] = 0x5A;
            const DWORD begin = GetTickCount();
            const int done = writing ? osWriteAt(file, 1, header, HEADER_SIZE)
                                     : osReadAt(file, 0, header, HEADER_SIZE);
            const DWORD elapsed = GetTickCount() - begin;
            EXPECT_EQ(done, row.times == FOR_EVER ? OS_FAILED : HEADER_SIZE);
            EXPECT_TRUE(row.attempts == 0 || shim.attempts == row.attempts) << shim.attempts;
            EXPECT_TRUE(elapsed >= row.milliseconds && elapsed < 3000) << elapsed;
        }
    }
    EXPECT_EQ(fileBytes(path)[40], 0x5A);
}

TEST_F(LockRefusal, OfHeadersLosesNoUpdate)
{
    // Some lines get an extension record, and chains of the older layout are rewritten.
    const std::string before = fileBytes(path);
    const Facts facts = factsOfJob(path);
    ASSERT_NE(fileBytes(path), before);

    // Refused reads would only make it slow.
    patchImport("ReadFile", realRead);
    std::string disturbed = freshJob("mixed");
    shim = {.toRefuse = 1};
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
