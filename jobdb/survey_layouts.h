// Layouts of the records that the job database layer reads. For jobdb/ and tests.
#pragma once

#include "jobdb/layout.h"

constexpr int POINT_FIELDS = 26;
constexpr int SURVEY_CHAIN_FIELDS = 11;
constexpr int POINT_LIST_FIELDS = 2;
constexpr int FEATURE_FIELDS = 2;

// Second key of a feature record: a code, then the feature text.
constexpr int FEATURE_KEY_ROOM = 41;
constexpr int FEATURE_CODE_LENGTH = 3;
constexpr int FEATURE_INDEX = 3;

// Builds the four layouts of the layer in jobdbState.
void buildSurveyLayouts();
