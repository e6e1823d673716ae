// The readers of curves, spirals and lines.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/extension.h"
#include "cogo/keys.h"

#include <cmath>
#include <cstring>

int32_t truncateToInt32(double value)
{
    // False for what is not a number, too.
    bool fits = value > -2147483649.0 && value < 2147483648.0;
    return fits ? static_cast<int32_t>(value) : 0;
}

// -- Curves ------------------------------------------------------------------

constexpr int CURVE_ANGLE = 20 - 1;
constexpr int ANGLE_CORRECTIONS = 10; // an angle further away stays as it then is
constexpr double FULL_CIRCLE = 360.0;

static double normalizedAngle(double angle)
{
    for (int i = 0; i < ANGLE_CORRECTIONS && angle < 0.0; ++i) {
        angle += FULL_CIRCLE;
    }
    for (int i = 0; i < ANGLE_CORRECTIONS && angle > FULL_CIRCLE; ++i) {
        angle -= FULL_CIRCLE;
    }
    return angle;
}

int readCurve(RecordFile* job, CurveResult* result)
{
    if (readRecordAtKey(job, &cogoState.curvePlan, KEY_FIELD) != IX_OK) return COGO_FAILED;
    *result = cogoState.curve;
    copyText(result->name, sizeof result->name, nameAtPosition(job).text);
    result->values[CURVE_ANGLE] = normalizedAngle(result->values[CURVE_ANGLE]);
    return COGO_OK;
}

// -- Spirals -----------------------------------------------------------------

constexpr int SPIRAL_TYPE = 40 - 1;
constexpr int SPIRAL_DIRECTION = 5 - 1; // only its sign counts; 0 is positive
constexpr int SPIRAL_SIGNED = 24 - 1;

// Returns the signed value of a spiral. Spirals of the types 1 and 3 give it the sign of their
// direction, those of the types 2 and 4 the opposite one; of any other type it is as stored.
static double signedSpiralValue(const double* values)
{
    int type = truncateToInt32(values[SPIRAL_TYPE]);
    bool negativeDirection = values[SPIRAL_DIRECTION] < 0.0;
    double magnitude = std::fabs(values[SPIRAL_SIGNED]);
    if (type == 1 || type == 3) return negativeDirection ? -magnitude : magnitude;
    if (type == 2 || type == 4) return negativeDirection ? magnitude : -magnitude;
    return values[SPIRAL_SIGNED];
}

int readSpiral(RecordFile* job, SpiralResult* result)
{
    if (readRecordAtKey(job, &cogoState.spiralPlan, KEY_FIELD) != IX_OK) return COGO_FAILED;
    *result = cogoState.spiral;
    copyText(result->name, sizeof result->name, nameAtPosition(job).text);
    result->values[SPIRAL_SIGNED] = signedSpiralValue(result->values);
    return COGO_OK;
}

// -- Lines -------------------------------------------------------------------

constexpr size_t SUFFIX_LENGTH = 6;

// Appends the first SUFFIX_LENGTH characters of an extension text, without the white space at
// their end, to a text of the line, as far as that has room.
static void appendSuffix(char* text, const char* extensionText)
{
    char suffix[SUFFIX_LENGTH + 1];
    copyText(suffix, sizeof suffix, extensionText);
    trimEnd(suffix);
    size_t length = std::strlen(text);
    copyText(text + length, LINE_TEXT_ROOM - length, suffix);
}

// Adds to a line what its extension record holds.
static void extendLine(LineResult* line, const ExtensionResult* extension)
{
    line->elementNumber = extension->elementNumber;
    copyText(line->secondaryCode, sizeof line->secondaryCode, extension->secondaryCode);
    copyText(line->noteText, sizeof line->noteText, extension->noteText);
    appendSuffix(line->lineText, extension->longText);
    appendSuffix(line->beginPointName, extension->longText);
    appendSuffix(line->endPointName, extension->shortText);
}

int readLine(RecordFile* job, LineResult* result)
{
    if (readRecordAtKey(job, &cogoState.linePlan, KEY_FIELD) != IX_OK) return COGO_FAILED;
    LineResult line = cogoState.line;
    const KeyName name = nameAtPosition(job);
    copyText(line.name, sizeof line.name, name.text);

    ExtensionResult extension;
    if (readOrCreateLineExtension(job, name.text, &extension) != COGO_OK) {
        return COGO_FAILED;
    }
    extendLine(&line, &extension);
    *result = line;
    return COGO_OK;
}
