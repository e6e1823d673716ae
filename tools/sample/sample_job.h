// A sample job database: a road with everything that a job can hold, for trying the
// tools and for benchmarks. Boundary for orvjob, bench/ and tests/.
#pragma once

#include <string>

// Answers of createSampleJob; a negative one is the engine's code (engine/results.h).
constexpr int SAMPLE_OK = 0;
constexpr int SAMPLE_FULL = 1;        // not all points fit
constexpr int SAMPLE_NOT_CREATED = 2; // the file is there already, or errno tells why

// From this many points on, a sample job also holds what benchmarks read: lines NX1
// to NX300 without extension records, profiles GROUND, GROUNDL and GROUNDR of 500
// vertices and the chain EDGE of 100 members.
constexpr int FULL_SAMPLE_POINTS = 501;
constexpr int SAMPLE_BARE_LINES = 300;

// Creates a job with points (1 or more) points and an alignment with its chains,
// curves, spirals, lines, profiles and survey chains; the same seed gives the same
// bytes on every platform. *written becomes the number of points in the file.
//
// SAMPLE_FULL leaves a sound job with as many points as fit, and some pages for what
// reading it writes. After any other failure no new file is left.
int createSampleJob(const std::string& path, int points, unsigned seed, int* written);
