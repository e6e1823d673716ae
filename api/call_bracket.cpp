#include "api/call_bracket.h"

#include "api/orvIdx.h"

static void openBracket(CallBracket* call)
{
    call->piece = {};
    call->file->pending.refused = false;
    call->open = ixBeginRead(call->file) == IX_OK;
    if (!call->open) call->file->trouble = true;
}

CallBracket beginCall(RecordFile* job)
{
    CallBracket call = {fileOf(job), {}, false};
    call.file->trouble = false;
    call.file->detoursLeft = MOST_DETOURS;
    openBracket(&call);
    return call;
}

static int closeBracket(CallBracket* call)
{
    if (!call->open) return IX_OK;
    call->open = false;
    return ixEndRead(call->file);
}

int endCall(CallBracket* call)
{
    const int ended = closeBracket(call);
    call->file->detoursLeft = 0;
    return ended == IX_OK && !call->file->trouble ? IDX_OK : IDX_ERROR;
}

bool hasToWrite(const RecordFile* job)
{
    const OpenFile* file = &job->tree.file;
    return file->sharing.readNesting != 0 && file->pending.refused;
}

bool leaveToWrite(CallBracket* call)
{
    if (!call->open || !call->file->pending.refused) return false;
    closeBracket(call);
    return true;
}

void goOn(CallBracket* call)
{
    call->file->detoursLeft = MOST_DETOURS;
    if (call->open) {
        call->open = ixYieldRead(call->file, &call->piece) == IX_OK;
    } else {
        openBracket(call);
    }
}
