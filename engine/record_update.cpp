// Whole records: adding, deleting and rewriting them with their index keys.
#include "engine/delete.h"
#include "engine/key_search.h"
#include "jobdb/record_image.h"

#include <cstdio>

constexpr char READ_ONLY_ADD[] = "ORV File Status: Read Only Access. ORVANE can not add a record.";
constexpr char READ_ONLY_DELETE[] =
    "ORV File Status: Read Only Access. ORVANE can not delete a record.";
constexpr char READ_ONLY_UPDATE[] =
    "ORV File Status: Read Only Access. ORVANE can not update a record ";

// Writes the refusal line for the host to see.
static int refuseReadOnly(IndexFile* file, const char* line)
{
    printf("%s\n", line);
    fflush(stdout);
    return withStatus(file, IX_READ_ONLY);
}

// Ends the update of a record operation.
static int endWith(IndexFile* file, int result)
{
    int ended = ixEndUpdate(file);
    return withStatus(file, ended != 0 ? ended : result);
}

// -- Add ---------------------------------------------------------------------

// Takes back a record number that was allocated, unless a record is stored under it.
static void undoAdd(IndexFile* file, LayoutEntry* layout, int32_t number, int length, bool inUse)
{
    removeKeyEntries(file, file->recordBuffer, number, layout, length);
    if (!inUse) releaseRecordNumber(file, number);
}

// Packs, numbers and stores the record of the layout's variables.
static int addWithinUpdate(IndexFile* file, LayoutEntry* layout)
{
    // Before a number is taken, so that a record that does not fit costs none.
    uint8_t* image = file->recordBuffer;
    int length = packRecord(image, layout, file->recordTypeByte, file->recordBufferSize);
    if (length == IMAGE_DOES_NOT_FIT) return IX_RECORD_TOO_LONG;

    int32_t number = 0;
    int result = allocateRecordNumber(file, &number);
    if (result != IX_OK) return result;

    result = addKeyEntries(file, image, number, layout, length);
    if (result != IX_OK) {
        undoAdd(file, layout, number, length, false);
        return result;
    }
    result = ixAdd(file, DATA_INDEX, "", number, image, static_cast<uint32_t>(length));
    if (result != IX_OK) {
        undoAdd(file, layout, number, length, result == IX_NOT_FOUND);
        return IX_NO_DATA_ENTRY;
    }
    file->currentRecordNumber = number;
    return IX_OK;
}

int recordAdd(IndexFile* file, LayoutEntry* layout)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (file->readOnly != 0) return refuseReadOnly(file, READ_ONLY_ADD);
    if (file->recordChecks != 0) {
        int checked = checkLayoutForWrite(layout);
        if (checked != IX_OK) return withStatus(file, checked);
    }
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);
    return endWith(file, addWithinUpdate(file, layout));
}

// -- Delete ------------------------------------------------------------------

// Shared mode: who has locked the current record, IX_NOT_LOCKED or IX_LOCKED_HERE;
// IX_LOCK_REQUIRED when it is another live user, else a failure code.
static int checkCurrentRecordLock(IndexFile* file)
{
    if (file->openMode == OPEN_EXCLUSIVE) return IX_NOT_LOCKED;
    if (file->lockedRecordNumber != file->currentRecordNumber) {
        int found = ixFind(file, DATA_INDEX, "", file->currentRecordNumber, nullptr, 0);
        if (found == IX_FILE_LOCK || found == IX_DESCENT_FAILED) return found;
        if (found != IX_OK) return IX_NO_DATA_ENTRY;
    }
    int check = ixCheckLock(file, DATA_INDEX);
    return check == IX_LOCKED_BY_OTHER ? IX_LOCK_REQUIRED : check;
}

static bool mayChange(int lockCheck)
{
    return lockCheck == IX_NOT_LOCKED || lockCheck == IX_LOCKED_HERE;
}

// Reads the image stored under a number into the record buffer, without touching
// record locks. IX_OK, IX_NO_DATA_ENTRY or IX_DAMAGED_IMAGE.
static int readStoredImage(IndexFile* file, int32_t number)
{
    int32_t internalCall = file->internalCall;
    file->internalCall = 1;
    uint32_t room = static_cast<uint32_t>(file->recordBufferSize);
    int result = ixFind(file, DATA_INDEX, "", number, file->recordBuffer, room);
    file->internalCall = internalCall;
    if (result != IX_OK) return IX_NO_DATA_ENTRY;
    bool complete = file->recordLength <= room && file->recordLength >= IMAGE_MIN_SIZE;
    return complete ? IX_OK : IX_DAMAGED_IMAGE;
}

static int deleteWithinUpdate(IndexFile* file, LayoutEntry* layout)
{
    int lockCheck = checkCurrentRecordLock(file);
    if (!mayChange(lockCheck)) return lockCheck;

    int32_t number = file->currentRecordNumber;
    int result = readStoredImage(file, number);
    if (result != IX_OK) return result;

    int length = static_cast<int>(file->recordLength);
    result = removeKeyEntries(file, file->recordBuffer, number, layout, length);
    if (result == IX_OK) result = ixLockRecord(file, DATA_INDEX);
    if (result == IX_OK) result = ixDeleteCurrent(file, DATA_INDEX);
    if (result == IX_OK) result = releaseRecordNumber(file, number);
    file->currentRecordNumber = NO_RECORD;
    file->lockedRecordNumber = NO_RECORD;
    return result;
}

int recordDeleteCurrent(IndexFile* file, LayoutEntry* layout)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (file->readOnly != 0) return refuseReadOnly(file, READ_ONLY_DELETE);
    if (file->currentRecordNumber == NO_RECORD) return withStatus(file, IX_NO_CURRENT);
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);
    return endWith(file, deleteWithinUpdate(file, layout));
}

// -- Update ------------------------------------------------------------------

// Enters the keys of the image stored under the old number again, however many of
// them are still there.
static int restoreKeys(IndexFile* file, LayoutEntry* layout, int32_t number)
{
    int result = readStoredImage(file, number);
    if (result != IX_OK) return result;
    int length = static_cast<int>(file->recordLength);
    removeKeyEntries(file, file->recordBuffer, number, layout, length);
    return addKeyEntries(file, file->recordBuffer, number, layout, length);
}

// Removes the record under the old number, whose keys are gone already.
static int removeOldRecord(IndexFile* file, int32_t number)
{
    if (ixDelete(file, DATA_INDEX, "", number) != IX_OK) return IX_OLD_DATA_KEPT;
    return releaseRecordNumber(file, number);
}

// The lock of the old record goes over to the new one.
static int moveRecordLock(IndexFile* file, int32_t oldNumber)
{
    const char lockKey[] = {DATA_INDEX, 0};
    deleteByKey(file, LOCK_INDEX, lockKey, oldNumber);
    int32_t number = file->currentRecordNumber;
    file->lockedRecordNumber = NO_RECORD;
    if (ixFind(file, DATA_INDEX, "", number, nullptr, 0) != IX_OK) return IX_NO_CURRENT;
    int result = ixLockRecord(file, DATA_INDEX);
    if (result == IX_OK) file->lockedRecordNumber = number;
    return result == IX_LOCKED_HERE ? IX_OK : result;
}

// The rewrite itself, with the internal-call flag set: the steps pass around record
// locks.
static int rewriteRecord(IndexFile* file, LayoutEntry* layout, int lockCheck)
{
    int32_t oldNumber = file->currentRecordNumber;
    int result = readStoredImage(file, oldNumber);
    if (result != IX_OK) return IX_NO_DATA_ENTRY;

    int length = static_cast<int>(file->recordLength);
    result = removeKeyEntries(file, file->recordBuffer, oldNumber, layout, length);
    if (result == IX_OTHER_LAYOUT || result == IX_DAMAGED_IMAGE) return IX_KEYS_NOT_REMOVED;
    if (result != IX_OK) {
        restoreKeys(file, layout, oldNumber);
        return IX_KEYS_NOT_REMOVED;
    }
    result = recordAdd(file, layout);
    if (result != IX_OK) {
        int restored = restoreKeys(file, layout, oldNumber);
        return restored != IX_OK ? restored : result;
    }
    result = removeOldRecord(file, oldNumber);
    if (result == IX_OK && lockCheck == IX_LOCKED_HERE) result = moveRecordLock(file, oldNumber);
    return result;
}

int recordUpdateCurrent(IndexFile* file, LayoutEntry* layout)
{
    if (!contextIsOpen(file)) return IX_NOT_OPEN;
    if (file->readOnly != 0) return refuseReadOnly(file, READ_ONLY_UPDATE);
    if (file->recordChecks != 0) {
        int checked = checkLayoutForWrite(layout);
        if (checked != IX_OK) return withStatus(file, checked);
    }
    if (file->currentRecordNumber == NO_RECORD) return withStatus(file, IX_NO_CURRENT);
    if (ixBeginUpdate(file) != 0) return withStatus(file, IX_FILE_LOCK);

    int result = checkCurrentRecordLock(file);
    if (mayChange(result)) {
        int32_t internalCall = file->internalCall;
        file->internalCall = 1;
        result = rewriteRecord(file, layout, result);
        file->internalCall = internalCall;
    }
    return endWith(file, result);
}
