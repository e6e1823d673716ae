// Profiles worked out by hand: the segments that their entries make, and the vertices
// that a host is given for them.
//
// The grades, lengths and stations of the curves are chosen so that the numbers come out
// even. The crest that many cases use, in from a point at station 400 on 0.25:
//   begin     500 - 64 = 436                    100 + 36 * 0.25 = 109
//   end       500 + 32 = 532                    130 + 32 * -0.5 = 114
//   rate      -0.75 / 96 = -1 / 128 = -0.0078125
//   turning   436 + 0.25 * 128 = 468            109 + 32 * 0.25 - 32 * 32 / 256 = 113
#include "cogo/vertical_curves.h"
#include "tests/support/new_job.h"

#include <cmath>

using Entries = std::vector<ProfileEntry>;
using Lines = std::vector<std::string>;

struct Case {
    const char* name;
    std::vector<Entries> records;
    Lines segments;
    // With the segment number where that is not 1; none given: not compared.
    Lines vertices = {};
};

// clang-format off
const Case CASES[] = {
    {"POINTS", {{{1, 0, 100}, {2, 100, 102}, {3, 200, 101}}},
     {"1:0,100 > 2:100,102 @0.02", "0:100,102 > 3:200,101 @-0.01"},
     {"0:0,100", "0:100,102", "0:200,101"}},

    // Neither further than the tolerance nor higher, going back, and twice the same: no
    // segments.
    {"RESTING", {{{1, 0, 0}, {2, 1e-05, 1e-05}, {3, 2.2e-05, 1e-05}, {4, 0, 8}, {5, 5, 8},
                  {6, 5, 8}, {7, 15, 9}}},
     {"2:1e-05,1e-05 > 3:2.2e-05,1e-05 @0", "4:0,8 > 5:5,8 @0", "6:5,8 > 7:15,9 @0.1"},
     {"0:1e-05,1e-05", "0:2.2e-05,1e-05", "0:0,8", "0:5,8", "0:5,8", "0:15,9"}},
    // Steps end 0.000015 behind their station: 1 / 0.000025 up, 3 / 0.000015 down.
    {"STEPS", {{{1, 0, 10}, {2, 1e-05, 11}, {3, 5, 10}, {4, 15, 10}, {5, 15, 7}}},
     {"1:0,10 > 2:2.5e-05,11 @40000", "0:2.5e-05,11 > 3:5,10 @-0.200001", "0:5,10 > 4:15,10 @0",
      "0:15,10 > 5:15.000015,7 @-200000"}},

    {"ALONE", {{{-13, 1, 0}}}, {}, {}},
    {"SIDELINK", {{{1, 0, 10}, {-10, 50, 20}, {2, 100, 30}, {3, 200, 50}}},
     {"-10:50,20 > 2:100,30 @0", "1:0,10 > 2:100,30 @0.2", "0:100,30 > 3:200,50 @0.2"},
     {"0:50,20", "0:100,30", "0:0,10", "0:100,30", "0:200,50"}},

    // The sag begins where the crest ends; its turning point is 564 + 32:
    // 114 - 64 * 0.5 + 64 * 64 / 256 = 98.
    {"CRESTSAG", {{{1, 400, 100}, {-8, 64, 32}, {5, 500, 130}, {0, 0.25, -0.5},
                   {-8, 32, 64}, {1, 564, 98}, {0, -0.5, 0.25}, {2, 728, 124}}},
     {"1:400,100 > 0:436,109 @0.25",
      "436,109 @0.25 > 532,114 @-0.5 rate -0.0078125, 5:500,130 64+32, turns 468,113, flags 11",
      "532,114 @-0.5 > 628,114 @0.25 rate 0.0078125, 1:564,98 32+64, turns 596,98, flags 11",
      "0:628,114 > 2:728,124 @0.1"},
     {"0:400,100", "4:436,109", "6:468,113", "1:500,130 64+32", "5:532,114",
      "4:532,114", "1:564,98 32+64", "7:596,98", "5:628,114", "0:728,124"}},
    // The rates are 0.25 / 64 and 0.5 / 16.
    {"RISING", {{{1, 0, 100}, {2, 10, 100}, {-8, 20, 44}, {5, 50, 110}, {0, 0.25, 0.5},
                 {-8, 0, 16}, {6, 110, 150}, {0, 0, 0.5}}},
     {"1:0,100 > 2:10,100 @0", "0:10,100 > 0:30,105 @0.25",
      "30,105 @0.25 > 94,132 @0.5 rate 0.00390625, 5:50,110 20+44, turns -,-, flags 11",
      "0:94,132 > 0:110,132 @0",
      "110,132 @0 > 126,158 @0.5 rate 0.03125, 6:110,150 0+16, turns -,-, flags 11"},
     {"0:0,100", "0:10,100", "4:30,105", "1:50,110 20+44", "5:94,132",
      "4:110,132", "0:110,150 0+16", "5:126,158", "0:126,158"}},
    // A level grade has no turning point. The approach has grade (1 - 0) / (2 - 0).
    {"LEVEL", {{{1, 0, 0}, {-8, 2, 2}, {5, 2, 1}, {0, 0.5, 0}, {-8, 2, 2}, {6, 6, 0},
                {0, -0.5, 0}, {-8, 2, 2}, {7, 10, 0}, {0, 0, -0.5}}},
     {"1:0,0 > 0:0,0 @0.5",
      "0,0 @0.5 > 4,1 @0 rate -0.125, 5:2,1 2+2, turns -,-, flags 11",
      "4,1 @-0.5 > 8,0 @0 rate 0.125, 6:6,0 2+2, turns -,-, flags 11",
      "8,0 @0 > 12,-1 @-0.5 rate -0.125, 7:10,0 2+2, turns -,-, flags 11"}},
    {"HEADER", {{{-13, 7.9, 0}, {1, 400, 100}, {-8, 64, 32}, {5, 464, 132}, {0, 0.25, 0.25}}},
     {"400,100 @0.25 > 496,140 @0.25 rate 0, 5:464,132 64+32, turns -,-, flags 11"},
     {"0:400,100 #7", "4:400,100 #7", "1:464,132 64+32 #7", "5:496,140 #7", "0:496,140 #7"}},

    // A turning point with each; the second curve's is its end, which makes no vertex.
    {"TURNING", {{{1, 0, 90}, {-4, 100, 100}, {0, 0.25, -0.5}, {8, 196, 88}, {-12, 132, 104},
                  {-4, 196, 88}, {0, -0.5, 0.25}, {-5, 292, 76}, {-12, 292, 76}}},
     {"1:0,90 > 0:100,100 @0.1",
      "100,100 @0.25 > 196,88 @-0.5 rate -0.0078125, 0:-,- -+-, turns 132,104, flags 00",
      "196,88 @-0.5 > 292,76 @0.25 rate 0.0078125, 0:-,- -+-, turns 292,76, flags 01"},
     {"0:0,90", "6:132,104", "5:292,76", "0:292,76"}},
    // Of the second curve the intersection point is also the turning point, and the
    // third turns where it begins.
    {"BOTHPOINTS", {{{1, 100, 100}, {-3, 100, 100}, {0, 0.25, -0.5}, {-5, 196, 88},
                     {-9, 64, 32}, {9, 164, 116}, {-12, 132, 104},
                     {-4, 196, 88}, {0, 0.5, 0.5}, {8, 260, 120},
                     {-9, 32, 32}, {1, 228, 104}, {-12, 228, 104},
                     {-4, 260, 120}, {0, 0.5, 0.5}, {8, 324, 152}, {-12, 260, 120},
                     {2, 424, 162}}},
     {"100,100 @0.25 > 196,88 @-0.5 rate -0.0078125, 9:164,116 64+32, turns 132,104, flags 11",
      "196,88 @0.5 > 260,120 @0.5 rate 0, 1:228,104 32+32, turns 228,104, flags 00",
      "260,120 @0.5 > 324,152 @0.5 rate 0, 0:-,- -+-, turns 260,120, flags 00",
      "0:324,152 > 2:424,162 @0.1"},
     {"0:100,100", "4:100,100", "6:132,104", "1:164,116 64+32", "5:196,88",
      "7:228,104", "1:228,104 32+32", "0:424,162"}},
    // An intersection point without a point's code is taken and met again.
    {"METAGAIN", {{{1, 100, 100}, {-4, 100, 100}, {0, 0.25, -0.5}, {8, 196, 88},
                   {-9, 64, 32}, {-1, 164, 116}, {3, 264, 126}, {2, 364, 136}}},
     {"100,100 @0.25 > 196,88 @-0.5 rate -0.0078125, -1:164,116 64+32, turns -,-, flags 00",
      "-1:164,116 > 3:264,126 @0", "0:264,126 > 2:364,136 @0.1"},
     {"0:100,100", "2:164,116 64+32", "2:164,116", "3:264,126 #2", "0:364,136 #2"}},

    {"SKIPPED", {{{1, 0, 0}, {0, 60, 60}, {-2, 50, 50}, {-5, 5, 5}, {-9, 9, 9}, {-12, 70, 70},
                  {-13, 9, 9}, {1, 100, 10}}},
     {"1:0,0 > 1:100,10 @0.1"}, {"0:0,0", "0:100,10"}},
    // Codes that stand in segments become those of vertices.
    {"CODES", {{{-2, 0, 0}, {-10, 1, 1}, {-7, 2, 2}, {-10, 3, 3}, {-5, 4, 4}, {-10, 5, 5},
                {-6, 6, 6}, {2, 7, 7}, {-10, 8, 8}, {-8, 9, 9}}},
     {"-10:1,1 > -7:2,2 @0", "-10:3,3 > -5:4,4 @0", "-10:5,5 > -6:6,6 @0", "-2:0,0 > 2:7,7 @1",
      "-10:8,8 > -8:9,9 @0"},
     {"0:1,1", "4:2,2", "0:3,3", "6:4,4", "0:5,5", "7:6,6", "3:0,0", "0:7,7", "0:8,8", "5:9,9"}},

    // A record goes on where the one before ended, here with a curve as its entry 1:
    // the grade of the approach is 7 / 2.
    {"CONTINUED", {{{1, 0, 0}, {2, 10, 1}},
                   {{3, 20, 2}, {-8, 2, 2}, {5, 22, 9}, {0, 0.5, 0.5}}},
     {"1:0,0 > 2:10,1 @0.1", "0:10,1 > 3:20,2 @0.1", "0:20,2 > 0:20,2 @3.5",
      "20,2 @0.5 > 24,10 @0.5 rate 0, 5:22,9 2+2, turns -,-, flags 11"}},
};
// clang-format on

// And waves of length 4: more segments than one block holds, more entries than one record,
// and more vertices than there are segments.
static std::vector<Case> allCases()
{
    std::vector<Case> cases(std::begin(CASES), std::end(CASES));
    Case waves = {"WAVES", {{{1, 0, 0}}, {}}, {"1:0,0 > 0:0,0 @0.5"}, {"0:0,0"}};
    std::string begin = "0,0";
    for (int wave = 0; wave < 66; ++wave) {
        const int middle = 4 * wave + 2;
        const std::string top = std::to_string(middle);
        const std::string end = std::to_string(middle + 2) + ",0";
        Entries& record = waves.records[wave < 33 ? 0 : 1];
        record.insert(record.end(), {{-8, 2, 2}, {5, 1.0 * middle, 1}, {0, 0.5, -0.5}});
        waves.segments.push_back(begin + " @0.5 > " + end + " @-0.5 rate -0.25, 5:" + top +
                                 ",1 2+2, turns " + top + ",0.5, flags 11");
        for (const std::string& vertex :
             {"4:" + begin, "6:" + top + ",0.5", "1:" + top + ",1 2+2", "5:" + end}) {
            waves.vertices.push_back(vertex);
        }
        begin = end;
    }
    waves.vertices.push_back("0:" + begin);
    cases.push_back(waves);
    return cases;
}

static std::string text(double value)
{
    char digits[32];
    std::snprintf(digits, sizeof digits, "%.10g", value);
    return value == NO_VALUE ? "-" : digits;
}

static std::string pair(double first, const char* between, double second)
{
    return text(first) + between + text(second);
}

static std::string point(int32_t code, double station, double elevation)
{
    return std::to_string(code) + ":" + pair(station, ",", elevation);
}

static std::string line(const StraightSegment& s)
{
    return point(s.beginCode, s.beginStation, s.beginElevation) + " > " +
           point(s.endCode, s.endStation, s.endElevation) + " @" + text(s.grade);
}

static std::string line(const VerticalCurve& c)
{
    return pair(c.beginStation, ",", c.beginElevation) + " @" + text(c.gradeIn) + " > " +
           pair(c.endStation, ",", c.endElevation) + " @" + text(c.gradeOut) + " rate " +
           text(c.rateOfChange) + ", " +
           point(c.intersectionCode, c.intersectionStation, c.intersectionElevation) + " " +
           pair(c.backLength, "+", c.aheadLength) + ", turns " +
           pair(c.turningStation, ",", c.turningElevation) + ", flags " + std::to_string(c.flag1) +
           std::to_string(c.flag2);
}

static std::string line(const ProfileVertex& v)
{
    bool lengths = v.backLength != 0.0 || v.aheadLength != 0.0;
    return point(v.vertexCode, v.station, v.elevation) +
           (lengths ? " " + pair(v.backLength, "+", v.aheadLength) : "") +
           (v.segmentNumber != 1 ? " #" + std::to_string(v.segmentNumber) : "");
}

// The segments of the profile with these records, and its header value. Behind the last
// entry of each record lie others, of that code, which do not count.
static Lines segmentsOf(const std::vector<Entries>& records, int32_t behind, int32_t* headerValue)
{
    ProfileResult profile = {};
    ProfilePoint current = {};
    for (Entries entries : records) {
        int count = static_cast<int>(entries.size());
        entries.insert(entries.end(), 3, {behind, 999, 999});
        EXPECT_EQ(buildSegments(&profile, &current, entries.data(), count), COGO_OK);
    }
    Lines lines;
    const ProfileSegment* previous = nullptr;
    for (const ProfileSegment* segment = profile.firstSegment; segment != nullptr;
         previous = segment, segment = segment->next) {
        EXPECT_EQ(segment->previous, previous);
        bool straight = segment->kind == SEGMENT_STRAIGHT;
        lines.push_back(straight ? line(*segment->straight) : line(*segment->curve));
    }
    EXPECT_EQ(profile.lastSegment, previous);
    EXPECT_EQ(profile.segmentCount, std::ssize(lines));
    *headerValue = profile.headerValue;
    clearProfile(&profile);
    return lines;
}

TEST(ProfileGeometry, MakesSegmentsOfEntries)
{
    int32_t headerValue = 0;
    for (const Case& each : allCases()) {
        EXPECT_EQ(segmentsOf(each.records, -12, &headerValue), each.segments) << each.name;
        EXPECT_EQ(segmentsOf(each.records, 4, &headerValue), each.segments) << each.name;
        EXPECT_EQ(headerValue, each.name == std::string("HEADER") ? 7 : 1) << each.name;
    }
}

TEST(ProfileGeometry, DropsAGroupThatTheRecordCutsShortAndWhatFollowsIt)
{
    int32_t headerValue = 0;
    const Lines expected = {"1:0,0 > 2:10,1 @0.1", "0:10,1 > 4:20,2 @0.1"};
    for (const Entries& cut : {Entries{{-1, 15, 5}}, Entries{{-10, 15, 5}}, Entries{{-8, 1, 1}},
                               Entries{{-8, 1, 1}, {3, 15, 5}}, Entries{{-3, 15, 5}, {3, 16, 6}},
                               Entries{{-4, 15, 5}, {3, 16, 6}}}) {
        Entries entries = {{1, 0, 0}, {2, 10, 1}};
        entries.insert(entries.end(), cut.begin(), cut.end());
        EXPECT_EQ(segmentsOf({entries, {{4, 20, 2}}}, 4, &headerValue), expected) << cut[0].code;
    }
}

TEST(ProfileGeometry, TakesAHeaderValueOf16Bits)
{
    for (const auto& [value, expected] : {std::pair(-7.9, -7),
                                          {32767.9, 32767},
                                          {32768.0, 0},
                                          {-32768.9, -32768},
                                          {-32769.0, 0},
                                          {65537.0, 0},
                                          {1e10, 0},
                                          {std::nan(""), 0}}) {
        int32_t headerValue = 77;
        segmentsOf({{{-13, value, 0}, {1, 0, 0}, {2, 1, 1}}}, 4, &headerValue);
        EXPECT_EQ(headerValue, expected) << value;
    }
}

TEST(ProfileGeometry, ReachesTheHostAsVertices)
{
    NewJob made;
    for (const Case& each : allCases()) {
        Entries all;
        for (const Entries& record : each.records) {
            all.insert(all.end(), record.begin(), record.end());
        }
        int count = static_cast<int>(all.size());
        EXPECT_EQ(addProfile(&made.writer, each.name, all.data(), count), IX_OK);
    }
    IdxConnection* job = made.connect();
    for (const Case& each : allCases()) {
        if (each.vertices.empty()) continue;
        Element element(job, ELEMENT_PROFILE, each.name);
        ASSERT_TRUE(element) << each.name;
        auto* profile = element.as<ProfileElement>();
        Lines lines;
        for (int32_t i = 0; i < profile->vertexCount; ++i) {
            lines.push_back(line(profile->vertices[i]));
        }
        EXPECT_EQ(lines, each.vertices) << each.name;
    }
}
