#include "cogo/record_key.h"

#include "cogo/cogo_state.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"

#include <cstdio>
#include <cstring>

struct TagKind {
    const char* tag;
    int kind;
};

// Every tag of a job database. Kind numbers 6, 20, 25 to 27, 31 and 34 have none.
constexpr TagKind TAG_KINDS[] = {
    {"CHA", KIND_CHAIN},
    {"CUR", KIND_CURVE},
    {"LIN", KIND_LINE},
    {"PAR", 4},
    {"POI", 5},
    {"SPI", KIND_SPIRAL},
    {"PHR", 8},
    {"PDR", 9},
    {"GRO", 10},
    {"SEC", 11},
    {"OWN", 12},
    {"BLD", 13},
    {"TAK", 14},
    {"EAS", 15},
    {"PTR", 16},
    {"CAT", 17},
    {"PH2", KIND_PROFILE},
    {"PD2", KIND_PROFILE_DATA},
    {"MET", 21},
    {"AUX", 22},
    {"FEA", 23},
    {"POF", KIND_POINT_FEATURE},
    {"SCF", KIND_SURVEY_CHAIN_FEATURE},
    {"VER", KIND_VERSION},
    {"REL", 30},
    {"OVR", KIND_EXTENSION},
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

// -- Components --------------------------------------------------------------

void setKeyComponents(const char* tag, const char* name, const char* qualifierA,
                      const char* qualifierB, const char* qualifierC)
{
    KeyComponents& parts = cogoState.components;
    copyText(parts.recordTag, sizeof(parts.recordTag), tag);
    copyText(parts.elementName, sizeof(parts.elementName), name);
    copyText(parts.qualifierA, sizeof(parts.qualifierA), qualifierA);
    copyText(parts.qualifierB, sizeof(parts.qualifierB), qualifierB);
    copyText(parts.qualifierC, sizeof(parts.qualifierC), qualifierC);
}

void emptyKeyComponents() { setKeyComponents("", "", "", "", ""); }

void setName(const char* name)
{
    copyText(cogoState.components.elementName, sizeof(cogoState.components.elementName), name);
}

const char* currentName() { return cogoState.components.elementName; }

char* recordKeyBuffer() { return cogoState.recordKey; }

void trimEnd(char* text)
{
    size_t length = std::strlen(text);
    while (length > 0) {
        const char last = text[length - 1];
        if (last != ' ' && last != '\t' && last != '\n') break;
        text[--length] = '\0';
    }
}

// -- Keys --------------------------------------------------------------------

// Expects blanks at the position, which pad the text.
static void putField(int position, const char* text)
{
    std::memcpy(cogoState.recordKey + position, text, std::strlen(text));
}

void buildKey()
{
    const KeyComponents& parts = cogoState.components;
    std::memset(cogoState.recordKey, 0, sizeof(cogoState.recordKey));
    std::memset(cogoState.recordKey, ' ', KEY_LENGTH);
    putField(KEY_TAG, parts.recordTag);
    putField(KEY_NAME, parts.elementName);
    putField(KEY_QUALIFIER_A, parts.qualifierA);
    putField(KEY_QUALIFIER_B, parts.qualifierB);
    putField(KEY_QUALIFIER_C, parts.qualifierC);
}

// Takes width characters of a record key of that length, fewer when it ends before.
static void takeField(char* part, int width, int position, size_t keyLength)
{
    const bool hasField = keyLength > static_cast<size_t>(position);
    copyText(part, static_cast<size_t>(width) + 1, hasField ? cogoState.recordKey + position : "");
    trimEnd(part);
}

void splitKey()
{
    KeyComponents& parts = cogoState.components;
    const size_t length = std::strlen(cogoState.recordKey);
    takeField(parts.recordTag, TAG_LENGTH, KEY_TAG, length);
    takeField(parts.elementName, ELEMENT_NAME_LENGTH, KEY_NAME, length);
    takeField(parts.qualifierA, QUALIFIER_A_LENGTH, KEY_QUALIFIER_A, length);
    takeField(parts.qualifierB, QUALIFIER_B_LENGTH, KEY_QUALIFIER_B, length);
    takeField(parts.qualifierC, QUALIFIER_C_LENGTH, KEY_QUALIFIER_C, length);
}

// -- The current record ------------------------------------------------------

static const char* keyOfIndex(const IndexFile* file, int index)
{
    return file->keyBuffer[index] != nullptr ? file->keyBuffer[index] : "";
}

const char* keyAtPosition(int slot) { return keyOfIndex(slotContext(slot), RECORD_KEY_INDEX); }

void loadCurrentKey(int slot)
{
    copyText(cogoState.recordKey, sizeof(cogoState.recordKey), keyAtPosition(slot));
    splitKey();
}

int kindOfCurrent(int slot)
{
    loadCurrentKey(slot);
    copyText(cogoState.profileSecondaryKey, sizeof(cogoState.profileSecondaryKey),
             keyOfIndex(slotContext(slot), SECONDARY_KEY_INDEX));
    return kindOfTag(cogoState.components.recordTag);
}

int stepNext(int slot)
{
    const int result = recordStep(slotContext(slot), RECORD_KEY_INDEX, STEP_NEXT);
    loadCurrentKey(slot);
    return result == IX_OK ? COGO_OK : COGO_FAILED;
}

int readCurrentRecord(IndexFile* file, LayoutEntry* layout)
{
    const int result = recordReadCurrent(file, layout);
    if (result != IX_OK) return result;
    if (file->numberAtPosition[RECORD_KEY_INDEX] != file->currentRecordNumber) return IX_OK;
    const char* key = keyOfIndex(file, RECORD_KEY_INDEX);
    const bool same = std::strncmp(cogoState.recordKey, key, RECORD_KEY_ROOM - 1) == 0;
    return same ? IX_OK : IX_DAMAGED_IMAGE;
}

// -- Lookups by name ---------------------------------------------------------

int findByName(int slot)
{
    const int result = recordFind(slotContext(slot), RECORD_KEY_INDEX, cogoState.recordKey,
                                  RECORD_FIND_IGNORED, MATCH_EXACT);
    return result == IX_OK ? COGO_OK : COGO_FAILED;
}

bool lookupFailed(int slot) { return slotContext(slot)->status < IX_NOT_FOUND; }

static int findTagged(const char* tag, const char* name, const char* qualifierA,
                      const char* qualifierC, int slot)
{
    setKeyComponents(tag, name, qualifierA, "", qualifierC);
    buildKey();
    return findByName(slot);
}

int findChain(const char* name, int slot) { return findTagged(TAG_CHAIN, name, "", "", slot); }

int findCurve(const char* name, int slot) { return findTagged(TAG_CURVE, name, "", "", slot); }

int findLine(const char* name, int slot) { return findTagged(TAG_LINE, name, "", "", slot); }

int findSpiral(const char* name, int slot) { return findTagged(TAG_SPIRAL, name, "", "", slot); }

int findProfile(const char* name, int slot) { return findTagged(TAG_PROFILE, name, "", "", slot); }

int findChainContinuation(const char* name, int member, int slot)
{
    char whole[ELEMENT_NAME_ROOM + 16];
    char cut[CONTINUATION_NAME_LENGTH + 1];
    std::snprintf(whole, sizeof(whole), "%.*s{%02d}", ELEMENT_NAME_LENGTH, name, member);
    copyText(cut, sizeof(cut), whole);
    return findTagged(TAG_CHAIN, cut, "", "", slot);
}

int findExtension(const char* name, const char* qualifierA, const char* qualifierC, int slot)
{
    return findTagged(TAG_EXTENSION, name, qualifierA, qualifierC, slot);
}

int findNumberedRecord(const char* name, int number, int slot)
{
    char qualifierA[16];
    std::snprintf(qualifierA, sizeof(qualifierA), "%d", number);
    return findTagged(TAG_NUMBERED, name, qualifierA, "", slot);
}

// -- Point names -------------------------------------------------------------

static bool isDigit(char c) { return c >= '0' && c <= '9'; }

static bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool isAllDigits(const char* text)
{
    return text != nullptr && text[0] != '\0' && trailingDigitsStart(text) == 0;
}

int trailingDigitsStart(const char* text)
{
    size_t start = std::strlen(text);
    while (start > 0 && isDigit(text[start - 1])) {
        --start;
    }
    return static_cast<int>(start);
}

int64_t parseInt64(const char* text)
{
    if (text == nullptr) return 0;
    text += std::strspn(text, " \t\n");
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    int64_t number = 0;
    for (; isDigit(*text); ++text) {
        const int digit = *text - '0';
        if (number > (INT64_MAX - digit) / 10) {
            number = INT64_MAX;
            break;
        }
        number = number * 10 + digit;
    }
    return negative ? -number : number;
}

int splitPointName(const char* text, char* prefix, char* number)
{
    if (text == nullptr || text[0] == '\0') return SPLIT_NO_NUMBER;
    const size_t length = std::strlen(text);
    if (std::strspn(text, "0") == length) return SPLIT_NO_NUMBER;
    const size_t start = static_cast<size_t>(trailingDigitsStart(text));
    if (start == length) return SPLIT_NO_NUMBER;
    for (size_t i = 0; i < start; ++i) {
        if (!isLetter(text[i])) return SPLIT_NO_PREFIX;
    }
    if (length >= SPLIT_NAME_ROOM) return SPLIT_OUT_OF_RANGE;
    if (parseInt64(text + start) == 0) return SPLIT_OUT_OF_RANGE;
    copyText(prefix, start + 1, text);
    copyText(number, length - start + 1, text + start);
    return SPLIT_OK;
}
