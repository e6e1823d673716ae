// What differs between two jobs for those who read them: elements added, removed and changed, and
// the members that differ. Where records lie and which numbers they have does not matter.
//
// For orvjob and tests. Reads through the exports, from temporary copies; a connection that the
// process has is closed.
#pragma once

#include "orvIdx.h"
#include "tools/diff/member_changes.h"
#include "tools/snapshot/job_snapshot.h"

#include <string>
#include <vector>

constexpr int DIFFERENT_KINDS = ELEMENT_SURVEY_CHAIN + 1;

struct ElementChange {
    std::string name; // Latin-1, as in the job
    std::vector<MemberChange> members;
};

// Names are listed in the order of the job that has them.
struct KindDiff {
    std::vector<std::string> added;
    std::vector<std::string> removed;
    std::vector<ElementChange> changed;
    std::vector<std::string> unreadableInA; // while B's can be read
    std::vector<std::string> unreadableInB;
    std::vector<std::string> unreadableInBoth; // of which it cannot be told whether they differ
    std::string listFaultInA; // why readers cannot list the kind; names in the leaves are compared
    std::string listFaultInB;
};

struct JobDiff {
    std::string faultOfA; // why the job cannot be opened; nothing was compared then
    std::string faultOfB;
    KindDiff kinds[DIFFERENT_KINDS];
};

JobDiff diffJobs(const std::string& pathA, const std::string& pathB,
                 int lockSeconds = DEFAULT_LOCK_SECONDS);

// True when the jobs could be compared, and no difference was found.
bool areSame(const JobDiff& diff);
