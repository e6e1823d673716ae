// The COGO records: keys and kinds, the readers of chains, curves, lines, spirals,
// profiles and extension records, and the walks from the first to the next element
// of a kind.
//
// Boundary of cogo/, for api/ and jobdb/. All its state is process-wide. Lookups and
// reads work on the job file of the current slot and leave the key components
// describing the record found last.
#pragma once

#include <cstdint>

struct IndexFile;
struct LayoutEntry;
struct PointNames;

constexpr int COGO_OK = 1;
constexpr int COGO_FAILED = 0;

// -- Numbers -----------------------------------------------------------------

// The number without its fraction; 0 for one that is no 32-bit integer.
int32_t truncateToInt32(double value);

// -- Record keys -------------------------------------------------------------

// Index of the COGO record keys.
constexpr int RECORD_KEY_INDEX = 1;
constexpr int SECONDARY_KEY_INDEX = 2;
constexpr int SECONDARY_CODE_INDEX = 4;

// The argument that recordFind ignores.
constexpr int RECORD_FIND_IGNORED = 83;

constexpr int TAG_LENGTH = 3;
constexpr int ELEMENT_NAME_LENGTH = 20;
constexpr int ELEMENT_NAME_ROOM = ELEMENT_NAME_LENGTH + 1;
constexpr int RECORD_KEY_ROOM = 41; // of the key field of every layout

// Kind numbers: the record type byte of an image, and what a tag stands for.
constexpr int KIND_NONE = 0;
constexpr int KIND_CHAIN = 1;
constexpr int KIND_CURVE = 2;
constexpr int KIND_LINE = 3;
constexpr int KIND_SPIRAL = 7;
constexpr int KIND_PROFILE = 18;
constexpr int KIND_PROFILE_DATA = 19;
constexpr int KIND_POINT_FEATURE = 24;
constexpr int KIND_SURVEY_CHAIN_FEATURE = 28;
constexpr int KIND_VERSION = 29;
constexpr int KIND_EXTENSION = 32;

// Sets the key components; a text longer than its component is cut.
void setKeyComponents(const char* tag, const char* name, const char* qualifierA,
                      const char* qualifierB, const char* qualifierC);
// Sets the element name alone.
void setName(const char* name);
// Composes the record key from the components, and the reverse.
void buildKey();
void splitKey();
// The buffer of the record key, RECORD_KEY_ROOM bytes. Layouts name it as the
// variable of their key field, so every read fills it.
char* recordKeyBuffer();
// The element-name component: the name of the element reached last.
const char* currentName();

// Reads the current record into the variables of the layout: recordReadCurrent's
// answer, and IX_DAMAGED_IMAGE when the record lies under another key than the one
// at the position, which happens when its number has passed to another record.
// Expects a layout whose first field is the record key.
int readCurrentRecord(IndexFile* file, LayoutEntry* layout);

// Names of points. A name that is not all digits is letters followed by digits;
// splitPointName parts them. Each part is given SPLIT_NAME_ROOM bytes.
constexpr int SPLIT_NAME_ROOM = 16;
constexpr int SPLIT_OK = 0;
constexpr int SPLIT_NO_NUMBER = 1;    // empty, zeros only, or no digit at the end
constexpr int SPLIT_NO_PREFIX = 2;    // something else than letters before the digits
constexpr int SPLIT_OUT_OF_RANGE = 3; // 16 characters or more, or the number is 0
bool isAllDigits(const char* text);
int trailingDigitsStart(const char* text);
int64_t parseInt64(const char* text);
int splitPointName(const char* text, char* prefix, char* number);

// -- Start-up ----------------------------------------------------------------

void emptyKeyComponents();
void buildCogoLayouts();

// -- Lookups by name ---------------------------------------------------------

// COGO_OK when there is such a record, which is then the current one.
int findChain(const char* name, int slot);
int findCurve(const char* name, int slot);
int findLine(const char* name, int slot);
int findSpiral(const char* name, int slot);
int findProfile(const char* name, int slot);
// member: 1 to CHAIN_CONTINUATIONS.
int findChainContinuation(const char* name, int member, int slot);
int findExtension(const char* name, const char* qualifierA, const char* qualifierC, int slot);
// A record tagged "PTR" by its number among those of the name.
int findNumberedRecord(const char* name, int number, int slot);

// -- Readers -----------------------------------------------------------------

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
// COGO_FAILED with the result as it was. The result's name is cut to its room.
//
// readChain appends the continuations and drops the description from "DW:" on. A
// record of the older layout it returns as it stands and rewrites in the current
// one. The current name is afterwards not the chain's.
int readChain(ChainResult* result, int slot);
// readCurve brings curve value 20, an angle, to 0 to 360 degrees.
int readCurve(CurveResult* result, int slot);
// readSpiral gives spiral value 24 the sign that the spiral's type asks for.
int readSpiral(SpiralResult* result, int slot);
// readLine extends texts and number from the line's extension record, which it adds
// when there is none. The current name is afterwards not the line's.
int readLine(LineResult* result, int slot);
int readExtension(ExtensionResult* result, int slot);

// Counts up the number stored in the job database: the next element number, from 1,
// or 0 when that fails.
int32_t nextVersionNumber(int slot);

// Closes the current job file.
int closeJobDatabase(int slot);

// -- Profiles ----------------------------------------------------------------

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

// One segment of a profile, in station order. The list owns its nodes.
struct ProfileSegment {
    ProfileSegment* previous;
    ProfileSegment* next;
    int32_t kind; // SEGMENT_..., tells which payload
    union {
        StraightSegment straight;
        VerticalCurve curve;
    };
};

// Segments are allocated together, in the order of the list.
constexpr int SEGMENTS_PER_BLOCK = 64;

struct SegmentBlock {
    SegmentBlock* former;
    int32_t used;
    ProfileSegment segments[SEGMENTS_PER_BLOCK];
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

// Reads the profile named in the result. COGO_OK, or COGO_FAILED with the segments
// built so far in the list: clearProfile frees them in both cases. Without an
// extension record number, code and note stay as the caller set them. Expects a
// result whose list is empty or was filled here.
int readProfile(ProfileResult* profile, int slot);
// Frees the segments; header value 1.
void clearProfile(ProfileResult* profile);

// -- Walks -------------------------------------------------------------------

// First and next element of a kind: COGO_OK with its name as the current name,
// COGO_FAILED when there is none. First steps hand a failure code of the engine on.
// The next step of lines, curves, spirals and chains continues from the element
// their own last step reached, profiles continue from the position of
// RECORD_KEY_INDEX, points from that of POINT_NAME_INDEX.
int firstCurve(int slot);
int nextCurve(int slot);
int firstLine(int slot);
int nextLine(int slot);
int firstSpiral(int slot);
int nextSpiral(int slot);
int firstChain(int slot);
int nextChain(int slot);
int firstProfile(int slot);
int nextProfile(int slot);
int firstPoint(int slot);
int nextPoint(int slot);
// Goes on as far as that needs no search, passing the points named, of which there may
// be none: nextPoint goes on then. The last name is the current one.
void nextPoints(PointNames* names, int slot);
// The point of that name; its name as the survey index formats it becomes current.
int readPointByName(const char* name, int slot);
