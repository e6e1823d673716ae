// Walks over jobs that hold what programs of this format do not write: keys that are not those
// of the names for which they stand, keys that lead to no record, and keys twice.
#include "tests/support/new_job.h"

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
