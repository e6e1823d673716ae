// COGO elements: chains, curves, lines, spirals, profiles and extension records by name, their
// readers, and the walks from the first to the next of a kind.
//
// Boundary of cogo/, for api/. Its state, in cogo_state.h, is process-wide: where each walk
// stands, and the layouts with the variables that every read fills. Results are copied to the
// caller; only a profile refers to blocks on the heap, which clearProfile frees.
#pragma once

#include "records/records.h"
#include "survey/survey.h"

#include <cstdint>

constexpr int COGO_OK = 1;
constexpr int COGO_FAILED = 0;

// -- Numbers (read_elements.cpp) ---------------------------------------------

// Returns the number without its fraction, or 0 when that is no 32-bit integer.
int32_t truncateToInt32(double value);

// -- Start-up (record_layouts.cpp) -------------------------------------------

// Builds the layouts. Nothing here can be read before.
void buildCogoLayouts();

// -- Lookups by name (lookups.cpp, iteration.cpp) ----------------------------

// Each returns COGO_OK when there is such a record, which is then the current one, or
// COGO_FAILED. The walk of profiles goes on from the profile found.
int findChain(RecordFile* job, const char* name);
int findCurve(RecordFile* job, const char* name);
int findLine(RecordFile* job, const char* name);
int findSpiral(RecordFile* job, const char* name);
int findProfile(RecordFile* job, const char* name);
// member: 1 to CHAIN_CONTINUATIONS.
int findChainContinuation(RecordFile* job, const char* name, int member);
int findExtension(RecordFile* job, const char* name, const char* qualifierA,
                  const char* qualifierC);
// A record tagged "PTR" by its number among those of the name.
int findNumberedRecord(RecordFile* job, const char* name, int number);

// -- Readers (read_chain.cpp, read_elements.cpp, extension.cpp) --------------

constexpr int RESULT_NAME_ROOM = 16;
constexpr int SECONDARY_CODE_ROOM = 25;
constexpr int RECORD_NOTE_ROOM = 257;
constexpr int RECORD_TEXT_ROOM = 250;
constexpr int LABEL_ROOM = 17;
constexpr int CHAIN_DESCRIPTION_ROOM = 12500;
constexpr int CHAIN_CONTINUATIONS = 6;
constexpr int LINE_TEXT_ROOM = 16;
constexpr int EXTENSION_NOTE_ROOM = 256;
constexpr int EXTENSION_TEXT_ROOM = 2000;

// Value n of a curve or spiral stands at values[n - 1], except the last two.
struct ChainResult {
    char name[RESULT_NAME_ROOM];
    char description[CHAIN_DESCRIPTION_ROOM];
    int32_t elementNumber;
    char secondaryCode[SECONDARY_CODE_ROOM];
    char noteText[RECORD_NOTE_ROOM];
};

struct CurveResult {
    char name[RESULT_NAME_ROOM];
    double values[24]; // curve values 1 to 24
    int32_t elementNumber;
    char textA[RECORD_TEXT_ROOM];
    char textB[RECORD_TEXT_ROOM];
    char secondaryCode[SECONDARY_CODE_ROOM];
    char noteText[RECORD_NOTE_ROOM];
    char label1[LABEL_ROOM];
    double values25To26[2]; // curve values 25 and 26
    char label2[LABEL_ROOM];
    char label3[LABEL_ROOM];
    char label4[LABEL_ROOM];
};

struct LineResult {
    char name[RESULT_NAME_ROOM];
    char lineText[LINE_TEXT_ROOM];
    double value;
    char beginPointName[LINE_TEXT_ROOM];
    char endPointName[LINE_TEXT_ROOM];
    int32_t elementNumber;
    char secondaryCode[SECONDARY_CODE_ROOM];
    char noteText[EXTENSION_NOTE_ROOM];
};

struct SpiralResult {
    char name[RESULT_NAME_ROOM];
    double values[47]; // spiral values 1 to 47; 41 is never filled
    int32_t elementNumber;
    char textA[RECORD_TEXT_ROOM];
    char secondaryCode[SECONDARY_CODE_ROOM];
    char noteText[RECORD_NOTE_ROOM];
    char label1[LABEL_ROOM];
    double values48To49[2]; // spiral values 48 and 49
};

struct ExtensionResult {
    char name[RESULT_NAME_ROOM];
    int32_t elementNumber;
    double values[2];
    int32_t integers[2];
    char secondaryCode[EXTENSION_TEXT_ROOM];
    char noteText[EXTENSION_TEXT_ROOM];
    char longText[EXTENSION_TEXT_ROOM];
    char shortText[EXTENSION_TEXT_ROOM];
};

// Each reads the current record, which the lookup of its kind has found. COGO_OK, or
// COGO_FAILED with the result as it was. The result's name is that of the record's key, of
// chains the one looked up, cut to its room.
//
// readChain needs the name that was looked up. It appends the continuations and drops the
// description from "DW:" on. A record of the older layout is handed out as it stands and
// rewritten in the current layout.
int readChain(RecordFile* job, const char* name, ChainResult* result);
// readCurve brings curve value 20, an angle, to 0 to 360 degrees.
int readCurve(RecordFile* job, CurveResult* result);
// readSpiral gives spiral value 24 the sign that the spiral's type asks for.
int readSpiral(RecordFile* job, SpiralResult* result);
// readLine adds to texts and number what the line's extension record holds, and adds that
// record when there is none.
int readLine(RecordFile* job, LineResult* result);
int readExtension(RecordFile* job, ExtensionResult* result);

// Counts the number up that is stored in the job database. Returns the next element number,
// from 1, or 0 when that fails.
int32_t nextVersionNumber(RecordFile* job);

// Closes the job file. Returns COGO_OK or COGO_FAILED.
int closeJobDatabase(RecordFile* job);

// -- Profiles (profile_records.cpp, vertical_curves.cpp) ---------------------

// A member that a vertical curve does not have.
constexpr double NO_VALUE = 3.4028234663852886e38;

constexpr int SEGMENT_STRAIGHT = 1;
constexpr int SEGMENT_VERTICAL_CURVE = 2;

struct StraightSegment {
    double beginStation;
    double beginElevation;
    double endStation;
    double endElevation;
    double grade; // rise over run
    int32_t beginCode;
    int32_t endCode;
};

struct VerticalCurve {
    double beginStation;
    double beginElevation;
    double gradeIn;
    double endStation;
    double endElevation;
    double gradeOut;
    double intersectionStation;
    double intersectionElevation;
    double backLength;
    double aheadLength;
    double turningStation; // with the elevation NO_VALUE when there is no such point
    double turningElevation;
    double rateOfChange; // of the grade, per unit of station
    int32_t intersectionCode;
    int16_t flag1;
    int16_t flag2;
};

// One segment of a profile, in station order. The list owns its nodes with their payloads.
struct ProfileSegment {
    ProfileSegment* previous;
    ProfileSegment* next;
    int32_t kind; // SEGMENT_STRAIGHT or SEGMENT_VERTICAL_CURVE, which decides the payload
    union {
        StraightSegment* straight;
        VerticalCurve* curve;
    };
};

static_assert(sizeof(ProfileSegment) % alignof(VerticalCurve) == 0); // the payload lies behind it

// Segments are allocated together, in the order of the list, each before its payload: most are
// straight, and those are less than half as large.
constexpr size_t SEGMENT_BLOCK_ROOM = 8192;

struct SegmentBlock {
    SegmentBlock* former;
    size_t used;
    alignas(double) unsigned char bytes[SEGMENT_BLOCK_ROOM];
};

constexpr int PROFILE_NAME_ROOM = 36;

struct ProfileResult {
    ProfileSegment* firstSegment;
    ProfileSegment* lastSegment;
    SegmentBlock* lastBlock;
    char name[PROFILE_NAME_ROOM]; // set by the caller
    int32_t headerValue;
    int32_t segmentCount;
    int32_t elementNumber;
    char secondaryCode[SECONDARY_CODE_ROOM];
    char noteText[EXTENSION_NOTE_ROOM];
};

// Reads the profile named in the result. Returns COGO_OK, or COGO_FAILED with the segments
// built so far in the list: clearProfile frees them in both cases. When there is no extension
// record, number, code and note stay as the caller set them. Expects a result whose list is
// empty or was filled here.
int readProfile(RecordFile* job, ProfileResult* profile);
// Frees the segments, leaves the list empty and sets the header value to 1.
void clearProfile(ProfileResult* profile);

// -- Walks (iteration.cpp) ---------------------------------------------------

// First and next element of a kind. Each returns COGO_OK with its name, or COGO_FAILED when
// there is none; a first step may also return a failure code of the engine, which is negative.
// A next step continues from the element that the walk's own last step reached, of profiles from
// the one looked up since, if there is one; there is none as long as no such element is known.
// The walk of profiles also goes on behind one that has been deleted, the others end there.
int firstCurve(RecordFile* job, ElementName* name);
int nextCurve(RecordFile* job, ElementName* name);
int firstLine(RecordFile* job, ElementName* name);
int nextLine(RecordFile* job, ElementName* name);
int firstSpiral(RecordFile* job, ElementName* name);
int nextSpiral(RecordFile* job, ElementName* name);
int firstChain(RecordFile* job, ElementName* name);
int nextChain(RecordFile* job, ElementName* name);
int firstProfile(RecordFile* job, ElementName* name);
int nextProfile(RecordFile* job, ElementName* name);

// True when the record at the position of RECORD_KEY_INDEX is the one of its kind that is found by
// the name: a key may be another one than that of the name for which it stands.
bool isElementAtPosition(const RecordFile* job, const char* name);

// Forgets which elements the walks have reached.
void resetWalks();
