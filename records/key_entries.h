// A record's keys in and out of their indexes, and the record numbers. For records/, inside
// an update.
#pragma once

#include "records/layout.h"
#include "records/record_file.h"

// Key values are taken through a scratch copy of this size.
constexpr int KEY_SCRATCH_SIZE = 264;

// Enter and remove the index keys of an image under a record number. 0, or the
// first failure; keys that are there already, or no longer, count as done.
int addKeyEntries(IndexFile* tree, const uint8_t* image, int32_t number, const LayoutEntry* layout,
                  int length);
int removeKeyEntries(IndexFile* tree, const uint8_t* image, int32_t number,
                     const LayoutEntry* layout, int length);

// Takes a record number, the lowest released one first, into *number. 0 or the
// failure code of the engine.
int allocateRecordNumber(IndexFile* tree, int32_t* number);
int releaseRecordNumber(IndexFile* tree, int32_t number);
