// orvjob: looks after job database files themselves.
//
//   orvjob check JOB            verifies the whole file, without changing it
//   orvjob backup JOB NEW       copies a job that others are using
//   orvjob recover JOB NEW      builds a sound job from what is left of a damaged one
//   orvjob create-sample FILE   writes a new job with a believable road in it
//
// Exit status 0: done, or clean; 1: complaints, one a line on standard output, or a
// file that cannot be read or written, one line on standard error; 2: wrong usage.
// It is 1 also when not all points of a sample fit; the line on standard error then tells how
// many do, and the file holds these.
#include "tools/orvjob/commands.h"
#include "tools/sample/sample_job.h"
#include "tools/snapshot/job_snapshot.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

int failWith(const std::string& path, const std::string& reason)
{
    std::fprintf(stderr, "orvjob: %s: %s\n", path.c_str(), reason.c_str());
    return STATUS_FAILED;
}

struct SampleRequest {
    std::string path;
    int points = 200;
    unsigned seed = 1;
};

static int runCreateSample(const SampleRequest& request)
{
    const char* path = request.path.c_str();
    int written = 0;
    int result = createSampleJob(request.path, request.points, request.seed, &written);
    switch (result) {
    case SAMPLE_OK:
        std::printf("%s: a sample job, points: %d\n", path, written);
        return STATUS_DONE;
    case SAMPLE_FULL:
        std::fprintf(stderr, "orvjob: %s: full with %d of %d points\n", path, written,
                     request.points);
        return STATUS_FAILED;
    case SAMPLE_NOT_CREATED:
        std::fprintf(stderr, "orvjob: %s: %s\n", path, std::strerror(errno));
        return STATUS_FAILED;
    default:
        std::fprintf(stderr, "orvjob: %s: cannot be written (code %d)\n", path, result);
        return STATUS_FAILED;
    }
}

static void declareTimeout(CLI::App* command, int* seconds)
{
    command->add_option("--timeout", *seconds, "Seconds to wait for a writer")
        ->check(CLI::NonNegativeNumber)
        ->default_val(DEFAULT_LOCK_SECONDS);
}

static void declareCheck(CLI::App* command, CheckRequest* request)
{
    command->add_option("JOB", request->job, "Job database file, which others may be using")
        ->required();
    command->add_flag("--json", request->json, "Print what was found as JSON, for programs");
    declareTimeout(command, &request->lockSeconds);
    command->footer("Checks every page and record, and reads every element from a copy. The last\n"
                    "line says what to do. Exit status: 0 clean, perhaps with remarks, which are\n"
                    "no damage; 1 complaints, or a file that cannot be read; 2 wrong usage.");
}

// Returns the exit status; throws std::exception for STATUS_FAILED.
static int parseAndRun(int argc, char** argv)
{
    CLI::App app("Looks after job database files.", "orvjob");
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // /name is a path

    CheckRequest checked;
    CLI::App* check = app.add_subcommand("check", "Verify a whole file without changing it");
    declareCheck(check, &checked);

    BackupRequest backup;
    CLI::App* copy = app.add_subcommand("backup", "Copy a job that others are using");
    copy->add_option("JOB", backup.job, "Job database file")->required();
    copy->add_option("NEW", backup.copy, "File to create; it must not exist")->required();
    copy->add_flag("--force", backup.replaces, "Replace NEW if it exists");
    declareTimeout(copy, &backup.lockSeconds);

    RecoverRequest recover;
    CLI::App* rescue =
        app.add_subcommand("recover", "Build a sound job from what is left of a damaged one");
    rescue->add_option("JOB", recover.job, "Damaged file, which stays as it is")->required();
    CLI::Option* rescued =
        rescue->add_option("NEW", recover.rescued, "File to create; it must not exist");
    CLI::Option* dryRun =
        rescue->add_flag("--dry-run", recover.dryRun, "Write nothing, report only");
    rescue->add_flag("--force", recover.replaces, "Replace NEW if it exists");
    rescue->add_flag("--keep-both", recover.keepBoth,
                     "Of two versions of an element, keep the other under a name of its own");
    rescue->add_flag("--json", recover.json, "Report as JSON");
    rescue->add_option("--timeout", recover.lockSeconds, "Seconds to wait for a writer")
        ->check(CLI::NonNegativeNumber)
        ->default_val(DEFAULT_LOCK_SECONDS);

    SampleRequest sample;
    CLI::App* create =
        app.add_subcommand("create-sample", "Write a new job with a believable road in it");
    create->add_option("FILE", sample.path, "File to create; it must not exist")->required();
    create->add_option("--points", sample.points, "Number of points, as far as they fit")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()))
        ->capture_default_str();
    create->add_option("--seed", sample.seed, "Number from which the road is made up")
        ->capture_default_str();

    try {
        app.parse(argc, argv);
        if (rescue->parsed() && rescued->empty() && dryRun->empty()) {
            throw CLI::RequiredError("NEW");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? STATUS_DONE : STATUS_USAGE;
    }
    if (check->parsed()) return runCheck(checked);
    if (create->parsed()) return runCreateSample(sample);
    if (copy->parsed()) return runBackup(backup);
    if (rescue->parsed()) return runRecover(recover);
    return STATUS_DONE;
}

int main(int argc, char** argv)
{
    try {
        int status = parseAndRun(argc, argv);
        if (std::fflush(stdout) == 0) return status;
        return failWith("standard output", std::strerror(errno));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvjob: %s\n", error.what());
        return STATUS_FAILED;
    }
}
