// Feature records: COGO records under the name of a point or survey chain that carry
// its feature text behind a code of three characters.
#include "cogo/cogo.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"
#include "jobdb/jobdb_state.h"

#include <cstring>

constexpr char TAG_POINT_FEATURE[] = "POF";
constexpr char TAG_SURVEY_CHAIN_FEATURE[] = "SCF";

// Why a feature record could not be read.
constexpr int FEATURE_MISSING = 1;
constexpr int FEATURE_OTHER_LAYOUT = 2;
constexpr int FEATURE_DAMAGED = 3;
constexpr int FEATURE_UNREADABLE = 4;

static int findFeatureRecord(const char* tag, const char* name, int slot)
{
    setKeyComponents(tag, name, "", "", "");
    buildKey();
    const int result = recordFind(slotContext(slot), RECORD_KEY_INDEX, recordKeyBuffer(),
                                  RECORD_FIND_IGNORED, MATCH_EXACT);
    return result == IX_OK ? SURVEY_OK : SURVEY_FAILED;
}

static int readFeatureRecord(char* answer, int slot)
{
    const int result = readCurrentRecord(slotContext(slot), jobdbState.featureLayout);
    if (result == IX_NOT_FOUND) return FEATURE_MISSING;
    if (result == IX_OTHER_LAYOUT) return FEATURE_OTHER_LAYOUT;
    if (result == IX_DAMAGED_IMAGE) return FEATURE_DAMAGED;
    if (result != IX_OK) return FEATURE_UNREADABLE;
    splitKey();

    // The first byte of the text may be where a name of full length would end.
    const char* key = jobdbState.featureKey;
    const bool hasText = std::strlen(key) > FEATURE_CODE_LENGTH;
    copyText(answer, FEATURE_TEXT + 1, currentName());
    copyText(answer + FEATURE_TEXT, FEATURE_ANSWER_ROOM - FEATURE_TEXT,
             hasText ? key + FEATURE_CODE_LENGTH : "");
    return SURVEY_OK;
}

static int readFeatureOfKind(char* answer, int kind, int slot)
{
    const int failure = readFeatureRecord(answer, slot);
    if (failure != SURVEY_OK) return failure;
    return slotContext(slot)->recordTypeByte == kind ? SURVEY_OK : SURVEY_FAILED;
}

int findPointFeature(const char* name, int slot)
{
    return findFeatureRecord(TAG_POINT_FEATURE, name, slot);
}

int findSurveyChainFeature(const char* name, int slot)
{
    return findFeatureRecord(TAG_SURVEY_CHAIN_FEATURE, name, slot);
}

int readPointFeature(char* answer, int slot)
{
    return readFeatureOfKind(answer, KIND_POINT_FEATURE, slot);
}

int readSurveyChainFeature(char* answer, int slot)
{
    return readFeatureOfKind(answer, KIND_SURVEY_CHAIN_FEATURE, slot);
}
