#include "tools/export/csv_format.h"

#include "platform/path_text.h"
#include "tools/reading/latin1.h"

#include <charconv>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

void beginCsv(CsvFormat* csv, const std::string& folder, bool force, bool byteOrderMark)
{
    *csv = {};
    csv->folder = folder;
    csv->byteOrderMark = byteOrderMark;
    std::error_code error;
    csv->madeFolder = fs::create_directory(filePath(folder), error);
    if (csv->madeFolder) return;
    std::error_code ignored;
    bool isFolder = fs::is_directory(filePath(folder), ignored);
    if (!isFolder) csv->fault = folder + ": " + (error ? error.message() : "is no folder");
    if (isFolder && !force && !fs::is_empty(filePath(folder), error)) {
        csv->fault = folder + ": the folder is not empty; --force writes into it all the same";
    }
}

// -- Fields ------------------------------------------------------------------

static void appendText(std::string* line, const std::string& text)
{
    if (text.find_first_of("\",\r\n") == std::string::npos) {
        *line += text;
        return;
    }
    *line += '"';
    for (char character : text) {
        if (character == '"') *line += '"';
        *line += character;
    }
    *line += '"';
}

static void appendValue(std::string* line, const MemberValue& value)
{
    char digits[40];
    if (value.isNull) return;
    if (value.type == MEMBER_TEXT) {
        appendText(line, value.text);
    } else if (value.type == MEMBER_REAL) {
        line->append(digits, std::to_chars(digits, digits + sizeof digits, value.real).ptr);
    } else {
        *line += std::to_string(value.integer);
    }
}

// -- Lines -------------------------------------------------------------------

static void putHeading(ExportOutput* file, const RecordTable& table, bool isList)
{
    std::string line = isList ? "elementName,ordinal" : "elementName";
    for (const MemberGroup& group : table.groups) {
        for (const RecordMember& member : group.members) {
            line.append(",").append(group.prefix).append(member.name);
        }
    }
    put(file, line + "\r\n");
}

// Puts a line that begins so.
static void putRow(ExportOutput* file, const RecordTable& table, std::string line, const void* row)
{
    for (const MemberGroup& group : table.groups) {
        const void* record = groupIn(group, row);
        for (const RecordMember& member : group.members) {
            line += ',';
            appendValue(&line, memberValue(member, record));
        }
    }
    put(file, line + "\r\n");
}

static void beginTable(CsvFormat* csv, int table, bool isList)
{
    ExportOutput* file = &csv->files[static_cast<size_t>(table)];
    const RecordTable& records = recordTable(table);
    beginOutput(file, nullptr, csv->folder + "/" + records.name + ".csv");
    if (csv->byteOrderMark) put(file, "\xEF\xBB\xBF");
    putHeading(file, records, isList);
}

void beginKindCsv(CsvFormat* csv, uint32_t kind)
{
    beginTable(csv, static_cast<int>(kind), false);
    if (listTable(kind) != NO_TABLE) beginTable(csv, listTable(kind), true);
}

void addElementCsv(CsvFormat* csv, uint32_t kind, const std::string* name, const void* element)
{
    std::string first;
    if (name != nullptr) appendText(&first, utf8FromLatin1(*name));
    putRow(&csv->files[kind], recordTable(static_cast<int>(kind)), first, element);

    int list = listTable(kind);
    if (list == NO_TABLE || element == nullptr) return;
    int64_t ordinal = 0;
    const void* listed = firstListed(kind, element);
    while (listed != nullptr) {
        std::string begin = first + "," + std::to_string(++ordinal);
        putRow(&csv->files[static_cast<size_t>(list)], recordTable(list), begin, listed);
        listed = nextListed(kind, element, listed);
    }
}

// -- The end -----------------------------------------------------------------

void endCsv(CsvFormat* csv)
{
    for (ExportOutput& file : csv->files) {
        if (!file.name.empty() && csvFault(csv).empty()) finishOutput(&file);
    }
}

void abandonCsv(CsvFormat* csv)
{
    for (ExportOutput& file : csv->files) {
        abandonOutput(&file);
    }
    std::error_code ignored;
    if (csv->madeFolder)
        fs::remove(filePath(csv->folder), ignored); // which fails when something is in it
}

std::string csvFault(const CsvFormat* csv)
{
    if (!csv->fault.empty()) return csv->fault;
    for (const ExportOutput& file : csv->files) {
        if (!file.fault.empty()) return file.fault;
    }
    return "";
}
