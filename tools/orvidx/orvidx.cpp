// orvidx: prints what a job database holds, through the library's exports only.

#include "tools/orvidx/job_export.h"
#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"
#include "tools/terminal/terminal.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

using nlohmann::ordered_json;

constexpr int STATUS_DONE = 0;
constexpr int STATUS_FAILED = 1;
constexpr int STATUS_USAGE = 2;

constexpr const char* HELP_END =
    "KIND is one of point, line, curve, spiral, chain, profile, survey-chain.\n"
    "Names are read and printed as UTF-8; a NAME that begins with a minus sign follows --.\n"
    "Reading a line without an extension record, or a chain of the older layout, adds to\n"
    "the job; in a job that may only be read such an element cannot be read.\n"
    "A stored double that is no number (NaN, infinity) is exported as null.\n"
    "\n"
    "Exit status: 0 done; 1 no such element, or the job cannot be opened, read or exported;\n"
    "2 wrong usage.";

struct Arguments {
    std::string kind; // a name of ELEMENT_KINDS
    std::string name;
    std::string job;
    std::string outFile;
};

[[noreturn]] static void failOutput()
{
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

// Prints a line; throws when that fails.
static void printLine(std::FILE* out, const std::string& line)
{
    if (std::fprintf(out, "%s\n", line.c_str()) < 0) failOutput();
}

static void printInfo(IdxConnection* job, std::FILE* out)
{
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        std::string label = ELEMENT_KINDS[kind].plural;
        label.resize(15, ' ');
        printLine(out, label + std::to_string(countElements(job, kind)));
    }
}

static void printNames(IdxConnection* job, uint32_t kind, std::FILE* out)
{
    bool watched = isTerminal(out);
    for (const std::string& name : elementNames(job, kind)) {
        std::string line = utf8FromLatin1(name);
        printLine(out, watched ? harmless(line) : line);
    }
}

// True for an object that fits on a line because it holds only numbers, as a vertex does.
static bool isRow(const ordered_json& value)
{
    return value.is_object() && std::all_of(value.begin(), value.end(),
                                            [](const auto& member) { return member.is_number(); });
}

static void printMembers(std::FILE* out, const ordered_json& object, const std::string& indent);

static void printItems(std::FILE* out, const ordered_json& items, const std::string& indent)
{
    size_t number = 0;
    for (const ordered_json& item : items) {
        std::string label = indent + std::to_string(++number) + ":";
        if (isRow(item)) {
            std::string row = jsonLine(item);
            std::erase(row, '"');
            printLine(out, label + " " + row.substr(1, row.size() - 2));
        } else {
            printLine(out, label);
            printMembers(out, item, indent + "  ");
        }
    }
}

static void printMembers(std::FILE* out, const ordered_json& object, const std::string& indent)
{
    for (const auto& [key, value] : object.items()) {
        std::string label = indent + key + ":";
        if (value.is_object()) {
            printLine(out, label);
            printMembers(out, value, indent + "  ");
        } else if (value.is_array()) {
            printLine(out, label + (value.empty() ? " none" : ""));
            printItems(out, value, indent + "  ");
        } else {
            printLine(out, label + " " + harmless(value.dump()));
        }
    }
}

// Returns the number of a kind. Expects a name that the command line has accepted.
static uint32_t kindNumber(const std::string& name)
{
    uint32_t kind = ELEMENT_POINT;
    while (name != ELEMENT_KINDS[kind].name) {
        ++kind;
    }
    return kind;
}

static void printElement(IdxConnection* job, const Arguments& arguments, std::FILE* out)
{
    uint32_t kind = kindNumber(arguments.kind);
    std::string name = latin1FromUtf8(arguments.name);
    ordered_json element = readElement(job, kind, name);
    if (element.is_null()) {
        std::string what = arguments.kind + " " + arguments.name;
        std::vector<std::string> names = elementNames(job, kind);
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            throw std::runtime_error(arguments.job + ": no such element: " + what);
        }
        throw std::runtime_error(
            arguments.job + ": cannot be read: " + what +
            ": a record that it needs is missing, damaged or cannot be written");
    }
    printMembers(out, element, "");
}

static void exportJob(IdxConnection* job, const Arguments& arguments, std::FILE* out)
{
    if (arguments.outFile.empty()) {
        exportToStream(job, out, !isTerminal(out));
    } else {
        exportToFile(job, arguments.outFile);
    }
}

static void runCommand(const std::string& command, const Arguments& arguments)
{
    std::FILE* out = takeStandardOutput();
    if (out == nullptr) throw std::runtime_error("standard output is closed");

    IdxConnection* job = openJob(arguments.job);
    try {
        if (command == "info") printInfo(job, out);
        if (command == "list") printNames(job, kindNumber(arguments.kind), out);
        if (command == "show") printElement(job, arguments, out);
        if (command == "export") exportJob(job, arguments, out);
    } catch (...) {
        orvIdx_disconnectFromOrvaneOrvFile(&job);
        throw;
    }
    closeJob(job);
    if (std::fclose(out) != 0) failOutput();
}

static void declareCommands(CLI::App& app, Arguments& arguments)
{
    app.allow_windows_style_options(false); // /name is a path
    CLI::App* info = app.add_subcommand("info", "Print how many elements of each kind there are");
    CLI::App* list = app.add_subcommand("list", "Print the names of a kind, one a line");
    CLI::App* show = app.add_subcommand("show", "Print all members of an element");
    CLI::App* whole = app.add_subcommand("export", "Print everything as JSON");

    std::vector<std::string> kinds;
    for (const ElementKind& kind : ELEMENT_KINDS) {
        kinds.push_back(kind.name);
    }
    for (CLI::App* command : {list, show}) {
        command->add_option("KIND", arguments.kind, "Kind of element")
            ->required()
            ->check(CLI::IsMember(kinds));
    }
    show->add_option("NAME", arguments.name, "Name of the element")->required();
    for (CLI::App* command : {info, list, show, whole}) {
        command->add_option("JOB", arguments.job, "Job database file")->required();
    }
    whole->add_option("-o,--output", arguments.outFile, "File to write instead of standard output")
        ->check([](const std::string& name) { return name.empty() ? "the file has no name" : ""; });
    app.require_subcommand(1);
    app.footer(HELP_END);
}

// Returns the exit status; throws std::exception for status 1.
static int parseAndRun(int argc, char** argv)
{
    CLI::App app("Prints what a COGO job database holds.", "orvidx");
    Arguments arguments = {};
    declareCommands(app, arguments);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? STATUS_DONE : STATUS_USAGE;
    }
    runCommand(app.get_subcommands().front()->get_name(), arguments);
    return STATUS_DONE;
}

int main(int argc, char** argv)
{
    try {
        return parseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvidx: %s\n", error.what());
        return STATUS_FAILED;
    }
}
