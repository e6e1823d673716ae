// Compiled in front of the operating system backend and of the heap, it gives their
// functions other names: tests put faulty ones in the place of the real ones.
#pragma once

#define osOpen realOsOpen
#define osClose realOsClose
#define osReadAt realOsReadAt
#define osWriteAt realOsWriteAt
#define osLock realOsLock
#define osUnlock realOsUnlock
#define osMilliseconds realOsMilliseconds
#define osGiveWay realOsGiveWay
#define osQuietTime realOsQuietTime
#define allocateZeroed realAllocateZeroed
#define allocate realAllocate
#define reallocate realReallocate
#define release realRelease
