#include "tools/reading/version.h"

#include "format/file_format.h"

#if defined(__clang__)
#define ORVIDX_COMPILER "clang " __clang_version__
#else
#define ORVIDX_COMPILER "gcc " __VERSION__
#endif

std::string versionText(const std::string& program)
{
    return program + " " ORVIDX_VERSION " (library orvIdx " ORVIDX_VERSION ", format " +
           CURRENT_MAGIC + ", " ORVIDX_COMPILER ", " + std::to_string(8 * sizeof(void*)) + " bits)";
}
