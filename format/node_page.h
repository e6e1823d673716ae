// A node page: a leaf (level 0) or a branch.
//   offset width  field
//        0     2  level           a branch: its children's plus one
//        2     2  entry count
//        4     2  free bytes      1012 less the bytes of the entries
//        6     2  leftmost child  of a branch; 0 in a leaf
//        8     2  next page       right neighbour at the same level, or NO_PAGE
//       10     2  previous page   left neighbour, or NO_PAGE
//       12  1012  entries in key order, then zero bytes
//
// entry: [L][index number][key string..][0][number:4][segment:1][data..]
// L counts the bytes behind itself; a zero L ends the entries. Data are record
// bytes in a leaf, the 2-byte child page in a branch.
//
// In a branch the leftmost child holds the keys up to the first entry, the child
// of an entry those above it, up to the next entry. A split copies the last entry
// that stays into the parent and leaves it in place: the last entry of a branch
// with a right neighbour is only an upper bound, and larger keys belong to the
// neighbour.
//
// Accessors compute, they do not judge: a page is first to pass nodeIsSound(),
// for anything may have damaged the file. Part of the boundary format.h.
#pragma once

#include "format/bytes.h"
#include "format/file_format.h"

#include <cstdint>
#include <cstring>

constexpr int NODE_LEVEL = 0;
constexpr int NODE_COUNT = 2;
constexpr int NODE_FREE = 4;
constexpr int NODE_LEFTMOST_CHILD = 6;
constexpr int NODE_NEXT_PAGE = 8;
constexpr int NODE_PREVIOUS_PAGE = 10;
constexpr int NODE_ENTRIES = 12;
constexpr int NODE_ENTRY_AREA = 1012;
static_assert(NODE_ENTRIES + NODE_ENTRY_AREA == NODE_PAGE_SIZE);

constexpr int MAX_ENTRY_COUNT = 150; // more entries than this: a corrupt node

// A node in memory has room behind the page for one entry too many, which an
// insertion puts there until the node is split.
constexpr int NODE_OVERFLOW = 256;
constexpr int NODE_BUFFER_SIZE = NODE_PAGE_SIZE + NODE_OVERFLOW;

// Bytes of an entry beside its key (index byte included) and its data: the length
// byte, the zero byte, the number and the segment byte.
constexpr int ENTRY_OVERHEAD = 7;
constexpr int ENTRY_KEY = 1; // index byte, key string, zero byte
constexpr int MAX_ENTRY_SIZE = 256;
constexpr int CHILD_SIZE = 2;

inline int nodeLevel(const uint8_t* node) { return loadInt16(node + NODE_LEVEL); }
inline int nodeCount(const uint8_t* node) { return loadInt16(node + NODE_COUNT); }
inline int nodeFree(const uint8_t* node) { return loadInt16(node + NODE_FREE); }
inline int nodeLeftmostChild(const uint8_t* node) { return loadInt16(node + NODE_LEFTMOST_CHILD); }
inline int nodeNextPage(const uint8_t* node) { return loadInt16(node + NODE_NEXT_PAGE); }
inline int nodePreviousPage(const uint8_t* node) { return loadInt16(node + NODE_PREVIOUS_PAGE); }

// Bytes of the entry area in use.
inline int nodeUsed(const uint8_t* node) { return NODE_ENTRY_AREA - nodeFree(node); }

inline const uint8_t* firstEntry(const uint8_t* node) { return node + NODE_ENTRIES; }
inline bool isEndMarker(const uint8_t* entry) { return entry[0] == 0; }
inline int entrySize(const uint8_t* entry) { return entry[0] + 1; }
inline const uint8_t* nextEntry(const uint8_t* entry) { return entry + entrySize(entry); }

// The key with its index byte, zero-terminated.
inline const char* entryKey(const uint8_t* entry)
{
    return reinterpret_cast<const char*>(entry + ENTRY_KEY);
}
inline int entryIndex(const uint8_t* entry) { return entry[ENTRY_KEY]; }

// Length of the key, index byte included. Entries with record data have no more.
inline int entryKeyLength(const uint8_t* entry)
{
    const char* key = entryKey(entry);
    return key[1] == 0 ? 1 : static_cast<int>(strlen(key));
}

// What follows the key's zero byte: number, segment byte, data.
inline const uint8_t* entryTail(const uint8_t* entry, int keyLength)
{
    return entry + ENTRY_KEY + keyLength + 1;
}
inline const uint8_t* entryTail(const uint8_t* entry)
{
    return entryTail(entry, entryKeyLength(entry));
}
inline int32_t entryNumber(const uint8_t* entry) { return loadInt32(entryTail(entry)); }
inline uint8_t entrySegment(const uint8_t* entry) { return entryTail(entry)[4]; }
inline const uint8_t* entryData(const uint8_t* entry) { return entryTail(entry) + 5; }
inline int entryDataLength(const uint8_t* entry)
{
    return entrySize(entry) - ENTRY_OVERHEAD - entryKeyLength(entry);
}

// Child page of a branch entry, its last two bytes.
inline int entryChild(const uint8_t* entry) { return loadInt16(nextEntry(entry) - CHILD_SIZE); }

// True when the entry, of which room bytes lie in the entry area, is well formed: a key of 1 to
// 101 characters behind a valid index byte, terminated before number and segment, and in a
// branch exactly a child page as data.
bool entryIsSound(const uint8_t* entry, int room, bool branch);

// True when the page can be searched and walked without leaving it: level and
// count in range, exactly count entries inside the entry area, free bytes that
// agree with them, and each entry well formed. Says nothing about key order or
// about pages it refers to.
bool nodeIsSound(const uint8_t* page);

// Where entries of a sound node begin, one in every few, so that a search need not pass all that
// stand before what it is for. A node whose entries do not ascend has none.
constexpr int MOST_MARKS = 7;

struct NodeMarks {
    uint8_t distance; // entries from one mark to the next, and from the first entry to the first
    uint8_t count;
    uint16_t offsets[MOST_MARKS]; // in the node
};

// nodeIsSound, which marks entries as it comes by them.
bool nodeIsSound(const uint8_t* page, NodeMarks* marks);
// The marks of a sound node.
NodeMarks markEntries(const uint8_t* page);

// Pointer to the entry with the ordinal, or to the end marker when there are fewer.
// Expects a sound node.
const uint8_t* entryAt(const uint8_t* node, int ordinal);
// The same as an offset in the node.
inline int entryOffsetAt(const uint8_t* node, int ordinal)
{
    return static_cast<int>(entryAt(node, ordinal) - node);
}

// Makes the buffer an empty node with no neighbours.
void initNode(uint8_t* node, int level, int leftmostChild);

// Builds an entry of the key (index byte included), number, segment and data into
// entry, which has MAX_ENTRY_SIZE bytes. Returns its size.
int buildEntry(uint8_t* entry, const char* key, int32_t number, uint8_t segment, const void* data,
               int dataLength);
