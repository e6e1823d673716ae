// Several processes on one job: what each has stored is there afterwards, whoever else
// wrote.
#include "cogo/cogo_state.h"
#include "cogo/keys.h"
#include "tests/support/peer.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"
#include "tools/snapshot/job_snapshot.h"
#include "tools/writer/job_writer.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>
#include <thread>

constexpr int PROCESSES = 4;
constexpr int LINES = 40;
constexpr char COUNTER[] = "COUNTER"; // a record that all processes count up

// The text of a version of a record: no two are the same, most take several segments.
static std::string textOf(const std::string& name, int version)
{
    std::string text = name + " " + std::to_string(version) + ",";
    return text + std::string(std::hash<std::string>()(text) % 1200, text[0]);
}

static int findRecord(JobWriter* job, const std::string& name)
{
    const KeyComponents key = keyComponents(TAG_CHAIN, name.c_str(), "", "");
    return findByKey(&job->records, &key);
}

// The engine's answer; IX_DAMAGED_IMAGE for another text than that of the version.
static int readRecord(JobWriter* job, const std::string& name, int version)
{
    int result = findRecord(job, name);
    if (result == IX_OK) result = recordReadCurrent(&job->records, cogoState.chainLayout);
    bool other = result == IX_OK && cogoState.chain.description != textOf(name, version);
    return other ? IX_DAMAGED_IMAGE : result;
}

// Brings a record from one version to another: version 0 is none. The engine's answer.
static int change(JobWriter* job, const std::string& name, int from, int to)
{
    ChainResult attributes = {};
    copyText(attributes.secondaryCode, sizeof attributes.secondaryCode, "DUPLICATE");
    if (from == 0) return addChainMember(job, name.c_str(), 0, textOf(name, to), attributes);
    int result = readRecord(job, name, from);
    if (result != IX_OK) return result;
    if (to == 0) return recordDeleteCurrent(&job->records, cogoState.chainLayout);
    std::string text = textOf(name, to);
    copyText(cogoState.chain.description, sizeof cogoState.chain.description, text.c_str());
    return recordUpdateCurrent(&job->records, cogoState.chainLayout);
}

// Locks the data entry of a record. One update over all steps, for a record that is
// rewritten moves to another number.
static int lockData(JobWriter* job, const std::string& name)
{
    must(ixBeginUpdate(&job->records.tree.file) == IX_OK, "file lock");
    int result = findRecord(job, name);
    int32_t number = job->records.currentRecordNumber;
    if (result == IX_OK) result = ixFind(&job->records.tree, DATA_INDEX, "", number, nullptr, 0);
    if (result == IX_OK) result = ixLockRecord(&job->records.tree, DATA_INDEX);
    must(ixEndUpdate(&job->records.tree.file) == IX_OK, "end of update");
    return result;
}

// Reads, counts up and rewrites the shared counter in operations of their own: only the
// record lock keeps others out. False when somebody else has it.
static bool countUp(JobWriter* job)
{
    int locked = lockData(job, COUNTER);
    must(locked == IX_OK || locked == IX_LOCKED_BY_OTHER, "counter lock");
    if (locked != IX_OK) return false;
    job->records.lockedRecordNumber = job->records.currentRecordNumber;
    must(recordReadCurrent(&job->records, cogoState.chainLayout) == IX_OK, "counter read");
    ++cogoState.chain.elementNumber;
    must(recordUpdateCurrent(&job->records, cogoState.chainLayout) == IX_OK, "counter update");
    job->records.lockedRecordNumber = NO_RECORD;
    return true;
}

static void openShared(JobWriter* job, const std::string& path)
{
    must(openJobWriter(job, path, OPEN_SHARED) == IX_OK, "open");
}

// The number of a line's extension, which the first one to read it gives it.
static int numberOfLine(JobWriter* job, int line)
{
    LineResult result = {};
    must(findLine(&job->records, std::to_string(line).c_str()) == COGO_OK, "find line");
    must(readLine(&job->records, &result) == COGO_OK, "read line");
    return result.elementNumber;
}

// A new job with the counter and the lines, left open.
static std::string openCounterJob(JobWriter* job)
{
    std::string path = writeEmptyJob(0);
    openShared(job, path);
    must(addChainMember(job, COUNTER, 0, "", {}) == IX_OK, "counter");
    for (int line = 0; line < LINES; ++line) {
        must(addLine(job, std::to_string(line).c_str(), {}) == IX_OK, "line");
    }
    return path;
}

// Lets several processes do the work at once. Answers the numbers that each has told in
// the end.
static std::vector<std::vector<int>> runAtOnce(const std::string& work, const std::string& path)
{
    std::vector<Peer> peers;
    std::vector<std::vector<int>> told;
    for (int process = 1; process <= PROCESSES; ++process) {
        peers.push_back(startPeer(work, path, process));
    }
    for (const Peer& peer : peers)
        say(peer, "go");
    for (const Peer& peer : peers) {
        std::istringstream words(hear(peer));
        told.emplace_back(std::istream_iterator<int>(words), std::istream_iterator<int>());
        endPeer(peer);
    }
    return told;
}

// For some seconds does all that writers and readers can do, then checks what is there.
// Tells its records, how far it counted, and the numbers that it drew: those of the version
// counter are negative.
static void doEverything(const Peer& test, const std::string& path, int process)
{
    JobWriter job;
    openShared(&job, path);
    hear(test);
    std::mt19937 random(static_cast<unsigned>(process));
    std::vector<int> versions(80); // of the own records
    auto nameOf = [=](size_t at) { return std::to_string(at) + "P" + std::to_string(process); };
    int records = 0;
    int counted = 0;
    std::string drawn;
    std::map<int, int> lines; // the numbers of those read
    auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    for (int step = 1; step < 100 || std::chrono::steady_clock::now() < end; ++step) {
        size_t at = random() % versions.size();
        int next = random() % 3 == 0 ? 0 : step;
        bool changes = versions[at] != next;
        must(!changes || change(&job, nameOf(at), versions[at], next) == IX_OK, nameOf(at));
        versions[at] = next;
        if (step % 8 != 0) continue;

        // All processes want this record, and one gets it.
        int won = change(&job, "SHARED" + std::to_string(step), 0, 1);
        must(won == IX_OK || won == IX_NOT_FOUND, "shared record");
        records += won == IX_OK;
        counted += countUp(&job);
        int32_t number = 0;
        must(ixNextSequence(&job.records.tree, &number) == IX_OK, "next sequence");
        drawn += " " + std::to_string(number);
        int line = step / 8 % LINES;
        lines[line] = numberOfLine(&job, line);
        int version = nextVersionNumber(&job.records);
        must(version > 0, "version number");
        drawn += " -" + std::to_string(version);
    }
    for (const auto& [line, number] : lines) {
        must(numberOfLine(&job, line) == number, "another number: line " + std::to_string(line));
    }
    for (size_t at = 0; at < versions.size(); ++at) {
        int expected = versions[at] == 0 ? IX_NOT_FOUND : IX_OK;
        must(readRecord(&job, nameOf(at), versions[at]) == expected, "in the end " + nameOf(at));
        records += versions[at] != 0;
    }
    must(closeJobWriter(&job) == IX_OK, "close");
    say(test, std::to_string(records) + " " + std::to_string(counted) + drawn);
}

TEST(Processes, FindAfterwardsExactlyWhatTheyStored)
{
    JobWriter job;
    std::string path = openCounterJob(&job);
    std::set<int> drawn;
    int records = 1 + 2 * LINES + 1; // with the version counter
    int counted = 0;
    int versions = LINES;
    for (const std::vector<int>& told : runAtOnce("doEverything", path)) {
        ASSERT_GT(told.size(), 2u);
        records += told[0];
        counted += told[1];
        for (size_t at = 2; at < told.size(); ++at) {
            EXPECT_TRUE(drawn.insert(told[at]).second) << "drawn twice: " << told[at];
            versions += told[at] < 0;
            EXPECT_NE(ixFind(&job.records.tree, DATA_INDEX, "", told[at], nullptr, 0), IX_OK);
        }
    }
    for (int line = 0; line < LINES; ++line) {
        EXPECT_TRUE(drawn.insert(-numberOfLine(&job, line)).second) << line;
    }
    EXPECT_EQ(*drawn.begin(), -versions) << "a number that nobody has";
    EXPECT_EQ(lockData(&job, COUNTER), IX_OK);
    EXPECT_EQ(recordReadCurrent(&job.records, cogoState.chainLayout), IX_OK);
    EXPECT_EQ(cogoState.chain.elementNumber, counted);
    EXPECT_EQ(closeJobWriter(&job), IX_OK);
    CheckReport report = checkJobFile(path);
    EXPECT_EQ(report.complaints, std::vector<std::string>());
    EXPECT_EQ(report.records, records);
    EXPECT_EQ(report.locks, 0);
}

// Adds points in twos, each two in one update, until the test has spoken, or the file is large.
static void addTwos(const Peer& test, const std::string& path, int process)
{
    JobWriter job;
    openShared(&job, path);
    constexpr int TWOS = 3000;
    for (int i = 1; i <= TWOS && !hasSpoken(test); ++i) {
        must(ixBeginUpdate(&job.records.tree.file) == IX_OK, "begin");
        for (const char* letter : {"A", "B"}) {
            std::string name = letter + std::to_string(process * 1000000 + i);
            must(addPoint(&job, name.c_str(), {}) == IX_OK, name);
        }
        must(ixEndUpdate(&job.records.tree.file) == IX_OK, "end");
    }
    must(closeJobWriter(&job) == IX_OK, "close");
}

const std::map<std::string, PeerWork*> PEER_WORKS = {{"doEverything", doEverything},
                                                     {"addTwos", addTwos}};

// The numbers of the points whose names begin with a letter.
static std::set<std::string> pointsOf(const std::vector<uint8_t>& bytes, char letter)
{
    std::set<std::string> numbers;
    int pages = decodeHeader(bytes.data()).nextFreePage;
    for (size_t at = FIRST_PAGE_OFFSET; pages-- > 0; at += NODE_PAGE_SIZE) {
        if (nodeLevel(&bytes[at]) > 0) continue;
        const uint8_t* entry = firstEntry(&bytes[at]);
        for (int i = 0; i < nodeCount(&bytes[at]); ++i, entry = nextEntry(entry)) {
            const char* key = entryKey(entry);
            if (key[0] == POINT_NAME_INDEX && key[1] == letter) numbers.insert(key + 2);
        }
    }
    return numbers;
}

// Copies of a job that four processes write are sound, and none shows half an update.
TEST(Snapshots, AreOfOneStateBesideWriters)
{
    std::string path = writeEmptyJob(0);
    std::vector<Peer> peers;
    for (int process = 1; process <= PROCESSES; ++process) {
        peers.push_back(startPeer("addTwos", path, process));
    }
    size_t seen = 0;
    for (int copy = 0; copy < 15 || seen < 100; ++copy) {
        JobSnapshot snapshot = takeSnapshot(path, PEER_PATIENCE);
        ASSERT_EQ(snapshot.fault, "");
        clearHolders(&snapshot.bytes);
        CheckReport report = checkJobBytes(snapshot.bytes);
        ASSERT_EQ(report.complaints, std::vector<std::string>());
        ASSERT_EQ(report.locks, 0);
        std::set<std::string> points = pointsOf(snapshot.bytes, 'A');
        ASSERT_EQ(points, pointsOf(snapshot.bytes, 'B'));
        ASSERT_GE(points.size(), seen);
        seen = points.size();
    }
    for (const Peer& peer : peers) {
        endPeer(peer);
    }
}
