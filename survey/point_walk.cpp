// The walk over the points: all in the order of their names, or those of a selection in the
// order of its index.
#include "survey/point_name.h"
#include "survey/survey.h"

#include <cstring>

// A key counts as that of the selection when this many characters are equal.
constexpr int COMPARED_CHARACTERS = 39;

ElementName pointNameAtPosition(const RecordFile* job)
{
    ElementName name;
    nameOfKey(name.text, sizeof name.text, keyAtPosition(job, POINT_NAME_INDEX));
    return name;
}

bool isPointAtPosition(const RecordFile* job, const char* name)
{
    char key[SURVEY_NAME_ROOM];
    return buildPointNameKey(key, name) == SURVEY_OK &&
           std::strcmp(key, keyAtPosition(job, POINT_NAME_INDEX)) == 0;
}

// Returns the number of the selection that restricts the walk over the points, with its text
// in SELECTION_ROOM bytes, or NO_SELECTION.
static int walkSelection(char* text)
{
    int32_t count = 0;
    int32_t number = NO_SELECTION;
    pointSelectionCount(&count);
    if (count <= 0 || firstSelectedIndex(&number) != SELECTION_DONE) return NO_SELECTION;
    getSurveyKey(number, text);
    return number;
}

int surveyFirstPoint(RecordFile* job)
{
    char text[SELECTION_ROOM];
    int selection = walkSelection(text);
    if (selection == NO_SELECTION) return firstInIndex(job, POINT_NAME_INDEX);
    firstInIndex(job, selection);
    return findSurveyRecord(job, text, selection, MATCH_EXACT);
}

// Steps to the next point of another key. One that is filed under the key of the last one cannot
// be found by its name, and looking that up would lead the walk back.
static int nextOtherKey(RecordFile* job)
{
    const bool begun = job->tree.positions[POINT_NAME_INDEX].index == POINT_NAME_INDEX;
    char last[KEY_BUFFER_SIZE];
    std::strcpy(last, keyAtPosition(job, POINT_NAME_INDEX));
    int result = nextInIndex(job, POINT_NAME_INDEX);
    while (result == SURVEY_OK && begun &&
           std::strcmp(keyAtPosition(job, POINT_NAME_INDEX), last) == 0) {
        result = nextInIndex(job, POINT_NAME_INDEX);
    }
    return result;
}

int surveyNextPoint(RecordFile* job)
{
    char text[SELECTION_ROOM];
    int selection = walkSelection(text);
    if (selection == NO_SELECTION) return nextOtherKey(job);
    int result = nextInIndex(job, selection);
    if (result != SURVEY_OK) return result;
    const char* key = keyAtPosition(job, selection);
    return std::strncmp(key, text, COMPARED_CHARACTERS) == 0 ? SURVEY_OK : IX_NOT_FOUND;
}

static int nameReached(const RecordFile* job, int result, ElementName* name)
{
    if (result == SURVEY_OK) *name = pointNameAtPosition(job);
    return result;
}

int firstPoint(RecordFile* job, ElementName* name)
{
    int32_t selections = ALL_SELECTIONS;
    surveyIndexCommand("SETKEY", &selections, nullptr);
    return nameReached(job, surveyFirstPoint(job), name);
}

int nextPoint(RecordFile* job, ElementName* name)
{
    return nameReached(job, surveyNextPoint(job), name);
}

int readPointByName(RecordFile* job, const char* name, ElementName* reached)
{
    return nameReached(job, findPoint(job, name), reached);
}

void nextPoints(RecordFile* job, KeyBlock* keys)
{
    keys->count = 0;
    char text[SELECTION_ROOM];
    if (walkSelection(text) == NO_SELECTION) recordStepAlong(job, POINT_NAME_INDEX, keys);
}
