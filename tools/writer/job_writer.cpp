#include "tools/writer/job_writer.h"

#include "cogo/cogo_state.h"
#include "cogo/keys.h"
#include "platform/path_text.h"
#include "records/record_image.h"
#include "records/records_state.h"
#include "survey/point_name.h"
#include "survey/survey_state.h"

#include <algorithm>

constexpr int FIRST_RECORD_NUMBER = 1;
constexpr uint8_t POINT_TYPE_BYTE = 5;  // what other programs store with points
constexpr uint8_t SURVEY_TYPE_BYTE = 0; // and with survey chains and point lists
constexpr char FEATURE_CODE[] = "F01";
static_assert(sizeof FEATURE_CODE == FEATURE_CODE_LENGTH + 1);
constexpr char PROFILE_SECONDARY_KEY[] = "1";

// Parts of an entry of a point block, behind its code.
constexpr int ENTRY_FIRST = 8;
constexpr int ENTRY_SECOND = 16;

// A profile header is only ever looked up, and holds its key alone.
constexpr LayoutRow PROFILE_HEADER_ROWS[] = {
    {"record key", TYPE_TEXT, TYPE_TEXT, UNIQUE_KEY, RECORD_KEY_INDEX, RECORD_KEY_ROOM, 1,
     recordsState.recordKey.text},
};

// -- Files -------------------------------------------------------------------

std::vector<uint8_t> emptyJobBytes()
{
    std::vector<uint8_t> bytes(FIRST_PAGE_OFFSET + NODE_PAGE_SIZE, 0);
    FileHeader header = {};
    header.height = 1;
    header.nextFreePage = 1;
    header.sequenceCounter = FIRST_RECORD_NUMBER;
    header.pagesInFile = 1;
    encodeHeader(bytes.data(), &header);

    uint8_t leaf[NODE_BUFFER_SIZE];
    initNode(leaf, 0, 0);
    std::copy(leaf, leaf + NODE_PAGE_SIZE, &bytes[FIRST_PAGE_OFFSET]);
    return bytes;
}

int openJobWriter(JobWriter* job, const std::string& path, char mode)
{
    buildCogoLayouts();
    buildSurveyLayouts();
    setFormatVersion(true, CURRENT_FORMAT_VERSION);
    return recordOpen(&job->records, libraryPath(path).c_str(), job->recordBuffer,
                      sizeof job->recordBuffer, mode);
}

int closeJobWriter(JobWriter* job) { return recordClose(&job->records); }

// -- Helpers -----------------------------------------------------------------

// Adds what the layout's variables hold as a record of the type.
static int addRecord(JobWriter* job, LayoutEntry* layout, int typeByte)
{
    job->records.recordTypeByte = static_cast<uint8_t>(typeByte);
    return recordAdd(&job->records, layout);
}

// Sets the record key under which the next record is added.
static void setNextKey(const char* tag, const char* name, const char* qualifierA = "",
                       const char* qualifierC = "")
{
    KeyComponents parts = keyComponents(tag, name, qualifierA, qualifierC);
    setRecordKey(buildKey(&parts).text);
}

// Stores the text with its terminator. Returns IX_OK or IX_TEXT_TOO_LONG.
static int setText(char* to, size_t room, const std::string& text)
{
    if (text.size() >= room) return IX_TEXT_TOO_LONG;
    copyText(to, room, text.c_str());
    return IX_OK;
}

// Stores the numbers as number texts, which points and survey chains share. Returns IX_OK or
// IX_TEXT_TOO_LONG.
static int setNumberTexts(const int32_t* numbers, int count)
{
    for (int i = 0; i < count; ++i) {
        int result =
            setText(surveyState.numberTexts[i], NUMBER_TEXT_ROOM, std::to_string(numbers[i]));
        if (result != IX_OK) return result;
    }
    return IX_OK;
}

// Adds the feature record of a point or survey chain, if there is a feature text.
static int addFeature(JobWriter* job, const char* tag, int kind, const char* name,
                      const char* featureText)
{
    if (featureText == nullptr) return IX_OK;
    setNextKey(tag, name);
    int result =
        setText(surveyState.featureKey, FEATURE_KEY_ROOM, std::string(FEATURE_CODE) + featureText);
    if (result != IX_OK) return result;
    return addRecord(job, surveyState.featureLayout, kind);
}

// Adds the extension record of a line or profile, if there is one.
static int addExtension(JobWriter* job, const char* name, const char* extends,
                        const ExtensionResult* extension)
{
    if (extension == nullptr) return IX_OK;
    cogoState.extension = *extension;
    setNextKey(TAG_EXTENSION, name, EXTENSION_MEMBER, extends);
    return addRecord(job, cogoState.extensionLayout, KIND_EXTENSION);
}

// -- Survey records ----------------------------------------------------------

int addPoint(JobWriter* job, const char* name, const PointRecord& record, const char* featureText)
{
    surveyState.point = record;
    int result = buildPointNameKey(surveyState.point.name, name);
    if (result == IX_OK) result = setNumberTexts(record.numbers, 3);
    if (result == IX_OK) result = addRecord(job, surveyState.pointLayout, POINT_TYPE_BYTE);
    if (result != IX_OK) return result;
    return addFeature(job, TAG_POINT_FEATURE, KIND_POINT_FEATURE, name, featureText);
}

int addSurveyChain(JobWriter* job, const char* name, const SurveyChainRecord& record,
                   const std::string& pointList, const char* featureText)
{
    surveyState.surveyChain = record;
    int result = setText(surveyState.surveyChain.name, SURVEY_NAME_ROOM, name);
    if (result == IX_OK) result = setNumberTexts(record.numbers, 2);
    if (result == IX_OK) result = addRecord(job, surveyState.surveyChainLayout, SURVEY_TYPE_BYTE);
    if (result != IX_OK) return result;

    copyText(surveyState.pointList.name, SURVEY_NAME_ROOM, name);
    result = setText(surveyState.pointList.pointList, POINT_LIST_ROOM, pointList);
    if (result == IX_OK) result = addRecord(job, surveyState.pointListLayout, SURVEY_TYPE_BYTE);
    if (result != IX_OK) return result;
    return addFeature(job, TAG_SURVEY_CHAIN_FEATURE, KIND_SURVEY_CHAIN_FEATURE, name, featureText);
}

// -- COGO records ------------------------------------------------------------

int addCurve(JobWriter* job, const char* name, const CurveResult& curve)
{
    cogoState.curve = curve;
    setNextKey(TAG_CURVE, name);
    return addRecord(job, cogoState.curveLayout, KIND_CURVE);
}

int addSpiral(JobWriter* job, const char* name, const SpiralResult& spiral)
{
    cogoState.spiral = spiral;
    setNextKey(TAG_SPIRAL, name);
    return addRecord(job, cogoState.spiralLayout, KIND_SPIRAL);
}

int addLine(JobWriter* job, const char* name, const LineResult& line,
            const ExtensionResult* extension)
{
    cogoState.line = line;
    setNextKey(TAG_LINE, name);
    int result = addRecord(job, cogoState.lineLayout, KIND_LINE);
    if (result != IX_OK) return result;
    return addExtension(job, name, EXTENDS_LINE, extension);
}

int addChainMember(JobWriter* job, const char* name, int member, const std::string& share,
                   const ChainResult& attributes)
{
    cogoState.chain = attributes;
    int result = setText(cogoState.chain.description, sizeof cogoState.chain.description, share);
    if (result != IX_OK) return result;
    setNextKey(TAG_CHAIN, member > 0 ? continuationName(name, member).text : name);
    return addRecord(job, cogoState.chainLayout, KIND_CHAIN);
}

int addChain(JobWriter* job, const char* name, const std::string& description,
             const ChainResult& attributes)
{
    size_t share = static_cast<size_t>(cogoState.chainLayout[CHAIN_DESCRIPTION_FIELD].length) - 1;
    size_t members = 1;
    while (members <= CHAIN_CONTINUATIONS && canContinue(name, static_cast<int>(members)))
        ++members;
    if (description.size() > share * members) return IX_TEXT_TOO_LONG;

    int result = addChainMember(job, name, 0, description.substr(0, share), attributes);
    int member = 1;
    for (size_t at = share; at < description.size() && result == IX_OK; at += share) {
        result = addChainMember(job, name, member++, description.substr(at, share), {});
    }
    return result;
}

int addOlderChain(JobWriter* job, const char* name, const std::string& description,
                  const ChainResult& attributes)
{
    cogoState.olderChain = attributes;
    int result = setText(cogoState.olderChain.description, CHAIN_DESCRIPTION_ROOM, description);
    if (result != IX_OK) return result;
    setNextKey(TAG_CHAIN, name);
    return addRecord(job, cogoState.olderChainLayout, KIND_CHAIN);
}

// Adds a data record of the profile, with at most MAX_PROFILE_ENTRIES entries.
static int addProfileData(JobWriter* job, const char* name, const ProfileEntry* entries, int count)
{
    std::fill(std::begin(cogoState.pointBlock), std::end(cogoState.pointBlock), uint8_t{0});
    uint8_t* point = cogoState.pointBlock;
    for (int i = 0; i < count; ++i, point += PROFILE_POINT_SIZE) {
        storeInt32(point, entries[i].code);
        storeDouble(point + ENTRY_FIRST, entries[i].first);
        storeDouble(point + ENTRY_SECOND, entries[i].second);
    }
    cogoState.profileDataLayout[PROFILE_BLOCK_FIELD].length =
        static_cast<int16_t>(count * PROFILE_POINT_SIZE);
    copyText(cogoState.profileSecondaryKey, PROFILE_SECONDARY_KEY_ROOM, PROFILE_SECONDARY_KEY);
    setNextKey(TAG_PROFILE_DATA, name);
    return addRecord(job, cogoState.profileDataLayout, KIND_PROFILE_DATA);
}

int addProfile(JobWriter* job, const char* name, const ProfileEntry* entries, int entryCount,
               const ExtensionResult* extension)
{
    LayoutEntry headerLayout[2];
    buildLayout(headerLayout, PROFILE_HEADER_ROWS, std::ssize(PROFILE_HEADER_ROWS));
    setNextKey(TAG_PROFILE, name);
    int result = addRecord(job, headerLayout, KIND_PROFILE);
    for (int at = 0; at < entryCount && result == IX_OK; at += MAX_PROFILE_ENTRIES) {
        int count = std::min(entryCount - at, MAX_PROFILE_ENTRIES);
        result = addProfileData(job, name, entries + at, count);
    }
    if (result != IX_OK) return result;
    return addExtension(job, name, EXTENDS_PROFILE, extension);
}

int addVersionCounter(JobWriter* job, int32_t counter)
{
    cogoState.versionCounter = counter;
    setNextKey(TAG_VERSION, VERSION_NAME);
    return addRecord(job, cogoState.versionLayout, KIND_VERSION);
}

// -- Images alone ------------------------------------------------------------

int packProfileHeader(uint8_t* image, int room, const char* name)
{
    LayoutEntry headerLayout[2];
    buildLayout(headerLayout, PROFILE_HEADER_ROWS, std::ssize(PROFILE_HEADER_ROWS));
    setNextKey(TAG_PROFILE, name);
    return packRecord(image, headerLayout, KIND_PROFILE, room);
}

int packVersionCounter(uint8_t* image, int room, int32_t counter)
{
    cogoState.versionCounter = counter;
    setNextKey(TAG_VERSION, VERSION_NAME);
    return packRecord(image, cogoState.versionLayout, KIND_VERSION, room);
}
