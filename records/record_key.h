// Record keys: the 39 characters under which every COGO record is filed, and the kinds of
// records that their tags stand for. Part of the boundary records.h.
//
//   position width  field
//          0     3  blanks
//          3     3  record tag     the kind of the record
//          6    20  element name
//         26     3  qualifier A    number of the record within its family
//         29     2  qualifier B
//         31     8  qualifier C    tag of the element that an extension extends
// Each field is left-aligned, cut to its width and padded with blanks.
#pragma once

#include "records/record_file.h"

constexpr int TAG_LENGTH = 3;
constexpr int ELEMENT_NAME_LENGTH = 20;
constexpr int QUALIFIER_A_LENGTH = 3;
constexpr int QUALIFIER_B_LENGTH = 2;
constexpr int QUALIFIER_C_LENGTH = 8;

constexpr int KEY_TAG = 3;
constexpr int KEY_NAME = KEY_TAG + TAG_LENGTH;
constexpr int KEY_QUALIFIER_A = KEY_NAME + ELEMENT_NAME_LENGTH;
constexpr int KEY_QUALIFIER_B = KEY_QUALIFIER_A + QUALIFIER_A_LENGTH;
constexpr int KEY_QUALIFIER_C = KEY_QUALIFIER_B + QUALIFIER_B_LENGTH;
constexpr int KEY_LENGTH = KEY_QUALIFIER_C + QUALIFIER_C_LENGTH;
static_assert(KEY_LENGTH == 39);

constexpr int ELEMENT_NAME_ROOM = ELEMENT_NAME_LENGTH + 1;
constexpr int RECORD_KEY_ROOM = 41; // of the key field of every layout
static_assert(KEY_LENGTH < RECORD_KEY_ROOM);

// Indexes of the COGO records.
constexpr int RECORD_KEY_INDEX = 1;
constexpr int SECONDARY_KEY_INDEX = 2;
constexpr int SECONDARY_CODE_INDEX = 4;

constexpr char TAG_CHAIN[] = "CHA";
constexpr char TAG_CURVE[] = "CUR";
constexpr char TAG_LINE[] = "LIN";
constexpr char TAG_SPIRAL[] = "SPI";
constexpr char TAG_NUMBERED[] = "PTR";
constexpr char TAG_PROFILE[] = "PH2";
constexpr char TAG_PROFILE_DATA[] = "PD2";
constexpr char TAG_POINT_FEATURE[] = "POF";
constexpr char TAG_SURVEY_CHAIN_FEATURE[] = "SCF";
constexpr char TAG_VERSION[] = "VER";
constexpr char TAG_EXTENSION[] = "OVR";

// Kind numbers: the record type byte of an image, and what a tag stands for.
constexpr int KIND_NONE = 0;
constexpr int KIND_CHAIN = 1;
constexpr int KIND_CURVE = 2;
constexpr int KIND_LINE = 3;
constexpr int KIND_SPIRAL = 7;
constexpr int KIND_PROFILE = 18;
constexpr int KIND_PROFILE_DATA = 19;
constexpr int KIND_POINT_FEATURE = 24;
constexpr int KIND_SURVEY_CHAIN_FEATURE = 28;
constexpr int KIND_VERSION = 29;
constexpr int KIND_EXTENSION = 32;

// Kind number of a tag, KIND_NONE when it stands for none.
int kindOfTag(const char* tag);

struct RecordKey {
    char text[RECORD_KEY_ROOM];
};

// The parts of a record key, each terminated.
struct KeyComponents {
    char recordTag[TAG_LENGTH + 1];
    char elementName[ELEMENT_NAME_ROOM];
    char qualifierA[QUALIFIER_A_LENGTH + 1];
    char qualifierB[QUALIFIER_B_LENGTH + 1];
    char qualifierC[QUALIFIER_C_LENGTH + 1];
};

// The components of these texts, each cut to its width; qualifier B is always empty.
KeyComponents keyComponents(const char* tag, const char* name, const char* qualifierA,
                            const char* qualifierC);
// The key of components, and the reverse, which takes white space off the end of each.
RecordKey buildKey(const KeyComponents* parts);
KeyComponents splitKey(const char* key);

// The components of the key at the position of RECORD_KEY_INDEX.
KeyComponents componentsAtPosition(const RecordFile* job);

// The element name alone.
struct KeyName {
    char text[ELEMENT_NAME_ROOM];
};
KeyName nameInKey(const char* key);
KeyName nameAtPosition(const RecordFile* job);

// The buffer of the record key, RECORD_KEY_ROOM bytes. Layouts name it as the variable of
// their key field: every read of a COGO record fills it, and a record is stored under it.
char* recordKeyBuffer();
void setRecordKey(const char* key);

// Looks the record up that is filed under exactly the key. recordFind's answer.
int findByKey(RecordFile* job, const KeyComponents* parts);

// True when the last lookup or step ended with a failure of the engine, which does not
// tell that there is no such record.
bool lookupFailed(const RecordFile* job);
