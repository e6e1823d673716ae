// Walks from the first to the next element through the exports, with reads by name in
// between, alone and while another process writes to the same file.
#include "engine/engine.h"
#include "tests/support/command.h"
#include "tests/support/new_job.h"
#include "tests/support/peer.h"
#include "tools/check/check.h"

const std::string PADDING(300, ' ');      // as hosts may give names
constexpr size_t ELEMENT_NAME_LIMIT = 15; // an element has no room for more of its name

static std::string read(IdxConnection* job, uint32_t kind, const std::string& what)
{
    return Element(job, kind, what).name();
}

// Walks the kind to its end and beyond. Each element is read by name as well, one that does
// not exist, and another one where that does not move the walk; for survey chains that is a
// chain, for profiles a curve.
static void expectWalk(IdxConnection* job, uint32_t kind)
{
    bool moved = kind == ELEMENT_POINT;
    uint32_t otherKind = kind == ELEMENT_SURVEY_CHAIN ? ELEMENT_CHAIN
                         : kind == ELEMENT_PROFILE    ? ELEMENT_CURVE
                                                      : kind;
    std::vector<std::string> others = namesOf(job, otherKind);
    std::vector<std::string> names = namesOf(job, kind);
    uint32_t count = 0;
    EXPECT_EQ(orvIdx_numberOfElements(job, kind, &count, nullptr), IDX_OK);
    EXPECT_EQ(names.size(), count);
    std::string step = FIRST;
    size_t at = 0;
    for (const std::string& name : names) {
        std::string reached = read(job, kind, step);
        EXPECT_EQ(reached, read(job, kind, name + PADDING)) << name;
        EXPECT_EQ(read(job, kind, "MISSPELT5"), UNREADABLE);
        EXPECT_EQ(read(job, kind, std::string(300, 'M')), UNREADABLE);
        EXPECT_TRUE(reached == UNREADABLE || reached == name.substr(0, ELEMENT_NAME_LIMIT)) << name;
        if (!moved) read(job, otherKind, others[++at * 7 % others.size()]);
        step = NEXT;
    }
    EXPECT_EQ(read(job, kind, NEXT), UNREADABLE);
    EXPECT_EQ(read(job, kind, NEXT), UNREADABLE);
}

// Adds and deletes entries beside the keys of all walked kinds, and records, until the
// test speaks.
static void writeBeside(const Peer& test, const std::string& path, int)
{
    const std::pair<int, const char*> places[] = {{1, "   CGZ"}, {1, "   CHB"}, {1, "   CUS"},
                                                  {1, "   LIO"}, {1, "   PH3"}, {1, "   SPJ"},
                                                  {6, ""},       {10, ""},      {DATA_INDEX, ""}};
    IndexFile file = {};
    must(ixOpen(&file, path.c_str(), OPEN_SHARED) == IX_OK, "open");
    const std::string data(1500, 'x');
    // In turns adds a hundred entries at each place and deletes them, until none is left.
    for (int round = 0; !hasSpoken(test) || round % 200 != 0; ++round) {
        int number = 1000000 + round % 100;
        bool adds = round % 200 < 100;
        uint32_t length = static_cast<uint32_t>(round * 37 % 1500);
        for (const auto& [index, key] : places) {
            int result = adds ? ixAdd(&file, index, key, number, data.data(), length)
                              : ixDelete(&file, index, key, number);
            must(result == IX_OK, "write " + std::to_string(result));
        }
        if (round == 0) say(test, "writing");
    }
    must(ixClose(&file) == IX_OK, "close");
}

const std::map<std::string, PeerWork*> PEER_WORKS = {{"writeBeside", writeBeside}};

class Walks : public testing::TestWithParam<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(Golden, Walks, testing::Values("tiny", "mixed", "deep"));

TEST_P(Walks, BeginAnewWithEachConnection)
{
    std::string path = freshJob(GetParam());
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        std::string first = read(Connection(path), kind, FIRST);
        bool begins = kind == ELEMENT_POINT || kind == ELEMENT_SURVEY_CHAIN;
        EXPECT_EQ(read(Connection(path), kind, NEXT), begins ? first : UNREADABLE) << kind;
    }
}

TEST_P(Walks, GiveTheNamesOfTheListWhateverHappensInBetween)
{
    std::string path = freshJob(GetParam());
    {
        Connection job(path);
        Peer writer;
        for (uint32_t kind = 0; kind < 14; ++kind) {
            if (kind == 7) {
                writer = startPeer("writeBeside", path);
                ASSERT_EQ(hear(writer), "writing");
            }
            expectWalk(job, kind % 7);
        }
        endPeer(writer);
    }
    EXPECT_EQ(checkJobFile(path).complaints, std::vector<std::string>());
}

// -- Odd keys ----------------------------------------------------------------
//
// What programs of this format do not write: keys that are not those of the names for which
// they stand, keys that lead to no record, and keys twice.

using Names = std::vector<std::string>;

constexpr int32_t UNUSED_NUMBER = 900000;

struct Job : NewJob {
    Job()
    {
        for (const char* name : {"9", "123", "AB12", "B7"}) {
            EXPECT_EQ(addPoint(&writer, name, PointRecord{}), IX_OK);
        }
    }
    // Adds a key that leads to no record.
    void addKey(int index, std::string key, int32_t number = UNUSED_NUMBER)
    {
        if (index == RECORD_KEY_INDEX) key.resize(KEY_LENGTH, ' ');
        EXPECT_EQ(ixAdd(&writer.records.tree, index, key.c_str(), number, nullptr, 0), IX_OK);
    }
};

// The names of a walk of so many steps, "-" for what cannot be read.
static Names walk(IdxConnection* job, uint32_t kind, size_t steps)
{
    Names names;
    while (names.size() < steps) {
        Element reached(job, kind, names.empty() ? FIRST : NEXT);
        names.push_back(reached ? reached.name() : "-");
    }
    return names;
}

TEST(Walk, PassesPointsThatAreNotFoundByTheirNames)
{
    Job job;
    for (const char* key : {"123", "AB12", "AB 12", "ZZ"}) {
        job.addKey(POINT_NAME_INDEX, key);
    }
    job.addKey(POINT_NAME_INDEX, "            123", UNUSED_NUMBER + 1); // a second one
    IdxConnection* handle = job.connect();
    EXPECT_EQ(namesOf(handle, ELEMENT_POINT),
              (Names{"9", "123", "123", "AB12", "AB12", "AB12", "B7", "ZZ"}));
    EXPECT_EQ(walk(handle, ELEMENT_POINT, 10),
              (Names{"9", "123", "-", "AB12", "-", "-", "B7", "-", "-", "-"}));
}

TEST(Walk, PassesElementsThatAreNotFoundByTheirNames)
{
    Job job;
    for (const char* name : {"A", "B", "C"}) {
        EXPECT_EQ(addCurve(&job.writer, name, CurveResult{}), IX_OK);
        EXPECT_EQ(addChain(&job.writer, name, "9", ChainResult{}), IX_OK);
    }
    for (const std::string tag : {"   CUR", "   CHA"}) {
        job.addKey(RECORD_KEY_INDEX, tag + "B\t");
        job.addKey(RECORD_KEY_INDEX, tag + "D\t");
        job.addKey(RECORD_KEY_INDEX, tag + "C                   1");
        job.addKey(RECORD_KEY_INDEX, tag + "A", UNUSED_NUMBER + 1); // a second one
    }
    IdxConnection* handle = job.connect();
    for (uint32_t kind : {ELEMENT_CURVE, ELEMENT_CHAIN}) {
        EXPECT_EQ(namesOf(handle, kind), (Names{"A", "B", "B", "C", "C", "D"})) << kind;
        EXPECT_EQ(walk(handle, kind, 8), (Names{"A", "-", "B", "C", "-", "-", "-", "-"})) << kind;
    }
}

TEST(Walk, OfProfilesGoesOnBehindThoseThatCannotBeRead)
{
    Job job;
    const ProfileEntry entries[] = {{1, 0, 100}, {2, 100, 102}};
    EXPECT_EQ(addCurve(&job.writer, "A", CurveResult{}), IX_OK);
    for (const char* name : {"P1", "P4", "P5"}) {
        EXPECT_EQ(addProfile(&job.writer, name, entries, 2), IX_OK);
    }
    for (const char* key : {"   PH2P2", "   PH2P3"}) {
        job.addKey(RECORD_KEY_INDEX, key);
    }
    IdxConnection* handle = job.connect();
    EXPECT_EQ(walk(handle, ELEMENT_PROFILE, 7), (Names{"P1", "-", "-", "P4", "P5", "-", "-"}));
    EXPECT_FALSE(Element(handle, ELEMENT_PROFILE, "P3"));
    EXPECT_EQ(namesOf(handle, ELEMENT_CURVE), Names{"A"});
    EXPECT_EQ(Element(handle, ELEMENT_PROFILE, NEXT).name(), "P4");
}
