#include "survey/survey_layouts.h"

#include "survey/survey.h"
#include "survey/survey_state.h"

#include <iterator>

// Rows: field, type, key flag, duplicates flag, index, length, count, variable. The
// text widths are the file's; each variable has room for them.
// clang-format off
constexpr LayoutRow POINT_ROWS[] = {
    {"set text",           'S', 'S', 'D', POINT_SET_INDEX,           30,   1, surveyState.point.setText},
    {"point name key",     'S', 'S', 'U', POINT_NAME_INDEX,          16,   1, surveyState.point.name},
    {"first note",         'S', 'N', 'N', 0,                         256,  1, surveyState.point.firstNote},
    {"long text",          'S', 'N', 'N', 0,                         1000, 1, surveyState.point.longText},
    {"integer 1",          'I', 'N', 'N', 0,                         4,    1, &surveyState.point.integer1},
    {"reals 1 to 3",       'D', 'N', 'N', 0,                         8,    3, surveyState.point.reals},
    {"first number text",  'S', 'S', 'D', POINT_NUMBER_INDEX,        9,    1, surveyState.numberTexts[0]},
    {"second number text", 'S', 'S', 'D', POINT_SECOND_NUMBER_INDEX, 9,    1, surveyState.numberTexts[1]},
    {"third number text",  'S', 'N', 'N', 0,                         9,    1, surveyState.numberTexts[2]},
    {"second note",        'S', 'N', 'N', 0,                         256,  1, surveyState.point.secondNote},
    {"integers 2 to 7",    'I', 'N', 'N', 0,                         4,    6, surveyState.point.integers2To7},
    {"code text",          'S', 'N', 'N', 0,                         10,   1, surveyState.point.codeText},
    {"real 4",             'D', 'N', 'N', 0,                         8,    1, &surveyState.point.real4},
    {"integer 8",          'I', 'N', 'N', 0,                         4,    1, &surveyState.point.integer8},
    {"long integer",       'L', 'N', 'N', 0,                         4,    1, &surveyState.point.longInteger},
    {"texts 1 to 4",       'S', 'N', 'N', 0,                         250,  4, surveyState.point.texts},
};

constexpr LayoutRow SURVEY_CHAIN_ROWS[] = {
    {"set text",           'S', 'S', 'D', SURVEY_CHAIN_SET_INDEX,           30,  1, surveyState.surveyChain.setText},
    {"survey chain name",  'S', 'S', 'U', SURVEY_CHAIN_INDEX,               16,  1, surveyState.surveyChain.name},
    {"note",               'S', 'N', 'N', 0,                                256, 1, surveyState.surveyChain.note},
    {"real",               'D', 'N', 'N', 0,                                8,   1, &surveyState.surveyChain.real},
    {"first number text",  'S', 'S', 'D', SURVEY_CHAIN_NUMBER_INDEX,        9,   1, surveyState.numberTexts[0]},
    {"second number text", 'S', 'S', 'D', SURVEY_CHAIN_SECOND_NUMBER_INDEX, 9,   1, surveyState.numberTexts[1]},
    {"integers 1 to 4",    'I', 'N', 'N', 0,                                4,   4, surveyState.surveyChain.integers},
    {"long integer",       'L', 'N', 'N', 0,                                4,   1, &surveyState.surveyChain.longInteger},
};

constexpr LayoutRow POINT_LIST_ROWS[] = {
    {"survey chain name",  'S', 'S', 'D', POINT_LIST_INDEX, 16,   1, surveyState.pointList.name},
    {"point list text",    'S', 'N', 'N', 0,                2501, 1, surveyState.pointList.pointList},
};

// The record key is the shared one of the COGO records, which start-up enters.
constexpr LayoutRow FEATURE_ROWS[] = {
    {"record key",         'S', 'S', 'D', RECORD_KEY_INDEX, 41, 1, nullptr},
    {"feature key",        'S', 'S', 'D', FEATURE_INDEX,    41, 1, surveyState.featureKey},
};
// clang-format on

static_assert(layoutFields(POINT_ROWS) == POINT_FIELDS);
static_assert(layoutFields(SURVEY_CHAIN_ROWS) == SURVEY_CHAIN_FIELDS);
static_assert(layoutFields(POINT_LIST_ROWS) == POINT_LIST_FIELDS);
static_assert(layoutFields(FEATURE_ROWS) == FEATURE_FIELDS);

static_assert(rowFits(POINT_ROWS[0], sizeof(PointRecord::setText)));
static_assert(rowFits(POINT_ROWS[1], sizeof(PointRecord::name)));
static_assert(rowFits(POINT_ROWS[2], sizeof(PointRecord::firstNote)));
static_assert(rowFits(POINT_ROWS[3], sizeof(PointRecord::longText)));
static_assert(rowFits(POINT_ROWS[5], sizeof(PointRecord::reals)));
static_assert(rowFits(POINT_ROWS[6], sizeof(SurveyState::numberTexts[0])));
static_assert(rowFits(POINT_ROWS[7], sizeof(SurveyState::numberTexts[1])));
static_assert(rowFits(POINT_ROWS[8], sizeof(SurveyState::numberTexts[2])));
static_assert(rowFits(POINT_ROWS[9], sizeof(PointRecord::secondNote)));
static_assert(rowFits(POINT_ROWS[10], sizeof(PointRecord::integers2To7)));
static_assert(rowFits(POINT_ROWS[11], sizeof(PointRecord::codeText)));
static_assert(rowFits(POINT_ROWS[15], sizeof(PointRecord::texts)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[0], sizeof(SurveyChainRecord::setText)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[1], sizeof(SurveyChainRecord::name)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[2], sizeof(SurveyChainRecord::note)));
static_assert(rowFits(SURVEY_CHAIN_ROWS[4], sizeof(SurveyState::numberTexts[0])));
static_assert(rowFits(SURVEY_CHAIN_ROWS[5], sizeof(SurveyState::numberTexts[1])));
static_assert(rowFits(SURVEY_CHAIN_ROWS[6], sizeof(SurveyChainRecord::integers)));
static_assert(rowFits(POINT_LIST_ROWS[0], sizeof(PointListRecord::name)));
static_assert(rowFits(POINT_LIST_ROWS[1], sizeof(PointListRecord::pointList)));
static_assert(rowFits(FEATURE_ROWS[0], RECORD_KEY_ROOM));
static_assert(rowFits(FEATURE_ROWS[1], sizeof(SurveyState::featureKey)));

int readThroughLayout(RecordFile* job, const LayoutPlan* plan, int keyField)
{
    switch (readRecordAtKey(job, plan, keyField)) {
    case IX_OK:
        return SURVEY_OK;
    case IX_NOT_FOUND:
        return SURVEY_RECORD_MISSING;
    case IX_OTHER_LAYOUT:
        return SURVEY_RECORD_OTHER_LAYOUT;
    case IX_DAMAGED_IMAGE:
        return SURVEY_RECORD_DAMAGED;
    default:
        return SURVEY_RECORD_UNREADABLE;
    }
}

void buildSurveyLayouts()
{
    buildLayout(surveyState.pointLayout, POINT_ROWS, std::ssize(POINT_ROWS));
    buildLayout(surveyState.surveyChainLayout, SURVEY_CHAIN_ROWS, std::ssize(SURVEY_CHAIN_ROWS));
    buildLayout(surveyState.pointListLayout, POINT_LIST_ROWS, std::ssize(POINT_LIST_ROWS));
    buildLayout(surveyState.featureLayout, FEATURE_ROWS, std::ssize(FEATURE_ROWS));
    surveyState.featureLayout[0].value = recordKeyBuffer();

    surveyState.pointPlan = planLayout(surveyState.pointLayout);
    surveyState.surveyChainPlan = planLayout(surveyState.surveyChainLayout);
    surveyState.pointListPlan = planLayout(surveyState.pointListLayout);
    surveyState.featurePlan = planLayout(surveyState.featureLayout);
}
