// Builds a sound job from what is left of a damaged one.
//
// Boundary of tools/recover/, for orvjob and for tests: page_entries < tree_view < found_records <
// decisions < recover < recovery_report. It looks at pages, whether the tree still leads to them or
// not; takes the records whose checksums are right, makes their keys anew and packs them. It
// keeps no state but the layouts' (tools/check/known_layouts.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What has become of an element, or of another program's record.
enum RecoveredState {
    STATE_WHOLE,    // a reader of the damaged job had it, and has it again
    STATE_RESCUED,  // no reader had it
    STATE_LOST,     // it is gone, or a part of it
    STATE_DOUBTFUL, // there were two versions
};

// An element that was found, or whose key was.
struct RecoveredElement {
    int kind;         // place in RECOVERED_KINDS
    std::string name; // Latin-1
    RecoveredState state;
    std::vector<std::string>
        remarks; // Latin-1: which of its parts are lost, which version was taken
};

// What the elements are of, in the order of the report. The first ones are the kinds of elements,
// in the order of their numbers.
struct RecoveredKind {
    const char* name;
    const char* plural;
};
constexpr RecoveredKind RECOVERED_KINDS[] = {
    {"point", "points"},
    {"line", "lines"},
    {"curve", "curves"},
    {"spiral", "spirals"},
    {"chain", "chains"},
    {"profile", "profiles"},
    {"survey-chain", "survey chains"},
    {"version-counter", "version counters"},
    {"other", "other programs' records"},
};

enum RecoveryResult {
    RECOVERY_DONE,
    RECOVERY_NOTHING,   // there is no record in the file
    RECOVERY_OLDER,     // a job of the older format, whose records are not known
    RECOVERY_TOO_LARGE, // what was found does not fit into one job
};

struct Recovery {
    RecoveryResult result;
    std::vector<uint8_t> bytes;             // the new job
    std::vector<RecoveredElement> elements; // by kind, then by name
    int leftOver; // records that nothing leads to, which killed writers leave: not taken
};

// Recovers what the bytes of a file hold. Unless keepBoth, of two versions of an element one is
// taken; else the other is there too, under a name of its own.
Recovery recoverJob(std::vector<uint8_t> bytes, bool keepBoth);

// How many elements are in that state.
int countInState(const Recovery& recovery, RecoveredState state);
