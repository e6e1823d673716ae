#include "tools/check/report.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

void complain(CheckedFile* file, const char* format, ...)
{
    size_t count = file->report.complaints.size();
    if (count > MAX_COMPLAINTS) return;
    if (count == MAX_COMPLAINTS) {
        file->report.complaints.emplace_back("more complaints are not listed");
        return;
    }
    char line[1024]; // a described key is up to 404 characters long
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    file->report.complaints.emplace_back(line);
}

std::string describeEntry(const uint8_t* entry)
{
    std::string text = "index " + std::to_string(entryIndex(entry)) + " key \"";
    for (const char* c = entryKey(entry) + 1; *c != 0; ++c) {
        char code[4] = {*c, 0, 0, 0};
        if (*c < ' ' || *c > '~') snprintf(code, sizeof code, "\\%02x", static_cast<uint8_t>(*c));
        text += code;
    }
    return text + "\" number " + std::to_string(entryNumber(entry));
}

bool pageHandedOut(const CheckedFile* file, int page)
{
    return page >= 0 && page < file->header.nextFreePage;
}

const uint8_t* pageAt(const CheckedFile* file, int page)
{
    return file->bytes.data() + FIRST_PAGE_OFFSET + static_cast<size_t>(page) * NODE_PAGE_SIZE;
}

bool isZero(const uint8_t* bytes, const uint8_t* end)
{
    return std::all_of(bytes, end, [](uint8_t byte) { return byte == 0; });
}
