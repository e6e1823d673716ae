// Extension records, and the counter that supplies element numbers.
#include "cogo/extension.h"

#include "cogo/cogo_state.h"
#include "cogo/keys.h"
#include "cogo/writing.h"

#include <algorithm>
#include <cstdint>

// -- Extension records -------------------------------------------------------

int readExtension(RecordFile* job, ExtensionResult* result)
{
    if (readRecordAtKey(job, &cogoState.extensionPlan, KEY_FIELD) != IX_OK) return COGO_FAILED;
    *result = cogoState.extension;
    copyText(result->name, sizeof result->name, nameAtPosition(job).text);
    return COGO_OK;
}

// Adds an empty extension record for a line, unless there is no number for it.
static int addLineExtension(RecordFile* job, const char* lineName, ExtensionResult* result)
{
    int32_t number = nextVersionNumber(job);
    // A file that may only be read refuses the record too, and says so.
    if (number == 0 && !isReadOnly(job)) return COGO_FAILED;
    cogoState.extension = {};
    cogoState.extension.elementNumber = number;
    KeyComponents parts = keyComponents(TAG_EXTENSION, lineName, EXTENSION_MEMBER, EXTENDS_LINE);
    setRecordKey(buildKey(&parts).text);
    job->recordTypeByte = KIND_EXTENSION;
    if (recordAdd(job, cogoState.extensionLayout) != IX_OK) return COGO_FAILED;
    *result = cogoState.extension;
    return COGO_OK;
}

static int findLineExtension(RecordFile* job, const char* lineName)
{
    return findExtension(job, lineName, EXTENSION_MEMBER, EXTENDS_LINE);
}

int readOrCreateLineExtension(RecordFile* job, const char* lineName, ExtensionResult* extension)
{
    if (findLineExtension(job, lineName) == COGO_OK) return readExtension(job, extension);
    // The extension record may be there all the same: nothing is written.
    if (lookupFailed(job)) return COGO_FAILED;
    if (beginWriting(job) != IX_OK) return COGO_FAILED;
    // Another process may have added it before the file was locked.
    int result = COGO_FAILED;
    if (!isReadOnly(job) && findLineExtension(job, lineName) == COGO_OK) {
        result = readExtension(job, extension);
    } else if (!lookupFailed(job)) {
        result = addLineExtension(job, lineName, extension);
    }
    return endWriting(job) == IX_OK ? result : COGO_FAILED;
}

// -- Version counter ---------------------------------------------------------

// Every read of a record replaces the record type byte, so both writers of the counter set its
// own just before they store it. Each returns the number counted to, or 0.

static int32_t addVersionCounter(RecordFile* job, const RecordKey* key)
{
    setRecordKey(key->text);
    cogoState.versionCounter = 1;
    job->recordTypeByte = KIND_VERSION;
    int code = recordAdd(job, cogoState.versionLayout);
    return code == IX_OK ? cogoState.versionCounter : 0;
}

// Stores the counter counted up from the number, if that is possible.
static int32_t advanceVersionCounter(RecordFile* job, int32_t number)
{
    if (number == INT32_MAX) return 0;
    cogoState.versionCounter = number + 1;
    job->recordTypeByte = KIND_VERSION;
    int code = recordUpdateCurrent(job, cogoState.versionLayout);
    return code == IX_OK ? cogoState.versionCounter : 0;
}

// The highest element number of all extension records that can be read; 0 without one. Below 0
// when the file fails.
static int32_t highestElementNumber(RecordFile* job)
{
    KeyComponents lowest = keyComponents(TAG_EXTENSION, "", "", "");
    RecordKey key = buildKey(&lowest);
    int32_t highest = 0;
    int result = recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_AT_OR_AFTER);
    while (result == IX_OK || result == IX_GREATER_KEY) {
        if (kindOfTag(componentsAtPosition(job).recordTag) != KIND_EXTENSION) break;
        if (readRecordAtKey(job, &cogoState.extensionPlan, KEY_FIELD) == IX_OK) {
            highest = std::max(highest, cogoState.extension.elementNumber);
        }
        result = recordStep(job, RECORD_KEY_INDEX, STEP_NEXT);
    }
    return fileOf(job)->trouble ? -1 : highest;
}

// A counter of which only the key is left, as a process that was killed may leave it, goes on
// behind the numbers that are in use.
static int32_t rebuildVersionCounter(RecordFile* job, const KeyComponents* parts)
{
    int32_t highest = highestElementNumber(job);
    if (highest < 0 || highest == INT32_MAX || findByKey(job, parts) != IX_OK) return 0;
    setRecordKey(buildKey(parts).text);
    cogoState.versionCounter = highest + 1;
    job->recordTypeByte = KIND_VERSION;
    int code = recordReplaceLost(job, RECORD_KEY_INDEX, cogoState.versionLayout);
    return code == IX_OK ? cogoState.versionCounter : 0;
}

static int32_t countUp(RecordFile* job)
{
    KeyComponents parts = keyComponents(TAG_VERSION, VERSION_NAME, "", "");
    RecordKey key = buildKey(&parts);
    int found = findByKey(job, &parts);
    if (found == IX_NOT_FOUND) return addVersionCounter(job, &key);
    if (found != IX_OK) return 0;
    if (readRecordAtKey(job, &cogoState.versionPlan, KEY_FIELD) == IX_OK) {
        return advanceVersionCounter(job, cogoState.versionCounter);
    }
    return fileOf(job)->trouble ? 0 : rebuildVersionCounter(job, &parts);
}

int32_t nextVersionNumber(RecordFile* job)
{
    // One update around lookup and write, so that no number is handed out twice.
    if (beginWriting(job) != IX_OK) return 0;
    int32_t number = countUp(job);
    return endWriting(job) == IX_OK ? number : 0;
}
