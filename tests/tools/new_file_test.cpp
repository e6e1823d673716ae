// Files that the tools make, and what the systems' runtimes do differently about them: names in
// UTF-8, line ends, files that are in the way.
#include "platform/new_file.h"
#include "tests/support/command.h"
#include "tests/support/process.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

#if defined(_WIN32)
constexpr char DEVICE[] = "NUL";
#else
constexpr char DEVICE[] = "/dev/null";
#endif

static auto filesIn(const std::string& directory)
{
    return std::distance(fs::directory_iterator(fs::path(directory)), {});
}

TEST(NewFile, ReplacesNothingThatItMayNotAndNoDevice)
{
    for (bool replaces : {false, true}) {
        const std::string directory = freshDirectory();
        const std::string path = directory + "/Łódź";
        NewFile file;
        ASSERT_EQ(beginNewFile(&file, path, replaces), NEW_FILE_DONE);
        EXPECT_EQ(writeNewFile(&file, "1\n2", 3), NEW_FILE_DONE);
        writeBytes(path, "other");
        EXPECT_EQ(finishNewFile(&file), replaces ? NEW_FILE_DONE : NEW_FILE_EXISTS);
        EXPECT_EQ(fileBytes(path), replaces ? "1\n2" : "other");
        EXPECT_EQ(filesIn(directory), 1);

        ASSERT_EQ(beginNewFile(&file, DEVICE, replaces), NEW_FILE_DONE);
        EXPECT_TRUE(file.isDevice);
        EXPECT_EQ(writeNewFile(&file, "1\n2", 3), NEW_FILE_DONE);
        EXPECT_EQ(finishNewFile(&file), NEW_FILE_DONE);
    }
}

#if !defined(_WIN32)
TEST(NewFile, ComesToBeWhereLinksLeadAndNowhereElse)
{
    const std::string directory = freshDirectory();
    fs::create_directory(directory + "/folder");
    fs::create_symlink("folder/first", directory + "/relative");
    fs::create_symlink(directory + "/folder/second", directory + "/absolute");
    fs::create_symlink("loop", directory + "/loop");
    NewFile file;
    for (const std::string& path : {directory + "/relative", directory + "/absolute"}) {
        ASSERT_EQ(beginNewFile(&file, path, false), NEW_FILE_DONE) << path;
        EXPECT_EQ(finishNewFile(&file), NEW_FILE_DONE);
        EXPECT_TRUE(fs::is_symlink(path) && fs::is_regular_file(path));
    }
    EXPECT_EQ(filesIn(directory + "/folder"), 2);
    for (const char* path : {"/folder", "/none/x", "/folder/first/x", "/loop"}) {
        EXPECT_EQ(beginNewFile(&file, directory + path, true), NEW_FILE_FAILED) << path;
    }
    ASSERT_EQ(beginNewFile(&file, directory + "/folder/third", false), NEW_FILE_DONE);
    fs::remove_all(directory + "/folder");
    EXPECT_EQ(finishNewFile(&file), NEW_FILE_FAILED);
}
#endif

TEST(TemporaryFile, IsGoneOnceItsProgramIs)
{
    NewFile file;
    NewFile next;
    NewFile other;
    ASSERT_EQ(beginTemporaryFile(&file), NEW_FILE_DONE);
    const std::string path = file.temporary;
    dropName(&file);
    EXPECT_EQ(writeNewFile(&file, "1\n2", 3), NEW_FILE_DONE);
    EXPECT_EQ(fileBytes(file.temporary), "1\n2");
    close(file.descriptor); // as the system does for a program that is killed
    EXPECT_EQ(beginTemporaryFile(&next), NEW_FILE_DONE);
    EXPECT_EQ(next.temporary, path); // which is free again
    EXPECT_EQ(beginTemporaryFile(&other), NEW_FILE_DONE);
    EXPECT_TRUE(fs::exists(fs::path(path)));
    abandonNewFile(&next);
    abandonNewFile(&other);
}

TEST(Orvjob, CreatesASampleWhereNothingIsOrNone)
{
    const std::string directory = freshDirectory();
    const std::string path = directory + "/job.orv";
    Process maker =
        startProcess({ORVIDX_JOB_TOOL, "create-sample", path, "--points", "90000"}, 0, 1, 2);
    while (filesIn(directory) == 0)
        std::this_thread::yield();
    killProcess(maker);
    EXPECT_EQ(waitForProcess(maker), KILLED);
    EXPECT_FALSE(fs::exists(path));

    writeBytes(path, "mine");
    for (const std::string& taken : {path, std::string(DEVICE)}) {
        CommandResult run = runCommand({ORVIDX_JOB_TOOL, "create-sample", taken});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.errors, "orvjob: " + taken + ": File exists\n");
    }
    EXPECT_EQ(fileBytes(path), "mine");
}

TEST(Tools, TakeAndPrintUtf8WithTheSameLineEnds)
{
    const std::string directory = freshDirectory();
    const std::string job = directory + "/Łódź.orv";
    const std::string copy = directory + "/日本.orv";
    const std::string json = directory + "/Straße.json";
    CommandResult made = runCommand({ORVIDX_JOB_TOOL, "create-sample", job});
    EXPECT_EQ(made.output, job + ": a sample job, points: 200\n") << made.errors;
    CommandResult copied = runCommand({ORVIDX_JOB_TOOL, "backup", job, copy});
    EXPECT_EQ(copied.output, copy + ": a copy of " + job + ", " +
                                 std::to_string(fileBytes(copy).size()) + " bytes\n");
    EXPECT_EQ(runCommand({ORVIDX_JOB_TOOL, "diff", job, copy}).output, "no difference\n");
    EXPECT_EQ(runCommand({ORVIDX_JOB_TOOL, "check", copy}).status, 0);

    CommandResult printed = runCommand({ORVIDX_TOOL, "export", job});
    EXPECT_EQ(printed.errors, "");
    EXPECT_EQ(printed.output.find('\r'), std::string::npos);
    EXPECT_EQ(runCommand({ORVIDX_TOOL, "export", job, "-o", json}).status, 0);
    EXPECT_EQ(fileBytes(json), printed.output);
    EXPECT_EQ(filesIn(directory), 3);
}
