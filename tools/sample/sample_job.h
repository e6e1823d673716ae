// A sample job database: a road with everything that a job can hold, for trying the
// tools and for benchmarks.
//
// Boundary of tools/sample/, for orvjob, bench/ and tests/. It uses the writer of jobs, so nothing
// else may be reading records meanwhile; it has no state of its own.
#pragma once

#include <string>

// Results of createSampleJob; a negative one is the engine's code (format/results.h).
constexpr int SAMPLE_OK = 0;
constexpr int SAMPLE_FULL = 1;        // not all points fit
constexpr int SAMPLE_NOT_CREATED = 2; // the file exists already, or errno tells why

// A sample job of this many points or more also holds what benchmarks read: lines NX1 to NX300
// without extension records, profiles GROUND, GROUNDL and GROUNDR of 500 vertices each, and the
// chain EDGE of 100 members.
constexpr int FULL_SAMPLE_POINTS = 501;
constexpr int SAMPLE_BARE_LINES = 300;

// Creates a job with that many points, at least 1, and an alignment with its chains,
// curves, spirals, lines, profiles and survey chains; the same seed gives the same
// bytes on every platform. *written becomes the number of points in the file.
//
// SAMPLE_FULL leaves a sound job with as many points as fit, and some pages for the records that
// reading it adds. After any other failure, or where the program is ended meanwhile, there is no
// file at the path, or the one that was there before.
int createSampleJob(const std::string& path, int points, unsigned seed, int* written);
