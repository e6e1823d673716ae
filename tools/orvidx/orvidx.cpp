// orvidx: prints what a job database holds, through the library's exports only.
#include "tools/orvidx/commands.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/version.h"
#include "tools/terminal/terminal.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <stdexcept>

constexpr const char* HELP_END =
    "KIND is one of point, line, curve, spiral, chain, profile, survey-chain.\n"
    "Names are read and printed as UTF-8; a NAME that begins with a minus sign follows --.\n"
    "A command works on a copy of the job and leaves the job itself as it is, byte for byte.\n"
    "With --live it reads the file as any host does: then reading a line without an extension\n"
    "record, or a chain of the older layout, adds to the job, and where the job may only be\n"
    "read such an element cannot be read.\n"
    "A stored double that is no number (NaN, infinity) is exported as null.\n"
    "\n"
    "Exit status: 0 done; 1 no such element, or the job cannot be opened, read or exported;\n"
    "2 wrong usage; 3 done, but for something that cannot be read, or is not drawn, which\n"
    "standard error names.";

// -- What the commands have in common ----------------------------------------

uint32_t kindNumber(const std::string& name)
{
    uint32_t kind = ELEMENT_POINT;
    while (name != ELEMENT_KINDS[kind].name) {
        ++kind;
    }
    return kind;
}

void failOutput()
{
    throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
}

void printLine(std::FILE* out, const std::string& line)
{
    if (std::fprintf(out, "%s\n", line.c_str()) < 0) failOutput();
}

void complain(const std::string& path, const std::string& reason)
{
    std::fprintf(stderr, "orvidx: %s: %s\n", path.c_str(), reason.c_str());
}

// -- The command line --------------------------------------------------------

struct CommandLine {
    JobRequest job;
    InfoRequest info;
    ListRequest list;
    ShowRequest show;
    ExportRequest whole;
    ReportRequest report;
    DrawRequest draw;
};

static std::vector<std::string> kindNames()
{
    std::vector<std::string> kinds;
    for (const ElementKind& row : ELEMENT_KINDS) {
        kinds.push_back(row.name);
    }
    return kinds;
}

static void declareKind(CLI::App* command, std::string* kind)
{
    command->add_option("KIND", *kind, "Kind of element")
        ->required()
        ->check(CLI::IsMember(kindNames()));
}

static void declareJson(CLI::App* command, bool* json)
{
    command->add_flag("--json", *json, "Print JSON on one line, for programs");
}

// The last positional of each command, and the options that all of them have.
static void declareJob(CLI::App* command, JobRequest* job)
{
    command->add_option("JOB", job->path, "Job database file")->required();
    command->add_flag("--live", job->live, "Read the file itself, as a host does, not a copy");
    command->add_option("--timeout", job->lockSeconds, "Seconds to wait for a writer")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
}

static void declareInfo(CLI::App* command, CommandLine* line)
{
    declareJson(command, &line->info.json);
    declareJob(command, &line->job);
}

static void declareList(CLI::App* command, CommandLine* line)
{
    declareKind(command, &line->list.kind);
    CLI::Option* zeros =
        command->add_flag("-0,--null", line->list.zeroEnded, "End each name with a zero byte");
    declareJson(command, &line->list.json);
    command->get_option("--json")->excludes(zeros);
    declareJob(command, &line->job);
}

// Shows the optional NAME where it stands: the parser hands out what there is from the left.
struct ShowHelp : CLI::Formatter {
    std::string make_usage(const CLI::App* /*app*/, std::string name) const override
    {
        return "Usage: " + name + " [OPTIONS] KIND [NAME] JOB\n";
    }
};

static void declareShow(CLI::App* command, CommandLine* line)
{
    declareKind(command, &line->show.kind);
    command->add_option("NAME", line->show.name, "Name of the element; none: list them all")
        ->required()
        ->option_text("TEXT");
    declareJson(command, &line->show.json);
    declareJob(command, &line->job);
    command->get_option("JOB")->required(false)->option_text("TEXT REQUIRED");
    command->formatter(std::make_shared<ShowHelp>());
}

static void declareTarget(CLI::App* command, std::string* target, const char* what)
{
    command->add_option("-o,--output", *target, what)->check([](const std::string& name) {
        return name.empty() ? "the file has no name" : "";
    });
}

static void declareExport(CLI::App* command, CommandLine* line)
{
    ExportRequest* request = &line->whole;
    declareJob(command, &line->job);
    declareTarget(command, &request->target,
                  "File to write, or folder for csv; a minus sign is standard output");
    command->add_option("--format", request->format, "json, jsonl (JSON Lines), csv or sqlite")
        ->check(CLI::IsMember({"json", "jsonl", "csv", "sqlite"}))
        ->capture_default_str();
    command->add_option("--kind", request->kinds, "Kinds to export, instead of all")
        ->check(CLI::IsMember(kindNames()));
    command->add_flag("--force", request->force, "csv: write into a folder that is not empty");
    command->add_flag("--bom", request->byteOrderMark,
                      "csv: begin with a byte order mark, by which spreadsheets know UTF-8");
    command->callback([request] {
        std::string fault = faultOfRequest(*request);
        if (!fault.empty()) throw CLI::ValidationError("export", fault);
    });
}

constexpr const char* TARGET_HELP = "File to write; none or a minus sign is standard output";

static void declareAxes(CLI::App* command, bool* northFirst)
{
    command->add_flag("--axes", *northFirst,
                      "Take north for the first coordinate and east for "
                      "the second, not the other way round");
}

static void declareReport(CLI::App* command, CommandLine* line)
{
    declareJob(command, &line->job);
    declareTarget(command, &line->report.target, TARGET_HELP);
    declareAxes(command, &line->report.northFirst);
}

static void declareDraw(CLI::App* command, CommandLine* line)
{
    command->require_subcommand(1);
    CLI::App* plan = command->add_subcommand("plan", "Points, lines, curves, spirals and chains");
    declareJob(plan, &line->job);
    declareTarget(plan, &line->draw.target, TARGET_HELP);
    declareAxes(plan, &line->draw.northFirst);

    CLI::App* profile = command->add_subcommand("profile", "One profile");
    profile->add_option("NAME", line->draw.profile, "Name of the profile")
        ->required()
        ->check([](const std::string& name) { return name.empty() ? "no name" : ""; });
    declareJob(profile, &line->job);
    declareTarget(profile, &line->draw.target, TARGET_HELP);
}

// -- Running -----------------------------------------------------------------

static int runOn(const JobSource& source, const std::string& command, const CommandLine& line,
                 std::FILE* out)
{
    if (command == "info") return runInfo(source, line.info, out);
    if (command == "list") return runList(source, line.list, out);
    if (command == "show") return runShow(source, line.show, out);
    if (command == "report") return runReport(source, line.report, out);
    if (command == "draw") return runDraw(source, line.draw, out);
    return runExport(source, line.whole, out);
}

// Throws ReadingFault when it is the job that failed.
static int runCommand(const std::string& command, const CommandLine& line)
{
    std::FILE* out = takeStandardOutput();
    if (out == nullptr) throw std::runtime_error("standard output is closed");

    JobSource source = openSource(line.job);
    int status = STATUS_DONE;
    try {
        status = runOn(source, command, line, out);
    } catch (...) {
        closeSource(&source);
        throw;
    }
    if (!closeSource(&source)) throw ReadingFault("the job could not be written and closed");
    if (std::fclose(out) != 0) failOutput();
    return status;
}

// Without NAME the job stands in its place, and show is list.
static std::string commandGiven(const CLI::App& app, CommandLine* line)
{
    std::string command = app.get_subcommands().front()->get_name();
    if (command != "show" || !line->job.path.empty()) return command;
    line->job.path = line->show.name;
    line->list.kind = line->show.kind;
    line->list.json = line->show.json;
    return "list";
}

// Returns the exit status; throws std::exception for status 1.
static int parseAndRun(int argc, char** argv)
{
    CLI::App app("Prints what a COGO job database holds.", "orvidx");
    app.allow_windows_style_options(false); // /name is a path
    app.set_version_flag("--version", versionText("orvidx"));
    app.require_subcommand(1);
    app.footer(HELP_END);

    CommandLine line;
    declareInfo(app.add_subcommand("info", "Print how many elements of each kind there are"),
                &line);
    declareList(app.add_subcommand("list", "Print the names of a kind, one a line"), &line);
    declareShow(app.add_subcommand("show", "Print all members of an element"), &line);
    declareExport(app.add_subcommand("export", "Write everything for other programs to read"),
                  &line);
    declareReport(app.add_subcommand("report", "Write a page that shows the job in a browser"),
                  &line);
    declareDraw(app.add_subcommand("draw", "Draw the plan or a profile as SVG"), &line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? STATUS_DONE : STATUS_USAGE;
    }
    std::string command = commandGiven(app, &line);
    try {
        return runCommand(command, line);
    } catch (const ReadingFault& fault) {
        complain(line.job.path, fault.what());
        return STATUS_FAILED;
    }
}

int main(int argc, char** argv)
{
    argv = startProgram(&argc, argv);
    try {
        return parseAndRun(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvidx: %s\n", error.what());
        return STATUS_FAILED;
    }
}
