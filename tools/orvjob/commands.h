// The commands of orvjob. Each returns an exit status, and prints what it has to say: results on
// standard output, reasons why it failed on standard error.
#pragma once

#include <string>

constexpr int STATUS_DONE = 0;
constexpr int STATUS_FAILED = 1;
constexpr int STATUS_USAGE = 2;

// Of diff alone.
constexpr int STATUS_DIFFERENT = 1;
constexpr int STATUS_TROUBLE = 2; // nothing was compared, or the result could not be printed

struct CheckRequest {
    std::string job;
    bool json = false;
    int lockSeconds = 0;
};

int runCheck(const CheckRequest& request);

struct BackupRequest {
    std::string job;
    std::string copy;
    bool replaces = false;
    int lockSeconds = 0;
};

int runBackup(const BackupRequest& request);

struct RecoverRequest {
    std::string job;
    std::string rescued; // the new job; empty: none is written
    bool replaces = false;
    bool dryRun = false;
    bool keepBoth = false;
    bool json = false;
    int lockSeconds = 0;
};

// Returns 1 also when something was lost, and 3 when there is nothing to recover.
int runRecover(const RecoverRequest& request);

struct DiffRequest {
    std::string jobA;
    std::string jobB;
    bool json = false;
    int lockSeconds = 0;
};

int runDiff(const DiffRequest& request);

// Prints a line on standard output, in which nothing steers a terminal.
void printLine(const std::string& line);

// Prints a line on standard error: which file, and why it failed. Returns STATUS_FAILED.
int failWith(const std::string& path, const std::string& reason);
