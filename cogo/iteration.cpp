// The walks: from the first element of a kind to the next.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/keys.h"

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

// Positions on the first record of a kind, and fills the name from its key. Returns COGO_OK,
// COGO_FAILED when there is none, or the failure code of the engine.
//
// The search is for the lowest key that the tag can have, which is that of an element whose
// name is blank; the walk goes on behind it like behind any other.
static int positionOnFirst(RecordFile* job, const char* tag, int kind, ElementName* name)
{
    KeyComponents lowest = keyComponents(tag, "", "", "");
    int result = recordFind(job, RECORD_KEY_INDEX, buildKey(&lowest).text, MATCH_AT_OR_AFTER);
    if (result == IX_NOT_FOUND) return COGO_FAILED;
    if (result != IX_OK && result != IX_GREATER_KEY) return result;
    KeyComponents key = componentsAtPosition(job);
    if (kindOfTag(key.recordTag) != kind) return COGO_FAILED;
    *name = nameOf(key);
    return COGO_OK;
}

static int firstOfKind(RecordFile* job, const KindWalk& walk, ElementName* name)
{
    int result = positionOnFirst(job, walk.tag, walk.kind, name);
    if (result == COGO_OK) *walk.last = *name;
    return result;
}

// True when a name sorts behind another one, both padded with blanks as in keys.
static bool sortsBehind(const char* name, const char* other)
{
    char padded[2][ELEMENT_NAME_LENGTH];
    std::memset(padded, ' ', sizeof padded);
    std::memcpy(padded[0], name, std::strlen(name));
    std::memcpy(padded[1], other, std::strlen(other));
    return std::memcmp(padded[0], padded[1], ELEMENT_NAME_LENGTH) > 0;
}

// Steps to the next record. Returns COGO_OK with the components of its key, or COGO_FAILED
// when there is none or it is of another kind.
static int stepWithinKind(RecordFile* job, int kind, KeyComponents* key)
{
    if (recordStep(job, RECORD_KEY_INDEX, STEP_NEXT) != IX_OK) return COGO_FAILED;
    *key = componentsAtPosition(job);
    return kindOfTag(key->recordTag) == kind ? COGO_OK : COGO_FAILED;
}

// Looks the last element of the walk up and steps to the next record of the kind
// whose name sorts behind it. In a sound file that is the very next one. A damaged file may
// show another name there, and to look that one up would lead the walk back to where it has
// been, again and again.
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
    return positionOnFirst(job, TAG_PROFILE, KIND_PROFILE, name);
}

// Like the other walks this one goes on to a name that sorts behind the last one: reading a
// profile has led back to the key of its name, whichever key the walk had reached.
int nextProfile(RecordFile* job, ElementName* name)
{
    KeyComponents here = componentsAtPosition(job);
    bool onProfile = kindOfTag(here.recordTag) == KIND_PROFILE;
    KeyComponents key;
    do {
        if (stepWithinKind(job, KIND_PROFILE, &key) != COGO_OK) return COGO_FAILED;
    } while (onProfile && !sortsBehind(key.elementName, here.elementName));
    *name = nameOf(key);
    return COGO_OK;
}
