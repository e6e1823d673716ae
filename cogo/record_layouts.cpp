#include "cogo/record_layouts.h"

#include "cogo/cogo_state.h"
#include "cogo/keys.h"

// Rows: field, type, key flag, duplicates flag, index, length, count, variable. The text widths
// are those of the file; each variable has room for them. Start-up enters the record key, which
// all layouts share.
// clang-format off
constexpr LayoutRow CHAIN_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"description text",      'S', 'N', 'N', 0,                    2500, 1,  cogoState.chain.description},
    {"element number",        'L', 'N', 'N', 0,                    4,    1,  &cogoState.chain.elementNumber},
    {"secondary code",        'S', 'S', 'D', SECONDARY_CODE_INDEX, 25,   1,  cogoState.chain.secondaryCode},
    {"note text",             'S', 'N', 'N', 0,                    257,  1,  cogoState.chain.noteText},
};

// The same fields, but the secondary code is no key yet.
constexpr LayoutRow OLDER_CHAIN_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"description text",      'S', 'N', 'N', 0,                    2500, 1,  cogoState.olderChain.description},
    {"element number",        'L', 'N', 'N', 0,                    4,    1,  &cogoState.olderChain.elementNumber},
    {"secondary code",        'S', 'N', 'N', 0,                    25,   1,  cogoState.olderChain.secondaryCode},
    {"note text",             'S', 'N', 'N', 0,                    257,  1,  cogoState.olderChain.noteText},
};

constexpr LayoutRow CURVE_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"curve values 1 to 24",  'D', 'N', 'N', 0,                    8,    24, cogoState.curve.values},
    {"element number",        'L', 'N', 'N', 0,                    4,    1,  &cogoState.curve.elementNumber},
    {"text A",                'S', 'N', 'N', 0,                    250,  1,  cogoState.curve.textA},
    {"text B",                'S', 'N', 'N', 0,                    250,  1,  cogoState.curve.textB},
    {"secondary code",        'S', 'S', 'D', SECONDARY_CODE_INDEX, 25,   1,  cogoState.curve.secondaryCode},
    {"note text",             'S', 'N', 'N', 0,                    257,  1,  cogoState.curve.noteText},
    {"label 1",               'S', 'N', 'N', 0,                    17,   1,  cogoState.curve.label1},
    {"curve values 25, 26",   'D', 'N', 'N', 0,                    8,    2,  cogoState.curve.values25To26},
    {"label 2",               'S', 'N', 'N', 0,                    17,   1,  cogoState.curve.label2},
    {"label 3",               'S', 'N', 'N', 0,                    17,   1,  cogoState.curve.label3},
    {"label 4",               'S', 'N', 'N', 0,                    17,   1,  cogoState.curve.label4},
};

// Number, code and note of a line stand in its extension record.
constexpr LayoutRow LINE_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"line text",             'S', 'N', 'N', 0,                    12,   1,  cogoState.line.lineText},
    {"line value",            'D', 'N', 'N', 0,                    8,    1,  &cogoState.line.value},
    {"begin point name",      'S', 'N', 'N', 0,                    12,   1,  cogoState.line.beginPointName},
    {"end point name",        'S', 'N', 'N', 0,                    12,   1,  cogoState.line.endPointName},
};

// Spiral value 41 has no field: fields 41 to 46 are the values 42 to 47.
constexpr LayoutRow SPIRAL_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"spiral values 1 to 40", 'D', 'N', 'N', 0,                    8,    40, cogoState.spiral.values},
    {"spiral values 42 to 47", 'D', 'N', 'N', 0,                   8,    6,  cogoState.spiral.values + 41},
    {"element number",        'L', 'N', 'N', 0,                    4,    1,  &cogoState.spiral.elementNumber},
    {"text A",                'S', 'N', 'N', 0,                    250,  1,  cogoState.spiral.textA},
    {"secondary code",        'S', 'S', 'D', SECONDARY_CODE_INDEX, 25,   1,  cogoState.spiral.secondaryCode},
    {"note text",             'S', 'N', 'N', 0,                    257,  1,  cogoState.spiral.noteText},
    {"label 1",               'S', 'N', 'N', 0,                    17,   1,  cogoState.spiral.label1},
    {"spiral values 48, 49",  'D', 'N', 'N', 0,                    8,    2,  cogoState.spiral.values48To49},
};

constexpr LayoutRow EXTENSION_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"element number",        'L', 'N', 'N', 0,                    4,    1,  &cogoState.extension.elementNumber},
    {"extension values 1, 2", 'D', 'N', 'N', 0,                    8,    2,  cogoState.extension.values},
    {"extension integers 1, 2", 'I', 'N', 'N', 0,                  4,    2,  cogoState.extension.integers},
    {"secondary code",        'S', 'S', 'D', SECONDARY_CODE_INDEX, 24,   1,  cogoState.extension.secondaryCode},
    {"note text",             'S', 'N', 'N', 0,                    256,  1,  cogoState.extension.noteText},
    {"long text",             'S', 'N', 'N', 0,                    2000, 1,  cogoState.extension.longText},
    {"short text",            'S', 'N', 'N', 0,                    200,  1,  cogoState.extension.shortText},
};

constexpr LayoutRow VERSION_ROWS[] = {
    {"record key",            'S', 'S', 'U', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"counter",               'L', 'N', 'N', 0,                    4,    1,  &cogoState.versionCounter},
};

// All data records of a profile share its key.
constexpr LayoutRow PROFILE_DATA_ROWS[] = {
    {"record key",            'S', 'S', 'D', RECORD_KEY_INDEX,     41,   1,  nullptr},
    {"secondary key",         'S', 'S', 'D', SECONDARY_KEY_INDEX,  9,    1,  cogoState.profileSecondaryKey},
    {"point block",           'B', 'N', 'N', 0,                    2400, 1,  cogoState.pointBlock},
};
// clang-format on

static_assert(layoutFields(CHAIN_ROWS) == CHAIN_FIELDS);
static_assert(layoutFields(OLDER_CHAIN_ROWS) == CHAIN_FIELDS);
static_assert(layoutFields(CURVE_ROWS) == CURVE_FIELDS);
static_assert(layoutFields(LINE_ROWS) == LINE_FIELDS);
static_assert(layoutFields(SPIRAL_ROWS) == SPIRAL_FIELDS);
static_assert(layoutFields(EXTENSION_ROWS) == EXTENSION_FIELDS);
static_assert(layoutFields(VERSION_ROWS) == VERSION_FIELDS);
static_assert(layoutFields(PROFILE_DATA_ROWS) == PROFILE_DATA_FIELDS);

static_assert(rowFits(CHAIN_ROWS[0], sizeof(RecordKey)));
static_assert(rowFits(CHAIN_ROWS[1], sizeof(ChainResult::description)));
static_assert(rowFits(CHAIN_ROWS[3], sizeof(ChainResult::secondaryCode)));
static_assert(rowFits(CHAIN_ROWS[4], sizeof(ChainResult::noteText)));
static_assert(rowFits(OLDER_CHAIN_ROWS[1], sizeof(ChainResult::description)));
static_assert(rowFits(OLDER_CHAIN_ROWS[3], sizeof(ChainResult::secondaryCode)));
static_assert(rowFits(OLDER_CHAIN_ROWS[4], sizeof(ChainResult::noteText)));
static_assert(rowFits(CURVE_ROWS[1], sizeof(CurveResult::values)));
static_assert(rowFits(CURVE_ROWS[3], sizeof(CurveResult::textA)));
static_assert(rowFits(CURVE_ROWS[4], sizeof(CurveResult::textB)));
static_assert(rowFits(CURVE_ROWS[5], sizeof(CurveResult::secondaryCode)));
static_assert(rowFits(CURVE_ROWS[6], sizeof(CurveResult::noteText)));
static_assert(rowFits(CURVE_ROWS[7], sizeof(CurveResult::label1)));
static_assert(rowFits(CURVE_ROWS[8], sizeof(CurveResult::values25To26)));
static_assert(rowFits(CURVE_ROWS[9], sizeof(CurveResult::label2)));
static_assert(rowFits(CURVE_ROWS[10], sizeof(CurveResult::label3)));
static_assert(rowFits(CURVE_ROWS[11], sizeof(CurveResult::label4)));
static_assert(rowFits(LINE_ROWS[1], sizeof(LineResult::lineText)));
static_assert(rowFits(LINE_ROWS[3], sizeof(LineResult::beginPointName)));
static_assert(rowFits(LINE_ROWS[4], sizeof(LineResult::endPointName)));
static_assert(rowFits(SPIRAL_ROWS[1], 40 * sizeof(double)));
static_assert(rowFits(SPIRAL_ROWS[2], sizeof(SpiralResult::values) - 41 * sizeof(double)));
static_assert(rowFits(SPIRAL_ROWS[4], sizeof(SpiralResult::textA)));
static_assert(rowFits(SPIRAL_ROWS[5], sizeof(SpiralResult::secondaryCode)));
static_assert(rowFits(SPIRAL_ROWS[6], sizeof(SpiralResult::noteText)));
static_assert(rowFits(SPIRAL_ROWS[7], sizeof(SpiralResult::label1)));
static_assert(rowFits(SPIRAL_ROWS[8], sizeof(SpiralResult::values48To49)));
static_assert(rowFits(EXTENSION_ROWS[2], sizeof(ExtensionResult::values)));
static_assert(rowFits(EXTENSION_ROWS[3], sizeof(ExtensionResult::integers)));
static_assert(rowFits(EXTENSION_ROWS[4], sizeof(ExtensionResult::secondaryCode)));
static_assert(rowFits(EXTENSION_ROWS[5], sizeof(ExtensionResult::noteText)));
static_assert(rowFits(EXTENSION_ROWS[6], sizeof(ExtensionResult::longText)));
static_assert(rowFits(EXTENSION_ROWS[7], sizeof(ExtensionResult::shortText)));
static_assert(rowFits(PROFILE_DATA_ROWS[1], sizeof(CogoState::profileSecondaryKey)));
static_assert(rowFits(PROFILE_DATA_ROWS[2], sizeof(CogoState::pointBlock)));
static_assert(PROFILE_DATA_ROWS[PROFILE_BLOCK_FIELD].type == TYPE_BLOCK);
static_assert(CHAIN_ROWS[CHAIN_DESCRIPTION_FIELD].value == cogoState.chain.description);

// What a line takes from its extension record fits its own members.
static_assert(EXTENSION_ROWS[4].length <= SECONDARY_CODE_ROOM);
static_assert(EXTENSION_ROWS[5].length <= EXTENSION_NOTE_ROOM);

template <int ROWS>
static LayoutPlan buildKeyedLayout(LayoutEntry* layout, const LayoutRow (&rows)[ROWS])
{
    buildLayout(layout, rows, ROWS);
    layout[KEY_FIELD].value = recordKeyBuffer();
    return planLayout(layout);
}

void buildCogoLayouts()
{
    cogoState.chainPlan = buildKeyedLayout(cogoState.chainLayout, CHAIN_ROWS);
    cogoState.olderChainPlan = buildKeyedLayout(cogoState.olderChainLayout, OLDER_CHAIN_ROWS);
    cogoState.curvePlan = buildKeyedLayout(cogoState.curveLayout, CURVE_ROWS);
    cogoState.linePlan = buildKeyedLayout(cogoState.lineLayout, LINE_ROWS);
    cogoState.spiralPlan = buildKeyedLayout(cogoState.spiralLayout, SPIRAL_ROWS);
    cogoState.extensionPlan = buildKeyedLayout(cogoState.extensionLayout, EXTENSION_ROWS);
    cogoState.versionPlan = buildKeyedLayout(cogoState.versionLayout, VERSION_ROWS);
    cogoState.profileDataPlan = buildKeyedLayout(cogoState.profileDataLayout, PROFILE_DATA_ROWS);
}
