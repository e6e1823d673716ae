// The commands of orvidx. Each prints what it finds and returns an exit status; it throws
// std::exception when there is nothing it could print.
#pragma once

#include "tools/export/export.h"
#include "tools/orvidx/job_source.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

constexpr int STATUS_DONE = 0;
constexpr int STATUS_FAILED = 1;
constexpr int STATUS_USAGE = 2;
constexpr int STATUS_INCOMPLETE = 3; // something cannot be read, and all else was printed

struct InfoRequest {
    bool json = false;
};

int runInfo(const JobSource& source, const InfoRequest& request, std::FILE* out);

struct ListRequest {
    std::string kind; // a name of ELEMENT_KINDS
    bool json = false;
    bool zeroEnded = false; // a zero byte after each name, not a line end
};

int runList(const JobSource& source, const ListRequest& request, std::FILE* out);

struct ShowRequest {
    std::string kind;
    std::string name;
    bool json = false;
};

int runShow(const JobSource& source, const ShowRequest& request, std::FILE* out);

struct ExportRequest {
    std::string format = "json";
    std::string target; // file, or folder for CSV; empty or a minus sign: standard output
    std::vector<std::string> kinds; // none: all
    bool force = false;
    bool byteOrderMark = false;
};

// Returns what is wrong with a request that the command line has accepted, else an empty text.
std::string faultOfRequest(const ExportRequest& request);

int runExport(const JobSource& source, const ExportRequest& request, std::FILE* out);

struct ReportRequest {
    std::string target; // as of an export
    bool northFirst = false;
};

int runReport(const JobSource& source, const ReportRequest& request, std::FILE* out);

struct DrawRequest {
    std::string profile; // its name; empty: the plan
    std::string target;  // as of an export
    bool northFirst = false;
};

int runDraw(const JobSource& source, const DrawRequest& request, std::FILE* out);

// -- What they have in common ------------------------------------------------

// Returns the number of a kind. Expects a name that the command line has accepted.
uint32_t kindNumber(const std::string& name);

[[noreturn]] void failOutput();

// Returns the file that a target of a command names; empty for standard output, which the system
// may have a path for.
std::string fileOf(const std::string& target);

// Returns what exports of the whole job to a target have in common; the format is still to be set.
ExportPlan exportOfAll(const JobSource& source, const std::string& target, std::FILE* out);

// Tells what an export is missing. Returns STATUS_INCOMPLETE if that is anything, else
// STATUS_DONE.
int tellGaps(const JobSource& source, const ExportGaps& gaps);

// Prints a line; throws when that fails.
void printLine(std::FILE* out, const std::string& line);

// Prints a line on standard error: which job, and what about it.
void complain(const std::string& path, const std::string& reason);
