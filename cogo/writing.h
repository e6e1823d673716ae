// The bracket around what a reader writes. For cogo/ alone.
#pragma once

#include "records/records.h"

// IX_OK, or a failure code with nothing opened. Inside an outermost read it is refused,
// before anything is written or said. On a file without write access nothing is
// locked: the engine refuses each write by itself, and says so.
inline int beginWriting(RecordFile* job)
{
    OpenFile* file = fileOf(job);
    if (!file->readOnly) return ixBeginUpdate(file);
    if (file->sharing.readNesting == 0) return IX_OK;
    file->pending.refused = true;
    return IX_FILE_LOCK;
}

// Ends a write that was begun. IX_OK, or why it did not reach the file.
inline int endWriting(RecordFile* job)
{
    return isReadOnly(job) ? IX_OK : ixEndUpdate(fileOf(job));
}
