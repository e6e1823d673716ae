// The points of the sample job.
#include "tools/sample/sample_parts.h"

#include <algorithm>
#include <cmath>

struct ShotColumn {
    double offset; // to the right of the alignment
    const char* note;
    const char* feature; // text of the point's feature record, or none
};

// clang-format off
constexpr ShotColumn COLUMNS[] = {
    {-24.0, "ground",           nullptr},
    {-16.0, "fence",            "FENCE"},
    {-10.0, "ditch",            nullptr},
    { -6.0, "shoulder",         nullptr},
    { -3.5, "edge of pavement", "EDGE OF PAVEMENT"},
    {  0.0, "crown",            nullptr},
    {  3.5, "edge of pavement", "EDGE OF PAVEMENT"},
    {  6.0, "shoulder",         nullptr},
    { 10.0, "ditch",            nullptr},
    { 16.0, "hedge",            nullptr},
    { 24.0, "ground",           nullptr},
};
// clang-format on
static_assert(std::size(COLUMNS) == SHOT_COLUMNS);

// Number 1 of points, by which other programs tell their sorts apart.
constexpr int32_t CONTROL_NUMBER = 1;
constexpr int32_t ALIGNMENT_NUMBER = 2;
constexpr int32_t FIRST_COLUMN_NUMBER = 100;

constexpr int NET_ORDER = 7 - 2; // integer 7, among the integers 2 to 7

constexpr int MIN_CONTROL_POINTS_WITH_MONUMENTS = 4;

// The shots of a batch are written in two passes, every second one first. When a page
// in the middle of the tree splits, half of its keys stay behind, and ascending keys
// never reach them again: the second pass fills these pages. The names of 44 shots fill a page,
// those of a batch a hundred pages.
constexpr int SHOTS_IN_BATCH = 4400;
static_assert(SHOTS_IN_BATCH > SAMPLE_BARE_LINES);

// So many pages are left over in a full job: reading a line without extension record adds one,
// and whoever uses the job adds records too.
constexpr int SPARE_PAGES = 256;

static int addSamplePoint(Sample* sample, const std::string& name, const PointRecord& record,
                          const char* feature)
{
    if (fileOf(&sample->job.records)->header.nextFreePage >= MAX_PAGES_IN_FILE - SPARE_PAGES) {
        return SAMPLE_FULL;
    }
    int result = addPoint(&sample->job, name.c_str(), record, feature);
    if (result == IX_OK) ++sample->written;
    return result;
}

static PointRecord pointRecord(const Place& place, double elevation, int32_t number,
                               const char* set, const char* note)
{
    PointRecord record = {};
    copyText(record.setText, SET_TEXT_ROOM, set);
    copyText(record.firstNote, NOTE_ROOM, note);
    record.reals[0] = place.east;
    record.reals[1] = place.north;
    record.reals[2] = elevation;
    record.real4 = place.station;
    record.numbers[0] = number;
    return record;
}

// -- Control points ----------------------------------------------------------

bool hasMonuments(const Sample* sample)
{
    return sample->controlPoints >= MIN_CONTROL_POINTS_WITH_MONUMENTS;
}

static std::string controlPointName(const Sample* sample, int ordinal)
{
    bool monument = hasMonuments(sample) && ordinal < std::ssize(MONUMENTS);
    return monument ? MONUMENTS[ordinal] : numberedName("BM", ordinal + 1);
}

// Control points stand beside the road, left and right in turn.
Place controlPlace(const Sample* sample, int ordinal)
{
    constexpr double OFFSET = 35.0;
    size_t piece = 0;
    double station = sample->alignment.length * (ordinal + 0.5) / sample->controlPoints;
    return placeBeside(placeOnAlignment(sample->alignment, station, &piece),
                       ordinal % 2 == 0 ? -OFFSET : OFFSET);
}

static int addControlPoints(Sample* sample)
{
    constexpr double LOWEST = 0.5; // above the road
    constexpr double HIGHEST = 2.0;
    constexpr int ORDERS = 3;
    int result = IX_OK;
    for (int ordinal = 0; ordinal < sample->controlPoints && result == IX_OK; ++ordinal) {
        Place place = controlPlace(sample, ordinal);
        double elevation = elevationOnLine(sample->gradeLine, place.station) +
                           randomBetween(&sample->random, LOWEST, HIGHEST);
        PointRecord record =
            pointRecord(place, elevation, CONTROL_NUMBER, "CONTROL", "levelled twice");
        copyText(record.secondNote, NOTE_ROOM, "checked against the older net");
        copyText(record.texts[0], POINT_TEXT_ROOM, "brass disc in concrete");
        copyText(record.texts[3], POINT_TEXT_ROOM, "access from the road");
        record.integer1 = 1;
        record.integers2To7[NET_ORDER] = ordinal % ORDERS + 1;
        std::string name = controlPointName(sample, ordinal);
        result = addSamplePoint(sample, name, record, "CONTROL POINT");
    }
    return result;
}

// -- Alignment points --------------------------------------------------------

std::string alignmentPointName(int ordinal) { return numberedName("CL", ordinal + 1); }

const Place& alignmentPlace(const Sample* sample, int ordinal)
{
    const Alignment& alignment = sample->alignment;
    if (ordinal == 0) return alignment.pieces.front().begin;
    size_t bend = static_cast<size_t>(ordinal - 1) / 2;
    if (bend == alignment.bends.size()) return alignment.pieces.back().end;
    return ordinal % 2 == 1 ? alignment.pieces[alignment.bends[bend].firstPiece].begin
                            : alignment.pieces[alignment.bends[bend].lastPiece].end;
}

static int addAlignmentPoints(Sample* sample)
{
    int result = IX_OK;
    for (int ordinal = 0; ordinal < sample->alignmentPoints && result == IX_OK; ++ordinal) {
        const Place& place = alignmentPlace(sample, ordinal);
        PointRecord record =
            pointRecord(place, elevationOnLine(sample->gradeLine, place.station), ALIGNMENT_NUMBER,
                        "ALIGNMENT", ordinal % 2 == 0 ? "straight begins" : "straight ends");
        result = addSamplePoint(sample, alignmentPointName(ordinal), record, "CENTERLINE");
    }
    return result;
}

// -- Shots -------------------------------------------------------------------

double sectionStation(const Sample* sample, int section)
{
    int sections = (sample->shots + SHOT_COLUMNS - 1) / SHOT_COLUMNS;
    return sample->alignment.length * (section + 0.5) / sections;
}

static Shot takeShot(Sample* sample, int shot)
{
    constexpr double SWAY = 0.3; // how far a shot may miss the offset of its column
    constexpr double CROSSFALL = 0.025;
    constexpr double ROUGHNESS = 0.05;
    double station = sectionStation(sample, shot / SHOT_COLUMNS);
    double offset = COLUMNS[shot % SHOT_COLUMNS].offset;
    Place centre = placeOnAlignment(sample->alignment, station, &sample->batchPiece);
    Place place = placeBeside(centre, offset + randomBetween(&sample->random, -SWAY, SWAY));
    double elevation = elevationOnLine(sample->gradeLine, station) - CROSSFALL * std::fabs(offset) +
                       randomBetween(&sample->random, -ROUGHNESS, ROUGHNESS);
    return {place, elevation};
}

void takeShots(Sample* sample, int first)
{
    int behind = first + std::min(SHOTS_IN_BATCH, sample->shots - first);
    sample->batch.clear();
    for (int shot = first; shot < behind; ++shot) {
        sample->batch.push_back(takeShot(sample, shot));
    }
}

static int addShot(Sample* sample, int shot, const Shot& taken)
{
    int column = shot % SHOT_COLUMNS;
    PointRecord record = pointRecord(taken.place, taken.elevation, FIRST_COLUMN_NUMBER + column,
                                     "TOPO", COLUMNS[column].note);
    return addSamplePoint(sample, std::to_string(shot + 1), record, COLUMNS[column].feature);
}

// Adds every second shot of the batch, from the start-th on; first is the batch's first shot.
static int addEverySecond(Sample* sample, int first, size_t start)
{
    int result = IX_OK;
    for (size_t at = start; at < sample->batch.size() && result == IX_OK; at += 2) {
        result = addShot(sample, first + static_cast<int>(at), sample->batch[at]);
    }
    return result;
}

static int addShots(Sample* sample)
{
    int result = IX_OK;
    for (int first = 0; first < sample->shots && result == IX_OK; first += SHOTS_IN_BATCH) {
        if (first > 0) takeShots(sample, first);
        result = addEverySecond(sample, first, 1);
        if (result == IX_OK) result = addEverySecond(sample, first, 0);
    }
    return result;
}

int addPoints(Sample* sample)
{
    int result = addControlPoints(sample);
    if (result == IX_OK) result = addAlignmentPoints(sample);
    if (result == IX_OK) result = addShots(sample);
    return result;
}
