// First and next element of a kind.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"

#include <cstring>

// How the elements of a kind are walked in the order of their record keys.
struct KindWalk {
    const char* tag;
    int kind;
    ElementName* last; // name of the element that the last step reached
};

constexpr KindWalk CURVE_WALK = {TAG_CURVE, KIND_CURVE, &cogoState.lastCurve};
constexpr KindWalk LINE_WALK = {TAG_LINE, KIND_LINE, &cogoState.lastLine};
constexpr KindWalk SPIRAL_WALK = {TAG_SPIRAL, KIND_SPIRAL, &cogoState.lastSpiral};
constexpr KindWalk CHAIN_WALK = {TAG_CHAIN, KIND_CHAIN, &cogoState.lastChain};

static ElementName nameOf(const KeyComponents& key)
{
    ElementName name;
    copyText(name.text, sizeof name.text, key.elementName);
    return name;
}

// Positions at or after the lowest key of a tag. COGO_OK, COGO_FAILED when nothing
// follows, or the failure code of the engine.
static int findLowestKey(RecordFile* job, const char* tag)
{
    const KeyComponents parts = keyComponents(tag, "", "", "");
    const RecordKey key = buildKey(&parts);
    const int result = recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_AT_OR_AFTER);
    if (result == IX_OK || result == IX_GREATER_KEY) return COGO_OK;
    return result == IX_NOT_FOUND ? COGO_FAILED : result;
}

// An element whose name is blank has the lowest key itself; the walk goes on behind
// it like behind any other.
static int firstOfKind(RecordFile* job, const KindWalk& walk, ElementName* name)
{
    const int result = findLowestKey(job, walk.tag);
    if (result != COGO_OK) return result;
    const KeyComponents key = componentsAtPosition(job);
    if (kindOfTag(key.recordTag) != walk.kind) return COGO_FAILED;
    *name = *walk.last = nameOf(key);
    return COGO_OK;
}

// True when a name sorts behind another one, both padded with blanks as in keys.
static bool sortsBehind(const char* name, const char* other)
{
    char padded[2][ELEMENT_NAME_LENGTH];
    std::memset(padded, ' ', sizeof(padded));
    std::memcpy(padded[0], name, std::strlen(name));
    std::memcpy(padded[1], other, std::strlen(other));
    return std::memcmp(padded[0], padded[1], ELEMENT_NAME_LENGTH) > 0;
}

// Steps to the next record. COGO_OK with the components of its key, or COGO_FAILED when
// there is none or it is of another kind.
static int stepWithinKind(RecordFile* job, int kind, KeyComponents* key)
{
    if (recordStep(job, RECORD_KEY_INDEX, STEP_NEXT) != IX_OK) return COGO_FAILED;
    *key = componentsAtPosition(job);
    return kindOfTag(key->recordTag) == kind ? COGO_OK : COGO_FAILED;
}

// Looks the last element of the walk up and steps to the next record of the kind
// whose name sorts behind it. In a sound file that is the very next one. Looking up
// any other name, as a damaged file may show it, would lead the walk back to where it
// has been, again and again.
static int nextOfKind(RecordFile* job, const KindWalk& walk, ElementName* name)
{
    KeyComponents key = keyComponents(walk.tag, walk.last->text, "", "");
    if (findByKey(job, &key) != IX_OK) return COGO_FAILED;
    do {
        if (stepWithinKind(job, walk.kind, &key) != COGO_OK) return COGO_FAILED;
    } while (!sortsBehind(key.elementName, walk.last->text));
    *name = *walk.last = nameOf(key);
    return COGO_OK;
}

int firstCurve(RecordFile* job, ElementName* name) { return firstOfKind(job, CURVE_WALK, name); }

int nextCurve(RecordFile* job, ElementName* name) { return nextOfKind(job, CURVE_WALK, name); }

int firstLine(RecordFile* job, ElementName* name) { return firstOfKind(job, LINE_WALK, name); }

int nextLine(RecordFile* job, ElementName* name) { return nextOfKind(job, LINE_WALK, name); }

int firstSpiral(RecordFile* job, ElementName* name) { return firstOfKind(job, SPIRAL_WALK, name); }

int nextSpiral(RecordFile* job, ElementName* name) { return nextOfKind(job, SPIRAL_WALK, name); }

// -- Chains ------------------------------------------------------------------

// True for names that end like MAIN{01}.
static bool isContinuationName(const char* name)
{
    constexpr size_t SUFFIX_LENGTH = 4;
    const size_t length = std::strlen(name);
    return length >= SUFFIX_LENGTH && name[length - 1] == '}' &&
           name[length - SUFFIX_LENGTH] == '{';
}

int firstChain(RecordFile* job, ElementName* name) { return firstOfKind(job, CHAIN_WALK, name); }

int nextChain(RecordFile* job, ElementName* name)
{
    // Continuations are walked over one by one, and stay the last name when the walk
    // ends behind them.
    ElementName reached;
    do {
        const int result = nextOfKind(job, CHAIN_WALK, &reached);
        if (result != COGO_OK) return result;
    } while (isContinuationName(reached.text));
    *name = reached;
    return COGO_OK;
}

// -- Profiles ----------------------------------------------------------------

int firstProfile(RecordFile* job, ElementName* name)
{
    const int result = findLowestKey(job, TAG_PROFILE);
    if (result != COGO_OK) return result;
    const KeyComponents key = componentsAtPosition(job);
    if (kindOfTag(key.recordTag) != KIND_PROFILE) return COGO_FAILED;
    *name = nameOf(key);
    return COGO_OK;
}

// From a profile on to one whose name sorts behind it, as the other walks do: reading
// leads back to the key of the profile's name, whichever key the walk had reached.
int nextProfile(RecordFile* job, ElementName* name)
{
    const KeyComponents here = componentsAtPosition(job);
    const bool onProfile = kindOfTag(here.recordTag) == KIND_PROFILE;
    KeyComponents key;
    do {
        if (stepWithinKind(job, KIND_PROFILE, &key) != COGO_OK) return COGO_FAILED;
    } while (onProfile && !sortsBehind(key.elementName, here.elementName));
    *name = nameOf(key);
    return COGO_OK;
}
