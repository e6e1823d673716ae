// A profile as an SVG file.
#include "tools/drawing/svg.h"
#include "tools/drawing/svg_text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

constexpr double WIDTH = 1400.0;
constexpr double HEIGHT = 560.0;
constexpr double LEFT = 70.0;
constexpr double RIGHT = 30.0;
constexpr double TOP = 70.0;
constexpr double BOTTOM = 60.0;
constexpr double DRAWING_WIDTH = WIDTH - LEFT - RIGHT;
constexpr double DRAWING_HEIGHT = HEIGHT - TOP - BOTTOM;

// From stations and elevations to the sheet.
struct ProfileSheet {
    double lowStation; // at the left edge
    double highStation;
    double lowElevation; // at the bottom
    double highElevation;
    double stationScale; // units of the sheet to one of the profile
    double exaggeration; // how many times larger elevations are drawn than stations
};

static double xOf(const ProfileSheet& sheet, double station)
{
    return LEFT + (station - sheet.lowStation) * sheet.stationScale;
}

static double yOf(const ProfileSheet& sheet, double elevation)
{
    return TOP + DRAWING_HEIGHT -
           (elevation - sheet.lowElevation) * sheet.stationScale * sheet.exaggeration;
}

static ProfileSheet extentOf(const ProfileLine& line)
{
    ProfileSheet sheet = {HUGE_VAL, -HUGE_VAL, HUGE_VAL, -HUGE_VAL, 0.0, 0.0};
    auto include = [&sheet](double station, double elevation) {
        sheet.lowStation = std::min(sheet.lowStation, station);
        sheet.highStation = std::max(sheet.highStation, station);
        sheet.lowElevation = std::min(sheet.lowElevation, elevation);
        sheet.highElevation = std::max(sheet.highElevation, elevation);
    };
    for (const ProfilePiece& piece : line.pieces) {
        include(piece.beginStation, piece.beginElevation);
        include(piece.endStation, piece.endElevation);
    }
    for (const ProfileIntersection& intersection : line.intersections) {
        include(intersection.station, intersection.elevation);
    }
    for (const ProfileTurn& turn : line.turns) {
        include(turn.station, turn.elevation);
    }
    if (sheet.lowStation > sheet.highStation) sheet = {0.0, 1.0, 0.0, 1.0, 0.0, 0.0};
    return sheet;
}

// The whole profile fits; the exaggeration has one digit.
static ProfileSheet sheetFor(const ProfileLine& line)
{
    ProfileSheet sheet = extentOf(line);
    constexpr double SHORTEST = 1e-3; // of a profile that has an extent
    if (sheet.highStation < sheet.lowStation + SHORTEST) sheet.highStation += 1.0;
    double length = sheet.highStation - sheet.lowStation;
    // What is all but flat looks flat.
    double range = std::max(sheet.highElevation - sheet.lowElevation, length / 1000);
    sheet.stationScale = DRAWING_WIDTH / length;
    constexpr double ROOM = 0.85; // of the height, for the line itself
    sheet.exaggeration = oneDigit(DRAWING_HEIGHT * ROOM / range / sheet.stationScale);
    double seen = DRAWING_HEIGHT / sheet.stationScale / sheet.exaggeration;
    sheet.lowElevation -= (seen - (sheet.highElevation - sheet.lowElevation)) / 2;
    sheet.highElevation = sheet.lowElevation + seen;
    return sheet;
}

// -- The axes ----------------------------------------------------------------

static std::string axes(const ProfileSheet& sheet)
{
    constexpr int STATIONS = 14;
    constexpr int ELEVATIONS = 8;
    int decimals = 0;
    std::string text;
    for (double station : ticksBetween(sheet.lowStation, sheet.highStation, STATIONS, &decimals)) {
        double x = xOf(sheet, station);
        text += lineFromTo(x, TOP, x, HEIGHT - BOTTOM, "rule") +
                textAt(x, HEIGHT - BOTTOM + 18, "soft middle", fixed(station, decimals));
    }
    for (double elevation :
         ticksBetween(sheet.lowElevation, sheet.highElevation, ELEVATIONS, &decimals)) {
        double y = yOf(sheet, elevation);
        text += lineFromTo(LEFT, y, WIDTH - RIGHT, y, "rule") +
                textAt(LEFT - 8, y + 4, "soft end", fixed(elevation, decimals));
    }
    return text + textAt(WIDTH - RIGHT, HEIGHT - 14, "soft end", "station") +
           textAt(LEFT - 8, TOP - 12, "soft end", "elevation");
}

// -- The line ----------------------------------------------------------------

static std::string pair(const ProfileSheet& sheet, double station, double elevation)
{
    return fixed(xOf(sheet, station), 3) + " " + fixed(yOf(sheet, elevation), 3);
}

// A parabola with an upright axis is a quadratic Bezier curve whose middle point lies where the
// tangents at its ends meet, half-way between them.
static std::string pieceData(const ProfileSheet& sheet, const ProfilePiece& piece)
{
    std::string end = pair(sheet, piece.endStation, piece.endElevation);
    if (piece.kind != PIECE_CURVE) return "L" + end;
    double half = (piece.endStation - piece.beginStation) / 2;
    double crossing = piece.beginElevation + piece.beginGrade * half;
    return "Q" + pair(sheet, piece.beginStation + half, crossing) + " " + end;
}

static std::string lineData(const ProfileSheet& sheet, const ProfileLine& line, bool links)
{
    std::string data;
    const ProfilePiece* last = nullptr;
    for (const ProfilePiece& piece : line.pieces) {
        if ((piece.kind == PIECE_LINK) != links) continue;
        bool joined = last != nullptr && last->endStation == piece.beginStation &&
                      last->endElevation == piece.beginElevation;
        if (!joined) data += "M" + pair(sheet, piece.beginStation, piece.beginElevation);
        data += pieceData(sheet, piece);
        last = &piece;
    }
    return data;
}

static std::string pathOf(const std::string& data, const char* style)
{
    return "<path" + attribute("class", style) + attribute("d", data) + "/>\n";
}

static std::string tangents(const ProfileSheet& sheet, const ProfileLine& line)
{
    std::string data;
    for (const ProfileIntersection& at : line.intersections) {
        data += "M" + pair(sheet, at.beginStation, at.beginElevation) + "L" +
                pair(sheet, at.station, at.elevation) + "L" +
                pair(sheet, at.endStation, at.endElevation);
    }
    return pathOf(data, "tangent");
}

// The grade is written along each straight piece that is long enough for it.
static std::string gradeTexts(const ProfileSheet& sheet, const ProfileLine& line)
{
    constexpr double SHORTEST = 48.0;
    constexpr double STEEPEST = 10.0; // of those that anybody calls a grade
    std::string text;
    for (const ProfilePiece& piece : line.pieces) {
        double width = xOf(sheet, piece.endStation) - xOf(sheet, piece.beginStation);
        double rise = yOf(sheet, piece.endElevation) - yOf(sheet, piece.beginElevation);
        bool hasRoom = width > 0.0 && std::hypot(width, rise) >= SHORTEST;
        bool isGrade = piece.kind == PIECE_GRADE && std::fabs(piece.beginGrade) <= STEEPEST;
        if (!isGrade || !hasRoom) continue;
        double x = xOf(sheet, (piece.beginStation + piece.endStation) / 2);
        double y = yOf(sheet, (piece.beginElevation + piece.endElevation) / 2);
        double angle = std::atan2(rise, width) * 180 / std::numbers::pi;
        text += "<g transform=\"translate(" + fixed(x, 2) + " " + fixed(y, 2) + ") rotate(" +
                fixed(angle, 2) + ")\">" +
                textAt(0, -6, "middle", fixed(piece.beginGrade * 100, 2) + " %") + "</g>\n";
    }
    return text;
}

static std::string turns(const ProfileSheet& sheet, const ProfileLine& line)
{
    std::string text;
    for (const ProfileTurn& turn : line.turns) {
        double x = xOf(sheet, turn.station);
        double y = yOf(sheet, turn.elevation);
        double labelY = turn.isHigh ? y - 26 : y + 28;
        text += "<circle r=\"3.5\" class=\"turn\"" + attribute("cx", x) + attribute("cy", y) +
                "/>\n" +
                textAt(x, labelY, "label middle",
                       (turn.isHigh ? "high " : "low ") + fixed(turn.elevation, 3)) +
                textAt(x, labelY + 11, "label middle", fixed(turn.station, 3));
    }
    return text;
}

std::string profileSvg(const ProfileLine& line, const std::string& title)
{
    ProfileSheet sheet = sheetFor(line);
    std::string text = beginSvg(WIDTH, HEIGHT, title);
    text += textAt(LEFT, 30, "title", title);
    text +=
        textAt(WIDTH - RIGHT, 30, "soft end", "vertical exaggeration " + plain(sheet.exaggeration));
    text += axes(sheet) + tangents(sheet, line);
    text += pathOf(lineData(sheet, line, true), "link");
    text += pathOf(lineData(sheet, line, false), "grade");
    return text + gradeTexts(sheet, line) + turns(sheet, line) + endSvg();
}
