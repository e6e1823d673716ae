// Points, and the elements made of points: lines and survey chains.
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

constexpr char LIST_SEPARATOR = ',';
constexpr char BLANK_PIECE[] = " "; // passed over, as a piece without characters is
constexpr size_t PIECE_ROOM = 24;   // no point name is longer
constexpr char GAP_NAME[] = "GAP";
constexpr int32_t GAP_MARK = 2; // integer1 of a gap
constexpr int32_t NO_POINT = -1;
constexpr size_t ROOM_AT_LEAST = 1; // so that an array without points is one all the same

// A survey chain while its points are appended, for which there is room.
struct PointArray {
    RecordFile* job;
    SurveyChainElement* chain;
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

// Appends the point of that name, or marks the chain when there is none or its record cannot be
// read.
static void appendPoint(PointArray* array, const char* name)
{
    SurveyChainElement* chain = array->chain;
    PointElement* point = &chain->points[chain->pointCount];
    bool isGap = std::strcmp(name, GAP_NAME) == 0;
    // Whole blocks, for the bytes between the members reach the host too.
    if (fillNamedPoint(array->job, name, point) == IDX_OK) {
        array->lastFound = chain->pointCount;
    } else if (!isGap) {
        std::memset(point, 0, sizeof *point); // the next point is filled in its place
        chain->unresolvedPoints = 1;
        return;
    } else if (array->lastFound != NO_POINT) {
        std::memcpy(point, &chain->points[array->lastFound], sizeof *point);
    }
    if (isGap) {
        point->integer1 = GAP_MARK;
        std::memset(point->name, 0, sizeof point->name);
        setMember(point->name, GAP_NAME);
    }
    ++chain->pointCount;
}

// Appends the point that a piece of the list names.
static void appendPiece(PointArray* array, const char* piece, size_t length)
{
    if (length >= PIECE_ROOM) {
        array->chain->unresolvedPoints = 1;
        return;
    }
    char name[PIECE_ROOM] = "";
    std::memcpy(name, piece, length);
    if (length != 0 && std::strcmp(name, BLANK_PIECE) != 0) appendPoint(array, name);
}

// Appends the points of a list of names. Returns IDX_OK, or IDX_ERROR when it cannot be told
// whether some point exists.
static int appendPieces(PointArray* array, const char* list)
{
    const char* piece = list;
    while (piece != nullptr) {
        const char* separator = std::strchr(piece, LIST_SEPARATOR);
        size_t length =
            separator != nullptr ? static_cast<size_t>(separator - piece) : std::strlen(piece);
        appendPiece(array, piece, length);
        if (fileOf(array->job)->trouble) return IDX_ERROR;
        piece = separator != nullptr ? separator + 1 : nullptr;
    }
    return IDX_OK;
}

// The pieces of a list that have characters.
static size_t pieceCount(const char* list)
{
    size_t count = 0;
    char before = LIST_SEPARATOR;
    for (; *list != '\0'; ++list) {
        count += before == LIST_SEPARATOR && *list != LIST_SEPARATOR ? 1 : 0;
        before = *list;
    }
    return count;
}

// Gives back the room behind the points, but for that of the first. Returns IDX_OK or IDX_ERROR.
static int fitPoints(SurveyChainElement* chain, size_t room)
{
    size_t needed = std::max(static_cast<size_t>(chain->pointCount), ROOM_AT_LEAST);
    if (needed == room) return IDX_OK;
    void* fitted =
        reallocate(chain->points, room * sizeof(PointElement), needed * sizeof(PointElement));
    if (fitted == nullptr) return IDX_ERROR;
    chain->points = static_cast<PointElement*>(fitted);
    return IDX_OK;
}

// Makes the array of the points that a list names. Returns IDX_OK or IDX_ERROR.
static int makePoints(RecordFile* job, SurveyChainElement* chain, const char* list)
{
    size_t room = std::max(pieceCount(list), ROOM_AT_LEAST);
    chain->points = static_cast<PointElement*>(allocateZeroed(room, sizeof(PointElement)));
    if (chain->points == nullptr) return IDX_ERROR;
    PointArray array = {job, chain, NO_POINT};
    if (appendPieces(&array, list) != IDX_OK) return IDX_ERROR;
    return fitPoints(chain, room);
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
    return makePoints(job, chain, list.pointList);
}

int fillPoint(RecordFile* job, const char* name, PointElement* point)
{
    const PointRecord* record = readPointRecord(job);
    if (record == nullptr) return IDX_ERROR;
    setMember(point->setText, record->setText);
    setMember(point->name, name);
    setMember(point->firstNote, record->firstNote);
    setMember(point->longText, record->longText);
    point->real4 = record->real4;
    point->integer1 = record->integer1;
    point->real1 = record->reals[0];
    point->real2 = record->reals[1];
    point->real3 = record->reals[2];
    point->number1 = record->numbers[0];
    point->integer7 = record->integers2To7[5];
    setMember(point->text1, record->texts[0]);
    setMember(point->text2, record->texts[1]);
    setMember(point->text3, record->texts[2]);
    setMember(point->text4, record->texts[3]);

    char feature[FEATURE_ROOM];
    if (findPointFeature(job, point->name) == SURVEY_OK &&
        readPointFeature(job, feature) == SURVEY_OK) {
        setMember(point->featureText, feature + FEATURE_TEXT);
    }
    // Without a feature only when there is none, or a damaged one.
    return fileOf(job)->trouble ? IDX_ERROR : IDX_OK;
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
    if (chain != nullptr && fillSurveyChain(job, chain) == IDX_OK) return chain;
    releaseElement(ELEMENT_SURVEY_CHAIN, chain);
    return nullptr;
}
