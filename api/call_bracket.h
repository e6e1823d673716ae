// One reading bracket around a public call: the file is locked once, and all that the
// host receives comes from one state of it. For api/ alone.
//
// Where the bracket cannot be opened the call goes on without: each operation then
// locks by itself and answers for its own failure.
#pragma once

#include "engine/engine.h"

struct CallBracket {
    IndexFile* file;
    ReadPiece piece;
    bool open;
};

CallBracket beginCall(int slot);
// IDX_OK, or IDX_ERROR when the file lock could not be released.
int endCall(CallBracket* call);

// True when something tried inside the bracket of a call has to write, which is refused
// there before anything is changed.
bool hasToWrite(int slot);

// Likewise; the bracket is closed then, and the same is to be tried again.
inline bool leftToWrite(CallBracket* call)
{
    if (!call->open || call->file->updateRefused == 0) return false;
    endCall(call);
    return true;
}

// After each step of a walk: lets writers in from time to time, and opens a bracket
// that was left to write.
void goOn(CallBracket* call);
