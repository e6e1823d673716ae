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

// What the handler of an entry answers instead of the number of entries it took.
constexpr int BLOCK_ENDS = 0; // the group is cut by the end of the block
constexpr int NO_MEMORY = -1;

// One data record on its way into the list.
struct Build {
    ProfileResult* profile;
    const ProfileEntry* entries;
    int count;
    ProfilePoint* current;
};

// A new last segment of the kind, its payload zero; null when there is no room.
static ProfileSegment* appendSegment(ProfileResult* profile, int32_t kind)
{
    SegmentBlock* block = profile->lastBlock;
    if (block == nullptr || block->used == SEGMENTS_PER_BLOCK) {
        block = static_cast<SegmentBlock*>(allocateZeroed(1, sizeof(SegmentBlock)));
        if (block == nullptr) return nullptr;
        block->former = profile->lastBlock;
        profile->lastBlock = block;
    }
    ProfileSegment* node = &block->segments[block->used++];
    node->kind = kind;
    node->previous = profile->lastSegment;
    if (profile->lastSegment != nullptr) {
        profile->lastSegment->next = node;
    } else {
        profile->firstSegment = node;
    }
    profile->lastSegment = node;
    ++profile->segmentCount;
    return node;
}

static int appendStraight(ProfileResult* profile, const ProfilePoint& begin,
                          const ProfilePoint& end, double grade)
{
    ProfileSegment* node = appendSegment(profile, SEGMENT_STRAIGHT);
    if (node == nullptr) return COGO_FAILED;
    node->straight = {begin.station, begin.elevation, end.station, end.elevation,
                      grade,         begin.code,      end.code};
    return COGO_OK;
}

static int appendCurve(ProfileResult* profile, const VerticalCurve& curve)
{
    ProfileSegment* node = appendSegment(profile, SEGMENT_VERTICAL_CURVE);
    if (node == nullptr) return COGO_FAILED;
    node->curve = curve;
    return COGO_OK;
}

static ProfilePoint pointOf(const ProfileEntry& entry)
{
    return {entry.code, entry.first, entry.second};
}

// A straight segment from the current point, with the grade between the two.
static int emitTangentTo(Build* build, const ProfilePoint& end)
{
    const ProfilePoint& begin = *build->current;
    return appendStraight(build->profile, begin, end,
                          (end.elevation - begin.elevation) / (end.station - begin.station));
}

// An ordinary point: a segment that ends there, or, where the profile does not
// advance, just the new current point.
static int buildPoint(Build* build, int i)
{
    const ProfileEntry& entry = build->entries[i];
    double distance = entry.first - build->current->station;
    double rise = entry.second - build->current->elevation;
    bool advances = distance > TOLERANCE;
    bool steps = distance >= 0.0 && distance <= TOLERANCE && std::fabs(rise) > TOLERANCE;
    if (!advances && !steps) {
        *build->current = pointOf(entry);
        return 1;
    }

    ProfilePoint end = pointOf(entry);
    if (steps) end.station += STEP_LENGTH;
    if (emitTangentTo(build, end) != COGO_OK) return NO_MEMORY;
    *build->current = {0, end.station, end.elevation};
    return 1;
}

// A link moves the current point to its end.
static int buildLink(Build* build, int i)
{
    if (build->count - i < LINK_ENTRIES) return BLOCK_ENDS;
    ProfilePoint begin = pointOf(build->entries[i]);
    ProfilePoint end = pointOf(build->entries[i + 1]);
    if (begin.station - build->current->station > TOLERANCE &&
        emitTangentTo(build, {0, begin.station, begin.elevation}) != COGO_OK) {
        return NO_MEMORY;
    }
    if (appendStraight(build->profile, begin, end, 0.0) != COGO_OK) return NO_MEMORY;
    *build->current = {0, end.station, end.elevation};
    return LINK_ENTRIES;
}

// A side link leaves the current point alone, and its end is an entry of its own.
static int buildSideLink(Build* build, int i)
{
    if (build->count - i < LINK_ENTRIES) return BLOCK_ENDS;
    ProfilePoint begin = pointOf(build->entries[i]);
    ProfilePoint end = pointOf(build->entries[i + 1]);
    return appendStraight(build->profile, begin, end, 0.0) == COGO_OK ? 1 : NO_MEMORY;
}

static bool haveOppositeSigns(double a, double b)
{
    return (a < 0.0 && b > 0.0) || (a > 0.0 && b < 0.0);
}

// A curve given by its intersection point: begin, end and turning point follow
// from lengths and grades.
static int buildIntersectionCurve(Build* build, int i)
{
    if (build->count - i < CURVE_ENTRIES) return BLOCK_ENDS;
    const ProfileEntry& lengths = build->entries[i];
    const ProfileEntry& intersection = build->entries[i + 1];
    const ProfileEntry& grades = build->entries[i + 2];
    const ProfilePoint& current = *build->current;

    VerticalCurve curve = {};
    curve.gradeIn = grades.first;
    curve.gradeOut = grades.second;
    curve.backLength = lengths.first;
    curve.aheadLength = lengths.second;
    curve.intersectionCode = intersection.code;
    curve.intersectionStation = intersection.first;
    curve.intersectionElevation = intersection.second;
    curve.flag1 = 1;
    curve.flag2 = 1;
    curve.beginStation = curve.intersectionStation - curve.backLength;
    curve.beginElevation =
        (curve.beginStation - current.station) * curve.gradeIn + current.elevation;
    curve.endStation = curve.intersectionStation + curve.aheadLength;
    curve.endElevation = (curve.endStation - curve.intersectionStation) * curve.gradeOut +
                         curve.intersectionElevation;
    double rate = (curve.gradeOut - curve.gradeIn) / (curve.endStation - curve.beginStation);
    curve.rateOfChange = rate;
    curve.turningStation = NO_VALUE;
    curve.turningElevation = NO_VALUE;
    if (haveOppositeSigns(curve.gradeIn, curve.gradeOut)) {
        curve.turningStation = curve.beginStation - curve.gradeIn / rate;
        double distance = curve.turningStation - curve.beginStation;
        curve.turningElevation =
            distance * distance * rate / 2.0 + distance * curve.gradeIn + curve.beginElevation;
    }

    double approach = curve.beginStation - current.station;
    if (approach > TOLERANCE || i == 1) {
        double grade = curve.beginStation == current.station
                           ? (curve.intersectionElevation - curve.beginElevation) /
                                 (curve.intersectionStation - curve.beginStation)
                           : (curve.beginElevation - current.elevation) / approach;
        ProfilePoint end = {0, curve.beginStation, curve.beginElevation};
        if (appendStraight(build->profile, current, end, grade) != COGO_OK) return NO_MEMORY;
    }
    if (appendCurve(build->profile, curve) != COGO_OK) return NO_MEMORY;
    *build->current = {0, curve.endStation, curve.endElevation};
    return CURVE_ENTRIES;
}

// A curve given by begin, end and grades; what follows it in the block may add
// the intersection point and the turning point.
static int buildExplicitCurve(Build* build, int i)
{
    if (build->count - i < CURVE_ENTRIES) return BLOCK_ENDS;
    const ProfileEntry& begin = build->entries[i];
    const ProfileEntry& grades = build->entries[i + 1];
    const ProfileEntry& end = build->entries[i + 2];

    VerticalCurve curve = {};
    curve.beginStation = begin.first;
    curve.beginElevation = begin.second;
    curve.gradeIn = grades.first;
    curve.gradeOut = grades.second;
    curve.endStation = end.first;
    curve.endElevation = end.second;
    curve.intersectionStation = NO_VALUE;
    curve.intersectionElevation = NO_VALUE;
    curve.backLength = NO_VALUE;
    curve.aheadLength = NO_VALUE;
    curve.turningStation = NO_VALUE;
    curve.turningElevation = NO_VALUE;
    curve.rateOfChange = (curve.gradeOut - curve.gradeIn) / (curve.endStation - curve.beginStation);
    curve.flag1 = begin.code == CODE_EXPLICIT_CURVE_FLAGGED ? 1 : 0;
    curve.flag2 = end.code == CODE_END_FLAGGED ? 1 : 0;

    int used = CURVE_ENTRIES;
    int turning = i + CURVE_ENTRIES;
    if (build->count - turning >= LENGTHS_ENTRIES && build->entries[turning].code == CODE_LENGTHS) {
        const ProfileEntry& lengths = build->entries[turning];
        const ProfileEntry& intersection = build->entries[turning + 1];
        curve.backLength = lengths.first;
        curve.aheadLength = lengths.second;
        curve.intersectionCode = intersection.code;
        curve.intersectionStation = intersection.first;
        curve.intersectionElevation = intersection.second;
        // Otherwise the two are met once more as entries of their own.
        if (intersection.code > 0) used += LENGTHS_ENTRIES;
        turning += LENGTHS_ENTRIES;
    }
    if (turning < build->count && build->entries[turning].code == CODE_TURNING_POINT) {
        curve.turningStation = build->entries[turning].first;
        curve.turningElevation = build->entries[turning].second;
        ++used;
    }

    if (curve.beginStation - build->current->station > TOLERANCE &&
        emitTangentTo(build, {0, curve.beginStation, curve.beginElevation}) != COGO_OK) {
        return NO_MEMORY;
    }
    if (appendCurve(build->profile, curve) != COGO_OK) return NO_MEMORY;
    *build->current = {0, curve.endStation, curve.endElevation};
    return used;
}

// Handles the entry at i and what belongs to it. The number of entries taken,
// BLOCK_ENDS or NO_MEMORY.
static int buildEntry(Build* build, int i)
{
    int32_t code = build->entries[i].code;
    if (code > 0) return buildPoint(build, i);
    switch (code) {
    case CODE_LINK:
        return buildLink(build, i);
    case CODE_SIDE_LINK:
        return buildSideLink(build, i);
    case CODE_INTERSECTION_CURVE:
        return buildIntersectionCurve(build, i);
    case CODE_EXPLICIT_CURVE_FLAGGED:
    case CODE_EXPLICIT_CURVE:
        return buildExplicitCurve(build, i);
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

int buildSegments(ProfileResult* profile, ProfilePoint* current, const ProfileEntry* entries,
                  int count)
{
    int first = 0;
    if (profile->firstSegment == nullptr && count > 0) {
        bool hasHeader = entries[0].code == CODE_HEADER;
        profile->headerValue = hasHeader ? headerValueOf(entries[0].first) : 1;
        first = hasHeader ? 2 : 1;
        if (first <= count) *current = pointOf(entries[first - 1]);
    }

    Build build = {profile, entries, count, current};
    for (int i = first; i < count;) {
        int used = buildEntry(&build, i);
        if (used == NO_MEMORY) return COGO_FAILED;
        if (used == BLOCK_ENDS) break;
        i += used;
    }
    return COGO_OK;
}
