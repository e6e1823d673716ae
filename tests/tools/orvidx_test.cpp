// The answers of orvidx to right and wrong use.
#include "file/lock_bytes.h"
#include "platform/os.h"
#include "tests/support/bad_files.h"
#include "tests/support/command.h"
#include "tests/support/raw_job.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace fs = std::filesystem;
using namespace std::string_literals;

static CommandResult orvidx(std::vector<std::string> words)
{
    words.insert(words.begin(), ORVIDX_TOOL);
    return runCommand(words);
}

TEST(Orvidx, PrintsCountsNamesAndMembers)
{
    const std::string tiny = freshJob("tiny");
    const std::string mixed = freshJob("mixed");
    // Names that hold commas are told apart: that of the first chain, in its key and its record.
    const std::string commas = freshJob("tiny");
    std::string bytes = fileBytes(commas);
    for (size_t at = 0; (at = bytes.find("CHAEMPTY", at)) != std::string::npos;) {
        bytes.replace(at, 8, "CHAEM,,Y");
    }
    writeBytes(commas, bytes);
    const struct {
        std::vector<std::string> words;
        std::string part; // of the output
    } rows[] = {
        {{"info", tiny},
         "points         8\nlines          3\ncurves         2\nspirals        4\n"
         "chains         4\nprofiles       2\nsurvey chains  2\n"},
        {{"list", "survey-chain", tiny}, "EDGE OF WATER\nRIDGE\n"},
        {{"show", "profile", "P1", tiny}, "name: \"P1\"\n"},
        {{"show", "profile", "P1", tiny}, "  3: vertexCode: 0, station: 200.0, segmentNumber: 1"},
        {{"list", "chain", commas}, "EM,,Y\nMAIN\nMAINX\nREF\n"},
        {{"show", "chain", "EM,,Y", commas}, "name: \"EM,,Y\""},
        {{"list", "curve", mixed}, "\n\u00C4CV\n"},
        {{"show", "curve", "\u00C4CV", mixed}, "name: \"\u00C4CV\""},
        {{"show", "survey-chain", tiny}, "RIDGE\n"},
        {{"list", "-0", "survey-chain", tiny}, "EDGE OF WATER\0RIDGE\0"s},
        {{"list", "--json", "survey-chain", tiny}, "[\"EDGE OF WATER\", \"RIDGE\"]\n"},
        {{"show", "--json", "profile", "P1", tiny}, "{\"name\": \"P1\", "},
        {{"info", "--json", tiny},
         "{\"points\": 8, \"lines\": 3, \"curves\": 2, \"spirals\": 4, \"chains\": 4, "
         "\"profiles\": 2, \"surveyChains\": 2}\n"}};
    for (const auto& row : rows) {
        CommandResult run = orvidx(row.words);
        EXPECT_EQ(run.status, 0) << run.errors;
        EXPECT_NE(run.output.find(row.part), std::string::npos) << run.output;
        EXPECT_TRUE(row.words[0] == "show" || row.part[0] == '\n' || run.output == row.part);
    }
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
    expectRefusal({"info", "--live", longPath}, longPath, "longer than 255 characters");

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
    expectRefusal({"info", "--live", job}, job, "too many users");
    EXPECT_EQ(orvidx({"info", job}).status, 0);
    ASSERT_EQ(lockRange(descriptor, LOCK_AT_ONCE, FILE_LOCK_BYTE, 1), 0);
    const std::string writing = "another program is writing; waited 0 s";
    expectRefusal({"info", "--timeout", "0", job}, job, writing);
    expectRefusal({"info", "--timeout", "0", "--live", job}, job, writing);
    osClose(descriptor);
    EXPECT_EQ(orvidx({"info", "--live", job}).status, 0);

    fs::permissions(job, fs::perms::none);
    if (!std::ifstream(job)) expectRefusal({"info", job}, job, "no access");
}

TEST(Orvidx, TellsAMissingElementFromOneThatCannotBeRead)
{
    std::string job = freshJob("tiny");
    expectRefusal({"show", "curve", "NONE", job}, job, "no such element: curve NONE");
    expectRefusal({"show", "point", "AB21", job}, job, "point AB21; near it: AB12\n");
    expectRefusal({"show", "curve", "c1", job}, job, "curve c1; near it: C1\n");
    expectRefusal({"show", "line", "L3", job}, job, "line L3: there is no point 4711\n");
}

// Reading gives lines their extension records and rewrites older chains: a copy takes that.
TEST(Orvidx, LeavesTheJobAsItIsUnlessItIsLive)
{
    const std::string job = freshJob("mixed");
    const std::string bytes = fileBytes(job);
    fs::last_write_time(job, fs::last_write_time(job) - std::chrono::hours(1));
    const fs::file_time_type before = fs::last_write_time(job);
    permitAll(job, READING);
    const std::vector<std::vector<std::string>> commands = {
        {"info"},   {"list", "chain"}, {"show", "chain", "OLD2"}, {"show", "line", "NOEXT1"},
        {"export"}, {"show", "line"}};
    for (std::vector<std::string> words : commands) {
        words.push_back(job);
        CommandResult run = orvidx(words);
        EXPECT_NE(run.status, 1) << run.errors;
        EXPECT_NE(run.output, "");
        EXPECT_EQ(run.errors.find("Read Only"), std::string::npos) << run.errors;
        EXPECT_TRUE(fileBytes(job) == bytes) << words[0];
        EXPECT_EQ(fs::last_write_time(job), before) << words[0];
    }
    permitAll(job, WRITING);
    EXPECT_EQ(orvidx({"show", "--live", "line", "NOEXT1", job}).status, 0);
    EXPECT_TRUE(fileBytes(job) != bytes);
}

TEST(Orvidx, CountsTheOtherKindsWhenOneCannotBeCounted)
{
    std::string bytes = fileBytes(freshJob("tiny"));
    bytes[static_cast<size_t>(pageAt(0))] = 1; // a level that no leaf has
    std::string job = freshDirectory() + "/job.orv";
    writeBytes(job, bytes);
    CommandResult run = orvidx({"info", job});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.output, "points         8\nlines          ?\ncurves         ?\nspirals        4\n"
                          "chains         ?\nprofiles       ?\nsurvey chains  2\n");
    EXPECT_NE(run.errors.find(job + ": the curves cannot be counted"), std::string::npos);
    EXPECT_NE(orvidx({"info", "--json", job}).output.find("\"curves\": null"), std::string::npos);

    bytes = fileBytes(freshJob("tiny"));
    bytes[bytes.find("EDGE OF WATER")] = 'F'; // in a key, whose record has the right name
    run = orvidx({"list", "survey-chain", writeJob(bytes)});
    EXPECT_EQ(run.status, 3);
    EXPECT_EQ(run.output, "RIDGE\n");
    EXPECT_NE(run.errors.find(": the survey chains cannot be counted, number 1 is damaged"),
              run.errors.npos);
}

TEST(Orvidx, RefusesWrongUsageWithStatus2)
{
    std::string job = freshJob("tiny");
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"list", "tree", job},
                                                         {"show", "curve"},
                                                         {"info"},
                                                         {"dump"},
                                                         {"info", job, "extra"},
                                                         {"list", "0", job},
                                                         {"export", job, "-o"},
                                                         {"list", "-0", "--json", "line", job}};
    for (const std::vector<std::string>& words : wrong) {
        CommandResult run = orvidx(words);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(words);
        EXPECT_NE(run.errors, "");
    }
    EXPECT_EQ(orvidx({"--help"}).status, 0);
    EXPECT_TRUE(orvidx({"--version"}).output.starts_with("orvidx 2.0 (library orvIdx 2.0, "));
}

TEST(Orvidx, ReplacesAFileByACompleteExportOrNotAtAll)
{
    std::string job = freshJob("tiny");
    std::string directory = job.substr(0, job.rfind('/'));
    std::string out = directory + "/out.json";
    auto filesInDirectory = [&] { return std::distance(fs::directory_iterator(directory), {}); };

    writeBytes(out, "before");
    EXPECT_EQ(orvidx({"export", job, "-o", directory + "/none/out.json"}).status, 1);

    EXPECT_EQ(orvidx({"export", job, "-o", out}).status, 3); // line L3 cannot be read
    EXPECT_EQ(fileBytes(out), orvidx({"export", job}).output);
    EXPECT_EQ(filesInDirectory(), 2);

    // The job itself is no place for its export, or for a drawing.
    std::string bytes = fileBytes(job);
    EXPECT_EQ(orvidx({"export", job, "-o", job}).status, 1);
    EXPECT_EQ(orvidx({"draw", "profile", "P1", job, "-o", job}).status, 1);
    EXPECT_EQ(fileBytes(job), bytes);
}
