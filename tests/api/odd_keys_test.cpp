// Walks over jobs that hold what programs of this format do not write: keys that are not those
// of the names for which they stand, keys that lead to no record, and keys twice.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tools/writer/job_writer.h"

#include <gtest/gtest.h>

using Names = std::vector<std::string>;

const std::string NONE = "-"; // an element that cannot be read, or the end
constexpr int32_t UNUSED_NUMBER = 900000;

// A job that is being written, and then read through the exports.
struct Job {
    std::string path = freshDirectory() + "/job.orv";
    JobWriter writer;
    IdxConnection* handle = nullptr;

    Job()
    {
        EXPECT_TRUE(createEmptyJob(path));
        EXPECT_EQ(openJobWriter(&writer, path, OPEN_EXCLUSIVE), IX_OK);
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

    void connect()
    {
        EXPECT_EQ(closeJobWriter(&writer), IX_OK);
        EXPECT_EQ(orvIdx_connectToOrvaneOrvFile(&handle, path.c_str(), 0), IDX_OK);
    }

    ~Job() { EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&handle), IDX_OK); }
};

// The name of the element that a call has read; the call's result is given.
static std::string nameRead(uint32_t kind, int32_t result, void* element)
{
    if (result != IDX_OK) return NONE;
    std::string name = static_cast<char*>(element);
    if (kind == ELEMENT_POINT) name = static_cast<PointElement*>(element)->name;
    EXPECT_EQ(orvIdx_freeElement(kind, &element), IDX_OK);
    return name;
}

// The names of a walk of so many steps.
static Names walk(const Job& job, uint32_t kind, size_t steps)
{
    Names names;
    void* element = nullptr;
    int32_t result = orvIdx_readFirstElement(job.handle, kind, &element);
    for (names = {nameRead(kind, result, element)}; names.size() < steps;) {
        result = orvIdx_readNextElement(job.handle, kind, &element);
        names.push_back(nameRead(kind, result, element));
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
    job.connect();
    EXPECT_EQ(namesOf(job.handle, ELEMENT_POINT),
              (Names{"9", "123", "123", "AB12", "AB12", "AB12", "B7", "ZZ"}));
    EXPECT_EQ(walk(job, ELEMENT_POINT, 10),
              (Names{"9", "123", NONE, "AB12", NONE, NONE, "B7", NONE, NONE, NONE}));
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
    job.connect();
    for (uint32_t kind : {ELEMENT_CURVE, ELEMENT_CHAIN}) {
        EXPECT_EQ(namesOf(job.handle, kind), (Names{"A", "B", "B", "C", "C", "D"})) << kind;
        EXPECT_EQ(walk(job, kind, 8), (Names{"A", NONE, "B", "C", NONE, NONE, NONE, NONE})) << kind;
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
    job.connect();
    EXPECT_EQ(walk(job, ELEMENT_PROFILE, 7), (Names{"P1", NONE, NONE, "P4", "P5", NONE, NONE}));
    void* element = nullptr;
    EXPECT_EQ(orvIdx_readElementbyName(job.handle, ELEMENT_PROFILE, "P3", &element), IDX_ERROR);
    EXPECT_EQ(namesOf(job.handle, ELEMENT_CURVE), Names{"A"});
    int32_t result = orvIdx_readNextElement(job.handle, ELEMENT_PROFILE, &element);
    EXPECT_EQ(nameRead(ELEMENT_PROFILE, result, element), "P4");
}
