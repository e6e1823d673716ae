// The file checker: verifies a whole job database file without changing it and
// without the engine's search, through the format accessors alone.
//
// Boundary for orvjob and for tests, which call it after whatever has written a
// file. Nobody may be writing while it reads.
#pragma once

#include <string>
#include <vector>

// What was found. Counts cover what could be reached.
struct CheckReport {
    bool readable = false;               // false: the one complaint tells why not
    std::vector<std::string> complaints; // one line each, at most MAX_COMPLAINTS + 1
    int pages = 0;                       // node pages handed out
    int levels = 0;
    int entries = 0;        // of all leaves
    int records = 0;        // in DATA_INDEX
    int unknownRecords = 0; // of these, records of a layout that is not ours
    int freeNumbers = 0;
    int locks = 0;
};

// A file that is damaged all over is not listed page by page.
constexpr int MAX_COMPLAINTS = 1000;

// Every complaint about a page that was handed out and then lost, as a process
// that ends in the middle of an operation may leave it, begins like this.
constexpr char UNREACHABLE_COMPLAINT[] = "unreachable: ";

// Checks the tree, the segments of what is stored in it, and the records with
// their keys, numbers and locks. Answers the report; clean when it is readable
// and has no complaint.
CheckReport checkJobFile(const std::string& path);

// Checks the tree and the segments only: for files whose entries are no records.
CheckReport checkTreeFile(const std::string& path);
