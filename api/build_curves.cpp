// Curves and spirals: tables tell which values of their records become which members.
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "platform/platform.h"

#include <cstddef>

// Value n of a record stands at values[n - 1].
constexpr int FIRST_VALUE = 1;

struct CurveRow {
    double CurveElement::*member;
    int value;
};

// curve10 is not among them: it is the difference of two values.
constexpr CurveRow CURVE_ROWS[] = {
    {&CurveElement::curve1, 11},  {&CurveElement::curve2, 10},  {&CurveElement::curve3, 2},
    {&CurveElement::curve4, 1},   {&CurveElement::curve5, 8},   {&CurveElement::curve6, 7},
    {&CurveElement::curve7, 14},  {&CurveElement::curve8, 12},  {&CurveElement::curve9, 13},
    {&CurveElement::curve11, 3},  {&CurveElement::curve12, 18}, {&CurveElement::curve13, 23},
    {&CurveElement::curve14, 24},
};
constexpr int CURVE10_FROM = 20;
constexpr int CURVE10_TO = 21;

struct SpiralRow {
    double SpiralElement::*member;
    int value;
};

constexpr SpiralRow SPIRAL_ROWS[] = {
    {&SpiralElement::spiral1, 5},   {&SpiralElement::spiral8, 13},  {&SpiralElement::spiral9, 14},
    {&SpiralElement::spiral14, 19}, {&SpiralElement::spiral15, 46}, {&SpiralElement::spiral16, 31},
    {&SpiralElement::spiral17, 32},
};

// Members whose values depend on the spiral type.
constexpr int SPIRAL_TYPE_VALUE = 40;
constexpr int SPIRAL_TYPES = 4;
constexpr int ZERO = 0; // in place of a value: the member is 0.0

struct SpiralTypeRow {
    double SpiralElement::*member;
    int values[SPIRAL_TYPES]; // by type, from type 1
};

// clang-format off
constexpr SpiralTypeRow SPIRAL_TYPE_ROWS[] = {
    // member                     1     2     3   4
    {&SpiralElement::spiral2,  {ZERO,   10,  7, 10}},
    {&SpiralElement::spiral3,  {  10, ZERO, 10,  7}},
    {&SpiralElement::spiral4,  {   1,   22, 22, 22}},
    {&SpiralElement::spiral5,  {   2,   23, 23, 23}},
    {&SpiralElement::spiral6,  {  17,   20, 17, 17}},
    {&SpiralElement::spiral7,  {  18,   21, 18, 18}},
    {&SpiralElement::spiral10, {  42,   44, 42, 44}},
    {&SpiralElement::spiral11, {  43,   45, 43, 45}},
    {&SpiralElement::spiral12, {  44,   42, 44, 42}},
    {&SpiralElement::spiral13, {  45,   43, 45, 43}},
    {&SpiralElement::spiral18, {  35,   38, 38, 38}},
};
// clang-format on

// True when the record has every value that the table names.
template <typename ROW, size_t ROWS>
static constexpr bool rowsAreSound(const ROW (&rows)[ROWS], int most)
{
    for (const ROW& row : rows) {
        if (row.value < FIRST_VALUE || row.value > most) return false;
    }
    return true;
}
constexpr int CURVE_VALUES = sizeof(CurveResult::values) / sizeof(double);
constexpr int SPIRAL_VALUES = sizeof(SpiralResult::values) / sizeof(double);
static_assert(rowsAreSound(CURVE_ROWS, CURVE_VALUES));
static_assert(rowsAreSound(SPIRAL_ROWS, SPIRAL_VALUES));
static_assert(CURVE10_TO <= CURVE_VALUES && SPIRAL_TYPE_VALUE <= SPIRAL_VALUES);

static double curveValue(const CurveResult* result, int n)
{
    return result->values[n - FIRST_VALUE];
}
static double spiralValue(const SpiralResult* result, int n)
{
    return result->values[n - FIRST_VALUE];
}

int fillCurve(RecordFile* job, CurveElement* curve)
{
    CurveResult result;
    if (readCurve(job, &result) != COGO_OK) return IDX_ERROR;
    setMember(curve->name, result.name);
    for (const CurveRow& row : CURVE_ROWS) {
        curve->*row.member = curveValue(&result, row.value);
    }
    curve->curve10 = curveValue(&result, CURVE10_TO) - curveValue(&result, CURVE10_FROM);
    setMember(curve->textA, result.textA);
    setMember(curve->textB, result.textB);
    setMember(curve->secondaryCode, result.secondaryCode);
    setMember(curve->noteText, result.noteText);
    return IDX_OK;
}

int fillSpiral(RecordFile* job, SpiralElement* spiral)
{
    SpiralResult result;
    if (readSpiral(job, &result) != COGO_OK) return IDX_ERROR;
    setMember(spiral->name, result.name);
    int32_t type = truncateToInt32(spiralValue(&result, SPIRAL_TYPE_VALUE));
    spiral->spiralType = type;
    for (const SpiralRow& row : SPIRAL_ROWS) {
        spiral->*row.member = spiralValue(&result, row.value);
    }
    if (type >= 1 && type <= SPIRAL_TYPES) {
        for (const SpiralTypeRow& row : SPIRAL_TYPE_ROWS) {
            int value = row.values[type - 1];
            spiral->*row.member = value == ZERO ? 0.0 : spiralValue(&result, value);
        }
    }
    setMember(spiral->textA, result.textA);
    setMember(spiral->secondaryCode, result.secondaryCode);
    setMember(spiral->noteText, result.noteText);
    return IDX_OK;
}

CurveElement* buildCurve(RecordFile* job)
{
    CurveElement* curve = static_cast<CurveElement*>(allocateZeroed(1, sizeof(CurveElement)));
    if (curve != nullptr && fillCurve(job, curve) == IDX_OK) return curve;
    releaseElement(ELEMENT_CURVE, curve);
    return nullptr;
}

SpiralElement* buildSpiral(RecordFile* job)
{
    SpiralElement* spiral = static_cast<SpiralElement*>(allocateZeroed(1, sizeof(SpiralElement)));
    if (spiral != nullptr && fillSpiral(job, spiral) == IDX_OK) return spiral;
    releaseElement(ELEMENT_SPIRAL, spiral);
    return nullptr;
}
