// What every benchmark needs: copies of job files to work on, connections to them, and
// the lock cycle that is the unit of measure. Failures are thrown.
#pragma once

#include "api/orvIdx.h"
#include "bench/bench_state.h"
#include "records/records.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

// A copy of a job that is worked on, and the connection to it.
struct BenchJob {
    std::string path;
    IdxConnection* handle;
    RecordFile* records; // the context below the connection
};

// Chooses the job for the runs over points, and makes the sample job in a new directory.
void makeBenchJobs(const std::string& pointJob);
// Removes the directory with everything in it.
void removeBenchJobs();

// Copies a job in place of the copy before. Returns the path of the copy.
std::string copyJob(const std::filesystem::path& job);
// Copies a job and connects to the copy.
BenchJob openCopy(const std::filesystem::path& job);
void closeJob(BenchJob* job);

std::vector<std::string> elementNames(const BenchJob& job, uint32_t kind);
void shuffleNames(std::vector<std::string>* names);

// Performs one lock cycle on an open file: takes the file lock shared, reads the header and
// unlocks. False when one of these fails.
bool lockCycle(int descriptor);

using Clock = std::chrono::steady_clock;
inline double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// A run being timed, iteration by iteration. Between iterations lock cycles are timed
// the same way on the run's own file, so that whatever else the machine does hits both. Medians
// are reported, because a few samples always meet something else.
struct Timing {
    std::string path;
    int descriptor;            // of its own, for the lock cycles
    int items;                 // of an iteration
    std::vector<double> times; // seconds of an item, one for each iteration
    std::vector<double> locks; // seconds of a lock cycle
    bool done;                 // no operation has failed
};
Timing startTiming(const std::string& path, int items = 1);

// Counts an iteration that took the seconds; done tells whether its operations succeeded. Nobody
// may hold the file lock exclusively.
void countIteration(benchmark::State& state, Timing* timing, double seconds, bool done);

// Reports "item", the time of an item; "lock", that of a lock cycle; and "cycles", how
// many lock cycles an item takes. Throws when an operation has failed.
void endTiming(benchmark::State& state, Timing* timing);
