// Profiles: the list of segments becomes an array of vertices.
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>

constexpr int32_t ROOM_AT_LEAST = 1; // so that an array without vertices is one all the same
constexpr int32_t FIRST_VERTEX_ROOM = 100;
constexpr int32_t MOST_ROOM_AT_ONCE = 100000;
constexpr int32_t NO_CODE = 0;    // of a segment's end: no vertex there
constexpr int32_t LINK_CODE = -1; // begin code of a segment that is a link

struct CodeRow {
    int32_t code;
    int32_t vertexCode;
};

constexpr CodeRow CODE_ROWS[] = {
    {-1, VERTEX_LINK_BEGIN}, {-2, VERTEX_LINK_END},   {-7, VERTEX_CURVE_BEGIN},
    {-8, VERTEX_CURVE_END},  {-5, VERTEX_HIGH_POINT}, {-6, VERTEX_LOW_POINT},
};

// The vertex code of a segment's code. Any code that the rows do not name makes an
// intersection point where there are two lengths.
static int32_t vertexCodeOf(int32_t code, double backLength, double aheadLength)
{
    if (code < NO_CODE) {
        for (const CodeRow& row : CODE_ROWS) {
            if (row.code == code) return row.vertexCode;
        }
    }
    return backLength != 0.0 && aheadLength != 0.0 ? VERTEX_INTERSECTION : VERTEX_POINT;
}

// A profile while its vertices are appended.
struct VertexArray {
    ProfileElement* profile;
    int32_t room;          // of profile->vertices
    int32_t segmentNumber; // of the vertices appended next
    int result;            // IDX_OK, or IDX_ERROR once a vertex had no room
};

// Keeps one vertex free behind the next.
static void makeRoom(VertexArray* array)
{
    ProfileElement* profile = array->profile;
    if (profile->vertexCount + 1 <= array->room - 1) return;
    size_t bytes = static_cast<size_t>(array->room) * sizeof(ProfileVertex);
    void* grown = reallocate(profile->vertices, bytes, 2 * bytes);
    if (grown == nullptr) {
        array->result = IDX_ERROR;
        return;
    }
    profile->vertices = static_cast<ProfileVertex*>(grown);
    array->room *= 2;
}

// Appends a vertex without lengths and answers it; null when there was no memory for it
// or one before it. It is cleared first: the bytes between its members reach the host too.
static ProfileVertex* append(VertexArray* array, int32_t vertexCode, double station,
                             double elevation)
{
    if (array->result == IDX_OK) makeRoom(array);
    if (array->result != IDX_OK) return nullptr;
    ProfileElement* profile = array->profile;
    ProfileVertex* vertex = &profile->vertices[profile->vertexCount++];
    std::memset(vertex, 0, sizeof *vertex);
    vertex->vertexCode = vertexCode;
    vertex->station = station;
    vertex->segmentNumber = array->segmentNumber;
    vertex->elevation = elevation;
    return vertex;
}

static void appendStraight(VertexArray* array, const StraightSegment& segment)
{
    if (segment.beginCode == LINK_CODE) {
        append(array, VERTEX_LINK_BEGIN, segment.beginStation, segment.beginElevation);
        ++array->segmentNumber;
        append(array, VERTEX_LINK_END, segment.endStation, segment.endElevation);
        return;
    }
    if (segment.beginCode != NO_CODE) {
        append(array, vertexCodeOf(segment.beginCode, 0.0, 0.0), segment.beginStation,
               segment.beginElevation);
    }
    if (segment.endCode != NO_CODE) {
        append(array, vertexCodeOf(segment.endCode, 0.0, 0.0), segment.endStation,
               segment.endElevation);
    }
}

static bool hasTurningPoint(const VerticalCurve& curve)
{
    return curve.turningStation != NO_VALUE && curve.turningElevation != NO_VALUE &&
           curve.turningStation > curve.beginStation && curve.turningStation < curve.endStation;
}

static void appendTurningPoint(VertexArray* array, const VerticalCurve& curve)
{
    append(array, curve.rateOfChange < 0.0 ? VERTEX_HIGH_POINT : VERTEX_LOW_POINT,
           curve.turningStation, curve.turningElevation);
}

static void appendIntersection(VertexArray* array, const VerticalCurve& curve)
{
    int32_t vertexCode = vertexCodeOf(curve.intersectionCode, curve.backLength, curve.aheadLength);
    ProfileVertex* vertex =
        append(array, vertexCode, curve.intersectionStation, curve.intersectionElevation);
    if (vertex == nullptr) return;
    vertex->backLength = curve.backLength;
    vertex->aheadLength = curve.aheadLength;
}

// A turning point at the station of the intersection comes before it. With an
// intersection code below 0 there is no vertex for it.
static void appendCurve(VertexArray* array, const VerticalCurve& curve)
{
    int32_t code = curve.intersectionCode;
    bool turns = hasTurningPoint(curve);
    bool turnsBefore = turns && (code == NO_CODE ||
                                 (code > 0 && curve.intersectionStation >= curve.turningStation));
    bool turnsBehind = turns && code > 0 && curve.intersectionStation < curve.turningStation;

    if (curve.flag1 != 0) {
        append(array, VERTEX_CURVE_BEGIN, curve.beginStation, curve.beginElevation);
    }
    if (turnsBefore) appendTurningPoint(array, curve);
    if (code != NO_CODE) appendIntersection(array, curve);
    if (turnsBehind) appendTurningPoint(array, curve);
    if (curve.flag2 != 0) append(array, VERTEX_CURVE_END, curve.endStation, curve.endElevation);
}

// The room that an array which doubles reaches with a vertex for each segment.
static int32_t roomFor(int32_t segments)
{
    int32_t room = FIRST_VERTEX_ROOM;
    while (room <= segments && room <= MOST_ROOM_AT_ONCE) {
        room *= 2;
    }
    return room;
}

// Gives back the room behind the vertices, but for that of the first.
static int fitVertices(const VertexArray* array)
{
    ProfileElement* profile = array->profile;
    int32_t needed = std::max(profile->vertexCount, ROOM_AT_LEAST);
    void* fitted =
        reallocate(profile->vertices, static_cast<size_t>(array->room) * sizeof(ProfileVertex),
                   static_cast<size_t>(needed) * sizeof(ProfileVertex));
    if (fitted == nullptr) return IDX_ERROR;
    profile->vertices = static_cast<ProfileVertex*>(fitted);
    return IDX_OK;
}

// Converts the segments of a profile, of which there is at least one, into a new array.
static int appendVertices(ProfileElement* profile, const ProfileResult& result)
{
    int32_t room = roomFor(result.segmentCount);
    void* vertices = allocate(static_cast<size_t>(room) * sizeof(ProfileVertex));
    if (vertices == nullptr) return IDX_ERROR;
    profile->vertices = static_cast<ProfileVertex*>(vertices);
    // One is there in any case, and may stay without a vertex.
    std::memset(profile->vertices, 0, sizeof *profile->vertices);
    VertexArray array = {profile, room, result.headerValue, IDX_OK};
    const ProfileSegment* first = result.firstSegment;
    const ProfileSegment* last = result.lastSegment;
    if (first->kind == SEGMENT_VERTICAL_CURVE) {
        append(&array, VERTEX_POINT, first->curve->beginStation, first->curve->beginElevation);
    }
    for (const ProfileSegment* segment = first; segment != nullptr; segment = segment->next) {
        if (segment->kind == SEGMENT_STRAIGHT) {
            appendStraight(&array, *segment->straight);
        } else {
            appendCurve(&array, *segment->curve);
        }
    }
    if (last->kind == SEGMENT_VERTICAL_CURVE) {
        append(&array, VERTEX_POINT, last->curve->endStation, last->curve->endElevation);
    }
    return array.result == IDX_OK ? fitVertices(&array) : IDX_ERROR;
}

static int fillProfile(RecordFile* job, const char* name, ProfileElement* profile)
{
    if (findProfile(job, name) != COGO_OK) return IDX_ERROR;

    // The whole name, which may be longer than the element's.
    ProfileResult result = {};
    setMember(result.name, name);
    int filled = IDX_ERROR;
    if (readProfile(job, &result) == COGO_OK && result.firstSegment != nullptr) {
        setMember(profile->name, result.name);
        setMember(profile->secondaryCode, result.secondaryCode);
        setMember(profile->noteText, result.noteText);
        filled = appendVertices(profile, result);
    }
    clearProfile(&result);

    // Reading moved on to data and extension records; the walk of profiles is to go
    // on from this one, also when it could not be read.
    findProfile(job, name);
    return filled;
}

ProfileElement* buildProfile(RecordFile* job, const Reached& reached)
{
    ProfileElement* profile =
        static_cast<ProfileElement*>(allocateZeroed(1, sizeof(ProfileElement)));
    if (profile == nullptr) return nullptr;
    if (fillProfile(job, reached.name.text, profile) == IDX_OK) return profile;
    releaseElement(ELEMENT_PROFILE, profile);
    return nullptr;
}
