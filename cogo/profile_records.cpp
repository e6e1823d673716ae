// Profiles: their data records, which are read one after the other under their common key,
// and what the extension record adds.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/keys.h"
#include "cogo/vertical_curves.h"
#include "platform/platform.h"

#include <cstring>

// True when the record at the position is one of the data records of the profile. Keys hold a
// name cut to its width, without the white space at its end.
static bool isDataRecordOf(const RecordFile* job, const char* name)
{
    char keyed[ELEMENT_NAME_ROOM];
    copyText(keyed, sizeof keyed, name);
    trimEnd(keyed);
    KeyComponents key = componentsAtPosition(job);
    return std::strcmp(key.recordTag, TAG_PROFILE_DATA) == 0 &&
           std::strcmp(key.elementName, keyed) == 0;
}

// Positions on the first data record of the profile. Returns COGO_OK, COGO_FAILED when there
// is none, or the engine's failure code.
static int findFirstData(RecordFile* job, const char* name)
{
    KeyComponents parts = keyComponents(TAG_PROFILE_DATA, name, "", "");
    RecordKey key = buildKey(&parts);
    int found = recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_AT_OR_AFTER);
    if (found == IX_NOT_FOUND) return COGO_FAILED;
    if (found == IX_OK) return COGO_OK;
    if (found != IX_GREATER_KEY) return found;
    return isDataRecordOf(job, name) ? COGO_OK : COGO_FAILED;
}

// Positions on the data record that follows. Returns as findFirstData.
static int findNextData(RecordFile* job, const char* name)
{
    int stepped = recordStep(job, RECORD_KEY_INDEX, STEP_NEXT);
    // A failed step must not pass for the end: a profile cut short would look complete.
    if (stepped != IX_OK) return stepped == IX_NOT_FOUND ? COGO_FAILED : stepped;
    return isDataRecordOf(job, name) ? COGO_OK : COGO_FAILED;
}

// Returns the length of the point block for a record that stores none: the number in the
// secondary key at the position, or 0 when the block has no room for so many bytes.
static int16_t defaultBlockLength(const RecordFile* job)
{
    char text[PROFILE_SECONDARY_KEY_ROOM];
    copyText(text, sizeof text, keyAtPosition(job, SECONDARY_KEY_INDEX));
    int64_t length = parseInt64(text);
    return length > 0 && length <= PROFILE_BLOCK_ROOM ? static_cast<int16_t>(length) : int16_t{0};
}

// Reads the current data record and appends its segments. Returns COGO_OK or COGO_FAILED.
static int takeDataRecord(RecordFile* job, ProfileResult* profile)
{
    LayoutEntry* block = &cogoState.profileDataLayout[PROFILE_BLOCK_FIELD];
    block->length = defaultBlockLength(job);
    if (readRecordAtKey(job, &cogoState.profileDataPlan, KEY_FIELD) != IX_OK) return COGO_FAILED;
    ProfileEntry entries[MAX_PROFILE_ENTRIES];
    int count = decodeProfileEntries(cogoState.pointBlock, block->length, entries);
    int built = buildSegments(profile, &cogoState.profilePoint, entries, count);
    if (built != COGO_OK) clearProfile(profile);
    return built;
}

// Fills number, code and note from the profile's extension record, if it has one. Returns
// COGO_OK, or COGO_FAILED when that cannot be told or read.
static int takeExtension(RecordFile* job, ProfileResult* profile)
{
    if (findExtension(job, profile->name, EXTENSION_MEMBER, EXTENDS_PROFILE) != COGO_OK) {
        return lookupFailed(job) ? COGO_FAILED : COGO_OK;
    }
    ExtensionResult extension;
    if (readExtension(job, &extension) != COGO_OK) return COGO_FAILED;
    profile->elementNumber = extension.elementNumber;
    copyText(profile->secondaryCode, sizeof profile->secondaryCode, extension.secondaryCode);
    copyText(profile->noteText, sizeof profile->noteText, extension.noteText);
    return COGO_OK;
}

int readProfile(RecordFile* job, ProfileResult* profile)
{
    clearProfile(profile);
    int found = findFirstData(job, profile->name);
    if (found != COGO_OK) return COGO_FAILED;
    while (found == COGO_OK) {
        if (takeDataRecord(job, profile) != COGO_OK) return COGO_FAILED;
        found = findNextData(job, profile->name);
    }
    if (found != COGO_FAILED) return COGO_FAILED;
    return takeExtension(job, profile);
}

void clearProfile(ProfileResult* profile)
{
    SegmentBlock* block = profile->lastBlock;
    while (block != nullptr) {
        SegmentBlock* former = block->former;
        release(block);
        block = former;
    }
    profile->lastBlock = nullptr;
    profile->firstSegment = nullptr;
    profile->lastSegment = nullptr;
    profile->segmentCount = 0;
    profile->headerValue = 1;
}
