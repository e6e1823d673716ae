// The job database layer: the table of job files with one engine context per
// slot, its start-up, the survey index of points, survey chains and point lists,
// and the feature records of points and survey chains.
//
// Boundary of jobdb/, for api/ and cogo/. All its state is process-wide: records,
// names and positions hold until the next call.
#pragma once

#include "jobdb/text.h"

#include <cstdint>

struct IndexFile;

// -- Start-up ----------------------------------------------------------------

// Brings the layer and the COGO records below it into their initial state: key
// components empty, layouts as built, current format version, no job file. Open
// databases are not closed.
void layerStartUp();

// -- Job files ---------------------------------------------------------------

constexpr int JOB_FILE_SLOTS = 10;
constexpr int COGO_SLOT = 0; // the slot of the file on which record reads work
constexpr int NO_CURRENT_SLOT = -1;
constexpr int FILE_NAME_ROOM = 512;
constexpr int FILE_NAME_LIMIT = 254;                  // characters of a name that are kept
constexpr int FILE_NAME_OUTPUT = FILE_NAME_LIMIT + 1; // bytes of a caller's buffer

// Answers of jobFileCommand.
constexpr int JOB_FILE_REFUSED = 0;
constexpr int JOB_FILE_DONE = 1;
constexpr int JOB_FILE_ALREADY_COGO = 2;

// Carries out one of the commands
//   "INITIALIZE"        empties the table; no current slot
//   "CURRENT"           name := current file's, remembered as the old one; index
//   "CURRENT_ALT"       name := current file's, remembered as the alternate one
//   "GET_ALT"           name := the alternate one
//   "GET_OLD_FILE"      name := the old one
//   "GET_FILE_NUMBER"   makes the named file current; -1 when it is not registered;
//                       without a name only reports the current slot
//   "ADD_FILE"          registers the file and makes it current
//   "ADD_COGO_FILE"     makes the file the COGO file and current
//   "SET_COGO_FILE"     makes slot 0 current
//   "SET_FILE_TO_COGO"  makes a registered file the COGO file; -1 when there is none
//   "REMOVE_FILE"       frees the file's slot; -1 when it is not registered
// index, where given, receives a slot number. name is the file, or the buffer of
// FILE_NAME_OUTPUT bytes to fill. JOB_FILE_REFUSED when no slot is free and without
// a command; an unknown command does nothing and is done.
int jobFileCommand(int32_t* index, char* name, const char* command);

// "GET_FILE_NUMBER".
void currentFileNumber(int32_t* index, const char* name);

// The context of the current slot, whatever slot is asked for; that of slot 0 when
// there is no current slot.
IndexFile* slotContext(int slot);

// The context of the slot itself; that of slot 0 for any other number.
IndexFile* contextOfSlot(int slot);

// Move contexts between slot 0 and slot n. JOB_FILE_DONE, or JOB_FILE_REFUSED for a
// slot that does not exist. A moved context works in its new place.
int copyContextFromCogo(int n);
int copyContextToCogo(int n);
int swapContextWithCogo(int n);

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
int findPoint(const char* name, int slot);
int findSurveyChain(const char* name, int slot);
int findChainPointList(const char* name, int slot);
int findSurveyRecord(const char* name, int index, int slot, int matchMode);

// Steps along an index, the step being one of the engine's. SURVEY_OK when
// positioned, SURVEY_FAILED when there is no further entry, else the engine's code.
int stepSurveyIndex(int index, int slot, int step);
int firstInIndex(int index, int slot);
int nextInIndex(int index, int slot);

// Walk over the points, restricted to those of the first selection when there is
// one. SURVEY_OK when positioned, else non-zero.
int surveyFirstPoint(int slot);
int surveyNextPoint(int slot);

// The point name at the position of POINT_NAME_INDEX; holds until the next call.
const char* surveyPointName(int slot);

// Names of points, terminated, one behind the other.
struct PointNames {
    int32_t count;
    char texts[1024];
};

// Goes on with the walk over the points as far as that needs no search, and fills in
// the names passed, in their order and each cut to the room, the last one being that at
// the position. There may be none: surveyNextPoint goes on then.
void surveyNextPoints(PointNames* names, int room, int slot);

// Read the current record; nothing is stored in record after a failure. SURVEY_OK
// or SURVEY_FAILED.
int readPointRecord(PointRecord* record, int slot);
int readSurveyChainRecord(SurveyChainRecord* record, int slot);
// Likewise, but a failure says why: POINT_LIST_...
constexpr int POINT_LIST_MISSING = 1;
constexpr int POINT_LIST_OTHER_LAYOUT = 2;
constexpr int POINT_LIST_DAMAGED = 3;
constexpr int POINT_LIST_UNREADABLE = 4;
int readChainPointList(PointListRecord* record, int slot);

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
int findPointFeature(const char* name, int slot);
int findSurveyChainFeature(const char* name, int slot);

// Read the current record as one. SURVEY_OK with the answer filled; non-zero when
// it cannot be read or is of another kind, the answer is then not to be used.
int readPointFeature(char* answer, int slot);
int readSurveyChainFeature(char* answer, int slot);
