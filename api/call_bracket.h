// One reading bracket around a public call: the file is locked once, and all that the
// host receives comes from one state of it. For api/ alone.
//
// When the bracket cannot be opened the call goes on without one, and has failed in the end.
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

// True when something that was tried inside the bracket of a call has to write: the bracket
// has refused that before anything was changed.
bool hasToWrite(const RecordFile* job);

// When something has to write, closes the bracket and returns true: the caller tries the same
// once more, without a bracket.
bool leaveToWrite(CallBracket* call);

// To be called after each step of a walk: lets writers in from time to time, and opens a new
// bracket in place of one that was left to write.
void goOn(CallBracket* call);
