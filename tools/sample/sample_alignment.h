// The geometry of the sample road: a horizontal alignment of straights, circular
// curves and clothoid spirals, and the values of its curve and spiral records.
//
// Computed with the four operations and square roots alone, whose results are the
// same on every platform; a library's sine may differ in the last digit. For
// tools/sample_*.cpp.
#pragma once

#include "cogo/cogo.h"

#include <random>
#include <string>
#include <vector>

constexpr double PI = 3.14159265358979323846;

struct SineCosine {
    double sine;
    double cosine;
};
SineCosine sineCosine(double radians);

// A name that is letters and a number.
std::string numberedName(const char* letters, int number);

// Uniform between low and high.
double randomBetween(std::mt19937* random, double low, double high);

// A place on the alignment. Directions are in radians, clockwise from north.
struct Place {
    double station;
    double east;
    double north;
    double direction;
};

// A stretch along which the curvature, positive to the right, changes evenly: none
// on a straight, the same throughout on a curve.
struct AlignmentPiece {
    std::string name; // of its record; a straight has none
    Place begin;
    Place end;
    double length;
    double beginCurvature;
    double endCurvature;
};

// A change of direction: pieces begin at the first one's begin and end at the last
// one's end, with a straight before and behind.
struct Bend {
    size_t firstPiece;
    size_t lastPiece;
    std::string members; // as a chain's description names them
};

struct Alignment {
    std::vector<AlignmentPiece> pieces; // in order of stations, without a break
    std::vector<Bend> bends;
    double length; // stations run from 0 to this
};

// A road that swings about the direction east. Bends are in turn a curve between
// spirals, a lone curve, and two curves of different radius with a spiral between.
Alignment buildAlignment(int bends, std::mt19937* random);

inline bool isStraight(const AlignmentPiece& piece)
{
    return piece.beginCurvature == 0.0 && piece.endCurvature == 0.0;
}
inline bool isSpiral(const AlignmentPiece& piece)
{
    return piece.beginCurvature != piece.endCurvature;
}

// The place at a distance behind the begin of a piece.
Place placeOnPiece(const AlignmentPiece& piece, double distance);
// The place at a station from 0 to the alignment's length. *hint, 0 to begin with,
// makes stations in ascending order quick to find.
Place placeOnAlignment(const Alignment& alignment, double station, size_t* hint);
// The place beside it, to the right for a positive offset.
Place placeBeside(const Place& place, double offset);
double distanceBetween(const Place& one, const Place& other);

// The records of a curve or spiral piece; texts, number and code are left empty.
CurveResult curveRecord(const AlignmentPiece& piece);
SpiralResult spiralRecord(const AlignmentPiece& piece);
