// Points, survey chains and their point lists by name, the walk over the points and the
// selections that can restrict it, and feature texts.
//
// Boundary of survey/, for cogo/ and api/. Its state, in survey_state.h, is process-wide: the
// selections, and layouts with the variables that every read fills; records are copied to the
// caller.
#pragma once

#include "records/records.h"

#include <cstdint>

// -- Start-up ----------------------------------------------------------------

void buildSurveyLayouts();

// -- Survey index ------------------------------------------------------------

constexpr int SURVEY_OK = 0;
constexpr int SURVEY_FAILED = 1;

// Index numbers of the survey records.
constexpr int POINT_NAME_INDEX = 5;
constexpr int POINT_SET_INDEX = 6;
constexpr int POINT_NUMBER_INDEX = 7;
constexpr int POINT_SECOND_NUMBER_INDEX = 8;
constexpr int SURVEY_CHAIN_INDEX = 9;
constexpr int SURVEY_CHAIN_SET_INDEX = 10;
constexpr int SURVEY_CHAIN_NUMBER_INDEX = 11;
constexpr int SURVEY_CHAIN_SECOND_NUMBER_INDEX = 12;
constexpr int POINT_LIST_INDEX = 14;

constexpr int SET_TEXT_ROOM = 30;
constexpr int SURVEY_NAME_ROOM = 16;
constexpr int SURVEY_NAME_LENGTH = 15;
constexpr int NOTE_ROOM = 256;
constexpr int LONG_TEXT_ROOM = 1000;
constexpr int NUMBER_TEXT_ROOM = 9;
constexpr int POINT_TEXT_ROOM = 250;
constexpr int POINT_LIST_ROOM = 2501;

// A code text marked with a minus sign as its ninth character goes on in the long
// text, behind the hundred characters that the long text keeps for itself.
constexpr int JOINED_CODE_HEAD = 8;
constexpr int JOINED_CODE_TAIL = 100;
constexpr int JOINED_CODE_ROOM = JOINED_CODE_HEAD + LONG_TEXT_ROOM - JOINED_CODE_TAIL;

struct PointRecord {
    char setText[SET_TEXT_ROOM];
    char name[SURVEY_NAME_ROOM];
    char firstNote[NOTE_ROOM];
    char longText[LONG_TEXT_ROOM];
    int32_t integer1;
    double reals[3]; // reals 1 to 3
    char secondNote[NOTE_ROOM];
    int32_t integers2To7[6];
    char codeText[JOINED_CODE_ROOM];
    double real4;
    int32_t integer8;
    int32_t longInteger;
    char texts[4][POINT_TEXT_ROOM]; // texts 1 to 4
    int32_t numbers[3];             // the number texts 1 to 3, as integers
};

struct SurveyChainRecord {
    char setText[SET_TEXT_ROOM];
    char name[SURVEY_NAME_ROOM];
    char note[NOTE_ROOM];
    double real;
    int32_t integers[4]; // integers 1 to 4
    int32_t longInteger;
    int32_t numbers[2]; // the number texts 1 and 2, as integers
};

struct PointListRecord {
    char name[SURVEY_NAME_ROOM];
    char pointList[POINT_LIST_ROOM]; // point names, separated by commas
};

// Lookups by name. SURVEY_OK, with the record as the current one, or non-zero: for
// points why the name cannot be a point's (1, 2, 3) or the engine's answer, for all
// others SURVEY_FAILED.
int findPoint(RecordFile* job, const char* name);
int findSurveyChain(RecordFile* job, const char* name);
int findChainPointList(RecordFile* job, const char* name);
int findSurveyRecord(RecordFile* job, const char* name, int index, int matchMode);

// Steps along an index, the step being one of recordStep's. SURVEY_OK when
// positioned, SURVEY_FAILED when there is no further entry, else the engine's code.
int stepSurveyIndex(RecordFile* job, int index, int step);
int firstInIndex(RecordFile* job, int index);
int nextInIndex(RecordFile* job, int index);

// Read the current record; nothing is stored in record after a failure. SURVEY_OK
// or SURVEY_FAILED.
int readPointRecord(RecordFile* job, PointRecord* record);
int readSurveyChainRecord(RecordFile* job, SurveyChainRecord* record);
// SURVEY_OK, or why not, with nothing stored in record.
constexpr int POINT_LIST_MISSING = 1;
constexpr int POINT_LIST_OTHER_LAYOUT = 2;
constexpr int POINT_LIST_DAMAGED = 3;
constexpr int POINT_LIST_UNREADABLE = 4;
int readChainPointList(RecordFile* job, PointListRecord* record);

// -- The walk over the points (point_walk.cpp) -------------------------------

// A name as it reaches the host: cut to ELEMENT_NAME_LENGTH characters.
struct ElementName {
    char text[ELEMENT_NAME_ROOM];
};

// Point at the position of POINT_NAME_INDEX: its name.
ElementName pointNameAtPosition(const RecordFile* job);

// SURVEY_OK with the name of the point reached, else non-zero. The first step empties the
// selections; with one set since, the walk goes over the points that it asks for.
int firstPoint(RecordFile* job, ElementName* name);
int nextPoint(RecordFile* job, ElementName* name);
// The point of that name; *reached becomes its name as its key gives it.
int readPointByName(RecordFile* job, const char* name, ElementName* reached);

// Names of points, terminated, one behind the other.
struct PointNames {
    int32_t count;
    char texts[NODE_PAGE_SIZE];
};

// Goes on with the walk as far as that needs no search, and fills in the names passed, the
// last one being that at the position. There may be none: nextPoint goes on then.
void nextPoints(RecordFile* job, PointNames* names);

// -- Selections --------------------------------------------------------------

// Selection k, named by its index number, asks for the entries of index k whose
// key is the selection's text.
constexpr int SELECTIONS = 17;
constexpr int SELECTION_ROOM = 41;
constexpr int ALL_SELECTIONS = 99; // "SETKEY": empty them all
constexpr int NO_SELECTION = -1;   // "GETFIRSTINDEX", "GETNEXTINDEX": none left

// Carries out one of the commands
//   "NUMPOINTINDEX", "NUMCHAININDEX", "NUMRUNINDEX"  number := selections in force
//   "SETKEY"         sets selection number to keyText, or empties it without one
//   "GETKEY"         keyText, of SELECTION_ROOM bytes := the selection's text
//   "GETFIRSTINDEX"  number := the first selection in force, or 0
//   "GETNEXTINDEX"   number := the next one, or 0
// 0, except: NO_SELECTION, and 1 for ALL_SELECTIONS with a key text.
int surveyIndexCommand(const char* command, int32_t* number, char* keyText);

// "SETKEY", where an empty key text counts as none.
int setSurveyKey(int number, const char* keyText);
int firstSelectedIndex(int32_t* number);
int getSurveyKey(int number, char* keyText);
int pointSelectionCount(int32_t* number);

// -- Feature records ---------------------------------------------------------

// What a feature read answers: the element name, then from FEATURE_TEXT on the
// feature text, terminated. The name is terminated when it is shorter than its room.
constexpr int FEATURE_TEXT = 20;
constexpr int FEATURE_ANSWER_ROOM = 58;

// Look up the feature record of a point or survey chain. SURVEY_OK or SURVEY_FAILED.
int findPointFeature(RecordFile* job, const char* name);
int findSurveyChainFeature(RecordFile* job, const char* name);

// Read the current record as one. SURVEY_OK with the answer filled; non-zero when
// it cannot be read or is of another kind, the answer is then not to be used.
int readPointFeature(RecordFile* job, char* answer);
int readSurveyChainFeature(RecordFile* job, char* answer);
