// Search below the operations: descent, location, and the frame that operations
// which move a position share. For engine/.
#pragma once

#include "engine/engine.h"
#include "engine/key_order.h"
#include "engine/node_buffer.h"
#include "engine/positions.h"

// How a descent came to its leaf.
struct Descent {
    NodeView leaf;
    uint64_t branchContent; // of the leaf's parent; 0: the root is a leaf
    int branchPage;
    int boundOffset; // of the parent's entry behind the leaf
    // Each node on the way is followed by the one that its parent has behind it. Where a
    // process was killed while it wrote, a leaf may be older than its split: it then
    // holds entries that a search does not reach, and leads past others.
    bool current;
};

// Descends to the first entry at or after the sought key in the leaf where it
// belongs. Returns it, or that leaf's end marker; null when a page is damaged or cannot
// be read. Sets the position of the index there, without noting its place. The sought
// key must not lie in the context.
const uint8_t* descend(IndexFile* file, int index, const SoughtKey* sought, Descent* way);

// From a position at the end of the leaf: moves it to the first entry of the next leaf
// that has any, which becomes *leaf. Returns the entry, the end marker of the last
// leaf when there is none, null on failure.
const uint8_t* nextNonEmptyLeaf(IndexFile* file, int index, NodeView* leaf);

// Finds the first entry of the tree at or after the sought key, which may belong to
// a later index, and makes it position and current entry. IX_OK, IX_SAME_KEY,
// IX_GREATER_KEY, IX_NOT_FOUND (end of the tree) or IX_DESCENT_FAILED; also in
// status.
int locate(IndexFile* file, int index, const SoughtKey* sought);

// The same for a key above that at the position: along the leaf when the place of the
// position is noted.
int locateOnward(IndexFile* file, int index, const SoughtKey* sought);

enum SearchFrom { FROM_ROOT, FROM_POSITION };

// The search of ixFind, inside a bracket. The key string of the sought key, which is
// one of the index, may be longer than any stored one. From the position: for a key
// above it.
int findSought(IndexFile* file, int index, const SoughtKey* sought, SearchFrom from, void* data,
               uint32_t length);

// IX_OK, IX_NOT_OPEN or IX_BAD_ARGUMENT for an operation on an index with a buffer.
int checkRequest(IndexFile* file, int index, const void* data, uint32_t length);

// Opens and closes the bracket of an operation that moves the position of an index,
// letting go of the record lock held there: an update when such a lock stands in
// the file, else a read. 0, or a failure code with nothing opened or moved.
int beginMove(IndexFile* file, int index, bool* updating);
int endMove(IndexFile* file, bool updating);

// Leaves the result in status and answers it.
inline int withStatus(IndexFile* file, int result)
{
    file->status = result;
    return result;
}
