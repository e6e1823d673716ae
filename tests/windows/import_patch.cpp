#include "tests/windows/import_patch.h"

#include <cstdint>
#include <cstring>

// Where a module is loaded, an address relative to its begin.
template <typename Type> static Type* at(uint8_t* begin, DWORD address)
{
    return reinterpret_cast<Type*>(begin + address);
}

static FARPROC exchange(IMAGE_THUNK_DATA* slot, FARPROC replacement)
{
    FARPROC before = reinterpret_cast<FARPROC>(slot->u1.Function);
    DWORD protection = 0;
    VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
    slot->u1.Function = reinterpret_cast<uintptr_t>(replacement);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
    return before;
}

FARPROC patchImport(const char* module, const char* name, FARPROC replacement)
{
    uint8_t* begin = reinterpret_cast<uint8_t*>(GetModuleHandleA(module));
    if (begin == nullptr) return nullptr;
    auto* headers =
        at<IMAGE_NT_HEADERS>(begin, static_cast<DWORD>(at<IMAGE_DOS_HEADER>(begin, 0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];

    FARPROC found = nullptr;
    auto* library = at<IMAGE_IMPORT_DESCRIPTOR>(begin, imports.VirtualAddress);
    for (; library->Name != 0; ++library) {
        auto* slot = at<IMAGE_THUNK_DATA>(begin, library->FirstThunk);
        auto* entry = at<IMAGE_THUNK_DATA>(begin, library->OriginalFirstThunk);
        for (; entry->u1.AddressOfData != 0; ++entry, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal)) continue;
            const char* imported = at<IMAGE_IMPORT_BY_NAME>(begin, entry->u1.AddressOfData)->Name;
            if (std::strcmp(imported, name) == 0) found = exchange(slot, replacement);
        }
    }
    return found;
}
