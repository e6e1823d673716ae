// Points, survey chains and point lists by name, and their records.
#include "survey/point_name.h"
#include "survey/survey.h"
#include "survey/survey_layouts.h"
#include "survey/survey_state.h"

#include <cstring>

// -- Lookups and steps -------------------------------------------------------

// Looks a key up. Where that fails, the position stays where it was, and with it the walk of the
// index.
static int findKey(RecordFile* job, int index, const char* key, int matchMode)
{
    Position* position = &job->tree.positions[index];
    const Position before = *position;
    int result = recordFind(job, index, key, matchMode);
    if (result != IX_OK) *position = before;
    return result;
}

int findSurveyRecord(RecordFile* job, const char* name, int index, int matchMode)
{
    if (index != POINT_NAME_INDEX) {
        return findKey(job, index, name, matchMode) == IX_OK ? SURVEY_OK : SURVEY_FAILED;
    }
    char key[SURVEY_NAME_ROOM];
    int failure = buildPointNameKey(key, name);
    if (failure != SURVEY_OK) return failure;
    return findKey(job, index, key, matchMode);
}

int findPoint(RecordFile* job, const char* name)
{
    return findSurveyRecord(job, name, POINT_NAME_INDEX, MATCH_EXACT);
}

int findSurveyChain(RecordFile* job, const char* name)
{
    return findSurveyRecord(job, name, SURVEY_CHAIN_INDEX, MATCH_EXACT);
}

int findChainPointList(RecordFile* job, const char* name)
{
    return findSurveyRecord(job, name, POINT_LIST_INDEX, MATCH_EXACT);
}

int stepSurveyIndex(RecordFile* job, int index, int step)
{
    int result = recordStep(job, index, step);
    return result == IX_NOT_FOUND ? SURVEY_FAILED : result;
}

int firstInIndex(RecordFile* job, int index) { return stepSurveyIndex(job, index, STEP_FIRST); }

int nextInIndex(RecordFile* job, int index) { return stepSurveyIndex(job, index, STEP_NEXT); }

// -- Records -----------------------------------------------------------------

// Returns the integer at the beginning of a number text, which may start with blanks and a
// sign: 0 when there are no digits.
static int32_t numberOfText(const char* text)
{
    while (*text == ' ') {
        ++text;
    }
    bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    static_assert(NUMBER_TEXT_ROOM <= 10, "no text has digits for too large a number");
    int32_t number = 0;
    for (; *text >= '0' && *text <= '9'; ++text) {
        number = number * 10 + (*text - '0');
    }
    return negative ? -number : number;
}

// Completes the code text when it is marked as going on in the long text.
static void joinCodeText(PointRecord* record)
{
    char* code = record->codeText;
    if (std::strlen(code) <= JOINED_CODE_HEAD || code[JOINED_CODE_HEAD] != '-') return;
    bool goesOn = std::strlen(record->longText) > JOINED_CODE_TAIL;
    copyText(code + JOINED_CODE_HEAD, JOINED_CODE_ROOM - JOINED_CODE_HEAD,
             goesOn ? record->longText + JOINED_CODE_TAIL : "");
}

const PointRecord* readPointRecord(RecordFile* job)
{
    constexpr int NAME_FIELD = 1;
    int result = readThroughLayout(job, &surveyState.pointPlan, NAME_FIELD);
    if (result != SURVEY_OK) return nullptr;
    PointRecord* record = &surveyState.point;
    removeBlanks(record->name);
    joinCodeText(record);
    for (int i = 0; i < 3; ++i) {
        record->numbers[i] = numberOfText(surveyState.numberTexts[i]);
    }
    return record;
}

int readSurveyChainRecord(RecordFile* job, SurveyChainRecord* record)
{
    constexpr int NAME_FIELD = 1;
    int result = readThroughLayout(job, &surveyState.surveyChainPlan, NAME_FIELD);
    if (result != SURVEY_OK) return SURVEY_FAILED;
    *record = surveyState.surveyChain;
    for (int i = 0; i < 2; ++i) {
        record->numbers[i] = numberOfText(surveyState.numberTexts[i]);
    }
    return SURVEY_OK;
}

int readChainPointList(RecordFile* job, PointListRecord* record)
{
    constexpr int NAME_FIELD = 0;
    int result = readThroughLayout(job, &surveyState.pointListPlan, NAME_FIELD);
    if (result == SURVEY_OK) *record = surveyState.pointList;
    return result;
}
