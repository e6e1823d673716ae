// Jobs are damaged in every way, and recovered: what was not hit is back, nothing is there that
// never was, and the new job is sound.
#include "records/record_image.h"
#include "records/records.h"
#include "tests/support/command.h"
#include "tests/support/raw_job.h"
#include "tools/check/check.h"
#include "tools/recover/recover.h"
#include "tools/sample/sample_job.h"
#include "tools/snapshot/job_snapshot.h"
#include "tools/writer/job_writer.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>

namespace
{

using Bytes = std::vector<uint8_t>;

struct Segment {
    int page;
    int offset; // in the page
    std::string data;
};

// The records of a sound job: their segments by number and ordinal.
std::map<int32_t, std::map<int, Segment>> segmentsOf(const Bytes& bytes)
{
    std::map<int32_t, std::map<int, Segment>> records;
    int pages = decodeHeader(bytes.data()).nextFreePage;
    for (int page = 0; page < pages; ++page) {
        const uint8_t* node = &bytes[static_cast<size_t>(pageAt(page))];
        if (nodeLevel(node) > 0) continue;
        const uint8_t* entry = firstEntry(node);
        for (int i = 0; i < nodeCount(node); ++i, entry = nextEntry(entry)) {
            if (entryIndex(entry) != DATA_INDEX) continue;
            Segment segment = {page, static_cast<int>(entry - node), {}};
            segment.data.assign(entryData(entry), nextEntry(entry));
            records[entryNumber(entry)][entrySegment(entry) & SEGMENT_ORDINAL] = segment;
        }
    }
    return records;
}

std::string imageOfSegments(const std::map<int, Segment>& segments)
{
    std::string image;
    for (const auto& [ordinal, segment] : segments) {
        image += segment.data;
    }
    return image;
}

std::set<std::string> imagesOf(const Bytes& bytes)
{
    std::set<std::string> images;
    for (const auto& [number, segments] : segmentsOf(bytes)) {
        images.insert(imageOfSegments(segments));
    }
    return images;
}

enum Damage {
    FLIP_BIT,
    CHANGE_BYTES,
    ZERO_PAGES,
    ZERO_HALF,
    SWAP,
    COPY_OVER,
    CUT,
    HEADER,
    DAMAGES
};

// A job while it is damaged.
struct DamagedJob {
    Bytes bytes;
    std::vector<int> origins; // for each page, which page of the sound job stands there
};

class Recover : public testing::Test
{
  protected:
    std::mt19937 random{20};
    Bytes sound;
    std::map<int32_t, std::map<int, Segment>> records;
    std::set<std::string> images;

    void setJob(const std::string& path)
    {
        std::string bytes = fileBytes(path);
        sound.assign(bytes.begin(), bytes.end());
        records = segmentsOf(sound);
        images = imagesOf(sound);
    }
    size_t below(size_t limit) { return random() % limit; }
    uint8_t* anyPage(DamagedJob& job)
    {
        return &job.bytes[1024 + 1024 * below(job.origins.size())];
    }

    DamagedJob damaged(Damage damage)
    {
        DamagedJob job = {sound, {}};
        for (int page = 0; page < decodeHeader(sound.data()).nextFreePage; ++page) {
            job.origins.push_back(page);
        }
        uint8_t* page = anyPage(job);
        uint8_t* other = anyPage(job);
        auto origin = [&](const uint8_t* at) -> int& {
            return job.origins[static_cast<size_t>(at - job.bytes.data()) / 1024 - 1];
        };
        if (damage == FLIP_BIT) {
            uint8_t& byte = job.bytes[below(job.bytes.size())];
            byte = static_cast<uint8_t>(byte ^ (1U << below(8)));
        }
        for (int i = 0; damage == CHANGE_BYTES && i < 8; ++i) {
            job.bytes[below(job.bytes.size())] = static_cast<uint8_t>(below(256));
        }
        for (int i = 0; damage == ZERO_PAGES && i < 4; ++i) {
            std::fill_n(anyPage(job), 1024, uint8_t{0});
        }
        if (damage == ZERO_HALF) std::fill_n(page + 512, 512, uint8_t{0});
        if (damage == SWAP) {
            std::swap_ranges(page, page + 1024, other);
            std::swap(origin(page), origin(other));
        }
        if (damage == COPY_OVER) {
            std::copy_n(page, 1024, other);
            origin(other) = origin(page);
        }
        if (damage == CUT) job.bytes.resize(2048 + below(job.bytes.size() - 2048));
        for (size_t i = 0; damage == HEADER && i < HEADER_SIZE; ++i) {
            job.bytes[i] = static_cast<uint8_t>(below(256));
        }
        return job;
    }
    bool isIntact(const DamagedJob& job, const Segment& segment)
    {
        size_t offset = static_cast<size_t>(segment.offset);
        const uint8_t* entry = &sound[static_cast<size_t>(pageAt(segment.page)) + offset];
        size_t size = static_cast<size_t>(entrySize(entry));
        for (size_t page = 0; page < job.origins.size(); ++page) {
            size_t at = 1024 + 1024 * page + offset;
            if (job.origins[page] != segment.page || at + size > job.bytes.size()) continue;
            if (std::equal(entry, entry + size, &job.bytes[at])) return true;
        }
        return false;
    }
    void expectWhatWasNotHit(const DamagedJob& job, const Recovery& recovery)
    {
        ASSERT_EQ(recovery.result, RECOVERY_DONE);
        EXPECT_EQ(checkJobBytes(recovery.bytes).complaints, std::vector<std::string>());
        std::set<std::string> recovered = imagesOf(recovery.bytes);
        int hit = 0;
        for (const auto& [number, segments] : records) {
            bool intact = true;
            for (const auto& [ordinal, segment] : segments) {
                intact = intact && isIntact(job, segment);
            }
            hit += !intact;
            EXPECT_TRUE(!intact || recovered.contains(imageOfSegments(segments))) << number;
        }
        // Where nothing was hit, nothing is lost. Of what was hit, a record with other values may
        // still look sound; profile headers and the counter are made anew.
        EXPECT_TRUE(hit > 0 || countInState(recovery, STATE_LOST) == 0);

        int unknown = 0;
        for (const std::string& image : recovered) {
            int kind = image[IMAGE_TYPE_BYTE];
            bool made = kind == KIND_PROFILE || kind == KIND_VERSION;
            unknown += !images.contains(image) && !made;
        }
        EXPECT_LE(unknown, hit);
    }
    void damageAndRecover(int times)
    {
        for (int i = 0; i < times && !HasFailure(); ++i) {
            SCOPED_TRACE(testing::Message() << "copy " << i);
            DamagedJob job = damaged(static_cast<Damage>(i % DAMAGES));
            expectWhatWasNotHit(job, recoverJob(job.bytes, i % 2 == 1));
        }
    }
};

TEST_F(Recover, BringsBackWhatWasNotHit)
{
    setJob(ORVIDX_TEST_DATA "/golden/mixed/job.orv");
    damageAndRecover(100);
    int points = 0;
    std::string path = freshDirectory() + "/sample.orv";
    ASSERT_EQ(createSampleJob(path, 60, 1, &points), SAMPLE_OK);
    setJob(path);
    damageAndRecover(400);
}

// Nothing of a sound job changes but the pages, which are filled.
TEST_F(Recover, CompactsASoundJob)
{
    for (const char* golden : {"tiny", "mixed", "deep"}) {
        setJob(std::string(ORVIDX_TEST_DATA "/golden/") + golden + "/job.orv");
        Recovery recovery = recoverJob(sound, false);
        EXPECT_EQ(std::ssize(recovery.elements), countInState(recovery, STATE_WHOLE)) << golden;
        EXPECT_EQ(imagesOf(recovery.bytes), images) << golden;
        CheckReport before = checkJobBytes(sound);
        CheckReport after = checkJobBytes(recovery.bytes);
        EXPECT_EQ(after.complaints, std::vector<std::string>()) << golden;
        EXPECT_EQ(after.entries, before.entries - before.locks) << golden;
        EXPECT_LE(after.pages, before.pages) << golden;
        Recovery again = recoverJob(recovery.bytes, false);
        EXPECT_EQ(Bytes(again.bytes.begin() + HEADER_SIZE, again.bytes.end()),
                  Bytes(recovery.bytes.begin() + HEADER_SIZE, recovery.bytes.end()));
    }
    EXPECT_EQ(recoverJob(Bytes(5000, 0), false).result, RECOVERY_NOTHING);
    EXPECT_EQ(recoverJob({}, false).result, RECOVERY_NOTHING);
}

class Versions : public Recover, public testing::WithParamInterface<int>
{
};

// Two versions of a record and nothing that tells which is the right one.
TEST_P(Versions, OneIsTakenOrBoth)
{
    setJob(ORVIDX_TEST_DATA "/golden/tiny/job.orv");
    Bytes bytes = sound;
    for (const auto& [number, segments] : records) {
        std::string image = imageOfSegments(segments);
        if (image[IMAGE_TYPE_BYTE] != GetParam() || segments.size() > 1) continue;
        size_t last = image.size() - 4; // of the last text or number
        image[last] = static_cast<char>(image[last] + 1);
        int length = static_cast<int>(image.size());
        int checksum = imageChecksum(reinterpret_cast<const uint8_t*>(image.data()), length);
        image.replace(IMAGE_CHECKSUM, 2, rawNumber(checksum, 2));
        std::string entry = rawEntry(DATA_INDEX, "", number, image);
        std::string page = rawPage(0, 1, entry, NO_PAGE, NO_PAGE, 0);
        bytes.insert(bytes.end(), page.begin(), page.end());
        break;
    }
    ASSERT_GT(bytes.size(), sound.size());
    // Where the tree leads it is in the right.
    EXPECT_EQ(countInState(recoverJob(bytes, true), STATE_DOUBTFUL), 0);
    std::fill_n(bytes.begin(), HEADER_SIZE, uint8_t{0});
    Recovery one = recoverJob(bytes, false);
    Recovery both = recoverJob(bytes, true);
    EXPECT_EQ(countInState(one, STATE_DOUBTFUL), 1);
    EXPECT_EQ(countInState(both, STATE_DOUBTFUL), 2);
    EXPECT_EQ(imagesOf(one.bytes).size(), images.size());
    // A profile of its own needs a header.
    size_t added = GetParam() == KIND_PROFILE_DATA ? 2 : 1;
    EXPECT_EQ(imagesOf(both.bytes).size(), images.size() + added);
    EXPECT_EQ(checkJobBytes(both.bytes).complaints, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Of, Versions,
                         testing::Values(KIND_LINE, KIND_POINT_FEATURE, KIND_PROFILE_DATA));

// A copy holds nothing of the processes at work in the job, which stays as it is.
TEST_F(Recover, BackupsHaveNoHolders)
{
    std::string path = freshJob("tiny");
    JobWriter job;
    ASSERT_EQ(openJobWriter(&job, path, OPEN_SHARED), IX_OK);
    ASSERT_EQ(ixFindFirst(&job.records.tree, POINT_NAME_INDEX, nullptr, 0), IX_OK);
    ASSERT_EQ(ixLockRecord(&job.records.tree, POINT_NAME_INDEX), IX_OK);
    poke32(path, BUSY_MARKER_OFFSET, BUSY_MARKER);
    std::string bytes = fileBytes(path);
    JobSnapshot snapshot = takeSnapshot(path);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), snapshot.bytes);
    EXPECT_EQ(checkJobBytes(snapshot.bytes).locks, 1);
    clearHolders(&snapshot.bytes);
    CheckReport report = checkJobBytes(snapshot.bytes);
    EXPECT_EQ(report.complaints, std::vector<std::string>());
    EXPECT_EQ(report.locks, 0);
    EXPECT_EQ(loadInt32(&snapshot.bytes[BUSY_MARKER_OFFSET]), 0);
    EXPECT_EQ(closeJobWriter(&job), IX_OK);

    std::string copy = freshDirectory() + "/copy.orv";
    EXPECT_EQ(writeNewJob(copy, snapshot.bytes, false), "");
    EXPECT_NE(writeNewJob(copy, Bytes(5), false), "");
    EXPECT_EQ(fileBytes(copy).size(), bytes.size());
    EXPECT_EQ(writeNewJob(copy, Bytes(5), true), "");
    EXPECT_EQ(fileBytes(copy).size(), 5U);
}

} // namespace
