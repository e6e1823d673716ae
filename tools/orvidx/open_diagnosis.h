// Why a job could not be opened. The library answers one result for all reasons;
// this looks at the file afterwards, with the C++ standard library only.
//
// For orvidx.
#pragma once

#include <cstdint>
#include <string>

// Returns the reason in a few words, to stand behind the path and a colon.
//
// Expects the answer of a connect that failed. What the file holds may have changed
// since then; a file that now looks sound had no room for another user.
std::string openDiagnosis(const std::string& path, int32_t connectResult);
