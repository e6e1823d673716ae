// The job database file: header, lock bytes, index numbers and limits. The node
// pages stand in node_page.h.
//
//   offset        length  content
//        0            40  header record
//       40           980  reserved
//     1020             4  busy marker
//     1024 + 1024 x n     node page n, n = 0, 1, 2, ...
//
// Header record; numbers are little-endian, magic characters stand in between:
//   offset width  field
//        0     1  magic 1          'O'
//        2     2  root page
//        4     1  magic 2          'R'
//        8     1  magic 3          'V'
//       12     1  magic 4          'A'
//       14     2  height           levels of the tree, leaves included
//       16     1  magic 5          'N'
//       18     2  next free page   lowest page number never handed out
//       20     1  magic 6          'E'
//       24     4  sequence counter next record number to hand out
//       28     1  magic 7          '9'
//       30     2  pages in file
//       32     1  magic 8          '8'
//       36     4  change counter   one more with each header write
// The bytes between are reserved: ignored when read, written as zero.
//
// Part of the boundary format.h.
#pragma once

#include <cstdint>

constexpr int HEADER_SIZE = 40;
constexpr int HEADER_ROOT_PAGE = 2;
constexpr int HEADER_HEIGHT = 14;
constexpr int HEADER_NEXT_FREE_PAGE = 18;
constexpr int HEADER_SEQUENCE_COUNTER = 24;
constexpr int HEADER_PAGES_IN_FILE = 30;
constexpr int HEADER_CHANGE_COUNTER = 36;

constexpr int MAGIC_LENGTH = 8;
constexpr int HEADER_MAGIC_OFFSETS[MAGIC_LENGTH] = {0, 4, 8, 12, 16, 20, 28, 32};
constexpr char CURRENT_MAGIC[] = "ORVANE98";
constexpr char OLDER_MAGIC[] = "VALIDATE";

// Selects the magic that a reader accepts; any other version means the older one.
constexpr int CURRENT_FORMAT_VERSION = 98;
constexpr int OLDER_FORMAT_VERSION = 97;

constexpr int BUSY_MARKER_OFFSET = 1020;
constexpr int32_t BUSY_MARKER = 13245;

constexpr int NODE_PAGE_SIZE = 1024;
constexpr int FIRST_PAGE_OFFSET = 1024;
constexpr int NO_PAGE = -1;

// Page counts are signed 16-bit fields, so this is the largest file.
constexpr int MAX_PAGES_IN_FILE = 32767;
constexpr int MAX_HEIGHT = 20;

// Lock bytes. Locking never changes their content; bytes 0 and 1 are part of the
// header record too.
constexpr uint32_t OPEN_PROBE_BYTE = 0;
constexpr uint32_t FILE_LOCK_BYTE = 1;
constexpr uint32_t USER_SLOT_BASE = 512;
constexpr int USER_SLOTS = 128;

// Logical indexes 1 to 20, the first byte of every key.
constexpr int MIN_INDEX = 1;
constexpr int MAX_INDEX = 20;
constexpr int LOCK_INDEX = 17;        // one entry per locked record, data = user slot
constexpr int FREE_NUMBER_INDEX = 18; // released record numbers
constexpr int DATA_INDEX = 19;        // the records, cut into segments
constexpr int INDEX_SLOTS = 22;       // per-index arrays are addressed by index number

// Keys. A stored key is the index byte and a key string.
constexpr int MAX_STORED_KEY = 99; // longest key string that is written
constexpr int MAX_KEY = 101;       // longest key string that is read or sought
constexpr int KEY_BUFFER_SIZE = MAX_KEY + 1;

// Records.
constexpr int RECORD_LIMIT = 16319; // a record is shorter than this
constexpr int SEGMENT_ROOM = 248;   // segment data: this less the key with its index byte
constexpr int SEGMENT_ORDINAL = 0x7f;
constexpr int LAST_SEGMENT = 0x80; // set on a record's last segment and on lone entries
constexpr int MAX_SEGMENTS = 128;

constexpr int LOCK_DATA_SIZE = 4;
