// Finding records by their keys, stepping through an index, and reading the record
// found into the variables of a layout.
#include "records/record_image.h"
#include "records/records.h"

int recordOpen(RecordFile* job, const char* path, uint8_t* recordBuffer, int32_t recordBufferSize,
               char mode)
{
    int result = ixOpen(&job->tree, path, mode);
    if (result != IX_OK) return result;
    job->currentRecordNumber = NO_RECORD;
    job->lockedRecordNumber = NO_RECORD;
    job->releasedInUpdate = 0;
    job->recordBuffer = recordBuffer;
    job->recordBufferSize = recordBufferSize;
    return IX_OK;
}

int recordClose(RecordFile* job) { return ixClose(&job->tree); }

// The outcome of a search for (key, number 0) under a match mode. Record numbers
// start above 0, so a key string that exists is met as IX_SAME_KEY.
static int applyMatchMode(IndexFile* tree, int index, int found, int matchMode)
{
    bool exists = found == IX_OK || found == IX_SAME_KEY;
    bool greater = found == IX_GREATER_KEY;
    if (found < IX_NOT_FOUND) return found;

    switch (matchMode) {
    case MATCH_EXACT:
        return exists ? IX_OK : IX_NOT_FOUND;
    case MATCH_AFTER:
        if (exists) return ixNext(tree, index, nullptr, 0);
        return greater ? IX_OK : IX_NOT_FOUND;
    case MATCH_AT_OR_AFTER:
        if (exists) return IX_OK;
        return greater ? IX_GREATER_KEY : IX_NOT_FOUND;
    case MATCH_BEFORE:
        return ixPrevious(tree, index, nullptr, 0);
    case MATCH_AT_OR_BEFORE: {
        if (exists) return IX_OK;
        int result = ixPrevious(tree, index, nullptr, 0);
        return result == IX_OK ? IX_BEFORE : result;
    }
    default:
        return found;
    }
}

int recordFind(RecordFile* job, int index, const char* key, int matchMode)
{
    IndexFile* tree = &job->tree;
    int result = checkRequest(tree, index, nullptr, 0);
    if (result == IX_BAD_ARGUMENT) job->currentRecordNumber = NO_RECORD;
    if (result != IX_OK) return result;
    bool updating = false;
    result = beginMove(tree, index, &updating);
    if (result != IX_OK) return withStatus(tree, result);

    int found = matchMode == MATCH_EXACT ? ixInnerFind(tree, index, FOR_KEY, key, 0, nullptr, 0)
                                         : ixFind(tree, index, key, 0, nullptr, 0);
    int outcome = applyMatchMode(tree, index, found, matchMode);
    bool reached = outcome == IX_OK || outcome == IX_GREATER_KEY || outcome == IX_BEFORE;
    job->currentRecordNumber = reached ? tree->found.number : NO_RECORD;
    return withStatus(tree, resultOf(endMove(tree, updating), outcome));
}

int recordStep(RecordFile* job, int index, int step)
{
    IndexFile* tree = &job->tree;
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    int result = IX_OK;
    switch (step) {
    case STEP_NEXT:
        result = ixNext(tree, index, nullptr, 0);
        break;
    case STEP_PREVIOUS:
        result = ixPrevious(tree, index, nullptr, 0);
        break;
    case STEP_FIRST:
        result = ixFindFirst(tree, index, nullptr, 0);
        break;
    case STEP_LAST:
        result = ixFindLast(tree, index, nullptr, 0);
        break;
    default:
        return IX_OK;
    }
    job->currentRecordNumber = result == IX_OK ? tree->found.number : NO_RECORD;
    return result;
}

void recordStepAlong(RecordFile* job, int index, KeyBlock* keys)
{
    ixStepAlong(&job->tree, index, keys);
    if (keys->count > 0) job->currentRecordNumber = job->tree.found.number;
}

// True when this context has locked another record than the current one.
static bool holdsOtherRecord(const RecordFile* job)
{
    return job->lockedRecordNumber != NO_RECORD &&
           job->lockedRecordNumber != job->currentRecordNumber;
}

// A lock on another record than the current one is let go. IX_OK or a failure.
static int releaseOtherRecord(RecordFile* job)
{
    if (!holdsOtherRecord(job)) return IX_OK;
    int result = ixUnlockRecord(&job->tree, DATA_INDEX);
    job->lockedRecordNumber = NO_RECORD;
    return result == IX_NO_CURRENT ? IX_OK : result;
}

// Reads the current record's image and unpacks it.
static int readImage(RecordFile* job, const LayoutPlan* plan)
{
    if (job->currentRecordNumber == NO_RECORD) return IX_NO_CURRENT;
    uint32_t room = static_cast<uint32_t>(job->recordBufferSize);
    int result = ixInnerFind(&job->tree, DATA_INDEX, FOR_RECORD, "", job->currentRecordNumber,
                             job->recordBuffer, room);
    if (result != IX_OK) return IX_NOT_FOUND;

    // What was cut to the buffer is no image.
    uint32_t length = job->tree.found.recordLength;
    if (length > room) return IX_DAMAGED_IMAGE;
    return unpackRecord(job->recordBuffer, plan, &job->recordTypeByte, static_cast<int>(length));
}

static int readCurrent(RecordFile* job, const LayoutPlan* plan)
{
    IndexFile* tree = &job->tree;
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    if (plan->checked != IX_OK) return withStatus(tree, plan->checked);
    // Letting go of a lock writes, which an outermost read would forbid.
    bool updating = !isExclusive(&tree->file) && holdsOtherRecord(job) && tree->internalCall == 0;
    int begun = updating ? ixBeginUpdate(&tree->file) : ixBeginRead(&tree->file);
    if (begun != IX_OK) return withStatus(tree, IX_FILE_LOCK);

    int result = releaseOtherRecord(job);
    if (result == IX_OK) result = readImage(job, plan);
    return withStatus(tree, resultOf(endMove(tree, updating), result));
}

int recordReadCurrent(RecordFile* job, LayoutEntry* layout)
{
    const LayoutPlan plan = planLayout(layout);
    return readCurrent(job, &plan);
}

int readRecordAtKey(RecordFile* job, const LayoutPlan* plan, int keyField)
{
    const int result = readCurrent(job, plan);
    if (result != IX_OK) return result;
    const LayoutEntry& field = plan->layout[keyField];
    const int index = field.indexNumber;
    if (job->tree.positions[index].number != job->currentRecordNumber) return IX_OK;
    const char* value = static_cast<const char*>(field.value);
    const size_t characters = static_cast<size_t>(field.room) - 1;
    const bool same = strncmp(value, keyAtPosition(job, index), characters) == 0;
    return same ? IX_OK : IX_DAMAGED_IMAGE;
}
