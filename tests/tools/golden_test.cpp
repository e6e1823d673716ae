// The golden jobs were written by another program, with the answers that a reader
// must give. Each is exported by the built orvidx and compared element by element.

#include "tests/support/command.h"
#include "tools/check/check.h"

#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::ordered_json;

constexpr double COMPUTED_TOLERANCE = 1e-12;

static ordered_json exportOf(const std::vector<std::string>& words)
{
    std::vector<std::string> command = {ORVIDX_TOOL, "export"};
    command.insert(command.end(), words.begin(), words.end());
    CommandResult run = runCommand(command);
    ordered_json json = ordered_json::parse(run.output, nullptr, false);
    size_t missing = 0;
    for (const ordered_json& kind : json) {
        missing += static_cast<size_t>(std::ranges::count(kind["elements"], ordered_json(nullptr)));
    }
    EXPECT_EQ(run.status, missing == 0 ? 0 : 3) << run.errors;
    auto lines = static_cast<size_t>(std::ranges::count(run.errors, '\n'));
    EXPECT_EQ(lines, missing == 0 ? 0 : missing + 1) << run.errors;
    return json;
}

// Every value, in order and of the same type: a whole number is no double. Values computed
// from others may differ in their last bits.
static void expectSame(const ordered_json& right, const ordered_json& value,
                       const std::string& where)
{
    ASSERT_EQ(value.type(), right.type()) << where;
    ASSERT_EQ(value.size(), right.size()) << where;
    bool computed = where.find("/vertices/") != where.npos || where.ends_with("/curve10");
    if (computed && right.is_number_float()) {
        double expected = right;
        EXPECT_NEAR(double{value}, expected, COMPUTED_TOLERANCE * std::abs(expected)) << where;
    } else if (!right.is_structured()) {
        EXPECT_EQ(value, right) << where;
    } else {
        auto other = value.items().begin();
        for (const auto& [key, member] : right.items()) {
            ASSERT_EQ(other.key(), key) << where;
            expectSame(member, other.value(), where + "/" + key);
            ++other;
        }
    }
}

static ordered_json answersOf(const std::string& golden)
{
    return ordered_json::parse(fileBytes(ORVIDX_TEST_DATA "/golden/" + golden + "/expected.json"));
}

// The program that wrote the golden jobs looks six continuations up even where their names, cut
// to 19 characters, are all the same: a chain with a name of 17, 18 or 20 characters has its one
// continuation six times, and one with 19 has itself seven times. Here each record counts once.
static ordered_json withoutRepeatedContinuations(ordered_json answers)
{
    ordered_json& chains = answers["chains"];
    for (size_t at = 0; at < chains["names"].size(); ++at) {
        size_t length = chains["names"][at].get<std::string>().size();
        if (length <= 16) continue;
        ordered_json& members = chains["elements"][at]["members"];
        EXPECT_EQ(members.size(), 7U);
        size_t records = length == 19 ? 1 : 2;
        members.erase(members.begin() + static_cast<std::ptrdiff_t>(records), members.end());
    }
    return answers;
}

TEST(Golden, JobsAreExportedAsExpected)
{
    expectSame(answersOf("tiny"), exportOf({freshJob("tiny")}), "tiny");
    expectSame(answersOf("deep"), exportOf({freshJob("deep")}), "deep");
    expectSame(withoutRepeatedContinuations(answersOf("mixed")), exportOf({freshJob("mixed")}),
               "mixed");
}

// The first export gives eight lines their extension records and brings four chains to
// the current layout; from then on these have continuations, and so has what refers to
// them. All else stays.
TEST(Golden, MixedJobIsCleanAfterItsWritesAndReadsTheSameAgain)
{
    std::string job = freshJob("mixed");
    CheckReport before = checkJobFile(job);
    ordered_json first = exportOf({job, "--live"});
    CheckReport after = checkJobFile(job);
    EXPECT_EQ(after.complaints, std::vector<std::string>());
    EXPECT_EQ(after.records, before.records + 8);
    std::string written = fileBytes(job);
    ordered_json second = exportOf({job, "--live"});
    EXPECT_EQ(fileBytes(job), written);

    std::string changed;
    for (const auto& [kind, elements] : first.items()) {
        for (size_t at = 0; at < elements["names"].size(); ++at) {
            bool same = elements["elements"][at] == second[kind]["elements"][at];
            if (!same) changed += elements["names"][at].get<std::string>() + " ";
        }
    }
    EXPECT_EQ(changed, "NEWREFOLD OLD2 OLD3 OLD4 ");
}
