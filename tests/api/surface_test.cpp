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

static std::vector<std::vector<std::string>> linesOfWords(const std::string& text)
{
    std::vector<std::vector<std::string>> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        lines.emplace_back(std::istream_iterator<std::string>(words),
                           std::istream_iterator<std::string>());
    }
    return lines;
}

TEST(Library, ExportsExactlyTheElevenNames)
{
    CommandResult run = runCommand({ORVIDX_NM, "-D", "--defined-only", ORVIDX_LIBRARY});
    ASSERT_EQ(run.status, 0) << run.errors;
    std::set<std::string> names;
    for (const std::vector<std::string>& words : linesOfWords(run.output)) {
        // The name of the symbol version itself is an absolute symbol.
        if (words.size() == 3 && words[1] != "A")
            names.insert(words[2].substr(0, words[2].find('@')));
    }
    std::set<std::string> expected = {"orvIdx_isOrvaneOrvFile",
                                      "orvIdx_connectToOrvaneOrvFile",
                                      "orvIdx_disconnectFromOrvaneOrvFile",
                                      "orvIdx_numberOfElements",
                                      "orvIdx_freeElementNameList",
                                      "orvIdx_readElementbyName",
                                      "orvIdx_readFirstElement",
                                      "orvIdx_readNextElement",
                                      "orvIdx_freeElement",
                                      "initialize",
                                      "dlmPassword"};
    EXPECT_EQ(names, expected);
}

// Returns the words in brackets of the dynamic entries with a tag, as in
// 0x0001 (NEEDED) Shared library: [libc.so.6]
static std::set<std::string> dynamicEntries(const std::string& tag,
                                            const std::string& file = ORVIDX_LIBRARY)
{
    CommandResult run = runCommand({ORVIDX_READELF, "-dW", file});
    EXPECT_EQ(run.status, 0) << run.errors;
    std::set<std::string> values;
    for (const std::vector<std::string>& words : linesOfWords(run.output)) {
        if (words.size() > 2 && words[1] == "(" + tag + ")")
            values.insert(words.back().substr(1, words.back().size() - 2));
    }
    return values;
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
        std::string headers = runCommand({ORVIDX_READELF, "-lW", file}).output;
        std::string entries = runCommand({ORVIDX_READELF, "-dW", file}).output;
        EXPECT_TRUE(has(headers, "GNU_RELRO") && has(headers, "GNU_STACK")) << file;
        EXPECT_FALSE(has(headers, "RWE")) << file;
        EXPECT_TRUE(has(entries, "BIND_NOW")) << file;
        for (const std::string& paths : dynamicEntries("RUNPATH", file)) {
            EXPECT_TRUE(paths.starts_with("$ORIGIN/") && !has(paths, ":")) << file << " " << paths;
        }
        std::string symbols = runCommand({ORVIDX_NM, "-D", file}).output;
        EXPECT_TRUE(ORVIDX_SANITIZED || has(symbols, "__stack_chk_fail")) << file;
        EXPECT_EQ(has(symbols, "printf_chk"), bool(ORVIDX_FORTIFIED)) << file;
    }
    std::istringstream objects(fileBytes(ORVIDX_OBJECT_LIST));
    for (std::string object; std::getline(objects, object);) {
        std::string notes = runCommand({ORVIDX_READELF, "-nW", object}).output;
        EXPECT_EQ(has(notes, "IBT, SHSTK"), bool(ORVIDX_MARKS_JUMPS)) << object;
    }
}

TEST(Library, NeedsTheLanguageRuntimesOnlyAndCarriesItsVersion)
{
    std::set<std::string> runtimes = {"libc", "libm", "libgcc_s", "libstdc++"};
    if (ORVIDX_SANITIZED) runtimes.insert({"libasan", "libubsan"});
    std::set<std::string> needed = dynamicEntries("NEEDED");
    EXPECT_FALSE(needed.empty());
    for (const std::string& name : needed) {
        bool loader = name.starts_with("ld-linux");
        EXPECT_TRUE(loader || runtimes.contains(name.substr(0, name.find(".so")))) << name;
    }
    EXPECT_EQ(dynamicEntries("SONAME"), std::set<std::string>{"liborvIdx.so.2.0"});
}

TEST(Library, CallsItsOwnInitializeWhenTheHostHasOne)
{
    CommandResult run = runCommand({ORVIDX_SURFACE_HOST, freshJob("tiny")});
    EXPECT_EQ(run.status, 0) << run.errors;
}

static bool isWritableSection(const std::string& section)
{
    if (section.starts_with(".data.rel.ro")) return false;
    for (const char* writable : {".data", ".bss", ".tdata", ".tbss", "*COM*"}) {
        if (section.starts_with(writable)) return true;
    }
    return false;
}

// Returns the names of the objects in writable sections of an object file. A line of
// the symbol table: address, seven columns of flags, section, tab, size, name.
static std::vector<std::string> writableObjects(const std::string& objectFile)
{
    CommandResult run = runCommand({ORVIDX_OBJDUMP, "-t", objectFile});
    EXPECT_EQ(run.status, 0) << run.errors;
    std::vector<std::string> names;
    std::istringstream stream(run.output);
    for (std::string line; std::getline(stream, line);) {
        size_t tab = line.find('\t');
        if (tab == std::string::npos) continue;
        std::string section = line.substr(line.rfind(' ', tab) + 1, tab - line.rfind(' ', tab) - 1);
        bool isSectionSymbol = line.substr(0, tab).find(" d ") != std::string::npos;
        if (!isSectionSymbol && isWritableSection(section)) names.push_back(line.substr(tab + 1));
    }
    return names;
}

TEST(Product, KeepsWritableObjectsInStateFilesOnly)
{
    if (ORVIDX_SANITIZED) GTEST_SKIP() << "the sanitizers add writable objects of their own";
    bool stateSeen = false;
    std::istringstream files(fileBytes(ORVIDX_OBJECT_LIST));
    for (std::string file; std::getline(files, file);) {
        std::vector<std::string> objects = writableObjects(file);
        if (file.ends_with("_state.cpp.o")) {
            stateSeen = stateSeen || !objects.empty();
        } else {
            EXPECT_TRUE(objects.empty()) << file << ": " << objects.front();
        }
    }
    EXPECT_TRUE(stateSeen) << "not even the state was found";
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
