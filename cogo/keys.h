// What the keys of COGO records hold beside tag and element name. For cogo/ alone, and for
// those who write job databases.
#pragma once

#include "records/record_key.h"

// The field of the record key in every COGO layout.
constexpr int KEY_FIELD = 0;

// Qualifiers of extension records.
constexpr char EXTENSION_MEMBER[] = "1";
constexpr char EXTENDS_LINE[] = "LIN";
constexpr char EXTENDS_PROFILE[] = "PRO";

// Continuation names are cut to this, so the names of chains longer than 15
// characters lose part of the suffix.
constexpr int CONTINUATION_NAME_LENGTH = 19;
