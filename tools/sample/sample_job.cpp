#include "tools/sample/sample_job.h"

#include "tools/sample/sample_parts.h"

#include <algorithm>
#include <cstdio>
#include <memory>

constexpr int CONTROL_SHARE = 25; // one control point for so many points
constexpr int MAX_CONTROL = 20;
constexpr int BEND_SHARE = 40; // one bend for so many points
constexpr int MAX_BENDS = 40;

// Lays out the road and decides how many points of each sort there will be.
static void planSample(Sample* sample, int points, unsigned seed)
{
    sample->random.seed(seed);
    int bends = std::clamp(points / BEND_SHARE, 1, MAX_BENDS);
    sample->alignment = buildAlignment(bends, &sample->random);
    sample->line = buildGradeLine(sample->alignment.length, &sample->random);
    sample->points = points;
    sample->controlPoints = std::min(points / CONTROL_SHARE, MAX_CONTROL);
    sample->alignmentPoints = std::min(points - sample->controlPoints, 2 * bends + 2);
    sample->shots = points - sample->controlPoints - sample->alignmentPoints;
    takeShots(sample, 0);
}

// Fills the empty job at the path. The points come last: when they do not all fit,
// nothing else is missing.
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

int createSampleJob(const std::string& path, int points, unsigned seed, int* written)
{
    *written = 0;
    if (!createEmptyJob(path)) return SAMPLE_NOT_CREATED;

    auto sample = std::make_unique<Sample>();
    planSample(sample.get(), points, seed);
    int result = fillJob(sample.get(), path);
    *written = sample->written;
    if (result < 0) std::remove(path.c_str());
    return result;
}
