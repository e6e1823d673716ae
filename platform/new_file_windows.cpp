#include "platform/new_file.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

// The unfinished files, for the handler, which runs in a thread of its own.
constexpr int UNFINISHED_FILES = 16;                // an export of every kind has 12 at once
static char unfinished[UNFINISHED_FILES][MAX_PATH]; // empty: free
static int unfinishedDescriptors[UNFINISHED_FILES]; // an open file cannot be removed

static BOOL WINAPI removeUnfinished(DWORD)
{
    for (int i = 0; i < UNFINISHED_FILES; ++i) {
        if (unfinished[i][0] == 0) continue;
        _close(unfinishedDescriptors[i]);
        DeleteFileA(unfinished[i]);
    }
    return FALSE; // the program ends as it would have
}

static void changeUnfinished(const char* from, const char* to, int descriptor)
{
    static bool watched;
    if (!watched) watched = SetConsoleCtrlHandler(removeUnfinished, TRUE) != 0;
    for (int i = 0; i < UNFINISHED_FILES; ++i) {
        if (std::string(unfinished[i]) != from) continue;
        unfinishedDescriptors[i] = descriptor;
        std::snprintf(unfinished[i], sizeof unfinished[i], "%s", to);
        break;
    }
}

static int openNew(NewFile* file, const std::string& begin)
{
    constexpr int TRIES = 100;
    for (int i = 0; i < TRIES; ++i) {
        file->temporary =
            begin + std::to_string(GetCurrentProcessId()) + "." + std::to_string(i) + ".part";
        if (file->temporary.size() >= MAX_PATH) {
            errno = ENAMETOOLONG;
            return NEW_FILE_FAILED;
        }
        file->descriptor =
            _open(file->temporary.c_str(), _O_RDWR | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                  _S_IREAD | _S_IWRITE);
        if (file->descriptor >= 0) {
            changeUnfinished("", file->temporary.c_str(), file->descriptor);
            return NEW_FILE_DONE;
        }
        if (errno != EEXIST) break;
    }
    return NEW_FILE_FAILED;
}

// A device has a name like any other (NUL, CON): what is there tells.
static bool opensDevice(NewFile* file, const std::string& path)
{
    HANDLE handle = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return false;
    DWORD type = GetFileType(handle);
    CloseHandle(handle);
    if (type == FILE_TYPE_DISK) return false;
    file->isDevice = true;
    file->target = file->temporary = path;
    file->descriptor = _open(path.c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
    return file->descriptor >= 0;
}

int beginNewFile(NewFile* file, const std::string& path, bool replaces)
{
    *file = {};
    file->replaces = replaces;
    if (opensDevice(file, path)) return NEW_FILE_DONE;
    DWORD attributes = GetFileAttributesA(path.c_str());
    bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
        return NEW_FILE_FAILED;
    }
    if (exists && !replaces) return NEW_FILE_EXISTS;
    file->target = path;
    return openNew(file, path + ".");
}

int beginTemporaryFile(NewFile* file)
{
    *file = {};
    char folder[MAX_PATH];
    DWORD length = GetTempPathA(sizeof folder, folder);
    if (length == 0 || length >= sizeof folder) {
        errno = ENOENT;
        return NEW_FILE_FAILED;
    }
    return openNew(file, std::string(folder) + "orvidx.");
}

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
    if (MoveFileExA(file->temporary.c_str(), file->target.c_str(), flags)) return true;
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
    changeUnfinished(file->temporary.c_str(), "", -1);
    file->temporary.clear();
    return NEW_FILE_DONE;
}

void abandonNewFile(NewFile* file)
{
    if (file->descriptor >= 0) letGo(file);
    if (file->isDevice || file->temporary.empty()) return;
    DeleteFileA(file->temporary.c_str());
    changeUnfinished(file->temporary.c_str(), "", -1);
    file->temporary.clear();
}
