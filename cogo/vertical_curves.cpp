#include "cogo/vertical_curves.h"

#include "cogo/record_layouts.h"
#include "platform/platform.h"

#include <cmath>

// Offsets in an entry of a point block; bytes 4 to 7 have no meaning.
constexpr int ENTRY_CODE = 0;
constexpr int ENTRY_FIRST = 8;
constexpr int ENTRY_SECOND = 16;
static_assert(ENTRY_SECOND + 8 == PROFILE_POINT_SIZE);
static_assert(MAX_PROFILE_ENTRIES * PROFILE_POINT_SIZE == PROFILE_BLOCK_ROOM);

constexpr int32_t CODE_HEADER = -13;
constexpr int32_t CODE_LINK = -1;
constexpr int32_t CODE_SIDE_LINK = -10;
constexpr int32_t CODE_INTERSECTION_CURVE = -8;
constexpr int32_t CODE_EXPLICIT_CURVE_FLAGGED = -3;
constexpr int32_t CODE_EXPLICIT_CURVE = -4;
constexpr int32_t CODE_END_FLAGGED = -5;
constexpr int32_t CODE_LENGTHS = -9;
constexpr int32_t CODE_TURNING_POINT = -12;

// Entries of a group.
constexpr int LINK_ENTRIES = 2;
constexpr int CURVE_ENTRIES = 3;
constexpr int LENGTHS_ENTRIES = 2;

// In stations and elevations: less is no distance.
constexpr double TOLERANCE = 1e-05;
// How far behind its own station a near-vertical step ends, to have a grade.
constexpr double STEP_LENGTH = 1.5e-05;

// What the taking of an entry answers instead of the number of entries taken.
constexpr int BLOCK_ENDS = 0; // the group is cut by the end of the block
constexpr int NO_MEMORY = -1;

// A profile to which the entries of one data record are appended.
struct Build {
    ProfileResult* profile;
    const ProfileEntry* entries;
    int count;
    ProfilePoint current;
};

// -- Segments ----------------------------------------------------------------

// The block that has so much room; null when there is no memory.
static SegmentBlock* blockWithRoom(ProfileResult* profile, size_t size)
{
    SegmentBlock* last = profile->lastBlock;
    if (last != nullptr && SEGMENT_BLOCK_ROOM - last->used >= size) return last;
    auto block = static_cast<SegmentBlock*>(allocate(sizeof(SegmentBlock)));
    if (block == nullptr) return nullptr;
    block->former = last;
    block->used = 0;
    profile->lastBlock = block;
    return block;
}

// A new last segment of the kind, with room for its payload behind it; null when there is no
// memory.
static ProfileSegment* appendSegment(ProfileResult* profile, int32_t kind, size_t payloadSize)
{
    size_t size = sizeof(ProfileSegment) + payloadSize;
    SegmentBlock* block = blockWithRoom(profile, size);
    if (block == nullptr) return nullptr;
    auto segment = reinterpret_cast<ProfileSegment*>(block->bytes + block->used);
    block->used += size;
    segment->kind = kind;
    segment->next = nullptr;
    segment->previous = profile->lastSegment;
    if (segment->previous != nullptr) {
        segment->previous->next = segment;
    } else {
        profile->firstSegment = segment;
    }
    profile->lastSegment = segment;
    ++profile->segmentCount;
    return segment;
}

static int appendStraight(ProfileResult* profile, const ProfilePoint& begin,
                          const ProfilePoint& end, double grade)
{
    ProfileSegment* segment = appendSegment(profile, SEGMENT_STRAIGHT, sizeof(StraightSegment));
    if (segment == nullptr) return COGO_FAILED;
    segment->straight = reinterpret_cast<StraightSegment*>(segment + 1);
    *segment->straight = {begin.station, begin.elevation, end.station, end.elevation,
                          grade,         begin.code,      end.code};
    return COGO_OK;
}

static int appendCurve(ProfileResult* profile, const VerticalCurve& curve)
{
    ProfileSegment* segment = appendSegment(profile, SEGMENT_VERTICAL_CURVE, sizeof(VerticalCurve));
    if (segment == nullptr) return COGO_FAILED;
    segment->curve = reinterpret_cast<VerticalCurve*>(segment + 1);
    *segment->curve = curve;
    return COGO_OK;
}

// -- The current point -------------------------------------------------------

static ProfilePoint pointOf(const ProfileEntry& entry)
{
    return {entry.code, entry.first, entry.second};
}

// To the end of what was just appended. Such a point has no code.
static void moveTo(Build* build, double station, double elevation)
{
    build->current = {0, station, elevation};
}

static bool liesAhead(const Build* build, double station)
{
    return station - build->current.station > TOLERANCE;
}

// A straight segment from the current point, with the grade between the two.
static int emitTangentTo(Build* build, const ProfilePoint& end)
{
    const ProfilePoint& begin = build->current;
    return appendStraight(build->profile, begin, end,
                          (end.elevation - begin.elevation) / (end.station - begin.station));
}

// The same up to where a link or an explicit curve begins, if that lies ahead.
static int emitTangentUpTo(Build* build, double station, double elevation)
{
    if (!liesAhead(build, station)) return COGO_OK;
    return emitTangentTo(build, {0, station, elevation});
}

static bool isCutShort(const Build* build, int i, int groupEntries)
{
    return build->count - i < groupEntries;
}

// -- Points and links --------------------------------------------------------
//
// Each take function handles the entry at i and what belongs to it. It answers the
// number of entries taken, BLOCK_ENDS or NO_MEMORY.

static bool isNearVerticalStep(const ProfilePoint& begin, const ProfilePoint& end)
{
    double distance = end.station - begin.station;
    double rise = end.elevation - begin.elevation;
    return distance >= 0.0 && distance <= TOLERANCE && std::fabs(rise) > TOLERANCE;
}

// An ordinary point: a segment ends there. Where the profile does not advance, it is
// just the new current point.
static int takePoint(Build* build, int i)
{
    ProfilePoint end = pointOf(build->entries[i]);
    bool steps = isNearVerticalStep(build->current, end);
    if (!steps && !liesAhead(build, end.station)) {
        build->current = end;
        return 1;
    }
    if (steps) end.station += STEP_LENGTH;
    if (emitTangentTo(build, end) != COGO_OK) return NO_MEMORY;
    moveTo(build, end.station, end.elevation);
    return 1;
}

static int takeLink(Build* build, int i)
{
    if (isCutShort(build, i, LINK_ENTRIES)) return BLOCK_ENDS;
    ProfilePoint begin = pointOf(build->entries[i]);
    ProfilePoint end = pointOf(build->entries[i + 1]);
    if (emitTangentUpTo(build, begin.station, begin.elevation) != COGO_OK) return NO_MEMORY;
    if (appendStraight(build->profile, begin, end, 0.0) != COGO_OK) return NO_MEMORY;
    moveTo(build, end.station, end.elevation);
    return LINK_ENTRIES;
}

// Takes the begin alone: the end of a side link is also an entry of its own.
static int takeSideLink(Build* build, int i)
{
    if (isCutShort(build, i, LINK_ENTRIES)) return BLOCK_ENDS;
    ProfilePoint begin = pointOf(build->entries[i]);
    ProfilePoint end = pointOf(build->entries[i + 1]);
    return appendStraight(build->profile, begin, end, 0.0) == COGO_OK ? 1 : NO_MEMORY;
}

// -- Vertical curves ---------------------------------------------------------

// A curve of which only the grades are known.
static VerticalCurve curveWithGrades(const ProfileEntry& grades)
{
    VerticalCurve curve = {};
    curve.gradeIn = grades.first;
    curve.gradeOut = grades.second;
    curve.intersectionStation = NO_VALUE;
    curve.intersectionElevation = NO_VALUE;
    curve.backLength = NO_VALUE;
    curve.aheadLength = NO_VALUE;
    curve.turningStation = NO_VALUE;
    curve.turningElevation = NO_VALUE;
    return curve;
}

static void setIntersection(VerticalCurve* curve, const ProfileEntry& lengths,
                            const ProfileEntry& intersection)
{
    curve->backLength = lengths.first;
    curve->aheadLength = lengths.second;
    curve->intersectionCode = intersection.code;
    curve->intersectionStation = intersection.first;
    curve->intersectionElevation = intersection.second;
}

static void computeRateOfChange(VerticalCurve* curve)
{
    curve->rateOfChange =
        (curve->gradeOut - curve->gradeIn) / (curve->endStation - curve->beginStation);
}

// The ends lie the curve's lengths before and behind the intersection point: the begin
// on the grade in through the point before the curve, the end on the grade out through
// the intersection point.
static void computeEnds(VerticalCurve* curve, const ProfilePoint& before)
{
    curve->beginStation = curve->intersectionStation - curve->backLength;
    curve->beginElevation =
        (curve->beginStation - before.station) * curve->gradeIn + before.elevation;
    curve->endStation = curve->intersectionStation + curve->aheadLength;
    curve->endElevation = (curve->endStation - curve->intersectionStation) * curve->gradeOut +
                          curve->intersectionElevation;
}

static bool haveOppositeSigns(double a, double b)
{
    return (a < 0.0 && b > 0.0) || (a > 0.0 && b < 0.0);
}

// The parabola is level at its highest or lowest point, which lies on the curve only
// between a rise and a fall.
static void computeTurningPoint(VerticalCurve* curve)
{
    if (!haveOppositeSigns(curve->gradeIn, curve->gradeOut)) return;
    double rate = curve->rateOfChange;
    curve->turningStation = curve->beginStation - curve->gradeIn / rate;
    double distance = curve->turningStation - curve->beginStation;
    curve->turningElevation =
        distance * distance * rate / 2.0 + distance * curve->gradeIn + curve->beginElevation;
}

// The curve of a group of lengths, intersection point and grades.
static VerticalCurve intersectionCurve(const ProfileEntry* group, const ProfilePoint& before)
{
    VerticalCurve curve = curveWithGrades(group[2]);
    setIntersection(&curve, group[0], group[1]);
    computeEnds(&curve, before);
    computeRateOfChange(&curve);
    computeTurningPoint(&curve);
    curve.flag1 = 1;
    curve.flag2 = 1;
    return curve;
}

// The grade from the point before a curve to its begin. Where they have one station it
// is that from the begin to the intersection point.
static double approachGrade(const ProfilePoint& before, const VerticalCurve& curve)
{
    if (curve.beginStation == before.station) {
        return (curve.intersectionElevation - curve.beginElevation) /
               (curve.intersectionStation - curve.beginStation);
    }
    return (curve.beginElevation - before.elevation) / (curve.beginStation - before.station);
}

// A curve that is the second entry of its record is approached on a straight segment
// even when that has no length.
static int takeIntersectionCurve(Build* build, int i)
{
    if (isCutShort(build, i, CURVE_ENTRIES)) return BLOCK_ENDS;
    const ProfilePoint& before = build->current;
    VerticalCurve curve = intersectionCurve(&build->entries[i], before);
    if (liesAhead(build, curve.beginStation) || i == 1) {
        ProfilePoint begin = {0, curve.beginStation, curve.beginElevation};
        double grade = approachGrade(before, curve);
        if (appendStraight(build->profile, before, begin, grade) != COGO_OK) return NO_MEMORY;
    }
    if (appendCurve(build->profile, curve) != COGO_OK) return NO_MEMORY;
    moveTo(build, curve.endStation, curve.endElevation);
    return CURVE_ENTRIES;
}

// The curve of a group of begin point, grades and end point.
static VerticalCurve explicitCurve(const ProfileEntry* group)
{
    const ProfileEntry& begin = group[0];
    const ProfileEntry& end = group[2];
    VerticalCurve curve = curveWithGrades(group[1]);
    curve.beginStation = begin.first;
    curve.beginElevation = begin.second;
    curve.endStation = end.first;
    curve.endElevation = end.second;
    computeRateOfChange(&curve);
    curve.flag1 = begin.code == CODE_EXPLICIT_CURVE_FLAGGED ? 1 : 0;
    curve.flag2 = end.code == CODE_END_FLAGGED ? 1 : 0;
    return curve;
}

// Adds to an explicit curve the intersection point and the turning point that stand
// behind its group, from entry i on, if they do. Answers the number of entries taken.
static int takeCurvePoints(const Build* build, int i, VerticalCurve* curve)
{
    const ProfileEntry* entries = build->entries;
    int taken = 0;
    if (!isCutShort(build, i, LENGTHS_ENTRIES) && entries[i].code == CODE_LENGTHS) {
        setIntersection(curve, entries[i], entries[i + 1]);
        // Otherwise they are not taken and met once more as entries of their own.
        if (curve->intersectionCode > 0) taken += LENGTHS_ENTRIES;
        i += LENGTHS_ENTRIES;
    }
    if (i < build->count && entries[i].code == CODE_TURNING_POINT) {
        curve->turningStation = entries[i].first;
        curve->turningElevation = entries[i].second;
        ++taken;
    }
    return taken;
}

static int takeExplicitCurve(Build* build, int i)
{
    if (isCutShort(build, i, CURVE_ENTRIES)) return BLOCK_ENDS;
    VerticalCurve curve = explicitCurve(&build->entries[i]);
    int taken = CURVE_ENTRIES + takeCurvePoints(build, i + CURVE_ENTRIES, &curve);
    if (emitTangentUpTo(build, curve.beginStation, curve.beginElevation) != COGO_OK) {
        return NO_MEMORY;
    }
    if (appendCurve(build->profile, curve) != COGO_OK) return NO_MEMORY;
    moveTo(build, curve.endStation, curve.endElevation);
    return taken;
}

// -- Data records ------------------------------------------------------------

static int takeEntry(Build* build, int i)
{
    int32_t code = build->entries[i].code;
    if (code > 0) return takePoint(build, i);
    switch (code) {
    case CODE_LINK:
        return takeLink(build, i);
    case CODE_SIDE_LINK:
        return takeSideLink(build, i);
    case CODE_INTERSECTION_CURVE:
        return takeIntersectionCurve(build, i);
    case CODE_EXPLICIT_CURVE_FLAGGED:
    case CODE_EXPLICIT_CURVE:
        return takeExplicitCurve(build, i);
    default:
        return 1;
    }
}

// The header value has 16 bits; what does not fit counts as 0.
static int32_t headerValueOf(double value)
{
    int32_t whole = truncateToInt32(value);
    return whole >= INT16_MIN && whole <= INT16_MAX ? whole : 0;
}

int decodeProfileEntries(const uint8_t* block, int length, ProfileEntry* entries)
{
    int count = length / PROFILE_POINT_SIZE;
    if (count > MAX_PROFILE_ENTRIES) count = MAX_PROFILE_ENTRIES;
    const uint8_t* entry = block;
    for (int i = 0; i < count; ++i) {
        entries[i] = {loadInt32(entry + ENTRY_CODE), loadDouble(entry + ENTRY_FIRST),
                      loadDouble(entry + ENTRY_SECOND)};
        entry += PROFILE_POINT_SIZE;
    }
    return count;
}

// The first data record of a profile sets the header value and the current point.
// Answers how many of its entries that took; there may be fewer.
static int beginProfile(Build* build)
{
    bool hasHeader = build->entries[0].code == CODE_HEADER;
    build->profile->headerValue = hasHeader ? headerValueOf(build->entries[0].first) : 1;
    int taken = hasHeader ? 2 : 1;
    if (taken <= build->count) build->current = pointOf(build->entries[taken - 1]);
    return taken;
}

int buildSegments(ProfileResult* profile, ProfilePoint* current, const ProfileEntry* entries,
                  int count)
{
    Build build = {profile, entries, count, *current};
    int i = profile->firstSegment == nullptr && count > 0 ? beginProfile(&build) : 0;
    int taken = 1;
    while (i < count && taken != BLOCK_ENDS && taken != NO_MEMORY) {
        taken = takeEntry(&build, i);
        i += taken;
    }
    *current = build.current;
    return taken == NO_MEMORY ? COGO_FAILED : COGO_OK;
}
