#include "platform/path_text.h"

// The bytes of a path mean nothing to the system.
std::string libraryPath(const std::string& path) { return path; }
