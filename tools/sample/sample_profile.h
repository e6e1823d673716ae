// The heights of the sample road: a grade line of even grades with a parabola at
// each change, and the entries of profile records. For tools/sample/.
#pragma once

#include "cogo/vertical_curves.h"

#include <random>
#include <vector>

// A place where two grades meet, or the begin or end of the line.
struct GradeBreak {
    double station;
    double elevation;
    double halfCurve; // length from the begin of the curve to the break, and from there to its end
    double gradeIn;   // rise over run
    double gradeOut;
};

// In order of stations; the first and the last one are the line's ends and have no
// curve.
struct GradeLine {
    std::vector<GradeBreak> breaks;
};

// Builds a line from station 0 to the length.
GradeLine buildGradeLine(double length, std::mt19937* random);

double elevationOnLine(const GradeLine& line, double station);

// Returns the line as profile entries, fewer than one data record holds: a header value,
// curves of both forms, and behind the line's end a link and one more piece.
std::vector<ProfileEntry> gradeLineEntries(const GradeLine& line);

// Returns the ground as if it had been measured at evenly spaced stations of the line: that many
// points, a little off the line, each of which is a vertex of the profile.
std::vector<ProfileEntry> groundEntries(const GradeLine& line, int points, double offset,
                                        std::mt19937* random);
