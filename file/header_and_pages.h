// Header and page I/O at fixed offsets. For file/ alone, and for tests; file.h tells what
// others may use of it.
#pragma once

#include "file/open_file.h"

#if defined(_WIN32)
#define FILE_EXPORT
#define FILE_CALL __cdecl
#else
#define FILE_EXPORT __attribute__((visibility("default")))
#define FILE_CALL
#endif

// Exported: the hook that makeDurable calls. The public header declares it for hosts.
extern "C" FILE_EXPORT int32_t FILE_CALL initialize(void);

// 0, IX_SEEK, IX_SHORT_READ or IX_BAD_MAGIC; into a buffer of HEADER_SIZE bytes.
int readHeader(OpenFile* file, uint8_t* record);
// Copies the header's fields, all but the change counter. False, and nothing copied, when
// they contradict each other.
bool loadHeader(OpenFile* file, const uint8_t* record);
// Keeps the header's change counter; a new one means that somebody else wrote the file, so
// the pages in memory may not be the file's any more.
void acceptChangeCounter(OpenFile* file, const uint8_t* record);

// 0, IX_SEEK or IX_SHORT_READ.
int readPage(int descriptor, uint8_t* page, int pageNumber);
// As readPage, for pages that stay in memory while nobody else writes the file: a page that
// follows one read before may bring those behind it with it.
int readPageAhead(int descriptor, uint8_t* page, int pageNumber);
// Forgets what was read ahead of a file: its pages may be other ones now.
void forgetRuns(int descriptor);

// Waits for a busy file; *stuck tells that its marker stays: whoever set it is gone. 0 or
// IX_PAGE_IO. Shared mode only.
int waitForBusyMarker(OpenFile* file, bool* stuck);
// Clears the marker of a job database, unless it cannot be written. 0 or IX_PAGE_IO.
int clearBusyMarker(OpenFile* file);

// Leaves the code as the last I/O error and answers it.
int failWith(int code);
