// Benchmarks of the library. Runs:
//
//   over the points of the job named by --job=FILE, else of a job with a deep tree
//     lock_cycle          the unit: file lock shared, 40 header bytes, unlock
//     connect             connect and disconnect
//     point_by_name       read a point by its name, in random order
//     point_walk          read the first or next point, a step
//     point_walk_tenth/N  the same in the Nth tenth of the walk
//     point_list          count all points and list their names, a name
//     add_record          recordAdd of a record with one key, in random order
//   over a sample job made for the purpose
//     line                read a line with its two points
//     line_first_read     the same, when that adds the line's extension record
//     chain               read a chain of 100 members
//     profile             read a profile of five data records, 500 vertices
//     version             count the element numbers up (nextVersionNumber)
//   parts of these, over the points and the sample
//     ix_find             ixFind of a point's key in random order, lock held
//     ix_next             ixNext along the points' keys, lock held
//     unpack_curve        unpackRecord of a curve's image
//     insert_with_split   ixAdd that splits a page, lock held; those without are not
//                         counted
//
// The runs but connect and lock_cycle are made through a connection in shared mode,
// each on a fresh copy; no file that is given is touched. Each line reports the median
// time of an item, that of the lock cycles timed on the same file in between, and their
// ratio as "cycles"; the column Time is the mean time of an iteration. All other
// arguments are those of Google Benchmark.
#include "bench/bench_support.h"
#include "cogo/cogo_state.h"
#include "records/record_image.h"
#include "survey/survey.h"
#include "tools/sample/sample_job.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>

// Runs that fill their file up are limited to as many iterations as it has room for.
constexpr int ADDED_RECORDS = 5000;
constexpr int SPLITS = 500;

constexpr int SHORT_STEPS = 32; // of an iteration

constexpr int UNUSED_INDEX = 16;         // no layout has it
constexpr uint32_t SCATTER = 2654435761; // odd: all multiples by 32-bit numbers differ

// -- Loops -------------------------------------------------------------------

// Times a step again and again. It returns whether it has succeeded.
template <typename STEP>
static void timeEach(benchmark::State& state, Timing* timing, const STEP& step)
{
    while (state.KeepRunning()) {
        Clock::time_point start = Clock::now();
        bool done = step();
        countIteration(state, timing, secondsSince(start), done);
    }
    endTiming(state, timing);
}

// Times steps that are too short to be timed one by one, SHORT_STEPS together inside one bracket.
template <typename STEP>
static void timeInBrackets(benchmark::State& state, const BenchJob& job, const STEP& step)
{
    OpenFile* file = fileOf(job.records);
    Timing timing = startTiming(job.path, SHORT_STEPS);
    while (state.KeepRunning()) {
        bool done = ixBeginRead(file) == IX_OK;
        Clock::time_point start = Clock::now();
        for (int i = 0; i < SHORT_STEPS; ++i) {
            done = step() && done;
        }
        double seconds = secondsSince(start);
        done = ixEndRead(file) == IX_OK && done;
        countIteration(state, &timing, seconds, done);
    }
    endTiming(state, &timing);
}

// Reads an element by name and gives it back. False when one of that failed.
static bool readByName(const BenchJob& job, uint32_t kind, const char* name)
{
    void* element = nullptr;
    if (orvIdx_readElementbyName(job.handle, kind, name, &element) != IDX_OK) return false;
    return orvIdx_freeElement(kind, &element) == IDX_OK;
}

// Times reading the named elements in turn, over and over.
static void timeReads(benchmark::State& state, const BenchJob& job, uint32_t kind,
                      const std::vector<std::string>& names)
{
    size_t reads = 0;
    Timing timing = startTiming(job.path);
    timeEach(state, &timing,
             [&] { return readByName(job, kind, names[reads++ % names.size()].c_str()); });
}

// -- Points ------------------------------------------------------------------

static void lockCycles(benchmark::State& state)
{
    std::string path = copyJob(benchState.pointJob);
    Timing timing = startTiming(path);
    timeEach(state, &timing, [&] { return lockCycle(timing.descriptor); });
}

static void connects(benchmark::State& state)
{
    std::string path = copyJob(benchState.pointJob);
    Timing timing = startTiming(path);
    timeEach(state, &timing, [&] {
        IdxConnection* handle = nullptr;
        bool done = orvIdx_connectToOrvaneOrvFile(&handle, path.c_str(), 0) == IDX_OK;
        return orvIdx_disconnectFromOrvaneOrvFile(&handle) == IDX_OK && done;
    });
}

static void pointsByName(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    std::vector<std::string> names = elementNames(job, ELEMENT_POINT);
    shuffleNames(&names);
    timeReads(state, job, ELEMENT_POINT, names);
    closeJob(&job);
}

// A step of the walk over the points, to the first one or the next. False when it failed.
static bool stepToPoint(const BenchJob& job, bool first)
{
    void* element = nullptr;
    int32_t result = first ? orvIdx_readFirstElement(job.handle, ELEMENT_POINT, &element)
                           : orvIdx_readNextElement(job.handle, ELEMENT_POINT, &element);
    orvIdx_freeElement(ELEMENT_POINT, &element);
    return result == IDX_OK;
}

static void pointWalk(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    size_t points = elementNames(job, ELEMENT_POINT).size();
    size_t steps = 0;
    Timing timing = startTiming(job.path);
    timeEach(state, &timing, [&] { return stepToPoint(job, steps++ % points == 0); });
    closeJob(&job);
}

static void pointWalkTenth(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    std::vector<std::string> names = elementNames(job, ELEMENT_POINT);
    size_t tenth = names.size() / 10;
    size_t begin = tenth * static_cast<size_t>(state.range(0) - 1);
    size_t at = 0;
    Timing timing = startTiming(job.path);
    while (state.KeepRunning()) {
        bool begun = at > 0 || readByName(job, ELEMENT_POINT, names[begin].c_str());
        timing.done = timing.done && begun;
        Clock::time_point start = Clock::now();
        bool done = stepToPoint(job, false);
        countIteration(state, &timing, secondsSince(start), done);
        if (++at + 1 >= tenth) at = 0;
    }
    endTiming(state, &timing);
    closeJob(&job);
}

static void pointList(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    size_t points = elementNames(job, ELEMENT_POINT).size();
    Timing timing = startTiming(job.path, static_cast<int>(points));
    timeEach(state, &timing, [&] {
        uint32_t count = 0;
        char* names = nullptr;
        int32_t result = orvIdx_numberOfElements(job.handle, ELEMENT_POINT, &count, &names);
        orvIdx_freeElementNameList(&names);
        return result == IDX_OK && count == points;
    });
    closeJob(&job);
}

// Makes the n-th of many scattered numbers the name under which the next record is added.
static void setScatteredKey(uint32_t n)
{
    char name[ELEMENT_NAME_ROOM];
    std::snprintf(name, sizeof name, "%u", n * SCATTER);
    KeyComponents key = keyComponents("MET", name, "", "");
    setRecordKey(buildKey(&key).text);
}

static void addedRecords(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    uint32_t n = 0;
    cogoState.versionCounter = 1;
    Timing timing = startTiming(job.path);
    while (state.KeepRunning()) {
        setScatteredKey(++n);
        Clock::time_point start = Clock::now();
        int result = recordAdd(job.records, cogoState.versionLayout);
        countIteration(state, &timing, secondsSince(start), result == IX_OK);
    }
    endTiming(state, &timing);
    closeJob(&job);
}

// -- Elements ----------------------------------------------------------------

// Reads the sample's lines that have an extension record.
static void lines(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    std::vector<std::string> names = elementNames(job, ELEMENT_LINE);
    std::erase_if(names, [](const std::string& name) { return name.starts_with("NX"); });
    timeReads(state, job, ELEMENT_LINE, names);
    closeJob(&job);
}

static void linesFirstRead(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    std::vector<std::string> names;
    for (int number = 1; number <= SAMPLE_BARE_LINES; ++number) {
        names.push_back(std::string("NX").append(std::to_string(number)));
    }
    timeReads(state, job, ELEMENT_LINE, names);
    closeJob(&job);
}

static void chain(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    timeReads(state, job, ELEMENT_CHAIN, {"EDGE"});
    closeJob(&job);
}

static void profile(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    timeReads(state, job, ELEMENT_PROFILE, {"GROUND"});
    closeJob(&job);
}

static void versionNumbers(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    Timing timing = startTiming(job.path);
    timeEach(state, &timing, [&] { return nextVersionNumber(job.records) > 0; });
    closeJob(&job);
}

// -- Parts -------------------------------------------------------------------

// Returns the keys of all points, in their order.
static std::vector<std::string> pointKeys(IndexFile* tree)
{
    std::vector<std::string> keys;
    int result = ixFindFirst(tree, POINT_NAME_INDEX, nullptr, 0);
    while (result == IX_OK) {
        keys.emplace_back(tree->positions[POINT_NAME_INDEX].key);
        result = ixNext(tree, POINT_NAME_INDEX, nullptr, 0);
    }
    if (keys.empty()) throw std::runtime_error("a job without points");
    return keys;
}

static void finds(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    std::vector<std::string> keys = pointKeys(&job.records->tree);
    shuffleNames(&keys);
    size_t at = 0;
    timeInBrackets(state, job, [&] {
        const char* key = keys[at].c_str();
        if (++at == keys.size()) at = 0;
        // Found under its record's number.
        return ixFind(&job.records->tree, POINT_NAME_INDEX, key, 0, nullptr, 0) == IX_SAME_KEY;
    });
    closeJob(&job);
}

static void nexts(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.pointJob);
    IndexFile* tree = &job.records->tree;
    size_t points = pointKeys(tree).size();
    size_t at = 0;
    timeInBrackets(state, job, [&] {
        int result = at == 0 ? ixFindFirst(tree, POINT_NAME_INDEX, nullptr, 0)
                             : ixNext(tree, POINT_NAME_INDEX, nullptr, 0);
        if (++at == points) at = 0;
        return result == IX_OK;
    });
    closeJob(&job);
}

static void unpackedCurves(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    std::string name = elementNames(job, ELEMENT_CURVE).front();
    CurveResult curve = {};
    bool found = findCurve(job.records, name.c_str()) == COGO_OK &&
                 readCurve(job.records, &curve) == COGO_OK;
    if (!found) throw std::runtime_error("a curve that cannot be read: " + name);

    // The layout's variables still hold what was read.
    uint8_t typeByte = 0;
    uint8_t image[RECORD_LIMIT];
    int length = packRecord(image, cogoState.curveLayout, KIND_CURVE, sizeof image);
    Timing timing = startTiming(job.path, SHORT_STEPS);
    while (state.KeepRunning()) {
        bool done = true;
        Clock::time_point start = Clock::now();
        for (int step = 0; step < SHORT_STEPS; ++step) {
            done = unpackRecord(image, &cogoState.curvePlan, &typeByte, length) == IX_OK && done;
        }
        countIteration(state, &timing, secondsSince(start), done);
    }
    endTiming(state, &timing);
    state.counters["bytes"] = length;
    closeJob(&job);
}

// Returns the seconds of the next insertion that needs a new page, or a negative number when an
// insertion failed.
static double timeSplit(IndexFile* tree, uint32_t* n)
{
    for (;;) {
        char key[ELEMENT_NAME_ROOM];
        std::snprintf(key, sizeof key, "%010u", ++*n * SCATTER);
        int nextFreePage = tree->file.header.nextFreePage;
        Clock::time_point start = Clock::now();
        int result = ixAdd(tree, UNUSED_INDEX, key, 1, nullptr, 0);
        double seconds = secondsSince(start);
        if (result != IX_OK) return -1.0;
        if (tree->file.header.nextFreePage != nextFreePage) return seconds;
    }
}

static void insertionsWithSplit(benchmark::State& state)
{
    BenchJob job = openCopy(benchState.sampleJob);
    uint32_t n = 0;
    Timing timing = startTiming(job.path);
    while (state.KeepRunning()) {
        bool begun = ixBeginUpdate(fileOf(job.records)) == IX_OK;
        double seconds = begun ? timeSplit(&job.records->tree, &n) : -1.0;
        bool ended = begun && ixEndUpdate(fileOf(job.records)) == IX_OK;
        countIteration(state, &timing, seconds, ended && seconds >= 0.0);
    }
    endTiming(state, &timing);
    closeJob(&job);
}

// -- Main --------------------------------------------------------------------

static void timeByHand(benchmark::internal::Benchmark* run)
{
    run->Unit(benchmark::kMicrosecond)->UseManualTime();
}

BENCHMARK(lockCycles)->Name("lock_cycle")->Apply(timeByHand);
BENCHMARK(connects)->Name("connect")->Apply(timeByHand);
BENCHMARK(pointsByName)->Name("point_by_name")->Apply(timeByHand);
BENCHMARK(pointWalk)->Name("point_walk")->Apply(timeByHand);
BENCHMARK(pointWalkTenth)->Name("point_walk_tenth")->Apply(timeByHand)->Arg(1)->Arg(5)->Arg(10);
BENCHMARK(pointList)->Name("point_list")->Apply(timeByHand);
BENCHMARK(addedRecords)->Name("add_record")->Apply(timeByHand)->Iterations(ADDED_RECORDS);
BENCHMARK(lines)->Name("line")->Apply(timeByHand);
BENCHMARK(linesFirstRead)
    ->Name("line_first_read")
    ->Apply(timeByHand)
    ->Iterations(SAMPLE_BARE_LINES);
BENCHMARK(chain)->Name("chain")->Apply(timeByHand);
BENCHMARK(profile)->Name("profile")->Apply(timeByHand);
BENCHMARK(versionNumbers)->Name("version")->Apply(timeByHand);
BENCHMARK(finds)->Name("ix_find")->Apply(timeByHand);
BENCHMARK(nexts)->Name("ix_next")->Apply(timeByHand);
BENCHMARK(unpackedCurves)->Name("unpack_curve")->Apply(timeByHand);
BENCHMARK(insertionsWithSplit)->Name("insert_with_split")->Apply(timeByHand)->Iterations(SPLITS);

// Takes the job out of the arguments. Returns it, or the default job when there is none.
static std::string takeJobArgument(int* argc, char** argv)
{
    constexpr char OPTION[] = "--job=";
    std::string job = ORVIDX_BENCH_JOB;
    int kept = 0;
    for (int at = 0; at < *argc; ++at) {
        if (at > 0 && std::strncmp(argv[at], OPTION, std::strlen(OPTION)) == 0) {
            job = argv[at] + std::strlen(OPTION);
        } else {
            argv[kept++] = argv[at];
        }
    }
    argv[kept] = nullptr;
    *argc = kept;
    return job;
}

int main(int argc, char** argv)
{
    std::string pointJob = takeJobArgument(&argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

    int status = 0;
    try {
        makeBenchJobs(pointJob);
        benchmark::RunSpecifiedBenchmarks();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "job_bench: %s\n", error.what());
        status = 1;
    }
    benchmark::Shutdown();
    removeBenchJobs();
    return status;
}
