// The position of each index in its context: the entry it stands on, and keeping
// it right when entries of its leaf move. For engine/.
#pragma once

#include "engine/index_file.h"
#include "engine/key_order.h"
#include "engine/node_buffer.h"

// Bytes of a sought key: index byte, key string, one character more (a step past
// the highest number of a key appends it) and the zero byte.
constexpr int SOUGHT_KEY_SIZE = 1 + MAX_KEY + 1 + 1;

// Writes index byte and key string; the key string is cut to the room.
void buildSoughtKey(char* text, int index, const char* key);

// Makes the entry the one at the position: index, key, number and segment. Like the
// other changes of a position it forgets the place noted.
void setPosition(IndexFile* file, int index, const uint8_t* entry);
// Makes the entry the position and the current entry: setPosition and takeEntry in one.
void arriveAt(IndexFile* file, int index, const uint8_t* entry);

// The entry at the position, whose leaf becomes *leaf, when its place is noted and
// may be used: in shared mode while a bracket for reading holds the file lock. In
// updates the pages are to be used in the order of the searches, which is the order
// of writing. Null when it has to be searched.
const uint8_t* entryAtNotedPlace(IndexFile* file, int index, NodeView* leaf);
// The position is behind the last entry of the tree.
void setPositionPastEnd(IndexFile* file, int index);
// Replaces key string and number, as a search that failed does.
void setPositionKey(IndexFile* file, int index, const char* key, int32_t number);
// Puts the position before the first entry of its index.
void setPositionBeforeStart(IndexFile* file, int index);

// Copies the entry into the context's current entry and its number, segment, data
// and key into the result fields; the key includes the index byte.
void takeEntry(IndexFile* file, const uint8_t* entry);
// There is no current entry: zeroes it and the result fields.
void clearCurrentEntry(IndexFile* file);

// A position that can be put back.
struct KeptPosition {
    char key[KEY_BUFFER_SIZE];
    int32_t number;
    uint8_t segment;
    int32_t positionInLeaf;
    int32_t leafPage;
    int32_t indexAtPosition;
    NotedPlace place;
};
void keepPosition(const IndexFile* file, int index, KeptPosition* kept);
void putPositionBack(IndexFile* file, int index, const KeptPosition* kept);

// Corrections of the other indexes' positions in a leaf after an entry was inserted
// or removed at an ordinal. Indexes below the changed one lie before it.
void correctForInsertion(IndexFile* file, int index, int leaf, int ordinal);
void correctForRemoval(IndexFile* file, int index, int leaf, int ordinal);
// After a leaf was split: every position beyond the entries kept follows them.
void correctForSplit(IndexFile* file, int leaf, int kept, int newLeaf);

// The request fields, kept around an inner operation.
struct KeptRequest {
    int32_t indexNumber;
    const char* key;
    int32_t number;
    uint8_t* data;
    uint32_t dataLength;
};
KeptRequest keepRequest(const IndexFile* file);
void putRequestBack(IndexFile* file, const KeptRequest* kept);
