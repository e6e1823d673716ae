// Points, and the elements made of points: lines and survey chains.
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "platform/platform.h"

#include <cstring>

// A survey chain begins with room for this many points: memory that is not used costs nothing,
// and a list that fits is never copied.
constexpr int32_t FIRST_POINT_ROOM = 2500;

constexpr char LIST_SEPARATOR = ',';
constexpr char BLANK_PIECE[] = " "; // passed over, as a piece without characters is
constexpr size_t PIECE_ROOM = 24;   // no point name is longer
constexpr char GAP_NAME[] = "GAP";
constexpr int32_t GAP_MARK = 2; // integer1 of a gap
constexpr int32_t NO_POINT = -1;

// A survey chain while its points are appended.
struct PointArray {
    RecordFile* job;
    SurveyChainElement* chain;
    int32_t room;      // of chain->points
    int32_t lastFound; // the point last found by its name, NO_POINT before the first
};

// Looks the point up and fills the structure. Returns as fillPoint.
static int fillNamedPoint(RecordFile* job, const char* name, PointElement* point)
{
    ElementName reached;
    if (readPointByName(job, name, &reached) != SURVEY_OK) return IDX_ERROR;
    return fillPoint(job, reached.text, point);
}

static int fillLine(RecordFile* job, const char* name, LineElement* line)
{
    LineResult result;
    if (findLine(job, name) != COGO_OK) return IDX_ERROR;
    if (readLine(job, &result) != COGO_OK) return IDX_ERROR;
    setMember(line->name, result.name);
    setMember(line->beginPointName, result.beginPointName);
    setMember(line->endPointName, result.endPointName);
    setMember(line->secondaryCode, result.secondaryCode);
    setMember(line->noteText, result.noteText);
    if (fillNamedPoint(job, result.beginPointName, &line->beginPoint) != IDX_OK) return IDX_ERROR;
    return fillNamedPoint(job, result.endPointName, &line->endPoint);
}

// Makes room for the next point and one more. Returns IDX_OK or IDX_ERROR.
static int makeRoom(PointArray* array)
{
    SurveyChainElement* chain = array->chain;
    if (chain->pointCount + 1 <= array->room - 1) return IDX_OK;
    size_t bytes = static_cast<size_t>(array->room) * sizeof(PointElement);
    void* grown = reallocate(chain->points, bytes, 2 * bytes);
    if (grown == nullptr) return IDX_ERROR;
    chain->points = static_cast<PointElement*>(grown);
    array->room *= 2;
    return IDX_OK;
}

// Appends the point of that name, or marks the chain when there is none or its record cannot be
// read. Returns IDX_OK, or IDX_ERROR when there is no memory.
static int appendPoint(PointArray* array, const char* name)
{
    SurveyChainElement* chain = array->chain;
    if (makeRoom(array) != IDX_OK) return IDX_ERROR;
    PointElement* point = &chain->points[chain->pointCount];
    bool isGap = std::strcmp(name, GAP_NAME) == 0;
    if (fillNamedPoint(array->job, name, point) == IDX_OK) {
        array->lastFound = chain->pointCount;
    } else if (!isGap) {
        *point = {}; // the next point is filled in its place
        chain->unresolvedPoints = 1;
        return IDX_OK;
    } else if (array->lastFound != NO_POINT) {
        *point = chain->points[array->lastFound];
    }
    if (isGap) {
        point->integer1 = GAP_MARK;
        setMember(point->name, GAP_NAME);
    }
    ++chain->pointCount;
    return IDX_OK;
}

// Appends the point that a piece of the list names. Returns as appendPoint.
static int appendPiece(PointArray* array, const char* piece, size_t length)
{
    if (length >= PIECE_ROOM) {
        array->chain->unresolvedPoints = 1;
        return IDX_OK;
    }
    char name[PIECE_ROOM] = "";
    std::memcpy(name, piece, length);
    if (length == 0 || std::strcmp(name, BLANK_PIECE) == 0) return IDX_OK;
    return appendPoint(array, name);
}

// Appends the points of a list of names. Returns as appendPoint.
static int appendPoints(PointArray* array, const char* list)
{
    const char* piece = list;
    while (piece != nullptr) {
        const char* separator = std::strchr(piece, LIST_SEPARATOR);
        size_t length =
            separator != nullptr ? static_cast<size_t>(separator - piece) : std::strlen(piece);
        if (appendPiece(array, piece, length) != IDX_OK) return IDX_ERROR;
        piece = separator != nullptr ? separator + 1 : nullptr;
    }
    return IDX_OK;
}

// Fills the survey chain whose record is the current one, and appends its points. Returns
// IDX_OK or IDX_ERROR.
static int fillSurveyChain(RecordFile* job, SurveyChainElement* chain)
{
    SurveyChainRecord record;
    if (readSurveyChainRecord(job, &record) != SURVEY_OK) return IDX_ERROR;
    setMember(chain->setText, record.setText);
    setMember(chain->name, record.name);
    setMember(chain->note, record.note);
    chain->number1 = record.numbers[0];
    chain->integer4 = record.integers[3];

    char feature[FEATURE_ROOM];
    if (findSurveyChainFeature(job, record.name) == SURVEY_OK &&
        readSurveyChainFeature(job, feature) == SURVEY_OK) {
        setMember(chain->featureText, feature + FEATURE_TEXT);
    }

    PointListRecord list;
    if (findChainPointList(job, record.name) != SURVEY_OK) return IDX_ERROR;
    if (readChainPointList(job, &list) != SURVEY_OK) return IDX_ERROR;
    PointArray array = {job, chain, FIRST_POINT_ROOM, NO_POINT};
    return appendPoints(&array, list.pointList);
}

int fillPoint(RecordFile* job, const char* name, PointElement* point)
{
    PointRecord record;
    if (findPoint(job, name) != SURVEY_OK) return IDX_ERROR;
    if (readPointRecord(job, &record) != SURVEY_OK) return IDX_ERROR;
    setMember(point->setText, record.setText);
    setMember(point->name, name);
    setMember(point->firstNote, record.firstNote);
    setMember(point->longText, record.longText);
    point->real4 = record.real4;
    point->integer1 = record.integer1;
    point->real1 = record.reals[0];
    point->real2 = record.reals[1];
    point->real3 = record.reals[2];
    point->number1 = record.numbers[0];
    point->integer7 = record.integers2To7[5];
    setMember(point->text1, record.texts[0]);
    setMember(point->text2, record.texts[1]);
    setMember(point->text3, record.texts[2]);
    setMember(point->text4, record.texts[3]);

    char feature[FEATURE_ROOM];
    if (findPointFeature(job, point->name) == SURVEY_OK &&
        readPointFeature(job, feature) == SURVEY_OK) {
        setMember(point->featureText, feature + FEATURE_TEXT);
    }
    return IDX_OK;
}

PointElement* buildPoint(RecordFile* job, const Reached& reached)
{
    PointElement* point = static_cast<PointElement*>(allocateZeroed(1, sizeof(PointElement)));
    if (point != nullptr && fillPoint(job, reached.name.text, point) == IDX_OK) return point;
    releaseElement(ELEMENT_POINT, point);
    return nullptr;
}

LineElement* buildLine(RecordFile* job, const Reached& reached)
{
    LineElement* line = static_cast<LineElement*>(allocateZeroed(1, sizeof(LineElement)));
    if (line != nullptr && fillLine(job, reached.name.text, line) == IDX_OK) return line;
    releaseElement(ELEMENT_LINE, line);
    return nullptr;
}

SurveyChainElement* buildSurveyChain(RecordFile* job, const Reached& reached)
{
    job->currentRecordNumber = reached.recordNumber;
    SurveyChainElement* chain =
        static_cast<SurveyChainElement*>(allocateZeroed(1, sizeof(SurveyChainElement)));
    if (chain == nullptr) return nullptr;
    chain->points =
        static_cast<PointElement*>(allocateZeroed(FIRST_POINT_ROOM, sizeof(PointElement)));
    if (chain->points != nullptr && fillSurveyChain(job, chain) == IDX_OK) return chain;
    releaseElement(ELEMENT_SURVEY_CHAIN, chain);
    return nullptr;
}
