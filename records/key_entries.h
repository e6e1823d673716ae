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

// The numbers that hold the unique keys of an image: one, as a rule. A process that was killed
// while it rewrote a record may have left both.
constexpr int MAX_HOLDERS = 8;
struct KeyHolders {
    int32_t numbers[MAX_HOLDERS];
    int count;
};

// Collects who holds the unique keys of the image, beside the record of that number. IX_OK,
// IX_EXISTS when a key is held and not by the owner too (NO_RECORD: nobody may hold one), or a
// failure.
int findHolders(IndexFile* tree, const RecordImage* image, int32_t owner, KeyHolders* holders);

// Enter and remove the index keys of an image under a record number. 0, or the
// first failure; keys that are there already, or no longer, count as done. Unique keys are not
// looked for: findHolders comes first.
int addKeyEntries(IndexFile* tree, const RecordImage* image, int32_t number);
// Expects an image that checkImage has found sound.
int removeKeyEntries(IndexFile* tree, const RecordImage* image, int32_t number);

// Takes a record number, the lowest released one first, into *number. 0 or the
// failure code of the engine. Numbers released in an outermost update are not handed out again
// before its end: until then the file may hold what referred to them.
int allocateRecordNumber(RecordFile* job, int32_t* number);
int releaseRecordNumber(RecordFile* job, int32_t number);
