// Points, survey chains and their point lists by name, the walk over the points and the
// selections that can restrict it, and feature texts.
//
// Boundary of survey/, for cogo/ and api/. Its state, in survey_state.h, is process-wide: the
// selections, and the layouts with the variables that every read fills. Records but points are
// copied to the caller, and nothing is allocated.
#pragma once

#include "records/records.h"

#include <cstdint>

// -- Start-up (survey_layouts.cpp) -------------------------------------------

// Builds the layouts. Nothing here can be read before.
void buildSurveyLayouts();

// -- Survey index (survey_index.cpp) -----------------------------------------

constexpr int SURVEY_OK = 0;
constexpr int SURVEY_FAILED = 1;
// Why a record could not be read.
constexpr int SURVEY_RECORD_MISSING = 1;
constexpr int SURVEY_RECORD_OTHER_LAYOUT = 2;
constexpr int SURVEY_RECORD_DAMAGED = 3;
constexpr int SURVEY_RECORD_UNREADABLE = 4;

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

// Look a record up, which is then the current one; without one the position of the index stays
// where it was. Each returns SURVEY_OK, or a failure: for points the result of recordFind, or
// SPLIT_... (point_name.h) for a name that no point can have; for all others SURVEY_FAILED.
int findPoint(RecordFile* job, const char* name);
int findSurveyChain(RecordFile* job, const char* name);
int findChainPointList(RecordFile* job, const char* name);
int findSurveyRecord(RecordFile* job, const char* name, int index, int matchMode);

// Step along an index, stepSurveyIndex by one of the steps of recordStep. Each returns SURVEY_OK
// with the record reached as the current one, SURVEY_FAILED when there is none, or a failure
// code of the engine.
int stepSurveyIndex(RecordFile* job, int index, int step);
int firstInIndex(RecordFile* job, int index);
int nextInIndex(RecordFile* job, int index);

// Reads the current record, which then stands in the variables of its layout until the next point
// is read. Null when it cannot be read.
const PointRecord* readPointRecord(RecordFile* job);
// Read the current record. Each returns SURVEY_OK, or a failure with *record as it was: for a
// point list SURVEY_RECORD_..., for the others SURVEY_FAILED.
int readSurveyChainRecord(RecordFile* job, SurveyChainRecord* record);
int readChainPointList(RecordFile* job, PointListRecord* record);

// -- The walk over the points (point_walk.cpp) -------------------------------

// Position on the first and the next point of the walk: all in the order of their names, or
// those that the selections in force ask for. They return SURVEY_OK, or something else at the
// end.
int surveyFirstPoint(RecordFile* job);
int surveyNextPoint(RecordFile* job);

// A name as it reaches the host: cut to ELEMENT_NAME_LENGTH characters.
struct ElementName {
    char text[ELEMENT_NAME_ROOM];
};

// Returns the name of the point at the position of POINT_NAME_INDEX.
ElementName pointNameAtPosition(const RecordFile* job);
// True when the point there is the one that is found by the name: a key may be another one than
// that of the name for which it stands.
bool isPointAtPosition(const RecordFile* job, const char* name);

// Step to the first or the next point. Each returns SURVEY_OK with the name of the point
// reached, any other code when there is none. The first step empties the selections; when one
// has been set since, the walk covers only the points that it asks for.
int firstPoint(RecordFile* job, ElementName* name);
int nextPoint(RecordFile* job, ElementName* name);
// Looks up the point of that name; *reached becomes the name as the point's key gives it.
// Returns as findPoint.
int readPointByName(RecordFile* job, const char* name, ElementName* reached);

// Walks on as far as that needs no search, and stores the keys of the points passed; the last one
// is that at the position. When there are none, nextPoint has to go on.
void nextPoints(RecordFile* job, KeyBlock* keys);
// Writes the point name that a key stands for, without the blanks before it and among
// its first characters, into room bytes. Returns its length.
size_t nameOfKey(char* name, size_t room, const char* key);

// -- Selections (selections.cpp) ---------------------------------------------

// Selection k, named by its index number, asks for the entries of index k whose
// key is the selection's text.
constexpr int SELECTIONS = 17;
constexpr int SELECTION_ROOM = 41;
constexpr int NO_SELECTION = 0;    // the number of none
constexpr int ALL_SELECTIONS = 99; // "SETKEY": empty them all

// Results of the commands.
constexpr int SELECTION_DONE = 0;
constexpr int SELECTION_NONE_LEFT = -1; // "GETFIRSTINDEX", "GETNEXTINDEX": no further one
constexpr int SELECTION_TEXTS_KEPT = 1; // "SETKEY" of ALL_SELECTIONS with a key text

// Carries out one of the commands
//   "NUMPOINTINDEX", "NUMCHAININDEX", "NUMRUNINDEX"  number := selections in force
//   "SETKEY"         sets selection number to keyText, or empties it without one
//   "GETKEY"         keyText, of SELECTION_ROOM bytes := the selection's text
//   "GETFIRSTINDEX"  number := the first selection in force, or NO_SELECTION
//   "GETNEXTINDEX"   number := the next one, or NO_SELECTION
// and returns its result. An unknown command does nothing and is done.
int surveyIndexCommand(const char* command, int32_t* number, char* keyText);

// "SETKEY", where an empty key text counts as none.
int setSurveyKey(int number, const char* keyText);
// "GETFIRSTINDEX".
int firstSelectedIndex(int32_t* number);
// "GETKEY".
int getSurveyKey(int number, char* keyText);
// "NUMPOINTINDEX".
int pointSelectionCount(int32_t* number);

// -- Feature records (feature_records.cpp) -----------------------------------

// The FEATURE_ROOM bytes that a feature read fills: the element name, and from FEATURE_TEXT on
// the feature text, terminated. The name is terminated when it is shorter than its room.
constexpr int FEATURE_TEXT = 20;
constexpr int FEATURE_ROOM = 58;

// Look up the feature record of a point or survey chain. Each returns SURVEY_OK or
// SURVEY_FAILED.
int findPointFeature(RecordFile* job, const char* name);
int findSurveyChainFeature(RecordFile* job, const char* name);

// Read the current record as the feature record of a point or survey chain. Each returns
// SURVEY_OK, SURVEY_RECORD_..., or SURVEY_FAILED when the record is of another kind; after a
// failure the feature is not to be used.
int readPointFeature(RecordFile* job, char* feature);
int readSurveyChainFeature(RecordFile* job, char* feature);
