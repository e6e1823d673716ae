#include "tools/check/known_layouts.h"

#include "cogo/cogo_state.h"
#include "format/format.h"
#include "records/record_image.h"
#include "survey/survey_state.h"

#include <cstring>
#include <string>

// clang-format off
constexpr KnownLayout KNOWN_LAYOUTS[] = {
    // name             layout                         primary index       tags
    {"chain",           cogoState.chainLayout,         RECORD_KEY_INDEX,   {TAG_CHAIN, TAG_NUMBERED}},
    {"older chain",     cogoState.olderChainLayout,    RECORD_KEY_INDEX,   {TAG_CHAIN, nullptr}},
    {"curve",           cogoState.curveLayout,         RECORD_KEY_INDEX,   {TAG_CURVE, nullptr}},
    {"line",            cogoState.lineLayout,          RECORD_KEY_INDEX,   {TAG_LINE, nullptr}},
    {"spiral",          cogoState.spiralLayout,        RECORD_KEY_INDEX,   {TAG_SPIRAL, nullptr}},
    {"extension",       cogoState.extensionLayout,     RECORD_KEY_INDEX,   {TAG_EXTENSION, nullptr}},
    {"version counter", cogoState.versionLayout,       RECORD_KEY_INDEX,   {TAG_VERSION, nullptr}},
    {"profile data",    cogoState.profileDataLayout,   RECORD_KEY_INDEX,   {TAG_PROFILE_DATA, nullptr}},
    {"feature",         surveyState.featureLayout,     RECORD_KEY_INDEX,   {TAG_POINT_FEATURE, TAG_SURVEY_CHAIN_FEATURE}},
    {"point",           surveyState.pointLayout,       POINT_NAME_INDEX,   {nullptr, nullptr}},
    {"survey chain",    surveyState.surveyChainLayout, SURVEY_CHAIN_INDEX, {nullptr, nullptr}},
    {"point list",      surveyState.pointListLayout,   POINT_LIST_INDEX,   {nullptr, nullptr}},
};
// clang-format on

void buildKnownLayouts()
{
    constexpr char NOT_BUILT = 0; // type of the first field in a layout
    if (cogoState.chainLayout[0].type == NOT_BUILT) buildCogoLayouts();
    if (surveyState.pointLayout[0].type == NOT_BUILT) buildSurveyLayouts();
}

std::span<const KnownLayout> knownLayouts() { return KNOWN_LAYOUTS; }

bool isPrimaryKey(const KnownLayout& known, int index, const char* key)
{
    if (index != known.primaryIndex) return false;
    if (known.tags[0] == nullptr) return true;
    if (std::strlen(key) < KEY_TAG + TAG_LENGTH) return false;
    for (const char* tag : known.tags) {
        if (tag != nullptr && std::memcmp(key + KEY_TAG, tag, TAG_LENGTH) == 0) return true;
    }
    return false;
}

const KnownLayout* layoutUnderKey(int signature, int index, const char* key)
{
    for (const KnownLayout& known : KNOWN_LAYOUTS) {
        if (layoutSignature(known.layout) != signature) continue;
        if (isPrimaryKey(known, index, key)) return &known;
    }
    return nullptr;
}

// True when the image is a sound one of the layout and holds a primary key of it.
static bool holdsPrimaryKey(const KnownLayout& known, const uint8_t* image, int length)
{
    if (checkImage(image, known.layout, length) != IX_OK) return false;
    ImageItem item = {};
    ImageWalk walk = startImageWalk(image, known.layout, length);
    while (nextImageItem(&walk, &item)) {
        const LayoutEntry& field = known.layout[item.field];
        if (field.keyFlag == NOT_A_KEY) continue;
        std::string key(reinterpret_cast<const char*>(item.value),
                        static_cast<size_t>(item.length));
        if (isPrimaryKey(known, field.indexNumber, key.c_str())) return true;
    }
    return false;
}

const KnownLayout* layoutOfImage(const uint8_t* image, int length)
{
    for (const KnownLayout& known : KNOWN_LAYOUTS) {
        if (holdsPrimaryKey(known, image, length)) return &known;
    }
    return nullptr;
}
