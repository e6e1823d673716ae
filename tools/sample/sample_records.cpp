// The values of the sample's curve and spiral records. The library hands values on without asking
// what they stand for; the sample gives them the meanings named here.
#include "tools/sample/sample_alignment.h"

#include <cmath>

// Numbers of curve values. Angles are in degrees.
constexpr int CURVE_BEGIN = 1; // east, then north
constexpr int CURVE_RADIUS = 3;
constexpr int CURVE_CROSSING = 4; // of the tangents at begin and end: east, then north
constexpr int CURVE_DEGREE = 6;   // angle over an arc of 100
constexpr int CURVE_END = 7;      // east, then north
constexpr int CURVE_EXTERNAL = 9; // from the arc to the crossing
constexpr int CURVE_CENTRE = 10;  // east, then north
constexpr int CURVE_LENGTH = 12;
constexpr int CURVE_TANGENT = 13; // from begin or end to the crossing
constexpr int CURVE_CHORD = 14;
constexpr int CURVE_MIDDLE = 15; // from the chord to the arc
constexpr int CURVE_TURN = 18;   // positive to the right
constexpr int CURVE_BEGIN_DIRECTION = 20;
constexpr int CURVE_END_DIRECTION = 21;
constexpr int CURVE_CROSSING_STATION = 22;
constexpr int CURVE_BEGIN_STATION = 23;
constexpr int CURVE_END_STATION = 24;

// Numbers of spiral values. Some quantities stand twice: the type of the spiral decides which of
// the two values is handed out.
constexpr int SPIRAL_CENTRE_OF_ENTRY = 1; // of the sharper end's circle: east, then north
constexpr int SPIRAL_ANGLE = 5;           // positive to the right
constexpr int SPIRAL_FLATTER_RADIUS = 7;  // none where the flatter end is straight
constexpr int SPIRAL_SHARPER_RADIUS = 10;
constexpr int SPIRAL_LENGTH = 13;
constexpr int SPIRAL_PARAMETER = 14;          // square root of radius times length
constexpr int SPIRAL_CROSSING_OF_OTHERS = 17; // of the tangents at both ends: east, then north
constexpr int SPIRAL_ABSCISSA = 19;           // of the sharper end on the flatter end's tangent
constexpr int SPIRAL_CROSSING_OF_EXIT = 20;
constexpr int SPIRAL_CENTRE_OF_OTHERS = 22;
constexpr int SPIRAL_OFFSET = 24; // of the sharper end from the flatter end's tangent
constexpr int SPIRAL_LONG_TANGENT = 31;
constexpr int SPIRAL_SHORT_TANGENT = 32;
constexpr int SPIRAL_STATION_OF_ENTRY = 35; // of the begin
constexpr int SPIRAL_STATION_OF_OTHERS = 38;
constexpr int SPIRAL_TYPE_VALUE = 40;
constexpr int SPIRAL_FLATTER_END = 42; // east, then north
constexpr int SPIRAL_SHARPER_END = 44; // east, then north
constexpr int SPIRAL_CHORD = 46;

// Types of spirals: the curvature grows on odd ones and falls on even ones.
constexpr int TYPE_ENTRY = 1; // from a straight
constexpr int TYPE_EXIT = 2;  // to a straight
constexpr int TYPE_TIGHTENING = 3;
constexpr int TYPE_WIDENING = 4;

static double degrees(double radians) { return radians * (180.0 / PI); }

static void setValue(double* values, int number, double value) { values[number - 1] = value; }

static void setPlace(double* values, int number, const Place& place)
{
    setValue(values, number, place.east);
    setValue(values, number + 1, place.north);
}

// Returns where the tangents at two places cross, with the station that the crossing has along
// the first one. Expects tangents that are not parallel.
static Place crossingOf(const Place& begin, const Place& end)
{
    SineCosine first = sineCosine(begin.direction);
    SineCosine second = sineCosine(end.direction);
    double determinant = first.sine * second.cosine - first.cosine * second.sine;
    double along =
        ((end.east - begin.east) * second.cosine - (end.north - begin.north) * second.sine) /
        determinant;
    return {begin.station + along, begin.east + along * first.sine,
            begin.north + along * first.cosine, begin.direction};
}

CurveResult curveRecord(const AlignmentPiece& piece)
{
    CurveResult curve = {};
    double* values = curve.values;
    double radius = std::fabs(1.0 / piece.beginCurvature);
    double turn = piece.end.direction - piece.begin.direction;
    Place centre = placeBeside(piece.begin, 1.0 / piece.beginCurvature);
    Place crossing = crossingOf(piece.begin, piece.end);

    setPlace(values, CURVE_BEGIN, piece.begin);
    setValue(values, CURVE_RADIUS, radius);
    setPlace(values, CURVE_CROSSING, crossing);
    setValue(values, CURVE_DEGREE, degrees(100.0 / radius));
    setPlace(values, CURVE_END, piece.end);
    setValue(values, CURVE_EXTERNAL, distanceBetween(centre, crossing) - radius);
    setPlace(values, CURVE_CENTRE, centre);
    setValue(values, CURVE_LENGTH, piece.length);
    setValue(values, CURVE_TANGENT, crossing.station - piece.begin.station);
    setValue(values, CURVE_CHORD, distanceBetween(piece.begin, piece.end));
    setValue(values, CURVE_MIDDLE, radius - radius * sineCosine(turn / 2).cosine);
    setValue(values, CURVE_TURN, degrees(turn));
    setValue(values, CURVE_BEGIN_DIRECTION, degrees(piece.begin.direction));
    setValue(values, CURVE_END_DIRECTION, degrees(piece.end.direction));
    setValue(values, CURVE_CROSSING_STATION, crossing.station);
    setValue(values, CURVE_BEGIN_STATION, piece.begin.station);
    setValue(values, CURVE_END_STATION, piece.end.station);
    return curve;
}

static int spiralType(const AlignmentPiece& piece)
{
    if (piece.beginCurvature == 0.0) return TYPE_ENTRY;
    if (piece.endCurvature == 0.0) return TYPE_EXIT;
    bool tightens = std::fabs(piece.endCurvature) > std::fabs(piece.beginCurvature);
    return tightens ? TYPE_TIGHTENING : TYPE_WIDENING;
}

// A spiral from its flatter to its sharper end, whichever comes first.
struct SpiralEnds {
    bool sharperLast;
    Place flatter;
    Place sharper;
    double flatterCurvature;
    double sharperCurvature;
};

static SpiralEnds endsOf(const AlignmentPiece& piece, int type)
{
    bool sharperLast = type == TYPE_ENTRY || type == TYPE_TIGHTENING;
    if (sharperLast)
        return {true, piece.begin, piece.end, piece.beginCurvature, piece.endCurvature};
    return {false, piece.end, piece.begin, piece.endCurvature, piece.beginCurvature};
}

// Sets radii, places and lengths that depend on the ends alone.
static void setEnds(double* values, const SpiralEnds& ends)
{
    if (ends.flatterCurvature != 0.0) {
        setValue(values, SPIRAL_FLATTER_RADIUS, std::fabs(1.0 / ends.flatterCurvature));
    }
    setValue(values, SPIRAL_SHARPER_RADIUS, std::fabs(1.0 / ends.sharperCurvature));
    setPlace(values, SPIRAL_FLATTER_END, ends.flatter);
    setPlace(values, SPIRAL_SHARPER_END, ends.sharper);
    setValue(values, SPIRAL_CHORD, distanceBetween(ends.flatter, ends.sharper));
    Place centre = placeBeside(ends.sharper, 1.0 / ends.sharperCurvature);
    setPlace(values, SPIRAL_CENTRE_OF_ENTRY, centre);
    setPlace(values, SPIRAL_CENTRE_OF_OTHERS, centre);
}

// Sets the angle between the tangents at both ends, where they cross and what they measure.
static void setTangents(double* values, const AlignmentPiece& piece, const SpiralEnds& ends)
{
    double turn = piece.end.direction - piece.begin.direction;
    Place crossing = crossingOf(piece.begin, piece.end);
    setValue(values, SPIRAL_ANGLE, degrees(turn));
    setPlace(values, SPIRAL_CROSSING_OF_OTHERS, crossing);
    setPlace(values, SPIRAL_CROSSING_OF_EXIT, crossing);

    // The sharper end as seen from the flatter one, along and beside its tangent.
    SineCosine along = sineCosine(ends.flatter.direction);
    double east = ends.sharper.east - ends.flatter.east;
    double north = ends.sharper.north - ends.flatter.north;
    double offset = std::fabs(east * along.cosine - north * along.sine);
    double side = turn > 0.0 ? 1.0 : -1.0;
    setValue(values, SPIRAL_ABSCISSA, std::fabs(east * along.sine + north * along.cosine));
    setValue(values, SPIRAL_OFFSET, ends.sharperLast ? side * offset : -side * offset);
    setValue(values, SPIRAL_LONG_TANGENT, distanceBetween(ends.flatter, crossing));
    setValue(values, SPIRAL_SHORT_TANGENT, offset / std::fabs(sineCosine(turn).sine));
}

SpiralResult spiralRecord(const AlignmentPiece& piece)
{
    SpiralResult spiral = {};
    double* values = spiral.values;
    int type = spiralType(piece);
    SpiralEnds ends = endsOf(piece, type);
    double curvatureChange = ends.sharperCurvature - ends.flatterCurvature;
    setEnds(values, ends);
    setTangents(values, piece, ends);
    setValue(values, SPIRAL_LENGTH, piece.length);
    setValue(values, SPIRAL_PARAMETER, std::sqrt(piece.length / std::fabs(curvatureChange)));
    setValue(values, SPIRAL_STATION_OF_ENTRY, piece.begin.station);
    setValue(values, SPIRAL_STATION_OF_OTHERS, piece.begin.station);
    setValue(values, SPIRAL_TYPE_VALUE, type);
    return spiral;
}
