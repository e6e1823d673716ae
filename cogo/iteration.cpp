// The walks: from the first element of a kind to the next.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/keys.h"

#include <cstring>

// How the elements of a kind are walked in the order of their record keys.
struct KindWalk {
    const char* tag;
    int kind;
    WalkKey* last; // key of the element that the last step reached
    int matchMode; // in which that is looked up: an exact one ends the walk when it is gone
};

constexpr KindWalk CURVE_WALK = {TAG_CURVE, KIND_CURVE, &cogoState.lastCurve, MATCH_EXACT};
constexpr KindWalk LINE_WALK = {TAG_LINE, KIND_LINE, &cogoState.lastLine, MATCH_EXACT};
constexpr KindWalk SPIRAL_WALK = {TAG_SPIRAL, KIND_SPIRAL, &cogoState.lastSpiral, MATCH_EXACT};
constexpr KindWalk CHAIN_WALK = {TAG_CHAIN, KIND_CHAIN, &cogoState.lastChain, MATCH_EXACT};
constexpr KindWalk PROFILE_WALK = {TAG_PROFILE, KIND_PROFILE, &cogoState.lastProfile,
                                   MATCH_AT_OR_AFTER};

void resetWalks()
{
    constexpr KindWalk WALKS[] = {CURVE_WALK, LINE_WALK, SPIRAL_WALK, CHAIN_WALK, PROFILE_WALK};
    for (const KindWalk& walk : WALKS) {
        *walk.last = {};
    }
}

bool isElementAtPosition(const RecordFile* job, const char* name)
{
    const KeyComponents here = componentsAtPosition(job);
    const KeyComponents named = keyComponents(here.recordTag, name, "", "");
    return std::strcmp(buildKey(&named).text, keyAtPosition(job, RECORD_KEY_INDEX)) == 0;
}

static void keepKey(const RecordFile* job, WalkKey* last)
{
    copyText(last->text, sizeof last->text, keyAtPosition(job, RECORD_KEY_INDEX));
}

// Fills the name from the key at the position, which the walk has reached. Returns COGO_OK, or
// COGO_FAILED with the walk as it was when the key is one of another kind.
static int takeReached(const RecordFile* job, const KindWalk& walk, ElementName* name)
{
    const KeyComponents key = componentsAtPosition(job);
    if (kindOfTag(key.recordTag) != walk.kind) return COGO_FAILED;
    copyText(name->text, sizeof name->text, key.elementName);
    keepKey(job, walk.last);
    return COGO_OK;
}

// Positions on the first record of the kind. Returns COGO_OK with the name from its key,
// COGO_FAILED when there is none, or the failure code of the engine.
//
// The search is for the lowest key that the tag can have, which is that of an element whose
// name is blank; the walk goes on behind it like behind any other.
static int firstOfKind(RecordFile* job, const KindWalk& walk, ElementName* name)
{
    const KeyComponents lowest = keyComponents(walk.tag, "", "", "");
    const RecordKey key = buildKey(&lowest);
    const int result = recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_AT_OR_AFTER);
    if (result == IX_NOT_FOUND) return COGO_FAILED;
    if (result != IX_OK && result != IX_GREATER_KEY) return result;
    return takeReached(job, walk, name);
}

// Looks the last element of the walk up and goes on to the next record of the kind. Going from
// key to key, whatever names they stand for, the walk never comes back to where it has been.
static int nextOfKind(RecordFile* job, const KindWalk& walk, ElementName* name)
{
    const WalkKey last = *walk.last;
    if (last.text[0] == '\0') return COGO_FAILED; // not begun
    int result = recordFind(job, RECORD_KEY_INDEX, last.text, walk.matchMode);
    while (result == IX_OK && std::strcmp(keyAtPosition(job, RECORD_KEY_INDEX), last.text) == 0) {
        result = recordStep(job, RECORD_KEY_INDEX, STEP_NEXT);
    }
    if (result != IX_OK && result != IX_GREATER_KEY) return COGO_FAILED;
    return takeReached(job, walk, name);
}

int firstCurve(RecordFile* job, ElementName* name) { return firstOfKind(job, CURVE_WALK, name); }

int nextCurve(RecordFile* job, ElementName* name) { return nextOfKind(job, CURVE_WALK, name); }

int firstLine(RecordFile* job, ElementName* name) { return firstOfKind(job, LINE_WALK, name); }

int nextLine(RecordFile* job, ElementName* name) { return nextOfKind(job, LINE_WALK, name); }

int firstSpiral(RecordFile* job, ElementName* name) { return firstOfKind(job, SPIRAL_WALK, name); }

int nextSpiral(RecordFile* job, ElementName* name) { return nextOfKind(job, SPIRAL_WALK, name); }

// -- Chains ------------------------------------------------------------------

int firstChain(RecordFile* job, ElementName* name) { return firstOfKind(job, CHAIN_WALK, name); }

int nextChain(RecordFile* job, ElementName* name)
{
    // Continuations are passed over one by one. When the walk ends behind one, that is the
    // element it has reached last.
    ElementName reached;
    do {
        int result = nextOfKind(job, CHAIN_WALK, &reached);
        if (result != COGO_OK) return result;
    } while (isContinuationName(reached.text));
    *name = reached;
    return COGO_OK;
}

// -- Profiles ----------------------------------------------------------------

int firstProfile(RecordFile* job, ElementName* name)
{
    return firstOfKind(job, PROFILE_WALK, name);
}

int nextProfile(RecordFile* job, ElementName* name) { return nextOfKind(job, PROFILE_WALK, name); }

int findProfile(RecordFile* job, const char* name)
{
    const KeyComponents key = keyComponents(TAG_PROFILE, name, "", "");
    if (findByKey(job, &key) != IX_OK) return COGO_FAILED;
    keepKey(job, PROFILE_WALK.last);
    return COGO_OK;
}
