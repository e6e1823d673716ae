// POSIX backend. The byte locks are open-file-description locks: unlike process
// locks they conflict between two opens of one process and are not dropped when
// another descriptor of the file is closed.
#ifndef _GNU_SOURCE
#define _GNU_SOURCE // F_OFD_*
#endif
// In 32-bit builds too. NOLINTNEXTLINE(bugprone-reserved-identifier)
#define _FILE_OFFSET_BITS 64

#include "platform/os.h"
#include "platform/platform_state.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

static_assert(sizeof(off_t) >= 8, "offsets are 64 bits wide");

static void countFork() { ++platformState.forks; }

// In the child. Asking for the process's number instead would be a system call each time.
static bool countForks()
{
    PlatformState* state = &platformState;
    if (!state->countsForks) state->countsForks = pthread_atfork(nullptr, nullptr, countFork) == 0;
    return state->countsForks;
}

uint32_t osForkCount() { return platformState.forks; }

// The host may have closed its standard streams. What it writes to one of them by habit must
// not go into a job: no file keeps their descriptors.
static int leaveStandardStreams(int descriptor)
{
    if (descriptor > STDERR_FILENO) return descriptor;
    int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return moved;
}

// A forked child that becomes another program must not keep the user slot, hence close-on-exec.
// Waits while another process, as a file server, gives a lease on the file back.
static int openWaiting(const char* path, OsAccess access)
{
    int flags = (access == OS_READ_WRITE ? O_RDWR : O_RDONLY) | O_CLOEXEC | O_NOCTTY;
    for (;;) {
        int descriptor = open(path, flags);
        if (descriptor >= 0 || errno != EINTR) return descriptor;
    }
}

static bool refusesWriting(int error)
{
    return error == EACCES || error == EPERM || error == EROFS || error == ETXTBSY;
}

int osOpen(const char* path, OsAccess access)
{
    if (!countForks()) return OS_FAILED;

    // Looked at before as well: opening a pipe could wait for ever, and opening a device
    // does something to it.
    struct stat info = {};
    if (stat(path, &info) != 0 || !S_ISREG(info.st_mode)) return OS_FAILED;

    int descriptor = openWaiting(path, access);
    if (descriptor < 0) {
        bool refused = access == OS_READ_WRITE && refusesWriting(errno);
        return refused ? OS_NO_WRITE_ACCESS : OS_FAILED;
    }
    descriptor = leaveStandardStreams(descriptor);
    if (descriptor < 0) return OS_FAILED;
    if (fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) {
        close(descriptor);
        return OS_FAILED;
    }
    return descriptor;
}

int osClose(int descriptor) { return close(descriptor) == 0 ? OS_DONE : OS_FAILED; }

int osReadAt(int descriptor, int64_t offset, void* buffer, int length)
{
    int done = 0;
    while (done < length) {
        ssize_t part = pread(descriptor, static_cast<char*>(buffer) + done,
                             static_cast<size_t>(length - done), static_cast<off_t>(offset + done));
        if (part < 0 && errno == EINTR) continue;
        if (part < 0) return OS_FAILED;
        if (part == 0) break;
        done += static_cast<int>(part);
    }
    return done;
}

int osWriteAt(int descriptor, int64_t offset, const void* buffer, int length)
{
    int done = 0;
    while (done < length) {
        ssize_t part =
            pwrite(descriptor, static_cast<const char*>(buffer) + done,
                   static_cast<size_t>(length - done), static_cast<off_t>(offset + done));
        if (part < 0 && errno == EINTR) continue;
        if (part < 0) return done > 0 ? done : OS_FAILED;
        if (part == 0) break;
        done += static_cast<int>(part);
    }
    return done;
}

static struct flock lockRecord(short type, const OsLockRange* range)
{
    struct flock record = {}; // l_pid must be 0
    record.l_type = type;
    record.l_whence = SEEK_SET;
    record.l_start = static_cast<off_t>(range->start);
    record.l_len = static_cast<off_t>(range->length);
    return record;
}

static int request(int descriptor, int command, short type, const OsLockRange* range)
{
    for (;;) {
        struct flock record = lockRecord(type, range);
        if (fcntl(descriptor, command, &record) == 0) return OS_DONE;
        if (errno != EINTR) return OS_REFUSED;
    }
}

int osProbe(int descriptor, const OsLockRange* range)
{
    struct flock record = lockRecord(F_WRLCK, range);
    if (fcntl(descriptor, F_OFD_GETLK, &record) != 0) return OS_REFUSED;
    return record.l_type == F_UNLCK ? OS_DONE : OS_REFUSED;
}

// A descriptor that only reads can hold shared locks only. Two of them may take
// the same range at once: both then see the other one and give way.
static int lockReadOnly(int descriptor, OsLockWait wait, const OsLockRange* range)
{
    if (wait == OS_LOCK_WAIT) return request(descriptor, F_OFD_SETLKW, F_RDLCK, range);
    if (osProbe(descriptor, range) != OS_DONE) return OS_REFUSED;
    if (request(descriptor, F_OFD_SETLK, F_RDLCK, range) != OS_DONE) return OS_REFUSED;
    if (osProbe(descriptor, range) == OS_DONE) return OS_DONE;
    osUnlock(descriptor, range);
    return OS_REFUSED;
}

int osLock(int descriptor, OsLockKind kind, OsLockWait wait, const OsLockRange* range)
{
    int command = wait == OS_LOCK_WAIT ? F_OFD_SETLKW : F_OFD_SETLK;
    if (kind == OS_LOCK_SHARED) return request(descriptor, command, F_RDLCK, range);

    int result = request(descriptor, command, F_WRLCK, range);
    if (result != OS_DONE && errno == EBADF) return lockReadOnly(descriptor, wait, range);
    return result;
}

int osUnlock(int descriptor, const OsLockRange* range)
{
    return request(descriptor, F_OFD_SETLK, F_UNLCK, range);
}

uint32_t osMilliseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec) * 1000U + static_cast<uint32_t>(now.tv_nsec / 1000000);
}

uint32_t osQuietTime()
{
    constexpr uint32_t PERIOD = 16; // a power of two, for the clock runs over
    uint32_t now = osMilliseconds();
    return now % PERIOD == 0 ? now + 1 : 0;
}

void osGiveWay()
{
    // Byte locks have no queue here: who waits is woken and asks again.
    timespec pause = {0, 100000};
    nanosleep(&pause, nullptr);
}
