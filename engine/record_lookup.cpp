// Finding records by their keys, stepping through an index, and reading the record
// found into the variables of a layout.
#include "engine/key_search.h"
#include "jobdb/record_image.h"

// The outcome of a search for (key, number 0) under a match mode. Record numbers
// start above 0, so a key string that exists is met as IX_SAME_KEY.
static int applyMatchMode(IndexFile* file, int index, int found, int matchMode)
{
    bool exists = found == IX_OK || found == IX_SAME_KEY;
    bool greater = found == IX_GREATER_KEY;
    if (found < IX_NOT_FOUND) return found;

    switch (matchMode) {
    case MATCH_EXACT:
        return exists ? IX_OK : IX_NOT_FOUND;
    case MATCH_AFTER:
        if (exists) return ixNext(file, index, nullptr, 0);
        return greater ? IX_OK : IX_NOT_FOUND;
    case MATCH_AT_OR_AFTER:
        if (exists) return IX_OK;
        return greater ? IX_GREATER_KEY : IX_NOT_FOUND;
    case MATCH_BEFORE:
        return ixPrevious(file, index, nullptr, 0);
    case MATCH_AT_OR_BEFORE: {
        if (exists) return IX_OK;
        int result = ixPrevious(file, index, nullptr, 0);
        return result == IX_OK ? IX_BEFORE : result;
    }
    default:
        return found;
    }
}

int recordFind(IndexFile* file, int index, const char* key, int, int matchMode)
{
    int result = checkRequest(file, index, nullptr, 0);
    if (result == IX_BAD_ARGUMENT) file->currentRecordNumber = NO_RECORD;
    if (result != IX_OK) return result;
    bool updating = false;
    result = beginMove(file, index, &updating);
    if (result != IX_OK) return withStatus(file, result);

    int found = ixFind(file, index, key, 0, nullptr, 0);
    int outcome = applyMatchMode(file, index, found, matchMode);
    bool reached = outcome == IX_OK || outcome == IX_GREATER_KEY || outcome == IX_BEFORE;
    file->currentRecordNumber = reached ? file->number : NO_RECORD;
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : outcome);
}

int recordStep(IndexFile* file, int index, int step)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    int result = IX_OK;
    switch (step) {
    case STEP_NEXT:
        result = ixNext(file, index, nullptr, 0);
        break;
    case STEP_PREVIOUS:
        result = ixPrevious(file, index, nullptr, 0);
        break;
    case STEP_FIRST:
        result = ixFindFirst(file, index, nullptr, 0);
        break;
    case STEP_LAST:
        result = ixFindLast(file, index, nullptr, 0);
        break;
    default:
        return IX_OK;
    }
    file->currentRecordNumber = result == IX_OK ? file->number : NO_RECORD;
    return result;
}

// A lock on another record than the current one is let go. IX_OK or a failure.
static int releaseOtherRecord(IndexFile* file)
{
    bool other = file->lockedRecordNumber != NO_RECORD &&
                 file->lockedRecordNumber != file->currentRecordNumber;
    if (!other) return IX_OK;
    int result = ixUnlockRecord(file, DATA_INDEX);
    file->lockedRecordNumber = NO_RECORD;
    return result == IX_NO_CURRENT ? IX_OK : result;
}

// Reads the current record's image and unpacks it.
static int readImage(IndexFile* file, LayoutEntry* layout)
{
    if (file->currentRecordNumber == NO_RECORD) return IX_NO_CURRENT;
    uint32_t room = static_cast<uint32_t>(file->recordBufferSize);
    int result = ixFind(file, DATA_INDEX, "", file->currentRecordNumber, file->recordBuffer, room);
    if (result == IX_SAME_KEY || result == IX_GREATER_KEY) return IX_NOT_FOUND;
    if (result != IX_OK) return result == IX_FILE_LOCK ? result : IX_NOT_FOUND;

    // An image that was cut to the buffer, or a record without bytes, which leaves
    // the buffer as it was, is no image.
    if (file->recordLength > room || file->recordLength < IMAGE_MIN_SIZE) return IX_DAMAGED_IMAGE;
    return unpackRecord(file->recordBuffer, layout, file, static_cast<int>(file->recordLength));
}

int recordReadCurrent(IndexFile* file, LayoutEntry* layout)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (file->recordChecks != 0) {
        int checked = checkLayoutForRead(layout);
        if (checked != IX_OK) return withStatus(file, checked);
    }
    // Letting go of a lock writes, which an outermost read would forbid.
    bool updating = file->openMode == OPEN_SHARED && file->lockedRecordNumber != NO_RECORD &&
                    file->lockedRecordNumber != file->currentRecordNumber &&
                    file->internalCall == 0;
    int begun = updating ? ixBeginUpdate(file) : ixBeginRead(file);
    if (begun != 0) return withStatus(file, IX_FILE_LOCK);

    int result = releaseOtherRecord(file);
    if (result == IX_OK) {
        int32_t internalCall = file->internalCall;
        file->internalCall = 1;
        result = readImage(file, layout);
        file->internalCall = internalCall;
    }
    int ended = endMove(file, updating);
    return withStatus(file, ended != 0 ? ended : result);
}
