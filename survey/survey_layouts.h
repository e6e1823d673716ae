// Layouts of the records that survey/ reads. For survey/, tools/check and tests.
#pragma once

#include "records/records.h"

constexpr int POINT_FIELDS = 26;
constexpr int SURVEY_CHAIN_FIELDS = 11;
constexpr int POINT_LIST_FIELDS = 2;
constexpr int FEATURE_FIELDS = 2;

// The second key of a feature record holds a code and behind it the feature text.
constexpr int FEATURE_KEY_ROOM = 41;
constexpr int FEATURE_CODE_LENGTH = 3;
constexpr int FEATURE_INDEX = 3;

// readRecordAtKey, with its result as a result of survey/: SURVEY_OK or SURVEY_RECORD_...
int readThroughLayout(RecordFile* job, const LayoutPlan* plan, int keyField);
