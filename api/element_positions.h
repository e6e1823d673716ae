// Positioning the floors below on an element of a kind. For api/ alone.
#pragma once

#include "api/call_bracket.h"
#include "cogo/cogo.h"

#include <cstdint>

// The element reached: the name by which its builder looks it up, and the number of its
// record, by which survey chains are built.
struct Reached {
    ElementName name;
    int32_t recordNumber;
};

// Which element of a kind is wanted.
enum Wanted { BY_NAME, FIRST, NEXT };

constexpr int NOT_REACHED = 0;
constexpr int REACHED = 1;

// Positions on an element of one of the kinds 0 to 6; the name counts only for BY_NAME. When
// that has to write, it is done outside the bracket of the call, which is then left.
//
// Returns REACHED with the element, or NOT_REACHED when there is none. A first step may also
// return a failure code of the engine, which is negative: the element then counts, but it has
// no name.
int position(RecordFile* job, CallBracket* call, Wanted wanted, uint32_t kind, const char* name,
             Reached* reached);

// True when the element reached, on which the job still stands, is the one to which its builder
// comes. In a walk another element, or none, may be found by the name.
bool isFoundByName(const RecordFile* job, uint32_t kind, const Reached& reached);
