// The golden jobs were written by another program, with the answers that a reader
// must give. Each is exported by the built orvidx and compared element by element.

#include "tests/support/command.h"
#include "tools/check/check.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::ordered_json;

constexpr size_t DIFFERENCES_SHOWN = 10;
constexpr double COMPUTED_TOLERANCE = 1e-12;

struct Comparison {
    std::vector<std::string> differences;
    int valuesCompared;
};

static bool sameDouble(double actual, double expected, bool computed)
{
    if (computed) return std::abs(actual - expected) <= COMPUTED_TOLERANCE * std::abs(expected);
    return std::bit_cast<uint64_t>(actual) == std::bit_cast<uint64_t>(expected);
}

static void compare(Comparison& comparison, const std::string& path, const ordered_json& actual,
                    const ordered_json& expected, bool computed);

static std::string keysOf(const ordered_json& object)
{
    std::string keys;
    for (const auto& [key, value] : object.items())
        keys += key + " ";
    return keys;
}

static void compareObjects(Comparison& comparison, const std::string& path,
                           const ordered_json& actual, const ordered_json& expected, bool computed)
{
    if (keysOf(actual) != keysOf(expected)) {
        comparison.differences.push_back(path + ": members " + keysOf(actual) + "instead of " +
                                         keysOf(expected));
        return;
    }
    for (const auto& [key, value] : expected.items()) {
        bool isComputed = computed || key == "vertices" || key == "curve10";
        compare(comparison, std::string(path).append("/").append(key), actual[key], value,
                isComputed);
    }
}

static void compareArrays(Comparison& comparison, const std::string& path,
                          const ordered_json& actual, const ordered_json& expected, bool computed)
{
    if (actual.size() != expected.size()) {
        comparison.differences.push_back(path + ": " + std::to_string(actual.size()) +
                                         " items instead of " + std::to_string(expected.size()));
    }
    for (size_t at = 0; at < std::min(actual.size(), expected.size()); ++at)
        compare(comparison, path + "/" + std::to_string(at), actual[at], expected[at], computed);
}

// Types must agree too: a whole number is no double. Values computed from others
// may differ in their last bits.
static void compare(Comparison& comparison, const std::string& path, const ordered_json& actual,
                    const ordered_json& expected, bool computed)
{
    if (actual.is_object() && expected.is_object()) {
        compareObjects(comparison, path, actual, expected, computed);
    } else if (actual.is_array() && expected.is_array()) {
        compareArrays(comparison, path, actual, expected, computed);
    } else {
        bool doubles = actual.is_number_float() && expected.is_number_float();
        bool same = doubles ? sameDouble(actual, expected, computed)
                            : actual.type() == expected.type() && actual == expected;
        ++comparison.valuesCompared;
        if (!same) {
            comparison.differences.push_back(path + ": " + actual.dump() + " instead of " +
                                             expected.dump());
        }
    }
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

    Comparison comparison = {};
    compare(comparison, "", actual, expected, false);
    EXPECT_GT(comparison.valuesCompared, 500);
    for (size_t at = 0; at < std::min(comparison.differences.size(), DIFFERENCES_SHOWN); ++at)
        ADD_FAILURE() << golden << comparison.differences[at];
    EXPECT_EQ(comparison.differences.size(), 0u);
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
