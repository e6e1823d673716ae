// The writable state of bench/, all of it. For bench/ alone.
#pragma once

#include <filesystem>

struct BenchState {
    // Process: set by main before the first run. Runs work on copies of the jobs.
    std::filesystem::path directory; // of everything that is written
    std::filesystem::path pointJob;  // for the runs over points
    std::filesystem::path sampleJob; // for everything else, in the directory
};

extern BenchState benchState;
