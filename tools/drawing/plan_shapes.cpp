#include "tools/drawing/plan_shapes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

using std::numbers::pi;

// Lengths that differ by less are the same: stored numbers may have been rounded.
static double toleranceFor(double length) { return 0.01 + 1e-5 * std::fabs(length); }

static bool areClose(double one, double other, double tolerance)
{
    return std::fabs(one - other) <= tolerance;
}

bool canBeDrawn(const PlanPlace& place)
{
    return std::fabs(place.east) <= FARTHEST_COORDINATE &&
           std::fabs(place.north) <= FARTHEST_COORDINATE;
}

double distanceBetween(const PlanPlace& one, const PlanPlace& other)
{
    return std::hypot(other.east - one.east, other.north - one.north);
}

static PlanPlace placeFrom(double first, double second, AxisOrder order)
{
    return order == EAST_FIRST ? PlanPlace{first, second} : PlanPlace{second, first};
}

PlanPlace placeOf(const PointElement& point, AxisOrder order)
{
    return placeFrom(point.real1, point.real2, order);
}

// True for a length that can be drawn, and is one.
static bool isLength(double value) { return value > 0.0 && value <= FARTHEST_COORDINATE; }

// -- Curves ------------------------------------------------------------------

static double angleAt(const PlanPlace& centre, const PlanPlace& place)
{
    return std::atan2(place.north - centre.north, place.east - centre.east);
}

std::string pathOfCurve(const CurveElement& curve, AxisOrder order, PlanPath* path)
{
    PlanPlace begin = placeFrom(curve.curve4, curve.curve3, order);
    PlanPlace end = placeFrom(curve.curve6, curve.curve5, order);
    PlanPlace centre = placeFrom(curve.curve2, curve.curve1, order);
    double radius = curve.curve11;
    double length = curve.curve8;
    if (!canBeDrawn(begin) || !canBeDrawn(end) || !canBeDrawn(centre)) return FAR_AWAY;
    if (!isLength(radius) || !isLength(length)) return "its radius or length is no length";

    double tolerance = toleranceFor(radius);
    if (!areClose(distanceBetween(centre, begin), radius, tolerance)) {
        return "its begin does not lie on the circle about its centre";
    }
    if (!areClose(distanceBetween(centre, end), radius, tolerance)) {
        return "its end does not lie on the circle about its centre";
    }

    // The length tells which of the two arcs between the ends it is; of halves, the turn does.
    double beginAngle = angleAt(centre, begin);
    double left = angleAt(centre, end) - beginAngle;
    if (left < 0.0) left += 2 * pi;
    double right = 2 * pi - left;
    bool isLeft = areClose(left * radius, length, toleranceFor(length));
    bool isRight = areClose(right * radius, length, toleranceFor(length));
    if (!isLeft && !isRight) return "its length is not that of the arc from begin to end";
    if (isLeft && isRight) isLeft = curve.curve12 < 0.0;
    double sweep = isLeft ? left : -right;

    path->push_back({PATH_MOVE, begin, {}});
    path->push_back({PATH_ARC, end, {centre, radius, beginAngle, sweep}});
    return "";
}

// -- Spirals -----------------------------------------------------------------

// A clothoid that begins at the origin towards east and turns left.
struct Clothoid {
    double length;
    double beginCurvature;
    double endCurvature;
};

// More turns than this no transition makes.
constexpr double MOST_SPIRAL_ANGLE = 8 * pi;

static double headingAt(const Clothoid& clothoid, double distance)
{
    double change = (clothoid.endCurvature - clothoid.beginCurvature) / clothoid.length;
    return clothoid.beginCurvature * distance + change * distance * distance / 2;
}

// Integrates by Simpson's rule over steps that turn little; so does the drawing.
static std::vector<PlanPlace> placesAlong(const Clothoid& clothoid)
{
    constexpr double STEP_ANGLE = 2 * pi / 180;
    constexpr int FEWEST_STEPS = 16;
    int steps = std::max(FEWEST_STEPS,
                         static_cast<int>(headingAt(clothoid, clothoid.length) / STEP_ANGLE) + 1);
    double step = clothoid.length / steps;
    std::vector<PlanPlace> places = {{0.0, 0.0}};
    for (int at = 0; at < steps; ++at) {
        double first = headingAt(clothoid, at * step);
        double middle = headingAt(clothoid, (at + 0.5) * step);
        double last = headingAt(clothoid, (at + 1) * step);
        PlanPlace place = places.back();
        place.east += step / 6 * (std::cos(first) + 4 * std::cos(middle) + std::cos(last));
        place.north += step / 6 * (std::sin(first) + 4 * std::sin(middle) + std::sin(last));
        places.push_back(place);
    }
    return places;
}

// How the clothoid lies in the plan: mirrored for a turn to the right, then turned, then moved.
struct Placement {
    double side; // 1 to the left, -1 to the right
    double rotation;
    PlanPlace begin;
};

static PlanPlace placed(const Placement& placement, const PlanPlace& local)
{
    double north = placement.side * local.north;
    double cosine = std::cos(placement.rotation);
    double sine = std::sin(placement.rotation);
    return {placement.begin.east + local.east * cosine - north * sine,
            placement.begin.north + local.east * sine + north * cosine};
}

// The centre of the circle at the clothoid's sharper end.
static PlanPlace centreOf(const Clothoid& clothoid, const PlanPlace& end)
{
    bool sharperLast = clothoid.endCurvature >= clothoid.beginCurvature;
    double radius = 1.0 / std::max(clothoid.endCurvature, clothoid.beginCurvature);
    double heading = sharperLast ? headingAt(clothoid, clothoid.length) : 0.0;
    PlanPlace at = sharperLast ? end : PlanPlace{0.0, 0.0};
    return {at.east - radius * std::sin(heading), at.north + radius * std::cos(heading)};
}

// Stores in *clothoid what the spiral's radii and length make of it. Returns as pathOfSpiral.
static std::string clothoidOf(const SpiralElement& spiral, Clothoid* clothoid)
{
    double beginRadius = spiral.spiral2;
    double endRadius = spiral.spiral3;
    bool soundBegin = beginRadius == 0.0 || isLength(beginRadius);
    bool soundEnd = endRadius == 0.0 || isLength(endRadius);
    if (!soundBegin || !soundEnd || !isLength(spiral.spiral8) || beginRadius == endRadius) {
        return "its radii or length are no lengths";
    }
    clothoid->length = spiral.spiral8;
    clothoid->beginCurvature = beginRadius == 0.0 ? 0.0 : 1.0 / beginRadius;
    clothoid->endCurvature = endRadius == 0.0 ? 0.0 : 1.0 / endRadius;
    double angle = headingAt(*clothoid, clothoid->length);
    double told = std::fabs(spiral.spiral1) * pi / 180;
    constexpr double ANGLE_TOLERANCE = 1e-4;
    if (angle > MOST_SPIRAL_ANGLE || !areClose(angle, told, ANGLE_TOLERANCE)) {
        return "its angle is not that of its radii and length";
    }
    return "";
}

std::string pathOfSpiral(const SpiralElement& spiral, AxisOrder order, PlanPath* path)
{
    PlanPlace begin = placeFrom(spiral.spiral10, spiral.spiral11, order);
    PlanPlace end = placeFrom(spiral.spiral12, spiral.spiral13, order);
    PlanPlace centre = placeFrom(spiral.spiral4, spiral.spiral5, order);
    if (!canBeDrawn(begin) || !canBeDrawn(end) || !canBeDrawn(centre)) return FAR_AWAY;
    Clothoid clothoid = {};
    std::string fault = clothoidOf(spiral, &clothoid);
    if (!fault.empty()) return fault;

    std::vector<PlanPlace> places = placesAlong(clothoid);
    PlanPlace origin = places.front();
    double chord = distanceBetween(origin, places.back());
    if (!areClose(chord, distanceBetween(begin, end), toleranceFor(clothoid.length))) {
        return "its ends are not as far apart as its radii and length make them";
    }
    PlanPlace localCentre = centreOf(clothoid, places.back());
    for (double side : {1.0, -1.0}) {
        Placement placement = {side, angleAt(begin, end) - side * angleAt(origin, places.back()),
                               begin};
        PlanPlace expected = placed(placement, localCentre);
        double radius = distanceBetween(places.back(), localCentre);
        // The direction at the ends is known as well as the ends are, and the radius long.
        double tolerance = toleranceFor(radius) * (1 + radius / clothoid.length);
        if (distanceBetween(expected, centre) > tolerance) continue;
        path->push_back({PATH_MOVE, begin, {}});
        for (size_t at = 1; at + 1 < places.size(); ++at) {
            path->push_back({PATH_LINE, placed(placement, places[at]), {}});
        }
        path->push_back({PATH_LINE, end, {}});
        return "";
    }
    return "its centre does not lie beside its sharper end";
}
