#include "tools/sample/sample_profile.h"

#include "tools/sample/sample_alignment.h"

#include <algorithm>

constexpr double MIN_BREAK_DISTANCE = 250.0; // shorter on a line that has no room for MIN_BREAKS
constexpr int MIN_BREAKS = 3;                // one with each form of curve
constexpr int MAX_BREAKS = 12;
constexpr double CURVE_SHARE = 0.3; // of the way between two breaks, on each side of them
constexpr double MIN_GRADE = 0.01;
constexpr double MAX_GRADE = 0.05;
constexpr double BEGIN_ELEVATION = 120.0;
constexpr double GROUND_ROUGHNESS = 0.4;
constexpr double BRIDGE_LENGTH = 12.0; // of the link behind the line
constexpr double LAST_LENGTH = 60.0;   // of the road behind the bridge

// Codes of profile entries. Those of points may be any positive numbers.
constexpr int32_t POINT = 1;
constexpr int32_t INTERSECTION = 5;
constexpr int32_t GRADES = 0;
constexpr int32_t HEADER = -13;
constexpr int32_t LINK = -1;
constexpr int32_t CURVE_BY_INTERSECTION = -8;
constexpr int32_t CURVE_BEGIN_FLAGGED = -3;
constexpr int32_t CURVE_BEGIN = -4;
constexpr int32_t CURVE_END_FLAGGED = -5;
constexpr int32_t LENGTHS = -9;
constexpr int32_t TURNING_POINT = -12;
constexpr double HEADER_VALUE = 2.0;

// One data record has room for the header, the begin, the longest curve group at each break, the
// end, the link and the last point.
static_assert(2 + MAX_BREAKS * 6 + 4 <= MAX_PROFILE_ENTRIES);

// -- The line ----------------------------------------------------------------

GradeLine buildGradeLine(double length, std::mt19937* random)
{
    int breaks = std::clamp(static_cast<int>(length / MIN_BREAK_DISTANCE), MIN_BREAKS, MAX_BREAKS);
    double distance = length / (breaks + 1);

    GradeLine line = {};
    double elevation = BEGIN_ELEVATION;
    double grade = randomBetween(random, MIN_GRADE, MAX_GRADE);
    line.breaks.push_back({0.0, elevation, 0.0, grade, grade});
    for (int ordinal = 1; ordinal <= breaks; ++ordinal) {
        elevation += grade * distance;
        // Most breaks are a crest or a sag, a few only a change from steep to flat.
        double next = randomBetween(random, MIN_GRADE, MAX_GRADE);
        if ((grade > 0.0) == (ordinal % 4 != 0)) next = -next;
        line.breaks.push_back({distance * ordinal, elevation, CURVE_SHARE * distance, grade, next});
        grade = next;
    }
    line.breaks.push_back({length, elevation + grade * distance, 0.0, grade, grade});
    return line;
}

double elevationOnLine(const GradeLine& line, double station)
{
    const GradeBreak* found = &line.breaks.front();
    for (const GradeBreak& point : line.breaks) {
        if (point.station - point.halfCurve <= station) found = &point;
    }
    double behindBegin = station - (found->station - found->halfCurve);
    if (behindBegin >= 2 * found->halfCurve) {
        return found->elevation + found->gradeOut * (station - found->station);
    }
    double rate = (found->gradeOut - found->gradeIn) / (2 * found->halfCurve);
    double begin = found->elevation - found->gradeIn * found->halfCurve;
    return begin + behindBegin * found->gradeIn + behindBegin * behindBegin * rate / 2;
}

// -- Entries -----------------------------------------------------------------

// True when the curve at a break has a highest or lowest point, which the entry then becomes.
static bool turningPoint(const GradeLine& line, const GradeBreak& point, ProfileEntry* entry)
{
    if (point.gradeIn * point.gradeOut >= 0.0) return false;
    double rate = (point.gradeOut - point.gradeIn) / (2 * point.halfCurve);
    double station = point.station - point.halfCurve - point.gradeIn / rate;
    *entry = {TURNING_POINT, station, elevationOnLine(line, station)};
    return true;
}

static void appendByIntersection(std::vector<ProfileEntry>* entries, const GradeBreak& point)
{
    entries->push_back({CURVE_BY_INTERSECTION, point.halfCurve, point.halfCurve});
    entries->push_back({INTERSECTION, point.station, point.elevation});
    entries->push_back({GRADES, point.gradeIn, point.gradeOut});
}

// Appends the explicit form of the curve at a break: flagged and with its lengths and
// intersection point, or without any of these.
static void appendExplicit(std::vector<ProfileEntry>* entries, const GradeLine& line,
                           const GradeBreak& point, bool flagged)
{
    double begin = point.station - point.halfCurve;
    double end = point.station + point.halfCurve;
    entries->push_back(
        {flagged ? CURVE_BEGIN_FLAGGED : CURVE_BEGIN, begin, elevationOnLine(line, begin)});
    entries->push_back({GRADES, point.gradeIn, point.gradeOut});
    entries->push_back({flagged ? CURVE_END_FLAGGED : POINT, end, elevationOnLine(line, end)});
    if (flagged) {
        entries->push_back({LENGTHS, point.halfCurve, point.halfCurve});
        entries->push_back({INTERSECTION, point.station, point.elevation});
    }
    ProfileEntry turning = {};
    if (turningPoint(line, point, &turning)) entries->push_back(turning);
}

std::vector<ProfileEntry> gradeLineEntries(const GradeLine& line)
{
    const GradeBreak& begin = line.breaks.front();
    const GradeBreak& end = line.breaks.back();
    std::vector<ProfileEntry> entries = {{HEADER, HEADER_VALUE, 0.0},
                                         {POINT, begin.station, begin.elevation}};
    for (size_t at = 1; at + 1 < line.breaks.size(); ++at) {
        if (at % 3 == 1) {
            appendByIntersection(&entries, line.breaks[at]);
        } else {
            appendExplicit(&entries, line, line.breaks[at], at % 3 == 2);
        }
    }
    double linkEnd = end.station + BRIDGE_LENGTH;
    entries.push_back({POINT, end.station, end.elevation});
    entries.push_back({LINK, end.station, end.elevation});
    entries.push_back({POINT, linkEnd, end.elevation});
    entries.push_back({POINT, linkEnd + LAST_LENGTH, end.elevation + LAST_LENGTH * end.gradeOut});
    return entries;
}

std::vector<ProfileEntry> groundEntries(const GradeLine& line, int points, double offset,
                                        std::mt19937* random)
{
    double length = line.breaks.back().station;
    std::vector<ProfileEntry> entries;
    for (int ordinal = 0; ordinal < points; ++ordinal) {
        double station = length * ordinal / (points - 1);
        double rough = randomBetween(random, -GROUND_ROUGHNESS, GROUND_ROUGHNESS);
        entries.push_back({POINT, station, elevationOnLine(line, station) + offset + rough});
    }
    return entries;
}
