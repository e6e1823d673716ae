// Exports in each format, read back: they hold what the JSON holds, and say what they do not.
#include "tests/support/command.h"
#include "tests/support/process.h"
#include "tests/support/raw_job.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using Row = std::vector<std::string>; // the values, without those that are empty or null
using Rows = std::vector<Row>;

static CommandResult exportWith(std::vector<std::string> words)
{
    words.insert(words.begin(), {ORVIDX_TOOL, "export"});
    return runCommand(words);
}

// Numbers are brought to one spelling.
static void add(Row& row, const std::string& value)
{
    char* end = nullptr;
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.12g", std::strtod(value.c_str(), &end));
    if (!value.empty()) row.push_back(*end == 0 ? digits : value);
}

static void addMembers(Row& row, const ordered_json& object)
{
    for (const auto& [key, value] : object.items()) {
        if (value.is_object()) addMembers(row, value);
        if (value.is_primitive()) add(row, value.is_string() ? value : ordered_json(value.dump()));
    }
}

// The elements of a kind, or what they list under a key.
static Rows rowsOfJson(const ordered_json& kind, const std::string& listed)
{
    Rows rows;
    for (size_t at = 0; at < kind["names"].size(); ++at) {
        ordered_json items = ordered_json::array({kind["elements"][at]});
        if (!listed.empty()) items = items[0].is_null() ? ordered_json() : items[0][listed];
        for (size_t item = 0; item < items.size(); ++item) {
            add(rows.emplace_back(), kind["names"][at]);
            if (!listed.empty()) add(rows.back(), std::to_string(item + 1));
            if (!items[item].is_null()) addMembers(rows.back(), items[item]);
        }
    }
    return rows;
}

static Rows rowsOfCsv(const std::string& text)
{
    Rows rows(1);
    std::string value;
    bool quoted = false;
    for (size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"') {
            if (!quoted && text[at - 1] == '"') value += '"';
            quoted = !quoted;
        } else if (quoted || (text[at] != ',' && text[at] != '\r' && text[at] != '\n')) {
            value += text[at];
        } else if (text[at] != '\n') {
            add(rows.back(), value);
            value.clear();
            if (text.compare(at, 2, "\r\n") == 0) rows.emplace_back();
        }
    }
    rows.pop_back(); // behind the last line end
    rows.erase(rows.begin());
    return rows;
}

static Rows rowsOfSqlite(sqlite3* database, const std::string& sql)
{
    Rows rows;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(database, sql.c_str(), -1, &statement, nullptr), 0) << sql;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        rows.emplace_back();
        for (int at = 0; at < sqlite3_column_count(statement); ++at) {
            char digits[40];
            std::snprintf(digits, sizeof digits, "%.17g", sqlite3_column_double(statement, at));
            bool isReal = sqlite3_column_type(statement, at) == SQLITE_FLOAT;
            const void* text =
                isReal ? digits : static_cast<const void*>(sqlite3_column_text(statement, at));
            bool isId = std::string(sqlite3_column_name(statement, at)) == "id";
            if (text != nullptr && !isId) add(rows.back(), static_cast<const char*>(text));
        }
    }
    sqlite3_finalize(statement);
    return rows;
}

static void expectSameInEachFormat(const std::string& job)
{
    constexpr const char* TABLES[][3] = {
        {"points", "points", ""},     {"survey_chains", "surveyChains", ""},
        {"lines", "lines", ""},       {"survey_chain_points", "surveyChains", "points"},
        {"curves", "curves", ""},     {"spirals", "spirals", ""},
        {"chains", "chains", ""},     {"chain_members", "chains", "members"},
        {"profiles", "profiles", ""}, {"profile_vertices", "profiles", "vertices"}};
    const std::string folder = freshDirectory();
    CommandResult whole = exportWith({job});
    const ordered_json json = ordered_json::parse(whole.output);
    EXPECT_EQ(exportWith({job, "--format", "csv", "-o", folder + "/csv"}).status, whole.status);
    EXPECT_EQ(exportWith({job, "--format", "sqlite", "-o", folder + "/db"}).errors, whole.errors);
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open((folder + "/db").c_str(), &database), SQLITE_OK);
    for (const auto& [table, key, listed] : TABLES) {
        Rows right = rowsOfJson(json[key], listed);
        EXPECT_EQ(rowsOfCsv(fileBytes(folder + "/csv/" + table + ".csv")), right) << table;
        EXPECT_EQ(rowsOfSqlite(database, std::string("SELECT * FROM ") + table), right) << table;
    }
    EXPECT_EQ(rowsOfSqlite(database, "PRAGMA foreign_key_check"), Rows());
    EXPECT_EQ(rowsOfSqlite(database, "SELECT * FROM unreadable").empty(), whole.status == 0);
    EXPECT_EQ(rowsOfSqlite(database, "SELECT l.name FROM lines l JOIN line_points p USING "
                                     "(elementName) WHERE p.name = l.beginPointName"),
              rowsOfSqlite(database, "SELECT name FROM lines WHERE name NOTNULL"));
    sqlite3_close(database);

    std::istringstream lines(exportWith({job, "--format", "jsonl", "--kind", "line"}).output);
    std::string line;
    for (size_t at = 0; std::getline(lines, line); ++at) {
        EXPECT_EQ(ordered_json::parse(line)["element"], json["lines"]["elements"].at(at)) << line;
    }
}

TEST(Export, IsTheSameInEachFormat)
{
    expectSameInEachFormat(freshJob("mixed"));
    std::string hostile = freshJob("tiny");
    std::string bytes = fileBytes(hostile);
    for (size_t at = 0; (at = bytes.find("CHAEMPTY", at)) != std::string::npos;)
        bytes.replace(at, 8, "CHAE,\"\nY");
    writeBytes(hostile, bytes);
    EXPECT_NE(exportWith({hostile}).output.find("E,\\\"\\nY"), std::string::npos);
    expectSameInEachFormat(hostile);
}

TEST(Export, StaysValidWhereSomethingCannotBeReadOrCounted)
{
    std::string bytes = fileBytes(freshJob("tiny"));
    bytes[static_cast<size_t>(pageAt(0))] = 1; // a level that no leaf has
    const std::string job = writeJob(bytes);
    CommandResult run = exportWith({job});
    EXPECT_EQ(run.status, 3);
    const ordered_json lines = ordered_json::parse(run.output)["lines"];
    EXPECT_TRUE(lines["count"].is_null() && lines["names"].is_null()) << lines;
    EXPECT_NE(run.errors.find(job + ": the lines cannot be counted"), std::string::npos);
    EXPECT_NE(run.errors.find(job + ": complete but for "), std::string::npos);

    // A pipe is written to and stays one.
    const std::string pipe = job + ".pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int end = open(pipe.c_str(), O_RDWR);
    EXPECT_EQ(exportWith({job, "-o", pipe}).status, 3);
    char begin = 0;
    EXPECT_TRUE(read(end, &begin, 1) == 1 && begin == '{' && fs::is_fifo(pipe));
    close(end);
}

// Where nobody reads what it says about line L3, an export waits in the middle.
TEST(Export, LeavesNothingWhenItIsEnded)
{
    const std::string job = freshJob("tiny");
    const fs::path folder = freshDirectory();
    const std::string scratch = freshDirectory();
    Pipe errors = makePipe();
    fcntl(errors.writeEnd, F_SETFL, O_NONBLOCK);
    while (write(errors.writeEnd, "", 1) == 1) {
    }
    fcntl(errors.writeEnd, F_SETFL, 0);
    Process process = startProcess({"/usr/bin/env", "TMPDIR=" + scratch, ORVIDX_TOOL, "export", job,
                                    "-o", (folder / "out").string()},
                                   errors.writeEnd, errors.writeEnd, errors.writeEnd);
    while (fs::is_empty(folder)) {
    }
    EXPECT_TRUE(fs::is_empty(scratch)); // whatever ends it, nothing stays of the copy that it reads
    kill(static_cast<pid_t>(process), SIGTERM);
    EXPECT_EQ(waitForProcess(process), 128 + SIGTERM);
    EXPECT_TRUE(fs::is_empty(folder));
}
