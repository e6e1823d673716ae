// What a check found, complaint by complaint. Part of the boundary check.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct CheckReport {
    bool readable = false;               // false: the one complaint tells why not
    std::vector<std::string> complaints; // one line each, at most MAX_COMPLAINTS + 1
    std::vector<std::string> remarks;    // on what no reader of elements minds
    // The complaints by what they are about, those not listed too:
    int damages = 0;
    int lostPages = 0;   // handed out and in no level
    int lostRecords = 0; // data that no key leads to, whole or in part
    // Counts of what could be reached:
    int pages = 0; // node pages handed out
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

// Adds a complaint about damage, unless there are too many. The other function leaves it to the
// caller to count what it is about.
[[gnu::format(printf, 2, 3)]] void complain(CheckReport* report, const char* format, ...);
[[gnu::format(printf, 2, 3)]] void complainOfLoss(CheckReport* report, const char* format, ...);

// True when there are complaints, but only about what killed writers have left.
inline bool isHarmless(const CheckReport& report)
{
    return report.readable && !report.complaints.empty() && report.damages == 0;
}

// Describes an entry for a complaint: its index, its key with unprintable bytes as \xx, its
// number.
std::string describeEntry(const uint8_t* entry);
