#include "platform/new_file.h"

#include "platform/path_text.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

// The unfinished files, for the handler, which runs in a thread of its own.
constexpr int UNFINISHED_FILES = 16;                   // an export of every kind has 12 at once
static wchar_t unfinished[UNFINISHED_FILES][MAX_PATH]; // empty: free
static int unfinishedDescriptors[UNFINISHED_FILES];    // an open file cannot be removed

static BOOL WINAPI removeUnfinished(DWORD)
{
    for (int i = 0; i < UNFINISHED_FILES; ++i) {
        if (unfinished[i][0] == 0) continue;
        _close(unfinishedDescriptors[i]);
        DeleteFileW(unfinished[i]);
    }
    return FALSE; // the program ends as it would have
}

// The paths are shorter than MAX_PATH.
static void changeUnfinished(const std::wstring& from, const std::wstring& to, int descriptor)
{
    static bool watched;
    if (!watched) watched = SetConsoleCtrlHandler(removeUnfinished, TRUE) != 0;
    for (int i = 0; i < UNFINISHED_FILES; ++i) {
        if (from != unfinished[i]) continue;
        unfinishedDescriptors[i] = descriptor;
        std::copy_n(to.c_str(), to.size() + 1, unfinished[i]);
        break;
    }
}

static int openNew(NewFile* file, const std::string& begin)
{
    constexpr int TRIES = 100;
    for (int i = 0; i < TRIES; ++i) {
        file->temporary =
            begin + std::to_string(GetCurrentProcessId()) + "." + std::to_string(i) + ".part";
        std::wstring wide = wideText(file->temporary);
        if (wide.size() >= MAX_PATH) {
            errno = ENAMETOOLONG;
            return NEW_FILE_FAILED;
        }
        file->descriptor =
            _wopen(wide.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                   _S_IREAD | _S_IWRITE);
        if (file->descriptor >= 0) {
            changeUnfinished({}, wide, file->descriptor);
            return NEW_FILE_DONE;
        }
        if (errno != EEXIST) break;
    }
    return NEW_FILE_FAILED;
}

// A device has a name like any other (NUL, CON): what is there tells.
static bool opensDevice(NewFile* file, const std::string& path)
{
    std::wstring wide = wideText(path);
    HANDLE handle = CreateFileW(wide.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return false;
    DWORD type = GetFileType(handle);
    CloseHandle(handle);
    if (type == FILE_TYPE_DISK) return false;
    file->isDevice = true;
    file->target = file->temporary = path;
    file->descriptor = _wopen(wide.c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
    return file->descriptor >= 0;
}

int beginNewFile(NewFile* file, const std::string& path, bool replaces)
{
    *file = {};
    file->replaces = replaces;
    if (opensDevice(file, path)) return NEW_FILE_DONE;
    DWORD attributes = GetFileAttributesW(wideText(path).c_str());
    bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
        return NEW_FILE_FAILED;
    }
    if (exists && !replaces) return NEW_FILE_EXISTS;
    file->target = path;
    return openNew(file, path + ".");
}

// Removes the temporary files of programs that were ended. Nobody can remove one that is open.
static void removeLeftovers(const std::wstring& folder)
{
    WIN32_FIND_DATAW found;
    HANDLE search = FindFirstFileW((folder + L"orvidx.*.part").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    do {
        DeleteFileW((folder + found.cFileName).c_str());
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

int beginTemporaryFile(NewFile* file)
{
    *file = {};
    wchar_t folder[MAX_PATH + 1];
    DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    if (length == 0 || length > MAX_PATH) {
        errno = ENOENT;
        return NEW_FILE_FAILED;
    }
    removeLeftovers(folder);
    return openNew(file, utf8Text(folder) + "orvidx.");
}

void dropName(NewFile*) {}

int writeNewFile(NewFile* file, const void* bytes, size_t length)
{
    constexpr size_t AT_ONCE = 1 << 20;
    const char* from = static_cast<const char*>(bytes);
    while (length > 0) {
        unsigned part = static_cast<unsigned>(length < AT_ONCE ? length : AT_ONCE);
        int done = _write(file->descriptor, from, part);
        if (done <= 0) return NEW_FILE_FAILED;
        from += done;
        length -= static_cast<size_t>(done);
    }
    return NEW_FILE_DONE;
}

static bool letGo(NewFile* file)
{
    bool closed = _close(file->descriptor) == 0;
    file->descriptor = -1;
    return closed;
}

static bool moveIntoPlace(const NewFile* file)
{
    DWORD flags = MOVEFILE_WRITE_THROUGH | (file->replaces ? MOVEFILE_REPLACE_EXISTING : 0);
    const std::wstring from = wideText(file->temporary);
    if (MoveFileExW(from.c_str(), wideText(file->target).c_str(), flags)) return true;
    DWORD error = GetLastError();
    bool exists = error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS;
    errno = exists ? EEXIST : EACCES;
    return false;
}

int finishNewFile(NewFile* file)
{
    if (file->isDevice) return letGo(file) ? NEW_FILE_DONE : NEW_FILE_FAILED;

    bool synced = _commit(file->descriptor) == 0;
    if (!synced || !letGo(file) || !moveIntoPlace(file)) {
        int error = errno;
        abandonNewFile(file);
        errno = error;
        return error == EEXIST ? NEW_FILE_EXISTS : NEW_FILE_FAILED;
    }
    changeUnfinished(wideText(file->temporary), {}, -1);
    file->temporary.clear();
    return NEW_FILE_DONE;
}

void abandonNewFile(NewFile* file)
{
    if (file->descriptor >= 0) letGo(file);
    if (file->isDevice || file->temporary.empty()) return;
    const std::wstring wide = wideText(file->temporary);
    DeleteFileW(wide.c_str());
    changeUnfinished(wide, {}, -1);
    file->temporary.clear();
}
