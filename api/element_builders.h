// Builders: each turns the element that was reached into an element record. For api/ alone.
//
// Building an element moves the positions of the COGO records, of the point names and of the
// point lists.
#pragma once

#include "api/element_positions.h"
#include "api/element_records.h"

#include <cstddef>
#include <cstdint>

// Fill a structure whose bytes are all zero from the current record, which was found by its name;
// a point gets the name given. Each returns IDX_OK, or IDX_ERROR when the record cannot be read;
// the structure is then not to be used.
int fillPoint(RecordFile* job, const char* name, PointElement* point);
int fillCurve(RecordFile* job, CurveElement* curve);
int fillSpiral(RecordFile* job, SpiralElement* spiral);

// Each returns a new element for the host, or null with nothing left allocated. Points, curves and
// spirals are built from the current record, the one reached.
PointElement* buildPoint(RecordFile* job, const Reached& reached);
LineElement* buildLine(RecordFile* job, const Reached& reached);
CurveElement* buildCurve(RecordFile* job);
SpiralElement* buildSpiral(RecordFile* job);
ChainElement* buildChain(RecordFile* job, const Reached& reached);
ProfileElement* buildProfile(RecordFile* job, const Reached& reached);
SurveyChainElement* buildSurveyChain(RecordFile* job, const Reached& reached);

// Frees an element of the kind with everything it points to; null does nothing.
void releaseElement(uint32_t kind, void* element);

// Sets a character member whose bytes are zero: cut to its width, terminated.
template <size_t WIDTH> void setMember(char (&member)[WIDTH], const char* text)
{
    fillText(member, WIDTH, text);
}
