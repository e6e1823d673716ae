// A record's keys in and out of their indexes, and the record numbers. For records/, inside
// an update.
#pragma once

#include "records/layout.h"
#include "records/record_file.h"

// Key values are taken through a scratch copy of this size.
constexpr int KEY_SCRATCH_SIZE = 264;

// An image in memory with its layout.
struct RecordImage {
    const uint8_t* bytes;
    const LayoutEntry* layout;
    int length;
};

// IX_OK when each unique key of the image is free or belongs to the record of that number
// (NO_RECORD: to none), IX_EXISTS when not, or a failure.
int checkUniqueKeys(IndexFile* tree, const RecordImage* image, int32_t owner);

// Enter and remove the index keys of an image under a record number. 0, or the
// first failure; keys that are there already, or no longer, count as done. Unique keys are not
// looked for: checkUniqueKeys comes first.
int addKeyEntries(IndexFile* tree, const RecordImage* image, int32_t number);
// Expects an image that checkImage has found sound.
int removeKeyEntries(IndexFile* tree, const RecordImage* image, int32_t number);

// Takes a record number, the lowest released one first, into *number. 0 or the
// failure code of the engine. Numbers released in an outermost update are not handed out again
// before its end: until then the file may hold what referred to them.
int allocateRecordNumber(RecordFile* job, int32_t* number);
int releaseRecordNumber(RecordFile* job, int32_t number);
