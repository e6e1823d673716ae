#include "tools/sample/sample_job.h"

#include "platform/new_file.h"
#include "tools/sample/sample_parts.h"

#include <algorithm>
#include <cerrno>
#include <memory>

constexpr int POINTS_PER_CONTROL_POINT = 25;
constexpr int MAX_CONTROL_POINTS = 20;
constexpr int POINTS_PER_BEND = 40;
constexpr int MAX_BENDS = 40;

// Lays out the road and decides how many points of each sort there will be.
static void planSample(Sample* sample, int points, unsigned seed)
{
    sample->random.seed(seed);
    int bends = std::clamp(points / POINTS_PER_BEND, 1, MAX_BENDS);
    sample->alignment = buildAlignment(bends, &sample->random);
    sample->gradeLine = buildGradeLine(sample->alignment.length, &sample->random);
    sample->points = points;
    sample->controlPoints = std::min(points / POINTS_PER_CONTROL_POINT, MAX_CONTROL_POINTS);
    sample->alignmentPoints = std::min(points - sample->controlPoints, 2 * bends + 2);
    sample->shots = points - sample->controlPoints - sample->alignmentPoints;
    takeShots(sample, 0);
}

// Fills the empty job at the path. The points come last, so that nothing else is missing when
// they do not all fit. Returns as addPoints.
static int fillJob(Sample* sample, const std::string& path)
{
    int result = openJobWriter(&sample->job, path, OPEN_EXCLUSIVE);
    if (result != IX_OK) return result;
    result = addElements(sample);
    if (result == IX_OK) result = addPoints(sample);
    int closed = closeJobWriter(&sample->job);
    if (closed == IX_OK) return result;
    ixAbandon(&sample->job.records.tree);
    return closed;
}

// Begins the file with an empty job. Returns as beginNewFile; a device is in the way like a file.
static int beginJob(NewFile* file, const std::string& path)
{
    int result = beginNewFile(file, path, false);
    if (result == NEW_FILE_DONE && file->isDevice) result = NEW_FILE_EXISTS;
    if (result == NEW_FILE_DONE) {
        const std::vector<uint8_t> bytes = emptyJobBytes();
        result = writeNewFile(file, bytes.data(), bytes.size());
    }
    return result;
}

// Gives up what was begun, with errno as the result means it.
static int refuse(NewFile* file, int result)
{
    int error = result == NEW_FILE_EXISTS ? EEXIST : errno;
    abandonNewFile(file);
    errno = error;
    return SAMPLE_NOT_CREATED;
}

int createSampleJob(const std::string& path, int points, unsigned seed, int* written)
{
    *written = 0;
    NewFile file;
    int begun = beginJob(&file, path);
    if (begun != NEW_FILE_DONE) return refuse(&file, begun);

    auto sample = std::make_unique<Sample>();
    planSample(sample.get(), points, seed);
    int result = fillJob(sample.get(), file.temporary);
    if (result < 0) {
        abandonNewFile(&file);
        return result;
    }
    int finished = finishNewFile(&file);
    if (finished != NEW_FILE_DONE) return refuse(&file, finished);
    *written = sample->written;
    return result;
}
