// What the built files show to the world: the library's symbols and dependencies, and
// writable objects in the product, all of them ELF files; and what only POSIX systems do to
// a program: a disk that seems full, transfers in part, signals.

#include "platform/os.h"
#include "tests/support/command.h"
#include "tests/support/raw_job.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <sys/resource.h>
#include <thread>

// What a shell command prints; {} stands for the file.
static std::string shell(std::string command, const std::string& file = ORVIDX_LIBRARY)
{
    for (size_t at = 0; (at = command.find("{}")) != std::string::npos;) {
        command.replace(at, 2, "'" + file + "'");
    }
    CommandResult run = runCommand({"/bin/sh", "-c", command});
    EXPECT_EQ(run.status, 0) << command << ": " << run.errors;
    return run.output;
}

TEST(Library, ExportsExactlyTheElevenNames)
{
    // The name of the symbol version itself is an absolute symbol.
    EXPECT_EQ(shell(ORVIDX_NM " -D --defined-only {} | awk '$2 != \"A\" { sub(/@.*/, \"\", $3);"
                              " print $3 }' | LC_ALL=C sort | tr '\\n' ' '"),
              "dlmPassword initialize orvIdx_connectToOrvaneOrvFile "
              "orvIdx_disconnectFromOrvaneOrvFile orvIdx_freeElement orvIdx_freeElementNameList "
              "orvIdx_isOrvaneOrvFile orvIdx_numberOfElements orvIdx_readElementbyName "
              "orvIdx_readFirstElement orvIdx_readNextElement ");
}

// The words in brackets of the dynamic entries with a tag, as in
// 0x0001 (NEEDED) Shared library: [libc.so.6]
static std::string dynamicEntries(const std::string& tag, const std::string& file = ORVIDX_LIBRARY)
{
    return shell(ORVIDX_READELF " -dW {} | sed -n 's/.*(" + tag + ").*\\[\\(.*\\)\\]$/\\1/p'",
                 file);
}

static bool has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

// Their relocations are done and protected before they run, their stack is not executable, and
// they look for libraries in no folder that depends on where they are started.
TEST(LibraryAndTools, AreBuiltToBeHard)
{
    for (const std::string file : {ORVIDX_LIBRARY, ORVIDX_TOOL, ORVIDX_JOB_TOOL}) {
        std::string headers = shell(ORVIDX_READELF " -ldW {}", file);
        EXPECT_TRUE(has(headers, "GNU_RELRO") && has(headers, "GNU_STACK")) << file;
        EXPECT_TRUE(has(headers, "BIND_NOW") && !has(headers, "RWE")) << file;
        std::string paths = dynamicEntries("RUNPATH", file);
        EXPECT_TRUE(paths.empty() || (paths.starts_with("$ORIGIN/") && !has(paths, ":"))) << paths;
        std::string symbols = shell(ORVIDX_NM " -D -u {}", file);
        EXPECT_TRUE(ORVIDX_SANITIZED || has(symbols, "__stack_chk_fail")) << file;
        EXPECT_EQ(has(symbols, "printf_chk"), bool(ORVIDX_FORTIFIED)) << file;
    }
    const std::string marked =
        shell("xargs -d '\\n' -n 1 " ORVIDX_READELF " -nW < {} | grep -c 'IBT, SHSTK' || true",
              ORVIDX_OBJECT_LIST);
    const std::string objects = shell("grep -c . {}", ORVIDX_OBJECT_LIST);
    EXPECT_EQ(marked, ORVIDX_MARKS_JUMPS ? objects : "0\n");
}

TEST(Library, NeedsTheLanguageRuntimesOnlyAndCarriesItsVersion)
{
    std::istringstream needed(dynamicEntries("NEEDED"));
    std::set<std::string> runtimes = {"libc", "libm", "libgcc_s", "libstdc++"};
    if (ORVIDX_SANITIZED) runtimes.insert({"libasan", "libubsan"});
    int count = 0;
    for (std::string name; std::getline(needed, name); ++count) {
        bool loader = name.starts_with("ld-linux");
        EXPECT_TRUE(loader || runtimes.contains(name.substr(0, name.find(".so")))) << name;
    }
    EXPECT_GT(count, 0);
    EXPECT_EQ(dynamicEntries("SONAME"), "liborvIdx.so.2.0\n");
}

// Hosts may export functions of these names, `initialize` above all: nothing is bound to them.
TEST(Library, CallsItsOwnFunctions)
{
    EXPECT_EQ(shell(ORVIDX_READELF " -rW {} | grep -E ' (orvIdx_|initialize|dlmPassword)' || true"),
              "");
    EXPECT_NE(shell(ORVIDX_READELF " -rW {} | grep ' free' || true"), "");
}

// The objects in writable sections, each with its file in front. A line of the symbol
// table: address, seven columns of flags, section, tab, size, name.
TEST(Product, KeepsWritableObjectsInStateFilesOnly)
{
    if (ORVIDX_SANITIZED) GTEST_SKIP() << "the sanitizers add writable objects of their own";
    std::string objects =
        shell("xargs -d '\\n' " ORVIDX_OBJDUMP " -t < {} | awk '/file format/ { file = $1 }"
              " / d / || /\\.data\\.rel\\.ro/ { next }"
              " /[ ](\\.data|\\.bss|\\.tdata|\\.tbss|\\*COM\\*)[^ ]*\\t/ { print file $NF }'",
              ORVIDX_OBJECT_LIST);
    std::istringstream lines(objects);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(has(line, "_state.cpp.o:")) << line;
    }
    EXPECT_TRUE(has(objects, "engineState")) << "not even the state was found";
}

TEST(Orvidx, KeepsTheOldExportWhenTheDiskIsFull)
{
    std::string job = freshJob("mixed");
    std::string directory = freshDirectory();
    std::string out = directory + "/out.json";
    writeBytes(out, "before");
    // The file limit, in blocks of 512 bytes, lies above the size of the job and below
    // that of the export.
    const std::string limited = "trap '' XFSZ; ulimit -f 1500; exec \"$0\" export \"$1\" -o \"$2\"";
    CommandResult full = runCommand({"/bin/sh", "-c", limited, ORVIDX_TOOL, job, out});
    EXPECT_EQ(full.status, 1);
    EXPECT_NE(full.errors, "");
    EXPECT_EQ(fileBytes(out), "before");
    EXPECT_EQ(runCommand({"/bin/ls", directory}).output, "out.json\n");
    EXPECT_EQ(runCommand({ORVIDX_TOOL, "export", job, "-o", "/dev/full"}).status, 1);
}

// Whatever stands in place of a job is answered with a reason, in one line.
TEST(Orvjob, SaysWhyAJobCannotBeChecked)
{
    std::string directory = freshDirectory();
    std::string older = fileBytes(ORVIDX_TEST_DATA "/golden/tiny/job.orv");
    for (int i = 0; i < 8; ++i) {
        older["\0\4\10\14\20\24\34\40"[i]] = "VALIDATE"[i];
    }
    writeBytes(directory + "/older", older);
    ASSERT_EQ(runCommand({"/usr/bin/env", "mkfifo", directory + "/fifo"}).status, 0);
    const struct {
        std::string name;
        const char* reason;
    } rows[] = {
        {"/none", "there is no such file"},
        {"/fifo", "not a regular file, not a job database"},
        {"/older", "a job database of the older format, which is not looked into"},
        {"", "a directory, not a job database"},
    };
    for (const auto& row : rows) {
        CommandResult run = runCommand({ORVIDX_JOB_TOOL, "check", directory + row.name});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.errors, "orvjob: " + directory + row.name + ": " + row.reason + "\n");
        run = runCommand({ORVIDX_JOB_TOOL, "diff", freshJob("tiny"), directory + row.name});
        EXPECT_EQ(run.status, 2) << row.name;
    }
    const std::string full = "exec \"$0\" \"$1\" \"$2\" $3 >/dev/full";
    std::string job = freshJob("tiny");
    EXPECT_EQ(runCommand({"/bin/sh", "-c", full, ORVIDX_JOB_TOOL, "check", job}).status, 1);
    EXPECT_EQ(runCommand({"/bin/sh", "-c", full, ORVIDX_JOB_TOOL, "diff", job, job}).status, 2);
}

// A writer at work is waited for; a job that is only open is checked at once.
TEST(Orvjob, ChecksBesideOthers)
{
    std::string job = freshJob("tiny");
    int descriptor = osOpen(job.c_str(), OS_READ_WRITE);
    OsLockRange fileLock = {1, 1};
    ASSERT_EQ(osLock(descriptor, OS_LOCK_SHARED, OS_LOCK_AT_ONCE, &fileLock), OS_DONE);
    EXPECT_EQ(runCommand({ORVIDX_JOB_TOOL, "check", job, "--timeout", "0"}).status, 0);
    ASSERT_EQ(osUnlock(descriptor, &fileLock), OS_DONE);
    ASSERT_EQ(osLock(descriptor, OS_LOCK_EXCLUSIVE, OS_LOCK_AT_ONCE, &fileLock), OS_DONE);
    CommandResult run = runCommand({ORVIDX_JOB_TOOL, "check", job, "--timeout", "0"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(has(run.errors, "another program is writing")) << run.errors;
    osClose(descriptor);
}

TEST(Transfers, AreDoneAsFarAsTheSystemGoes)
{
    int descriptor = osOpen(writeEmptyJob(0).c_str(), OS_READ_WRITE);
    char bytes[300] = "";
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    rlimit lower = {3000, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &lower);
    EXPECT_EQ(osWriteAt(descriptor, 2900, bytes, 300), 100);
    EXPECT_EQ(osWriteAt(descriptor, 3000, bytes, 300), OS_FAILED);
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_EQ(osReadAt(descriptor, 2900, bytes, 300), 100);
    EXPECT_EQ(osReadAt(descriptor, 3000, bytes, 300), 0);
    EXPECT_EQ(osClose(descriptor), OS_DONE);
    EXPECT_EQ(osReadAt(descriptor, 0, bytes, 300), OS_FAILED);
    EXPECT_EQ(osWriteAt(descriptor, 0, bytes, 300), OS_FAILED);
    EXPECT_EQ(osClose(descriptor), OS_FAILED);
}

TEST(Signals, DoNotEndTheWaitForALock)
{
    std::string path = writeEmptyJob(0);
    int holder = osOpen(path.c_str(), OS_READ_WRITE);
    int waiter = osOpen(path.c_str(), OS_READ_WRITE);
    OsLockRange range = {1, 1};
    ASSERT_EQ(osLock(holder, OS_LOCK_EXCLUSIVE, OS_LOCK_AT_ONCE, &range), OS_DONE);

    static std::atomic<int> signals;
    struct sigaction action = {};
    action.sa_handler = [](int) { ++signals; };
    sigaction(SIGALRM, &action, nullptr); // which system calls are not restarted after
    const pthread_t test = pthread_self();
    std::thread releaser([&] {
        while (signals < 3) {
            pthread_kill(test, SIGALRM);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        osUnlock(holder, &range);
    });
    EXPECT_EQ(osLock(waiter, OS_LOCK_EXCLUSIVE, OS_LOCK_WAIT, &range), OS_DONE);
    EXPECT_GE(signals, 3);
    releaser.join();
    osClose(holder);
    osClose(waiter);
}
