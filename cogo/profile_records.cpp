// The data records of a profile, read one after the other under their common key,
// and what its extension record adds.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/record_key.h"
#include "cogo/vertical_curves.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"
#include "platform/heap.h"

#include <cstring>

// True when the element-name component is the name as keys hold it: cut, without
// white space at its end.
static bool isCurrentName(const char* name)
{
    char keyed[ELEMENT_NAME_ROOM];
    copyText(keyed, sizeof keyed, name);
    trimEnd(keyed);
    return std::strcmp(cogoState.components.elementName, keyed) == 0;
}

// Positions on the first data record of the profile. COGO_OK, COGO_FAILED when there
// is none, or the engine's failure code.
static int findFirstData(const char* name, int slot)
{
    setKeyComponents(TAG_PROFILE_DATA, name, "", "", "");
    buildKey();
    int found = recordFind(slotContext(slot), RECORD_KEY_INDEX, recordKeyBuffer(),
                           RECORD_FIND_IGNORED, MATCH_AT_OR_AFTER);
    if (found == IX_NOT_FOUND) return COGO_FAILED;
    if (found == IX_OK) return COGO_OK;
    if (found != IX_GREATER_KEY) return found;
    if (kindOfCurrent(slot) != KIND_PROFILE_DATA) return COGO_FAILED;
    return isCurrentName(name) ? COGO_OK : COGO_FAILED;
}

// Positions on the data record that follows. Answers as findFirstData.
static int findNextData(const char* name, int slot)
{
    if (stepNext(slot) != COGO_OK) {
        // A step that failed is no end: a profile cut short would look complete.
        return lookupFailed(slot) ? slotContext(slot)->status : COGO_FAILED;
    }
    if (kindOfCurrent(slot) != KIND_PROFILE_DATA) return COGO_FAILED;
    return isCurrentName(name) ? COGO_OK : COGO_FAILED;
}

// The length that the point block counts with in a record that stores none: what
// the secondary key says, never more than the block has room for.
static int16_t defaultBlockLength()
{
    int64_t length = parseInt64(cogoState.profileSecondaryKey);
    return length > 0 && length <= PROFILE_BLOCK_ROOM ? static_cast<int16_t>(length) : int16_t{0};
}

// Reads the current data record into the point block, whose length is then that of
// the block's layout entry. COGO_OK or COGO_FAILED.
static int readDataRecord(int slot)
{
    IndexFile* file = slotContext(slot);
    cogoState.profileDataLayout[PROFILE_BLOCK_FIELD].length = defaultBlockLength();
    int result = readCurrentRecord(file, cogoState.profileDataLayout);
    // The secondary key that was read gives way to the one at the position of its
    // index, also after a failure: it must not count as the next record's length.
    loadCurrentKey(slot);
    copyText(cogoState.profileSecondaryKey, sizeof cogoState.profileSecondaryKey,
             file->keyBuffer[SECONDARY_KEY_INDEX]);
    return result == IX_OK ? COGO_OK : COGO_FAILED;
}

// Reads the current data record and appends its segments. COGO_OK or COGO_FAILED.
static int takeDataRecord(ProfileResult* profile, int slot)
{
    if (readDataRecord(slot) != COGO_OK) return COGO_FAILED;
    ProfileEntry entries[MAX_PROFILE_ENTRIES];
    int count = decodeProfileEntries(
        cogoState.pointBlock, cogoState.profileDataLayout[PROFILE_BLOCK_FIELD].length, entries);
    int built = buildSegments(profile, &cogoState.profilePoint, entries, count);
    if (built != COGO_OK) clearProfile(profile);
    return built;
}

// Number, code and note of the profile's extension record, where it has one.
static int takeExtension(ProfileResult* profile, int slot)
{
    if (findExtension(profile->name, EXTENSION_MEMBER, EXTENDS_PROFILE, slot) != COGO_OK) {
        return lookupFailed(slot) ? COGO_FAILED : COGO_OK;
    }
    ExtensionResult extension;
    if (readExtension(&extension, slot) != COGO_OK) return COGO_FAILED;
    profile->elementNumber = extension.elementNumber;
    copyText(profile->secondaryCode, sizeof profile->secondaryCode, extension.secondaryCode);
    copyText(profile->noteText, sizeof profile->noteText, extension.noteText);
    return COGO_OK;
}

int readProfile(ProfileResult* profile, int slot)
{
    clearProfile(profile);
    int found = findFirstData(profile->name, slot);
    if (found != COGO_OK) return COGO_FAILED;
    while (found == COGO_OK) {
        if (takeDataRecord(profile, slot) != COGO_OK) return COGO_FAILED;
        found = findNextData(profile->name, slot);
    }
    if (found != COGO_FAILED) return COGO_FAILED;
    return takeExtension(profile, slot);
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
