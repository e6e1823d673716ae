// The survey index: points, survey chains and point lists by name, walks along
// their indexes, and their records.
#include "cogo/cogo.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"
#include "jobdb/jobdb_state.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// Characters of a stored name among which blanks are looked for.
constexpr int NAME_CHARACTERS = 16;

// Characters of two secondary keys that are compared to tell a run of equal keys.
constexpr int RUN_KEY_CHARACTERS = 39;

// -- Names -------------------------------------------------------------------

// Writes at most SURVEY_NAME_LENGTH characters of the digits right-justified.
static void justifyDigits(char* key, const char* digits)
{
    size_t length = std::strlen(digits);
    if (length > SURVEY_NAME_LENGTH) length = SURVEY_NAME_LENGTH;
    std::memset(key, ' ', SURVEY_NAME_LENGTH);
    std::memcpy(key + SURVEY_NAME_LENGTH - length, digits, length);
    key[SURVEY_NAME_LENGTH] = '\0';
}

// Builds the key under which a point of that name is filed: the digits
// right-justified in 15 characters, a letter prefix over their beginning.
// SURVEY_OK, or why the name cannot be a point's (SPLIT_...).
static int buildPointNameKey(char* key, const char* name)
{
    if (isAllDigits(name)) {
        justifyDigits(key, name);
        return SURVEY_OK;
    }
    char prefix[SPLIT_NAME_ROOM];
    char digits[SPLIT_NAME_ROOM];
    const int failure = splitPointName(name, prefix, digits);
    if (failure != SPLIT_OK) return failure;
    justifyDigits(key, digits);
    std::copy_n(prefix, std::strlen(prefix), key);
    return SURVEY_OK;
}

// Removes the blanks among the first characters of a name. One made of digits alone
// has none.
static void removeBlanks(char* name)
{
    if (std::strchr(name, ' ') == nullptr) return;
    size_t kept = 0;
    for (size_t i = 0; name[i] != '\0'; ++i) {
        if (name[i] == ' ' && i < NAME_CHARACTERS) continue;
        name[kept++] = name[i];
    }
    name[kept] = '\0';
}

// The key string at the position of an index, empty without a position.
static const char* keyOfIndex(const IndexFile* file, int index)
{
    return file->keyBuffer[index] != nullptr ? file->keyBuffer[index] : "";
}

// Writes the point name that a key stands for, without the blanks before it and among
// its first characters, into room bytes. Returns its length.
static size_t nameOfKey(char* name, size_t room, const char* key)
{
    while (*key == ' ') {
        ++key;
    }
    size_t length = 0;
    for (size_t i = 0; key[i] != '\0' && i + 1 < POINT_NAME_ROOM; ++i) {
        const bool counts = key[i] != ' ' || i >= NAME_CHARACTERS;
        if (counts && length + 1 < room) name[length++] = key[i];
    }
    name[length] = '\0';
    return length;
}

const char* surveyPointName(int slot)
{
    const char* key = keyOfIndex(contextOfSlot(slot), POINT_NAME_INDEX);
    nameOfKey(jobdbState.currentPointName, POINT_NAME_ROOM, key);
    return jobdbState.currentPointName;
}

// -- Lookups and walks -------------------------------------------------------

int findSurveyRecord(const char* name, int index, int slot, int matchMode)
{
    if (name == nullptr) return SURVEY_FAILED;
    IndexFile* file = contextOfSlot(slot);
    if (index != POINT_NAME_INDEX) {
        const int result = recordFind(file, index, name, RECORD_FIND_IGNORED, matchMode);
        return result == IX_OK ? SURVEY_OK : SURVEY_FAILED;
    }
    char key[SURVEY_NAME_ROOM];
    const int failure = buildPointNameKey(key, name);
    if (failure != SURVEY_OK) return failure;
    return recordFind(file, index, key, RECORD_FIND_IGNORED, matchMode);
}

int findPoint(const char* name, int slot)
{
    return findSurveyRecord(name, POINT_NAME_INDEX, slot, MATCH_EXACT);
}

int findSurveyChain(const char* name, int slot)
{
    return findSurveyRecord(name, SURVEY_CHAIN_INDEX, slot, MATCH_EXACT);
}

int findChainPointList(const char* name, int slot)
{
    return findSurveyRecord(name, POINT_LIST_INDEX, slot, MATCH_EXACT);
}

int stepSurveyIndex(int index, int slot, int step)
{
    const int result = recordStep(contextOfSlot(slot), index, step);
    return result == IX_NOT_FOUND ? SURVEY_FAILED : result;
}

int firstInIndex(int index, int slot) { return stepSurveyIndex(index, slot, STEP_FIRST); }

int nextInIndex(int index, int slot) { return stepSurveyIndex(index, slot, STEP_NEXT); }

// The selection that restricts the walk over the points: its number, and its text
// in a buffer of SELECTION_ROOM bytes. 0 when there is none.
static int walkSelection(char* text)
{
    int32_t count = 0;
    int32_t number = 0;
    pointSelectionCount(&count);
    if (count <= 0 || firstSelectedIndex(&number) != 0) return 0;
    getSurveyKey(number, text);
    return number;
}

int surveyFirstPoint(int slot)
{
    char text[SELECTION_ROOM];
    const int selection = walkSelection(text);
    if (selection == 0) return firstInIndex(POINT_NAME_INDEX, slot);
    firstInIndex(selection, slot);
    return findSurveyRecord(text, selection, slot, MATCH_EXACT);
}

int surveyNextPoint(int slot)
{
    char text[SELECTION_ROOM];
    const int selection = walkSelection(text);
    if (selection == 0) return nextInIndex(POINT_NAME_INDEX, slot);
    const int result = nextInIndex(selection, slot);
    if (result != SURVEY_OK) return result;
    const char* key = keyOfIndex(contextOfSlot(slot), selection);
    return std::strncmp(key, text, RUN_KEY_CHARACTERS) == 0 ? SURVEY_OK : IX_NOT_FOUND;
}

void surveyNextPoints(PointNames* names, int room, int slot)
{
    names->count = 0;
    char text[SELECTION_ROOM];
    if (walkSelection(text) != 0) return;
    KeyBlock keys;
    recordStepAlong(contextOfSlot(slot), POINT_NAME_INDEX, &keys);
    static_assert(sizeof names->texts >= sizeof keys.texts); // no name is longer than its key
    const char* key = keys.texts;
    char* name = names->texts;
    for (; names->count < keys.count; ++names->count) {
        name += nameOfKey(name, static_cast<size_t>(room), key) + 1;
        key += std::strlen(key) + 1;
    }
}

// -- Records -----------------------------------------------------------------

// Reads the current record into the variables of the layout. When it was reached
// through the index, the field that keys the index must hold the key at the
// position: the number of a record that was deleted may have passed to another one,
// and the layouts of two records may share their signature.
static int readSurveyRecord(IndexFile* file, LayoutEntry* layout, int keyField)
{
    const int result = recordReadCurrent(file, layout);
    if (result != IX_OK) return result;
    const LayoutEntry& field = layout[keyField];
    const int index = field.indexNumber;
    if (file->numberAtPosition[index] != file->currentRecordNumber) return IX_OK;
    const char* value = static_cast<const char*>(field.value);
    const size_t characters = static_cast<size_t>(field.room) - 1;
    const bool same = std::strncmp(value, keyOfIndex(file, index), characters) == 0;
    return same ? IX_OK : IX_DAMAGED_IMAGE;
}

// The integer at the beginning of a number text: blanks, a sign, digits. 0 without
// digits; the nearest 32-bit integer when there are too many.
static int32_t numberOfText(const char* text)
{
    text += std::strspn(text, " ");
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    int64_t number = 0;
    for (; *text >= '0' && *text <= '9' && number <= INT32_MAX; ++text) {
        number = number * 10 + (*text - '0');
    }
    if (negative) number = -number;
    if (number > INT32_MAX) number = INT32_MAX;
    if (number < INT32_MIN) number = INT32_MIN;
    return static_cast<int32_t>(number);
}

// A code text that is marked as going on in the long text: joins the two parts in
// the caller's copy.
static void joinCodeText(PointRecord* record)
{
    char* code = record->codeText;
    if (std::strlen(code) <= JOINED_CODE_HEAD || code[JOINED_CODE_HEAD] != '-') return;
    const bool goesOn = std::strlen(record->longText) > JOINED_CODE_TAIL;
    copyText(code + JOINED_CODE_HEAD, JOINED_CODE_ROOM - JOINED_CODE_HEAD,
             goesOn ? record->longText + JOINED_CODE_TAIL : "");
}

int readPointRecord(PointRecord* record, int slot)
{
    constexpr int NAME_FIELD = 1;
    const int result = readSurveyRecord(contextOfSlot(slot), jobdbState.pointLayout, NAME_FIELD);
    if (result != IX_OK) return SURVEY_FAILED;
    removeBlanks(jobdbState.point.name);
    *record = jobdbState.point;
    joinCodeText(record);
    for (int i = 0; i < 3; ++i) {
        record->numbers[i] = numberOfText(jobdbState.numberTexts[i]);
    }
    return SURVEY_OK;
}

int readSurveyChainRecord(SurveyChainRecord* record, int slot)
{
    constexpr int NAME_FIELD = 1;
    const int result =
        readSurveyRecord(contextOfSlot(slot), jobdbState.surveyChainLayout, NAME_FIELD);
    if (result != IX_OK) return SURVEY_FAILED;
    *record = jobdbState.surveyChain;
    for (int i = 0; i < 2; ++i) {
        record->numbers[i] = numberOfText(jobdbState.numberTexts[i]);
    }
    return SURVEY_OK;
}

int readChainPointList(PointListRecord* record, int slot)
{
    constexpr int NAME_FIELD = 0;
    const int result =
        readSurveyRecord(contextOfSlot(slot), jobdbState.pointListLayout, NAME_FIELD);
    if (result == IX_NOT_FOUND) return POINT_LIST_MISSING;
    if (result == IX_OTHER_LAYOUT) return POINT_LIST_OTHER_LAYOUT;
    if (result == IX_DAMAGED_IMAGE) return POINT_LIST_DAMAGED;
    if (result != IX_OK) return POINT_LIST_UNREADABLE;
    *record = jobdbState.pointList;
    return SURVEY_OK;
}
