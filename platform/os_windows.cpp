// Windows backend: the C runtime's descriptors and LockFileEx on their handles.
//
// Locks bind transfers here. A read is refused where another handle holds a byte of
// it exclusively; a write where another handle holds one at all, or the own handle
// holds it shared. The lock bytes 0 and 1 lie in the 40-byte header record; no other
// transfer touches a lock byte: the user slots lie between the header and the busy
// marker, and pages begin behind both.
//
//   header transfer                 own lock of byte 1   can be refused because of
//   read, begin of a reading        shared               nobody: byte 1 has no exclusive
//     bracket                                            holder then, byte 0 never has
//   read, open and begin of an      exclusive            nobody
//     updating bracket
//   write, anywhere in an updating  exclusive            another opener's probe of byte 0,
//     bracket, open and close                            which is no part of the file lock
//   read, page access outside all   none                 an updater's lock of byte 1
//     brackets (no operation does)
//   read, exclusive opener          none                 an updater's lock of byte 1
//   write, exclusive opener         none                 a probe of byte 0, any bracket's
//                                                        lock of byte 1
//
// An exclusive opener appears here because its own lock, of no length, keeps nobody
// out. All of these locks are given up within moments: a probe at once, a bracket at
// the end of its operation. So a transfer refused for a lock is repeated for about a
// second before it counts as failed. A header that was counted up and not written
// would else be a lost update.
#include "platform/os.h"

#include <cerrno>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

constexpr int STDERR_DESCRIPTOR = 2;   // the last of the standard streams
constexpr DWORD REFUSED_FOR_MS = 1000; // a probe is over in far less
constexpr DWORD PAUSE_MS = 5;          // up to 16 with the system's usual timer

static HANDLE handleOf(int descriptor)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

// The host may have closed its standard streams. What it writes to one of them by habit must
// not go into a job: no file keeps their descriptors.
static int leaveStandardStreams(int descriptor)
{
    if (descriptor < 0 || descriptor > STDERR_DESCRIPTOR) return descriptor;
    int copy = _dup(descriptor); // can be inherited
    if (copy >= 0) SetHandleInformation(handleOf(copy), HANDLE_FLAG_INHERIT, 0);
    int moved = leaveStandardStreams(copy);
    _close(descriptor);
    return moved;
}

int osOpen(const char* path, OsAccess access)
{
    int flags = (access == OS_READ_WRITE ? _O_RDWR : _O_RDONLY) | _O_BINARY | _O_NOINHERIT;
    int descriptor = _open(path, flags);
    if (descriptor < 0) {
        // Read-only files and volumes, missing rights, and other users who share the file
        // for reading alone.
        bool refused = access == OS_READ_WRITE && errno == EACCES;
        return refused ? OS_NO_WRITE_ACCESS : OS_FAILED;
    }
    descriptor = leaveStandardStreams(descriptor);
    if (descriptor < 0) return OS_FAILED;

    struct _stat64 info = {};
    if (_fstat64(descriptor, &info) != 0 || (info.st_mode & _S_IFMT) != _S_IFREG) {
        _close(descriptor);
        return OS_FAILED;
    }
    return descriptor;
}

int osClose(int descriptor) { return _close(descriptor) == 0 ? OS_DONE : OS_FAILED; }

static bool seekTo(int descriptor, int64_t offset)
{
    return _lseek(descriptor, static_cast<long>(offset), SEEK_SET) == static_cast<long>(offset);
}

struct Refusals {
    bool begun;
    DWORD since; // when the first attempt was refused
};

// True when the transfer that failed just now met a lock and is worth repeating; has
// paused then.
//
// The runtime turns the system's ERROR_LOCK_VIOLATION into EACCES, reading and writing
// alike, and keeps the number itself in _doserrno. EACCES stands for other errors too,
// and every failure that gives it sets _doserrno.
static bool refusedByLock(Refusals* refusals)
{
    if (errno != EACCES || _doserrno != ERROR_LOCK_VIOLATION) return false;
    DWORD now = GetTickCount();
    if (!refusals->begun) *refusals = {true, now};
    if (now - refusals->since >= REFUSED_FOR_MS) return false;
    Sleep(PAUSE_MS);
    return true;
}

int osReadAt(int descriptor, int64_t offset, void* buffer, int length)
{
    Refusals refusals = {};
    for (;;) {
        if (!seekTo(descriptor, offset)) return OS_SEEK_FAILED;
        int done = _read(descriptor, buffer, static_cast<unsigned>(length));
        if (done >= 0) return done;
        if (!refusedByLock(&refusals)) return OS_FAILED;
    }
}

int osWriteAt(int descriptor, int64_t offset, const void* buffer, int length)
{
    Refusals refusals = {};
    for (;;) {
        if (!seekTo(descriptor, offset)) return OS_SEEK_FAILED;
        int done = _write(descriptor, buffer, static_cast<unsigned>(length));
        if (done >= 0) return done;
        if (!refusedByLock(&refusals)) return OS_FAILED;
    }
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

uint32_t osForkCount() { return 0; }

uint32_t osMilliseconds() { return GetTickCount(); }

// A range that is released goes to the one who waits for it.
void osGiveWay() { Sleep(0); }

uint32_t osQuietTime() { return 0; }
