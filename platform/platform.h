// The platform layer: header and page I/O at fixed offsets, the lock bytes that
// arbitrate between processes, the bracket around every engine operation, and
// the page cache. Result codes stand in engine/results.h.
//
// Boundary of platform/, for engine/. It sees the engine's index_file.h and
// file_format.h, nothing else of it.
#pragma once

#include "engine/index_file.h"
#include "engine/results.h"
#include "platform/bracket.h"

#include <cstdint>

#if defined(_WIN32)
#define PLATFORM_EXPORT
#define PLATFORM_CALL __cdecl
#else
#define PLATFORM_EXPORT __attribute__((visibility("default")))
#define PLATFORM_CALL
#endif

// Exported: the hook where a flush of the file could be made durable. Does
// nothing; its 0 becomes the result of the step that calls it.
extern "C" PLATFORM_EXPORT int32_t PLATFORM_CALL initialize(void);

// -- Files (file_access.cpp) -------------------------------------------------

// Opens for shared use, read-write or else read-only (*readOnly tells), unless an
// exclusive opener has the file. Returns the descriptor or -1.
int openForSharedUse(const char* path, uint8_t* readOnly);
// Opens read-write and asks for the whole file. Returns the descriptor or -1.
int openForExclusiveUse(const char* path);
// Drops the descriptor's cache blocks, dirty or not, and closes it. 0 or -1.
int closeDescriptor(int descriptor);

// 0, -7 (seek), -9 (short read) or -5 (magic) into a buffer of HEADER_SIZE bytes.
int readHeader(IndexFile* file, uint8_t* header);
// Counts the change counter up, also when the write then fails. 0, -4 or -8.
int writeHeader(IndexFile* file);
// Copies the header's fields into the context; not the change counter. False, and
// nothing copied, when they contradict each other.
bool loadHeader(IndexFile* file, const uint8_t* header);
// Keeps the header's change counter; a new one means that somebody else wrote the
// file, so the descriptor's cache blocks are dropped.
void acceptChangeCounter(IndexFile* file, const uint8_t* header);

// 0, -7 or -9.
int readPage(int descriptor, uint8_t* page, int pageNumber);
// 0, -4 or -8.
int writePage(int descriptor, const uint8_t* page, int pageNumber);

// Waits for a busy file, then clears its marker. 0 or -4. Shared mode only.
int waitForBusyMarker(IndexFile* file);

// With set, stores the version that selects the header magic a reader accepts; the
// answer is the version then in force.
int headerFormatVersion(bool set, int version);

// Failure code of the last header write, page read or page write, 0 if it worked.
int lastIoError();

// -- Lock bytes (lock_bytes.cpp) ---------------------------------------------

constexpr int LOCK_RELEASE = 0;
constexpr int LOCK_AND_WAIT = 1;
constexpr int LOCK_AT_ONCE = 2;

// 0 done, 1 not done; any other mode does nothing and answers 0.
int lockRange(int descriptor, int mode, uint32_t start, uint32_t length);
int lockRangeShared(int descriptor, int mode, uint32_t start, uint32_t length);

// 0 or -1, on one byte.
int lockByteExclusive(int descriptor, uint32_t offset);
int lockByteShared(int descriptor, uint32_t offset);
int tryByte(int descriptor, uint32_t offset);
int releaseByte(int descriptor, uint32_t offset);
int probeByte(int descriptor, uint32_t offset);
// LOCKED when somebody holds the byte, else UNLOCKED.
int slotState(int descriptor, uint32_t offset);
// 0 when the user slot's holder is alive, -1 when not, -3 when the context is not open.
int holderAlive(IndexFile* file, int32_t userSlot);
// Claims the first free user slot: 0 or -1. Shared mode only.
int claimUserSlot(IndexFile* file);
void releaseUserSlot(IndexFile* file);

// -- Brackets (bracket.cpp) --------------------------------------------------
// The pairs for reading and updating stand in bracket.h.

// The open's own pair: no header refresh at the begin (0 or -1), and an
// unconditional release at the end (0 or the first error).
int beginOpen(IndexFile* file);
int endOpen(IndexFile* file);

// -- Page cache (page_cache.cpp) ---------------------------------------------

constexpr int CACHE_BLOCKS = 1000;

// A page where it lies in the cache. It stays there until CACHE_BLOCKS - 1 other
// pages have been read, or its file is dropped.
struct PageView {
    const uint8_t* page; // NODE_PAGE_SIZE bytes, and a zero behind them
    uint64_t content;    // the same number: the very same bytes; never 0
    bool sound;          // the engine has found them well formed before
};

// 0 or an I/O code. markPageSound() records of the page viewed last that it
// is well formed.
int cachedPageView(IndexFile* file, PageView* view, int pageNumber);
void markPageSound();
// The page viewed or written last when it has this content, else null.
const uint8_t* lastPageIfContent(uint64_t content);
// The page as it is now, without moving it in the order of use.
int cachedPagePeek(IndexFile* file, uint8_t* page, int pageNumber);
// 0 or an I/O code.
int cachedPageWrite(IndexFile* file, const uint8_t* page, int pageNumber);
// Write the descriptor's dirty blocks, most recently used first. 0 or the first
// write error.
int flushFile(IndexFile* file);
int flushAndFreeFile(IndexFile* file);
// Frees every block of the descriptor, dirty or not.
void dropFile(int descriptor);
