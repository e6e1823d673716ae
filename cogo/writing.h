// The bracket around what a reader has to write. For cogo/ alone.
#pragma once

#include "records/records.h"

// Begins an update. Returns IX_OK, or a failure code with nothing begun: inside an outermost
// read an update is refused, before anything is written or printed. On a file without write
// access nothing is locked, and the record layer refuses each write by itself, with a line on
// standard output.
inline int beginWriting(RecordFile* job)
{
    OpenFile* file = fileOf(job);
    if (!file->readOnly) return ixBeginUpdate(file);
    if (file->sharing.readNesting == 0) return IX_OK;
    file->pending.refused = true;
    return IX_FILE_LOCK;
}

// Ends an update that was begun. Returns IX_OK, or the code that tells why it did not reach the
// file.
inline int endWriting(RecordFile* job)
{
    return isReadOnly(job) ? IX_OK : ixEndUpdate(fileOf(job));
}
