// What the parts of the sample job share. For tools/sample_*.cpp.
#pragma once

#include "tools/sample/sample_alignment.h"
#include "tools/sample/sample_job.h"
#include "tools/sample/sample_profile.h"
#include "tools/writer/job_writer.h"

// A point taken in the field.
struct Shot {
    Place place;
    double elevation;
};

// A sample on its way into the file. Its points are of three sorts: control points;
// points on the alignment, where its straights begin and end; and, for all the rest,
// shots numbered from 1: sections across the road, SHOT_COLUMNS shots to each.
struct Sample {
    JobWriter job;
    std::mt19937 random;
    Alignment alignment;
    GradeLine line;
    int points; // asked for, and of each sort:
    int controlPoints;
    int alignmentPoints;
    int shots;
    std::vector<Shot> batch; // shots that are written next; while elements are, the first
    size_t batchPiece;       // of the alignment, at which the last shot was taken
    int32_t elementNumber;   // handed out last
    int written;             // points
};

constexpr int SHOT_COLUMNS = 11;
constexpr int LEFT_EDGE_COLUMN = 4; // of the pavement
constexpr int CROWN_COLUMN = 5;
constexpr int RIGHT_EDGE_COLUMN = 6;

inline int completeSections(const Sample* sample) { return sample->shots / SHOT_COLUMNS; }
inline std::string shotName(int section, int column)
{
    return std::to_string(section * SHOT_COLUMNS + column + 1);
}

// Two control points, of a job that is not very small, have names that are too long
// for a line record: the line's extension holds what is behind LINE_NAME_LENGTH.
constexpr const char* MONUMENTS[] = {"MONUMENTNORTH1", "MONUMENTSOUTH2"};
constexpr int LINE_NAME_LENGTH = 11;
bool hasMonuments(const Sample* sample);
Place controlPlace(const Sample* sample, int ordinal);

// Point 0 begins the road, the next two begin and end its first bend, and so on; the
// last one ends the road.
std::string alignmentPointName(int ordinal);
const Place& alignmentPlace(const Sample* sample, int ordinal);

// Takes the shots from the given one on, as many as are written together. Expects the
// ones before to have been taken.
void takeShots(Sample* sample, int first);

// Write all points, respectively everything else. IX_OK or the failing operation's
// code; the points also SAMPLE_FULL. addPoints expects the first shots in the batch,
// addElements too.
int addPoints(Sample* sample);
int addElements(Sample* sample);
