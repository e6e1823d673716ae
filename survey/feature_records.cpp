// Feature records: COGO records under the name of a point or survey chain that carry
// its feature text behind a code of three characters.
#include "survey/survey.h"
#include "survey/survey_layouts.h"
#include "survey/survey_state.h"

#include <cstring>

static int findFeatureRecord(RecordFile* job, const char* tag, const char* name)
{
    KeyComponents parts = keyComponents(tag, name, "", "");
    return findByKey(job, &parts) == IX_OK ? SURVEY_OK : SURVEY_FAILED;
}

// Fills name and text: the one from the record key, the other from behind the feature code.
static void fillFeature(char* feature)
{
    const char* key = surveyState.featureKey;
    bool hasText = std::strlen(key) > FEATURE_CODE_LENGTH;
    // The first byte of the text may be where a name of full length would end.
    copyText(feature, FEATURE_TEXT + 1, nameInKey(recordKeyBuffer()).text);
    copyText(feature + FEATURE_TEXT, FEATURE_ROOM - FEATURE_TEXT,
             hasText ? key + FEATURE_CODE_LENGTH : "");
}

static int readFeatureOfKind(RecordFile* job, char* feature, int kind)
{
    constexpr int KEY_FIELD = 0;
    int result = readThroughLayout(job, &surveyState.featurePlan, KEY_FIELD);
    if (result != SURVEY_OK) return result;
    fillFeature(feature);
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

int readPointFeature(RecordFile* job, char* feature)
{
    return readFeatureOfKind(job, feature, KIND_POINT_FEATURE);
}

int readSurveyChainFeature(RecordFile* job, char* feature)
{
    return readFeatureOfKind(job, feature, KIND_SURVEY_CHAIN_FEATURE);
}
