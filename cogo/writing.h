// The bracket around what a reader writes. For cogo/ alone.
#pragma once

#include "engine/engine.h"

// IX_OK, or a failure code with nothing opened. Inside an outermost read it is refused,
// before anything is written or said. On a file without write access nothing is
// locked: the engine refuses each write by itself, and says so.
inline int beginWriting(IndexFile* file)
{
    if (file->readOnly == 0) return ixBeginUpdate(file);
    if (file->readNesting == 0) return IX_OK;
    file->updateRefused = 1;
    return IX_FILE_LOCK;
}

// Ends a write that was begun. IX_OK, or why it did not reach the file.
inline int endWriting(IndexFile* file) { return file->readOnly != 0 ? IX_OK : ixEndUpdate(file); }
