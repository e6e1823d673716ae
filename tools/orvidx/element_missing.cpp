#include "tools/orvidx/element_missing.h"

#include "tools/orvidx/near_names.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

#include <algorithm>

std::string whyMissing(const JobSource& source, uint32_t kind, const std::string& name)
{
    std::string what = std::string(ELEMENT_KINDS[kind].name) + " " + name;
    std::string stored = latin1FromUtf8(name);
    std::vector<std::string> names = elementNames(source.job, kind);
    if (std::find(names.begin(), names.end(), stored) != names.end()) {
        std::string reason = reasonOf(source.faults.get(), kind, &stored);
        return "cannot be read: " + what + ": " + harmless(reason);
    }
    std::string suggested;
    for (const std::string& other : nearNames(names, stored)) {
        suggested += (suggested.empty() ? "; near it: " : ", ") + harmless(utf8FromLatin1(other));
    }
    return "no such element: " + what + suggested;
}
