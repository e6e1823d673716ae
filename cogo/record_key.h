// Record keys: the 39 characters under which every COGO record is filed.
//
//   position width  field
//          0     3  blanks
//          3     3  record tag     the kind of the record
//          6    20  element name
//         26     3  qualifier A    number of the record within its family
//         29     2  qualifier B
//         31     8  qualifier C    tag of the element that an extension extends
// Each field is left-aligned, cut to its width and padded with blanks.
//
// For cogo/ alone: cogo.h tells what others may use of it.
#pragma once

#include "cogo/cogo.h"

constexpr int KEY_TAG = 3;
constexpr int KEY_NAME = 6;
constexpr int KEY_QUALIFIER_A = 26;
constexpr int KEY_QUALIFIER_B = 29;
constexpr int KEY_QUALIFIER_C = 31;
constexpr int KEY_LENGTH = 39;
constexpr int QUALIFIER_A_LENGTH = 3;
constexpr int QUALIFIER_B_LENGTH = 2;
constexpr int QUALIFIER_C_LENGTH = 8;
static_assert(KEY_TAG + TAG_LENGTH == KEY_NAME);
static_assert(KEY_NAME + ELEMENT_NAME_LENGTH == KEY_QUALIFIER_A);
static_assert(KEY_QUALIFIER_A + QUALIFIER_A_LENGTH == KEY_QUALIFIER_B);
static_assert(KEY_QUALIFIER_B + QUALIFIER_B_LENGTH == KEY_QUALIFIER_C);
static_assert(KEY_QUALIFIER_C + QUALIFIER_C_LENGTH == KEY_LENGTH);
static_assert(KEY_LENGTH < RECORD_KEY_ROOM);

constexpr char TAG_CHAIN[] = "CHA";
constexpr char TAG_CURVE[] = "CUR";
constexpr char TAG_LINE[] = "LIN";
constexpr char TAG_SPIRAL[] = "SPI";
constexpr char TAG_NUMBERED[] = "PTR";
constexpr char TAG_PROFILE[] = "PH2";
constexpr char TAG_PROFILE_DATA[] = "PD2";
constexpr char TAG_VERSION[] = "VER";
constexpr char TAG_EXTENSION[] = "OVR";

// Qualifiers of extension records.
constexpr char EXTENSION_MEMBER[] = "1";
constexpr char EXTENDS_LINE[] = "LIN";
constexpr char EXTENDS_PROFILE[] = "PRO";

// Continuation names are cut to this, so the names of chains longer than 15
// characters lose part of the suffix.
constexpr int CONTINUATION_NAME_LENGTH = 19;

// Kind number of a tag, KIND_NONE when it stands for none.
int kindOfTag(const char* tag);

// The key string at the current position of RECORD_KEY_INDEX, in the context; it
// holds until the next operation there.
const char* keyAtPosition(int slot);

// Takes the key at the current position over into record key and components.
void loadCurrentKey(int slot);

// Likewise; loads the secondary key of the profile data too. The kind of the record.
int kindOfCurrent(int slot);

// Looks the record key up that buildKey or loadCurrentKey left. COGO_OK or
// COGO_FAILED.
int findByName(int slot);

// True when the last lookup or step ended with a failure of the engine, which does not
// tell that there is no such record.
bool lookupFailed(int slot);

// Positions on the record after the current one. COGO_OK with its key in the
// components, or COGO_FAILED.
int stepNext(int slot);

// Takes trailing blanks, tabs and newlines off the text.
void trimEnd(char* text);
