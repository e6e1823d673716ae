// A record's keys in and out of their indexes, and the record numbers.
#include "engine/engine.h"
#include "jobdb/record_image.h"

#include <cstring>

// Takes the next key field of an image, its value as a terminated text in scratch.
// The layout entry, or null at the end of the image.
static const LayoutEntry* nextKey(ImageWalk* walk, char* scratch)
{
    ImageItem item = {};
    while (nextImageItem(walk, &item)) {
        const LayoutEntry* entry = &walk->layout[item.field];
        if (entry->keyFlag == NOT_A_KEY) continue;
        int part = item.length < KEY_SCRATCH_SIZE ? item.length : KEY_SCRATCH_SIZE - 1;
        memcpy(scratch, item.value, static_cast<size_t>(part));
        scratch[part] = 0;
        return entry;
    }
    return nullptr;
}

int addKeyEntries(IndexFile* file, const uint8_t* image, int32_t number, const LayoutEntry* layout,
                  int length)
{
    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startImageWalk(image, layout, length);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        int result = IX_OK;
        if (entry->duplicates == DUPLICATES) {
            result = ixAdd(file, entry->indexNumber, key, number, nullptr, 0);
            if (result == IX_NOT_FOUND) result = IX_OK; // exactly this entry exists
        } else {
            result = ixAddUnique(file, entry->indexNumber, key, number, nullptr, 0);
        }
        if (result != IX_OK) return result;
    }
    return walk.damaged ? IX_DAMAGED_IMAGE : IX_OK;
}

int removeKeyEntries(IndexFile* file, const uint8_t* image, int32_t number,
                     const LayoutEntry* layout, int length)
{
    int result = checkImage(image, layout, length);
    if (result != IX_OK) return result;

    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startImageWalk(image, layout, length);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        result = ixDelete(file, entry->indexNumber, key, number);
        if (result != IX_OK && result != IX_NOT_FOUND) return result;
    }
    return IX_OK;
}

// True when a record is stored under the number. Passes around record locks.
static bool numberIsInUse(IndexFile* file, int32_t number)
{
    int32_t internalCall = file->internalCall;
    file->internalCall = 1;
    int result = ixFind(file, DATA_INDEX, "", number, nullptr, 0);
    file->internalCall = internalCall;
    return result == IX_OK;
}

// Takes the lowest released number out of its index. False when there is none or it
// cannot be taken.
static bool takeReleasedNumber(IndexFile* file, int32_t* number)
{
    // The lock is what permits the deletion, so it must be a real one even inside
    // the record layer's own calls.
    int32_t internalCall = file->internalCall;
    file->internalCall = 0;
    bool taken = ixFindFirst(file, FREE_NUMBER_INDEX, nullptr, 0) == IX_OK;
    if (taken) {
        *number = file->number;
        taken = ixLockRecord(file, FREE_NUMBER_INDEX) == IX_OK &&
                ixDeleteCurrent(file, FREE_NUMBER_INDEX) == IX_OK;
    }
    file->internalCall = internalCall;
    return taken;
}

int allocateRecordNumber(IndexFile* file, int32_t* number)
{
    // A process that was killed may have left a number both released and in use:
    // such a number is only taken out.
    while (takeReleasedNumber(file, number)) {
        if (!numberIsInUse(file, *number)) return IX_OK;
    }
    int result = ixNextSequence(file);
    *number = file->number;
    return result;
}

int releaseRecordNumber(IndexFile* file, int32_t number)
{
    // A process that was killed may have released it already.
    int result = ixAdd(file, FREE_NUMBER_INDEX, "", number, nullptr, 0);
    return result == IX_NOT_FOUND ? IX_OK : result;
}
