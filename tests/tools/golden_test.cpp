// The golden jobs were written by another program, with the answers that a reader
// must give. Each is exported by the built orvidx and compared element by element.

#include "tests/support/command.h"
#include "tools/check/check.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::ordered_json;

constexpr int DIFFERENCES_SHOWN = 10;
constexpr double COMPUTED_TOLERANCE = 1e-12;

using Values = std::vector<std::pair<std::string, ordered_json>>; // by their paths, in order

static void addValues(Values* values, const std::string& path, const ordered_json& json)
{
    if (!json.is_structured() || json.empty()) values->emplace_back(path, json);
    for (const auto& [key, value] : json.items()) {
        if (json.is_structured()) addValues(values, path + "/" + key, value);
    }
}

// Types must agree too: a whole number is no double. Values computed from others may
// differ in their last bits.
static bool isSame(const std::string& path, const ordered_json& actual,
                   const ordered_json& expected)
{
    if (!actual.is_number_float() || !expected.is_number_float())
        return actual.type() == expected.type() && actual == expected;
    double value = actual;
    double right = expected;
    bool computed = path.find("/vertices/") != path.npos || path.ends_with("/curve10");
    if (computed) return std::abs(value - right) <= COMPUTED_TOLERANCE * std::abs(right);
    return std::bit_cast<uint64_t>(value) == std::bit_cast<uint64_t>(right);
}

static ordered_json exportOf(const std::string& job)
{
    CommandResult run = runCommand({ORVIDX_TOOL, "export", job});
    EXPECT_EQ(run.status, 0) << run.errors;
    return ordered_json::parse(run.output, nullptr, false);
}

static void expectGoldenExport(const std::string& golden)
{
    std::string job = freshJob(golden);
    ordered_json actual = exportOf(job);
    ordered_json expected =
        ordered_json::parse(fileBytes(ORVIDX_TEST_DATA "/golden/" + golden + "/expected.json"));

    Values values;
    Values right;
    addValues(&values, "", actual);
    addValues(&right, "", expected);
    EXPECT_GT(right.size(), 500U);
    ASSERT_EQ(values.size(), right.size());
    int differences = 0;
    for (size_t at = 0; at < right.size(); ++at) {
        const auto& [path, value] = right[at];
        bool same = values[at].first == path && isSame(path, values[at].second, value);
        if (same || ++differences > DIFFERENCES_SHOWN) continue;
        ADD_FAILURE() << path << ": " << value << ", but " << values[at].first << ": "
                      << values[at].second;
    }
    EXPECT_EQ(differences, 0);
}

TEST(Golden, TinyJobIsExportedAsExpected) { expectGoldenExport("tiny"); }
TEST(Golden, MixedJobIsExportedAsExpected) { expectGoldenExport("mixed"); }
TEST(Golden, DeepJobIsExportedAsExpected) { expectGoldenExport("deep"); }

// The first export gives eight lines their extension records and brings four chains to
// the current layout; from then on these have continuations, and so has what refers to
// them. All else stays.
TEST(Golden, MixedJobIsCleanAfterItsWritesAndReadsTheSameAgain)
{
    std::string job = freshJob("mixed");
    CheckReport before = checkJobFile(job);
    ordered_json first = exportOf(job);
    CheckReport after = checkJobFile(job);
    EXPECT_EQ(after.complaints, std::vector<std::string>());
    EXPECT_EQ(after.records, before.records + 8);
    std::string written = fileBytes(job);
    ordered_json second = exportOf(job);
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
