// The element records as tables: which members a record has, in order, and which rows an element
// gives. CSV files and database tables are made from this.
//
// For tools/export/.
#pragma once

#include "orvIdx.h"

#include <cstddef>
#include <span>
#include <string>

enum MemberType { MEMBER_TEXT, MEMBER_INTEGER, MEMBER_FLAG, MEMBER_REAL };

struct RecordMember {
    const char* name;
    MemberType type;
    size_t offset; // from the beginning of the record that it is a member of
    size_t width;
};

constexpr int32_t EVERY_MEMBER_KIND = -1;

// Members that follow each other as columns: those of a row's own record, or of a record in it.
struct MemberGroup {
    const char* prefix; // of the columns' names
    std::span<const RecordMember> members;
    size_t offset;      // of the record that holds the members, in the row's record
    int32_t memberKind; // of the chain members that carry it
};

struct RecordTable {
    const char* name;
    std::span<const MemberGroup> groups;
};

// The tables of the kinds have the numbers of the kinds; those of an element's own list follow.
constexpr int TABLE_CHAIN_MEMBERS = ELEMENT_SURVEY_CHAIN + 1;
constexpr int TABLE_PROFILE_VERTICES = TABLE_CHAIN_MEMBERS + 1;
constexpr int TABLE_SURVEY_CHAIN_POINTS = TABLE_PROFILE_VERTICES + 1;
constexpr int RECORD_TABLES = TABLE_SURVEY_CHAIN_POINTS + 1;
constexpr int NO_TABLE = -1;

const RecordTable& recordTable(int table);

// The members of a point, curve or spiral, which are records of their own in others.
std::span<const RecordMember> membersOf(uint32_t kind);

// Returns the table of the rows that an element of the kind lists, or NO_TABLE.
int listTable(uint32_t kind);

// The rows that an element lists, from first to last: chain members, vertices or points. Null
// where there is none.
const void* firstListed(uint32_t kind, const void* element);
const void* nextListed(uint32_t kind, const void* element, const void* listed);

// Returns the record in a row that holds the members of a group, or null when the row is null or
// carries none.
const void* groupIn(const MemberGroup& group, const void* row);

// The value of a member. A double that is no number is null, and so is what stands in no record.
struct MemberValue {
    MemberType type;
    bool isNull;
    int32_t integer;
    double real;
    std::string text; // UTF-8
};

// Expects the record that holds the member, or null.
MemberValue memberValue(const RecordMember& member, const void* record);
