// An entry's key as searches have it. For tools/check/ and tools/recover/.
#pragma once

#include "format/format.h"

inline SoughtKey keyOf(const uint8_t* entry)
{
    return {entryKey(entry), entryNumber(entry), entrySegment(entry)};
}
