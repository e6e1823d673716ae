#include "api/call_bracket.h"

#include "api/orvIdx.h"
#include "jobdb/jobdb.h"

static void openBracket(CallBracket* call)
{
    call->piece = {};
    call->file->updateRefused = 0;
    call->open = ixBeginRead(call->file) == IX_OK;
}

CallBracket beginCall(int slot)
{
    CallBracket call = {slotContext(slot), {}, false};
    openBracket(&call);
    return call;
}

int endCall(CallBracket* call)
{
    if (!call->open) return IDX_OK;
    call->open = false;
    return ixEndRead(call->file) == IX_OK ? IDX_OK : IDX_ERROR;
}

bool hasToWrite(int slot)
{
    const IndexFile* file = slotContext(slot);
    return file->readNesting != 0 && file->updateRefused != 0;
}

void goOn(CallBracket* call)
{
    if (call->open) {
        call->open = ixYieldRead(call->file, &call->piece) == IX_OK;
    } else {
        openBracket(call);
    }
}
