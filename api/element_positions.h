// Positioning the lower floors on an element of a kind. For api/ alone.
#pragma once

#include "cogo/cogo.h"

#include <cstdint>

// The element reached: the name by which its builder looks it up, and the number of its
// record, by which survey chains are built.
struct Reached {
    ElementName name;
    int32_t recordNumber;
};

constexpr int NOT_REACHED = 0;
constexpr int REACHED = 1;

// Kinds are 0 to 6. REACHED with the element, NOT_REACHED when there is none; first steps also
// answer an engine's failure code, which is below 0 and counts as an element without a name.
int positionByName(RecordFile* job, uint32_t kind, const char* name, Reached* reached);
int positionOnFirst(RecordFile* job, uint32_t kind, Reached* reached);
int positionOnNext(RecordFile* job, uint32_t kind, Reached* reached);
