// orvjob: looks after job database files themselves.
//
//   orvjob check JOB            verifies the whole file, without changing it
//   orvjob backup JOB NEW       copies a job that others are using
//   orvjob recover JOB NEW      builds a sound job from what is left of a damaged one
//   orvjob diff A B             tells what differs between two jobs
//   orvjob create-sample FILE   writes a new job with a believable road in it
//
// Exit status 0: done, or clean; 1: complaints, one a line on standard output, or a
// file that cannot be read or written, one line on standard error; 2: wrong usage. That of diff
// is 0 for the same, 1 for a difference, and 2 for everything else.
// It is 1 also when not all points of a sample fit; the line on standard error then tells how
// many do, and the file holds these.
#include "tools/orvjob/commands.h"
#include "tools/reading/latin1.h"
#include "tools/reading/version.h"
#include "tools/sample/sample_job.h"
#include "tools/snapshot/job_snapshot.h"
#include "tools/terminal/terminal.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

void printLine(const std::string& line) { std::puts(harmless(line).c_str()); }

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

static void declareRecover(CLI::App* command, RecoverRequest* request)
{
    command->add_option("JOB", request->job, "Damaged file, which stays as it is")->required();
    command->add_option("NEW", request->rescued, "File to create; it must not exist");
    command->add_flag("--dry-run", request->dryRun, "Write nothing, report only");
    command->add_flag("--force", request->replaces, "Replace NEW if it exists");
    command->add_flag("--keep-both", request->keepBoth,
                      "Of two versions of an element, keep the other under a name of its own");
    command->add_flag("--json", request->json, "Report as JSON");
    declareTimeout(command, &request->lockSeconds);
    command->footer(
        "Looks at every page of the file, whether its tree still leads there or not, takes\n"
        "what is whole, and packs it into a new job. Of a sound job that is a compact copy.\n"
        "Exit status: 0 everything that was ever there is back; 1 something is lost, which the\n"
        "report names, or NEW cannot be written; 2 wrong usage; 3 nothing to recover.");
}

static void declareDiff(CLI::App* command, DiffRequest* request)
{
    command->add_option("A", request->jobA, "Job database file")->required();
    command->add_option("B", request->jobB, "The one to compare it with")->required();
    command->add_flag("--json", request->json, "Print what differs as JSON, for programs");
    declareTimeout(command, &request->lockSeconds);
    command->footer(
        "Compares all that hosts can read: elements removed from A, added in B, and\n"
        "changed, with the members that differ. Neither job is changed, and others may\n"
        "be using them. Exit status: 0 no difference; 1 some, elements among them that\n"
        "can be read in one job only; 2 a job that cannot be opened, or wrong usage.");
}

// Returns the exit status; throws std::exception for *troubleStatus.
static int parseAndRun(int argc, char** argv, int* troubleStatus)
{
    CLI::App app("Looks after job database files.", "orvjob");
    app.set_version_flag("--version", versionText("orvjob"));
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
    declareRecover(rescue, &recover);

    DiffRequest compared;
    CLI::App* diff = app.add_subcommand("diff", "Tell what differs between two jobs");
    declareDiff(diff, &compared);

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
        bool unnamed = recover.rescued.empty() && !recover.dryRun;
        if (rescue->parsed() && unnamed) throw CLI::RequiredError("NEW");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? STATUS_DONE : STATUS_USAGE;
    }
    if (check->parsed()) return runCheck(checked);
    if (create->parsed()) return runCreateSample(sample);
    if (copy->parsed()) return runBackup(backup);
    if (rescue->parsed()) return runRecover(recover);
    *troubleStatus = STATUS_TROUBLE;
    return runDiff(compared);
}

int main(int argc, char** argv)
{
    argv = startProgram(&argc, argv);
    int troubleStatus = STATUS_FAILED;
    try {
        int status = parseAndRun(argc, argv, &troubleStatus);
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
        failWith("standard output", std::strerror(errno));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvjob: %s\n", error.what());
    }
    return troubleStatus;
}
