/*
 * orvIdx: read access to a COGO job database.
 *
 * Conventions
 *   Results    IDX_OK or IDX_ERROR, connect also IDX_OLDER_FORMAT. An operation
 *              that fails leaves the caller's out variables as they were unless
 *              it says otherwise. No reason comes with an error: the end of a
 *              walk and an element that cannot be read look alike. A host tells
 *              them apart by counting first: a walk has one step, read or in
 *              error, for each element counted.
 *   Ownership  What a call stores through an out pointer is a heap block of the
 *              library that belongs to the caller until it is given back to the
 *              release function named there, once. It refers to nothing inside
 *              the library and stays valid after further calls and disconnect.
 *   Texts      Zero-terminated single-byte strings.
 *   Paths      Go to the system's open call byte by byte: as they are on Linux,
 *              on Windows in the ANSI code page of the process.
 *   Names      Blanks at the end of a name do not count. The key of a line,
 *              curve, spiral, chain or profile holds up to 20 characters of its
 *              name, which name lists give and reads take; the element itself
 *              holds the first 15. A name may contain commas, which a name list
 *              cannot tell from those that it puts between names.
 *   Walks      One for each kind, started by readFirst and only by that; at its
 *              end readNext is IDX_ERROR every time. Every connect forgets them.
 *   Writing    Reading a line that has no extension record, or a chain that has
 *              the older record layout or refers to one that has it, writes to
 *              the file. Where the file is read-only, such a line or chain is
 *              IDX_ERROR, and such a reference an unresolved member.
 *   Threads    One call at a time in a process: the library guards nothing.
 *   Processes  Up to 128 may have one file open; each call sees what others
 *              have written before it, and an element is of one state of the
 *              file. A connection belongs to the process that made it: in a
 *              child forked from that one its handle answers IDX_ERROR, and
 *              disconnecting it there leaves the parent's connection as it is.
 *   Handles    One job database at a time. Connecting closes an earlier
 *              connection, also when it fails, but for bad arguments; the
 *              earlier handle answers IDX_ERROR from then on and is still to be
 *              passed to disconnect.
 *
 *   Bindings   For hosts in Pascal, .NET and others: the calling convention is
 *              cdecl, records are aligned to 8 bytes, and texts in records are
 *              arrays of bytes, flags one byte, 0 or 1. Elements and lists stay
 *              pointers until they are given back. docs/host-guide.md tells more.
 *
 * For hosts, in C99 or later or in C++11 or later.
 */
#ifndef ORVIDX_H
#define ORVIDX_H

#include "element_records.h"

#if defined(_WIN32)
#define ORVIDX_CALL __cdecl
#if defined(ORVIDX_BUILDING)
#define ORVIDX_API
#else
#define ORVIDX_API __declspec(dllimport)
#endif
#else
#define ORVIDX_CALL
#define ORVIDX_API __attribute__((visibility("default")))
#endif

/* Results. */
#define IDX_OK 0
#define IDX_ERROR 32768
#define IDX_OLDER_FORMAT (-1)

/* Element kinds. Another kind answers IDX_ERROR from every call that takes one. */
#define ELEMENT_POINT 0        /* PointElement */
#define ELEMENT_LINE 1         /* LineElement */
#define ELEMENT_CURVE 2        /* CurveElement */
#define ELEMENT_SPIRAL 3       /* SpiralElement */
#define ELEMENT_CHAIN 4        /* ChainElement */
#define ELEMENT_PROFILE 5      /* ProfileElement */
#define ELEMENT_SURVEY_CHAIN 6 /* SurveyChainElement */

#pragma pack(push, 8)
/* The connection handle. Made by connect, released by disconnect. */
typedef struct IdxConnection {
    uint32_t fileNumber; /* slot of the job file, always 0 */
    char path[256];      /* the path exactly as given to connect */
    uint32_t userValue;  /* the host's value, never read by the library: too narrow for a
                            pointer of 64 bits */
} IdxConnection;
#pragma pack(pop)

#ifdef __cplusplus
extern "C" {
#endif

/* Always answers 1; no argument is read, the file is not looked at. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_isOrvaneOrvFile(const char* path);

/* Opens the job database at path (at most 255 characters) and stores a new
 * handle. IDX_ERROR: an argument is null or empty or the path is too long, which
 * leaves everything as it was; the file cannot be opened, is no job database or has no
 * free user slot (128 are taken). IDX_OLDER_FORMAT: it is a job database of the older
 * format, which is closed again. Release the handle with
 * orvIdx_disconnectFromOrvaneOrvFile. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_connectToOrvaneOrvFile(IdxConnection** handleOut,
                                                             const char* path, uint32_t userValue);

/* Closes the job database, frees the handle and sets the caller's variable to
 * null. Nothing to close (null) is IDX_OK. IDX_ERROR: the file could not be
 * written or closed; the handle stays as it was and the call may be repeated. Also
 * IDX_ERROR: the variable holds no handle, or one that was released already. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_disconnectFromOrvaneOrvFile(IdxConnection** handleVar);

/* Counts the elements of a kind and, unless names is null, stores their names in
 * the order of first and next: one string, separated by single commas, empty for
 * no element. A null count is IDX_OK and does nothing. IDX_ERROR: bad arguments, which
 * leave the count alone; or the file could not be read or is damaged, or there is no
 * memory: the count then holds the number of names so far, from 0. Ends the walk of the
 * kind, and of no other. Release the names with orvIdx_freeElementNameList. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_numberOfElements(IdxConnection* handle, uint32_t kind,
                                                       uint32_t* count, char** names);

/* Frees a name list and sets the caller's variable to null. Always IDX_OK. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_freeElementNameList(char** namesVar);

/* Reads the element of a kind by its name. IDX_ERROR: there is none of that name,
 * which leaves all walks where they were; or its records cannot be read, or those of
 * the points of a line. Release the element with orvIdx_freeElement and the same
 * kind. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_readElementbyName(IdxConnection* handle, uint32_t kind,
                                                        const char* name, void** elementOut);

/* Starts a walk: reads the first element of a kind in the order of names. Result
 * and ownership as orvIdx_readElementbyName; IDX_ERROR also when there is none. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_readFirstElement(IdxConnection* handle, uint32_t kind,
                                                       void** elementOut);

/* Reads the element that follows in the walk of the kind; IDX_ERROR at its end, every
 * time. An element that cannot be read, or not by its name, is IDX_ERROR too, and the
 * next call goes on behind it. The kinds differ in where the walk stands:
 *   lines, curves, spirals, chains   on the element that first or next reached last
 *   profiles, survey chains          the same, or on the one read by name since
 *   points                           the same, or on the one read last as a part of
 *                                    another element
 * Without readFirst since connect, points and survey chains start at their first
 * element; the others are IDX_ERROR. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_readNextElement(IdxConnection* handle, uint32_t kind,
                                                      void** elementOut);

/* Frees an element with everything it points to and sets the caller's variable to
 * null. The kind must be the one it was read with: it decides what is freed. A
 * null variable is IDX_OK; a kind outside 0 to 6 is IDX_ERROR and frees nothing. */
ORVIDX_API int32_t ORVIDX_CALL orvIdx_freeElement(uint32_t kind, void** elementVar);

/* Does nothing and answers 0. A host that has a function of this name itself
 * defines ORVIDX_WITHOUT_INITIALIZE before it includes this header. */
#ifndef ORVIDX_WITHOUT_INITIALIZE
ORVIDX_API int32_t ORVIDX_CALL initialize(void);
#endif

/* Copies the module's pass code, 12 characters and a zero byte, into the buffer
 * of at least 13 bytes and answers the buffer; null does nothing and answers null. */
ORVIDX_API char* ORVIDX_CALL dlmPassword(char* buffer);

#ifdef __cplusplus
}
#endif

#endif
