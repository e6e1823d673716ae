// The line of a profile, made from its vertices: straight grades, and parabolas where vertices
// tell of a vertical curve.
//
// For tools/drawing/ and tools/export/.
#pragma once

#include "orvIdx.h"

#include <string>
#include <vector>

enum PieceKind {
    PIECE_GRADE,
    PIECE_CURVE, // its grade changes evenly
    PIECE_LINK   // the profile does not exist there
};

// From one station to another that is not before it.
struct ProfilePiece {
    PieceKind kind;
    double beginStation;
    double beginElevation;
    double endStation;
    double endElevation;
    double beginGrade; // of a curve, rise over run
    double endGrade;
};

// Where the grades beside a vertical curve meet.
struct ProfileIntersection {
    double beginStation; // of its curve, and so on
    double beginElevation;
    double station;
    double elevation;
    double endStation;
    double endElevation;
};

struct ProfileTurn {
    bool isHigh; // the highest point of its curve, else the lowest
    double station;
    double elevation;
};

struct ProfileLine {
    std::vector<ProfilePiece> pieces;
    std::vector<ProfileIntersection> intersections;
    std::vector<ProfileTurn> turns;
    std::vector<std::string> remarks; // where the vertices contradict each other or tell too little
    std::vector<std::string> derived; // what they do not tell and their neighbours do
};

ProfileLine lineOf(const ProfileElement& profile);

double gradeOn(const ProfilePiece& piece, double station);
double elevationOn(const ProfilePiece& piece, double station);

// Returns the piece at a station, or null where there is none. Where two meet it is the first.
const ProfilePiece* pieceAt(const ProfileLine& line, double station);
