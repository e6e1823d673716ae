// How long a writer waits for its turn behind readers in tight loops.
//
//   writer_wait [SECONDS]
//
// For 0, 1, 2, 4 and 8 readers, each a process, some seconds each (5 unless given): readers read
// points by name, one call right after the other, or a chain of 100 members again and again, or
// list the names of all points; the writer, a process as well, counts the element numbers up and
// rests five milliseconds, again and again, every tenth time connecting anew. Printed are the waits
// of its updates and connects, the longest of which may be one that had not ended, and what the
// readers did meanwhile.
//
// Works on a sample job that it makes in the temporary folder. For POSIX systems.
#include "api/orvIdx.h"
#include "cogo/cogo.h"
#include "tools/sample/sample_job.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using Clock = std::chrono::steady_clock;

constexpr int SAMPLE_POINTS = 1000;
constexpr char LONG_CHAIN[] = "EDGE"; // of the sample job
constexpr int MOST_WAITS = 100000;
constexpr int CONNECT_EVERY = 10;
constexpr std::chrono::milliseconds REST(5);

// What the processes tell the one that started them.
struct Tally {
    std::atomic<int64_t> reads;
    std::atomic<int32_t> waits;
    std::atomic<int64_t> waitingSince; // nanoseconds of the clock, 0: does not wait
    std::atomic<int64_t> nanoseconds[MOST_WAITS];
};

static int64_t now() { return Clock::now().time_since_epoch() / std::chrono::nanoseconds(1); }

static void must(bool done)
{
    if (!done) throw std::runtime_error("an operation failed");
}

static IdxConnection* connectTo(const std::string& path)
{
    IdxConnection* job = nullptr;
    must(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0) == IDX_OK);
    return job;
}

static std::string pointList(IdxConnection* job)
{
    uint32_t count = 0;
    char* list = nullptr;
    must(orvIdx_numberOfElements(job, ELEMENT_POINT, &count, &list) == IDX_OK);
    std::string names = list;
    orvIdx_freeElementNameList(&list);
    return names;
}

// -- The processes -----------------------------------------------------------

static void readPoints(const std::string& path, Tally* tally)
{
    IdxConnection* job = connectTo(path);
    std::vector<std::string> names;
    std::istringstream stream(pointList(job));
    for (std::string name; std::getline(stream, name, ',');) {
        names.push_back(name);
    }
    for (size_t i = 0;; ++i) {
        void* point = nullptr;
        const char* name = names[i * 7919 % names.size()].c_str();
        must(orvIdx_readElementbyName(job, ELEMENT_POINT, name, &point) == IDX_OK);
        orvIdx_freeElement(ELEMENT_POINT, &point);
        ++tally->reads;
    }
}

static void readChain(const std::string& path, Tally* tally)
{
    IdxConnection* job = connectTo(path);
    for (;;) {
        void* chain = nullptr;
        must(orvIdx_readElementbyName(job, ELEMENT_CHAIN, LONG_CHAIN, &chain) == IDX_OK);
        orvIdx_freeElement(ELEMENT_CHAIN, &chain);
        ++tally->reads;
    }
}

static void listPoints(const std::string& path, Tally* tally)
{
    IdxConnection* job = connectTo(path);
    for (;;) {
        pointList(job);
        ++tally->reads;
    }
}

template <typename WORK> static void timeWait(Tally* tally, const WORK& work)
{
    int64_t start = now();
    tally->waitingSince = start;
    work();
    tally->waitingSince = 0;
    if (tally->waits < MOST_WAITS) tally->nanoseconds[tally->waits++] = now() - start;
}

static void write(const std::string& path, Tally* tally)
{
    IdxConnection* job = nullptr;
    timeWait(tally, [&] { job = connectTo(path); });
    for (int count = 1;; ++count) {
        timeWait(tally, [&] { must(nextVersionNumber(slotContext()) > 0); });
        std::this_thread::sleep_for(REST);
        if (count % CONNECT_EVERY != 0) continue;
        must(orvIdx_disconnectFromOrvaneOrvFile(&job) == IDX_OK);
        timeWait(tally, [&] { job = connectTo(path); });
    }
}

using Work = void(const std::string& path, Tally* tally);

// Starts a process that does the work until it is killed, or fails.
static pid_t start(Work* work, const std::string& path, Tally* tally)
{
    pid_t process = fork();
    must(process >= 0);
    if (process != 0) return process;
    try {
        work(path, tally);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
    }
    _exit(EXIT_FAILURE);
}

// -- Runs --------------------------------------------------------------------

static void report(const char* work, int readers, int seconds, const Tally* tally)
{
    std::vector<int64_t> waits(tally->nanoseconds, tally->nanoseconds + tally->waits);
    const int64_t waitingSince = tally->waitingSince;
    if (waitingSince != 0) waits.push_back(now() - waitingSince);
    std::sort(waits.begin(), waits.end());
    auto milliseconds = [&](size_t hundredths) {
        return static_cast<double>(waits[(waits.size() - 1) * hundredths / 100]) / 1e6;
    };
    std::printf("%-6s %7d %7zu %10.3f %10.3f %10.3f %12lld\n", work, readers, waits.size(),
                milliseconds(50), milliseconds(90), milliseconds(100),
                static_cast<long long>(tally->reads / seconds));
}

static void run(const char* name, Work* work, int readers, int seconds, const std::string& path)
{
    constexpr int PROTECTION = PROT_READ | PROT_WRITE;
    void* room = mmap(nullptr, sizeof(Tally), PROTECTION, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    must(room != MAP_FAILED);
    Tally* tally = new (room) Tally;
    std::vector<pid_t> processes;
    processes.reserve(static_cast<size_t>(readers) + 1);
    for (int i = 0; i < readers; ++i) {
        processes.push_back(start(work, path, tally));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    tally->reads = 0;
    processes.push_back(start(write, path, tally));
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    report(name, readers, seconds, tally);
    for (pid_t process : processes) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    munmap(room, sizeof(Tally));
}

static void runAll(int seconds)
{
    namespace fs = std::filesystem;
    fs::path job = fs::temp_directory_path() / ("orvidx-wait-" + std::to_string(getpid()));
    int written = 0;
    must(seconds > 0 && createSampleJob(job, SAMPLE_POINTS, 1, &written) == SAMPLE_OK);
    std::printf("reads  readers   waits  median ms     90%% ms longest ms  reads/s\n");
    for (int readers : {0, 1, 2, 4, 8}) {
        run("point", readPoints, readers, seconds, job);
    }
    for (int readers : {1, 2, 4, 8}) {
        run("chain", readChain, readers, seconds, job);
    }
    for (int readers : {1, 2, 4, 8}) {
        run("list", listPoints, readers, seconds, job);
    }
    fs::remove(job);
}

int main(int argumentCount, char** arguments)
{
    try {
        runAll(argumentCount > 1 ? std::stoi(arguments[1]) : 5);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "writer_wait: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
