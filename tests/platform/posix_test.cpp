// What POSIX systems do to an opened file beyond other openers: leases, signals, pipes in its
// place, forks.
#include "engine/engine.h"
#include "file/lock_bytes.h"
#include "platform/os.h"
#include "tests/support/command.h"
#include "tests/support/connection.h"
#include "tests/support/process.h"
#include "tests/support/raw_job.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

// Starts a copy of this process that does the work and ends with its result.
static Process forkChild(const std::function<int()>& work)
{
    fflush(stdout);
    pid_t child = fork();
    if (child == 0) exit(work());
    return child;
}

constexpr int NO_LEASE = 9;

// Holds a lease on a file, as a file server does for a client that reads it, until some time
// after somebody wants to write it.
static int lendForReading(const std::string& path, int readyEnd)
{
    sigset_t broken;
    sigemptyset(&broken);
    sigaddset(&broken, SIGIO);
    sigprocmask(SIG_BLOCK, &broken, nullptr);
    int file = open(path.c_str(), O_RDONLY);
    bool lent = fcntl(file, F_SETLEASE, F_RDLCK) == 0;
    if (write(readyEnd, "", 1) != 1 || !lent) return NO_LEASE;
    sigwaitinfo(&broken, nullptr);
    usleep(100000);
    return fcntl(file, F_SETLEASE, F_UNLCK);
}

TEST(OpenForWriting, WaitsForALeaseThroughSignals)
{
    std::string path = writeEmptyJob(0);
    Pipe ready = makePipe();
    Process server = forkChild([&] { return lendForReading(path, ready.writeEnd); });
    char told = 0;
    ASSERT_EQ(read(ready.readEnd, &told, 1), 1);

    struct sigaction interrupt = {};
    interrupt.sa_handler = [](int) {};
    sigaction(SIGALRM, &interrupt, nullptr);
    itimerval often = {{0, 20000}, {0, 20000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    int file = osOpen(path.c_str(), OS_READ_WRITE);
    often = {};
    setitimer(ITIMER_REAL, &often, nullptr);

    EXPECT_GE(file, 0);
    osClose(file);
    int status = waitForProcess(server);
    if (status == NO_LEASE) GTEST_SKIP() << "no leases on this file system";
    EXPECT_EQ(status, 0);
}

TEST(OpenForWriting, TellsARefusalFromAFailure)
{
    EXPECT_EQ(osOpen("/proc/self/exe", OS_READ_WRITE), OS_NO_WRITE_ACCESS);
    std::string path = writeEmptyJob(0);
    rlimit files = {};
    getrlimit(RLIMIT_NOFILE, &files);
    rlimit none = {STDERR_FILENO + 1, files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_EQ(osOpen(path.c_str(), OS_READ_WRITE), OS_FAILED);
    setrlimit(RLIMIT_NOFILE, &files);

    std::string pipe = path + "-pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    alarm(20); // would else wait for a writer
    EXPECT_EQ(osOpen(pipe.c_str(), OS_READ_ONLY), OS_FAILED);
    alarm(0);
}

// A child forked in the middle of an update has the parent's pages and lock, as copies.
TEST(ForkedChild, NeitherWritesNorUnlocksWhatIsTheParents)
{
    std::string path = writeEmptyJob(4);
    const std::string bytes = fileBytes(path);
    IndexFile file = {};
    ASSERT_EQ(ixOpen(&file, path.c_str(), OPEN_SHARED), IX_OK);
    ASSERT_EQ(ixBeginUpdate(&file.file), 0);
    ASSERT_EQ(ixAdd(&file, 1, "KEY", 5, nullptr, 0), IX_OK);
    Process child = forkChild([&] {
        bool refused = ixFind(&file, 1, "KEY", 5, nullptr, 0) == IX_FILE_LOCK &&
                       ixAdd(&file, 1, "KEY", 6, nullptr, 0) == IX_FILE_LOCK &&
                       ixEndUpdate(&file.file) != 0;
        return refused && ixClose(&file) == IX_OK && ixClose(&file) == IX_NOT_OPEN ? 0 : 1;
    });
    EXPECT_EQ(waitForProcess(child), 0);
    EXPECT_EQ(fileBytes(path), bytes);
    int other = osOpen(path.c_str(), OS_READ_WRITE);
    EXPECT_EQ(slotState(other, FILE_LOCK_BYTE), LOCKED);
    EXPECT_EQ(slotState(other, USER_SLOT_BASE), LOCKED);
    EXPECT_EQ(ixEndUpdate(&file.file), 0);
    EXPECT_EQ(ixFind(&file, 1, "KEY", 5, nullptr, 0), IX_OK);
    EXPECT_EQ(ixClose(&file), IX_OK);
    EXPECT_EQ(slotState(other, USER_SLOT_BASE), UNLOCKED);
    osClose(other);
}

TEST(ForkedChild, ConnectsForItself)
{
    std::string path = freshJob("tiny");
    Connection job(path);
    const std::vector<std::string> names = namesOf(job, ELEMENT_POINT);
    Process child = forkChild([&] {
        uint32_t count = 0;
        for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
            if (orvIdx_numberOfElements(job, kind, &count, nullptr) != IDX_ERROR) return 1;
            if (Element(job, kind, FIRST)) return 2;
        }
        if (orvIdx_disconnectFromOrvaneOrvFile(&job.job) != IDX_OK || job != nullptr) return 3;
        bool reads = namesOf(Connection(path), ELEMENT_POINT) == names;
        return reads && !testing::Test::HasFailure() ? 0 : 4;
    });
    EXPECT_EQ(waitForProcess(child), 0);
    EXPECT_EQ(namesOf(job, ELEMENT_POINT), names);
    int other = osOpen(path.c_str(), OS_READ_WRITE);
    EXPECT_EQ(slotState(other, USER_SLOT_BASE), LOCKED);
    osClose(other);
}
