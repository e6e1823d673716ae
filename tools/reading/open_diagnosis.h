// Why a job could not be opened. The library returns the same result for almost all reasons, so
// this looks at the file afterwards, without the library.
//
// For orvidx and orvjob.
#pragma once

#include <cstdint>
#include <string>

// Returns the reason in a few words, to be printed behind the path and a colon.
//
// Expects the result of a connect that failed. The file may have changed since then; when it
// now looks sound, the reason given is that it had no room for another user.
std::string openDiagnosis(const std::string& path, int32_t connectResult);
