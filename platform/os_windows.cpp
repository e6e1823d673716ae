// Windows backend: the C runtime's descriptors and LockFileEx on their handles.
//
// Locks bind reads and writes here, and bytes 0 and 1 are part of the 40-byte
// header record. Three cases meet:
//   - A header write while another opener holds its short shared probe of byte 0,
//     which it takes outside the file lock: refused with a lock violation.
//   - A header read by an opener while another process holds byte 1 exclusively:
//     likewise. The open takes byte 1 first, so only strangers do this.
//   - The holder's own reads and writes under its exclusive lock of byte 1: allowed.
// The first two end by themselves within moments, so a transfer that is refused
// for that reason is repeated for about a second before it counts as failed.
#include "platform/os.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

constexpr int TRANSFER_ATTEMPTS = 200;
constexpr DWORD TRANSFER_PAUSE_MS = 5;

int osOpen(const char* path, OsAccess access)
{
    int flags = (access == OS_READ_WRITE ? _O_RDWR : _O_RDONLY) | _O_BINARY | _O_NOINHERIT;
    int descriptor = _open(path, flags);
    if (descriptor < 0) return OS_FAILED;

    struct _stat64 info = {};
    if (_fstat64(descriptor, &info) != 0 || (info.st_mode & _S_IFMT) != _S_IFREG) {
        _close(descriptor);
        return OS_FAILED;
    }
    return descriptor;
}

int osClose(int descriptor) { return _close(descriptor) == 0 ? OS_DONE : OS_FAILED; }

// True when the last transfer was refused because of somebody's lock and is worth
// repeating; pauses then. The runtime reports a lock violation as EACCES.
static bool refusedByLock(int attempt)
{
    if (errno != EACCES || _doserrno != ERROR_LOCK_VIOLATION) return false;
    if (attempt >= TRANSFER_ATTEMPTS) return false;
    Sleep(TRANSFER_PAUSE_MS);
    return true;
}

static bool seekTo(int descriptor, int64_t offset)
{
    return _lseek(descriptor, static_cast<long>(offset), SEEK_SET) == static_cast<long>(offset);
}

int osReadAt(int descriptor, int64_t offset, void* buffer, int length)
{
    for (int attempt = 0;; ++attempt) {
        if (!seekTo(descriptor, offset)) return OS_SEEK_FAILED;
        int done = _read(descriptor, buffer, static_cast<unsigned>(length));
        if (done >= 0) return done;
        if (!refusedByLock(attempt)) return OS_FAILED;
    }
}

int osWriteAt(int descriptor, int64_t offset, const void* buffer, int length)
{
    for (int attempt = 0;; ++attempt) {
        if (!seekTo(descriptor, offset)) return OS_SEEK_FAILED;
        int done = _write(descriptor, buffer, static_cast<unsigned>(length));
        if (done >= 0) return done;
        if (!refusedByLock(attempt)) return OS_FAILED;
    }
}

static HANDLE handleOf(int descriptor)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

int osLock(int descriptor, OsLockKind kind, OsLockWait wait, const OsLockRange* range)
{
    DWORD flags = kind == OS_LOCK_EXCLUSIVE ? LOCKFILE_EXCLUSIVE_LOCK : 0;
    if (wait == OS_LOCK_AT_ONCE) flags |= LOCKFILE_FAIL_IMMEDIATELY;
    OVERLAPPED place = {};
    place.Offset = range->start;
    BOOL done = LockFileEx(handleOf(descriptor), flags, 0, range->length, 0, &place);
    return done ? OS_DONE : OS_REFUSED;
}

int osUnlock(int descriptor, const OsLockRange* range)
{
    OVERLAPPED place = {};
    place.Offset = range->start;
    return UnlockFileEx(handleOf(descriptor), 0, range->length, 0, &place) ? OS_DONE : OS_REFUSED;
}

int osProbe(int descriptor, const OsLockRange* range)
{
    if (osLock(descriptor, OS_LOCK_EXCLUSIVE, OS_LOCK_AT_ONCE, range) != OS_DONE) return OS_REFUSED;
    osUnlock(descriptor, range);
    return OS_DONE;
}
