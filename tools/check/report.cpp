#include "tools/check/report.h"

#include "format/format.h"

#include <cstdarg>
#include <cstdio>

void complain(CheckReport* report, const char* format, ...)
{
    size_t count = report->complaints.size();
    if (count > MAX_COMPLAINTS) return;
    if (count == MAX_COMPLAINTS) {
        report->complaints.emplace_back("more complaints are not listed");
        return;
    }
    char line[1024]; // a described key is up to 404 characters long
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    report->complaints.emplace_back(line);
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
