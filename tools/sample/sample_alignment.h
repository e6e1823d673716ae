// The geometry of the sample road: a horizontal alignment of straights, circular
// curves and clothoid spirals, and the values of its curve and spiral records. For
// tools/sample/.
//
// It is computed with the four operations and square roots alone, whose results are the
// same on every platform; a library's sine may differ in the last digit.
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

// Returns a name that consists of letters and a number.
std::string numberedName(const char* letters, int number);

// Returns a number between low and high, each as likely as any other.
double randomBetween(std::mt19937* random, double low, double high);

// A place on the alignment. Directions are in radians, clockwise from north.
struct Place {
    double station;
    double east;
    double north;
    double direction;
};

// A stretch along which the curvature, positive to the right, changes evenly. On a straight it
// is 0, on a curve it stays the same.
struct AlignmentPiece {
    std::string name; // of its record; a straight has none
    Place begin;
    Place end;
    double length;
    double beginCurvature;
    double endCurvature;
};

// A change of direction: some pieces in a row, with a straight before and behind.
struct Bend {
    size_t firstPiece;
    size_t lastPiece;
    std::string members; // as a chain's description names them
};

struct Alignment {
    std::vector<AlignmentPiece> pieces; // in order of stations, each where the last one ends
    std::vector<Bend> bends;
    double length; // stations run from 0 to this
};

// Builds a road that swings about the direction east. Its bends are in turn a curve between
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

// Returns the place at a distance behind the begin of a piece.
Place placeOnPiece(const AlignmentPiece& piece, double distance);
// Returns the place at a station from 0 to the alignment's length. *piece is the piece at which
// the search begins, and becomes the one that was found; it begins with 0, and the stations of
// further calls must ascend.
Place placeOnAlignment(const Alignment& alignment, double station, size_t* piece);
// Returns the place beside another one, to the right for a positive offset.
Place placeBeside(const Place& place, double offset);
double distanceBetween(const Place& one, const Place& other);

// Return the record of a curve or spiral piece; texts, number and code are left empty.
CurveResult curveRecord(const AlignmentPiece& piece);
SpiralResult spiralRecord(const AlignmentPiece& piece);
