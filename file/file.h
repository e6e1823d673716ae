// An open database file: who may use it and when, its header and its pages.
//
// Boundary of file/, for the engine and for the floors that open brackets. From the bottom:
// lock bytes and user slots, header and page I/O, the page cache, brackets, open and close.
// It knows pages as format/ describes them, no search and no position. Its state, the page cache
// and a few words more, is in file_state.h and serves all open files of the process.
#pragma once

#include "file/bracket.h"
#include "file/open_file.h"
#include "format/format.h"

#include <cstdint>

// Where a flush of the file could be made durable. Calls the exported hook of that purpose,
// `initialize`, which does nothing; its 0 becomes the result of the step that calls it.
int makeDurable();

// -- Open and close (open_file.cpp) ------------------------------------------

// Opens the file for the mode; shared use falls back to read-only access where writing is not
// permitted, and to exclusive use where the open probe is refused. IX_OK with the file ready for
// beginOpen, or IX_OPEN_FAILED.
int openFile(OpenFile* file, const char* path, char mode);
// Opens the bracket of the open; without the file lock, exclusive use is the last resort.
// IX_OK, or IX_OPEN_LOCK with the descriptor closed.
int enterOpen(OpenFile* file, const char* path);
// Waits for a busy file, reads and checks the header and claims a user slot. IX_OK, or a
// code with nothing claimed.
int enterFile(OpenFile* file);
// True in a process forked from the one that opened the file: the two share the descriptor and
// its locks, which do not keep them apart. Such a context can be closed and nothing else.
bool isInherited(const OpenFile* file);
// Drops the descriptor's cache blocks, dirty or not, and closes it. IX_OK or IX_OPEN_FAILED.
int closeDescriptor(int descriptor);

// With set, stores the version that selects the header magic a reader accepts; the answer is
// the version then in force.
int setFormatVersion(bool set, int version);

// Failure code of the last header write, page read or page write, 0 if it worked.
int lastIoError();

// -- Lock bytes (lock_bytes.cpp) ---------------------------------------------

// IX_OK when the user slot's holder is alive, IX_NOT_FOUND when not, IX_NOT_OPEN.
int holderAlive(OpenFile* file, int32_t userSlot);
// Nothing in exclusive mode; nor does a forked child give its parent's slot up.
void releaseUserSlot(OpenFile* file);

// -- Header and pages (header_and_pages.cpp) ---------------------------------

// Counts the change counter up, also when the write then fails. 0, IX_PAGE_IO or
// IX_SHORT_WRITE.
int writeHeader(OpenFile* file);
// In shared mode nothing but the exclusive file lock permits a change of the file, and for one
// that was opened read-only nothing does.
bool mayWrite(const OpenFile* file);

// 0, IX_PAGE_IO or IX_SHORT_WRITE; not through the cache: for growing the file.
int writePage(int descriptor, const uint8_t* page, int pageNumber);

// -- Page cache (page_cache.cpp, flush.cpp) ----------------------------------

constexpr int CACHE_BLOCKS = 1000; // at least

// A node where it lies in the cache; it has passed nodeIsSound. It stays there until
// CACHE_BLOCKS - 1 other pages have been read, or its file is doubted or dropped.
struct NodeView {
    const uint8_t* node; // NODE_PAGE_SIZE bytes, and a zero behind them
    uint64_t content;    // the same number: the very same bytes; never 0
    const NodeMarks* marks;
};

// 0, an I/O code, or IX_DESCENT_FAILED for a page that is not sound.
int cachedPageView(OpenFile* file, NodeView* view, int pageNumber);
// Lets the processor fetch a page of the cache, all of it at once, before it is viewed. Nothing
// depends on it.
void expectPage(const OpenFile* file, int pageNumber);
// False when the page viewed or written last has another content or may have been changed.
bool lastPageIfContent(const OpenFile* file, NodeView* view, uint64_t content);
// The page as it is now, without moving it in the order of use. Results as of a view.
int cachedPagePeek(OpenFile* file, uint8_t* page, int pageNumber);
// 0 or an I/O code. Expects a sound page.
int cachedPageWrite(OpenFile* file, const uint8_t* page, int pageNumber);
// Write the descriptor's dirty blocks in the order described in flush.cpp. 0 or the first write
// error.
int flushFile(OpenFile* file);
int flushAndFreeFile(OpenFile* file);
// Writes header and pages, as far as they differ from the file's, in that order. 0 or the first
// write error.
int writeChanges(OpenFile* file);
// True when something that was changed is not in the file yet. Outside all brackets: it could not
// be written so far.
bool hasChanges(const OpenFile* file);
// Somebody else has written the file: each of its pages is compared with the file's when it is
// viewed next. Changed ones that were not written are dropped.
void doubtFile(OpenFile* file);
// Frees every block of the descriptor, dirty or not.
void dropFile(int descriptor);
// Gives back what the cache has grown by, when it holds no page any more: the last file has been
// closed.
void giveBackPieces();
