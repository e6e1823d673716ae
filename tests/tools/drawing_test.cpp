// Plans and profiles are drawn as their numbers say, and only where these agree.
#include "tests/support/command.h"
#include "tests/support/exports.h"
#include "tools/drawing/svg.h"
#include "tools/sample/sample_alignment.h"
#include "tools/sample/sample_job.h"
#include "tools/sample/sample_profile.h"

#include <cmath>
#include <gtest/gtest.h>

using Vertices = std::vector<ProfileVertex>;

static ProfileLine lineThrough(Vertices vertices)
{
    ProfileElement profile = {};
    profile.vertices = vertices.data();
    profile.vertexCount = static_cast<int32_t>(vertices.size());
    return lineOf(profile);
}

static double elevationAt(const ProfileLine& line, double station)
{
    const ProfilePiece* piece = pieceAt(line, station);
    return piece != nullptr ? elevationOn(*piece, station) : NAN;
}

// The numbers in a path, with the letters that they follow.
struct PathPart {
    char letter;
    std::vector<double> numbers;
};

static std::vector<PathPart> partsOf(const std::string& svg, const std::string& style)
{
    std::string mark = "class=\"" + style + "\" d=\"";
    size_t begin = svg.find(mark) + mark.size();
    std::string data = svg.substr(begin, svg.find('"', begin) - begin);
    std::vector<PathPart> parts;
    for (size_t at = 0; at < data.size();) {
        if (std::isalpha(static_cast<unsigned char>(data[at])) != 0) {
            parts.push_back({data[at++], {}});
        } else if (data[at] == ' ') {
            ++at;
        } else {
            size_t used = 0;
            parts.back().numbers.push_back(std::stod(data.substr(at), &used));
            at += used;
        }
    }
    return parts;
}

// Returns the height on the sheet at a place across it, on lines and quadratic curves.
static double drawnAt(const std::vector<PathPart>& parts, double x)
{
    double fromX = 0.0;
    double fromY = 0.0;
    for (const auto& [letter, numbers] : parts) {
        double toX = numbers[numbers.size() - 2];
        double toY = numbers.back();
        if (letter != 'M' && x >= fromX && x <= toX) {
            double part = (x - fromX) / (toX - fromX); // the middle place is half-way
            double middle = letter == 'Q' ? numbers[1] : (fromY + toY) / 2;
            return (1 - part) * (1 - part) * fromY + 2 * part * (1 - part) * middle +
                   part * part * toY;
        }
        fromX = toX;
        fromY = toY;
    }
    return NAN;
}

// True where the road bends without a vertex that tells of it: at every third break, unless the
// curve there has a highest or lowest point.
static bool isUntold(const GradeLine& road, double station)
{
    for (size_t at = 3; at + 1 < road.breaks.size(); at += 3) {
        const GradeBreak& before = road.breaks[at - 1];
        const GradeBreak& behind = road.breaks[at + 1];
        bool turns = road.breaks[at].gradeIn * road.breaks[at].gradeOut < 0.0;
        bool isBeside = station > before.station + before.halfCurve &&
                        station < behind.station - behind.halfCurve;
        if (isBeside && !turns) return true;
    }
    return false;
}

TEST(ProfileLines, AreTheRoadThatTheVerticesWereMadeFrom)
{
    constexpr int POINTS = 600;
    constexpr int BENDS = 15;
    for (unsigned seed : {1U, 2U, 3U}) {
        std::mt19937 random(seed);
        Alignment alignment = buildAlignment(BENDS, &random);
        GradeLine road = buildGradeLine(alignment.length, &random);
        std::string path = freshDirectory() + "/job.orv";
        int written = 0;
        ASSERT_EQ(createSampleJob(path, POINTS, seed, &written), 0);
        IdxConnection* job = nullptr;
        void* element = nullptr;
        ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
        ASSERT_EQ(orvIdx_readElementbyName(job, ELEMENT_PROFILE, "MAIN", &element), IDX_OK);
        ProfileLine line = lineOf(*static_cast<ProfileElement*>(element));
        orvIdx_freeElement(ELEMENT_PROFILE, &element);
        orvIdx_disconnectFromOrvaneOrvFile(&job);

        EXPECT_TRUE(line.remarks.empty()) << line.remarks.front();
        EXPECT_FALSE(line.derived.empty());
        std::vector<PathPart> drawn = partsOf(profileSvg(line, "MAIN"), "grade");
        // Two places of the road tell how stations and elevations lie on the sheet.
        double left = drawn.front().numbers[0];
        double right = drawn.back().numbers[0];
        double scale = (right - left) / line.pieces.back().endStation;
        double high = road.breaks[1].elevation;
        double slope = NAN;
        int compared = 0;
        for (int at = 0; at < 1000; ++at) {
            double station = alignment.length * (at + 0.5) / 1000;
            if (isUntold(road, station)) continue;
            double wanted = elevationOnLine(road, station);
            ++compared;
            EXPECT_NEAR(elevationAt(line, station), wanted, 1e-6) << station;
            double y = drawnAt(drawn, left + station * scale) - drawn.front().numbers[1];
            double above = wanted - road.breaks[0].elevation;
            if (std::isnan(slope) && std::fabs(above) > (high - road.breaks[0].elevation) / 2) {
                slope = y / above;
            }
            if (std::isnan(slope)) continue;
            EXPECT_NEAR(y / slope, above, 0.01) << station;
        }
        EXPECT_GT(compared, 600);
    }
}

TEST(ProfileLines, HaveOneTangentWhereACurveWithTwoLengthsMeetsItself)
{
    // 2 % up over 30, then 4 % down over 60; by hand, the join lies 30 * 60 / 2 / 90 * 6 % below.
    ProfileLine line = lineThrough({{VERTEX_POINT, 0, 1, 10.0, 0, 0},
                                    {VERTEX_CURVE_BEGIN, 100, 1, 12.0, 0, 0},
                                    {VERTEX_HIGH_POINT, 130, 1, 12.3, 0, 0}, // of one parabola
                                    {VERTEX_INTERSECTION, 130, 1, 12.6, 30, 60},
                                    {VERTEX_CURVE_END, 190, 1, 10.2, 0, 0}});
    ASSERT_EQ(line.pieces.size(), 3U);
    EXPECT_TRUE(line.remarks.empty());
    EXPECT_NEAR(elevationAt(line, 130), 12.6 - 0.6, 1e-12);
    EXPECT_NEAR(gradeOn(line.pieces[1], 100), 0.02, 1e-12);
    EXPECT_NEAR(gradeOn(line.pieces[1], 130), gradeOn(line.pieces[2], 130), 1e-12);
    EXPECT_NEAR(gradeOn(line.pieces[2], 190), -0.04, 1e-12);
    EXPECT_NEAR(elevationAt(line, 190), 10.2, 1e-9);
}

TEST(ProfileLines, DoWithoutEndsThatTheLengthsTellAndSayWhatDoesNotFit)
{
    ProfileLine inner = lineThrough({{VERTEX_POINT, 0, 1, 0.0, 0, 0},
                                     {VERTEX_INTERSECTION, 100, 1, 2.0, 20, 20},
                                     {VERTEX_POINT, 200, 1, 0.0, 0, 0}});
    ASSERT_EQ(inner.pieces.size(), 3U);
    EXPECT_NEAR(elevationAt(inner, 100), 1.8, 1e-12); // 2 - 4 % * 40 / 8
    EXPECT_TRUE(inner.remarks.empty());

    ProfileLine byTurn = lineThrough({{VERTEX_CURVE_BEGIN, 0, 1, 1.0, 0, 0},
                                      {VERTEX_LOW_POINT, 10, 1, 0.5, 0, 0},
                                      {VERTEX_CURVE_END, 30, 1, 2.5, 0, 0}});
    EXPECT_NEAR(elevationAt(byTurn, 20), 1.0, 1e-12);
    EXPECT_TRUE(byTurn.remarks.empty());

    Vertices byGrades = {{VERTEX_POINT, 0, 1, 0.0, 0, 0},
                         {VERTEX_CURVE_BEGIN, 100, 1, 1.0, 0, 0},
                         {VERTEX_CURVE_END, 200, 1, 1.0, 0, 0},
                         {VERTEX_POINT, 300, 1, 0.0, 0, 0}};
    EXPECT_NEAR(elevationAt(lineThrough(byGrades), 150), 1.25, 1e-12);
    EXPECT_TRUE(lineThrough(byGrades).remarks.empty());
    Vertices otherGrades = byGrades;
    otherGrades[3].elevation = 1.0;

    for (Vertices odd :
         {otherGrades,
          Vertices{{VERTEX_POINT, 0, 1, 0.0, 0, 0}, {VERTEX_LINK_END, 100, 1, 2.0, 50, 50}},
          Vertices{{VERTEX_POINT, 0, 1, 0.0, 0, 0},
                   {VERTEX_INTERSECTION, 100, 1, 2.0, 120, 20},
                   {VERTEX_POINT, 200, 1, 0.0, 0, 0}},
          Vertices{{VERTEX_POINT, 0, 1, 0.0, 0, 0},
                   {VERTEX_INTERSECTION, 100, 1, 2.0, NAN, 20},
                   {VERTEX_POINT, 200, 1, 0.0, 0, 0}},
          Vertices{{VERTEX_POINT, 0, 1, 0.0, 0, 0},
                   {VERTEX_HIGH_POINT, 100, 1, 2.0, 0, 0},
                   {VERTEX_POINT, 200, 1, 0.0, 0, 0}},
          Vertices{{VERTEX_CURVE_BEGIN, 0, 1, 1.0, 0, 0},
                   {VERTEX_LOW_POINT, 10, 1, 0.5, 0, 0},
                   {VERTEX_CURVE_END, 30, 1, 2.6, 0, 0}},
          Vertices{{VERTEX_POINT, 50, 1, 0.0, 0, 0},
                   {VERTEX_POINT, 40, 1, 2.0, 0, 0},
                   {VERTEX_POINT, 200, 1, 0.0, 0, 0}},
          Vertices{{VERTEX_POINT, 50, 1, 0.0, 0, 0},
                   {VERTEX_POINT, 60, 1, NAN, 0, 0},
                   {VERTEX_POINT, 200, 1, 0.0, 0, 0}}}) {
        EXPECT_EQ(lineThrough(odd).remarks.size(), 1U);
    }

    Vertices noEnd = {{VERTEX_CURVE_BEGIN, 0, 1, 1.0, 0, 0},
                      {VERTEX_LOW_POINT, 10, 1, 0.5, 0, 0},
                      {VERTEX_CURVE_END, 30, 1, NAN, 0, 0}};
    EXPECT_EQ(lineThrough(noEnd).pieces.size(), 1U);

    ProfileLine link = lineThrough({{VERTEX_POINT, 0, 1, 0.0, 0, 0},
                                    {VERTEX_LINK_BEGIN, 10, 1, 0.0, 0, 0},
                                    {VERTEX_LINK_END, 20, 2, 5.0, 0, 0},
                                    {VERTEX_POINT, 30, 2, 5.0, 0, 0}});
    EXPECT_EQ(pieceAt(link, 15), nullptr);
    EXPECT_EQ(elevationAt(link, 25), 5.0);
}

// -- The plan ----------------------------------------------------------------

// A quarter of a circle to the right: from the west of its centre to the north.
static CurveElement quarter()
{
    CurveElement curve = {};
    curve.curve4 = 100.0; // begin
    curve.curve3 = 500.0;
    curve.curve2 = 200.0; // centre
    curve.curve1 = 500.0;
    curve.curve6 = 200.0; // end
    curve.curve5 = 600.0;
    curve.curve11 = 100.0;
    curve.curve8 = 157.0796;
    curve.curve12 = 90.0;
    return curve;
}

TEST(PlanShapes, ArcsAreDrawnWhereTheirNumbersAgreeAndElseListed)
{
    PlanPath path;
    ASSERT_EQ(pathOfCurve(quarter(), EAST_FIRST, &path), "");
    ASSERT_EQ(path.size(), 2U);
    EXPECT_NEAR(path[1].arc.beginAngle, PI, 1e-12);
    EXPECT_NEAR(path[1].arc.sweep, -PI / 2, 1e-12);
    // With the axes swapped the same numbers are the mirror image.
    path.clear();
    ASSERT_EQ(pathOfCurve(quarter(), NORTH_FIRST, &path), "");
    EXPECT_NEAR(path[1].arc.sweep, PI / 2, 1e-12);
    EXPECT_EQ(path[1].to.north, 200.0);

    CurveElement rest = quarter(); // the other three quarters, by the length alone
    rest.curve8 = 3 * 157.0796;
    path.clear();
    ASSERT_EQ(pathOfCurve(rest, EAST_FIRST, &path), "");
    EXPECT_NEAR(path[1].arc.sweep, 3 * PI / 2, 1e-12);

    constexpr double CurveElement::*MEMBERS[] = {&CurveElement::curve1, &CurveElement::curve2,
                                                 &CurveElement::curve3, &CurveElement::curve4,
                                                 &CurveElement::curve5, &CurveElement::curve6,
                                                 &CurveElement::curve8, &CurveElement::curve11};
    for (double CurveElement::*member : MEMBERS) {
        for (double wrong : {0.5, -1000.0, 1e300, static_cast<double>(NAN)}) {
            CurveElement curve = quarter();
            curve.*member = wrong == 0.5 ? curve.*member + wrong : wrong;
            Plan plan;
            addToPlan(&plan, ELEMENT_CURVE, 7, "C1", &curve);
            EXPECT_TRUE(plan.ways.empty());
            ASSERT_EQ(plan.notDrawn.size(), 1U);
            EXPECT_EQ(plan.notDrawn[0].row, 7U);
        }
    }
}

TEST(PlanShapes, ASampleIsDrawnWholeAndSpiralsOnlyWhereTheirEndsAgree)
{
    std::string path = freshDirectory() + "/job.orv";
    int written = 0;
    ASSERT_EQ(createSampleJob(path, 600, 1, &written), 0);
    IdxConnection* job = nullptr;
    ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    Plan plan;
    size_t spirals = 0;
    bool types[5] = {};
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        uint32_t count = 0;
        orvIdx_numberOfElements(job, kind, &count, nullptr);
        for (uint32_t at = 0; at < count; ++at) {
            void* element = nullptr;
            (at == 0 ? orvIdx_readFirstElement : orvIdx_readNextElement)(job, kind, &element);
            addToPlan(&plan, kind, at, "", element);
            if (kind == ELEMENT_SPIRAL) {
                SpiralElement spiral = *static_cast<SpiralElement*>(element);
                types[spiral.spiralType] = true;
                ++spirals;
                for (double SpiralElement::*member :
                     {&SpiralElement::spiral1, &SpiralElement::spiral2, &SpiralElement::spiral3,
                      &SpiralElement::spiral4, &SpiralElement::spiral8, &SpiralElement::spiral10,
                      &SpiralElement::spiral13}) {
                    SpiralElement wrong = spiral;
                    wrong.*member += 9.0;
                    PlanPath ignored;
                    EXPECT_NE(pathOfSpiral(wrong, EAST_FIRST, &ignored), "");
                    EXPECT_TRUE(ignored.empty());
                }
            }
            orvIdx_freeElement(kind, &element);
        }
    }
    orvIdx_disconnectFromOrvaneOrvFile(&job);
    EXPECT_TRUE(plan.notDrawn.empty());
    EXPECT_TRUE(types[1] && types[2] && types[3] && types[4] && spirals > 4);

    // Where a spiral meets a curve the chain goes on without a corner.
    double longest = 0.0;
    for (const PlanWay& way : plan.ways) {
        for (size_t at = 1; at < way.path.size() && way.kind == ELEMENT_SPIRAL; ++at) {
            longest = std::max(longest, distanceBetween(way.path[at - 1].to, way.path[at].to));
        }
    }
    EXPECT_LT(longest, 5.0);
}
