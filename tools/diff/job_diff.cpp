#include "tools/diff/job_diff.h"

#include "tools/check/kind_names.h"
#include "tools/diff/element_hash.h"
#include "tools/reading/job_copy.h"
#include "tools/reading/job_reading.h"
#include "tools/terminal/progress.h"

#include <algorithm>
#include <unordered_map>

using nlohmann::ordered_json;

// Elements that changed are held in memory as many at a time.
constexpr size_t BATCH = 100;

// An element of one of the jobs: its hash stands for what it holds.
struct HashedElement {
    std::string name;
    bool isReadable;
    ElementHash hash;
};

struct HashedKind {
    std::vector<HashedElement> elements;
    std::string listFault;
};

// One of the two jobs.
struct Side {
    JobCopy copy;
    std::string fault;
    HashedKind kinds[DIFFERENT_KINDS];
};

// -- Reading a job -----------------------------------------------------------

static HashedElement hashElement(IdxConnection* job, uint32_t kind, const std::string& name)
{
    HashedElement hashed = {name, false, {}};
    void* element = nullptr;
    if (orvIdx_readElementbyName(job, kind, name.c_str(), &element) != IDX_OK) return hashed;
    hashed.isReadable = true;
    hashed.hash = hashOfElement(kind, element);
    orvIdx_freeElement(kind, &element);
    return hashed;
}

// Reading a chain of the older layout brings it to the current one, from which more may be read.
// Jobs are compared as they are once that is done, whoever has read them before.
static void settleChains(IdxConnection* job, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        hashElement(job, ELEMENT_CHAIN, name);
    }
}

static HashedKind hashKind(IdxConnection* job, uint32_t kind, const std::vector<uint8_t>& bytes,
                           Progress* progress)
{
    KindNames found = namesOfKind(job, kind, bytes);
    if (kind == ELEMENT_CHAIN) settleChains(job, found.names);
    HashedKind hashed = {{}, found.fault};
    for (const std::string& name : found.names) {
        showProgress(progress, std::string("reading ") + ELEMENT_KINDS[kind].plural + ": " +
                                   std::to_string(hashed.elements.size()) + " of " +
                                   std::to_string(found.names.size()));
        hashed.elements.push_back(hashElement(job, kind, name));
    }
    return hashed;
}

static void readSide(Side* side, const std::string& path, int lockSeconds, Progress* progress)
{
    JobSnapshot snapshot = takeSnapshot(path, lockSeconds);
    side->fault = snapshot.fault;
    if (!side->fault.empty()) return;
    side->copy = openJobCopy(snapshot.bytes);
    side->fault = side->copy.fault;
    if (!side->fault.empty()) return;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        side->kinds[kind] = hashKind(side->copy.job, kind, snapshot.bytes, progress);
    }
}

// -- Comparing ---------------------------------------------------------------

// Enters two elements of one name where they belong.
static void comparePair(const HashedElement& inA, const HashedElement& inB, KindDiff* diff)
{
    if (!inA.isReadable && !inB.isReadable) {
        diff->unreadableInBoth.push_back(inA.name);
    } else if (!inA.isReadable) {
        diff->unreadableInA.push_back(inA.name);
    } else if (!inB.isReadable) {
        diff->unreadableInB.push_back(inB.name);
    } else if (inA.hash != inB.hash) {
        diff->changed.push_back({inA.name, {}});
    }
}

// Pairs the elements of a kind by their names. Where several have one name, as keys of odd jobs
// do, the first of them are a pair, then the second.
static void compareKind(const HashedKind& inA, const HashedKind& inB, KindDiff* diff)
{
    std::unordered_map<std::string, std::vector<size_t>> places; // in B, the first one last
    for (size_t place = inB.elements.size(); place-- > 0;) {
        places[inB.elements[place].name].push_back(place);
    }
    std::vector<bool> paired(inB.elements.size(), false);
    for (const HashedElement& element : inA.elements) {
        auto found = places.find(element.name);
        if (found == places.end() || found->second.empty()) {
            diff->removed.push_back(element.name);
            continue;
        }
        size_t place = found->second.back();
        found->second.pop_back();
        paired[place] = true;
        comparePair(element, inB.elements[place], diff);
    }
    for (size_t place = 0; place < inB.elements.size(); ++place) {
        if (!paired[place]) diff->added.push_back(inB.elements[place].name);
    }
    diff->listFaultInA = inA.listFault;
    diff->listFaultInB = inB.listFault;
}

// Reads the elements of a batch once more.
static std::vector<ordered_json> readBatch(Side* side, uint32_t kind,
                                           const std::vector<ElementChange>& changed, size_t begin)
{
    if (!returnToJobCopy(&side->copy)) side->fault = "its copy cannot be opened once more";
    std::vector<ordered_json> elements;
    for (size_t at = begin; at < std::min(begin + BATCH, changed.size()); ++at) {
        elements.push_back(readElement(side->copy.job, kind, changed[at].name));
    }
    return elements;
}

static void findMembers(Side* a, Side* b, uint32_t kind, std::vector<ElementChange>* changed)
{
    for (size_t begin = 0; begin < changed->size(); begin += BATCH) {
        std::vector<ordered_json> inA = readBatch(a, kind, *changed, begin);
        std::vector<ordered_json> inB = readBatch(b, kind, *changed, begin);
        for (size_t at = begin; at < std::min(begin + BATCH, changed->size()); ++at) {
            (*changed)[at].members = memberChanges(inA[at - begin], inB[at - begin]);
        }
    }
}

// ----------------------------------------------------------------------------

JobDiff diffJobs(const std::string& pathA, const std::string& pathB, int lockSeconds)
{
    JobDiff diff;
    Side a;
    Side b;
    Progress progress = startProgress();
    readSide(&a, pathA, lockSeconds, &progress);
    readSide(&b, pathB, lockSeconds, &progress);
    bool comparable = a.fault.empty() && b.fault.empty();
    for (uint32_t kind = ELEMENT_POINT; comparable && kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        compareKind(a.kinds[kind], b.kinds[kind], &diff.kinds[kind]);
        findMembers(&a, &b, kind, &diff.kinds[kind].changed);
    }
    eraseProgress(&progress);
    diff.faultOfA = a.fault;
    diff.faultOfB = b.fault;
    closeJobCopy(&a.copy);
    closeJobCopy(&b.copy);
    return diff;
}

static bool isSame(const KindDiff& kind)
{
    return kind.added.empty() && kind.removed.empty() && kind.changed.empty() &&
           kind.unreadableInA.empty() && kind.unreadableInB.empty() &&
           kind.listFaultInA.empty() == kind.listFaultInB.empty();
}

bool areSame(const JobDiff& diff)
{
    return diff.faultOfA.empty() && diff.faultOfB.empty() &&
           std::all_of(diff.kinds, diff.kinds + DIFFERENT_KINDS, isSame);
}
