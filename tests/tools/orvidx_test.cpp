// The answers of orvidx to right and wrong use.
#include "file/lock_bytes.h"
#include "platform/os.h"
#include "tests/support/bad_files.h"
#include "tests/support/command.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

static CommandResult orvidx(std::vector<std::string> words)
{
    words.insert(words.begin(), ORVIDX_TOOL);
    return runCommand(words);
}

TEST(Orvidx, PrintsCountsNamesAndMembers)
{
    std::string job = freshJob("tiny");
    CommandResult info = orvidx({"info", job});
    EXPECT_EQ(info.status, 0);
    EXPECT_EQ(info.output, "points         8\n"
                           "lines          3\n"
                           "curves         2\n"
                           "spirals        4\n"
                           "chains         4\n"
                           "profiles       2\n"
                           "survey chains  2\n");

    CommandResult list = orvidx({"list", "survey-chain", job});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.output, "EDGE OF WATER\nRIDGE\n");

    CommandResult show = orvidx({"show", "profile", "P1", job});
    EXPECT_EQ(show.status, 0);
    EXPECT_TRUE(show.output.starts_with("name: \"P1\"\n")) << show.output;
    EXPECT_NE(show.output.find("  3: vertexCode: 0, station: 200.0, segmentNumber: 1"),
              std::string::npos)
        << show.output;
}

TEST(Orvidx, TellsNamesApartThatHoldCommas)
{
    // The name of the first chain, in its key and in its record.
    std::string job = freshJob("tiny");
    std::string bytes = fileBytes(job);
    int places = 0;
    for (size_t at = 0; (at = bytes.find("CHAEMPTY", at)) != std::string::npos; ++places)
        bytes.replace(at, 8, "CHAEM,,Y");
    ASSERT_EQ(places, 2);
    writeBytes(job, bytes);

    EXPECT_EQ(orvidx({"list", "chain", job}).output, "EM,,Y\nMAIN\nMAINX\nREF\n");
    EXPECT_EQ(orvidx({"show", "chain", "EM,,Y", job}).status, 0);
}

TEST(Orvidx, SpeaksUtf8ForNamesOutsideAscii)
{
    std::string job = freshJob("mixed");
    EXPECT_NE(orvidx({"list", "curve", job}).output.find("\n\u00C4CV\n"), std::string::npos);
    EXPECT_EQ(orvidx({"show", "curve", "\u00C4CV", job}).status, 0);
}

// The command line asks for something that is not there or not readable: status 1
// and one line that names the job and the reason.
static void expectRefusal(const std::vector<std::string>& words, const std::string& job,
                          const std::string& reason)
{
    CommandResult run = orvidx(words);
    EXPECT_EQ(run.status, 1) << job;
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.starts_with("orvidx: " + job + ": ")) << run.errors;
    EXPECT_NE(run.errors.find(reason), std::string::npos) << run.errors;
    EXPECT_EQ(run.errors.find('\n') + 1, run.errors.size()) << run.errors;
}

TEST(Orvidx, SaysWhyAJobCannotBeOpened)
{
    std::string directory = freshDirectory();
    std::string missing = directory + "/missing.orv";
    expectRefusal({"info", missing}, missing, "no such file");
    EXPECT_FALSE(fs::exists(missing));
    expectRefusal({"list", "point", directory}, directory, "a directory");
    std::string longPath = directory + "/" + std::string(240, 'x');
    expectRefusal({"info", longPath}, longPath, "longer than 255 characters");

    std::string job = directory + "/job.orv";
    for (const BadFile& file : badFiles()) {
        SCOPED_TRACE(file.what);
        writeBytes(job, file.bytes);
        expectRefusal({"info", job}, job, file.diagnosis);
    }
}

TEST(Orvidx, SaysThatAJobIsTakenOrClosedToTheUser)
{
    std::string job = freshJob("tiny");
    int descriptor = osOpen(job.c_str(), OS_READ_WRITE);
    ASSERT_EQ(lockRange(descriptor, LOCK_AT_ONCE, 512, 128), 0);
    expectRefusal({"info", job}, job, "too many users");
    osClose(descriptor);
    EXPECT_EQ(orvidx({"info", job}).status, 0);

    fs::permissions(job, fs::perms::none);
    if (!std::ifstream(job)) expectRefusal({"info", job}, job, "no access");
}

TEST(Orvidx, TellsAMissingElementFromOneThatCannotBeRead)
{
    std::string job = freshJob("tiny");
    expectRefusal({"show", "curve", "NONE", job}, job, "no such element: curve NONE");
    expectRefusal({"show", "line", "L3", job}, job, "cannot be read: line L3");
}

TEST(Orvidx, RefusesWrongUsageWithStatus2)
{
    std::string job = freshJob("tiny");
    const std::vector<std::vector<std::string>> wrong = {
        {},       {"list", "tree", job},  {"show", "curve", job}, {"info"},
        {"dump"}, {"info", job, "extra"}, {"list", "0", job},     {"export", job, "-o"}};
    for (const std::vector<std::string>& words : wrong) {
        CommandResult run = orvidx(words);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(words);
        EXPECT_NE(run.errors, "");
    }
    EXPECT_EQ(orvidx({"--help"}).status, 0);
}

TEST(Orvidx, ReplacesAFileByACompleteExportOrNotAtAll)
{
    std::string job = freshJob("tiny");
    std::string directory = job.substr(0, job.rfind('/'));
    std::string out = directory + "/out.json";
    auto filesInDirectory = [&] { return std::distance(fs::directory_iterator(directory), {}); };

    writeBytes(out, "before");
    EXPECT_EQ(orvidx({"export", job, "-o", directory + "/none/out.json"}).status, 1);

    EXPECT_EQ(orvidx({"export", job, "-o", out}).status, 0);
    EXPECT_EQ(fileBytes(out), orvidx({"export", job}).output);
    EXPECT_EQ(filesInDirectory(), 2);

    // The job itself is no place for its export.
    std::string bytes = fileBytes(job);
    EXPECT_EQ(orvidx({"export", job, "-o", job}).status, 1);
    EXPECT_EQ(fileBytes(job), bytes);
}
