#include "tools/check/report.h"

#include "format/format.h"

#include <cstdarg>
#include <cstdio>

static void addComplaint(CheckReport* report, const char* format, va_list arguments)
{
    size_t count = report->complaints.size();
    if (count > MAX_COMPLAINTS) return;
    if (count == MAX_COMPLAINTS) {
        report->complaints.emplace_back("more complaints are not listed");
        return;
    }
    char line[1024]; // a described key is up to 404 characters long
    std::vsnprintf(line, sizeof line, format, arguments);
    report->complaints.emplace_back(line);
}

void complain(CheckReport* report, const char* format, ...)
{
    ++report->damages;
    va_list arguments;
    va_start(arguments, format);
    addComplaint(report, format, arguments);
    va_end(arguments);
}

void complainOfLoss(CheckReport* report, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    addComplaint(report, format, arguments);
    va_end(arguments);
}

std::string describeEntry(const uint8_t* entry)
{
    std::string text = "index " + std::to_string(entryIndex(entry)) + " key \"";
    for (const char* c = entryKey(entry) + 1; *c != 0; ++c) {
        char code[4] = {*c, 0, 0, 0};
        if (*c < ' ' || *c > '~') {
            std::snprintf(code, sizeof code, "\\%02x", static_cast<uint8_t>(*c));
        }
        text += code;
    }
    return text + "\" number " + std::to_string(entryNumber(entry));
}
