#include "jobdb/survey_layouts.h"

#include "cogo/cogo.h"
#include "jobdb/jobdb_state.h"

#include <iterator>

// Rows: field, type, key flag, duplicates flag, index, length, count, variable. The
// text widths are the file's; each variable has room for them.
// clang-format off
constexpr LayoutRow POINT_ROWS[] = {
    {"set text",           'S', 'S', 'D', POINT_SET_INDEX,           30,   1, jobdbState.point.setText},
    {"point name key",     'S', 'S', 'U', POINT_NAME_INDEX,          16,   1, jobdbState.point.name},
    {"first note",         'S', 'N', 'N', 0,                         256,  1, jobdbState.point.firstNote},
    {"long text",          'S', 'N', 'N', 0,                         1000, 1, jobdbState.point.longText},
    {"integer 1",          'I', 'N', 'N', 0,                         4,    1, &jobdbState.point.integer1},
    {"reals 1 to 3",       'D', 'N', 'N', 0,                         8,    3, jobdbState.point.reals},
    {"first number text",  'S', 'S', 'D', POINT_NUMBER_INDEX,        9,    1, jobdbState.numberTexts[0]},
    {"second number text", 'S', 'S', 'D', POINT_SECOND_NUMBER_INDEX, 9,    1, jobdbState.numberTexts[1]},
    {"third number text",  'S', 'N', 'N', 0,                         9,    1, jobdbState.numberTexts[2]},
    {"second note",        'S', 'N', 'N', 0,                         256,  1, jobdbState.point.secondNote},
    {"integers 2 to 7",    'I', 'N', 'N', 0,                         4,    6, jobdbState.point.integers2To7},
    {"code text",          'S', 'N', 'N', 0,                         10,   1, jobdbState.point.codeText},
    {"real 4",             'D', 'N', 'N', 0,                         8,    1, &jobdbState.point.real4},
    {"integer 8",          'I', 'N', 'N', 0,                         4,    1, &jobdbState.point.integer8},
    {"long integer",       'L', 'N', 'N', 0,                         4,    1, &jobdbState.point.longInteger},
    {"texts 1 to 4",       'S', 'N', 'N', 0,                         250,  4, jobdbState.point.texts},
};

constexpr LayoutRow SURVEY_CHAIN_ROWS[] = {
    {"set text",           'S', 'S', 'D', SURVEY_CHAIN_SET_INDEX,           30,  1, jobdbState.surveyChain.setText},
    {"survey chain name",  'S', 'S', 'U', SURVEY_CHAIN_INDEX,               16,  1, jobdbState.surveyChain.name},
    {"note",               'S', 'N', 'N', 0,                                256, 1, jobdbState.surveyChain.note},
    {"real",               'D', 'N', 'N', 0,                                8,   1, &jobdbState.surveyChain.real},
    {"first number text",  'S', 'S', 'D', SURVEY_CHAIN_NUMBER_INDEX,        9,   1, jobdbState.numberTexts[0]},
    {"second number text", 'S', 'S', 'D', SURVEY_CHAIN_SECOND_NUMBER_INDEX, 9,   1, jobdbState.numberTexts[1]},
    {"integers 1 to 4",    'I', 'N', 'N', 0,                                4,   4, jobdbState.surveyChain.integers},
    {"long integer",       'L', 'N', 'N', 0,                                4,   1, &jobdbState.surveyChain.longInteger},
};

constexpr LayoutRow POINT_LIST_ROWS[] = {
    {"survey chain name",  'S', 'S', 'D', POINT_LIST_INDEX, 16,   1, jobdbState.pointList.name},
    {"point list text",    'S', 'N', 'N', 0,                2501, 1, jobdbState.pointList.pointList},
};

// The record key is the shared one of the COGO records, which start-up enters.
constexpr LayoutRow FEATURE_ROWS[] = {
    {"record key",         'S', 'S', 'D', RECORD_KEY_INDEX, 41, 1, nullptr},
    {"feature key",        'S', 'S', 'D', FEATURE_INDEX,    41, 1, jobdbState.featureKey},
};
// clang-format on

static_assert(layoutFields(POINT_ROWS) == POINT_FIELDS);
static_assert(layoutFields(SURVEY_CHAIN_ROWS) == SURVEY_CHAIN_FIELDS);
static_assert(layoutFields(POINT_LIST_ROWS) == POINT_LIST_FIELDS);
static_assert(layoutFields(FEATURE_ROWS) == FEATURE_FIELDS);

// True when the variables of a row have the bytes that its length and count ask for.
static constexpr bool rowFits(const LayoutRow& row, size_t room)
{
    return static_cast<size_t>(row.length) * static_cast<size_t>(row.count) <= room;
}

static_assert(rowFits(POINT_ROWS[0], sizeof(PointRecord::setText)));
static_assert(rowFits(POINT_ROWS[1], sizeof(PointRecord::name)));
static_assert(rowFits(POINT_ROWS[2], sizeof(PointRecord::firstNote)));
static_assert(rowFits(POINT_ROWS[3], sizeof(PointRecord::longText)));
static_assert(rowFits(POINT_ROWS[5], sizeof(PointRecord::reals)));
static_assert(rowFits(POINT_ROWS[6], sizeof(JobdbState::numberTexts[0])));
static_assert(rowFits(POINT_ROWS[7], sizeof(JobdbState::numberTexts[1])));
static_assert(rowFits(POINT_ROWS[8], sizeof(JobdbState::numberTexts[2])));
static_assert(rowFits(POINT_ROWS[9], sizeof(PointRecord::secondNote)));
static_assert(rowFits(POINT_ROWS[10], sizeof(PointRecord::integers2To7)));
static_assert(rowFits(POINT_ROWS[11], sizeof(PointRecord::codeText)));
static_assert(rowFits(POINT_ROWS[15], sizeof(PointRecord::texts)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[0], sizeof(SurveyChainRecord::setText)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[1], sizeof(SurveyChainRecord::name)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[2], sizeof(SurveyChainRecord::note)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[4], sizeof(JobdbState::numberTexts[0])));
static_assert(rowFits(SURVEY_CHAIN_ROWS[5], sizeof(JobdbState::numberTexts[1])));
static_assert(rowFits(SURVEY_CHAIN_ROWS[6], sizeof(SurveyChainRecord::integers)));
static_assert(rowFits(POINT_LIST_ROWS[0], sizeof(PointListRecord::name)));
static_assert(rowFits(POINT_LIST_ROWS[1], sizeof(PointListRecord::pointList)));
static_assert(rowFits(FEATURE_ROWS[0], RECORD_KEY_ROOM));
static_assert(rowFits(FEATURE_ROWS[1], sizeof(JobdbState::featureKey)));

void buildSurveyLayouts()
{
    buildLayout(jobdbState.pointLayout, POINT_ROWS, std::ssize(POINT_ROWS));
    buildLayout(jobdbState.surveyChainLayout, SURVEY_CHAIN_ROWS, std::ssize(SURVEY_CHAIN_ROWS));
    buildLayout(jobdbState.pointListLayout, POINT_LIST_ROWS, std::ssize(POINT_LIST_ROWS));
    buildLayout(jobdbState.featureLayout, FEATURE_ROWS, std::ssize(FEATURE_ROWS));
    jobdbState.featureLayout[0].value = recordKeyBuffer();
}
