// Points, and the elements made of points: lines and survey chains.
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "cogo/cogo.h"
#include "jobdb/jobdb.h"
#include "platform/heap.h"

#include <cstring>

// Room for so many points is taken at once. It costs nothing while it is not used,
// and lists that fit need no copying.
constexpr int32_t FIRST_POINT_ROOM = 2500;

constexpr char LIST_SEPARATOR = ',';
constexpr char EMPTY_PIECE[] = " "; // passed over, as pieces without a character are
constexpr size_t PIECE_ROOM = 24;   // no point name is longer
constexpr char GAP_NAME[] = "GAP";
constexpr int32_t GAP_MARK = 2; // integer1 of a gap
constexpr int32_t NO_POINT = -1;

// A survey chain while its points are appended.
struct PointArray {
    SurveyChainElement* chain;
    int32_t room;      // of chain->points
    int32_t lastFound; // the point last found by its name, NO_POINT before the first
};

// Fills the point named; IDX_OK or IDX_ERROR.
static int fillNamedPoint(PointElement* point, const char* name, int slot)
{
    if (readPointByName(name, slot) != COGO_OK) return IDX_ERROR;
    return fillPoint(point, slot);
}

// Names come from the line's record: its points and its extension record take the
// place of the current name.
static int fillLine(LineElement* line, int slot)
{
    LineResult result;
    if (findLine(currentName(), slot) != COGO_OK) return IDX_ERROR;
    if (readLine(&result, slot) != COGO_OK) return IDX_ERROR;
    setMember(line->name, result.name);
    setMember(line->beginPointName, result.beginPointName);
    setMember(line->endPointName, result.endPointName);
    setMember(line->secondaryCode, result.secondaryCode);
    setMember(line->noteText, result.noteText);
    if (fillNamedPoint(&line->beginPoint, result.beginPointName, slot) != IDX_OK) return IDX_ERROR;
    return fillNamedPoint(&line->endPoint, result.endPointName, slot);
}

// Keeps one point free behind the next. IDX_OK or IDX_ERROR.
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

// Appends the point that a piece of the list names, or marks the chain when there is
// none or its record cannot be read. IDX_ERROR when there is no room.
static int appendPoint(PointArray* array, const char* name, int slot)
{
    SurveyChainElement* chain = array->chain;
    if (makeRoom(array) != IDX_OK) return IDX_ERROR;
    PointElement* point = &chain->points[chain->pointCount];
    bool isGap = std::strcmp(name, GAP_NAME) == 0;
    if (fillNamedPoint(point, name, slot) == IDX_OK) {
        array->lastFound = chain->pointCount;
    } else if (!isGap) {
        *point = {}; // for the next point
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

// Appends the points of a list of names. IDX_OK or IDX_ERROR.
static int appendPoints(PointArray* array, const char* list, int slot)
{
    const char* piece = list;
    while (piece != nullptr) {
        const char* separator = std::strchr(piece, LIST_SEPARATOR);
        size_t length =
            separator != nullptr ? static_cast<size_t>(separator - piece) : std::strlen(piece);
        char name[PIECE_ROOM] = "";
        if (length < PIECE_ROOM) {
            std::memcpy(name, piece, length);
            bool isEmpty = length == 0 || std::strcmp(name, EMPTY_PIECE) == 0;
            if (!isEmpty && appendPoint(array, name, slot) != IDX_OK) return IDX_ERROR;
        } else {
            array->chain->unresolvedPoints = 1;
        }
        piece = separator != nullptr ? separator + 1 : nullptr;
    }
    return IDX_OK;
}

static int fillSurveyChain(SurveyChainElement* chain, int slot)
{
    SurveyChainRecord record;
    if (readSurveyChainRecord(&record, slot) != SURVEY_OK) return IDX_ERROR;
    setMember(chain->setText, record.setText);
    setMember(chain->name, record.name);
    setMember(chain->note, record.note);
    chain->number1 = record.numbers[0];
    chain->integer4 = record.integers[3];

    char feature[FEATURE_ANSWER_ROOM];
    if (findSurveyChainFeature(record.name, slot) == SURVEY_OK &&
        readSurveyChainFeature(feature, slot) == SURVEY_OK) {
        setMember(chain->featureText, feature + FEATURE_TEXT);
    }

    PointListRecord list;
    if (findChainPointList(record.name, slot) != SURVEY_OK) return IDX_ERROR;
    if (readChainPointList(&list, slot) != SURVEY_OK) return IDX_ERROR;
    PointArray array = {chain, FIRST_POINT_ROOM, NO_POINT};
    return appendPoints(&array, list.pointList, slot);
}

int fillPoint(PointElement* point, int slot)
{
    PointRecord record;
    if (findPoint(currentName(), slot) != SURVEY_OK) return IDX_ERROR;
    if (readPointRecord(&record, slot) != SURVEY_OK) return IDX_ERROR;
    setMember(point->setText, record.setText);
    setMember(point->name, currentName());
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

    char feature[FEATURE_ANSWER_ROOM];
    if (findPointFeature(point->name, slot) == SURVEY_OK &&
        readPointFeature(feature, slot) == SURVEY_OK) {
        setMember(point->featureText, feature + FEATURE_TEXT);
    }
    return IDX_OK;
}

PointElement* buildPoint(int slot)
{
    PointElement* point = static_cast<PointElement*>(allocateZeroed(1, sizeof(PointElement)));
    if (point != nullptr && fillPoint(point, slot) == IDX_OK) return point;
    releaseElement(ELEMENT_POINT, point);
    return nullptr;
}

LineElement* buildLine(int slot)
{
    LineElement* line = static_cast<LineElement*>(allocateZeroed(1, sizeof(LineElement)));
    if (line != nullptr && fillLine(line, slot) == IDX_OK) return line;
    releaseElement(ELEMENT_LINE, line);
    return nullptr;
}

SurveyChainElement* buildSurveyChain(int slot)
{
    SurveyChainElement* chain =
        static_cast<SurveyChainElement*>(allocateZeroed(1, sizeof(SurveyChainElement)));
    if (chain == nullptr) return nullptr;
    chain->points =
        static_cast<PointElement*>(allocateZeroed(FIRST_POINT_ROOM, sizeof(PointElement)));
    if (chain->points != nullptr && fillSurveyChain(chain, slot) == IDX_OK) return chain;
    releaseElement(ELEMENT_SURVEY_CHAIN, chain);
    return nullptr;
}
