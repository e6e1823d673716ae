#include "tools/sample/sample_alignment.h"

#include <algorithm>
#include <cmath>

constexpr double MIN_STRAIGHT = 80.0;
constexpr double MAX_STRAIGHT = 260.0;
constexpr double MIN_RADIUS = 180.0;
constexpr double MAX_RADIUS = 600.0;
// A bend turns by more than the spirals in it need.
constexpr double MIN_TURN = 0.5;
constexpr double MAX_TURN = 0.9;
constexpr double SPIRAL_LENGTH = 40.0;
constexpr double RADIUS_RATIO = 0.6; // of two curves in one bend, the sharper to the flatter
static_assert(SPIRAL_LENGTH / MIN_RADIUS / RADIUS_RATIO < MIN_TURN);

constexpr Place ROAD_BEGIN = {0.0, 5000.0, 10000.0, PI / 2};

// -- Numbers -----------------------------------------------------------------

SineCosine sineCosine(double radians)
{
    double x = radians - 2 * PI * std::floor(radians / (2 * PI) + 0.5); // from -pi to pi
    double square = x * x;
    SineCosine result = {0.0, 0.0};
    double power = 1.0;            // x to the n over n factorial, without its sign
    constexpr int LAST_POWER = 28; // its term is below the last digit of 1
    for (int n = 0; n <= LAST_POWER; n += 2) {
        double sign = n % 4 == 0 ? 1.0 : -1.0;
        result.cosine += sign * power;
        result.sine += sign * power * x / (n + 1);
        power = power * square / ((n + 1) * (n + 2));
    }
    return result;
}

double randomBetween(std::mt19937* random, double low, double high)
{
    constexpr double VALUES = 4294967296.0; // as many as the generator has
    return low + (high - low) * (static_cast<double>((*random)()) / VALUES);
}

// -- Names -------------------------------------------------------------------

std::string numberedName(const char* letters, int number)
{
    std::string name = letters;
    name += std::to_string(number);
    return name;
}

// -- Places ------------------------------------------------------------------

static double directionAt(const AlignmentPiece& piece, double distance)
{
    double change = (piece.endCurvature - piece.beginCurvature) / piece.length;
    return piece.begin.direction + piece.beginCurvature * distance +
           change * distance * distance / 2;
}

// The way is integrated with the five-point rule of Gauss over parts so short that its error is
// lost in the last digits.
Place placeOnPiece(const AlignmentPiece& piece, double distance)
{
    constexpr double NODES[] = {-0.9061798459386640, -0.5384693101056831, 0.0, 0.5384693101056831,
                                0.9061798459386640};
    constexpr double WEIGHTS[] = {0.2369268850561891, 0.4786286704993665, 0.5688888888888889,
                                  0.4786286704993665, 0.2369268850561891};
    constexpr int PARTS = 8;

    Place place = piece.begin;
    place.station += distance;
    place.direction = directionAt(piece, distance);
    double half = distance / PARTS / 2;
    for (int part = 0; part < PARTS; ++part) {
        double middle = half * (2 * part + 1);
        for (int node = 0; node < std::ssize(NODES); ++node) {
            SineCosine step = sineCosine(directionAt(piece, middle + half * NODES[node]));
            place.east += half * WEIGHTS[node] * step.sine;
            place.north += half * WEIGHTS[node] * step.cosine;
        }
    }
    return place;
}

Place placeOnAlignment(const Alignment& alignment, double station, size_t* piece)
{
    const std::vector<AlignmentPiece>& pieces = alignment.pieces;
    while (*piece + 1 < pieces.size() && station > pieces[*piece].end.station) {
        ++*piece;
    }
    return placeOnPiece(pieces[*piece], station - pieces[*piece].begin.station);
}

Place placeBeside(const Place& place, double offset)
{
    SineCosine along = sineCosine(place.direction);
    return {place.station, place.east + offset * along.cosine, place.north - offset * along.sine,
            place.direction};
}

double distanceBetween(const Place& one, const Place& other)
{
    double east = other.east - one.east;
    double north = other.north - one.north;
    return std::sqrt(east * east + north * north);
}

// -- Building ----------------------------------------------------------------

static void appendPiece(Alignment* alignment, const std::string& name, double length,
                        double beginCurvature, double endCurvature)
{
    const Place& begin = alignment->pieces.empty() ? ROAD_BEGIN : alignment->pieces.back().end;
    AlignmentPiece piece = {name, begin, {}, length, beginCurvature, endCurvature};
    piece.end = placeOnPiece(piece, length);
    alignment->pieces.push_back(piece);
    alignment->length = piece.end.station;
}

static void appendStraight(Alignment* alignment, std::mt19937* random)
{
    appendPiece(alignment, "", randomBetween(random, MIN_STRAIGHT, MAX_STRAIGHT), 0.0, 0.0);
}

// Appends a curve between spirals.
static void appendSpiralCurve(Alignment* alignment, Bend* bend, int number, double turn,
                              double curvature)
{
    std::string name = numberedName("C", number);
    double curveLength = turn / curvature - SPIRAL_LENGTH;
    appendPiece(alignment, name + "B", SPIRAL_LENGTH, 0.0, curvature);
    appendPiece(alignment, name, curveLength, curvature, curvature);
    appendPiece(alignment, name + "A", SPIRAL_LENGTH, curvature, 0.0);
    bend->members = "SCS " + name;
}

// Appends two curves with a spiral from the radius of one to that of the other.
static void appendTwoCurves(Alignment* alignment, Bend* bend, int number, double turn,
                            double curvature, bool sharperFirst)
{
    double first = sharperFirst ? curvature / RADIUS_RATIO : curvature;
    double second = sharperFirst ? curvature : curvature / RADIUS_RATIO;
    double curveTurn = (turn - (first + second) / 2 * SPIRAL_LENGTH) / 2;
    appendPiece(alignment, numberedName("C", number), curveTurn / first, first, first);
    appendPiece(alignment, numberedName("S", number), SPIRAL_LENGTH, first, second);
    appendPiece(alignment, numberedName("D", number), curveTurn / second, second, second);
    bend->members = numberedName("CUR C", number);
    bend->members += numberedName(" SPI S", number);
    bend->members += numberedName(" CUR D", number);
}

static void appendBend(Alignment* alignment, int ordinal, std::mt19937* random)
{
    // The bend turns back towards the direction in which the road began.
    bool right = alignment->pieces.back().end.direction <= ROAD_BEGIN.direction;
    double sign = right ? 1.0 : -1.0;
    double turn = sign * randomBetween(random, MIN_TURN, MAX_TURN);
    double curvature = sign / randomBetween(random, MIN_RADIUS, MAX_RADIUS);
    int number = ordinal + 1;

    Bend bend = {alignment->pieces.size(), 0, ""};
    switch (ordinal % 3) {
    case 0:
        appendSpiralCurve(alignment, &bend, number, turn, curvature);
        break;
    case 1:
        appendPiece(alignment, numberedName("C", number), turn / curvature, curvature, curvature);
        bend.members = numberedName("CUR C", number);
        break;
    default:
        appendTwoCurves(alignment, &bend, number, turn, curvature, ordinal % 2 == 0);
        break;
    }
    bend.lastPiece = alignment->pieces.size() - 1;
    alignment->bends.push_back(bend);
}

Alignment buildAlignment(int bends, std::mt19937* random)
{
    Alignment alignment = {};
    appendStraight(&alignment, random);
    for (int ordinal = 0; ordinal < bends; ++ordinal) {
        appendBend(&alignment, ordinal, random);
        appendStraight(&alignment, random);
    }
    return alignment;
}
