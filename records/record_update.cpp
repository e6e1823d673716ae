// Whole records: adding, deleting and rewriting them with their index keys.
#include "records/key_entries.h"
#include "records/record_image.h"
#include "records/records.h"

#include <cstdio>

constexpr char READ_ONLY_ADD[] = "ORV File Status: Read Only Access. ORVANE can not add a record.";
constexpr char READ_ONLY_DELETE[] =
    "ORV File Status: Read Only Access. ORVANE can not delete a record.";
constexpr char READ_ONLY_UPDATE[] =
    "ORV File Status: Read Only Access. ORVANE can not update a record ";

// Writes the refusal line for the host to see.
static int refuseReadOnly(RecordFile* job, const char* line)
{
    printf("%s\n", line);
    fflush(stdout);
    return withStatus(&job->tree, IX_READ_ONLY);
}

// Ends the update of a record operation.
static int endWith(RecordFile* job, int result)
{
    return withStatus(&job->tree, resultOf(ixEndUpdate(fileOf(job)), result));
}

// -- Add ---------------------------------------------------------------------

// Takes back a record number that was allocated, unless a record is stored under it.
static void undoAdd(RecordFile* job, LayoutEntry* layout, int32_t number, int length, bool inUse)
{
    removeKeyEntries(&job->tree, job->recordBuffer, number, layout, length);
    if (!inUse) releaseRecordNumber(&job->tree, number);
}

// Packs, numbers and stores the record of the layout's variables.
static int addWithinUpdate(RecordFile* job, LayoutEntry* layout)
{
    // Before a number is taken, so that a record that does not fit costs none.
    uint8_t* image = job->recordBuffer;
    int length = packRecord(image, layout, job->recordTypeByte, job->recordBufferSize);
    if (length == IMAGE_DOES_NOT_FIT) return IX_RECORD_TOO_LONG;

    int32_t number = 0;
    int result = allocateRecordNumber(&job->tree, &number);
    if (result != IX_OK) return result;

    result = addKeyEntries(&job->tree, image, number, layout, length);
    if (result != IX_OK) {
        undoAdd(job, layout, number, length, false);
        return result;
    }
    result = ixAdd(&job->tree, DATA_INDEX, "", number, image, static_cast<uint32_t>(length));
    if (result != IX_OK) {
        undoAdd(job, layout, number, length, result == IX_EXISTS);
        return IX_NO_DATA_ENTRY;
    }
    job->currentRecordNumber = number;
    return IX_OK;
}

int recordAdd(RecordFile* job, LayoutEntry* layout)
{
    if (!contextIsOpen(&job->tree)) return IX_NOT_OPEN;
    if (isReadOnly(job)) return refuseReadOnly(job, READ_ONLY_ADD);
    int checked = checkLayoutForWrite(layout);
    if (checked != IX_OK) return withStatus(&job->tree, checked);
    if (ixBeginUpdate(fileOf(job)) != IX_OK) return withStatus(&job->tree, IX_FILE_LOCK);
    return endWith(job, addWithinUpdate(job, layout));
}

// -- Delete ------------------------------------------------------------------

// Shared mode: who has locked the current record, IX_NOT_LOCKED or IX_LOCKED_HERE;
// IX_LOCK_REQUIRED when it is another live user, else a failure code.
static int checkCurrentRecordLock(RecordFile* job)
{
    if (isExclusive(fileOf(job))) return IX_NOT_LOCKED;
    if (job->lockedRecordNumber != job->currentRecordNumber) {
        int found = ixFind(&job->tree, DATA_INDEX, "", job->currentRecordNumber, nullptr, 0);
        if (found == IX_FILE_LOCK || found == IX_DESCENT_FAILED) return found;
        if (found != IX_OK) return IX_NO_DATA_ENTRY;
    }
    int check = ixCheckLock(&job->tree, DATA_INDEX);
    return check == IX_LOCKED_BY_OTHER ? IX_LOCK_REQUIRED : check;
}

static bool mayChange(int lockCheck)
{
    return lockCheck == IX_NOT_LOCKED || lockCheck == IX_LOCKED_HERE;
}

// Reads the image stored under a number into the record buffer, without touching
// record locks. IX_OK, IX_NO_DATA_ENTRY or IX_DAMAGED_IMAGE.
static int readStoredImage(RecordFile* job, int32_t number)
{
    uint32_t room = static_cast<uint32_t>(job->recordBufferSize);
    int result = ixInnerFind(&job->tree, DATA_INDEX, "", number, job->recordBuffer, room);
    if (result != IX_OK) return IX_NO_DATA_ENTRY;
    uint32_t length = job->tree.found.recordLength;
    bool complete = length <= room && length >= IMAGE_MIN_SIZE;
    return complete ? IX_OK : IX_DAMAGED_IMAGE;
}

static int deleteWithinUpdate(RecordFile* job, LayoutEntry* layout)
{
    int lockCheck = checkCurrentRecordLock(job);
    if (!mayChange(lockCheck)) return lockCheck;

    int32_t number = job->currentRecordNumber;
    int result = readStoredImage(job, number);
    if (result != IX_OK) return result;

    int length = static_cast<int>(job->tree.found.recordLength);
    result = removeKeyEntries(&job->tree, job->recordBuffer, number, layout, length);
    if (result == IX_OK) result = ixLockRecord(&job->tree, DATA_INDEX);
    if (result == IX_OK) result = ixDeleteCurrent(&job->tree, DATA_INDEX);
    if (result == IX_OK) result = releaseRecordNumber(&job->tree, number);
    job->currentRecordNumber = NO_RECORD;
    job->lockedRecordNumber = NO_RECORD;
    return result;
}

int recordDeleteCurrent(RecordFile* job, LayoutEntry* layout)
{
    if (!contextIsOpen(&job->tree)) return IX_NOT_OPEN;
    if (isReadOnly(job)) return refuseReadOnly(job, READ_ONLY_DELETE);
    if (job->currentRecordNumber == NO_RECORD) return withStatus(&job->tree, IX_NO_CURRENT);
    if (ixBeginUpdate(fileOf(job)) != IX_OK) return withStatus(&job->tree, IX_FILE_LOCK);
    return endWith(job, deleteWithinUpdate(job, layout));
}

// -- Update ------------------------------------------------------------------

// Enters the keys of the image stored under the old number again, however many of
// them are still there.
static int restoreKeys(RecordFile* job, LayoutEntry* layout, int32_t number)
{
    int result = readStoredImage(job, number);
    if (result != IX_OK) return result;
    int length = static_cast<int>(job->tree.found.recordLength);
    removeKeyEntries(&job->tree, job->recordBuffer, number, layout, length);
    return addKeyEntries(&job->tree, job->recordBuffer, number, layout, length);
}

// Removes the record under the old number, whose keys are gone already.
static int removeOldRecord(RecordFile* job, int32_t number)
{
    if (ixDelete(&job->tree, DATA_INDEX, "", number) != IX_OK) return IX_OLD_DATA_KEPT;
    return releaseRecordNumber(&job->tree, number);
}

// The lock of the old record goes over to the new one.
static int moveRecordLock(RecordFile* job, int32_t oldNumber)
{
    const char lockKey[] = {DATA_INDEX, 0};
    ixInnerDelete(&job->tree, LOCK_INDEX, lockKey, oldNumber);
    int32_t number = job->currentRecordNumber;
    job->lockedRecordNumber = NO_RECORD;
    if (ixFind(&job->tree, DATA_INDEX, "", number, nullptr, 0) != IX_OK) return IX_NO_CURRENT;
    int result = ixLockRecord(&job->tree, DATA_INDEX);
    if (result == IX_OK) job->lockedRecordNumber = number;
    return result == IX_LOCKED_HERE ? IX_OK : result;
}

// The rewrite itself, with the internal-call flag set: its steps keep the record locks of
// the indexes that they touch.
static int rewriteRecord(RecordFile* job, LayoutEntry* layout, int lockCheck)
{
    int32_t oldNumber = job->currentRecordNumber;
    int result = readStoredImage(job, oldNumber);
    if (result != IX_OK) return IX_NO_DATA_ENTRY;

    int length = static_cast<int>(job->tree.found.recordLength);
    result = removeKeyEntries(&job->tree, job->recordBuffer, oldNumber, layout, length);
    if (result == IX_OTHER_LAYOUT || result == IX_DAMAGED_IMAGE) return IX_KEYS_NOT_REMOVED;
    if (result != IX_OK) {
        restoreKeys(job, layout, oldNumber);
        return IX_KEYS_NOT_REMOVED;
    }
    result = recordAdd(job, layout);
    if (result != IX_OK) {
        int restored = restoreKeys(job, layout, oldNumber);
        return restored != IX_OK ? restored : result;
    }
    result = removeOldRecord(job, oldNumber);
    if (result == IX_OK && lockCheck == IX_LOCKED_HERE) result = moveRecordLock(job, oldNumber);
    return result;
}

int recordUpdateCurrent(RecordFile* job, LayoutEntry* layout)
{
    if (!contextIsOpen(&job->tree)) return IX_NOT_OPEN;
    if (isReadOnly(job)) return refuseReadOnly(job, READ_ONLY_UPDATE);
    int checked = checkLayoutForWrite(layout);
    if (checked != IX_OK) return withStatus(&job->tree, checked);
    if (job->currentRecordNumber == NO_RECORD) return withStatus(&job->tree, IX_NO_CURRENT);
    if (ixBeginUpdate(fileOf(job)) != IX_OK) return withStatus(&job->tree, IX_FILE_LOCK);

    int result = checkCurrentRecordLock(job);
    if (mayChange(result)) {
        int32_t internalCall = job->tree.internalCall;
        job->tree.internalCall = 1;
        result = rewriteRecord(job, layout, result);
        job->tree.internalCall = internalCall;
    }
    return endWith(job, result);
}
