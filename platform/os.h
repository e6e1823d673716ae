// The operating system's files and byte-range locks: one narrow interface, one
// file per system (os_posix.cpp, os_windows.cpp), chosen by the build. Errors of
// the system end here; callers see the results below only. Part of platform.h.
//
// Where the systems differ:
//   Locks    belong to the open file in both, so two opens of one process
//            compete. On POSIX they are advisory; on Windows they also bind
//            reads and writes of the range by other handles.
//   Length 0 at offset 0 locks the whole file on POSIX and nothing on Windows.
//   Exclusive lock on a read-only descriptor: granted on Windows. POSIX refuses
//            it, so a shared lock stands in, which is given up again when
//            anybody else holds the range.
//   A fork    leaves parent and child one open file, and its locks to both. There are no
//            forks on Windows.
//   A second lock of one's own range converts the first on POSIX and is refused
//            on Windows: release before locking anew.
#pragma once

#include <cstdint>

constexpr int OS_FAILED = -1;
constexpr int OS_SEEK_FAILED = -2;     // only of osReadAt and osWriteAt
constexpr int OS_NO_WRITE_ACCESS = -3; // only of osOpen
constexpr int OS_DONE = 0;
constexpr int OS_REFUSED = 1; // lock calls: not done

enum OsAccess { OS_READ_WRITE, OS_READ_ONLY };
enum OsLockKind { OS_LOCK_SHARED, OS_LOCK_EXCLUSIVE };
enum OsLockWait { OS_LOCK_AT_ONCE, OS_LOCK_WAIT };

// The range of a lock request: low 32 bits of offset and length, the high ones 0.
struct OsLockRange {
    uint32_t start;
    uint32_t length;
};

// Opens an existing regular file. Returns its descriptor, which is none of the standard
// streams', OS_NO_WRITE_ACCESS when the file may not be written by this user or at all, or
// OS_FAILED.
int osOpen(const char* path, OsAccess access);
// OS_DONE or OS_FAILED.
int osClose(int descriptor);

// Transfer up to length bytes at the offset. Return the bytes transferred,
// OS_FAILED, or OS_SEEK_FAILED when the offset could not be reached.
int osReadAt(int descriptor, int64_t offset, void* buffer, int length);
int osWriteAt(int descriptor, int64_t offset, const void* buffer, int length);

// OS_DONE or OS_REFUSED.
int osLock(int descriptor, OsLockKind kind, OsLockWait wait, const OsLockRange* range);
int osUnlock(int descriptor, const OsLockRange* range);

// OS_DONE when nobody else holds the range, OS_REFUSED when somebody does. Leaves
// no lock behind. On Windows not for ranges that this descriptor holds itself.
int osProbe(int descriptor, const OsLockRange* range);

// How many forks lie between this process and the first one of its line that opened a file: a
// child has one more than its parent, so a number kept at an open tells whether it was there.
uint32_t osForkCount();

// Milliseconds of a clock that is never set back; it runs over after 49 days.
uint32_t osMilliseconds();

// In one of every 16 milliseconds, the same for all processes, a number that the last such one did
// not have; else 0. Always 0 where the system itself serves those who wait for a lock.
uint32_t osQuietTime();

// Waits so long that one who waits for a lock just released can take it.
void osGiveWay();
