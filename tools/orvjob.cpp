// orvjob: looks after job database files themselves.
//
//   orvjob check JOB   verifies the whole file, without changing it
//
// Exit status 0: done, or clean; 1: complaints, one a line on standard output, or a
// file that cannot be read, one line on standard error; 2: wrong usage.
#include "tools/tree_check.h"

#include <CLI/CLI.hpp>

#include <cstdio>

constexpr int STATUS_DONE = 0;
constexpr int STATUS_FAILED = 1;
constexpr int STATUS_USAGE = 2;

static int runCheck(const std::string& path)
{
    CheckReport report = checkJobFile(path);
    if (!report.readable) {
        fprintf(stderr, "orvjob: %s: %s\n", path.c_str(), report.complaints.front().c_str());
        return STATUS_FAILED;
    }
    for (const std::string& complaint : report.complaints) {
        puts(complaint.c_str());
    }
    if (!report.complaints.empty()) return STATUS_FAILED;

    printf("clean: %d pages in %d levels, %d entries, %d records (%d of unknown layout), "
           "%d free numbers, %d locks\n",
           report.pages, report.levels, report.entries, report.records, report.unknownRecords,
           report.freeNumbers, report.locks);
    return STATUS_DONE;
}

// Returns the exit status; throws std::exception for STATUS_FAILED.
static int parseAndRun(int argc, char** argv)
{
    CLI::App app("Looks after job database files.", "orvjob");
    app.require_subcommand(1);

    std::string path;
    CLI::App* check = app.add_subcommand("check", "Verify a whole file without changing it");
    check->add_option("JOB", path, "Job database file")->required();

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? STATUS_DONE : STATUS_USAGE;
    }
    if (check->parsed()) return runCheck(path);
    return STATUS_DONE;
}

int main(int argc, char** argv)
{
    try {
        return parseAndRun(argc, argv);
    } catch (const std::exception& error) {
        fprintf(stderr, "orvjob: %s\n", error.what());
        return STATUS_FAILED;
    }
}
