// What the parts of the sample job share. For tools/sample/.
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
    GradeLine gradeLine;
    int points;              // asked for, of all sorts
    int controlPoints;       // of these
    int alignmentPoints;     // of these
    int shots;               // of these
    std::vector<Shot> batch; // the shots that are written next, at first those from number 1 on
    size_t batchPiece;       // piece of the alignment at which the last shot was taken
    int32_t elementNumber;   // handed out last
    int written;             // points in the file
};

constexpr int SHOT_COLUMNS = 11;
constexpr int LEFT_EDGE_COLUMN = 4; // of the pavement
constexpr int CROWN_COLUMN = 5;
constexpr int RIGHT_EDGE_COLUMN = 6;

inline int completeSections(const Sample* sample) { return sample->shots / SHOT_COLUMNS; }
double sectionStation(const Sample* sample, int section);
inline std::string shotName(int section, int column)
{
    return std::to_string(section * SHOT_COLUMNS + column + 1);
}

// In a job that is not very small two control points have names that are too long for a line
// record. The line's extension record holds what follows behind LINE_NAME_LENGTH characters.
constexpr const char* MONUMENTS[] = {"MONUMENTNORTH1", "MONUMENTSOUTH2"};
constexpr int LINE_NAME_LENGTH = 11;
bool hasMonuments(const Sample* sample);
Place controlPlace(const Sample* sample, int ordinal);

// Alignment point 0 begins the road, the next two begin and end its first bend, and so on; the
// last one ends the road.
std::string alignmentPointName(int ordinal);
const Place& alignmentPlace(const Sample* sample, int ordinal);

// Takes a batch of shots, from the given one on. Expects all the shots before to have been taken.
void takeShots(Sample* sample, int first);

// Write the points, and everything else. Each returns IX_OK or the failing operation's code,
// addPoints also SAMPLE_FULL. Both expect the first shots in the batch.
int addPoints(Sample* sample);
int addElements(Sample* sample);
