#include "bench/bench_support.h"

#include "platform/platform.h"
#include "survey/survey.h"
#include "tools/sample/sample_job.h"

#include <algorithm>
#include <random>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

constexpr int SAMPLE_POINTS = 1000;
constexpr unsigned SAMPLE_SEED = 1;
constexpr unsigned SHUFFLE_SEED = 2;

// A lock cycle is timed after every so many iterations. Another one goes before it untimed: a
// long iteration slows the first one down by what it has thrown out of the caches.
constexpr int LOCK_CYCLE_EVERY = 4;

// -- Files -------------------------------------------------------------------

void makeBenchJobs(const std::string& pointJob)
{
    std::random_device random;
    fs::path directory;
    do {
        directory = fs::temp_directory_path() / ("orvidx-bench-" + std::to_string(random()));
    } while (!fs::create_directory(directory));
    benchState.directory = directory;
    benchState.pointJob = pointJob;
    benchState.sampleJob = directory / "sample.orv";

    int written = 0;
    int result = createSampleJob(benchState.sampleJob, SAMPLE_POINTS, SAMPLE_SEED, &written);
    if (result != SAMPLE_OK) throw std::runtime_error("the sample job cannot be written");
}

void removeBenchJobs()
{
    std::error_code ignored;
    if (!benchState.directory.empty()) fs::remove_all(benchState.directory, ignored);
}

std::string copyJob(const fs::path& job)
{
    fs::path copy = benchState.directory / "copy.orv";
    fs::copy_file(job, copy, fs::copy_options::overwrite_existing);
    return copy;
}

BenchJob openCopy(const fs::path& job)
{
    BenchJob opened = {copyJob(job), nullptr, nullptr};
    if (orvIdx_connectToOrvaneOrvFile(&opened.handle, opened.path.c_str(), 0) != IDX_OK) {
        throw std::runtime_error(job.string() + ": cannot be opened");
    }
    opened.records = slotContext();
    return opened;
}

void closeJob(BenchJob* job)
{
    if (orvIdx_disconnectFromOrvaneOrvFile(&job->handle) != IDX_OK) {
        throw std::runtime_error(job->path + ": cannot be closed");
    }
}

std::vector<std::string> elementNames(const BenchJob& job, uint32_t kind)
{
    uint32_t count = 0;
    char* list = nullptr;
    if (orvIdx_numberOfElements(job.handle, kind, &count, &list) != IDX_OK || count == 0) {
        throw std::runtime_error("a job without elements of kind " + std::to_string(kind));
    }
    std::vector<std::string> names;
    std::istringstream stream(list);
    for (std::string name; std::getline(stream, name, ',');) {
        names.push_back(name);
    }
    orvIdx_freeElementNameList(&list);
    return names;
}

void shuffleNames(std::vector<std::string>* names)
{
    std::mt19937 random(SHUFFLE_SEED);
    std::shuffle(names->begin(), names->end(), random);
}

// -- Measuring ---------------------------------------------------------------

bool lockCycle(int descriptor)
{
    OsLockRange range = {FILE_LOCK_BYTE, 1};
    uint8_t header[HEADER_SIZE];
    if (osLock(descriptor, OS_LOCK_SHARED, OS_LOCK_WAIT, &range) != OS_DONE) return false;
    bool read = osReadAt(descriptor, 0, header, HEADER_SIZE) == HEADER_SIZE;
    benchmark::DoNotOptimize(header);
    return osUnlock(descriptor, &range) == OS_DONE && read;
}

Timing startTiming(const std::string& path, int items)
{
    Timing timing = {path, osOpen(path.c_str(), OS_READ_WRITE), items, {}, {}, true};
    if (timing.descriptor == OS_FAILED) throw std::runtime_error(path + ": cannot be opened");
    return timing;
}

static void timeLockCycle(Timing* timing)
{
    bool done = lockCycle(timing->descriptor);
    Clock::time_point start = Clock::now();
    done = lockCycle(timing->descriptor) && done;
    timing->locks.push_back(secondsSince(start));
    timing->done = timing->done && done;
}

void countIteration(benchmark::State& state, Timing* timing, double seconds, bool done)
{
    state.SetIterationTime(seconds);
    if (timing->times.size() % LOCK_CYCLE_EVERY == 0) timeLockCycle(timing);
    timing->times.push_back(seconds / timing->items);
    timing->done = timing->done && done;
}

static double median(std::vector<double>* values)
{
    auto middle = values->begin() + std::ssize(*values) / 2;
    std::nth_element(values->begin(), middle, values->end());
    return *middle;
}

void endTiming(benchmark::State& state, Timing* timing)
{
    bool closed = osClose(timing->descriptor) == OS_DONE;
    if (!closed || !timing->done || timing->times.empty()) {
        throw std::runtime_error(timing->path + ": an operation failed");
    }
    double item = median(&timing->times);
    double lock = median(&timing->locks);
    state.counters["item"] = item;
    state.counters["lock"] = lock;
    state.counters["cycles"] = item / lock;
}
