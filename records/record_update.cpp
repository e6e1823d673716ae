// Whole records: adding, deleting and rewriting them with their index keys.
#include "records/key_entries.h"
#include "records/record_image.h"
#include "records/records.h"

#include <cstdio>
#include <initializer_list>

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

// Takes back what was stored of a record under its new number. What fails here is left behind:
// data that nothing refers to.
static void takeBack(RecordFile* job, const RecordImage* image, int32_t number)
{
    removeKeyEntries(&job->tree, image, number);
    ixDelete(&job->tree, DATA_INDEX, "", number);
    releaseRecordNumber(job, number);
}

// Stores an image under a number that was handed out for it: the data, and when these have
// reached the file the keys that refer to them.
static int storeUnderNumber(RecordFile* job, const RecordImage* image, int32_t number,
                            int32_t replaced, KeyHolders* twins)
{
    IndexFile* tree = &job->tree;
    int result = findHolders(tree, image, replaced, twins);
    if (result != IX_OK) {
        releaseRecordNumber(job, number);
        return result;
    }
    result =
        ixAdd(tree, DATA_INDEX, "", number, image->bytes, static_cast<uint32_t>(image->length));
    if (result != IX_OK) {
        // A number under which something is stored is not free.
        if (result != IX_EXISTS) releaseRecordNumber(job, number);
        return IX_NO_DATA_ENTRY;
    }
    result = ixWriteOut(&tree->file);
    if (result == IX_OK) result = addKeyEntries(tree, image, number);
    if (result != IX_OK) takeBack(job, image, number);
    return result;
}

// Packs, numbers and stores the record of the layout's variables. It may have the unique keys
// of the record that it replaces, of which there may be twins.
static int addWithinUpdate(RecordFile* job, LayoutEntry* layout, int32_t replaced,
                           KeyHolders* twins)
{
    // Before a number is taken, so that a record that does not fit costs none.
    int length = packRecord(job->recordBuffer, layout, job->recordTypeByte, job->recordBufferSize);
    if (length == IMAGE_DOES_NOT_FIT) return IX_RECORD_TOO_LONG;
    RecordImage image = {job->recordBuffer, layout, length};

    int32_t number = 0;
    int result = allocateRecordNumber(job, &number);
    if (result != IX_OK) return result;
    result = storeUnderNumber(job, &image, number, replaced, twins);
    if (result == IX_OK) job->currentRecordNumber = number;
    return result;
}

int recordAdd(RecordFile* job, LayoutEntry* layout)
{
    if (!contextIsOpen(&job->tree)) return IX_NOT_OPEN;
    if (isReadOnly(job)) return refuseReadOnly(job, READ_ONLY_ADD);
    int checked = checkLayoutForWrite(layout);
    if (checked != IX_OK) return withStatus(&job->tree, checked);
    if (ixBeginUpdate(fileOf(job)) != IX_OK) return withStatus(&job->tree, IX_FILE_LOCK);
    KeyHolders none;
    return endWith(job, addWithinUpdate(job, layout, NO_RECORD, &none));
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
    int result =
        ixInnerFind(&job->tree, DATA_INDEX, FOR_RECORD, "", number, job->recordBuffer, room);
    if (result != IX_OK) return IX_NO_DATA_ENTRY;
    uint32_t length = job->tree.found.recordLength;
    bool complete = length <= room && length >= IMAGE_MIN_SIZE;
    return complete ? IX_OK : IX_DAMAGED_IMAGE;
}

// The image that readStoredImage has left in the record buffer.
static RecordImage storedImage(const RecordFile* job, const LayoutEntry* layout)
{
    return {job->recordBuffer, layout, static_cast<int>(job->tree.found.recordLength)};
}

// The keys go first: a process that is killed on the way leaves no key without its record.
static int deleteWithinUpdate(RecordFile* job, LayoutEntry* layout)
{
    int lockCheck = checkCurrentRecordLock(job);
    if (!mayChange(lockCheck)) return lockCheck;

    int32_t number = job->currentRecordNumber;
    int result = readStoredImage(job, number);
    if (result != IX_OK) return result;

    RecordImage image = storedImage(job, layout);
    result = checkImage(image.bytes, layout, image.length);
    if (result == IX_OK) result = removeKeyEntries(&job->tree, &image, number);
    if (result == IX_OK) result = ixLockRecord(&job->tree, DATA_INDEX);
    if (result == IX_OK) result = ixDeleteCurrent(&job->tree, DATA_INDEX);
    if (result == IX_OK) result = releaseRecordNumber(job, number);
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

// Removes the keys of the record stored under the old number, of which the image has been found
// sound before.
static int removeOldKeys(RecordFile* job, const LayoutEntry* oldLayout, int32_t oldNumber)
{
    int result = readStoredImage(job, oldNumber);
    if (result != IX_OK) return result;
    RecordImage image = storedImage(job, oldLayout);
    return removeKeyEntries(&job->tree, &image, oldNumber);
}

// After a removal of old keys that failed: enters them again and takes the new record back.
static void returnToOldRecord(RecordFile* job, const LayoutEntry* oldLayout, int32_t oldNumber,
                              const LayoutEntry* layout)
{
    if (readStoredImage(job, oldNumber) == IX_OK) {
        RecordImage image = storedImage(job, oldLayout);
        addKeyEntries(&job->tree, &image, oldNumber);
    }
    int32_t newNumber = job->currentRecordNumber;
    if (readStoredImage(job, newNumber) == IX_OK) {
        RecordImage image = storedImage(job, layout);
        takeBack(job, &image, newNumber);
    }
    job->currentRecordNumber = oldNumber;
}

// Removes the record under the old number, whose keys are gone already.
static int removeOldRecord(RecordFile* job, int32_t number)
{
    if (ixDelete(&job->tree, DATA_INDEX, "", number) != IX_OK) return IX_OLD_DATA_KEPT;
    return releaseRecordNumber(job, number);
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

// Removes the keys of what a process that was killed has left of the same record, as far as its
// image can be read through one of the layouts.
static int removeTwinKeys(RecordFile* job, const LayoutEntry* oldLayout, const LayoutEntry* layout,
                          const KeyHolders* twins)
{
    for (int i = 0; i < twins->count; ++i) {
        if (readStoredImage(job, twins->numbers[i]) != IX_OK) continue;
        for (const LayoutEntry* candidate : {oldLayout, layout}) {
            RecordImage image = storedImage(job, candidate);
            if (checkImage(image.bytes, candidate, image.length) != IX_OK) continue;
            int result = removeKeyEntries(&job->tree, &image, twins->numbers[i]);
            if (result != IX_OK) return result;
            break;
        }
    }
    return IX_OK;
}

// The rewrite itself, with the internal-call flag set: its steps keep the record locks of
// the indexes that they touch. The new record comes first, then its keys take the place of the
// old ones, and when that has reached the file the old record goes.
static int rewriteRecord(RecordFile* job, const LayoutEntry* oldLayout, LayoutEntry* layout,
                         int lockCheck)
{
    int32_t oldNumber = job->currentRecordNumber;
    if (readStoredImage(job, oldNumber) != IX_OK) return IX_NO_DATA_ENTRY;
    RecordImage old = storedImage(job, oldLayout);
    if (checkImage(old.bytes, oldLayout, old.length) != IX_OK) return IX_KEYS_NOT_REMOVED;

    KeyHolders twins;
    int result = addWithinUpdate(job, layout, oldNumber, &twins);
    if (result != IX_OK) return result;
    bool removed = removeOldKeys(job, oldLayout, oldNumber) == IX_OK &&
                   removeTwinKeys(job, oldLayout, layout, &twins) == IX_OK;
    if (!removed) {
        returnToOldRecord(job, oldLayout, oldNumber, layout);
        return IX_KEYS_NOT_REMOVED;
    }
    result = ixWriteOut(fileOf(job));
    if (result == IX_OK) result = removeOldRecord(job, oldNumber);
    for (int i = 0; i < twins.count && result == IX_OK; ++i) {
        result = removeOldRecord(job, twins.numbers[i]);
    }
    if (result == IX_OK && lockCheck == IX_LOCKED_HERE) result = moveRecordLock(job, oldNumber);
    return result;
}

// IX_OK with an update begun for changing the current record, else why not.
static int beginChange(RecordFile* job, const LayoutEntry* layout)
{
    if (!contextIsOpen(&job->tree)) return IX_NOT_OPEN;
    if (isReadOnly(job)) return refuseReadOnly(job, READ_ONLY_UPDATE);
    int checked = checkLayoutForWrite(layout);
    if (checked != IX_OK) return withStatus(&job->tree, checked);
    if (job->currentRecordNumber == NO_RECORD) return withStatus(&job->tree, IX_NO_CURRENT);
    if (ixBeginUpdate(fileOf(job)) != IX_OK) return withStatus(&job->tree, IX_FILE_LOCK);
    return IX_OK;
}

int recordReplaceCurrent(RecordFile* job, const LayoutEntry* oldLayout, LayoutEntry* layout)
{
    int result = beginChange(job, layout);
    if (result != IX_OK) return result;
    result = checkCurrentRecordLock(job);
    if (mayChange(result)) {
        int32_t internalCall = job->tree.internalCall;
        job->tree.internalCall = 1;
        result = rewriteRecord(job, oldLayout, layout, result);
        job->tree.internalCall = internalCall;
    }
    return endWith(job, result);
}

// The new record first; then the key that leads nowhere and what may be left of the data.
static int replaceLost(RecordFile* job, int index, LayoutEntry* layout)
{
    int32_t lost = job->currentRecordNumber;
    char key[KEY_BUFFER_SIZE];
    copyText(key, sizeof key, keyAtPosition(job, index));
    KeyHolders twins;
    int result = addWithinUpdate(job, layout, lost, &twins);
    if (result == IX_OK) result = ixInnerDelete(&job->tree, index, key, lost);
    if (result == IX_OK) result = ixWriteOut(fileOf(job));
    if (result != IX_OK) return result;
    result = ixInnerDelete(&job->tree, DATA_INDEX, "", lost);
    return result == IX_OK || result == IX_NOT_FOUND ? releaseRecordNumber(job, lost) : result;
}

int recordReplaceLost(RecordFile* job, int index, LayoutEntry* layout)
{
    int result = beginChange(job, layout);
    return result == IX_OK ? endWith(job, replaceLost(job, index, layout)) : result;
}

int recordUpdateCurrent(RecordFile* job, LayoutEntry* layout)
{
    return recordReplaceCurrent(job, layout, layout);
}
