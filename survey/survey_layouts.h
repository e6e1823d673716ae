// Layouts of the records that survey/ reads. For survey/ and tests.
#pragma once

#include "records/records.h"

constexpr int POINT_FIELDS = 26;
constexpr int SURVEY_CHAIN_FIELDS = 11;
constexpr int POINT_LIST_FIELDS = 2;
constexpr int FEATURE_FIELDS = 2;

// Second key of a feature record: a code, then the feature text.
constexpr int FEATURE_KEY_ROOM = 41;
constexpr int FEATURE_CODE_LENGTH = 3;
constexpr int FEATURE_INDEX = 3;
