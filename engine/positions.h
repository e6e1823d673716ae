// Positions: where an index stands, and keeping that right when entries of its leaf move.
// For engine/.
#pragma once

#include "engine/index_file.h"
#include "engine/node_buffer.h"

// Bytes of a sought key: index byte, key string, one character more (a step past
// the highest number of a key appends it) and the zero byte.
constexpr int SOUGHT_KEY_SIZE = 1 + MAX_KEY + 1 + 1;

// Writes index byte and key string; the key string is cut to the room.
void buildSoughtKey(char* text, int index, const char* key);

// The key at the position as a sought key; the text must live as long.
SoughtKey keyAtPosition(const Position* position, char* text);
// The lowest key behind the position: its key string with a higher number, or the next
// greater key string.
SoughtKey keyBehindPosition(const Position* position, char* text);

// Changes of a position; each forgets the place noted.
// Onto an entry: its index, key, number and segment.
void standOn(Position* position, const uint8_t* entry);
void standPastEnd(Position* position);
void standBeforeStart(Position* position);
// Key string and number alone, as a search that failed leaves them.
void setPositionKey(Position* position, const char* key, int32_t number);

// True when the position is on an entry of its own index that has not been removed.
bool standsOnEntry(const Position* position);

// The entry at the position, whose leaf becomes *leaf, when its place is noted and
// may be used: in shared mode while a bracket for reading holds the file lock. In
// updates the pages are to be used in the order of the searches, which is the order
// of writing. Null when it has to be searched.
const uint8_t* entryAtNotedPlace(OpenFile* file, const Position* position, NodeView* leaf);

// Corrections of the other indexes' positions in a leaf after an entry was inserted
// or removed at an ordinal. Indexes below the changed one lie before it.
void correctForInsertion(IndexFile* tree, int index, int leaf, int ordinal);
void correctForRemoval(IndexFile* tree, int index, int leaf, int ordinal);
// After a leaf was split: every position beyond the entries kept follows them.
void correctForSplit(IndexFile* tree, int leaf, int kept, int newLeaf);
