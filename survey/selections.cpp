// The selection list, which can restrict a walk over the points to those that share
// a secondary key.
#include "survey/survey.h"
#include "survey/survey_state.h"

#include <cstring>

constexpr int FIRST_POINT_SELECTION = POINT_NAME_INDEX;
constexpr int FIRST_CHAIN_SELECTION = SURVEY_CHAIN_INDEX;
constexpr int RUN_SELECTION = 13;

// Returns the count in which the selection is counted, or null when no selection with that
// number can be set.
static int32_t* countOfGroup(int number)
{
    SelectionList& list = surveyState.selections;
    if (number < FIRST_POINT_SELECTION) return nullptr;
    if (number < FIRST_CHAIN_SELECTION) return &list.pointCount;
    if (number < RUN_SELECTION) return &list.chainCount;
    if (number == RUN_SELECTION) return &list.runCount;
    return nullptr;
}

static int resetSelections(const char* keyText)
{
    SelectionList& list = surveyState.selections;
    list.pointCount = 0;
    list.chainCount = 0;
    list.runCount = 0;
    if (keyText != nullptr) return SELECTION_TEXTS_KEPT;
    std::memset(list.texts, 0, sizeof list.texts);
    return SELECTION_DONE;
}

static int setSelection(int number, const char* keyText)
{
    if (number == ALL_SELECTIONS) return resetSelections(keyText);
    int32_t* count = countOfGroup(number);
    if (count == nullptr) return SELECTION_DONE;

    char* text = surveyState.selections.texts[number];
    bool wasSet = text[0] != '\0';
    if (keyText != nullptr && !wasSet) *count += 1;
    if (keyText == nullptr && wasSet) *count -= 1;
    copyText(text, SELECTION_ROOM, keyText);
    return SELECTION_DONE;
}

// Moves the cursor to the next selection that is set, and reports its number.
static int advanceCursor(int32_t* number)
{
    SelectionList& list = surveyState.selections;
    *number = NO_SELECTION;
    for (int k = list.cursor + 1; k <= SELECTIONS; ++k) {
        if (list.texts[k][0] == '\0') continue;
        list.cursor = k;
        *number = k;
        return SELECTION_DONE;
    }
    return SELECTION_NONE_LEFT;
}

static int reportText(int number, char* keyText)
{
    bool exists = number >= 1 && number <= SELECTIONS;
    copyText(keyText, SELECTION_ROOM, exists ? surveyState.selections.texts[number] : "");
    return SELECTION_DONE;
}

int surveyIndexCommand(const char* command, int32_t* number, char* keyText)
{
    const SelectionList& list = surveyState.selections;
    if (std::strcmp(command, "NUMPOINTINDEX") == 0) {
        *number = list.pointCount;
    } else if (std::strcmp(command, "NUMCHAININDEX") == 0) {
        *number = list.chainCount;
    } else if (std::strcmp(command, "NUMRUNINDEX") == 0) {
        *number = list.runCount;
    } else if (std::strcmp(command, "SETKEY") == 0) {
        return setSelection(*number, keyText);
    } else if (std::strcmp(command, "GETKEY") == 0) {
        return reportText(*number, keyText);
    } else if (std::strcmp(command, "GETFIRSTINDEX") == 0) {
        surveyState.selections.cursor = 0;
        return advanceCursor(number);
    } else if (std::strcmp(command, "GETNEXTINDEX") == 0) {
        return advanceCursor(number);
    }
    return SELECTION_DONE;
}

int setSurveyKey(int number, const char* keyText)
{
    int32_t selection = number;
    char text[SELECTION_ROOM];
    copyText(text, sizeof text, keyText);
    return surveyIndexCommand("SETKEY", &selection, text[0] != '\0' ? text : nullptr);
}

int firstSelectedIndex(int32_t* number)
{
    return surveyIndexCommand("GETFIRSTINDEX", number, nullptr);
}

int getSurveyKey(int number, char* keyText)
{
    int32_t selection = number;
    return surveyIndexCommand("GETKEY", &selection, keyText);
}

int pointSelectionCount(int32_t* number)
{
    return surveyIndexCommand("NUMPOINTINDEX", number, nullptr);
}
