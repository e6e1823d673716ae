// Feature records: COGO records under the name of a point or survey chain that carry
// its feature text behind a code of three characters.
#include "survey/survey.h"
#include "survey/survey_state.h"

#include <cstring>

// Why a feature record could not be read.
constexpr int FEATURE_MISSING = 1;
constexpr int FEATURE_OTHER_LAYOUT = 2;
constexpr int FEATURE_DAMAGED = 3;
constexpr int FEATURE_UNREADABLE = 4;

static int findFeatureRecord(RecordFile* job, const char* tag, const char* name)
{
    const KeyComponents parts = keyComponents(tag, name, "", "");
    return findByKey(job, &parts) == IX_OK ? SURVEY_OK : SURVEY_FAILED;
}

static int readFeatureRecord(RecordFile* job, char* answer)
{
    constexpr int KEY_FIELD = 0;
    const int result = readRecordAtKey(job, surveyState.featureLayout, KEY_FIELD);
    if (result == IX_NOT_FOUND) return FEATURE_MISSING;
    if (result == IX_OTHER_LAYOUT) return FEATURE_OTHER_LAYOUT;
    if (result == IX_DAMAGED_IMAGE) return FEATURE_DAMAGED;
    if (result != IX_OK) return FEATURE_UNREADABLE;
    // The first byte of the text may be where a name of full length would end.
    const char* key = surveyState.featureKey;
    const bool hasText = std::strlen(key) > FEATURE_CODE_LENGTH;
    copyText(answer, FEATURE_TEXT + 1, splitKey(recordKeyBuffer()).elementName);
    copyText(answer + FEATURE_TEXT, FEATURE_ANSWER_ROOM - FEATURE_TEXT,
             hasText ? key + FEATURE_CODE_LENGTH : "");
    return SURVEY_OK;
}

static int readFeatureOfKind(RecordFile* job, char* answer, int kind)
{
    const int failure = readFeatureRecord(job, answer);
    if (failure != SURVEY_OK) return failure;
    return job->recordTypeByte == kind ? SURVEY_OK : SURVEY_FAILED;
}

int findPointFeature(RecordFile* job, const char* name)
{
    return findFeatureRecord(job, TAG_POINT_FEATURE, name);
}

int findSurveyChainFeature(RecordFile* job, const char* name)
{
    return findFeatureRecord(job, TAG_SURVEY_CHAIN_FEATURE, name);
}

int readPointFeature(RecordFile* job, char* answer)
{
    return readFeatureOfKind(job, answer, KIND_POINT_FEATURE);
}

int readSurveyChainFeature(RecordFile* job, char* answer)
{
    return readFeatureOfKind(job, answer, KIND_SURVEY_CHAIN_FEATURE);
}
