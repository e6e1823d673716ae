// Turning the record on which the lower layers stand into an element record. For
// api/ alone.
//
// The element is that of the current name, and of survey chains that at the
// position of their index. Building it moves the positions of the COGO records, of
// the point names and of the point lists, and changes the current name.
#pragma once

#include "api/element_records.h"
#include "jobdb/text.h"

#include <cstddef>
#include <cstdint>

// Fill a structure whose bytes are all zero. IDX_OK, or IDX_ERROR when a record
// cannot be found or read; the structure is then of no use.
int fillPoint(PointElement* point, int slot);
int fillCurve(CurveElement* curve, int slot);
int fillSpiral(SpiralElement* spiral, int slot);

// Answer a new element for the host, or null with nothing left allocated.
PointElement* buildPoint(int slot);
LineElement* buildLine(int slot);
CurveElement* buildCurve(int slot);
SpiralElement* buildSpiral(int slot);
ChainElement* buildChain(int slot);
ProfileElement* buildProfile(int slot);
SurveyChainElement* buildSurveyChain(int slot);

// Frees an element of the kind with everything it points to; null does nothing.
void releaseElement(uint32_t kind, void* element);

// Sets a character member: cut to its width, terminated, the rest zero.
template <size_t WIDTH> void setMember(char (&member)[WIDTH], const char* text)
{
    copyText(member, WIDTH, text);
}
