// First and next element of a kind.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"

#include <cstring>

// How the elements of a kind are walked in the order of their record keys.
struct KindWalk {
    const char* tag;
    int kind;
    char* lastName; // name of the element that the last step reached
};

constexpr KindWalk CURVE_WALK = {TAG_CURVE, KIND_CURVE, cogoState.lastCurve};
constexpr KindWalk LINE_WALK = {TAG_LINE, KIND_LINE, cogoState.lastLine};
constexpr KindWalk SPIRAL_WALK = {TAG_SPIRAL, KIND_SPIRAL, cogoState.lastSpiral};
constexpr KindWalk CHAIN_WALK = {TAG_CHAIN, KIND_CHAIN, cogoState.lastChain};

static void rememberName(const KindWalk& walk)
{
    copyText(walk.lastName, ELEMENT_NAME_ROOM, currentName());
}

// Positions at or after the lowest key of a tag. COGO_OK, COGO_FAILED when nothing
// follows, or the failure code of the engine.
static int findLowestKey(const char* tag, int slot)
{
    setKeyComponents(tag, "", "", "", "");
    buildKey();
    const int result = recordFind(slotContext(slot), RECORD_KEY_INDEX, cogoState.recordKey,
                                  RECORD_FIND_IGNORED, MATCH_AT_OR_AFTER);
    if (result == IX_OK || result == IX_GREATER_KEY) return COGO_OK;
    return result == IX_NOT_FOUND ? COGO_FAILED : result;
}

static bool keyCarriesTag(const char* tag, int slot)
{
    const char* key = keyAtPosition(slot);
    return std::strlen(key) >= KEY_NAME && std::strncmp(key + KEY_TAG, tag, TAG_LENGTH) == 0;
}

// An element whose name is blank has the lowest key itself; the walk goes on behind
// it like behind any other.
static int firstOfKind(const KindWalk& walk, int slot)
{
    const int result = findLowestKey(walk.tag, slot);
    if (result != COGO_OK) return result;
    if (!keyCarriesTag(walk.tag, slot)) return COGO_FAILED;
    if (kindOfCurrent(slot) != walk.kind) return COGO_FAILED;
    rememberName(walk);
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

// Looks the last element of the walk up and steps to the next record of the kind
// whose name sorts behind it. In a sound file that is the very next one. Looking up
// any other name, as a damaged file may show it, would lead the walk back to where it
// has been, again and again.
static int stepBehindLast(const KindWalk& walk, int slot)
{
    setKeyComponents(walk.tag, walk.lastName, "", "", "");
    buildKey();
    if (findByName(slot) != COGO_OK) return COGO_FAILED;
    do {
        if (stepNext(slot) != COGO_OK) return COGO_FAILED;
        if (kindOfCurrent(slot) != walk.kind) return COGO_FAILED;
    } while (!sortsBehind(currentName(), walk.lastName));
    return COGO_OK;
}

static int nextOfKind(const KindWalk& walk, int slot)
{
    const int result = stepBehindLast(walk, slot);
    if (result == COGO_OK) rememberName(walk);
    return result;
}

int firstCurve(int slot) { return firstOfKind(CURVE_WALK, slot); }

int nextCurve(int slot) { return nextOfKind(CURVE_WALK, slot); }

int firstLine(int slot) { return firstOfKind(LINE_WALK, slot); }

int nextLine(int slot) { return nextOfKind(LINE_WALK, slot); }

int firstSpiral(int slot) { return firstOfKind(SPIRAL_WALK, slot); }

int nextSpiral(int slot) { return nextOfKind(SPIRAL_WALK, slot); }

// -- Chains ------------------------------------------------------------------

// True for names that end like MAIN{01}.
static bool isContinuationName(const char* name)
{
    constexpr size_t SUFFIX_LENGTH = 4;
    const size_t length = std::strlen(name);
    return length >= SUFFIX_LENGTH && name[length - 1] == '}' &&
           name[length - SUFFIX_LENGTH] == '{';
}

int firstChain(int slot) { return firstOfKind(CHAIN_WALK, slot); }

int nextChain(int slot)
{
    // Continuations are walked over one by one, and stay the last name when the walk
    // ends behind them.
    do {
        const int result = nextOfKind(CHAIN_WALK, slot);
        if (result != COGO_OK) return result;
    } while (isContinuationName(currentName()));
    return COGO_OK;
}

// -- Profiles ----------------------------------------------------------------

int firstProfile(int slot)
{
    const int result = findLowestKey(TAG_PROFILE, slot);
    if (result != COGO_OK) return result;
    return kindOfCurrent(slot) == KIND_PROFILE ? COGO_OK : COGO_FAILED;
}

// From a profile on to one whose name sorts behind it, as the other walks do: reading
// leads back to the key of the profile's name, whichever key the walk had reached.
int nextProfile(int slot)
{
    const bool onProfile = kindOfCurrent(slot) == KIND_PROFILE;
    char name[ELEMENT_NAME_ROOM];
    copyText(name, sizeof(name), currentName());
    do {
        if (stepNext(slot) != COGO_OK) return COGO_FAILED;
        if (kindOfCurrent(slot) != KIND_PROFILE) return COGO_FAILED;
    } while (onProfile && !sortsBehind(currentName(), name));
    return COGO_OK;
}

// -- Points ------------------------------------------------------------------

// Makes the name at the position of the survey index the current one.
static int reachPoint(int surveyResult, int slot)
{
    if (surveyResult != SURVEY_OK) return COGO_FAILED;
    setName(surveyPointName(slot));
    return COGO_OK;
}

int firstPoint(int slot)
{
    int32_t selections = ALL_SELECTIONS;
    surveyIndexCommand("SETKEY", &selections, nullptr);
    return reachPoint(surveyFirstPoint(slot), slot);
}

int nextPoint(int slot) { return reachPoint(surveyNextPoint(slot), slot); }

void nextPoints(PointNames* names, int slot)
{
    surveyNextPoints(names, ELEMENT_NAME_ROOM, slot);
    if (names->count > 0) reachPoint(SURVEY_OK, slot);
}

int readPointByName(const char* name, int slot) { return reachPoint(findPoint(name, slot), slot); }
