#include "tools/drawing/profile_line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <span>

// Stations and elevations that differ by less are the same.
constexpr double TOLERANCE = 0.001;
// Numbers of this size are no stations or elevations that could be drawn.
constexpr double FARTHEST = 1e12;

struct ProfilePlace {
    double station;
    double elevation;
};

// A line that is being made, from the vertices before at.
struct LineBuild {
    ProfileLine* line;
    std::span<const ProfileVertex> vertices;
    size_t at;
    bool hasPlace;      // false before the first vertex, and behind one that cannot be drawn
    ProfilePlace place; // that the line has reached
    bool isOpen;        // the begin of a curve was the last vertex but turns
};

static std::string atStation(double station, const char* what)
{
    char text[200];
    std::snprintf(text, sizeof text, "at station %.3f: %s", station, what);
    return text;
}

static void remark(LineBuild* build, double station, const char* what)
{
    build->line->remarks.push_back(atStation(station, what));
}

static ProfilePlace placeOf(const ProfileVertex& vertex)
{
    return {vertex.station, vertex.elevation};
}

static bool canBeDrawn(const ProfileVertex& vertex)
{
    return std::fabs(vertex.station) <= FARTHEST && std::fabs(vertex.elevation) <= FARTHEST;
}

static bool isTurn(const ProfileVertex& vertex)
{
    return vertex.vertexCode == VERTEX_HIGH_POINT || vertex.vertexCode == VERTEX_LOW_POINT;
}

static double gradeBetween(const ProfilePlace& begin, const ProfilePlace& end)
{
    constexpr double UPRIGHT = 1e-9; // what is shorter has no grade
    double run = end.station - begin.station;
    return run > UPRIGHT ? (end.elevation - begin.elevation) / run : 0.0;
}

static double onGrade(const ProfilePlace& place, double grade, double station)
{
    return place.elevation + grade * (station - place.station);
}

// -- Appending pieces --------------------------------------------------------

static void appendPiece(LineBuild* build, PieceKind kind, const ProfilePlace& end,
                        double beginGrade, double endGrade)
{
    const ProfilePlace& begin = build->place;
    build->line->pieces.push_back(
        {kind, begin.station, begin.elevation, end.station, end.elevation, beginGrade, endGrade});
    build->place = end;
}

// A straight grade to a place; none where it lies where the line has come to, or before it.
static void appendGrade(LineBuild* build, const ProfilePlace& end)
{
    if (!build->hasPlace) {
        build->hasPlace = true;
        build->place = end;
        return;
    }
    if (end.station < build->place.station - TOLERANCE) {
        remark(build, end.station, "a vertex lies before the one that it follows; not joined");
        build->place = end;
        return;
    }
    ProfilePlace place = {std::max(end.station, build->place.station), end.elevation};
    if (place.station == build->place.station && place.elevation == build->place.elevation) return;
    double grade = gradeBetween(build->place, place);
    appendPiece(build, PIECE_GRADE, place, grade, grade);
}

// -- Vertical curves ---------------------------------------------------------

// The line leaves the curve's begin towards the intersection point and comes to its end from
// there. With two lengths that differ these are two parabolas with one tangent at the station of
// the intersection point.
static void appendCurve(LineBuild* build, const ProfilePlace& crossing, const ProfilePlace& end)
{
    ProfilePlace begin = build->place;
    double gradeIn = gradeBetween(begin, crossing);
    double gradeOut = gradeBetween(crossing, end);
    double back = crossing.station - begin.station;
    double ahead = end.station - crossing.station;
    build->line->intersections.push_back({begin.station, begin.elevation, crossing.station,
                                          crossing.elevation, end.station, end.elevation});
    if (std::fabs(back - ahead) <= TOLERANCE) {
        appendPiece(build, PIECE_CURVE, end, gradeIn, gradeOut);
        return;
    }
    double middleGrade = gradeBetween(begin, end);
    ProfilePlace middle = {crossing.station, begin.elevation + (gradeIn + middleGrade) / 2 * back};
    appendPiece(build, PIECE_CURVE, middle, gradeIn, middleGrade);
    appendPiece(build, PIECE_CURVE, end, middleGrade, gradeOut);
}

static bool liesAt(double station, double other) { return std::fabs(station - other) <= TOLERANCE; }

// Returns the next vertex from at on that is no turn, or null.
static const ProfileVertex* nextButTurns(const LineBuild* build, size_t at)
{
    while (at < build->vertices.size() && isTurn(build->vertices[at])) {
        ++at;
    }
    return at < build->vertices.size() ? &build->vertices[at] : nullptr;
}

// Stores where the curve about the intersection point begins: where the line has come to, or on
// the way from there. False when it is neither.
static bool findCurveBegin(const LineBuild* build, const ProfileVertex& crossing,
                           ProfilePlace* begin)
{
    if (!build->hasPlace) return false;
    *begin = build->place;
    double station = crossing.station - crossing.backLength;
    if (build->isOpen || liesAt(station, begin->station)) return begin->station < crossing.station;
    bool isBetween = station >= begin->station && station < crossing.station;
    if (!isBetween) return false;
    *begin = {station, onGrade(*begin, gradeBetween(*begin, placeOf(crossing)), station)};
    return true;
}

// The same of its end; the next vertex that is no turn is where it ends or the line goes on.
static bool findCurveEnd(const ProfileVertex& crossing, const ProfileVertex* next,
                         ProfilePlace* end)
{
    if (next == nullptr || !canBeDrawn(*next)) return false;
    *end = placeOf(*next);
    double station = crossing.station + crossing.aheadLength;
    if (next->vertexCode == VERTEX_CURVE_END || liesAt(station, end->station)) {
        return end->station > crossing.station;
    }
    bool isBetween = station > crossing.station && station <= end->station;
    if (!isBetween) return false;
    double grade = gradeBetween(placeOf(crossing), *end);
    *end = {station, onGrade(placeOf(crossing), grade, station)};
    return true;
}

// Takes an intersection point with the curve about it.
static void takeIntersection(LineBuild* build)
{
    const ProfileVertex& crossing = build->vertices[build->at];
    const ProfileVertex* next = nextButTurns(build, build->at + 1);
    ProfilePlace begin = {};
    ProfilePlace end = {};
    bool fits = findCurveBegin(build, crossing, &begin) && findCurveEnd(crossing, next, &end);
    ++build->at;
    build->isOpen = false;
    if (!fits) {
        remark(build, crossing.station,
               "an intersection point whose curve does not fit between its neighbours; drawn "
               "straight");
        appendGrade(build, placeOf(crossing));
        return;
    }
    appendGrade(build, begin);
    appendCurve(build, placeOf(crossing), end);
}

// Takes a curve of which begin and end are told, and no intersection point: its highest or lowest
// point tells its form. The vertex at is that point.
static bool takeCurveByTurn(LineBuild* build, const ProfileVertex& end)
{
    ProfilePlace turn = placeOf(build->vertices[build->at]);
    const ProfilePlace& begin = build->place;
    double back = turn.station - begin.station;
    double ahead = end.station - turn.station;
    if (back <= 0.0 || ahead <= 0.0) return false;
    double rate = 2 * (begin.elevation - turn.elevation) / (back * back);
    double toEnd = rate * ahead * ahead / 2 + turn.elevation - end.elevation;
    if (!(std::fabs(toEnd) <= TOLERANCE)) return false; // nor where the end is no number
    appendPiece(build, PIECE_CURVE, placeOf(end), -rate * back, rate * ahead);
    return true;
}

// -- Curves of which the vertices tell less ----------------------------------

constexpr double SAME_GRADE = 1e-4;

// Returns the piece with which the line comes to where it is, or null.
static const ProfilePiece* pieceBefore(const LineBuild* build)
{
    if (!build->hasPlace || build->line->pieces.empty()) return nullptr;
    const ProfilePiece* last = &build->line->pieces.back();
    return last->kind != PIECE_LINK && last->endStation == build->place.station ? last : nullptr;
}

// Takes a curve of which begin and end are told alone, the vertex at being its end: the grades
// before and behind it tell its form, when they agree.
static bool takeCurveByGrades(LineBuild* build)
{
    ProfilePlace end = placeOf(build->vertices[build->at]);
    const ProfilePiece* before = pieceBefore(build);
    const ProfileVertex* next = nextButTurns(build, build->at + 1);
    if (before == nullptr || next == nullptr || !canBeDrawn(*next)) return false;
    double gradeOut = 2 * gradeBetween(build->place, end) - before->endGrade;
    if (std::fabs(gradeOut - gradeBetween(end, placeOf(*next))) > SAME_GRADE) return false;
    appendPiece(build, PIECE_CURVE, end, before->endGrade, gradeOut);
    build->line->derived.push_back(
        atStation(end.station, "the form of the vertical curve that ends here is not told; it "
                               "follows from the grades beside it"));
    return true;
}

// True when the line goes on to the vertex at by a curve of which no vertex between tells the
// form.
static bool comesByUntoldCurve(const LineBuild* build)
{
    const ProfileVertex& vertex = build->vertices[build->at];
    if (!build->hasPlace || build->at == 0) return false;
    if (vertex.station <= build->place.station + TOLERANCE) return false;
    const ProfileVertex& last = build->vertices[build->at - 1];
    if (last.vertexCode == VERTEX_CURVE_BEGIN) return true;
    return vertex.vertexCode == VERTEX_CURVE_END && last.vertexCode != VERTEX_INTERSECTION &&
           !isTurn(last);
}

// Stores the grade with which the line comes to where it is, if it comes off a curve.
static bool gradeBefore(const LineBuild* build, double* grade)
{
    const ProfilePiece* last = pieceBefore(build);
    if (last == nullptr || last->kind != PIECE_CURVE) return false;
    *grade = last->endGrade;
    return true;
}

// Stores the grade with which the line leaves the vertex behind the turn, if a curve begins there
// whose intersection point is told.
static bool gradeBehind(const LineBuild* build, double* grade)
{
    size_t at = build->at + 1;
    if (at + 1 >= build->vertices.size()) return false;
    const ProfileVertex* crossing = nextButTurns(build, at + 1);
    const ProfileVertex& begin = build->vertices[at];
    if (begin.vertexCode != VERTEX_CURVE_BEGIN || crossing == nullptr ||
        crossing->vertexCode != VERTEX_INTERSECTION || !canBeDrawn(*crossing)) {
        return false;
    }
    *grade = gradeBetween(placeOf(begin), placeOf(*crossing));
    return true;
}

// Returns how fast the grade changes on a parabola through a turn that touches the grade through
// a place; 0 when there is none.
static double rateFromTangent(const ProfilePlace& turn, const ProfilePlace& place, double grade)
{
    double above = turn.elevation - onGrade(place, grade, turn.station);
    return above == 0.0 ? 0.0 : grade * grade / 2 / above;
}

// Returns the station where the tangent from a place touches the parabola; it lies between the
// place and the turn, or is no number.
static double touchingStation(const ProfilePlace& turn, double rate, const ProfilePlace& place)
{
    double run = place.station - turn.station;
    double root = std::sqrt(run * run - 2 * (place.elevation - turn.elevation) / rate);
    return turn.station + (run > 0.0 ? run - root : run + root);
}

// Takes a turn alone: where its curve begins and ends follows from the grade before or behind.
// With both known they must agree. False when neither is, or they do not.
static bool takeLoneTurn(LineBuild* build)
{
    const ProfileVertex* next = nextButTurns(build, build->at + 1);
    if (!build->hasPlace || next == nullptr || !canBeDrawn(*next)) return false;
    ProfilePlace turn = placeOf(build->vertices[build->at]);
    double before = 0.0;
    double behind = 0.0;
    bool hasBefore = gradeBefore(build, &before);
    bool hasBehind = gradeBehind(build, &behind);
    if (!hasBefore && !hasBehind) return false;
    double rate = hasBefore ? rateFromTangent(turn, build->place, before)
                            : rateFromTangent(turn, placeOf(*next), behind);
    if (rate == 0.0) return false;
    double begin = touchingStation(turn, rate, build->place);
    double end = touchingStation(turn, rate, placeOf(*next));
    bool fits = begin >= build->place.station - TOLERANCE && begin < turn.station &&
                end > turn.station && end <= next->station + TOLERANCE;
    if (!fits) return false;
    double gradeIn = rate * (begin - turn.station);
    double gradeOut = rate * (end - turn.station);
    if (hasBefore && std::fabs(gradeIn - before) > SAME_GRADE) return false;
    if (hasBehind && std::fabs(gradeOut - behind) > SAME_GRADE) return false;

    appendGrade(build, {begin, onGrade(turn, gradeIn / 2, begin)});
    appendPiece(build, PIECE_CURVE, {end, onGrade(turn, gradeOut / 2, end)}, gradeIn, gradeOut);
    build->line->derived.push_back(
        atStation(turn.station, "begin and end of the vertical curve are not told; they follow "
                                "from a grade beside it and its turning point"));
    return true;
}

// Takes a high or low point.
static void takeTurn(LineBuild* build)
{
    const ProfileVertex& turn = build->vertices[build->at];
    const ProfileVertex* next = nextButTurns(build, build->at + 1);
    build->line->turns.push_back(
        {turn.vertexCode == VERTEX_HIGH_POINT, turn.station, turn.elevation});
    bool isPassed = build->hasPlace && turn.station <= build->place.station + TOLERANCE;
    bool isOfNext = next != nullptr && next->vertexCode == VERTEX_INTERSECTION;
    bool isDrawn = isPassed || isOfNext;
    if (!isDrawn && build->isOpen && next != nullptr && next->vertexCode == VERTEX_CURVE_END) {
        isDrawn = takeCurveByTurn(build, *next);
    } else if (!isDrawn) {
        isDrawn = takeLoneTurn(build);
    }
    if (!isDrawn) {
        remark(build, turn.station, "a turning point whose curve is not told; drawn straight");
        appendGrade(build, placeOf(turn));
    }
    ++build->at;
}

// -- The whole ---------------------------------------------------------------

static void takeLinkEnd(LineBuild* build)
{
    ProfilePlace end = placeOf(build->vertices[build->at]);
    bool hasBegin = build->at > 0 && build->hasPlace &&
                    build->vertices[build->at - 1].vertexCode == VERTEX_LINK_BEGIN;
    if (!hasBegin) remark(build, end.station, "a link ends that has not begun; drawn straight");
    if (hasBegin && end.station >= build->place.station) {
        appendPiece(build, PIECE_LINK, end, 0.0, 0.0);
    } else {
        appendGrade(build, end);
    }
}

// Takes a vertex that the line goes to, or the begin or end of a curve.
static void takePlace(LineBuild* build)
{
    const ProfileVertex& vertex = build->vertices[build->at];
    bool isUntold = comesByUntoldCurve(build);
    bool isEnd = build->isOpen && vertex.vertexCode == VERTEX_CURVE_END;
    if (isUntold && !(isEnd && takeCurveByGrades(build))) {
        remark(build, vertex.station,
               "a vertical curve whose form is not told leads here; drawn straight");
    }
    appendGrade(build, placeOf(vertex));
}

static void passVertex(LineBuild* build)
{
    build->line->remarks.push_back("vertex " + std::to_string(build->at + 1) +
                                   " has no station or elevation that could be drawn");
    build->hasPlace = false;
}

// Takes one vertex, and what belongs to it.
static void takeVertex(LineBuild* build)
{
    const ProfileVertex& vertex = build->vertices[build->at];
    bool isPlace = canBeDrawn(vertex);
    if (isPlace && isTurn(vertex)) return takeTurn(build);
    if (isPlace && vertex.vertexCode == VERTEX_INTERSECTION) return takeIntersection(build);
    if (!isPlace) {
        passVertex(build);
    } else if (vertex.vertexCode == VERTEX_LINK_END) {
        takeLinkEnd(build);
    } else {
        takePlace(build);
    }
    build->isOpen = isPlace && vertex.vertexCode == VERTEX_CURVE_BEGIN;
    ++build->at;
}

// True in a vertical curve of which the two lengths differ.
static bool isInUnevenCurve(const ProfileLine& line, double station)
{
    for (const ProfileIntersection& at : line.intersections) {
        double back = at.station - at.beginStation;
        double ahead = at.endStation - at.station;
        bool covers = station > at.beginStation && station < at.endStation;
        if (covers && std::fabs(back - ahead) > TOLERANCE) return true;
    }
    return false;
}

// Turns that do not lie on the line. The turn of a curve with two lengths may have been computed
// as if it were one parabola: that is no fault of the vertices.
static void checkTurns(LineBuild* build)
{
    constexpr double ON_THE_LINE = 0.01;
    ProfileLine* line = build->line;
    for (const ProfileTurn& turn : line->turns) {
        const ProfilePiece* piece = pieceAt(*line, turn.station);
        if (piece == nullptr) continue;
        if (std::fabs(elevationOn(*piece, turn.station) - turn.elevation) <= ON_THE_LINE) continue;
        if (isInUnevenCurve(*line, turn.station)) {
            line->derived.push_back(
                atStation(turn.station, "the turning point is told as of one parabola; two are "
                                        "drawn, for the lengths of the curve differ"));
        } else {
            remark(build, turn.station,
                   turn.isHigh ? "the high point does not lie on the line"
                               : "the low point does not lie on the line");
        }
    }
}

ProfileLine lineOf(const ProfileElement& profile)
{
    ProfileLine line;
    std::span<const ProfileVertex> vertices(profile.vertices,
                                            static_cast<size_t>(profile.vertexCount));
    LineBuild build = {&line, vertices, 0, false, {}, false};
    while (build.at < vertices.size()) {
        takeVertex(&build);
    }
    checkTurns(&build);
    return line;
}

double gradeOn(const ProfilePiece& piece, double station)
{
    double run = piece.endStation - piece.beginStation;
    if (run <= 0.0) return piece.beginGrade;
    return piece.beginGrade +
           (piece.endGrade - piece.beginGrade) * (station - piece.beginStation) / run;
}

double elevationOn(const ProfilePiece& piece, double station)
{
    double distance = station - piece.beginStation;
    return piece.beginElevation + (piece.beginGrade + gradeOn(piece, station)) / 2 * distance;
}

const ProfilePiece* pieceAt(const ProfileLine& line, double station)
{
    for (const ProfilePiece& piece : line.pieces) {
        bool covers = station >= piece.beginStation && station <= piece.endStation;
        if (covers && piece.kind != PIECE_LINK) return &piece;
    }
    return nullptr;
}
