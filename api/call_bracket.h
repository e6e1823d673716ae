// One reading bracket around a public call: the file is locked once, and all that the
// host receives comes from one state of it. For api/ alone.
//
// Where the bracket cannot be opened the call goes on without: each operation then
// locks by itself and answers for its own failure.
#pragma once

#include "records/records.h"

struct CallBracket {
    OpenFile* file;
    ReadPiece piece;
    bool open;
};

CallBracket beginCall(RecordFile* job);
// IDX_OK, or IDX_ERROR when the file lock could not be released, or anything that the call has
// met since its begin could not be read or is damaged: what was made of it is not to be used.
int endCall(CallBracket* call);

// True when something tried inside the bracket of a call has to write, which is refused
// there before anything is changed.
bool hasToWrite(const RecordFile* job);

// Closes the bracket when hasToWrite, and tells so: the same is to be tried again.
bool leaveToWrite(CallBracket* call);

// After each step of a walk: lets writers in from time to time, and opens a bracket
// that was left to write.
void goOn(CallBracket* call);
