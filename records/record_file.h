// RecordFile: one open job database as records with keys. Part of the boundary records.h.
//
// A plain structure in memory that its owner provides; recordOpen fills it. It may be moved.
#pragma once

#include "engine/engine.h"

constexpr int NO_RECORD = -1;

struct RecordFile {
    IndexFile tree;
    uint8_t* recordBuffer; // for record images, lent by the opener
    int32_t recordBufferSize;
    uint8_t recordTypeByte;      // of the image read last; goes into images stored
    int32_t currentRecordNumber; // record found last, or NO_RECORD
    int32_t lockedRecordNumber;  // record locked for an update, or NO_RECORD
    uint32_t releasedInUpdate;   // the outermost update in which a number was released last
};

inline OpenFile* fileOf(RecordFile* job) { return &job->tree.file; }
inline bool isReadOnly(const RecordFile* job) { return job->tree.file.readOnly; }
// The key string at the position of an index; it holds until the next operation there.
inline const char* keyAtPosition(const RecordFile* job, int index)
{
    return job->tree.positions[index].key;
}
