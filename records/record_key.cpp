#include "records/record_key.h"

#include "records/records.h"
#include "records/records_state.h"

#include <cstring>

struct TagKind {
    const char* tag;
    int kind;
};

// Every tag of a job database. Kind numbers 6, 20, 25 to 27, 31 and 34 have none.
constexpr TagKind TAG_KINDS[] = {
    {TAG_CHAIN, KIND_CHAIN},
    {TAG_CURVE, KIND_CURVE},
    {TAG_LINE, KIND_LINE},
    {"PAR", 4},
    {"POI", 5},
    {TAG_SPIRAL, KIND_SPIRAL},
    {"PHR", 8},
    {"PDR", 9},
    {"GRO", 10},
    {"SEC", 11},
    {"OWN", 12},
    {"BLD", 13},
    {"TAK", 14},
    {"EAS", 15},
    {TAG_NUMBERED, 16},
    {"CAT", 17},
    {TAG_PROFILE, KIND_PROFILE},
    {TAG_PROFILE_DATA, KIND_PROFILE_DATA},
    {"MET", 21},
    {"AUX", 22},
    {"FEA", 23},
    {TAG_POINT_FEATURE, KIND_POINT_FEATURE},
    {TAG_SURVEY_CHAIN_FEATURE, KIND_SURVEY_CHAIN_FEATURE},
    {TAG_VERSION, KIND_VERSION},
    {"REL", 30},
    {TAG_EXTENSION, KIND_EXTENSION},
    {"NAE", 33},
    {"OCC", 35},
    {"ATT", 36},
};

int kindOfTag(const char* tag)
{
    for (const TagKind& entry : TAG_KINDS) {
        if (std::strcmp(entry.tag, tag) == 0) return entry.kind;
    }
    return KIND_NONE;
}

// -- Keys --------------------------------------------------------------------

KeyComponents keyComponents(const char* tag, const char* name, const char* qualifierA,
                            const char* qualifierC)
{
    KeyComponents parts = {};
    fillText(parts.recordTag, sizeof parts.recordTag, tag);
    fillText(parts.elementName, sizeof parts.elementName, name);
    fillText(parts.qualifierA, sizeof parts.qualifierA, qualifierA);
    fillText(parts.qualifierC, sizeof parts.qualifierC, qualifierC);
    return parts;
}

// Expects blanks at the position, which pad the text.
static void putField(RecordKey* key, int position, const char* text)
{
    std::memcpy(key->text + position, text, std::strlen(text));
}

RecordKey buildKey(const KeyComponents* parts)
{
    RecordKey key = {};
    std::memset(key.text, ' ', KEY_LENGTH);
    putField(&key, KEY_TAG, parts->recordTag);
    putField(&key, KEY_NAME, parts->elementName);
    putField(&key, KEY_QUALIFIER_A, parts->qualifierA);
    putField(&key, KEY_QUALIFIER_B, parts->qualifierB);
    putField(&key, KEY_QUALIFIER_C, parts->qualifierC);
    return key;
}

// Takes the field at the position of a key, of which nothing is there when it ends before. Expects
// a part whose bytes are zero.
template <size_t ROOM>
static void takeField(char (&part)[ROOM], const char* key, size_t keyLength, size_t position)
{
    if (keyLength <= position) return;
    fillText(part, ROOM, key + position);
    trimEnd(part);
}

KeyComponents splitKey(const char* key)
{
    KeyComponents parts = {};
    const size_t length = std::strlen(key);
    takeField(parts.recordTag, key, length, KEY_TAG);
    takeField(parts.elementName, key, length, KEY_NAME);
    takeField(parts.qualifierA, key, length, KEY_QUALIFIER_A);
    takeField(parts.qualifierB, key, length, KEY_QUALIFIER_B);
    takeField(parts.qualifierC, key, length, KEY_QUALIFIER_C);
    return parts;
}

KeyComponents componentsAtPosition(const RecordFile* job)
{
    return splitKey(keyAtPosition(job, RECORD_KEY_INDEX));
}

KeyName nameInKey(const char* key)
{
    KeyName name = {};
    takeField(name.text, key, std::strlen(key), KEY_NAME);
    return name;
}

KeyName nameAtPosition(const RecordFile* job)
{
    return nameInKey(keyAtPosition(job, RECORD_KEY_INDEX));
}

char* recordKeyBuffer() { return recordsState.recordKey.text; }

void setRecordKey(const char* key) { copyText(recordKeyBuffer(), RECORD_KEY_ROOM, key); }

// -- Lookups -----------------------------------------------------------------

int findByKey(RecordFile* job, const KeyComponents* parts)
{
    const RecordKey key = buildKey(parts);
    return recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_EXACT);
}

bool lookupFailed(const RecordFile* job) { return job->tree.status < IX_NOT_FOUND; }
